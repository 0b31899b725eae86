#pragma once
// Straight lines on the lattice: the cells of a line between two cells, and the part of a segment
// within a rectangle.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include "grid/geometry.h"

namespace terrain {

/// Calls visit(cell) for the cells of the integer line between two cells (Bresenham 1965), both ends
/// included, in the order of rising columns, or of rising rows where the line is steeper than 45 degrees.
/// Gives true where that order runs from `to` to `from`.
template <class Visit>
bool forEachLineCell(ColRow from, ColRow to, Visit visit) {
  const bool steep = std::abs(std::int64_t{to.row} - from.row) > std::abs(std::int64_t{to.col} - from.col);
  if (steep) {
    std::swap(from.col, from.row);
    std::swap(to.col, to.row);
  }
  const bool reversed = to.col < from.col;
  if (reversed) std::swap(from, to);
  const std::int64_t along = std::int64_t{to.col} - from.col;
  const std::int64_t across = std::abs(std::int64_t{to.row} - from.row);
  const int32_t side = from.row < to.row ? 1 : -1;
  std::int64_t error = along / 2;
  int32_t row = from.row;
  for (std::int64_t col = from.col; col <= to.col; ++col) {
    const auto at = static_cast<int32_t>(col);
    visit(steep ? ColRow{.col = row, .row = at} : ColRow{.col = at, .row = row});
    error -= across;
    if (error < 0) {
      row += side;
      error += along;
    }
  }
  return reversed;
}

struct Segment2D {
  Point from, to;
};

/// The part of a segment within a rectangle, bounds included, in the segment's own sense; empty where no
/// part lies within (Liang and Barsky 1984). Ends within the rectangle stay as they are.
[[nodiscard]] inline std::optional<Segment2D> clipSegment(const Segment2D& segment, Point low, Point high) {
  const double dx = segment.to.x - segment.from.x;
  const double dy = segment.to.y - segment.from.y;
  double enter = 0;
  double leave = 1;
  // One side: the segment is within it where step * t <= room.
  const auto side = [&](double step, double room) {
    if (step == 0) return room >= 0;
    const double t = room / step;
    if (step < 0)
      enter = std::max(enter, t);
    else
      leave = std::min(leave, t);
    return enter <= leave;
  };
  if (!side(-dx, segment.from.x - low.x) || !side(dx, high.x - segment.from.x) ||
      !side(-dy, segment.from.y - low.y) || !side(dy, high.y - segment.from.y))
    return std::nullopt;
  const auto at = [&](double t) {
    return Point{.x = std::clamp(segment.from.x + t * dx, low.x, high.x),
                 .y = std::clamp(segment.from.y + t * dy, low.y, high.y)};
  };
  return Segment2D{.from = enter > 0 ? at(enter) : segment.from, .to = leave < 1 ? at(leave) : segment.to};
}

}  // namespace terrain
