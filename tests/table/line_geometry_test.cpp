// The cells of lines, and the nearest line of each cell.

#include <random>

#include "shape_support.h"
#include "support/grids.h"
#include "table/rasterize.h"

namespace terrain {
namespace {

using namespace terrain::test;

/// Lines with the field ID, one part each.
void makeLines(LineVectorType& table, const std::vector<std::vector<Point>>& lines,
               const std::vector<int32_t>& ids) {
  const AttributeType list[] = {attribute("ID", "I4", 8)};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = std::ssize(lines)}), 0);
  ASSERT_EQ(table.WriteI4Field(ids, 1), 0);
  ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  ASSERT_EQ(table.initializeSegments(), 0);
  for (std::size_t i = 0; i < lines.size(); ++i)
    for (const Point& at : lines[i]) {
      table.segment[i].x.push_back(at.x);
      table.segment[i].y.push_back(at.y);
    }
}

class TracedCells : public ::testing::Test {
 protected:
  /// "col,row col,row ..."
  std::string traced(bool useAlt = false) {
    std::vector<int32_t> cols, rows;
    EXPECT_EQ(table.TraceCells(1, lattice, cols, rows, useAlt), 0);
    std::string text;
    for (std::size_t i = 0; i < cols.size(); ++i)
      text += std::to_string(cols[i]) + "," + std::to_string(rows.at(i)) + " ";
    return text;
  }
  ConsoleCapture seen;
  R4Grid_type lattice = emptyGrid<R4Grid_type>(5, 4, {.xmin = 0, .ymin = 0, .cellsize = 1});
  LineVectorType table;
};

TEST_F(TracedCells, RunsFollowTheLine) {
  makeLines(table, {{{4.5, 0.5}, {4.2, 0.1}, {0.5, 0.5}, {0.5, 2.5}, {0.2, 0.5}}}, {1});
  EXPECT_EQ(traced(), "5,4 4,4 3,4 2,4 1,4 1,3 1,2 1,3 1,4 ")
      << "westwards, north, and back over the same cells";
  // Cut at the grid, whose upper strips belong to the outer cells; the part between lies off the grid.
  makeLines(table, {{{-3, 3.95}, {2.5, 3.95}, {100, 200}, {200, 200}, {3.5, 3.2}, {3.5, 0.5}, {9, 0.5}}},
            {1});
  table.segment[0].parts = {1, 3, 5};
  EXPECT_EQ(traced(), "1,1 2,1 3,1 4,1 4,2 4,3 4,4 5,4 ");
  table.segment[0].parts = {1, 3, 4, 5};
  table.segment[0].xAlt = Numbers(7, 0.5);
  table.segment[0].yAlt = Numbers(7, 1.5);
  EXPECT_EQ(traced(true), "1,3 ") << "parts of one vertex have no segment";
  makeLines(table, {{{-3, 1}, {-1, 2}}}, {1});
  EXPECT_EQ(traced(), "");
  std::vector<int32_t> cols{7}, rows{7};
  EXPECT_EQ(table.TraceCells(2, lattice, cols, rows), -1);
  EXPECT_TRUE(cols.empty() && rows.empty());
}

TEST_F(TracedCells, AreThoseOfTheBurnedLineAndTouchEachOther) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> place(-20, 120);
  R4Grid_type wide = emptyGrid<R4Grid_type>(100, 80, {.xmin = 0, .ymin = 0, .cellsize = 1});
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<Point> line(40);
    for (Point& at : line) at = {.x = place(random), .y = place(random)};
    makeLines(table, {line}, {1});
    I4Grid_type burned;
    std::vector<int32_t> cols, rows;
    ASSERT_EQ(table.Rasterize(burned, {.like = &wide}), 0);
    ASSERT_EQ(table.TraceCells(1, wide, cols, rows), 0);
    I4Grid_type visited = emptyGrid<I4Grid_type>(100, 80, {.xmin = 0, .ymin = 0, .cellsize = 1});
    fillWith(visited, [](int32_t, int32_t) { return 0; });
    for (std::size_t i = 0; i < cols.size(); ++i) {
      visited.setCell(cols[i], rows[i], 1, {});
      if (i == 0) continue;
      const int32_t dCol = std::abs(cols[i] - cols[i - 1]);
      const int32_t dRow = std::abs(rows[i] - rows[i - 1]);
      EXPECT_GT(dCol + dRow, 0);
      const auto onEdge = [&](std::size_t at) {
        return cols[at] == 1 || rows[at] == 1 || cols[at] == 100 || rows[at] == 80;
      };
      EXPECT_TRUE(std::max(dCol, dRow) == 1 || (onEdge(i) && onEdge(i - 1)))
          << "only where it leaves the grid";
    }
    EXPECT_EQ(cellsOf(visited), cellsOf(burned));
  }
}

// ---- the nearest line ----

/// Which cells change hands, cell by cell.
void handOver(I4Grid_type& lines) {
  I4Grid_type before;
  ASSERT_EQ(lines.cloneI4(before), 0);
  const int around[8][2] = {{1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}};
  for (int32_t row = 1; row <= lines.rows(); ++row)
    for (int32_t col = 1; col <= lines.cols(); ++col) {
      const int32_t v = before.value(col, row, "");
      int32_t w = 0, ofV = 0, ofW = 0, ringV = 0, ringW = 0;
      for (const auto& step : around) {
        const int32_t other = before.value(col + step[0], row + step[1], "");
        if (other > 0 && other != v && w == 0) w = other;
        ofV += other == v;
        ofW += w > 0 && other == w;
      }
      for (int32_t r = -2; r <= 2; ++r)
        for (int32_t c = -2; c <= 2; ++c) {
          if (std::max(std::abs(r), std::abs(c)) < 2) continue;
          ringV += before.value(col + c, row + r, "") == v;
          ringW += before.value(col + c, row + r, "") == w;
        }
      if (v > 0 && w > 0 && ofV == 1 && ofW > 1 && ringW > ringV) lines.setCell(col, row, w, {});
    }
}

/// The reference implementation: a kernel of distances around every line cell, in row order.
void layKernels(const I4Grid_type& lines, float distance, I4Grid_type& ids, R4Grid_type& distances) {
  const auto cellSize = static_cast<float>(lines.cellsize);
  auto r = static_cast<int32_t>(distance / cellSize);
  if (std::fmod(distance, cellSize) > 0) ++r;
  ASSERT_EQ(CreateGrid(ids, {.like = &lines}), 0);
  ASSERT_EQ(CreateGrid(distances, {.like = &lines, .fillValue = 1e30F}), 0);
  for (int32_t row = 1; row <= lines.rows(); ++row)
    for (int32_t col = 1; col <= lines.cols(); ++col) {
      const int32_t v = lines.value(col, row, "");
      if (v <= 0) continue;
      for (int32_t j = -r; j <= r; ++j)
        for (int32_t i = -r; i <= r; ++i) {
          const float length = std::sqrt(static_cast<float>(i * i + j * j)) * cellSize;
          if (i * i + j * j > r * r || length > distance || !lines.contains(col + i, row + j)) continue;
          if (!(length < distances.value(col + i, row + j, ""))) continue;
          ids.setCell(col + i, row + j, v, {});
          distances.setCell(col + i, row + j, length, {});
        }
    }
  fillWith(distances, [&](int32_t col, int32_t row) {
    const float held = distances.value(col, row, "");
    return held == 1e30F ? -9999.0F : held;
  });
}

class NearestLine : public InBothStorages {
 protected:
  LineVectorType table;
  I4Grid_type ids, lines;
  R4Grid_type distances;
};
INSTANTIATE_TEST_SUITE_P(Storages, NearestLine, everyStorage(), storageName);

TEST_P(NearestLine, IsThatOfTheKernels) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  ids.onDisk = distances.onDisk = GetParam() != Storage::memory;
  for (const float distance : {0.0F, 2.5F, 5.0F, 12.0F, 40.0F, 400.0F}) {
    R4Grid_type lattice = emptyGrid<R4Grid_type>(50, 40, {.xmin = 0, .ymin = 0, .cellsize = 2.5});
    // Short lines, many of them joined to a longer one, and IDs that are no lines.
    std::vector<std::vector<Point>> shapes;
    std::vector<int32_t> numbers;
    for (int32_t i = 0; i < 12; ++i) {
      std::vector<Point> line{{.x = 140 * unit(random) - 10, .y = 110 * unit(random) - 5}};
      if (i % 3 == 1) line = {{.x = shapes[0][1].x, .y = shapes[0][1].y}};
      for (int step = 0; step < 3; ++step)
        line.push_back(
            {.x = line.back().x + 50 * (unit(random) - 0.5), .y = line.back().y + 50 * (unit(random) - 0.5)});
      shapes.push_back(line);
      numbers.push_back(i == 5 ? -4 : 12 - i);
    }
    makeLines(table, shapes, numbers);
    I4Grid_type work, wantedIds;
    R4Grid_type wanted;
    ASSERT_EQ(table.Rasterize(work, {.like = &lattice}), 0);
    handOver(work);
    layKernels(work, distance, wantedIds, wanted);
    ASSERT_EQ(table.ID_distance(distance, lattice, ids, distances, {.lineGrid = &lines}), 0)
        << console_.text();
    EXPECT_EQ(cellsOf(lines), cellsOf(work));
    EXPECT_EQ(cellsOf(ids), cellsOf(wantedIds)) << distance;
    EXPECT_EQ(cellsOf(distances), cellsOf(wanted)) << distance;
    EXPECT_EQ(ids.onDisk, GetParam() != Storage::memory);
  }
}

TEST_P(NearestLine, AnEndWithinAnotherLineIsHandedOver) {
  makeLines(table, {{{3.5, 3.5}, {3.5, 0.5}}, {{0.5, 3.5}, {6.5, 3.5}}}, {7, 9});
  R4Grid_type lattice = emptyGrid<R4Grid_type>(7, 5, {.xmin = 0, .ymin = 0, .cellsize = 1});
  ASSERT_EQ(table.ID_distance(1.0F, lattice, ids, distances, {.lineGrid = &lines}), 0);
  EXPECT_EQ(show(lines), "0 0 0 0 0 0 0\n9 9 9 9 9 9 9\n0 0 0 7 0 0 0\n0 0 0 7 0 0 0\n0 0 0 7 0 0 0\n");
  EXPECT_EQ(show(ids), "9 9 9 9 9 9 9\n9 9 9 9 9 9 9\n9 9 9 7 9 9 9\n. . 7 7 7 . .\n. . 7 7 7 . .\n");
  EXPECT_EQ(show(distances), "1 1 1 1 1 1 1\n0 0 0 0 0 0 0\n1 1 1 0 1 1 1\n. . 1 0 1 . .\n. . 1 0 1 . .\n");
  ASSERT_EQ(table.ID_distance(1e30F, lattice, ids, distances, {.flagField = "ID", .flagValue = 9}), 0);
  EXPECT_EQ(show(ids).find('.'), std::string::npos);
  EXPECT_EQ(distances.value(7, 5, ""), 3.0F);
}

TEST_P(NearestLine, FaultsAreReported) {
  makeLines(table, {{{0, 0}, {1, 1}}}, {1});
  R4Grid_type lattice = emptyGrid<R4Grid_type>(7, 5);
  EXPECT_EQ(table.ID_distance(-1.0F, lattice, ids, distances), -1);
  EXPECT_TRUE(console_.has("Radius must not be negative"));
  EXPECT_EQ(table.ID_distance(1.0F, lattice, ids, distances, {.flagField = "NONE"}), -1);
  EXPECT_TRUE(console_.has("ERROR rasterizing input line shapefile"));
  EXPECT_EQ(table.status, -1);
  EXPECT_FALSE(ids.GridExists());
}

}  // namespace
}  // namespace terrain
