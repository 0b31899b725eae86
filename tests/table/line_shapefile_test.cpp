#include <algorithm>
#include <cmath>

#include "foundation/memory.h"
#include "shape_support.h"
#include "support/grids.h"
#include "table/line_vectors.h"

namespace terrain {
namespace {

using namespace terrain::testing;

class LineShapefile : public OutlineFiles {};

const Outline kTwoParts{.starts = {0, 2}, .x = {0, 1, 5, 6, 7}, .y = {0, 0, 5, 5, 9}, .z = {1, 2, 3, 4, 5}};

TEST_F(LineShapefile, EveryLineTypeReadsAndWritesBack) {
  for (const Shape type : {Shape::polyline, Shape::polylineZ, Shape::polylineM}) {
    SCOPED_TRACE(static_cast<int>(type));
    Outline outline = kTwoParts;
    if (type == Shape::polylineM) std::swap(outline.z, outline.m);
    if (type == Shape::polyline) outline.z.clear();
    LineVectorType table;
    ASSERT_EQ(ReadPolylineShapefile(table, put(type, {outline, {}, outline})), 0) << seen.text();
    ASSERT_EQ(table.segment.size(), 3u);
    EXPECT_EQ(table.segment[0].x, outline.x);
    EXPECT_EQ(table.segment[0].y, outline.y);
    EXPECT_EQ(table.segment[0].z, outline.z);
    EXPECT_EQ(table.segment[0].parts, (Starts{1, 3}));
    EXPECT_EQ(table.NumVertices(2), -9999);
    EXPECT_EQ(table.VertexCount(2), -1);
    EXPECT_EQ(table.NumParts(2), 0);

    ASSERT_EQ(table.WriteShapefile(scratch.path("z"), {.zForm = true}), 0);
    LineVectorType withZ;
    ASSERT_EQ(ReadPolylineShapefile(withZ, scratch.path("z")), 0) << seen.text();
    EXPECT_EQ(withZ.segment[0].z, outline.z.empty() ? Numbers(5, -9999.0) : outline.z);

    const bool z = type == Shape::polylineZ;
    ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.zForm = z}), 0) << seen.text();
    LineVectorType back;
    ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0) << seen.text();
    ASSERT_EQ(back.segment.size(), 2u) << "the empty line is not written";
    EXPECT_EQ(idsOf(back), (std::vector<int32_t>{10, 30}));
    EXPECT_EQ(back.segment[1].x, outline.x);
    EXPECT_EQ(back.segment[1].z, outline.z);
    EXPECT_EQ(back.segment[1].parts, (Starts{1, 3}));
    EXPECT_FALSE(table.SegmentFlag(2));
    EXPECT_TRUE(table.SegmentFlag(3));
  }
}

TEST_F(LineShapefile, WrittenBytesAreTheFormats) {
  LineVectorType table;
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {kTwoParts})), 0);
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.zForm = true}), 0);
  const std::string bytes = readBytes(scratch.path("out.shp"));
  ASSERT_EQ(bytes.size(), 100u + 68 + 4 * 2 + 24 * 5);
  ByteReader in(std::as_bytes(std::span(bytes)));
  in.seek(36);
  Numbers header(8);
  in.little(std::span(header));
  EXPECT_EQ(header, (Numbers{0, 0, 7, 9, 1, 5, 0, 0}));
  EXPECT_EQ(in.big<int32_t>(), 1);
  EXPECT_EQ(in.big<int32_t>(), 30 + 2 * 2 + 12 * 5);
  in.seek(108 + 4);
  Numbers box(4);
  in.little(std::span(box));
  EXPECT_EQ(box, (Numbers{0, 0, 7, 9}));
  in.seek(108 + 44 + 8 + 80);
  EXPECT_EQ(in.little<double>(), 1.0);
  EXPECT_EQ(in.little<double>(), 5.0);
  EXPECT_EQ(NumRecordsInShapefile(scratch.path("out")), 1);
}

TEST_F(LineShapefile, ReverseTurnsVerticesAndParts) {
  Outline three{
      .starts = {0, 2, 3}, .x = {0, 1, 2, 3, 4, 5}, .y = {0, 0, 0, 0, 0, 0}, .z = {10, 11, 12, 13, 14, 15}};
  LineVectorType table;
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {three})), 0);
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.reverse = true, .zForm = true}), 0);
  LineVectorType back;
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(back.segment[0].x, (Numbers{5, 4, 3, 2, 1, 0}));
  EXPECT_EQ(back.segment[0].z, (Numbers{15, 14, 13, 12, 11, 10}));
  EXPECT_EQ(back.segment[0].parts, (Starts{1, 4, 5}));
  ASSERT_EQ(back.WriteShapefile(scratch.path("out"), {.reverse = true, .zForm = true}), 0);
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(back.segment[0].parts, table.segment[0].parts) << "twice is as it was";
}

/// Cells of 1 from (0, 0); a vertex at x + 0.5 stands in column x + 1.
R4Grid_type smallGrid() { return test::emptyGrid<R4Grid_type>(4, 4, {.xmin = 0, .ymin = 0, .cellsize = 1}); }

TEST_F(LineShapefile, ClippingLowersStartsAndDropsEmptyParts) {
  struct Case {
    const char* name;
    Starts starts;
    Numbers x;  // below 0: off the grid
    Starts parts;
    Numbers kept;
  };
  const Case cases[] = {
      {"last vertex of part 1 dropped", {0, 3}, {0.5, 1.5, -1, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"first vertex of part 2 dropped", {0, 2}, {0.5, 1.5, -1, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"part 1 dropped whole", {0, 2}, {-1, -1, 1.5, 2.5}, {1}, {1.5, 2.5}},
      {"middle part dropped whole", {0, 2, 4}, {0.5, 1.5, -1, -2, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"last part dropped whole", {0, 2}, {0.5, 1.5, -1, -1}, {1}, {0.5, 1.5}},
      {"one left", {0, 2}, {0.5, -1, -1, -1}, {}, {}},
      {"leaves and comes back", {0}, {0.5, -1, 1.5}, {1}, {0.5, 1.5}},
  };
  const R4Grid_type grid = smallGrid();
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    Outline outline{.starts = each.starts, .x = each.x, .y = Numbers(each.x.size(), 1.5), .z = each.x};
    LineVectorType table;
    ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}), {.grid = &grid}), 0)
        << seen.text();
    ASSERT_EQ(table.segment.size(), 1u);
    EXPECT_EQ(table.segment[0].x, each.kept);
    EXPECT_EQ(table.segment[0].z, each.kept);
    EXPECT_EQ(table.segment[0].parts, each.parts);
    ASSERT_EQ(table.segment[0].col.size(), each.kept.size());
    for (std::size_t i = 0; i < each.kept.size(); ++i) {
      EXPECT_EQ(table.segment[0].col[i], static_cast<int32_t>(each.kept[i] + 0.5));
      EXPECT_EQ(table.segment[0].row[i], 3);
    }
  }
}

TEST_F(LineShapefile, MaskIsReadAtTheCellWithoutInterpolation) {
  R4Grid_type grid = smallGrid();
  auto mask =
      test::gridOf<R4Grid_type>("1 1 1 1\n1 1 . 1\n1 1 1 1\n1 1 1 1", {.xmin = 0, .ymin = 0, .cellsize = 1});
  Outline outline{.starts = {0}, .x = {0.5, 1.9, 2.1, 3.9, 3.9}, .y = {2.5, 2.9, 2.9, 2.1, 3.0}};
  LineVectorType table;
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {outline}), {.grid = &grid, .mask = &mask}), 0)
      << seen.text();
  EXPECT_EQ(table.segment[0].x, (Numbers{0.5, 1.9, 3.9, 3.9}));
  EXPECT_EQ(table.segment[0].row, (Starts{2, 2, 2, 1}));
  EXPECT_EQ(table.ncols, 4);
}

TEST_F(LineShapefile, GridMustOverlap) {
  const R4Grid_type grid = smallGrid();
  LineVectorType table;
  const Box touching{.x = {3, 9}, .y = {0, 3}};  // the grid's reference points end at 3
  EXPECT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {kTwoParts}, {}, touching), {.grid = &grid}),
            -1);
  EXPECT_TRUE(seen.has("Grid and shapefile do not overlap"));
  EXPECT_EQ(ReadPolylineShapefile(table, scratch.path("in"), {.grid = &grid, .xOffset = -1}), 0)
      << "shifted, it does";
}

TEST_F(LineShapefile, ShiftsConvertsAndRounds) {
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(100, 100, {.xmin = -50, .ymin = -50, .cellsize = 1});
  grid.units = 'f';
  const Outline outline{.starts = {0}, .x = {1, 2}, .y = {3, 4}, .z = {-9999, 10.26}};
  LineVectorType table;
  ASSERT_EQ(
      ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}),
                            {.grid = &grid, .xOffset = 10, .yOffset = -20, .xyDecimals = 2, .zDecimals = 1}),
      0)
      << seen.text();
  EXPECT_TRUE(seen.has("Shapefile is converted to meters internally"));
  EXPECT_TRUE(table.feetConverted);
  EXPECT_EQ(table.segment[0].x, (Numbers{3.35, 3.66}));    // 11 and 12 feet: 3.3528, 3.6576
  EXPECT_EQ(table.segment[0].y, (Numbers{-5.18, -4.88}));  // -17 and -16 feet: -5.1816, -4.8768
  EXPECT_EQ(table.segment[0].z, (Numbers{-9999.0, 3.1}));  // a missing elevation stays missing
  table.ConvertToMeters();
  EXPECT_EQ(table.segment[0].x, (Numbers{3.35, 3.66}));
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.zForm = true}), 0);
  LineVectorType back;
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(back.segment[0].x[0], 3.35 * 3.2808399200439453);
  EXPECT_EQ(back.segment[0].z[0], -9999.0);
  EXPECT_EQ(back.segment[0].z[1], 3.1 * 3.2808399200439453);
  back.ConvertToMeters();
  EXPECT_EQ(back.segment[0].x[0], 3.35 * 3.2808399200439453 * 0.30480000376701355);
  EXPECT_EQ(back.segment[0].z[1], 3.1 * 3.2808399200439453 * 0.30480000376701355);
  EXPECT_EQ(roundedTo(-2.5, 0), -2.5);
  EXPECT_EQ(roundedTo(-0.25, 1), -0.3);
  EXPECT_EQ(roundedTo(1e300, 300), 1e300);
}

TEST_F(LineShapefile, RecordsOfTheThreeFilesCorrespond) {
  const Outline line = {.starts = {0}, .x = {1, 2}, .y = {1, 1}};
  const auto at = [&line](double x) {
    Outline moved = line;
    for (double& each : moved.x) each += x;
    return moved;
  };
  struct Case {
    const char* name;
    bool idField;
    bool isFlag;
    std::vector<int32_t> ids;  // of the records written, in their order
  };
  const Case cases[] = {{"no ID field", false, false, {30, -5, 0, 10, 20}},
                        {"ID field", true, false, {10, 20, 30}},
                        {"flags", false, true, {30, 10}},
                        {"ID field and flags", true, true, {30, 10}}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    LineVectorType table;
    LineReadOptions options;
    if (each.idField) options.IDfieldName = "ID";
    // The second record has no shape: it must not shift the rows of the others.
    ASSERT_EQ(
        ReadPolylineShapefile(
            table, put(Shape::polyline, {at(30), {}, at(-5), at(0), at(10), at(20)}, {30, 99, -5, 0, 10, 20}),
            options),
        0)
        << seen.text();
    if (each.isFlag)
      for (const int64_t irec : {1, 2, 5}) table.SetSegmentFlag(irec, true);
    ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.isFlag = each.isFlag}), 0) << seen.text();
    LineVectorType back;
    ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0) << seen.text();
    EXPECT_EQ(idsOf(back), each.ids);
    for (std::size_t i = 0; i < each.ids.size(); ++i) EXPECT_EQ(back.segment[i].x[0], each.ids[i] + 1) << i;
    EXPECT_EQ(NumRecordsInShapefile(scratch.path("out")), static_cast<int64_t>(each.ids.size()));
  }
}

TEST_F(LineShapefile, WriterRoundsFiltersAndReplaces) {
  const Outline outline{.starts = {0}, .x = {1.26, 2.34}, .y = {0, 0}, .z = {5.55, -9999}};
  LineVectorType table;
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}, {-9})), 0);
  const AttributeType hidden[] = {attribute("HIDDEN", "R4", 10, 2)};
  ASSERT_EQ(table.AddField(hidden, {.fill = 7}), 0);
  table.SetShpFlag(2, false);
  InputFileType prj;
  prj.lines = {"LOCAL_CS[]"};
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.nodataOut = -1,
                                                       .prjFile = &prj,
                                                       .zForm = true,
                                                       .xyDecimals = 1,
                                                       .zDecimals = 1,
                                                       .date = CalendarDate{2001, 2, 3}}),
            0);
  LineVectorType back;
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(back.segment[0].x, (Numbers{1.3, 2.3}));
  EXPECT_EQ(back.segment[0].z, (Numbers{5.6, -9999}));
  EXPECT_EQ(back.FieldOutNames(), (std::vector<std::string>{"ID"}));
  EXPECT_EQ(back.field[0]->I4[0], -1);
  EXPECT_EQ(back.prj.lines, prj.lines);
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.allFields = true}), 0);
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(back.NumFields(), 1) << "all fields only in the Z form";
  ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.zForm = true, .allFields = true}), 0);
  ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0);
  EXPECT_EQ(back.NumFields(), 2);
}

TEST_F(LineShapefile, EmptyPartsAreDropped) {
  Outline outline{.starts = {0, 0, 2, 4, 5}, .x = {0, 1, 5, 6, 7}, .y = {0, 0, 5, 5, 9}};
  LineVectorType table;
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {outline})), 0) << seen.text();
  EXPECT_EQ(table.segment[0].parts, (Starts{1, 3, 5}));
  outline.starts[4] = 6;
  EXPECT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {outline})), -1);
  EXPECT_TRUE(seen.has("Part 5 starts at point 6 of 5"));
  seen.clear();
  memoryLimits().largestBlock = 1;
  outline.starts[4] = 5;
  writeBytes(scratch.path("in.shp"), mainFile(Shape::polyline, {content(Shape::polyline, outline)}));
  EXPECT_EQ(ReadPolylineShapefile(table, scratch.path("in")), -1);
  memoryLimits() = {};
  EXPECT_TRUE(seen.has("Unable to allocate memory for object")) << seen.text();
}

TEST_F(LineShapefile, EmptyTablesAndFilesOfNullShapes) {
  LineVectorType table;
  const R4Grid_type grid = smallGrid();
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {}), {.grid = &grid}), 0) << seen.text();
  EXPECT_EQ(table.numRecords, 0);
  ASSERT_EQ(table.WriteShapefile(scratch.path("out")), 0) << seen.text();
  ASSERT_EQ(ReadPolylineShapefile(table, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(table.NumFields(), 1);
  EXPECT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {{}, {}})), -1);
  EXPECT_TRUE(seen.has("No records within specified extent"));
  EXPECT_EQ(ReadPolylineShapefile(table, scratch.path("in"), {.IDfieldName = " NONE "}), -1);
  EXPECT_TRUE(seen.has(" ERROR: ReadPolylineShapefile in DataTableModule\n IDfieldName not found:  NONE\n"));
  EXPECT_EQ(ReadPolylineShapefile(table, scratch.path("nowhere")), -1);
  EXPECT_TRUE(seen.has("NewDataTable failed for"));
}

TEST_F(LineShapefile, SegmentsMadeByHand) {
  LineVectorType table;
  const Numbers x{0, 3, 3};
  const Numbers y{0, 4, 4};
  EXPECT_EQ(table.setSegmentXY(1, x, y), -1);
  EXPECT_TRUE(seen.has("Segments not allocated"));
  EXPECT_EQ(table.setColRow(1, 1, 1, 1), -1);
  EXPECT_TRUE(seen.has("segment has not been allocated"));
  const AttributeType list[] = {attribute("ID", "I4")};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
  ASSERT_EQ(table.initializeSegments(), 0);
  EXPECT_EQ(table.initializeSegments(), -1);
  EXPECT_TRUE(seen.has("Segment already allocated"));
  EXPECT_EQ(table.setColRow(1, 1, 1, 1), -1);
  EXPECT_TRUE(seen.has("col and row arrays have not been allocated"));
  EXPECT_EQ(table.setVertexZ(1, 1, 1.0F), -1);
  EXPECT_TRUE(seen.has("z array not allocated"));
  seen.clear();
  EXPECT_EQ(table.setSegmentXY(3, x, y), -1);
  EXPECT_EQ(seen.text(), "");
  EXPECT_EQ(table.setSegmentXY(1, x, Numbers{1}), -1);
  EXPECT_EQ(table.setSegmentXY(1, x, y, y, x), 0);
  EXPECT_EQ(table.setSegmentXY(1, x, y), -1);
  EXPECT_TRUE(seen.has("Segment x-y already allocated"));

  EXPECT_EQ(table.setColRow(1, 3, 7, 8), 0);
  EXPECT_EQ(table.setColRow(1, 4, 7, 8), -1);
  EXPECT_TRUE(seen.has("array index out of range"));
  EXPECT_EQ(table.setColRow(9, 1, 7, 8), -1);
  EXPECT_TRUE(seen.has("iseg out of range"));
  const SegmentEndCells ends = table.SegmentEnds(1);
  EXPECT_EQ(ends.lastCol, 7);
  EXPECT_EQ(ends.firstRow, -9999);
  EXPECT_EQ(table.SegmentEnds(2).lastCol, -1);

  EXPECT_EQ(table.SegmentLength(1), 5.0);
  EXPECT_EQ(table.SegmentLength(3), -9999.0);
  EXPECT_EQ(table.SegmentLength(2), 0.0);
  EXPECT_EQ(table.segment[0].Length(), 5.0F);
  EXPECT_EQ(table.setVertexZ(1, 2, 12.0F), 0);
  EXPECT_EQ(table.SegmentLength3D(1), 5.0) << "a missing elevation adds nothing";
  EXPECT_EQ(table.setVertexZ(1, 1, 0.0F), 0);
  EXPECT_EQ(table.SegmentLength3D(1), 13.0);

  Numbers outX, outY, alt, z;
  ASSERT_EQ(table.Vertices(1, outX, outY, {.xAlt = &alt, .z = &z, .useAlt = true}), 0);
  EXPECT_EQ(outX, y);
  EXPECT_EQ(alt, y);
  EXPECT_EQ(z, (Numbers{0, 12, -9999}));
  ASSERT_EQ(table.Vertices(2, outX, outY), 0);
  EXPECT_TRUE(outX.empty());
  float z32 = 0;
  int32_t col = 0;
  table.VertexInfo(1, 2, {.col = &col, .z = &z32});
  EXPECT_EQ(z32, 12.0F);
  EXPECT_EQ(col, -9999);
  table.VertexInfo(1, 9, {.col = &col, .z = &z32});
  EXPECT_EQ(z32, 12.0F);

  EXPECT_EQ(table.FirstLinkA(1), -9999);
  EXPECT_EQ(table.SetSegmentLinkA(1, 5, 3), 0);
  EXPECT_EQ(table.SetSegmentLinkA(1, 4), 0);
  EXPECT_EQ(table.segment[0].linksA, (std::vector<int64_t>{4, -9999, 5}));
  EXPECT_EQ(table.SetSegmentLinkB(1, 4, 0), -1);
  double lastX = 0;
  double lastY = 0;
  EXPECT_EQ(table.LastVertex(1, lastX, lastY), 0);
  EXPECT_EQ(lastY, 4);
  EXPECT_EQ(table.LastVertex(2, lastX, lastY), -1);
  EXPECT_EQ(table.PartStart(1, 1), -9999) << "one part without a list";
  EXPECT_EQ(table.initializeSegment(9, 2), -1);
  EXPECT_TRUE(seen.has("Segment number outside range"));
  EXPECT_EQ(table.initializeSegment(2, 2), 0);
  EXPECT_EQ(table.setColRow(2, 2, 1, 1), 0);

  ASSERT_EQ(table.WriteShapefile(scratch.path("out")), 0);
  table.segment[0].parts = {1, 9};
  seen.clear();
  EXPECT_EQ(table.WriteShapefile(scratch.path("out")), -1);
  EXPECT_TRUE(seen.has("Record 1")) << seen.text();
  table.DestroySegments();
  EXPECT_EQ(table.NumParts(1), -9999);
  EXPECT_EQ(table.NumFields(), 0);
}

TEST_F(LineShapefile, CopiesRecordsAndFieldNames) {
  const AttributeType fields[] = {attribute("A", "I4"), attribute("B", "I8"), attribute("C", "R4"),
                                  attribute("D", "R8"), attribute("E", "C ")};
  const AttributeType others[] = {attribute("V", "I4"), attribute("W", "I8"), attribute("X", "R4"),
                                  attribute("Y", "R8"), attribute("Z", "C ")};
  LineVectorType from;
  DataTableType to;
  ASSERT_EQ(NewDataTable(from, {.attributeList = fields, .numRecords = 2}), 0);
  ASSERT_EQ(NewDataTable(to, {.attributeList = others, .numRecords = 3}), 0);
  for (int32_t f = 1; f <= 4; ++f) ASSERT_EQ(from.WriteR8Value(f, 2, 40.0 + f), 0);
  ASSERT_EQ(from.WriteCharValue(5, 2, "forty"), 0);
  ASSERT_EQ(from.CopyRecord(2, to, 3), 0) << seen.text();
  for (int32_t f = 1; f <= 4; ++f) {
    double value = 0;
    to.ReadR8Value(f, 3, value);
    EXPECT_EQ(value, 40.0 + f);
  }
  std::string text;
  to.ReadCharValue(5, 3, text);
  EXPECT_EQ(text, "forty");
  EXPECT_EQ(from.CopyRecord(3, to, 1), -1);
  from.CopyFieldNames(to);
  EXPECT_EQ(to.FieldName(4), "D");
}

}  // namespace
}  // namespace terrain
