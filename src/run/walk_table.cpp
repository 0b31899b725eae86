#include "run/walk_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/scratch.h"
#include "foundation/units.h"
#include "grid/grid_core.h"
#include "grid/neighbours.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";

/// Horizontal speed in metres per hour: the saturated flow K sin(slope), times cos(slope). The steepest
/// slopes round to an angle beyond the vertical, with a negative cosine; their speed is 0.
float speedAt(float gradient, float conductivity) {
  const float slope = std::atan(gradient);
  const float speed = std::sin(slope) * conductivity * std::cos(slope);
  return speed < 0.0F ? 0.0F : speed;
}

/// The record of a cell. By time a cell whose gradient is not above 0 has no steps.
WalkCell walkCell(const WalkValues& values, float gradient, float aspect, int64_t stride) {
  WalkCell cell;
  cell.starts = aspect < 0.0F ? 0 : 1;
  if (values.byTime && !(gradient > 0.0F)) return cell;
  const float speed = values.byTime ? speedAt(gradient, values.conductivity) : 0.0F;
  std::size_t found = 0;
  for (int32_t k = 1; k <= kDirections && found < cell.share.size(); ++k) {
    const float share = FlowProportion(aspect, k);
    if (!(share > 0.0F)) continue;
    const auto at = static_cast<std::size_t>(k);
    cell.share[found] = share;
    cell.step[found] = values.byTime ? values.cellDistance[at] / speed : values.cellDistance[at];
    cell.next[found] = static_cast<int32_t>(-rowOffset[at] * stride - colOffset[at]);
    ++found;
  }
  return cell;
}

float withoutNaN(float value) { return std::isnan(value) ? kNodata : value; }

}  // namespace

std::array<float, 9> stepLengths(double cellsize) {
  const auto c = static_cast<float>(cellsize);
  std::array<float, 9> lengths{};
  for (std::size_t k = 1; k < lengths.size(); ++k) lengths[k] = c * stepLength(static_cast<int32_t>(k));
  return lengths;
}

WalkTable::~WalkTable() {
  if (unit_ > 0) units().close(unit_, Closing::erase);
}

int WalkTable::make(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect,
                    WalkStorage storage) {
  // A step to the row below covers one more record than a row has.
  constexpr int32_t kMostCols = std::numeric_limits<int32_t>::max() - 4;
  cols_ = aspect.cols();
  rows_ = aspect.rows();
  if (cols_ > kMostCols) return fail(kTag, "Too many columns for the walks");
  const auto bytes = byteCount((static_cast<std::uint64_t>(cols_) + 2) * sizeof(WalkCell),
                               static_cast<std::uint64_t>(rows_) + 2);
  if (!bytes) return fail(kTag, "Too many cells for the walks");
  return allocate(*bytes, storage) == kSuccess ? fill(values, grad, aspect) : kFailure;
}

int WalkTable::allocate(std::uint64_t bytes, WalkStorage storage) {
  if (storage == WalkStorage::memory) {
    memory_ = tryArray<WalkCell>(bytes / sizeof(WalkCell));
    if (memory_ != nullptr) return kSuccess;
    putMessage("accumulateCells: unable to allocate memory for the walks; using scratch space");
  }
  OpenBinaryScratchFile({.unit = &unit_, .fileName = &name_, .recordLength = sizeof(WalkCell)});
  if (unit_ < 1) return fail(kTag, "OpenBinaryScratchFile failed");
  file_ = units().records(unit_);
  putMessage("accumulateCells: created scratch file " + name_);
  putMessage("  Unit: ", unit_);
  return reportWrite(file_->file().reserve(bytes));
}

int WalkTable::fill(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect) {
  const auto cols = static_cast<std::size_t>(cols_);
  std::vector<WalkCell> records;
  std::vector<float> gradients;
  std::vector<float> aspects;
  if (!tryAllocate(records, cols + 2) || !tryAllocate(gradients, cols) || !tryAllocate(aspects, cols))
    return cannotAllocate(kTag, "rows of the walk table");
  for (int32_t row = 0; row <= rows_ + 1; ++row) {
    std::ranges::fill(records, WalkCell{});
    if (row >= 1 && row <= rows_) {
      if (aspect.readRow(row, aspects) != kIoOk) return reportScratchRead(kTag, aspect);
      if (values.byTime && grad.readRow(row, gradients) != kIoOk) return reportScratchRead(kTag, grad);
      for (std::size_t c = 0; c < cols; ++c) {
        WalkCell& cell = records[c + 1];
        cell = walkCell(values, withoutNaN(gradients[c]), withoutNaN(aspects[c]),
                        static_cast<int64_t>(records.size()));
        shortestStep_ = std::min({shortestStep_, cell.step[0], cell.step[1]});
      }
    }
    if (store(row, records) != kSuccess) return kFailure;
  }
  return kSuccess;
}

int WalkTable::store(int32_t row, std::span<const WalkCell> records) {
  const std::int64_t first = index(0, row);
  if (memory_ == nullptr)
    return reportWrite(
        file_->writeBytes(static_cast<std::uint64_t>(first) * sizeof(WalkCell), std::as_bytes(records)));
  std::ranges::copy(records, memory_.get() + first);
  return kSuccess;
}

int WalkTable::reportWrite(IoCode code) const {
  if (code == kIoOk) return kSuccess;
  return reportError({.routine = kTag, .code = kWriteError, .file = name_, .message1 = describe(code)});
}

WalkCell& WalkTable::onDisk(std::int64_t index) {
  IoCode code = kIoOk;
  std::byte* bytes =
      file_->locate(static_cast<std::uint64_t>(index) * sizeof(WalkCell), sizeof(WalkCell), true, code);
  if (bytes == nullptr) stopOnFault(code);
  return *reinterpret_cast<WalkCell*>(bytes);
}

void WalkTable::totals(int32_t row, std::span<float> out) {
  for (int32_t col = 1; col <= cols_; ++col) {
    const std::int64_t at = index(col, row);
    out[static_cast<std::size_t>(col - 1)] =
        memory_ != nullptr ? memory_[static_cast<std::size_t>(at)].total : onDisk(at).total;
  }
}

void WalkTable::stopOnFault(IoCode code) const {
  stopOnScratchFault("ERROR: accumulateCells", {.name = name_, .unit = unit_}, code);
}

}  // namespace terrain
