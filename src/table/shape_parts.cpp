#include "table/shape_parts.h"

#include <cmath>

#include "foundation/free_format.h"
#include "foundation/memory.h"

namespace terrain {

namespace {

constexpr std::uint64_t kBoxBytes = 32;
constexpr std::uint64_t kFixedBytes = 44;  // of the content, up to the part starts
constexpr std::uint64_t kRangeBytes = 16;
constexpr std::uint64_t kReal8 = sizeof(double);

bool hasZ(Shape type) { return type == Shape::polylineZ || type == Shape::polygonZ; }
bool isPolygon(Shape type) {
  return type == Shape::polygon || type == Shape::polygonZ || type == Shape::polygonM;
}
/// How many blocks of a range and a number a point may follow what the type requires: measures and, in type M
/// by some writers, elevations before them.
std::uint64_t mostFurtherBlocks(Shape type) {
  if (hasZ(type)) return 1;
  return type == Shape::polylineM || type == Shape::polygonM ? 2 : 0;
}

std::string notFinite(std::string_view what, std::size_t vertex) {
  return std::string(what) + " of vertex " + freeText(static_cast<int64_t>(vertex) + 1) +
         " is not a finite number";
}

std::string startFault(std::span<const int32_t> starts, std::size_t vertices, bool emptyParts) {
  if (starts.empty()) return "There are vertices but no parts";
  const auto n = static_cast<int64_t>(vertices);
  int64_t before = 0;
  for (std::size_t part = 0; part < starts.size(); ++part) {
    const int64_t start = starts[part];
    const bool rises = part == 0 ? start == 0 : start > before || (emptyParts && start == before);
    if (!rises || start > n || (start == n && !emptyParts))
      return "Part " + freeText(static_cast<int64_t>(part) + 1) + " starts at point " + freeText(start) +
             " of " + freeText(n);
    before = start;
  }
  return {};
}

void dropEmptyParts(std::vector<int32_t>& starts, std::size_t vertices) {
  std::size_t kept = 0;
  for (std::size_t part = 0; part < starts.size(); ++part) {
    const auto end = part + 1 < starts.size() ? starts[part + 1] : static_cast<int32_t>(vertices);
    if (starts[part] < end) starts[kept++] = starts[part];
  }
  starts.resize(kept);
}

std::string faultOfNumbers(std::span<const double> values, std::string_view what) {
  for (std::size_t i = 0; i < values.size(); ++i)
    if (!std::isfinite(values[i])) return notFinite(what, i);
  return {};
}

/// Skips a range and reads `count` values. False if there is no memory.
bool readMeasured(ByteReader& in, std::size_t count, std::vector<double>& values) {
  in.skip(kRangeBytes);
  return tryResize(values, count) && in.little(std::span(values));
}

void writeMeasured(ByteWriter& out, const Range& range, std::span<const double> values) {
  out.little(range.low);
  out.little(range.high);
  for (const double value : values) out.little(value);
}

}  // namespace

bool readParts(ShapeRecord& record, ShapeParts& parts, std::string& why) {
  ByteReader& in = record.content;
  for (auto* values : {&parts.x, &parts.y, &parts.z, &parts.m}) values->clear();
  parts.starts.clear();
  in.skip(kBoxBytes);
  const auto partCount = in.little<int32_t>();
  const auto pointCount = in.little<int32_t>();
  why = "The content is too short";
  if (!in.ok()) return false;
  const auto numbers = freeText(partCount) + " parts and " + freeText(pointCount) + " points";
  why = "The record says " + numbers;
  if (partCount < 0 || pointCount < 0) return false;
  const auto p = static_cast<std::size_t>(partCount);
  const auto n = static_cast<std::size_t>(pointCount);
  const std::uint64_t measured = kRangeBytes + kReal8 * n;
  const std::uint64_t needed = sizeof(int32_t) * p + 2 * kReal8 * n + (hasZ(record.type) ? measured : 0);
  why = "The content is too short for " + numbers;
  if (!in.holds(needed)) return false;
  // Counts that are too small would leave unread bytes, so the length must fit them.
  const std::uint64_t further = (in.remaining() - needed) / measured;
  why = "The content length does not fit " + numbers;
  if ((in.remaining() - needed) % measured != 0 || further > mostFurtherBlocks(record.type)) return false;
  why.clear();
  if (n == 0) return true;

  // Both counts are held by bytes that are there, so the memory follows the file.
  const std::uint64_t room = sizeof(int32_t) * p + 4 * kReal8 * n;
  if (!memoryFor(room) || !tryResize(parts.starts, p) || !tryResize(parts.x, n) || !tryResize(parts.y, n))
    return false;
  in.little(std::span(parts.starts));
  for (std::size_t i = 0; i < n; ++i) {
    parts.x[i] = in.little<double>();
    parts.y[i] = in.little<double>();
  }
  if (hasZ(record.type) && !readMeasured(in, n, parts.z)) return false;
  if (further == 2) in.skip(measured);
  if (further > 0 && isPolygon(record.type) && !readMeasured(in, n, parts.m)) return false;
  for (double& m : parts.m)
    if (!std::isfinite(m)) m = kNoMeasure;
  why = startFault(parts.starts, n, true);
  if (why.empty()) why = faultOfNumbers(parts.x, "x");
  if (why.empty()) why = faultOfNumbers(parts.y, "y");
  if (why.empty()) why = faultOfNumbers(parts.z, "z");
  if (why.empty()) dropEmptyParts(parts.starts, n);
  return why.empty();
}

std::string faultOfStarts(std::span<const int32_t> starts, std::size_t vertices) {
  return startFault(starts, vertices, false);
}

uint64_t shapefileBytes(uint64_t records, uint64_t parts, uint64_t vertices, bool z, bool m) {
  const uint64_t measured = (z ? 1U : 0U) + (m ? 1U : 0U);
  return kShapeHeaderBytes + (kShapeRecordHeaderBytes + kFixedBytes + measured * kRangeBytes) * records +
         sizeof(int32_t) * parts + (2 + measured) * kReal8 * vertices;
}

std::string faultOf(const ShapeContent& content) {
  const std::size_t n = content.x.size();
  const auto fits = [n](std::span<const double> values) { return values.empty() || values.size() == n; };
  if (content.y.size() != n || !fits(content.z) || !fits(content.m))
    return "The vertex arrays differ in size";
  std::string why = faultOfStarts(content.starts, n);
  if (why.empty()) why = faultOfNumbers(content.x, "x");
  if (why.empty()) why = faultOfNumbers(content.y, "y");
  if (why.empty()) why = faultOfNumbers(content.z, "z");
  if (why.empty()) why = faultOfNumbers(content.m, "m");
  return why;
}

void writeParts(ShapefileWriter& out, const ShapeContent& content, ShapeRanges& ranges) {
  const std::size_t n = content.x.size();
  Box box;
  box.x.add(content.x);
  box.y.add(content.y);
  ranges.box.add(box);
  // A file of one record less its header and the record's.
  ByteWriter& record =
      out.beginRecord(shapefileBytes(1, content.starts.size(), n, !content.z.empty(), !content.m.empty()) -
                      kShapeHeaderBytes - kShapeRecordHeaderBytes);
  for (const double side : {box.x.low, box.y.low, box.x.high, box.y.high}) record.little(side);
  record.little(static_cast<int32_t>(content.starts.size()));
  record.little(static_cast<int32_t>(n));
  for (const int32_t start : content.starts) record.little(start);
  for (std::size_t i = 0; i < n; ++i) {
    record.little(content.x[i]);
    record.little(content.y[i]);
  }
  if (!content.z.empty()) {
    Range z;
    z.add(content.z);
    ranges.z.add(z);
    writeMeasured(record, z, content.z);
  }
  if (!content.m.empty()) {
    Range m;
    for (const double value : content.m)
      if (value >= kNoMeasureBelow) m.add(value);
    ranges.m.add(m);
    writeMeasured(record, m.empty() ? Range{kNoMeasure, kNoMeasure} : m, content.m);
  }
}

}  // namespace terrain
