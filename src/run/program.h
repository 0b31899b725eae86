#pragma once
// The command line of a program of the system: help, version, or one run.

#include <optional>
#include <string>
#include <string_view>

#include "run/session.h"

namespace terrain {

struct ProgramFace {
  ProgramIdentity identity{};
  std::string_view usage{};             ///< one line: the command and its arguments
  std::string_view purpose{};           ///< what the program computes, whole lines
  std::string (*keywords)() = nullptr;  ///< help on the keywords of its instruction file
  /// One run; true if its output was written.
  bool (*run)(const std::optional<std::string>& instructionFile) = nullptr;
  /// A run that ends where the work would begin, for programs that have `--dry-run`; true if nothing is in
  /// the way of a run.
  bool (*dryRun)(const std::optional<std::string>& instructionFile) = nullptr;
};

/// What `main` does. Exit status 0 if the output was written or help was asked for, else 1.
int runProgram(int argc, char** argv, const ProgramFace& face);

}  // namespace terrain
