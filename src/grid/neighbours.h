#pragma once
// The eight neighbours of a cell and the share of its flow that each receives.
//
//   D8 codes, counter-clockwise from east     walk directions, clockwise from west
//     4 3 2                                     8 7 6
//     5 . 1                                     1 . 5
//     6 7 8                                     2 3 4

#include <array>
#include <cstdint>

namespace terrain {

inline constexpr int32_t kDirections = 8;

/// Entry k of a table that counts from 1; entry 0 is not used.
using DirectionTable = std::array<int32_t, 9>;

/// The neighbour of D8 code k is (col + colOffset[k], row + rowOffset[k]). The same tables serve the
/// walks, whose direction k goes the opposite way: to (col - colOffset[k], row - rowOffset[k]).
inline constexpr DirectionTable colOffset{0, 1, 1, 0, -1, -1, -1, 0, 1};
inline constexpr DirectionTable rowOffset{0, 0, -1, -1, -1, 0, 1, 1, 1};

/// Share, 0 to 1, of walk direction k in the flow of a cell with this aspect (radians clockwise from
/// north, pointing downslope). An aspect on a direction's centre gives it all; between two centres the
/// two share in proportion to the angle (D-infinity; Tarboton 1997). Worked out in float64, rounded once.
[[nodiscard]] float FlowProportion(float aspect, int32_t k);

/// The same share without the clamp, in float64, and the neighbour that shares with direction k:
/// `partner` counts as k + 5 below the centre and k + 3 above it. Both 0 outside the wedge of k.
struct FlowPair {
  double share = 0;
  int32_t partner = 0;
};
[[nodiscard]] FlowPair FlowProportionPair(float aspect, int32_t k);

}  // namespace terrain
