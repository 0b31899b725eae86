#pragma once
// Which cells hold values of a kind: tests beside `missingIn` of grid/rows.h.

#include <cmath>

#include "grid/rows.h"

namespace terrain {

/// True for the values of a kernel that takes only what lies above nodata: with a nodata of 0 or below
/// everything at or under it is left out, with a positive one nodata alone.
[[nodiscard]] inline auto aboveNodataOf(const GridOf<float>& grid) {
  return [nodata = grid.nodataValue()](float value) {
    return nodata > 0 ? value != nodata && !std::isnan(value) : value > nodata;
  };
}

/// True for data above 0.
template <Cell T>
[[nodiscard]] auto positiveIn(const GridOf<T>& grid) {
  return [nodata = grid.nodataValue()](T value) { return value > 0 && value != nodata; };
}

}  // namespace terrain
