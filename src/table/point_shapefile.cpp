// Point shapefiles, read and written.

#include <algorithm>
#include <cmath>
#include <string>

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
  int64_t dropped = 0;          ///< points outside the header's box, and null shapes
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

/// Appends the points of one record that lie within the header's box. The comparison is in the file's units,
/// before the conversion.
void appendPoints(const ShapefileReader& file, ShapeRecord& record, uint64_t pairs, double factor,
                  PointsRead& read) {
  for (; pairs > 0; --pairs) {
    const auto x = record.content.little<double>();
    const auto y = record.content.little<double>();
    // Infinite sides of a box would accept points that no operation can use.
    if (!file.box().contains(x, y) || !std::isfinite(x) || !std::isfinite(y)) {
      ++read.dropped;
      continue;
    }
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

/// The type of the file, and its box as the table's extents.
int readHeader(PointVectorType& table, const ShapefileReader& file) {
  if (!isPointType(file.type()))
    return file.fault("unknown shapefile type" + rightJustified(freeText(file.typeCode()), 2));
  table.xmin = file.box().x.low;
  table.ymin = file.box().y.low;
  table.xmax = file.box().x.high;
  table.ymax = file.box().y.high;
  return kSuccess;
}

/// Stores the points read, with their rows.
int storePoints(PointVectorType& table, const ShapefileReader& file, PointsRead& read) {
  const bool oneEach = file.type() != Shape::multiPoint && read.dropped == 0;
  if (!oneEach && table.takeRecords(read.rows) != kSuccess)
    return file.fault("The table rows cannot be matched to the points");
  if (read.dropped > 0)
    putMessage("  Points dropped (null shapes, or outside the extents of the file): " +
               freeText(read.dropped));
  table.numRecords = std::ssize(read.points);
  table.point = std::move(read.points);
  return kSuccess;
}

}  // namespace

int ReadPointShapefile(PointVectorType& table, std::string_view path, const PointReadOptions& options) {
  table.DestroyTable();
  table.prj = InputFileType{};
  table.units = options.units.value_or(options.grid != nullptr ? options.grid->units : 'm');
  table.gridReference = false;
  table.xmin = table.xmax = table.ymin = table.ymax = 0;
  Attempt attempt{table.status};
  const double factor = table.units == 'f' ? kMetersPerFoot : 1.0;
  const auto check = [&](ShapefileReader& file) { return readHeader(table, file); };
  const auto readShapes = [&](ShapefileReader& file) {
    PointsRead read;
    if (readPoints(file, table.numRecords, factor, read) != kSuccess ||
        storePoints(table, file, read) != kSuccess)
      return kFailure;
    table.gridReference = options.grid != nullptr;
    if (!table.gridReference) return kSuccess;
    for (PointType& point : table.point) {
      const ColRow cell = options.grid->XYtoColRow(point.x, point.y);
      point.col = cell.col;
      point.row = cell.row;
    }
    return kSuccess;
  };
  return attempt.end(readShapefile(table, table.prj, {.routine = kReadTag, .path = path}, check, readShapes));
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
  Box box = kHeaderBox;
  for (int64_t irec = 1; irec <= numRecords; ++irec) {
    if (!isWritten(*shapeAt(irec))) continue;
    double x = 0;
    double y = 0;
    PointXY(irec, x, y, options.applyOffset);
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
