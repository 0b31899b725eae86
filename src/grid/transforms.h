#pragma once
// Grids of indices made from bands, cell by cell.

#include "grid/grid.h"

namespace terrain {

/// Normalised difference of two bands, (first - second) / (first + second) in float32 where both hold data,
/// -9999.0, the nodata value of the result, elsewhere. A sum of 0 gives what float32 division gives. The
/// grids must agree in counts, corners and cell sizes; otherwise, with a report, the result has status -1
/// and no cells.
[[nodiscard]] R4Grid_type NDVI(const R4Grid_type& first, const R4Grid_type& second);

}  // namespace terrain
