// Polygon shapefiles, read and written.

#include <algorithm>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "table/outline_files.h"
#include "table/polygon_vectors.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPolygonShapefile in DataTableModule";
constexpr std::string_view kVertexArrays = "polygon%x,y";
constexpr std::string_view kWriteTag = "WritePolygonShapefile in DataTableModule";
constexpr std::string_view kWriteZTag = "WritePolygonZShapefile in DataTableModule";

// ---- reading ----

/// Stores the content of a record. The name of the array for which there is no memory; blank if all have.
std::string_view store(PolygonType& polygon, ShapeParts& parts, const PolygonReadOptions& options,
                       double factor) {
  for (double& x : parts.x) x = roundedTo(x * factor + options.xOffset, options.xyDecimals);
  for (double& y : parts.y) y = roundedTo(y * factor + options.yOffset, options.xyDecimals);
  for (double& z : parts.z) z = roundedTo(z, options.zDecimals);
  if (!tryCopy<int32_t>(polygon.ring, parts.starts)) return "polygon%ring";
  if (!tryCopy<double>(polygon.x, parts.x) || !tryCopy<double>(polygon.y, parts.y)) return kVertexArrays;
  if (!tryCopy<double>(polygon.z, parts.z) || !tryCopy<double>(polygon.m, parts.m)) return "polygon%z,m";
  polygon.updateBox();
  return {};
}

int checkHeader(const ShapefileReader& file) {
  if (file.type() != Shape::polygon && file.type() != Shape::polygonZ && file.type() != Shape::polygonM)
    return file.fault("Unknown shapefile type " + freeText(file.typeCode()));
  return file.lengthIsRight() ? kSuccess : file.fault("File size discrepency");
}

/// The extents of the grid or, without one, of the file; shifted.
void setExtents(PolyVectorType& table, const PolygonReadOptions& options, const Box& box, double factor) {
  if (options.grid == nullptr) {  // asked of the grid itself: a grid of one column has no width either
    table.xmin = box.x.low * factor;
    table.xmax = box.x.high * factor;
    table.ymin = box.y.low * factor;
    table.ymax = box.y.high * factor;
  }
  table.xmin += options.xOffset;
  table.xmax += options.xOffset;
  table.ymin += options.yOffset;
  table.ymax += options.yOffset;
}

int readPolygons(PolyVectorType& table, ShapefileReader& file, const PolygonReadOptions& options,
                 double factor) {
  std::vector<PolygonType> polygons;
  if (!tryAllocate(polygons, static_cast<std::size_t>(table.numRecords))) return file.noMemory("polygon");
  const auto storeRecord = [&](std::size_t place, ShapeParts& parts) {
    return parts.x.empty() ? std::string_view() : store(polygons[place], parts, options, factor);
  };
  if (readOutlines(file, table.numRecords, kVertexArrays, storeRecord) != kSuccess) return kFailure;
  table.polygon = std::move(polygons);
  return kSuccess;
}

// ---- writing ----

RecordSize sizeOf(const PolygonType& polygon) {
  if (polygon.ring.empty()) return {};
  return {.parts = polygon.ring.size(), .vertices = polygon.x.size()};
}

/// The arrays of one polygon as they go to the file; false if there is no memory.
bool makeImage(const PolygonType& polygon, const OutlineFileOptions& form, bool feet, OutlineImage& image) {
  const double factor = feet ? kFeetPerMeter : 1.0;
  const std::size_t n = polygon.x.size();
  image.content = {.starts = polygon.ring};
  ShapeContent& content = image.content;
  return scaleValues(polygon.x, factor, 0, false, image.x, content.x) &&
         scaleValues(polygon.y, factor, 0, false, image.y, content.y) &&
         (!form.z || fillValues(polygon.z, kMissing, n, image.z, content.z)) &&
         (!form.m || fillValues(polygon.m, kNoMeasure, n, image.m, content.m));
}

}  // namespace

int ReadPolygonShapefile(PolyVectorType& table, std::string_view path, const PolygonReadOptions& options) {
  table.clear();
  table.geometry() = options.grid != nullptr ? options.grid->geometry() : GridGeometry{};
  table.units = options.grid != nullptr ? options.grid->units : 'm';
  table.feetConverted = table.units == 'f';
  Attempt attempt{table.status};
  if (table.feetConverted) putConsoleLine("  Shapefile is converted to meters internally");
  const double factor = table.feetConverted ? kMetersPerFoot : 1.0;
  const auto readShapes = [&](ShapefileReader& file) {
    setExtents(table, options, file.box(), factor);
    return readPolygons(table, file, options, factor);
  };
  ShapefileSource source{.routine = kReadTag, .path = path, .idFieldNotFound = "ID field name not found: "};
  if (options.IDfieldName && !isBlank(*options.IDfieldName)) source.idField = stripped(*options.IDfieldName);
  return attempt.end(readShapefile(table, table.prj, source, checkHeader, readShapes));
}

int PolyVectorType::write(std::string_view routine, std::string_view path, const PolygonWriteOptions& options,
                          bool zForm) {
  Attempt attempt{status};
  if (checkShapeCount(routine, *this, polygon.size(), "polygons") != kSuccess) return kFailure;
  WrittenRecords chosen;
  if (chooseWrittenRecords(
          *this,
          {.isFlag = options.isFlag,
           .byID = true,
           .routine = routine,
           .idArrays = "ID, recIndex0",
           .orderArray = "recOrder"},
          [this](int64_t irec) { return sizeOf(*shapeAt(irec)); }, chosen) != kSuccess)
    return kFailure;
  const bool measures = std::any_of(chosen.records.begin(), chosen.records.end(),
                                    [this](int64_t irec) { return !shapeAt(irec)->m.empty(); });
  const OutlineFileOptions form{.routine = routine,
                                .type = zForm ? Shape::polygonZ : Shape::polygon,
                                .z = zForm,
                                .m = zForm && measures};
  // Without `shpOnly`: polygon tables keep every column with `outFlag`, whatever its `shpFlag`.
  const DbfWriteOptions rows{.nodataOut = options.nodataOut,
                             .recIndex = chosen.records,
                             .allFields = zForm && options.allFields,
                             .date = options.date};
  return attempt.end(writeOutlines(
      *this, path, form, chosen,
      [&](int64_t irec, OutlineImage& image) {
        return makeImage(*shapeAt(irec), form, feetConverted, image);
      },
      rows, prj));
}

int PolyVectorType::WritePolygonShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteTag, path, options, false);
}

int PolyVectorType::WritePolygonZShapefile(std::string_view path, const PolygonWriteOptions& options) {
  return write(kWriteZTag, path, options, true);
}

}  // namespace terrain
