#include "run/walk_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/scratch.h"
#include "foundation/units.h"
#include "grid/neighbours.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";

/// Metres per hour along the horizontal: the saturated flow K sin(slope), times its cosine. A slope so
/// steep that float32 puts it beyond the vertical has a negative cosine; water does not run backwards
/// in time there, it has no speed.
float speedAt(float gradient, float conductivity) {
  const float slope = std::atan(gradient);
  const float speed = std::sin(slope) * conductivity * std::cos(slope);
  return speed < 0.0F ? 0.0F : speed;
}

/// Steps of one cell: a walk by time ends where the gradient is not above 0.
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
  for (std::size_t k = 1; k < lengths.size(); ++k) lengths[k] = k % 2 == 1 ? c : c * 1.4142135F;
  return lengths;
}

WalkTable::~WalkTable() {
  if (unit_ > 0) units().close(unit_, Closing::erase);
}

int WalkTable::openScratch() {
  OpenBinaryScratchFile({.unit = &unit_, .fileName = &name_, .recordLength = sizeof(WalkCell)});
  if (unit_ < 1) return reportError({.routine = kTag, .message1 = "OpenBinaryScratchFile failed"});
  file_ = units().records(unit_);
  putMessage("accumulateCells: created scratch file " + name_);
  putMessage("  Unit: ", unit_);
  return kSuccess;
}

int WalkTable::make(const WalkValues& values, R4Grid_type& grad, R4Grid_type& aspect, WalkStorage storage) {
  constexpr int32_t kMostCols =
      std::numeric_limits<int32_t>::max() - 4;  // a step down is two rows' ends more
  cols_ = aspect.cols();
  rows_ = aspect.rows();
  if (cols_ > kMostCols) return reportError({.routine = kTag, .message1 = "Too many columns for the walks"});
  const auto width = static_cast<std::size_t>(cols_) + 2;
  const auto bytes = byteCount(width * sizeof(WalkCell), static_cast<std::uint64_t>(rows_) + 2);
  if (!bytes) return reportError({.routine = kTag, .message1 = "Too many cells for the walks"});
  if (storage == WalkStorage::memory) memory_ = tryArray<WalkCell>(*bytes / sizeof(WalkCell));
  if (memory_ == nullptr) {
    if (storage == WalkStorage::memory)
      putMessage("accumulateCells: unable to allocate memory for the walks; using scratch space");
    if (openScratch() != kSuccess) return kFailure;
    const IoCode code = file_->file().reserve(*bytes);
    if (code != kIoOk)
      return reportError({.routine = kTag, .code = kWriteError, .file = name_, .message1 = describe(code)});
  }

  std::vector<WalkCell> row;
  std::vector<float> gradients;
  std::vector<float> aspects;
  const auto cols = static_cast<std::size_t>(cols_);
  if (!tryAllocate(row, width) || !tryAllocate(gradients, cols) || !tryAllocate(aspects, cols))
    return cannotAllocate(kTag, "rows of the walk table");
  for (int32_t r = 0; r <= rows_ + 1; ++r) {
    std::ranges::fill(row, WalkCell{});
    if (r >= 1 && r <= rows_) {
      if (aspect.readRow(r, aspects) != kIoOk) return reportScratchRead(kTag, aspect);
      if (values.byTime && grad.readRow(r, gradients) != kIoOk) return reportScratchRead(kTag, grad);
      for (std::size_t c = 0; c < cols; ++c) {
        WalkCell& cell = row[c + 1];
        cell =
            walkCell(values, withoutNaN(gradients[c]), withoutNaN(aspects[c]), static_cast<int64_t>(width));
        shortestStep_ = std::min({shortestStep_, cell.step[0], cell.step[1]});
      }
    }
    if (memory_ != nullptr) {
      std::ranges::copy(row, memory_.get() + index(0, r));
    } else {
      const IoCode code = file_->writeBytes(static_cast<std::uint64_t>(index(0, r)) * sizeof(WalkCell),
                                            std::as_bytes(std::span(row)));
      if (code != kIoOk)
        return reportError({.routine = kTag, .code = kWriteError, .file = name_, .message1 = describe(code)});
    }
  }
  return kSuccess;
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
  putMessage("ERROR: accumulateCells");
  putMessage("  Error reading scratch file");
  putMessage("  File: " + name_);
  putMessage("  Unit: ", unit_);
  putMessage("  Error: ", code);
  platform::endProcess(1);
}

}  // namespace terrain
