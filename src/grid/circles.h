#pragma once
// Circles of cells around a centre, for windows, buffers and distances. A circle is held as the half
// width of each of its rows, so that work per centre is that of its rows and not of a square template.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "grid/geometry.h"

namespace terrain {

/// The usual rule: centres within `radius` cells, in float64, with a relative slack for quotients of
/// decimal sizes (a distance of 1.2 over cells of 0.4 reaches 3 cells).
[[nodiscard]] inline auto withinRadius(double radius) {
  return [limit = radius * radius * (1 + 1e-9)](int32_t dCol, int32_t dRow) {
    const double x = dCol;
    const double y = dRow;
    return x * x + y * y <= limit;
  };
}

/// False, with a report, for a radius or distance that no circle has.
[[nodiscard]] inline bool isRadius(double radius, std::string_view routine) {
  return radius >= 0 || fail(routine, "Radius must not be negative") == kSuccess;
}
[[nodiscard]] inline bool hasSquareCells(const GridGeometry& grid) {
  return sameR8(grid.xcellsize, grid.ycellsize);
}
/// `cells`, a length in cells, truncated with the slack of the circles; never below 0 or above `most`.
[[nodiscard]] inline int32_t wholeCells(double cells, int32_t most) {
  return std::clamp(truncateTo<int32_t>(cells * (1 + 1e-9)), 0, most);
}

class CellCircle {
 public:
  /// Rows -reach to reach. `inside(dCol, dRow)` decides which cells belong to the circle; it must be
  /// symmetric about the centre's column and, once false to the east, stay false.
  template <class Inside>
  CellCircle(int32_t reach, Inside inside) : reach_(reach) {
    halfWidths_.reserve(2 * static_cast<std::size_t>(reach) + 1);
    int32_t half = -1;  // from the row before on: neighbouring rows are of similar width
    for (int32_t dRow = -reach; dRow <= reach; ++dRow) {
      while (half < reach && inside(half + 1, dRow)) ++half;
      while (half >= 0 && !inside(half, dRow)) --half;
      halfWidths_.push_back(half);
    }
  }

  /// The cells of a grid within `distance`, in map units, of a centre: the centre alone for a distance
  /// below a cell, and no rows beyond what the grid has.
  [[nodiscard]] static CellCircle within(const GridGeometry& grid, double distance) {
    const double radius = distance > 0 ? distance / grid.meanCellSize() : 0.0;
    return CellCircle(wholeCells(radius, std::max(grid.cols(), grid.rows())), withinRadius(radius));
  }

  [[nodiscard]] int32_t reach() const { return reach_; }
  /// Cells to either side of the centre's column; -1 for a row without cells.
  [[nodiscard]] int32_t halfWidth(int32_t dRow) const {
    return halfWidths_[static_cast<std::size_t>(dRow + reach_)];
  }
  /// Calls use(row, col1, col2) for each row of the circle around (col, row), cut to the grid.
  template <class Use>
  void forEachRow(const GridGeometry& grid, ColRow centre, Use use) const {
    const int32_t last = centre.row > grid.rows() - reach_ ? grid.rows() : centre.row + reach_;
    for (int32_t row = centre.row > reach_ ? centre.row - reach_ : 1; row <= last; ++row) {
      const int32_t half = halfWidth(row - centre.row);
      if (half < 0) continue;
      const int32_t col1 = centre.col > half ? centre.col - half : 1;
      const int32_t col2 = centre.col > grid.cols() - half ? grid.cols() : centre.col + half;
      if (col1 <= col2) use(row, col1, col2);
    }
  }

 private:
  int32_t reach_;
  std::vector<int32_t> halfWidths_;
};

}  // namespace terrain
