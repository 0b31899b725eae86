#pragma once
// Reference implementation of the drainage kernels: every pass made as it is described, every list scanned
// from its start, nothing kept for speed. The library's forms give the same bits.

#include <cstdint>
#include <vector>

namespace terrain::test {

/// Cells row by row from the north.
struct PlainTerrain {
  int32_t cols = 0, rows = 0;
  std::vector<float> elev;  ///< 0 is nodata, data are positive; negative once known to drain
  std::vector<float> plan;  ///< plan curvature: decides between equal slopes
};

struct PlainFloodResult {
  int64_t carved = 0;    ///< passages
  bool drained = false;  ///< every cell leads to the edge of the data
};

/// Raises pits of one cell and carves passages until every cell drains. The data of `elev` are then negative.
PlainFloodResult plainFlood(PlainTerrain& terrain);

/// D-infinity aspects (radians clockwise from north) of a flooded terrain, -9999.0 for none, and the number
/// of flats. The data of `elev` are then positive.
std::vector<float> plainFlow(PlainTerrain& terrain, int64_t& flats);

/// Contributing cells, each cell itself included, along D-infinity aspects; 0 where there is no aspect.
std::vector<float> plainAccumulation(const PlainTerrain& terrain, const std::vector<float>& aspect);
std::vector<double> plainAccumulationR8(const PlainTerrain& terrain, const std::vector<float>& aspect);

/// The same along D8 codes; 0 where the code is not above 0.
std::vector<float> plainAccumulationD8(int32_t cols, int32_t rows, const std::vector<int32_t>& codes);

}  // namespace terrain::test
