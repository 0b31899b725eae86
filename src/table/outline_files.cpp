#include "table/outline_files.h"

#include <algorithm>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/sorting.h"
#include "foundation/status.h"

namespace terrain {

namespace {

/// Puts record numbers in ascending order of their IDs; equal IDs stay in order. -1 without memory.
int orderByID(std::vector<int64_t>& records, std::span<const int64_t> ids) {
  std::vector<int32_t> order;
  std::vector<int64_t> sorted;
  if (!tryAllocate(order, records.size()) || !tryAllocate(sorted, records.size()) ||
      mergeRank(ids, order) != kSuccess)
    return kFailure;
  for (std::size_t i = 0; i < order.size(); ++i) sorted[i] = records[static_cast<std::size_t>(order[i]) - 1];
  records.swap(sorted);
  return kSuccess;
}

bool reverseValues(std::span<const double>& values, std::vector<double>& copy) {
  if (values.data() != copy.data() && !tryCopy(copy, values)) return false;
  std::reverse(copy.begin(), copy.end());
  values = copy;
  return true;
}

/// Vertices and parts last to first. A part of the reversed list starts after as many vertices as followed
/// its last one.
bool reverseOutline(OutlineImage& image) {
  ShapeContent& content = image.content;
  if (content.starts.data() != image.starts.data() && !tryCopy(image.starts, content.starts)) return false;
  std::vector<int32_t>& starts = image.starts;
  const auto vertices = static_cast<int32_t>(content.x.size());
  for (std::size_t part = 0; part < starts.size(); ++part)
    starts[part] = part + 1 < starts.size() ? vertices - starts[part + 1] : 0;
  std::reverse(starts.begin(), starts.end());
  content.starts = starts;
  return reverseValues(content.x, image.x) && reverseValues(content.y, image.y) &&
         reverseValues(content.z, image.z) && reverseValues(content.m, image.m);
}

int tooLarge(std::string_view routine, uint64_t bytes) {
  fail(routine, "shpFileSize exceeds maximum size");
  putConsoleLine("shpFileSize: " + freeText(static_cast<int64_t>(bytes)));
  putConsoleLine("Max size   : " + freeText(kLargestShapefile));
  return kFailure;
}

/// The header's ranges of what no record has.
void completeRanges(ShapeRanges& ranges, bool measures) {
  if (ranges.z.empty()) ranges.z = {0, 0};
  if (ranges.m.empty()) ranges.m = measures ? Range{kNoMeasure, kNoMeasure} : Range{0, 0};
}

}  // namespace

int readOutlines(ShapefileReader& file, int64_t records, std::string_view vertexArrays,
                 const std::function<std::string_view(std::size_t place, ShapeParts& parts)>& store) {
  ShapeRecord record;
  ShapeParts parts;
  std::string why;
  for (std::size_t place = 0; std::cmp_less(place, records); ++place) {
    if (file.next(record) != kSuccess) return kFailure;
    if (record.type == Shape::null) continue;
    if (!readParts(record, parts, why))
      return why.empty() ? file.noMemory(vertexArrays) : file.fault(why, record.number);
    if (const std::string_view array = store(place, parts); !array.empty()) return file.noMemory(array);
  }
  return kSuccess;
}

int chooseWrittenRecords(DataTableType& table, const WrittenRecordsOptions& options,
                         const std::function<RecordSize(int64_t irec)>& sizeOf, WrittenRecords& chosen) {
  const bool hasIDs = table.IDfield >= 1;
  const bool sorted = hasIDs && options.byID;
  std::vector<int64_t> ids;
  for (int64_t irec = 1; irec <= table.numRecords; ++irec) {
    bool& flag = *table.recordFlag(irec);
    if (options.isFlag && !flag) continue;
    const RecordSize size = sizeOf(irec);
    int64_t id = 0;
    flag =
        size.vertices > 0 && (!hasIDs || (table.ReadI8Value(table.IDfield, irec, id) == kSuccess && id > 0));
    if (!flag) continue;
    chosen.parts += size.parts;
    chosen.vertices += size.vertices;
    if (!tryAppend(chosen.records, irec) || (sorted && !tryAppend(ids, id)))
      return cannotAllocate(options.routine, options.idArrays);
  }
  if (sorted && orderByID(chosen.records, ids) != kSuccess)
    return cannotAllocate(options.routine, options.orderArray);
  return kSuccess;
}

bool scaleValues(std::span<const double> values, double factor, int32_t decimals, bool keepMissing,
                 std::vector<double>& copy, std::span<const double>& out) {
  out = values;
  if (factor == 1.0 && decimals <= 0) return true;
  if (!tryCopy(copy, values)) return false;
  for (double& value : copy)
    if (!keepMissing || value != kMissing) value = roundedTo(value * factor, decimals);
  out = copy;
  return true;
}

bool fillValues(std::span<const double> values, double otherwise, std::size_t count,
                std::vector<double>& copy, std::span<const double>& out) {
  out = values;
  if (!values.empty()) return true;
  if (!tryResize(copy, count)) return false;
  std::fill(copy.begin(), copy.end(), otherwise);
  out = copy;
  return true;
}

int writeOutlines(DataTableType& table, std::string_view path, const OutlineFileOptions& options,
                  const WrittenRecords& chosen,
                  const std::function<bool(int64_t irec, OutlineImage& image)>& makeImage,
                  const DbfWriteOptions& rows, const InputFileType& prj) {
  const uint64_t bytes =
      shapefileBytes(chosen.records.size(), chosen.parts, chosen.vertices, options.z, options.m);
  if (bytes > static_cast<uint64_t>(kLargestShapefile)) return tooLarge(options.routine, bytes);
  const auto noMemory = [&] { return cannotAllocate(options.routine, "shapefile component files"); };
  ShapefileWriter out(options.type, bytes, chosen.records.size());
  if (!out.ok()) return noMemory();

  ShapeRanges ranges;
  OutlineImage image;
  for (const int64_t irec : chosen.records) {
    if (!makeImage(irec, image)) return noMemory();
    std::string why = faultOf(image.content);
    if (why.empty() && image.content.x.size() < options.leastVertices) why = "A line of one vertex";
    if (!why.empty()) return fail(options.routine, "Record " + freeText(irec) + ": " + why);
    if (options.reverse && !reverseOutline(image)) return noMemory();
    writeParts(out, image.content, ranges);
  }
  completeRanges(ranges, options.m);
  out.setRanges(ranges.box, ranges.z, ranges.m);
  return saveShapefile(options.routine, path, out, table, rows, prj);
}

}  // namespace terrain
