#include "run/inputs.h"

#include <cmath>
#include <vector>

#include "dem/input_raster.h"
#include "foundation/messages.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"
#include "run/ground_check.h"
#include "run/keywords.h"
#include "run/output_check.h"

namespace terrain {

namespace {

void echo(const RunState& run, std::string_view word) { echoKeyword(keywords(), run, word); }

void printDEM(const RunState& run) {
  echo(run, "DEM");
  putMessage("  Ncols = ", run.DEM.cols());
  putMessage("  Nrows = ", run.DEM.rows());
  putMessage("  Cellsize = ", run.DEM.cellsize);
  echo(run, "LENGTH SCALE");
  putMessage("");
}

bool printLimit(const RunState& run) {
  const bool limited = run.walk.byTime || run.walk.byDistance;
  if (run.walk.byTime) {
    echo(run, "DURATION");
    echo(run, "CONDUCTIVITY");
    putMessage("");
  } else if (run.walk.byDistance) {
    echo(run, "MAX DISTANCE");
  } else {
    reportError({.message1 = "ByTime or ByDistance not specified"});
  }
  echo(run, "SPECIFIC");
  return limited;
}

bool lengthScaleSuffices(const RunState& run) {
  const bool computed = run.makeGradient || run.makeAspect;
  const bool named = run.walk.specific && run.makeBcon && run.saveBcon;
  const auto length = static_cast<float>(run.DEM.len_scale);
  if ((run.DEM.len_scale > 0 && length > 0.0F && std::isfinite(length)) || !(computed || named)) return true;
  reportError({.message1 = "LENGTH SCALE is missing or not above 0"});
  return false;
}

/// Reads an input raster of the DEM's extent. False, with a report, if it cannot be used.
bool readInput(const RunState& run, R4Grid_type& grid, const std::string& name, std::string_view what) {
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

/// Writes a raster that was asked for beside the DEM, with a copy of the log.
void saveBesideDEM(RunState& run, const DemGrid& row, std::string_view error) {
  const std::string name = nameBesideDEM(run, row);
  R4Grid_type& grid = run.DEM.*std::get<R4Grid_type DEM_type::*>(row.grid);
  if (grid.WritefltR4(name, &run.session.programInfo) != kSuccess) {
    reportError({.message1 = error});
    return;
  }
  run.session.copyLog(name);
}

}  // namespace

void readInputs(RunState& run) {
  DEM_type& dem = run.DEM;
  printDEM(run);
  bool ready = printLimit(run);
  ready = groundIsInMetres(dem) && ready;
  ready = cellsAreSquare(dem) && ready;
  ready = lengthScaleSuffices(run) && ready;
  if (dem.GetElev() != kSuccess) {
    reportError({.message1 = "Error reading DEM"});
    ready = false;
  }
  if (run.walk.byTime && !run.gradientName.empty())
    ready = readInput(run, dem.grad, run.gradientName, "Gradient") && ready;
  if (!run.aspectName.empty()) ready = readInput(run, dem.aspect, run.aspectName, "Aspect") && ready;
  if (!ready) stopRun("Error reading input rasters");
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
      stopRun("Error creating gradient and aspect grids");
  if (surfaceRasters(dem.elev, static_cast<float>(dem.len_scale), outputs) != kSuccess)
    stopRun("Error creating gradient and aspect grids");
  if (run.makeGradient && run.saveGradient)
    saveBesideDEM(run, dem_grids::grad, "Error writing gradient raster");
  if (run.makeAspect && run.saveAspect) saveBesideDEM(run, dem_grids::aspect, "Error writing aspect raster");
}

void prepareContourLength(RunState& run) {
  if (!run.walk.specific) return;
  DEM_type& dem = run.DEM;
  if (run.makeBcon) {
    putMessage("Creating bcon raster");
    dem.calcBcon(0.5F * static_cast<float>(dem.len_scale), &dem.aspect);
    if (dem.bcon.status != kSuccess) stopRun("Error calculating bcon grid");
    if (run.saveBcon) saveBesideDEM(run, dem_grids::bcon, "Error writing bcon");
    return;
  }
  putMessage("Reading Bcon raster");
  putMessage("  " + run.bconName);
  const MatchTexts mismatch{.routine = "readInputs",
                            .message = "Bcon raster: its size or extent is not the DEM's"};
  if (readRaster(dem.bcon, run.bconName) != kSuccess || !matchesDEM(dem, dem.bcon, run.bconName, mismatch))
    stopRun("Error reading Bcon raster", run.bconName);
}

}  // namespace terrain
