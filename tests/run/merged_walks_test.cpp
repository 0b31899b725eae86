// Merged walks against single walks that are summed in 64 bits.

#include "run/merged_walks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "dem/dem.h"
#include "foundation/memory.h"
#include "grid/surface_raster.h"
#include "run/accumulation.h"
#include "run/flow_graph.h"
#include "run/merged_kernels.h"
#include "support/real_data.h"
#include "support/walk_grids.h"

namespace terrain {
namespace {

using test::kPi;
using test::Storage;

/// Every walk by itself, with the float32 data and decisions of the walks, in 64 bits.
class PlainWalks {
 public:
  PlainWalks(WalkTable& table, const WalkValues& values) : table_(table), values_(values), graph_(table) {
    totals.resize(static_cast<std::size_t>(graph_.records()));
    graph_.forEachCell([&](std::int64_t cell) {
      if (table_.cells()[cell].starts == 0) return;
      if (values_.byTime)
        byTime(cell, 1.0, 0.0);
      else
        byDistance(cell, 1.0, 0.0F, true);
    });
  }
  std::vector<double> totals;

 private:
  void byTime(std::int64_t at, double share, double elapsed) {
    totals[static_cast<std::size_t>(at)] += share;
    const double duration = static_cast<double>(values_.duration);
    if (!(elapsed < duration)) return;
    const WalkCell& cell = table_.cells()[at];
    for (std::size_t way = 0; way < 2; ++way) {
      if (!(cell.share[way] > 0.0F)) continue;
      const auto step = static_cast<double>(cell.step[way]);
      const double part = std::min((duration - elapsed) / step, 1.0);
      if (part > 0)
        byTime(at + cell.next[way], share * static_cast<double>(cell.share[way]) * part, elapsed + step);
    }
  }
  void byDistance(std::int64_t at, double share, float travelled, bool origin) {
    if (!origin) totals[static_cast<std::size_t>(at)] += share;
    const WalkCell& cell = table_.cells()[at];
    for (std::size_t way = 0; way < 2; ++way)
      if (const float reach = cell.step[way] + travelled;
          cell.share[way] > 0.0F && reach <= values_.maxDistance)
        byDistance(at + cell.next[way], share * static_cast<double>(cell.share[way]), reach, false);
  }

  WalkTable& table_;
  const WalkValues& values_;
  FlowGraph graph_;
};

/// The largest relative difference of the totals of cells of the grid, of which some are cells of circles.
double difference(WalkValues values, const R4Grid_type& grad, const R4Grid_type& aspect, double tolerance,
                  MergedResult& result) {
  values.cellDistance = stepLengths(aspect.cellsize);
  values.tolerance = tolerance;
  WalkTable plain;
  EXPECT_EQ(plain.make(values, grad, aspect), 0);
  const PlainWalks walks(plain, values);
  WalkTable table;
  EXPECT_EQ(table.make(values, grad, aspect), 0);
  std::vector<double> totals;
  R4Grid_type accum;
  EXPECT_EQ(CreateGrid(accum, {.like = &aspect, .fillValue = 0.0F}), 0);
  EXPECT_EQ(mergeWalks(values, {.grad = grad, .aspect = aspect, .bcon = aspect, .accum = accum}, result), 0);
  EXPECT_EQ(mergeTable(table, values, result.rungs, &totals), 0);
  double most = 0;
  FlowGraph(table).forEachCell([&](std::int64_t cell) {
    const double expected = walks.totals[static_cast<std::size_t>(cell)];
    const double got = totals[static_cast<std::size_t>(cell)];
    most = std::max(most, std::abs(got - expected) / std::max(expected, 1.0));
    EXPECT_EQ(table.cells()[cell].total, static_cast<float>(got));
  });
  return most;
}

/// Groups of cells that water returns to.
std::int64_t circlesOf(const R4Grid_type& aspect) {
  WalkValues values{.byDistance = true, .maxDistance = 1.0F};
  values.cellDistance = stepLengths(aspect.cellsize);
  R4Grid_type none;
  WalkTable table;
  EXPECT_EQ(table.make(values, none, aspect), 0);
  std::int64_t circles = 0;
  EXPECT_EQ(forEachGroup(FlowGraph(table),
                         [&](std::span<const std::int64_t> group) {
                           circles += group.size() > 1 ? 1 : 0;
                           return true;
                         }),
            GroupsEnd::done);
  return circles;
}

class MergedWalks : public ::testing::Test {
 protected:
  test::ConsoleCapture console_;
  MergedResult result;
};

TEST_F(MergedWalks, ByDistanceAreTheWalksOnEveryKindOfCell) {
  std::int64_t circles = 0;
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    const test::Mixture m(static_cast<int32_t>(3 + seed * 3), static_cast<int32_t>(40 - seed * 3), seed,
                          Storage::memory);
    const float three = 10.0F + 10.0F + 10.0F * 1.4142135F;
    for (const float limit :
         {9.9F, 10.0F, 61.0F, 100.0F, three, std::nextafter(three, 0.0F), std::nextafter(three, 99.0F)})
      EXPECT_LT(difference({.byDistance = true, .maxDistance = limit}, m.grad, m.aspect, 0.001, result),
                1e-11)
          << limit;
    circles += circlesOf(m.aspect);
  }
  EXPECT_GT(circles, 20) << "cells that face each other are among them";
}

TEST_F(MergedWalks, TakeTheStepsThatTheWalksTake) {
  // Whole multiples of 0.1 and 0.4 m: by its sum in float32 a walk often does not take the last step.
  for (const double cellsize : {0.1, 0.4}) {
    R4Grid_type aspect = test::emptyGrid<R4Grid_type>(12, 12, {.cellsize = cellsize});
    std::mt19937 random(4);
    test::fillWith(aspect, [&](int32_t, int32_t) { return static_cast<float>(random() % 1000) * 0.0015F; });
    R4Grid_type none;
    for (int32_t steps = 1; steps <= 12; ++steps) {
      const auto limit = static_cast<float>(steps * cellsize);
      EXPECT_LT(difference({.byDistance = true, .maxDistance = limit}, none, aspect, 0.001, result), 1e-11)
          << limit;
    }
  }
}

TEST_F(MergedWalks, ByTimeKeepTheirTolerance) {
  for (const double tolerance : {1e-2, 1e-3, 1e-4})
    for (uint32_t seed = 1; seed <= 6; ++seed) {
      SCOPED_TRACE(seed);
      const test::Mixture m(static_cast<int32_t>(5 + seed * 4), 30, seed, Storage::memory);
      const WalkValues values{
          .byTime = true, .duration = 9.0F + static_cast<float>(seed), .conductivity = 10.0F};
      EXPECT_LT(difference(values, m.grad, m.aspect, tolerance, result), tolerance) << tolerance;
      EXPECT_LE(result.change, tolerance / 2);
    }
  R4Grid_type grad = test::emptyGrid<R4Grid_type>(1, 8);
  R4Grid_type aspect = test::emptyGrid<R4Grid_type>(1, 8);
  test::fillWith(grad, [](int32_t, int32_t) { return 1.0F; });
  test::fillWith(aspect, [](int32_t, int32_t) { return kPi; });
  for (const float duration : {0.0F, -1.0F, 0.3F, 2.5F})
    EXPECT_LT(
        difference({.byTime = true, .duration = duration, .conductivity = 20.0F}, grad, aspect, 1e-3, result),
        1e-3);
  EXPECT_EQ(difference({.byTime = true, .duration = 3.0F}, grad, aspect, 1e-3, result), 0.0) << "no speed";
}

TEST_F(MergedWalks, AreTheWalksOnRealGrids) {
  SKIP_WITHOUT_REAL_DATA();
  for (const char* name : {"small", "small_gully", "medium_ridges"}) {
    SCOPED_TRACE(name);
    DEM_type dem;
    dem.file = test::dataFolder() + "/raster/" + name;
    ASSERT_EQ(dem.ResolveDEM(), 0);
    ASSERT_EQ(dem.GetElev(), 0);
    for (R4Grid_type* g : {&dem.grad, &dem.aspect}) ASSERT_EQ(CreateGrid(*g, {.like = &dem.elev}), 0);
    const auto cell = static_cast<float>(dem.cellsize);
    ASSERT_EQ(surfaceRasters(dem.elev, 2 * cell,
                             {{&dem.grad, SurfaceMetric::gradient}, {&dem.aspect, SurfaceMetric::aspect}}),
              0);
    EXPECT_LT(
        difference({.byDistance = true, .maxDistance = 10.5F * cell}, dem.grad, dem.aspect, 1e-3, result),
        1e-11);
    EXPECT_LT(difference({.byTime = true, .duration = 20.0F, .conductivity = cell}, dem.grad, dem.aspect,
                         1e-4, result),
              1e-4);
    // Far beyond what walks alone reach, halving the tolerance changes nothing beyond it, and what the limit
    // lets through does not shrink.
    R4Grid_type none;
    const auto totals = [&](float hours, double tolerance) {
      R4Grid_type accum;
      EXPECT_EQ(accumulateCells({.byTime = true,
                                 .merged = true,
                                 .tolerance = tolerance,
                                 .duration = hours,
                                 .conductivity = cell},
                                {.grad = dem.grad, .aspect = dem.aspect, .bcon = none, .accum = accum}, dem),
                0);
      return test::cellsOf(accum);
    };
    const std::vector<float> coarse = totals(200, 1e-3);
    const std::vector<float> fine = totals(200, 5e-4);
    for (std::size_t i = 0; i < coarse.size(); ++i) ASSERT_NEAR(coarse[i] / fine[i], 1.0F, 1e-3F);
  }
}

TEST_F(MergedWalks, ConserveTheWater) {
  // No circles and no gaps: what starts is what is on the cells at the end of every way or has left the grid.
  R4Grid_type aspect = test::emptyGrid<R4Grid_type>(30, 400);
  std::mt19937 random(9);
  test::fillWith(
      aspect, [&](int32_t, int32_t) { return kPi - 0.7F + static_cast<float>(random() % 1000) * 0.0014F; });
  R4Grid_type accum;
  R4Grid_type none;
  ASSERT_EQ(accumulateCells({.byDistance = true, .merged = true, .maxDistance = 1e4F},
                            {.grad = none, .aspect = aspect, .bcon = none, .accum = accum}, aspect),
            0);
  // All flows to the south, so the last row and the sides have it: of every row above, all but what left
  // there.
  WalkTable table;
  WalkValues values{.byDistance = true, .maxDistance = 1e4F};
  values.cellDistance = stepLengths(aspect.cellsize);
  ASSERT_EQ(table.make(values, none, aspect), 0);
  std::vector<double> totals;
  ASSERT_EQ(mergeTable(table, values, 0, &totals), 0);
  double leaving = 0;
  double defect = 0;  // shares do not add to 1
  const FlowGraph graph(table);
  graph.forEachCell([&](std::int64_t cell) {
    const WalkCell& record = graph.cell(cell);
    const double here = totals[static_cast<std::size_t>(cell)] + 1;
    double kept = 0;
    for (std::size_t way = 0; way < 2; ++way) {
      const std::int64_t to = cell + record.next[way];
      const auto share = static_cast<double>(record.share[way]);
      kept += share;
      const std::int64_t col = to % 32;
      const std::int64_t row = to / 32;
      if (share > 0 && (col < 1 || col > 30 || row < 1 || row > 400)) leaving += here * share;
    }
    defect += here * (1 - kept);
  });
  EXPECT_NEAR((leaving + defect) / (30 * 400), 1.0, 1e-12);
}

TEST_F(MergedWalks, MarchAroundVorticesOrSayThatTheyCannot) {
  R4Grid_type aspect = test::emptyGrid<R4Grid_type>(21, 21);
  test::fillWith(aspect, [](int32_t col, int32_t row) {
    const double turn = std::atan2(col - 11, 11 - row) + 1.6;
    return static_cast<float>(turn < 0 ? turn + 2 * std::numbers::pi : turn);
  });
  R4Grid_type grad = test::emptyGrid<R4Grid_type>(21, 21);
  test::fillWith(grad, [](int32_t, int32_t) { return 0.5F; });
  EXPECT_LT(difference({.byDistance = true, .maxDistance = 115.0F}, grad, aspect, 1e-3, result), 1e-11);
  EXPECT_GE(circlesOf(aspect), 1);
  EXPECT_LT(
      difference({.byTime = true, .duration = 20.0F, .conductivity = 10.0F}, grad, aspect, 1e-4, result),
      1e-4);
  WalkValues near{.byDistance = true, .maxDistance = 115.0F};
  near.cellDistance = stepLengths(10);
  WalkTable vortex;
  ASSERT_EQ(vortex.make(near, grad, aspect), 0);
  memoryLimits().largestBlock = 50'000;  // the cells fit, the tables of the vortex do not
  EXPECT_EQ(mergeTable(vortex, near, 0), -1);
  memoryLimits().largestBlock.reset();
  EXPECT_TRUE(console_.has("cells along which the flow goes in circles"));
  WalkValues values{.byDistance = true, .maxDistance = 1e9F};
  values.cellDistance = stepLengths(10);
  WalkTable table;
  ASSERT_EQ(table.make(values, grad, aspect), 0);
  EXPECT_EQ(mergeTable(table, values, 0), -1);
  EXPECT_TRUE(console_.has("more than 4000 steps"));
}

TEST_F(MergedWalks, LoopsOverVectorsRoundAsSingleElements) {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::vector<double> from(103);
  for (double& x : from) x = unit(random);
  const std::array<double, 4> w{unit(random), unit(random), unit(random), unit(random)};
  for (std::size_t count = 0; count < 100; ++count) {
    std::vector<double> whole(100, 0.1);
    std::vector<double> single = whole;
    addScaled(whole.data(), from.data(), w[0], count);
    addInterpolated(whole.data(), from.data(), w, count);
    for (std::size_t i = 0; i < count; ++i) {
      volatile double product = w[0] * from[i];
      volatile double sum = single[i] + product;
      volatile double a = w[0] * from[i];
      volatile double b = w[1] * from[i + 1];
      volatile double c = w[2] * from[i + 2];
      volatile double d = w[3] * from[i + 3];
      volatile double ab = a + b;
      volatile double abc = ab + c;
      volatile double abcd = abc + d;
      single[i] = sum + abcd;
    }
    EXPECT_EQ(whole, single);
  }
}

}  // namespace
}  // namespace terrain
