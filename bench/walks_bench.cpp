// Visits per second of the walks: plain recursion, and the walk table. Both make the same
// additions; the number of visits is that of the plain form.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>

#include "foundation/platform.h"
#include "grid/storage.h"
#include "run/walks.h"
#include "support/reference_walks.h"

namespace terrain {
namespace {

constexpr int32_t kSize = 400;
constexpr double kCell = 10.0;

/// A cone with noise: aspects of every direction, slopes that keep a walk of some steps in the limit.
struct Scene {
  R4Grid_type grad, aspect, accum;
  WalkValues values;

  explicit Scene(bool byTime) {
    for (R4Grid_type* grid : {&grad, &aspect, &accum})
      CreateGrid(*grid, {.ncols = kSize, .nrows = kSize, .size = {.cellsize = kCell}, .fillValue = 0.0F});
    uint32_t seed = 12345;
    const auto noise = [&seed] {
      seed = seed * 1664525u + 1013904223u;
      return static_cast<float>(seed >> 8) / 16777216.0F;
    };
    for (int32_t row = 1; row <= kSize; ++row) {
      for (int32_t col = 1; col <= kSize; ++col) {
        const float east = static_cast<float>(col) - kSize / 2.0F + 0.3F;
        const float north = kSize / 2.0F - static_cast<float>(row) + 0.4F;
        float angle = std::atan2(east, north) + 0.5F * (noise() - 0.5F);
        if (angle < 0) angle += 6.2831853F;
        aspect.SetR4CellColRow(col, row, angle);
        grad.SetR4CellColRow(col, row, 0.2F + 0.3F * noise());
      }
    }
    values = {.byTime = byTime,
              .byDistance = !byTime,
              .duration = 24.0F,
              .conductivity = 10.0F,
              .maxDistance = 105.0F};
    values.cellDistance = stepLengths(kCell);
  }
};

std::int64_t visitsOf(bool byTime) {
  static std::map<bool, std::int64_t> counted;
  if (!counted.contains(byTime)) {
    Scene scene(byTime);
    test::ReferenceWalks plain(scene.values, scene.grad, scene.aspect, scene.accum);
    plain.walkAll();
    counted[byTime] = plain.visits;
  }
  return counted[byTime];
}

void Plain(benchmark::State& state) {
  const bool byTime = state.range(0) != 0;
  Scene scene(byTime);
  for (auto _ : state) test::ReferenceWalks(scene.values, scene.grad, scene.aspect, scene.accum).walkAll();
  state.SetItemsProcessed(state.iterations() * visitsOf(byTime));
}

void Table(benchmark::State& state) {
  const bool byTime = state.range(0) != 0;
  Scene scene(byTime);
  Walks walks;
  if (walks.prepare(scene.values, scene.grad, scene.aspect) != 0) state.SkipWithError("not prepared");
  for (auto _ : state) walks.walkAll();
  state.SetItemsProcessed(state.iterations() * visitsOf(byTime));
}

BENCHMARK(Plain)->ArgName("byTime")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(Table)->ArgName("byTime")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace terrain

int main(int argc, char** argv) {
  std::ostringstream quiet;
  terrain::platform::console().out = &quiet;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
