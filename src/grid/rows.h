#pragma once
// The one way over the rows of grids: a cursor hands out the row itself for a grid in memory and a
// buffer for one on disk; a pass walks one or several grids, of any types, row by row from the north.
//
//   RowPass{reading(a, "aRow"), filling(out, "outRow")}.run(routine, [&](int32_t row, auto from, auto to)
//   {...});
//
// A grid's cells are what the body is given, nodata and NaN included. Grids on disk are put in row
// access. Failures are reported under `routine`: a row array that cannot be allocated by its name, a
// scratch file that cannot be read or written by its own. Rows written before a failure stay written.

#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/grid_core.h"

namespace terrain {

enum class RowUse {
  read,    ///< the cells as they are
  change,  ///< read, and written back
  fill,    ///< written; what the row holds before is not defined
};

/// The rows of one grid, one at a time.
template <Cell T, RowUse kUse>
class RowCursor {
 public:
  static constexpr bool kReads = kUse == RowUse::read;
  using Grid = std::conditional_t<kReads, const GridOf<T>, GridOf<T>>;
  using Row = std::span<std::conditional_t<kReads, const T, T>>;

  RowCursor(Grid& grid, std::string_view name) : grid_(&grid), name_(name) {}

  [[nodiscard]] const Grid& grid() const { return *grid_; }
  /// Takes memory for the row of a grid on disk. 0, or -1 with a report.
  [[nodiscard]] int open(std::string_view routine) {
    if (!grid_->holdsItsCells()) return fail(routine, "Grid does not exist");
    if (!grid_->onDisk || tryAllocate(buffer_, static_cast<std::size_t>(grid_->cols()))) return kSuccess;
    return cannotAllocate(routine, name_);
  }
  /// Moves to a row within the grid.
  [[nodiscard]] int enter(int32_t row, std::string_view routine) {
    if (!grid_->onDisk) {
      cells_ = grid_->cells.row(row);
      return kSuccess;
    }
    cells_ = buffer_;
    if constexpr (kUse == RowUse::fill) return kSuccess;
    return grid_->readRow(row, buffer_) == kIoOk ? kSuccess : reportScratchRead(routine, *grid_);
  }
  /// Writes the row back where the grid is on disk and the row may have changed.
  [[nodiscard]] int leave(int32_t row, std::string_view routine) {
    if constexpr (kReads)
      return kSuccess;
    else {
      if (!grid_->onDisk) return kSuccess;
      const IoCode code = grid_->writeRow(row, buffer_);
      return code == kIoOk ? kSuccess : reportScratchWrite(routine, *grid_, code);
    }
  }
  [[nodiscard]] Row cells() const { return cells_; }

 private:
  Grid* grid_;
  std::string_view name_;
  std::vector<T> buffer_;
  Row cells_;
};

/// Cursors for a pass; `name` is that of the row array in the report of a failed allocation.
template <Cell T>
[[nodiscard]] auto reading(const GridOf<T>& grid, std::string_view name = "row") {
  return RowCursor<T, RowUse::read>(grid, name);
}
template <Cell T>
[[nodiscard]] auto changing(GridOf<T>& grid, std::string_view name = "row") {
  return RowCursor<T, RowUse::change>(grid, name);
}
template <Cell T>
[[nodiscard]] auto filling(GridOf<T>& grid, std::string_view name = "row") {
  return RowCursor<T, RowUse::fill>(grid, name);
}

/// One pass over grids of the same counts.
template <class... Cursors>
class RowPass {
 public:
  explicit RowPass(Cursors... cursors) : cursors_(std::move(cursors)...) {}

  /// Calls body(row, cells of each grid...) for every row. A body that gives a status ends the pass where
  /// that is not 0. 0, or -1.
  template <class Body>
  [[nodiscard]] int run(std::string_view routine, Body&& body) {
    return std::apply(
        [&](Cursors&... cursor) {
          if ((... || (cursor.open(routine) != kSuccess))) return kFailure;
          const int32_t rows = std::get<0>(cursors_).grid().rows();
          for (int32_t row = 1; row <= rows; ++row) {
            if ((... || (cursor.enter(row, routine) != kSuccess))) return kFailure;
            if constexpr (std::is_void_v<decltype(body(row, cursor.cells()...))>)
              body(row, cursor.cells()...);
            else if (body(row, cursor.cells()...) != kSuccess)
              return kFailure;
            if ((... || (cursor.leave(row, routine) != kSuccess))) return kFailure;
          }
          return kSuccess;
        },
        cursors_);
  }

 private:
  std::tuple<Cursors...> cursors_;
};

// ---- cell-wise operations in place ----

/// What a cell-wise operation reports under when it fails.
struct PassTexts {
  std::string_view routine{};
  std::string_view rowName = "row";
  std::string_view modeFailed = "SetRowAccess failed";
};

/// cell = change(cell) for every cell, row by row; sets the grid's status. 0, or -1 with a report.
template <Cell T, class Change>
int onEvery(GridOf<T>& grid, const PassTexts& texts, Change change) {
  Attempt attempt{grid.status};
  if (grid.SetRowAccess() != kSuccess) return fail(texts.routine, texts.modeFailed);
  return attempt.end(
      RowPass{changing(grid, texts.rowName)}.run(texts.routine, [&](int32_t, std::span<T> row) {
        for (T& cell : row) cell = change(cell);
      }));
}

/// The same for every cell that is not nodata.
template <Cell T, class Change>
int onValid(GridOf<T>& grid, const PassTexts& texts, Change change) {
  return onEvery(grid, texts, [nodata = grid.nodataValue(), change](T cell) {
    return cell == nodata ? cell : change(cell);
  });
}

}  // namespace terrain
