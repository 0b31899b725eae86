#include "run/drainage.h"

#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "dem/operations.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "run/ground_check.h"
#include "run/instructions.h"
#include "run/output_check.h"
#include "run/preparation.h"

namespace terrain {

const ProgramIdentity kDrainageProgram{
    .name = "Ostrevanmoor-drainage", .compileDate = "January 8, 2023", .version = OSTREVANMOOR_VERSION};

namespace {

std::vector<LineWarning> warningsOf(DrainageRun& run) {
  return checkKeywordLines(run.session.instructions, textsOf(drainageKeywords()), valueAfterEquals);
}

void valueOfKeyword(const LogicalLine& line, KeywordInput& input) {
  input.whereMissing = "Input file; missing argument for keyword ";
  valueAfterEquals(line, input);
}

RunFiles filesOf(const DrainageRun& run) {
  RunFiles files{
      .instructions = run.session.inputName, .inputs = {run.DEM.file}, .bytes = rasterBytes(run.DEM)};
  for (const ChannelMask& mask : run.channels.masks) files.inputs.push_back(mask.file);
  if (run.channels.preferential) files.inputs.push_back(run.channels.preferential->raster);
  const InitiationPlan& plan = run.initiation;
  for (const auto* list : {&plan.excluded, &plan.only})
    files.inputs.insert(files.inputs.end(), list->begin(), list->end());
  for (const NodataMask& mask : run.repairs.nodataMasks) files.inputs.push_back(mask.file);
  for (const WaterMask& mask : run.repairs.waterMasks) files.inputs.push_back(mask.file);
  if (run.repairs.lakes) files.inputs.push_back(run.repairs.lakes->file);
  for (const LakeFile& lake : plan.lakes) files.inputs.push_back(lake.file);
  for (const std::string* name :
       {&plan.reliefName, &plan.criteriaFiles.idRaster, &plan.criteriaFiles.idShapefile, &run.d8.accumName,
        &run.d8.ndvi.file, &run.repairs.drainPoints})
    if (!name->empty()) files.inputs.push_back(*name);
  if (plan.points) files.inputs.push_back(plan.points->file);
  for (const std::string* name : {&run.planName, &run.gradientName, &run.surfaceName, &run.angleName,
                                  &run.codeName, &run.areaName, &run.initiation.bconName})
    if (!name->empty()) files.outputs.push_back(*name);
  if (plan.findsChannels()) files.outputs.push_back(plan.accumulationRaster(run.DEM));
  return files;
}

/// From the instruction file to a DEM whose header is known and whose outputs can be written.
RunFiles prepare(DrainageRun& run, const std::optional<std::string>& instructionFile) {
  run.session.findInstructions(instructionFile);
  readInstructions(
      run.session, drainageKeywords(), run, run.strict, [&](bool) { return warningsOf(run); },
      valueOfKeyword);
  if (resolveParameters(run.DEM, "Input file", run.session.inputName) != kSuccess)
    stopRun("Error finding DEM");
  if (const auto feet = feetWarning(run.DEM)) {
    putWarning(*feet);
    if (run.strict) stopRun("STRICT: the DEM gives cause for a warning", run.DEM.file);
  }
  for (const std::string& missing : {run.initiation.missing(), run.d8.missing(run.channels)})
    if (!missing.empty()) stopRun(missing);
  if (run.scratchPath.empty()) run.scratchPath = run.DEM.path;
  run.session.openLog(run.scratchPath);
  RunFiles files = filesOf(run);
  if (files.outputs.empty()) stopRun("Output raster not specified");
  checkOutputs(files);
  run.session.instructions.Close();
  return files;
}

/// Contributing cells, with nodata where there is no land.
int computeArea(DEM_type& dem) {
  if (accumulator(dem, {.DA = &dem.DA}) != kSuccess) return kFailure;
  return RowPass{changing(dem.DA), reading(dem.elev)}.run(
      "accumulator", [](int32_t, std::span<float> areas, std::span<const float> elevations) {
        for (std::size_t i = 0; i < areas.size(); ++i)
          if (elevations[i] == 0.0F) areas[i] = kNodata;
      });
}

void stopUnlessWritten(int status, const std::string& name) {
  if (status != kSuccess) stopRun("Error writing output raster", name + ".flt");
}

}  // namespace

bool carryOutDrainage(DrainageRun& run, const std::optional<std::string>& instructionFile) {
  run.session.start(kDrainageProgram);
  const RunFiles files = prepare(run, instructionFile);
  const double startedAt =
      platform::cpuSeconds();  // the reading of instructions is not part of the reported time
  PreparedDrainage prepared;
  InitFlowDirection(run, prepared);
  DEM_type& dem = run.DEM;
  const VersionStamp* const stamp = &run.session.programInfo;
  FlowSettings settings{
      .channels = run.channels, .keepSwales = run.d8.isOn(), .stamp = stamp, .initMask = &prepared.initMask};
  if (!run.surfaceName.empty()) settings.outfile = run.surfaceName;
  if (FlowDirection(dem, settings) != kSuccess) stopRun("Error calculating flow directions");
  if (!run.angleName.empty()) stopUnlessWritten(dem.aspect.WritefltR4(run.angleName, stamp), run.angleName);
  if (!run.codeName.empty()) {
    if (dem.CalcD8() != kSuccess) stopRun("CalcD8 failed");
    stopUnlessWritten(dem.D8.WritefltI4(run.codeName, stamp), run.codeName);
    dem.DestroyGrid("D8");
  }
  if (!run.areaName.empty()) {
    putMessage("Accumulating");
    if (computeArea(dem) != kSuccess) stopRun("Error calculating accumulation");
    stopUnlessWritten(dem.DA.WritefltR4(run.areaName, stamp), run.areaName);
  }
  if (initiateChannels(dem, run.initiation, prepared.initiation, run.d8.isOn() ? &prepared.d8.paths : nullptr,
                       prepared.initMask, stamp) != kSuccess)
    stopRun("Error finding channels");
  for (std::size_t i = 0; i + 1 < files.outputs.size(); ++i) run.session.copyLog(files.outputs[i]);
  run.session.finish(files.outputs.back(), startedAt);
  for (R4Grid_type* grid : {&dem.elev, &dem.grad, &dem.plan, &dem.aspect, &dem.DA, &dem.bcon})
    grid->releaseStorage();
  return true;
}

}  // namespace terrain
