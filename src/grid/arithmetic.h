#pragma once
// Arithmetic of grids, cell by cell: two grids to a new one. Arithmetic in place, with a number or with
// another grid, is with the grid types (grid/grid.h).
//
// The new grid has the geometry and the nodata value of `a`, is kept in memory where there is room for it,
// and holds nodata where either cell is missing: nodata of its grid, or a NaN. Grids on disk are put in row
// access. Where the counts of the two differ, or memory or a scratch file fails, the result has status -1
// and no cells, with a report.

#include "grid/grid.h"

namespace terrain {

/// a * b, in the width of the cells.
[[nodiscard]] R4Grid_type MultiplyR4Grids(const R4Grid_type& a, const R4Grid_type& b);
[[nodiscard]] R8Grid_type MultiplyR8Grids(const R8Grid_type& a, const R8Grid_type& b);
/// a - b.
[[nodiscard]] R4Grid_type SubtractR4Grids(const R4Grid_type& a, const R4Grid_type& b);
[[nodiscard]] R8Grid_type SubtractR8Grids(const R8Grid_type& a, const R8Grid_type& b);
/// a / b; nodata also where b is 0.0.
[[nodiscard]] R4Grid_type DivideR4Grids(const R4Grid_type& a, const R4Grid_type& b);

}  // namespace terrain
