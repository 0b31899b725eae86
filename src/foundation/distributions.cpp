#include "foundation/distributions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/sorting.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kDistTag = "CumulativeDist in Utilities";

/// A sample with its ranking; ranks count from 1.
template <class Real>
struct Ranked {
  std::span<const Real> values;
  std::vector<int32_t> order;

  [[nodiscard]] int32_t size() const { return static_cast<int32_t>(order.size()); }
  [[nodiscard]] Real operator()(int32_t rank) const {
    return values[static_cast<std::size_t>(order[static_cast<std::size_t>(rank) - 1]) - 1];
  }
};

/// The value at position p of the ranking, with hi the last rank that counts.
template <class Real>
Real valueAt(const Ranked<Real>& sample, double p, int32_t hi) {
  const int32_t k = static_cast<int32_t>(std::min(std::floor(p), static_cast<double>(sample.size())));
  const double fraction = p - k;
  if (fraction == 0.0) return sample(k);
  if (k >= hi) return sample(hi);
  const double below = static_cast<double>(sample(k));
  const double above = static_cast<double>(sample(k + 1));
  return static_cast<Real>(below + (above - below) * fraction);
}

int refuse(std::string_view text) {
  putMessage(text);
  return kFailure;
}

template <class Real>
int quantiles(std::span<const Real> values, std::vector<Real>& dist, int32_t nBins,
              const DistributionArgs<Real>& args) {
  dist = {};
  if (nBins < 1) return refuse("CumulativeDist in Utilities: number of bins is below 1");
  if (values.empty()) return refuse("CumulativeDist in Utilities: array is empty");
  Ranked<Real> sample{values, {}};
  if (!tryAllocate(sample.order, values.size()) || mergeRank(values, sample.order) != kSuccess)
    return cannotAllocate(kDistTag, "order");

  const int32_t n = sample.size();
  int32_t lo = 1;
  if (args.minValue) {
    while (lo <= n && !(sample(lo) > *args.minValue)) ++lo;
    if (lo >= n)
      return refuse("CumulativeDist in Utilities: array has no values greater than specified minimum");
  }
  int32_t hi = n;
  if (args.maxValue) {
    while (hi >= 1 && !(sample(hi) < *args.maxValue)) --hi;
    // With both limits there may be nothing between them: a distribution needs lo <= hi.
    if (hi <= 1 || hi < lo)
      return refuse("CumulativeDist in Utilities: array has no values less than specified maximum");
  }

  if (!tryAllocate(dist, static_cast<std::size_t>(nBins) + 1)) return cannotAllocate(kDistTag, "dist");
  // The width of a bin is rounded to the sample's precision, the position is not.
  const Real step = static_cast<Real>(hi - lo) / static_cast<Real>(nBins);
  for (std::size_t i = 0; i < dist.size(); ++i)
    dist[i] = valueAt(sample, static_cast<double>(i) * static_cast<double>(step) + lo, hi);
  if (args.numBelow != nullptr) *args.numBelow = lo - 1;
  if (args.numAbove != nullptr) *args.numAbove = n - hi;
  return kSuccess;
}

/// Calls visit(value, count) for every run of equal values.
template <class Visit>
void forEachRun(std::span<const int32_t> sorted, Visit visit) {
  for (std::size_t first = 0, next = 0; first < sorted.size(); first = next) {
    while (next < sorted.size() && sorted[next] == sorted[first]) ++next;
    visit(sorted[first], next - first);
  }
}

}  // namespace

int Mode(std::vector<int32_t>& modes, std::span<const int32_t> values) {
  modes = {};
  const auto positive = [](int32_t value) { return value > 0; };
  const auto count = std::count_if(values.begin(), values.end(), positive);
  // Sorting needs the memory of the values themselves; a counter for each number between the
  // smallest and the largest could take 16 GB for two values.
  std::vector<int32_t> sorted;
  const auto fail = [&] {
    putConsoleLine("ERROR in Mode; Cannot allocate icnt array");
    return kFailure;
  };
  if (!tryAllocate(sorted, static_cast<std::size_t>(count))) return fail();
  std::copy_if(values.begin(), values.end(), sorted.begin(), positive);
  quickSort(sorted);

  std::size_t best = 0;
  std::size_t ties = 0;
  forEachRun(sorted, [&](int32_t, std::size_t length) {
    ties = length > best ? 1 : ties + (length == best ? 1 : 0);
    best = std::max(best, length);
  });
  if (!tryAllocate(modes, ties)) return fail();
  std::size_t at = 0;
  forEachRun(sorted, [&](int32_t value, std::size_t length) {
    if (length == best) modes[at++] = value;
  });
  return kSuccess;
}

// ---- faces ----

int CumulativeDist(std::span<const float> values, std::vector<float>& dist, int32_t nBins,
                   const DistributionArgs<float>& args) {
  return quantiles(values, dist, nBins, args);
}
int CumulativeDist(std::span<const double> values, std::vector<double>& dist, int32_t nBins,
                   const DistributionArgs<double>& args) {
  return quantiles(values, dist, nBins, args);
}

}  // namespace terrain
