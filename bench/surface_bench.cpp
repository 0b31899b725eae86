// Gradient and aspect of a noisy cone: surfaceMetrics cell by cell beside surfaceRasters in memory
// and on disk. Items are cells. The argument is the length in tenths of a cell.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "foundation/platform.h"
#include "foundation/scratch.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"

namespace {

using namespace terrain;

constexpr int32_t kSize = 512;
constexpr double kCell = 10.0;

void makeCone(R4Grid_type& grid, bool onDisk) {
  CreateGrid(grid, {.ncols = kSize,
                    .nrows = kSize,
                    .xmin = 500000,
                    .ymin = 4000000,
                    .size = {.cellsize = kCell},
                    .onDisk = onDisk});
  std::mt19937 random(7);
  std::uniform_real_distribution<double> noise(0.0, 3.0);
  for (int32_t row = 1; row <= kSize; ++row)
    for (int32_t col = 1; col <= kSize; ++col)
      grid.SetR4CellColRow(
          col, row,
          static_cast<float>(2000 - 3 * std::hypot(col - kSize / 2, row - kSize / 2) + noise(random)));
}

float lengthOf(const benchmark::State& state) {
  return static_cast<float>(static_cast<double>(state.range(0)) / 10 * kCell);
}

void countCells(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kSize * kSize); }

void CellByCell(benchmark::State& state) {
  R4Grid_type elev, gradient, aspect;
  makeCone(elev, false);
  CreateGrid(gradient, {.like = &elev});
  CreateGrid(aspect, {.like = &elev});
  const float length = lengthOf(state);
  for (auto _ : state) {
    for (int32_t row = 1; row <= kSize; ++row)
      for (int32_t col = 1; col <= kSize; ++col) {
        float g = 0;
        float a = 0;
        elev.surfaceMetrics({.length = length, .col = col, .row = row, .gradient = &g, .aspect = &a});
        gradient.SetR4CellColRow(col, row, g);
        aspect.SetR4CellColRow(col, row, a);
      }
  }
  countCells(state);
}

void wholeGrid(benchmark::State& state, bool onDisk, bool wantAspect) {
  R4Grid_type elev, gradient, aspect;
  makeCone(elev, onDisk);
  CreateGrid(gradient, {.like = &elev, .onDisk = onDisk});
  if (wantAspect) CreateGrid(aspect, {.like = &elev, .onDisk = onDisk});
  std::vector<SurfaceOutput> outputs{{&gradient, SurfaceMetric::gradient}};
  if (wantAspect) outputs.push_back({&aspect, SurfaceMetric::aspect});
  for (auto _ : state)
    if (surfaceRasters(elev, lengthOf(state), outputs) != 0) state.SkipWithError("failed");
  countCells(state);
}

void WholeGrid(benchmark::State& state) { wholeGrid(state, false, true); }
void WholeGridGradientOnly(benchmark::State& state) { wholeGrid(state, false, false); }
void WholeGridOnDisk(benchmark::State& state) { wholeGrid(state, true, true); }

BENCHMARK(CellByCell)->Arg(15)->Arg(37)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeGrid)->Arg(15)->Arg(37)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeGridGradientOnly)->Arg(37)->Unit(benchmark::kMillisecond);
BENCHMARK(WholeGridOnDisk)->Arg(15)->Arg(37)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  std::ostringstream messages;  // of the scratch files
  platform::console().out = &messages;
  std::string directory = (std::filesystem::temp_directory_path() / "surface_bench_XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) return 1;
  OpenBinaryScratchFile({.scratchPath = directory + "/"});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
  return 0;
}
