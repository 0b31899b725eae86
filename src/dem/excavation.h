#pragma once
// Ground that is lowered before the flood: single cells by a table, and trenches along lines that stand for
// culverts and ditches; zeros that stand for missing data.

#include <string>
#include <string_view>

#include "dem/dem.h"

namespace terrain {

/// Cells of exactly 0 that have no other data within `radius`, in metres, become nodata, -9999.0. The radius
/// is rounded to whole cells and is one at least. 0, or -1 with a report.
int checkZeros(R4Grid_type& elev, double radius);

/// Lowers the cells that hold the points of a table: delimited text with the columns X, Y and CUT, the depth;
/// without CUT a column VALUE has it. All are in the DEM's unit. Cells that several points fall in are
/// lowered by each; points off the grid and on nodata change nothing. 0, or -1 with a report that names the
/// first bad record, and the elevations as they were.
int Excavate(DEM_type& dem, std::string_view file);

struct LineExcavation {
  std::string file{};         ///< a shapefile of lines
  float radius = 0.0F;        ///< half the width of a trench, metres; 0 or less: the cell size
  float minElevation = 0.0F;  ///< what is not above it is no ground
  bool debug = false;         ///< writes the elevations as "lineExcavateChk" beside the DEM
};

/// Cuts a graded trench along each line, one after the other, from its higher end to the lowest point on it:
/// it runs straight between the knick points of the profile, 0.1 m below the lowest ground around them, and
/// nowhere above the ground or below the line's lowest point. The walls rise to the radius. Each part of a
/// line is a line of its own. Lines without a fall, off the grid, along one column or row of coordinates, or
/// over ground without data are left out. 0, or -1 with a report.
int ExcavateLine(DEM_type& dem, const LineExcavation& settings);

}  // namespace terrain
