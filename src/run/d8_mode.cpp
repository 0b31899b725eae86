#include "run/d8_mode.h"

#include "dem/input_raster.h"
#include "foundation/messages.h"
#include "grid/storage.h"
#include "run/measured.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "InitFlowDirection in DEM_Module";

int read(const DEM_type& dem, std::string_view name, std::string_view unreadable, std::string_view mismatch,
         R4Grid_type& grid, const R4Grid_type*& use) {
  use = &grid;
  return readMatchingRaster(dem, name, unreadable, {.routine = kTag, .message = mismatch}, grid);
}

}  // namespace

D8Weights D8Coefficients::weights() const {
  if (!slope && !plan && !aspect && !accum && !ndvi && !preferential)
    return {.slope = 1.0F, .plan = 1.0F, .aspect = 1.0F};
  return {.slope = slope.value_or(0.0F),
          .plan = plan.value_or(0.0F),
          .aspect = aspect.value_or(0.0F),
          .accum = accum.value_or(0.0F),
          .ndvi = ndvi.value_or(0.0F),
          .preferential = preferential.value_or(0.0F)};
}

std::string D8Plan::missing(const ChannelMasks& channels) const {
  if (lengths && !lengths->plan) return "Length scale for plan curvature not specified";
  if (lengths && !lengths->aspect) return "Length scale for aspect not specified";
  if (!coefficients) return {};
  if (coefficients->preferential && !channels.preferential) return "Cannot find PREFERENTIAL FLOW RASTER";
  if (coefficients->ndvi && ndvi.file.empty()) return "Cannot find NDVI RASTER";
  return {};
}

int loadD8(DEM_type& dem, const D8Plan& plan, const ChannelMasks& channels, double planLength,
           D8Grids& grids) {
  D8Paths& paths = grids.paths;
  paths.weights = plan.coefficients.value_or(D8Coefficients{}).weights();
  if (plan.lengths) dem.flowMode.d8Length = *plan.lengths->aspect;
  if (plan.lengths && *plan.lengths->plan != planLength) {
    putMessage("Calculating surface metrics for D8 flow directions");
    grids.plan = measured(dem, *plan.lengths->plan, &DEM_type::GetPlanCurvature);
    if (grids.plan.status != kSuccess) return kFailure;
    paths.plan = &grids.plan;
  }
  if (!plan.accumName.empty()) {
    putMessage("  Reading no-channel flow-accumulation raster");
    if (read(dem, plan.accumName, "Error reading flowAccum raster",
             "Flow accumulation raster extent does not match DEM", grids.accum, paths.accum) != kSuccess)
      return kFailure;
  }
  if (paths.weights.ndvi != 0 &&
      read(dem, plan.ndvi.file, "Error reading NDVI raster", "NDVI raster extent does not match DEM",
           grids.ndvi, paths.ndvi) != kSuccess)
    return kFailure;
  if (plan.ndvi.maxGradient) paths.maxNdviGradient = *plan.ndvi.maxGradient;
  if (paths.weights.preferential != 0 && read(dem, channels.preferential->raster, "ReadGrid failed for",
                                              "  Preferential flow raster and DEM have different extent",
                                              grids.preferential, paths.preferential) != kSuccess)
    return kFailure;
  return kSuccess;
}

}  // namespace terrain
