// What holds for the files of lines and of polygons alike.

#include "foundation/memory.h"
#include "shape_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

struct Lines {
  using Table = LineVectorType;
  static constexpr Shape kFlat = Shape::polyline, kZ = Shape::polylineZ, kM = Shape::polylineM;
  static constexpr bool kReadsMeasures = false, kSortsFlagged = false;
  static constexpr int32_t kFirst = 1;  // of the part starts in memory
  static auto& shapes(Table& table) { return table.segment; }
  static auto& starts(SegmentType& line) { return line.parts; }
  static Numbers measures(const SegmentType& /*line*/) { return {}; }
  static int read(Table& table, const std::string& stem, std::string_view id) {
    return ReadPolylineShapefile(table, stem, {.IDfieldName = id});
  }
  static int writeFlagged(Table& table, const std::string& stem) {
    return table.WriteShapefile(stem, {.isFlag = true});
  }
};

struct Polygons {
  using Table = PolyVectorType;
  static constexpr Shape kFlat = Shape::polygon, kZ = Shape::polygonZ, kM = Shape::polygonM;
  static constexpr bool kReadsMeasures = true, kSortsFlagged = true;
  static constexpr int32_t kFirst = 0;
  static auto& shapes(Table& table) { return table.polygon; }
  static auto& starts(PolygonType& polygon) { return polygon.ring; }
  static Numbers measures(const PolygonType& polygon) { return polygon.m; }
  static int read(Table& table, const std::string& stem, std::string_view id) {
    return ReadPolygonShapefile(table, stem, {.IDfieldName = id});
  }
  static int writeFlagged(Table& table, const std::string& stem) {
    return table.WritePolygonShapefile(stem, {.isFlag = true});
  }
};

/// A square with a hole, or two lines.
const Outline kTwoParts{.starts = {0, 5},
                        .x = {0, 0, 4, 4, 0, 1, 2, 2, 1},
                        .y = {0, 4, 4, 0, 0, 1, 1, 2, 1},
                        .z = {1, 2, 3, 4, 1, 9, 9, 9, 9},
                        .m = {0, 1, 2, 3, 4, 5, 6, 7, 8}};
Outline movedBy(double distance) {
  Outline moved{.starts = kTwoParts.starts, .x = kTwoParts.x, .y = kTwoParts.y};
  for (double& x : moved.x) x += distance;
  return moved;
}

template <class Kind>
class OutlineShapefile : public OutlineFiles {
 protected:
  using Table = typename Kind::Table;
  static void expectSame(Table& table, std::size_t place, const Outline& outline) {
    ASSERT_LT(place, Kind::shapes(table).size());
    auto& shape = Kind::shapes(table)[place];
    EXPECT_EQ(shape.x, outline.x);
    EXPECT_EQ(shape.y, outline.y);
    EXPECT_EQ(shape.z, outline.z);
    EXPECT_EQ(Kind::measures(shape), Kind::kReadsMeasures ? outline.m : Numbers());
    EXPECT_EQ(Kind::starts(shape), (Starts{Kind::kFirst, Kind::kFirst + 5}));
  }
};
using Kinds = ::testing::Types<Lines, Polygons>;
class KindNames {
 public:
  template <class Kind>
  static std::string GetName(int) {
    return std::is_same_v<Kind, Lines> ? "Lines" : "Polygons";
  }
};
TYPED_TEST_SUITE(OutlineShapefile, Kinds, KindNames);

TYPED_TEST(OutlineShapefile, EveryTypeReadsAndWritesBack) {
  for (const Shape type : {TypeParam::kFlat, TypeParam::kZ, TypeParam::kM}) {
    for (const bool withM : {false, true}) {
      SCOPED_TRACE(static_cast<int>(type) * 10 + withM);
      Outline outline = kTwoParts;
      if (type != TypeParam::kZ) outline.z.clear();
      if (type == TypeParam::kFlat || !withM) outline.m.clear();
      typename TypeParam::Table table;
      ASSERT_EQ(readShapes(table, this->put(type, {{}, outline})), 0) << this->seen.text();
      EXPECT_TRUE(TypeParam::shapes(table)[0].x.empty());
      this->expectSame(table, 1, outline);

      const std::string out = this->scratch.path("out");
      for (const bool z : {false, true}) {
        ASSERT_EQ(writeShapes(table, out, z), 0) << this->seen.text();
        typename TypeParam::Table back;
        ASSERT_EQ(readShapes(back, out), 0) << this->seen.text();
        EXPECT_EQ(idsOf(back), (std::vector<int32_t>{20})) << "the null shape is not written";
        Outline expected = outline;
        if (!z) expected.z.clear();
        if (!z) expected.m.clear();
        if (z && outline.z.empty()) expected.z.assign(outline.x.size(), -9999.0);
        this->expectSame(back, 0, expected);
      }
      EXPECT_FALSE(*table.recordFlag(1));
      EXPECT_TRUE(*table.recordFlag(2));
    }
  }
}

TYPED_TEST(OutlineShapefile, RecordsOfTheThreeFilesCorrespond) {
  using Ids = std::vector<int32_t>;
  const struct {
    bool idField, isFlag;
    Ids ids;  // of the records written, in their order
  } cases[] = {{false, false, {30, -5, 0, 10, 20}},
               {true, false, {10, 20, 30}},
               {false, true, {30, 10}},
               {true, true, TypeParam::kSortsFlagged ? Ids{10, 30} : Ids{30, 10}}};
  // The second record has no shape: it must not shift the rows of the others.
  const std::string in =
      this->put(TypeParam::kFlat, {movedBy(30), {}, movedBy(-5), movedBy(0), movedBy(10), movedBy(20)},
                {30, 99, -5, 0, 10, 20});
  const std::string out = this->scratch.path("out");
  for (const auto& each : cases) {
    SCOPED_TRACE(::testing::PrintToString(each.ids));
    typename TypeParam::Table table;
    ASSERT_EQ(each.idField ? TypeParam::read(table, in, "ID") : readShapes(table, in), 0)
        << this->seen.text();
    for (int64_t irec = 1; irec <= 6; ++irec)
      ASSERT_EQ(table.setRecordFlag(irec, irec == 1 || irec == 2 || irec == 5), 0);
    ASSERT_EQ(each.isFlag ? TypeParam::writeFlagged(table, out) : writeShapes(table, out), 0);
    typename TypeParam::Table back;
    ASSERT_EQ(readShapes(back, out), 0) << this->seen.text();
    EXPECT_EQ(idsOf(back), each.ids);
    for (std::size_t i = 0; i < each.ids.size(); ++i)
      EXPECT_EQ(TypeParam::shapes(back)[i].x[0], each.ids[i]) << i;
    EXPECT_EQ(NumRecordsInShapefile(out), std::ssize(each.ids));
  }
}

TYPED_TEST(OutlineShapefile, EmptyTablesAreWrittenAndRead) {
  typename TypeParam::Table table;
  const std::string out = this->scratch.path("out");
  ASSERT_EQ(readShapes(table, this->put(TypeParam::kFlat, {})), 0) << this->seen.text();
  ASSERT_EQ(writeShapes(table, out), 0) << this->seen.text();
  EXPECT_EQ(numbersAt(out + ".shp", 36, 8), Numbers(8, 0));
  ASSERT_EQ(readShapes(table, out), 0) << this->seen.text();
  EXPECT_EQ(table.numRecords, 0);
  EXPECT_EQ(table.NumFields(), 1);
}

TYPED_TEST(OutlineShapefile, FaultsAreReportedAndLeaveOlderFilesWhole) {
  typename TypeParam::Table table;
  const std::string in = this->put(TypeParam::kFlat, {movedBy(0)});
  const std::string out = this->scratch.path("out");
  ASSERT_EQ(readShapes(table, in), 0);
  ASSERT_EQ(writeShapes(table, out), 0);
  const std::string before = readBytes(out + ".shp");
  TypeParam::starts(TypeParam::shapes(table)[0])[1] = 9 + TypeParam::kFirst;
  EXPECT_EQ(writeShapes(table, out), -1);
  EXPECT_TRUE(this->seen.has("Record 1: Part 2 starts at point 9 of 9")) << this->seen.text();
  TypeParam::shapes(table).clear();
  EXPECT_EQ(writeShapes(table, out), -1);
  EXPECT_TRUE(this->seen.has("The table has 1 records, but 0 ")) << this->seen.text();
  EXPECT_EQ(readBytes(out + ".shp"), before);

  EXPECT_EQ(TypeParam::read(table, in, "NONE"), -1);
  EXPECT_TRUE(this->seen.has("not found: NONE\n")) << this->seen.text();
  EXPECT_EQ(readShapes(table, this->scratch.path("nowhere")), -1);
  EXPECT_TRUE(this->seen.has("NewDataTable failed for "));
  this->seen.clear();
  memoryLimits().largestBlock = 4096;  // enough for the files, too little for 200 shapes
  EXPECT_EQ(readShapes(table, this->put(TypeParam::kFlat, std::vector<Outline>(200))), -1);
  memoryLimits() = {};
  EXPECT_TRUE(this->seen.has("Unable to allocate memory for object")) << this->seen.text();
}

TYPED_TEST(OutlineShapefile, EmptyPartsAreDropped) {
  Outline outline = movedBy(0);
  outline.starts = {0, 0, 5, 7, 9};
  typename TypeParam::Table table;
  ASSERT_EQ(readShapes(table, this->put(TypeParam::kFlat, {outline})), 0) << this->seen.text();
  constexpr int32_t first = TypeParam::kFirst;
  EXPECT_EQ(TypeParam::starts(TypeParam::shapes(table)[0]), (Starts{first, first + 5, first + 7}));
  outline.starts[4] = 10;
  EXPECT_EQ(readShapes(table, this->put(TypeParam::kFlat, {outline})), -1);
  EXPECT_TRUE(this->seen.has("Part 5 starts at point 10 of 9"));
}

}  // namespace
}  // namespace terrain
