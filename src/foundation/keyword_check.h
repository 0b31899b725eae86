#pragma once
// What a reader of keyword lines passes over: misspelt keywords, missing colons, text after a number, values
// that another line replaces. The reader goes on; the user is told.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/keywords.h"

namespace terrain {

struct LineWarning {
  int32_t line = 0;  ///< from 1; 0: of no single line
  std::string text{};
};

/// "line 3: " and the text.
[[nodiscard]] std::string describe(const LineWarning& warning);

/// The warnings about the lines of a file, in their order. The nearest keyword is the one with the fewest
/// letters missing, wrong, too many or swapped (optimal string alignment); an abbreviated word counts as one.
/// The file stands at its first line afterwards.
[[nodiscard]] std::vector<LineWarning> checkKeywordLines(InputFileType& file,
                                                         std::span<const KeywordTexts> rows,
                                                         ValueOfLine valueOfLine);

/// The keyword that a misspelt text is nearest to; blank if none is near.
[[nodiscard]] std::string nearestKeyword(std::span<const KeywordTexts> rows, std::string_view text);

/// Number of the last line of a keyword, 0 if there is none. The file stands at its first line afterwards.
[[nodiscard]] int32_t lineOfKeyword(InputFileType& file, std::string_view words);

}  // namespace terrain
