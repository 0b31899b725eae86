// Real files, and files exchanged with OGR's tools; the latter only where the tools are installed.

#include "shape_support.h"
#include "table/line_vectors.h"
#include "table/point_vectors.h"
#include "table/polygon_vectors.h"

namespace terrain {
namespace {

using namespace terrain::testing;

// ---- real files ----

#ifdef TERRAIN_TEST_DATA
struct RealFile {
  const char* name;
  Shape written;         ///< the type that it is written as
  bool sameFile = true;  ///< the records come back with the same bytes; else the coordinates alone
};

class RealShapefile : public ::testing::TestWithParam<RealFile> {
 protected:
  static std::string source() { return std::string(TERRAIN_TEST_DATA) + "/vector/" + GetParam().name; }
  Scratch scratch;
  Messages seen;
};

/// Records of a main file less those of null shapes, with their numbers left out.
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

TEST_P(RealShapefile, ReadWriteReadKeepsTheBytes) {
  const std::string first = scratch.path("first");
  const std::string second = scratch.path("second");
  const auto roundTrip = [&](auto& table, auto read, auto write) {
    ASSERT_EQ(read(table, source()), 0) << seen.text();
    EXPECT_FALSE(seen.has("NonFatal")) << seen.text();
    ASSERT_EQ(write(table, first), 0) << seen.text();
    ASSERT_EQ(read(table, first), 0) << seen.text();
    ASSERT_EQ(write(table, second), 0) << seen.text();
  };
  int64_t records = 0;
  switch (GetParam().written) {
    case Shape::point: {
      PointVectorType table;
      roundTrip(
          table, [](PointVectorType& t, const std::string& at) { return ReadPointShapefile(t, at); },
          [](PointVectorType& t, const std::string& at) { return t.WritePointShapefile(at); });
      records = table.numRecords;
      break;
    }
    case Shape::polyline:
    case Shape::polylineZ: {
      LineVectorType table;
      const bool z = GetParam().written == Shape::polylineZ;
      roundTrip(
          table, [](LineVectorType& t, const std::string& at) { return ReadPolylineShapefile(t, at); },
          [z](LineVectorType& t, const std::string& at) { return t.WriteShapefile(at, {.zForm = z}); });
      records = table.numRecords;
      break;
    }
    default: {
      PolyVectorType table;
      const bool z = GetParam().written == Shape::polygonZ;
      roundTrip(
          table, [](PolyVectorType& t, const std::string& at) { return ReadPolygonShapefile(t, at); },
          [z](PolyVectorType& t, const std::string& at) {
            return z ? t.WritePolygonZShapefile(at) : t.WritePolygonShapefile(at);
          });
      records = table.numRecords;
    }
  }
  EXPECT_EQ(NumRecordsInShapefile(first), records);
  EXPECT_EQ(readBytes(first + ".shp"), readBytes(second + ".shp"));
  EXPECT_EQ(readBytes(first + ".shx"), readBytes(second + ".shx"));
  EXPECT_EQ(readBytes(first + ".dbf"), readBytes(second + ".dbf"));
  if (GetParam().sameFile) {
    EXPECT_EQ(recordsOf(readBytes(first + ".shp")), recordsOf(readBytes(source() + ".shp")));
  }
  if (std::filesystem::exists(source() + ".prj")) {
    std::string before = readBytes(source() + ".prj");
    if (!before.empty() && before.back() != '\n') before += '\n';
    EXPECT_EQ(readBytes(first + ".prj"), before);
  }
}

// Types that are written as others come back with their coordinates, not with their bytes.
INSTANTIATE_TEST_SUITE_P(
    Files, RealShapefile,
    ::testing::Values(RealFile{"medium_peaks", Shape::point}, RealFile{"methow_nodes", Shape::point},
                      RealFile{"mexico_cities", Shape::point}, RealFile{"points_null", Shape::point},
                      RealFile{"masspntz", Shape::point, false}, RealFile{"multipnt", Shape::point, false},
                      RealFile{"methow_links", Shape::polyline}, RealFile{"mexico_rivers", Shape::polyline},
                      RealFile{"csah", Shape::polyline}, RealFile{"storms_m", Shape::polyline, false},
                      RealFile{"brklinz", Shape::polylineZ}, RealFile{"medium_contours", Shape::polylineZ},
                      RealFile{"mexico_states", Shape::polygon}, RealFile{"eas_polygon", Shape::polygon},
                      RealFile{"blockgroups", Shape::polygon}, RealFile{"countries", Shape::polygon},
                      RealFile{"medium_bands", Shape::polygon}, RealFile{"medium_bands_z", Shape::polygonZ},
                      RealFile{"polygonm_one", Shape::polygonZ, false}),
    [](const auto& file) { return file.param.name; });

TEST(DamagedShapefile, PointsOutsideTheHeadersBoxAreCountedAndTheIndexIsNotBelieved) {
  Messages seen;
  const std::string source = std::string(TERRAIN_TEST_DATA) + "/vector/3dpoints";
  PointVectorType table;
  ASSERT_EQ(ReadPointShapefile(table, source), 0) << seen.text();
  EXPECT_LT(table.numRecords, 22);
  EXPECT_TRUE(seen.has("Points dropped")) << seen.text();
  for (const auto& field : table.field)
    visitColumn(*field, [&table](const auto& column) { EXPECT_EQ(column.size(), table.point.size()); });
  EXPECT_EQ(NumRecordsInShapefile(source), 22);
}
#endif

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
  Scratch scratch;
  Messages seen;
};

const char* const kFields = ",N,R,D,T\n";

TEST_F(Peers, PointsBothWays) {
  const std::string stem = fromCsv("p",
                                   std::string("WKT") + kFields +
                                       "\"POINT (1.25 2.5)\",7,2.125,2020/01/02,one\n"
                                       ",8,-3.5,2021/03/04,without a place\n"
                                       "\"POINT (1e6 123456.78901234567)\",-9,0.001,1999/12/31,three\n",
                                   "-nlt POINT");
  PointVectorType table;
  ASSERT_EQ(ReadPointShapefile(table, stem), 0) << seen.text();
  ASSERT_EQ(table.numRecords, 2);
  EXPECT_EQ(table.point[1].y, 123456.78901234567);
  double real = 0;
  std::string text;
  EXPECT_EQ(table.ReadR8Value(table.FieldNumber("R"), 2, real), 0);
  EXPECT_EQ(real, 0.001);
  EXPECT_EQ(table.ReadCharValue(table.FieldNumber("D"), 1, text), 0);
  EXPECT_EQ(text, "20200102");
  ASSERT_EQ(table.WritePointShapefile(scratch.path("out")), 0) << seen.text();
  const std::string list = listing(scratch.path("out"));
  EXPECT_NE(list.find("Feature Count: 2"), std::string::npos) << list;
  EXPECT_NE(list.find(" 123456.789012346)"), std::string::npos) << list;
  EXPECT_NE(list.find("three"), std::string::npos);
  // Names, types and widths are those of the file that was read; a date is written as text.
  std::istringstream before(listing(stem));
  for (std::string line; std::getline(before, line);) {
    if (line.starts_with("N: ") || line.starts_with("R: ") || line.starts_with("T: ")) {
      EXPECT_NE(list.find('\n' + line + '\n'), std::string::npos) << line << '\n' << list;
    }
  }
}

TEST_F(Peers, PointTypesThatAreOnlyRead) {
  for (const auto& [type, csv] :
       {std::pair{"MULTIPOINT", "\"MULTIPOINT ((1 2),(3 4),(5 6))\",1,1.5,2020/01/02,a\n"},
        std::pair{"POINTZ", "\"POINT Z (1 2 9)\",1,1.5,2020/01/02,a\n"},
        std::pair{"POINTM", "\"POINT M (1 2 9)\",1,1.5,2020/01/02,a\n"}}) {
    SCOPED_TRACE(type);
    const std::string stem =
        fromCsv(std::string("q") + type, std::string("WKT") + kFields + csv, std::string("-nlt ") + type);
    PointVectorType table;
    ASSERT_EQ(ReadPointShapefile(table, stem), 0) << seen.text();
    EXPECT_EQ(table.numRecords, std::string_view(type) == "MULTIPOINT" ? 3 : 1);
    EXPECT_EQ(table.point[0].y, 2);
  }
}

TEST_F(Peers, LinesBothWays) {
  for (const std::string type : {"", "Z", "M"}) {
    SCOPED_TRACE("MULTILINESTRING" + type);
    const auto at = [&type](const char* plain, const char* third) {
      return type.empty() ? std::string(plain) : plain + std::string(" ") + third;
    };
    const std::string word = type.empty() ? " " : " " + type + " ";
    const std::string csv = std::string("WKT") + kFields + "\"LINESTRING" + word + "(" + at("0 0", "5") +
                            "," + at("1.5 2", "6") +
                            ")\",1,1.5,2020/01/02,a\n,2,2.5,2020/01/02,null\n\"MULTILINESTRING" + word +
                            "((" + at("0 1", "7") + "," + at("2 3", "8") + "),(" + at("4 5", "9") + "," +
                            at("6 7", "10") + "," + at("8 9", "11") + "))\",3,3.5,2020/01/02,c\n";
    const std::string stem = fromCsv("l" + type, csv, "-nlt MULTILINESTRING" + type);
    LineVectorType table;
    ASSERT_EQ(ReadPolylineShapefile(table, stem), 0) << seen.text();
    ASSERT_EQ(table.numRecords, 3);
    EXPECT_EQ(table.segment[2].parts, (std::vector<int32_t>{1, 3}));
    EXPECT_EQ(table.segment[2].x, (std::vector<double>{0, 2, 4, 6, 8}));
    if (type == "Z") {
      EXPECT_EQ(table.segment[2].z, (std::vector<double>{7, 8, 9, 10, 11}));
    }
    ASSERT_EQ(table.WriteShapefile(scratch.path("out"), {.zForm = type == "Z"}), 0) << seen.text();
    const std::string list = listing(scratch.path("out"));
    EXPECT_NE(list.find("Feature Count: 2"), std::string::npos) << list;
    EXPECT_NE(list.find(type == "Z" ? "((0 1 7,2 3 8),(4 5 9,6 7 10,8 9 11))" : "((0 1,2 3),(4 5,6 7,8 9))"),
              std::string::npos)
        << list;
    EXPECT_EQ(list.find("T (String) = null"), std::string::npos)
        << "the row of the line without a shape is not written";
  }
}

TEST_F(Peers, PolygonsWithHolesAndIslandsBothWays) {
  for (const std::string type : {"", "Z", "M", "ZM"}) {
    SCOPED_TRACE("POLYGON" + type);
    const auto ring = [&type](std::initializer_list<const char*> points) {
      std::string text = "(";
      for (const char* point : points)
        text += (text.size() > 1 ? "," : "") + std::string(point) +
                (type.empty()   ? ""
                 : type == "ZM" ? " 5 6"
                                : " 5");
      return text + ")";
    };
    const std::string word = type.empty() ? " " : " " + type + " ";
    const std::string csv =
        std::string("WKT") + kFields + "\"MULTIPOLYGON" + word + "((" +
        ring({"0 0", "0 9", "9 9", "9 0", "0 0"}) + "," + ring({"1 1", "2 1", "2 2", "1 2", "1 1"}) + "),(" +
        ring({"20 0", "20 1", "21 1", "20 0"}) + "))\",1,1.5,2020/01/02,a\n,2,2.5,2020/01/02,null\n";
    const std::string stem = fromCsv("g" + type, csv, "-nlt MULTIPOLYGON" + type);
    PolyVectorType table;
    ASSERT_EQ(ReadPolygonShapefile(table, stem), 0) << seen.text();
    ASSERT_EQ(table.numRecords, 2);
    EXPECT_EQ(table.polygon[0].ring.size(), 3u);
    EXPECT_EQ(table.polygon[0].xmax, 21);
    if (type == "M" || type == "ZM") {
      EXPECT_EQ(table.polygon[0].m, std::vector<double>(table.polygon[0].x.size(), type == "M" ? 5.0 : 6.0));
    }
    const bool z = !type.empty();
    ASSERT_EQ(z ? table.WritePolygonZShapefile(scratch.path("out"))
                : table.WritePolygonShapefile(scratch.path("out")),
              0)
        << seen.text();
    const std::string list = listing(scratch.path("out"));
    EXPECT_NE(list.find("Feature Count: 1"), std::string::npos) << list;
    EXPECT_NE(list.find("Extent: (0.000000, 0.000000) - (21.000000, 9.000000)"), std::string::npos) << list;
    EXPECT_NE(list.find("MULTIPOLYGON"), std::string::npos) << list;
  }
}

TEST_F(Peers, EmptyTablesBothWays) {
  const std::string stem = fromCsv("e", "WKT,N,T\n", "-nlt POLYGON -oo AUTODETECT_TYPE=NO");
  PolyVectorType table;
  ASSERT_EQ(ReadPolygonShapefile(table, stem), 0) << seen.text();
  EXPECT_EQ(table.numRecords, 0);
  ASSERT_EQ(table.WritePolygonShapefile(scratch.path("out")), 0) << seen.text();
  EXPECT_NE(listing(scratch.path("out")).find("Feature Count: 0"), std::string::npos);
}

TEST_F(Peers, AProjectionTravelsUnchanged) {
  const std::string stem = fromCsv("s", std::string("WKT") + kFields + "\"POINT (1 2)\",1,1.5,2020/01/02,a\n",
                                   "-nlt POINT -a_srs EPSG:26911");
  PointVectorType table;
  ASSERT_EQ(ReadPointShapefile(table, stem), 0) << seen.text();
  ASSERT_EQ(table.WritePointShapefile(scratch.path("out")), 0);
  EXPECT_NE(listing(scratch.path("out")).find("UTM zone 11N"), std::string::npos);
}

}  // namespace
}  // namespace terrain
