// The walks against their reference implementation, bit for bit.

#include "run/walks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "dem/dem.h"
#include "grid/surface_raster.h"
#include "run/accumulation.h"
#include "support/grids.h"
#include "support/real_data.h"
#include "support/reference_walks.h"
#include "support/walk_grids.h"

namespace terrain {
namespace {

using test::Storage;

using test::kPi;

class WalksTest : public test::InBothStorages {
 protected:
  /// Walks and reference implementation on the same grids; the bits must be the same. Gives the result.
  std::vector<float> check(WalkValues values, R4Grid_type& grad, R4Grid_type& aspect, R4Grid_type& bcon) {
    R4Grid_type accum;
    accum.onDisk = GetParam() == Storage::disk;
    EXPECT_EQ(accumulateCells(values, {.grad = grad, .aspect = aspect, .bcon = bcon, .accum = accum}, aspect),
              0);
    R4Grid_type expected;
    CreateGrid(expected, {.like = &aspect, .fillValue = 0.0F, .onDisk = false});
    values.cellDistance = stepLengths(aspect.cellsize);
    test::ReferenceWalks reference(values, grad, aspect, expected);
    reference.walkAll();
    reference.finish(bcon);
    const auto cells = test::cellsOf(accum);
    const auto slow = test::cellsOf(expected);
    const auto [fast, other] = std::ranges::mismatch(cells, slow, test::sameBits<float>);
    EXPECT_EQ(fast, cells.end()) << "cell " << fast - cells.begin() << ": " << *fast << " for " << *other;
    return cells;
  }
  std::vector<float> check(const WalkValues& values, R4Grid_type& grad, R4Grid_type& aspect) {
    R4Grid_type none;
    return check(values, grad, aspect, none);
  }
  /// A grid whose cells are value(col, row), or all the same number.
  template <class Value>
  static R4Grid_type grid(int32_t cols, int32_t rows, Value value) {
    R4Grid_type made = test::emptyGrid<R4Grid_type>(cols, rows, {.storage = GetParam()});
    test::fillWith(made, [&](int32_t col, int32_t row) {
      if constexpr (std::is_arithmetic_v<Value>)
        return value;
      else
        return value(col, row);
    });
    return made;
  }
  static int accumulate(const WalkValues& values, R4Grid_type& grad, R4Grid_type& aspect,
                        R4Grid_type& accum) {
    R4Grid_type none;
    return accumulateCells(values, {.grad = grad, .aspect = aspect, .bcon = none, .accum = accum}, aspect);
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, WalksTest, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST_P(WalksTest, MatchTheReferenceOnEveryKindOfCell) {
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    test::Mixture m(static_cast<int32_t>(3 + seed * 3), static_cast<int32_t>(40 - seed * 3), seed,
                    GetParam());
    check({.byTime = true, .duration = 9.0F + static_cast<float>(seed), .conductivity = 10.0F}, m.grad,
          m.aspect);
    check({.byTime = true, .specific = true, .duration = 24.0F, .conductivity = 4.0F}, m.grad, m.aspect,
          m.bcon);
    check({.byDistance = true, .maxDistance = 60.0F + static_cast<float>(seed)}, m.grad, m.aspect);
    check({.byDistance = true, .specific = true, .maxDistance = 10.0F * static_cast<float>(seed)}, m.grad,
          m.aspect, m.bcon);
    // The reach that just fits, and those beside it.
    const float three = 10.0F + 10.0F + 10.0F * 1.4142135F;
    for (float limit : {three, std::nextafter(three, 0.0F), std::nextafter(three, 100.0F)})
      check({.byDistance = true, .maxDistance = limit}, m.grad, m.aspect);
  }
}

TEST_P(WalksTest, MatchTheReferenceOnRealGrids) {
  SKIP_WITHOUT_REAL_DATA();
  for (const char* name : {"small", "small_gully", "medium_ridges"}) {
    SCOPED_TRACE(name);
    DEM_type dem;
    dem.file = test::dataFolder() + "/raster/" + name;
    ASSERT_EQ(dem.ResolveDEM(), 0);
    dem.elev.onDisk = GetParam() == Storage::disk;
    ASSERT_EQ(dem.GetElev(), 0);
    for (R4Grid_type* g : {&dem.grad, &dem.aspect})
      ASSERT_EQ(CreateGrid(*g, {.like = &dem.elev, .onDisk = GetParam() == Storage::disk}), 0);
    ASSERT_EQ(surfaceRasters(dem.elev, 2.0F * static_cast<float>(dem.cellsize),
                             {{&dem.grad, SurfaceMetric::gradient}, {&dem.aspect, SurfaceMetric::aspect}}),
              0);
    ASSERT_EQ(dem.calcBcon(1.0F, &dem.aspect), 0);
    const float cells = static_cast<float>(dem.cellsize);
    check({.byTime = true, .specific = true, .duration = 20.0F, .conductivity = cells}, dem.grad, dem.aspect,
          dem.bcon);
    check({.byDistance = true, .maxDistance = 4.3F * cells}, dem.grad, dem.aspect);
  }
}

TEST_P(WalksTest, ALineOfCellsCountsWholeStepsAndTheCutOne) {
  R4Grid_type grad = grid(1, 8, 1.0F);
  R4Grid_type aspect = grid(1, 8, kPi);  // all to the south
  // At 45 degrees the speed is half the conductivity: 10 m at 10 m/h take an hour.
  const WalkValues values{.byTime = true, .duration = 2.5F, .conductivity = 20.0F};
  const auto shares = check(values, grad, aspect);
  const float expected[] = {1.0F, 2.0F, 3.0F, 3.5F, 3.5F, 3.5F, 3.5F, 3.5F};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(shares[i], expected[i], 1e-4F);
  for (float duration : {0.0F, -1.0F}) {
    WalkValues none = values;
    none.duration = duration;
    EXPECT_EQ(check(none, grad, aspect), std::vector(8, 1.0F));
  }
  WalkValues dry = values;
  dry.conductivity = 0.0F;
  EXPECT_EQ(check(dry, grad, aspect), std::vector(8, 1.0F));
  EXPECT_EQ(check({.byDistance = true, .maxDistance = 9.9F}, grad, aspect), std::vector(8, 0.0F));
  EXPECT_EQ(check({.byDistance = true, .maxDistance = 20.0F}, grad, aspect),
            (std::vector{0.0F, 1.0F, 2.0F, 2.0F, 2.0F, 2.0F, 2.0F, 2.0F}));
}

TEST_P(WalksTest, SpecificAreaIsTheCountOverTheContour) {
  R4Grid_type grad = grid(1, 8, 1.0F);
  R4Grid_type aspect = grid(1, 8, [](int32_t, int32_t row) { return row == 8 ? -1.0F : kPi; });
  R4Grid_type bcon = grid(1, 8, [](int32_t, int32_t row) {
    return row == 5 ? 0.5F : row == 6 ? 0.0F : row == 7 ? 1e-6F : 1.0F;
  });
  const auto area = check({.byTime = true, .specific = true, .duration = 100.0F, .conductivity = 20.0F}, grad,
                          aspect, bcon);
  EXPECT_EQ(area, (std::vector{1.0F, 2.0F, 3.0F, 4.0F, 10.0F, 6.0F, 1000000.0F, -9999.0F}));
}

TEST_P(WalksTest, ALongPathNeedsNoDeepStack) {
  // All flows to the north; an aspect just below 0 passes water on but starts no walk of its own.
  const int32_t rows = GetParam() == Storage::memory ? 1'000'000 : 20'000;
  R4Grid_type grad = grid(1, rows, 1.0F);
  R4Grid_type aspect =
      grid(1, rows, [&](int32_t, int32_t row) { return row == 1 || row == rows ? 0.0F : -1e-7F; });
  R4Grid_type accum;
  ASSERT_EQ(accumulate({.byTime = true, .duration = 2e6F, .conductivity = 20.0F}, grad, aspect, accum), 0);
  EXPECT_EQ(accum.ExtractR4ValueColRow(1, 1), 2.0F);
  EXPECT_EQ(accum.ExtractR4ValueColRow(1, rows), 1.0F);
  EXPECT_EQ(accum.ExtractR4ValueColRow(1, 2), -9999.0F);
}

TEST_P(WalksTest, EndWhereStepsDoNotAdvanceOrRunBackwards) {
  // Two cells that face each other, and a limit so far beyond the step that float32 loses it.
  R4Grid_type grad = grid(2, 1, 1.0F);
  R4Grid_type aspect = grid(2, 1, [](int32_t col, int32_t) { return col == 1 ? kPi / 2 : 1.5F * kPi; });
  R4Grid_type accum;
  const WalkValues fast{.byTime = true, .duration = 2.0e7F, .conductivity = 20.0F};
  EXPECT_EQ(accumulate(fast, grad, aspect, accum), 0);
  // An angle that rounds to one beyond the vertical: no speed, not a negative one.
  R4Grid_type walls = grid(2, 1, 3.0e38F);
  EXPECT_EQ(accumulate(fast, walls, aspect, accum), 0);
  EXPECT_EQ(test::cellsOf(accum), std::vector(2, 1.0F));
  aspect.cellsize = 0.0;
  EXPECT_EQ(accumulate(fast, grad, aspect, accum), -1);
}

TEST_P(WalksTest, AScratchFileThatCannotBeReadIsAFailure) {
  R4Grid_type aspect = test::emptyGrid<R4Grid_type>(1200, 100, {.storage = Storage::disk});
  R4Grid_type grad = grid(1200, 100, 1.0F);
  R4Grid_type accum;
  std::filesystem::resize_file(aspect.scratchFile, 100'000);
  EXPECT_EQ(accumulate({.byTime = true, .duration = 1.0F, .conductivity = 1.0F}, grad, aspect, accum), -1);
  EXPECT_NE(console_.text().find("Error in reading file"), std::string::npos);
}

TEST_P(WalksTest, MatchTheReferenceFromTheMiddleOfAPath) {
  test::Mixture m(9, 7, 5, GetParam());
  std::mt19937 random(3);
  for (const float limit : {31.0F, 44.142136F, 60.0F, 5.0e6F, 1.05e7F}) {
    WalkValues values{.byDistance = true, .maxDistance = limit};
    values.cellDistance = stepLengths(10.0);
    Walks walks;
    ASSERT_EQ(walks.prepare(values, m.grad, m.aspect), 0);
    R4Grid_type accum = grid(9, 7, 0.0F);
    test::ReferenceWalks reference(values, m.grad, m.aspect, accum);
    for (int32_t n = 0; n < 500; ++n) {
      const auto col = static_cast<int32_t>(random() % 11);  // some outside the grid
      const auto row = static_cast<int32_t>(random() % 9);
      const float way = std::min(limit, 100.0F) * static_cast<float>(random() % 4096) / 4096.0F;
      const float travelled = std::max(limit - way, 0.0F);
      bool fast = n % 3 == 0;
      bool slow = fast;
      walks.walkByDistance(col, row, 0.7F, travelled, fast);
      reference.walkByDistance(col, row, 0.7F, travelled, slow);
      EXPECT_EQ(fast, slow);
    }
    std::vector<float> totals(9);
    std::vector<float> expected(9);
    for (int32_t row = 1; row <= 7; ++row) {
      walks.totals(row, totals);
      ASSERT_EQ(accum.readRow(row, expected), kIoOk);
      EXPECT_TRUE(std::ranges::equal(totals, expected, test::sameBits<float>)) << limit << ", row " << row;
    }
  }
}

TEST_P(WalksTest, RefuseGridsThatAreAbsentOrOfAnotherExtentAndTheOtherKindOfWalk) {
  const R4Grid_type none;
  R4Grid_type fits = grid(5, 9, 0.5F);
  R4Grid_type small = grid(5, 5, 0.5F);
  struct Case {
    WalkValues values;
    const R4Grid_type &grad, &aspect, &bcon;
  };
  const WalkValues byTime{.byTime = true, .duration = 1, .conductivity = 1};
  const WalkValues specific{.byDistance = true, .specific = true, .maxDistance = 20};
  R4Grid_type accum;
  for (const Case& c : {Case{byTime, none, fits, none},
                        {byTime, small, fits, none},
                        {byTime, fits, small, none},
                        {byTime, fits, none, none},
                        {specific, none, fits, none},
                        {specific, none, fits, small}}) {
    EXPECT_EQ(
        accumulateCells(c.values, {.grad = c.grad, .aspect = c.aspect, .bcon = c.bcon, .accum = accum}, fits),
        -1);
    EXPECT_TRUE(console_.has("There is no grid of ") || console_.has("has another extent"));
  }
  for (const WalkValues& values : {byTime, specific}) {
    Walks walks;
    ASSERT_EQ(walks.prepare(values, fits, fits), 0);
    bool origin = false;
    EXPECT_EQ(walks.walkByTime(1, 1, 1.0F, 0.0F), values.byTime ? 0 : -1);
    EXPECT_EQ(walks.walkByDistance(1, 1, 1.0F, 0.0F, origin), values.byTime ? -1 : 0);
  }
  for (const int32_t k : {-1, 0, 9, 1'000'000}) EXPECT_EQ(FlowProportion(0.5F, k), 0.0F);
}

}  // namespace
}  // namespace terrain
