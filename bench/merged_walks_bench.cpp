// Merged walks on rough ground of 1, 4 and 16 million cells, for limits of 8 to 128 steps, and single walks
// for the shortest of them, on one thread and two. Items are cells.

#include <benchmark/benchmark.h>

#include <cmath>
#include <sstream>

#include "foundation/platform.h"
#include "foundation/threads.h"
#include "grid/storage.h"
#include "run/accumulation.h"

namespace terrain {
namespace {

constexpr double kCell = 10.0;

/// Valleys of some hundred cells with noise: slopes up to 1, few directions that lead in circles.
struct Ground {
  R4Grid_type grad, aspect;
  explicit Ground(int32_t size) {
    for (R4Grid_type* grid : {&grad, &aspect})
      CreateGrid(*grid, {.ncols = size, .nrows = size, .size = {.cellsize = kCell}, .fillValue = 0.0F});
    uint32_t seed = 12345;
    const auto noise = [&seed] {
      seed = seed * 1664525U + 1013904223U;
      return static_cast<double>(seed >> 8U) / 16777216.0;
    };
    for (int32_t row = 1; row <= size; ++row)
      for (int32_t col = 1; col <= size; ++col) {
        const double east = std::sin(col / 60.0) * std::cos(row / 90.0) + 0.3 * (noise() - 0.5);
        const double north = 0.6 * std::cos(row / 80.0 + col / 200.0) - 0.5 + 0.3 * (noise() - 0.5);
        const double angle = std::atan2(east, north);
        aspect.SetR4CellColRow(col, row, static_cast<float>(angle < 0 ? angle + 6.283185 : angle));
        grad.SetR4CellColRow(col, row, static_cast<float>(std::hypot(east, north)));
      }
  }
};

const Ground& ground(int64_t size) {
  static int64_t made = 0;
  static std::unique_ptr<Ground> kept;
  if (made != size) kept = std::make_unique<Ground>(static_cast<int32_t>(size));
  made = size;
  return *kept;
}

/// A limit of so many steps. By time the fastest cells take so many within the duration.
WalkValues limitOf(int64_t steps, bool byTime) {
  const auto n = static_cast<float>(steps);
  WalkValues values{.byTime = byTime,
                    .byDistance = !byTime,
                    .duration = 24.0F,
                    .conductivity = n * 2.0F * static_cast<float>(kCell) / 24.0F,
                    .maxDistance = n * static_cast<float>(kCell)};
  values.cellDistance = stepLengths(kCell);
  return values;
}

void run(benchmark::State& state, bool merged) {
  const Ground& scene = ground(state.range(0));
  WalkValues values = limitOf(state.range(1), state.range(2) != 0);
  values.merged = merged;
  useThreads(static_cast<int32_t>(state.range(3)));
  R4Grid_type none;
  for (auto _ : state) {
    R4Grid_type accum;
    if (accumulateCells(values, {.grad = scene.grad, .aspect = scene.aspect, .bcon = none, .accum = accum},
                        scene.aspect) != 0)
      state.SkipWithError("not accumulated");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(0));
}
void Merged(benchmark::State& state) { run(state, true); }
void Single(benchmark::State& state) { run(state, false); }

const std::vector<std::string> kNames{"size", "steps", "byTime", "threads"};
BENCHMARK(Single)
    ->ArgNames(kNames)
    ->ArgsProduct({{1000, 2000}, {8, 12}, {0, 1}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Merged)
    ->ArgNames(kNames)
    ->ArgsProduct({{1000, 2000, 4000}, {8, 16, 32, 64, 128}, {0, 1}, {1, 2}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace terrain

int main(int argc, char** argv) {
  std::ostringstream quiet;
  terrain::platform::console().out = &quiet;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
