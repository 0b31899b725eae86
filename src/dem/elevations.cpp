// The elevations of a DEM.

#include "dem/grids.h"
#include "dem/input_raster.h"
#include "dem/operations.h"
#include "foundation/text.h"
#include "grid/raster_header.h"
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

/// The whole extent of the file that `grid` was cut from, in the DEM's units and moved by a part of a cell.
Grid_Header extentOfFile(const DEM_type& dem, const Grid_Header& grid, std::string_view name, double shift) {
  Grid_Header header;
  if (header.ReadHeader(rasterStem(name)) != kSuccess) return grid;
  if (dem.feetConverted) FeetToMeters(header);
  if (header.Offset({.x = shift * header.xcellsize, .y = shift * header.ycellsize}) != kSuccess) return grid;
  return header;
}

/// Converts and shifts the grid that was read, and compares it with the DEM.
int fitToDEM(const DEM_type& dem, R4Grid_type& elev, std::string_view name, bool halfCellShift) {
  if (dem.units == 'f' && scaleValid(elev, static_cast<float>(kMetersPerFoot), kTag) != kSuccess)
    return kFailure;
  if (halfCellShift && elev.Offset({.halfCell = true}) != kSuccess) return kFailure;
  if (SameGridGeometry(dem, elev)) return kSuccess;
  return reportMismatch(dem, extentOfFile(dem, elev, name, halfCellShift ? 0.5 : 0.0), name,
                        {.routine = kTag, .message = "Elevation raster has different extent than DEM"});
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
  if (readOnto(extent, elev, name, kTag) != kSuccess) return kFailure;
  if (fitToDEM(dem, elev, name, options.halfCellShift) == kSuccess) return attempt.succeed();
  DestroyGrid(elev);
  return kFailure;
}

}  // namespace terrain
