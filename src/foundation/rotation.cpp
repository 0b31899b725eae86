#include "foundation/rotation.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numbers>
#include <optional>

namespace terrain {

namespace {

constexpr double kQuarter = static_cast<double>(1.5707964F);
constexpr double kHalf = static_cast<double>(3.1415927F);
constexpr double kThreeQuarters = static_cast<double>(4.712389F);

constexpr int kMostSamples = 10;

/// The vectors of a range, by 0-based index.
class Vectors {
 public:
  Vectors(std::span<const double> x, std::span<const double> y, std::span<const double> z)
      : x_(x), y_(y), z_(z) {}

  /// z over the horizontal length; nothing for a vector that has none.
  [[nodiscard]] std::optional<double> ratio(int64_t index) const {
    const std::size_t i = static_cast<std::size_t>(index);
    const double length = std::sqrt(x_[i] * x_[i] + y_[i] * y_[i]);
    if (!(length > 0.0)) return std::nullopt;
    return z_[i] / length;
  }

 private:
  std::span<const double> x_, y_, z_;
};

/// The most extreme ratio so far and its index; `before` tells which of two is more extreme.
template <class Before>
struct Extreme {
  double ratio;
  std::optional<int64_t> index{};
  Before before{};

  void include(const Vectors& vectors, int64_t at) {
    const auto found = vectors.ratio(at);
    if (found && before(*found, ratio)) {
      ratio = *found;
      index = at;
    }
  }

  /// Looks at everything less than `step` away from the extreme of the samples.
  void refine(const Vectors& vectors, int64_t step, int64_t end) {
    if (!index) return;
    const int64_t from = std::max<int64_t>(*index - step + 1, 0);
    const int64_t to = std::min(*index + step - 1, end);
    for (int64_t at = from; at <= to; ++at) include(vectors, at);
  }
};

}  // namespace

void TiltRotation(Matrix3& matrix, double azimuth, double tilt) {
  const double s = std::abs(std::sin(azimuth));
  const double c = std::abs(std::cos(azimuth));
  const double a = azimuth < kQuarter || azimuth >= kThreeQuarters ? s : -s;
  const double b = azimuth < kHalf ? -c : c;
  const double st = std::sin(tilt);
  const double ct = std::cos(tilt);
  matrix = {a * a * (1.0 - ct) + ct,
            a * b * (1.0 - ct),
            b * st,
            a * b * (1.0 - ct),
            b * b * (1.0 - ct) + ct,
            -a * st,
            -b * st,
            a * st,
            ct};
}

void ApplyRotation3(const Matrix3& matrix, std::array<double, 3>& vector) {
  const auto [x, y, z] = vector;
  for (std::size_t row = 0; row < 3; ++row)
    vector[row] = matrix[3 * row] * x + matrix[3 * row + 1] * y + matrix[3 * row + 2] * z;
}

void PlaneRotation(Matrix2& matrix, double angle) {
  matrix = {std::cos(angle), -std::sin(angle), std::sin(angle), std::cos(angle)};
}

void ApplyRotation2(const Matrix2& matrix, double& x, double& y) {
  const double x0 = x;
  x = matrix[0] * x0 + matrix[2] * y;
  y = matrix[1] * x0 + matrix[3] * y;
}

int32_t AspectToDirection(float angle) {
  constexpr std::array<int32_t, 17> kDirections{3, 3, 2, 2, 1, 1, 8, 8, 7, 7, 6, 6, 5, 5, 4, 4, 3};
  const float sixteenth = angle / 0.3926991F;
  if (!(sixteenth > -1.0F && sixteenth < 17.0F)) return -9999;
  return kDirections[static_cast<std::size_t>(std::max(sixteenth, 0.0F))];
}

float AxialDifference(float a, float b) {
  const float high = std::max(a, b);
  const float low = std::min(a, b);
  return std::min(high - low, 3.1415927F + low - high);
}

void AngleRange(int32_t first, int32_t last, std::span<const double> x, std::span<const double> y,
                std::span<const double> z, double& lowAngle, double& highAngle) {
  const int64_t held = static_cast<int64_t>(std::min({x.size(), y.size(), z.size()}));
  const int64_t count = std::min(int64_t{last} - first + 1, held);
  const int64_t end = count - 1;
  const Vectors vectors(x, y, z);
  Extreme<std::greater<>> largest{-9999.0};
  Extreme<std::less<>> smallest{std::numeric_limits<double>::max()};
  if (count > 0) {
    // A tenth of the range, rounded to the nearest with halves upward.
    const int64_t step = std::max<int64_t>((count + 5) / 10, 1);
    const auto includeBoth = [&](int64_t at) {
      largest.include(vectors, at);
      smallest.include(vectors, at);
    };
    int64_t at = 0;
    for (int sample = 0; sample < kMostSamples && at < end; ++sample, at += step) includeBoth(at);
    includeBoth(end);
    largest.refine(vectors, step, end);
    smallest.refine(vectors, step, end);
  }
  lowAngle = std::numbers::pi / 2.0 - std::atan(largest.ratio);
  highAngle = std::numbers::pi / 2.0 + std::atan(smallest.ratio);
}

}  // namespace terrain
