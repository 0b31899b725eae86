#include "shape_support.h"
#include "support/grids.h"

namespace terrain {
namespace {

using namespace terrain::test;

class PolygonVectors : public OutlineFiles {
 protected:
  PolyVectorType table;
  PolyVectorType back;
};

/// A square with a hole.
const Outline kHoled{.starts = {0, 5},
                     .x = {0, 0, 4, 4, 0, 1, 2, 2, 1},
                     .y = {0, 4, 4, 0, 0, 1, 1, 2, 1},
                     .z = {1, 2, 3, 4, 1, 9, 9, 9, 9},
                     .m = {0, 1, 2, 3, 4, 5, 6, 7, 8}};

TEST_F(PolygonVectors, MeasuresAreWrittenWhereAnyRecordHasThem) {
  Outline without = kHoled;
  without.m.clear();
  Outline missing = kHoled;
  missing.m.assign(9, -1e40);
  const std::string main = scratch.path("out.shp");
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygonZ, {without, kHoled, missing})), 0) << seen.text();
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out")), 0);
  EXPECT_EQ(readBytes(main).size(), 100u + 84 * 3 + 4 * 6 + 32 * 27);
  EXPECT_EQ(numbersAt(main, 68, 4), (Numbers{1, 9, 0, 8})) << "missing measures do not widen the range";
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(back.polygon[0].m, Numbers(9, -1e39));
  EXPECT_EQ(back.polygon[1].m, kHoled.m);
  EXPECT_EQ(back.polygon[2].m, missing.m);

  // Those of a record that is not written do not count.
  table.polygon[1].flag = table.polygon[2].flag = false;
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out"), {.isFlag = true}), 0);
  EXPECT_EQ(readBytes(main).size(), 100u + 68 + 4 * 2 + 24 * 9);
}

TEST_F(PolygonVectors, BoxesAreThoseOfTheVertices) {
  Outline negative{.starts = kHoled.starts, .x = kHoled.x, .y = kHoled.y};
  for (double& x : negative.x) x -= 10;
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygon, {negative})), 0);
  EXPECT_EQ(table.polygon[0].xmax, -6) << "from the vertices";
  EXPECT_EQ(table.xmin, -1e6) << "from the header";
  ASSERT_EQ(table.SetOutFlag(true, {.fieldName = "ID", .shpFlag = false}), 0);
  ASSERT_EQ(table.WritePolygonShapefile(scratch.path("out")), 0);
  EXPECT_EQ(numbersAt(scratch.path("out.shp"), 36, 4), (Numbers{-10, 0, -6, 4}));
  EXPECT_EQ(numbersAt(scratch.path("out.shp"), 112, 4), (Numbers{-10, 0, -6, 4})) << "of the record";
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(idsOf(back), (std::vector<int32_t>{10})) << "polygons have no filter but outFlag";
}

TEST_F(PolygonVectors, CoordinatesAreConvertedShiftedAndRounded) {
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(3, 2, {.xmin = 5, .ymin = 6, .cellsize = 7});
  grid.units = 'f';
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygonZ, {kHoled}),
                                 {.grid = &grid, .xOffset = 100, .xyDecimals = 1, .zDecimals = 1}),
            0)
      << seen.text();
  EXPECT_TRUE(seen.has("Shapefile is converted to meters internally"));
  EXPECT_EQ(table.polygon[0].x[2], 101.2) << "4 feet, then the shift, then one decimal";
  EXPECT_EQ(table.polygon[0].z, kHoled.z) << "elevations are not converted";
  EXPECT_EQ(table.cellsize, 7);
  EXPECT_EQ(table.xmin, 105);
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out")), 0);
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out"), {.IDfieldName = "  ", .yOffset = 1000}), 0);
  EXPECT_EQ(back.polygon[0].x[2], 101.2 * 3.2808399200439453);
  EXPECT_EQ(back.xmax, 101.2 * 3.2808399200439453);
}

/// Two records; the first is the square with a hole and measures.
class PolygonsInMemory : public PolygonVectors {
 protected:
  PolygonsInMemory() {
    const AttributeType list[] = {attribute("ID", "I4")};
    EXPECT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
    EXPECT_EQ(table.setPolyVertices(1, kHoled.x, kHoled.y, {.ring = kHoled.starts, .m = kHoled.m}), 0);
  }
  /// West, east, south, north.
  Numbers bounds(int64_t irec) {
    Numbers sides(4);
    table.PolygonBounds(irec, sides[0], sides[1], sides[2], sides[3]);
    return sides;
  }
};

TEST_F(PolygonsInMemory, VerticesAreReplacedWithWhatBelongsToThem) {
  EXPECT_EQ(table.setPolyVertices(1, kHoled.x, Numbers{1}), -1);
  EXPECT_TRUE(seen.has("x and y arrays of unequal size"));
  EXPECT_EQ(table.setPolyVertices(1, kHoled.x, kHoled.y, {.ring = Starts{0, 2147483647}}), -1);
  EXPECT_TRUE(seen.has("Part 2 starts at point 2147483647 of 9"));
  Starts starts;
  ASSERT_EQ(table.PolyParts(1, starts), 0);
  EXPECT_EQ(starts, (Starts{1, 6}));
  ASSERT_EQ(table.setPolyVertices(1, kHoled.y, kHoled.x), 0);
  EXPECT_EQ(table.polygon[0].m, kHoled.m) << "the number of vertices is the same";
  ASSERT_EQ(table.setPolyVertices(1, Numbers{7}, Numbers{8}), 0);
  EXPECT_EQ(table.polygon[0].ring, (Starts{0})) << "another number makes one ring";
  EXPECT_TRUE(table.polygon[0].m.empty());
  ASSERT_EQ(table.setPolyVertices(1, {}, {}), 0);
  EXPECT_EQ(bounds(1), Numbers(4, -9999.0));
  EXPECT_EQ(bounds(3), (Numbers{kLargestReal8, 0, kLargestReal8, 0}));
}

TEST_F(PolygonsInMemory, ReferencePointIsTheMeanWithoutTheLastVertex) {
  EXPECT_EQ(table.SetReferencePoint(1, {.x = 1.0}), -1);
  EXPECT_EQ(table.SetReferencePoint(2), -1) << "no vertices";
  EXPECT_EQ(table.SetAllReferencePoints(true), 0);
  EXPECT_EQ(table.polygon[0].reference->x, 13.0 / 8);
  EXPECT_EQ(table.polygon[0].dy[1], 4 - 12.0 / 8);
  EXPECT_EQ(table.SetPolyVertex(1, 3, 2, 2), 0);
  EXPECT_EQ(table.polygon[0].dx[2], 2 - 13.0 / 8) << "relative positions move along";
  ASSERT_EQ(table.SetReferencePoint(1, {.x = 1.0, .y = 2.0}), 0);
  EXPECT_EQ(table.polygon[0].reference->y, 2.0);
  ASSERT_EQ(table.setPolyVertices(1, Numbers{7}, Numbers{8}), 0);
  ASSERT_EQ(table.SetReferencePoint(1), 0);
  EXPECT_EQ(table.polygon[0].reference->x, 7) << "a lone vertex is its own mean";
}

TEST_F(PolygonsInMemory, SingleVerticesChangeBoxAndElevations) {
  EXPECT_EQ(table.SetPolyVertex(1, 3, 40, -1), 0);
  EXPECT_EQ(bounds(1), (Numbers{0, 40, -1, 4}));
  EXPECT_EQ(table.SetPolyVertex(1, 3, 2, 2), 0);
  EXPECT_EQ(bounds(1), (Numbers{0, 4, 0, 4})) << "the box shrinks, too";
  EXPECT_EQ(table.SetPolyVertex(1, 10, 0, 0), -1);
  EXPECT_EQ(table.SetPolyVertexZ(1, 2, 5.0), 0);
  Numbers x, y, z;
  ASSERT_EQ(table.PolygonVertices(1, x, y, {.z = &z, .closed = true}), 0);
  EXPECT_EQ(x.size(), 9u);
  EXPECT_EQ(z, (Numbers{-9999, 5, -9999, -9999, -9999, -9999, -9999, -9999, -9999}));
  EXPECT_EQ(table.PolygonVertices(3, x, y, {.z = &z}), -1);
  EXPECT_TRUE(x.empty() && z.empty());
}

}  // namespace
}  // namespace terrain
