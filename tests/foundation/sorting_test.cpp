#include "foundation/sorting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/memory.h"

namespace terrain {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// Samples of every kind that sorts are known to stumble over, with a name each.
template <class Value>
std::vector<std::pair<std::string, std::vector<Value>>> samples(std::size_t n) {
  std::mt19937 random(static_cast<std::uint32_t>(n) + 7);
  std::vector<std::pair<std::string, std::vector<Value>>> all;
  const auto add = [&](const char* name, const std::function<Value(std::size_t)>& make) {
    std::vector<Value> values(n);
    for (std::size_t i = 0; i < n; ++i) values[i] = make(i);
    all.emplace_back(std::string(name) + " " + std::to_string(n), std::move(values));
  };
  add("random", [&](std::size_t) { return static_cast<Value>(random() % 100000) - Value(50000); });
  add("sorted", [](std::size_t i) { return static_cast<Value>(i); });
  add("reversed", [n](std::size_t i) { return static_cast<Value>(n - i); });
  add("equal", [](std::size_t) { return Value(3); });
  add("two values", [&](std::size_t) { return static_cast<Value>(random() % 2); });
  add("organ pipe", [n](std::size_t i) { return static_cast<Value>(std::min(i, n - i)); });
  add("last is least", [n](std::size_t i) { return static_cast<Value>(i + 1 == n ? 0 : i + 1); });
  if constexpr (std::is_floating_point_v<Value>) {
    add("one in five a NaN", [&](std::size_t) {
      return random() % 5 == 0 ? static_cast<Value>(kNan) : static_cast<Value>(random() % 1000);
    });
    add("all NaN", [](std::size_t) { return static_cast<Value>(kNan); });
    add("infinities", [&](std::size_t) {
      return static_cast<Value>(1) / static_cast<Value>(static_cast<int>(random() % 3) - 1);
    });
  }
  return all;
}

/// Numbers by size, NaNs after them.
template <class Value>
bool numberBefore(Value a, Value b) {
  return a < b || (a == a && b != b);
}

template <class Value>
std::vector<unsigned char> bitsOf(const std::vector<Value>& values) {
  std::vector<unsigned char> bits(values.size() * sizeof(Value));
  if (!bits.empty()) std::memcpy(bits.data(), values.data(), bits.size());
  return bits;
}

/// Indices in order of value, by the standard library.
template <class Value>
std::vector<int32_t> referenceOrder(const std::vector<Value>& values) {
  std::vector<int32_t> order(values.size());
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
    return numberBefore(values[static_cast<std::size_t>(a) - 1], values[static_cast<std::size_t>(b) - 1]);
  });
  return order;
}

template <class Value>
class SortInPlace : public testing::Test {};
using SortedTypes = testing::Types<double, float, int32_t>;
TYPED_TEST_SUITE(SortInPlace, SortedTypes);

TYPED_TEST(SortInPlace, AgreesWithTheStandardLibrary) {
  for (const std::size_t n : {0U, 1U, 2U, 3U, 16U, 17U, 18U, 19U, 40U, 1000U, 30000U}) {
    for (const auto& [name, values] : samples<TypeParam>(n)) {
      SCOPED_TRACE(name);
      std::vector<TypeParam> expected = values;
      std::stable_sort(expected.begin(), expected.end(), numberBefore<TypeParam>);
      std::vector<TypeParam> quick = values;
      quickSort(quick);
      EXPECT_TRUE(std::equal(quick.begin(), quick.end(), expected.begin(),
                             [](TypeParam a, TypeParam b) { return a == b || (a != a && b != b); }));
      std::vector<TypeParam> inserted = values;
      insertionSort(inserted);
      EXPECT_EQ(bitsOf(inserted), bitsOf(expected));
    }
  }
}

/// The reference implementation: the sort by its definition, quadratic where many values are equal.
template <class Value>
void referenceSplit(std::vector<Value>& a, std::size_t lo, std::size_t hi) {
  if (hi < lo + 17) return;
  const std::size_t mid = (lo + hi) / 2;
  if (a[lo] > a[mid]) std::swap(a[lo], a[mid]);
  if (a[mid] > a[hi]) {
    std::swap(a[mid], a[hi]);
    if (a[lo] > a[mid]) std::swap(a[lo], a[mid]);
  }
  const Value pivot = a[mid];
  std::size_t i = lo;
  std::size_t j = hi;
  for (bool met = false; !met;) {
    met = ++i >= j;
    if (met || a[i] <= pivot) continue;
    while (!met && a[j] > pivot) met = --j <= i;
    if (!met) std::swap(a[i], a[j]);
  }
  referenceSplit(a, lo, i - 1);
  referenceSplit(a, j, hi);
}

TYPED_TEST(SortInPlace, MovesEveryValueAsTheReferenceDoes) {
  for (const std::size_t n : {17U, 18U, 64U, 1000U, 4000U}) {
    auto all = samples<TypeParam>(n);
    if constexpr (std::is_floating_point_v<TypeParam>) {
      std::mt19937 random(11);
      for (const unsigned range : {1U, 3U, 60U}) {
        std::vector<TypeParam> values(n);
        for (TypeParam& value : values) {
          value = static_cast<TypeParam>(random() % range) - static_cast<TypeParam>(range / 2);
          if (value == 0 && random() % 2 == 0) value = -value;
        }
        all.emplace_back("zeros of both signs " + std::to_string(n), std::move(values));
      }
    }
    for (const auto& [name, values] : all) {
      if (std::any_of(values.begin(), values.end(), [](TypeParam v) { return v != v; })) continue;
      SCOPED_TRACE(name);
      std::vector<TypeParam> reference = values;
      referenceSplit(reference, 0, reference.size() - 1);
      std::stable_sort(reference.begin(), reference.end());
      std::vector<TypeParam> quick = values;
      quickSort(quick);
      EXPECT_EQ(bitsOf(quick), bitsOf(reference));
    }
  }
}

TEST(InsertionSort, KeepsEqualValuesInInputOrder) {
  for (const std::size_t n : {50U, 5000U}) {  // by insertion alone, and with the merge sort taking over
    std::vector<float> values(n);
    for (std::size_t i = 0; i < n; ++i)
      values[i] = i % 3 == 0   ? -0.0F
                  : i % 3 == 1 ? 0.0F
                               : static_cast<float>(n - i) - static_cast<float>(n) / 2;
    std::vector<float> expected = values;
    std::stable_sort(expected.begin(), expected.end());
    insertionSort(values);
    EXPECT_EQ(bitsOf(values), bitsOf(expected));
  }
}

/// Input on which median-of-three splits are as bad as they get (Musser 1997).
std::vector<int32_t> medianOfThreeKiller(int32_t n) {
  std::vector<int32_t> values(static_cast<std::size_t>(n));
  const int32_t k = n / 2;
  for (int32_t i = 1; i <= k; ++i) {
    values[static_cast<std::size_t>(i) - 1] = i % 2 == 1 ? i : k + i - 1;
    values[static_cast<std::size_t>(k + i) - 1] = 2 * i;
  }
  return values;
}

TEST(QuickSort, StaysFastOnItsWorstInputs) {
  // Each of these takes minutes, or the whole stack, if a split may take off one value at a time.
  std::vector<std::vector<int32_t>> inputs{medianOfThreeKiller(1000000), std::vector<int32_t>(1000000, 7)};
  std::mt19937 random(5);
  inputs.emplace_back(1000000);
  for (int32_t& value : inputs.back()) value = static_cast<int32_t>(random() % 3);
  for (std::vector<int32_t>& values : inputs) {
    std::vector<int32_t> expected = values;
    std::sort(expected.begin(), expected.end());
    quickSort(values);
    EXPECT_EQ(values, expected);
  }
  std::vector<int32_t> reversed(1000000);
  std::iota(reversed.rbegin(), reversed.rend(), 0);
  insertionSort(reversed);
  EXPECT_TRUE(std::is_sorted(reversed.begin(), reversed.end()));
}

template <class Value>
class Rank : public testing::Test {};
using RankedTypes = testing::Types<double, float, int32_t, int64_t>;
TYPED_TEST_SUITE(Rank, RankedTypes);

TYPED_TEST(Rank, AgreesWithAStableSortOfTheIndex) {
  for (const std::size_t n : {0U, 1U, 2U, 3U, 31U, 1000U, 50001U}) {
    for (const auto& [name, values] : samples<TypeParam>(n)) {
      SCOPED_TRACE(name);
      std::vector<int32_t> order(n, -1);
      ASSERT_EQ(mergeRank(values, order), 0);
      EXPECT_EQ(order, referenceOrder(values));
    }
  }
}

TEST(MergeRank, RanksAsManyAsTheShorterArrayHolds) {
  const std::vector<double> values{5, 1, 4, 0, 3};
  std::vector<int32_t> shorter(3, -1);
  EXPECT_EQ(mergeRank(values, shorter), 0);
  EXPECT_EQ(shorter, (std::vector<int32_t>{2, 3, 1}));
  std::vector<int32_t> longer(7, -1);
  EXPECT_EQ(mergeRank(values, longer), 0);
  EXPECT_EQ(longer, (std::vector<int32_t>{4, 2, 5, 3, 1, -1, -1}));
}

TEST(MergeRank, FailsWithoutMemoryAndLeavesTheOrder) {
  memoryLimits().largestBlock = 200;
  std::vector<int32_t> order(26, -1);
  const int status = mergeRank(std::vector<float>(26, 0.0F), order);
  const int small = mergeRank(std::vector<float>(25, 0.0F), order);
  memoryLimits().largestBlock.reset();
  EXPECT_EQ(status, -1);
  EXPECT_EQ(small, 0);
  EXPECT_EQ(order[25], -1);
}

}  // namespace
}  // namespace terrain
