// Polyline shapefiles, read and written.

#include <algorithm>
#include <cmath>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "grid/grid.h"
#include "table/line_vectors.h"
#include "table/shape_parts.h"
#include "table/written_records.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadPolylineShapefile in DataTableModule";
constexpr std::string_view kVertexArrays = "Segment%x,y";
constexpr std::string_view kWriteTag = "WriteShapefile in DataTableModule";

// ---- reading ----

/// What decides which vertices stay, and how they are changed on the way in.
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
  /// True if a vertex stays; `cell` is its place in the lattice.
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

/// Drops vertices in place: what stays moves to the front. A part starts, counted from 0, at the number
/// of vertices kept before it; a part that keeps none goes.
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

/// Gives a segment what is left of its record. The name of the array that has no memory; blank if all have.
std::string_view store(SegmentType& line, ShapeParts& parts, std::span<const ColRow> cells,
                       int32_t xyDecimals) {
  for (double& x : parts.x) x = roundedTo(x, xyDecimals);
  for (double& y : parts.y) y = roundedTo(y, xyDecimals);
  if (!tryCopy<double>(line.x, parts.x) || !tryCopy<double>(line.y, parts.y)) return kVertexArrays;
  if (!tryCopy<int32_t>(line.parts, parts.starts)) return "Segment%parts";
  if (!tryCopy<double>(line.z, parts.z)) return "Segment%z";
  for (int32_t& start : line.parts) ++start;
  line.col.reserve(cells.size());
  line.row.reserve(cells.size());
  for (const ColRow& cell : cells) {
    line.col.push_back(cell.col);
    line.row.push_back(cell.row);
  }
  return {};
}

/// Reads the records that follow; `shapes` counts those that are not null.
int readLines(ShapefileReader& file, const Clipper& clipper, int32_t xyDecimals,
              std::vector<SegmentType>& lines, int64_t& shapes) {
  ShapeRecord record;
  ShapeParts parts;
  std::vector<ColRow> cells;
  std::string why;
  try {
    for (SegmentType& line : lines) {
      if (file.next(record) != kSuccess) return kFailure;
      if (record.type == Shape::null) continue;
      ++shapes;
      if (!readParts(record, parts, why))
        return why.empty() ? cannotAllocate(kReadTag, kVertexArrays) : file.fault(why, record.number);
      clip(clipper, parts, cells);
      if (parts.x.size() < 2) continue;
      if (const auto array = store(line, parts, cells, xyDecimals); !array.empty())
        return cannotAllocate(kReadTag, array);
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(kReadTag, kVertexArrays);
  }
  return kSuccess;
}

void resetReference(LineVectorType& table) {
  table.takeReference(Grid_Header{});
  table.feetConverted = false;
  table.prj = InputFileType{};
}

/// Says on the log what the file holds; false for a type that holds no lines.
bool tellType(const ShapefileReader& file) {
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

/// The records to write: in table order with `isFlag`, else by ID.
int chooseLines(LineVectorType& table, bool isFlag, WrittenRecords& chosen) {
  return chooseWrittenRecords(
      table,
      {.isFlag = isFlag,
       .byID = !isFlag,
       .routine = kWriteTag,
       .idArrays = "ID and recIndex0 arrays",
       .orderArray = "recOrder array"},
      [&table](int64_t irec) {
        const SegmentType& line = *table.segmentAt(irec);
        return RecordSize{.parts = std::max<std::size_t>(line.parts.size(), 1), .vertices = line.x.size()};
      },
      chosen);
}

/// The arrays of one line as they go to the file.
struct LineImage {
  std::vector<int32_t> starts{};
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> z{};
};

/// Part starts of the list turned round: the vertices behind the last one of each part, last part first.
void reverseParts(std::vector<int32_t>& starts, std::size_t vertices) {
  std::vector<int32_t> turned;
  auto end = static_cast<int32_t>(vertices);
  for (std::size_t part = starts.size(); part > 0; --part) {
    turned.push_back(static_cast<int32_t>(vertices) - end);
    end = starts[part - 1];
  }
  starts.swap(turned);
}

void makeImage(const SegmentType& line, const LineWriteOptions& options, bool feet, LineImage& image) {
  image.starts = line.parts;
  if (image.starts.empty()) image.starts.push_back(1);
  // A start that is none may be anything: the lowest wraps round and is refused like the others.
  for (int32_t& start : image.starts) start = static_cast<int32_t>(int64_t{start} - 1);
  image.x = line.x;
  image.y = line.y;
  image.z.clear();
  if (options.zForm) {
    image.z = line.z;
    if (image.z.empty()) image.z.assign(line.x.size(), kMissing);
  }
  const double factor = feet ? kFeetPerMeter : 1.0;
  const int32_t xyDecimals = options.zForm ? options.xyDecimals : 0;
  for (double& x : image.x) x = roundedTo(x * factor, xyDecimals);
  for (double& y : image.y) y = roundedTo(y * factor, xyDecimals);
  for (double& z : image.z)
    if (z != kMissing) z = roundedTo(z * factor, options.zDecimals);
}

void reverse(LineImage& image) {
  reverseParts(image.starts, image.x.size());
  for (auto* values : {&image.x, &image.y, &image.z}) std::reverse(values->begin(), values->end());
}

}  // namespace

int ReadPolylineShapefile(LineVectorType& table, std::string_view path, const LineReadOptions& options) {
  table.DestroySegments();
  resetReference(table);
  Attempt attempt{table.status};
  if (options.grid != nullptr) table.takeReference(*options.grid);
  if (options.grid == nullptr && options.mask != nullptr) table.takeReference(*options.mask);
  if (table.units == 'f') {
    putConsoleLine("  Shapefile is converted to meters internally");
    table.feetConverted = true;
  }
  if (options.mask != nullptr) table.takeReference(*options.mask);

  const std::string stem(trimmed(path));
  if (NewDataTable(table, {.filePath = stem + ".dbf"}) != kSuccess)
    return fail(kReadTag, "NewDataTable failed for " + stem);
  if (options.IDfieldName) {
    const std::string name(trimmed(*options.IDfieldName));
    const int32_t number = table.FieldNumber(name);
    if (number < 1) return fail(kReadTag, "IDfieldName not found: " + name);
    table.IDfield = number;
  }
  ShapefileReader file(kReadTag, stem);
  if (file.load() != kSuccess) return kFailure;
  if (!tellType(file)) return file.fault("Not a file of lines");

  const Clipper clipper(options, table.feetConverted);
  const Grid_Header* grid = options.grid != nullptr ? options.grid : options.mask;
  if (grid != nullptr && table.numRecords > 0 && !overlap(*grid, clipper, file.box()))
    return fail(kReadTag, "Grid and shapefile do not overlap");
  if (file.checkRecords(table.numRecords) != kSuccess) return kFailure;
  std::vector<SegmentType> lines;
  if (!tryAllocate(lines, static_cast<std::size_t>(table.numRecords)))
    return cannotAllocate(kReadTag, "segment");
  int64_t shapes = 0;
  if (readLines(file, clipper, options.xyDecimals, lines, shapes) != kSuccess) return kFailure;
  if (shapes == 0 && table.numRecords > 0) return fail(kReadTag, "No records within specified extent");
  table.segment = std::move(lines);
  readProjection(stem, table.prj);
  return attempt.succeed();
}

int LineVectorType::WriteShapefile(std::string_view path, const LineWriteOptions& options) {
  Attempt attempt{status};
  if (options.prjFile != nullptr) prj = options.prjFile->Copy();
  if (static_cast<int64_t>(segment.size()) != numRecords)
    return fail(kWriteTag, "The table has " + freeText(numRecords) + " records, but " +
                               freeText(static_cast<int64_t>(segment.size())) + " segments");
  WrittenRecords found;
  if (chooseLines(*this, options.isFlag, found) != kSuccess) return kFailure;
  const uint64_t bytes =
      shapefileBytes(found.records.size(), found.parts, found.vertices, options.zForm, false);
  if (bytes > static_cast<uint64_t>(kLargestShapefile)) {
    fail(kWriteTag, "shpFileSize exceeds maximum size");
    putConsoleLine("shpFileSize: " + freeText(static_cast<int64_t>(bytes)));
    putConsoleLine("Max size   : " + freeText(kLargestShapefile));
    return kFailure;
  }
  ShapefileWriter out(options.zForm ? Shape::polylineZ : Shape::polyline, bytes, found.records.size());
  if (!out.ok()) return cannotAllocate(kWriteTag, "shapefile component files");

  ShapeRanges ranges;
  LineImage image;
  try {
    for (const int64_t irec : found.records) {
      makeImage(*segmentAt(irec), options, feetConverted, image);
      // Tested as it stands in the table, before parts are turned.
      const ShapeContent content{.starts = image.starts, .x = image.x, .y = image.y, .z = image.z};
      if (const std::string why = faultOf(content); !why.empty())
        return fail(kWriteTag, "Record " + freeText(irec) + ": " + why);
      if (options.reverse) reverse(image);
      writeParts(out, {.starts = image.starts, .x = image.x, .y = image.y, .z = image.z}, ranges);
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(kWriteTag, "shapefile component files");
  }
  if (found.records.empty()) ranges.box = {.x = {kLargestReal8, 0.0}, .y = {kLargestReal8, 0.0}};
  if (ranges.z.empty()) ranges.z = {0, 0};
  out.setRanges(ranges.box, ranges.z);
  const DbfWriteOptions rows{.shpOnly = true,
                             .nodataOut = options.nodataOut,
                             .recIndex = found.records,
                             .allFields = options.zForm && options.allFields,
                             .date = options.date};
  return saveShapefile(kWriteTag, path, out, *this, rows, prj) == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
