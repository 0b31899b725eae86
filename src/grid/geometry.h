#pragma once
// Where the cells of a grid lie: how many there are, the corners, the cell sizes, and the way between
// map coordinates and cells. It is the base of every header and grid, and a value of its own for
// tables, clips and comparisons.
//
// Cells are addressed (col, row) from 1. Row 1 is the northern row: y falls as the row rises, x
// rises with the column. (xmin, ymin) is the reference point of the south-west cell and (xmax,
// ymax) that of the north-east cell, not the outer edge: the area covered runs to xmax + xcellsize
// and ymax + ycellsize.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace terrain {

inline constexpr double kMetersPerFoot = 0.3048;

/// A cell of a grid; it need not lie within one.
struct ColRow {
  int32_t col = 0;
  int32_t row = 0;
  friend bool operator==(const ColRow&, const ColRow&) = default;
};

struct Point {
  double x = 0;
  double y = 0;
};

/// A rectangle of cells, both ends included.
struct Window {
  int32_t col1 = 1, col2 = 0, row1 = 1, row2 = 0;

  [[nodiscard]] bool empty() const { return col2 < col1 || row2 < row1; }
  [[nodiscard]] std::size_t width() const { return static_cast<std::size_t>(std::int64_t{col2} - col1 + 1); }
  /// 0 for a window without cells.
  [[nodiscard]] std::size_t cells() const {
    return empty() ? 0 : width() * static_cast<std::size_t>(std::int64_t{row2} - row1 + 1);
  }
  /// Where an array of the window's rows holds a cell of the window.
  [[nodiscard]] std::size_t offsetOf(int32_t col, int32_t row) const {
    return static_cast<std::size_t>(std::int64_t{row} - row1) * width() +
           static_cast<std::size_t>(std::int64_t{col} - col1);
  }
};

/// A window of which any side may be left out: it then lies at the end of the grid.
struct WindowArgs {
  std::optional<int32_t> col1{}, col2{}, row1{}, row2{};
};

/// Which fields of the extent `GetExtent` copies out; null for those not wanted.
struct ExtentOut {
  double* xmin = nullptr;
  double* xmax = nullptr;
  double* ymin = nullptr;
  double* ymax = nullptr;
  double* cellsize = nullptr;
  double* xcellsize = nullptr;
  double* ycellsize = nullptr;
  int32_t* ncols = nullptr;
  int32_t* nrows = nullptr;
};

/// Cell size of a grid: one size, or both; `xcellsize` decides where it is given.
struct CellSize {
  std::optional<double> cellsize{};
  std::optional<double> xcellsize{};
  std::optional<double> ycellsize{};
};

struct GridGeometry {
  std::optional<int32_t> ncols{};
  std::optional<int32_t> nrows{};
  double xmin = 0, ymin = 0, xmax = 0, ymax = 0;
  double cellsize = 0;
  double xcellsize = 0, ycellsize = 0;

  void InitializeHeader(int32_t cols, int32_t rows, double west, double south, const CellSize& size);
  [[nodiscard]] bool HeaderExists() const { return ncols.has_value() && nrows.has_value(); }
  void GetExtent(const ExtentOut& out) const;
  /// The geometry of a header or grid, to be copied or replaced as a whole.
  [[nodiscard]] GridGeometry& geometry() { return *this; }
  [[nodiscard]] const GridGeometry& geometry() const { return *this; }

  // ---- counts ----
  /// The counts as numbers, 0 where they are absent.
  [[nodiscard]] int32_t cols() const { return ncols.value_or(0); }
  [[nodiscard]] int32_t rows() const { return nrows.value_or(0); }
  [[nodiscard]] bool contains(int32_t col, int32_t row) const {
    return col >= 1 && row >= 1 && col <= cols() && row <= rows();
  }
  [[nodiscard]] bool contains(ColRow cell) const { return contains(cell.col, cell.row); }
  /// The part of a window that lies within the grid; an empty one where there is none.
  [[nodiscard]] Window clipped(const WindowArgs& window) const {
    return {.col1 = std::max(window.col1.value_or(1), 1),
            .col2 = std::min(window.col2.value_or(cols()), cols()),
            .row1 = std::max(window.row1.value_or(1), 1),
            .row2 = std::min(window.row2.value_or(rows()), rows())};
  }

  // ---- coordinates and cells ----
  /// The lattice cell at or below-left of a point. There is no column or row 0: cells west of the
  /// grid are -1, -2, ..., rows above it -1, -2, ...
  [[nodiscard]] ColRow XYtoColRow(double x, double y) const;
  /// The lattice point nearest a point, kept within the grid's east and north; a tie goes up and right.
  [[nodiscard]] ColRow NearestColRow(double x, double y) const;
  /// The same, but a tie stays at the lower left and nothing is kept within the grid.
  [[nodiscard]] ColRow NearestColRowOpen(double x, double y) const;
  /// Reference point of a cell.
  [[nodiscard]] Point ColRowToXY(int32_t col, int32_t row) const;
  /// True for a point of the area that the cells cover; false for a NaN.
  [[nodiscard]] bool covers(double x, double y) const { return coversX(x) && coversY(y); }
  [[nodiscard]] bool coversX(double x) const { return x >= xmin && x <= xmax + xcellsize; }
  [[nodiscard]] bool coversY(double y) const { return y >= ymin && y <= ymax + ycellsize; }
  /// A lattice cell one beyond the counts as the outer cell that covers its area; other cells as they are.
  [[nodiscard]] ColRow coveringCell(ColRow cell) const {
    return {.col = coveringIndex(cell.col, cols()), .row = coveringIndex(cell.row, rows())};
  }
  [[nodiscard]] static constexpr int32_t coveringIndex(int32_t index, int32_t count) {
    if (index == -1) return 1;
    return index == count + 1 ? count : index;
  }
  /// Columns, or rows, below 1 skip 0: their place on a line without that gap, for counting.
  [[nodiscard]] static constexpr std::int64_t lineIndex(int32_t index) {
    return index >= 1 ? std::int64_t{index} : std::int64_t{index} + 1;
  }

  /// The cell whose area holds a point, the strips beyond xmax and ymax included; none outside.
  [[nodiscard]] std::optional<ColRow> cellHolding(double x, double y) const {
    ColRow cell = XYtoColRow(x, y);
    if (cell.row == -1) cell.row = 1;  // above ymax
    return contains(cell) ? std::optional(cell) : std::nullopt;
  }

  // ---- sizes ----
  /// The cell size, or the mean of width and height where they differ.
  [[nodiscard]] double meanCellSize() const { return (xcellsize + ycellsize) / 2; }
  /// xcellsize * ycellsize, multiplied in float64 and rounded.
  [[nodiscard]] float CellArea() const { return static_cast<float>(xcellsize * ycellsize); }
  /// Sets xmax and ymax from the other fields.
  void updateFarCorner();
  void move(double dx, double dy);
  /// Multiplies the seven coordinates and sizes by a factor.
  void scaleLengths(double factor);
  /// Divides the seven coordinates and sizes by 0.3048; `units` and `feetConverted` of a header stay.
  void MetersToFeet();
  /// A header may give its cell size by width and height alone; where they agree that is the cell size.
  void unifyCellSize() {
    if (!(cellsize > 0) && xcellsize == ycellsize) cellsize = xcellsize;
  }
};

/// Counts equal.
[[nodiscard]] inline bool sameCounts(const GridGeometry& a, const GridGeometry& b) {
  return a.ncols == b.ncols && a.nrows == b.nrows;
}
/// Counts equal, and corners and cell sizes equal within a relative 1e-8.
[[nodiscard]] bool SameGridGeometry(const GridGeometry& a, const GridGeometry& b);
/// The seven coordinates and sizes equal in the same way; counts are not compared.
[[nodiscard]] bool SameExtent(const GridGeometry& a, const GridGeometry& b);

}  // namespace terrain
