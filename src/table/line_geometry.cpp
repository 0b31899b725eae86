// What lines are on a grid: their cells in order, and which line is nearest each cell.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "grid/circle_fold.h"
#include "grid/circles.h"
#include "grid/column_envelope.h"
#include "grid/grid.h"
#include "grid/row_window.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "table/line_path.h"
#include "table/line_vectors.h"
#include "table/part_ranges.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

constexpr std::string_view kTraceTag = "TraceCells in DataTableModule";
constexpr std::string_view kDistanceTag = "ID_distance in DataTableModule";

// ---- the end cells of lines that stick into others ----

/// Cells with the value v, and with w, of those that differ from a centre by the steps given.
struct Tally {
  int32_t v = 0, w = 0;
};

/// The line that takes over a cell of line v: where just one of the eight neighbours is of line v and several
/// of another line, and that has more of the sixteen cells of the ring around them. Else v.
int32_t ownerOf(int32_t v, const RowWindow<int32_t>& window, int32_t row, std::ptrdiff_t col) {
  static constexpr int8_t kAround[8][2] = {{1, 0},  {1, -1}, {0, -1}, {-1, -1},
                                           {-1, 0}, {-1, 1}, {0, 1},  {1, 1}};
  const auto at = [&](int32_t dCol, int32_t dRow) { return window.row(row + dRow)[col + dCol]; };
  Tally near;
  int32_t w = 0;
  for (const auto& step : kAround) {
    const int32_t other = at(step[0], step[1]);
    if (other == v && ++near.v > 1) return v;
    if (other > 0 && other != v && w == 0) w = other;
    if (w > 0 && other == w) ++near.w;
  }
  if (near.v != 1 || near.w < 2) return v;
  Tally ring;
  for (int32_t dRow = -2; dRow <= 2; ++dRow)
    for (int32_t dCol = -2; dCol <= 2; dCol += std::abs(dRow) == 2 ? 1 : 4) {
      const int32_t other = at(dCol, dRow);
      if (other == v) ++ring.v;
      if (other == w) ++ring.w;
    }
  return ring.w > ring.v ? w : v;
}

/// Hands such cells over. The decisions are those of the grid as it was: the window holds copies of the rows
/// read so far.
int handOverEnds(I4Grid_type& lines) {
  constexpr int32_t kReach = 2;
  RowWindow<int32_t> window(lines, kReach, kReach);
  if (!window.open()) return cannotAllocate(kDistanceTag, "rows");
  return RowPass{changing(lines)}.run(kDistanceTag, [&](int32_t row, std::span<int32_t> cells) {
    if (window.moveTo(row) != kIoOk) return reportScratchRead(kDistanceTag, lines);
    for (std::size_t i = 0; i < cells.size(); ++i)
      if (cells[i] > 0) cells[i] = ownerOf(cells[i], window, row, static_cast<std::ptrdiff_t>(i));
    return kSuccess;
  });
}

// ---- the nearest line ----

/// How far lines reach. Distances are compared as squares of whole cells, in integers; what is written is
/// float32.
struct Reach {
  float distance = 0;
  float cellSize = 0;
  int64_t cells = 0;

  Reach(float limit, const GridGeometry& grid)
      : distance(limit), cellSize(static_cast<float>(grid.cellsize)) {
    const int64_t across = int64_t{grid.cols()} + grid.rows();  // no two cells are farther apart
    cells = truncateTo<int64_t>(std::trunc(distance / cellSize));
    cells = std::min(cells, across);
    if (std::fmod(distance, cellSize) > 0) ++cells;
  }
  [[nodiscard]] float lengthOf(int64_t squared) const {
    return std::sqrt(static_cast<float>(squared)) * cellSize;
  }
  [[nodiscard]] bool holds(int64_t squared) const {
    return squared <= cells * cells && lengthOf(squared) <= distance;
  }
};

/// Stores, for each cell, the rows up to the nearest line cell of its column, itself included, and that
/// cell's ID; `reach` + 1 rows where there is none within reach.
int lookNorth(const I4Grid_type& lines, int64_t reach, I4Grid_type& ids, R4Grid_type& rowsUp) {
  std::vector<int64_t> above;
  std::vector<int32_t> idAbove;
  if (!tryAllocate(above, static_cast<std::size_t>(lines.cols())) || !tryAllocate(idAbove, above.size()))
    return cannotAllocate(kDistanceTag, "window");
  std::ranges::fill(above, reach + 1);
  const auto count = [&](int32_t, auto cells, auto idRow, auto upRow) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      above[i] = cells[i] > 0 ? 0 : std::min(above[i] + 1, reach + 1);
      if (cells[i] > 0) idAbove[i] = cells[i];
      idRow[i] = idAbove[i];
      upRow[i] = static_cast<float>(above[i]);
    }
  };
  return RowPass{reading(lines), filling(ids), filling(rowsUp)}.run(kDistanceTag, count);
}

/// Turns those into the ID of the nearest line and the distance, rows from the south: the rows down to the
/// nearest line cell are counted on the way.
int nearestLines(const I4Grid_type& lines, const Reach& reach, I4Grid_type& ids, R4Grid_type& distances) {
  const auto width = static_cast<std::size_t>(ids.cols());
  const int32_t nodata = ids.nodataValue();
  std::vector<int64_t> below, inColumn, rowOf;
  std::vector<int32_t> idBelow, idOf;
  ColumnEnvelope envelope;
  if (!tryAllocate(below, width) || !tryAllocate(inColumn, width) || !tryAllocate(rowOf, width) ||
      !tryAllocate(idBelow, width) || !tryAllocate(idOf, width) || !envelope.open(width))
    return cannotAllocate(kDistanceTag, "window");
  std::ranges::fill(below, reach.cells + 1);
  auto lineRow = reading(lines);
  auto idRow = changing(ids);
  auto distanceRow = changing(distances);
  if (lineRow.open(kDistanceTag) != kSuccess || idRow.open(kDistanceTag) != kSuccess ||
      distanceRow.open(kDistanceTag) != kSuccess)
    return kFailure;
  // Of line cells as near the first in row order is taken.
  const auto first = [&](std::size_t west, std::size_t east) { return rowOf[west] <= rowOf[east]; };
  for (int32_t row = ids.rows(); row >= 1; --row) {
    const auto measure = [&](auto lineCells, auto idCells, auto cells) {
      for (std::size_t i = 0; i < width; ++i) {
        below[i] = lineCells[i] > 0 ? 0 : std::min(below[i] + 1, reach.cells + 1);
        if (lineCells[i] > 0) idBelow[i] = lineCells[i];
        const auto above = static_cast<int64_t>(cells[i]);
        const bool north = above <= below[i];
        inColumn[i] = north ? above : below[i];
        rowOf[i] = north ? row - above : row + below[i];
        idOf[i] = north ? idCells[i] : idBelow[i];
      }
      std::ranges::fill(idCells, nodata);
      std::ranges::fill(cells, kNodata);
      envelope.visit(inColumn, reach.cells, first, [&](std::size_t i, std::size_t from, int64_t squared) {
        if (!reach.holds(squared)) return;
        idCells[i] = idOf[from];
        cells[i] = reach.lengthOf(squared);
      });
    };
    if (onRow(row, kDistanceTag, measure, lineRow, idRow, distanceRow) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

int LineVectorType::TraceCells(int64_t irec, const Grid_Header& grid, std::vector<int32_t>& cols,
                               std::vector<int32_t>& rows, bool useAlt) {
  cols.clear();
  rows.clear();
  return onShape(irec, [&](const SegmentType& line) {
    const bool alt = useAlt && !line.xAlt.empty();
    const std::vector<double>& x = alt ? line.xAlt : line.x;
    const std::vector<double>& y = alt ? line.yAlt : line.y;
    if (grid.cols() < 1 || grid.rows() < 1) return fail(kTraceTag, "Grid does not exist");
    const CoveredArea area(grid);
    std::vector<ColRow> path;
    const bool held =
        forEachPart(line.parts, 1, std::min(x.size(), y.size()), [&](std::size_t begin, std::size_t end) {
          for (std::size_t i = begin; i + 1 < end; ++i) {
            const auto ends =
                area.endsOf({.from = {.x = x[i], .y = y[i]}, .to = {.x = x[i + 1], .y = y[i + 1]}});
            if (ends && !appendCells(*ends, path)) return false;
          }
          return true;
        });
    if (!held || !tryAllocate(cols, path.size()) || !tryAllocate(rows, path.size())) {
      cols.clear();
      return cannotAllocate(kTraceTag, "cols rows arrays");
    }
    for (std::size_t i = 0; i < path.size(); ++i) {
      cols[i] = path[i].col;
      rows[i] = path[i].row;
    }
    return kSuccess;
  });
}

// Around every line cell a kernel of distances could be laid, in row order, each cell keeping the smallest.
// The work of that grows with the square of the distance. Here the nearest cell of each column is found in
// one pass from the north and one from the south, and the nearest of those by the envelope of their
// parabolas, so the work is that of the cells alone. The result is the same, with one exception: where two
// distances of different length are the same float32 (beyond 1000 cells), the kernels leave the cell to the
// first line cell in row order, and here it goes to the nearer one.
int LineVectorType::ID_distance(float distance, const Grid_Header& like, I4Grid_type& idGrid,
                                R4Grid_type& distanceGrid, const LineDistanceOptions& options) {
  Attempt attempt{status};
  const Grid_Header lattice = like;  // may be that of an output
  const std::optional<bool> onDisk = idGrid.onDisk;
  for (Grid_Header* output : {static_cast<Grid_Header*>(&idGrid), static_cast<Grid_Header*>(&distanceGrid),
                              static_cast<Grid_Header*>(options.lineGrid)}) {
    if (output == nullptr) continue;
    DestroyGrid(*output);
    output->status = kFailure;
  }
  if (!isRadius(static_cast<double>(distance), kDistanceTag)) return kFailure;
  if (!hasSquareCells(lattice) || !(lattice.cellsize > 0)) return fail(kDistanceTag, "Requires square cells");
  I4Grid_type lines;
  lines.onDisk = *onDisk;
  if (Rasterize(lines, {.like = &lattice,
                        .flagField = options.flagField,
                        .flagValue = options.flagValue,
                        .lengthField = options.lengthField,
                        .priorityField = options.priorityField}) != kSuccess)
    return fail(kDistanceTag, "ERROR rasterizing input line shapefile");
  const Reach reach(distance, lattice);
  const CreateGridArgs plain{.like = &lattice, .setCells = false};
  CreateGridArgs withNodata = plain;
  withNodata.nodata = kNodata;
  const bool made = handOverEnds(lines) == kSuccess && CreateGrid(idGrid, plain) == kSuccess &&
                    CreateGrid(distanceGrid, withNodata) == kSuccess &&
                    lookNorth(lines, reach.cells, idGrid, distanceGrid) == kSuccess &&
                    nearestLines(lines, reach, idGrid, distanceGrid) == kSuccess;
  if (!made) {
    DestroyGrid(idGrid);
    DestroyGrid(distanceGrid);
    idGrid.status = distanceGrid.status = kFailure;
    return kFailure;
  }
  if (options.lineGrid != nullptr) *options.lineGrid = std::move(lines);
  return attempt.succeed();
}

}  // namespace terrain
