#include "run/session.h"

#include <istream>
#include <ostream>
#include <span>

#include "foundation/free_format.h"
#include "foundation/interruption.h"
#include "foundation/log_file.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/run_clock.h"
#include "foundation/scratch.h"
#include "foundation/text.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::size_t kNameLength = 256;
constexpr std::string_view kDefaultInstructionFile = OSTREVANMOOR_DEFAULT_INSTRUCTION_FILE;
constexpr std::string_view kPointerFile = OSTREVANMOOR_POINTER_FILE;

void printBanner(const ProgramIdentity& program) {
  putConsoleLine(std::string(43, '='));
  putConsoleLine("Program " + std::string(program.name));
  putConsoleLine("  compile date " + std::string(program.compileDate));
  putConsoleLine("  version " + std::string(program.version));
  putConsoleLine(std::string(43, '-'));
}

/// The first field of a line: up to a blank or comma, or all of it in quotes. A slash is part of a path.
bool firstField(const std::string& line, std::string& name) {
  return FreeFormatReader(line, {.slashEnds = false}).next(name) == FieldStatus::value;
}

/// The last line of the log of a run that a signal ends. Called in the signal handler.
void endLog(void* log) {
  constexpr std::string_view lastLine = " PROGRAM ABORTED\n";
  const auto& file = *static_cast<const platform::File*>(log);
  (void)file.writeAt(file.size(), std::as_bytes(std::span(lastLine)));
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

/// The name in the first line of the pointer file.
std::string pointedName() {
  if (!platform::fileExists(kPointerFile)) stopRun("Cannot find test.txt file");
  const int32_t unit = units().freeUnit();
  if (units().openText(unit, kPointerFile, platform::Open::read) != kIoOk)
    stopRun("Cannot open test.txt file");
  std::string line;
  std::string name;
  const bool read = units().text(unit)->readLine(line) && firstField(line, name);
  units().close(unit);
  if (!read) stopRun("Error reading test.txt file");
  return std::string(cut(name, kNameLength));
}

}  // namespace

void Session::start(const ProgramIdentity& program) {
  constexpr std::size_t stampLength = 10;
  program_ = program;
  printBanner(program);
  RunClock({.start = true, .startText = &startText_, .stamp = &runStamp_, .stampLength = stampLength});
  programInfo = {.createdBy = program.name,
                 .versionNumber = program.version,
                 .compiledOn = program.compileDate,
                 .createdOn = std::string_view(dateText(platform::clock().now()))};
}

void Session::findInstructions(const std::optional<std::string>& argument) {
  inputName = argument && argument->size() <= kNameLength ? *argument : askForName();
  if (trimmed(inputName).size() == 1) {
    inputName = std::string(kDefaultInstructionFile);
    if (!platform::fileExists(inputName)) stopRun("Cannot find input file");
  } else if (equalPadded(leftAdjusted(inputName), "test")) {
    inputName = pointedName();
  }
  putMessage("Input file: " + inputName);
  instructions = NewInputFile(inputName, {.argumentLength = std::string::npos});
  if (instructions.status != kSuccess) abortRun();
}

void Session::openLog(const std::string& scratchPath) {
  const std::string name =
      scratchPath + std::string(program_.name) + '_' + std::string(trimmed(runStamp_)) + ".log";
  startLogFile(logUnit_, name, inputName,
               {.programName = program_.name,
                .startText = startText_,
                .version = program_.version,
                .compileDate = program_.compileDate});
  // Every message is written through to the log at once, so the file's end is the log's end.
  if (TextFile* log = units().text(logUnit_)) platform::setInterruptionHook({&endLog, &log->file()});
  const int32_t tested = OpenBinaryScratchFile({.scratchPath = scratchPath});
  putMessage("Scratch directory: " + scratchPath);
  if (tested != kIoOk) stopRun("Error accessing scratch directory");
  putMessage("");
}

int Session::copyLog(const std::string& raster) const { return CopyLogFile(logUnit_, raster + ".log"); }

void Session::finish(const std::string& output, double startedAt) {
  putMessage("CPU seconds: ", static_cast<float>(platform::cpuSeconds() - startedAt));
  RunClock({.stop = true});
  const int copied = copyLog(output);
  closeLog(copied == kSuccess ? Closing::erase : Closing::keep);
}

void Session::closeLog(Closing closing) {
  platform::setInterruptionHook({});
  units().close(logUnit_, closing);
  messages().messageUnit = 0;
}

void stopRun(std::string_view message, const std::optional<std::string>& file) {
  Report report{.message1 = message, .stop = true};
  if (file) report.file = *file;
  reportError(report);
  abortRun();
}

}  // namespace terrain
