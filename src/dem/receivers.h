#pragma once
// Where the flow of a cell goes: the receivers of a D-infinity angle and of a D8 code, on a lattice
// (dem/lattice.h), in one form for all walks along them.

#include <array>
#include <cstddef>
#include <string_view>

#include "dem/dem.h"
#include "dem/lattice.h"
#include "grid/neighbours.h"

namespace terrain {

/// Receivers of a D-infinity angle.
template <class Lattice>
class AngleFlow {
 public:
  using At = typename Lattice::At;

  [[nodiscard]] bool open(DEM_type& dem, std::string_view tag) {
    return aspect_.load(dem.aspect, kNodata, tag);
  }
  [[nodiscard]] bool flows(At at) const { return aspect_.get(at) >= 0.0F; }
  /// The share of the flow of `from` that goes in the direction of a code.
  [[nodiscard]] float share(At from, int32_t code) const {
    const float angle = aspect_.get(from);
    return angle >= 0.0F ? FlowProportion(angle, opposite(code)) : 0.0F;
  }
  /// Calls use(code) for each neighbour that has a share in the flow of a cell that flows: at most two, one
  /// beside the other.
  template <class Use>
  void forEachReceiver(At at, Use use) const {
    constexpr double eighth = 0.7853981633974483;
    constexpr std::array<int32_t, 9> clockwise{3, 2, 1, 8, 7, 6, 5, 4, 3};  // from north
    const float angle = aspect_.get(at);
    // Wedges reach an eighth of the circle to either side: of all the others the share is 0.
    const auto first = static_cast<std::size_t>(static_cast<double>(angle) / eighth);
    if (first >= clockwise.size()) return;
    for (const std::size_t k : {first, first + 1})
      if (k < clockwise.size() && FlowProportion(angle, opposite(clockwise[k])) > 0.0F) use(clockwise[k]);
  }

 private:
  typename Lattice::template Cells<float> aspect_;
};

/// Receivers of a D8 code.
template <class Lattice>
class CodeFlow {
 public:
  using At = typename Lattice::At;

  [[nodiscard]] bool open(DEM_type& dem, std::string_view tag) { return codes_.load(dem.D8, 0, tag); }
  [[nodiscard]] bool flows(At at) const { return codes_.get(at) > 0 && codes_.get(at) <= kDirections; }
  [[nodiscard]] float share(At from, int32_t code) const { return codes_.get(from) == code ? 1.0F : 0.0F; }
  template <class Use>
  void forEachReceiver(At at, Use use) const {
    use(codes_.get(at));
  }

 private:
  typename Lattice::template Cells<int32_t> codes_;
};

}  // namespace terrain
