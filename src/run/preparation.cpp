#include "run/preparation.h"

#include <algorithm>

#include "dem/flow_direction.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "run/drainage_echo.h"
#include "run/ground_check.h"
#include "run/measured.h"

namespace terrain {

namespace {

void writeMetric(R4Grid_type& grid, const std::string& name, const VersionStamp& stamp,
                 std::string_view what) {
  if (name.empty()) return;
  if (grid.WritefltR4(name, &stamp) != kSuccess)
    stopRun("Error writing " + std::string(what) + " raster", name + ".flt");
  putMessage("Created " + std::string(what) + " raster " + name);
}

/// Gradient limits the digging along channel masks, levels lakes, and decides where channels begin.
bool needsGradient(const DrainageRun& run) {
  return !run.channels.masks.empty() || run.repairs.lakes || run.initiation.findsChannels() ||
         run.initiation.calibrate || !run.gradientName.empty();
}

/// Each metric is measured where it has a length, the gradient also where plan curvature has one; else it is
/// read.
void loadMetrics(DrainageRun& run) {
  DEM_type& dem = run.DEM;
  const double curvature = run.curvature.circle();
  const double gradient = run.gradientLength > 0 ? run.gradientLength : curvature;
  const bool both = curvature > 0 && gradient == curvature && needsGradient(run);
  if (curvature > 0) {
    putMessage(both ? "Filling gradient and plan curvature grids" : "Filling plan curvature raster");
    dem.plan = measured(dem, run.curvature.length, &DEM_type::GetPlanCurvature, run.curvature.radius);
    if (dem.plan.status != kSuccess) stopRun("Error filling plan curvature raster");
  } else if (dem.GetPlan() != kSuccess) {
    stopRun("Plan curvature file not found: CURVATURE LENGTH SCALE computes it");
  }
  writeMetric(dem.plan, run.planName, run.session.programInfo, "plan curvature");
  if (!needsGradient(run)) return;
  if (gradient > 0) {
    if (!both) putMessage("Filling gradient raster");
    run.initiation.gradientLength = gradient;
    dem.grad = measured(dem, gradient, &DEM_type::GetSlope);
    if (dem.grad.status != kSuccess) stopRun("Error filling gradient raster");
  } else if (dem.GetGrad() != kSuccess) {
    stopRun("Error opening gradient flt raster: GRADIENT LENGTH SCALE computes it");
  }
  writeMetric(dem.grad, run.gradientName, run.session.programInfo, "gradient");
}

/// Deepest and steepest that the elevations may be lowered, by swales or by water.
void shift(DrainageRun& run) {
  DEM_type& dem = run.DEM;
  putMessage(" Minimum elevation = ", dem.elev.MinR4());
  putMessage(" Maximum elevation = ", dem.elev.MaxR4());
  const double dig = std::max(run.channels.deepest(), run.repairs.waterDepth());
  if (shiftElevations(dem, dig, run.channels.steepest()) != kSuccess) stopRun("Error with inputs");
  putMessage(" Elevation shift = ", dem.elevShift);
}

}  // namespace

void InitFlowDirection(DrainageRun& run, PreparedDrainage& made) {
  DEM_type& dem = run.DEM;
  echoSettings(run);
  const bool metres = groundIsInMetres(dem);
  if (!(cellsAreSquare(dem) && metres)) stopRun("Error with inputs");
  putMessage("Reading DEM");
  if (dem.GetElev() != kSuccess) stopRun("ReadElev failed");
  if (repairSurface(dem, run.repairs) != kSuccess) stopRun("Error with inputs");
  loadMetrics(run);
  if (run.d8.isOn() && loadD8(dem, run.d8, run.channels, run.curvature.circle(), made.d8) != kSuccess)
    stopRun("Error with inputs");
  if (maskSurface(dem, run.repairs) != kSuccess) stopRun("Error with inputs");
  if (run.initiation.findsChannels() &&
      readInitiationInputs(dem, run.initiation, made.initiation) != kSuccess)
    stopRun("Error with inputs");
  if (dem.flowMode.keepAngles && dem.GetAspect() != kSuccess) stopRun("GetAspect failed");
  shift(run);
  if (flattenWater(dem, run.repairs, made.initMask, made.water) != kSuccess) stopRun("Error with inputs");
  if (made.water.GridExists()) run.channels.water = &made.water;
}

}  // namespace terrain
