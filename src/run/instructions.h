#pragma once
// Reading the instruction file into the state of the run.

#include "run/run_state.h"

namespace terrain {

/// Reads all keyword lines of `run.session.instructions`. Failures are reported as they are found and the
/// reading goes on; after the last line they stop the run with "Error reading input file". What the reading
/// passed over, and settings without effect, are warnings on standard error; with STRICT they stop the run.
void readInstructions(RunState& run);

}  // namespace terrain
