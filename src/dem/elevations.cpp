// The elevations of a DEM.

#include "dem/grids.h"
#include "dem/input_raster.h"
#include "dem/operations.h"
#include "foundation/text.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = dem_grids::elev.routine;

/// The raster to read; blank, with a report, where none is found.
std::string nameOfRaster(const DEM_type& dem, std::optional<std::string_view> given) {
  std::string name(stripped(given.value_or("")));
  if (name.empty()) name = std::string(stripped(isBlank(dem.refFile) ? dem.file : dem.refFile));
  if (name.empty()) return dem.resolveName(dem_grids::elev.prefix);
  putMessage("  " + name);
  return name;
}

/// Converts and shifts the grid that was read.
int convert(const DEM_type& dem, R4Grid_type& elev, bool halfCellShift) {
  if (dem.units == 'f' && scaleValid(elev, static_cast<float>(kMetersPerFoot), kTag) != kSuccess)
    return kFailure;
  return halfCellShift ? elev.Offset({.halfCell = true}) : kSuccess;
}

}  // namespace

int getElevations(DEM_type& dem, const GetElevOptions& options) {
  R4Grid_type& elev = dem.elev;
  Attempt attempt{dem.status, elev.status};
  if (elev.GridExists()) {
    if (!options.overwrite) {
      diagnose(dem_grids::elev.alreadyThere);
      return attempt.succeed();
    }
    diagnose("  Overwriting DEM");
  }
  const std::string name = nameOfRaster(dem, options.file);
  if (name.empty()) return fail(kTag, "Cannot find elevation grid");

  // The file itself is not shifted: a shift of the grid comes off the extent that is read.
  Grid_Header extent = dem;
  if (options.halfCellShift && extent.Offset({.x = -dem.xcellsize / 2, .y = -dem.ycellsize / 2}) != kSuccess)
    return kFailure;
  if (readOnto(dem, extent, elev, name,
               {.routine = kTag, .message = "Elevation raster has different extent than DEM"}) != kSuccess)
    return kFailure;
  if (convert(dem, elev, options.halfCellShift) == kSuccess) return attempt.succeed();
  DestroyGrid(elev);
  return kFailure;
}

}  // namespace terrain
