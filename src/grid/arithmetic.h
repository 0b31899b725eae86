#pragma once
// Arithmetic of grids, cell by cell: two grids to a new one. Grid and number in place are operations of
// the grid types (grid/grid.h).

#include "grid/grid.h"

namespace terrain {

/// a * b where both are valid, in float32; the new grid has the geometry and the nodata value of `a`,
/// which every other cell holds. The counts of the two must agree and a grid on disk must be in row
/// access; otherwise, with a report, the result has status -1 and no cells.
[[nodiscard]] R4Grid_type MultiplyR4Grids(const R4Grid_type& a, const R4Grid_type& b);
/// a / b in the same way; nodata also where b is 0.0.
[[nodiscard]] R4Grid_type DivideR4Grids(const R4Grid_type& a, const R4Grid_type& b);

}  // namespace terrain
