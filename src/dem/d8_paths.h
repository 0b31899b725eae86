#pragma once
// Single-direction flow paths from channel heads, along the neighbours that a weighted sum of terrain factors
// prefers.

#include <vector>

#include "dem/dem.h"

namespace terrain {

/// Weights of the factors; a negative one keeps paths away.
struct D8Weights {
  float slope = 0, plan = 0, aspect = 0, accum = 0, ndvi = 0, preferential = 0;
};

/// Grids on the DEM's cells.
struct D8Paths {
  D8Weights weights{};
  const R4Grid_type* plan = nullptr;    ///< plan curvature; absent: `DEM%plan`
  const R4Grid_type* aspect = nullptr;  ///< absent: `DEM%scaledAspect` where it exists, else `DEM%aspect`
  const R4Grid_type* accum = nullptr;   ///< contributing area; absent: that of the walk that found the heads
  const R4Grid_type* ndvi = nullptr;    ///< vegetation index; absent: without influence
  const R4Grid_type* preferential = nullptr;  ///< cells above 0 are preferred; absent: none
  float maxNdviGradient = 3.4028235e38F;      ///< on steeper cells the vegetation index has no influence
};

/// Follows a path from every head to the edge of the data or into another path. From a cell it goes on to the
/// one of the lower neighbours n with the largest sum of weight times factor:
///
///     slope         drop to n over the distance, over the largest of the neighbours
///     plan          plan curvature of n, from 0 at the lowest to 1 at the highest of the neighbours
///     aspect        (1 + cos(angle between the step and the aspect of the cell)) / 2
///     accum         contributing area of n, over the largest of the neighbours
///     ndvi          as plan, for cells up to `maxNdviGradient`, else 0
///     preferential  1 where n is preferred, else 0
///
/// (0 where a factor has no data, or is the same in all), of equal sums to the steeper one, then to the lower
/// code. A cell whose own direction leads off the data ends the path; one without a lower neighbour, in a
/// flat, goes along its own direction. The codes' angles replace those of `aspect` along the paths, so that
/// directions lead in no circle: every step falls, or is one of the flat's. `onPath`, made here, is 1 in
/// their cells. 0, or -1 with a report.
int tracePaths(DEM_type& dem, const D8Paths& paths, const std::vector<ColRow>& heads,
               const R8Grid_type& walkedAccum, I1Grid_type& onPath);

}  // namespace terrain
