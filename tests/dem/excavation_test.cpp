// Zeros, cuts, trenches and road crossings: what is lowered, what stays, and what is refused.

#include "dem/excavation.h"

#include <cmath>

#include "dem/road_crossings.h"
#include "support/dem_fixtures.h"
#include "table/point_vectors.h"

namespace terrain::test {
namespace {

void writePoints(const std::string& stem, const std::vector<Point>& points) {
  PointVectorType table;
  const AttributeType id[] = {
      AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};
  const auto count = static_cast<int64_t>(points.size());
  ASSERT_EQ(NewDataTable(table, {.attributeList = id, .numRecords = count}), 0);
  for (int64_t n = 1; n <= count; ++n) {
    const Point& at = points[static_cast<std::size_t>(n) - 1];
    ASSERT_EQ(table.SetPointXY(n, at.x, at.y), 0);
  }
  ASSERT_EQ(table.WritePointShapefile(stem), 0);
}

class Excavation : public InBothStorages {
 protected:
  void take(R4Grid_type&& ground) {
    takeElevations(dem, std::move(ground));
    dem.path = scratch_.path("");
    before = cellsOf(dem.elev);
  }
  [[nodiscard]] float z(int32_t col, int32_t row) const { return dem.elev.ExtractR4ValueColRow(col, row); }
  [[nodiscard]] float old(int32_t col, int32_t row) const {
    return before[static_cast<std::size_t>((row - 1) * dem.elev.cols() + col - 1)];
  }
  [[nodiscard]] Point at(int32_t col, int32_t row) const { return dem.elev.ColRowToXY(col, row); }
  /// Calls use(col, row) for every cell.
  template <class Use>
  void forEachCell(Use use) const {
    for (int32_t row = 1; row <= dem.elev.rows(); ++row)
      for (int32_t col = 1; col <= dem.elev.cols(); ++col) use(col, row);
  }

  GridPlan plan{.storage = GetParam()};
  DEM_type dem;
  std::vector<float> before;
};

TEST_P(Excavation, ZerosFarFromDataBecomeNodata) {
  take(noiseDem(40, 30, {.seed = 3, .lakes = 3}, plan));
  std::mt19937 random(7);
  fillWith(dem.elev, [&](int32_t col, int32_t row) { return random() % 20 == 0 ? old(col, row) : 0.0F; });
  before = cellsOf(dem.elev);
  EXPECT_EQ(checkZeros(dem.elev, 0.0), -1);
  ASSERT_EQ(checkZeros(dem.elev, 24.9), 0) << console_.text();  // 2 cells
  forEachCell([&](int32_t col, int32_t row) {
    bool near = false;
    forEachCell([&](int32_t c, int32_t r) {
      const bool data = old(c, r) != 0.0F && old(c, r) != kNodata;
      near = near || (data && (c - col) * (c - col) + (r - row) * (r - row) <= 4);
    });
    EXPECT_EQ(z(col, row), old(col, row) == 0.0F && !near ? kNodata : old(col, row));
  });
}

TEST_P(Excavation, ATableLowersCellsAndABadOneNone) {
  take(gridOf<R4Grid_type>("10 20 .\n30 40 50", plan));
  const auto excavate = [&](std::string_view table) {
    writeBytes(scratch_.path("cuts.csv"), table);
    return Excavate(dem, scratch_.path("cuts.csv"));
  };
  EXPECT_EQ(excavate("X,Y,DEPTH\n1005,2005,1\n"), -1);
  EXPECT_TRUE(console_.has("Required input fields not found (X, Y, CUT)"));
  EXPECT_EQ(excavate("X,Y,CUT\n1005,2005,1\n1015,2005,\n"), -1);
  EXPECT_EQ(excavate("X,Y,CUT\n1005,2005,1\n1015,2005,deep\n"), -1);
  EXPECT_TRUE(console_.has("Record 2, field CUT")) << console_.text();
  EXPECT_EQ(Excavate(dem, scratch_.path("none.csv")), -1);
  EXPECT_TRUE(console_.has("Error reading excavate file"));
  EXPECT_EQ(cellsOf(dem.elev), before);
  ASSERT_EQ(excavate("X,Y,CUT\n1005,2005,1.5\n1009,2001,2\n1025,2015,1\n900,2005,1\n"), 0);
  ASSERT_EQ(excavate("VALUE,Y,X\n4,2015,1015\n"), 0) << console_.text();
  EXPECT_EQ(showCells(dem.elev), "10 16 .\n26.5 40 50");
}

TEST_P(Excavation, TrenchesFollowTheGradeLine) {
  // Knick point at column 3, lowest ground first met from column 7 on.
  constexpr std::string_view row = "11 10 9 12 8 7 6 5 5\n";
  std::string rows;
  for (int i = 0; i < 7; ++i) rows += row;
  take(gridOf<R4Grid_type>(rows, plan));
  writeLines(scratch_.path("line"),
             {{at(8, 4), {.x = at(5, 4).x, .y = at(5, 4).y + 1}, at(2, 4)}});  // from the low end
  ASSERT_EQ(ExcavateLine(dem, {.file = scratch_.path("line"), .radius = 20.0F}), 0) << console_.text();
  const float expected[] = {11.0F,
                            10.0F - 0.5F * 0.1F,
                            9.0F - 0.5F * 4.075F,
                            7.925F,
                            8.0F - 0.5F * 4.075F,
                            5.975F,
                            6.0F - 0.5F * 1.025F,
                            5.0F,
                            5.0F};
  for (int32_t col = 1; col <= 9; ++col) {
    EXPECT_NEAR(z(col, 4), expected[col - 1], 1e-5F) << col;
    EXPECT_EQ(z(col, 2), old(col, 2)) << "the walls end at the radius";
  }
  EXPECT_NEAR(z(4, 3), 12.0F - 0.5F * 4.075F, 1e-5F);
}

TEST_P(Excavation, ATrenchThroughADamFallsToItsEndAndBadLinesChangeNothing) {
  R4Grid_type ground = emptyGrid<R4Grid_type>(40, 21, plan);
  fillWith(ground, [](int32_t col, int32_t row) {
    const double valley = 100 - 0.4 * col + 0.5 * std::abs(row - 11);
    return row == 1 ? -9999.0 : std::abs(col - 20) < 4 ? 110.0 : valley;
  });
  take(std::move(ground));
  const auto cut = [&](std::vector<std::vector<Point>> lines) {
    writeLines(scratch_.path("dam"), lines);
    return ExcavateLine(dem, {.file = scratch_.path("dam.shp"), .radius = 0.0F, .debug = true});
  };
  // Over nodata, beside the grid, and along a row of coordinates' one column.
  ASSERT_EQ(cut({{at(5, 1), at(30, 3)}, {{0, 0}, {500, 500}}, {at(20, 5), at(20, 15)}}), 0)
      << console_.text();
  EXPECT_EQ(cellsOf(dem.elev), before);
  EXPECT_TRUE(console_.has("Lines, or parts of lines, without a trench: 3"));
  writeBytes(scratch_.path("bad.shp"), "bad");
  EXPECT_EQ(ExcavateLine(dem, {.file = scratch_.path("bad")}), -1);
  EXPECT_TRUE(console_.has("readPolylineShapefile failed for " + scratch_.path("bad")));
  EXPECT_EQ(cellsOf(dem.elev), before);
  const Point beside{.x = at(30, 11).x, .y = at(30, 11).y + 1};  // the same row of cells
  ASSERT_EQ(cut({{at(10, 11), beside}}), 0);
  forEachCell([&](int32_t col, int32_t row) {
    EXPECT_LE(z(col, row), old(col, row));
    const bool onLine = row == 11 && col > 10 && col <= 30;
    EXPECT_TRUE(onLine || z(col, row) == old(col, row)) << col << ' ' << row;
  });
  for (int32_t col = 12; col < 30; ++col) EXPECT_LT(z(col, 11), z(col - 1, 11)) << col;
  EXPECT_TRUE(console_.has("Created flt raster " + scratch_.path("lineExcavateChk")));
}

TEST_P(Excavation, PartsOfALineAreCutAlone) {
  R4Grid_type ground = emptyGrid<R4Grid_type>(30, 12, plan);
  fillWith(ground, [](int32_t col, int32_t row) { return col == 8 ? 200 : 100 - col + 3 * (row % 3); });
  take(std::move(ground));
  const std::vector<Point> first{at(4, 3), at(14, 5)};
  const std::vector<Point> second{at(5, 9), at(15, 8)};
  writeLines(scratch_.path("two"), {first, second});
  ASSERT_EQ(ExcavateLine(dem, {.file = scratch_.path("two"), .radius = 15.0F}), 0);
  const std::vector<float> alone = cellsOf(dem.elev);
  EXPECT_NE(alone, before);
  LineVectorType parts;
  const AttributeType id[] = {
      AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};
  ASSERT_EQ(NewDataTable(parts, {.attributeList = id, .numRecords = 1}), 0);
  ASSERT_EQ(parts.initializeSegments(), 0);
  SegmentType& line = parts.segment[0];
  for (const Point& vertex : {first[0], first[1], second[0], second[1]}) {
    line.x.push_back(vertex.x);
    line.y.push_back(vertex.y);
  }
  line.parts = {1, 3};
  line.flag = true;
  ASSERT_EQ(parts.WriteShapefile(scratch_.path("parts"), {.isFlag = true}), 0);
  fillWith(dem.elev, [this](int32_t col, int32_t row) { return old(col, row); });
  ASSERT_EQ(ExcavateLine(dem, {.file = scratch_.path("parts"), .radius = 15.0F}), 0);
  EXPECT_EQ(cellsOf(dem.elev), alone);
}

TEST_P(Excavation, ARoadNoLongerDamsItsValley) {
  // A valley of 25 cells of 5 m in width that falls to the east, and a road across it, 4 m high.
  plan.cellsize = 5;
  R4Grid_type ground = emptyGrid<R4Grid_type>(60, 50, plan);
  fillWith(ground, [](int32_t col, int32_t row) {
    const double valley =
        100 - 0.05 * col + 0.02 * std::abs(row - 25) + 2 * std::max(std::abs(row - 25) - 12, 0);
    return row < 3 ? -9999.0 : std::abs(col - 30) < 2 ? std::max(valley, 103.0) : valley;
  });
  take(std::move(ground));
  writePoints(scratch_.path("roads"), {at(30, 25), {.x = 0, .y = 0}});
  RoadCrossings roads{.file = scratch_.path("roads.shp"), .innerRadius = 50.0F};
  EXPECT_EQ(SmoothRoadCrossings(dem, roads), -1);
  EXPECT_TRUE(console_.has("Inner radius must be less than outer radius"));
  EXPECT_EQ(SmoothRoadCrossings(dem, {.file = scratch_.path("none")}), -1);
  EXPECT_TRUE(console_.has("ReadPointShapefile failed for " + scratch_.path("none")));
  EXPECT_EQ(cellsOf(dem.elev), before);
  roads.innerRadius = 25.0F;
  ASSERT_EQ(SmoothRoadCrossings(dem, roads), 0) << console_.text();
  EXPECT_TRUE(console_.has("Number of points        :            2"));
  EXPECT_TRUE(console_.has("Points within DEM extent:            1"));
  EXPECT_TRUE(console_.has("Points processed        :            1"));
  float lowest = 1000;
  forEachCell([&](int32_t col, int32_t row) {
    if (std::hypot(col - 30, row - 25) <= 10) lowest = std::min(lowest, old(col, row));
  });
  forEachCell([&](int32_t col, int32_t row) {
    EXPECT_LE(z(col, row), old(col, row));
    EXPECT_TRUE(std::hypot(col - 30, row - 25) <= 10 || z(col, row) == old(col, row)) << col << ' ' << row;
    EXPECT_TRUE(z(col, row) >= lowest || z(col, row) == old(col, row));
  });
  EXPECT_LT(z(30, 25), z(18, 25)) << "water from above passes where the road was";
  for (int32_t col = 29; col <= 31; ++col) EXPECT_NEAR(z(col, 25), 100 - 0.05 * col, 0.5);
}

TEST_P(Excavation, LowGroundOnOneLineTakesItsMean) {
  R4Grid_type ground = emptyGrid<R4Grid_type>(41, 41, plan);
  fillWith(ground, [](int32_t, int32_t row) { return std::abs(row - 21) < 2 ? 40.0 : 50.0; });
  take(std::move(ground));
  writePoints(scratch_.path("road"), {at(21, 21)});
  ASSERT_EQ(SmoothRoadCrossings(dem, {.file = scratch_.path("road"), .debug = true}), 0);
  EXPECT_TRUE(console_.has("Fits that determine no plane, level at the weighted mean: 1")) << console_.text();
  EXPECT_NEAR(z(21, 19), 40.0F, 1e-4F);
  EXPECT_EQ(z(21, 21), 40.0F);
  EXPECT_TRUE(console_.has("Created " + scratch_.path("crossingChk") + " .flt file"));
}

INSTANTIATE_TEST_SUITE_P(Storages, Excavation, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

}  // namespace
}  // namespace terrain::test
