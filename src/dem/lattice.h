#pragma once
// Cells and their neighbours for the drainage kernels: one body for both storages. A lattice gives positions;
// its `Cells` hold the values of one grid at them.
//
// Bordered: a copy in memory with a border of one cell, so that no neighbour has to be tested for being
// within the grid. InPlace: the grid's own cells, on disk or in memory. Outside the grid every cell reads as
// the border's value.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "grid/directions.h"
#include "grid/storage.h"

namespace terrain {

class Bordered {
 public:
  using At = std::ptrdiff_t;  ///< index in the copy

  explicit Bordered(const GridGeometry& grid) : stride_(std::ptrdiff_t{grid.cols()} + 2) {
    for (int32_t code = 1; code <= kDirections; ++code) {
      const auto k = static_cast<std::size_t>(code);
      steps_[k] = rowOffset[k] * stride_ + colOffset[k];
    }
  }
  [[nodiscard]] At at(int32_t col, int32_t row) const { return row * stride_ + col; }
  [[nodiscard]] At step(At from, int32_t code) const { return from + steps_[static_cast<std::size_t>(code)]; }
  [[nodiscard]] ColRow place(At at) const {
    return {.col = static_cast<int32_t>(at % stride_), .row = static_cast<int32_t>(at / stride_)};
  }
  /// A number of its own for every position.
  [[nodiscard]] static std::uint64_t key(At at) { return static_cast<std::uint64_t>(at); }

  template <Cell T>
  class Cells {
   public:
    /// Takes the cells of a grid in memory, which stays as it is until `store`. False if there is no memory.
    [[nodiscard]] bool load(GridOf<T>& grid, T border, std::string_view /*tag*/) {
      if (grid.onDisk || !allocate(grid, border)) return false;
      for (int32_t row = 1; row <= grid.rows(); ++row)
        std::ranges::copy(grid.cells.row(row), copy_.row(row).begin());
      return true;
    }
    /// New cells, all of one value; `grid`, which serves the other lattice, stays without cells.
    [[nodiscard]] bool create(GridOf<T>& /*grid*/, const Grid_Header& like, T value, T border,
                              std::string_view /*tag*/) {
      if (!allocate(like, border)) return false;
      for (int32_t row = 1; row <= like.rows(); ++row) std::ranges::fill(copy_.row(row), value);
      return true;
    }
    void store(GridOf<T>& grid) const {
      for (int32_t row = 1; row <= grid.rows(); ++row)
        std::ranges::copy(copy_.row(row), grid.cells.row(row).begin());
    }
    [[nodiscard]] T get(At at) const { return values_[at]; }
    void set(At at, T value) { values_[at] = value; }

   private:
    bool allocate(const GridGeometry& like, T border) {
      if (!copy_.allocate(like.cols(), like.rows(), 1)) return false;
      values_ = copy_.all().data();
      std::ranges::fill(copy_.all(), border);
      return true;
    }

    CellArray<T> copy_;
    T* values_ = nullptr;
  };

 private:
  std::ptrdiff_t stride_;
  std::array<std::ptrdiff_t, 9> steps_{};
};

class InPlace {
 public:
  using At = ColRow;

  explicit InPlace(const GridGeometry&) {}
  [[nodiscard]] At at(int32_t col, int32_t row) const { return {.col = col, .row = row}; }
  [[nodiscard]] At step(At from, int32_t code) const { return stepFrom(from, code); }
  [[nodiscard]] ColRow place(At at) const { return at; }
  [[nodiscard]] static std::uint64_t key(At at) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(at.row)) << 32U |
           static_cast<std::uint32_t>(at.col);
  }

  template <Cell T>
  class Cells {
   public:
    /// The cells of a grid, changed in place; a grid on disk is put in cell access.
    [[nodiscard]] bool load(GridOf<T>& grid, T border, std::string_view tag) {
      grid_ = &grid;
      border_ = border;
      tag_ = tag;
      return grid.SetCellAccess() == kSuccess;
    }
    [[nodiscard]] bool create(GridOf<T>& grid, const Grid_Header& like, T value, T border,
                              std::string_view tag) {
      return CreateGrid(grid, {.like = &like, .fillValue = static_cast<float>(value), .cellAccess = true}) ==
                 kSuccess &&
             load(grid, border, tag);
    }
    void store(GridOf<T>&) const {}
    [[nodiscard]] T get(At at) const {
      if (at.col < 1 || at.row < 1 || at.col > grid_->cols() || at.row > grid_->rows()) return border_;
      return grid_->onDisk ? grid_->valueOnDisk(at.col, at.row, tag_) : grid_->cells.at(at.col, at.row);
    }
    void set(At at, T value) {
      if (grid_->onDisk)
        grid_->cellOnDisk(at.col, at.row, tag_) = value;
      else
        grid_->cells.at(at.col, at.row) = value;
    }

   private:
    GridOf<T>* grid_ = nullptr;
    T border_{};
    std::string_view tag_;
  };
};

/// The code of a neighbour without data, straight ones first; 0 for a cell within the data. No data is 0,
/// outside the grid too.
template <class Lattice, class Cells>
[[nodiscard]] int32_t edgeDirection(const Lattice& lattice, const Cells& elevations,
                                    typename Lattice::At at) {
  for (const int32_t code : {1, 3, 5, 7, 2, 4, 6, 8})
    if (elevations.get(lattice.step(at, code)) == 0.0F) return code;
  return 0;
}

}  // namespace terrain
