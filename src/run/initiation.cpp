#include "run/initiation.h"

#include <list>

#include "dem/calibration.h"
#include "dem/flow_accumulation.h"
#include "dem/input_mask.h"
#include "dem/input_raster.h"
#include "dem/naming.h"
#include "foundation/messages.h"
#include "grid/float_raster.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "InitFlowDirection in DEM_Module";

/// The masks of the plan, which live as long as the settings that name them.
struct Masks {
  std::list<I4Grid_type> cells{};
  R4Grid_type relief{};
};

int readMask(const DEM_type& dem, const std::string& file, std::string_view what, Masks& masks,
             std::vector<const I4Grid_type*>& list) {
  I4Grid_type& cells = masks.cells.emplace_back();
  list.push_back(&cells);
  return readAreaMask(dem, file, {.routine = kTag, .what = what}, cells);
}

int readMasks(const DEM_type& dem, const InitiationPlan& plan, Masks& masks, InitiationSettings& settings) {
  for (const std::string& file : plan.excluded) {
    putMessage("Initiation will be precluded within no-initiation polygons");
    putMessage("  File = " + file);
    if (readMask(dem, file, "noinit poly", masks, settings.excluded) != kSuccess) return kFailure;
  }
  for (const LakeFile& lake : plan.lakes)
    if (lake.preclude && readMask(dem, lake.file, "lake shapefile", masks, settings.excluded) != kSuccess)
      return kFailure;
  for (const std::string& file : plan.only) {
    putMessage("Initiation will be precluded outside initiation polygons");
    putMessage("  File = " + file);
    if (readMask(dem, file, "init poly", masks, settings.only) != kSuccess) return kFailure;
  }
  if (plan.reliefName.empty()) return kSuccess;
  if (ReadGrid(masks.relief, plan.reliefName) != kSuccess)
    return fail(kTag, "Error reading LOCAL RELIEF RASTER");
  if (dem.feetConverted) FeetToMeters(masks.relief);
  if (!matchesDEM(dem, masks.relief, plan.reliefName,
                  {.routine = kTag, .message = "Local relief raster extent does not match DEM"}))
    return kFailure;
  settings.relief = &masks.relief;
  return kSuccess;
}

}  // namespace

std::string InitiationPlan::missing() const {
  const bool oneLength = lengthLow.has_value() != lengthHigh.has_value();
  if (oneLength && !length) return "Need to specifiy high and low gradient minimum flow length";
  if (decay && !(decay->conductivity > 0 && decay->proportion > 0 && decay->duration > 0))
    return "DECAY - need to specify all three coefficients";
  if (calibrate || !findsChannels()) return {};
  const bool hasRelief =
      relief && !reliefName.empty() && relief->low && relief->high && relief->accumLow && relief->accumHigh;
  const bool isWhole = areaLow.has_value() && areaHigh.has_value() &&
                       planLow.has_value() == planHigh.has_value() && (!relief || hasRelief);
  return isWhole ? std::string() : "Required threshold parameter missing";
}

InitiationCriteria InitiationPlan::criteria() const {
  InitiationCriteria made;
  made.lowGradient = lowGradient.value_or(made.lowGradient);
  made.highGradient = highGradient.value_or(made.highGradient);
  if (slopeExponent && *slopeExponent > 0) made.slopeExponent = *slopeExponent;
  made.areaLow = areaLow.value_or(made.areaLow);
  made.areaHigh = areaHigh.value_or(made.areaHigh);
  made.planLow = planLow.value_or(made.planLow);
  made.planHigh = planHigh.value_or(made.planHigh);
  made.lengthLow = lengthLow.value_or(length.value_or(made.lengthLow));
  made.lengthHigh = lengthHigh.value_or(length.value_or(made.lengthHigh));
  if (relief) {
    made.reliefLow = relief->low.value_or(made.reliefLow);
    made.reliefHigh = relief->high.value_or(made.reliefHigh);
    made.accumLow = relief->accumLow.value_or(0);
    made.accumHigh = relief->accumHigh.value_or(0);
  }
  return made;
}

std::string InitiationPlan::accumulationRaster(const DEM_type& dem) const {
  return accumulationName.empty() ? dem.path + "accum_" + identifiersOf(dem) : accumulationName;
}

void echoInitiation(const InitiationPlan& plan) {
  putMessage(plan.specificArea ? "Using specific contributing area" : "NOT using specific contributing area");
  if (plan.decay) {
    putMessage("Flow accumulation will decay with distance");
    putMessage("  Conductivity = ", plan.decay->conductivity);
    putMessage("  Proportion = ", plan.decay->proportion);
    putMessage("  Duration = ", plan.decay->duration);
  }
  if (!plan.findsChannels()) return;
  putMessage("Using spatially uniform initiation criteria");
  const InitiationCriteria c = plan.criteria();
  putMessage(" Low-gradient cutoff                    : ", c.lowGradient);
  putMessage(" High-gradient cutoff                   : ", c.highGradient);
  putMessage(" Lower area-slope threshold             : ", c.areaLow);
  putMessage(" Upper area-slope threshold             : ", c.areaHigh);
  if (plan.planLow) {
    putMessage(" Lower plan curvature threshold         : ", c.planLow);
    putMessage(" Upper plan curvature threshold         : ", c.planHigh);
  }
  putMessage(" Low-gradient threshold flow length (m) : ", c.lengthLow);
  putMessage(" High-gradient threshold flow length (m): ", c.lengthHigh);
  if (!plan.relief) return;
  putMessage(" Lower local relief threshold           : ", c.reliefLow);
  putMessage("   Area threshold                       : ", c.accumLow);
  putMessage(" Upper local relief threshold           : ", c.reliefHigh);
  putMessage("   Area threshold                       : ", c.accumHigh);
}

int initiateChannels(DEM_type& dem, const InitiationPlan& plan, const I1Grid_type& initMask,
                     const VersionStamp* stamp) {
  if (plan.specificArea && (plan.findsChannels() || plan.calibrate) && !dem.bcon.GridExists()) {
    putMessage("  Bcon calculated over DEM cell length");
    if (dem.calcBcon(static_cast<float>(dem.cellsize)) != kSuccess) return fail(kTag, "calcBcon failed");
  }
  const InitiationCriteria criteria = plan.criteria();
  if (plan.calibrate) {
    if (!dem.DA.GridExists() && accumulator(dem, {.DA = &dem.DA}) != kSuccess) return kFailure;
    if (Calibrate(dem, {.Smin = criteria.lowGradient,
                        .Smax = criteria.highGradient,
                        .Alpha = criteria.slopeExponent,
                        .specificArea = plan.specificArea,
                        .gradLength = plan.gradientLength}) != kSuccess)
      return kFailure;
  }
  if (!plan.findsChannels()) return kSuccess;
  InitiationSettings settings{.criteria = criteria, .specificArea = plan.specificArea, .stamp = stamp};
  settings.decay = plan.decay.value_or(FlowDecay{});
  if (initMask.GridExists()) settings.initMask = &initMask;
  settings.accumulationFile = plan.accumulationRaster(dem);
  Masks masks;
  ChannelNetwork network;
  if (readMasks(dem, plan, masks, settings) != kSuccess) return kFailure;
  return AccumulateFlow(dem, settings, network);
}

}  // namespace terrain
