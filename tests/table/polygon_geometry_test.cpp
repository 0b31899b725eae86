// Areas, copies, turned and placed polygons, vertices removed.

#include <numbers>

#include "shape_support.h"
#include "support/grids.h"

namespace terrain {
namespace {

using namespace terrain::test;

/// Two records; the first is a square of 4 with a square hole of 1.
class PolygonGeometry : public ::testing::Test {
 protected:
  PolygonGeometry() {
    const AttributeType list[] = {attribute("ID", "I4"), attribute("T", "C ")};
    EXPECT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
    table.WriteI4Field(std::vector<int32_t>{3, 4}, 1);
    table.WriteCharField(std::vector<std::string>{"one", ""}, 2);
    EXPECT_EQ(
        table.setPolyVertices(1, kX, kY, {.ring = Starts{0, 5}, .m = Numbers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}),
        0);
  }
  double areaOf(const Numbers& x, const Numbers& y, const Starts& ring = {0}) {
    EXPECT_EQ(table.setPolyVertices(2, x, y, {.ring = ring}), 0);
    return table.PolygonArea(2);
  }
  const Numbers kX{0, 0, 4, 4, 0, 1, 2, 2, 1, 1};
  const Numbers kY{0, 4, 4, 0, 0, 1, 1, 2, 2, 1};
  ConsoleCapture seen;
  PolyVectorType table;
};

TEST_F(PolygonGeometry, AreasHaveTheSignOfTheRings) {
  EXPECT_EQ(areaOf({0, 0, 1, 1, 0}, {0, 1, 1, 0, 0}), 1.0);
  EXPECT_EQ(areaOf({0, 1, 1, 0, 0}, {0, 0, 1, 1, 0}), -1.0);
  EXPECT_EQ(areaOf({0, 0, 1, 1}, {0, 1, 1, 0}), 1.0) << "the closing edge is always there";
  EXPECT_EQ(table.PolygonArea(1), 15.0) << "without the hole";
  Numbers x = kX, y = kY;
  for (double& each : x) each += 1e8;
  for (double& each : y) each -= 5e8;
  EXPECT_EQ(areaOf(x, y, {0, 5}), 15.0);
  EXPECT_EQ(areaOf({}, {}, {}), 0.0);
  EXPECT_EQ(areaOf({7}, {7}), 0.0);
  EXPECT_EQ(table.PolygonArea(3), -9999.0);
}

TEST(PolygonPeers, AreasAreThoseOfOgr) {
  SKIP_WITHOUT_REAL_DATA();
  if (!haveTool("ogrinfo")) GTEST_SKIP() << "gdal-bin is not installed";
  ConsoleCapture seen;
  for (const std::string name : {"countries", "blockgroups", "eas_polygon"}) {
    const std::string stem = test::dataFolder() + "/vector/" + name;
    PolyVectorType table;
    ASSERT_EQ(ReadPolygonShapefile(table, stem), 0) << seen.text();
    const auto [status, text] = shell("ogrinfo -ro -q -sql 'SELECT OGR_GEOM_AREA AS A FROM \"" + name +
                                      "\"' -geom=NO " + stem + ".shp");
    ASSERT_EQ(status, 0) << text;
    int64_t record = 0;
    std::size_t at = 0;
    while ((at = text.find("A (Real) = ", at)) != std::string::npos) {
      at += 11;
      const double area = std::stod(text.substr(at));
      ++record;
      EXPECT_NEAR(table.PolygonArea(record), area, 1e-9 * area) << name << " " << record;
    }
    EXPECT_EQ(record, table.numRecords) << text.substr(0, 500);
  }
}

TEST_F(PolygonGeometry, CopiesShareNothing) {
  ASSERT_EQ(table.SetReferencePoint(1, {.relative = true}), 0);
  ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  table.SetPolygonValue(1, 5.0F);
  table.cellsize = 7;
  table.ncols = 9;
  PolyVectorType copy = table.CopyPolygons();
  EXPECT_EQ(copy.status, 0);
  EXPECT_EQ(shown(copy), shown(table));
  EXPECT_EQ(copy.RecordID(2), 4);
  EXPECT_EQ(copy.cellsize, 7);
  EXPECT_EQ(copy.ncols, 9);
  ASSERT_EQ(copy.polygon.size(), 2u);
  EXPECT_EQ(copy.polygon[0].x, kX);
  EXPECT_EQ(copy.polygon[0].dy, table.polygon[0].dy);
  EXPECT_EQ(copy.polygon[0].ring, (Starts{0, 5}));
  EXPECT_EQ(copy.polygon[0].reference->x, table.polygon[0].reference->x);
  EXPECT_EQ(copy.polygon[0].xmax, 4);
  EXPECT_EQ(copy.PolygonValue(1), -9999.0F);
  ASSERT_EQ(copy.SetPolyVertex(1, 3, 40, 40), 0);
  ASSERT_EQ(copy.WriteI4Value(1, 1, 77), 0);
  EXPECT_EQ(table.polygon[0].x, kX);
  EXPECT_EQ(table.RecordID(1), 3);
  memoryLimits().largestBlock = 0;
  copy = table.CopyPolygons();
  memoryLimits().largestBlock.reset();
  EXPECT_EQ(copy.status, -1);
  EXPECT_EQ(copy.nfields, 0);
}

TEST_F(PolygonGeometry, TurnedCopiesArePlaced) {
  const PolygonType plain = table.CopyPoly(1, 0.5);
  EXPECT_TRUE(seen.has("Cannot rotate without a reference point"));
  EXPECT_EQ(plain.x, kX);
  EXPECT_EQ(table.status, -1);
  ASSERT_EQ(table.SetReferencePoint(1, {.x = 0.0, .y = 0.0}), 0);
  table.CopyPoly(1, 0.5);
  EXPECT_TRUE(seen.has("Cannot rotate without relative vertices"));
  ASSERT_EQ(table.SetReferencePoint(1, {.x = 0.0, .y = 0.0, .relative = true}), 0);
  EXPECT_EQ(table.CopyPoly(1, 0.0).dx, table.polygon[0].dx);
  EXPECT_TRUE(table.CopyPoly(3).x.empty());

  // A quarter turn anticlockwise takes (4, 0) to (0, 4); areas stay.
  const PolygonType turned = table.CopyPoly(1, std::numbers::pi / 2);
  EXPECT_EQ(turned.x, kX);
  ASSERT_EQ(table.PlacePolygon(2, turned, 100, 200), 0);
  EXPECT_NEAR(table.polygon[1].x[3], 100, 1e-12);
  EXPECT_NEAR(table.polygon[1].y[3], 204, 1e-12);
  EXPECT_NEAR(table.polygon[1].xmin, 96, 1e-12);
  EXPECT_EQ(table.polygon[1].reference->y, 200);
  EXPECT_NEAR(table.PolygonArea(2), 15, 1e-12);

  // Vertices made from relative ones alone, and those of the record itself.
  PolygonType relative = turned;
  relative.x.clear();
  relative.y.clear();
  ASSERT_EQ(table.PlacePolygon(2, relative, 0, 0), 0);
  EXPECT_NEAR(table.PolygonArea(2), 15, 1e-12);
  ASSERT_EQ(table.PlacePolygon(1, *table.shapeAt(1), 10, 0), 0);
  EXPECT_EQ(table.polygon[0].xmax, 14);
  EXPECT_EQ(table.polygon[0].m.size(), 10u);
  relative.dy.pop_back();
  EXPECT_EQ(table.PlacePolygon(2, relative, 0, 0), -1);
  EXPECT_TRUE(seen.has("x and y arrays of unequal size"));
  relative = turned;
  relative.ring = {0, 12};
  EXPECT_EQ(table.PlacePolygon(2, relative, 0, 0), -1);
  EXPECT_EQ(table.PlacePolygon(3, turned, 0, 0), -1);
}

TEST_F(PolygonGeometry, VerticesAreRemovedWithWhatBelongsToThem) {
  // Another vertex in the first ring, and one in the hole.
  const Numbers x{0, 0, 4, 5, 4, 0, 1, 2, 2, 1, 1}, y{0, 4, 4, 2, 0, 0, 1, 1, 2, 2, 1};
  Numbers m(11);
  for (std::size_t i = 0; i < m.size(); ++i) m[i] = static_cast<double>(i);
  ASSERT_EQ(table.setPolyVertices(1, x, y, {.ring = Starts{0, 6}, .z = m, .m = m}), 0);
  ASSERT_EQ(table.SetReferencePoint(1, {.x = 0.0, .y = 0.0, .relative = true}), 0);
  for (const int32_t end : {1, 6, 7, 11}) {
    EXPECT_EQ(table.removePolyVertex(1, end), -1);
    EXPECT_EQ(table.polygon[0].x, x);
  }
  EXPECT_TRUE(seen.has("Cannot remove polygon endpoint"));
  EXPECT_EQ(table.removePolyVertex(1, 0), -1);
  EXPECT_EQ(table.removePolyVertex(1, 12), -1);
  ASSERT_EQ(table.removePolyVertex(1, 4), 0);
  EXPECT_EQ(table.polygon[0].x, kX);
  EXPECT_EQ(table.polygon[0].dy, kY);
  EXPECT_EQ(table.polygon[0].m, (Numbers{0, 1, 2, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(table.polygon[0].z, table.polygon[0].m);
  EXPECT_EQ(table.polygon[0].ring, (Starts{0, 5}));
  EXPECT_EQ(table.polygon[0].xmax, 4);
  EXPECT_EQ(table.PolygonArea(1), 15.0);
  ASSERT_EQ(table.removePolyVertex(1, 8), 0);
  EXPECT_DOUBLE_EQ(table.PolygonArea(1), 15.5);
  EXPECT_EQ(table.removePolyVertex(1, 8), -1);
  EXPECT_TRUE(seen.has("Cannot remove a vertex of a triangle"));
}

}  // namespace
}  // namespace terrain
