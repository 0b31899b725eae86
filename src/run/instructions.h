#pragma once
// Finding the instruction file and reading its keywords into the state of the run.

#include <optional>
#include <string>

#include "run/run_state.h"

namespace terrain {

/// Settles `run.inputName` from the program's argument, or by a prompt, and loads the file. A name of
/// one character stands for the file that is fixed when the program is built, the word "test" for the
/// one that the pointer file names. Stops the run where either is missing.
void findInstructions(RunState& run, const std::optional<std::string>& argument);

/// Carries out every keyword line. Failures are reported as they are found and the reading goes on;
/// after the last line they stop the run with "Error reading input file".
void readInstructions(RunState& run);

}  // namespace terrain
