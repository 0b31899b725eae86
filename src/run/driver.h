#pragma once
// One run from its banner to its output raster and log.

#include <optional>
#include <string>

#include "run/run_state.h"

namespace terrain {

/// The program that makes these runs.
extern const ProgramIdentity kProgram;

/// Carries out the run that the instruction file describes. Where the walks may take long their estimate is
/// told on standard error first; a dry run ends after it and writes nothing. True if the output raster was
/// written, or after a dry run; a failure that stops the run ends the process with exit status 1.
[[nodiscard]] bool carryOutRun(RunState& run, const std::optional<std::string>& instructionFile);

}  // namespace terrain
