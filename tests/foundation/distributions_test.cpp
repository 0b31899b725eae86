#include "foundation/distributions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "support/reporting.h"

namespace terrain {
namespace {

using Distribution = test::Reporting;

using ModeOfValues = Distribution;

TEST_F(Distribution, HoldsTheValuesBetweenItsLimits) {
  std::vector<float> values(101);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i * 37 % 101);
  std::vector<float> dist;
  ASSERT_EQ(CumulativeDist(values, dist, 8), 0);
  EXPECT_EQ(dist, (std::vector<float>{0, 12.5F, 25, 37.5F, 50, 62.5F, 75, 87.5F, 100}));
  int32_t numBelow = -1, numAbove = -1;
  ASSERT_EQ(CumulativeDist(values, dist, 4,
                           {.minValue = 9, .maxValue = 91, .numBelow = &numBelow, .numAbove = &numAbove}),
            0);
  EXPECT_EQ(dist, (std::vector<float>{10, 30, 50, 70, 90}));
  EXPECT_EQ(numBelow, 10);
  EXPECT_EQ(numAbove, 10);
}

TEST_F(Distribution, InterpolatesInFloat64) {
  std::vector<double> dist;
  ASSERT_EQ(CumulativeDist(std::vector<double>{30, 10, 20}, dist, 4), 0);
  EXPECT_EQ(dist, (std::vector<double>{10, 15, 20, 25, 30}));
  // The step is a float32, the position and the interpolation are not.
  std::vector<float> narrow;
  ASSERT_EQ(CumulativeDist(std::vector<float>{0.1F, 0.7F}, narrow, 3), 0);
  const double step = static_cast<double>(1.0F / 3.0F);
  const double low = static_cast<double>(0.1F), high = static_cast<double>(0.7F);
  EXPECT_EQ(narrow[1], static_cast<float>(low + (high - low) * (step + 1 - 1)));
  ASSERT_EQ(CumulativeDist(std::vector<float>{5.0F}, narrow, 2), 0);
  EXPECT_EQ(narrow, (std::vector<float>{5, 5, 5}));
}

TEST_F(Distribution, NeedsValuesWithinTheLimits) {
  const std::string tooLow =
      " CumulativeDist in Utilities: array has no values greater than specified minimum\n";
  const std::string tooHigh =
      " CumulativeDist in Utilities: array has no values less than specified maximum\n";
  const std::vector<double> values{1, 2, 3, 4};
  struct Case {
    std::optional<double> low, high;
    std::string text;
  };
  for (const Case& c :
       {Case{4.0, {}, tooLow}, Case{3.0, {}, tooLow}, Case{{}, 1.0, tooHigh}, Case{{}, 2.0, tooHigh},
        Case{2.0, 2.5, tooHigh}, Case{2.0, 4.0, ""}, Case{2.5, {}, ""}}) {
    std::vector<double> dist{7};
    int32_t numBelow = -7;
    const int status =
        CumulativeDist(values, dist, 2, {.minValue = c.low, .maxValue = c.high, .numBelow = &numBelow});
    EXPECT_EQ(written(), c.text);
    EXPECT_EQ(status, c.text.empty() ? 0 : -1);
    EXPECT_EQ(dist.empty(), !c.text.empty());
    EXPECT_EQ(numBelow, c.text.empty() ? 2 : -7);
  }
}

TEST_F(Distribution, RefusesWhatHasNoQuantiles) {
  std::vector<float> dist{7};
  EXPECT_EQ(CumulativeDist(std::vector<float>{}, dist, 4), -1);
  EXPECT_EQ(written(), " CumulativeDist in Utilities: array is empty\n");
  EXPECT_TRUE(dist.empty());
  EXPECT_EQ(CumulativeDist(std::vector<float>{1, 2}, dist, 0), -1);
  EXPECT_EQ(written(), " CumulativeDist in Utilities: number of bins is below 1\n");
  memoryLimits().largestBlock = 1000;
  EXPECT_EQ(CumulativeDist(std::vector<float>{1, 2}, dist, 2000000000), -1);
  EXPECT_NE(written().find("CumulativeDist in Utilities\n Unable to allocate memory for object\n dist\n"),
            std::string::npos);
}

TEST_F(Distribution, NanRanksAboveEveryNumber) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> values{nan, 3, 1, nan, 2};
  std::vector<float> dist;
  ASSERT_EQ(CumulativeDist(values, dist, 4), 0);
  EXPECT_EQ(dist[2], 3.0F);
  EXPECT_TRUE(std::isnan(dist[3]) && std::isnan(dist[4]));
  int32_t numAbove = 0;
  ASSERT_EQ(CumulativeDist(values, dist, 2, {.maxValue = 100.0F, .numAbove = &numAbove}), 0);
  EXPECT_EQ(dist, (std::vector<float>{1, 2, 3}));
  EXPECT_EQ(numAbove, 2);
}

TEST_F(ModeOfValues, IsTheMostFrequentPositiveValue) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
  struct Case {
    std::vector<int32_t> values, modes;
  };
  for (const Case& c : {Case{{1, 1, 2, 2}, {1, 2}}, Case{{2, 1, 3, 2}, {2}}, Case{{5}, {5}}, Case{{}, {}},
                        Case{{0, -3, -3, 0}, {}}, Case{{-1, -1, -1, 9, 0, 0}, {9}},
                        Case{{kMost, 1, kLeast, kMost}, {kMost}}, Case{{kMost, 1}, {1, kMost}}}) {
    std::vector<int32_t> modes{77};
    EXPECT_EQ(Mode(modes, c.values), 0);
    EXPECT_EQ(modes, c.modes);
  }
}

TEST_F(ModeOfValues, SaysOnTheConsoleThatMemoryIsShort) {
  memoryLimits().largestBlock = 10;
  std::vector<int32_t> modes{77};
  EXPECT_EQ(Mode(modes, std::vector<int32_t>{1, 2, 3}), -1);
  EXPECT_EQ(written(), " ERROR in Mode; Cannot allocate icnt array\n");
  EXPECT_TRUE(modes.empty());
}

}  // namespace
}  // namespace terrain
