// The steps around the flood, on a whole DEM in memory: repairs of the surface, water masks, channel heads,
// calibration, basins. Items are cells. The DEM is a synthetic landscape of 2000 x 2000 cells, or
// OSTREVANMOOR_BENCH_DEM=<raster>. Water, lines and points are spread over it evenly.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "dem/basins.h"
#include "dem/calibration.h"
#include "dem/channel_initiation.h"
#include "dem/excavation.h"
#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "dem/hydroflatten.h"
#include "dem/ocean.h"
#include "dem/road_crossings.h"
#include "dem/water_mask.h"
#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "grid/storage.h"
#include "support/dem_fixtures.h"
#include "table/point_vectors.h"

namespace {

using namespace terrain;

constexpr int32_t kSize = 2000;

/// A DEM with its directions, and files of vectors and masks for it, made once.
struct Ground {
  DEM_type dem;
  R4Grid_type raw, drained;
  std::filesystem::path directory = std::filesystem::temp_directory_path() / "preparation_bench";

  Ground() {
    std::filesystem::create_directories(directory);
    load();
    if (!dem.elev.GridExists() || dem.elev.cloneR4(raw) != 0) std::abort();
    dem.SetLengthScale(2 * dem.cellsize);
    dem.plan = dem.GetPlanCurvature();
    dem.grad = dem.GetSlope();
    writeFiles();
    if (shiftElevations(dem) != 0 || FlowDirection(dem) != 0 || dem.elev.cloneR4(drained) != 0) std::abort();
    if (dem.calcBcon(static_cast<float>(dem.cellsize)) != 0) std::abort();
    if (accumulator(dem, {.DA = &dem.DA}) != 0) std::abort();
    dem.path = directory.string() + '/';
    dem.demID = "bench";
  }
  [[nodiscard]] std::string file(const char* name) const { return (directory / name).string(); }
  [[nodiscard]] int64_t cells() const { return int64_t{dem.cols()} * dem.rows(); }

 private:
  void load() {
    if (const char* const name = std::getenv("OSTREVANMOOR_BENCH_DEM"); name != nullptr) {
      dem.file = name;
      if (dem.ResolveDEM() != 0 || dem.GetElev() != 0) std::abort();
    } else {
      test::takeElevations(dem, test::noiseDem(kSize, kSize, {.seed = 3}));
    }
  }
  void writeFiles() {
    R4Grid_type water;
    if (CreateGrid(water, {.like = &dem, .fillValue = 0.0F}) != 0) std::abort();
    std::vector<std::vector<Point>> lines;
    std::vector<std::vector<Point>> coast;
    for (int32_t row = 50; row <= dem.rows(); row += 100)
      for (int32_t col = 50; col <= dem.cols(); col += 100) {
        for (int32_t r = row - 20; r <= row + 20; ++r)
          for (int32_t c = col - 30; c <= col + 10; ++c)
            if (water.contains(c, r)) water.SetR4CellColRow(c, r, 1.0F);
        const Point at = dem.elev.ColRowToXY(col, row);
        lines.push_back({at, {.x = at.x + 30.3 * dem.cellsize, .y = at.y + 20.7 * dem.cellsize}});
      }
    const Point west = dem.elev.ColRowToXY(1, dem.rows() / 2);
    const Point east = dem.elev.ColRowToXY(dem.cols(), dem.rows() / 2);
    coast.push_back({west, east});
    test::writeLines(file("lines"), lines);
    test::writeLines(file("coast"), coast);
    PointVectorType points;
    const AttributeType id[] = {
        AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};
    if (NewDataTable(points, {.attributeList = id, .numRecords = std::ssize(lines)}) != 0) std::abort();
    for (std::size_t n = 0; n < lines.size(); ++n)
      points.SetPointXY(static_cast<int64_t>(n) + 1, lines[n][0].x, lines[n][0].y);
    if (points.WritePointShapefile(file("points")) != 0 || water.WritefltR4(file("water")) != 0) std::abort();
  }
};

Ground& ground() {
  static Ground made;
  return made;
}

/// Runs a step on a fresh copy of the elevations, before or after the flood.
template <class Step>
void run(benchmark::State& state, R4Grid_type& elevations, Step step) {
  Ground& land = ground();
  for (auto _ : state) {
    state.PauseTiming();
    elevations.cloneR4(land.dem.elev);
    state.ResumeTiming();
    if (step(land.dem) != 0) state.SkipWithError("failed");
  }
  state.SetItemsProcessed(state.iterations() * land.cells());
}

void FillingHoles(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) { return dem.elev.FillHoles({.maxSize = 1e4F}); });
}
void Zeros(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) { return checkZeros(dem.elev, 3 * dem.cellsize); });
}
void Coast(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) { return MaskOcean(dem, ground().file("coast"), 400.0F); });
}
void LevelLakes(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) { return Hydroflatten(dem, ground().file("water"), 9.0F); });
}
void RoadCrossingsOf10Cells(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) {
    const auto cell = static_cast<float>(dem.cellsize);
    return SmoothRoadCrossings(dem, {.file = ground().file("points"),
                                     .outerRadius = 10 * cell,
                                     .innerRadius = 5 * cell,
                                     .ditchRadius = 2 * cell});
  });
}
void Trenches(benchmark::State& state) {
  run(state, ground().raw, [](DEM_type& dem) {
    return ExcavateLine(dem,
                        {.file = ground().file("lines"), .radius = static_cast<float>(2 * dem.cellsize)});
  });
}
void WaterMasks(benchmark::State& state) {
  run(state, ground().drained, [](DEM_type& dem) {
    I1Grid_type heads;
    WaterCells water;
    return FlattenWatermask(dem, {.file = ground().file("water"), .incise = true}, heads, water);
  });
}
void ChannelHeads(benchmark::State& state) {
  D8Paths paths{.weights = {.slope = 1, .plan = 1, .aspect = 1, .accum = 1}};
  R4Grid_type angles;
  ground().dem.aspect.cloneR4(angles);
  run(state, ground().drained, [&](DEM_type& dem) {
    angles.cloneR4(dem.aspect);
    ChannelNetwork network;
    return AccumulateFlow(dem,
                          {.criteria = {.areaLow = 100, .areaHigh = 200},
                           .paths = state.range(0) == 1 ? &paths : nullptr,
                           .accumulationFile = ground().file("accum"),
                           .nodeFile = ground().file("nodes")},
                          network);
  });
  angles.cloneR4(ground().dem.aspect);
}
void Calibration(benchmark::State& state) {
  run(state, ground().drained, [](DEM_type& dem) { return Calibrate(dem, {.Smin = 0.25F, .Smax = 0.4F}); });
}
void LargestBasin(benchmark::State& state) {
  Ground& land = ground();
  ColRow outlet;
  float most = 0;
  for (int32_t row = 2; row < land.dem.rows(); ++row)
    for (int32_t col = 2; col < land.dem.cols(); ++col)
      if (const float area = land.dem.DA.ExtractR4ValueColRow(col, row); area > most) {
        most = area;
        outlet = {.col = col, .row = row};
      }
  run(state, land.drained, [&](DEM_type& dem) {
    R4Grid_type shares;
    return delineateBasin(dem, shares, {.col = outlet.col, .row = outlet.row});
  });
}

BENCHMARK(FillingHoles)->Unit(benchmark::kMillisecond);
BENCHMARK(Zeros)->Unit(benchmark::kMillisecond);
BENCHMARK(Coast)->Unit(benchmark::kMillisecond);
BENCHMARK(LevelLakes)->Unit(benchmark::kMillisecond);
BENCHMARK(RoadCrossingsOf10Cells)->Unit(benchmark::kMillisecond);
BENCHMARK(Trenches)->Unit(benchmark::kMillisecond);
BENCHMARK(WaterMasks)->Unit(benchmark::kMillisecond);
BENCHMARK(ChannelHeads)->ArgName("singleDirections")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(Calibration)->Unit(benchmark::kMillisecond);
BENCHMARK(LargestBasin)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::ostream nowhere(nullptr);
  terrain::platform::console().out = &nowhere;
  benchmark::RunSpecifiedBenchmarks();
  std::filesystem::remove_all(ground().directory);
  return 0;
}
