#include <algorithm>
#include <functional>

#include "shape_support.h"
#include "support/grids.h"

namespace terrain {
namespace {

using namespace terrain::test;

class LineVectors : public OutlineFiles {
 protected:
  /// Writes the table and reads it back.
  void roundTrip(const LineWriteOptions& options) {
    ASSERT_EQ(table.WriteShapefile(scratch.path("out"), options), 0) << seen.text();
    ASSERT_EQ(ReadPolylineShapefile(back, scratch.path("out")), 0) << seen.text();
  }
  LineVectorType table;
  LineVectorType back;
};

const Outline kTwoParts{.starts = {0, 2}, .x = {0, 1, 5, 6, 7}, .y = {0, 0, 5, 5, 9}, .z = {1, 2, 3, 4, 5}};

TEST_F(LineVectors, ReversedLinesStartAtTheLastVertexOfTheLastPart) {
  const Outline three{
      .starts = {0, 2, 3}, .x = {0, 1, 2, 3, 4, 5}, .y = {0, 0, 0, 0, 0, 0}, .z = {10, 11, 12, 13, 14, 15}};
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {three})), 0);
  roundTrip({.reverse = true, .zForm = true});
  EXPECT_EQ(back.segment[0].x, (Numbers{5, 4, 3, 2, 1, 0}));
  EXPECT_EQ(back.segment[0].z, (Numbers{15, 14, 13, 12, 11, 10}));
  EXPECT_EQ(back.segment[0].parts, (Starts{1, 4, 5}));
}

/// Cells of 1 from (0, 0); a vertex at x + 0.5 is in column x + 1.
R4Grid_type smallGrid() { return test::emptyGrid<R4Grid_type>(4, 4, {.xmin = 0, .ymin = 0, .cellsize = 1}); }

TEST_F(LineVectors, ClippingLowersStartsAndDropsEmptyParts) {
  const struct {
    const char* name;
    Starts starts;
    Numbers x;  // below 0: off the grid
    Starts parts;
    Numbers kept;
  } cases[] = {
      {"last vertex of part 1 dropped", {0, 3}, {0.5, 1.5, -1, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"first vertex of part 2 dropped", {0, 2}, {0.5, 1.5, -1, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"part 1 dropped", {0, 2}, {-1, -1, 1.5, 2.5}, {1}, {1.5, 2.5}},
      {"middle part dropped", {0, 2, 4}, {0.5, 1.5, -1, -2, 2.5, 3.5}, {1, 3}, {0.5, 1.5, 2.5, 3.5}},
      {"last part dropped", {0, 2}, {0.5, 1.5, -1, -1}, {1}, {0.5, 1.5}},
      {"one left", {0, 2}, {0.5, -1, -1, -1}, {}, {}},
      {"leaves and comes back", {0}, {0.5, -1, 1.5}, {1}, {0.5, 1.5}},
  };
  const R4Grid_type grid = smallGrid();
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    const Outline outline{.starts = each.starts, .x = each.x, .y = Numbers(each.x.size(), 1.5), .z = each.x};
    ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}), {.grid = &grid}), 0)
        << seen.text();
    const SegmentType& line = table.segment.at(0);
    EXPECT_EQ(line.x, each.kept);
    EXPECT_EQ(line.z, each.kept);
    EXPECT_EQ(line.parts, each.parts);
    Starts cols;
    for (const double x : each.kept) cols.push_back(static_cast<int32_t>(x + 0.5));
    EXPECT_EQ(line.col, cols);
    EXPECT_EQ(line.row, Starts(each.kept.size(), 3));
  }
}

TEST_F(LineVectors, MaskIsReadAtTheCellWithoutInterpolation) {
  R4Grid_type grid = smallGrid();
  auto mask =
      test::gridOf<R4Grid_type>("1 1 1 1\n1 1 . 1\n1 1 1 1\n1 1 1 1", {.xmin = 0, .ymin = 0, .cellsize = 1});
  const Outline outline{.starts = {0}, .x = {0.5, 1.9, 2.1, 3.9, 3.9}, .y = {2.5, 2.9, 2.9, 2.1, 3.0}};
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {outline}), {.grid = &grid, .mask = &mask}), 0)
      << seen.text();
  EXPECT_EQ(table.segment[0].x, (Numbers{0.5, 1.9, 3.9, 3.9}));
  EXPECT_EQ(table.segment[0].row, (Starts{2, 2, 2, 1}));
  EXPECT_EQ(table.ncols, 4);
  mask.units = 'f';
  EXPECT_EQ(ReadPolylineShapefile(table, scratch.path("in"), {.grid = &grid, .mask = &mask}), -1);
  EXPECT_TRUE(seen.has("The grid and the mask are not in the same units"));
}

TEST_F(LineVectors, ALineOfOneVertexIsNotWritten) {
  const AttributeType list[] = {attribute("ID", "I4", 8)};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
  ASSERT_EQ(table.initializeSegments(), 0);
  ASSERT_EQ(table.setSegmentXY(1, Numbers{1, 2}, Numbers{1, 2}), 0);
  ASSERT_EQ(table.setSegmentXY(2, Numbers{1}, Numbers{1}), 0);
  EXPECT_EQ(table.WriteShapefile(scratch.path("out")), -1);
  EXPECT_TRUE(seen.has("Record 2: A line of one vertex")) << seen.text();
  EXPECT_FALSE(platform::fileExists(scratch.path("out.shp")));
}

TEST_F(LineVectors, GridMustOverlapTheShiftedFile) {
  const R4Grid_type grid = smallGrid();
  const Box touching{.x = {3, 9}, .y = {0, 3}};  // the grid's reference points end at 3
  const std::string in = put(Shape::polylineZ, {kTwoParts}, {}, touching);
  EXPECT_EQ(ReadPolylineShapefile(table, in, {.grid = &grid}), -1);
  EXPECT_TRUE(seen.has("Grid and shapefile do not overlap"));
  EXPECT_EQ(ReadPolylineShapefile(table, in, {.grid = &grid, .xOffset = -1}), 0);
  EXPECT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {}), {.grid = &grid}), 0) << "no records";
  EXPECT_EQ(ReadPolylineShapefile(table, put(Shape::polyline, {{}, {}})), -1);
  EXPECT_TRUE(seen.has("No records within specified extent"));
}

TEST_F(LineVectors, CoordinatesAreShiftedConvertedAndRounded) {
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(100, 100, {.xmin = -50, .ymin = -50, .cellsize = 1});
  grid.units = 'f';
  const Outline outline{.starts = {0}, .x = {1, 2}, .y = {3, 4}, .z = {-9999, 10.26}};
  ASSERT_EQ(
      ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}),
                            {.grid = &grid, .xOffset = 10, .yOffset = -20, .xyDecimals = 2, .zDecimals = 1}),
      0)
      << seen.text();
  EXPECT_TRUE(seen.has("Shapefile is converted to meters internally"));
  EXPECT_EQ(table.segment[0].x, (Numbers{3.35, 3.66}));    // 11 and 12 feet: 3.3528, 3.6576
  EXPECT_EQ(table.segment[0].y, (Numbers{-5.18, -4.88}));  // -17 and -16 feet: -5.1816, -4.8768
  EXPECT_EQ(table.segment[0].z, (Numbers{-9999.0, 3.1})) << "a missing elevation stays missing";
  table.ConvertToMeters();
  EXPECT_EQ(table.segment[0].x, (Numbers{3.35, 3.66})) << "once";
  roundTrip({.zForm = true});
  EXPECT_EQ(back.segment[0].x[0], 3.35 * 3.2808399200439453);
  EXPECT_EQ(back.segment[0].z, (Numbers{-9999.0, 3.1 * 3.2808399200439453}));
  ASSERT_EQ(back.SetVerticesAlt(1, Numbers{10, 20}, Numbers{0, 1}), 0);
  back.ConvertToMeters();
  EXPECT_EQ(back.segment[0].xAlt, (Numbers{10 * 0.30480000376701355, 20 * 0.30480000376701355}));
  EXPECT_EQ(back.segment[0].x[0], 3.35 * 3.2808399200439453 * 0.30480000376701355);
  EXPECT_EQ(back.segment[0].z, (Numbers{-9999.0, 3.1 * 3.2808399200439453 * 0.30480000376701355}));
  EXPECT_EQ(roundedTo(1e300, 300), 1e300);
}

TEST_F(LineVectors, WriterRoundsFiltersAndReplaces) {
  const Outline outline{.starts = {0}, .x = {1.26, 2.34}, .y = {0, 0}, .z = {5.55, -9999}};
  ASSERT_EQ(ReadPolylineShapefile(table, put(Shape::polylineZ, {outline}, {-9})), 0);
  const AttributeType hidden[] = {attribute("HIDDEN", "R4", 10, 2)};
  ASSERT_EQ(table.AddField(hidden, {.fill = 7}), 0);
  table.SetShpFlag(2, false);
  InputFileType prj;
  prj.lines = {"LOCAL_CS[]"};
  roundTrip({.nodataOut = -1, .prjFile = &prj, .zForm = true, .xyDecimals = 1, .zDecimals = 1});
  EXPECT_EQ(back.segment[0].x, (Numbers{1.3, 2.3}));
  EXPECT_EQ(back.segment[0].z, (Numbers{5.6, -9999}));
  EXPECT_EQ(back.FieldOutNames(), (std::vector<std::string>{"ID"}));
  EXPECT_EQ(back.field[0]->I4[0], -1);
  EXPECT_EQ(back.prj.lines, prj.lines);
  roundTrip({.xyDecimals = 1, .allFields = true});
  EXPECT_EQ(back.segment[0].x, outline.x) << "rounding and all fields only in the Z form";
  EXPECT_EQ(back.NumFields(), 1);
  roundTrip({.zForm = true, .allFields = true});
  EXPECT_EQ(back.NumFields(), 2);
}

/// Two records; the first has the vertices (0, 0), (3, 4), (3, 4).
class SegmentsInMemory : public LineVectors {
 protected:
  SegmentsInMemory() {
    const AttributeType list[] = {attribute("ID", "I4")};
    EXPECT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
  }
  void makeSegments() {
    ASSERT_EQ(table.initializeSegments(), 0);
    ASSERT_EQ(table.setSegmentXY(1, x, y, y, x), 0);
  }
  const Numbers x{0, 3, 3};
  const Numbers y{0, 4, 4};
};

TEST_F(SegmentsInMemory, FaultsAreReported) {
  const auto fails = [this](const std::function<int()>& operation, const std::string& words) {
    seen.clear();
    EXPECT_EQ(operation(), -1);
    EXPECT_EQ(table.status, -1);
    EXPECT_EQ(seen.text().substr(seen.text().find('\n') + 1), words.empty() ? "" : ' ' + words + '\n');
  };
  fails([&] { return table.setSegmentXY(1, x, y); }, "Segments not allocated");
  fails([&] { return table.setColRow(1, 1, 1, 1); }, "segment has not been allocated");
  ASSERT_EQ(table.initializeSegments(), 0);
  fails([&] { return table.initializeSegments(); }, "Segment already allocated");
  fails([&] { return table.setColRow(1, 1, 1, 1); }, "col and row arrays have not been allocated");
  fails([&] { return table.setVertexZ(1, 1, 1.0F); }, "z array not allocated");
  fails([&] { return table.setSegmentXY(3, x, y); }, "");
  ASSERT_EQ(table.setSegmentXY(1, x, y), 0);
  fails([&] { return table.setSegmentXY(1, x, y); }, "Segment x-y already allocated");
  fails([&] { return table.setColRow(1, 4, 7, 8); }, "array index out of range");
  fails([&] { return table.setColRow(9, 1, 7, 8); }, "iseg out of range");
  fails([&] { return table.initializeSegment(9, 2); }, "Segment number outside range");
  fails([&] { return table.SetSegmentLinkB(1, 4, 0); }, "");
  double lastX = 0;
  double lastY = 0;
  fails([&] { return table.LastVertex(2, lastX, lastY); }, "");
  EXPECT_EQ(lastX, -9999.0);
}

TEST_F(SegmentsInMemory, LengthsAreSummedWithAndWithoutElevations) {
  makeSegments();
  EXPECT_EQ(table.SegmentLength(1), 5.0);
  EXPECT_EQ(table.SegmentLength(2), 0.0);
  EXPECT_EQ(table.SegmentLength(3), -9999.0);
  EXPECT_EQ(table.setVertexZ(1, 2, 12.0F), 0);
  EXPECT_EQ(table.segment[0].z, (Numbers{-9999, 12, -9999}));
  EXPECT_EQ(table.SegmentLength3D(1), 5.0) << "a missing elevation adds nothing";
  EXPECT_EQ(table.setVertexZ(1, 1, 0.0F), 0);
  EXPECT_EQ(table.SegmentLength3D(1), 13.0);
}

TEST_F(SegmentsInMemory, OutputsHoldWhatALineHas) {
  makeSegments();
  Numbers outX, outY, alt;
  ASSERT_EQ(table.Vertices(1, outX, outY, {.xAlt = &alt, .useAlt = true}), 0);
  EXPECT_EQ(outX, y);
  EXPECT_EQ(alt, y);
  ASSERT_EQ(table.Vertices(2, outX, outY), 0);
  EXPECT_TRUE(outX.empty());
  double atY = 0;
  int32_t col = 7;
  table.VertexInfo(1, 2, {.col = &col, .y = &atY});
  EXPECT_EQ(atY, 4.0);
  EXPECT_EQ(col, 7) << "unchanged, as the line has no cells";
  EXPECT_EQ(table.SetSegmentLinkA(1, 5, 3), 0);
  EXPECT_EQ(table.SetSegmentLinkA(1, 4), 0);
  EXPECT_EQ(table.segment[0].linksA, (std::vector<int64_t>{4, -9999, 5}));
  EXPECT_EQ(table.setColRow(1, 3, 7, 8), 0);
  EXPECT_EQ(table.SegmentEnds(1).lastCol, 7);
  table.DestroySegments();
  EXPECT_EQ(table.NumFields(), 0);
}

TEST_F(LineVectors, CopiesRecordsAndFieldNames) {
  std::vector<AttributeType> list;
  for (const char* type : {"I4", "I8", "R4", "R8", "C "}) list.push_back(attribute(type, type));
  LineVectorType from;
  DataTableType to;
  ASSERT_EQ(NewDataTable(from, {.attributeList = list, .numRecords = 2}), 0);
  for (AttributeType& each : list) each.name = "other";
  ASSERT_EQ(NewDataTable(to, {.attributeList = list, .numRecords = 3}), 0);
  for (int32_t f = 1; f <= 4; ++f) ASSERT_EQ(from.WriteR8Value(f, 2, 40.0 + f), 0);
  ASSERT_EQ(from.WriteCharValue(5, 2, "forty"), 0);
  ASSERT_EQ(from.CopyRecord(2, to, 3), 0) << seen.text();
  for (int32_t f = 1; f <= 4; ++f) EXPECT_EQ(to.Maximum({.fieldNum = f}), 40.0 + f);
  EXPECT_EQ(to.field[4]->Char[2], "forty");
  EXPECT_EQ(from.CopyRecord(3, to, 1), -1);
  from.CopyFieldNames(to);
  EXPECT_EQ(to.FieldName(4), "R8");
}

}  // namespace
}  // namespace terrain
