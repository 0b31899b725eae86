#include <gtest/gtest.h>

#include "dem/dem.h"
#include "dem/naming.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class DemNames : public ::testing::Test {
 protected:
  ConsoleCapture console_;
  ScratchDir dir_;
  bool printed(std::string_view text) const { return console_.text().find(text) != std::string::npos; }
};

TEST_F(DemNames, ComeFromTheFileAlone) {
  struct Case {
    const char* file;
    const char* path;
    const char* demID;
  };
  // The header cannot be read; the names are completed all the same.
  for (const auto& [file, path, demID] : {Case{"d:\\data\\elev_site", "d:\\data\\", "site"},
                                          {"d:\\data\\elev_10m_site", "d:\\data\\", "site"},
                                          {"elev_site", "", "site"},
                                          {"/a_b/c d/dem", "/a_b/c d/", "dem"},
                                          {"x/elev_", "x/", "elev_"}}) {
    SCOPED_TRACE(file);
    DEM_type dem;
    dem.file = file;
    EXPECT_EQ(dem.ResolveDEM(), -1);
    EXPECT_EQ(dem.status, -1);
    EXPECT_EQ(dem.path, path);
    EXPECT_EQ(dem.refPath, path);
    EXPECT_EQ(dem.demID, demID);
    for (const auto& id : {dem.refID, dem.dataID, dem.refDataID}) EXPECT_EQ(id, demID);
    EXPECT_EQ(dem.refFile, file);
  }
  EXPECT_TRUE(printed("readheader failed for DEM"));
}

TEST_F(DemNames, ComeFromDirectoryAndIdentifierOrTheReference) {
  writeRaster(dir_.path() + "elev_site", "1 2 3\n4 5 6", {.cellsize = 30, .nodata = "-32768"});
  const std::string bare = dir_.path().substr(0, dir_.path().size() - 1);

  DEM_type dem;
  dem.path = bare;
  dem.demID = "site";
  dem.refPath = "d:\\ref";
  dem.refID = "old";
  dem.dataID = "data";
  ASSERT_EQ(dem.ResolveDEM({.halfCellShift = true}), 0);
  EXPECT_EQ(dem.file, dir_.path() + "elev_site");
  EXPECT_EQ(dem.refPath, "d:\\ref\\");
  EXPECT_EQ(dem.refID, "old");
  EXPECT_EQ(dem.refDataID, "data");
  EXPECT_EQ(dem.xmin, 1015);
  EXPECT_EQ(dem.ymax, 2000 + 30 + 15);
  EXPECT_EQ(dem.nodata, kNodata);
  EXPECT_DOUBLE_EQ(dem.CellAreaKm2(), 0.0009);

  DEM_type reference;
  reference.refPath = bare;
  reference.refID = "site";
  ASSERT_EQ(reference.ResolveDEM(), 0);
  EXPECT_EQ(reference.file, dir_.path() + "elev_site");
  EXPECT_EQ(reference.path, dir_.path());
  EXPECT_EQ(reference.demID, "site");

  DEM_type nothing;
  nothing.demID = "site";
  EXPECT_EQ(nothing.ResolveDEM(), -1);
  EXPECT_TRUE(printed("DEM FILE unresolved"));

  dem.ClearNames();
  EXPECT_EQ(
      dem.file + dem.path + dem.demID + dem.dataID + dem.refFile + dem.refPath + dem.refID + dem.refDataID,
      "");

  dem.len_scale = 12;
  dem.dataID = "data";
  dem.startAfresh();
  EXPECT_EQ(dem.dataID, "");
  EXPECT_EQ(dem.len_scale, 12);
  EXPECT_FALSE(dem.DEMexists());
}

TEST_F(DemNames, HeaderIsReadAloneAndMustCarryARaster) {
  DEM_type dem;
  EXPECT_EQ(dem.ReadDEMHeader(), -1);
  EXPECT_TRUE(printed("Path and/or DEM ID not set"));
  dem.path = dir_.path();
  dem.demID = "site";
  EXPECT_EQ(dem.ReadDEMHeader(), -1);
  EXPECT_TRUE(printed("elev_site.hdr not found"));
  writeRaster(dir_.path() + "elev_site", "1 2 3\n4 5 6");
  EXPECT_EQ(dem.ReadDEMHeader(), 0);
  EXPECT_EQ(dem.cols(), 3);
  for (const char* header : {"NCOLS 3\nNROWS 0\nXLLCORNER 1\nYLLCORNER 2\nCELLSIZE 3\n",
                             "NCOLS 3\nNROWS 2\nXLLCORNER 1\nYLLCORNER 2\n",
                             "NCOLS 3\nNROWS 2\nXLLCORNER nan\nYLLCORNER 2\nCELLSIZE 3\n", "\x01\x02"}) {
    writeBytes(dir_.path() + "elev_site.hdr", header);
    EXPECT_EQ(dem.ReadDEMHeader(), -1) << header;
    EXPECT_EQ(dem.status, -1);
  }
}

TEST_F(DemNames, LengthTag) {
  DEM_type dem;
  for (const auto& [length, tag] : {std::pair{15.0, "15_"},
                                    {15.5, "16_"},
                                    {15.4, "15_"},
                                    {0.4, "0_"},
                                    {0.0, "_"},
                                    {std::nan(""), "_"},
                                    {1e10, ""},
                                    {HUGE_VAL, ""}}) {
    dem.SetLengthScale(length);
    EXPECT_EQ(dem.lengthName(), tag) << length;
  }
  EXPECT_EQ(truncatedLengthName(15.7), "15_");
}

TEST_F(DemNames, DerivedRastersAreBesideTheReference) {
  writeRaster(dir_.path() + "plan_data", "1");
  writeRaster(dir_.path() + "grad_site", "1");
  DEM_type dem;
  dem.path = "/nowhere/";
  dem.demID = "site";
  dem.dataID = "data";
  EXPECT_EQ(dem.resolveName("plan_"), "");
  EXPECT_TRUE(printed("FILE: /nowhere/plan_data"));
  EXPECT_TRUE(printed("Cannot find requested raster file"));
  dem.refPath = dir_.path();
  dem.refID = "site";
  EXPECT_EQ(dem.resolveName("grad_"), dir_.path() + "grad_site");
  dem.refDataID = "data";
  EXPECT_EQ(dem.resolveName("plan_"), dir_.path() + "plan_data");
}

}  // namespace
}  // namespace terrain::test
