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

#include <cmath>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/grid_core.h"
#include "grid/missing.h"

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
  static constexpr RowUse kUsage = kUse;
  static constexpr bool kReads = kUse == RowUse::read;
  using Grid = std::conditional_t<kReads, const GridOf<T>, GridOf<T>>;
  using Row = std::span<std::conditional_t<kReads, const T, T>>;

  RowCursor(Grid& grid, std::string_view name, std::string_view fault)
      : grid_(&grid), name_(name), fault_(fault) {}

  [[nodiscard]] const Grid& grid() const { return *grid_; }
  /// Takes memory for the row of a grid on disk. 0, or -1 with a report.
  [[nodiscard]] int open(std::string_view routine) {
    if (!grid_->GridExists() || !grid_->holdsItsCells()) return fail(routine, "Grid does not exist");
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
    const IoCode code = grid_->readRow(row, buffer_);
    if (code == kIoOk) return kSuccess;
    return fault_.empty() ? reportScratchRead(routine, *grid_) : reportFault(routine, code);
  }
  /// Writes the row back where the grid is on disk and the row may have changed.
  [[nodiscard]] int leave(int32_t row, std::string_view routine) {
    if constexpr (kReads)
      return kSuccess;
    else {
      if (!grid_->onDisk) return kSuccess;
      const IoCode code = grid_->writeRow(row, buffer_);
      if (code == kIoOk) return kSuccess;
      return fault_.empty() ? reportScratchWrite(routine, *grid_, code) : reportFault(routine, code);
    }
  }
  /// The cells of the current row.
  [[nodiscard]] Row cells() const { return cells_; }
  /// The same in columns col1 to col2, of those of the grid.
  [[nodiscard]] Row cells(int32_t col1, int32_t col2) const {
    return cells_.subspan(static_cast<std::size_t>(col1 - 1), static_cast<std::size_t>(col2 - col1 + 1));
  }

 private:
  int reportFault(std::string_view routine, IoCode code) const {
    return reportError(
        {.routine = routine, .file = grid_->scratchFile, .message1 = fault_, .message2 = describe(code)});
  }

  Grid* grid_;
  std::string_view name_;
  std::string_view fault_;
  std::vector<T> buffer_;
  Row cells_;
};

/// Cursors for a pass; `name` is that of the row array in the report of a failed allocation, `fault`, where
/// given, the text for a scratch file that cannot be read or written.
template <Cell T>
[[nodiscard]] auto reading(const GridOf<T>& grid, std::string_view name = "row",
                           std::string_view fault = {}) {
  return RowCursor<T, RowUse::read>(grid, name, fault);
}
template <Cell T>
[[nodiscard]] auto changing(GridOf<T>& grid, std::string_view name = "row", std::string_view fault = {}) {
  return RowCursor<T, RowUse::change>(grid, name, fault);
}
template <Cell T>
[[nodiscard]] auto filling(GridOf<T>& grid, std::string_view name = "row", std::string_view fault = {}) {
  return RowCursor<T, RowUse::fill>(grid, name, fault);
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
    const GridGeometry& grid = std::get<0>(cursors_).grid();
    return visit(routine, grid.clipped({}), std::forward<Body>(body));
  }
  /// The same for the rows and columns of a window within the grids; nothing for an empty one. A body is
  /// given the cells in the window's columns.
  template <class Body>
  [[nodiscard]] int runWithin(const Window& window, std::string_view routine, Body&& body) {
    static_assert((... && (Cursors::kUsage != RowUse::fill)),
                  "A row is written whole: it must be read first");
    return visit(routine, window, std::forward<Body>(body));
  }

 private:
  template <class Body>
  int visit(std::string_view routine, const Window& window, Body&& body) {
    const auto [col1, col2, row1, row2] = window;
    return std::apply(
        [&, col1 = col1, col2 = col2, row1 = row1, row2 = row2](Cursors&... cursor) {
          if ((... || (cursor.open(routine) != kSuccess))) return kFailure;
          if (col1 > col2) return kSuccess;
          for (int32_t row = row1; row <= row2; ++row) {
            if ((... || (cursor.enter(row, routine) != kSuccess))) return kFailure;
            if constexpr (std::is_void_v<decltype(body(row, cursor.cells(col1, col2)...))>)
              body(row, cursor.cells(col1, col2)...);
            else if (body(row, cursor.cells(col1, col2)...) != kSuccess)
              return kFailure;
            if ((... || (cursor.leave(row, routine) != kSuccess))) return kFailure;
          }
          return kSuccess;
        },
        cursors_);
  }

  std::tuple<Cursors...> cursors_;
};

// ---- cell-wise operations in place ----

/// What a cell-wise operation reports under when it fails.
struct PassTexts {
  std::string_view routine{};
  std::string_view rowName = "row";
  std::string_view modeFailed = "SetRowAccess failed";
};

namespace detail {

/// cell = keeps(cell) ? cell : change(cell). The change is worked out for every cell, so that the loop has
/// no branch.
template <Cell T, class Keeps, class Change>
int changeCells(GridOf<T>& grid, const PassTexts& texts, const WindowArgs& window, Keeps keeps,
                Change change) {
  Attempt attempt{grid.status};
  if (grid.SetRowAccess() != kSuccess) return fail(texts.routine, texts.modeFailed);
  RowPass pass(changing(grid, texts.rowName));
  return attempt.end(pass.runWithin(grid.clipped(window), texts.routine, [&](int32_t, std::span<T> row) {
    for (T& cell : row) {
      const T changed = change(cell);
      cell = keeps(cell) ? cell : changed;
    }
  }));
}

}  // namespace detail

/// cell = change(cell), row by row, for every cell of a window, nodata included; a NaN stays as it is. Sets
/// the grid's status. 0, or -1 with a report. `change` is called for every cell, those that stay included.
template <Cell T, class Change>
int onEvery(GridOf<T>& grid, const PassTexts& texts, Change change, const WindowArgs& window = {}) {
  const auto keeps = [](T cell) {
    if constexpr (std::is_floating_point_v<T>)
      return std::isnan(cell);
    else
      return false;
  };
  return detail::changeCells(grid, texts, window, keeps, change);
}

/// The same for the cells that hold a value; nodata stays too.
template <Cell T, class Change>
int onValid(GridOf<T>& grid, const PassTexts& texts, Change change, const WindowArgs& window = {}) {
  return detail::changeCells(grid, texts, window, missingIn(grid), change);
}

}  // namespace terrain
