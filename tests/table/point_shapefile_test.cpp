#include <cmath>
#include <limits>

#include "shape_support.h"
#include "support/grids.h"
#include "table/point_vectors.h"

namespace terrain {
namespace {

using namespace terrain::test;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class PointShapefile : public ::testing::Test {
 protected:
  std::string put(Shape type, const std::vector<std::string>& contents, const Box& box = kWideBox) {
    return putShapefile(scratch.path("in"), mainFile(type, contents, box), idTable(contents.size()));
  }
  /// Rows with the field ID and no points yet.
  void make(int64_t n) {
    const AttributeType list[] = {attribute("ID", "I4", 8)};
    ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = n}), 0);
    for (int64_t irec = 1; irec <= n; ++irec) table.WriteI4Value(1, irec, static_cast<int32_t>(100 * irec));
  }
  ScratchDir scratch;
  ConsoleCapture seen;
  PointVectorType table;
};

TEST_F(PointShapefile, DroppedPointsTakeTheirRowsAlong) {
  const Box box{.x = {0, 10}, .y = {0, 10}};
  const auto point = [](double x, double y) { return pointContent(Shape::point, x, y); };
  ASSERT_EQ(ReadPointShapefile(table, put(Shape::point,
                                          {point(11, 5), point(0, 10), nullContent(), point(kNaN, 1),
                                           point(5, kInfinity), point(3, 3), nullContent()},
                                          box)),
            0)
      << seen.text();
  EXPECT_EQ(idsOf(table), (std::vector<int32_t>{10, 20, 60}));
  EXPECT_EQ(table.point.at(2).x, 3);
  EXPECT_TRUE(seen.has("Points dropped (null shapes, or no finite numbers): 4")) << seen.text();
  EXPECT_TRUE(seen.has("Points outside the extents that the file gives, which are kept: 1"));
  EXPECT_EQ(table.GridInfo().xmax, 11);
  EXPECT_EQ(table.GridInfo().ymax, 10);
}

TEST_F(PointShapefile, MultiPointsCopyTheirRowToEachPoint) {
  const auto many = [](std::size_t n, double from) {
    Outline outline;
    for (std::size_t i = 0; i < n; ++i) outline.x.push_back(from + static_cast<double>(i));
    outline.y.assign(n, 1.0);
    return content(Shape::multiPoint, outline);
  };
  // Far more points than twice the records, and a record without any.
  ASSERT_EQ(ReadPointShapefile(
                table, put(Shape::multiPoint, {many(1, 5), many(0, 0), many(500, 100), nullContent()})),
            0)
      << seen.text();
  std::vector<int32_t> ids(501, 30);
  ids[0] = 10;
  EXPECT_EQ(idsOf(table), ids);
  EXPECT_EQ(table.point.at(500).x, 599.0);
}

TEST_F(PointShapefile, RowsOfMultiPointsStayInProportionToTheFile) {
  constexpr std::size_t kPoints = 100000;
  const std::string shape = content(
      Shape::multiPoint, {.x = std::vector<double>(kPoints, 1), .y = std::vector<double>(kPoints, 2)});
  const auto putRow = [&](const RawDbfField& field, std::size_t count, char filler) {
    const std::string row = " " + std::string(count * static_cast<std::size_t>(field.length), filler);
    putShapefile(scratch.path("in"), mainFile(Shape::multiPoint, {shape}),
                 rawDbf(std::vector<RawDbfField>(count, field), {row}));
  };
  putRow({"T", 'C', 250}, 100, 'x');  // 2.5 GB if each point had its own
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("in")), 0) << seen.text();
  ASSERT_EQ(table.WriteCharValue(3, 7, "own"), 0);
  for (const int64_t irec : {6, 8})
    EXPECT_EQ(table.field[2]->Char[static_cast<std::size_t>(irec) - 1], std::string(250, 'x'));
  EXPECT_EQ(table.field[2]->Char[6], "own");
  putRow({"N", 'N', 4}, 1000, '1');
  EXPECT_EQ(ReadPointShapefile(table, scratch.path("in")), -1);
  EXPECT_TRUE(seen.has("100000 points with 1000 fields each are too many for a file of 1 records"));
}

TEST_F(PointShapefile, EndingsInCapitalsAreFound) {
  putShapefile(scratch.path("ROADS"), mainFile(Shape::point, {pointContent(Shape::point, 1, 2)}), idTable(1));
  writeBytes(scratch.path("ROADS.prj"), "LOCAL_CS[]\n");
  for (const auto& entry : {"shp", "dbf", "shx", "prj"}) {
    std::string capitals = entry;
    for (char& c : capitals) c = static_cast<char>(std::toupper(c));
    std::error_code ignored;
    std::filesystem::rename(scratch.path("ROADS.") + entry, scratch.path("ROADS." + capitals), ignored);
  }
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("ROADS")), 0) << seen.text();
  EXPECT_EQ(table.numRecords, 1);
  EXPECT_EQ(table.prj.LineCount(), 1);
  DataTableType rows;
  EXPECT_EQ(NewDataTable(rows, {.filePath = scratch.path("ROADS.DBF")}), 0) << seen.text();
}

TEST_F(PointShapefile, ATableUsedAgainOrMovedStartsEmpty) {
  putShapefile(scratch.path("in"), mainFile(Shape::point, {pointContent(Shape::point, 1, 2)}), idTable(1));
  writeBytes(scratch.path("in.prj"), "LOCAL_CS[]\n");
  const auto readIn = [&] {
    PointVectorType made;
    EXPECT_EQ(ReadPointShapefile(made, scratch.path("in"), {.units = 'f'}), 0) << seen.text();
    return made;
  };
  PointVectorType first = readIn();
  EXPECT_EQ(first.GridInfo().units, 'm') << "the units of its coordinates";
  PointVectorType second;
  second = std::move(first);
  EXPECT_EQ(first.numRecords + first.nfields + std::ssize(first.field),
            0);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(idsOf(second), (std::vector<int32_t>{10}));
  ASSERT_EQ(second.WritePointShapefile(scratch.path("out")), 0);
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(table.point.at(0).x, 1) << "in feet again";
  make(1);
  second.clear();
  EXPECT_EQ(second.units, 'm');
  EXPECT_EQ(second.prj.LineCount(), 0);
  EXPECT_FALSE(second.feetConverted || second.HasGridReference());
}

TEST_F(PointShapefile, DeletedRowsTakeTheirShapesAlong) {
  std::string rows = idTable(3);
  rows[65] = '*';
  const auto withFirstDeleted = [&](auto& shapes, Shape type, const std::string& shape) {
    putShapefile(scratch.path("d"), mainFile(type, {nullContent(), shape, shape}), rows);
    EXPECT_EQ(readShapes(shapes, scratch.path("d")), 0) << seen.text();
    EXPECT_EQ(shapes.numRecords, 2);
    EXPECT_EQ(idsOf(shapes), (std::vector<int32_t>{20, 30}));
  };
  LineVectorType lines;
  withFirstDeleted(lines, Shape::polyline,
                   content(Shape::polyline, {.starts = {0}, .x = {1, 2}, .y = {1, 2}}));
  EXPECT_EQ(lines.NumVertices(1), 2);
  withFirstDeleted(table, Shape::point, pointContent(Shape::point, 1, 1));
  EXPECT_FALSE(seen.has("dropped (null")) << "a deleted shape is no null shape";
  EXPECT_EQ(std::ssize(table.point), 2);
}

TEST_F(PointShapefile, FeetAreComparedBeforeTheyAreConverted) {
  const Box box{.x = {100, 200}, .y = {100, 200}};
  ASSERT_EQ(ReadPointShapefile(table, put(Shape::point, {pointContent(Shape::point, 150, 190)}, box),
                               {.units = 'f'}),
            0);
  ASSERT_EQ(table.numRecords, 1);
  EXPECT_EQ(table.point[0].x, 150 * 0.3048);

  // The grid's units count only where none are given.
  R4Grid_type grid = test::emptyGrid<R4Grid_type>(4, 4, {.xmin = 0, .ymin = 0, .cellsize = 20});
  grid.units = 'f';
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("in"), {.units = 'm', .grid = &grid}), 0);
  EXPECT_EQ(table.point[0].x, 150);
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("in"), {.grid = &grid}), 0);
  EXPECT_TRUE(table.HasGridReference());
  EXPECT_EQ(table.PointCol(1), 3);  // 45.72 of cells of 20
  EXPECT_EQ(table.PointRow(1), 2);  // 57.912: row 4 begins at 0
}

TEST_F(PointShapefile, WrittenBytesAreTheFormats) {
  make(3);
  table.SetPointXY(1, -4, -8);
  table.SetPointXY(2, -1, -2);
  table.SetPointXY(3, -3, -9);
  table.SetPointOffset(3, 0.5, 0.25);
  table.SetPointFlag(2, false);
  InputFileType prj;
  prj.lines = {"LOCAL_CS[\"#,:\"]"};
  ASSERT_EQ(
      table.WritePointShapefile(scratch.path("out"), {.applyOffset = true, .isFlag = true, .prjFile = &prj}),
      0)
      << seen.text();
  const Box box{.x = {-4, -2.5}, .y = {-8.75, -8}};
  EXPECT_EQ(readBytes(scratch.path("out.shp")),
            mainFile(Shape::point,
                     {pointContent(Shape::point, -4, -8), pointContent(Shape::point, -2.5, -8.75)}, box));
  const std::string index = readBytes(scratch.path("out.shx"));
  ASSERT_EQ(index.size(), 116u);
  EXPECT_EQ(index.substr(24, 4), std::string("\0\0\0\x3A", 4));
  EXPECT_EQ(index.substr(28, 72), readBytes(scratch.path("out.shp")).substr(28, 72));
  EXPECT_EQ(index.substr(100), std::string("\0\0\0\x32\0\0\0\x0A\0\0\0\x40\0\0\0\x0A", 16));
  EXPECT_EQ(readBytes(scratch.path("out.prj")), "LOCAL_CS[\"#,:\"]\n");
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(idsOf(table), (std::vector<int32_t>{100, 300}));
  EXPECT_EQ(table.prj.lines, prj.lines);
}

TEST_F(PointShapefile, NoRecordsMakeValidFiles) {
  make(2);
  table.SetPointXY(1, 1, 1);
  table.SetAllPointFlags(false);
  ASSERT_EQ(table.WritePointShapefile(scratch.path("out"), {.isFlag = true}), 0) << seen.text();
  ASSERT_EQ(ReadPointShapefile(table, scratch.path("out")), 0) << seen.text();
  EXPECT_EQ(table.numRecords, 0);
}

TEST_F(PointShapefile, FilesBeyondTheFormatsLimitsAreRefused) {
  const struct {
    int64_t points;
    const char* message;
  } cases[] = {{3000000000, "Too many points for shapefile"},
               {76695841, "shpFileSize exceeds 4-byte integer limit"},
               {76695840, "The table has 76695840 records, but 0 points"}};  // the largest file
  for (const auto& each : cases) {
    seen.clear();
    PointVectorType large;
    large.numRecords = each.points;
    EXPECT_EQ(large.WritePointShapefile(scratch.path("out")), -1);
    EXPECT_TRUE(seen.has(std::string("ERROR: WritePointShapefile in DataTableModule\n ") + each.message));
  }
}

TEST_F(PointShapefile, RefusedTablesLeaveOlderFilesWhole) {
  make(2);
  table.SetPointXY(1, 0, 0);
  ASSERT_EQ(table.WritePointShapefile(scratch.path("out")), 0);
  const std::string before = readBytes(scratch.path("out.shp"));
  const auto refused = [&](const std::string& stem, std::string_view message) {
    seen.clear();
    EXPECT_EQ(table.WritePointShapefile(scratch.path(stem)), -1);
    EXPECT_EQ(table.status, -1);
    EXPECT_TRUE(seen.has(message)) << seen.text();
    EXPECT_EQ(readBytes(scratch.path("out.shp")), before);
  };
  table.SetPointXY(2, kNaN, 0);
  refused("out", "Record 2: x or y is not a finite number");
  table.SetPointXY(2, 0, 0);
  refused("no/such/directory/out", "Failed to write file");
  table.SetPointXY(2, 5, 5);
  table.field[0]->outLength = 2;
  refused("out", "value does not fit field ID");
  EXPECT_TRUE(seen.has("writeDBFfile failed"));
  table.field[0]->outLength = 8;
  std::filesystem::create_directory(scratch.path("new.prj"));
  table.prj.lines = {"LOCAL_CS[]"};
  refused("new", "Error writing projection file for ");
}

TEST_F(PointShapefile, LinksAndValuesBelongToRecords) {
  make(3);
  EXPECT_EQ(table.AddLinkA(1, 2), -1) << "no points yet";
  EXPECT_EQ(table.SetLinkValue(2, 7), 0);
  EXPECT_EQ(table.LinkValue(1), 0);
  EXPECT_EQ(table.LinkValue(2), 7);
  for (const int64_t linked : {2, 3}) EXPECT_EQ(table.AddLinkA(1, linked), 0);
  EXPECT_EQ(table.AddLinkB(1, 3), 0);
  EXPECT_EQ(table.AddLinkA(1, 4), -1);
  EXPECT_EQ(table.status, -1);
  EXPECT_EQ(table.NumLinksA(1), 2);
  EXPECT_EQ(table.LinkA(1, 2), 3);
  EXPECT_EQ(table.LinkB(1), 3);
  EXPECT_EQ(table.setRecordFlag(1, false), 0);
  EXPECT_FALSE(table.PointFlag(1));
}

TEST_F(PointShapefile, RecordsAreCountedInTheMainFileWhereTheIndexIsWrong) {
  const std::string stem =
      put(Shape::point, {pointContent(Shape::point, 1, 1), pointContent(Shape::point, 2, 2)});
  ASSERT_EQ(ReadPointShapefile(table, stem), 0) << "without an index";
  ASSERT_EQ(table.WritePointShapefile(stem), 0);
  const std::string main = readBytes(stem + ".shp");
  const std::string index = readBytes(stem + ".shx");
  std::string wrongLength = index;
  wrongLength[27] = '\x50';
  std::string older = index.substr(0, 108);  // right for a main file of one record
  older[27] = '\x36';
  const struct {
    const char* name;
    std::string index, main;
    int64_t records;
    const char* reported;
  } cases[] = {{"as written", index, main, 2, ""},
               {"wrong length", wrongLength, main, 2, ""},
               {"an entry short", index.substr(0, 108), main, 2, ""},
               {"of an older file", older, main, 2, ""},
               {"bytes after the main file's length", index, main + std::string(28, '\0'), 2, ""},
               {"main file cut", index, main.substr(0, 120), -1, "in.shp"},
               {"index cut", index.substr(0, 20), main, -1, "in.shx"}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    seen.clear();
    writeBytes(stem + ".shx", each.index);
    writeBytes(stem + ".shp", each.main);
    EXPECT_EQ(NumRecordsInShapefile(stem), each.records);
    EXPECT_TRUE(seen.has(each.reported)) << seen.text();
  }
  writeBytes(stem + ".prj", "");
  seen.clear();
  ASSERT_EQ(ReadPointShapefile(table, stem), 0);
  EXPECT_EQ(seen.text(), "") << "an empty projection text is no fault";
}

}  // namespace
}  // namespace terrain
