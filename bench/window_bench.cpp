// Operations on surroundings of cells and on regions, in memory and on disk, in cells per second; the mean
// and the maximum beside a plain loop over the cells of each circle.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "foundation/platform.h"
#include "foundation/scratch.h"
#include "grid/circles.h"
#include "grid/filters.h"
#include "grid/storage.h"

namespace {

using namespace terrain;

constexpr double kCell = 10.0;

/// Noise with holes, or marks of 0 and 1 with a share of `marks`.
R4Grid_type surface(int32_t size, bool onDisk, double marks = 0) {
  R4Grid_type grid;
  CreateGrid(grid, {.ncols = size, .nrows = size, .size = {.cellsize = kCell}, .onDisk = onDisk});
  std::mt19937 random(7);
  std::uniform_real_distribution<float> unit(0, 1);
  std::vector<float> row(static_cast<std::size_t>(size));
  for (int32_t r = 1; r <= size; ++r) {
    for (float& cell : row) {
      const float u = unit(random);
      if (marks > 0)
        cell = static_cast<double>(u) < marks ? 1.0F : 0.0F;
      else
        cell = u < 0.05F ? kNodata : 1000 * u;
    }
    grid.SetR4row(r, row);
  }
  return grid;
}

void count(benchmark::State& state, int64_t size) {
  state.SetItemsProcessed(state.iterations() * size * size);
}

void PlainMean(benchmark::State& state) {
  constexpr int32_t size = 512;
  const auto grid = surface(size, false);
  const CellCircle circle = CellCircle::within(grid, static_cast<double>(state.range(0)) * kCell);
  std::vector<float> means(static_cast<std::size_t>(size) * size);
  for (auto _ : state)
    for (int32_t row = 1; row <= size; ++row)
      for (int32_t col = 1; col <= size; ++col) {
        double sum = 0;
        int64_t valid = 0;
        circle.forEachRow(grid, {col, row}, [&](int32_t r, int32_t col1, int32_t col2) {
          for (int32_t c = col1; c <= col2; ++c)
            if (const float value = grid.cells.at(c, r); value != kNodata) {
              sum += static_cast<double>(value);
              ++valid;
            }
        });
        means[static_cast<std::size_t>(row - 1) * size + static_cast<std::size_t>(col - 1)] =
            static_cast<float>(sum / static_cast<double>(valid));
      }
  benchmark::DoNotOptimize(means.data());
  count(state, size);
}

void mean(benchmark::State& state, bool onDisk) {
  auto grid = surface(1024, onDisk);
  for (auto _ : state) {
    R4Grid_type means;
    means.onDisk = onDisk;
    if (grid.meanWindowR4(static_cast<double>(state.range(0)) * kCell, means) != 0)
      state.SkipWithError("failed");
  }
  count(state, 1024);
}
void maximum(benchmark::State& state, bool onDisk) {
  auto grid = surface(1024, onDisk);
  for (auto _ : state)
    if (grid.maxWindowR4(static_cast<double>(state.range(0)) * kCell).status != 0)
      state.SkipWithError("failed");
  count(state, 1024);
}
void buffered(benchmark::State& state, bool onDisk) {
  const auto marks = surface(2048, false, 0.001);
  std::vector<float> row(2048);
  for (auto _ : state) {
    state.PauseTiming();
    R4Grid_type grid;
    CreateGrid(grid, {.like = &marks, .onDisk = onDisk});
    for (int32_t r = 1; r <= 2048; ++r) grid.SetR4row(r, marks.cells.row(r));
    state.ResumeTiming();
    if (grid.bufferR4(static_cast<double>(state.range(0)) * kCell, 1) != 0) state.SkipWithError("failed");
  }
  count(state, 2048);
}
void quantiles(benchmark::State& state, bool onDisk) {
  auto grid = surface(3200, onDisk);
  const std::array asked{0.05F, 0.25F, 0.5F, 0.75F, 0.95F};
  std::array<float, 5> values{};
  for (auto _ : state)
    if (grid.quantileR4(asked, values) != 0) state.SkipWithError("failed");
  count(state, 3200);
}

/// Runs change(grid), which gives 0, on fresh grids of marks.
template <class Change>
void changed(benchmark::State& state, int32_t size, bool onDisk, double marks, Change change) {
  for (auto _ : state) {
    state.PauseTiming();
    auto grid = surface(size, onDisk, marks);
    state.ResumeTiming();
    if (change(grid) != 0) state.SkipWithError("failed");
  }
  count(state, size);
}
void flooded(benchmark::State& state, bool onDisk) {
  // The share of cells that are walls: at 30 per cent the region winds.
  const double walls = std::max(static_cast<double>(state.range(0)) / 100, 1e-9);
  changed(state, 2048, onDisk, walls, [](R4Grid_type& grid) { return grid.Flood_R4queue(1024, 1024, 2); });
}
void masked(benchmark::State& state, bool onDisk) {
  I4Grid_type mask;
  CreateGrid(mask, {.ncols = 512, .nrows = 512, .size = {.cellsize = 4 * kCell}, .onDisk = onDisk});
  for (int32_t k = 1; k <= 500; ++k) mask.SetI4Cell(k * k % 512 + 1, k * k * k % 512 + 1, 1);
  changed(state, 2048, onDisk, 0, [&](R4Grid_type& grid) { return grid.R4Mask(mask, 40 * kCell); });
}
void filtered(benchmark::State& state, bool onDisk) {
  Init_WD_mean(kCell, {.radius = 5 * kCell, .alphaFit = 1, .alphaMean = 1});
  changed(state, 256, onDisk, 0, [&](R4Grid_type& grid) {
    R4Grid_type smooth;
    smooth.onDisk = onDisk;
    return WDMeanGrid(grid, smooth);
  });
  ReleaseWDMean();
}

void Mean(benchmark::State& state) { mean(state, false); }
void MeanOnDisk(benchmark::State& state) { mean(state, true); }
void Maximum(benchmark::State& state) { maximum(state, false); }
void MaximumOnDisk(benchmark::State& state) { maximum(state, true); }
void Buffer(benchmark::State& state) { buffered(state, false); }
void BufferOnDisk(benchmark::State& state) { buffered(state, true); }
void Quantiles(benchmark::State& state) { quantiles(state, false); }
void QuantilesOnDisk(benchmark::State& state) { quantiles(state, true); }
void Flood(benchmark::State& state) { flooded(state, false); }
void FloodOnDisk(benchmark::State& state) { flooded(state, true); }
void Mask(benchmark::State& state) { masked(state, false); }
void MaskOnDisk(benchmark::State& state) { masked(state, true); }
void Filter(benchmark::State& state) { filtered(state, false); }
void FilterOnDisk(benchmark::State& state) { filtered(state, true); }
void QuantilesBySort(benchmark::State& state) {
  const auto grid = surface(3200, false);
  for (auto _ : state) {
    std::vector<float> values;
    for (int32_t row = 1; row <= 3200; ++row)
      std::ranges::copy_if(grid.cells.row(row), std::back_inserter(values),
                           [](float v) { return v != kNodata; });
    std::ranges::sort(values);
    benchmark::DoNotOptimize(values.data());
  }
  count(state, 3200);
}

BENCHMARK(PlainMean)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(Mean)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(MeanOnDisk)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(Maximum)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(MaximumOnDisk)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(Buffer)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(BufferOnDisk)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(Flood)->Arg(0)->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK(FloodOnDisk)->Arg(0)->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK(Mask)->Unit(benchmark::kMillisecond);
BENCHMARK(MaskOnDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(Filter)->Unit(benchmark::kMillisecond);
BENCHMARK(FilterOnDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(Quantiles)->Unit(benchmark::kMillisecond);
BENCHMARK(QuantilesOnDisk)->Unit(benchmark::kMillisecond);
BENCHMARK(QuantilesBySort)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  std::ostringstream messages;  // of the scratch files
  platform::console().out = &messages;
  std::string directory = (std::filesystem::temp_directory_path() / "window_bench_XXXXXX").string();
  if (mkdtemp(directory.data()) == nullptr) return 1;
  OpenBinaryScratchFile({.scratchPath = directory + "/"});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
  return 0;
}
