#pragma once
// Surface metrics at length scales of their own.

#include <optional>
#include <string_view>

#include "dem/dem.h"
#include "foundation/messages.h"

namespace terrain {

/// A surface metric of the DEM at a length scale, which is the radius of the circle that it is measured on
/// unless another is given, both in metres: `get` is `GetSlope` or `GetPlanCurvature`. The DEM keeps its own
/// scale. A failure is in the status of the grid.
inline R4Grid_type measured(DEM_type& dem, double length,
                            R4Grid_type (DEM_type::*get)(std::optional<std::string_view>),
                            std::optional<double> radius = std::nullopt) {
  putMessage("  Length scale (m) = ", length);
  putMessage("        Radius (m) = ", radius.value_or(length));
  const double named = dem.len_scale;
  dem.SetLengthScale(radius.value_or(length));
  R4Grid_type grid = (dem.*get)(std::nullopt);
  dem.SetLengthScale(named);
  return grid;
}

}  // namespace terrain
