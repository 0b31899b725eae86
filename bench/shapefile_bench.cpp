// Records per second of the shapefile readers and writers: a million points with five columns, and
// 100,000 polygons of 20 vertices with two. The files are in the directory of temporary files and
// stay there, so that other tools can be timed on the same: shapefile_bench/points, /polygons. A plain
// write of as many bytes is measured for comparison.

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/platform.h"
#include "table/point_vectors.h"
#include "table/polygon_vectors.h"

namespace terrain {
namespace {

constexpr int64_t kPoints = 1000000;
constexpr int64_t kPolygons = 100000;
constexpr int32_t kVertices = 20;

std::string stem(std::string_view name) {
  const auto directory = std::filesystem::temp_directory_path() / "shapefile_bench";
  std::filesystem::create_directories(directory);
  return (directory / name).string();
}

AttributeType column(std::string_view name, std::string_view type, int32_t length, int32_t decimals) {
  AttributeType made;
  made.name = name;
  made.dataType = type;
  made.length = length;
  made.decimals = decimals;
  made.outFlag = made.shpFlag = true;
  return made;
}

double noise(int64_t i) { return std::fmod(static_cast<double>(i) * 0.6180339887498949, 1.0); }

void check(int result, const char* what) {
  if (result == 0) return;
  std::cerr << what << " failed\n";
  std::exit(1);
}

/// Made on first use, with the file written once.
PointVectorType& points() {
  static PointVectorType table;
  if (!table.point.empty()) return table;
  const AttributeType list[] = {column("ID", "I4", 9, 0), column("CODE", "I8", 12, 0),
                                column("DEPTH", "R4", 8, 2), column("HEIGHT", "R8", 14, 4),
                                column("NAME", "C ", 16, 0)};
  check(NewDataTable(table, {.attributeList = list, .numRecords = kPoints}), "table");
  for (int64_t i = 1; i <= kPoints; ++i) {
    table.SetPointXY(i, 500000 + 10000 * noise(i), 4000000 + 10000 * noise(7 * i));
    table.WriteI4Value(1, i, static_cast<int32_t>(i));
    table.WriteI8Value(2, i, 1000 * i);
    table.WriteR4Value(3, i, static_cast<float>(100 * noise(i)));
    table.WriteR8Value(4, i, 1000 * noise(3 * i));
    table.WriteCharValue(5, i, "point " + std::to_string(i));
  }
  check(table.WritePointShapefile(stem("points")), "writing points");
  return table;
}

PolyVectorType& polygons() {
  static PolyVectorType table;
  if (!table.polygon.empty()) return table;
  const AttributeType list[] = {column("ID", "I4", 9, 0), column("AREA", "R8", 14, 4)};
  check(NewDataTable(table, {.attributeList = list, .numRecords = kPolygons}), "table");
  std::vector<double> x(kVertices);
  std::vector<double> y(kVertices);
  for (int64_t i = 1; i <= kPolygons; ++i) {
    for (int32_t k = 0; k < kVertices; ++k) {
      const double turn = -6.283185307179586 * (k % (kVertices - 1)) / (kVertices - 1);
      x[static_cast<std::size_t>(k)] = 500000 + 10000 * noise(i) + 5 * std::cos(turn);
      y[static_cast<std::size_t>(k)] = 4000000 + 10000 * noise(7 * i) + 5 * std::sin(turn);
    }
    table.setPolyVertices(i, x, y);
    table.WriteI4Value(1, i, static_cast<int32_t>(i));
    table.WriteR8Value(2, i, 78.5 + noise(i));
  }
  check(table.WritePolygonShapefile(stem("polygons")), "writing polygons");
  return table;
}

uint64_t bytesOf(const std::string& path) {
  return std::filesystem::file_size(path + ".shp") + std::filesystem::file_size(path + ".dbf");
}

void finish(benchmark::State& state, int64_t records, const std::string& path) {
  state.SetItemsProcessed(state.iterations() * records);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytesOf(path)));
}

void ReadPoints(benchmark::State& state) {
  points();
  for (auto _ : state) {
    PointVectorType table;
    check(ReadPointShapefile(table, stem("points")), "reading points");
    benchmark::DoNotOptimize(table.point.data());
  }
  finish(state, kPoints, stem("points"));
}
BENCHMARK(ReadPoints)->Unit(benchmark::kMillisecond);

void WritePoints(benchmark::State& state) {
  PointVectorType& table = points();
  for (auto _ : state) check(table.WritePointShapefile(stem("points_out")), "writing points");
  finish(state, kPoints, stem("points_out"));
}
BENCHMARK(WritePoints)->Unit(benchmark::kMillisecond);

void CopyPoints(benchmark::State& state) {
  points();
  for (auto _ : state) {
    PointVectorType table;
    check(ReadPointShapefile(table, stem("points")), "reading points");
    check(table.WritePointShapefile(stem("points_out")), "writing points");
  }
  finish(state, kPoints, stem("points_out"));
}
BENCHMARK(CopyPoints)->Unit(benchmark::kMillisecond);

void ReadPolygons(benchmark::State& state) {
  polygons();
  for (auto _ : state) {
    PolyVectorType table;
    check(ReadPolygonShapefile(table, stem("polygons")), "reading polygons");
    benchmark::DoNotOptimize(table.polygon.data());
  }
  finish(state, kPolygons, stem("polygons"));
}
BENCHMARK(ReadPolygons)->Unit(benchmark::kMillisecond);

void WritePolygons(benchmark::State& state) {
  PolyVectorType& table = polygons();
  for (auto _ : state) check(table.WritePolygonShapefile(stem("polygons_out")), "writing polygons");
  finish(state, kPolygons, stem("polygons_out"));
}
BENCHMARK(WritePolygons)->Unit(benchmark::kMillisecond);

void CopyPolygons(benchmark::State& state) {
  polygons();
  for (auto _ : state) {
    PolyVectorType table;
    check(ReadPolygonShapefile(table, stem("polygons")), "reading polygons");
    check(table.WritePolygonShapefile(stem("polygons_out")), "writing polygons");
  }
  finish(state, kPolygons, stem("polygons_out"));
}
BENCHMARK(CopyPolygons)->Unit(benchmark::kMillisecond);

/// For comparison: the bytes of the points' files from memory to a file and back.
void PlainBytes(benchmark::State& state) {
  points();
  const uint64_t size = bytesOf(stem("points"));
  std::vector<std::byte> bytes(static_cast<std::size_t>(size));
  for (auto _ : state) {
    platform::File file;
    check(file.open(stem("plain"), platform::Open::replace), "open");
    check(file.writeAt(0, bytes), "write");
    check(readWholeFile(stem("plain"), bytes), "read");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}
BENCHMARK(PlainBytes)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace terrain

BENCHMARK_MAIN();
