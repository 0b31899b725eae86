#include <array>
#include <limits>
#include <numbers>

#include "foundation/messages.h"
#include "grid/directions.h"
#include "grid/grid.h"
#include "grid/surface_fit.h"

namespace terrain {

namespace {

using namespace surface;

constexpr std::string_view kTag = "surfaceMetricsZTC in Grid_Module";

template <class T>
void store(T* out, double value) {
  if (out != nullptr) *out = static_cast<T>(value);
}

// ---- D8 ----

/// The neighbour below the centre whose direction has the lowest sample on the circle.
int32_t steepestDirection(const R4Grid_type& grid, ColRow cell, const Samples& z, double centre,
                          bool absolute) {
  constexpr std::array<std::size_t, 9> sampleOf{0, 6, 3, 2, 1, 4, 7, 8, 9};
  int32_t best = 0;
  double lowest = std::numeric_limits<double>::infinity();
  for (int32_t code = 1; code <= kDirections; ++code) {
    const ColRow there = stepFrom(cell, code);
    const double sample = z[sampleOf[static_cast<std::size_t>(code)]];
    auto value = static_cast<double>(grid.ExtractR4ValueColRow(there.col, there.row));
    if (absolute) value = std::abs(value);
    if (value < centre && sample < lowest) {
      best = code;
      lowest = sample;
    }
  }
  return best;
}

// ---- ridges and valleys ----

/// The three adjacent samples with the largest sum stay, or those with the smallest; the opposite
/// three become the negatives of their mirror images.
void mirrorSide(Samples& z, bool ridge) {
  struct Side {
    std::array<std::size_t, 3> kept;      // their sum is compared
    std::array<std::size_t, 3> replaced;  // and from which sample each takes its negative:
    std::array<std::size_t, 3> mirrorOf;
  };
  static constexpr std::array<Side, 8> sides{{{{4, 1, 2}, {8, 9, 6}, {4, 1, 2}},
                                              {{1, 2, 3}, {7, 8, 9}, {1, 2, 3}},
                                              {{2, 3, 6}, {4, 7, 8}, {2, 3, 6}},
                                              {{3, 6, 9}, {1, 4, 7}, {3, 6, 9}},
                                              {{6, 9, 8}, {2, 1, 4}, {6, 9, 8}},
                                              {{9, 8, 7}, {3, 2, 1}, {9, 8, 7}},
                                              {{8, 7, 4}, {6, 3, 2}, {8, 7, 4}},
                                              {{7, 4, 1}, {9, 6, 3}, {7, 4, 1}}}};
  const Side* chosen = nullptr;
  double best = 0;
  for (const Side& side : sides) {
    const double sum = z[side.kept[0]] + z[side.kept[1]] + z[side.kept[2]];
    if (chosen == nullptr || (ridge ? sum > best : sum < best)) {
      chosen = &side;
      best = sum;
    }
  }
  for (std::size_t i = 0; i < 3; ++i) z[chosen->replaced[i]] = -z[chosen->mirrorOf[i]];
}

void mirrorAsAsked(Samples& z, const SurfaceMetricsArgs& args) {
  const bool ridge = args.ridge.value_or(false);
  const bool valley = !args.ridge && args.valley.value_or(false);
  if (ridge || valley) mirrorSide(z, ridge);
}

// ---- curvature ----

/// After Zevenbergen and Thorne (1987), on the circle's samples.
void storeCurvature(const SurfaceMetricsArgs& args, const Samples& z, const Slopes& s, double r) {
  const double fx = s.fx;
  const double fy = s.fy;
  const double p = fx * fx + fy * fy;
  double plan = 0;
  double profile = 0;
  if (p != 0) {
    const double a = (z[4] + z[6]) / 2;
    const double b = (z[2] + z[8]) / 2;
    const double c = (z[3] + z[7] - z[1] - z[9]) / 2;
    plan = 2 * (fy * fy * a + fx * fx * b - fy * fx * c) / (r * p);
    profile = 2 * (fx * fx * a + fy * fy * b + fy * fx * c) / (r * p);
  }
  const double q = 1 + p;
  store(args.plan, plan);
  store(args.profile, profile);
  store(args.planScaled, plan / std::sqrt(q * q * q));
  store(args.profileScaled, profile / std::sqrt(q));
}

// ---- D-infinity ----

struct Descent {
  double direction = -1.0;  // of the steepest facet; -1 where none descends
  double flowWidth = 1.0;
};

/// The eight triangular facets between a cardinal and a diagonal sample (D-infinity; Tarboton 1997).
Descent descend(const Samples& z) {
  struct Facet {
    std::size_t cardinal, diagonal;
    double ac, af;
  };
  static constexpr std::array<Facet, 8> facets{{{2, 3, 0, 1},
                                                {6, 3, kPi / 2, -1},
                                                {6, 9, kPi / 2, 1},
                                                {8, 9, kPi, -1},
                                                {8, 7, kPi, 1},
                                                {4, 7, 3 * kPi / 2, -1},
                                                {4, 1, 3 * kPi / 2, 1},
                                                {2, 1, 2 * kPi, -1}}};
  Descent result;
  double steepest = 0;
  double sum = 0;
  for (const Facet& facet : facets) {
    const double e1 = z[facet.cardinal];
    const double e2 = z[facet.diagonal];
    if (!(e1 < 0)) continue;
    const double s1 = -e1;
    double rho = 0;
    double s = s1;
    if (e1 > e2) {
      const double s2 = e1 - e2;
      rho = std::atan2(s2, s1);
      if (rho > kQuarterPi) {
        rho = kQuarterPi;
        s = -e2 / std::numbers::sqrt2;
      } else {
        s = std::sqrt(s1 * s1 + s2 * s2);
      }
    }
    if (s > steepest) {
      steepest = s;
      result.direction = facet.ac + facet.af * rho;
    }
    sum += s1 / s;
  }
  if (sum > 0) result.flowWidth = sum / 2;
  return result;
}

/// The square's samples, cardinal ones first; stops at the first that is missing and gives its number,
/// else 0.
std::size_t sampleSquare(const R4Grid_type& grid, const Point& at, double radius, bool absolute, Samples& z) {
  const double nodata = static_cast<double>(grid.nodataValue());
  static constexpr std::array<std::size_t, 9> order{2, 4, 6, 8, 1, 3, 5, 7, 9};
  for (const std::size_t k : order) {
    z[k] = sampleAt(grid, at, {.x = kSquare.dx[k] * radius, .y = kSquare.dy[k] * radius}, absolute);
    if (z[k] == nodata) return k;
  }
  return 0;
}

constexpr Samples kDirectionOf{0,
                               5.497787143782138,
                               0,
                               0.7853981633974483,
                               4.71238898038469,
                               0,
                               1.5707963267948966,
                               3.9269908169872414,
                               3.141592653589793,
                               2.356194490192345};

/// The outputs of a failure.
void storeMissing(const SurfaceMetricsArgs& args) {
  constexpr auto missing = static_cast<double>(kNodata);
  for (float* out : {args.gradient, args.plan, args.profile, args.aspect, args.flowWidth, args.dinfAspect})
    store(out, missing);
  if (args.plan != nullptr || args.profile != nullptr)
    for (float* out : {args.planScaled, args.profileScaled}) store(out, missing);
  store(args.steepest, 0);
}

}  // namespace

int surface::measure(const R4Grid_type& grid, const SurfaceMetricsArgs& args) {
  storeMissing(args);
  if (grid.useCellAccess() != kSuccess) return fail(kTag, "SetCellAccess failed");
  if (grid.xcellsize != grid.ycellsize)
    return fail(kTag, "surfaceMetrics cannot use unequal cell dimensions");
  if (const auto why = obstacle(grid); !why.empty()) return fail(kTag, why);
  // A circle without a radius would give NaN, an infinite one has no centre.
  if (!usableRadius(args.length)) return fail(kTag, "surfaceMetrics needs a finite length above 0");

  constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
  Point at{.x = args.x.value_or(nowhere), .y = args.y.value_or(nowhere)};
  ColRow cell{.col = args.col.value_or(0), .row = args.row.value_or(0)};
  if (args.col) {
    if (grid.ExtractR4ValueColRow(cell.col, cell.row) == grid.nodataValue()) return kFailure;
    at = grid.ColRowToXY(cell.col, cell.row);
  }

  Circle circle = sampleCircle(grid, at, static_cast<double>(args.length), args.absolute);
  if (!circle.found) return kFailure;
  const double r = circle.radius;
  Samples& z = circle.z;
  const double centre = z[5];
  normalise(z, r);
  if (args.steepest != nullptr)
    *args.steepest = steepestDirection(grid, args.col ? cell : grid.coveringCell(grid.XYtoColRow(at.x, at.y)),
                                       z, centre, args.absolute);
  mirrorAsAsked(z, args);

  const Slopes slopes = slopesOf(z);
  if (args.plan != nullptr || args.profile != nullptr) storeCurvature(args, z, slopes, r);
  if (args.aspect != nullptr) *args.aspect = aspectOf(slopes);
  if (args.gradient != nullptr) *args.gradient = gradientOf(slopes);

  if (args.dinfAspect != nullptr) {
    const std::size_t missing = sampleSquare(grid, at, r, args.absolute, z);
    if (missing != 0) {
      if (missing != 5) {
        store(args.dinfAspect, kDirectionOf[missing]);
        store(args.flowWidth, 1.0);
      }
      return kFailure;
    }
    normalise(z, r);
  }
  if (args.dinfAspect != nullptr || args.flowWidth != nullptr) {
    const Descent descent = descend(z);
    store(args.dinfAspect, descent.direction);
    store(args.flowWidth, descent.flowWidth);
  }
  return kSuccess;
}

int R4Grid_type::surfaceMetrics(const SurfaceMetricsArgs& args) {
  Attempt attempt{status};
  return attempt.end(surface::measure(*this, args));
}

}  // namespace terrain
