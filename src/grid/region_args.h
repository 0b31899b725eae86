#pragma once
// Optional arguments of the region, window and statistics operations of the grid types.

#include <cstdint>
#include <optional>

#include "grid/header.h"

namespace terrain {

class R4Grid_type;

struct BlobArgs {
  std::optional<float> minLength{};  ///< in map units; a blob needs as many cells as this has cell widths
  std::optional<float> bufferDistance{};  ///< in map units; blobs are widened by it where it is above 0
};

struct FillHolesArgs {
  std::optional<float> maxSize{};  ///< over the cell size: the number of cells that no longer fits; absent or
                                   ///< 0: 1e6 over the cell size
  float nodata = kNodata;          ///< missing, as the grid's own nodata is
  float minVal = 0;                ///< data from `nodata` up to this is part of holes too
};

struct QuantileArgs {
  bool useBins = false;             ///< a histogram in place of the cells themselves
  std::optional<int32_t> bins{};    ///< 1 or more: of the histogram, which is then used; else it has 10000
  std::optional<float> minValue{};  ///< cells below it do not count
};

/// Null for outputs not wanted.
struct MeanOutputs {
  float* variance = nullptr;
  float* deviation = nullptr;
};

/// The cells of a 3 by 3 block that count, and how much.
struct BlockOptions {
  bool positiveOnly = false;      ///< only cells above 0
  bool distanceWeighted = false;  ///< the corners count 0.70710677, the others 1
};

/// What `distanceWeightedMean` is asked for: to keep a radius, to forget it, or the mean at a cell
/// (col, row) or a point (x, y).
struct WeightedMeanArgs {
  std::optional<int32_t> col{}, row{};
  std::optional<double> x{}, y{};
  std::optional<double> radius{};  ///< in map units; kept for later calls
  bool initialize = false;
  bool finish = false;
  float* mean = nullptr;
};

struct GrowArgs {
  int32_t minNeighbours = 5;
  const R4Grid_type* mask = nullptr;  ///< cells without data there stay as they are; matched by position
  int32_t value = 1;
};
struct ThinArgs {
  int32_t maxNeighbours = 0;
  const R4Grid_type* mask = nullptr;  ///< as in `GrowArgs`
};

/// A rectangle of cells: that of a header, or the four sides, columns and rows counted from the grid's own.
struct SubsetArgs {
  const Grid_Header* header = nullptr;
  std::optional<int32_t> col1{}, col2{}, row1{}, row2{};
};

/// How far `NearestValidI8` looks from a point's cell; without either two cells.
struct NearestValidArgs {
  std::optional<int32_t> cells{};
  std::optional<double> distance{};  ///< in map units; at least one cell
};

}  // namespace terrain
