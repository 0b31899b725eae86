#pragma once
// Values at a point and surface metrics in their plainest form: one step after the other, no table,
// nothing shared with the library's own code. What the library computes is held against this.

#include <cstdint>
#include <vector>

#include "grid/grid.h"

namespace terrain::test {

struct PlainGrid {
  int32_t ncols = 0, nrows = 0;
  double xmin = 0, ymin = 0, xmax = 0, ymax = 0;
  double cellsize = 0, xcellsize = 0, ycellsize = 0;
  float nodata = 0;
  std::vector<float> cells;
};

PlainGrid plainCopy(R4Grid_type& grid);

float plainValue(const PlainGrid& grid, int32_t col, int32_t row);
float plainValueXY(const PlainGrid& grid, double x, double y, const PointOptions& options);
/// Status; outputs as in `args`.
int plainSurfaceMetrics(const PlainGrid& grid, const SurfaceMetricsArgs& args);
float plainPlanXY(const PlainGrid& grid, float length, double x, double y);
void plainEvans(const PlainGrid& grid, int32_t col, int32_t row, const EvansArgs& out);
int32_t plainSteepest(const PlainGrid& grid, int32_t col, int32_t row);

}  // namespace terrain::test
