#pragma once
// Thresholds of channel initiation against channel density: how dense the channels become when they begin
// where area times slope to a power passes a threshold.

#include <optional>

#include "dem/dem.h"

namespace terrain {

struct CalibrationSettings {
  float Smin = 0.0F;         ///< tangent; steeper cells have a table of their own
  float Smax = 0.0F;         ///< tangent; named in the table, no more
  float Alpha = 2.0F;        ///< exponent of the gradient
  bool specificArea = true;  ///< the area is divided by the contour length
  /// Length scales in the names of the area and gradient rasters, metres, where the DEM does not hold the
  /// grids. Without the first the area has no length in its name, without the second that of the DEM counts.
  std::optional<double> areaLength{}, gradLength{};
};

/// For every cell with an area A and a gradient S above 0 the threshold at which it would begin a channel:
/// A * S^Alpha, with A the contributing area (`DEM%DA`, in cells) in square metres over the cell size, and,
/// with `specificArea`, over the contour length in cell widths (`DEM%bcon`, made where it is not there):
/// metres, as the thresholds of `AccumulateFlow`. All other cells with data hold 0.
///
/// Writes two files beside the DEM, named by `demID` and `dataID`: the raster of thresholds, "threshold_...",
/// and "areathreshold_....csv": for the cells steeper than `Smin` and for the others a table of thresholds
/// 10^(k/10) and of the channel density, km of channel to a square km, that each would give. k runs from 70
/// to -10; a threshold beyond is in no table. 0, or -1 with a report.
int Calibrate(DEM_type& dem, const CalibrationSettings& settings);

}  // namespace terrain
