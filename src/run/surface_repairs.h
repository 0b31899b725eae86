#pragma once
// What the drainage program changes in the elevations before flow directions are found.

#include <optional>
#include <string>
#include <vector>

#include "dem/dem.h"
#include "grid/region_args.h"

namespace terrain {

/// Cells that a mask covers, or those that it does not, become nodata.
struct NodataMask {
  std::string file{};  ///< a raster or a shapefile of polygons
  bool inside = true;
  std::optional<float> cutoff{};  ///< metres; only elevations below it
};

struct Coastline {
  std::string file{};  ///< a shapefile of lines
  float minElevation = 0;
};

struct SeaPoint {
  std::optional<double> x{}, y{};
};

struct SurfaceRepairs {
  bool zeroIsNodata = false;
  bool lowerZeros = false;
  bool raiseNegatives = false;
  std::optional<SeaPoint> zeroSea{};
  std::optional<Coastline> coastline{};
  std::optional<FillHolesArgs> holes{};
  std::vector<NodataMask> nodataMasks{};
};

/// The repairs that come before gradient and curvature are measured: zeros that are connected to a point, the
/// sea, holes. 0, or -1 with a report.
int repairSurface(DEM_type& dem, const SurfaceRepairs& repairs);
/// Those that come after it: negative elevations, nodata masks, zeros.
int maskSurface(DEM_type& dem, const SurfaceRepairs& repairs);

}  // namespace terrain
