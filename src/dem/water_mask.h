#pragma once
// Lakes and wide rivers, which are flat in a DEM: their elevations are rewritten so that the flow gathers
// along a centre line.

#include <optional>
#include <string>

#include "dem/dem.h"

namespace terrain {

struct WaterMask {
  std::string file{};     ///< polygons, or a raster whose cells above 0 are water
  bool preclude = false;  ///< no channel begins in the water
  bool force = false;     ///< the centre lines are channels; not with `preclude`
  bool setToMinimum =
      false;             ///< the level of the lowest ground around a patch, in place of that of each cell
  bool incise = false;   ///< the bottom falls toward the middle, by 1 m over the largest distance to a shore
  float lowerBy = 1.0F;  ///< metres by which the water is lowered, and the centre line once more
  double radius = 0;     ///< metres by which the mask is widened first
  double minimumPatchSize = 0;  ///< square metres; smaller patches are left as they are
  double minimumWidth = 0;      ///< metres (`CentreLineRules`)
  double maxGradient = 0.5;     ///< the same
  /// Given: distances, slopes and classes are written beside the DEM, this at the end of their names.
  std::optional<std::string> gridSuffix{};
};

/// Cells of water, of the DEM's extent: 1; empty where there is none.
using WaterCells = I1Grid_type;

/// Rewrites the elevations, which are in the working form (nodata 0), of the cells of the mask. With e the
/// elevation of a cell, or with `setToMinimum` the lowest of the first cell of its patch in row order and of
/// the dry data cells around the patch:
///
///     water        e - lowerBy (with setToMinimum e), or, where it is incised, e - d
///     centre line  e - 2 lowerBy (e - lowerBy), or e - (d + lowerBy)
///
/// where d is the distance to the shore over the largest one of the mask. No elevation falls to 0: the shift
/// of the elevations must leave room for 2 lowerBy + 1. Marks what is said of heads in `initMask`, and the
/// water in `cells`, both made where they do not exist. 0, or -1 with a report.
int FlattenWatermask(DEM_type& dem, const WaterMask& settings, I1Grid_type& initMask, WaterCells& cells);

}  // namespace terrain
