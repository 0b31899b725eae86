#include <gtest/gtest.h>

#include <sstream>

#include "dem/dem.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class ParameterFile : public ::testing::Test {
 protected:
  ParameterFile() { writeRaster(at("elev_site"), "100 200 .\n400 500 600", {.cellsize = 30, .nodata = "0"}); }
  ~ParameterFile() override { platform::console().in = in_; }

  [[nodiscard]] std::string at(const std::string& name) const { return dir_.path() + name; }
  [[nodiscard]] bool printed(std::string_view text) const {
    return console_.text().find(text) != std::string::npos;
  }
  int read(DEM_type& dem, const std::string& text) const {
    writeBytes(at("parameters.txt"), text);
    return GetDEM(dem, at("parameters.txt"));
  }

  ConsoleCapture console_;
  ScratchDir dir_;
  std::istream* in_ = platform::console().in;
};

TEST_F(ParameterFile, NamesTheDEMAndReadsItsHeader) {
  DEM_type dem;
  dem.len_scale = 3;
  ASSERT_EQ(read(dem, "\xEF\xBB\xBFPATH: " + dir_.path() +
                          "\r\nDEMID: site # the site\r\nDATA ID: data\r\nDEM UNITS: m\r\nOTHER: 1\r\n"),
            0);
  EXPECT_EQ(dem.file, at("elev_site"));
  EXPECT_EQ(dem.refFile, dem.file);
  EXPECT_EQ(dem.dataID, "data");
  writeRaster(at("grad_15_data"), "1 2 3\n4 5 6", {.cellsize = 30});
  writeRaster(at("grad_15_site"), "7 7 7\n7 7 7", {.cellsize = 30});
  dem.len_scale = 15;
  EXPECT_EQ(dem.GetGrad(), 0);
  EXPECT_EQ(showCells(dem.grad), "1 2 3\n4 5 6");
  EXPECT_EQ(read(dem, "PATH: " + dir_.path() + "\nDEM ID: site\n"), 0);
  EXPECT_EQ(dem.len_scale, -9999.0);
  EXPECT_EQ(dem.nodata, kNodata);
  EXPECT_TRUE(printed(" Path    : " + dir_.path() +
                      "\n DEM ID  : site\n Ncols   : 3\n Nrows   : 2\n Xmin    : 1000."));
  EXPECT_TRUE(printed("\n DEM units = meters\n Setting nodata to -9999.\n"));
}

TEST_F(ParameterFile, FormsTheFileFromTheGivenNames) {
  DEM_type dem;
  const std::string bare = dir_.path().substr(0, dir_.path().size() - 1);
  EXPECT_EQ(read(dem, "PATH: \"" + bare + "\"\nDEM ID: 'site'\n"), 0);
  EXPECT_EQ(read(dem, "REFERENCE PATH: " + bare + "\nDEM ID: site\n"), 0);
  EXPECT_EQ(dem.file, at("elev_site"));
  EXPECT_EQ(read(dem, "REFERENCE DEM FILE: " + at("elev_site") + "\n"), 0);
  EXPECT_EQ(dem.path + dem.demID, dir_.path() + "site");
  // A name with a blank needs no quotes.
  writeRaster(at("elev_the site"), "1 2");
  EXPECT_EQ(read(dem, "PATH: " + bare + "\nDEM ID: the site\n"), 0);
  EXPECT_EQ(dem.cols(), 2);

  for (const auto& [text, message] :
       {std::pair<std::string, std::string>{"DEM ID: site\n", "Path not specified"},
        {"PATH: " + bare + "\n", "DEM ID not specified"},
        {"PATH: " + bare + "\nDEM ID: nosuch\n", "readheader failed"},
        {"PATH:\nDEM ID: site\n", "Error reading PATH in " + at("parameters.txt")},
        {"REFERENCE DEM: # nothing\n", "Error reading reference DEM in "}}) {
    EXPECT_EQ(read(dem, text), -1);
    EXPECT_EQ(dem.status, -1);
    EXPECT_TRUE(printed(message)) << message;
  }
}

TEST_F(ParameterFile, FeetBecomeMetres) {
  DEM_type dem;
  ASSERT_EQ(read(dem, "PATH: " + dir_.path() + "\nDEM ID: site\nDEMunits: f\n"), 0);
  EXPECT_DOUBLE_EQ(dem.xmin, 1000 * 0.3048);
  EXPECT_DOUBLE_EQ(dem.cellsize, 30 * 0.3048);
  EXPECT_DOUBLE_EQ(dem.xcellsize, dem.cellsize);
  EXPECT_TRUE(dem.feetConverted);
  ASSERT_TRUE(dem.feetHeader.has_value());
  EXPECT_EQ(dem.feetHeader->cellsize, 30);
  EXPECT_TRUE(printed(" " + std::string(55, '*') +
                      "\n All values in Kelvorn_parameters file are metric units\n  DEM unit conversions "
                      "are done internally\n  Output grids are converted back to english units\n " +
                      std::string(55, '*') + "\n"));
  EXPECT_TRUE(printed("Cellsize (m) = 9.144"));
  ASSERT_EQ(dem.GetElev(), 0);
  EXPECT_EQ(dem.elev.ExtractR4ValueColRow(2, 1), 200.0F * 0.3048F);
  EXPECT_EQ(dem.elev.ExtractR4ValueColRow(3, 1), kNodata);
  EXPECT_TRUE(dem.elev.feetConverted);
  EXPECT_DOUBLE_EQ(dem.elev.xcellsize, 30 * 0.3048);

  writeRaster(at("slope"), "1 2 3\n4 5 6", {.cellsize = 30});
  EXPECT_EQ(dem.GetSlope(at("slope")).status, 0);  // its feet are converted before it is compared

  ASSERT_EQ(read(dem, "PATH: " + dir_.path() + "\nDEM ID: site\nDEM UNITS: yards\n"), 0);
  EXPECT_TRUE(printed("Unknown DEM units: y\n Assuming metric"));
  EXPECT_EQ(dem.units, 'm');
}

TEST_F(ParameterFile, OtherLayoutNamesTheFile) {
  DEM_type dem;
  ErrorList errors;
  writeBytes(at("input.txt"), "DEM FILE: " + at("elev_site.flt") +
                                  "\nREFERENCE PATH: /ref\nREFERENCE ID: old\nDEM UNITS: m\n");
  ASSERT_EQ(GetInput(dem, errors, at("input.txt")), 0);
  EXPECT_EQ(dem.file, at("elev_site"));
  EXPECT_EQ(dem.refFile, "/ref/elev_old");
  EXPECT_EQ(dem.path, dir_.path());
  EXPECT_EQ(dem.demID, "site");

  writeBytes(at("input.txt"), "DEM ID: site\n");
  EXPECT_EQ(GetInput(dem, errors, at("input.txt")), -1);
  EXPECT_TRUE(printed("DEM FILE not specified in " + at("input.txt")));
  writeBytes(at("input.txt"), "DEM FILE: /no/such\n");
  EXPECT_EQ(GetInput(dem, errors, at("input.txt")), -1);
  EXPECT_TRUE(printed("readheader failed for /no/such"));
  EXPECT_FALSE(errors.hasLines());
}

TEST_F(ParameterFile, AsksForTheNameThreeTimesAtMost) {
  writeBytes(at("input.txt"), "DEM FILE: " + at("elev_site") + "\n");
  DEM_type dem;
  ErrorList errors;
  std::istringstream second("/wrong\n\"" + at("input.txt") + "\"\r\n");
  platform::console().in = &second;
  EXPECT_EQ(GetInput(dem, errors), 0);
  EXPECT_TRUE(printed(" Input file name (full path): "));
  EXPECT_TRUE(printed("Cannot find /wrong\n Try retyping the name"));
  std::istringstream tooLate("/a\n/b\n" + at("input.txt") + "\n");
  platform::console().in = &tooLate;
  EXPECT_EQ(GetInput(dem, errors, "/given"), -1);
  EXPECT_TRUE(printed("Cannot find /b"));
  EXPECT_TRUE(printed("No input file"));
  std::istringstream ended("");
  platform::console().in = &ended;
  EXPECT_EQ(GetInput(dem, errors), -1);
}

TEST_F(ParameterFile, ThatCannotBeOpenedEndsTheRun) {
  DEM_type dem;
  EXPECT_EXIT(GetDEM(dem, at("nosuch.txt")), ::testing::ExitedWithCode(1), "");
}

}  // namespace
}  // namespace terrain::test
