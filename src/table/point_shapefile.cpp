// Point shapefiles, read and written.

#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "table/point_vectors.h"
#include "table/shapefile.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPointShapefile in DataTableModule";
constexpr std::string_view kWriteTag = "WritePointShapefile in DataTableModule";
constexpr std::uint64_t kBoxBytes = 32;
constexpr std::uint64_t kPairBytes = 16;
constexpr std::uint64_t kContentBytes = 20;  // of a point record

struct PointsRead {
  std::vector<PointType> points{};
  std::vector<int64_t> rows{};  ///< the table record of each point
  int64_t dropped = 0;          ///< null shapes, and points that are no finite numbers
  int64_t outside = 0;          ///< points outside the header's box, which are kept
  Box box{};                    ///< of the header, widened by those
};

/// The number of points in one record, which is reported if they are not all there.
int countPairs(const ShapefileReader& file, ShapeRecord& record, uint64_t& pairs) {
  pairs = 1;
  ByteReader& in = record.content;
  if (file.type() != Shape::multiPoint)
    return in.holds(1, kPairBytes) ? kSuccess
                                   : file.fault("The content is too short for a point", record.number);
  in.skip(kBoxBytes);
  const auto count = in.little<int32_t>();
  if (!in.ok() || count < 0 || in.remaining() != static_cast<std::uint64_t>(count) * kPairBytes)
    return file.fault("The content length does not fit " + freeText(count) + " points", record.number);
  pairs = static_cast<std::uint64_t>(count);
  return kSuccess;
}

/// Appends the points of one record. They are compared with the header's box in the file's units, before the
/// conversion.
void appendPoints(const ShapefileReader& file, ShapeRecord& record, uint64_t pairs, double factor,
                  PointsRead& read) {
  for (; pairs > 0; --pairs) {
    const auto x = record.content.little<double>();
    const auto y = record.content.little<double>();
    if (!std::isfinite(x) || !std::isfinite(y)) {
      ++read.dropped;
      continue;
    }
    if (!file.box().contains(x, y)) ++read.outside;
    read.box.add(x, y);
    PointType& point = read.points.emplace_back();
    point.x = x * factor;
    point.y = y * factor;
    read.rows.push_back(record.row);
  }
}

int readPoints(ShapefileReader& file, int64_t records, double factor, PointsRead& read) {
  // A record is at least 12 bytes of a file in memory, so this follows the file's size.
  bool room = memoryFor(static_cast<std::uint64_t>(records) * (sizeof(PointType) + sizeof(int64_t))) &&
              tryReserve(read.points, static_cast<std::size_t>(records)) &&
              tryReserve(read.rows, static_cast<std::size_t>(records));
  ShapeRecord record;
  for (int64_t number = 1; room && number <= records; ++number) {
    if (file.next(record) != kSuccess) return kFailure;
    if (record.type == Shape::null) {
      ++read.dropped;
      continue;
    }
    uint64_t pairs = 0;
    if (countPairs(file, record, pairs) != kSuccess) return kFailure;
    room = tryGrow(read.points, static_cast<std::size_t>(pairs)) &&
           tryGrow(read.rows, static_cast<std::size_t>(pairs));
    if (room) appendPoints(file, record, pairs, factor, read);
  }
  return room ? kSuccess : file.noMemory("self%point object array");
}

bool isPointType(Shape type) {
  return type == Shape::point || type == Shape::multiPoint || type == Shape::pointZ || type == Shape::pointM;
}

/// Reports more points than the format can hold.
int checkLimits(int64_t n) {
  constexpr int64_t kMostRecords = 2147483647;
  constexpr int64_t kLimit = 2147483548;
  if (n > kMostRecords) {
    fail(kWriteTag, "Too many points for shapefile");
    putConsoleLine("Number of records: " + freeText(n));
    putConsoleLine("Maximum feasible:  " + freeText(kMostRecords));
    return kFailure;
  }
  const int64_t bytes = static_cast<int64_t>(kShapeRecordHeaderBytes + kContentBytes) * n;
  if (bytes >= kLimit) {
    fail(kWriteTag, "shpFileSize exceeds 4-byte integer limit");
    putConsoleLine("shpFileSize: " + freeText(bytes));
    putConsoleLine("limit      ::" + freeText(kLimit));
    return kFailure;
  }
  return kSuccess;
}

int checkType(const ShapefileReader& file) {
  if (isPointType(file.type())) return kSuccess;
  return file.fault("unknown shapefile type" + rightJustified(freeText(file.typeCode()), 2));
}

/// The header's box, widened by the points outside it, as the table's extents.
void setExtents(PointVectorType& table, const Box& header, const PointsRead& read, double factor) {
  Box box = header;
  if (read.outside > 0) box.add(read.box);
  table.xmin = box.x.low * factor;
  table.ymin = box.y.low * factor;
  table.xmax = box.x.high * factor;
  table.ymax = box.y.high * factor;
}

/// Memory stays in proportion to the files: one row of a small file may be that of many points.
int checkRows(const PointVectorType& table, const ShapefileReader& file, const PointsRead& read) {
  constexpr std::uint64_t kMostTimes = 20;
  constexpr std::uint64_t kAlways = std::uint64_t{64} << 20U;
  std::uint64_t rowBytes = 0;
  for (const auto& field : table.field)
    visitColumn(*field, [&](const auto& column) {
      using Value = std::decay_t<decltype(column[0])>;
      rowBytes += std::is_arithmetic_v<Value> ? sizeof(Value) : sizeof(std::uint64_t);
    });
  const std::uint64_t files =
      file.size() + static_cast<std::uint64_t>(std::max<int64_t>(table.dbfPosition, 0));
  if (rowBytes * read.points.size() <= kMostTimes * files + kAlways) return kSuccess;
  return file.fault(freeText(std::ssize(read.points)) + " points with " + freeText(table.nfields) +
                    " fields each are too many for a file of " + freeText(table.numRecords) + " records");
}

/// Stores the points read, with their rows.
int storePoints(PointVectorType& table, const ShapefileReader& file, PointsRead& read) {
  const bool oneEach = file.type() != Shape::multiPoint && read.dropped == 0;
  if (!oneEach && checkRows(table, file, read) != kSuccess) return kFailure;
  if (!oneEach && table.takeRecords(read.rows) != kSuccess)
    return file.fault("The table rows cannot be matched to the points");
  if (read.dropped > 0)
    putMessage("  Points dropped (null shapes, or no finite numbers): " + freeText(read.dropped));
  if (read.outside > 0)
    putMessage("  Points outside the extents that the file gives, which are kept: " + freeText(read.outside));
  table.numRecords = std::ssize(read.points);
  table.point = std::move(read.points);
  return kSuccess;
}

}  // namespace

int ReadPointShapefile(PointVectorType& table, std::string_view path, const PointReadOptions& options) {
  table.clear();
  table.units = options.units.value_or(options.grid != nullptr ? options.grid->units : 'm');
  table.feetConverted = table.units == 'f';
  Attempt attempt{table.status};
  const double factor = table.feetConverted ? kMetersPerFoot : 1.0;
  const auto readShapes = [&](ShapefileReader& file) {
    PointsRead read;
    if (readPoints(file, table.numRecords, factor, read) != kSuccess ||
        storePoints(table, file, read) != kSuccess)
      return kFailure;
    setExtents(table, file.box(), read, factor);
    table.gridReference = options.grid != nullptr;
    if (!table.gridReference) return kSuccess;
    for (PointType& point : table.point) {
      const ColRow cell = options.grid->XYtoColRow(point.x, point.y);
      point.col = cell.col;
      point.row = cell.row;
    }
    return kSuccess;
  };
  return attempt.end(
      readShapefile(table, table.prj, {.routine = kReadTag, .path = path}, checkType, readShapes));
}

int PointVectorType::WritePointShapefile(std::string_view path, const PointWriteOptions& options) {
  Attempt attempt{status};
  if (options.prjFile != nullptr) prj = options.prjFile->Copy();
  const auto isWritten = [&options](const PointType& each) { return !options.isFlag || each.flag; };
  const int64_t n = options.isFlag ? std::count_if(point.begin(), point.end(), isWritten) : numRecords;
  if (checkLimits(n) != kSuccess || checkShapeCount(kWriteTag, *this, point.size(), "points") != kSuccess)
    return kFailure;

  const auto count = static_cast<std::uint64_t>(n);
  ShapefileWriter out(Shape::point, kShapeHeaderBytes + (kShapeRecordHeaderBytes + kContentBytes) * count,
                      count);
  std::vector<int64_t> written;
  if (!out.ok() || !tryReserve(written, count))
    return cannotAllocate(kWriteTag, "shapefile component file shp");
  // Divided by the factor of reading, most coordinates come back to the last bit.
  const double divisor = feetConverted ? kMetersPerFoot : 1.0;
  Box box;
  for (int64_t irec = 1; irec <= numRecords; ++irec) {
    if (!isWritten(*shapeAt(irec))) continue;
    double x = 0;
    double y = 0;
    PointXY(irec, x, y, options.applyOffset);
    x /= divisor;
    y /= divisor;
    // A reader would drop such a point.
    if (!std::isfinite(x) || !std::isfinite(y))
      return fail(kWriteTag, "Record " + freeText(irec) + ": x or y is not a finite number");
    ByteWriter& record = out.beginRecord(kContentBytes);
    record.little(x);
    record.little(y);
    box.add(x, y);
    written.push_back(irec);
  }
  out.setRanges(box);
  const DbfWriteOptions rows{
      .shpOnly = true, .recIndex = written, .allFields = options.allFields, .date = options.date};
  return attempt.end(saveShapefile(kWriteTag, path, out, *this, rows, prj));
}

}  // namespace terrain
