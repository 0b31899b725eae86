#include "run/initiation.h"

#include <algorithm>

#include "dem/calibration.h"
#include "dem/flow_accumulation.h"
#include "dem/input_mask.h"
#include "dem/input_raster.h"
#include "dem/naming.h"
#include "foundation/messages.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "InitFlowDirection in DEM_Module";

int readMask(const DEM_type& dem, const std::string& file, std::string_view what,
             std::list<I4Grid_type>& list) {
  return readAreaMask(dem, file, {.routine = kTag, .what = what}, list.emplace_back());
}

int readMasks(const DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs) {
  for (const std::string& file : plan.excluded) {
    putMessage("Initiation will be precluded within no-initiation polygons");
    putMessage("  File = " + file);
    if (readMask(dem, file, "noinit poly", inputs.excluded) != kSuccess) return kFailure;
  }
  for (const LakeFile& lake : plan.lakes)
    if (lake.preclude && readMask(dem, lake.file, "lake shapefile", inputs.excluded) != kSuccess)
      return kFailure;
  for (const std::string& file : plan.only) {
    putMessage("Initiation will be precluded outside initiation polygons");
    putMessage("  File = " + file);
    if (readMask(dem, file, "init poly", inputs.only) != kSuccess) return kFailure;
  }
  return kSuccess;
}

int readCriteria(const DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs) {
  const UniformCriteria uniform{.criteria = plan.criteria(),
                                .hasArea = plan.areaLow && plan.areaHigh,
                                .hasPlan = plan.planLow && plan.planHigh,
                                .hasLength = plan.length || (plan.lengthLow && plan.lengthHigh),
                                .hasRelief = plan.relief.has_value()};
  if (ReadInitiationCriteria(dem, plan.criteriaFiles, uniform, inputs.ids, inputs.criteria) != kSuccess)
    return kFailure;
  const bool usesRelief = std::ranges::any_of(inputs.criteria, [](const auto& entry) {
    return entry.second.reliefLow > -InitiationCriteria::kUnlimited;
  });
  return usesRelief && plan.reliefName.empty() ? fail(kTag, "Required threshold parameter missing")
                                               : kSuccess;
}

/// Around the points heads are allowed, or have thresholds of their own.
int applyPoints(DEM_type& dem, const InitiationPlan& plan, std::vector<ColRow>& points, I1Grid_type& initMask,
                R4Grid_type& weight) {
  if (plan.points->above) {
    if (!dem.DA.GridExists() && accumulator(dem, {.DA = &dem.DA}) != kSuccess) return kFailure;
    if (moveToMostFlow(dem, dem.DA, plan.points->radius, points) != kSuccess) return kFailure;
  }
  if (plan.buffer) return weighBuffer(dem, *plan.buffer, points, weight);
  if (!initMask.GridExists() && CreateGrid(initMask, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "Unable to create initMask grid");
  for (const ColRow& point : points) markInitiationPoint(dem, point, plan.points->radius, initMask);
  return initMask.status;
}

int findHeads(DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs, const D8Paths* paths,
              I1Grid_type& initMask, const VersionStamp* stamp) {
  InitiationSettings settings{.criteria = plan.criteria(), .specificArea = plan.specificArea, .stamp = stamp};
  settings.decay = plan.decay.value_or(FlowDecay{});
  settings.accumulationFile = plan.accumulationRaster(dem);
  settings.paths = paths;
  R4Grid_type weight;
  if (plan.points && applyPoints(dem, plan, inputs.points, initMask, weight) != kSuccess) return kFailure;
  if (weight.GridExists()) {
    settings.weight = &weight;
    settings.instead = plan.buffer->instead;
  }
  if (initMask.GridExists()) settings.initMask = &initMask;
  if (inputs.relief.GridExists()) settings.relief = &inputs.relief;
  if (inputs.ids.GridExists()) settings.ids = &inputs.ids;
  settings.criteriaByID = inputs.criteria;
  for (const I4Grid_type& mask : inputs.excluded) settings.excluded.push_back(&mask);
  for (const I4Grid_type& mask : inputs.only) settings.only.push_back(&mask);
  ChannelNetwork network;
  return AccumulateFlow(dem, settings, network);
}

}  // namespace

std::string InitiationPlan::missing() const {
  const bool oneLength = lengthLow.has_value() != lengthHigh.has_value();
  if (oneLength && !length) return "Need to specifiy high and low gradient minimum flow length";
  if (decay && !(decay->conductivity > 0 && decay->proportion > 0 && decay->duration > 0))
    return "DECAY - need to specify all three coefficients";
  const bool hasIds = criteriaFiles.idRaster.empty() != criteriaFiles.idShapefile.empty();
  if ((hasIds || !criteriaFiles.table.empty() || !criteriaFiles.idRaster.empty()) &&
      !(hasIds && !criteriaFiles.table.empty()))
    return "Missing required file for INTITIATION CRITERIA";
  if (buffer && !points) return "INITIATION POINT BUFFER needs a CHANNEL INITIATION POINT FILE";
  if (calibrate || !findsChannels()) return {};
  const bool hasRelief =
      relief && !reliefName.empty() && relief->low && relief->high && relief->accumLow && relief->accumHigh;
  if (buffer && buffer->instead.relief && !hasRelief && criteriaFiles.table.empty())
    return "LOCAL RELIEF OVERRIDE needs LOCAL RELIEF RASTER and LOCAL RELIEF THRESHOLD";
  const bool varies = !criteriaFiles.table.empty();  // its columns may have what is missing here
  const bool isWhole = varies || (areaLow.has_value() && areaHigh.has_value() &&
                                  planLow.has_value() == planHigh.has_value() && (!relief || hasRelief));
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
  if (plan.buffer) {
    putMessage("Initiation point buffer, inner radius (m) = ", plan.buffer->inner);
    putMessage("Initiation point buffer, outer radius (m) = ", plan.buffer->outer);
    if (plan.buffer->instead.area)
      putMessage("Initiation point buffer, area override = ", *plan.buffer->instead.area);
    if (plan.buffer->instead.relief)
      putMessage("Initiation point buffer, local relief override = ", *plan.buffer->instead.relief);
  }
  if (!plan.criteriaFiles.table.empty()) {
    putMessage("Using spatially variable initiation criteria");
    return;
  }
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

int readInitiationInputs(const DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs) {
  if (readMasks(dem, plan, inputs) != kSuccess) return kFailure;
  if (!plan.reliefName.empty() &&
      readMatchingRaster(dem, plan.reliefName, "Error reading LOCAL RELIEF RASTER",
                         {.routine = kTag, .message = "Local relief raster extent does not match DEM"},
                         inputs.relief) != kSuccess)
    return kFailure;
  if (!plan.criteriaFiles.table.empty() && readCriteria(dem, plan, inputs) != kSuccess) return kFailure;
  return plan.points ? readInitiationPoints(dem, *plan.points, inputs.points) : kSuccess;
}

int initiateChannels(DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs,
                     const D8Paths* paths, I1Grid_type& initMask, const VersionStamp* stamp) {
  const bool needsWidths = plan.specificArea && (plan.findsChannels() || plan.calibrate);
  if ((needsWidths || !plan.bconName.empty()) && !dem.bcon.GridExists()) {
    putMessage("  Bcon calculated over DEM cell length");
    if (dem.calcBcon(static_cast<float>(dem.cellsize)) != kSuccess) return fail(kTag, "calcBcon failed");
  }
  if (!plan.bconName.empty() && dem.bcon.WritefltR4(plan.bconName, stamp) != kSuccess)
    return fail(kTag, "Error writing output raster " + plan.bconName);
  if (plan.calibrate) {
    const InitiationCriteria criteria = plan.criteria();
    if (!dem.DA.GridExists() && accumulator(dem, {.DA = &dem.DA}) != kSuccess) return kFailure;
    if (Calibrate(dem, {.Smin = criteria.lowGradient,
                        .Smax = criteria.highGradient,
                        .Alpha = criteria.slopeExponent,
                        .specificArea = plan.specificArea,
                        .gradLength = plan.gradientLength}) != kSuccess)
      return kFailure;
  }
  return plan.findsChannels() ? findHeads(dem, plan, inputs, paths, initMask, stamp) : kSuccess;
}

}  // namespace terrain
