// Grows a mountain valley, the same on every run, and writes it as a float raster, elev_valley.flt and .hdr,
// into the directory that is named. It has what raw elevations have: a lake behind a dam, roads that cross
// valleys on embankments, the scatter of a survey, a ragged margin without data.
//
//   synthetic_landscape <directory>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "grid/float_raster.h"
#include "grid/line_cells.h"
#include "grid/storage.h"
#include "growth.h"
#include "noise.h"

namespace {

using landscape::hashed;
using landscape::Landscape;
using landscape::noise;
using terrain::ColRow;

/// From coarse cells to cells of 10 m; null after a failure.
std::unique_ptr<Landscape> growValley() {
  auto land = std::make_unique<Landscape>();
  if (land->start() != 0) return nullptr;
  for (const int steps : {80, 40, 40, 40}) {
    for (int step = 0; step < steps; ++step) land->grow();
    auto fine = std::make_unique<Landscape>();
    if (fine->refine(*land) != 0) return nullptr;
    land = std::move(fine);
  }
  for (int step = 0; step < 25; ++step) land->grow();
  return land;
}

/// A dam across the largest river near a cell, in its row, and the lake behind it.
int fillLake(Landscape& land, ColRow near, double depth) {
  terrain::R4Grid_type& heights = land.heights();
  ColRow river = near;
  for (ColRow at = near; at.col <= near.col + 60; ++at.col)
    if (land.area(at) > land.area(river)) river = at;
  const double level = land.height(river) + depth;
  const auto build = [&](ColRow at, int32_t side) {
    for (; heights.contains(at.col, at.row) && land.height(at) < level + 2.0; at.col += side)
      for (ColRow part = at; part.row < at.row + 3; ++part.row)
        land.setHeight(part, std::max(land.height(part), level + 2.0));
  };
  build({.col = river.col + 1, .row = river.row}, 1);
  build(river, -1);
  // Water is what is connected to the river above the dam among the cells below the level.
  terrain::R4Grid_type water;
  if (terrain::CreateGrid(water, {.like = &heights}) != 0) return -1;
  land.forEachCell(
      [&](ColRow at) { water.SetR4CellColRow(at.col, at.row, land.height(at) < level ? 0.0F : 1.0F); });
  if (water.Flood_R4queue(river.col, river.row - 1, 2.0F) != 0) return -1;
  land.forEachCell([&](ColRow at) {
    if (water.ExtractR4ValueColRow(at.col, at.row) == 2.0F) land.setHeight(at, level);
  });
  return 0;
}

/// A road between two cells: where the ground lies below the mean around it, on an embankment.
void buildRoad(Landscape& land, const terrain::R4Grid_type& means, ColRow from, ColRow to) {
  terrain::forEachLineCell(from, to, [&](ColRow at) {
    for (const int32_t code : {0, 1, 3}) {  // two cells wide, so that no flow slips through diagonally
      const ColRow part = terrain::stepFrom(at, code);
      const double ground = land.height(part);
      const double bed = means.ExtractR4ValueColRow(part.col, part.row);
      land.setHeight(part, std::max(ground, std::min(bed, ground + 8.0)));
    }
  });
}

/// Makes the raw elevations of a survey out of the ground. The walled sides are cut off.
int survey(Landscape& land, terrain::R4Grid_type& raw) {
  land.forEachCell(
      [&](ColRow at) { land.setHeight(at, land.height(at) + 0.3 * (hashed(at.col, at.row) - 0.5)); });
  if (fillLake(land, {.col = 275, .row = 262}, 26.0) != 0) return -1;
  terrain::R4Grid_type means;
  if (land.heights().meanWindowR4(80.0, means) != 0) return -1;
  buildRoad(land, means, {.col = 20, .row = 450}, {.col = 430, .row = 420});
  buildRoad(land, means, {.col = 430, .row = 420}, {.col = 690, .row = 470});
  buildRoad(land, means, {.col = 470, .row = 20}, {.col = 690, .row = 310});
  raw = land.heights().SubsetR4({.col1 = 26, .col2 = 680, .row1 = 26, .row2 = 500});
  if (raw.status != 0) return -1;
  for (int32_t row = 1; row <= raw.rows(); ++row)
    for (int32_t col = 1; col <= raw.cols(); ++col) {
      const double margin = 11.0 + 9.0 * noise(col / 60.0, row / 60.0 + 40.0);
      const int32_t side = std::min({col, row, raw.cols() + 1 - col, raw.rows() + 1 - row});
      if (side < margin) raw.SetR4CellColRow(col, row, raw.GetNodataR4());
    }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: synthetic_landscape <directory>\n";
    return 1;
  }
  const auto land = growValley();
  if (land == nullptr) return 1;
  const std::string stem = std::string(argv[1]) + "/elev_valley";
  terrain::R4Grid_type raw;
  if (survey(*land, raw) != 0 || raw.WritefltR4(stem) != 0) return 1;
  std::cout << "Wrote " << stem << ".flt, " << raw.cols() << " x " << raw.rows() << " cells of "
            << raw.cellsize << " m\n";
  return 0;
}
