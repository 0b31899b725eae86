#include "shape_support.h"
#include "support/grids.h"
#include "table/polygon_vectors.h"

namespace terrain {
namespace {

using namespace terrain::testing;

class PolygonShapefile : public OutlineFiles {};

/// A square with a hole.
const Outline kHoled{.starts = {0, 5},
                     .x = {0, 0, 4, 4, 0, 1, 2, 2, 1},
                     .y = {0, 4, 4, 0, 0, 1, 1, 2, 1},
                     .z = {1, 2, 3, 4, 1, 9, 9, 9, 9},
                     .m = {0, 1, 2, 3, 4, 5, 6, 7, 8}};

TEST_F(PolygonShapefile, EveryPolygonTypeReadsAndWritesBack) {
  for (const Shape type : {Shape::polygon, Shape::polygonZ, Shape::polygonM}) {
    for (const bool withM : {false, true}) {
      SCOPED_TRACE(static_cast<int>(type) * 10 + withM);
      Outline outline = kHoled;
      if (type != Shape::polygonZ) outline.z.clear();
      if (type == Shape::polygon || !withM) outline.m.clear();
      PolyVectorType table;
      ASSERT_EQ(ReadPolygonShapefile(table, put(type, {{}, outline})), 0) << seen.text();
      ASSERT_EQ(table.polygon.size(), 2u);
      const PolygonType& read = table.polygon[1];
      EXPECT_TRUE(table.polygon[0].x.empty());
      EXPECT_EQ(read.ring, outline.starts);
      EXPECT_EQ(read.x, outline.x);
      EXPECT_EQ(read.z, outline.z);
      EXPECT_EQ(read.m, outline.m);
      EXPECT_EQ(read.xmax, 4.0) << "the box comes from the vertices";
      EXPECT_EQ(table.xmin, -1e6) << "the table's from the header";

      ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out")), 0) << seen.text();
      PolyVectorType back;
      ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0) << seen.text();
      ASSERT_EQ(back.polygon.size(), 1u);
      EXPECT_EQ(idsOf(back), (std::vector<int32_t>{20}));
      EXPECT_EQ(back.polygon[0].ring, outline.starts);
      EXPECT_EQ(back.polygon[0].y, outline.y);
      EXPECT_EQ(back.polygon[0].m, outline.m);
      EXPECT_EQ(back.polygon[0].z, type == Shape::polygonZ ? outline.z : Numbers(9, -9999.0));

      ASSERT_EQ(table.WritePolygonShapefile(scratch.path("flat")), 0);
      ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("flat")), 0);
      EXPECT_EQ(back.polygon[0].x, outline.x);
      EXPECT_TRUE(back.polygon[0].m.empty());
    }
  }
}

TEST_F(PolygonShapefile, MeasuresAreWrittenWhereAnyRecordHasThem) {
  Outline without = kHoled;
  without.m.clear();
  Outline none = kHoled;
  none.m.assign(9, -1e40);
  PolyVectorType table;
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygonZ, {without, kHoled, none})), 0) << seen.text();
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out")), 0);
  const std::string bytes = readBytes(scratch.path("out.shp"));
  EXPECT_EQ(bytes.size(), 100u + 84 * 3 + 4 * 6 + 32 * 27);
  ByteReader in(std::as_bytes(std::span(bytes)));
  in.seek(68);
  Numbers ranges(4);
  in.little(std::span(ranges));
  EXPECT_EQ(ranges, (Numbers{1, 9, 0, 8})) << "a measure that is none has no part in the range";
  PolyVectorType back;
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(back.polygon[0].m, Numbers(9, -1e39));
  EXPECT_EQ(back.polygon[1].m, kHoled.m);
  EXPECT_EQ(back.polygon[2].m, none.m);

  // Those of a record that is not written do not count.
  table.polygon[1].flag = table.polygon[2].flag = false;
  table.polygon[0].flag = true;
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out"), {.isFlag = true}), 0);
  EXPECT_EQ(readBytes(scratch.path("out.shp")).size(), 100u + 68 + 4 * 2 + 24 * 9);
}

TEST_F(PolygonShapefile, HeaderBoxStartsAtTheLargestAndAtZero) {
  Outline negative = kHoled;
  for (double& x : negative.x) x -= 10;
  negative.z.clear();
  negative.m.clear();
  PolyVectorType table;
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygon, {negative})), 0);
  ASSERT_EQ(table.SetOutFlag(true, {.fieldName = "ID", .shpFlag = false}), 0);
  ASSERT_EQ(table.WritePolygonShapefile(scratch.path("out")), 0);
  PolyVectorType back;
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(idsOf(back), (std::vector<int32_t>{10})) << "polygons have no filter but outFlag";
  const std::string bytes = readBytes(scratch.path("out.shp"));
  ByteReader in(std::as_bytes(std::span(bytes)));
  in.seek(36);
  Numbers box(4);
  in.little(std::span(box));
  EXPECT_EQ(box, (Numbers{-10, 0, 0, 4}));
  in.seek(112);
  in.little(std::span(box));
  EXPECT_EQ(box, (Numbers{-10, 0, -6, 4})) << "a record's box is its own";
}

TEST_F(PolygonShapefile, RecordsOfTheThreeFilesCorrespond) {
  const auto at = [](double x) {
    Outline moved = kHoled;
    for (double& each : moved.x) each += x;
    return moved;
  };
  struct Case {
    const char* name;
    bool idField;
    bool isFlag;
    std::vector<int32_t> ids;
  };
  const Case cases[] = {{"no ID field", false, false, {30, -5, 0, 10, 20}},
                        {"ID field", true, false, {10, 20, 30}},
                        {"flags", false, true, {30, 10}},
                        {"ID field and flags", true, true, {10, 30}}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    PolyVectorType table;
    PolygonReadOptions options;
    options.IDfieldName = each.idField ? " ID" : "   ";
    ASSERT_EQ(
        ReadPolygonShapefile(
            table, put(Shape::polygonZ, {at(30), {}, at(-5), at(0), at(10), at(20)}, {30, 99, -5, 0, 10, 20}),
            options),
        0)
        << seen.text();
    for (const int64_t irec : {3, 4, 6}) ASSERT_EQ(table.setRecordFlag(irec, !each.isFlag), 0);
    for (const bool z : {false, true}) {
      ASSERT_EQ(z ? table.WritePolygonZShapefile(scratch.path("out"), {.isFlag = each.isFlag})
                  : table.WritePolygonShapefile(scratch.path("out"), {.isFlag = each.isFlag}),
                0)
          << seen.text();
      PolyVectorType back;
      ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out")), 0) << seen.text();
      EXPECT_EQ(idsOf(back), each.ids);
      for (std::size_t i = 0; i < each.ids.size(); ++i) EXPECT_EQ(back.polygon[i].x[0], each.ids[i]) << i;
      EXPECT_EQ(NumRecordsInShapefile(scratch.path("out")), static_cast<int64_t>(each.ids.size()));
    }
  }
}

TEST_F(PolygonShapefile, ConvertsShiftsAndRounds) {
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(3, 2, {.xmin = 5, .ymin = 6, .cellsize = 7});
  grid.units = 'f';
  PolyVectorType table;
  ASSERT_EQ(ReadPolygonShapefile(table, put(Shape::polygonZ, {kHoled}),
                                 {.grid = &grid, .xOffset = 100, .xyDecimals = 1, .zDecimals = 1}),
            0)
      << seen.text();
  EXPECT_TRUE(seen.has("Shapefile is converted to meters internally"));
  EXPECT_EQ(table.polygon[0].x[2], 101.2) << "4 feet, then the shift, then one decimal";
  EXPECT_EQ(table.polygon[0].z, kHoled.z) << "elevations are not converted";
  EXPECT_EQ(table.polygon[0].xmax, 101.2);
  EXPECT_EQ(table.cellsize, 7);
  EXPECT_EQ(table.ncols, 3);
  EXPECT_EQ(table.xmin, 105);
  ASSERT_EQ(table.WritePolygonZShapefile(scratch.path("out")), 0);
  PolyVectorType back;
  ASSERT_EQ(ReadPolygonShapefile(back, scratch.path("out"), {.yOffset = 1000}), 0);
  EXPECT_EQ(back.polygon[0].x[2], 101.2 * 3.2808399200439453);
  EXPECT_EQ(back.polygon[0].z, kHoled.z);
  EXPECT_EQ(back.xmax, 101.2 * 3.2808399200439453);
  EXPECT_EQ(back.ymin, 1000);
}

TEST_F(PolygonShapefile, PolygonsMadeByHand) {
  PolyVectorType table;
  const AttributeType list[] = {attribute("ID", "I4")};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
  EXPECT_EQ(table.setPolyVertices(1, kHoled.x, Numbers{1}), -1);
  EXPECT_TRUE(seen.has("x and y arrays of unequal size"));
  ASSERT_EQ(table.setPolyVertices(1, kHoled.x, kHoled.y, {.ring = kHoled.starts, .m = kHoled.m}), 0);
  Starts starts;
  ASSERT_EQ(table.PolyParts(1, starts), 0);
  EXPECT_EQ(starts, (Starts{1, 6}));
  double west = 0, east = 0, south = 0, north = 0;
  table.PolygonBounds(1, west, east, south, north);
  EXPECT_EQ(east, 4);
  table.PolygonBounds(3, west, east, south, north);
  EXPECT_EQ(west, 1.7976931348623157e+308);
  EXPECT_EQ(north, 0);

  EXPECT_EQ(table.SetReferencePoint(1, {.x = 1.0}), -1);
  ASSERT_EQ(table.SetReferencePoint(1, {.relative = true}), 0);
  EXPECT_EQ(table.polygon[0].reference->x, 13.0 / 8) << "without the last vertex";
  EXPECT_EQ(table.polygon[0].dy[1], 4 - 13.0 / 8 + 0.125);
  EXPECT_EQ(table.SetReferencePoint(2), -1) << "no vertices";
  EXPECT_EQ(table.SetAllReferencePoints(), 0);

  EXPECT_EQ(table.SetPolygonZ(1, Numbers{1, 2}), -1);
  EXPECT_EQ(table.SetPolyVertexZ(1, 2, 5.0), 0);
  Numbers x, y, z;
  ASSERT_EQ(table.PolygonVertices(1, x, y, {.z = &z, .closed = true}), 0);
  EXPECT_EQ(x, kHoled.x);
  EXPECT_EQ(z, (Numbers{-9999, 5, -9999, -9999, -9999, -9999, -9999, -9999, -9999}));
  EXPECT_EQ(table.SetPolyVertex(1, 3, 40, -1), 0);
  table.PolygonBounds(1, west, east, south, north);
  EXPECT_EQ(east, 40);
  EXPECT_EQ(south, -1);
  EXPECT_EQ(table.SetPolyVertex(1, 3, 2, 2), 0);
  table.PolygonBounds(1, west, east, south, north);
  EXPECT_EQ(east, 4) << "the box shrinks, too";
  EXPECT_EQ(table.polygon[0].dx[2], 2 - 13.0 / 8) << "what stands relative moves along";
  EXPECT_EQ(table.SetPolyVertex(1, 10, 0, 0), -1);
  EXPECT_EQ(table.setPolyVertices(1, kHoled.x, kHoled.y, {.ring = Starts{0, 2147483647}}), -1);
  EXPECT_TRUE(seen.has("Part 2 starts at point 2147483647 of 9"));
  EXPECT_EQ(table.SetPolygonValue(1, 2.5F), 0);
  EXPECT_EQ(table.PolygonValue(1), 2.5F);
  EXPECT_EQ(table.PolygonValue(7), -9999.0F);

  // Another number of vertices makes one ring without elevations and measures.
  ASSERT_EQ(table.setPolyVertices(1, Numbers{7}, Numbers{8}), 0);
  EXPECT_EQ(table.polygon[0].ring, (Starts{0}));
  EXPECT_TRUE(table.polygon[0].z.empty());
  EXPECT_TRUE(table.polygon[0].m.empty());
  ASSERT_EQ(table.SetReferencePoint(1), 0);
  EXPECT_EQ(table.polygon[0].reference->x, 7) << "a lone vertex is its own mean";
  ASSERT_EQ(table.SetReferencePoint(1, {.x = 1.0, .y = 2.0}), 0);
  EXPECT_EQ(table.polygon[0].reference->y, 2.0);
  ASSERT_EQ(table.setPolyVertices(1, {}, {}), 0);
  EXPECT_EQ(table.polygon[0].xmax, -9999.0) << "no vertices, no box";
  table.DestroyPolygons();
  EXPECT_EQ(table.WritePolygonShapefile(scratch.path("out")), -1);
  EXPECT_EQ(ReadPolygonShapefile(table, put(Shape::polygon, {Outline{.starts = {0}, .x = {0}, .y = {0}}}),
                                 {.IDfieldName = "NO"}),
            -1);
  EXPECT_TRUE(seen.has("ID field name not found: NO"));
}

}  // namespace
}  // namespace terrain
