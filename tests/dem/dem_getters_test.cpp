#include <gtest/gtest.h>

#include "dem/dem.h"
#include "dem/input_raster.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class DemGetters : public InBothStorages {
 protected:
  DemGetters() { writeRaster(at("elev_site"), "10 20 30\n40 50 60"); }
  ~DemGetters() override { demDiagnostics().on = false; }

  [[nodiscard]] std::string at(const std::string& name) const { return scratch_.path() + name; }
  [[nodiscard]] bool printed(std::string_view text) const {
    return console_.text().find(text) != std::string::npos;
  }
  [[nodiscard]] DEM_type site() const {
    DEM_type dem;
    dem.file = at("elev_site");
    dem.len_scale = 15;
    EXPECT_EQ(dem.ResolveDEM(), 0);
    for (R4Grid_type* grid : {&dem.elev, &dem.grad, &dem.aspect, &dem.bcon, &dem.pin})
      grid->onDisk = GetParam() == Storage::disk;
    return dem;
  }
};

TEST_P(DemGetters, ReadOnFirstUseAndOnceOnly) {
  writeRaster(at("grad_15_site"), "1 2 3\n4 5 6");
  DEM_type dem = site();
  ASSERT_EQ(dem.GetGrad(), 0);
  EXPECT_EQ(dem.gradFile, at("grad_15_site"));
  EXPECT_EQ(dem.grad.onDisk, GetParam() == Storage::disk);
  EXPECT_TRUE(printed(" Subroutine GetGrad: reading gradient file"));
  dem.grad.SetR4CellColRow(1, 1, 7);
  demDiagnostics().on = true;
  EXPECT_EQ(dem.GetGrad("/no/such"), 0);
  EXPECT_EQ(showCells(dem.grad), "7 2 3\n4 5 6");
  EXPECT_TRUE(printed("Called GetGrad, but grad grid already exists"));
  EXPECT_EQ(dem.DestroyGrid("grad"), 0);
  EXPECT_TRUE(printed("DestroyGrid for DEM%grad"));
  EXPECT_FALSE(dem.grad.GridExists());
  EXPECT_EQ(dem.GetGrad("/no/such"), -1);
  EXPECT_EQ(dem.grad.status, -1);
  EXPECT_TRUE(printed("ReadGrid failed for /no/such"));
  EXPECT_FALSE(dem.grad.GridExists());
}

TEST_P(DemGetters, EachFindsItsOwnRaster) {
  int value = 1;
  for (const std::string name : {"plan_15_site", "prof_15_site", "bcon_15_site", "accum_site", "ang_site"})
    writeRaster(at(name), "0 0 0\n0 0 " + std::to_string(value++));
  DEM_type dem = site();
  value = 1;
  for (const auto& [get, grid] : {std::pair{&DEM_type::GetPlan, &dem.plan},
                                  {&DEM_type::GetProf, &dem.prof},
                                  {&DEM_type::GetBcon, &dem.bcon},
                                  {&DEM_type::GetArea, &dem.DA},
                                  {&DEM_type::GetAspect, &dem.aspect}}) {
    EXPECT_EQ((dem.*get)(std::nullopt), 0);
    EXPECT_EQ(grid->ExtractR4ValueColRow(3, 2), static_cast<float>(value++));
  }
  dem.pin = gridOf<R4Grid_type>("1");
  for (const char* name : {"elev", "plan", "prof", "aspect", "bcon", "pin", "area", "accum ", "D8"})
    EXPECT_EQ(dem.DestroyGrid(name), 0);
  for (const auto* grid : {&dem.plan, &dem.prof, &dem.bcon, &dem.DA, &dem.aspect, &dem.pin})
    EXPECT_FALSE(grid->GridExists());
  EXPECT_EQ(dem.DestroyGrid("slope"), -1);
  EXPECT_TRUE(printed("Unknown DEM grid type: slope"));
}

TEST_P(DemGetters, FindWhatARunSaved) {
  writeRaster(at("grad_15_site"), "1 2 3\n4 5 6");
  writeRaster(at("aspect_15_site"), "0 1 2\n3 4 5");
  DEM_type dem = site();
  dem.len_scale = 15.7;  // rounds to 16, saved as 15
  EXPECT_EQ(dem.GetGrad(), 0);
  EXPECT_EQ(dem.GetAspect(), 0);
  EXPECT_EQ(dem.aspectFile, at("aspect_15_site"));
  writeRaster(at("grad_16_site"), "9 9 9\n9 9 9");
  writeRaster(at("ang_site"), "6 6 6\n6 6 6");
  DEM_type other = site();
  other.len_scale = 15.7;
  EXPECT_EQ(other.GetGrad(), 0);
  EXPECT_EQ(other.gradFile, at("grad_16_site"));
  EXPECT_EQ(other.GetAspect(), 0);
  EXPECT_EQ(other.aspectFile, at("ang_site"));
}

TEST_P(DemGetters, ReportWhatIsMissing) {
  DEM_type dem = site();
  EXPECT_EQ(dem.GetGrad(), -1);
  EXPECT_TRUE(printed("FILE: " + at("grad_15_site")));
  EXPECT_TRUE(printed("ERROR: GetGrad in DEM_Module\n Cannot find gradient raster file"));
  dem.len_scale = 1e12;
  EXPECT_EQ(dem.GetBcon(), -1);
  EXPECT_TRUE(printed("Need length scale to resolve Bcon raster file name"));
  writeRaster(at("accum_site"), "1 2 3\n4 5 6");
  EXPECT_EQ(dem.GetArea(), 0);
  DEM_type empty;
  EXPECT_EQ(empty.GetElev(), -1);
  EXPECT_TRUE(printed("Cannot find elevation grid"));
}

TEST_P(DemGetters, ElevationsHaveOneNodata) {
  for (const char* nodata : {"-32768", "0", "3.4028235e38", "nan"}) {
    SCOPED_TRACE(nodata);
    writeRaster(at("elev_site"), "10 . 30\n40 nan 60", {.nodata = nodata});
    DEM_type dem = site();
    ASSERT_EQ(dem.GetElev(), 0);
    EXPECT_EQ(cellsOf(dem.elev), (std::vector<float>{10, -9999, 30, 40, -9999, 60}));
    EXPECT_EQ(dem.elev.nodata, kNodata);
    EXPECT_EQ(dem.elev.onDisk, GetParam() == Storage::disk);
    // They are kept unless they are to be overwritten.
    writeRaster(at("other"), "1 1 1\n1 1 1");
    EXPECT_EQ(dem.GetElev({.file = at("other")}), 0);
    EXPECT_EQ(dem.elev.ExtractR4ValueColRow(1, 1), 10.0F);
    EXPECT_EQ(dem.GetElev({.file = at("other.flt"), .overwrite = true}), 0);
    EXPECT_EQ(dem.elev.ExtractR4ValueColRow(1, 1), 1.0F);
  }
}

TEST_P(DemGetters, ElevationsAreShiftedAndComparedWithTheDEM) {
  DEM_type dem = site();
  EXPECT_EQ(dem.GetElev({.halfCellShift = true}), -1);  // the DEM lies half a cell away
  EXPECT_FALSE(dem.elev.GridExists());
  DEM_type shifted = site();
  ASSERT_EQ(shifted.ResolveDEM({.halfCellShift = true}), 0);
  ASSERT_EQ(shifted.GetElev({.halfCellShift = true}), 0);
  EXPECT_EQ(shifted.elev.xmin, 1005);
  EXPECT_EQ(showCells(shifted.elev), "10 20 30\n40 50 60");

  writeRaster(at("coarse"), "1 2\n3 4", {.cellsize = 15});
  EXPECT_EQ(dem.GetElev({.file = at("coarse")}), -1);
  EXPECT_TRUE(printed("Elevation raster has different extent than DEM"));
  EXPECT_TRUE(
      printed("Raster " + at("coarse") + ": 2 columns, 2 rows of 15 by 15, lower left corner 1000 2000"));
  EXPECT_TRUE(
      printed("DEM " + at("elev_site") + ": 3 columns, 2 rows of 10 by 10, lower left corner 1000 2000"));
  // A larger raster on the same lattice is cut to the DEM.
  writeRaster(at("wide"), "0 0 0 0 0\n0 1 2 3 0\n0 4 5 6 0\n0 0 0 0 0", {.xmin = 990, .ymin = 1990});
  ASSERT_EQ(dem.GetElev({.file = at("wide")}), 0);
  EXPECT_EQ(showCells(dem.elev), "1 2 3\n4 5 6");
}

TEST_P(DemGetters, RastersThatDoNotFitTheDEMAreRefusedWithBothExtents) {
  DEM_type dem = site();
  const std::string nine = "1 2 3\n4 5 6\n7 8 9";
  for (const RasterPlan& plan :
       {RasterPlan{.cellsize = 5}, {.xmin = 1010}, {.ymin = 1980}, {.xmin = 1003}, {.xmin = 9000}}) {
    writeRaster(at("other"), nine, plan);
    for (const int status : {dem.GetGrad(at("other")), dem.GetElev({.file = at("other")})})
      EXPECT_EQ(status, -1) << plan.xmin;
    EXPECT_FALSE(dem.grad.GridExists() || dem.elev.GridExists());
    EXPECT_TRUE(printed("Raster " + at("other") + ": 3 columns, 3 rows of " +
                        (plan.cellsize == 5 ? "5 by 5" : "10 by 10")));
    EXPECT_TRUE(printed("DEM " + at("elev_site") + ": 3 columns, 2 rows of 10 by 10"));
    console_.clear();
  }
  writeRaster(at("other"), "1 2 3 4\n5 6 7 8\n9 9 9 9", {.ymin = 1990});
  ASSERT_EQ(dem.GetGrad(at("other")), 0);
  EXPECT_EQ(showCells(dem.grad), "1 2 3\n5 6 7");
}

TEST_P(DemGetters, InputRastersAreCheckedAgainstTheDEM) {
  const DEM_type dem = site();
  R4Grid_type grid;
  constexpr MatchTexts texts{.routine = "here", .message = "differs"};
  for (const RasterPlan& plan :
       {RasterPlan{}, RasterPlan{.xmin = 1010}, RasterPlan{.ymin = 2000.5}, RasterPlan{.cellsize = 10.1}}) {
    writeRaster(at("input"), "1 2 3\n4 5 6", plan);
    ASSERT_EQ(readRaster(grid, at("input.flt")), 0);
    const bool same = plan.xmin == 1000 && plan.ymin == 2000 && plan.cellsize == 10;
    EXPECT_EQ(matchesDEM(dem, grid, at("input"), texts), same);
    EXPECT_EQ(printed("differs"), !same);
  }
  writeRaster(at("input"), "1 2\n4 5\n6 7");
  ASSERT_EQ(readRaster(grid, at("input")), 0);
  EXPECT_FALSE(matchesDEM(dem, grid, at("input"), texts));
  EXPECT_TRUE(printed("ERROR: here\n FILE: " + at("input") + "\n differs\n   Raster " + at("input") +
                      ": 2 columns, 3 rows"));
}

TEST_P(DemGetters, PinMustMatchTheDEM) {
  DEM_type dem = site();
  EXPECT_EQ(dem.GetPin(), -1);
  EXPECT_TRUE(printed("Cannot find pin_ID grid"));
  struct Case {
    const char* cells;
    RasterPlan plan;
    const char* message;
  };
  for (const auto& [cells, plan, message] :
       {Case{"1 2\n3 4", {}, "Pin and DEM size do not match"},
        {"1 2 3\n4 5 6", {.cellsize = 11}, "Pin and DEM cellsize does not match"},
        {"1 2 3\n4 5 6", {.xmin = 1001}, "Pin and DEM lower left corner do not match"}}) {
    writeRaster(at("pin_15_site"), cells, plan);
    EXPECT_EQ(dem.GetPin(), -1);
    EXPECT_TRUE(printed(message)) << message;
    EXPECT_TRUE(printed("Raster " + at("pin_15_site") + ": ") && printed("DEM " + at("elev_site") + ": "));
    EXPECT_FALSE(dem.pin.GridExists());
  }
  writeRaster(at("pin_15_site"), "1 2 3\n4 5 6");
  EXPECT_EQ(dem.GetPin(), 0);
  EXPECT_EQ(dem.GetPin(at("pin_15_site.flt")), 0);
  dem.len_scale = 0;
  EXPECT_EQ(dem.GetPin(), -1);
  EXPECT_TRUE(printed("DEM length scale unknown"));
  dem.len_scale = 1e6;
  EXPECT_EQ(dem.GetPin(), -1);
  EXPECT_TRUE(printed("Error reading DEM%len_scale"));
}

TEST_P(DemGetters, GEPIsPinTimesGradientOverContourLength) {
  writeRaster(at("grad_15_site"), "0.1 0.3 .\n0.7 1.1 2");
  writeRaster(at("pin_15_site"), "3 7 1\n. 5 6", {.nodata = "-1"});
  writeRaster(at("bcon_15_site"), "0.9 0.7 1\n1 0 .");
  DEM_type dem = site();
  R4Grid_type gep;
  ASSERT_EQ(dem.GetGEP(gep), 0);
  const std::vector<float> expected{3.0F * 0.1F / 0.9F, 7.0F * 0.3F / 0.7F, -9999, -9999, -9999, -9999};
  EXPECT_EQ(cellsOf(gep), expected);
  for (const auto* grid : {&dem.pin, &dem.grad, &dem.bcon}) EXPECT_FALSE(grid->GridExists());
  EXPECT_EQ(dem.GetGEP(gep, {.bcon = "/no/such"}), -1);
  EXPECT_TRUE(printed("Cannot find Bcon file"));
}

TEST_P(DemGetters, SlopeAndPlanCurvatureAreReadOrComputed) {
  writeRaster(at("elev_site"), "10 20 31\n40 . 62\n71 85 97\n99 98 99");
  DEM_type dem = site();
  R4Grid_type slope = dem.GetSlope();
  R4Grid_type plan = dem.GetPlanCurvature();
  ASSERT_EQ(slope.status + plan.status + dem.status, 0);
  EXPECT_TRUE(printed("  Calculating slope"));
  EXPECT_TRUE(printed("  Calculating Plan Curvature"));
  for (int32_t row = 1; row <= 4; ++row)
    for (int32_t col = 1; col <= 3; ++col) {
      float g = kNodata, p = kNodata;
      dem.elev.surfaceMetrics({.length = 15.0F, .col = col, .row = row, .gradient = &g, .plan = &p});
      EXPECT_EQ(slope.ExtractR4ValueColRow(col, row), g);
      EXPECT_EQ(plan.ExtractR4ValueColRow(col, row), p);
    }
  writeRaster(at("slope"), "1 2 3\n4 5 6\n7 8 9\n1 1 1", {.ymin = 1999});
  EXPECT_EQ(dem.GetSlope(at("slope")).status, -1);
  EXPECT_TRUE(printed("Slope and DEM lower left corner do not match"));
  EXPECT_EQ(dem.GetPlanCurvature(at("slope")).status, -1);
  EXPECT_TRUE(printed("PlanCurvature and DEM lower left corner do not match"));
  const R4Grid_type blank = dem.GetSlope(" ");
  EXPECT_FALSE(blank.GridExists());
  EXPECT_EQ(blank.status, 0);
  dem.len_scale = -9999;
  EXPECT_EQ(dem.GetSlope().status, -1);
}

INSTANTIATE_TEST_SUITE_P(Storages, DemGetters, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

}  // namespace
}  // namespace terrain::test
