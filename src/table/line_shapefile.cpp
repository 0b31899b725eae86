// Polyline shapefiles, read and written.

#include <algorithm>
#include <cmath>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "grid/grid.h"
#include "table/line_vectors.h"
#include "table/outline_files.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPolylineShapefile in DataTableModule";
constexpr std::string_view kVertexArrays = "Segment%x,y";
constexpr std::string_view kWriteTag = "WriteShapefile in DataTableModule";

// ---- reading ----

/// Decides which vertices are kept, and shifts and converts them.
class Clipper {
 public:
  Clipper(const LineReadOptions& options, bool feet)
      : options_(options),
        lattice_(options.mask != nullptr ? options.mask : options.grid),
        factor_(feet ? kMetersPerFoot : 1.0) {}

  [[nodiscard]] double x(double value) const { return (value + options_.xOffset) * factor_; }
  [[nodiscard]] double y(double value) const { return (value + options_.yOffset) * factor_; }
  /// A missing elevation stays missing.
  [[nodiscard]] double z(double value) const {
    return value == kMissing ? value : roundedTo(value * factor_, options_.zDecimals);
  }
  [[nodiscard]] bool hasLattice() const { return lattice_ != nullptr; }
  /// True if a vertex is kept; `cell` is its cell in the lattice.
  [[nodiscard]] bool keeps(double px, double py, ColRow& cell) const {
    if (lattice_ == nullptr) return true;
    cell = lattice_->XYtoColRow(px, py);
    if (!lattice_->contains(cell.col, cell.row)) return false;
    if (options_.mask == nullptr) return true;
    const float held = options_.mask->ExtractR4ValueColRow(cell.col, cell.row);
    return !std::isnan(held) && held != options_.mask->GetNodataR4();
  }

 private:
  const LineReadOptions& options_;
  const Grid_Header* lattice_;
  double factor_;
};

/// Drops vertices in place: those kept move to the front. A part starts, counted from 0, at the number
/// of vertices kept before it; a part that keeps none is dropped.
void clip(const Clipper& clipper, ShapeParts& parts, std::vector<ColRow>& cells) {
  const std::size_t n = parts.x.size();
  std::size_t kept = 0;
  std::size_t part = 0;
  std::size_t keptParts = 0;
  cells.clear();
  const auto closePart = [&parts, &keptParts](std::size_t end) {
    if (keptParts > 0 && static_cast<std::size_t>(parts.starts[keptParts - 1]) == end) --keptParts;
  };
  for (std::size_t i = 0; i < n; ++i) {
    if (part < parts.starts.size() && static_cast<std::size_t>(parts.starts[part]) == i) {
      closePart(kept);
      parts.starts[keptParts++] = static_cast<int32_t>(kept);
      ++part;
    }
    const double x = clipper.x(parts.x[i]);
    const double y = clipper.y(parts.y[i]);
    ColRow cell;
    if (!clipper.keeps(x, y, cell)) continue;
    parts.x[kept] = x;
    parts.y[kept] = y;
    if (!parts.z.empty()) parts.z[kept] = clipper.z(parts.z[i]);
    if (clipper.hasLattice()) cells.push_back(cell);
    ++kept;
  }
  closePart(kept);
  parts.starts.resize(keptParts);
  parts.x.resize(kept);
  parts.y.resize(kept);
  if (!parts.z.empty()) parts.z.resize(kept);
}

/// Stores what is left of a record. The name of the array for which there is no memory; blank if all have.
std::string_view store(SegmentType& line, ShapeParts& parts, std::span<const ColRow> cells,
                       int32_t xyDecimals) {
  for (double& x : parts.x) x = roundedTo(x, xyDecimals);
  for (double& y : parts.y) y = roundedTo(y, xyDecimals);
  if (!tryCopy<double>(line.x, parts.x) || !tryCopy<double>(line.y, parts.y)) return kVertexArrays;
  if (!tryCopy<int32_t>(line.parts, parts.starts)) return "Segment%parts";
  if (!tryCopy<double>(line.z, parts.z)) return "Segment%z";
  for (int32_t& start : line.parts) ++start;
  if (!tryResize(line.col, cells.size()) || !tryResize(line.row, cells.size())) return kVertexArrays;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line.col[i] = cells[i].col;
    line.row[i] = cells[i].row;
  }
  return {};
}

int readLines(ShapefileReader& file, const Clipper& clipper, int32_t xyDecimals, LineVectorType& table) {
  std::vector<SegmentType> lines;
  if (!tryAllocate(lines, static_cast<std::size_t>(table.numRecords))) return file.noMemory("segment");
  bool anyShape = false;
  std::vector<ColRow> cells;
  const auto storeRecord = [&](std::size_t place, ShapeParts& parts) -> std::string_view {
    anyShape = true;
    if (clipper.hasLattice() && !tryReserve(cells, parts.x.size())) return kVertexArrays;
    clip(clipper, parts, cells);
    return parts.x.size() < 2 ? std::string_view() : store(lines[place], parts, cells, xyDecimals);
  };
  if (readOutlines(file, table.numRecords, kVertexArrays, storeRecord) != kSuccess) return kFailure;
  if (!anyShape && table.numRecords > 0) return fail(kReadTag, "No records within specified extent");
  table.segment = std::move(lines);
  return kSuccess;
}

/// Takes geometry and units from the grid or, where there is one, the mask. The units of the grid decide
/// whether the file is in feet.
void setReference(LineVectorType& table, const LineReadOptions& options) {
  const Grid_Header none;
  const Grid_Header* const mask = options.mask;
  const Grid_Header& first = options.grid != nullptr ? *options.grid : mask != nullptr ? *mask : none;
  const Grid_Header& last = mask != nullptr ? *mask : first;
  table.feetConverted = first.units == 'f';
  if (table.feetConverted) putConsoleLine("  Shapefile is converted to meters internally");
  table.geometry() = last.geometry();
  table.units = last.units;
}

/// Logs the type of the file; false for a type that is not one of lines.
bool logType(const ShapefileReader& file) {
  switch (file.type()) {
    case Shape::polyline:
      putMessage("  Reading Polyline Shapefile");
      return true;
    case Shape::polylineZ:
      putMessage("  Reading PolylineZ shapefile");
      return true;
    case Shape::polylineM:
      putMessage("  Reading PolylineM shapefile");
      return true;
    default:
      putMessage("  Unknown shapefile type: ", file.typeCode());
      return false;
  }
}

bool overlap(const Grid_Header& grid, const Clipper& clipper, const Box& box) {
  return clipper.x(box.x.low) < grid.xmax && clipper.y(box.y.low) < grid.ymax &&
         grid.xmin < clipper.x(box.x.high) && grid.ymin < clipper.y(box.y.high);
}

// ---- writing ----

RecordSize sizeOf(const SegmentType& line) {
  return {.parts = std::max<std::size_t>(line.parts.size(), 1), .vertices = line.x.size()};
}

/// The arrays of one line as they go to the file; false if there is no memory.
bool makeImage(const SegmentType& line, const LineWriteOptions& options, bool feet, OutlineImage& image) {
  const double factor = feet ? kFeetPerMeter : 1.0;
  const int32_t xyDecimals = options.zForm ? options.xyDecimals : 0;
  static constexpr int32_t kOnePart[] = {1};
  const std::span<const int32_t> starts = line.parts.empty() ? kOnePart : std::span(line.parts);
  if (!tryCopy(image.starts, starts)) return false;
  // From 1 to 0. The lowest number, which is no start, wraps round and is refused like other bad starts.
  for (int32_t& start : image.starts) start = static_cast<int32_t>(int64_t{start} - 1);
  image.content = {.starts = image.starts};
  ShapeContent& content = image.content;
  if (!scaleValues(line.x, factor, xyDecimals, false, image.x, content.x) ||
      !scaleValues(line.y, factor, xyDecimals, false, image.y, content.y))
    return false;
  if (!options.zForm) return true;
  if (line.z.empty()) return fillValues({}, kMissing, line.x.size(), image.z, content.z);
  return scaleValues(line.z, factor, options.zDecimals, true, image.z, content.z);
}

}  // namespace

int ReadPolylineShapefile(LineVectorType& table, std::string_view path, const LineReadOptions& options) {
  table.clear();
  Attempt attempt{table.status};
  if (options.grid != nullptr && options.mask != nullptr && options.grid->units != options.mask->units)
    return fail(kReadTag, "The grid and the mask are not in the same units");
  setReference(table, options);

  const Clipper clipper(options, table.feetConverted);
  const Grid_Header* const grid = options.grid != nullptr ? options.grid : options.mask;
  const auto check = [&](ShapefileReader& file) {
    if (!logType(file)) return file.fault("Not a file of lines");
    if (grid != nullptr && table.numRecords > 0 && !overlap(*grid, clipper, file.box()))
      return fail(kReadTag, "Grid and shapefile do not overlap");
    return kSuccess;
  };
  const auto readShapes = [&](ShapefileReader& file) {
    return readLines(file, clipper, options.xyDecimals, table);
  };
  ShapefileSource source{.routine = kReadTag, .path = path, .idFieldNotFound = "IDfieldName not found: "};
  if (options.IDfieldName) source.idField = trimmed(*options.IDfieldName);
  return attempt.end(readShapefile(table, table.prj, source, check, readShapes));
}

int LineVectorType::WriteShapefile(std::string_view path, const LineWriteOptions& options) {
  Attempt attempt{status};
  if (options.prjFile != nullptr) prj = options.prjFile->Copy();
  if (checkShapeCount(kWriteTag, *this, segment.size(), "segments") != kSuccess) return kFailure;
  WrittenRecords chosen;
  if (chooseWrittenRecords(
          *this,
          {.isFlag = options.isFlag,
           .byID = !options.isFlag,
           .routine = kWriteTag,
           .idArrays = "ID and recIndex0 arrays",
           .orderArray = "recOrder array"},
          [this](int64_t irec) { return sizeOf(*shapeAt(irec)); }, chosen) != kSuccess)
    return kFailure;
  const OutlineFileOptions form{.routine = kWriteTag,
                                .type = options.zForm ? Shape::polylineZ : Shape::polyline,
                                .z = options.zForm,
                                .leastVertices = 2,
                                .reverse = options.reverse};
  const DbfWriteOptions rows{.shpOnly = true,
                             .nodataOut = options.nodataOut,
                             .recIndex = chosen.records,
                             .allFields = options.zForm && options.allFields,
                             .date = options.date};
  return attempt.end(writeOutlines(
      *this, path, form, chosen,
      [&](int64_t irec, OutlineImage& image) {
        return makeImage(*shapeAt(irec), options, feetConverted, image);
      },
      rows, prj));
}

}  // namespace terrain
