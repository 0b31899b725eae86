#pragma once
// Sums, maxima and the like of the cells in a circle around every cell of a grid, in work per cell of the
// order of the circle's rows.
//
// The cells of a row take part in the circles of all rows within reach. Its folds over the columns
// col - h .. col + h are made for h = 0, 1, 2, ... one from the other, two columns at a time,
//
//     fold(h) = fold(h - 1) + cell(col - h) + cell(col + h)
//
// and each goes to the rows from which the circle is that wide here. Nothing is ever subtracted, so a huge
// value leaves no trace in circles that do not hold it. The order of additions is that of this scheme.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/memory.h"
#include "grid/circles.h"
#include "grid/rows.h"

namespace terrain {

/// `combine` is associative and commutative, `neutral` changes nothing in it.
template <class V, class Combine>
class CircleFold {
 public:
  CircleFold(const GridGeometry& grid, const CellCircle& circle, V neutral, Combine combine)
      : circle_(circle),
        neutral_(neutral),
        combine_(combine),
        cols_(static_cast<std::size_t>(grid.cols())),
        rows_(grid.rows()) {}

  /// False if there is no memory for the rows within reach.
  [[nodiscard]] bool open() {
    const int64_t reach = circle_.reach();
    held_ = std::min(int64_t{rows_}, 2 * reach + 1);
    const auto count = byteCount(cols_, static_cast<std::uint64_t>(held_));
    if (!count || !tryAllocate(folds_, *count) || !tryAllocate(wide_, cols_) ||
        !tryReserve(byWidth_, static_cast<std::size_t>(2 * reach + 1)))
      return false;
    std::ranges::fill(folds_, neutral_);
    for (int64_t dRow = -reach; dRow <= reach; ++dRow)
      if (const int32_t half = circle_.halfWidth(static_cast<int32_t>(dRow)); half >= 0)
        byWidth_.push_back({.dRow = static_cast<int32_t>(dRow),
                            .half = std::min(static_cast<std::size_t>(half), cols_ - 1)});
    std::ranges::sort(byWidth_, {}, &CircleRow::half);
    return true;
  }

  /// Takes the next row, from 1 on; an empty span for a row of neutral values.
  void add(int32_t row, std::span<const V> cells) {
    const int64_t newest = int64_t{row} + circle_.reach();
    if (row > 1 && newest <= rows_) std::ranges::fill(foldsOf(newest), neutral_);
    if (cells.empty()) return;
    std::ranges::copy(cells, wide_.begin());
    std::size_t h = 0;
    for (const CircleRow& part : byWidth_) {
      while (h < part.half) widen(cells.data(), ++h);
      const int64_t to = int64_t{row} - part.dRow;
      if (to >= 1 && to <= rows_) into(foldsOf(to).data(), wide_.data(), cols_);
    }
  }

  /// The folds of the circles around a row's cells, complete once the rows within reach have been added.
  [[nodiscard]] std::span<const V> row(int32_t row) const {
    return std::span(folds_).subspan(slot(row), cols_);
  }

 private:
  struct CircleRow {
    int32_t dRow = 0;
    std::size_t half = 0;
  };

  [[nodiscard]] std::size_t slot(int64_t row) const {
    return static_cast<std::size_t>((row - 1) % held_) * cols_;
  }
  [[nodiscard]] std::span<V> foldsOf(int64_t row) { return std::span(folds_).subspan(slot(row), cols_); }
  void widen(const V* cells, std::size_t h) {
    into(wide_.data() + h, cells, cols_ - h);
    into(wide_.data(), cells + h, cols_ - h);
  }
  void into(V* to, const V* from, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) to[i] = combine_(to[i], from[i]);
  }

  const CellCircle& circle_;
  V neutral_;
  Combine combine_;
  std::size_t cols_;
  int32_t rows_;
  int64_t held_ = 1;
  std::vector<V> folds_;  // a ring of rows
  std::vector<V> wide_;   // fold(h) of the row that is being added
  std::vector<CircleRow> byWidth_;
};

/// Reads a grid once from the north with rows to spare: take(row, cells) is given each row, give(row) is
/// called for it when the `reach` rows after it have been taken too, and may change it. 0, or -1 with a
/// report; a `give` that does not give 0 ends the pass.
template <Cell T, class Take, class Give>
[[nodiscard]] int passAhead(const GridOf<T>& grid, int32_t reach, const PassTexts& texts, Take take,
                            Give give) {
  auto ahead = reading(grid, texts.rowName);
  if (ahead.open(texts.routine) != kSuccess) return kFailure;
  const int64_t end = int64_t{grid.rows()} + reach;
  for (int64_t at = 1; at <= end; ++at) {
    if (at <= grid.rows()) {
      const auto row = static_cast<int32_t>(at);
      if (ahead.enter(row, texts.routine) != kSuccess) return kFailure;
      take(row, ahead.cells());
    }
    if (at > reach && give(static_cast<int32_t>(at - reach)) != kSuccess) return kFailure;
  }
  return kSuccess;
}

/// body(cells...) on one row of cursors that are open. 0, or -1 with a report.
template <class Body, class... Cursors>
[[nodiscard]] int onRow(int32_t row, std::string_view routine, Body body, Cursors&... cursors) {
  if ((... || (cursors.enter(row, routine) != kSuccess))) return kFailure;
  body(cursors.cells()...);
  return (... || (cursors.leave(row, routine) != kSuccess)) ? kFailure : kSuccess;
}

}  // namespace terrain
