// One member of each cell-wise family in memory and on disk beside a plain loop over a raw array with the
// same test for nodata. Items are cells.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>
#include <vector>

#include "foundation/platform.h"
#include "foundation/scratch.h"
#include "grid/arithmetic.h"
#include "grid/storage.h"

namespace {

using namespace terrain;

constexpr int32_t kSize = 2048;
constexpr std::size_t kCells = std::size_t{kSize} * kSize;

enum Place { inMemory, onDisk };

float cellAt(std::mt19937& random) {
  return random() % 10 == 0 ? kNodata : static_cast<float>(random() % 100000) / 16.0F;
}

R4Grid_type makeGrid(Place place) {
  R4Grid_type grid;
  CreateGrid(grid, {.ncols = kSize, .nrows = kSize, .size = {.cellsize = 10}, .onDisk = place == onDisk});
  std::mt19937 random(3);
  std::vector<float> cells(kSize);
  for (int32_t row = 1; row <= kSize; ++row) {
    std::ranges::generate(cells, [&] { return cellAt(random); });
    grid.SetR4row(row, cells);
  }
  return grid;
}

std::vector<float> makeArray() {
  std::mt19937 random(3);
  std::vector<float> cells(kCells);
  std::ranges::generate(cells, [&] { return cellAt(random); });
  return cells;
}

void countCells(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kCells));
}

Place placeOf(const benchmark::State& state) { return static_cast<Place>(state.range(0)); }

// ---- grid and number ----

void ScalarMultiply(benchmark::State& state) {
  R4Grid_type grid = makeGrid(placeOf(state));
  for (auto _ : state)
    if (grid.scalarMultiplyR4(1.0000001F) != 0) state.SkipWithError("failed");
  countCells(state);
}
void ScalarMultiplyPlain(benchmark::State& state) {
  std::vector<float> cells = makeArray();
  float by = 1.0000001F;
  float nodata = kNodata;
  benchmark::DoNotOptimize(by);
  benchmark::DoNotOptimize(nodata);
  for (auto _ : state) {
    for (float& cell : cells)
      if (cell != nodata) cell *= by;
    benchmark::ClobberMemory();
  }
  countCells(state);
}

// ---- smallest value ----

void Min(benchmark::State& state) {
  R4Grid_type grid = makeGrid(placeOf(state));
  for (auto _ : state) benchmark::DoNotOptimize(grid.MinR4());
  countCells(state);
}
void MinPlain(benchmark::State& state) {
  const std::vector<float> cells = makeArray();
  float nodata = kNodata;
  benchmark::DoNotOptimize(nodata);
  for (auto _ : state) {
    float least = std::numeric_limits<float>::max();
    for (const float cell : cells)
      if (cell > nodata && cell < least) least = cell;
    benchmark::DoNotOptimize(least);
  }
  countCells(state);
}

// ---- two grids to a new one ----

void Multiply(benchmark::State& state) {
  const R4Grid_type a = makeGrid(placeOf(state));
  const R4Grid_type b = makeGrid(placeOf(state));
  for (auto _ : state)
    if (MultiplyR4Grids(a, b).status != 0) state.SkipWithError("failed");
  countCells(state);
}
void MultiplyPlain(benchmark::State& state) {
  const std::vector<float> a = makeArray();
  const std::vector<float> b = makeArray();
  float nodata = kNodata;
  benchmark::DoNotOptimize(nodata);
  for (auto _ : state) {
    const std::unique_ptr<float[]> product(new float[kCells]);
    std::fill_n(product.get(), kCells, nodata);
    for (std::size_t i = 0; i < kCells; ++i)
      if (a[i] != nodata && b[i] != nodata) product[i] = a[i] * b[i];
    benchmark::DoNotOptimize(product.get());
    benchmark::ClobberMemory();
  }
  countCells(state);
}

// ---- copies ----

void Clone(benchmark::State& state) {
  const R4Grid_type grid = makeGrid(placeOf(state));
  for (auto _ : state) {
    R4Grid_type clone;
    if (grid.cloneR4(clone, grid.onDisk) != 0) state.SkipWithError("failed");
  }
  countCells(state);
}
void ClonePlain(benchmark::State& state) {
  const std::vector<float> cells = makeArray();
  for (auto _ : state) {
    const std::unique_ptr<float[]> copy(new float[kCells]);
    std::ranges::copy(cells, copy.get());
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  countCells(state);
}

BENCHMARK(ScalarMultiplyPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(ScalarMultiply)->Arg(inMemory)->Arg(onDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(MinPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(Min)->Arg(inMemory)->Arg(onDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(MultiplyPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(Multiply)->Arg(inMemory)->Arg(onDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(ClonePlain)->Unit(benchmark::kMillisecond);
BENCHMARK(Clone)->Arg(inMemory)->Arg(onDisk)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  std::ostringstream messages;  // of the scratch files
  platform::console().out = &messages;
  std::string directory = (std::filesystem::temp_directory_path() / "arithmetic_bench_XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) return 1;
  OpenBinaryScratchFile({.scratchPath = directory + "/"});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
  return 0;
}
