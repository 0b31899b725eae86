#pragma once
// Grids that are results: made, filled, and handed over whole or not at all.

#include <string_view>

#include "grid/storage.h"

namespace terrain {

/// A new grid that `fill(grid)`, which gives 0 or -1, has filled. Where that or the making fails the grid
/// has status -1 and no cells.
template <class Grid, class Fill>
[[nodiscard]] Grid newGrid(const CreateGridArgs& args, Fill fill) {
  Grid grid;
  if (CreateGrid(grid, args) == kSuccess && fill(grid) == kSuccess) {
    grid.status = kSuccess;
  } else {
    DestroyGrid(grid);
    grid.status = kFailure;
  }
  return grid;
}

/// The same for an operation of `source`, whose status becomes that of the result; `fits` is what the
/// operation needs of it, and has been reported where it is false.
template <class Grid, class Fill>
[[nodiscard]] Grid newGridFrom(const Grid_Header& source, bool fits, const CreateGridArgs& args, Fill fill) {
  Grid grid;
  grid.status = kFailure;
  if (fits) grid = newGrid<Grid>(args, fill);
  source.status = grid.status;
  return grid;
}

}  // namespace terrain
