#pragma once
// The keywords of the run's instruction file: one table for the reader, the echo, the help text and the
// manual.

#include <span>
#include <string>

#include "foundation/keywords.h"
#include "run/run_state.h"

namespace terrain {

[[nodiscard]] std::span<const Keyword<RunState>> keywords();

/// The keywords with unit, default and meaning: the help text and the section of the manual page.
[[nodiscard]] std::string keywordHelp();
[[nodiscard]] std::string keywordManual();

}  // namespace terrain
