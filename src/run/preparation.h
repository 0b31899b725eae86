#pragma once
// From the keywords of a drainage run to a DEM that is ready for `FlowDirection`.

#include "run/drainage.h"

namespace terrain {

/// What the preparation makes for the steps after it.
struct PreparedDrainage {
  I1Grid_type initMask{};         ///< empty where no mask tells of channel heads
  WaterCells water{};             ///< empty without water masks
  InitiationInputs initiation{};  ///< where channels are found
  D8Grids d8{};                   ///< where they go along single directions
};

/// Echoes the settings and makes the surface: repairs of the elevations, gradient and plan curvature between
/// them, masks and trenches; then the inputs of the channels, the shift to the working form, and water masks.
/// Gradient and plan curvature are those of the repaired surface before it is lowered anywhere; each is
/// written where its raster is asked for. Ends the run with a report where an input cannot be used.
void InitFlowDirection(DrainageRun& run, PreparedDrainage& made);

}  // namespace terrain
