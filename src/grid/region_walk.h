#pragma once
// Walks over connected cells, run by run of a row and front by front. Memory follows the front and not the
// region, nothing is recursive, and cells that lie side by side in a row, and so in a scratch file, are
// visited together.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "grid/cell_view.h"

namespace terrain {

enum class Connection { four, eight };

class RegionWalk {
 public:
  RegionWalk(const GridGeometry& grid, Connection connection)
      : cols_(grid.cols()), rows_(grid.rows()), corner_(connection == Connection::eight ? 1 : 0) {}

  /// Spreads from `seed`, a cell of the grid, to its region: join(neighbour), called for every neighbour
  /// within the grid of every cell, mostly more than once, says whether that cell belongs to the region and
  /// has not been reached before. False if there is no memory for the front; the cells reached by then have
  /// joined.
  template <class Join>
  [[nodiscard]] bool spread(ColRow seed, Join join) {
    front_.clear();
    next_.clear();
    if (!tryAppend(front_, runAround(seed, join))) return false;
    while (!front_.empty()) {
      for (const Run& run : front_)
        if (!spreadTo(run.row - 1, run, join) || !spreadTo(run.row + 1, run, join)) return false;
      std::swap(front_, next_);
      next_.clear();
    }
    return true;
  }

 private:
  /// Cells side by side that have joined.
  struct Run {
    int32_t row = 0, col1 = 0, col2 = 0;
  };

  /// The run of a cell that has joined; the cells at both its ends, if the grid has them, do not join.
  template <class Join>
  Run runAround(ColRow at, Join& join) const {
    Run run{.row = at.row, .col1 = at.col, .col2 = at.col};
    while (run.col1 > 1 && join(ColRow{.col = run.col1 - 1, .row = at.row})) --run.col1;
    while (run.col2 < cols_ && join(ColRow{.col = run.col2 + 1, .row = at.row})) ++run.col2;
    return run;
  }
  /// Finds the runs of an adjacent row that touch `run`.
  template <class Join>
  bool spreadTo(int32_t row, const Run& run, Join& join) {
    if (row < 1 || row > rows_) return true;
    const int64_t last = std::min(int64_t{run.col2} + corner_, int64_t{cols_});
    for (int64_t col = std::max(run.col1 - corner_, 1); col <= last; ++col) {
      const ColRow at{.col = static_cast<int32_t>(col), .row = row};
      if (!join(at)) continue;
      const Run found = runAround(at, join);
      if (!tryAppend(next_, found)) return false;
      col = int64_t{found.col2} + 1;  // which does not join
    }
    return true;
  }

  int32_t cols_, rows_;
  int32_t corner_;  // columns that cells of adjacent rows may lie apart
  std::vector<Run> front_, next_;
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

/// Repaints every region of cells that hold `from`, connected by sides and corners: with decide(number of
/// its cells). Meanwhile they hold `seen`, which no other cell may hold before; a region of which that is
/// decided stays so. note(value) is called for the cells around a region, mostly more than once. 0, or -1
/// with a report, which for want of memory is `noMemory`.
template <Cell T, class Note, class Decide>
int repaintRegions(GridOf<T>& grid, T from, T seen, const std::array<std::string_view, 2>& routineAndNoMemory,
                   Note note, Decide decide) {
  const std::string_view routine = routineAndNoMemory[0];
  const std::string_view noMemory = routineAndNoMemory[1];
  return onCells(grid, routine, [&](auto cells) {
    RegionWalk walk(grid, Connection::eight);
    for (int32_t row = 1; row <= grid.rows(); ++row)
      for (int32_t col = 1; col <= grid.cols(); ++col) {
        if (cells.get(col, row) != from) continue;
        int64_t count = 1;
        cells.set(col, row, seen);
        const auto measure = [&, join = repaint(cells, from, seen)](ColRow at) {
          const bool joins = join(at);
          if (joins)
            ++count;
          else if (const T value = cells.get(at.col, at.row); value != seen)
            note(value);
          return joins;
        };
        if (!walk.spread({col, row}, measure)) return fail(routine, noMemory);
        const T mark = decide(count);
        if (mark == seen) continue;
        cells.set(col, row, mark);
        if (!walk.spread({col, row}, repaint(cells, seen, mark))) return fail(routine, noMemory);
      }
    return kSuccess;
  });
}

}  // namespace terrain
