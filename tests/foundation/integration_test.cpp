#include "foundation/integration.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>

#include "support/reporting.h"

namespace terrain {
namespace {

class Simpson : public test::Reporting {
 protected:
  Simpson() { simpsonTolerances() = {}; }
  ~Simpson() override { simpsonTolerances() = {}; }
};

TEST_F(Simpson, GivesKnownIntegrals) {
  const auto sine = [](double x) { return std::sin(x); };
  EXPECT_NEAR(Simpson_dp(sine, 0.0, std::numbers::pi), 2.0, 1e-5);
  EXPECT_NEAR(Simpson_dp([](double x) { return std::exp(x); }, -1.0, 2.0, 1e-10),
              std::exp(2.0) - std::exp(-1.0), 1e-8);
  EXPECT_NEAR(Simpson_dp([](double x) { return 1.0 / (1.0 + x * x); }, 0.0, 1.0, 1e-12), std::numbers::pi / 4,
              1e-11);
  EXPECT_NEAR(Simpson_sp([](float x) { return std::sqrt(x); }, 0.0F, 4.0F), 16.0F / 3.0F, 2e-3F);
  EXPECT_NEAR(Simpson_dp([](double x) { return x * x; }, 2.0, -1.0), -3.0, 1e-12);
  // Exact for a cubic.
  EXPECT_EQ(Simpson_dp([](double x) { return x * x * x - x; }, 0.0, 4.0), 56.0);
  EXPECT_EQ(written(), "");
}

TEST_F(Simpson, LooksAtTheStageOfItsFirstAndLastResult) {
  int calls = 0;
  EXPECT_EQ(Simpson_sp([&](float) { return ++calls, 1.0F; }, 0.0F, 3.0F), 3.0F);
  EXPECT_EQ(calls, 33);
  calls = 0;
  EXPECT_LT(Simpson_dp([&](double x) { return ++calls, -std::sqrt(x); }, 0.0, 1.0, 1e-15), 0.0);
  EXPECT_EQ(calls, 33);  // below the tolerance because of its sign
}

TEST_F(Simpson, RemembersTheToleranceOfTheCallBefore) {
  int calls = 0;
  const auto root = [&](float x) { return ++calls, std::sqrt(x); };
  const auto callsNow = [&] {
    calls = 0;
    static_cast<void>(Simpson_sp(root, 0.0F, 1.0F));
    return calls;
  };
  const int byDefault = callsNow();
  static_cast<void>(Simpson_sp(root, 0.0F, 1.0F, 1e-6F));
  const int exactly = calls - byDefault;
  EXPECT_GT(exactly, byDefault);
  EXPECT_EQ(callsNow(), exactly);
  EXPECT_EQ(simpsonTolerances().dp, 0.00001);
}

TEST_F(Simpson, SaysThatItDidNotSettle) {
  int calls = 0;
  const double result =
      Simpson_dp([&](double x) { return ++calls, x > 1.0 / 3.0 ? 1.0 : 0.0; }, 0.0, 1.0, 1e-9);
  EXPECT_NEAR(result, 2.0 / 3.0, 1e-3);
  EXPECT_EQ(calls, 16385);
  const std::string text = written();
  EXPECT_EQ(text.find(" Simpson_dp exceeded max iterations\n   Absolute error: "), 0U);
  const double absolute = std::stod(text.substr(text.find("Absolute error: ") + 16));
  const double relative = std::stod(text.substr(text.find("Relative error: ") + 16));
  EXPECT_NEAR(relative, std::abs(absolute) / (result - absolute), 1e-12);
}

TEST_F(Simpson, SaysThatTheIntegralIsNotANumber) {
  int calls = 0;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(Simpson_sp([&](float) { return ++calls, nan; }, 0.0F, 1.0F)));
  EXPECT_EQ(calls, 524289);
  EXPECT_EQ(written().find(" Simpson_sp exceeded max iterations\n"), 0U);
}

}  // namespace
}  // namespace terrain
