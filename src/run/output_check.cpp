#include "run/output_check.h"

#include <algorithm>
#include <array>

#include "foundation/file_names.h"
#include "foundation/platform.h"

namespace terrain {

namespace {

/// The files of a raster that is written: the cells, the header, the projection, the log.
constexpr std::array<std::string_view, 4> kWrittenFiles{".flt", ".hdr", ".prj", ".log"};
constexpr std::array<std::string_view, 3> kReadFiles{".flt", ".hdr", ".prj"};

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

void checkInputsStay(const RunFiles& files, const std::string& raster) {
  for (const std::string& input : files.inputs)
    for (const std::string_view read : kReadFiles)
      for (const std::string_view written : kWrittenFiles)
        if (!input.empty() && areOneFile(raster + std::string(written), input + std::string(read)))
          stopRun("Output raster would replace an input raster", raster + std::string(written));
  for (const std::string_view written : kWrittenFiles)
    if (areOneFile(raster + std::string(written), files.instructions))
      stopRun("Output raster would replace the instruction file", raster + std::string(written));
}

/// A file that cannot be written should show now and not after the computing.
void checkReplaceable(const std::string& raster) {
  for (const std::string_view written : kWrittenFiles) {
    const std::string file = raster + std::string(written);
    const IoCode code = platform::canReplace(file);
    if (code != kIoOk) stopRun("Output file cannot be written: " + describe(code), file);
  }
}

void checkDirectory(const std::string& raster, std::uint64_t bytes) {
  const std::string output = raster + ".flt";
  const std::string path = pathOfFile(raster);
  const std::string directory = path.empty() ? directoryOf(raster) : path;
  if (!platform::isDirectory(directory.empty() ? "." : directory))
    stopRun("Directory of the output raster does not exist", output);
  if (platform::isDirectory(output)) stopRun("Output raster is a directory", output);
  if (!platform::isWritableDirectory(directory))
    stopRun("Directory of the output raster cannot be written", output);
  if (platform::freeSpace(directory) < bytes) stopRun("The disk of the output raster is full", output);
}

}  // namespace

void checkOutputs(const RunFiles& files) {
  for (auto raster = files.outputs.begin(); raster != files.outputs.end(); ++raster) {
    checkInputsStay(files, *raster);
    for (auto other = std::next(raster); other != files.outputs.end(); ++other)
      if (areOneFile(*raster + ".flt", *other + ".flt"))
        stopRun("Output raster would replace a raster that is to be saved", *raster + ".flt");
  }
  for (const std::string& raster : files.outputs) {
    checkDirectory(raster, files.bytes);
    checkReplaceable(raster);
  }
}

std::uint64_t rasterBytes(const DEM_type& dem) {
  return static_cast<std::uint64_t>(std::max(dem.cols(), 0)) *
         static_cast<std::uint64_t>(std::max(dem.rows(), 0)) * sizeof(float);
}

std::string nameBesideDEM(const RunState& run, const DemGrid& grid) {
  return run.DEM.path + std::string(grid.savedPrefix) + run.lengthTag + '_' + run.DEM.dataID;
}

void checkOutput(const RunState& run) {
  RunFiles files{.instructions = run.session.inputName,
                 .inputs = {run.DEM.file, run.gradientName, run.aspectName, run.bconName},
                 .outputs = {run.outputName},
                 .bytes = rasterBytes(run.DEM)};
  const auto add = [&](bool wanted, const DemGrid& grid) {
    if (wanted) files.outputs.push_back(nameBesideDEM(run, grid));
  };
  add(run.saveGradient && run.makeGradient, dem_grids::grad);
  add(run.saveAspect && run.makeAspect, dem_grids::aspect);
  add(run.saveBcon && run.makeBcon && run.walk.specific, dem_grids::bcon);
  checkOutputs(files);
}

}  // namespace terrain
