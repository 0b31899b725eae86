#include "run/instructions.h"

#include "foundation/messages.h"
#include "run/keywords.h"

namespace terrain {

namespace {

bool reportFailure(const KeywordFailure& failure, int32_t lineNumber) {
  Report report{.message1 = failure.message, .line = lineNumber};
  if (!failure.file.empty()) report.file = failure.file;
  if (!failure.detail.empty()) report.message2 = failure.detail;
  reportError(report);
  return true;
}

}  // namespace

void readInstructions(RunState& run) {
  if (readKeywords(run.session.instructions, keywords(), run, valueAfterEquals, reportFailure) != kSuccess)
    stopRun("Error reading input file");
}

}  // namespace terrain
