#pragma once
// Known channel heads, as points: heads in their cells, or thresholds of their own around them.

#include <optional>
#include <string>
#include <vector>

#include "dem/dem.h"

namespace terrain {

struct InitiationPoints {
  std::string file{};  ///< points
  double radius = 0;   ///< metres within which heads are allowed, and `above` looks
  bool above = false;  ///< each point moves to the cell of the highest flow accumulation within the radius
};

/// Thresholds that hold around points in place of the ordinary ones.
struct InitiationOverride {
  std::optional<float> area{};    ///< of `InitiationCriteria::areaLow` and `areaHigh`
  std::optional<float> relief{};  ///< of `InitiationCriteria::reliefLow` and `reliefHigh`
};

struct PointBuffer {
  double inner = 0, outer = 0;  ///< metres
  InitiationOverride instead{};
};

/// The cells of points on the data, in their order. 0, or -1 with a report.
int readInitiationPoints(const DEM_type& dem, const InitiationPoints& settings, std::vector<ColRow>& cells);

/// Moves each cell to that of the largest value of `area`, a grid on the DEM's cells, within the radius; of
/// equal ones to the first in row order, and not at all where none exceeds its own.
int moveToMostFlow(const DEM_type& dem, const R4Grid_type& area, double radius, std::vector<ColRow>& cells);

/// Forces a head in a cell, and allows heads within the radius, in metres (initiation_marks.h).
void markInitiationPoint(const DEM_type& dem, ColRow at, double radius, I1Grid_type& initMask);

/// How far the override holds, in a new grid: 1 up to the inner radius from the middle of the nearest cell of
/// the list, 0 from the outer radius on, linear in between. 0, or -1 with a report.
int weighBuffer(const DEM_type& dem, const PointBuffer& buffer, const std::vector<ColRow>& cells,
                R4Grid_type& weight);

}  // namespace terrain
