#pragma once
// The share of each cell of a lattice that rings cover, exact but for rounding, without a test of points and
// without a window of cells. Every piece of an edge adds two numbers to the cell that it lies in: how much of
// the cell's height it spans, which all cells to the east of it gain, and the area between it and the cell's
// east side. What a cell is covered is then the sum of the spans to its west and its own areas, and between
// cells with pieces the sum is a whole number, the number of times that the rings wind around them. The work
// is that of the cells that edges touch and of the rows that they cross (the accumulation of signed areas as
// in anti-aliased scan conversion, e.g. Catmull 1978).
//
// Coordinates are in cells: x to the east from the west side of column 1, y to the south from the north
// side of row 1. Rings that run clockwise on the map count 1. Edges beyond the lattice keep their spans, so
// that what lies around it covers it.

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "grid/geometry.h"

namespace terrain {

class CellCoverage {
 public:
  CellCoverage(int32_t cols, int32_t rows) : cols_(cols), rows_(rows) {}

  void clear();
  /// Adds the edges of a ring; the last vertex is joined to the first where they differ. False if there is no
  /// memory.
  [[nodiscard]] bool addRing(std::span<const Point> vertices);
  /// Calls onEdge(col, row, share) for every cell of the lattice that an edge crosses, row by row from the
  /// west, and onInside(row, col1, col2) for the other cells that the rings wind around. An edge along the
  /// sides of cells crosses none. `share` has no sign.
  template <class OnEdge, class OnInside>
  void visit(OnEdge onEdge, OnInside onInside) {
    merge();
    int64_t row = 0;
    int64_t next = 1;  // column after the last one visited
    double spans = 0;
    const auto inside = [&](int64_t end) {
      if (row > 0 && next <= end && std::lround(spans) != 0)
        onInside(static_cast<int32_t>(row), static_cast<int32_t>(next), static_cast<int32_t>(end));
    };
    for (const Piece& piece : pieces_) {
      if (piece.row() != row) {
        inside(static_cast<int64_t>(cols_));
        row = piece.row();
        next = 1;
        spans = 0;
      }
      if (piece.crossed) {
        inside(piece.col() - 1);
        onEdge(static_cast<int32_t>(piece.col()), static_cast<int32_t>(row), std::abs(spans + piece.area));
      } else {
        inside(piece.col());
      }
      next = piece.col() + 1;
      spans += piece.span;
    }
    inside(static_cast<int64_t>(cols_));
  }

 private:
  /// What the edges add to a cell; column 0 stands for all that lies to the west.
  struct Piece {
    uint64_t cell = 0;  ///< row and column, in the order of the rows
    double span = 0;
    double area = 0;
    bool crossed = false;    ///< else the edges are on the cell's east side
    std::size_t number = 0;  ///< sums in a cell are made in the order of the edges

    [[nodiscard]] int64_t row() const { return static_cast<int64_t>(cell >> 32U); }
    [[nodiscard]] int64_t col() const { return static_cast<int64_t>(cell & 0xFFFFFFFFU); }
  };

  [[nodiscard]] bool addEdge(Point from, Point to);
  [[nodiscard]] bool addLevel(Point west, Point east);
  [[nodiscard]] bool addInRow(int64_t row, Point north, Point south, bool southward);
  [[nodiscard]] bool add(int64_t row, double col, double span, double area, bool crossed = true);
  void merge();

  double cols_, rows_;
  std::vector<Piece> pieces_;
  bool merged_ = true;
};

}  // namespace terrain
