// Makes a landscape that is the same on every machine: ridges and valleys, a lake, a margin without
// data. Writes it as a float raster, elev_valley.flt and .hdr, into the directory that is named.
//
//   synthetic_landscape <directory>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "foundation/platform.h"
#include "grid/float_raster.h"
#include "grid/storage.h"

namespace {

constexpr int32_t kCols = 720;
constexpr int32_t kRows = 640;
constexpr double kCell = 10.0;
constexpr double kLakeLevel = 412.0;

/// A number from 0 to below 1 for a lattice point; integers only, so it is the same everywhere.
double hashed(int64_t x, int64_t y) {
  auto h =
      static_cast<uint64_t>(x) * 0x9E3779B97F4A7C15ULL ^ static_cast<uint64_t>(y) * 0xC2B2AE3D27D4EB4FULL;
  h ^= h >> 29;
  h *= 0xBF58476D1CE4E5B9ULL;
  h ^= h >> 32;
  return static_cast<double>(h >> 11) / 9007199254740992.0;
}

/// Smooth noise between -1 and 1: lattice values joined by cubic steps.
double noise(double x, double y) {
  const double fx = std::floor(x);
  const double fy = std::floor(y);
  const auto ix = static_cast<int64_t>(fx);
  const auto iy = static_cast<int64_t>(fy);
  const auto ease = [](double t) { return t * t * (3.0 - 2.0 * t); };
  const double u = ease(x - fx);
  const double v = ease(y - fy);
  const double low = hashed(ix, iy) * (1 - u) + hashed(ix + 1, iy) * u;
  const double high = hashed(ix, iy + 1) * (1 - u) + hashed(ix + 1, iy + 1) * u;
  return 2.0 * (low * (1 - v) + high * v) - 1.0;
}

/// Ridges where the noise passes zero, finer ones on top of the coarse; the land falls to the south-east.
double elevation(double x, double y) {
  double height = 900.0 - 0.035 * x - 0.045 * (6400.0 - y);
  double amplitude = 160.0;
  double wave = 1800.0;
  for (int octave = 0; octave < 5; ++octave) {
    height += amplitude * (0.5 - std::abs(noise(x / wave + 17.0 * octave, y / wave - 5.0 * octave)));
    amplitude *= 0.45;
    wave *= 0.5;
  }
  const double lake = std::hypot((x - 4900.0) / 900.0, (y - 1900.0) / 600.0);
  if (lake < 1.0) return kLakeLevel;
  // The shore rises from the level of the lake.
  return lake < 2.0 ? kLakeLevel + (height - kLakeLevel) * (lake - 1.0) : height;
}

/// True in the ragged margin that has no data.
bool isMargin(int32_t col, int32_t row) {
  const double x = col * kCell;
  const double y = row * kCell;
  const double width = 90.0 + 60.0 * noise(x / 700.0, y / 700.0 + 40.0);
  return x < width || y < width || x > kCols * kCell - width || y > kRows * kCell - width;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: synthetic_landscape <directory>\n";
    return 1;
  }
  terrain::R4Grid_type grid;
  if (terrain::CreateGrid(grid, {.ncols = kCols,
                                 .nrows = kRows,
                                 .xmin = 500000.0,
                                 .ymin = 4400000.0,
                                 .size = {.cellsize = kCell}}) != 0)
    return 1;
  std::vector<float> cells(kCols);
  for (int32_t row = 1; row <= kRows; ++row) {
    for (int32_t col = 1; col <= kCols; ++col) {
      const double x = (col - 1) * kCell;
      const double y = (kRows - row) * kCell;
      cells[static_cast<std::size_t>(col - 1)] =
          isMargin(col, row) ? grid.GetNodataR4() : static_cast<float>(elevation(x, y));
    }
    if (grid.SetR4row(row, cells) != 0) return 1;
  }
  const std::string stem = std::string(argv[1]) + "/elev_valley";
  if (grid.WritefltR4(stem) != 0) return 1;
  std::cout << "Wrote " << stem << ".flt, " << kCols << " x " << kRows << " cells of " << kCell << " m\n";
  return 0;
}
