#pragma once
// The share of a cell's flow that each neighbour receives, by walk direction:
//
//     8 7 6
//     1 . 5
//     2 3 4

#include <cstdint>

#include "grid/directions.h"

namespace terrain {

/// Share, 0 to 1, of walk direction k in the flow of a cell with this aspect (radians clockwise from
/// north, pointing downslope). An aspect on a direction's centre gives it all; between two centres the
/// two share in proportion to the angle (D-infinity; Tarboton 1997). Computed in float64, rounded once.
/// 0 where k is no direction.
[[nodiscard]] float FlowProportion(float aspect, int32_t k);

/// The same share without the clamp, in float64, and the neighbour that shares with direction k:
/// `partner` counts as k + 5 below the centre and k + 3 above it. Both 0 outside the wedge of k.
struct FlowPair {
  double share = 0;
  int32_t partner = 0;
};
[[nodiscard]] FlowPair FlowProportionPair(float aspect, int32_t k);

}  // namespace terrain
