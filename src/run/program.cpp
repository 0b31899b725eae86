#include "run/program.h"

#include <exception>
#include <iostream>

#include "foundation/interruption.h"
#include "foundation/platform.h"

namespace terrain {

namespace {

void printHelp(const ProgramFace& face) {
  std::cout << "Usage: " << face.usage << "\n\n"
            << face.purpose
            << "\n"
               "Without an argument the program asks for the instruction file. A line of it is\n"
               "'KEYWORD: value'; '#' begins a comment; every keyword needs its colon, switches too.\n"
               "[in brackets]: what holds without the keyword.\n"
               "\n"
            << face.keywords() << "\n"
            << (face.dryRun == nullptr
                    ? ""
                    : "  --dry-run     checks the inputs, tells how long the walks would take, and ends\n")
            << "  -h, --help    this text\n"
               "  --version     name and version\n"
               "\n"
               "Exit status: 0 if the output raster was written, 1 otherwise.\n";
}

/// Ends a run that an exception has left, its log included.
int endAfter(const std::exception& fault) {
  try {
    stopRun(fault.what());
  } catch (const std::exception&) {  // there is not even memory for the log's last lines
    std::cerr << " ERROR: " << fault.what() << "\n PROGRAM ABORTED\n";
  }
  return 1;
}

}  // namespace

int runProgram(int argc, char** argv, const ProgramFace& face) {
  const bool dry = face.dryRun != nullptr && argc > 1 && std::string_view(argv[1]) == "--dry-run";
  if (dry) {
    --argc;
    ++argv;
  }
  std::optional<std::string> argument;
  if (argc > 1) argument = argv[1];
  if (argument == "--help" || argument == "-h") {
    printHelp(face);
    return 0;
  }
  if (argument == "--version") {
    std::cout << face.identity.name << ' ' << face.identity.version << '\n';
    return 0;
  }
  if (argc > 2) {
    std::cerr << " Usage: " << face.usage << "; a name with blanks needs quotes\n";
    return 1;
  }
  platform::prepareProcess();
  platform::handleInterruptions();
  try {
    return (dry ? face.dryRun : face.run)(argument) ? 0 : 1;
  } catch (const std::exception& fault) {  // no operation throws on purpose; memory may run out anywhere
    return endAfter(fault);
  }
}

}  // namespace terrain
