// Lines burned into a grid of 32-bit integers.

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/sorting.h"
#include "foundation/status.h"
#include "grid/cell_view.h"
#include "grid/directions.h"
#include "grid/grid.h"
#include "grid/line_cells.h"
#include "grid/storage.h"
#include "table/line_path.h"
#include "table/line_vectors.h"
#include "table/part_ranges.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Rasterize in DataTableModule";
constexpr std::string_view kLineTag = "Rasterize (line) in DataTableModule";

/// Fields by number; 0 where none is asked for.
struct RasterFields {
  int32_t flag = 0;
  int32_t length = 0;
  int32_t priority = 0;
};

int findFields(const LineVectorType& table, const LineRasterOptions& options, RasterFields& fields) {
  const auto find = [&table](const std::optional<std::string_view>& name, int32_t& number) {
    number = name ? table.FieldNumber(*name) : 0;
    return !name || number > 0;
  };
  if (!find(options.lengthField, fields.length)) return fail(kLineTag, "Length field attribute not found");
  if (!find(options.priorityField, fields.priority))
    return fail(kLineTag, "Priority field attribute not found");
  if (!find(options.flagField, fields.flag))
    return fail(kTag, "Cannot locate flag field " + std::string(*options.flagField));
  return kSuccess;
}

/// The numbers in a field of all records.
int readNumbers(LineVectorType& table, int32_t field, std::vector<double>& values) {
  if (!tryAllocate(values, static_cast<std::size_t>(table.numRecords)))
    return cannotAllocate(kLineTag, "order");
  for (std::size_t i = 0; i < values.size(); ++i)
    if (table.ReadR8Value(field, static_cast<int64_t>(i) + 1, values[i]) != kSuccess) return kFailure;
  return kSuccess;
}

/// Records, from 1, in the order in which they are burned. A cell that is written stays, so those with a
/// positive priority come first.
int orderRecords(LineVectorType& table, const RasterFields& fields, std::vector<int32_t>& order) {
  const auto noMemory = [] { return cannotAllocate(kLineTag, "order"); };
  if (!tryAllocate(order, static_cast<std::size_t>(table.numRecords))) return noMemory();
  std::iota(order.begin(), order.end(), 1);
  std::vector<double> values;
  if (fields.length > 0) {
    if (readNumbers(table, fields.length, values) != kSuccess) return kFailure;
    if (mergeRank(values, order) != kSuccess) return noMemory();
  }
  if (fields.priority == 0) return kSuccess;
  if (readNumbers(table, fields.priority, values) != kSuccess) return kFailure;
  const auto priority = [&values](int32_t record) { return values[static_cast<std::size_t>(record) - 1]; };
  std::reverse(order.begin(), order.end());
  std::erase_if(order, [&](int32_t record) { return !(priority(record) >= 0); });
  std::stable_partition(order.begin(), order.end(), [&](int32_t record) { return priority(record) > 0; });
  return kSuccess;
}

/// Makes the target on its lattice, or takes the grid that there is where no lattice is given.
int makeTarget(const LineVectorType& table, const LineRasterOptions& options, I4Grid_type& igrid) {
  Grid_Header lattice;
  lattice.geometry() = table.geometry();
  const bool hasReference = table.cols() > 0 && table.rows() > 0;
  const Grid_Header* const like = options.like != nullptr ? options.like : hasReference ? &lattice : nullptr;
  if (like == nullptr)
    return igrid.GridExists() ? kSuccess : fail(kTag, "No template or grid to rasterize to");
  if (CreateGrid(igrid, {.like = like, .fillValue = static_cast<float>(options.gridFill)}) == kSuccess)
    return kSuccess;
  return fail(kTag, "CreateGrid failed for igrid");
}

/// Burns segments into the cells of a grid.
template <class Cells>
class LineBurner {
 public:
  LineBurner(const Grid_Header& grid, Cells cells) : area_(grid), cells_(cells) {}

  /// Writes the value where a cell holds 0.
  void burn(const Segment2D& segment, int32_t value) {
    const std::optional<EndCells> ends = area_.endsOf(segment);
    if (!ends) return;
    forEachLineCell(ends->from, ends->to, [&](ColRow cell) { fill(cell, value); });
  }
  /// Writes the code of the step to the next cell of the line; the last cell, from which the next segment
  /// goes on, takes that of the step to it where it holds 0. False if there is no memory.
  [[nodiscard]] bool burnDirections(const Segment2D& segment) {
    const std::optional<EndCells> ends = area_.endsOf(segment);
    if (!ends) return true;
    path_.clear();
    if (!appendCells(*ends, path_)) return false;
    int32_t code = 0;
    for (std::size_t i = 1; i < path_.size(); ++i) {
      code = codeOfStep(path_[i].col - path_[i - 1].col, path_[i].row - path_[i - 1].row);
      cells_.set(path_[i - 1].col, path_[i - 1].row, code);
    }
    fill(path_.back(), code);
    return true;
  }

 private:
  void fill(ColRow cell, int32_t value) {
    if (cells_.get(cell.col, cell.row) == 0) cells_.set(cell.col, cell.row, value);
  }

  CoveredArea area_;
  Cells cells_;
  std::vector<ColRow> path_;  // of one segment, kept for its room
};

/// Calls `burn` with each segment of a line, shifted, in the order asked for; false as soon as it is.
template <class Burn>
bool forEachSegment(const SegmentType& line, const LineRasterOptions& options, Burn burn) {
  const auto at = [&](std::size_t vertex) {
    return Point{.x = line.x[vertex] + options.xShift, .y = line.y[vertex] + options.yShift};
  };
  const std::size_t count = std::min(line.x.size(), line.y.size());
  return forEachPart(line.parts, 1, count, [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i + 1 < end; ++i) {
      const std::size_t from = options.reverseRing ? begin + end - 1 - i : i;
      if (!burn(Segment2D{.from = at(from), .to = at(options.reverseRing ? from - 1 : from + 1)}))
        return false;
    }
    return true;
  });
}

/// True if the record is to be burned, with its value. A field that cannot be read has been reported.
int burnedValue(LineVectorType& table, const LineRasterOptions& options, const RasterFields& fields,
                int32_t record, std::optional<int32_t>& value) {
  value.reset();
  int32_t flag = options.flagValue;
  if (fields.flag > 0 && table.ReadI4Value(fields.flag, record, flag) != kSuccess) return kFailure;
  if (flag != options.flagValue) return kSuccess;
  const bool hasID = table.IDfield >= 1;
  const int32_t all = options.ival.value_or(hasID ? 0 : 1);
  value = all;
  if (options.useRecord) value = record;
  if (options.useRecord || all != 0 || !hasID || options.direction) return kSuccess;
  return table.ReadI4Value(table.IDfield, record, *value);
}

}  // namespace

int LineVectorType::Rasterize(I4Grid_type& igrid, const LineRasterOptions& options) {
  Attempt attempt{status};
  Attempt made{igrid.status};
  RasterFields fields;
  std::vector<int32_t> order;
  if (findFields(*this, options, fields) != kSuccess || orderRecords(*this, fields, order) != kSuccess ||
      makeTarget(*this, options, igrid) != kSuccess)
    return kFailure;
  const int burned = withCells(igrid, kTag, [&](auto cells) {
    LineBurner burner(igrid, cells);
    for (const int32_t record : order) {
      const SegmentType* const line = shapeAt(record);
      std::optional<int32_t> value;
      if (burnedValue(*this, options, fields, record, value) != kSuccess) return kFailure;
      if (line == nullptr || !value) continue;
      const bool held = forEachSegment(*line, options, [&](const Segment2D& piece) {
        if (options.direction) return burner.burnDirections(piece);
        burner.burn(piece, *value);
        return true;
      });
      if (!held) return cannotAllocate(kTag, "line cells");
    }
    return kSuccess;
  });
  if (burned != kSuccess) return kFailure;
  if (options.buffer && igrid.maxI4() > 0) {
    const int32_t all = options.ival.value_or(0);
    if (igrid.buffer(static_cast<double>(*options.buffer), all != 0 ? all : 1) != kSuccess)
      return fail(kTag, "buffer failed");
  }
  made.succeed();
  return attempt.succeed();
}

}  // namespace terrain
