// Ranking ten million values: mergeRank beside std::stable_sort of an index, on values in random
// order, in order, in the opposite order and with few different values.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include "foundation/sorting.h"

namespace {

constexpr std::size_t kCount = 10'000'000;

enum Order : int64_t { kRandom, kSorted, kReversed, kFewValues };

std::vector<float> valuesIn(int64_t order) {
  std::mt19937 random(20);
  std::uniform_real_distribution<float> any(0.0F, 3000.0F);
  std::vector<float> values(kCount);
  for (float& value : values) value = order == kFewValues ? std::floor(any(random) / 300.0F) : any(random);
  if (order == kSorted) std::sort(values.begin(), values.end());
  if (order == kReversed) std::sort(values.begin(), values.end(), std::greater<>{});
  return values;
}

void report(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kCount));
}

void MergeRank(benchmark::State& state) {
  const std::vector<float> values = valuesIn(state.range(0));
  std::vector<int32_t> order(kCount);
  for (auto _ : state) {
    if (terrain::mergeRank(values, order) != 0) state.SkipWithError("no memory");
    benchmark::DoNotOptimize(order.data());
  }
  report(state);
}

void StableSortOfIndex(benchmark::State& state) {
  const std::vector<float> values = valuesIn(state.range(0));
  std::vector<int32_t> order(kCount);
  for (auto _ : state) {
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
      return values[static_cast<std::size_t>(a)] < values[static_cast<std::size_t>(b)];
    });
    benchmark::DoNotOptimize(order.data());
  }
  report(state);
}

void QuickSort(benchmark::State& state) {
  const std::vector<float> values = valuesIn(state.range(0));
  std::vector<float> sorted(kCount);
  for (auto _ : state) {
    std::copy(values.begin(), values.end(), sorted.begin());
    terrain::quickSort(sorted);
    benchmark::DoNotOptimize(sorted.data());
  }
  report(state);
}

void StandardSort(benchmark::State& state) {
  const std::vector<float> values = valuesIn(state.range(0));
  std::vector<float> sorted(kCount);
  for (auto _ : state) {
    std::copy(values.begin(), values.end(), sorted.begin());
    std::sort(sorted.begin(), sorted.end());
    benchmark::DoNotOptimize(sorted.data());
  }
  report(state);
}

BENCHMARK(MergeRank)->DenseRange(kRandom, kFewValues)->Unit(benchmark::kMillisecond);
BENCHMARK(StableSortOfIndex)->DenseRange(kRandom, kFewValues)->Unit(benchmark::kMillisecond);
BENCHMARK(QuickSort)->DenseRange(kRandom, kFewValues)->Unit(benchmark::kMillisecond);
BENCHMARK(StandardSort)->DenseRange(kRandom, kFewValues)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
