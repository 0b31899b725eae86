#pragma once
// The rasters that a run writes, looked at before any computing.

#include <cstdint>
#include <string>
#include <vector>

#include "dem/grids.h"
#include "run/run_state.h"

namespace terrain {

/// Rasters by their names without extension.
struct RunFiles {
  std::string instructions{};          ///< the instruction file
  std::vector<std::string> inputs{};   ///< rasters that are read
  std::vector<std::string> outputs{};  ///< rasters that are written, each with a log beside it
  std::uint64_t bytes = 0;             ///< of the cells of one output
};

/// Stops the run where a file that it writes would replace the instruction file or a file of another raster
/// of the run, or cannot be written, and where an output's directory is missing or full.
void checkOutputs(const RunFiles& files);

/// Bytes of the cells of a float raster of the DEM's size.
[[nodiscard]] std::uint64_t rasterBytes(const DEM_type& dem);

/// Name under which a run saves a grid beside the DEM: directory, prefix, length tag, data identifier.
[[nodiscard]] std::string nameBesideDEM(const RunState& run, const DemGrid& grid);

/// `checkOutputs` of an accumulation run: the output raster and the rasters that are saved beside the DEM.
void checkOutput(const RunState& run);

}  // namespace terrain
