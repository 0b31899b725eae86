// Polygons burned into a grid of 4000 x 4000 cells: 100,000 small ones of 20 vertices, and 40 large ones of
// 50,000. Each is timed from shapefile to raster, beside gdal_rasterize on the same files where that is
// installed, and in memory alone.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/platform.h"
#include "grid/grid.h"
#include "grid/storage.h"
#include "table/polygon_vectors.h"
#include "table/rasterize.h"

namespace {

using namespace terrain;

constexpr int32_t kSide = 4000;

std::string stem(const std::string& name) {
  const auto directory = std::filesystem::temp_directory_path() / "rasterize_bench";
  std::filesystem::create_directories(directory);
  return (directory / name).string();
}

void check(int result, const char* what) {
  if (result == 0) return;
  std::cerr << what << " failed\n";
  std::exit(1);
}

double noise(int64_t i) { return std::fmod(static_cast<double>(i) * 0.6180339887498949, 1.0); }

struct Plan {
  const char* name;
  int64_t polygons;
  int32_t vertices;
  double reach;  ///< cells
};
constexpr Plan kPlans[] = {{"small", 100000, 20, 4}, {"large", 40, 50000, 600}};

/// Round shapes with a rough edge; made on first use, with the file written once.
PolyVectorType& polygons(const Plan& plan) {
  static PolyVectorType tables[2];
  PolyVectorType& table = tables[&plan - kPlans];
  if (!table.polygon.empty()) return table;
  AttributeType id;
  id.name = "ID";
  id.dataType = "I4";
  id.length = 9;
  id.outFlag = id.shpFlag = true;
  check(NewDataTable(table, {.attributeList = std::span(&id, 1), .numRecords = plan.polygons}), "table");
  check(table.SetIDfield({.fieldName = "ID"}), "ID");
  const auto count = static_cast<std::size_t>(plan.vertices);
  std::vector<double> x(count);
  std::vector<double> y(count);
  for (int64_t i = 1; i <= plan.polygons; ++i) {
    for (std::size_t k = 0; k < count; ++k) {
      const double turn =
          -6.283185307179586 * static_cast<double>(k % (count - 1)) / static_cast<double>(count - 1);
      const double reach = plan.reach * (0.9 + 0.1 * noise(static_cast<int64_t>(k % (count - 1)) * i));
      x[k] = kSide * noise(i) + reach * std::cos(turn);
      y[k] = kSide * noise(7 * i) + reach * std::sin(turn);
    }
    table.setPolyVertices(i, x, y);
    table.WriteI4Value(1, i, static_cast<int32_t>(i));
  }
  check(table.WritePolygonShapefile(stem(plan.name)), "writing polygons");
  return table;
}

const Plan& planOf(const benchmark::State& state) { return kPlans[state.range(0)]; }

Grid_Header lattice() {
  Grid_Header like;
  check(CreateGridHeader(like, kSide, kSide, 0, 0, {.size = {.cellsize = 1.0}}), "lattice");
  return like;
}

void Burning(benchmark::State& state) {
  PolyVectorType& table = polygons(planOf(state));
  const Grid_Header like = lattice();
  I4Grid_type grid;
  for (auto _ : state) check(table.RasterizePoly(grid, {.like = &like}), "burning");
}

void FromFileToFile(benchmark::State& state) {
  const Plan& plan = planOf(state);
  polygons(plan);
  const Grid_Header like = lattice();
  for (auto _ : state) {
    PolyVectorType table;
    I4Grid_type grid;
    check(ReadPolygonShapefile(table, stem(plan.name), {.IDfieldName = "ID"}), "reading");
    check(table.RasterizePoly(grid, {.like = &like}), "burning");
    check(grid.WriteIntI4(stem("ours")), "writing");
  }
}

void FromFileToFileByGdal(benchmark::State& state) {
  const Plan& plan = planOf(state);
  polygons(plan);
  std::ostringstream command;
  command << "gdal_rasterize -q -a ID -ot Int32 -of EHdr -init 0 -te 0 0 " << kSide << ' ' << kSide
          << " -tr 1 1 '" << stem(plan.name) << ".shp' '" << stem("gdal.bil") << "'";
  if (std::system("command -v gdal_rasterize >/dev/null") != 0) {
    state.SkipWithError("gdal_rasterize is not installed");
    return;
  }
  for (auto _ : state) {
    std::filesystem::remove(stem("gdal.bil"));
    check(std::system(command.str().c_str()), "gdal_rasterize");
  }
}

void both(benchmark::internal::Benchmark* bench) {
  bench->ArgName("large")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(Burning)->Apply(both);
BENCHMARK(FromFileToFile)->Apply(both);
BENCHMARK(FromFileToFileByGdal)->Apply(both);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::ostream nowhere(nullptr);
  terrain::platform::console().out = &nowhere;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
