#include "foundation/interpolation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/reporting.h"

namespace terrain {
namespace {

using Interpolation = test::Reporting;

using Lookup = Interpolation;

TEST_F(Lookup, FindsTheLastElementNotAboveTheValue) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    std::vector<float> table(1 + random() % 20);
    for (float& value : table) value = static_cast<float>(random() % 30);
    std::sort(table.begin(), table.end());
    const auto n = static_cast<int32_t>(table.size());
    int32_t rising = 0;
    for (float value = -1.0F; value < 31.0F; value += 0.5F) {
      const auto above = std::upper_bound(table.begin(), table.end(), value);
      const auto last = static_cast<int32_t>(above - table.begin());
      const int32_t expected = table.front() >= value ? 1 : last;
      EXPECT_EQ(Locate(table, value), expected);
      EXPECT_EQ(Locate(table, value, &rising), expected);
      EXPECT_EQ(rising, expected);
      // A hint may cost time, never the answer.
      for (int32_t hint : {-5, 0, 1, n / 2, n, n + 7}) EXPECT_EQ(Locate(table, value, &hint), expected);
    }
  }
}

TEST_F(Lookup, LocateBelowEndsOneShortOfTheLast) {
  const std::vector<float> table{1, 2, 4, 8};
  struct Case {
    float value;
    int32_t place;
  };
  for (const Case& c :
       {Case{0.5F, 0}, Case{1, 1}, Case{1.5F, 1}, Case{2, 2}, Case{7, 3}, Case{8, 3}, Case{9, 4}})
    EXPECT_EQ(LocateBelow(4, c.value, table), c.place) << c.value;
  EXPECT_EQ(LocateBelow(2, 3.0F, table), 2);
  EXPECT_EQ(LocateBelow(100, 9.0F, table), 4);
  EXPECT_EQ(LocateBelow(1, 1.0F, table), 1);
  EXPECT_EQ(LocateBelow(0, 1.0F, table), 0);
  EXPECT_EQ(LocateBelow(4, 1.0F, {}), 0);
}

TEST_F(Lookup, HasNoPlaceForNanOrInAnEmptyTable) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Locate(std::vector<double>{1, 2, 3, 4}, nan), 0);
  int32_t hint = 9;
  EXPECT_EQ(Locate(std::span<const double>{}, 1.0, &hint), 0);
  EXPECT_EQ(hint, 0);
}

TEST_F(Interpolation, IsLinearBetweenElementsAndExactAtThem) {
  const std::vector<double> x{-2, 0, 0, 1, 5};
  const std::vector<double> y{4, 2, 3, 0.1, 8};
  int32_t index = 0;
  EXPECT_EQ(getValue(-2.0, x, y, &index), 4.0);
  EXPECT_EQ(getValue(-1.0, x, y, &index), 3.0);
  EXPECT_EQ(getValue(0.0, x, y, &index), 3.0);  // the later of two equal places
  EXPECT_EQ(index, 3);
  EXPECT_EQ(getValue(3.0, x, y, &index), 8.0 + (3.0 - 5.0) * ((8.0 - 0.1) / (5.0 - 1.0)));
  EXPECT_EQ(index, 4);
  EXPECT_EQ(getValue(5.0, x, y, &index), 8.0);
  const std::vector<float> xf{0.1F, 0.3F}, yf{1.0F, 7.0F};
  EXPECT_EQ(getValue(0.2F, xf, yf), 7.0F + (0.2F - 0.3F) * ((7.0F - 1.0F) / (0.3F - 0.1F)));
  EXPECT_EQ(written(), "");
}

TEST_F(Interpolation, SaysWhyThereIsNoValue) {
  const std::vector<double> x{1, 2, 3}, y{1, 2, 3};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(getValue(2.0, x, std::span(y).first(2)), -9999.0);
  EXPECT_EQ(written(), " FUNCTION getValue: arrays are different size\n");
  EXPECT_EQ(getValue(0.9, x, y), -9999.0);
  EXPECT_EQ(written(), " FUNCTION getValue: inVal less than minimum x value\n");
  EXPECT_EQ(getValue(3.1, x, y), -9999.0);
  EXPECT_EQ(written(), " FUNCTION getValue: inVal greater than maximum x value\n");
  EXPECT_EQ(getValue(2.0, std::span<const double>{}, std::span<const double>{}), -9999.0);
  EXPECT_EQ(written(), " FUNCTION getValue: arrays are empty\n");
  EXPECT_EQ(getValue(nan, x, y), -9999.0);
  EXPECT_EQ(getValue(2.0, std::vector<double>{nan, nan, nan}, y), -9999.0);
  EXPECT_EQ(written(),
            " FUNCTION getValue: inVal or x is not a number\n"
            " FUNCTION getValue: inVal or x is not a number\n");
}

TEST_F(Lookup, LinearIndexCountsTheFirstDimensionFastest) {
  const std::vector<int32_t> dims{3, 4, 5};
  int64_t expected = 0;
  for (int32_t k = 1; k <= 5; ++k)
    for (int32_t j = 1; j <= 4; ++j)
      for (int32_t i = 1; i <= 3; ++i)
        EXPECT_EQ(LinearIndex(dims, std::vector<int32_t>{i, j, k}), ++expected);
  const std::vector<int32_t> large{60000, 60000};
  EXPECT_EQ(LinearIndex(large, large), 3600000000);
  EXPECT_EQ(LinearIndex(dims, large), 0);
  const std::vector<int32_t> vast(4, std::numeric_limits<int32_t>::max());
  EXPECT_EQ(LinearIndex(vast, vast), 0);
}

}  // namespace
}  // namespace terrain
