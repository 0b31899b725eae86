// Shapefiles that are cut or have wrong headers, counts and values: each is refused with a report that names
// the file, or is read right; nothing is read beyond its bytes.

#include <cmath>
#include <limits>

#include "shape_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

std::string shapeOf(Shape type, double at) {
  if (isPoint(type) && type != Shape::multiPoint) return pointContent(type, at, at);
  Outline outline{.starts = {0, 4}, .x = {at, at, at + 1, at, 5, 6, 7, 5}, .y = {0, 1, 1, 0, 5, 6, 6, 5}};
  const Outline copy = outline;
  if (type == Shape::polylineZ || type == Shape::polygonZ) outline.z = copy.x;
  if (type == Shape::polylineM || type == Shape::polygonM || type == Shape::polygonZ) outline.m = copy.y;
  return content(type, outline);
}

class Damage : public ::testing::TestWithParam<Shape> {
 protected:
  int read(const std::string& main) { return read(main, table); }
  int read(const std::string& main, const std::string& dbf) {
    seen.clear();
    if (main != lastMain) writeBytes(stem + ".shp", lastMain = main);
    if (dbf != lastTable) writeBytes(stem + ".dbf", lastTable = dbf);
    return withTableOf(type, [this](auto& any) { return readShapes(any, stem); });
  }
  /// The good file with a number replaced.
  template <class T>
  [[nodiscard]] std::string withLittle(std::size_t at, T value) const {
    std::string changed = good;
    return changed.replace(at, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
  }
  [[nodiscard]] std::string withBig(std::size_t at, int32_t value) const {
    return withLittle(at, static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(value))));
  }
  void refuses(const std::string& main, std::string_view message) {
    EXPECT_EQ(read(main), -1);
    EXPECT_TRUE(seen.has("in.shp") && seen.has(message)) << seen.text();
  }
  const Shape type = GetParam();
  const std::string good = mainFile(type, {shapeOf(type, 1), nullContent(), shapeOf(type, 2)});
  const std::string table = idTable(3);
  ScratchDir scratch;
  std::string stem = scratch.path("in");
  std::string lastMain{"none"};
  std::string lastTable{"none"};
  ConsoleCapture seen;
};

TEST_P(Damage, FilesCutAtAnyLengthAreRefused) {
  ASSERT_EQ(read(good), 0) << seen.text();
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(read(good.substr(0, length)), -1) << length;
    // The same with a header that declares the new length: at best there are fewer records than rows.
    if (length < 100) continue;
    EXPECT_EQ(read(withBig(24, static_cast<int32_t>(length / 2)).substr(0, length)), -1) << length;
    EXPECT_TRUE(seen.has("in.shp")) << seen.text();
  }
  for (const std::size_t records : {2U, 4U}) EXPECT_EQ(read(good, idTable(records)), -1);
  for (std::size_t length = 0; length < table.size() - 1; ++length) {
    seen.clear();
    EXPECT_EQ(read(good, table.substr(0, length)), -1) << length;
    EXPECT_TRUE(seen.has("NewDataTable failed for") || seen.has("records, its table has")) << seen.text();
  }
}

TEST_P(Damage, WrongHeadersAreRefused) {
  refuses(withBig(0, 9995), "file code");
  for (const int32_t words :
       {0, -1, 49, 50, static_cast<int32_t>(good.size() / 2) - 1, static_cast<int32_t>(good.size() / 2) + 1,
        std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
    refuses(withBig(24, words), "");
  }
  for (const int32_t code : {0, 2, 31, 18, 99, -1}) {
    refuses(withLittle(32, code), isPoint(type)  ? "unknown shapefile type"
                                  : isLine(type) ? "  Unknown shapefile type: "
                                                 : "Unknown shapefile type ");
  }
  // A box without an inside drops points, never lines or polygons.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(read(withLittle(36, nan)), 0) << seen.text();
  EXPECT_EQ(seen.has("dropped"), isPoint(type));
}

TEST_P(Damage, BytesAfterTheDeclaredLengthAreIgnored) {
  const bool isPolygon = !isPoint(type) && !isLine(type);  // whose length must be the declared one
  EXPECT_EQ(read(good + std::string(64, '\0')), isPolygon ? -1 : 0);
  EXPECT_EQ(seen.has("File size discrepency"), isPolygon);
}

TEST_P(Damage, WrongRecordHeadersAreRefused) {
  for (const int32_t number : {0, 2, 3, -1, 65536, std::numeric_limits<int32_t>::min()}) {
    refuses(withBig(100, number), "Record number mismatch: thisRecNum = ");
    EXPECT_TRUE(seen.has("Error reading shapefile records"));
    EXPECT_TRUE(seen.has(", recNum =        1")) << seen.text();
  }
  for (const int32_t words : {0, 1, -1, -2, 3, 11, 100000, std::numeric_limits<int32_t>::max(),
                              std::numeric_limits<int32_t>::min()}) {
    refuses(withBig(104, words), "");
  }
  for (const int32_t code : {-1, 7, type == Shape::point ? 3 : 1}) {
    refuses(withLittle(108, code), "Record 1: Shape type");
  }
  EXPECT_EQ(read(withLittle(108, int32_t{0})), 0) << "a null shape may be longer than it needs";
}

TEST_P(Damage, WrongCountsAndStartsAreRefused) {
  if (isPoint(type) && type != Shape::multiPoint) return;
  const std::size_t content = 108;
  const int32_t large = std::numeric_limits<int32_t>::max();
  const int32_t small = std::numeric_limits<int32_t>::min();
  for (const int32_t count : {-1, 7, 9, 10, 1000, large, small}) {
    refuses(withLittle(content + 36, count), "Record 1: ");
    if (type != Shape::multiPoint) refuses(withLittle(content + 40, count), "Record 1: ");
  }
  if (type == Shape::multiPoint) return;
  refuses(withLittle(content + 36, int32_t{0}), "Record 1: ");
  for (const int32_t start : {-1, 1, 8, large, small}) {
    refuses(withLittle(content + 44, start), "Record 1: Part");
  }
  for (const int32_t start : {-1, 9, large, small}) {
    refuses(withLittle(content + 48, start), "Record 1: Part 2");
  }
}

TEST_P(Damage, CoordinatesThatAreNoNumbersAreDroppedOrRefused) {
  const bool single = isPoint(type) && type != Shape::multiPoint;
  const std::size_t first = 108 + (single ? 4 : type == Shape::multiPoint ? 40 : 52);
  for (const double value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
        -std::numeric_limits<double>::infinity()}) {
    for (const std::size_t at : {first, first + 8}) {
      if (isPoint(type)) {
        EXPECT_EQ(read(withLittle(at, value)), 0) << seen.text();
        EXPECT_TRUE(seen.has("dropped"));
      } else {
        refuses(withLittle(at, value), at == first ? "Record 1: x of vertex 1 " : "Record 1: y of vertex 1 ");
      }
    }
    if (type == Shape::polylineZ || type == Shape::polygonZ)
      refuses(withLittle(first + 16 * 8 + 16 + 8 * 7, value), "Record 1: z of vertex 8 ");
  }
}

TEST_P(Damage, EveryByteChangedIsReadOrRefused) {
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const char value : {'\x00', '\xFF'}) {
      std::string changed = good;
      changed[at] = value;
      if (read(changed) != 0) {
        EXPECT_TRUE(seen.has("in.shp")) << at << ' ' << seen.text();
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, Damage,
                         ::testing::Values(Shape::point, Shape::pointZ, Shape::pointM, Shape::multiPoint,
                                           Shape::polyline, Shape::polylineZ, Shape::polylineM,
                                           Shape::polygon, Shape::polygonZ, Shape::polygonM),
                         [](const auto& type) {
                           return "Type" + std::to_string(static_cast<int>(type.param));
                         });

}  // namespace
}  // namespace terrain
