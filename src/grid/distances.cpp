// How far cells lie from marked cells.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "grid/circle_fold.h"
#include "grid/column_envelope.h"
#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/new_grid.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "distanceTo in Grid_Module";
constexpr float kOutOfReach = 1.0e30F;

/// Fills `out` with the rows from each cell up to the nearest marked cell of its column, `farthest` + 1
/// where there is none within reach.
int countRowsAbove(const I4Grid_type& marks, R4Grid_type& out, int64_t farthest) {
  std::vector<int64_t> above;
  if (!tryAllocate(above, static_cast<std::size_t>(marks.cols()))) return cannotAllocate(kTag, "window");
  std::ranges::fill(above, farthest + 1);
  const auto count = [&, isMarked = positiveIn(marks)](int32_t, auto cells, auto rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      above[i] = isMarked(cells[i]) ? 0 : std::min(above[i] + 1, farthest + 1);
      rows[i] = static_cast<float>(above[i]);
    }
  };
  return RowPass{reading(marks), filling(out)}.run(kTag, count);
}

/// Turns those counts into distances, rows from the south: the rows down to the nearest marked cell are
/// counted on the way.
int distancesFromCounts(R4Grid_type& out, int64_t farthest, double cellSize) {
  const auto width = static_cast<std::size_t>(out.cols());
  std::vector<int64_t> inColumn, below;
  ColumnEnvelope envelope;
  if (!tryAllocate(inColumn, width) || !tryAllocate(below, width) || !envelope.open(width))
    return cannotAllocate(kTag, "window");
  std::ranges::fill(below, farthest + 1);
  const auto anyOfTie = [](std::size_t, std::size_t) { return true; };
  auto rows = changing(out);
  if (rows.open(kTag) != kSuccess) return kFailure;
  for (int32_t row = out.rows(); row >= 1; --row) {
    const auto measure = [&](std::span<float> cells) {
      for (std::size_t i = 0; i < width; ++i) {
        const auto above = static_cast<int64_t>(cells[i]);
        below[i] = above == 0 ? 0 : std::min(below[i] + 1, farthest + 1);
        inColumn[i] = std::min(above, below[i]);
      }
      std::ranges::fill(cells, kOutOfReach);
      envelope.visit(inColumn, farthest, anyOfTie, [&](std::size_t i, std::size_t, int64_t squared) {
        if (squared <= farthest * farthest)
          cells[i] = static_cast<float>(std::sqrt(static_cast<double>(squared)) * cellSize);
      });
    };
    if (onRow(row, kTag, measure, rows) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

R4Grid_type I4Grid_type::distanceTo(double maxDistance) const {
  const bool square = hasSquareCells(*this);
  if (!square) putMessage("distanceTo requires square cells");
  const bool fits = square && isRadius(maxDistance, kTag);
  return newGridFrom<R4Grid_type>(*this, fits, {.like = this, .setCells = false}, [&](R4Grid_type& out) {
    const int64_t across = int64_t{cols()} + rows();  // no two cells are farther apart
    const auto most = static_cast<int32_t>(std::min<int64_t>(across, std::numeric_limits<int32_t>::max()));
    const int64_t farthest = wholeCells(maxDistance / xcellsize, most);
    const int counted = countRowsAbove(*this, out, farthest);
    return counted == kSuccess ? distancesFromCounts(out, farthest, xcellsize) : kFailure;
  });
}

void I8Grid_type::NearestValidI8(double x, double y, int32_t& col, int32_t& row,
                                 const NearestValidArgs& args) const {
  col = row = static_cast<int32_t>(kNodata);
  const std::optional<ColRow> centre = cellHolding(x, y);
  if (!centre) return;
  const int32_t most = std::max(cols(), rows());
  int32_t reach = 2;
  if (args.cells)
    reach = std::clamp(*args.cells, 0, most);
  else if (args.distance)
    reach = std::clamp(truncateTo<int32_t>(std::round(*args.distance / std::max(xcellsize, ycellsize))), 1,
                       std::max(most, 1));
  const auto isValid = positiveIn(*this);
  int64_t nearest = std::numeric_limits<int64_t>::max();
  // Rows from the nearest on, and of each the columns that can be as near. Of cells as near the first in row
  // order is taken: a row farther off to the north comes before those that were looked at.
  const auto lookAt = [&](int32_t atRow, int64_t away) {
    const double left = std::sqrt(static_cast<double>(nearest - away * away));
    const int64_t half = std::min(int64_t{reach}, truncateTo<int64_t>(left) + 1);
    const auto first = static_cast<int32_t>(std::max<int64_t>(centre->col - half, 1));
    const auto last = static_cast<int32_t>(std::min<int64_t>(centre->col + half, cols()));
    for (int64_t at = first; at <= last; ++at) {
      const int64_t squared = away * away + (at - centre->col) * (at - centre->col);
      const bool nearer = squared < nearest || (squared == nearest && atRow < row);
      if (!nearer || !isValid(ExtractI8ValueColRow(static_cast<int32_t>(at), atRow))) continue;
      nearest = squared;
      col = static_cast<int32_t>(at);
      row = atRow;
    }
  };
  for (int64_t away = 0; away <= reach && away * away <= nearest; ++away) {
    if (away < centre->row) lookAt(static_cast<int32_t>(centre->row - away), away);
    if (away > 0 && away <= rows() - centre->row) lookAt(static_cast<int32_t>(centre->row + away), away);
  }
}

}  // namespace terrain
