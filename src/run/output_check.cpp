#include "run/output_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "foundation/file_names.h"
#include "foundation/platform.h"

namespace terrain {

namespace {

/// True if writing `output` would change the content of `other`, by whatever paths or links they are named.
/// Neither need exist.
bool areOneFile(const std::string& output, const std::string& other) {
  if (platform::sameFile(output, other)) return true;
  const auto directory = [](const std::string& name) {
    const std::string path = directoryOf(name);
    return path.empty() ? std::string(".") : path;
  };
  return fileNameOf(output) == fileNameOf(other) && platform::sameFile(directory(output), directory(other));
}

/// The names, without extension, of the rasters that the run saves beside the DEM.
std::vector<std::string> savedRasters(const RunState& run) {
  std::vector<std::string> names;
  const auto add = [&](bool wanted, const DemGrid& grid) {
    if (wanted) names.push_back(nameBesideDEM(run, grid));
  };
  add(run.saveGradient && run.makeGradient, dem_grids::grad);
  add(run.saveAspect && run.makeAspect, dem_grids::aspect);
  add(run.saveBcon && run.makeBcon && run.walk.specific, dem_grids::bcon);
  return names;
}

/// The files of a raster that is written: the cells, the header, the projection, the log.
constexpr std::array<std::string_view, 4> kWrittenFiles{".flt", ".hdr", ".prj", ".log"};
constexpr std::array<std::string_view, 3> kReadFiles{".flt", ".hdr", ".prj"};

void checkInputsStay(const RunState& run, const std::string& raster) {
  for (const std::string& input : {run.DEM.file, run.gradientName, run.aspectName, run.bconName})
    for (const std::string_view read : kReadFiles)
      for (const std::string_view written : kWrittenFiles)
        if (!input.empty() && areOneFile(raster + std::string(written), input + std::string(read)))
          stopRun("Output raster would replace an input raster", raster + std::string(written));
  for (const std::string_view written : kWrittenFiles)
    if (areOneFile(raster + std::string(written), run.session.inputName))
      stopRun("Output raster would replace the instruction file", raster + std::string(written));
}

/// A file that cannot be written should show now and not after the walks.
void checkReplaceable(const std::string& raster) {
  for (const std::string_view written : kWrittenFiles) {
    const std::string file = raster + std::string(written);
    const IoCode code = platform::canReplace(file);
    if (code != kIoOk) stopRun("Output file cannot be written: " + describe(code), file);
  }
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
  if (platform::freeSpace(directory) < needed) stopRun("The disk of the output raster is full", output);
}

}  // namespace

std::string nameBesideDEM(const RunState& run, const DemGrid& grid) {
  return run.DEM.path + std::string(grid.savedPrefix) + run.lengthTag + '_' + run.DEM.dataID;
}

void checkOutput(const RunState& run) {
  const std::string output = run.outputName + ".flt";
  const std::vector<std::string> saved = savedRasters(run);
  checkInputsStay(run, run.outputName);
  for (const std::string& raster : saved) {
    checkInputsStay(run, raster);
    if (areOneFile(output, raster + ".flt"))
      stopRun("Output raster would replace a raster that is to be saved", output);
  }
  checkDirectory(run, output);
  checkReplaceable(run.outputName);
  for (const std::string& raster : saved) checkReplaceable(raster);
}

}  // namespace terrain
