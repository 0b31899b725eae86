#pragma once
// From the vertices of a line to the cells of a grid: the cells of the ends of a segment, and the cells
// between them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

#include "foundation/memory.h"
#include "grid/line_cells.h"
#include "table/vector_table.h"

namespace terrain {

struct EndCells {
  ColRow from, to;
};

/// The area that the cells of a grid cover: it reaches one cell beyond the reference points of the last
/// column and the first row.
class CoveredArea {
 public:
  explicit CoveredArea(const GridGeometry& grid)
      : grid_(grid),
        low_{.x = grid.xmin, .y = grid.ymin},
        high_{.x = grid.xmax + grid.xcellsize, .y = grid.ymax + grid.ycellsize} {}

  /// The cells of the ends of the part of a segment that is on the grid; none where no part is.
  [[nodiscard]] std::optional<EndCells> endsOf(const Segment2D& segment) const {
    const std::optional<Segment2D> within = clipSegment(segment, low_, high_);
    if (!within) return std::nullopt;
    return EndCells{.from = cellOf(within->from), .to = cellOf(within->to)};
  }

 private:
  /// The cell of a point on the covered area; those on its upper sides are in the outermost cells.
  [[nodiscard]] ColRow cellOf(const Point& point) const {
    const ColRow cell = grid_.XYtoColRow(point.x, point.y);
    return {.col = std::clamp(cell.col, 1, grid_.cols()), .row = std::clamp(cell.row, 1, grid_.rows())};
  }
  const GridGeometry& grid_;
  Point low_;
  Point high_;
};

/// Appends the cells of the integer line between two cells, from the first to the last. A cell that equals
/// the one before it is left out. False, with nothing appended, if there is no memory.
[[nodiscard]] inline bool appendCells(const EndCells& ends, std::vector<ColRow>& path) {
  const auto [from, to] = ends;
  const auto steps = std::max(std::abs(to.col - from.col), std::abs(to.row - from.row));
  if (!tryGrow(path, static_cast<std::size_t>(steps) + 1)) return false;
  const auto held = static_cast<std::ptrdiff_t>(path.size());
  if (forEachLineCell(from, to, [&path](ColRow cell) { path.push_back(cell); }))
    std::reverse(path.begin() + held, path.end());
  if (held > 0 && path[static_cast<std::size_t>(held)] == path[static_cast<std::size_t>(held) - 1])
    path.erase(path.begin() + held);
  return true;
}

}  // namespace terrain
