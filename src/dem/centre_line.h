#pragma once
// Thin centre lines of patches of water.

#include <cstdint>

#include "dem/dem.h"

namespace terrain {

/// Classes of the cells of a water mask.
namespace water {
inline constexpr int32_t dry = 0;
inline constexpr int32_t open = 1;
inline constexpr int32_t centreLine = 2;
}  // namespace water

struct CentreLineRules {
  /// Metres. The line keeps half of it from the shore where the patch is that wide; a patch that is narrower
  /// everywhere has no line.
  double minimumWidth = 0;
  /// A branch of the line ends where the slope of the distance to the shore is above this. The slope is 0
  /// between parallel shores, 0.7 on the bisector of a right corner and 1 off the middle.
  double maxGradient = 0.5;
};

/// Grids of a mask's extent, made by `BuildMask`.
struct WaterGrids {
  R4Grid_type distToEdge;  ///< cells from the nearest cell at the shore, exact; -9999.0 on dry ground
  R4Grid_type slope;       ///< of that distance; -9999.0 on dry ground and where it has none
};

/// Turns the cells of `mask` above 0, which are water, into classes: in each patch, connected by sides and
/// corners, one connected line, connected by sides and corners, without blocks of 2 x 2 cells, around every
/// island that leaves it room. The line goes on to the edge of the grid where the water does.
///
/// Cells are taken away in the order of their distance to the shore as long as the rest stays connected
/// (ordered homotopic thinning, after Arcelli and Sanniti di Baja 1985, with Hilditch's crossing number);
/// pieces of a line that straits cut apart are joined over the widest ways between them. The work is that of
/// sorting the cells of the water. 0, or -1 with a report.
int BuildMask(const CentreLineRules& rules, I4Grid_type& mask, WaterGrids& grids);

}  // namespace terrain
