#pragma once
// From raw elevations to a surface on which every cell drains, with a flow angle in every cell.

#include <optional>
#include <string>

#include "dem/channel_mask.h"
#include "dem/dem.h"

namespace terrain {

/// Brings the elevations into the form that `FlowDirection` works on: nodata is 0 and all data is positive.
/// What is subtracted, in metres, becomes `DEM%elevShift`, and leaves room for digging: 5 `dig` + 1 + the
/// cell size times `maxSlope` above 0. Cells of nodata, and NaN, become 0. 0, or -1 with a report; so for a
/// grid without data.
int shiftElevations(DEM_type& dem, double dig = 2.0, double maxSlope = 0.0);
/// The way back: nodata becomes `DEM%elevNodata`, and `DEM%elevShift` is added, both to 0 of it afterwards.
int restoreElevations(DEM_type& dem);

struct FlowSettings {
  ChannelMasks channels{};               ///< dug before, and filled in again afterwards
  bool keepSwales = false;               ///< not filled in again, for paths that are yet to be traced
  std::optional<std::string> outfile{};  ///< the conditioned surface is written to it, swales included
  const VersionStamp* stamp = nullptr;   ///< of that raster's header
  I1Grid_type* initMask = nullptr;       ///< made where the masks tell of channel heads (`digChannels`)
};

/// Breaches closed depressions (`Flood`) and gives every cell its angle (`Flow`), in the new grid `aspect`.
/// The elevations must be in the working form and are rounded to millimetres first; afterwards they are the
/// conditioned surface, in that form still. With a file name that surface is written as a raster, with the
/// nodata and the heights that it had before they were shifted. Needs plan curvature (`GetPlan`, or a grid
/// in `plan`), and the gradient where there are channel masks. 0, or -1 with a report.
int FlowDirection(DEM_type& dem, const FlowSettings& settings = {});

}  // namespace terrain
