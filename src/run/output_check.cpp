#include "run/output_check.h"

#include <algorithm>
#include <cstdint>

#include "foundation/file_names.h"
#include "foundation/platform.h"

namespace terrain {

namespace {

void checkInputsStay(const RunState& run, const std::string& output) {
  for (const std::string& input : {run.DEM.file, run.gradientName, run.aspectName, run.bconName})
    if (!input.empty() && platform::sameFile(output, input + ".flt"))
      stopRun("Output raster would replace an input raster", output);
}

void checkSavedStay(const RunState& run, const std::string& output) {
  struct Saved {
    bool wanted;
    const DemGrid& grid;
  };
  for (const Saved& saved : {Saved{run.saveGradient && run.makeGradient, dem_grids::grad},
                             Saved{run.saveAspect && run.makeAspect, dem_grids::aspect},
                             Saved{run.saveBcon && run.makeBcon && run.walk.specific, dem_grids::bcon}})
    if (saved.wanted &&
        platform::hostPath(output) == platform::hostPath(nameBesideDEM(run, saved.grid) + ".flt"))
      stopRun("Output raster would replace a raster that is to be saved", output);
}

void checkDirectory(const RunState& run, const std::string& output) {
  const std::string path = pathOfFile(run.outputName);
  const std::string directory = path.empty() ? directoryOf(run.outputName) : path;
  if (!platform::isDirectory(directory.empty() ? "." : directory))
    stopRun("Directory of the output raster does not exist", output);
  if (platform::isDirectory(output)) stopRun("Output raster is a directory", output);
  if (!platform::isWritableDirectory(directory))
    stopRun("Directory of the output raster cannot be written", output);
  const std::uint64_t needed = static_cast<std::uint64_t>(std::max(run.DEM.cols(), 0)) *
                               static_cast<std::uint64_t>(std::max(run.DEM.rows(), 0)) * sizeof(float);
  if (platform::freeSpace(directory) < needed && !platform::fileExists(output))
    stopRun("The disk of the output raster is full", output);
}

}  // namespace

std::string nameBesideDEM(const RunState& run, const DemGrid& grid) {
  return run.DEM.path + std::string(grid.savedPrefix) + run.lengthTag + '_' + run.DEM.dataID;
}

void checkOutput(const RunState& run) {
  const std::string output = run.outputName + ".flt";
  checkInputsStay(run, output);
  checkSavedStay(run, output);
  checkDirectory(run, output);
}

}  // namespace terrain
