#include "run/driver.h"

#include <algorithm>
#include <cmath>

#include "dem/input_raster.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/log_file.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/platform.h"
#include "foundation/run_clock.h"
#include "foundation/scratch.h"
#include "foundation/units.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"
#include "run/accumulation.h"
#include "run/instructions.h"

namespace terrain {

namespace {

[[noreturn]] void stopWith(std::string_view message, const std::optional<std::string>& file = std::nullopt) {
  Report report{.message1 = message, .stop = true};
  if (file) report.file = *file;
  reportError(report);
  abortRun();
}

void printBanner() {
  putConsoleLine(std::string(43, '='));
  putConsoleLine("Program " + std::string(kProgramName));
  putConsoleLine("  compile date " + std::string(kCompileDate));
  putConsoleLine("  version " + std::string(kVersion));
  putConsoleLine(std::string(43, '-'));
}

void startClock(RunState& run) {
  constexpr std::size_t stampLength = 10;
  RunClock({.start = true, .startText = &run.startText, .stamp = &run.runStamp, .stampLength = stampLength});
  run.programInfo = {.createdBy = kProgramName,
                     .versionNumber = kVersion,
                     .compiledOn = kCompileDate,
                     .createdOn = std::string_view(dateText(platform::clock().now()))};
}

void openLog(RunState& run) {
  if (run.scratchPath.empty()) run.scratchPath = run.DEM.path;
  const std::string name =
      run.scratchPath + std::string(kProgramName) + '_' + std::string(trimmed(run.runStamp)) + ".log";
  startLogFile(run.logUnit, name, run.inputName,
               {.programName = kProgramName,
                .startText = run.startText,
                .version = kVersion,
                .compileDate = kCompileDate});
  const int32_t tested = OpenBinaryScratchFile({.scratchPath = run.scratchPath});
  putMessage("Scratch directory: " + run.scratchPath);
  if (tested != kIoOk) stopWith("Error accessing scratch directory");
  putMessage("");
}

// ---- what can be known before the work begins ----

std::string besideDEM(const RunState& run, std::string_view prefix) {
  return run.DEM.path + std::string(prefix) + run.lengthTag + '_' + run.DEM.dataID;
}

/// The place of the output is looked at now: a run of hours must not end at a directory that is not there.
void checkOutput(const RunState& run) {
  const std::string output = run.outputName + ".flt";
  for (const std::string& input : {run.DEM.file, run.gradientName, run.aspectName, run.bconName})
    if (!input.empty() && platform::sameFile(output, input + ".flt"))
      stopWith("Output raster would replace an input raster", output);
  struct Saved {
    bool wanted;
    std::string_view prefix;
  };
  for (const Saved& saved : {Saved{run.saveGradient && run.makeGradient, "grad_"},
                             Saved{run.saveAspect && run.makeAspect, "aspect_"},
                             Saved{run.saveBcon && run.makeBcon && run.walk.specific, "bcon_"}})
    if (saved.wanted &&
        platform::hostPath(output) == platform::hostPath(besideDEM(run, saved.prefix) + ".flt"))
      stopWith("Output raster would replace a raster that is to be saved", output);
  const std::string directory =
      pathOfFile(run.outputName).empty() ? directoryOf(run.outputName) : pathOfFile(run.outputName);
  if (!platform::isDirectory(directory.empty() ? "." : directory))
    stopWith("Directory of the output raster does not exist", output);
  if (platform::isDirectory(output)) stopWith("Output raster is a directory", output);
  if (!platform::isWritableDirectory(directory))
    stopWith("Directory of the output raster cannot be written", output);
  const std::uint64_t needed = static_cast<std::uint64_t>(std::max(run.DEM.cols(), 0)) *
                               static_cast<std::uint64_t>(std::max(run.DEM.rows(), 0)) * sizeof(float);
  if (platform::freeSpace(directory) < needed && !platform::fileExists(output))
    stopWith("The disk of the output raster is full", output);
}

/// The walks and the surface metrics need one cell size.
bool cellsAreSquare(const DEM_type& dem) {
  if (!dem.DEMexists()) return true;  // reading the DEM will tell
  if (dem.cellsize > 0 && dem.xcellsize == dem.ycellsize) return true;
  reportError(
      {.file = dem.file + ".hdr", .message1 = "The DEM must have square cells, with a cell size above 0"});
  return false;
}

bool lengthScaleSuffices(const RunState& run) {
  const bool computed = run.makeGradient || run.makeAspect;
  const bool named = run.walk.specific && run.makeBcon && run.saveBcon;
  const bool usable = run.DEM.len_scale > 0 && static_cast<float>(run.DEM.len_scale) > 0.0F &&
                      std::isfinite(static_cast<float>(run.DEM.len_scale));
  if (usable || !(computed || named)) return true;
  reportError({.message1 = "LENGTH SCALE is missing or not above 0"});
  return false;
}

// ---- inputs ----

void printDEM(const DEM_type& dem) {
  putMessage("DEM: " + dem.file);
  putMessage("  Ncols = ", dem.cols());
  putMessage("  Nrows = ", dem.rows());
  putMessage("  Cellsize = ", dem.cellsize);
  putMessage("  Length scale = ", dem.len_scale);
  putMessage("");
}

bool printLimit(const WalkValues& walk) {
  if (walk.byTime) {
    putMessage("Storm duration (hrs) = ", walk.duration);
    putMessage("Saturated hydraulic conductivity (m/hr) = ", walk.conductivity);
    putMessage("");
  } else if (walk.byDistance) {
    putMessage("Horizontal flow distance (m) = ", walk.maxDistance);
  } else {
    reportError({.message1 = "ByTime or ByDistance not specified"});
  }
  if (walk.specific) putMessage("Specific contributing area will be output");
  return walk.byTime || walk.byDistance;
}

/// Reads an input raster of the DEM's extent. False, with a report, if it cannot be used.
bool readInput(RunState& run, R4Grid_type& grid, const std::string& name, std::string_view what) {
  const std::string error = "Error reading " + std::string(what) + " raster";
  putMessage("Reading " + std::string(what) + " raster");
  putMessage("  " + name);
  if (readRaster(grid, name) != kSuccess) {
    reportError({.file = name, .message1 = error});
    return false;
  }
  return matchesDEM(run.DEM, grid, name,
                    {.routine = "readInputs", .message = error + ": its size or extent is not the DEM's"});
}

void readInputs(RunState& run) {
  DEM_type& dem = run.DEM;
  bool ready = printLimit(run.walk);
  ready = cellsAreSquare(dem) && ready;
  ready = lengthScaleSuffices(run) && ready;
  if (dem.GetElev() != kSuccess) {
    reportError({.message1 = "Error reading DEM"});
    ready = false;
  }
  if (run.walk.byTime && !run.gradientName.empty()) {
    ready = readInput(run, dem.grad, run.gradientName, "Gradient") && ready;
    run.makeGradient = false;
  }
  if (!run.aspectName.empty()) {
    ready = readInput(run, dem.aspect, run.aspectName, "Aspect") && ready;
    run.makeAspect = false;
  }
  if (!ready) stopWith("Error reading input rasters");
}

// ---- rasters made from the DEM ----

/// Writes a raster that was asked for beside the DEM, with a copy of the log.
void saveBesideDEM(RunState& run, R4Grid_type& grid, std::string_view prefix, std::string_view error) {
  const std::string name = besideDEM(run, prefix);
  if (grid.WritefltR4(name, &run.programInfo) != kSuccess) {
    reportError({.message1 = error});
    return;
  }
  CopyLogFile(run.logUnit, name + ".log");
}

void makeSurface(RunState& run) {
  if (!run.makeGradient && !run.makeAspect) return;
  DEM_type& dem = run.DEM;
  putMessage(run.makeGradient && run.makeAspect ? "Creating gradient and aspect grids"
             : run.makeGradient                 ? "Creating gradient grid"
                                                : "Creating aspect grid");
  std::vector<SurfaceOutput> outputs;
  if (run.makeGradient) outputs.push_back({&dem.grad, SurfaceMetric::gradient});
  if (run.makeAspect) outputs.push_back({&dem.aspect, SurfaceMetric::aspect});
  for (const SurfaceOutput& output : outputs)
    if (CreateGrid(*output.grid, {.like = &dem.elev}) != kSuccess)
      stopWith("Error creating gradient and aspect grids");
  if (surfaceRasters(dem.elev, static_cast<float>(dem.len_scale), outputs) != kSuccess)
    stopWith("Error creating gradient and aspect grids");
  if (run.makeGradient && run.saveGradient)
    saveBesideDEM(run, dem.grad, "grad_", "Error writing gradient raster");
  if (run.makeAspect && run.saveAspect)
    saveBesideDEM(run, dem.aspect, "aspect_", "Error writing aspect raster");
}

void prepareContourLength(RunState& run) {
  DEM_type& dem = run.DEM;
  if (!run.walk.specific) return;
  if (run.makeBcon) {
    putMessage("Creating bcon raster");
    dem.calcBcon(0.5F * static_cast<float>(dem.len_scale), &dem.aspect);
    if (dem.bcon.status != kSuccess) stopWith("Error calculating bcon grid");
    if (run.saveBcon) saveBesideDEM(run, dem.bcon, "bcon_", "Error writing bcon");
    return;
  }
  putMessage("Reading Bcon raster");
  putMessage("  " + run.bconName);
  const MatchTexts mismatch{.routine = "readInputs",
                            .message = "Bcon raster: its size or extent is not the DEM's"};
  if (readRaster(dem.bcon, run.bconName) != kSuccess || !matchesDEM(dem, dem.bcon, run.bconName, mismatch))
    stopWith("Error reading Bcon raster", run.bconName);
}

/// From the instruction file to grids that are ready for the walks.
void prepare(RunState& run, const std::optional<std::string>& instructionFile) {
  findInstructions(run, instructionFile);
  readInstructions(run);
  openLog(run);
  if (run.outputName.empty()) stopWith("Output raster not specified");
  run.lengthTag = freeText(truncateTo<int64_t>(run.DEM.len_scale));
  checkOutput(run);
  printDEM(run.DEM);
  readInputs(run);
  makeSurface(run);
  prepareContourLength(run);
  DestroyGrid(run.DEM.elev);
  run.instructions.Close();
}

/// Closes the log; what is said after that goes to the console alone.
void closeLog(RunState& run, Closing closing) {
  units().close(run.logUnit, closing);
  messages().messageUnit = 0;
}

/// The output raster, then the log beside it. False if the raster could not be written.
bool writeOutput(RunState& run, double startedAt) {
  if (run.accum.WritefltR4(run.outputName, &run.programInfo) != kSuccess) {
    reportError({.file = run.outputName + ".flt", .message1 = "Error writing output raster"});
    closeLog(run, Closing::keep);
    return false;
  }
  putMessage("CPU seconds: ", static_cast<float>(platform::cpuSeconds() - startedAt));
  RunClock({.stop = true});
  // A log that could not be copied stays where it is.
  const int copied = CopyLogFile(run.logUnit, run.outputName + ".log");
  closeLog(run, copied == kSuccess ? Closing::erase : Closing::keep);
  return true;
}

}  // namespace

bool carryOutRun(RunState& run, const std::optional<std::string>& instructionFile) {
  printBanner();
  startClock(run);
  prepare(run, instructionFile);
  const double startedAt = platform::cpuSeconds();  // setup is no part of the time that is told
  const AccumulationGrids grids{
      .grad = run.DEM.grad, .aspect = run.DEM.aspect, .bcon = run.DEM.bcon, .accum = run.accum};
  if (accumulateCells(run.walk, grids, run.DEM, &run.programInfo) != kSuccess)
    stopWith("Error calculating accumulation");
  const bool written = writeOutput(run, startedAt);
  for (R4Grid_type* grid : {&run.DEM.grad, &run.DEM.aspect, &run.DEM.bcon, &run.accum})
    grid->releaseStorage();
  return written;
}

}  // namespace terrain
