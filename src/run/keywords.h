#pragma once
// The keywords of an instruction file: one table for the reader, the help text and the documentation.

#include <span>
#include <string>
#include <string_view>

#include "run/run_state.h"

namespace terrain {

/// What a keyword does with its value, which is blank where the line has none. Gives false if the
/// keyword failed; a message of its own goes into `why`, else the keyword's message is reported.
struct KeywordFailure {
  std::string message{};
  std::string file{};
};
using KeywordAction = bool (*)(RunState& run, const std::string& value, KeywordFailure& failure);

struct Keyword {
  std::string_view name;
  std::string_view value;     ///< what stands behind the colon; blank for a switch
  std::string_view unit;      ///< of a number, else blank
  std::string_view standard;  ///< what holds without the keyword
  std::string_view meaning;
  std::string_view failure;  ///< message where the value is missing or cannot be used
  KeywordAction act;
};

[[nodiscard]] std::span<const Keyword> keywords();

/// The keywords with unit, default and meaning, a paragraph each.
[[nodiscard]] std::string keywordHelp();

}  // namespace terrain
