#include "table/cell_coverage.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "foundation/memory.h"

namespace terrain {

namespace {

/// Places where edges cross the lattice are on a lattice point within this part of a cell, so that rounding
/// does not add cells that an edge only meets at a corner.
constexpr double kNearPoint = 1e-6;

double snapped(double at) {
  const double whole = std::round(at);
  return std::abs(at - whole) < kNearPoint ? whole : at;
}

bool isWhole(double at) { return at == std::floor(at); }

}  // namespace

void CellCoverage::clear() {
  pieces_.clear();
  merged_ = true;
}

bool CellCoverage::addRing(std::span<const Point> vertices) {
  for (std::size_t i = 0; i < vertices.size(); ++i)
    if (!addEdge(vertices[i], vertices[i + 1 < vertices.size() ? i + 1 : 0])) return false;
  return true;
}

/// Edges are followed from the north, level ones from the west, so that both senses give the same pieces.
bool CellCoverage::addEdge(Point from, Point to) {
  const bool forward = from.y < to.y || (from.y == to.y && from.x < to.x);
  if (!forward) std::swap(from, to);
  if (from.y == to.y) return addLevel(from, to);
  const double lowX = std::min(from.x, to.x);
  const double highX = std::max(from.x, to.x);
  const double perRow = (to.x - from.x) / (to.y - from.y);
  const auto at = [&](double y) {
    if (y == from.y) return from;
    if (y == to.y) return to;
    return Point{.x = snapped(std::clamp(from.x + (y - from.y) * perRow, lowX, highX)), .y = y};
  };
  const double end = std::min(to.y, rows_);
  Point here = at(std::max(from.y, 0.0));
  while (here.y < end) {
    const double row = std::floor(here.y) + 1;
    const Point next = at(std::min(row, end));
    if (!addInRow(static_cast<int64_t>(row), here, next, forward)) return false;
    here = next;
  }
  return true;
}

/// A level edge has no span; it crosses its cells.
bool CellCoverage::addLevel(Point west, Point east) {
  const double row = std::floor(west.y) + 1;
  if (isWhole(west.y) || !(row >= 1 && row <= rows_) || west.x == east.x) return true;
  const double last = std::ceil(std::min(east.x, cols_));
  for (double col = std::floor(std::max(west.x, 0.0)) + 1; col <= last; ++col)
    if (!add(static_cast<int64_t>(row), col, 0, 0)) return false;
  return true;
}

/// The part of an edge in a row: `north` and `south` are its ends.
bool CellCoverage::addInRow(int64_t row, Point north, Point south, bool southward) {
  const double height = southward ? north.y - south.y : south.y - north.y;  // rings run clockwise
  if (north.x == south.x) {
    const double col = std::ceil(north.x);
    if (col < 1) return add(row, 0, height, 0, false);
    return col > cols_ || add(row, col, height, height * (col - north.x), !isWhole(north.x));
  }
  const auto [west, east] = std::minmax(north.x, south.x);
  const auto spanTo = [&, west = west, east = east](double x) {
    return x >= east ? height : height * ((x - west) / (east - west));
  };
  double x = west;
  double span = 0;  // of what lies west of x
  if (west < 0) {
    x = std::min(east, 0.0);
    span = spanTo(x);
    if (!add(row, 0, span, 0, false)) return false;
  }
  const double end = std::min(east, cols_);
  while (x < end) {
    const double col = std::floor(x) + 1;
    const double next = std::min(col, end);
    const double spanned = spanTo(next);
    if (!add(row, col, spanned - span, (spanned - span) * (col - (x + next) / 2))) return false;
    x = next;
    span = spanned;
  }
  return true;
}

/// Pieces of one cell are joined where they follow each other and, before more memory is taken, wherever they
/// are, so that there are at most about twice as many as touched cells.
bool CellCoverage::add(int64_t row, double col, double span, double area, bool crossed) {
  const uint64_t cell = static_cast<uint64_t>(row) << 32U | static_cast<uint64_t>(col);
  if (!pieces_.empty() && pieces_.back().cell == cell) {
    pieces_.back().span += span;
    pieces_.back().area += area;
    pieces_.back().crossed = pieces_.back().crossed || crossed;
    return true;
  }
  if (pieces_.size() == pieces_.capacity()) {
    merge();
    if (pieces_.size() > pieces_.capacity() / 2 &&
        !tryReserve(pieces_, std::max<std::size_t>(64, 2 * pieces_.capacity())))
      return false;
  }
  merged_ = false;
  pieces_.push_back({.cell = cell, .span = span, .area = area, .crossed = crossed, .number = pieces_.size()});
  return true;
}

void CellCoverage::merge() {
  if (std::exchange(merged_, true)) return;
  std::ranges::sort(pieces_, [](const Piece& a, const Piece& b) {
    return std::tie(a.cell, a.number) < std::tie(b.cell, b.number);
  });
  std::size_t kept = 0;
  for (std::size_t i = 1; i < pieces_.size(); ++i) {
    if (pieces_[i].cell == pieces_[kept].cell) {
      pieces_[kept].span += pieces_[i].span;
      pieces_[kept].area += pieces_[i].area;
      pieces_[kept].crossed = pieces_[kept].crossed || pieces_[i].crossed;
    } else {
      pieces_[++kept] = pieces_[i];
    }
  }
  pieces_.erase(pieces_.begin() + static_cast<std::ptrdiff_t>(kept) + 1, pieces_.end());
  for (std::size_t i = 0; i < pieces_.size(); ++i) pieces_[i].number = i;
}

}  // namespace terrain
