// Reading and writing float rasters beside a plain copy of the same file, in bytes per second.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "grid/storage.h"

namespace terrain {
namespace {

constexpr int32_t kSize = 4000;  // 64 MB

const std::string& folder() {
  static const std::string path = [] {
    static std::ostringstream quiet;
    platform::console().out = &quiet;
    const auto folder = std::filesystem::temp_directory_path() / "raster_bench";
    std::filesystem::create_directories(folder);
    std::atexit([] { std::filesystem::remove_all(std::filesystem::temp_directory_path() / "raster_bench"); });
    R4Grid_type grid;
    CreateGrid(grid, {.ncols = kSize, .nrows = kSize, .size = {.cellsize = 1.0}, .fillValue = 3.0F});
    grid.WritefltR4(folder.string() + "/in");
    return folder.string() + "/";
  }();
  return path;
}

void count(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * int64_t{kSize} * kSize * 4);
}

void Cp(benchmark::State& state) {
  const std::string command = "cp " + folder() + "in.flt " + folder() + "copy.flt";
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
  count(state);
}
void Read(benchmark::State& state) {
  for (auto _ : state) {
    R4Grid_type grid;
    if (ReadGrid(grid, folder() + "in") != 0) state.SkipWithError("not read");
  }
  count(state);
}
void Write(benchmark::State& state) {
  R4Grid_type grid;
  if (ReadGrid(grid, folder() + "in") != 0) state.SkipWithError("not read");
  for (auto _ : state)
    if (grid.WritefltR4(folder() + "out") != 0) state.SkipWithError("not written");
  count(state);
}

BENCHMARK(Cp)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Read)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Write)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace terrain

BENCHMARK_MAIN();
