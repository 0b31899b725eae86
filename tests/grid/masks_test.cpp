// Masks, lines cut to a grid, nodata values, extents of shapefiles and grids of lists.

#include <gtest/gtest.h>

#include "grid/clip_line.h"
#include "grid/float_raster.h"
#include "grid/multigrid.h"
#include "grid/shapefile_extent.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::gridOf;
using ::testing::HasSubstr;

class Masks : public test::InBothStorages {
 protected:
  template <class G>
  G stored(std::string_view text, float nodata = kNodata) {
    return gridOf<G>(text, {.nodata = nodata, .storage = GetParam()});
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, Masks, test::everyStorage(), test::storageName);

TEST_P(Masks, LeaveOutTheSameCellsByRow) {
  const auto mask = stored<I4Grid_type>("1 . 0\n . -3 1");
  auto r4 = stored<R4Grid_type>("1 2 3\n 4 5 .");
  EXPECT_EQ(r4.R4Mask(mask), 0);
  EXPECT_EQ(test::show(r4), "1 . 3\n. 5 .\n");
  auto r8 = stored<R8Grid_type>("1 2 3\n 4 5 6");
  EXPECT_EQ(r8.R8MaskByRow(r4), 0);
  EXPECT_EQ(test::show(r8), "1 . 3\n. 5 .\n");
  r4.SetR4CellColRow(1, 1, std::nanf(""));  // no nodata: leaves nothing out
  auto i4 = stored<I4Grid_type>("1 2 3\n 4 5 6", 0);
  EXPECT_EQ(i4.I4Mask(i4), 0);
  EXPECT_EQ(i4.I4MaskByRow(r4), 0);
  EXPECT_EQ(test::show(i4), "1 . 3\n. 5 .\n");
  auto i8 = stored<I8Grid_type>("1 2 3\n 4 5 6");
  EXPECT_EQ(i8.I8Mask(stored<I1Grid_type>("0 1 0\n 1 1 1")), 0);
  EXPECT_EQ(test::show(i8), ". 2 .\n4 5 6\n");
  EXPECT_EQ(i8.I8MaskByRow(stored<I4Grid_type>("1 2")), -1);
  EXPECT_EQ(i8.status, -1);
  EXPECT_EQ(i8.I8Mask(stored<R4Grid_type>("1 2")), -1);
  EXPECT_EQ(i8.I8MaskWithBuffer(mask, -1), -1);
  EXPECT_EQ(i8.I8MaskByRow(Grid_Header{}), -1);
  for (const char* text : {"Mask grid does not match dimensions of input grid", "Mask type not supported",
                           "I4MaskWithBuffer failed", "The buffer distance must be a number not below 0"})
    EXPECT_THAT(console_.text(), HasSubstr(text));
}

/// Whether the circle of `reach` cells round the mask's cell at a point holds data, cell by cell.
bool dataAround(const I4Grid_type& mask, Point at, int32_t reach) {
  const auto col = static_cast<int32_t>(std::floor((at.x - mask.xmin) / mask.xcellsize + 1e-6)) + 1;
  const int32_t row =
      mask.rows() - static_cast<int32_t>(std::floor((at.y - mask.ymin) / mask.ycellsize + 1e-6));
  for (int32_t j = -reach; j <= reach; ++j)
    for (int32_t i = -reach; i <= reach; ++i)
      if (i * i + j * j <= reach * reach && mask.ExtractI4ValueColRow(col + i, row + j) != mask.GetNodataI4())
        return true;
  return false;
}

TEST_P(Masks, KeepWhatLiesWithinTheBufferOfTheMasksData) {
  struct Case {
    double x, y, cellsize, distance;
    int32_t ncols, nrows;
    float nodata;
    int32_t reach;
  };
  for (const Case& c : {Case{1000, 2000, 10, 0, 20, 15, kNodata, 1},  // the same cells need no circle
                        {1010, 2010, 10, 0, 20, 15, kNodata, 1},
                        {1000, 2000, 10, 25, 20, 15, 0, 4},
                        {1050, 1970, 10, 24, 20, 15, 9999, 3},
                        {990, 1980, 30, 30, 5, 5, kNodata, 2},
                        {1003, 2004, 4, 6, 30, 20, 0, 3},
                        {1500, 2000, 10, 400, 3, 9, kNodata, 41},
                        {1000, 2000, 10, 1e12, 20, 15, kNodata, 30}}) {
    SCOPED_TRACE(c.x);
    auto mask = test::emptyGrid<I4Grid_type>(
        c.ncols, c.nrows,
        {.xmin = c.x, .ymin = c.y, .cellsize = c.cellsize, .nodata = c.nodata, .storage = GetParam()});
    std::mt19937 random(7);
    for (int32_t i = 0; i < 5; ++i)
      mask.SetI4Cell(1 + static_cast<int32_t>(random() % static_cast<unsigned>(c.ncols)),
                     1 + static_cast<int32_t>(random() % static_cast<unsigned>(c.nrows)), 1);
    auto grid = test::noiseDem(20, 15, {.holes = 0.1}, {.storage = GetParam()});
    const auto before = test::cellsOf(grid);
    ASSERT_EQ(grid.R4MaskWithBuffer(mask, c.distance), 0);
    const auto after = test::cellsOf(grid);
    for (std::size_t i = 0; i < before.size(); ++i) {
      const Point at = grid.ColRowToXY(static_cast<int32_t>(i % 20) + 1, static_cast<int32_t>(i / 20) + 1);
      EXPECT_EQ(after[i], dataAround(mask, at, c.reach) ? before[i] : kNodata) << i;
    }
    // Other cells than the grid's, or a distance: by position.
    auto again = test::noiseDem(20, 15, {.holes = 0.1}, {.storage = GetParam()});
    if (c.x != 1000 || c.distance > 0) {
      ASSERT_EQ(again.R4Mask(mask, c.distance), 0);
      EXPECT_EQ(test::cellsOf(again), after);
    }
  }
}

TEST_P(Masks, NodataIsSetAnew) {
  auto r4 = stored<R4Grid_type>("1 . -10000\n 9999 0.00005 -0.0002");
  EXPECT_EQ(r4.ZeroToNodata(), 0);
  EXPECT_EQ(test::show(r4), "1 . -10000\n9999 . -0.0002\n");
  EXPECT_EQ(r4.resetNodataValueR4(-1, {}, false), 0);
  EXPECT_EQ(r4.nodata, kNodata);
  EXPECT_EQ(test::cellsOf(r4), (std::vector{1.0F, -1.0F, -1.0F, 9999.0F, -1.0F, -0.0002F}));
  EXPECT_EQ(r4.resetNodataValueR4(-5, 9999.0F), 0);
  EXPECT_EQ(test::show(r4), "1 -1 -1\n. -1 -0.0002\n");
  EXPECT_EQ(r4.resetNodataValueR4(std::nanf("")), -1);
  auto r8 = stored<R8Grid_type>("1 . 3");
  EXPECT_EQ(r8.resetNodataValueR8(-9999.9), 0);
  EXPECT_EQ(test::show(r8), "1 . 3\n");
  EXPECT_EQ(r8.resetNodataValueR8(1e300), -1);
}

TEST(ClipLine, GivesThePartOfASegmentOnTheGrid) {
  Grid_Header grid;
  grid.InitializeHeader(4, 3, 100, 200, {.cellsize = 10});  // x 100..130, y 200..220
  struct Case {
    LineClipRecord line, clipped;
  };
  constexpr int32_t none = -9999;
  for (const Case& c :
       {Case{{100, 130, 200, 220}, {100, 130, 200, 220, 1, 4, 3, 1}},
        {{110, 110, 190, 230}, {110, 110, 200, 220, 2, 2, 3, 1}},  // vertical
        {{110, 110, 210, 500}, {110, 110, 210, 220, 2, 2, 2, 1}},
        {{160, 80, 212, 212}, {130, 100, 212, 212, 4, 1, 2, 2}},           // in its own sense
        {{90, 140, 200, 250}, {100, 110, 210, 220, 1, 2, 2, 1}},           // both ends outside
        {{80, 95, 210, 210}, {80, 95, 210, 210, none, none, none, none}},  // short of the grid
        {{90, 110, 210, 230}, {100, 100, 220, 220, 1, 1, 1, 1}},           // through a corner
        {{120, 140, 210, 230}, {120, 130, 210, 220, 3, 4, 2, 1}}}) {
    LineClipRecord line = c.line;
    EXPECT_EQ(grid.clipLine(line), 0);
    const auto values = [](const LineClipRecord& l) {
      return std::vector{l.x1, l.x2, l.y1, l.y2, 1.0 * l.col1, 1.0 * l.col2, 1.0 * l.row1, 1.0 * l.row2};
    };
    EXPECT_EQ(values(line), values(c.clipped)) << c.line.x1 << ' ' << c.line.x2;
  }
  const test::ConsoleCapture console;
  LineClipRecord line{.x1 = std::nan("")};
  EXPECT_EQ(grid.clipLine(line), -1);
  EXPECT_THAT(console.text(), HasSubstr("Cannot find intersection for P2"));
}

TEST(ShapefileExtent, SnapsTheBoxToTheLattice) {
  const test::ConsoleCapture console;
  const test::ScratchDir dir;
  Grid_Header grid;
  grid.InitializeHeader(10, 10, 0.3, 1000, {.cellsize = 30});
  const auto extent = [&](std::array<double, 4> box, std::optional<double> buffer = {}) {
    std::string bytes(36, '\0');
    bytes.append(reinterpret_cast<const char*>(box.data()), sizeof box);
    test::writeBytes(dir.path("a.shp"), bytes);
    const Grid_Header h = ExtentFromShapefile(grid, dir.path("a"), "while testing", buffer);
    return h.status == 0
               ? std::vector{(h.xmin - 0.3) / 30, (h.ymin - 1000) / 30, 1.0 * h.cols(), 1.0 * h.rows()}
               : std::vector<double>{};
  };
  EXPECT_EQ(extent({31, 1031, 89, 1089}), (std::vector<double>{1, 1, 3, 3}));
  EXPECT_EQ(extent({30.3, 1030, 60.3, 1060}), (std::vector<double>{1, 1, 3, 3}));  // on cell borders
  EXPECT_EQ(extent({-1, 990, 50, 1050}), (std::vector<double>{-1, -1, 4, 4}));
  EXPECT_EQ(extent({-1, 990, 50, 1050}, 100.0), (std::vector<double>{0, 0, 7, 7}));  // 4 cells, on the grid
  EXPECT_EQ(extent({291, 1291, 295, 1295}, 0.0), (std::vector<double>{9, 9, 1, 1}));
  EXPECT_EQ(extent({-500, 1000, -20, 1100}), std::vector<double>{});
  EXPECT_THAT(console.text(), HasSubstr("Shapefile does not overlap DEM"));
  EXPECT_THAT(console.text(), HasSubstr("while testing"));
  EXPECT_EQ(extent({0, 0, std::nan(""), 0}), std::vector<double>{});
  EXPECT_EQ(extent({-1e300, -1e300, 1e300, 1e300}), std::vector<double>{});
  test::writeBytes(dir.path("a.shp"), "short");
  Grid_Header made;
  EXPECT_EQ(GetShapefileExtent(made, grid, dir.path("a")), -1);
  EXPECT_EQ(GetShapefileExtent(made, grid, dir.path("none")), -1);
  EXPECT_EQ(GetShapefileExtent(grid, grid, dir.path("a")), -1);
  EXPECT_THAT(console.text(), HasSubstr("Newgrid already exists"));
}

TEST(Multigrid, CellsHoldLists) {
  const test::ConsoleCapture console;
  const test::ScratchDir dir;
  Grid_Header header;
  header.InitializeHeader(3, 2, 100, 200, {.cellsize = 10});
  I4Multigrid_type grid;
  ASSERT_EQ(CreateI4Multigrid(grid, header), 0);
  for (const int32_t value : {5, -7, 5, -2147483647 - 1}) EXPECT_EQ(grid.AddToListXY(131, 219, value), -1);
  for (const int32_t value : {5, -7, 5, -2147483647 - 1}) EXPECT_EQ(grid.AddToListXY(129, 219, value), 0);
  EXPECT_EQ(grid.ExtractListColRow(3, 1), (std::vector{5, -7, -2147483647 - 1}));
  EXPECT_TRUE(grid.HasListXY(120, 210) && !grid.HasListColRow(2, 1) && grid.ListContains(3, 1, -7));
  EXPECT_EQ(grid.ListSizeXY(99, 200), -1);
  EXPECT_EQ(grid.ListSizeXY(100, 200), 0);
  EXPECT_EQ(grid.SetListColRow(2, 2, std::vector{4, 3}), 0);
  EXPECT_EQ(grid.ListValueXY(111, 201, 2) + grid.ListValueXY(111, 201, 3) + grid.ListValueColRow(1, 1, 0), 3);
  EXPECT_EQ(grid.AbsListValue(3, 1), 0);
  EXPECT_EQ(grid.NegateListValue(3, 1, 1), 0);
  EXPECT_EQ(grid.ExtractListXY(125, 215), (std::vector{-5, 7, 2147483647}));
  EXPECT_EQ(grid.RemoveListValue(3, 1, 2), 0);
  I4Grid_type raster;
  ASSERT_EQ(grid.WriteListCounts(dir.path("n")), 0);
  ASSERT_EQ(ReadGrid(raster, dir.path("n")), 0);
  EXPECT_EQ(test::show(raster), "0 0 2\n0 2 0\n");
  ASSERT_EQ(grid.WriteListValues(dir.path("n"), 2), 0);
  ASSERT_EQ(ReadGrid(raster, dir.path("n")), 0);
  EXPECT_EQ(test::cellsOf(raster), (std::vector{-9999, -9999, 2147483647, -9999, 3, -9999}));
  EXPECT_EQ(grid.RemoveListValue(3, 1), 0);
  EXPECT_FALSE(grid.HasListColRow(3, 1));
  grid.DestroyMultigrid();
  EXPECT_FALSE(grid.MultigridExists());
  EXPECT_EQ(CreateI4Multigrid(grid, Grid_Header{}), -1);
  EXPECT_THAT(console.text(), HasSubstr("  Unable to allocate multigrid"));
}

}  // namespace
}  // namespace terrain
