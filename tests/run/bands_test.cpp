// Walks in bands and on several threads against walks over the whole grid on one, bit for bit.

#include "run/bands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>

#include "dem/dem.h"
#include "foundation/threads.h"
#include "grid/surface_raster.h"
#include "support/real_data.h"
#include "support/walk_grids.h"

namespace terrain {
namespace {

using test::Storage;

class Bands : public ::testing::Test {
 protected:
  ~Bands() override { useThreads(2); }

  /// The totals of all ways to cut the grid and to share the work; they must be the same.
  static void check(WalkValues values, const R4Grid_type& grad, const R4Grid_type& aspect,
                    Storage storage = Storage::memory) {
    const auto totals = [&](int32_t threads, int32_t rows) {
      R4Grid_type none;
      R4Grid_type accum;
      accum.onDisk = storage == Storage::disk;
      values.bandRows = rows;
      useThreads(threads);
      EXPECT_EQ(
          accumulateCells(values, {.grad = grad, .aspect = aspect, .bcon = none, .accum = accum}, aspect), 0);
      return test::cellsOf(accum);
    };
    const std::vector<float> whole = totals(1, aspect.rows());
    for (const int32_t threads : {1, 2, 3, 7})
      for (const int32_t rows : {0, 1, 7, 1000}) {
        const std::vector<float> cut = totals(threads, rows);
        const auto differ = std::ranges::mismatch(whole, cut, test::sameBits<float>).in1 - whole.begin();
        ASSERT_EQ(differ, std::ssize(whole))
            << threads << " threads, bands of " << rows << " rows, cell " << differ;
      }
  }
  test::ConsoleCapture console_;
  test::ScratchDir scratch_;
};

TEST_F(Bands, AreTheWholeGridOnEveryKindOfCell) {
  for (const Storage storage : {Storage::memory, Storage::disk})
    for (uint32_t seed = 1; seed <= (storage == Storage::memory ? 3U : 1U); ++seed) {
      SCOPED_TRACE(seed);
      const test::Mixture m(static_cast<int32_t>(3 + seed * 4), 60, seed, storage);
      for (const bool merged : {false, true}) {
        check({.byTime = true, .merged = merged, .duration = 15.0F, .conductivity = 10.0F}, m.grad, m.aspect,
              storage);
        check({.byDistance = true, .merged = merged, .maxDistance = 97.0F}, m.grad, m.aspect, storage);
      }
    }
}

TEST_F(Bands, AreTheWholeGridJustBelowAndAboveWholeSteps) {
  // All of the water goes straight across the bands, so that a walk takes as many rows as it can.
  std::mt19937 random(8);
  for (const double cellsize : {0.1, 0.4, 10.0})
    for (const bool north : {false, true}) {
      R4Grid_type grad = test::emptyGrid<R4Grid_type>(2, 40, {.cellsize = cellsize});
      R4Grid_type aspect = test::emptyGrid<R4Grid_type>(2, 40, {.cellsize = cellsize});
      test::fillWith(grad, [&](int32_t, int32_t row) { return row < 20 ? 1.0F : 0.999F; });
      test::fillWith(aspect, [&](int32_t, int32_t) { return north ? 0.0F : test::kPi; });
      for (int32_t steps = 1; steps <= 13; steps += 6)
        for (const float factor : {0.9999999F, 1.0F, 1.0000001F}) {
          const float limit = static_cast<float>(steps * cellsize) * factor;
          check({.byDistance = true, .maxDistance = limit}, grad, aspect);
          check({.byTime = true, .duration = limit, .conductivity = 2.0F}, grad, aspect);
        }
      check({.byDistance = true, .merged = true, .maxDistance = static_cast<float>(8 * cellsize)}, grad,
            aspect);
    }
}

TEST_F(Bands, AreTheWholeGridWhereDirectionsLeadInCirclesAndFarBeyondTheGrid) {
  R4Grid_type aspect = test::emptyGrid<R4Grid_type>(25, 40);
  R4Grid_type grad = test::emptyGrid<R4Grid_type>(25, 40);
  test::fillWith(aspect, [](int32_t col, int32_t row) {
    const double turn = std::atan2(col - 13, 20 - row) + 1.6;
    return static_cast<float>(turn < 0 ? turn + 2 * std::numbers::pi : turn);
  });
  test::fillWith(grad, [](int32_t, int32_t row) { return row == 5 ? 1e6F : row == 6 ? 0.0F : 0.5F; });
  for (const bool merged : {false, true}) {
    check({.byDistance = true, .merged = merged, .maxDistance = 95.0F}, grad, aspect);
    check({.byTime = true, .merged = merged, .duration = 20.0F, .conductivity = 10.0F}, grad, aspect);
  }
  check({.byDistance = true, .merged = true, .maxDistance = 1000.0F}, grad, aspect);
  check({.byTime = true, .duration = 0.0F, .conductivity = 10.0F}, grad, aspect);
}

TEST_F(Bands, AreTheWholeGridOnARealSurface) {
  SKIP_WITHOUT_REAL_DATA();
  DEM_type dem;
  dem.file = test::dataFolder() + "/raster/medium_ridges";
  ASSERT_EQ(dem.ResolveDEM(), 0);
  ASSERT_EQ(dem.GetElev(), 0);
  for (R4Grid_type* g : {&dem.grad, &dem.aspect}) ASSERT_EQ(CreateGrid(*g, {.like = &dem.elev}), 0);
  const auto cell = static_cast<float>(dem.cellsize);
  ASSERT_EQ(surfaceRasters(dem.elev, 2 * cell,
                           {{&dem.grad, SurfaceMetric::gradient}, {&dem.aspect, SurfaceMetric::aspect}}),
            0);
  check({.byTime = true, .duration = 20.0F, .conductivity = cell}, dem.grad, dem.aspect);
  check({.byDistance = true, .merged = true, .maxDistance = 30.3F * cell}, dem.grad, dem.aspect);
}

TEST_F(Bands, TakeNoMoreMemoryThanThereIs) {
  const test::Mixture m(30, 200, 3, Storage::memory);
  const auto totals = [&] {
    R4Grid_type none;
    R4Grid_type accum;
    const WalkValues values{.byDistance = true, .maxDistance = 45.0F};
    const int status =
        accumulateCells(values, {.grad = m.grad, .aspect = m.aspect, .bcon = none, .accum = accum}, m.aspect);
    memoryLimits().largestBlock.reset();
    return status == 0 ? test::cellsOf(accum) : std::vector<float>{};
  };
  const std::vector<float> whole = totals();
  memoryLimits().largestBlock = 26'000;  // 25 rows
  EXPECT_EQ(totals(), whole);
  memoryLimits().largestBlock = 9'000;  // not even a row with its margins
  EXPECT_TRUE(totals().empty());
  EXPECT_TRUE(console_.has("No memory for the cells of "));
}

TEST_F(Bands, StopAtAPartThatFails) {
  std::atomic<int32_t> calls = 0;
  EXPECT_EQ(forEachPart(1000, 3, [&](int32_t part) { return ++calls, part == 2 ? -1 : 0; }), -1);
  EXPECT_LT(calls, 1000);
  EXPECT_THROW(forEachPart(4, 2, [](int32_t) -> int { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_EQ(forEachPart(0, 2, [](int32_t) { return -1; }), 0);
}

}  // namespace
}  // namespace terrain
