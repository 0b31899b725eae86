// Polygon shapefiles, read and written.

#include <algorithm>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "table/polygon_vectors.h"
#include "table/shape_parts.h"
#include "table/written_records.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPolygonShapefile in DataTableModule";
constexpr std::string_view kVertexArrays = "polygon%x,y";
constexpr std::string_view kWriteTag = "WritePolygonShapefile in DataTableModule";
constexpr std::string_view kWriteZTag = "WritePolygonZShapefile in DataTableModule";

// ---- reading ----

int readPolygons(ShapefileReader& file, const PolygonReadOptions& options, double factor,
                 std::vector<PolygonType>& polygons) {
  ShapeRecord record;
  ShapeParts parts;
  std::string why;
  try {
    for (PolygonType& polygon : polygons) {
      if (file.next(record) != kSuccess) return kFailure;
      if (record.type == Shape::null) continue;
      if (!readParts(record, parts, why))
        return why.empty() ? cannotAllocate(kReadTag, kVertexArrays) : file.fault(why, record.number);
      if (parts.x.empty()) continue;
      for (double& x : parts.x) x = roundedTo(x * factor + options.xOffset, options.xyDecimals);
      for (double& y : parts.y) y = roundedTo(y * factor + options.yOffset, options.xyDecimals);
      for (double& z : parts.z) z = roundedTo(z, options.zDecimals);
      if (!tryCopy<int32_t>(polygon.ring, parts.starts)) return cannotAllocate(kReadTag, "polygon%ring");
      if (!tryCopy<double>(polygon.x, parts.x) || !tryCopy<double>(polygon.y, parts.y))
        return cannotAllocate(kReadTag, kVertexArrays);
      if (!tryCopy<double>(polygon.z, parts.z) || !tryCopy<double>(polygon.m, parts.m))
        return cannotAllocate(kReadTag, "polygon%z,m");
      polygon.settleBox();
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(kReadTag, kVertexArrays);
  }
  return kSuccess;
}

// ---- writing ----

/// The records to write, by ID. `measures` tells whether any of them has measures.
int choosePolygons(PolyVectorType& table, std::string_view routine, bool isFlag, WrittenRecords& chosen,
                   bool& measures) {
  const auto sizeOf = [&table](int64_t irec) {
    const PolygonType& polygon = *table.polygonAt(irec);
    return polygon.ring.empty() ? RecordSize{}
                                : RecordSize{.parts = polygon.ring.size(), .vertices = polygon.x.size()};
  };
  if (chooseWrittenRecords(table,
                           {.isFlag = isFlag,
                            .byID = true,
                            .routine = routine,
                            .idArrays = "ID, recIndex0",
                            .orderArray = "recOrder"},
                           sizeOf, chosen) != kSuccess)
    return kFailure;
  measures = std::any_of(chosen.records.begin(), chosen.records.end(),
                         [&table](int64_t irec) { return !table.polygonAt(irec)->m.empty(); });
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
  table.clear();
  table.prj = InputFileType{};
  table.feetConverted = false;
  table.takeReference(options.grid != nullptr ? *options.grid : Grid_Header{});
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

  if (options.grid == nullptr) {  // a grid of one column has no width either, and keeps its extents
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
  WrittenRecords found;
  bool measures = false;
  if (choosePolygons(*this, routine, options.isFlag, found, measures) != kSuccess) return kFailure;
  measures = measures && zForm;
  const uint64_t bytes = shapefileBytes(found.records.size(), found.parts, found.vertices, zForm, measures);
  if (bytes > static_cast<uint64_t>(kLargestShapefile)) {
    fail(routine, "shpFileSize exceeds maximum size");
    putConsoleLine("shpFileSize: " + freeText(static_cast<int64_t>(bytes)));
    putConsoleLine("Max size   : " + freeText(kLargestShapefile));
    return kFailure;
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
  out.setRanges(ranges.box, ranges.z, ranges.m);
  // Polygon tables keep every column that is written at all: `shpFlag` is no filter here.
  const DbfWriteOptions rows{.nodataOut = options.nodataOut,
                             .recIndex = found.records,
                             .allFields = zForm && options.allFields,
                             .date = options.date};
  return saveShapefile(routine, path, out, *this, rows, prj) == kSuccess ? attempt.succeed() : kFailure;
}

int PolyVectorType::WritePolygonShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteTag, path, options, false);
}

int PolyVectorType::WritePolygonZShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteZTag, path, options, true);
}

}  // namespace terrain
