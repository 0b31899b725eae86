#include "dem/flow_direction.h"

#include <cmath>

#include "dem/grids.h"
#include "dem/operations.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "grid/float_raster.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FlowDirection in DEM_Module";

/// Runs a step and prints the processor seconds that it took.
template <class Step>
int timed(std::string_view label, Step step) {
  const double start = platform::cpuSeconds();
  const int status = step();
  if (status == kSuccess) putMessage(label, static_cast<float>(platform::cpuSeconds() - start));
  return status;
}

/// The surface as it is shown to others: clone, nodata and heights as before the shift.
int writeSurface(const DEM_type& dem, std::string_view outfile, const VersionStamp* stamp) {
  putMessage("Creating flt raster for filled DEM");
  R4Grid_type surface;
  if (dem.elev.cloneR4(surface) != kSuccess) return kFailure;
  if (surface.resetNodataValueR4(dem.elevNodata) != kSuccess ||
      surface.scalarAddR4(static_cast<float>(dem.elevShift)) != kSuccess)
    return kFailure;
  const int written = surface.WritefltR4(outfile, stamp);
  surface.releaseStorage();
  if (written == kSuccess) return kSuccess;
  return fail(kTag, "Writeflt failed for " + std::string(trimmed(outfile)));
}

}  // namespace

int shiftElevations(DEM_type& dem, double dig, double maxSlope) {
  Attempt attempt{dem.status};
  R4Grid_type& elev = dem.elev;
  if (!elev.GridExists()) return fail(kTag, "There is no grid of elevations");
  const auto missing = missingIn(elev);
  float least = std::numeric_limits<float>::infinity();
  if (RowPass{reading(elev)}.run(kTag, [&](int32_t, std::span<const float> cells) {
        for (const float cell : cells)
          if (!missing(cell) && cell < least) least = cell;
      }) != kSuccess)
    return kFailure;
  if (!std::isfinite(least)) return fail(kTag, "The elevations have no data");
  dem.elevShift = static_cast<double>(least) - (5 * dig + 1 + dem.cellsize * maxSlope);
  dem.elevNodata = elev.nodata;
  const auto shift = static_cast<float>(dem.elevShift);
  if (RowPass{changing(elev)}.run(kTag, [&](int32_t, std::span<float> cells) {
        for (float& cell : cells) cell = missing(cell) ? 0.0F : cell - shift;
      }) != kSuccess)
    return kFailure;
  elev.SetNodata(0.0F);
  return attempt.succeed();
}

int restoreElevations(DEM_type& dem) {
  Attempt attempt{dem.status};
  if (dem.elev.resetNodataValueR4(dem.elevNodata) != kSuccess ||
      dem.elev.scalarAddR4(static_cast<float>(dem.elevShift)) != kSuccess)
    return kFailure;
  dem.elevShift = 0;
  return attempt.succeed();
}

int FlowDirection(DEM_type& dem, const FlowSettings& settings) {
  Attempt attempt{dem.status};
  if (!dem.elev.GridExists()) return fail(kTag, "There is no grid of elevations");
  if (dem.elev.nodata != 0.0F) return fail(kTag, "The nodata value of the elevations must be 0");
  R4Grid_type chan;
  const bool digs = !settings.channels.masks.empty();
  if (digs && digChannels(dem, settings.channels, chan, settings.initMask) != kSuccess) return kFailure;
  const auto toMillimetres = [](int32_t, std::span<float> cells) {
    for (float& cell : cells)
      if (cell > 0.0F) cell = std::round(cell * 1000.0F) / 1000.0F;
  };
  if (RowPass{changing(dem.elev)}.run(kTag, toMillimetres) != kSuccess) return kFailure;
  const bool keeps = dem.flowMode.keepAngles;
  I1Grid_type codes;
  I1Grid_type* const ways = keeps ? &codes : nullptr;
  if (timed("Flood time: ", [&] { return flood(dem, ways); }) != kSuccess) return fail(kTag, "flood failed");
  diagnose("CreateGrid for DEM%aspect");
  if (!keeps &&
      CreateGrid(dem.aspect, {.like = &dem.elev, .nodata = kNodata, .fillValue = kNodata}) != kSuccess)
    return fail(kTag, "CreateGrid failed for aspect");
  if (timed("Flow time:: ", [&] { return flow(dem, ways); }) != kSuccess) return fail(kTag, "flow failed");
  if (dem.elev.SetPositiveR4() != kSuccess) return kFailure;
  if (settings.outfile && !isBlank(*settings.outfile) &&
      writeSurface(dem, *settings.outfile, settings.stamp) != kSuccess)
    return kFailure;
  if (digs && !settings.keepSwales && undigChannels(dem, chan) != kSuccess) return kFailure;
  return attempt.succeed();
}

}  // namespace terrain
