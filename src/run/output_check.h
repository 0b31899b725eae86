#pragma once
// What can be known about a run's output before hours of work are spent on it.

#include <string>

#include "dem/grids.h"
#include "run/run_state.h"

namespace terrain {

/// Name under which a run saves a grid beside the DEM: directory, prefix, length tag, data identifier.
[[nodiscard]] std::string nameBesideDEM(const RunState& run, const DemGrid& grid);

/// Stops the run where a file that it writes would replace the instruction file or a file of another raster
/// of the run, or cannot be written, and where the output's directory is missing or full.
void checkOutput(const RunState& run);

}  // namespace terrain
