// The program: one optional argument, the instruction file.

#include "run/driver.h"
#include "run/keywords.h"
#include "run/program.h"

int main(int argc, char** argv) {
  return terrain::runProgram(
      argc, argv,
      {.identity = terrain::kProgram,
       .usage = "ostrevanmoor [--dry-run] [instruction file]",
       .purpose = "Partial contributing area of every cell of a DEM: the land above it whose water arrives\n"
                  "within a storm of given duration, or within a given flow distance.\n",
       .keywords = terrain::keywordHelp,
       .run =
           [](const std::optional<std::string>& instructionFile) {
             terrain::RunState run;
             return terrain::carryOutRun(run, instructionFile);
           },
       .dryRun =
           [](const std::optional<std::string>& instructionFile) {
             terrain::RunState run;
             run.dry = true;
             return terrain::carryOutRun(run, instructionFile);
           }});
}
