// Breaching, flow angles and accumulation: properties on made terrain, and hand-worked cases.

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "dem/flat.h"
#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "dem/lattice.h"
#include "grid/neighbours.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

struct Plan {
  int32_t cols, rows;
  NoisePlan noise;
  float step;  ///< heights are multiples of it: large ones make flats
};

R4Grid_type heights(const Plan& plan, Storage storage) {
  R4Grid_type grid = noiseDem(plan.cols, plan.rows, plan.noise, {.storage = storage});
  fillWith(grid, [&](int32_t col, int32_t row) {
    const float z = grid.ExtractR4ValueColRow(col, row);
    return z == grid.nodata ? z : std::round(z / plan.step) * plan.step;
  });
  return grid;
}

/// A DEM in the working form, with the plan curvature of no curvature at all.
void prepare(DEM_type& dem, R4Grid_type&& elevations) {
  static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(elevations);
  dem.onDisk = false;
  dem.scratchUnit = 0;
  dem.plan = emptyGrid<R4Grid_type>(elevations.cols(), elevations.rows(),
                                    {.storage = elevations.onDisk ? Storage::disk : Storage::memory});
  fillWith(dem.plan, [](int32_t col, int32_t row) { return std::sin(col * 1.7 + row * 2.3); });
  dem.elev = std::move(elevations);
  dem.aspect.onDisk = dem.DA.onDisk = dem.D8.onDisk = dem.elev.onDisk;
  ASSERT_EQ(shiftElevations(dem), 0);
}

const std::vector<Plan>& terrains() {
  static const std::vector<Plan> plans{
      {60, 50, {.seed = 1}, 0.001F},
      {60, 50, {.seed = 2, .lakes = 4, .roughness = 30}, 1.0F},
      {70, 40, {.seed = 3, .holes = 0.05, .lakes = 2, .roughness = 60}, 10.0F},
      {40, 70, {.seed = 4, .roughness = 300}, 100.0F},
      {1, 30, {.seed = 5}, 1.0F},
      {30, 2, {.seed = 6}, 1.0F},
      {2, 2, {.seed = 7}, 1.0F},
  };
  return plans;
}

class Drainage : public InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, Drainage, ::testing::Values(Storage::memory, Storage::disk), storageName);

TEST_P(Drainage, EveryCellDrainsToTheEdgeAndTheAreaIsConserved) {
  for (const Plan& plan : terrains()) {
    DEM_type dem;
    prepare(dem, heights(plan, GetParam()));
    const std::vector<float> raw = cellsOf(dem.elev);
    ASSERT_EQ(FlowDirection(dem), 0) << console_.text();
    const std::vector<float> conditioned = cellsOf(dem.elev);
    const std::vector<float> angles = cellsOf(dem.aspect);
    R8Grid_type area;
    area.onDisk = dem.elev.onDisk;
    ASSERT_EQ(accumulator(dem, {.DA = &dem.DA, .DAR8 = &area}), 0);
    const std::vector<double> areas = cellsOf(area);

    const auto at = [&](int32_t col, int32_t row) {
      return static_cast<std::size_t>(row - 1) * static_cast<std::size_t>(plan.cols) +
             static_cast<std::size_t>(col - 1);
    };
    const auto isData = [&](int32_t col, int32_t row) { return dem.contains(col, row) && raw[at(col, row)] > 0; };
    double cells = 0;
    double leaving = 0;
    int64_t raised = 0;
    for (int32_t row = 1; row <= plan.rows; ++row) {
      for (int32_t col = 1; col <= plan.cols; ++col) {
        if (!isData(col, row)) {
          EXPECT_EQ(conditioned[at(col, row)], 0.0F);
          EXPECT_LT(angles[at(col, row)], 0.0F);
          continue;
        }
        ++cells;
        ASSERT_GE(angles[at(col, row)], 0.0F) << col << ' ' << row;
        if (conditioned[at(col, row)] > raw[at(col, row)] + 0.0006F) {
          ++raised;  // a pit of one cell
          for (int32_t code = 1; code <= kDirections; ++code) {
            const ColRow n = stepFrom({.col = col, .row = row}, code);
            EXPECT_GT(raw[at(n.col, n.row)], raw[at(col, row)]);
          }
        }
        for (int32_t code = 1; code <= kDirections; ++code) {
          const ColRow n = stepFrom({.col = col, .row = row}, code);
          if (!isData(n.col, n.row))
            leaving += areas[at(col, row)] *
                       static_cast<double>(FlowProportion(angles[at(col, row)], opposite(code)));
        }
        // Straight down the code of the angle the edge is reached.
        ColRow here{.col = col, .row = row};
        int steps = 0;
        while (isData(here.col, here.row) && steps < plan.cols * plan.rows) {
          here = stepFrom(here, codeOfAspect(angles[at(here.col, here.row)]));
          ++steps;
        }
        EXPECT_LT(steps, plan.cols * plan.rows) << "a circle from " << col << ' ' << row;
      }
    }
    EXPECT_NEAR(leaving / cells, 1.0, 1e-6);
    EXPECT_LT(raised, static_cast<int64_t>(cells) / 4);

    // A drained surface needs no further passage.
    console_.clear();
    ASSERT_EQ(FlowDirection(dem), 0);
    EXPECT_TRUE(console_.has("Drainage passages carved: 0\n")) << console_.text();
    EXPECT_EQ(cellsOf(dem.elev), conditioned);
  }
}

}  // namespace
}  // namespace terrain::test
