#pragma once
// The cells of a grid in memory: rows from the north, each row from the west, one after the other,
// with an optional margin of cells on every side that has the addresses below 1 and above the counts.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "foundation/memory.h"
#include "grid/cell_types.h"

namespace terrain {

template <Cell T>
class CellArray {
 public:
  /// Room for cols * rows cells and a margin of `pad` cells around them, with values not set. False,
  /// and no room, if there is no memory for it.
  [[nodiscard]] bool allocate(int32_t cols, int32_t rows, int32_t pad = 0) {
    release();
    const auto width = byteCount(1, static_cast<std::uint64_t>(cols) + 2 * static_cast<std::uint64_t>(pad));
    const auto count =
        byteCount(*width, static_cast<std::uint64_t>(rows) + 2 * static_cast<std::uint64_t>(pad));
    if (!count) return false;
    values_ = tryArray<T>(*count);
    if (values_ == nullptr) return false;
    cols_ = cols;
    rows_ = rows;
    pad_ = pad;
    stride_ = static_cast<std::ptrdiff_t>(*width);
    return true;
  }
  void release() {
    values_.reset();
    cols_ = rows_ = pad_ = 0;
    stride_ = 0;
  }

  [[nodiscard]] bool present() const { return values_ != nullptr; }
  [[nodiscard]] bool hasSize(int32_t cols, int32_t rows) const { return cols_ == cols && rows_ == rows; }
  [[nodiscard]] int32_t pad() const { return pad_; }
  /// Cells from one row to the next.
  [[nodiscard]] std::ptrdiff_t stride() const { return stride_; }

  /// The cell (col, row); not tested.
  [[nodiscard]] T& at(int32_t col, int32_t row) { return values_[index(col, row)]; }
  [[nodiscard]] const T& at(int32_t col, int32_t row) const { return values_[index(col, row)]; }
  /// The cells of a row without its margin.
  [[nodiscard]] std::span<T> row(int32_t row) { return {&at(1, row), static_cast<std::size_t>(cols_)}; }
  [[nodiscard]] std::span<const T> row(int32_t row) const {
    return {&at(1, row), static_cast<std::size_t>(cols_)};
  }
  /// All cells, margin included, in their order.
  [[nodiscard]] std::span<T> all() {
    return {values_.get(), static_cast<std::size_t>(stride_) *
                               (static_cast<std::size_t>(rows_) + 2 * static_cast<std::size_t>(pad_))};
  }
  /// The cells of a row with its margin.
  [[nodiscard]] std::span<T> paddedRow(int32_t row) {
    return {&at(1 - pad_, row), static_cast<std::size_t>(stride_)};
  }

 private:
  [[nodiscard]] std::size_t index(int32_t col, int32_t row) const {
    return static_cast<std::size_t>((std::ptrdiff_t{row} - 1 + pad_) * stride_ +
                                    (std::ptrdiff_t{col} - 1 + pad_));
  }

  std::unique_ptr<T[]> values_;
  int32_t cols_ = 0;
  int32_t rows_ = 0;
  int32_t pad_ = 0;
  std::ptrdiff_t stride_ = 0;
};

}  // namespace terrain
