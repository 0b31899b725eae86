#include "foundation/log_file.h"

#include <string>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::size_t kLineLength = 512;

void putLine(TextFile& log, std::string_view line) { log.writeLine(' ' + std::string(trimmed(line))); }

void copyLines(TextFile& from, TextFile& to) {
  std::string line;
  while (from.readLine(line, kLineLength)) putLine(to, line);
}

void putLabelled(TextFile& log, std::string_view label, const std::optional<std::string_view>& value) {
  if (value) putLine(log, std::string(label).append(*value));
}

}  // namespace

void startLogFile(int32_t& unit, std::string_view logName, std::string_view inputName,
                  const LogIdentity& identity) {
  constexpr std::string_view tag = "startLogFile in Utilities module";
  const std::string name(stripped(logName));
  unit = freeUnit();
  // A log of another run that is still open under this name keeps its file; only the name goes over.
  if (units().openText(unit, name, platform::Open::anew) != kIoOk) {
    unit = 0;
    reportError({.routine = tag, .message1 = "Unable to open log file " + name});
    return;
  }
  TextFile& log = *units().text(unit);
  putLine(log, std::string(trimmed(identity.programName)) + " log file");
  putLabelled(log, "  Version ", identity.version);
  putLabelled(log, "  Compiled ", identity.compileDate);
  putLabelled(log, "  Started ", identity.startText);
  putLine(log, std::string(62, '='));
  putLine(log, "Input file: " + std::string(trimmed(inputName)));
  putLine(log, "  copied below");
  putLine(log, std::string(62, '-'));

  const int32_t input = freeUnit();
  if (units().openText(input, inputName, platform::Open::read) != kIoOk) {
    reportError({.routine = tag, .message1 = "Unable to reopen input file for copying to log file"});
    units().close(unit);
    unit = 0;
    return;
  }
  copyLines(*units().text(input), log);
  units().close(input);
  putLine(log, "====================End Input File==========================");
  putLine(log, "");
  putLine(log, "Program runtime output follows");
  putLine(log, "");
  putMessage({.unit = unit, .echo = true});
  log.flush();
  putConsoleLine("Log file: " + name);
}

int CopyLogFile(int32_t unit, std::string_view newName, std::optional<std::string_view> otherLog) {
  if (unit < 1 || units().text(unit) == nullptr)
    return reportError({.routine = "CopyLogFile in Utilities", .message1 = "Invalid unit number"});
  TextFile& log = *units().text(unit);
  log.flush();
  const std::string name(stripped(newName));
  const int32_t copyUnit = freeUnit();
  const IoCode code = units().openText(copyUnit, name, platform::Open::replace);
  if (code != kIoOk) {
    reportError({.routine = "CopyLogFile", .message1 = "Error opening log file for " + name});
    putMessage(" Unit number: ", copyUnit);
    putMessage(" Error code: ", code);
    return kFailure;
  }
  TextFile& copy = *units().text(copyUnit);
  log.rewind();
  copyLines(log, copy);
  if (log.fault() != kIoOk) {
    units().close(copyUnit);
    return reportError({.routine = "CopyLogFile",
                        .code = kReadError,
                        .file = log.name(),
                        .message1 = describe(log.fault())});
  }
  if (otherLog) {
    copy.writeLine(std::string(73, '='));
    copy.writeLine("  Original marlbek log file");
    copy.writeLine(std::string(73, '-'));
    const int32_t other = freeUnit();
    if (units().openText(other, *otherLog, platform::Open::read) == kIoOk) {
      copyLines(*units().text(other), copy);
      units().close(other);
    }
  }
  const IoCode closed = units().close(copyUnit);
  if (closed != kIoOk)
    return reportError(
        {.routine = "CopyLogFile", .code = kWriteError, .file = name, .message1 = describe(closed)});
  putMessage("Created log file " + name);
  return kSuccess;
}

}  // namespace terrain
