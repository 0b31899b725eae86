#include "foundation/sorting.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

#include "foundation/memory.h"
#include "foundation/status.h"

namespace terrain {

namespace {

template <class Value>
bool isNan(Value value) {
  if constexpr (std::is_floating_point_v<Value>)
    return std::isnan(value);
  else
    return false;
}

/// Moves every NaN after the numbers, both in input order; the numbers alone.
template <class Value>
std::span<Value> numbersFirst(std::span<Value> values) {
  if constexpr (std::is_floating_point_v<Value>) {
    if (std::any_of(values.begin(), values.end(), isNan<Value>)) {
      const auto end = std::stable_partition(values.begin(), values.end(), [](Value v) { return !isNan(v); });
      return values.first(static_cast<std::size_t>(end - values.begin()));
    }
  }
  return values;
}

// ---- insertion ----

/// Moves that insertion may make per value before a merge sort takes over. The last pass of
/// quickSort stays below: it moves no value by more than the 17 positions of an unfinished range.
constexpr std::size_t kMovesPerValue = 64;

/// A stable order is unique, so that handing over to another stable sort gives the same array.
template <class Value>
void insertAll(std::span<Value> values) {
  std::size_t movesLeft = kMovesPerValue * values.size();
  for (std::size_t next = 1; next < values.size(); ++next) {
    const Value value = values[next];
    std::size_t at = next;
    for (; at > 0 && values[at - 1] > value; --at) values[at] = values[at - 1];
    values[at] = value;
    if (next - at > movesLeft) {
      std::stable_sort(values.begin(), values.end());
      return;
    }
    movesLeft -= next - at;
  }
}

// ---- quicksort ----

/// Ranges spanning less than this are left to the insertion pass.
constexpr std::ptrdiff_t kSmallestSpan = 17;

/// Orders the values at lo, mid = (lo + hi) / 2 and hi; the middle one.
template <class Value>
Value medianOfThree(std::span<Value> a, std::size_t lo, std::size_t hi) {
  const std::size_t mid = lo + (hi - lo) / 2;
  if (a[lo] > a[mid]) std::swap(a[lo], a[mid]);
  if (a[mid] > a[hi]) {
    std::swap(a[mid], a[hi]);
    if (a[lo] > a[mid]) std::swap(a[lo], a[mid]);
  }
  return a[mid];
}

/// Splits lo..hi: values before the index returned are not above the pivot, the others not below.
template <class Value>
std::size_t split(std::span<Value> a, std::size_t lo, std::size_t hi, Value pivot) {
  std::size_t i = lo;
  std::size_t j = hi;
  for (;;) {
    do {
      if (++i >= j) return j;
    } while (a[i] <= pivot);
    while (a[j] > pivot)
      if (--j <= i) return j;
    std::swap(a[i], a[j]);
  }
}

bool leftToInsertion(std::size_t lo, std::size_t hi) {
  return static_cast<std::ptrdiff_t>(hi - lo) < kSmallestSpan;
}

/// Leaves every value of lo..hi within kSmallestSpan of its final position. Values equal to the pivot stay in
/// the lower part, so a range whose pivot is its largest value loses one value a split: quadratic for
/// masks, classes and the like. Such a split moves nothing but the three values of the median, so it is
/// made in one step while the pivot stays the largest: the same values at the same positions. A range
/// still unfinished after `depth` splits was made against the median of three and is sorted outright;
/// among equal values nothing but the sign of a zero could tell.
template <class Value>
void splitAll(std::span<Value> a, std::size_t lo, std::size_t hi, int depth) {
  if (leftToInsertion(lo, hi)) return;
  if (depth == 0) {
    std::sort(a.begin() + static_cast<std::ptrdiff_t>(lo), a.begin() + static_cast<std::ptrdiff_t>(hi + 1));
    return;
  }
  const Value pivot = medianOfThree(a, lo, hi);
  const std::size_t at = split(a, lo, hi, pivot);
  std::size_t top = at - 1;
  if (at == hi)  // the pivot is the largest value of lo..top, and among them
    while (!leftToInsertion(lo, top) && !(medianOfThree(a, lo, top) < pivot)) --top;
  splitAll(a, lo, top, depth - 1);
  splitAll(a, at, hi, depth - 1);
}

template <class Value>
void sortInPlace(std::span<Value> values) {
  const std::span<Value> numbers = numbersFirst(values);
  if (numbers.empty()) return;
  splitAll(numbers, 0, numbers.size() - 1, 2 * static_cast<int>(std::bit_width(numbers.size())));
  insertAll(numbers);
}

// ---- ranking ----

/// Ranks by sorting copies of the values, each with its index. Indices differ, so that any sort is
/// stable. NaNs need no comparison: they come last, in input order.
template <class Value>
int rank(std::span<const Value> values, std::span<int32_t> order) {
  struct Indexed {
    Value value;
    int32_t index;
    bool operator<(const Indexed& other) const {
      return value < other.value || (!(other.value < value) && index < other.index);
    }
  };
  const std::size_t count = std::min(values.size(), order.size());
  if (count > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) return kFailure;
  const auto indexed = tryArray<Indexed>(count);
  if (indexed == nullptr) return kFailure;
  std::size_t numbers = 0;
  std::size_t last = count;
  for (std::size_t i = 0; i < count; ++i)
    indexed[isNan(values[i]) ? --last : numbers++] = {values[i], static_cast<int32_t>(i) + 1};
  std::reverse(indexed.get() + numbers, indexed.get() + count);
  if (!std::is_sorted(indexed.get(), indexed.get() + numbers))
    std::sort(indexed.get(), indexed.get() + numbers);
  std::transform(indexed.get(), indexed.get() + count, order.begin(),
                 [](const Indexed& p) { return p.index; });
  return kSuccess;
}

template <class Value>
void reverseBoth(std::span<Value> first, std::span<Value> second) {
  std::reverse(first.begin(), first.end());
  std::reverse(second.begin(), second.end());
}

}  // namespace

// ---- faces ----

void quickSort(std::span<double> values) { sortInPlace(values); }
void quickSort(std::span<float> values) { sortInPlace(values); }
void quickSort(std::span<int32_t> values) { sortInPlace(values); }

void insertionSort(std::span<double> values) { insertAll(numbersFirst(values)); }
void insertionSort(std::span<float> values) { insertAll(numbersFirst(values)); }
void insertionSort(std::span<int32_t> values) { insertAll(values); }

int mergeRank(std::span<const double> values, std::span<int32_t> order) { return rank(values, order); }
int mergeRank(std::span<const float> values, std::span<int32_t> order) { return rank(values, order); }
int mergeRank(std::span<const int32_t> values, std::span<int32_t> order) { return rank(values, order); }
int mergeRank(std::span<const int64_t> values, std::span<int32_t> order) { return rank(values, order); }

void ReverseArray(std::span<int32_t> values) { std::reverse(values.begin(), values.end()); }
void ReverseArray(std::span<float> values) { std::reverse(values.begin(), values.end()); }
void ReverseArray(std::span<int32_t> first, std::span<int32_t> second) { reverseBoth(first, second); }
void ReverseArray(std::span<float> first, std::span<float> second) { reverseBoth(first, second); }
void ReverseArray(std::span<int64_t> first, std::span<int64_t> second) { reverseBoth(first, second); }
void ReverseArray(std::span<double> first, std::span<double> second) { reverseBoth(first, second); }

void SwapValues(int32_t& a, int32_t& b) { std::swap(a, b); }
void SwapValues(float& a, float& b) { std::swap(a, b); }
void SwapValues(double& a, double& b) { std::swap(a, b); }
void SwapValues(int64_t& a, int64_t& b) { std::swap(a, b); }

}  // namespace terrain
