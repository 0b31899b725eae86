// Lines burned into grids.

#include <random>

#include "grid/directions.h"
#include "shape_support.h"
#include "support/grids.h"
#include "table/rasterize.h"

namespace terrain {
namespace {

using namespace terrain::test;

class LineRaster : public ::testing::Test {
 protected:
  /// Lines with the fields ID and RANK, one part each.
  void make(const std::vector<std::vector<Point>>& lines, const std::vector<int32_t>& ids,
            const std::vector<int32_t>& ranks = {}) {
    const AttributeType list[] = {attribute("ID", "I4", 8), attribute("RANK", "I4", 8)};
    ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = std::ssize(lines)}), 0);
    ASSERT_EQ(table.WriteI4Field(ids, 1), 0);
    if (!ranks.empty()) table.WriteI4Field(ranks, 2);
    ASSERT_EQ(table.initializeSegments(), 0);
    for (std::size_t i = 0; i < lines.size(); ++i)
      for (const Point& at : lines[i]) {
        table.segment[i].x.push_back(at.x);
        table.segment[i].y.push_back(at.y);
      }
  }
  std::string burned(LineRasterOptions options) {
    if (options.like == nullptr) options.like = &lattice;
    return table.Rasterize(grid, options) == 0 ? show(grid) : "failed";
  }

  ScratchDir scratch;
  ConsoleCapture seen;
  R4Grid_type lattice = emptyGrid<R4Grid_type>(5, 4, {.xmin = 0, .ymin = 0, .cellsize = 1});
  LineVectorType table;
  I4Grid_type grid;
};

TEST_F(LineRaster, TheFirstLineKeepsACell) {
  make({{{0.5, 0.5}, {4.5, 0.5}}, {{2.5, 3.9}, {2.5, 0.1}}}, {7, 9}, {0, 4});
  EXPECT_EQ(burned({}), "0 0 1 0 0\n0 0 1 0 0\n0 0 1 0 0\n1 1 1 1 1\n") << "no ID field";
  ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  EXPECT_EQ(burned({}), "0 0 9 0 0\n0 0 9 0 0\n0 0 9 0 0\n7 7 7 7 7\n");
  EXPECT_EQ(burned({.useRecord = true}), "0 0 2 0 0\n0 0 2 0 0\n0 0 2 0 0\n1 1 1 1 1\n");
  EXPECT_EQ(burned({.ival = -3, .flagField = "ID", .flagValue = 9}),
            "0 0 -3 0 0\n0 0 -3 0 0\n0 0 -3 0 0\n0 0 -3 0 0\n");
  const std::string second = "0 0 9 0 0\n0 0 9 0 0\n0 0 9 0 0\n7 7 9 7 7\n";
  EXPECT_EQ(burned({.priorityField = "RANK"}), second);
  ASSERT_EQ(table.WriteI4Field(std::vector<int32_t>{5, 4}, 2), 0);
  EXPECT_EQ(burned({.lengthField = "RANK"}), second);
  ASSERT_EQ(table.WriteI4Field(std::vector<int32_t>{-1, 0}, 2), 0);
  EXPECT_EQ(burned({.priorityField = "RANK"}), "0 0 9 0 0\n0 0 9 0 0\n0 0 9 0 0\n0 0 9 0 0\n");
  // A second call without a lattice burns into the grid that is there.
  ASSERT_EQ(table.Rasterize(grid, {.ival = 1}), 0);
  EXPECT_EQ(show(grid), "0 0 9 0 0\n0 0 9 0 0\n0 0 9 0 0\n1 1 9 1 1\n");
}

TEST_F(LineRaster, LinesAreCutAtTheGridAndPartsAreNotJoined) {
  // The second part leaves the grid and comes back; the strip above the last reference points is the first
  // row.
  make({{{-3, 3.95}, {9, 3.95}, {0.5, 1.5}, {0.5, -7}, {2.5, -7}, {2.5, 0.5}}}, {1});
  table.segment[0].parts = {1, 3};
  EXPECT_EQ(burned({}), "1 1 1 1 1\n0 0 0 0 0\n1 0 0 0 0\n1 0 1 0 0\n");
  EXPECT_EQ(burned({.xShift = 100}), "0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n");
  EXPECT_EQ(burned({.xShift = 1, .yShift = -1}), "0 0 0 0 0\n1 1 1 1 1\n0 0 0 0 0\n0 1 0 0 0\n");
  EXPECT_EQ(burned({.buffer = 1.0F}), "1 1 1 1 1\n1 1 1 1 1\n1 1 1 0 0\n1 1 1 1 0\n");
  EXPECT_EQ(burned({.buffer = 1.0F, .yShift = 100}), "0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n");
}

TEST_F(LineRaster, FaultsAreReported) {
  make({{{0, 0}, {1, 1}}}, {1});
  for (const auto& [options, message] : std::initializer_list<std::pair<LineRasterOptions, const char*>>{
           {{.lengthField = "NONE"}, "Length field attribute not found"},
           {{.priorityField = "NONE"}, "Priority field attribute not found"},
           {{.flagField = "NONE"}, "Cannot locate flag field NONE"}}) {
    EXPECT_EQ(burned(options), "failed");
    EXPECT_TRUE(seen.has(message)) << seen.text();
  }
  EXPECT_EQ(table.Rasterize(grid, {}), -1);
  EXPECT_TRUE(seen.has("No template or grid to rasterize to"));
  EXPECT_EQ(grid.status, -1);
}

TEST_F(LineRaster, DirectionsLeadAlongTheLine) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  R4Grid_type wide = emptyGrid<R4Grid_type>(200, 200, {.xmin = 0, .ymin = 0, .cellsize = 1});
  for (int trial = 0; trial < 50; ++trial) {
    // One cell a column or, for lines that are steeper than 45 degrees, a row, so that no cell is met twice.
    std::vector<Point> line{{.x = 2 + unit(random), .y = 100}};
    while (line.back().x < 180) {
      const double step = 1.5 + 8 * unit(random);
      line.push_back({.x = line.back().x + step, .y = line.back().y + step * (2 * unit(random) - 1)});
    }
    if (trial % 4 > 1)
      for (Point& at : line) std::swap(at.x, at.y);
    if (trial % 2 == 1) std::reverse(line.begin(), line.end());
    make({line}, {1});
    ASSERT_EQ(table.Rasterize(grid, {.like = &wide, .direction = true, .reverseRing = trial % 3 == 0}), 0);
    if (trial % 3 == 0) std::reverse(line.begin(), line.end());
    I4Grid_type cells;
    ASSERT_EQ(table.Rasterize(cells, {.ival = 1, .like = &wide}), 0);
    ColRow at = wide.XYtoColRow(line.front().x, line.front().y);
    std::size_t vertex = 0;
    for (int steps = 0; steps < 20000 && vertex < line.size(); ++steps) {
      const ColRow wanted = wide.XYtoColRow(line[vertex].x, line[vertex].y);
      if (at.col == wanted.col && at.row == wanted.row) ++vertex;
      ASSERT_NE(cells.value(at.col, at.row, ""), 0);
      if (vertex < line.size()) at = stepFrom(at, grid.value(at.col, at.row, ""));
    }
    EXPECT_EQ(vertex, line.size()) << "trial " << trial;
  }
}

}  // namespace
}  // namespace terrain
