#include "run/instructions.h"

#include "foundation/messages.h"

namespace terrain::detail {

bool reportKeywordFailure(const KeywordFailure& failure, int32_t lineNumber) {
  Report report{.message1 = failure.message, .line = lineNumber};
  if (!failure.file.empty()) report.file = failure.file;
  if (!failure.detail.empty()) report.message2 = failure.detail;
  reportError(report);
  return true;
}

void endReading(const Session& session, const std::vector<LineWarning>& warnings, bool read, bool strict) {
  for (const LineWarning& warning : warnings) putWarning(describe(warning));
  if (!read) stopRun("Error reading input file");
  if (strict && !warnings.empty()) stopRun("STRICT: the instruction file has warnings", session.inputName);
}

}  // namespace terrain::detail
