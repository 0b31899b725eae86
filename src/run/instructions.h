#pragma once
// Reading the instruction file of a run into its state.

#include <span>
#include <vector>

#include "foundation/keyword_check.h"
#include "run/session.h"

namespace terrain {

namespace detail {
bool reportKeywordFailure(const KeywordFailure& failure, int32_t lineNumber);
void endReading(const Session& session, const std::vector<LineWarning>& warnings, bool read, bool strict);
}  // namespace detail

/// Reads all keyword lines of `session.instructions`. Failures are reported as they are found and the reading
/// goes on; after the last line they stop the run with "Error reading input file". `check(read)` gives what
/// the reading passed over and, where all was `read` without a failure, settings without effect: warnings on
/// standard error, which stop the run where `strict` has been set. `valueOf` finds the value of a line.
template <class Record, class Check>
void readInstructions(Session& session, std::span<const Keyword<Record>> table, Record& record,
                      const bool& strict, Check check, ValueOfLine valueOf = valueAfterEquals) {
  const bool read =
      readKeywords(session.instructions, table, record, valueOf, detail::reportKeywordFailure) == kSuccess;
  detail::endReading(session, check(read), read, strict);
}

}  // namespace terrain
