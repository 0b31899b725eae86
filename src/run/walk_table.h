#pragma once
// The data of the walks, computed once for each cell: at most two directions bracket its aspect, and their
// shares and steps depend on the cell alone. A border of cells without steps surrounds the grid, so a walk
// that leaves it ends there without a test for the edge.
//
// The table is in memory and may be of some rows of the grids only.

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <span>

#include "grid/grid.h"

namespace terrain {

/// The limits of a run and the lengths of its steps; the walks only read them.
struct WalkValues {
  bool byTime = false;
  bool byDistance = false;
  bool specific = false;
  bool merged = false;                  ///< all walks at once (merged_walks.h)
  double tolerance = 0.001;             ///< of merged walks by time, relative
  int32_t bandRows = 0;                 ///< rows that are walked at a time (bands.h); 0: as it suits
  float duration = 0.0F;                ///< hours
  float conductivity = 0.0F;            ///< saturated hydraulic conductivity, metres per hour
  float maxDistance = kNodata;          ///< horizontal, metres
  std::array<float, 9> cellDistance{};  ///< metres of a step in direction k, from 1
};

/// Lengths of the eight steps from the cell size: c, and c times 1.4142135 on the diagonals.
[[nodiscard]] std::array<float, 9> stepLengths(double cellsize);

/// One cell. A missing direction has the share 0 and an infinite step, so nothing is sent that way.
struct WalkCell {
  std::array<float, 2> share{};  ///< parts of a share that reaches the cell, in the order of the directions
  std::array<float, 2> step{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()};
  std::array<int32_t, 2> next{};  ///< records from this cell to the neighbour
  float total = 0.0F;             ///< sum of the shares that reached the cell
  int32_t starts = 0;             ///< 1 if a walk starts here: the aspect is not negative
};
static_assert(sizeof(WalkCell) == 32);

/// The record of a cell in a table of `stride` records a row. By time a cell whose gradient is not above 0
/// has no steps.
[[nodiscard]] WalkCell walkCell(const WalkValues& values, float gradient, float aspect, std::int64_t stride);

/// Rows of a grid, from the first to the last.
struct RowRange {
  int32_t first = 1;
  int32_t last = 0;
};

class WalkTable {
 public:
  /// Fills the table from rows of the grids, of one extent. `grad` is read only by time. Several threads may
  /// fill tables from the same grids. 0, or -1 with a report.
  int make(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect, RowRange rows);
  /// The same with all rows.
  int make(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect) {
    return make(values, grad, aspect, {.first = 1, .last = aspect.rows()});
  }

  /// Drops the steps and the starts of cells outside of `band` from which no water comes to it at a cost of
  /// at most `limit`; cost(cell, way) is that of a step. The last step, into the band, costs nothing. Other
  /// steps stay as they are, those of the band's own cells all. 0, or -1 with a report.
  int keepWaysTo(RowRange band, float limit,
                 const std::function<float(const WalkCell& cell, std::size_t way)>& cost);

  [[nodiscard]] int32_t cols() const { return cols_; }
  /// The rows of the grid that the table has.
  [[nodiscard]] RowRange rows() const { return rows_; }
  /// Record of a cell of the grid, or of the border around the rows.
  [[nodiscard]] std::int64_t index(int32_t col, int32_t row) const {
    return (std::int64_t{row} - rows_.first + 1) * (std::int64_t{cols_} + 2) + col;
  }
  /// The shortest step of any cell.
  [[nodiscard]] float shortestStep() const { return shortestStep_; }
  [[nodiscard]] WalkCell* cells() { return cells_.get(); }
  [[nodiscard]] const WalkCell* cells() const { return cells_.get(); }
  /// Copies the totals of a row of the grid out.
  void totals(int32_t row, std::span<float> out) const;

 private:
  int32_t cols_ = 0;
  RowRange rows_{};
  float shortestStep_ = std::numeric_limits<float>::infinity();
  std::unique_ptr<WalkCell[]> cells_;
};

}  // namespace terrain
