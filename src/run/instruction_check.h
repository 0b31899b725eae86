#pragma once
// What a run passes over in its instruction file, and settings that have no effect in it.

#include <vector>

#include "foundation/keyword_check.h"
#include "run/run_state.h"

namespace terrain {

/// The warnings about the lines of the file; where they were `read` without a failure also those about
/// settings that the run does not use, and about the unit of the DEM. By line, those of no line last.
[[nodiscard]] std::vector<LineWarning> checkInstructions(RunState& run, bool read);

}  // namespace terrain
