#include "foundation/sorting.h"

#include <algorithm>
#include <array>
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

/// Moves every NaN behind the numbers, both in input order; the numbers alone.
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
/// quickSort stays below: it moves no value by more than the 17 places of an unfinished range.
constexpr std::size_t kMovesPerValue = 64;

/// A stable order is unique, so that handing over to another stable sort gives the same array.
template <class Value>
void insertAll(std::span<Value> values) {
  std::size_t movesLeft = kMovesPerValue * values.size();
  for (std::size_t next = 1; next < values.size(); ++next) {
    const Value value = values[next];
    std::size_t place = next;
    for (; place > 0 && values[place - 1] > value; --place) values[place] = values[place - 1];
    values[place] = value;
    if (next - place > movesLeft) {
      std::stable_sort(values.begin(), values.end());
      return;
    }
    movesLeft -= next - place;
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

/// Splits lo..hi: values before the place returned are not above the pivot, the others not below.
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

/// Leaves every value of lo..hi within kSmallestSpan of its place. Values equal to the pivot stay in
/// the lower part, so a range whose pivot is its largest value loses one value a split: quadratic for
/// masks, classes and the like. Such a split moves nothing but the three values of the median, so it is
/// made in one step while the pivot stays the largest: the same values in the same places. A range
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

/// A block of this many values, 4 to the power 8, is ranked to its end before the next is begun,
/// so that its values stay in the cache. The number of merges from sets of four up to a block is
/// even: a block begins and ends in `order`.
constexpr std::size_t kRankBlock = std::size_t{1} << 16;
constexpr std::size_t kFour = 4;
/// How far ahead of a merge the values are fetched.
constexpr std::ptrdiff_t kFetchAhead = 24;

/// True if the right-hand value goes ahead of the left-hand one.
struct Smaller {
  template <class Value>
  bool operator()(Value right, Value left) const {
    return right < left;
  }
};
struct SmallerNanLast {
  template <class Value>
  bool operator()(Value right, Value left) const {
    return right < left || (isNan(left) && !isNan(right));
  }
};

/// The merge sort of one index; `order` and `work` have the same size, up to that of `values`.
template <class Value, class GoesAhead>
class Ranking {
 public:
  Ranking(const Value* values, std::span<int32_t> order, std::span<int32_t> work)
      : values_(values), order_(order), work_(work) {}

  void run() {
    for (std::size_t first = 0; first < order_.size(); first += kFour)
      rankFour(first, std::min(kFour, order_.size() - first));
    if (order_.size() <= kFour) return;
    for (std::size_t first = 0; first < order_.size(); first += kRankBlock) {
      const std::size_t count = std::min(kRankBlock, order_.size() - first);
      std::span<int32_t> from = order_.subspan(first, count);
      std::span<int32_t> to = work_.subspan(first, count);
      for (std::size_t length = kFour; length < kRankBlock; length *= 2, std::swap(from, to))
        mergeSets<false>(from, to, length);
    }
    std::span<int32_t> from = order_;
    std::span<int32_t> to = work_;
    for (std::size_t length = kRankBlock; length < order_.size(); length *= 2, std::swap(from, to))
      mergeSets<true>(from, to, length);
    if (from.data() != order_.data()) std::copy(from.begin(), from.end(), order_.begin());
  }

 private:
  [[nodiscard]] Value valueOf(int32_t place) const { return values_[place - 1]; }

  /// Ranks `count` values, at most four, from `first`: pairs, then the two pairs together.
  void rankFour(std::size_t first, std::size_t count) {
    std::array<int32_t, kFour> set{};
    for (std::size_t k = 0; k < count; ++k) set[k] = static_cast<int32_t>(first + k + 1);
    for (std::size_t k = 0; k + 1 < count; k += 2)
      if (goesAhead_(valueOf(set[k + 1]), valueOf(set[k]))) std::swap(set[k], set[k + 1]);
    const std::size_t half = std::min<std::size_t>(2, count);
    mergeTwo(set.data(), set.data() + half, set.data() + half, set.data() + count, order_.data() + first);
  }

  template <bool fetch>
  void mergeSets(std::span<const int32_t> from, std::span<int32_t> to, std::size_t length) {
    for (std::size_t first = 0; first < from.size(); first += 2 * length) {
      const int32_t* left = from.data() + first;
      const std::size_t rest = from.size() - first;
      const int32_t* right = left + std::min(length, rest);
      const int32_t* end = left + std::min(2 * length, rest);
      int32_t* out = to.data() + first;
      if (right == end || !goesAhead_(valueOf(*right), valueOf(right[-1])))
        std::copy(left, end, out);
      else if (goesAhead_(valueOf(end[-1]), valueOf(*left)))
        std::copy(left, right, std::copy(right, end, out));
      else if (rest >= 2 * length)
        mergeEqual<fetch>(left, out, length);
      else
        mergeTwo(left, right, right, end, out);
    }
  }

  void mergeTwo(const int32_t* left, const int32_t* leftEnd, const int32_t* right, const int32_t* rightEnd,
                int32_t* to) {
    while (left < leftEnd && right < rightEnd)
      *to++ = goesAhead_(valueOf(*right), valueOf(*left)) ? *right++ : *left++;
    std::copy(right, rightEnd, std::copy(left, leftEnd, to));
  }

  /// Merges two sets of one length, the right one behind the left, from both ends at once: `length`
  /// places are filled from the front and as many from the back, so that neither walk can leave
  /// its set, the two do not wait for each other, and no branch depends on the values.
  template <bool fetch>
  void mergeEqual(const int32_t* set, int32_t* to, std::size_t length) {
    const int32_t* left = set;
    const int32_t* right = set + length;
    const int32_t* leftEnd = set + length;
    const int32_t* rightEnd = leftEnd + length;
    int32_t* toEnd = to + 2 * length;
    const auto step = [&] {
      const bool ahead = goesAhead_(valueOf(*right), valueOf(*left));
      *to++ = ahead ? *right : *left;
      right += ahead;
      left += !ahead;
      const bool leftLast = goesAhead_(valueOf(rightEnd[-1]), valueOf(leftEnd[-1]));
      *--toEnd = leftLast ? leftEnd[-1] : rightEnd[-1];
      leftEnd -= leftLast;
      rightEnd -= !leftLast;
    };
    std::size_t k = 0;
    if constexpr (fetch) {
      for (; k + std::size_t{kFetchAhead} < length; ++k) {
        __builtin_prefetch(values_ + left[kFetchAhead] - 1);
        __builtin_prefetch(values_ + right[kFetchAhead] - 1);
        __builtin_prefetch(values_ + leftEnd[-1 - kFetchAhead] - 1);
        __builtin_prefetch(values_ + rightEnd[-1 - kFetchAhead] - 1);
        step();
      }
    }
    for (; k < length; ++k) step();
  }

  const Value* values_;
  std::span<int32_t> order_;
  std::span<int32_t> work_;
  GoesAhead goesAhead_;
};

template <class Value>
int rank(std::span<const Value> values, std::span<int32_t> order) {
  const std::size_t count = std::min(values.size(), order.size());
  if (count > static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) return kFailure;
  if (count == 0) return kSuccess;
  const auto work = tryArray<int32_t>(count);
  if (work == nullptr) return kFailure;
  const std::span<const Value> ranked = values.first(count);
  if (std::any_of(ranked.begin(), ranked.end(), isNan<Value>))
    Ranking<Value, SmallerNanLast>(ranked.data(), order.first(count), {work.get(), count}).run();
  else
    Ranking<Value, Smaller>(ranked.data(), order.first(count), {work.get(), count}).run();
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
