#include "run/instructions.h"

#include "foundation/messages.h"
#include "run/instruction_check.h"
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
  const bool read =
      readKeywords(run.session.instructions, keywords(), run, valueAfterEquals, reportFailure) == kSuccess;
  const std::vector<LineWarning> warnings = checkInstructions(run, read);
  for (const LineWarning& warning : warnings) putWarning(describe(warning));
  if (!read) stopRun("Error reading input file");
  if (run.strict && !warnings.empty())
    stopRun("STRICT: the instruction file has warnings", run.session.inputName);
}

}  // namespace terrain
