#pragma once
// Lakes levelled before the flood.

#include <string_view>

#include "dem/dem.h"

namespace terrain {

/// Levels every lake, a patch of cells that a mask of polygons or a raster covers, connected by sides: all
/// its cells get the mean elevation, summed in float64, of those that hold data and whose gradient
/// (`GetGrad`) is below `maxSlope`; a patch without such cells stays as it is, and so do cells without data.
/// 0, or -1 with a report and the elevations as they were.
int Hydroflatten(DEM_type& dem, std::string_view lakes, float maxSlope);

}  // namespace terrain
