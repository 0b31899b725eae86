#pragma once
// Rows around the current one of a grid, for kernels that look at neighbours: a window that moves south
// and reads each row once. Without a margin the rows of a grid in memory are used in place, those of a
// grid on disk are held in a ring. With a margin each row is a copy with that many cells more on either
// side, rows beyond the grid can be asked for, and every cell reads as the grid's value reader has it:
// nodata outside the grid and for a NaN.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "foundation/memory.h"
#include "grid/grid_core.h"

namespace terrain {

template <Cell T>
class RowWindow {
 public:
  /// `reach` rows on either side of the current one; `margin` cells on either side of a row.
  RowWindow(const GridOf<T>& grid, int32_t reach, int32_t margin = 0)
      : grid_(grid),
        reach_(reach),
        margin_(static_cast<std::size_t>(margin)),
        copies_(grid.onDisk || margin > 0) {}

  /// False if there is no memory for the rows.
  [[nodiscard]] bool open() {
    if (!copies_) return true;
    const int64_t all = int64_t{grid_.rows()} + (margin_ > 0 ? 2 * int64_t{reach_} : 0);
    held_ = static_cast<int32_t>(std::min(all, 2 * int64_t{reach_} + 1));
    width_ = static_cast<std::size_t>(grid_.cols()) + 2 * margin_;
    last_ = margin_ > 0 ? -reach_ : 0;
    const auto cells = byteCount(width_, static_cast<std::uint64_t>(held_));
    return cells && tryAllocate(rows_, *cells);
  }
  /// Reads on to the last row that may be asked for while `row` is the current one; rows come in
  /// order, with a margin from any row on.
  [[nodiscard]] IoCode moveTo(int32_t row) {
    if (!copies_) return kIoOk;
    if (margin_ > 0) last_ = std::max(last_, row - reach_ - 1);
    const int64_t end =
        margin_ > 0 ? int64_t{row} + reach_ : std::min(int64_t{grid_.rows()}, int64_t{row} + reach_);
    while (last_ < end)
      if (const IoCode code = load(++last_); code != kIoOk) return code;
    return kIoOk;
  }
  [[nodiscard]] bool holds(int32_t row) const { return !copies_ || (row <= last_ && row > last_ - held_); }
  /// The cell in column 1 of a row that is held; with a margin columns from 1 - margin on can be reached.
  [[nodiscard]] const T* row(int32_t row) const {
    return copies_ ? rows_.data() + slot(row) + margin_ : &grid_.cells.at(1, row);
  }
  [[nodiscard]] const GridOf<T>& grid() const { return grid_; }

 private:
  [[nodiscard]] std::size_t slot(int32_t row) const {
    return static_cast<std::size_t>((int64_t{row} + reach_) % held_) * width_;
  }
  IoCode load(int32_t row) {
    const std::span<T> all = std::span(rows_).subspan(slot(row), width_);
    const std::span<T> cells = all.subspan(margin_, width_ - 2 * margin_);
    if (margin_ > 0) std::ranges::fill(all, grid_.nodataValue());
    if (row < 1 || row > grid_.rows()) return kIoOk;
    const IoCode code = grid_.readRow(row, cells);
    if constexpr (std::is_floating_point_v<T>)
      if (margin_ > 0)
        for (T& cell : cells)
          if (std::isnan(cell)) cell = grid_.nodataValue();
    return code;
  }

  const GridOf<T>& grid_;
  int32_t reach_;
  std::size_t margin_;
  bool copies_;
  int32_t held_ = 1;
  int32_t last_ = 0;
  std::size_t width_ = 0;
  std::vector<T> rows_;
};

}  // namespace terrain
