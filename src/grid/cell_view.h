#pragma once
// The cells of a grid for kernels that go from cell to cell: the same body over a grid in memory and
// over one on disk, without the test of bounds that the published readers make.
//
//   withCells(grid, "routine", [&](auto cells) { if (cells.get(col, row) > 0) cells.set(col, row, 1); });
//
// (col, row) must lie within the grid. On disk the grid is put in cell access; a scratch file that fails
// ends the run under `tag`, as with the published readers.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "grid/grid_core.h"

namespace terrain {

template <Cell T>
class MemoryCells {
 public:
  explicit MemoryCells(GridOf<T>& grid)
      : origin_(&grid.cells.at(1, 1) - grid.cells.stride() - 1), stride_(grid.cells.stride()) {}
  [[nodiscard]] T get(int32_t col, int32_t row) const { return origin_[row * stride_ + col]; }
  void set(int32_t col, int32_t row, T value) const { origin_[row * stride_ + col] = value; }

 private:
  T* origin_;  // of the cell (0, 0)
  std::ptrdiff_t stride_;
};

template <Cell T>
class ScratchCells {
 public:
  ScratchCells(GridOf<T>& grid, std::string_view tag) : grid_(&grid), tag_(tag) {}
  [[nodiscard]] T get(int32_t col, int32_t row) const { return grid_->valueOnDisk(col, row, tag_); }
  void set(int32_t col, int32_t row, T value) const { grid_->cellOnDisk(col, row, tag_) = value; }

 private:
  GridOf<T>* grid_;
  std::string_view tag_;
};

/// Calls `use` with the view that fits the grid's storage; gives what it gives.
template <Cell T, class Use>
auto withCells(GridOf<T>& grid, std::string_view tag, Use&& use) {
  if (grid.onDisk) return use(ScratchCells<T>(grid, tag));
  return use(MemoryCells<T>(grid));
}

}  // namespace terrain
