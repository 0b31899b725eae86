#include "run/walk_table.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/threads.h"
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

float withoutNaN(float value) { return std::isnan(value) ? kNodata : value; }

}  // namespace

std::array<float, 9> stepLengths(double cellsize) {
  const auto c = static_cast<float>(cellsize);
  std::array<float, 9> lengths{};
  for (std::size_t k = 1; k < lengths.size(); ++k) lengths[k] = c * stepLength(static_cast<int32_t>(k));
  return lengths;
}

WalkCell walkCell(const WalkValues& values, float gradient, float aspect, std::int64_t stride) {
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

int WalkTable::make(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect,
                    RowRange rows) {
  // A step to the row below covers one more record than a row has.
  constexpr int32_t kMostCols = std::numeric_limits<int32_t>::max() - 4;
  cols_ = aspect.cols();
  rows_ = rows;
  cells_.reset();
  shortestStep_ = std::numeric_limits<float>::infinity();
  const auto cols = static_cast<std::size_t>(cols_);
  const std::size_t stride = cols + 2;
  const std::size_t count = static_cast<std::size_t>(rows.last - rows.first) + 1;
  std::vector<float> gradients;
  std::vector<float> aspects;
  const std::uint64_t records = stride * (count + 2);  // below 2^64: both are counts of 32 bits
  if (cols_ <= kMostCols) cells_ = tryArray<WalkCell>(records);
  if (cells_ == nullptr || !tryAllocate(gradients, cols) || !tryAllocate(aspects, cols)) {
    const auto lock = oneThreadAtATime();
    return fail(kTag, "No memory for the cells of " + std::to_string(count) +
                          " rows, as many as a walk may cross: a shorter limit needs fewer");
  }
  const std::span<WalkCell> all(cells_.get(), records);
  std::ranges::fill(all.first(stride), WalkCell{});
  std::ranges::fill(all.last(stride), WalkCell{});
  for (int32_t row = rows.first; row <= rows.last; ++row) {
    {
      const auto lock = oneThreadAtATime();
      if (aspect.readRow(row, aspects) != kIoOk) return reportScratchRead(kTag, aspect);
      if (values.byTime && grad.readRow(row, gradients) != kIoOk) return reportScratchRead(kTag, grad);
    }
    const std::span<WalkCell> record = all.subspan(static_cast<std::size_t>(index(0, row)), stride);
    record.front() = record.back() = WalkCell{};
    for (std::size_t c = 0; c < cols; ++c) {
      WalkCell& cell = record[c + 1];
      cell = walkCell(values, withoutNaN(gradients[c]), withoutNaN(aspects[c]), static_cast<int64_t>(stride));
      shortestStep_ = std::min({shortestStep_, cell.step[0], cell.step[1]});
    }
  }
  return kSuccess;
}

int WalkTable::keepWaysTo(RowRange band, float limit,
                          const std::function<float(const WalkCell& cell, std::size_t way)>& cost) {
  constexpr float kNever = std::numeric_limits<float>::infinity();
  const std::int64_t stride = std::int64_t{cols_} + 2;
  const std::int64_t bandFirst = index(0, band.first);
  const std::int64_t bandEnd = index(0, band.last + 1);
  // The least cost of the ways from a cell to the band, lowered until it stands still: sweeps away from the
  // band, along the rows to and fro, so few are needed.
  std::vector<float> least;
  if (!tryAllocate(least, static_cast<std::size_t>(index(0, rows_.last + 2)))) {
    const auto lock = oneThreadAtATime();
    return cannotAllocate(kTag, "ways of the walks");
  }
  std::ranges::fill(least, kNever);
  const auto leastBy = [&](const WalkCell& cell, std::int64_t at, std::size_t way) {
    if (!(cell.share[way] > 0.0F)) return kNever;
    const std::int64_t to = at + cell.next[way];
    return to >= bandFirst && to < bandEnd ? 0.0F : cost(cell, way) + least[static_cast<std::size_t>(to)];
  };
  bool lowered = false;
  const auto lower = [&](std::int64_t at) {
    const WalkCell& cell = cells_[static_cast<std::size_t>(at)];
    float& here = least[static_cast<std::size_t>(at)];
    const float found = std::min(leastBy(cell, at, 0), leastBy(cell, at, 1));
    if (!(found < here) || found > limit) return;
    here = found;
    lowered = true;
  };
  const auto settle = [&](int32_t first, int32_t end, int32_t step) {
    do {
      lowered = false;
      for (int32_t row = first; row != end; row += step) {
        for (std::int64_t col = 1; col <= cols_; ++col) lower(index(0, row) + col);
        for (std::int64_t col = cols_; col >= 1; --col) lower(index(0, row) + col);
      }
    } while (lowered);
  };
  settle(band.first - 1, rows_.first - 1, -1);
  settle(band.last + 1, rows_.last + 1, 1);
  const auto keep = [&](int32_t row) {
    for (std::int64_t at = index(1, row); at < index(0, row) + stride - 1; ++at) {
      WalkCell& cell = cells_[static_cast<std::size_t>(at)];
      WalkCell kept{.total = cell.total};
      std::size_t ways = 0;
      for (std::size_t way = 0; way < cell.share.size(); ++way) {
        if (!(leastBy(cell, at, way) <= limit)) continue;
        kept.share[ways] = cell.share[way];
        kept.step[ways] = cell.step[way];
        kept.next[ways++] = cell.next[way];
      }
      kept.starts = ways > 0 ? cell.starts : 0;
      cell = kept;
    }
  };
  for (int32_t row = rows_.first; row < band.first; ++row) keep(row);
  for (int32_t row = band.last + 1; row <= rows_.last; ++row) keep(row);
  return kSuccess;
}

void WalkTable::totals(int32_t row, std::span<float> out) const {
  const WalkCell* cell = cells_.get() + index(1, row);
  for (float& total : out) total = (cell++)->total;
}

}  // namespace terrain
