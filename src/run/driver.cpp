#include "run/driver.h"

#include <ostream>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/platform.h"
#include "foundation/threads.h"
#include "grid/storage.h"
#include "run/accumulation.h"
#include "run/bands.h"
#include "run/inputs.h"
#include "run/instruction_check.h"
#include "run/instructions.h"
#include "run/keywords.h"
#include "run/output_check.h"
#include "run/walk_estimate.h"

namespace terrain {

const ProgramIdentity kProgram{
    .name = "Ostrevanmoor", .compileDate = "January 8, 2023", .version = OSTREVANMOOR_VERSION};

namespace {

/// From the instruction file to grids that are ready for the walks.
void prepare(RunState& run, const std::optional<std::string>& instructionFile) {
  run.session.findInstructions(instructionFile);
  readInstructions(run.session, keywords(), run, run.strict,
                   [&](bool read) { return checkInstructions(run, read); });
  if (run.dry) run.saveGradient = run.saveAspect = run.saveBcon = false;
  if (run.threads > 0) useThreads(run.threads);
  if (run.scratchPath.empty()) run.scratchPath = run.DEM.path;
  run.session.openLog(run.scratchPath);
  if (run.outputName.empty()) stopRun("Output raster not specified");
  run.lengthTag = freeText(truncateTo<int64_t>(run.DEM.len_scale));
  checkOutput(run);
  readInputs(run);
  makeSurface(run);
  prepareContourLength(run);
  DestroyGrid(run.DEM.elev);
  run.session.instructions.Close();
}

/// The output raster, then the log beside it. False if the raster could not be written.
bool writeOutput(RunState& run, double startedAt) {
  if (run.accum.WritefltR4(run.outputName, &run.session.programInfo) != kSuccess) {
    reportError({.file = run.outputName + ".flt", .message1 = "Error writing output raster"});
    run.session.closeLog(Closing::keep);
    return false;
  }
  run.session.finish(run.outputName, startedAt);
  return true;
}

/// Tells how much work the walks are, unless they are done sooner than that is found out.
void tellEstimate(RunState& run, const AccumulationGrids& grids) {
  run.walk.cellDistance = stepLengths(run.DEM.cellsize);
  float shortest = 0;
  WalkEstimate estimate;
  if (shortestStep(run.walk, grids.grad, shortest) != kSuccess) return;
  if (!run.dry && (run.walk.merged || !isWorthEstimating(run.walk, grids, shortest))) return;
  if (estimateWalks(run.walk, grids, estimate) != kSuccess) stopRun("Error estimating the walks");
  for (const std::string& line : describe(estimate, run.walk))
    *platform::console().errors << ' ' << line << std::endl;
}

}  // namespace

bool carryOutRun(RunState& run, const std::optional<std::string>& instructionFile) {
  run.session.start(kProgram);
  prepare(run, instructionFile);
  const double startedAt = platform::cpuSeconds();  // the preparation is not part of the reported time
  const AccumulationGrids grids{
      .grad = run.DEM.grad, .aspect = run.DEM.aspect, .bcon = run.DEM.bcon, .accum = run.accum};
  tellEstimate(run, grids);
  if (run.dry) {
    run.session.closeLog(Closing::erase);
    return true;
  }
  if (accumulateCells(run.walk, grids, run.DEM, &run.session.programInfo) != kSuccess)
    stopRun("Error calculating accumulation");
  const bool written = writeOutput(run, startedAt);
  for (R4Grid_type* grid : {&run.DEM.grad, &run.DEM.aspect, &run.DEM.bcon, &run.accum})
    grid->releaseStorage();
  return written;
}

}  // namespace terrain
