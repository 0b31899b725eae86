#pragma once
// What drains to a point: along D-infinity angles every cell with the share of its flow that arrives there,
// along D8 codes all or nothing.

#include <cstdint>
#include <optional>

#include "dem/dem.h"

namespace terrain {

/// The point to which a basin drains: on the map, or a cell. A point on the map is the cell whose area holds
/// it.
struct PourPoint {
  std::optional<double> x{}, y{};  ///< map units
  std::optional<int32_t> col{}, row{};
};

/// Makes `P`, for every cell the share of its flow along `DEM%aspect` that reaches the pour point: 1 there, 0
/// where nothing arrives. What passes the pour point and comes back to it is not counted again. Each share is
/// summed in float64 over the cell's receivers and rounded once. Off the grid there is no basin and `P` is 0
/// everywhere. 0, or -1 with a report and no `P`; so for angles that lead in a circle above the pour point.
int delineateBasin(DEM_type& dem, R4Grid_type& P, const PourPoint& at);

/// Makes `basin`, 1 in every cell from which `DEM%D8` (`GetD8`) leads to the pour point, which is one of
/// them, and 0 elsewhere. 0, or -1 with a report.
int delineateBasinD8(DEM_type& dem, I4Grid_type& basin, const PourPoint& at);

}  // namespace terrain
