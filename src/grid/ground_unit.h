#pragma once
// The unit of a grid's coordinates, as its projection file or else its numbers tell it.

#include "grid/header.h"

namespace terrain {

enum class GroundUnit { unknown, metres, feet, degrees };

/// By the projection: the well-known text of a coordinate system (OGC 01-009 and ISO 19162), or lines such as
/// "Projection GEOGRAPHIC" and "Units FEET". A text in neither form says nothing. Without a projection, cells
/// below 0.01 at coordinates within 360 by 180 are taken for degrees.
[[nodiscard]] GroundUnit groundUnit(const Grid_Header& header);

}  // namespace terrain
