#pragma once
// Numerical integration of a function of one variable.

#include <functional>
#include <optional>

namespace terrain {

/// The integrators' state: the tolerances of the next call that names none.
struct SimpsonTolerances {
  float sp = 0.0001F;
  double dp = 0.00001;
};
SimpsonTolerances& simpsonTolerances();

/// Integral of f from a to b by Simpson's rule on successively halved trapezoids (Press et al.,
/// Numerical Recipes, section 4.2): 5 halvings at least, until the result changes by less than
/// `tolerance` times itself; 33 evaluations of f at least. An integral that is negative, or near 0,
/// ends there too: values below the tolerance count as 0. At most 20 stages (524289 evaluations) in
/// float32 and 15 (16385) in float64; if the result then still changes by more than the tolerance, or is
/// NaN, that is written and the last result returned.
/// tolerance  kept for later calls
float Simpson_sp(const std::function<float(const float&)>& f, float a, float b,
                 std::optional<float> tolerance = std::nullopt);
double Simpson_dp(const std::function<double(const double&)>& f, double a, double b,
                  std::optional<double> tolerance = std::nullopt);

}  // namespace terrain
