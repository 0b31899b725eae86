// Floods, blobs, patches, buffers, holes, growing and thinning.

#include <gtest/gtest.h>

#include <limits>

#include "grid/directions.h"
#include "grid/grid.h"
#include "grid/region_walk.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

class Regions : public test::InBothStorages {
 protected:
  template <class G>
  G grid(std::string_view text, float nodata = kNodata) {
    return test::gridOf<G>(text, {.cellsize = 10, .nodata = nodata, .storage = GetParam()});
  }
  R4Grid_type floats(std::string_view text, float nodata = kNodata) {
    return grid<R4Grid_type>(text, nodata);
  }
  /// Marks of 0 and 1 with some other values and nodata between them.
  template <class G>
  G marks(double share) {
    auto made = test::emptyGrid<G>(37, 29, {.cellsize = 10, .storage = GetParam()});
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    test::fillWith(made, [&](int32_t, int32_t) {
      const double u = unit(random);
      return u < share ? 1.0 : u > 0.95 ? -7.0 : u > 0.9 ? static_cast<double>(kNodata) : 0.0;
    });
    if (GetParam() == Storage::disk) made.SetRowAccess();
    return made;
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, Regions, test::everyStorage(), test::storageName);

TEST_P(Regions, AFloodTakesTheZerosThatTheSeedReachesBySides) {
  constexpr std::string_view text = "0 0 1 0\n 1 0 1 0\n 0 1 . 0\n 0 0 0 5";
  const auto flooded = "7 7 1 0\n1 7 1 0\n0 1 . 0\n0 0 0 5\n";
  auto r4 = floats(text);
  EXPECT_EQ(r4.Flood_R4queue(1, 1, 7), 0);
  EXPECT_EQ(test::show(r4), flooded);
  for (const auto fill : {&I4Grid_type::Flood_I4queue, &I4Grid_type::FloodI4}) {
    auto i4 = grid<I4Grid_type>(text);
    EXPECT_EQ((i4.*fill)(1, 1, 7), 0);
    EXPECT_EQ(test::show(i4), flooded);
    EXPECT_EQ((i4.*fill)(4, 4, 9), 0);  // a seed that is not 0 is set too
    EXPECT_EQ(test::show(i4), "7 7 1 9\n1 7 1 9\n9 1 . 9\n9 9 9 9\n");
    EXPECT_EQ((i4.*fill)(1, 1, 0), -1);
    EXPECT_EQ((i4.*fill)(0, 1, 3), -1);
    EXPECT_EQ(i4.status, -1);
    EXPECT_EQ(test::show(i4), "7 7 1 9\n1 7 1 9\n9 1 . 9\n9 9 9 9\n");
  }
  auto i8 = grid<I8Grid_type>(text);
  EXPECT_EQ(i8.Flood_I8queue(4, 1, 7), 0);
  EXPECT_EQ(test::show(i8), "0 0 1 7\n1 0 1 7\n0 1 . 7\n0 0 0 5\n");
  EXPECT_NE(console_.text().find("Cannot use zero for flood fill"), std::string::npos);
}

TEST_P(Regions, FloodsAndThresholdsTurnCellsToNodata) {
  auto r4 = floats("0 0 1\n -2 0 1\n 0 1 0");
  EXPECT_EQ(r4.FloodZeroToNodata(1, 1), 0);
  EXPECT_EQ(test::show(r4), ". . 1\n-2 . 1\n0 1 0\n");
  EXPECT_EQ(r4.SetNonPositiveToNodata(), 0);
  EXPECT_EQ(test::show(r4), ". . 1\n. . 1\n. 1 .\n");
  auto zero = floats("0 1\n 1 0", 0);
  EXPECT_EQ(zero.FloodZeroToNodata(1, 1), 0);
  EXPECT_EQ(zero.FloodZeroToNodata(3, 1), -1);
}

TEST(RegionWalks, FillAWholeGridInTheMemoryOfTheFront) {
  auto grid = test::emptyGrid<I4Grid_type>(1500, 1500, {});
  test::fillWith(grid, [](int32_t, int32_t) { return 0; });
  memoryLimits().largestBlock = 100000;
  EXPECT_EQ(grid.FloodI4(700, 700, 1), 0);
  memoryLimits() = {};
  EXPECT_TRUE(std::ranges::all_of(grid.cells.all(), [](int32_t cell) { return cell == 1; }));
}

TEST(RegionWalks, ReachTheCellsThatAPlainSearchReaches) {
  for (const Connection connection : {Connection::four, Connection::eight})
    for (unsigned seed = 1; seed <= 40; seed += 4) {
      std::mt19937 random(seed);
      auto plain = test::emptyGrid<I4Grid_type>(41, 29);
      test::fillWith(plain, [&](int32_t col, int32_t row) {
        return col == 20 && row == 15 ? 1 : random() % 100 < 30 + seed ? 0 : 5;
      });
      I4Grid_type cells;
      ASSERT_EQ(plain.cloneI4(cells), 0);
      for (bool grew = true; std::exchange(grew, false);)
        test::fillWith(plain, [&](int32_t col, int32_t row) {
          int32_t cell = plain.ExtractI4ValueColRow(col, row);
          for (int32_t code = 1; code <= kDirections; code += connection == Connection::four ? 2 : 1) {
            const ColRow next = stepFrom({col, row}, code);
            if (cell == 0 && plain.ExtractI4ValueColRow(next.col, next.row) == 1) cell = grew = true;
          }
          return cell;
        });
      RegionWalk walk(cells, connection);
      EXPECT_TRUE(walk.spread({20, 15}, repaint(MemoryCells<int32_t>(cells), 0, 1)));
      EXPECT_EQ(test::cellsOf(cells), test::cellsOf(plain)) << seed;
    }
}

TEST_P(Regions, BlobsAreMarkedMeasuredAndWidened) {
  for (const float nodata : {-9999.0F, 9999.0F, 0.0F, 1.0F}) {
    SCOPED_TRACE(nodata);
    auto input = floats("5 2 2 2 6\n 2 5 2 . .\n 2 2 2 2 6\n 4 2 2 2 6", nodata);
    I4Grid_type out;
    for (const BlobArgs& oneCellIsEnough : {BlobArgs{}, BlobArgs{.minLength = 15.0F}}) {
      EXPECT_EQ(input.FlagThreshold(out, 4, oneCellIsEnough), 0);
      EXPECT_EQ(test::show(out), "1 -1 -1 -1 1\n-1 1 -1 -1 -1\n-1 -1 -1 -1 1\n1 -1 -1 -1 1\n");
    }
    EXPECT_EQ(input.FlagThreshold(out, 4, {.minLength = 20.0F}), 0);
    EXPECT_EQ(test::show(out), "1 -1 -1 -1 -1\n-1 1 -1 -1 -1\n-1 -1 -1 -1 1\n-1 -1 -1 -1 1\n");
    EXPECT_EQ(input.FlagThreshold(out, 4, {.minLength = 20.0F, .bufferDistance = 10.0F}), 0);
    EXPECT_EQ(test::show(out), "1 1 0 0 0\n1 1 1 -1 -1\n0 1 0 1 1\n0 0 0 1 1\n");
    EXPECT_EQ(input.FlagThreshold(out, 8, {.bufferDistance = 10.0F}), 0);
    EXPECT_EQ(test::show(out), "0 0 0 0 0\n0 0 0 -1 -1\n0 0 0 0 0\n0 0 0 0 0\n");
  }
}

TEST_P(Regions, PatchesAboveAThresholdAreKeptDroppedAndGivenAHalo) {
  constexpr std::string_view text = "5 1 1 1 1 1\n 1 5 1 1 . .\n 5 1 1 1 1 7";
  struct Case {
    double minArea, buffer;
    std::string_view expected;
  };
  for (const float nodata : {-9999.0F, 9999.0F})
    for (const Case& c : {Case{0, 0, "5 . . . . .\n. 5 . . . .\n5 . . . . 7\n"},
                          Case{100, 0, "0 . . . . .\n. 0 . . . .\n0 . . . . .\n"},
                          Case{300, 0, ". . . . . .\n. . . . . .\n. . . . . .\n"},
                          Case{100, 14, "1 2 . . . .\n2 1 2 . . .\n1 2 . . . .\n"},
                          Case{0, 10, "1 2 . . . .\n2 1 2 . . 2\n1 2 . . 2 1\n"},
                          Case{0, 6, "1 . . . . .\n. 1 . . . .\n1 . . . . 1\n"},
                          Case{100, 4, "0 . . . . .\n. 0 . . . .\n0 . . . . .\n"}}) {
      SCOPED_TRACE(::testing::Message() << c.minArea << ' ' << c.buffer << ' ' << nodata);
      auto input = floats(text, nodata);
      EXPECT_EQ(input.greaterThanR4(4, c.minArea, c.buffer), 0);
      EXPECT_EQ(test::show(input), c.expected);
    }
  EXPECT_EQ(floats("1 0", 0).greaterThanR4(4, 0, 0), -1);
  EXPECT_EQ(floats("1 2").greaterThanR4(0, 0, 0), -1);
  EXPECT_EQ(floats("3 2", 1).greaterThanR4(2, 0, 10), -1);
}

/// Cells of 0 within `radius` cells of a cell above 0 take `value`.
template <class G>
auto bufferedPlainly(G& grid, double radius, typename G::CellValue value) {
  auto cells = test::cellsOf(grid);
  const auto before = cells;
  const auto width = static_cast<std::size_t>(grid.cols());
  const std::size_t height = before.size() / width;
  for (std::size_t i = 0; i < before.size(); ++i)
    for (std::size_t row = 0; row < height && before[i] > 0; ++row)
      for (std::size_t col = 0; col < width; ++col) {
        const double dx = static_cast<double>(col) - static_cast<double>(i % width);
        const double dy = static_cast<double>(row) - static_cast<double>(i / width);
        if (before[row * width + col] == 0 && dx * dx + dy * dy <= radius * radius * (1 + 1e-9))
          cells[row * width + col] = value;
      }
  return cells;
}

TEST_P(Regions, BuffersAreThoseOfTheReferenceImplementationAndGrowWithTheDistance) {
  for (const double share : {0.01, 0.2}) {
    std::ptrdiff_t last = 0;
    const auto compare = [&](auto grid, double cells, auto value, auto buffer) {
      const auto expected = bufferedPlainly(grid, cells, value);
      EXPECT_EQ((grid.*buffer)(cells * 10, value), 0);
      EXPECT_EQ(test::cellsOf(grid), expected) << cells;
      return std::ranges::count(expected, value);
    };
    for (const double cells : {0.3, 1.0, 1.5, 2.0, 3.7, 9.0, 60.0}) {
      const auto covered = compare(marks<R4Grid_type>(share), cells, 4.0F, &R4Grid_type::bufferR4);
      EXPECT_GE(covered, last);
      last = covered;
      compare(marks<I4Grid_type>(share), cells, -7, &I4Grid_type::buffer);
      compare(marks<I8Grid_type>(share), cells, int64_t{7}, &I8Grid_type::buffer);  // cells of -7 stay -7
    }
    EXPECT_GT(last, 0);
  }
}

TEST_P(Regions, ABufferNeedsACellAboveZeroThatIsNotNodata) {
  auto none = floats("0 -1\n . 0");
  EXPECT_EQ(none.bufferR4(10, 1), -1);
  auto positive = floats("0 0\n . 0", 9999);
  EXPECT_EQ(positive.bufferR4(10, 1), -1);
  EXPECT_EQ(test::show(positive), "0 0\n. 0\n");
  EXPECT_NE(console_.text().find("Grid has no values greater than zero"), std::string::npos);
  // A quotient that decimals make a little too small still reaches its cell.
  auto decimal = test::gridOf<I4Grid_type>("1 0 0 0 0", {.cellsize = 0.4, .storage = GetParam()});
  EXPECT_EQ(decimal.buffer(1.2, 1), 0);
  EXPECT_EQ(test::show(decimal), "1 1 1 1 0\n");
}

TEST_P(Regions, HolesTakeTheLowestValueOnTheirRim) {
  constexpr std::string_view text =
      "8 8 8 8 8 8 .\n8 . 7 8 8 8 8\n8 8 . 6 8 -3 8\n8 8 8 8 8 0 9\n8 8 8 8 8 9 9\n";
  constexpr std::string_view filled =
      "8 8 8 8 8 8 .\n8 6 7 8 8 8 8\n8 8 6 6 8 8 8\n8 8 8 8 8 8 9\n8 8 8 8 8 9 9\n";
  for (const float nodata : {-9999.0F, 9999.0F}) {
    auto dem = floats(text, nodata);
    for (const auto time : {"first", "again"}) {
      EXPECT_EQ(dem.FillHoles({.nodata = nodata}), 0);
      EXPECT_EQ(test::show(dem), filled) << time;
    }
  }
  auto dem = floats(text);
  EXPECT_EQ(dem.FillHoles({.maxSize = 20.0F}), 0);  // holes of two cells do not fit
  EXPECT_EQ(test::show(dem), text);
  EXPECT_EQ(dem.FillHoles({.maxSize = 30.0F, .minVal = -5}), 0);  // low data is data
  EXPECT_EQ(test::show(dem), "8 8 8 8 8 8 .\n8 6 7 8 8 8 8\n8 8 6 6 8 -3 8\n8 8 8 8 8 0 9\n8 8 8 8 8 9 9\n");
  EXPECT_NE(console_.text().find("   nodata          = -9999.000"), std::string::npos);
  EXPECT_NE(console_.text().find(" Number of holes filled: 2\n"), std::string::npos);
  EXPECT_NE(console_.text().find(" No data holes encountered\n"), std::string::npos);
}

TEST_P(Regions, WhatIsNoHoleAndWhatIsNotFilledKeepsItsValue) {
  auto dem = floats("8 8 8 8 8 8 -1\n 8 . 8 5 8 8 8\n 8 8 8 -777 -800 8 8\n 8 8 8 8 8 8 8");
  dem.SetR4CellColRow(4, 2, kNan);
  EXPECT_EQ(dem.FillHoles({.nodata = -777}), 0);
  EXPECT_EQ(test::show(dem), "8 8 8 8 8 8 -1\n8 8 8 8 8 8 8\n8 8 8 8 -800 8 8\n8 8 8 8 8 8 8\n");
}

TEST_P(Regions, GrowingAndThinningLookAtTheBlocksOfBefore) {
  const auto text = "1 1 1 1 1\n 1 0 0 0 1\n 1 0 0 3 1\n 1 1 1 1 1";
  auto grown = grid<I4Grid_type>(text);
  EXPECT_EQ(grown.GrowI4(), 0);
  EXPECT_EQ(test::show(grown), "1 1 1 1 1\n1 1 0 1 1\n1 1 0 3 1\n1 1 1 1 1\n");
  auto masked = grid<I4Grid_type>(text);
  const auto mask = floats("1 1 1 1 1\n 1 . 1 1 1\n 1 1 1 1 1\n 1 1 1 1 1");
  EXPECT_EQ(masked.GrowI4({.minNeighbours = 4, .mask = &mask, .value = 2}), 0);
  EXPECT_EQ(test::show(masked), "1 1 1 1 1\n1 0 2 2 1\n1 2 2 3 1\n1 1 1 1 1\n");

  auto thin = grid<I4Grid_type>("0 0 0 0 0\n 0 1 0 1 1\n 0 0 0 1 1\n 1 1 0 0 0\n 1 1 1 0 0");
  EXPECT_EQ(thin.ThinI4({.maxNeighbours = 1}), 0);
  EXPECT_EQ(test::show(thin), "0 0 0 0 0\n0 0 0 1 1\n0 0 0 1 1\n1 1 0 0 0\n1 1 1 0 0\n");
  auto side = grid<I4Grid_type>("1 1 1 0\n 0 1 0 0\n 0 0 0 0");
  EXPECT_EQ(side.ThinI4(), 0);
  EXPECT_EQ(test::show(side), "1 1 1 0\n0 0 0 0\n0 0 0 0\n");
}

}  // namespace
}  // namespace terrain
