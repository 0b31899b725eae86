#pragma once
// Where channels begin: a cell becomes a channel head when enough flow has gathered for its slope and when
// that flow has come far enough; downstream of a head the flow goes on in single directions.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dem/d8_paths.h"
#include "dem/dem.h"
#include "dem/initiation_points.h"

namespace terrain {

/// What a cell needs to become a channel head. Gradients are tangents; below `lowGradient` the low values
/// hold, above `highGradient` the high ones, and between them they change linearly.
struct InitiationCriteria {
  float lowGradient = 0.25F;
  float highGradient = 0.4F;
  float slopeExponent = 2.0F;
  /// Area times slope to the exponent: m with specific contributing areas, else m^2 (divided by the cell
  /// size).
  float areaLow = 0, areaHigh = 0;
  float planLow = -kUnlimited, planHigh = -kUnlimited;  ///< least plan curvature
  /// Metres of flow through cells that have their area; below 0: none is needed.
  float lengthLow = -1, lengthHigh = -1;
  /// Relief at most at which `accumLow` and `accumHigh`, areas as above, suffice.
  float reliefLow = -kUnlimited, reliefHigh = -kUnlimited;
  float accumLow = 0, accumHigh = 0;

  static constexpr float kUnlimited = 3.4028235e38F;

  /// Area that a gradient needs, in the unit of the thresholds (after Montgomery and Dietrich 1992).
  [[nodiscard]] float area(float gradient) const;
  [[nodiscard]] float plan(float gradient) const { return between(planLow, planHigh, gradient); }
  [[nodiscard]] float length(float gradient) const { return between(lengthLow, lengthHigh, gradient); }
  /// Area that suffices for a cell of this relief, 0 where it is too high.
  [[nodiscard]] float areaForRelief(float gradient, float relief) const;
  /// Thresholds on the way from these, at a weight of 0, to others, at 1, where any curvature will do.
  [[nodiscard]] InitiationCriteria towards(const InitiationOverride& other, float weight) const;

 private:
  [[nodiscard]] float between(float low, float high, float gradient) const;
};

/// Flow that is lost on its way, for storms that end.
struct FlowDecay {
  double conductivity = 0;  ///< m/h; 0: nothing is lost
  double proportion = 0;
  double duration = 0;  ///< h
};

/// Where the flow of a channel cell is parted, the channel goes one way.
struct ChannelSharing {
  double lowShare = 0.25;   ///< a smaller part is no channel
  double highShare = 0.75;  ///< this part, and a larger one, is
  float refPlan = 0.0F;     ///< plan curvature from which on the more convergent neighbour has the channel
};

struct InitiationSettings {
  InitiationCriteria criteria{};
  /// Criteria by place: the number in a cell of `ids`, on the DEM's cells, names one of `criteriaByID`,
  /// sorted. Cells of other numbers have no heads.
  I4Grid_type* ids = nullptr;
  std::vector<std::pair<int32_t, InitiationCriteria>> criteriaByID{};
  /// 0: the criteria hold; below 0: no heads; above 0: the slope alone decides, within 1.1 to 100 cells; 3: a
  /// head. On the DEM's cells.
  const I1Grid_type* initMask = nullptr;
  const R4Grid_type* relief = nullptr;         ///< local relief, on the DEM's cells
  InitiationOverride instead{};                ///< thresholds that hold in part, or wholly, where
  const R4Grid_type* weight = nullptr;         ///< this is above 0, or 1 (`weighBuffer`)
  std::vector<const I4Grid_type*> excluded{};  ///< cells other than 0 have no heads
  std::vector<const I4Grid_type*> only{};      ///< cells of 0 have no heads
  bool specificArea = true;                    ///< areas are by length of contour (`DEM%bcon`)
  FlowDecay decay{};
  ChannelSharing sharing{};
  /// Given: below the heads channels follow these, and all directions but those along them stay as they are.
  const D8Paths* paths = nullptr;
  const VersionStamp* stamp = nullptr;  ///< of the raster's header
  /// Files; blank: "accum_" or "basenode_" with the identifiers of the DEM, beside it. See `AccumulateFlow`.
  std::string accumulationFile{}, nodeFile{};
};

struct ChannelNetwork {
  std::vector<ColRow> heads{};  ///< in the order in which they were found
  int64_t nodes = 0;            ///< channel cells, heads among them
  R8Grid_type accum{};          ///< contributing cells
};

/// Accumulates flow along `DEM%aspect` and finds the channel heads. A cell that has the area which it needs
/// but not the length waits, and passes its length on; the longest way counts. Flow that leaves a channel
/// cell is not parted: of two receivers one has it all (`ChannelSharing`), and `aspect` becomes its
/// direction. Needs `grad` and `plan`, of the raw surface, and `bcon` for specific areas.
///
/// Writes the contributing cells as "accum_" raster, and the channel cells as node file: records of 28 bytes,
/// five of a header (record length; number of nodes; empty; xmin, xmax, columns; ymin, ymax, rows), then one
/// a channel cell row by row: x, y (float64), D8 code (int32), gradient, contributing cells (float32), all
/// little-endian. 0, or -1 with a report.
int AccumulateFlow(DEM_type& dem, const InitiationSettings& settings, ChannelNetwork& network);

}  // namespace terrain
