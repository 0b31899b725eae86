#include "foundation/log_file.h"

#include <string>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/replacement.h"
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

void putHead(TextFile& log, std::string_view inputName, const LogIdentity& identity) {
  putLine(log, std::string(trimmed(identity.programName)) + " log file");
  putLabelled(log, "  Version ", identity.version);
  putLabelled(log, "  Compiled ", identity.compileDate);
  putLabelled(log, "  Started ", identity.startText);
  putLine(log, std::string(62, '='));
  putLine(log, "Input file: " + std::string(trimmed(inputName)));
  putLine(log, "  copied below");
  putLine(log, std::string(62, '-'));
}

/// The lines of another log, if it can be read.
void putOtherLog(TextFile& log, std::string_view otherLog) {
  log.writeLine(std::string(73, '='));
  log.writeLine("  Original marlbek log file");
  log.writeLine(std::string(73, '-'));
  const int32_t other = freeUnit();
  if (units().openText(other, otherLog, platform::Open::read) != kIoOk) return;
  copyLines(*units().text(other), log);
  units().close(other);
}

}  // namespace

void startLogFile(int32_t& unit, std::string_view logName, std::string_view inputName,
                  const LogIdentity& identity) {
  constexpr std::string_view tag = "startLogFile in Utilities module";
  const std::string name(stripped(logName));
  unit = freeUnit();
  // Another run that still writes a log of this name keeps its file, under no name.
  if (units().openText(unit, name, platform::Open::anew) != kIoOk) {
    unit = 0;
    fail(tag, "Unable to open log file " + name);
    return;
  }
  TextFile& log = *units().text(unit);
  putHead(log, inputName, identity);
  const int32_t input = freeUnit();
  if (units().openText(input, inputName, platform::Open::read) != kIoOk) {
    fail(tag, "Unable to reopen input file for copying to log file");
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
  constexpr std::string_view tag = "CopyLogFile";
  if (unit < 1 || units().text(unit) == nullptr)
    return fail("CopyLogFile in Utilities", "Invalid unit number");
  TextFile& log = *units().text(unit);
  log.flush();
  const std::string name(stripped(newName));
  Replacement copy;
  const IoCode opened = copy.open(name);
  if (opened != kIoOk) {
    fail(tag, "Error opening log file for " + name);
    putMessage(" Unit number: ", freeUnit());
    putMessage(" Error code: ", opened);
    putMessage(std::string(" ").append(describe(opened)));
    return kFailure;
  }
  log.rewind();
  copyLines(log, copy.text());
  if (log.fault() != kIoOk)
    return reportError(
        {.routine = tag, .code = kReadError, .file = log.name(), .message1 = describe(log.fault())});
  if (otherLog) putOtherLog(copy.text(), *otherLog);
  const IoCode written = copy.commit();
  if (written != kIoOk)
    return reportError({.routine = tag, .code = kWriteError, .file = name, .message1 = describe(written)});
  putMessage("Created log file " + name);
  return kSuccess;
}

}  // namespace terrain
