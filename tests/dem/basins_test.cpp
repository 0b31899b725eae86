// Basins: they share out the ground, and hold what a plain sum gives; the sea taken out along a coastline;
// the table of thresholds and channel densities.

#include "dem/basins.h"

#include "dem/calibration.h"
#include "dem/flow_direction.h"
#include "dem/ocean.h"
#include "grid/float_raster.h"
#include "grid/neighbours.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

constexpr int32_t kCols = 26;
constexpr int32_t kRows = 21;

class BasinTest : public InBothStorages {
 protected:
  /// Conditioned hills within a rim of nodata, to which all ground drains.
  void SetUp() override {
    const GridPlan plan{.storage = GetParam()};
    R4Grid_type ground = noiseDem(kCols, kRows, {.seed = 5, .lakes = 2, .roughness = 60}, plan);
    fillWith(ground, [&](int32_t col, int32_t row) {
      const bool rim = col == 1 || row == 1 || col == kCols || row == kRows;
      return rim ? kNodata : ground.ExtractR4ValueColRow(col, row);
    });
    dem.plan = emptyGrid<R4Grid_type>(kCols, kRows, plan);
    fillWith(dem.plan, [](int32_t col, int32_t row) { return std::sin(col * 1.7 + row * 2.3); });
    takeElevations(dem, std::move(ground));
    ASSERT_EQ(shiftElevations(dem), 0);
    ASSERT_EQ(FlowDirection(dem), 0) << console_.text();
  }
  template <class Use>
  void forEachCell(Use use) const {
    for (int32_t row = 1; row <= kRows; ++row)
      for (int32_t col = 1; col <= kCols; ++col) use(col, row);
  }
  /// The shares, repeated over all cells until none changes.
  std::vector<float> plainShares(ColRow pour) {
    const auto at = [](int32_t col, int32_t row) {
      return static_cast<std::size_t>((row - 1) * kCols + col - 1);
    };
    std::vector<float> shares(std::size_t{kCols} * kRows);
    shares[at(pour.col, pour.row)] = 1.0F;
    for (bool changed = true; changed;) {
      changed = false;
      forEachCell([&](int32_t col, int32_t row) {
        const float angle = dem.aspect.ExtractR4ValueColRow(col, row);
        if (angle < 0.0F || ColRow{col, row} == pour) return;
        double sum = 0;
        for (int32_t code = 1; code <= kDirections; ++code) {
          const ColRow to = stepFrom({col, row}, code);
          sum += static_cast<double>(FlowProportion(angle, opposite(code))) *
                 static_cast<double>(shares[at(to.col, to.row)]);
        }
        changed = changed || shares[at(col, row)] != static_cast<float>(sum);
        shares[at(col, row)] = static_cast<float>(sum);
      });
    }
    return shares;
  }

  DEM_type dem;
};

TEST_P(BasinTest, BasinsOfAllOutletsTileTheGroundAndHoldThePlainSums) {
  ASSERT_EQ(dem.GetD8(), 0);
  std::vector<double> sums(std::size_t{kCols} * kRows);
  std::vector<int32_t> counts(sums.size());
  const std::vector<float> angles = cellsOf(dem.aspect);
  forEachCell([&](int32_t col, int32_t row) {
    if (angles[static_cast<std::size_t>((row - 1) * kCols + col - 1)] >= 0.0F) return;
    R4Grid_type P;
    I4Grid_type basin;
    ASSERT_EQ(delineateBasin(dem, P, {.col = col, .row = row}), 0) << console_.text();
    ASSERT_EQ(delineateBasinD8(dem, basin, {.col = col, .row = row}), 0) << console_.text();
    for (std::size_t i = 0; i < sums.size(); ++i) {
      sums[i] += static_cast<double>(cellsOf(P)[i]);
      counts[i] += cellsOf(basin)[i];
    }
  });
  for (std::size_t i = 0; i < sums.size(); ++i) {
    EXPECT_NEAR(sums[i], 1.0, 1e-5) << i;
    EXPECT_EQ(counts[i], 1) << i;
  }
  for (const ColRow pour : {ColRow{13, 2}, ColRow{6, 10}, ColRow{1, 7}}) {
    R4Grid_type P;
    const Point at = dem.ColRowToXY(pour.col, pour.row);
    ASSERT_EQ(delineateBasin(dem, P, {.x = at.x + 3, .y = at.y + 3}), 0);
    EXPECT_EQ(cellsOf(P), plainShares(pour));
  }
}

TEST_P(BasinTest, PourPointsThatAreNoneAndCirclesAreReported) {
  R4Grid_type P;
  ASSERT_EQ(delineateBasin(dem, P, {.x = 0, .y = 0}), 0);
  EXPECT_TRUE(std::ranges::all_of(cellsOf(P), [](float p) { return p == 0.0F; })) << "off the grid";
  EXPECT_EQ(delineateBasin(dem, P, {}), -1);
  EXPECT_EQ(delineateBasin(dem, P, {.x = 1010}), -1);
  EXPECT_EQ(delineateBasin(dem, P, {.row = 2}), -1);
  EXPECT_TRUE(console_.has("Pour point not specified") && console_.has("Need both x and y arguments") &&
              console_.has("Need both column and row arguments"));
  DEM_type round;
  takeElevations(round, gridOf<R4Grid_type>("9 9\n1 9", {.storage = GetParam()}));
  round.aspect = gridOf<R4Grid_type>("1.5707963 3.1415927\n. 5.105", {.storage = GetParam()});
  EXPECT_EQ(delineateBasin(round, P, {.col = 1, .row = 2}), -1);
  EXPECT_TRUE(console_.has("The angles above the pour point lead in a circle"));
  EXPECT_FALSE(P.GridExists());
}

TEST_P(BasinTest, TheCoastLeavesTheSeaAsNodataAndNoLandCellMore) {
  // The coast runs beside the sea, straight and slanting; behind it lies a low field, before it an island.
  constexpr std::string_view ground = "9 9 9 9 0 0\n9 9 2 5 0 0\n9 2 6 0 0 0\n9 5 0 0 0 0\n7 0 0 . 3 1";
  takeElevations(dem, gridOf<R4Grid_type>(ground, {.storage = GetParam()}));
  const auto cell = [&](int32_t col, int32_t row) { return dem.elev.ColRowToXY(col, row); };
  writeLines(scratch_.path("coast"), {{cell(1, 5), cell(4, 2), cell(4, 1)}, {cell(5, 5), cell(6, 5)}});
  ASSERT_EQ(MaskOcean(dem, scratch_.path("coast.shp"), 2.0F), 0) << console_.text();
  EXPECT_EQ(showCells(dem.elev), "9 9 9 9 . .\n9 9 2 5 . .\n9 2 6 . . .\n9 5 . . . .\n7 . . . 3 .");
  const std::vector<float> before = cellsOf(dem.elev);
  writeBytes(scratch_.path("bad.shp"), "no shapefile");
  EXPECT_EQ(MaskOcean(dem, scratch_.path("bad"), 2.0F), -1);
  EXPECT_TRUE(console_.has("ReadPolylineShapefile failed for " + scratch_.path("bad"))) << console_.text();
  EXPECT_EQ(cellsOf(dem.elev), before);
}

TEST_P(BasinTest, DensitiesFallWithTheThresholdAndCountTheCells) {
  constexpr std::string_view area = "1 10 100 1000\n. -2 10 1e9\n4 0 5 6";
  constexpr std::string_view gradient = "0.5 0.5 0.5 0.5\n0.5 0.5 . 0.5\n0.05 0.05 0.05 0";
  const GridPlan plan{.storage = GetParam()};
  takeElevations(dem, gridOf<R4Grid_type>("1 1 1 1\n1 1 1 1\n1 1 1 1", plan));
  dem.DA = gridOf<R4Grid_type>(area, plan);
  dem.grad = gridOf<R4Grid_type>(gradient, plan);
  dem.path = scratch_.path("");
  dem.demID = "site";
  dem.dataID = "a";
  CalibrationSettings settings{.Smin = 0.1F, .Smax = 1.0F, .Alpha = 1.0F, .specificArea = false};
  ASSERT_EQ(Calibrate(dem, settings), 0) << console_.text();
  // A * 10 m * S: 5, 50, 500, 5000 in the steep table, 5e9 in none; 2 and 2.5 in the other.
  const std::string table = readBytes(scratch_.path("areathreshold_sitea.csv"));
  const std::size_t steep = table.find("Slopes greater than smin\nAREA,CHANNEL_DENSITY\n3981.072,30.17767\n");
  const std::size_t gentle = table.find("Slopes less than smin\nAREA,CHANNEL_DENSITY\n1.995262,120.7107\n");
  EXPECT_NE(table.find("NOT using specific area\nSmin: 0.1000000\nSmax: 1.000000\nAlpha: 1.000000\n"),
            std::string::npos)
      << table;
  ASSERT_TRUE(steep < gentle && gentle != std::string::npos) << table;
  EXPECT_NE(table.find("3.981072,120.7107\n"), std::string::npos) << table;
  R4Grid_type threshold;
  ASSERT_EQ(readRaster(threshold, scratch_.path("threshold_sitea")), 0);
  EXPECT_EQ(showCells(threshold), "5 50 500 5000\n. . . 5e+09\n2 0 2.5 0");
  dem.bcon = gridOf<R4Grid_type>("2 2 2 2\n2 2 2 2\n2 2 2 2", plan);
  settings = {.Smin = 1.0F};
  ASSERT_EQ(Calibrate(dem, settings), 0);
  EXPECT_NE(readBytes(scratch_.path("areathreshold_sitea.csv"))
                .find(" No DEM cells had a slope greater than 1.000000\nSlopes less"),
            std::string::npos);
  dem.grad.releaseStorage();
  dem.len_scale = -9999.0;
  EXPECT_EQ(Calibrate(dem, settings), -1);
  EXPECT_TRUE(console_.has("GetGrad failed")) << console_.text();
}

INSTANTIATE_TEST_SUITE_P(Storages, BasinTest, ::testing::Values(Storage::memory, Storage::disk), storageName);

}  // namespace
}  // namespace terrain::test
