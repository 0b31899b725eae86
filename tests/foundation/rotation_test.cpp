#include "foundation/rotation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace terrain {
namespace {

constexpr double kPi = std::numbers::pi;

TEST(TiltRotation, TurnsAboutTheHorizontalAxisOfItsQuarter) {
  struct Case {
    double azimuth;
    int a, b;  // signs of the axis
  };
  for (const Case& c :
       {Case{0.4, 1, -1}, Case{-0.4, 1, -1}, Case{2.0, -1, -1}, Case{4.0, -1, 1}, Case{5.5, 1, 1}}) {
    SCOPED_TRACE(c.azimuth);
    const double a = c.a * std::abs(std::sin(c.azimuth));
    const double b = c.b * std::abs(std::cos(c.azimuth));
    Matrix3 m{};
    TiltRotation(m, c.azimuth, 0.3);
    std::array<double, 3> axis{a, b, 0.0};
    ApplyRotation3(m, axis);
    EXPECT_NEAR(axis[0], a, 1e-15);
    EXPECT_NEAR(axis[1], b, 1e-15);
    EXPECT_NEAR(axis[2], 0.0, 1e-15);
    // Upright becomes tilted towards (b, -a), by the right-hand rule.
    std::array<double, 3> up{0.0, 0.0, 1.0};
    ApplyRotation3(m, up);
    EXPECT_NEAR(up[0], b * std::sin(0.3), 1e-15);
    EXPECT_NEAR(up[1], -a * std::sin(0.3), 1e-15);
    EXPECT_NEAR(up[2], std::cos(0.3), 1e-15);
  }
}

TEST(TiltRotation, ChangesQuarterAtTheFloat32Bounds) {
  for (const float bound : {1.5707964F, 3.1415927F, 4.712389F}) {
    Matrix3 below{}, at{};
    TiltRotation(below, std::nextafter(static_cast<double>(bound), 0.0), 0.5);
    TiltRotation(at, static_cast<double>(bound), 0.5);
    // One of the two axis signs differs: a shows in element 7, b in element 2.
    EXPECT_NE(std::signbit(below[7]) != std::signbit(at[7]), std::signbit(below[2]) != std::signbit(at[2]))
        << bound;
  }
}

TEST(PlaneRotation, TurnsClockwise) {
  Matrix2 m{};
  PlaneRotation(m, kPi / 2);
  double x = 3.0, y = 4.0;
  ApplyRotation2(m, x, y);
  EXPECT_NEAR(x, 4.0, 1e-15);
  EXPECT_NEAR(y, -3.0, 1e-15);
}

TEST(AspectToDirection, CodesBeginAtTheirCompassDirection) {
  // N NE E SE S SW W NW, each an eighth of the circle clockwise.
  const std::array<int32_t, 8> codes{3, 2, 1, 8, 7, 6, 5, 4};
  for (std::size_t i = 0; i < 8; ++i) {
    const double from = static_cast<double>(i) * kPi / 4;
    for (const double into : {0.01, 0.4, 0.77})
      EXPECT_EQ(AspectToDirection(static_cast<float>(from + into)), codes[i]);
  }
  EXPECT_EQ(AspectToDirection(6.2831855F), 3);
  EXPECT_EQ(AspectToDirection(-0.39F), 3);
  const float infinite = std::numeric_limits<float>::infinity();
  for (const float none : {-0.4F, -9999.0F, 6.68F, 1e30F, infinite, -infinite, infinite - infinite})
    EXPECT_EQ(AspectToDirection(none), -9999) << none;
}

TEST(AxialDifference, IsTheShorterWayRoundTheHalfCircle) {
  EXPECT_EQ(AxialDifference(0.1F, 3.1F), 3.1415927F + 0.1F - 3.1F);
  EXPECT_EQ(AxialDifference(3.1F, 0.1F), 3.1415927F + 0.1F - 3.1F);
  EXPECT_EQ(AxialDifference(1.0F, 1.5F), 0.5F);
  EXPECT_EQ(AxialDifference(2.0F, 2.0F), 0.0F);
}

struct Sample {
  std::vector<double> x, y, z;
  [[nodiscard]] std::array<double, 2> range(int32_t first, int32_t last) const {
    std::array<double, 2> angles{};
    AngleRange(first, last, x, y, z, angles[0], angles[1]);
    return angles;
  }
};

TEST(AngleRange, FindsTheExtremesOfASmoothProfile) {
  for (const int n : {1, 2, 3, 9, 10, 11, 100, 1003}) {
    Sample field;
    double most = -1e9, least = 1e9;
    for (int i = 0; i < n; ++i) {
      field.x.push_back(3.0);
      field.y.push_back(4.0);
      field.z.push_back(5.0 * std::sin(2.0 * kPi * i / n));
      most = std::max(most, field.z.back() / 5.0);
      least = std::min(least, field.z.back() / 5.0);
    }
    const auto [low, high] = field.range(-3, n - 4);
    EXPECT_DOUBLE_EQ(low, kPi / 2 - std::atan(most)) << n;
    EXPECT_DOUBLE_EQ(high, kPi / 2 + std::atan(least)) << n;
  }
}

TEST(AngleRange, LooksOnlyAroundTheExtremesOfItsSamples) {
  // 40 vectors, every fourth a sample: the peak beside sample 8 counts, the one beside sample 20 not.
  Sample field{std::vector<double>(40, 1.0), std::vector<double>(40, 0.0), std::vector<double>(40, 0.0)};
  field.z[8] = 1.0;
  field.z[11] = 2.0;
  field.z[12] = 0.5;
  field.z[21] = 9.0;
  EXPECT_DOUBLE_EQ(field.range(1, 40)[0], kPi / 2 - std::atan(2.0));
  field.z[39] = 3.0;  // the last is always looked at
  EXPECT_DOUBLE_EQ(field.range(1, 40)[0], kPi / 2 - std::atan(3.0));
}

TEST(AngleRange, IgnoresVectorsWithoutHorizontalLength) {
  Sample field{{0, 1, 0, 2, 0}, {0, 0, 0, 0, 0}, {9, 1, -9, 4, 99}};
  const auto [low, high] = field.range(1, 5);
  EXPECT_DOUBLE_EQ(low, kPi / 2 - std::atan(2.0));
  EXPECT_DOUBLE_EQ(high, kPi / 2 + std::atan(1.0));
  const Sample upright{{0}, {0}, {1}};
  const std::array<double, 2> none{kPi / 2 - std::atan(-9999.0), kPi};
  EXPECT_EQ(upright.range(1, 1), none);
  EXPECT_EQ(upright.range(1, 0), none);
  EXPECT_EQ(upright.range(5, -2000000000), none);
  EXPECT_EQ(upright.range(1, 2000000000), none);
}

}  // namespace
}  // namespace terrain
