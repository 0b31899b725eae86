// The program: one optional argument, the instruction file.

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/platform.h"
#include "run/driver.h"
#include "run/keywords.h"

namespace {

void printHelp() {
  std::cout << "Usage: ostrevanmoor [instruction file]\n"
               "\n"
               "Partial contributing area of every cell of a DEM: the land above it whose water arrives\n"
               "within a storm of given duration, or within a given flow distance.\n"
               "\n"
               "Without an argument the program asks for the instruction file. A line of it is\n"
               "'KEYWORD: value'; '#' begins a comment; every keyword needs its colon, switches too.\n"
               "[in brackets]: what holds without the keyword.\n"
               "\n"
            << terrain::keywordHelp()
            << "\n"
               "  -h, --help    this text\n"
               "  --version     name and version\n"
               "\n"
               "Exit status: 0 if the output raster was written, 1 otherwise.\n";
}

}  // namespace

int main(int argc, char** argv) {
  std::optional<std::string> argument;
  if (argc > 1) argument = argv[1];
  if (argument == "--help" || argument == "-h") {
    printHelp();
    return 0;
  }
  if (argument == "--version") {
    std::cout << terrain::kProgramName << ' ' << terrain::kVersion << '\n';
    return 0;
  }
  if (argc > 2) {
    std::cerr << " Usage: ostrevanmoor [instruction file]; a name with blanks needs quotes\n";
    return 1;
  }
  terrain::platform::prepareProcess();
  try {
    terrain::RunState run;
    return terrain::carryOutRun(run, argument) ? 0 : 1;
  } catch (const std::exception& fault) {  // no operation throws on purpose; memory may run out anywhere
    std::cerr << " ERROR: " << fault.what() << "\n PROGRAM ABORTED\n";
    return 1;
  }
}
