#pragma once
// Contributing cells by category, such as land use or rock: for every cell the number of cells of each
// category whose flow reaches it.

#include <string_view>

#include "dem/dem.h"

namespace terrain {

/// Routes every category of `ingrid`, the numbers from 1 to the highest that it has, along `DEM%aspect` and
/// writes what arrives as a binary file without header: little-endian float32, a record a cell, row after row
/// from the north, one number a category; a cell counts itself. Cells without an angle have a record of zeros
/// and pass nothing on, cells of no category (0 and below, nodata) pass on what arrives. The sums are those
/// that `accumulator` makes of each category alone. The file takes its place when it is whole. 0, or -1 with
/// a report.
int CategoricalAccumulator(DEM_type& dem, const I4Grid_type& ingrid, std::string_view outfile);

}  // namespace terrain
