#include "foundation/fits.h"

#include <lapacke.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string_view>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kFitTag = "FitPoly in Utilities";
constexpr std::string_view kAzimuthTag = "AzimuthDeg in Utilities";
constexpr std::string_view kTooFewPoints = "Not enough points to fit polynomial";
constexpr int32_t kSingular = 100;  // "Matrix apparently singular"

/// 180 / pi as float32, widened.
constexpr double kDegrees = 57.295780181884766;

/// x to a whole power by squaring and multiplying.
template <class Real>
Real power(Real x, std::size_t exponent) {
  Real result = Real(1);
  for (; exponent > 0; exponent /= 2, x *= x)
    if (exponent % 2 == 1) result *= x;
  return result;
}

template <class Real>
int fillPowers(std::span<Real> matrix, int32_t order, std::span<const Real> x) {
  if (order < 0) return kFailure;
  const std::size_t columns = static_cast<std::size_t>(order) + 1;
  const auto elements = byteCount(columns, x.size());
  if (!elements || matrix.size() < *elements) return kFailure;
  for (std::size_t column = 0; column < columns; ++column)
    for (std::size_t row = 0; row < x.size(); ++row) matrix[column * x.size() + row] = power(x[row], column);
  return kSuccess;
}

bool allFinite(std::span<const double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

/// Coefficients that m points are fitted with: order + 1, or one fewer than the points.
int64_t termsFor(int64_t m, int32_t order) {
  const int64_t terms = int64_t{order} + 1;
  return m < terms ? m - 1 : terms;
}

enum class Fit { done, noMemory, singular };

/// How many different values there are. False if there is no memory.
bool countDistinct(std::span<const double> values, int64_t& count) {
  std::vector<double> sorted;
  if (!tryCopy(sorted, values)) return false;
  std::sort(sorted.begin(), sorted.end());
  count = std::unique(sorted.begin(), sorted.end()) - sorted.begin();
  return true;
}

/// y as a polynomial of x with `terms` coefficients, at least 1 and at most as many as points. Where x has
/// fewer different values, or the solver finds no finite coefficients, the fit is singular and `terms`
/// becomes the number of coefficients that the points may allow.
Fit leastSquares(std::span<const double> x, std::span<const double> y, int64_t& terms,
                 std::vector<double>& coef) {
  const std::size_t rows = x.size();
  const std::size_t columns = static_cast<std::size_t>(terms);
  int64_t distinct = 0;
  if (!countDistinct(x, distinct)) return Fit::noMemory;
  if (distinct < terms) {
    terms = distinct;
    return Fit::singular;
  }
  const auto elements = byteCount(rows, columns);
  std::vector<double> matrix;
  std::vector<double> solution;
  // The solver indexes its matrix with 32 bits.
  if (!elements || *elements > static_cast<std::uint64_t>(std::numeric_limits<lapack_int>::max()) ||
      !tryAllocate(matrix, *elements) || !tryAllocate(solution, rows))
    return Fit::noMemory;
  if (PowerMatrix(matrix, static_cast<int32_t>(terms - 1), x) != kSuccess) return Fit::noMemory;
  std::copy(y.begin(), y.end(), solution.begin());
  const lapack_int m = static_cast<lapack_int>(rows);
  const lapack_int info = LAPACKE_dgels(LAPACK_COL_MAJOR, 'N', m, static_cast<lapack_int>(terms), 1,
                                        matrix.data(), m, solution.data(), m);
  if (info == LAPACK_WORK_MEMORY_ERROR) return Fit::noMemory;
  solution.resize(columns);
  if (info != 0 || !allFinite(solution)) {
    --terms;
    return Fit::singular;
  }
  coef = std::move(solution);
  return Fit::done;
}

int reportFit(std::string_view routine, Fit fit) {
  return fit == Fit::noMemory ? cannotAllocate(routine, "matrix")
                              : reportError({.routine = routine, .code = kSingular});
}

/// What is wrong with the points first to last; empty if nothing.
std::string_view faultOf(int64_t m, std::span<const double> x, std::span<const double> y) {
  if (m <= 0) return kTooFewPoints;
  const std::size_t count = static_cast<std::size_t>(m);
  if (x.size() < count || y.size() < count) return "Fewer coordinates than points";
  if (!allFinite(x.first(count)) || !allFinite(y.first(count))) return "Coordinate is not a finite number";
  return {};
}

double rangeOf(std::span<const double> values) {
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  return *most - *least;
}

}  // namespace

int FitPoly(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y, int32_t order,
            std::vector<double>& coef) {
  coef = {};
  const auto refuse = [](std::string_view text) { return fail(kFitTag, text); };
  const int64_t m = int64_t{last} - first + 1;
  if (order < 0) return refuse("Order of polynomial is negative");
  if (m < int64_t{order} + 1 && m < 2) return refuse(kTooFewPoints);
  if (const auto fault = faultOf(m, x, y); !fault.empty()) return refuse(fault);
  const std::size_t count = static_cast<std::size_t>(m);
  int64_t terms = termsFor(m, order);
  const Fit fit = leastSquares(x.first(count), y.first(count), terms, coef);
  return fit == Fit::done ? kSuccess : reportFit(kFitTag, fit);
}

float AzimuthDeg(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y,
                 int32_t order) {
  const int64_t m = int64_t{last} - first + 1;
  const auto nothing = [](int) { return 0.0F; };
  if (const auto fault = faultOf(m, x, y); !fault.empty()) return nothing(fail(kAzimuthTag, fault));

  const std::size_t count = static_cast<std::size_t>(m);
  std::vector<double> east;
  std::vector<double> north;
  if (!tryAllocate(east, count) || !tryAllocate(north, count))
    return nothing(reportFit(kAzimuthTag, Fit::noMemory));
  const bool hasOrigin = first <= 0 && last >= 0;
  const std::size_t origin = hasOrigin ? static_cast<std::size_t>(-int64_t{first}) : 0;
  const double x0 = hasOrigin ? x[origin] : 0.0;
  const double y0 = hasOrigin ? y[origin] : 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    east[i] = x[i] - x0;
    north[i] = y[i] - y0;
  }

  const double rangeX = rangeOf(east);
  if (rangeX == 0.0) return north.back() > north.front() ? 0.0F : 180.0F;
  // Along y the line is x(y); with x negated its slope turns the same way as that of y(x).
  const bool alongY = rangeOf(north) > rangeX;
  const bool backwards = alongY ? north.front() > north.back() : east.front() > east.back();
  if (alongY) std::transform(east.begin(), east.end(), east.begin(), [](double value) { return -value; });

  // A direction needs the second coefficient: never fewer than two terms.
  std::vector<double> coef;
  int64_t terms = std::max<int64_t>(termsFor(m, order), 2);
  Fit fit = Fit::singular;
  for (;;) {
    const int64_t tried = terms;
    fit = alongY ? leastSquares(north, east, terms, coef) : leastSquares(east, north, terms, coef);
    if (fit != Fit::singular || tried == 2) break;
    terms = std::max<int64_t>(terms, 2);
  }
  if (fit != Fit::done) return nothing(reportFit(kAzimuthTag, fit));

  const double turn = kDegrees * std::atan(coef[1]);
  float azimuth = static_cast<float>(alongY ? -turn : 90.0 - turn);
  if (backwards) azimuth += 180.0F;
  if (azimuth < 0.0F) azimuth += 360.0F;
  return azimuth;
}

double EvalPolynomial(std::span<const double> coef, double x) {
  if (coef.empty()) return 0.0;
  double sum = coef[0];
  for (std::size_t i = 1; i < coef.size(); ++i) sum += coef[i] * power(x, i);
  return sum;
}

double HornerPolynomial(double x, std::span<const double> coef) {
  if (coef.empty()) return 0.0;
  double sum = coef.back();
  for (std::size_t i = coef.size() - 1; i > 0; --i) sum = sum * x + coef[i - 1];
  return sum;
}

void Logistic(double x, std::span<const double, 3> params, double& f, double& dfdx) {
  const double a = params[0], b = params[1], c = params[2];
  const double e = std::exp(-(x - c) * b);
  f = a / (1.0 + e);
  const double square = (1.0 + e) * (1.0 + e);
  // Beyond the range of float64 the quotient would be infinity over infinity.
  dfdx = std::isinf(square) ? a * b * 0.0 : a * b * e / square;
}

// ---- faces ----

int PowerMatrix(std::span<float> matrix, int32_t order, std::span<const float> x) {
  return fillPowers(matrix, order, x);
}
int PowerMatrix(std::span<double> matrix, int32_t order, std::span<const double> x) {
  return fillPowers(matrix, order, x);
}

}  // namespace terrain
