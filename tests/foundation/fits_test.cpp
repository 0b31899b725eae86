#include "foundation/fits.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "support/reporting.h"

namespace terrain {
namespace {

class Fits : public test::Reporting {
 protected:
  std::string fitReport(const std::string& line) { return " ERROR: FitPoly in Utilities\n " + line + "\n"; }
  std::string azimuthReport(const std::string& line) {
    return " ERROR: AzimuthDeg in Utilities\n " + line + "\n";
  }
};

using Azimuth = Fits;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

void expectNear(const std::vector<double>& found, const std::vector<double>& expected, double tolerance) {
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i)
    EXPECT_NEAR(found[i], expected[i], tolerance) << "term " << i;
}

TEST_F(Fits, FindThePolynomialThatThePointsLieOn) {
  const std::vector<double> cubic{2.0, -1.0, 0.5, 0.25};
  std::vector<double> x, y, coef;
  for (int i = -5; i <= 6; ++i) {
    x.push_back(0.5 * i);
    y.push_back(EvalPolynomial(cubic, x.back()));
  }
  EXPECT_EQ(FitPoly(-5, 6, x, y, 3, coef), 0);
  expectNear(coef, cubic, 1e-12);
  EXPECT_EQ(FitPoly(-5, 6, x, y, 5, coef), 0);
  expectNear(coef, {2.0, -1.0, 0.5, 0.25, 0.0, 0.0}, 1e-11);
}

TEST_F(Fits, HaveOneTermFewerThanPointsWhereThereAreTooFew) {
  std::vector<double> coef;
  EXPECT_EQ(FitPoly(1, 3, std::vector<double>{0, 1, 2}, std::vector<double>{1, 3, 5}, 3, coef), 0);
  expectNear(coef, {1, 2}, 1e-14);
  EXPECT_EQ(FitPoly(1, 2, std::vector<double>{0, 1}, std::vector<double>{1, 3}, 2, coef), 0);
  expectNear(coef, {2}, 1e-14);
  EXPECT_EQ(FitPoly(4, 4, std::vector<double>{9}, std::vector<double>{3}, 0, coef), 0);
  expectNear(coef, {3}, 0);
  EXPECT_EQ(written(), "");
  for (int32_t last : {4, 3, -2000000000}) {
    EXPECT_EQ(FitPoly(4, last, std::vector<double>{9}, std::vector<double>{3}, 1, coef), -1);
    EXPECT_TRUE(coef.empty());
    EXPECT_EQ(written(), fitReport("Not enough points to fit polynomial"));
  }
}

TEST_F(Fits, RefusePointsThatDetermineNoPolynomial) {
  struct Case {
    std::vector<double> x, y;
    int32_t order;
    std::string line;
  };
  const std::string singular = "Matrix apparently singular";
  const std::string notFinite = "Coordinate is not a finite number";
  for (const Case& c :
       {Case{{3, 3, 3}, {1, 2, 3}, 1, singular},
        Case{{0.1, 0.7, 0.1, 0.7, 0.1}, {1, 2, 3, 4, 5}, 2, singular},
        Case{{0, 0, 0, 0}, {1, 2, 3, 4}, 2, singular},
        Case{{1e200, 2e200, 3e200, 4e200}, {1, 2, 3, 4}, 3, singular},
        Case{{0, kNan, 2}, {1, 2, 3}, 1, notFinite}, Case{{0, 1, 2}, {1, kInfinite, 3}, 1, notFinite},
        Case{{0, 1}, {1, 2, 3}, 1, "Fewer coordinates than points"},
        Case{{0, 1, 2}, {1, 2, 3}, -1, "Order of polynomial is negative"}}) {
    std::vector<double> coef{5};
    EXPECT_EQ(FitPoly(1, static_cast<int32_t>(c.y.size()), c.x, c.y, c.order, coef), -1) << c.line;
    EXPECT_TRUE(coef.empty());
    EXPECT_EQ(written(), fitReport(c.line));
  }
  std::vector<double> coef;
  std::vector<double> twoPlaces(100000, 0.1);
  for (std::size_t i = 0; i < twoPlaces.size(); i += 3) twoPlaces[i] = 0.7;
  EXPECT_EQ(FitPoly(1, 100000, twoPlaces, twoPlaces, 2, coef), -1);
  EXPECT_EQ(written(), fitReport(singular));
  EXPECT_EQ(FitPoly(1, 100000, twoPlaces, twoPlaces, 1, coef), 0);
  memoryLimits().largestBlock = 100;
  EXPECT_EQ(FitPoly(0, 20, std::vector<double>(21, 1.0), std::vector<double>(21, 1.0), 2, coef), -1);
  EXPECT_EQ(written(), fitReport("Unable to allocate memory for object\n matrix"));
}

TEST_F(Fits, FollowPointsAtMapCoordinates) {
  for (const double origin : {5e5, 5e6}) {
    for (const int32_t order : {2, 3, 4, 5}) {
      std::vector<double> x, y, coef;
      for (int i = 0; i <= 40; ++i) {
        x.push_back(origin + 25 * i);
        y.push_back(100 * std::sin(0.1 * i));
      }
      ASSERT_EQ(FitPoly(0, 40, x, y, order, coef), 0) << origin << ' ' << order;
      ASSERT_EQ(coef.size(), static_cast<std::size_t>(order) + 1);
      double worst = 0;
      for (std::size_t i = 0; i < x.size(); ++i)
        worst = std::max(worst, std::abs(EvalPolynomial(coef, x[i]) - y[i]));
      EXPECT_LT(worst, 60) << origin << ' ' << order;
    }
  }
  EXPECT_EQ(written(), "");
}

TEST_F(Azimuth, IsThatOfTheLineInTravellingOrder) {
  for (int degree = 0; degree < 360; degree += 5) {
    const double angle = degree * std::numbers::pi / 180.0;
    for (int32_t order : {1, 2, 3}) {
      for (int32_t first : {-3, 1}) {
        std::vector<double> x, y;
        for (int i = 0; i < 7; ++i) {
          x.push_back(40.0 + 10.0 * i * std::sin(angle));
          y.push_back(-70.0 + 10.0 * i * std::cos(angle));
        }
        const float azimuth = AzimuthDeg(first, first + 6, x, y, order);
        EXPECT_NEAR(std::remainder(azimuth - static_cast<float>(degree), 360.0F), 0.0F, 1e-3F)
            << degree << ' ' << order << ' ' << first;
        EXPECT_TRUE(azimuth >= 0.0F && azimuth <= 360.0F);
      }
    }
  }
  const std::vector<double> west{4, 3, 2, 1}, level{5, 5, 5, 5};
  EXPECT_EQ(AzimuthDeg(1, 4, west, level, 1), 270.0F);
  EXPECT_EQ(AzimuthDeg(1, 4, level, west, 1), 180.0F);
  EXPECT_EQ(AzimuthDeg(1, 4, level, std::vector<double>{1, 2, 3, 4}, 1), 0.0F);
}

TEST_F(Azimuth, IsTheTangentAtThePointWithIndexZero) {
  // A parabola through (100, 50), of slope 2 there on its way in x.
  std::vector<double> x, y;
  for (int i = -4; i <= 4; ++i) {
    x.push_back(100.0 + i);
    y.push_back(50.0 + 0.5 * i + 0.05 * i * i);
  }
  const double expected = 90.0 - std::atan(0.5) * 180.0 / std::numbers::pi;
  EXPECT_NEAR(AzimuthDeg(-4, 4, x, y, 2), expected, 1e-4);
  EXPECT_NEAR(AzimuthDeg(-4, 4, y, x, 2), 90.0 - expected,
              1.5);  // the other axis leads, a little less exactly
}

TEST_F(Azimuth, FallsBackToALineWhereThereAreTooFewPoints) {
  const std::vector<double> x{10, 14}, y{20, 17};
  const double straight = 90.0 + std::atan(0.75) * 180.0 / std::numbers::pi;
  for (int32_t order : {0, 1, 2, 7, -4}) EXPECT_NEAR(AzimuthDeg(0, 1, x, y, order), straight, 1e-4) << order;
  // Five points in two places: no parabola, but a line.
  EXPECT_NEAR(
      AzimuthDeg(0, 4, std::vector<double>{10, 14, 10, 14, 14}, std::vector<double>{20, 17, 20, 17, 17}, 3),
      straight, 1e-4);
  EXPECT_EQ(AzimuthDeg(3, 3, x, y, 1), 180.0F);
  EXPECT_EQ(written(), "");
}

TEST_F(Azimuth, RefusesWhatIsNoLine) {
  const std::vector<double> x{1, 2}, y{3, 5};
  EXPECT_EQ(AzimuthDeg(1, 0, x, y, 1), 0.0F);
  EXPECT_EQ(written(), azimuthReport("Not enough points to fit polynomial"));
  EXPECT_EQ(AzimuthDeg(1, 3, x, y, 1), 0.0F);
  EXPECT_EQ(written(), azimuthReport("Fewer coordinates than points"));
  EXPECT_EQ(AzimuthDeg(1, 2, std::vector<double>{1, kNan}, y, 1), 0.0F);
  EXPECT_EQ(written(), azimuthReport("Coordinate is not a finite number"));
}

TEST_F(Fits, PowersAndPolynomialsAreProducts) {
  std::vector<float> matrix(8, -1.0F);
  EXPECT_EQ(PowerMatrix(matrix, 3, std::vector<float>{0.0F, 0.3F}), 0);
  EXPECT_EQ(matrix, (std::vector<float>{1, 1, 0, 0.3F, 0, 0.3F * 0.3F, 0, 0.3F * 0.3F * 0.3F}));
  EXPECT_EQ(PowerMatrix(matrix, 4, std::vector<float>{0.0F, 0.3F}), -1);
  EXPECT_EQ(PowerMatrix(matrix, -1, std::vector<float>{0.0F, 0.3F}), -1);

  const std::vector<double> coef{1, -2, 3, 4};
  EXPECT_EQ(EvalPolynomial(coef, 0.1), 1 + -2 * 0.1 + 3 * (0.1 * 0.1) + 4 * (0.1 * 0.1 * 0.1));
  EXPECT_EQ(HornerPolynomial(0.1, coef), ((4 * 0.1 + 3) * 0.1 - 2) * 0.1 + 1);
  EXPECT_EQ(EvalPolynomial(std::vector<double>{6}, 9.0), 6.0);
  EXPECT_EQ(HornerPolynomial(9.0, std::vector<double>{6}), 6.0);
  EXPECT_EQ(EvalPolynomial({}, 2.0), 0.0);
  EXPECT_EQ(HornerPolynomial(2.0, {}), 0.0);
}

TEST_F(Fits, LogisticHasItsSlopeAndItsLimits) {
  const std::array<double, 3> params{5.0, 2.0, 1.0};
  double f = 0, dfdx = 0, above = 0, below = 0, unused = 0;
  Logistic(1.0, params, f, dfdx);
  EXPECT_EQ(f, 2.5);
  EXPECT_EQ(dfdx, 2.5);
  Logistic(0.3, params, f, dfdx);
  Logistic(0.3 + 1e-6, params, above, unused);
  Logistic(0.3 - 1e-6, params, below, unused);
  EXPECT_NEAR(dfdx, (above - below) / 2e-6, 1e-8);
  Logistic(-1000.0, params, f, dfdx);
  EXPECT_EQ(f, 0.0);
  EXPECT_EQ(dfdx, 0.0);
}

}  // namespace
}  // namespace terrain
