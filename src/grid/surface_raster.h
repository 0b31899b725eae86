#pragma once
// Gradient and aspect of a whole grid: what `surfaceMetrics` gives cell by cell, with the same bits,
// in a fraction of the time. The cell and the fraction of a sample in x depend on the column alone,
// in y on the row alone, so small tables take the place of the divisions.

#include <vector>

#include "grid/grid.h"

namespace terrain {

enum class SurfaceMetric {
  gradient,  ///< tangent of the slope
  aspect,    ///< radians clockwise from north
};

/// A grid of the elevations' size and what it is to be filled with.
struct SurfaceOutput {
  R4Grid_type* grid = nullptr;
  SurfaceMetric metric = SurfaceMetric::gradient;
};

/// Stores the result of `surfaceMetrics` with radius `length` (map units, above 0) for every cell of
/// `elev` that is not nodata, -9999.0 where it has none; the other cells get the nodata value of the
/// output grid. Grids may be in memory or on disk; on disk each row is read and written once, and
/// the grids end in row access. A scratch file that cannot be read ends the run.
/// 0, or -1 with a report.
int surfaceRasters(const R4Grid_type& elev, float length, const std::vector<SurfaceOutput>& outputs);

}  // namespace terrain
