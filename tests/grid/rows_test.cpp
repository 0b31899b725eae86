#include "grid/rows.h"

#include <gtest/gtest.h>

#include "foundation/memory.h"
#include "grid/cell_view.h"
#include "grid/circles.h"
#include "grid/directions.h"
#include "grid/line_cells.h"
#include "grid/row_window.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;

class Rows : public test::InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, Rows, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST_P(Rows, PassesReadChangeAndFillGridsOfSeveralTypes) {
  const auto a = test::gridOf<R4Grid_type>("1 2 3\n 4 . 6", {.storage = GetParam()});
  auto b = test::gridOf<I4Grid_type>("10 20 30\n 40 50 60", {.storage = GetParam()});
  auto sum = test::emptyGrid<R8Grid_type>(3, 2, {.storage = GetParam()});
  RowPass pass(reading(a), changing(b), filling(sum));
  const auto add = [](int32_t row, auto left, auto right, auto out) {
    for (std::size_t i = 0; i < out.size(); ++i) {
      out[i] = static_cast<double>(left[i]) + right[i];
      right[i] += row;
    }
  };
  ASSERT_EQ(pass.run("test", add), 0);
  EXPECT_EQ(test::show(b), "11 21 31\n42 52 62\n");
  EXPECT_EQ(test::show(sum), "11 22 33\n44 -9949 66\n");
  // A body that fails ends the pass.
  EXPECT_EQ(pass.run("test", [](int32_t row, auto, auto, auto) { return row == 2 ? -1 : 0; }), -1);
}

TEST_P(Rows, MultiplyingByANumberLeavesNodataAlone) {
  auto floats = test::gridOf<R4Grid_type>("1 . 3\n 4 5 .", {.storage = GetParam()});
  EXPECT_EQ(floats.scalarMultiplyR4(0.1F), 0);
  EXPECT_EQ(floats.ExtractR4ValueColRow(3, 1), 3.0F * 0.1F);
  EXPECT_EQ(floats.ExtractR4ValueColRow(2, 1), kNodata);
  auto doubles = test::gridOf<R8Grid_type>("1 . 3\n 4 5 .", {.storage = GetParam()});
  EXPECT_EQ(doubles.scalarMultiplyR8(2.0), 0);
  EXPECT_EQ(test::show(doubles), "2 . 6\n8 10 .\n");
}

TEST_P(Rows, WindowsReadAsTheValueReaderDoes) {
  auto grid = test::noiseDem(7, 6, {}, {.storage = GetParam()});
  grid.SetR4CellColRow(3, 3, std::numeric_limits<float>::quiet_NaN());
  RowWindow<float> checked(grid, 2, 1);
  RowWindow<float> plain(grid, 2);
  ASSERT_TRUE(checked.open() && plain.open());
  for (int32_t row = 1; row <= grid.rows(); ++row) {
    ASSERT_EQ(checked.moveTo(row), kIoOk);
    ASSERT_EQ(plain.moveTo(row), kIoOk);
    for (int32_t r = row - 2; r <= row + 2; ++r)
      for (int32_t col = 0; col <= grid.cols() + 1; ++col)
        EXPECT_EQ(checked.row(r)[col - 1], grid.ExtractR4ValueColRow(col, r)) << col << ' ' << r;
    EXPECT_TRUE(plain.holds(std::max(row - 2, 1)) && plain.holds(std::min(row + 2, 6)));
    EXPECT_EQ(plain.row(row)[0], grid.ExtractR4ValueColRow(1, row));
  }
}

TEST_P(Rows, CellViewsReadAndWrite) {
  auto grid = test::gridOf<I4Grid_type>("1 2\n 3 4\n 5 6", {.storage = GetParam()});
  withCells(grid, "test", [](auto cells) { cells.set(2, 3, cells.get(1, 1) + cells.get(1, 3)); });
  EXPECT_EQ(test::show(grid), "1 2\n3 4\n5 6\n");
  withCells(grid, "test", [](auto cells) { cells.set(2, 1, 9); });
  EXPECT_EQ(test::show(grid), "1 9\n3 4\n5 6\n");
}

TEST(CellCircle, HoldsTheCellsOfItsRuleAndIsCutToTheGrid) {
  GridGeometry grid;
  grid.InitializeHeader(9, 7, 0, 0, {.cellsize = 1});
  for (const double radius : {0.0, 1.0, 1.5, 2.0, 2.9, 5.0}) {
    const auto reach = static_cast<int32_t>(radius) + 1;
    const CellCircle circle(reach, withinRadius(radius));
    for (const ColRow centre : {ColRow{5, 4}, ColRow{1, 1}, ColRow{9, 7}}) {
      int32_t cells = 0;
      circle.forEachRow(grid, centre, [&](int32_t row, int32_t col1, int32_t col2) {
        for (int32_t col = col1; col <= col2; ++col, ++cells)
          EXPECT_LE(std::hypot(col - centre.col, row - centre.row), radius);
      });
      int32_t expected = 0;
      for (int32_t row = 1; row <= 7; ++row)
        for (int32_t col = 1; col <= 9; ++col)
          expected += std::hypot(col - centre.col, row - centre.row) <= radius ? 1 : 0;
      EXPECT_EQ(cells, expected) << radius;
    }
  }
  EXPECT_EQ(CellCircle(4, withinRadius(1.2 / 0.4)).halfWidth(0), 3);
}

TEST(LineCells, LinesAndTheirParts) {
  std::string cells;
  const auto note = [&](ColRow cell) {
    cells += std::to_string(cell.col) + ',' + std::to_string(cell.row) + ' ';
  };
  EXPECT_FALSE(forEachLineCell({1, 1}, {5, 3}, note));
  EXPECT_EQ(cells, "1,1 2,1 3,2 4,2 5,3 ");
  cells.clear();
  EXPECT_TRUE(forEachLineCell({2, 4}, {3, 1}, note));
  EXPECT_EQ(cells, "3,1 3,2 2,3 2,4 ");
  cells.clear();
  EXPECT_FALSE(forEachLineCell({2, 2}, {2, 2}, note));
  EXPECT_EQ(cells, "2,2 ");

  const auto clip = [](Point from, Point to) { return clipSegment({from, to}, {0, 0}, {10, 10}); };
  const auto across = clip({-5, 5}, {15, 5});
  ASSERT_TRUE(across);
  EXPECT_EQ(across->from.x, 0);
  EXPECT_EQ(across->to.x, 10);
  const auto vertical = clip({3, 20}, {3, 4});
  ASSERT_TRUE(vertical);
  EXPECT_EQ(vertical->from.y, 10);
  EXPECT_EQ(vertical->to.y, 4);
  EXPECT_FALSE(clip({-5, 8}, {2, 15}));
  EXPECT_TRUE(clip({-5, 5}, {5, 15}));  // through the corner
  EXPECT_FALSE(clip({11, 0}, {11, 9}));
  EXPECT_TRUE(clip({10, 0}, {10, 9}));
}

TEST(Directions, StepsCodesAndOpposites) {
  for (int32_t code = 1; code <= kDirections; ++code) {
    const ColRow there = stepFrom({5, 5}, code);
    EXPECT_EQ(codeOfStep(there.col - 5, there.row - 5), code);
    EXPECT_EQ(stepFrom(there, opposite(code)), (ColRow{5, 5}));
    EXPECT_EQ(stepLength(code) == 1.0F, there.col == 5 || there.row == 5);
  }
  EXPECT_EQ(codeOfStep(2, 0), 0);
}

}  // namespace
}  // namespace terrain
