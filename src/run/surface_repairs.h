#pragma once
// What the drainage program changes in the elevations before flow directions are found.

#include <optional>
#include <string>
#include <vector>

#include "dem/dem.h"
#include "dem/excavation.h"
#include "dem/road_crossings.h"
#include "dem/water_mask.h"
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

/// Lakes that are levelled.
struct LevelledLakes {
  std::string file{};      ///< polygons or a raster
  float maxSlope = 0.01F;  ///< tangent; steeper cells do not count for the level
};

struct SeaPoint {
  std::optional<double> x{}, y{};
};

/// Size of cuts through dams, metres, for files that give it: passages are carved as deep and as long as they
/// must be, so that it has no effect.
struct CarvedCut {
  std::optional<float> length{}, depth{};
};

struct SurfaceRepairs {
  bool zeroIsNodata = false;
  bool lowerZeros = false;
  bool raiseNegatives = false;
  std::optional<SeaPoint> zeroSea{};
  std::optional<Coastline> coastline{};
  std::optional<FillHolesArgs> holes{};
  double zeroRadius = 0;  ///< metres; above 0: zeros without other data within it become nodata
  std::vector<NodataMask> nodataMasks{};
  std::optional<LevelledLakes> lakes{};
  std::string drainPoints{};  ///< points at which closed depressions drain
  std::optional<CarvedCut> cut{};
  RoadCrossings crossings{};  ///< without a file there are none
  std::string excavateFile{};
  std::vector<LineExcavation> trenches{};
  std::vector<WaterMask> waterMasks{};
  bool keepWaterGrids = false;  ///< writes what the masks were made of

  /// Metres that the shift of the elevations must leave for the water.
  [[nodiscard]] double waterDepth() const;
};

/// The repairs that come before gradient and curvature are measured: zeros that are connected to a point, the
/// sea, holes. 0, or -1 with a report.
int repairSurface(DEM_type& dem, const SurfaceRepairs& repairs);
/// Those that come after it: nodata, negative elevations, lakes, drain points, roads, trenches, zeros. Lakes
/// need the gradient.
int maskSurface(DEM_type& dem, const SurfaceRepairs& repairs);
/// The water masks, which come after the shift of the elevations.
int flattenWater(DEM_type& dem, const SurfaceRepairs& repairs, I1Grid_type& initMask, WaterCells& water);

}  // namespace terrain
