// Breaching, flow angles and accumulation of a whole DEM in memory. Items are cells. The argument is the
// number of columns and rows of a synthetic landscape; with OSTREVANMOOR_BENCH_DEM=<raster> a real DEM comes
// too, as argument 0.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>

#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "grid/storage.h"

namespace {

using namespace terrain;

/// Hills of several sizes under noise, which leaves a closed depression in every few dozen cells.
R4Grid_type hills(int32_t size) {
  R4Grid_type grid;
  CreateGrid(grid, {.ncols = size, .nrows = size, .size = {.cellsize = 10}});
  std::mt19937 random(11);
  std::uniform_real_distribution<double> noise(0.0, 1.0);
  for (int32_t row = 1; row <= size; ++row)
    for (int32_t col = 1; col <= size; ++col) {
      double z = 500 + 0.3 * row + 0.5 * noise(random);
      for (double wave = 16; wave < size; wave *= 2)
        z += 0.1 * wave * std::sin(col / wave + 0.3 * wave) * std::cos(row / wave);
      grid.SetR4CellColRow(col, row, static_cast<float>(z));
    }
  return grid;
}

/// The DEM of an argument in its working form, with plan curvature.
void load(DEM_type& dem, int64_t argument) {
  if (argument == 0) {
    dem.file = std::getenv("OSTREVANMOOR_BENCH_DEM");
    if (dem.ResolveDEM() != 0 || dem.GetElev() != 0) std::abort();
  } else {
    dem.elev = hills(static_cast<int32_t>(argument));
    static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(dem.elev);
  }
  dem.SetLengthScale(2 * dem.cellsize);
  dem.plan = dem.GetPlanCurvature();
  if (shiftElevations(dem) != 0) std::abort();
}

void countCells(benchmark::State& state, const DEM_type& dem) {
  state.SetItemsProcessed(state.iterations() * dem.cols() * dem.rows());
}

void Conditioning(benchmark::State& state) {
  DEM_type dem;
  load(dem, state.range(0));
  R4Grid_type raw;
  dem.elev.cloneR4(raw);
  for (auto _ : state) {
    state.PauseTiming();
    raw.cloneR4(dem.elev);
    state.ResumeTiming();
    if (FlowDirection(dem) != 0) std::abort();
  }
  countCells(state, dem);
}

void Accumulation(benchmark::State& state) {
  DEM_type dem;
  load(dem, state.range(0));
  if (FlowDirection(dem) != 0 || dem.CalcD8() != 0) std::abort();
  for (auto _ : state) {
    R4Grid_type area;
    if (accumulator(dem, {.DA = &area, .useD8 = state.range(1) == 1}) != 0) std::abort();
  }
  countCells(state, dem);
}

void sizes(benchmark::internal::Benchmark* bench) {
  if (std::getenv("OSTREVANMOOR_BENCH_DEM") != nullptr) bench->Arg(0);
  for (const int64_t size : {500, 1000, 2000, 4000}) bench->Arg(size);
  bench->Unit(benchmark::kMillisecond);
}
void accumulations(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"size", "byD8"})->Unit(benchmark::kMillisecond);
  for (const int64_t size : {std::getenv("OSTREVANMOOR_BENCH_DEM") != nullptr ? 0 : 1000, 2000})
    for (const int64_t byD8 : {0, 1}) bench->Args({size, byD8});
}

BENCHMARK(Conditioning)->Apply(sizes);
BENCHMARK(Accumulation)->Apply(accumulations);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::ostream nowhere(nullptr);
  terrain::platform::console().out = &nowhere;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
