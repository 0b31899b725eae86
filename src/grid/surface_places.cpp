#include "grid/surface_places.h"

#include "foundation/numbers.h"

namespace terrain::surface {

namespace {

Place placeAt(double distance, double size, int32_t cell, int32_t count) {
  if (cell < 1 || cell > count) return {};
  return {.fraction = distance / size,
          .cell = cell,
          .onLine = sameR8(distance, 0.0),
          .onBorder = cell == 1 || cell == count};
}

Place placeX(const GridGeometry& grid, double x) {
  if (!grid.coversX(x)) return {};
  const int32_t col = grid.coveringIndex(grid.XYtoColRow(x, grid.ymin).col, grid.cols());
  return placeAt(x - grid.ColRowToXY(col, 1).x, grid.xcellsize, col, grid.cols());
}

Place placeY(const GridGeometry& grid, double y) {
  if (!grid.coversY(y)) return {};
  const int32_t row = grid.coveringIndex(grid.XYtoColRow(grid.xmin, y).row, grid.rows());
  return placeAt(y - grid.ColRowToXY(1, row).y, grid.ycellsize, row, grid.rows());
}

}  // namespace

Places placesOfColumn(const GridGeometry& grid, int32_t col, double radius) {
  const double x = grid.ColRowToXY(col, 1).x;
  Places places;
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = placeX(grid, x + kOffsets[i] * radius);
  return places;
}

Places placesOfRow(const GridGeometry& grid, int32_t row, double radius) {
  const double y = grid.ColRowToXY(1, row).y;
  Places places;
  for (std::size_t i = 0; i < places.size(); ++i) places[i] = placeY(grid, y + kOffsets[i] * radius);
  return places;
}

}  // namespace terrain::surface
