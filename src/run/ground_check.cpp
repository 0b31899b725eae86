#include "run/ground_check.h"

#include "foundation/messages.h"
#include "grid/ground_unit.h"

namespace terrain {

bool groundIsInMetres(const DEM_type& dem) {
  if (!dem.DEMexists() || groundUnit(dem) != GroundUnit::degrees) return true;
  Report report{
      .file = dem.file,
      .message1 = "The DEM is in degrees and must be in metres: gdalwarp -t_srs EPSG:<number> projects it"};
  if (dem.projection.lines.empty())
    report.message2 = "Where its cells are in metres, a projection file (.prj) has to say so";
  reportError(report);
  return false;
}

bool cellsAreSquare(const DEM_type& dem) {
  if (!dem.DEMexists()) return true;
  if (dem.cellsize > 0 && dem.xcellsize == dem.ycellsize) return true;
  reportError(
      {.file = dem.file + ".hdr", .message1 = "The DEM must have square cells, with a cell size above 0"});
  return false;
}

std::optional<std::string> feetWarning(const DEM_type& dem) {
  if (dem.feetConverted || groundUnit(dem) != GroundUnit::feet) return std::nullopt;
  return dem.file + ": the map is in feet; its cell size is taken for metres";
}

}  // namespace terrain
