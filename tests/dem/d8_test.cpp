#include <gtest/gtest.h>

#include "dem/dem.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class D8FromAspect : public InBothStorages {};

TEST_P(D8FromAspect, CodesTheNearestEighthInBothForms) {
  constexpr std::string_view aspects =
      "0 0.3 0.3926 0.3928 0.5 0.7853982 1.5707964 2.3561945 3.1415927\n"
      "3.926991 4.712389 5.4977875 5.89 5.9 6.2831855 -1 . nan";
  constexpr std::string_view codes =
      "3 3 3 2 2 2 1 8 7\n"
      "6 5 4 4 3 3 . . .";
  for (const D8Access access : {D8Access::rows, D8Access::cells}) {
    DEM_type dem;
    dem.aspect = gridOf<R4Grid_type>(aspects, {.storage = GetParam()});
    dem.D8.onDisk = GetParam() == Storage::disk;
    ASSERT_EQ(dem.CalcD8(access), 0);
    EXPECT_EQ(showCells(dem.D8), codes);
    EXPECT_EQ(dem.D8.onDisk, GetParam() == Storage::disk);
    // An existing grid is left alone.
    dem.D8.SetI4Cell(1, 1, 8);
    EXPECT_EQ(dem.GetD8(), 0);
    EXPECT_EQ(dem.D8.ExtractI4ValueColRow(1, 1), 8);
  }
}

INSTANTIATE_TEST_SUITE_P(Storages, D8FromAspect, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

TEST(D8, FailsWithoutAspectsAndOnAspectsInDegrees) {
  ConsoleCapture console;
  DEM_type dem;
  dem.path = "/nowhere/";
  dem.demID = "site";
  EXPECT_EQ(dem.GetD8(), -1);
  EXPECT_EQ(dem.status, -1);
  for (const auto* line : {"ERROR: resolveName in DEM_Module", "FILE: /nowhere/ang_site",
                           "Cannot find aspect raster file", "GetAspect failed", "CalcD8 failed"})
    EXPECT_NE(console.text().find(line), std::string::npos) << line;

  for (const char* cells : {"0 1\n2 90", "0 1\n2 inf", "0 1\n2 7"}) {
    dem.aspect = gridOf<R4Grid_type>(cells);
    EXPECT_EQ(dem.CalcD8(), -1) << cells;
    EXPECT_FALSE(dem.D8.GridExists());
  }
  EXPECT_NE(console.text().find("  Column 2, row 2"), std::string::npos);
}

}  // namespace
}  // namespace terrain::test
