// Real files, and files exchanged with OGR's tools; the latter only where the tools are installed.

#include <set>

#include "shape_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

// ---- real files ----

/// The contents of the records of a main file without those of null shapes.
std::string recordsOf(const std::string& main) {
  std::string records;
  ByteReader in(std::as_bytes(std::span(main)));
  in.seek(100);
  while (in.remaining() > 0) {
    in.skip(4);
    const auto words = in.big<int32_t>();
    const auto content = in.text(2 * static_cast<uint64_t>(words));
    if (words > 2) records += content;
  }
  return records;
}

/// The type as which a table of another is written.
Shape writtenType(Shape type) {
  if (isPoint(type)) return Shape::point;
  return type == Shape::polylineM ? Shape::polyline : type == Shape::polygonM ? Shape::polygonZ : type;
}

TEST(RealShapefile, ReadWriteReadKeepsTheBytes) {
  SKIP_WITHOUT_REAL_DATA();
  ConsoleCapture seen;
  ScratchDir scratch;
  const std::string first = scratch.path("first");
  const std::string second = scratch.path("second");
  std::set<Shape> types;
  for (const auto& entry : std::filesystem::directory_iterator(test::dataFolder() + "/vector")) {
    const std::string name = entry.path().stem().string();
    if (entry.path().extension() != ".shp" || name == "3dpoints")
      continue;  // which has points outside its box
    SCOPED_TRACE(name);
    const std::string source = entry.path().parent_path() / name;
    ShapefileReader header("test", source);
    ASSERT_EQ(header.load(), 0);
    const Shape written = writtenType(header.type());
    types.insert(written);
    const bool z = written == Shape::polylineZ || written == Shape::polygonZ;
    withTableOf(written, [&](auto& table) {
      ASSERT_EQ(readShapes(table, source), 0) << seen.text();
      ASSERT_EQ(writeShapes(table, first, z), 0) << seen.text();
      ASSERT_EQ(readShapes(table, first), 0) << seen.text();
      ASSERT_EQ(writeShapes(table, second, z), 0) << seen.text();
      EXPECT_EQ(NumRecordsInShapefile(first), table.numRecords);
    });
    EXPECT_FALSE(seen.has("NonFatal")) << seen.text();
    for (const char* extension : {".shp", ".shx", ".dbf", ".prj"})
      EXPECT_EQ(readBytes(first + extension), readBytes(second + extension)) << extension;
    if (written == header.type()) {
      EXPECT_EQ(recordsOf(readBytes(first + ".shp")), recordsOf(readBytes(source + ".shp")));
    }
    for (const std::string& stem : {first, second}) std::filesystem::remove(stem + ".prj");
  }
  EXPECT_EQ(types.size(), 5u);
}

TEST(DamagedShapefile, PointsOutsideTheBoxAreCountedAndTheIndexIsIgnored) {
  SKIP_WITHOUT_REAL_DATA();
  const std::string source = test::dataFolder() + "/vector/3dpoints";
  ConsoleCapture seen;
  PointVectorType table;
  ASSERT_EQ(ReadPointShapefile(table, source), 0) << seen.text();
  EXPECT_EQ(table.numRecords, 22);
  EXPECT_TRUE(seen.has("Points outside the extents that the file gives, which are kept: 3")) << seen.text();
  for (const auto& field : table.field) EXPECT_EQ(numValues(*field), table.point.size());
  EXPECT_EQ(NumRecordsInShapefile(source), 22);
}

// ---- exchange with OGR ----

class Peers : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!haveTool("ogr2ogr") || !haveTool("ogrinfo")) GTEST_SKIP() << "gdal-bin is not installed";
  }
  /// What ogr2ogr makes of a CSV text with the columns WKT and further ones.
  std::string fromCsv(const std::string& name, const std::string& csv, const std::string& options) {
    writeBytes(scratch.path(name + ".csv"), csv);
    const Outcome made = shell(
        "ogr2ogr -f 'ESRI Shapefile' -oo GEOM_POSSIBLE_NAMES=WKT -oo KEEP_GEOM_COLUMNS=NO -oo "
        "AUTODETECT_TYPE=YES " +
        options + " " + scratch.path(name + ".shp") + " " + scratch.path(name + ".csv"));
    EXPECT_EQ(made.status, 0) << made.text;
    return scratch.path(name);
  }
  /// The whole listing of a shapefile; a warning is a failure.
  std::string listing(const std::string& stem) {
    const auto [status, text] = shell("ogrinfo -ro -al " + stem + ".shp");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(text.find("Warning"), std::string::npos) << text;
    EXPECT_EQ(text.find("ERROR"), std::string::npos) << text;
    const std::size_t from = text.find("Geometry:");
    return from == std::string::npos ? text : text.substr(from);
  }
  ScratchDir scratch;
  ConsoleCapture seen;
};

const char* const kFields = ",N,R,D,T\n";

TEST_F(Peers, PointsKeepNumbersAndFieldTypes) {
  const std::string stem = fromCsv("p",
                                   std::string("WKT") + kFields +
                                       "\"POINT (1.25 2.5)\",7,2.125,2020/01/02,one\n"
                                       ",8,-3.5,2021/03/04,without a place\n"
                                       "\"POINT (1e6 123456.78901234567)\",-9,0.001,1999/12/31,three\n"
                                       "\"POINT (3 4)\",,,,\n",
                                   "-nlt POINT");
  PointVectorType table;
  ASSERT_EQ(ReadPointShapefile(table, stem), 0) << seen.text();
  EXPECT_EQ(table.point.at(1).y, 123456.78901234567);
  EXPECT_EQ(shown(table),
            "N I4 7 -9 -9999; R R8 2.125 0.001 -9999; D C 20200102 19991231 00000000; T C one three ; ");
  ASSERT_EQ(table.WritePointShapefile(scratch.path("out")), 0) << seen.text();
  const std::string list = listing(scratch.path("out"));
  for (const char* part : {"Feature Count: 3", " 123456.789012346)", "three", "1999/12/31"})
    EXPECT_NE(list.find(part), std::string::npos) << list;
  // Names, types and widths are those of the file that was read.
  std::istringstream before(listing(stem));
  for (std::string line; std::getline(before, line);) {
    if (line.starts_with("N: ") || line.starts_with("R: ") || line.starts_with("D: ") ||
        line.starts_with("T: ")) {
      EXPECT_NE(list.find('\n' + line + '\n'), std::string::npos) << line << '\n' << list;
    }
  }
}

/// Features in the form that ogr2ogr reads, a null shape among them, and in the form that ogrinfo lists.
struct Exchange {
  const char* geometry;  // of ogr2ogr
  Shape type;            // which selects the table
  bool z;                // written with elevations
  const char* wkt;       // of two records
  const char* second;
  int64_t records;  // of the table
  const char* listed;
};

TEST_F(Peers, EveryTypeIsReadAndWrittenBack) {
  const Exchange cases[] = {
      {"POINTZ", Shape::pointZ, false, "POINT Z (1 2 9)", "POINT Z (3 4 9)", 2, "POINT (3 4)"},
      {"POINTM", Shape::pointM, false, "POINT M (1 2 9)", "POINT M (3 4 9)", 2, "POINT (3 4)"},
      {"MULTIPOINT", Shape::multiPoint, false, "MULTIPOINT ((1 2))", "MULTIPOINT ((3 4),(5 6))", 3,
       "POINT (5 6)"},
      {"MULTILINESTRING", Shape::polyline, false, "LINESTRING (0 0,1.5 2)",
       "MULTILINESTRING ((0 1,2 3),(4 5,6 7,8 9))", 3, "MULTILINESTRING ((0 1,2 3),(4 5,6 7,8 9))"},
      {"MULTILINESTRINGZ", Shape::polylineZ, true, "LINESTRING Z (0 0 5,1.5 2 6)",
       "MULTILINESTRING Z ((0 1 7,2 3 8),(4 5 9,6 7 10))", 3,
       "MULTILINESTRING Z ((0 1 7,2 3 8),(4 5 9,6 7 10))"},
      {"MULTILINESTRINGM", Shape::polylineM, false, "LINESTRING M (0 0 5,1.5 2 6)",
       "LINESTRING M (0 1 7,2 3 8)", 3, "LINESTRING (0 1,2 3)"},
      {"MULTIPOLYGON", Shape::polygon, false, "POLYGON ((0 0,0 9,9 9,9 0,0 0),(1 1,2 1,2 2,1 2,1 1))",
       "MULTIPOLYGON (((0 0,0 9,9 9,0 0)),((20 0,20 1,21 1,20 0)))", 3,
       "MULTIPOLYGON (((0 0,0 9,9 9,0 0)),((20 0,20 1,21 1,20 0)))"},
      {"MULTIPOLYGONZ", Shape::polygonZ, true, "POLYGON Z ((0 0 5,0 9 5,9 9 5,0 0 5))",
       "POLYGON Z ((0 0 5,0 9 6,9 9 7,0 0 5))", 3, "POLYGON Z ((0 0 5,0 9 6,9 9 7,0 0 5))"},
      {"MULTIPOLYGONM", Shape::polygonM, true, "POLYGON M ((0 0 5,0 9 5,9 9 5,0 0 5))",
       "POLYGON M ((0 0 5,0 9 6,9 9 7,0 0 5))", 3,
       "POLYGON ZM ((0 0 -9999 5,0 9 -9999 6,9 9 -9999 7,0 0 -9999 5))"},
      {"MULTIPOLYGONZM", Shape::polygonZ, true, "POLYGON ZM ((0 0 5 1,0 9 5 1,9 9 5 1,0 0 5 1))",
       "POLYGON ZM ((0 0 5 1,0 9 6 2,9 9 7 3,0 0 5 1))", 3, "POLYGON ZM ((0 0 5 1,0 9 6 2,9 9 7 3,0 0 5 1))"},
  };
  for (const Exchange& each : cases) {
    SCOPED_TRACE(each.geometry);
    const auto row = [](const char* wkt, const char* rest) {
      return '"' + std::string(wkt) + "\"," + rest + '\n';
    };
    const std::string stem =
        fromCsv(each.geometry,
                std::string("WKT") + kFields + row(each.wkt, "1,1.5,2020/01/02,one") +
                    ",2,2.5,2020/01/02,null\n" + row(each.second, "3,3.5,2020/01/02,three"),
                std::string("-nlt ") + each.geometry);
    withTableOf(each.type, [&](auto& table) {
      ASSERT_EQ(readShapes(table, stem), 0) << seen.text();
      EXPECT_EQ(table.numRecords, each.records);
      ASSERT_EQ(writeShapes(table, scratch.path("out"), each.z), 0) << seen.text();
    });
    const std::string list = listing(scratch.path("out"));
    EXPECT_NE(list.find(each.listed), std::string::npos) << list;
    EXPECT_EQ(list.find("T (String) = null"), std::string::npos) << "its row is not written";
  }
}

TEST_F(Peers, ProjectionsAreKept) {
  const std::string stem = fromCsv("s", std::string("WKT") + kFields + "\"POINT (1 2)\",1,1.5,2020/01/02,a\n",
                                   "-nlt POINT -a_srs EPSG:26911");
  PointVectorType points;
  ASSERT_EQ(ReadPointShapefile(points, stem), 0) << seen.text();
  ASSERT_EQ(points.WritePointShapefile(scratch.path("out")), 0);
  EXPECT_NE(listing(scratch.path("out")).find("UTM zone 11N"), std::string::npos);
}

}  // namespace
}  // namespace terrain
