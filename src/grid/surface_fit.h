#pragma once
// What is made of nine samples of a surface: the circle on which they lie, the radii that it may
// take, first derivatives, gradient and aspect. Shared by the operations at one point and by the
// whole-grid form, so that both give the same bits. All arithmetic is float64.
//
// Samples are numbered as on a keypad read from the top, entry 0 is not used:
//   1 2 3
//   4 5 6
//   7 8 9

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "grid/grid.h"

namespace terrain::surface {

using Samples = std::array<double, 10>;

inline constexpr double kPi = 3.141592653589793;
inline constexpr double kQuarterPi = 0.7853981633974483;
inline constexpr double kDiagonal = 0.7071067811865475;

/// Offsets of the samples in units of the radius.
struct Pattern {
  Samples dx{};
  Samples dy{};
};
inline constexpr Pattern kCircle{.dx = {0, -kDiagonal, 0, kDiagonal, -1, 0, 1, -kDiagonal, 0, kDiagonal},
                                 .dy = {0, kDiagonal, 1, kDiagonal, 0, 0, 0, -kDiagonal, -1, -kDiagonal}};
inline constexpr Pattern kSquare{.dx = {0, -1, 0, 1, -1, 0, 1, -1, 0, 1},
                                 .dy = {0, 1, 1, 1, 0, 0, 0, -1, -1, -1}};

// ---- what can be measured ----

/// Why nothing can be measured on a grid, whose missing cells are those at or below nodata; blank where
/// it can.
std::string_view obstacle(const R4Grid_type& grid);

// ---- radii ----

inline bool usableRadius(float radius) { return radius > 0 && std::isfinite(radius); }

/// The cell size by which a radius shrinks. A header made from xcellsize and ycellsize may hold
/// anything in `cellsize`.
double radiusStep(const GridGeometry& grid);

/// True where a radius is long enough to be given up for a smaller one.
inline bool canShrink(double radius, double step) { return step > 0 && radius >= 2 * step; }

/// One cell less, in whole cells.
inline double smallerRadius(double radius, double step) {
  return (std::max(std::trunc(radius / step), 2.0) - 1) * step;
}

/// A bound of the radii whose circle round a point lies on the grid at all, with a margin of a few
/// cells for rounding; 0 for a point off the grid.
double longestRadius(const GridGeometry& grid, const Point& at);

/// The radius that is tried after `radius`: the first of the sequence of ever smaller radii that
/// could lie on the grid. Only radii above `longest` are passed over.
double nextRadius(double radius, double step, double longest);

// ---- samples ----

inline bool allAbove(const Samples& z, double nodata) {
  bool above = true;
  for (std::size_t k = 1; k <= 9; ++k) above = above && z[k] > nodata;
  return above;
}

/// Puts values in the place of missing samples: the surface goes on straight through the centre from
/// the opposite sample, or is level where that is missing too.
void fillMissing(Samples& z, double nodata);

/// Heights above the centre divided by the radius.
inline void normalise(Samples& z, double radius) {
  const double centre = z[5];
  for (std::size_t k = 1; k <= 9; ++k) z[k] = (z[k] - centre) / radius;
}

// ---- derivatives ----

/// First derivatives on the cardinal axes and on the axes turned by 45 degrees clockwise.
struct Slopes {
  double fx = 0, fy = 0;  ///< rise per unit length to the east, to the north
  double d1 = 0, d2 = 0;  ///< to the south-east, to the north-east
};

inline Slopes slopesOf(const Samples& z) {
  return {.fx = (z[6] - z[4]) / 2, .fy = (z[2] - z[8]) / 2, .d1 = (z[9] - z[1]) / 2, .d2 = (z[3] - z[7]) / 2};
}

/// Mean of the two estimates of the slope's tangent.
inline float gradientOf(const Slopes& s) {
  return static_cast<float>(0.5 *
                            (std::sqrt(s.fx * s.fx + s.fy * s.fy) + std::sqrt(s.d1 * s.d1 + s.d2 * s.d2)));
}

/// Direction of descent, clockwise from the axis of `north`, for the rises along two axes.
inline double downslope(double north, double east) {
  const double t = north == 0 ? 1.5707963705062866 : std::atan(std::abs(east / north));  // pi/2 as a float32
  if (north < 0) return east > 0 ? 2 * kPi - t : t;
  return east > 0 ? kPi + t : kPi - t;
}

/// Mean of the two estimates of the aspect, taken across north where they lie on either side of it.
inline float aspectOf(const Slopes& s) {
  const double a1 = downslope(s.fy, s.fx);
  double a2 = downslope(s.d2, s.d1) + kQuarterPi;
  if (a2 > 2 * kPi) a2 -= 2 * kPi;
  if (!(std::abs(a2 - a1) > kPi)) return static_cast<float>((a1 + a2) / 2);
  double mean = (std::min(a1, a2) + 2 * kPi + std::max(a1, a2)) / 2;
  if (mean > 2 * kPi) mean -= 2 * kPi;
  return static_cast<float>(mean);
}

// ---- sampling at one point ----

/// Samples of a circle that lies on data, or mended where it does not, and its radius.
struct Circle {
  bool found = false;  ///< false: there is no data at the centre
  double radius = 0;
  Samples z{};
};

/// Reads the circle of radius `length` round a point, shrinking it one cell at a time while some sample
/// is missing and it is two cells or longer.
Circle sampleCircle(const R4Grid_type& grid, const Point& at, double length, bool absolute);

/// One sample, `offset` from the point.
double sampleAt(const R4Grid_type& grid, const Point& at, const Point& offset, bool absolute);

/// What `R4Grid_type::surfaceMetrics` does, for a grid that keeps its status.
int measure(const R4Grid_type& grid, const SurfaceMetricsArgs& args);

}  // namespace terrain::surface
