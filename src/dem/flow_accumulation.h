#pragma once
// Flow accumulation: what is released in every cell, routed downslope along D-infinity angles or D8 codes.

#include <cstddef>
#include <optional>
#include <span>

#include "dem/dem.h"

namespace terrain {

struct AccumulatorArgs {
  R4Grid_type* accum = nullptr;   ///< `ingrid` at the DEM's cells, routed; an empty grid is made
  R4Grid_type* ingrid = nullptr;  ///< what is routed, of any cell size; absent: the cells themselves
  R4Grid_type* DA = nullptr;      ///< contributing cells, the cell itself included; an empty grid is made
  R8Grid_type* DAR8 = nullptr;    ///< the same in 64 bits: above 2^24 cells a float32 loses single cells
  bool useD8 = false;             ///< along `DEM%D8`, which must exist, instead of `DEM%aspect`
  bool infillZeros = false;       ///< zeros of `ingrid` become the mean of what is positive around them
  bool clipNegative = false;      ///< values of `ingrid` below 0 are taken as 0
  std::optional<float> scale{};   ///< `ingrid` is multiplied by this first; 0: not
};

/// Every cell passes on what it holds to the cells that its direction leads to, in shares that sum to one;
/// a cell without a direction holds 0 and passes nothing on. Values are added in the order of the D8 codes of
/// the donors, in the width of the grid. Directions that lead in a circle are cut at the first cell that is
/// met again. Nodata of the grids that are made is -9999.0. 0, or -1 with a report; the status of the grids
/// with it.
int accumulator(DEM_type& dem, const AccumulatorArgs& args);

/// A vector for every cell of the DEM: row after row from the north, the vectors one after the other.
struct CellVectors {
  std::span<float> values{};
  std::size_t length = 0;  ///< of each vector
  std::size_t cols = 0;    ///< of the DEM

  [[nodiscard]] std::span<float> of(int32_t col, int32_t row) const {
    const std::size_t cell = static_cast<std::size_t>(row - 1) * cols + static_cast<std::size_t>(col - 1);
    return values.subspan(cell * length, length);
  }
};

/// Routes what `values` holds, on the DEM's cells, along `DEM%aspect`, which must exist. 0, or -1 with a
/// report.
int routeAlongAngles(DEM_type& dem, R4Grid_type& values);
/// The same for vectors, element by element with the same bits, in one walk.
int routeAlongAngles(DEM_type& dem, const CellVectors& vectors);

}  // namespace terrain
