#include "run/instructions.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "foundation/units.h"
#include "run/keywords.h"

namespace terrain {

namespace {

constexpr std::size_t kNameLength = 256;
constexpr std::string_view kDefaultInstructionFile = OSTREVANMOOR_DEFAULT_INSTRUCTION_FILE;
constexpr std::string_view kPointerFile = OSTREVANMOOR_POINTER_FILE;

[[noreturn]] void stopWith(std::string_view message) {
  reportError({.message1 = message, .stop = true});
  abortRun();
}

/// The first field of a line: up to a blank or comma, or all of it in quotes. A slash is part of a path.
bool firstField(const std::string& line, std::string& name) {
  return FreeFormatReader(line, {.slashEnds = false}).next(name) == FieldStatus::value;
}

std::string askForName() {
  std::ostream& out = *platform::console().out;
  out << " Input file (full path): ";
  out.flush();
  std::string line;
  std::string name;
  if (std::getline(*platform::console().in, line)) static_cast<void>(firstField(line, name));
  return std::string(cut(name, kNameLength));
}

std::string pointedName() {
  if (!platform::fileExists(kPointerFile)) stopWith("Cannot find test.txt file");
  const int32_t unit = units().freeUnit();
  if (units().openText(unit, kPointerFile, platform::Open::read) != kIoOk)
    stopWith("Cannot open test.txt file");
  std::string line;
  std::string name;
  const bool read = units().text(unit)->readLine(line) && firstField(line, name);
  units().close(unit);
  if (!read) stopWith("Error reading test.txt file");
  return std::string(cut(name, kNameLength));
}

/// The text without the quotes that it may stand in.
std::string unquoted(std::string_view text) {
  text = stripped(text);
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
    text = stripped(text.substr(1, text.size() - 2));
  return std::string(text);
}

/// The value of a line: what stands behind an "=" in its first argument. A value in quotes is taken whole,
/// without them. Names that would be cut are no names.
std::optional<std::string> valueOf(const LogicalLine& line) {
  if (line.arguments.empty() || line.arguments.front().empty()) return std::string();
  const std::string& argument = line.arguments.front();
  if (argument.size() > kNameLength) return std::nullopt;
  return unquoted(argument.front() == '"' ? argument : splitArgument(argument).value);
}

bool carryOut(RunState& run, const Keyword& keyword, const LogicalLine& line) {
  KeywordFailure failure;
  // What stands behind a switch does not matter.
  const auto value = keyword.value.empty() ? std::optional<std::string>(std::string()) : valueOf(line);
  if (value && keyword.act(run, *value, failure)) return true;
  Report report;
  report.message1 = failure.message.empty() ? keyword.failure : std::string_view(failure.message);
  if (!failure.file.empty()) report.file = failure.file;
  if (!value) report.message2 = "The value is longer than 256 characters";
  report.line = line.lineNumber;
  reportError(report);
  return false;
}

}  // namespace

void findInstructions(RunState& run, const std::optional<std::string>& argument) {
  run.inputName = argument && argument->size() <= kNameLength ? *argument : askForName();
  if (trimmed(run.inputName).size() == 1) {
    run.inputName = std::string(kDefaultInstructionFile);
    if (!platform::fileExists(run.inputName)) stopWith("Cannot find input file");
  } else if (equalPadded(leftAdjusted(run.inputName), "test")) {
    run.inputName = pointedName();
  }
  putMessage("Input file: " + run.inputName);
  run.instructions = NewInputFile(run.inputName, {.argumentLength = std::string::npos});
}

void readInstructions(RunState& run) {
  bool readFailed = false;
  for (LogicalLine line; run.instructions.GetLine(line) == kSuccess;) {
    const auto keyword = std::ranges::find_if(
        keywords(), [&](const Keyword& known) { return equalPadded(known.name, line.keyword); });
    if (keyword != keywords().end() && !carryOut(run, *keyword, line)) readFailed = true;
  }
  if (readFailed) stopWith("Error reading input file");
}

}  // namespace terrain
