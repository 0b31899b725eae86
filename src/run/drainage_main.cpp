// The drainage program: one optional argument, the instruction file.

#include "run/drainage.h"
#include "run/program.h"

int main(int argc, char** argv) {
  return terrain::runProgram(
      argc, argv,
      {.identity = terrain::kDrainageProgram,
       .usage = "ostrevanmoor-drainage [instruction file]",
       .purpose = "A DEM on which every cell drains, its flow directions and contributing areas: closed\n"
                  "depressions are breached, flats are given directions, flow is accumulated.\n",
       .keywords = terrain::drainageKeywordHelp,
       .run = [](const std::optional<std::string>& instructionFile) {
         terrain::DrainageRun run;
         return terrain::carryOutDrainage(run, instructionFile);
       }});
}
