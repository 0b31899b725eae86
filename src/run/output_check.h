#pragma once
// What can be known about a run's output before hours of work are spent on it.

#include <string>

#include "dem/grids.h"
#include "run/run_state.h"

namespace terrain {

/// Name under which a run saves a grid beside the DEM: directory, prefix, length tag, data identifier.
[[nodiscard]] std::string nameBesideDEM(const RunState& run, const DemGrid& grid);

/// Stops the run where the output would replace one of the run's other rasters, or where its directory
/// is missing, cannot be written or is full.
void checkOutput(const RunState& run);

}  // namespace terrain
