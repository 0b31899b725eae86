#pragma once
// Roads across valleys, which a DEM shows as dams, lowered where streams cross them.

#include <string>

#include "dem/dem.h"

namespace terrain {

struct RoadCrossings {
  std::string file{};         ///< a shapefile of points, one a crossing
  float outerRadius = 50.0F;  ///< metres; nothing is changed beyond it
  float innerRadius = 25.0F;  ///< metres; within it the ground is lowered to the valley's surface in full
  float ditchRadius = 8.0F;   ///< metres; low ground this near to high ground is taken for a ditch
  bool debug = false;         ///< writes the elevations as "crossingChk" beside the DEM
};

/// Around each point on the DEM a plane is fitted to all ground within the outer radius (grid/filters.h),
/// which tells low ground from high, then another to the low ground without ditches: the valley's surface.
/// The ground is lowered to that, in full within the inner radius and by a share that falls to 0 at the outer
/// one, never raised, and never below the lowest ground within the zone. A point with less than four cells of
/// low ground changes nothing. One point after the other, in the order of the file; sets up the filter. 0, or
/// -1 with a report; a file or radii that cannot be used leave the elevations as they were.
int SmoothRoadCrossings(DEM_type& dem, const RoadCrossings& settings);

}  // namespace terrain
