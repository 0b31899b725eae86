// Header, storage and access of grids, in memory and on disk.

#include "grid/grid.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

#include "foundation/files.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::GridPlan;
using test::Storage;

// ---- header ----

TEST(GridHeader, FindsTheLatticeCellOfAPoint) {
  Grid_Header h;
  h.InitializeHeader(4, 3, 100.0, 200.0, {.cellsize = 10.0});  // x 100..130, y 200..220
  struct Case {
    double x, y;
    ColRow cell;
  };
  for (const Case& c : {Case{100, 220, {1, 1}},
                        {100, 220 + 1e-9, {1, 1}},
                        {100, 221, {1, -1}},
                        {100, 231, {1, -2}},
                        {100, 200, {1, 3}},
                        {100, 199, {1, 4}},
                        {100, 190, {1, 4}},
                        {100, 189, {1, 5}},
                        {99.9, 205, {-1, 3}},
                        {89, 215, {-2, 2}},
                        {135, 205, {4, 3}},
                        {140, 205, {5, 3}},
                        {109.9, 210, {1, 2}},
                        {110, 209.9, {2, 3}}}) {
    EXPECT_EQ(h.XYtoColRow(c.x, c.y), c.cell) << c.x << ' ' << c.y;
  }
  EXPECT_EQ(h.NearestColRow(105, 205), (ColRow{2, 2}));
  EXPECT_EQ(h.NearestColRowOpen(105, 205), (ColRow{1, 3}));
  EXPECT_EQ(h.NearestColRow(139, 219), (ColRow{4, 1}));
  EXPECT_EQ(h.NearestColRowOpen(139, 205.1), (ColRow{5, 2}));
  for (int32_t col : {-2, -1, 1, 4, 6})
    for (int32_t row : {-2, -1, 1, 3, 5}) {
      const Point p = h.ColRowToXY(col, row);
      EXPECT_EQ(h.XYtoColRow(p.x, p.y), (ColRow{col, row}));
    }
  // Far off the map is outside, and nothing overflows.
  const ColRow far = h.XYtoColRow(1e300, -1e300);
  EXPECT_FALSE(h.contains(far.col, far.row));
}

TEST(GridHeader, ConvertsShiftsAndCompares) {
  const test::ConsoleCapture quiet;
  Grid_Header h;
  h.InitializeHeader(4, 3, 100.0, 200.0, {.cellsize = 30.0});
  Grid_Header feet = h;
  feet.MetersToFeet();
  EXPECT_DOUBLE_EQ(feet.cellsize, 30.0 / 0.3048);
  EXPECT_FALSE(SameExtent(h, feet));
  FeetToMeters(feet);
  EXPECT_TRUE(feet.feetConverted && SameGridGeometry(h, feet));
  EXPECT_EQ(h.Offset({.halfCell = true}), 0);
  EXPECT_EQ(h.xmin, 115.0);
  EXPECT_EQ(h.ymax, 275.0);
  EXPECT_EQ(h.Offset({.x = 1.0}), -1);
  EXPECT_EQ(h.Offset({.halfCell = false}), -1);
  EXPECT_EQ(h.Offset({}), 0);
  EXPECT_EQ(CreateGridHeader(h, 2, 2, 0, 0, {}), -1);
  EXPECT_EQ(CreateGridHeader(h, 2, 2, 0, 0, {.size = {.xcellsize = 10.0, .ycellsize = 20.0}}), 0);
  EXPECT_EQ(h.cellsize, 30.0);
  EXPECT_EQ(h.ymax, 20.0);
  EXPECT_EQ(h.CellArea(), 200.0F);
}

// ---- storage ----

class GridStorage : public ::testing::Test {
 protected:
  test::ConsoleCapture console_;
  test::ScratchDir scratch_;
};

template <class G>
class EveryType : public GridStorage {};
using Types = ::testing::Types<R4Grid_type, R8Grid_type, I4Grid_type, I8Grid_type, I2Grid_type, I1Grid_type>;
TYPED_TEST_SUITE(EveryType, Types);

TYPED_TEST(EveryType, OnDiskHoldsItsFillAndReadsInBothViews) {
  using T = typename TypeParam::CellValue;
  TypeParam grid;
  ASSERT_EQ(CreateGrid(
                grid, {.ncols = 7, .nrows = 5, .size = {.cellsize = 1.0}, .fillValue = 3.7F, .onDisk = true}),
            0);
  const std::string file = grid.scratchFile;
  EXPECT_TRUE(grid.rowAccess && !grid.cellAccess && grid.GridExists());
  EXPECT_EQ(fsize(file), static_cast<int64_t>(35 * sizeof(T)));
  for (T cell : test::cellsOf(grid)) EXPECT_EQ(cell, static_cast<T>(3.7F));

  const AccessTexts texts{};
  EXPECT_EQ(grid.setCell(2, 3, T{9}, texts), 0);
  EXPECT_TRUE(grid.cellAccess && !grid.rowAccess);
  std::vector<T> row(7, T{1});
  EXPECT_EQ(grid.readRow(3, row), kIoOk);
  EXPECT_TRUE(grid.rowAccess);
  EXPECT_EQ(row[1], T{9});
  row[6] = T{8};
  EXPECT_EQ(grid.writeRow(5, row), kIoOk);
  EXPECT_EQ(grid.value(7, 5, ""), T{8});
  EXPECT_EQ(grid.value(8, 5, ""), grid.nodataValue());
  EXPECT_EQ(grid.setCell(0, 1, T{1}, texts), -1);

  // Made again over itself, with its geometry: a fresh grid, and the old file is gone.
  ASSERT_EQ(CreateGrid(grid, {.like = &grid, .cellAccess = true}), 0);
  EXPECT_NE(this->console_.text().find("CreateGrid in Grid_Module: Grid-to-be-created already exists"),
            std::string::npos);
  EXPECT_EQ(grid.cols(), 7);
  EXPECT_TRUE(grid.cellAccess && grid.value(2, 3, "") == grid.nodataValue());
  const std::string second = grid.scratchFile;
  DestroyGrid(grid);
  DestroyGrid(grid);
  EXPECT_FALSE(platform::fileExists(second) || platform::fileExists(file) || grid.GridExists());
}

TYPED_TEST(EveryType, FallsBackOnScratchWhenMemoryRunsOut) {
  memoryLimits().largestBlock = 2000;
  TypeParam grid;
  ASSERT_EQ(CreateGrid(grid, {.ncols = 100, .nrows = 100, .size = {.cellsize = 1.0}}), 0);
  EXPECT_TRUE(grid.onDisk && !grid.cells.present());
  EXPECT_NE(this->console_.text().find("WARNING: CreateGrid unable to allocate memory for "),
            std::string::npos);
  TypeParam padded;
  EXPECT_EQ(CreateGrid(padded, {.ncols = 100, .nrows = 100, .size = {.cellsize = 1.0}, .padCells = 1}), -1);
  memoryLimits().largestBlock.reset();
  DestroyGrid(grid);
}

TEST_F(GridStorage, RefusesWhatItCannotMake) {
  R4Grid_type grid;
  EXPECT_EQ(CreateGrid(grid, {}), -1);
  EXPECT_EQ(CreateGrid(grid, {.ncols = 0, .nrows = 5}), -1);
  EXPECT_FALSE(grid.HeaderExists());
  EXPECT_EQ(CreateGrid(grid, {.ncols = 2, .nrows = 2, .onDisk = true, .cellAccess = true, .rowAccess = true}),
            -1);
  EXPECT_FALSE(grid.GridExists() || grid.HeaderExists());
  // Cells beyond any memory and any disk: a failure in words, and nothing is left behind.
  grid.onDisk = false;
  EXPECT_EQ(CreateGrid(grid, {.ncols = 2147483647, .nrows = 2147483647}), -1);
  Grid_Header bare;
  EXPECT_EQ(CreateGrid(bare, {.ncols = 2, .nrows = 2}), -1);
  EXPECT_NE(console_.text().find("Grid type not defined"), std::string::npos);
  scratchSpace().scratchReady = false;
  R4Grid_type homeless;
  EXPECT_EQ(CreateGrid(homeless, {.ncols = 2, .nrows = 2, .onDisk = true}), -1);
  EXPECT_NE(console_.text().find("OpenBinaryScratchFile failed"), std::string::npos);
  DestroyGrid(grid);
  EXPECT_TRUE(std::filesystem::is_empty(scratch_.path()));
}

TEST_F(GridStorage, NodataHasTheFormOfTheType) {
  I1Grid_type bytes;
  ASSERT_EQ(CreateGrid(bytes, {.ncols = 2, .nrows = 2, .nodata = 7.0F}), 0);
  EXPECT_EQ(bytes.ExtractI1ValueColRow(1, 1), 0);
  EXPECT_EQ(bytes.GetNodataI1(), 0);
  EXPECT_EQ(bytes.nodata, 0.0F);
  I2Grid_type shorts;
  ASSERT_EQ(CreateGrid(shorts, {.ncols = 2, .nrows = 2, .nodata = -3.4e38F}), 0);
  EXPECT_EQ(shorts.GetNodataI2(), -32768);
  R8Grid_type doubles;
  ASSERT_EQ(CreateGrid(doubles, {.ncols = 2, .nrows = 2}), 0);
  DestroyGrid(doubles);
  EXPECT_EQ(doubles.GetNodataR8(), -9999.0);
  // The grid keeps its nodata only if it is told to.
  R4Grid_type floats;
  ASSERT_EQ(CreateGrid(floats, {.ncols = 2, .nrows = 2, .nodata = 0.0F}), 0);
  DestroyGrid(floats);
  EXPECT_EQ(floats.nodata, 0.0F);
  ASSERT_EQ(CreateGrid(floats, {.ncols = 2, .nrows = 2}), 0);
  EXPECT_EQ(floats.ExtractR4ValueColRow(1, 1), -9999.0F);
}

TEST_F(GridStorage, UnreadableScratchEndsTheRunWithItsLines) {
  // Rows this long go straight to the file and leave no page in the buffer.
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(2000, 300, {.storage = Storage::disk});
  ASSERT_EQ(grid.SetCellAccess(), 0);
  std::filesystem::resize_file(grid.scratchFile, 1000);
  EXPECT_EQ(grid.ExtractR4ValueColRow(1, 1), -9999.0F);
  const auto readCut = [&] {
    platform::console().out = &std::cerr;
    static_cast<void>(grid.ExtractR4ValueColRow(2000, 300));
  };
  EXPECT_EXIT(readCut(), ::testing::ExitedWithCode(1),
              "ERROR: ExtractR4ValueColRow in Grid_module\n   Error reading scratch file\n   File: "
              ".*Scratch0\n   Unit: 11\n   Error: 36");
}

TEST_F(GridStorage, LostScratchFileFailsEveryAccessAndCanComeBack) {
  auto grid = test::emptyGrid<R4Grid_type>(3, 2, {.nodata = -5.0F, .storage = Storage::disk});
  const int32_t unit = grid.scratchUnit;
  std::vector row(3, 7.0F);
  for (const int32_t left : {unit, 0}) {
    units().close(unit);
    grid.scratchUnit = left;
    EXPECT_EQ(grid.SetRowAccess(), -1);
    EXPECT_EQ(grid.SetCellAccess(), -1);
    EXPECT_EQ(grid.SetR4CellColRow(1, 1, 9.0F), -1);
    EXPECT_EQ(grid.SetR4row(1, row), -1);
    grid.status = 0;
    std::ranges::fill(row, 7.0F);
    grid.ExtractR4row(row, 1);
    EXPECT_EQ(row, std::vector(3, -5.0F));
    EXPECT_EQ(grid.status, -1);
    grid.scratchUnit = unit;
    ASSERT_EQ(units().openRecords(unit, grid.scratchFile, platform::Open::update, 12), kIoOk);
    EXPECT_EQ(grid.SetCellAccess(), 0);
    EXPECT_EQ(grid.SetR4CellColRow(2, 1, 9.0F), 0);
  }
}

// ---- access ----

class GridAccess : public test::InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, GridAccess, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST_P(GridAccess, CellsRowsAndWindows) {
  auto grid = test::gridOf<R4Grid_type>("1 2 3\n 4 . 6\n 7 8 9", {.nodata = 0.0F, .storage = GetParam()});
  EXPECT_EQ(grid.ExtractR4ValueColRow(0, 1), 0.0F);
  EXPECT_EQ(grid.SetR4CellColRow(1, 1, std::numeric_limits<float>::quiet_NaN()), 0);
  EXPECT_EQ(grid.ExtractR4ValueColRow(1, 1), 0.0F);
  EXPECT_EQ(grid.AddR4(2, 2, 2.5F), 0);
  EXPECT_EQ(grid.SubtractR4(2, 2, 1.0F), 0);
  EXPECT_EQ(grid.multiplyCellR4(2, 2, 4.0F), 0);
  EXPECT_EQ(grid.ExtractR4ValueColRow(2, 2), 6.0F);
  EXPECT_EQ(grid.AddR4(4, 1, 1.0F), -1);
  EXPECT_EQ(grid.SetR4CellColRow(4, 1, 1.0F), -1);
  EXPECT_NE(console_.text().find("Location outside of grid extent"), std::string::npos);
  EXPECT_EQ(grid.SetR4CellXY(1021.0, 2000.0, 5.0F), 0);
  EXPECT_EQ(grid.ExtractR4ValueColRow(3, 3), 5.0F);

  std::vector<float> row(3);
  grid.ExtractR4row(row, 0);
  EXPECT_EQ(row, std::vector(3, -9999.0F));
  grid.ExtractR4row(row, 3);
  EXPECT_EQ(row, (std::vector{7.0F, 8.0F, 5.0F}));
  EXPECT_EQ(grid.SetR4row(2, std::vector{1.0F, 2.0F}), -1);
  EXPECT_EQ(grid.SetR4row(4, row), -1);
  EXPECT_EQ(grid.SetR4row(2, row), 0);
  EXPECT_EQ(grid.status, 0);

  std::array<float, 9> around{};
  grid.ExtractR4Neighbours(around, 3, 1);
  EXPECT_EQ(around, (std::array{0.0F, 0.0F, 0.0F, 2.0F, 3.0F, 0.0F, 8.0F, 5.0F, 0.0F}));
  EXPECT_EQ(
      grid.setWindowR4({.col1 = 2, .col2 = 3, .row1 = 1, .row2 = 2}, std::vector{10.0F, 20.0F, 30.0F, 40.0F}),
      0);
  std::vector<float> window(4);
  grid.ExtractR4Window(window, {.col1 = 3, .col2 = 4, .row1 = 1, .row2 = 2});
  EXPECT_EQ(window, (std::vector{20.0F, 0.0F, 40.0F, 0.0F}));
  EXPECT_EQ(grid.setWindowR4({.col1 = 3, .col2 = 4, .row1 = 1, .row2 = 1}, std::vector{1.0F, 2.0F}), -1);
}

TEST_P(GridAccess, IntegersChangeInPlace) {
  auto i4 = test::gridOf<I4Grid_type>("1 2\n 3 .", {.storage = GetParam()});
  EXPECT_EQ(
      i4.setWindowMaxI4({.col1 = 1, .col2 = 2, .row1 = 1, .row2 = 2}, std::vector<int32_t>{0, 5, 2, -3}), 0);
  EXPECT_EQ(test::cellsOf(i4), (std::vector<int32_t>{1, 5, 3, -3}));
  EXPECT_EQ(i4.SetI4Negative(2, 1), 0);
  EXPECT_EQ(i4.AddColRowI4(1, 1, 2147483647), 0);
  EXPECT_EQ(test::cellsOf(i4), (std::vector<int32_t>{-2147483647 - 1, -5, 3, -3}));
  EXPECT_EQ(i4.ExtractI4ValueXY(1005.0, 2005.0), 3);
  EXPECT_EQ(i4.ExtractI4ValueXY(1010.1, 2000.0), -9999);
  auto i8 = test::gridOf<I8Grid_type>("1 2", {.storage = GetParam()});
  EXPECT_EQ(i8.SetI8Negative(3, 1), -1);
  EXPECT_EQ(i8.SetI8CellColRow(1, 1, std::int64_t{1} << 40), 0);
  EXPECT_EQ(i8.SetI8Negative(1, 1), 0);
  EXPECT_EQ(i8.ExtractI8ValueColRow(1, 1), -(std::int64_t{1} << 40));
  auto r8 = test::gridOf<R8Grid_type>("1 2", {.storage = GetParam()});
  EXPECT_EQ(r8.multiplyWindowR8({.col1 = 1, .col2 = 2, .row1 = 1, .row2 = 1}, std::vector{3.0, 0.1}), 0);
  EXPECT_EQ(r8.extractR8ValueColRow(2, 1), 2.0 * 0.1);
  EXPECT_EQ(r8.SetR8Row(2, std::vector{1.0, 2.0}), -1);
  EXPECT_NE(console_.text().find("Input row outside of grid range"), std::string::npos);
}

TEST_P(GridAccess, PointsBetweenCellsAreInterpolated) {
  auto grid = test::gridOf<R4Grid_type>("0 0 0 0\n 0 10 . 0\n 0 . . 0\n 0 0 0 0", {.storage = GetParam()});
  const double x = 1015.0;  // between columns 2 and 3, y between rows 2 and 3
  const double y = 2015.0;
  EXPECT_EQ(grid.ExtractR4ValueXY(x, y), -9999.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(x, y, {.ignoreNodata = true}), 2.5F);
  EXPECT_EQ(grid.ExtractR4ValueXY(1010.0, 2020.0), 10.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(1034.0, 2034.0), 0.0F);  // the strips beyond the lattice
  EXPECT_EQ(grid.ExtractR4ValueXY(1010.0, 1999.0), -9999.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(x, y, {.interpolate = true, .noInterpolate = true}), -9999.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(1011.0, 2019.0, {.nearest = true}), 10.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(std::nan(""), y), -9999.0F);
}

}  // namespace
}  // namespace terrain
