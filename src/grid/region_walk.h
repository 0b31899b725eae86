#pragma once
// Walks over connected cells, front by front. Memory follows the front and not the region, and nothing
// is recursive.

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "grid/cell_view.h"
#include "grid/directions.h"

namespace terrain {

enum class Connection { four, eight };

class RegionWalk {
 public:
  RegionWalk(const GridGeometry& grid, Connection connection)
      : cols_(grid.cols()), rows_(grid.rows()), codeStep_(connection == Connection::four ? 2 : 1) {}

  /// Spreads from `seed`, a cell of the grid, to its region: join(neighbour), called for each neighbour
  /// within the grid, says whether that cell belongs to the region and has not been reached before. False
  /// if there is no memory for the front; the cells reached by then have joined.
  template <class Join>
  [[nodiscard]] bool spread(ColRow seed, Join join) {
    front_.clear();
    next_.clear();
    if (!tryAppend(front_, seed)) return false;
    while (!front_.empty()) {
      for (const ColRow cell : front_)
        for (int32_t code = 1; code <= kDirections; code += codeStep_) {
          const ColRow there = stepFrom(cell, code);
          if (contains(there) && join(there) && !tryAppend(next_, there)) return false;
        }
      std::swap(front_, next_);
      next_.clear();
    }
    return true;
  }

 private:
  [[nodiscard]] bool contains(ColRow cell) const {
    return cell.col >= 1 && cell.row >= 1 && cell.col <= cols_ && cell.row <= rows_;
  }

  int32_t cols_, rows_, codeStep_;
  std::vector<ColRow> front_, next_;
};

/// A rule for walks: cells that hold `from` join and take `to`. The seed is to be set by the caller.
template <class Cells, Cell T>
[[nodiscard]] auto repaint(Cells cells, T from, T to) {
  return [=](ColRow at) {
    if (cells.get(at.col, at.row) != from) return false;
    cells.set(at.col, at.row, to);
    return true;
  };
}

/// Runs use(view of the cells), which gives 0 or -1, as an operation on the grid's cells. 0, or -1 with a
/// report; the grid's status with it.
template <Cell T, class Use>
int onCells(GridOf<T>& grid, std::string_view routine, Use use) {
  Attempt attempt{grid.status};
  if (!grid.holdsItsCells()) return fail(routine, "Grid does not exist");
  if (grid.SetCellAccess() != kSuccess) return fail(routine, "SetCellAccess failed");
  return attempt.end(withCells(grid, routine, use));
}

}  // namespace terrain
