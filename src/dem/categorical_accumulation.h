#pragma once
// Contributing cells by category, such as land use or rock: for every cell the number of cells of each
// category whose flow reaches it.

#include <cstdint>
#include <string_view>
#include <vector>

#include "dem/dem.h"

namespace terrain {

/// Contributing cells of every category in every cell: category fastest, then column, then row from the
/// north.
struct CategoryAmounts {
  int32_t categories = 0;
  std::vector<float> values{};  ///< rows x columns x categories
};

/// Routes every category of `ingrid`, the numbers from 1 to the highest that it has, along `DEM%aspect`; a
/// cell counts itself. Cells without an angle hold zeros and pass nothing on, cells of no category (0 and
/// below, nodata) pass on what arrives. The sums are those that `accumulator` makes of each category alone.
/// 0, or -1 with a report, and no amounts; so where memory does not hold them: the other form needs none.
int CategoricalAccumulator(DEM_type& dem, const I4Grid_type& ingrid, CategoryAmounts& catAccum);

/// The same as a binary file without header: little-endian float32, a record a cell, row after row from the
/// north, one number a category. The file takes its place when it is whole. 0, or -1 with a report.
int CategoricalAccumulator(DEM_type& dem, const I4Grid_type& ingrid, std::string_view outfile);

}  // namespace terrain
