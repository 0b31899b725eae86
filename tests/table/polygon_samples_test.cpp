// Mean aspects and ordered values of the cells of polygons.

#include <numbers>

#include "shape_support.h"
#include "support/grids.h"
#include "table/rasterize.h"

namespace terrain {
namespace {

using namespace terrain::test;

class PolygonSamples : public InBothStorages {
 protected:
  /// Rectangles, clockwise: west, south, east, north. Their IDs are not their numbers.
  void make(const std::vector<std::array<double, 4>>& boxes) {
    const AttributeType list[] = {attribute("ID", "I4")};
    ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = std::ssize(boxes)}), 0);
    for (int64_t i = 1; i <= std::ssize(boxes); ++i) {
      const auto& [west, south, east, north] = boxes[static_cast<std::size_t>(i) - 1];
      table.WriteI4Value(1, i, static_cast<int32_t>(100 - i));
      ASSERT_EQ(table.setPolyVertices(i, Numbers{west, west, east, east, west},
                                      Numbers{south, north, north, south, south}),
                0);
    }
    ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  }
  const GridPlan plan{.xmin = 0, .ymin = 0, .cellsize = 1, .storage = GetParam()};
  PolyVectorType table;
};
INSTANTIATE_TEST_SUITE_P(Storages, PolygonSamples, everyStorage(), storageName);

TEST_P(PolygonSamples, AspectsAreThoseOfTheSums) {
  constexpr double kPi = std::numbers::pi;
  // One column a polygon of two rows; the third row is nobody's.
  const std::vector<std::pair<std::array<double, 2>, double>> columns = {
      {{0.1, 0.3}, 0.2},
      {{kPi - 0.5, kPi - 0.1}, kPi - 0.3},
      {{kPi + 0.5, kPi + 0.1}, kPi + 0.3},
      {{2 * kPi - 0.2, 2 * kPi - 0.4}, 2 * kPi - 0.3},
      {{6.2, 0.2}, (6.2 - 2 * kPi + 0.2) / 2},
      {{0, 0}, 0},
      {{1.5, -1}, 1.5},
      {{-1, -9999}, 77},
      {{0, kPi}, 1.5 * kPi},  // the cosines add up to 0, the sines to less
  };
  R4Grid_type aspect = emptyGrid<R4Grid_type>(9, 3, plan);
  std::vector<std::array<double, 4>> boxes;
  for (int32_t i = 0; i < 9; ++i) {
    boxes.push_back({i + 0.0, 0.0, i + 1.0, 2.0});
    for (int32_t row = 1; row <= 3; ++row)
      aspect.setCell(i + 1, row,
                     row == 1
                         ? 3.0F
                         : static_cast<float>(
                               columns[static_cast<std::size_t>(i)].first[static_cast<std::size_t>(row) - 2]),
                     {});
  }
  make(boxes);
  for (int64_t i = 1; i <= 9; ++i) table.SetPolygonValue(i, 77);
  ASSERT_EQ(table.getAspect(aspect), 0) << console_.text();
  for (int64_t i = 1; i <= 9; ++i)
    EXPECT_NEAR(static_cast<double>(table.PolygonValue(i)), columns[static_cast<std::size_t>(i) - 1].second,
                1e-6)
        << i;

  table.polygon[0].x[0] = std::nan("");
  EXPECT_EQ(table.getAspect(aspect), -1);
  EXPECT_TRUE(console_.has("Error rasterizing polygons"));
  EXPECT_EQ(table.status, -1);
}

TEST_P(PolygonSamples, ValuesAscendWithTheirCells) {
  R4Grid_type grid = gridOf<R4Grid_type>("9 9 9 9 9\n9 5 . 7 9\n9 5 1 -3 9\n9 9 9 9 9\n", plan);
  R4Grid_type second = emptyGrid<R4Grid_type>(5, 4, plan);
  fillWith(second, [](int32_t col, int32_t row) { return 10 * row + col; });
  make({{1, 1, 4, 3}, {-5, -5, -1, -1}, {3, 2, 9, 9}, {0, 0, 5, 4}});
  std::vector<float> values, values2;
  std::vector<int32_t> cols, rows;
  const CdfOptions all{.grid2 = &second, .values2 = &values2, .cols = &cols, .rows = &rows};
  ASSERT_EQ(table.GetCDF(1, grid, values, all), 0) << console_.text();
  EXPECT_EQ(values, (std::vector<float>{-3, 1, 5, 5, 7}));
  EXPECT_EQ(values2, (std::vector<float>{34, 33, 22, 32, 24}));
  EXPECT_EQ(cols, (std::vector<int32_t>{4, 3, 2, 2, 4}));
  EXPECT_EQ(rows, (std::vector<int32_t>{3, 3, 2, 3, 2}));
  ASSERT_EQ(table.GetCDF(4, grid, values), 0);
  EXPECT_EQ(values.size(), 19u) << "up to the outer edges of the outer cells";
  for (const int64_t outside : {2, 3}) {
    ASSERT_EQ(table.GetCDF(outside, grid, values, all), 0);
    EXPECT_TRUE(values.empty() && values2.empty() && cols.empty() && rows.empty());
  }
  EXPECT_EQ(table.GetCDF(5, grid, values), -1);
  R4Grid_type other = emptyGrid<R4Grid_type>(5, 3, plan);
  EXPECT_EQ(table.GetCDF(1, grid, values, {.grid2 = &other, .values2 = &values2}), -1);
  EXPECT_TRUE(console_.has("Grids of different size"));
}

TEST_P(PolygonSamples, CellsAreThoseOfThePolygonBurnedIntoTheWholeGrid) {
  const AttributeType list[] = {attribute("ID", "I4")};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 1}), 0);
  R4Grid_type grid = noiseDem(60, 50, {.seed = 4, .holes = 0.1}, plan);
  Numbers x, y;
  for (int i = 0; i <= 40; ++i) {
    const double angle = -2 * std::numbers::pi * (i % 40) / 40;
    const double radius = i % 2 == 0 ? 22 : 9;
    x.push_back(30.3 + radius * std::cos(angle));
    y.push_back(25.1 + radius * std::sin(angle));
  }
  ASSERT_EQ(table.setPolyVertices(1, x, y), 0);
  I4Grid_type inside;
  ASSERT_EQ(table.RasterizePoly(inside, {.ival = 1, .like = &grid}), 0);
  std::vector<float> wanted, values;
  for (int32_t row = 1; row <= 50; ++row)
    for (int32_t col = 1; col <= 60; ++col)
      if (const float value = grid.value(col, row, "");
          inside.value(col, row, "") > 0 && value != grid.nodata)
        wanted.push_back(value);
  std::sort(wanted.begin(), wanted.end());
  ASSERT_EQ(table.GetCDF(1, grid, values), 0);
  EXPECT_EQ(values, wanted);
  EXPECT_GT(values.size(), 300u);
}

}  // namespace
}  // namespace terrain
