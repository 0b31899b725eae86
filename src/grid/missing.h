#pragma once
// Which cells hold a value: nodata never does, and in the float types neither does a NaN.

#include <cmath>
#include <limits>
#include <type_traits>

#include "grid/grid_core.h"

namespace terrain {

/// The test for a cell without a value.
template <Cell T>
[[nodiscard]] auto missingIn(const GridOf<T>& grid) {
  return [nodata = grid.nodataValue()](T cell) {
    if constexpr (std::is_floating_point_v<T>)
      return cell == nodata || std::isnan(cell);
    else
      return cell == nodata;
  };
}

/// No cell lies below it.
template <Cell T>
inline constexpr T kLowestCell = std::numeric_limits<T>::has_infinity ? -std::numeric_limits<T>::infinity()
                                                                      : std::numeric_limits<T>::lowest();

/// The cells from `least` on, but for one value; never a NaN.
template <Cell T>
struct CellsFrom {
  T least;
  T excluded;
  [[nodiscard]] bool operator()(T cell) const { return cell >= least && cell != excluded; }
};

/// The cells above nodata; where that is above 0, or a NaN, all cells that are not missing.
template <Cell T>
[[nodiscard]] CellsFrom<T> aboveNodataIn(const GridOf<T>& grid) {
  const T nodata = grid.nodataValue();
  return {.least = nodata <= 0 ? nodata : kLowestCell<T>, .excluded = nodata};
}

/// The test for data above 0.
template <Cell T>
[[nodiscard]] auto positiveIn(const GridOf<T>& grid) {
  return [nodata = grid.nodataValue()](T cell) { return cell > 0 && cell != nodata; };
}

}  // namespace terrain
