// Point shapefiles, read and written.

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

/// What the walk over the records gathers.
struct PointsRead {
  std::vector<PointType> points{};
  std::vector<int64_t> rows{};  ///< the table record of each point
  int64_t dropped = 0;          ///< points outside the header's box, and null shapes
};

/// The pairs of one record; false, reported, where they are not all there.
bool pairsOf(const ShapefileReader& file, ShapeRecord& record, uint64_t& pairs) {
  pairs = 1;
  ByteReader& in = record.content;
  if (file.type() == Shape::multiPoint) {
    in.skip(kBoxBytes);
    const auto count = in.little<int32_t>();
    if (!in.ok() || count < 0 || in.remaining() != static_cast<std::uint64_t>(count) * kPairBytes) {
      file.fault("The content length does not fit " + freeText(count) + " points", record.number);
      return false;
    }
    pairs = static_cast<std::uint64_t>(count);
  } else if (!in.holds(1, kPairBytes)) {
    file.fault("The content is too short for a point", record.number);
    return false;
  }
  return true;
}

/// Gathers the points within the header's box, in the file's units, converted behind the comparison.
int readPoints(ShapefileReader& file, int64_t records, double factor, PointsRead& read) {
  const auto noMemory = [] { return cannotAllocate(kReadTag, "self%point object array"); };
  // A record is at least 12 bytes of a file in memory, so that this follows the file's size.
  if (!memoryFor(static_cast<std::uint64_t>(records) * (sizeof(PointType) + sizeof(int64_t))))
    return noMemory();
  try {
    read.points.reserve(static_cast<std::size_t>(records));
    read.rows.reserve(static_cast<std::size_t>(records));
    ShapeRecord record;
    for (int64_t number = 1; number <= records; ++number) {
      if (file.next(record) != kSuccess) return kFailure;
      if (record.type == Shape::null) {
        ++read.dropped;
        continue;
      }
      uint64_t pairs = 0;
      if (!pairsOf(file, record, pairs)) return kFailure;
      if (pairs > read.points.capacity() - read.points.size()) {
        const std::size_t room =
            std::max(read.points.size() + static_cast<std::size_t>(pairs), 2 * read.points.capacity());
        if (!memoryFor(room * (sizeof(PointType) + sizeof(int64_t)))) return noMemory();
        read.points.reserve(room);
        read.rows.reserve(room);
      }
      for (; pairs > 0; --pairs) {
        const auto x = record.content.little<double>();
        const auto y = record.content.little<double>();
        // A box with infinite sides must not let a point in that no operation can use.
        if (!file.box().contains(x, y) || !std::isfinite(x) || !std::isfinite(y)) {
          ++read.dropped;
          continue;
        }
        PointType& point = read.points.emplace_back();
        point.x = x * factor;
        point.y = y * factor;
        read.rows.push_back(number);
      }
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return noMemory();
  }
  return kSuccess;
}

bool isPointType(Shape type) {
  return type == Shape::point || type == Shape::multiPoint || type == Shape::pointZ || type == Shape::pointM;
}

/// The sizes that the format can hold.
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

}  // namespace

int ReadPointShapefile(PointVectorType& table, std::string_view path, const PointReadOptions& options) {
  table.DestroyTable();
  table.prj = InputFileType{};
  table.units = options.units.value_or(options.grid != nullptr ? options.grid->units : 'm');
  table.gridReference = false;
  table.xmin = table.xmax = table.ymin = table.ymax = 0;
  Attempt attempt{table.status};
  const double factor = table.units == 'f' ? kMetersPerFoot : 1.0;

  const std::string stem(trimmed(path));
  if (NewDataTable(table, {.filePath = stem + ".dbf"}) != kSuccess)
    return fail(kReadTag, "NewDataTable failed for " + stem);
  ShapefileReader file(kReadTag, stem);
  if (file.load() != kSuccess) return kFailure;
  if (!isPointType(file.type()))
    return file.fault("unknown shapefile type" + rightJustified(freeText(file.typeCode()), 2));
  table.xmin = file.box().x.low;
  table.ymin = file.box().y.low;
  table.xmax = file.box().x.high;
  table.ymax = file.box().y.high;
  if (file.checkRecords(table.numRecords) != kSuccess) return kFailure;

  PointsRead read;
  if (readPoints(file, table.numRecords, factor, read) != kSuccess) return kFailure;
  // Rows follow their points; where each record gave its one point they are right already.
  const bool rowsStand = file.type() != Shape::multiPoint && read.dropped == 0;
  if (!rowsStand && table.takeRecords(read.rows) != kSuccess)
    return file.fault("The table rows cannot be matched to the points");
  if (read.dropped > 0)
    putMessage("  Points dropped (null shapes, or outside the extents of the file): " +
               freeText(read.dropped));
  table.numRecords = static_cast<int64_t>(read.points.size());
  table.point = std::move(read.points);
  if (options.grid != nullptr) {
    for (PointType& point : table.point) {
      const ColRow cell = options.grid->XYtoColRow(point.x, point.y);
      point.col = cell.col;
      point.row = cell.row;
    }
    table.gridReference = true;
  }
  readProjection(stem, table.prj);
  return attempt.succeed();
}

int PointVectorType::WritePointShapefile(std::string_view path, const PointWriteOptions& options) {
  Attempt attempt{status};
  if (options.prjFile != nullptr) prj = options.prjFile->Copy();
  int64_t n = numRecords;
  if (options.isFlag) {
    n = 0;
    for (const PointType& each : point) n += each.flag ? 1 : 0;
  }
  if (checkLimits(n) != kSuccess) return kFailure;
  if (static_cast<int64_t>(point.size()) != numRecords)
    return fail(kWriteTag, "The table has " + freeText(numRecords) + " records, but " +
                               freeText(static_cast<int64_t>(point.size())) + " points");

  const auto count = static_cast<std::uint64_t>(n);
  ShapefileWriter out(Shape::point, kShapeHeaderBytes + (kShapeRecordHeaderBytes + kContentBytes) * count,
                      count);
  std::vector<int64_t> written;
  if (!out.ok() || !tryAllocate(written, count))
    return cannotAllocate(kWriteTag, "shapefile component file shp");
  Box box{.x = {kLargestReal8, 0.0}, .y = {kLargestReal8, 0.0}};
  std::size_t next = 0;
  for (int64_t irec = 1; irec <= numRecords; ++irec) {
    if (options.isFlag && !pointAt(irec)->flag) continue;
    double x = 0;
    double y = 0;
    PointXY(irec, x, y, options.applyOffset);
    // A point that no reader would take back is not written as if it were one.
    if (!std::isfinite(x) || !std::isfinite(y))
      return fail(kWriteTag, "Record " + freeText(irec) + ": x or y is not a finite number");
    ByteWriter& record = out.beginRecord(kContentBytes);
    record.little(x);
    record.little(y);
    box.add(x, y);
    written[next++] = irec;
  }
  out.setRanges(box);
  const DbfWriteOptions rows{
      .shpOnly = true, .recIndex = written, .allFields = options.allFields, .date = options.date};
  return saveShapefile(kWriteTag, path, out, *this, rows, prj) == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
