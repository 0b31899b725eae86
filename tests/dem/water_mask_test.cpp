// Water masks: centre lines on random lakes, and the elevations that they are given.

#include "dem/water_mask.h"

#include <cmath>
#include <queue>

#include "dem/centre_line.h"
#include "dem/channel_mask.h"
#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

/// Patches of cells of a class, connected by sides and corners, by number from 1; 0 elsewhere.
class Patches {
 public:
  template <class Holds>
  Patches(int32_t cols, int32_t rows, Holds holds) : cols_(cols), rows_(rows) {
    numbers_.resize(static_cast<std::size_t>(cols * rows));
    for (int32_t row = 1; row <= rows; ++row)
      for (int32_t col = 1; col <= cols; ++col) {
        if (!holds(col, row) || at(col, row) != 0) continue;
        std::queue<ColRow> waiting;
        place(col, row) = ++count;
        for (waiting.push({.col = col, .row = row}); !waiting.empty(); waiting.pop())
          for (int32_t r = waiting.front().row - 1; r <= waiting.front().row + 1; ++r)
            for (int32_t c = waiting.front().col - 1; c <= waiting.front().col + 1; ++c) {
              if (c < 1 || c > cols_ || r < 1 || r > rows_ || !holds(c, r) || at(c, r) != 0) continue;
              place(c, r) = count;
              waiting.push({.col = c, .row = r});
            }
      }
  }
  [[nodiscard]] int at(int32_t col, int32_t row) const { return numbers_[index(col, row)]; }
  int count = 0;

 private:
  [[nodiscard]] std::size_t index(int32_t col, int32_t row) const {
    return static_cast<std::size_t>((row - 1) * cols_ + col - 1);
  }
  int& place(int32_t col, int32_t row) { return numbers_[index(col, row)]; }
  int32_t cols_, rows_;
  std::vector<int> numbers_;
};

constexpr int32_t kCols = 61;
constexpr int32_t kRows = 47;

/// Discs, some of them with islands, and rivers of every width that wind between them; some reach the edge.
I4Grid_type randomWater(uint32_t seed, const GridPlan& plan) {
  std::mt19937 random(seed);
  const auto upTo = [&](double most) { return std::uniform_real_distribution<double>(0, most)(random); };
  std::vector<uint8_t> wet(static_cast<std::size_t>(kCols * kRows));
  const auto disc = [&](double col, double row, double radius, uint8_t value) {
    for (int32_t r = 1; r <= kRows; ++r)
      for (int32_t c = 1; c <= kCols; ++c)
        if (std::hypot(c - col, r - row) <= radius)
          wet[static_cast<std::size_t>((r - 1) * kCols + c - 1)] = value;
  };
  for (int i = 0; i < 4; ++i) disc(upTo(kCols), upTo(kRows), upTo(9), 1);
  for (int i = 0; i < 3; ++i) {
    double col = upTo(kCols);
    double row = upTo(kRows);
    double heading = upTo(6.28);
    const double radius = upTo(4);
    for (int step = 0; step < 40; ++step, heading += upTo(0.8) - 0.4)
      disc(col += std::cos(heading), row += std::sin(heading), radius, 1);
  }
  for (int i = 0; i < 5; ++i) disc(upTo(kCols), upTo(kRows), upTo(3), 0);
  I4Grid_type mask = emptyGrid<I4Grid_type>(kCols, kRows, plan);
  fillWith(mask,
           [&](int32_t c, int32_t r) { return wet[static_cast<std::size_t>((r - 1) * kCols + c - 1)]; });
  return mask;
}

class CentreLine : public InBothStorages {};

TEST_P(CentreLine, IsThinAndOneInEveryPatchWideEnough) {
  for (uint32_t seed = 1; seed <= 60; ++seed)
    for (const double minimumWidth : {0.0, 50.0}) {
      SCOPED_TRACE(seed);
      const GridPlan plan{.storage = GetParam()};
      I4Grid_type mask = randomWater(seed, plan);
      const std::vector<int32_t> wet = cellsOf(mask);
      const auto isWet = [&](int32_t col, int32_t row) {
        return wet[static_cast<std::size_t>((row - 1) * kCols + col - 1)] > 0;
      };
      WaterGrids grids;
      ASSERT_EQ(BuildMask({.minimumWidth = minimumWidth}, mask, grids), 0) << console_.text();
      const std::vector<int32_t> kinds = cellsOf(mask);
      const auto isLine = [&](int32_t col, int32_t row) {
        return kinds[static_cast<std::size_t>((row - 1) * kCols + col - 1)] == water::centreLine;
      };
      // The distance, cell by cell against all cells at the shore.
      std::vector<ColRow> shore;
      for (int32_t row = 1; row <= kRows; ++row)
        for (int32_t col = 1; col <= kCols; ++col)
          for (int32_t k = 0; k < 9; ++k) {
            const int32_t c = col + k % 3 - 1;
            const int32_t r = row + k / 3 - 1;
            if (isWet(col, row) && c >= 1 && c <= kCols && r >= 1 && r <= kRows && !isWet(c, r))
              shore.push_back({.col = col, .row = row});
          }
      const Patches patches(kCols, kRows, isWet);
      const Patches lines(kCols, kRows, isLine);
      const auto patch = [](int number) { return static_cast<std::size_t>(number); };
      std::vector<double> widest(patch(patches.count + 1), -1.0);
      std::vector<int> lineOf(widest.size());
      for (int32_t row = 1; row <= kRows; ++row)
        for (int32_t col = 1; col <= kCols; ++col) {
          const float distance = grids.distToEdge.value(col, row, "");
          ASSERT_EQ(mask.value(col, row, "") != water::dry, isWet(col, row));
          if (!isWet(col, row)) {
            ASSERT_EQ(distance, kNodata);
            continue;
          }
          double nearest = 1e9;
          for (const ColRow& at : shore) nearest = std::min(nearest, std::hypot(at.col - col, at.row - row));
          ASSERT_FLOAT_EQ(distance, static_cast<float>(nearest));
          const int number = patches.at(col, row);
          widest[patch(number)] = std::max(widest[patch(number)], nearest);
          if (!isLine(col, row)) continue;
          int& line = lineOf[patch(number)];
          EXPECT_TRUE(line == 0 || line == lines.at(col, row)) << "one line";
          line = lines.at(col, row);
          EXPECT_FALSE(col < kCols && row < kRows && isLine(col + 1, row) && isLine(col, row + 1) &&
                       isLine(col + 1, row + 1))
              << "a block at " << col << ", " << row;
        }
      for (int number = 1; number <= patches.count; ++number)
        EXPECT_EQ(lineOf[patch(number)] != 0, (widest[patch(number)] + 0.5) * 10 >= minimumWidth / 2)
            << "patch of " << widest[patch(number)];
    }
}

TEST_P(CentreLine, KeepsToTheMiddleAndGoesAroundIslands) {
  // A river of 7 cells from edge to edge that widens to a lake of 19 with an island.
  I4Grid_type mask = emptyGrid<I4Grid_type>(kCols, kRows, {.storage = GetParam()});
  fillWith(mask, [](int32_t col, int32_t row) {
    const bool lake = std::abs(col - 30) <= 12 && std::abs(row - 20) <= 9;
    const bool island = std::abs(col - 30) <= 2 && std::abs(row - 20) <= 2;
    return (lake || std::abs(row - 20) <= 3) && !island ? 1 : 0;
  });
  WaterGrids grids;
  ASSERT_EQ(BuildMask({}, mask, grids), 0);
  for (const int32_t col : {1, 6, 12, 48, 55, kCols})
    for (int32_t row = 1; row <= kRows; ++row)
      EXPECT_EQ(mask.value(col, row, "") == water::centreLine, row == 20) << col << ", " << row;
  int32_t above = 0;
  int32_t below = 0;
  for (int32_t row = 1; row <= kRows; ++row)
    if (mask.value(30, row, "") == water::centreLine) (row < 20 ? above : below) += 1;
  EXPECT_EQ(above, 1);
  EXPECT_EQ(below, 1);
}

INSTANTIATE_TEST_SUITE_P(Storages, CentreLine, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

/// A valley that falls to the east with a flat lake of 9 x 5 cells, one cell of which lies deeper.
class Lake : public InBothStorages {
 protected:
  void SetUp() override {
    R4Grid_type ground = emptyGrid<R4Grid_type>(kLength, 15, plan);
    fillWith(ground, [](int32_t col, int32_t row) {
      const double z = 50 - 0.5 * col + 0.3 * std::abs(row - 8);
      return col == 25 && row == 1 ? static_cast<double>(kNodata) : isWater(col, row) ? 45.0 : z;
    });
    takeElevations(dem, std::move(ground));
    dem.path = scratch_.path("");
    R4Grid_type raster = emptyGrid<R4Grid_type>(kLength, 15, {});
    fillWith(raster, [](int32_t col, int32_t row) { return isWater(col, row) ? 7.0 : 0.0; });
    ASSERT_EQ(raster.WritefltR4(scratch_.path("lake")), 0);
    mask.file = scratch_.path("lake");
    ASSERT_EQ(shiftElevations(dem, 20.0, 0.0), 0);
    before = cellsOf(dem.elev);
  }
  static bool isWater(int32_t col, int32_t row) { return col >= 11 && col <= 19 && row >= 6 && row <= 10; }
  [[nodiscard]] int flatten() { return FlattenWatermask(dem, mask, heads, water); }
  [[nodiscard]] double lowered(int32_t col, int32_t row) const {
    return static_cast<double>(before[static_cast<std::size_t>((row - 1) * kLength + col - 1)]) -
           static_cast<double>(dem.elev.value(col, row, ""));
  }

  static constexpr int32_t kLength = 30;
  GridPlan plan{.storage = GetParam()};
  DEM_type dem;
  WaterMask mask;
  I1Grid_type heads;
  WaterCells water;
  std::vector<float> before;
};

TEST_P(Lake, GetsTheToldElevations) {
  // Row 8 is the middle: 2 cells from the shore, which is the largest distance. The lowest ground beside the
  // lake is (20, 8) at 40 m, 5 m below the water.
  struct Case {
    bool toMinimum, incise;
    double shore, second, line;
  };
  for (const Case& now : {Case{false, false, 3.0, 3.0, 6.0}, Case{true, false, 5.0, 5.0, 8.0},
                          Case{false, true, 0.0, 0.5, 4.0}, Case{true, true, 5.0, 5.5, 9.0}}) {
    SCOPED_TRACE(testing::Message() << now.toMinimum << now.incise);
    fillWith(dem.elev, [&](int32_t col, int32_t row) {
      return before[static_cast<std::size_t>((row - 1) * kLength + col - 1)];
    });
    mask.lowerBy = 3.0F;
    mask.setToMinimum = now.toMinimum;
    mask.incise = now.incise;
    ASSERT_EQ(flatten(), 0) << console_.text();
    EXPECT_NEAR(lowered(15, 6), now.shore, 1e-5);
    EXPECT_NEAR(lowered(15, 7), now.second, 1e-5);
    EXPECT_NEAR(lowered(15, 8), now.line, 1e-5);
    for (int32_t row = 1; row <= 15; ++row)
      for (int32_t col = 1; col <= kLength; ++col) {
        EXPECT_EQ(water.value(col, row, ""), isWater(col, row) ? 1 : 0);
        EXPECT_TRUE(isWater(col, row) || lowered(col, row) == 0.0) << col << ", " << row;
      }
  }
  EXPECT_FALSE(heads.GridExists()) << "nothing is said of heads";
}

TEST_P(Lake, DrainsAlongItsCentreLine) {
  mask.setToMinimum = true;
  mask.incise = true;
  mask.gridSuffix = "_2";
  ASSERT_EQ(flatten(), 0) << console_.text();
  EXPECT_TRUE(std::filesystem::exists(scratch_.path("watermaskval__2.flt")));
  R4Grid_type flat = emptyGrid<R4Grid_type>(kLength, 15, plan);
  fillWith(flat, [](int32_t, int32_t) { return 0.0F; });
  dem.plan = std::move(flat);
  ASSERT_EQ(FlowDirection(dem), 0) << console_.text();
  R4Grid_type area;
  ASSERT_EQ(accumulator(dem, {.DA = &area}), 0) << console_.text();
  // What the valley above the lake gathers follows the line to its end and leaves by the lowest ground.
  for (int32_t col = 14; col <= 17; ++col)
    for (const int32_t row : {6, 7, 9, 10})
      EXPECT_LT(area.value(col, row, ""), area.value(col, 8, "") / 4) << col << ", " << row;
  EXPECT_GT(area.value(21, 8, ""), 200.0F);
}

TEST_P(Lake, TellsOfChannelHeads) {
  mask.preclude = true;
  ASSERT_EQ(flatten(), 0);
  EXPECT_EQ(heads.value(15, 7, ""), -1);
  EXPECT_EQ(heads.value(15, 5, ""), 0);
  mask.preclude = false;
  mask.force = true;
  ASSERT_EQ(flatten(), 0);
  EXPECT_EQ(heads.value(15, 8, ""), 3) << "force holds over none";
  EXPECT_EQ(heads.value(15, 7, ""), -1);
}

TEST_P(Lake, SmallOrForeignMasksChangeNothing) {
  mask.minimumPatchSize = 9 * 5 * 100 + 1;
  ASSERT_EQ(flatten(), 0);
  EXPECT_TRUE(console_.has("****** WARNING: Watermask did not mask any portion of the DEM ******"));
  EXPECT_EQ(cellsOf(dem.elev), before);
  mask.minimumPatchSize = 9 * 5 * 100;
  mask.minimumWidth = 51;  // no centre line
  ASSERT_EQ(flatten(), 0);
  EXPECT_NEAR(lowered(15, 8), 1.0, 1e-5);
  mask.file = scratch_.path("none");
  EXPECT_EQ(flatten(), -1);
}

TEST_P(Lake, EndsSwales) {
  ASSERT_EQ(flatten(), 0);
  R4Grid_type line = emptyGrid<R4Grid_type>(kLength, 15, {});
  fillWith(line, [](int32_t col, int32_t row) { return row == 8 && col >= 5 && col <= 22 ? 1 : 0; });
  ASSERT_EQ(line.WritefltR4(scratch_.path("channel")), 0);
  dem.grad = emptyGrid<R4Grid_type>(kLength, 15, plan);
  fillWith(dem.grad, [](int32_t, int32_t) { return 0.05; });
  // Of the channel 6 cells are left above the lake and 3 below it.
  for (const float minLength : {0.0F, 35.0F, 65.0F}) {
    R4Grid_type chan;
    const ChannelMasks masks{
        .masks = {{.file = scratch_.path("channel"), .radius = 5.0F, .minLength = minLength}},
        .water = &water};
    ASSERT_EQ(digChannels(dem, masks, chan), 0) << console_.text();
    EXPECT_EQ(chan.value(10, 8, "") > 0.0F, minLength < 60.0F);
    EXPECT_EQ(chan.value(11, 8, ""), 0.0F);
    EXPECT_EQ(chan.value(20, 8, "") > 0.0F, minLength == 0.0F);
  }
}

INSTANTIATE_TEST_SUITE_P(Storages, Lake, ::testing::Values(Storage::memory, Storage::disk), storageName);

}  // namespace
}  // namespace terrain::test
