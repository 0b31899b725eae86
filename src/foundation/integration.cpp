#include "foundation/integration.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include "foundation/messages.h"

namespace terrain {

namespace {

constexpr int kFirstTestedStage = 6;

/// Sum of f at the middles of `points` intervals of width d, begun at a. The positions are
/// summed up, so that each carries the rounding of those before it.
template <class Real>
Real sumOfMiddles(const std::function<Real(const Real&)>& f, Real a, Real d, int32_t points) {
  Real x = a + Real(0.5) * d;
  Real sum = Real(0);
  for (int32_t i = 0; i < points; ++i, x += d) sum += f(x);
  return sum;
}

template <class Real>
Real simpson(const std::function<Real(const Real&)>& f, Real a, Real b, Real tolerance, int lastStage,
             std::string_view exceeded) {
  const Real h = b - a;
  const Real first = Real(0.5) * (f(a) + f(b)) * h;
  Real trapezoid = Real(0.5) * (first + h * f(a + Real(0.5) * h));
  Real result = (Real(4) * trapezoid - first) / Real(3);
  Real previous = result;
  for (int stage = 3; stage <= lastStage; ++stage) {
    const int32_t points = int32_t{1} << (stage - 2);
    const Real d = h / static_cast<Real>(points);
    const Real coarser = trapezoid;
    trapezoid = Real(0.5) * (coarser + d * sumOfMiddles(f, a, d, points));
    previous = result;
    result = (Real(4) * trapezoid - coarser) / Real(3);
    if (stage < kFirstTestedStage) continue;
    if (std::abs(result - previous) < tolerance * std::abs(previous)) return result;
    if (previous < tolerance && result < tolerance) return result;
  }
  const Real change = result - previous;
  if (!(std::abs(change) <= tolerance)) {
    putMessage(exceeded);
    putMessage("  Absolute error: ", change);
    putMessage("  Relative error: ", std::abs(change) / previous);
  }
  return result;
}

}  // namespace

SimpsonTolerances& simpsonTolerances() {
  static SimpsonTolerances tolerances;
  return tolerances;
}

// ---- faces ----

float Simpson_sp(const std::function<float(const float&)>& f, float a, float b,
                 std::optional<float> tolerance) {
  float& kept = simpsonTolerances().sp;
  kept = tolerance.value_or(kept);
  return simpson<float>(f, a, b, kept, 20, "Simpson_sp exceeded max iterations");
}

double Simpson_dp(const std::function<double(const double&)>& f, double a, double b,
                  std::optional<double> tolerance) {
  double& kept = simpsonTolerances().dp;
  kept = tolerance.value_or(kept);
  return simpson<double>(f, a, b, kept, 15, "Simpson_dp exceeded max iterations");
}

}  // namespace terrain
