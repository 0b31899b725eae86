// Polygon shapefiles, read and written.

#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "table/polygon_vectors.h"
#include "table/shape_parts.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPolygonShapefile in DataTableModule";
constexpr std::string_view kWriteTag = "WritePolygonShapefile in DataTableModule";
constexpr std::string_view kWriteZTag = "WritePolygonZShapefile in DataTableModule";

int fail(std::string_view routine, std::string_view why) {
  return reportError({.routine = routine, .code = kOwnWords, .message1 = why});
}
// ---- reading ----

void takeReference(PolyVectorType& table, const Grid_Header& grid) {
  table.units = grid.units;
  table.xmin = grid.xmin;
  table.xmax = grid.xmax;
  table.ymin = grid.ymin;
  table.ymax = grid.ymax;
  table.cellsize = grid.cellsize;
  table.ncols = grid.cols();
  table.nrows = grid.rows();
}

int readPolygons(ShapefileReader& file, const PolygonReadOptions& options, double factor,
                 std::vector<PolygonType>& polygons) {
  ShapeRecord record;
  ShapeParts parts;
  std::string why;
  try {
    for (PolygonType& polygon : polygons) {
      if (file.next(record) != kSuccess) return kFailure;
      if (record.type == Shape::null) continue;
      if (!readParts(record, parts, why)) return file.fault(why, record.number);
      if (parts.x.empty()) continue;
      for (double& x : parts.x) x = roundedTo(x * factor + options.xOffset, options.xyDecimals);
      for (double& y : parts.y) y = roundedTo(y * factor + options.yOffset, options.xyDecimals);
      for (double& z : parts.z) z = roundedTo(z, options.zDecimals);
      polygon.ring = parts.starts;
      polygon.x = parts.x;
      polygon.y = parts.y;
      polygon.z = parts.z;
      polygon.m = parts.m;
      polygon.settleBox();
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(kReadTag, "polygon%x,y");
  }
  return kSuccess;
}

// ---- writing ----

/// What the first pass finds.
struct WritePlan {
  std::vector<int64_t> records{};  ///< in the order in which they are written
  uint64_t parts = 0;
  uint64_t vertices = 0;
  bool measures = false;  ///< some polygon has them
};

/// Settles which records are written, in which order, and sets their flags.
int plan(PolyVectorType& table, std::string_view routine, bool isFlag, WritePlan& found) {
  std::vector<int64_t> ids;
  const bool hasIDs = table.IDfield >= 1;
  try {
    for (int64_t irec = 1; irec <= table.numRecords; ++irec) {
      PolygonType& polygon = *table.polygonAt(irec);
      if (isFlag && !polygon.flag) continue;
      int64_t id = 0;
      polygon.flag = !polygon.ring.empty() && !polygon.x.empty() &&
                     (!hasIDs || (table.ReadI8Value(table.IDfield, irec, id) == kSuccess && id > 0));
      if (!polygon.flag) continue;
      found.parts += polygon.ring.size();
      found.vertices += polygon.x.size();
      found.measures = found.measures || !polygon.m.empty();
      found.records.push_back(irec);
      if (hasIDs) ids.push_back(id);
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(routine, "ID, recIndex0");
  }
  if (hasIDs && orderByID(found.records, ids) != kSuccess) return cannotAllocate(routine, "recOrder");
  return kSuccess;
}

/// The arrays of one polygon as they go to the file: copies only where something differs.
struct PolygonImage {
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> z{};
  std::vector<double> m{};
};

/// The values, or as many of `otherwise` where there are none.
std::span<const double> given(std::span<const double> values, double otherwise, std::size_t count,
                              std::vector<double>& room) {
  if (!values.empty()) return values;
  room.assign(count, otherwise);
  return room;
}

ShapeContent contentOf(const PolygonType& polygon, bool feet, bool zForm, bool measures,
                       PolygonImage& image) {
  ShapeContent content{.starts = polygon.ring, .x = polygon.x, .y = polygon.y};
  if (feet) {
    image.x = polygon.x;
    image.y = polygon.y;
    for (double& x : image.x) x *= kFeetPerMeter;
    for (double& y : image.y) y *= kFeetPerMeter;
    content.x = image.x;
    content.y = image.y;
  }
  if (zForm) {
    content.z = given(polygon.z, kMissing, polygon.x.size(), image.z);
    if (measures) content.m = given(polygon.m, kNoMeasure, polygon.x.size(), image.m);
  }
  return content;
}

}  // namespace

int ReadPolygonShapefile(PolyVectorType& table, std::string_view path, const PolygonReadOptions& options) {
  table.DestroyPolygons();
  table.clear();
  table.prj = InputFileType{};
  table.feetConverted = false;
  takeReference(table, options.grid != nullptr ? *options.grid : Grid_Header{});
  Attempt attempt{table.status};
  if (table.units == 'f') {
    putConsoleLine("  Shapefile is converted to meters internally");
    table.feetConverted = true;
  }
  const double factor = table.feetConverted ? kMetersPerFoot : 1.0;

  const std::string stem(trimmed(path));
  if (NewDataTable(table, {.filePath = stem + ".dbf"}) != kSuccess)
    return fail(kReadTag, "NewDataTable failed for " + stem);
  if (options.IDfieldName && !isBlank(*options.IDfieldName)) {
    const std::string name(stripped(*options.IDfieldName));
    const int32_t number = table.FieldNumber(name);
    if (number < 1) return fail(kReadTag, "ID field name not found: " + name);
    table.IDfield = number;
  }
  ShapefileReader file(kReadTag, stem);
  if (file.load() != kSuccess) return kFailure;
  if (file.type() != Shape::polygon && file.type() != Shape::polygonZ && file.type() != Shape::polygonM)
    return file.fault("Unknown shapefile type " + freeText(file.typeCode()));
  if (!file.lengthIsRight()) return file.fault("File size discrepency");
  if (file.checkRecords(table.numRecords) != kSuccess) return kFailure;

  if (options.grid == nullptr) {
    table.xmin = file.box().x.low * factor;
    table.xmax = file.box().x.high * factor;
    table.ymin = file.box().y.low * factor;
    table.ymax = file.box().y.high * factor;
  }
  table.xmin += options.xOffset;
  table.xmax += options.xOffset;
  table.ymin += options.yOffset;
  table.ymax += options.yOffset;

  std::vector<PolygonType> polygons;
  if (!tryAllocate(polygons, static_cast<std::size_t>(table.numRecords)))
    return cannotAllocate(kReadTag, "polygon");
  if (readPolygons(file, options, factor, polygons) != kSuccess) return kFailure;
  table.polygon = std::move(polygons);
  readProjection(stem, table.prj);
  return attempt.succeed();
}

int PolyVectorType::write(std::string_view routine, std::string_view path, const PolygonWriteOptions& options,
                          bool zForm) {
  Attempt attempt{status};
  if (static_cast<int64_t>(polygon.size()) != numRecords)
    return fail(routine, "The table has " + freeText(numRecords) + " records, but " +
                             freeText(static_cast<int64_t>(polygon.size())) + " polygons");
  WritePlan found;
  if (plan(*this, routine, options.isFlag, found) != kSuccess) return kFailure;
  const bool measures = zForm && found.measures;
  const uint64_t bytes = shapefileBytes(found.records.size(), found.parts, found.vertices, zForm, measures);
  if (bytes > static_cast<uint64_t>(kLargestShapefile)) {
    putConsoleLine("shpFileSize: " + freeText(static_cast<int64_t>(bytes)));
    putConsoleLine("Max size   : " + freeText(kLargestShapefile));
    return fail(routine, "shpFileSize exceeds maximum size");
  }
  ShapefileWriter out(zForm ? Shape::polygonZ : Shape::polygon, bytes, found.records.size());
  if (!out.ok()) return cannotAllocate(routine, "shapefile component files");

  ShapeRanges ranges{.box = {.x = {kLargestReal8, 0.0}, .y = {kLargestReal8, 0.0}}};
  PolygonImage image;
  try {
    for (const int64_t irec : found.records) {
      const ShapeContent content = contentOf(*polygonAt(irec), feetConverted, zForm, measures, image);
      if (const std::string why = faultOf(content); !why.empty())
        return fail(routine, "Record " + freeText(irec) + ": " + why);
      writeParts(out, content, ranges);
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(routine, "shapefile component files");
  }
  if (ranges.z.empty()) ranges.z = {0, 0};
  if (ranges.m.empty()) ranges.m = measures ? Range{kNoMeasure, kNoMeasure} : Range{0, 0};
  if (out.save(routine, path, ranges.box, ranges.z, ranges.m) != kSuccess) return kFailure;
  // Polygon tables keep every column that is written at all: `shpFlag` is no filter here.
  if (writeDBFfile(path, {.nodataOut = options.nodataOut,
                          .recIndex = found.records,
                          .allFields = zForm && options.allFields,
                          .date = options.date}) != kSuccess)
    return fail(routine, "writeDBFfile failed");
  if (writeProjection(routine, path, prj) != kSuccess) return kFailure;
  return attempt.succeed();
}

int PolyVectorType::WritePolygonShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteTag, path, options, false);
}

int PolyVectorType::WritePolygonZShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteZTag, path, options, true);
}

}  // namespace terrain
