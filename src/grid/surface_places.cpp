#include "grid/surface_places.h"

#include "foundation/numbers.h"

namespace terrain::surface {

namespace {

/// Cells one beyond the lattice belong to the area that the outer cells cover.
int32_t covered(int32_t cell, int32_t count) {
  if (cell == -1) return 1;
  return cell == count + 1 ? count : cell;
}

Place placeAt(double distance, double size, int32_t cell, int32_t count) {
  if (cell < 1 || cell > count) return {};
  return {.fraction = distance / size,
          .cell = cell,
          .onLine = sameR8(distance, 0.0),
          .onBorder = cell == 1 || cell == count};
}

Place placeX(const Grid_Header& grid, double x) {
  if (!(x >= grid.xmin && x <= grid.xmax + grid.xcellsize)) return {};
  const int32_t col = covered(grid.XYtoColRow(x, grid.ymin).col, grid.cols());
  return placeAt(x - grid.ColRowToXY(col, 1).x, grid.xcellsize, col, grid.cols());
}

Place placeY(const Grid_Header& grid, double y) {
  if (!(y >= grid.ymin && y <= grid.ymax + grid.ycellsize)) return {};
  const int32_t row = covered(grid.XYtoColRow(grid.xmin, y).row, grid.rows());
  return placeAt(y - grid.ColRowToXY(1, row).y, grid.ycellsize, row, grid.rows());
}

}  // namespace

Places placesOfColumn(const Grid_Header& grid, int32_t col, double radius) {
  const double x = grid.ColRowToXY(col, 1).x;
  Places places;
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = placeX(grid, x + kOffsets[i] * radius);
  return places;
}

Places placesOfRow(const Grid_Header& grid, int32_t row, double radius) {
  const double y = grid.ColRowToXY(1, row).y;
  Places places;
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = placeY(grid, y + kOffsets[i] * radius);
  return places;
}

}  // namespace terrain::surface
