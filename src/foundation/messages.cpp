#include "foundation/messages.h"

#include <algorithm>
#include <array>
#include <ostream>

#include "foundation/free_format.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::size_t kMessageLength = 512;
constexpr std::size_t kErrorLineLength = 256;

struct StandardMessage {
  int32_t code;
  std::string_view text;
};
constexpr std::array kStandardMessages{
    StandardMessage{0, "No errors"},
    StandardMessage{1, "File could not be opened for read-access"},
    StandardMessage{2, "File could not be opened for write-access"},
    StandardMessage{3, "Error in reading file"},
    StandardMessage{4, "Error in writing to file"},
    StandardMessage{5, "Error in reading file: EOR or EOF encountered"},
    StandardMessage{6, "File open for write-access could not be closed"},
    StandardMessage{7, "File open for read-access could not be closed"},
    StandardMessage{100, "Matrix apparently singular"},
    StandardMessage{101, "Matrix not positive definite"},
    StandardMessage{102, "Attempted division by zero"},
    StandardMessage{103, "Attempted logarithm of non-positive number"},
    StandardMessage{104, "Argument to exp function too large"},
    StandardMessage{105, "Attempted square root of negative number"},
    StandardMessage{200, "Unable to allocate memory for object"},
    StandardMessage{201, "Unable to deallocate memory for object"},
    StandardMessage{300, "Non-square matrix encountered; square expected"},
    StandardMessage{301, "Dimensions of matrix arguments not conformable"},
};

std::string withLeadingBlank(std::string_view text) {
  std::string line(trimmed(cut(text, kMessageLength)));
  if (!line.empty()) line.insert(line.begin(), ' ');
  return line;
}

std::optional<std::string> valueText(const MessageArgs& args) {
  if (args.intValue) return freeText(*args.intValue);
  if (args.longValue) return freeText(*args.longValue);
  if (args.realValue) return freeText(*args.realValue);
  if (args.doubleValue) return freeText(*args.doubleValue);
  return std::nullopt;
}

void addLines(ErrorList& list, const Report& report) {
  if (report.routine) list.add((report.warning ? "WARNING: " : "ERROR: ") + std::string(*report.routine));
  if (report.code) {
    const auto* standard = std::find_if(kStandardMessages.begin(), kStandardMessages.end(),
                                        [&](const StandardMessage& m) { return m.code == *report.code; });
    if (standard != kStandardMessages.end()) list.add(standard->text);
  }
  if (report.file) list.add("FILE: " + std::string(trimmed(*report.file)));
  for (const auto& message : {report.message1, report.message2, report.message3})
    if (message) list.add(*message);
  if (report.line) list.add("LINE: " + freeText(*report.line));
  if (report.text) list.add(*report.text);
}

void putLine(std::ostream& out, std::string_view text) {
  out << withLeadingBlank(text) << '\n';
  out.flush();
}

void repeatError(std::string_view line) {
  if (platform::console().repeatErrors) putLine(*platform::console().errors, line);
}

void printAll(ErrorList& list) {
  for (const std::string& line : list.lines()) {
    putMessage(line);
    repeatError(line);
  }
  list.clear();
}

}  // namespace

MessageWriter& messages() {
  static MessageWriter writer;
  return writer;
}

void putConsoleLine(std::string_view text) { putLine(*platform::console().out, text); }

void putWarning(std::string_view text) {
  putLine(*platform::console().errors, std::string("WARNING: ").append(text));
}

void putMessage(const MessageArgs& args) {
  MessageWriter& writer = messages();
  if (args.unit) writer.messageUnit = *args.unit;
  if (args.echo) {
    writer.echoToConsole = *args.echo;
  } else if (writer.messageUnit < 1 && !writer.echoToConsole) {
    writer.echoToConsole = true;
  }
  if (!args.text) return;

  std::string message(*args.text);
  if (const auto value = valueText(args)) message = std::string(trimmed(message)) + ' ' + *value;
  if (writer.messageUnit > 0) {
    if (TextFile* log = units().text(writer.messageUnit)) {
      log->writeLine(withLeadingBlank(message));
      log->flush();
    }
  }
  if (writer.echoToConsole) putConsoleLine(message);
}

void putMessage(std::string_view text) { putMessage(MessageArgs{.text = text}); }
void putMessage(std::string_view text, int32_t value) { putMessage({.text = text, .intValue = value}); }
void putMessage(std::string_view text, int64_t value) { putMessage({.text = text, .longValue = value}); }
void putMessage(std::string_view text, float value) { putMessage({.text = text, .realValue = value}); }
void putMessage(std::string_view text, double value) { putMessage({.text = text, .doubleValue = value}); }

void ErrorList::add(std::string_view line) { lines_.emplace_back(cut(line, kErrorLineLength)); }

int reportError(ErrorList& list, const Report& report) {
  if (report.routine && report.warning && !messages().showWarnings) {
    list.clear();
    return kFailure;
  }
  addLines(list, report);
  if (report.print) {
    if (*report.print) printAll(list);
  } else if (!report.discard) {
    printAll(list);
  } else if (*report.discard) {
    list.clear();
  }

  TextFile* further = report.unit && *report.unit > 0 ? units().text(*report.unit) : nullptr;
  if (further != nullptr) further->flush();
  if (report.fatal || report.stop) {
    if (further != nullptr) {
      further->writeLine(" RETURN CODE = -1");
      further->flush();
    }
    abortRun();
  }
  return kFailure;
}

int reportError(const Report& report) {
  ErrorList list;
  return reportError(list, report);
}

int fail(std::string_view routine, std::string_view message) {
  return reportError({.routine = routine, .code = kOwnWords, .message1 = message});
}

int cannotAllocate(std::string_view routine, std::string_view object) {
  return reportError({.routine = routine, .code = kCannotAllocate, .text = object});
}

std::string errorText(const ErrorList& list, std::size_t length, std::string_view system) {
  const std::string_view lineEnd = equalPadded(system, "UNIX")  ? "\n"
                                   : equalPadded(system, "MAC") ? "\r"
                                                                : "\r\n";
  std::string joined;
  for (const std::string& line : list.lines()) {
    if (joined.size() + 3 >= length) break;
    joined.append(trimmed(line)).append(lineEnd);
  }
  if (joined.size() > length) joined.resize(length);
  return joined;
}

void abortRun() { endRun({"PROGRAM ABORTED"}); }

void endRun(std::initializer_list<std::string> lines) {
  for (const std::string& line : lines) {
    putMessage(line);
    repeatError(line);
  }
  platform::endProcess(1);
}

}  // namespace terrain
