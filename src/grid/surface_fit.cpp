#include "grid/surface_fit.h"

#include <limits>

#include "foundation/numbers.h"

namespace terrain::surface {

std::string_view obstacle(const R4Grid_type& grid) {
  const float nodata = grid.nodataValue();
  if (!std::isfinite(nodata) || nodata > 0)
    return "The nodata value of a surface must be a number not above 0";
  if (!grid.resolvesCells()) return "The cell size of a surface is too small beside its coordinates";
  return {};
}

double radiusStep(const GridGeometry& grid) {
  return sameR8(grid.cellsize, grid.xcellsize) ? grid.cellsize : grid.xcellsize;
}

double longestRadius(const GridGeometry& grid, const Point& at) {
  const double room = std::min({at.x - grid.xmin, grid.xmax + grid.xcellsize - at.x, at.y - grid.ymin,
                                grid.ymax + grid.ycellsize - at.y});
  const double reach =
      std::max({std::abs(grid.xmin), std::abs(grid.xmax), std::abs(grid.ymin), std::abs(grid.ymax)});
  const double bound = room + 2 * grid.xcellsize + 8 * std::numeric_limits<double>::epsilon() * reach;
  return bound > 0 ? bound : 0.0;
}

// The sequence goes through whole multiples k of the step, from k to k - 1, or to k - 2 where the
// rounded quotient (k * step) / step falls below k. So it meets k + 1 or k + 2; where k + 1 leads to
// k, both lead there, and the sequence can be entered at k with nothing changed. A radius too long
// to shrink by one cell in float64 is brought to an end by the same jump.
double nextRadius(double radius, double step, double longest) {
  const double next = smallerRadius(radius, step);
  if (!(next > longest)) return next;
  double k = std::max(std::ceil(longest / step), 1.0);
  while (smallerRadius((k + 1) * step, step) != k * step) ++k;
  return next > (k + 2) * step ? k * step : next;
}

void fillMissing(Samples& z, double nodata) {
  for (std::size_t k = 1; k <= 4; ++k) {
    double& one = z[k];
    double& other = z[10 - k];
    if (one == nodata && other > nodata) {
      one = 2 * z[5] - other;
    } else if (other == nodata && one > nodata) {
      other = 2 * z[5] - one;
    }
  }
  for (std::size_t k = 1; k <= 9; ++k)
    if (!(z[k] > nodata)) z[k] = z[5];
}

double sampleAt(const R4Grid_type& grid, const Point& at, const Point& offset, bool absolute) {
  return static_cast<double>(grid.ExtractR4ValueXY(at.x + offset.x, at.y + offset.y, {.absolute = absolute}));
}

Circle sampleCircle(const R4Grid_type& grid, const Point& at, double length, bool absolute) {
  const double nodata = static_cast<double>(grid.nodataValue());
  const double step = radiusStep(grid);
  const double longest = longestRadius(grid, at);
  Circle circle{.radius = length};
  while (true) {
    for (std::size_t k = 1; k <= 9; ++k)
      circle.z[k] = sampleAt(
          grid, at, {.x = kCircle.dx[k] * circle.radius, .y = kCircle.dy[k] * circle.radius}, absolute);
    circle.found = allAbove(circle.z, nodata);
    if (circle.found || circle.z[5] == nodata) return circle;
    if (!canShrink(circle.radius, step)) break;
    circle.radius = nextRadius(circle.radius, step, longest);
  }
  fillMissing(circle.z, nodata);
  circle.found = true;
  return circle;
}

}  // namespace terrain::surface
