#pragma once
// Shapefiles made of a few numbers, for the tests of the vector tables.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/real_data.h"
#include "support/tools.h"
#include "table/line_vectors.h"
#include "table/point_vectors.h"
#include "table/polygon_vectors.h"
#include "table/shapefile.h"
#include "table_support.h"

namespace terrain::test {

inline std::string asText(const std::vector<std::byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Content of a point record, with as many further numbers as the type has.
inline std::string pointContent(Shape type, double x, double y) {
  std::vector<std::byte> bytes;
  ByteWriter out(bytes);
  out.little(static_cast<int32_t>(type));
  out.little(x);
  out.little(y);
  if (type == Shape::pointZ) out.little(7.5);
  if (type == Shape::pointZ || type == Shape::pointM) out.little(-2.5);
  return asText(bytes);
}

inline std::string nullContent() { return std::string(4, '\0'); }

/// Content of a MultiPoint, line or polygon record; the box and the ranges are all 0, as no reader needs
/// them.
struct Outline {
  std::vector<int32_t> starts{};
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> z{};
  std::vector<double> m{};
};
inline std::string content(Shape type, const Outline& outline) {
  std::vector<std::byte> bytes;
  ByteWriter out(bytes);
  out.little(static_cast<int32_t>(type));
  out.fill(std::byte{0}, 32);
  if (type != Shape::multiPoint) out.little(static_cast<int32_t>(outline.starts.size()));
  out.little(static_cast<int32_t>(outline.x.size()));
  if (type != Shape::multiPoint)
    for (const int32_t start : outline.starts) out.little(start);
  for (std::size_t i = 0; i < outline.x.size(); ++i) {
    out.little(outline.x[i]);
    out.little(outline.y[i]);
  }
  for (const auto* values : {&outline.z, &outline.m}) {
    if (values->empty()) continue;
    out.fill(std::byte{0}, 16);
    for (const double value : *values) out.little(value);
  }
  return asText(bytes);
}

inline constexpr Box kWideBox{.x = {-1e6, 1e6}, .y = {-1e6, 1e6}};

/// A main file of these records, numbered from 1.
inline std::string mainFile(Shape type, const std::vector<std::string>& contents, const Box& box = kWideBox) {
  std::vector<std::byte> bytes;
  ByteWriter out(bytes);
  out.big(int32_t{9994});
  out.fill(std::byte{0}, 24);
  out.little(int32_t{1000});
  out.little(static_cast<int32_t>(type));
  for (const double side : {box.x.low, box.y.low, box.x.high, box.y.high}) out.little(side);
  out.fill(std::byte{0}, 32);
  int32_t number = 0;
  for (const std::string& each : contents) {
    out.big(++number);
    out.big(static_cast<int32_t>(each.size() / 2));
    out.text(each);
  }
  out.patchBig(24, static_cast<int32_t>(bytes.size() / 2));
  return asText(bytes);
}

/// A table with the field ID, the values 10, 20, 30, ..., or those given.
inline std::string idTable(std::size_t records, const std::vector<int32_t>& ids = {}) {
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < records; ++i) {
    std::string text = std::to_string(ids.empty() ? static_cast<int32_t>(10 * (i + 1)) : ids[i]);
    text.resize(8, ' ');
    rows.push_back(" " + text);
  }
  return rawDbf({{"ID", 'N', 8}}, rows);
}

/// Writes both files under the stem and gives it back.
inline std::string putShapefile(const std::string& stem, const std::string& main, const std::string& table) {
  writeBytes(stem + ".shp", main);
  writeBytes(stem + ".dbf", table);
  return stem;
}

using Numbers = std::vector<double>;
using Starts = std::vector<int32_t>;

// The three tables under the same names, for tests over all shape types. `z` asks for the type with
// elevations.
inline int readShapes(PointVectorType& table, const std::string& stem) {
  return ReadPointShapefile(table, stem);
}
inline int readShapes(LineVectorType& table, const std::string& stem) {
  return ReadPolylineShapefile(table, stem);
}
inline int readShapes(PolyVectorType& table, const std::string& stem) {
  return ReadPolygonShapefile(table, stem);
}
inline int writeShapes(PointVectorType& table, const std::string& stem, bool /*z*/ = false) {
  return table.WritePointShapefile(stem);
}
inline int writeShapes(LineVectorType& table, const std::string& stem, bool z = false) {
  return table.WriteShapefile(stem, {.zForm = z});
}
inline int writeShapes(PolyVectorType& table, const std::string& stem, bool z = false) {
  return z ? table.WritePolygonZShapefile(stem) : table.WritePolygonShapefile(stem);
}

inline bool isPoint(Shape type) {
  return type == Shape::point || type == Shape::pointZ || type == Shape::pointM || type == Shape::multiPoint;
}
inline bool isLine(Shape type) {
  return type == Shape::polyline || type == Shape::polylineZ || type == Shape::polylineM;
}
/// Calls f with a table for the shape type.
template <class F>
auto withTableOf(Shape type, F&& f) {
  PointVectorType points;
  LineVectorType lines;
  PolyVectorType polygons;
  return isPoint(type) ? f(points) : isLine(type) ? f(lines) : f(polygons);
}

/// Tests that make files of lines or polygons from their outlines; one without vertices is a null shape.
class OutlineFiles : public ::testing::Test {
 protected:
  std::string put(Shape type, const std::vector<Outline>& outlines, const std::vector<int32_t>& ids = {},
                  const Box& box = kWideBox) {
    std::vector<std::string> contents;
    for (const Outline& outline : outlines)
      contents.push_back(outline.x.empty() ? nullContent() : content(type, outline));
    return putShapefile(scratch.path("in"), mainFile(type, contents, box), idTable(contents.size(), ids));
  }
  ScratchDir scratch;
  ConsoleCapture seen;
};

/// Consecutive float64 numbers of a file.
inline Numbers numbersAt(const std::string& path, uint64_t offset, std::size_t count) {
  const std::string bytes = readBytes(path);
  ByteReader in(std::as_bytes(std::span(bytes)));
  in.seek(offset);
  Numbers numbers(count);
  in.little(std::span(numbers));
  return numbers;
}

/// The values of field ID.
inline std::vector<int32_t> idsOf(DataTableType& table) {
  std::vector<int32_t> ids;
  EXPECT_EQ(table.ReadI4Field(ids, {.fieldName = "ID"}), 0);
  return ids;
}

}  // namespace terrain::test
