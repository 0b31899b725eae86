#pragma once
// The grids that the walks read: elevations, gradient, aspect and contour length, read or computed.

#include "run/run_state.h"

namespace terrain {

/// Prints the DEM and the limits, and reads the elevations and the gradient and aspect rasters that are
/// named. Stops the run where something is missing or does not fit.
void readInputs(RunState& run);

/// Computes gradient and aspect where they are not read, and saves them beside the DEM where asked for.
void makeSurface(RunState& run);

/// Computes or reads the contour length of a run with a specific area.
void prepareContourLength(RunState& run);

}  // namespace terrain
