#include <array>
#include <cmath>
#include <initializer_list>

#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "grid/directions.h"
#include "grid/grid.h"
#include "grid/surface_fit.h"

namespace terrain {

namespace {

using namespace surface;

constexpr double kMissing = static_cast<double>(kNodata);

void store(float* out, double value) {
  if (out != nullptr) *out = static_cast<float>(value);
}

double signOf(double v) { return v > 0 ? 1.0 : (v < 0 ? -1.0 : 0.0); }

/// z = a x^2 + b y^2 + c x y + p x + q y over the nine cells, by least squares.
struct Quadratic {
  double a, b, c, p, q;
};

Quadratic fitQuadratic(const Samples& z) {
  return {.a = (z[1] + z[3] + z[4] + z[6] + z[7] + z[9] - 2 * (z[2] + z[8])) / 6,
          .b = (z[1] + z[2] + z[3] + z[7] + z[8] + z[9] - 2 * (z[4] + z[6])) / 6,
          .c = (z[3] + z[7] - z[1] - z[9]) / 4,
          .p = (z[3] + z[6] + z[9] - z[1] - z[4] - z[7]) / 6,
          .q = (z[1] + z[2] + z[3] - z[7] - z[8] - z[9]) / 6};
}

/// Degrees clockwise from north. The cosine is kept within its range, which rounding can leave by a bit.
double compassAspect(const Quadratic& f, double w) {
  if (w == 0) return kMissing;
  const double sp = signOf(f.p);
  const double sq = signOf(f.q);
  const double cosine = std::clamp(-f.q / std::sqrt(w), -1.0, 1.0);
  return (1 + sp) * 180 + (1 - std::abs(sp)) * (-90) * (1 - sq) - std::acos(cosine) * 57.2957763671875 * sp;
}

/// H + sqrt(H^2 - K) of the mean and the Gaussian curvature; H^2 is below K only by rounding.
double principalCurvature(const Quadratic& f, double w) {
  const double u = 1 + w;
  const double h = ((1 + f.p * f.p) * f.b + (1 + f.q * f.q) * f.a - f.p * f.c * f.q) / std::pow(u, 1.5);
  const double k = (4 * f.a * f.b - f.c * f.c) / (u * u);
  return h + std::sqrt(std::max(h * h - k, 0.0));
}

void storeCurvatures(const EvansArgs& args, const Quadratic& f, double w) {
  const auto [a, b, c, p, q] = f;
  const double n = 2 * ((p * b - q * c) * p + q * q * a);
  const double m = -2 * ((p * a + q * c) * p + q * q * b);
  const double root = std::sqrt(w);
  const double lean = std::sqrt(1 + w);
  // A level centre has no direction to curve along; a vanishing numerator is no curvature at all.
  const auto group = [w](double numerator, double value) {
    if (w == 0) return kMissing;
    return sameR8(numerator, 0.0) ? 0.0 : value;
  };
  store(args.plan, group(n, n / (root * root * root)));
  store(args.tangential, group(n, n / (lean * w)));
  store(args.planRaw, group(n, n / w));
  store(args.profile, group(m, m / (lean * w * (1 + w))));
  store(args.profileRaw, group(m, m / w));
}

}  // namespace

float R4Grid_type::PlanXY(float length, double x, double y) {
  Attempt attempt{status};
  if (xcellsize != ycellsize) {
    reportError({.message1 = "PlanXY requires square cellsize"});
    return 0.0F;
  }
  if (const auto why = obstacle(*this); !why.empty()) {
    reportError({.message1 = why});
    return kNodata;
  }
  if (!usableRadius(length)) {
    reportError({.message1 = "PlanXY needs a finite length above 0"});
    return kNodata;
  }
  Circle circle = sampleCircle(*this, {.x = x, .y = y}, static_cast<double>(length), false);
  if (!circle.found) return kNodata;
  const double r = circle.radius;
  Samples& z = circle.z;
  normalise(z, r);
  const auto [fx, fy, d1, d2] = slopesOf(z);
  const double p = fx * fx + fy * fy;
  attempt.succeed();
  if (!(p > 0)) return 0.0F;
  return static_cast<float>(
      r * (fx * fx * (z[2] + z[8]) + fy * fy * (z[4] + z[6]) - (z[3] + z[7] - z[1] - z[9]) * fx * fy) / p);
}

void R4Grid_type::Evans3x3(int32_t col, int32_t row, const EvansArgs& args) {
  Attempt attempt{status};
  for (float* out : {args.aspect, args.gradient, args.plan, args.tangential, args.planRaw, args.profile,
                     args.profileRaw, args.curvMin, args.curvMax, args.curvPrincipal})
    store(out, kMissing);
  if (xcellsize != ycellsize) {
    putMessage("Evans3x3 requires square cells");
    return;
  }
  if (const auto why = obstacle(*this); !why.empty()) {
    fail("Evans3x3 in Grid_Module", why);
    return;
  }
  std::array<float, 9> cell{};
  ExtractR4Neighbours(cell, col, row);
  Samples z{};
  for (std::size_t k = 1; k <= 9; ++k) {
    if (cell[k - 1] == nodataValue()) return;
    z[k] = static_cast<double>(cell[k - 1]);
  }
  normalise(z, radiusStep(*this));

  const Quadratic f = fitQuadratic(z);
  const double w = f.p * f.p + f.q * f.q;
  store(args.aspect, compassAspect(f, w));
  store(args.gradient, std::sqrt(w));
  storeCurvatures(args, f, w);
  const double spread = std::sqrt(f.c * f.c + (f.a - f.b) * (f.a - f.b));
  store(args.curvMin, -(f.a + f.b) - spread);
  store(args.curvMax, -(f.a + f.b) + spread);
  store(args.curvPrincipal, principalCurvature(f, w));
  attempt.succeed();
}

int32_t R4Grid_type::SteepestNeighbour(int32_t col, int32_t row) {
  if (const auto why = obstacle(*this); !why.empty()) {
    fail("SteepestNeighbour in Grid_Module", why);
    return 0;
  }
  const float missing = std::abs(nodataValue());
  const float z0 = std::abs(ExtractR4ValueColRow(col, row));
  if (z0 == missing) return 0;
  int32_t best = 0;
  float bestDrop = -999.0F;
  float bestDistance = 0.0F;
  for (int32_t k = 1; k <= kDirections; ++k) {
    const ColRow there = stepFrom({.col = col, .row = row}, k);
    const float z = std::abs(ExtractR4ValueColRow(there.col, there.row));
    if (z == missing || z > z0 || sameR4(z, z0)) continue;
    const float distance = stepLength(k);
    const float drop = (z0 - z) / distance;
    if (drop > bestDrop || (sameR4(drop, bestDrop) && distance < bestDistance)) {
      best = k;
      bestDrop = drop;
      bestDistance = distance;
    }
  }
  return best;
}

}  // namespace terrain
