#pragma once
// The sea, taken out of the elevations along a coastline.

#include <string_view>

#include "dem/dem.h"

namespace terrain {

/// Sets the ocean to nodata in the elevations: every cell that is not above `minElevation`, in metres, but
/// for low ground that lies, without the coastline between, side by side with higher ground. `coastline` is
/// a shapefile of lines; where none of them is on the DEM the log says so. 0, or -1 with a report and the
/// elevations as they were.
int MaskOcean(DEM_type& dem, std::string_view coastline, float minElevation);

}  // namespace terrain
