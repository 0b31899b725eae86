// Grows a mountain valley, the same on every run, and writes it as a float raster, elev_valley.flt and .hdr,
// into the directory that is named. It has what raw elevations have: a lake behind a dam, roads that cross
// valleys on embankments, the scatter of a survey, a ragged margin without data. What a map would tell of it
// comes with it: the lake as a raster, lake_valley; where roads cross streams as points, crossings; a river
// as a line, river. And the same valley as an estuary, elev_coast, with the coast as lines.
//
//   synthetic_landscape <directory>

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "grid/float_raster.h"
#include "grid/line_cells.h"
#include "grid/storage.h"
#include "growth.h"
#include "noise.h"
#include "table/line_vectors.h"
#include "table/point_vectors.h"

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

constexpr float kWater = 2.0F;

/// `kWater` in the cells below a level that are connected to one of them.
int floodBelow(const terrain::R4Grid_type& heights, double level, ColRow from, terrain::R4Grid_type& water) {
  if (terrain::CreateGrid(water, {.like = &heights}) != 0) return -1;
  for (int32_t row = 1; row <= water.rows(); ++row)
    for (int32_t col = 1; col <= water.cols(); ++col) {
      const float height = heights.ExtractR4ValueColRow(col, row);
      const bool below = height != heights.GetNodataR4() && static_cast<double>(height) < level;
      water.SetR4CellColRow(col, row, below ? 0.0F : 1.0F);
    }
  return water.Flood_R4queue(from.col, from.row, kWater);
}
bool isWater(const terrain::R4Grid_type& water, ColRow at) {
  return water.contains(at.col, at.row) && water.ExtractR4ValueColRow(at.col, at.row) == kWater;
}

/// A dam across the largest river near a cell, in its row, and the lake behind it.
int fillLake(Landscape& land, ColRow near, double depth, terrain::R4Grid_type& lake) {
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
  if (floodBelow(heights, level, {.col = river.col, .row = river.row - 1}, lake) != 0) return -1;
  land.forEachCell([&](ColRow at) {
    if (isWater(lake, at)) land.setHeight(at, level);
  });
  return 0;
}

/// A road between two cells: where the ground lies below the mean around it, on an embankment. Under each
/// stands a culvert, where most flows.
void buildRoad(Landscape& land, const terrain::R4Grid_type& means, ColRow from, ColRow to,
               std::vector<ColRow>& culverts) {
  bool onDam = false;
  terrain::forEachLineCell(from, to, [&](ColRow at) {
    const bool raised =
        land.height(at) + 2.0 < static_cast<double>(means.ExtractR4ValueColRow(at.col, at.row));
    if (raised && land.area(at) > 1e5) {
      if (!onDam)
        culverts.push_back(at);
      else if (land.area(at) > land.area(culverts.back()))
        culverts.back() = at;
      onDam = true;
    } else if (!raised) {
      onDam = false;
    }
    for (const int32_t code : {0, 1, 3}) {  // two cells wide, so that no flow slips through diagonally
      const ColRow part = terrain::stepFrom(at, code);
      const double ground = land.height(part);
      const double bed = means.ExtractR4ValueColRow(part.col, part.row);
      land.setHeight(part, std::max(ground, std::min(bed, ground + 8.0)));
    }
  });
}

constexpr int32_t kMargin = 25;  ///< columns and rows that are cut off in the west and in the north

/// What is known of the land besides its elevations.
struct Map {
  terrain::R4Grid_type lake{};
  std::vector<ColRow> culverts{}, river{};
};

/// The way of the water from a cell on, to a side of the land.
std::vector<ColRow> riverFrom(const Landscape& land, terrain::R4Grid_type& heights, ColRow at) {
  std::vector<ColRow> cells;
  const auto inside = [&](ColRow cell) { return heights.contains(cell.col, cell.row); };
  while (inside(at) && cells.size() < 2000) {
    cells.push_back(at);
    ColRow next = at;
    for (int32_t code = 1; code <= terrain::kDirections; ++code) {
      const ColRow side = terrain::stepFrom(at, code);
      if (inside(side) && land.area(side) > land.area(next)) next = side;
    }
    if (next == at) break;
    at = next;
  }
  return cells;
}

/// Makes the raw elevations of a survey out of the ground. The walled sides are cut off.
int survey(Landscape& land, terrain::R4Grid_type& raw, Map& map) {
  map.river = riverFrom(land, land.heights(), {.col = 520, .row = 120});
  land.forEachCell(
      [&](ColRow at) { land.setHeight(at, land.height(at) + 0.3 * (hashed(at.col, at.row) - 0.5)); });
  if (fillLake(land, {.col = 275, .row = 262}, 26.0, map.lake) != 0) return -1;
  terrain::R4Grid_type means;
  if (land.heights().meanWindowR4(80.0, means) != 0) return -1;
  buildRoad(land, means, {.col = 20, .row = 450}, {.col = 430, .row = 420}, map.culverts);
  buildRoad(land, means, {.col = 430, .row = 420}, {.col = 690, .row = 470}, map.culverts);
  buildRoad(land, means, {.col = 470, .row = 20}, {.col = 690, .row = 310}, map.culverts);
  const terrain::SubsetArgs part{.col1 = kMargin + 1, .col2 = 680, .row1 = kMargin + 1, .row2 = 500};
  raw = land.heights().SubsetR4(part);
  map.lake = map.lake.SubsetR4(part);
  if (raw.status != 0 || map.lake.status != 0) return -1;
  for (std::vector<ColRow>* list : {&map.culverts, &map.river})
    for (ColRow& at : *list) at = {.col = at.col - kMargin, .row = at.row - kMargin};
  for (int32_t row = 1; row <= raw.rows(); ++row)
    for (int32_t col = 1; col <= raw.cols(); ++col) {
      const double margin = 11.0 + 9.0 * noise(col / 60.0, row / 60.0 + 40.0);
      const int32_t side = std::min({col, row, raw.cols() + 1 - col, raw.rows() + 1 - row});
      if (side < margin) raw.SetR4CellColRow(col, row, raw.GetNodataR4());
    }
  return 0;
}

// ---- files ----

const terrain::AttributeType kId[] = {
    terrain::AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};

int writePoints(const terrain::R4Grid_type& grid, const std::vector<ColRow>& cells, const std::string& stem) {
  terrain::PointVectorType table;
  if (NewDataTable(table, {.attributeList = kId, .numRecords = std::ssize(cells)}) != 0) return -1;
  for (std::size_t n = 0; n < cells.size(); ++n) {
    const terrain::Point at = grid.ColRowToXY(cells[n].col, cells[n].row);
    if (table.SetPointXY(static_cast<int64_t>(n) + 1, at.x, at.y) != 0) return -1;
  }
  return table.WritePointShapefile(stem);
}

int writeLines(const terrain::R4Grid_type& grid, const std::vector<std::vector<ColRow>>& lines,
               const std::string& stem) {
  terrain::LineVectorType table;
  if (NewDataTable(table, {.attributeList = kId, .numRecords = std::ssize(lines)}) != 0 ||
      table.initializeSegments() != 0)
    return -1;
  for (std::size_t n = 0; n < lines.size(); ++n) {
    std::vector<double> x;
    std::vector<double> y;
    for (const ColRow& cell : lines[n]) {
      const terrain::Point at = grid.ColRowToXY(cell.col, cell.row);
      x.push_back(at.x);
      y.push_back(at.y);
    }
    if (table.setSegmentXY(static_cast<int64_t>(n) + 1, x, y) != 0) return -1;
    table.segment[n].flag = true;
  }
  return table.WriteShapefile(stem, {.isFlag = true});
}

/// The lake as 1 and 0.
int writeLake(terrain::R4Grid_type& lake, const std::string& stem) {
  for (int32_t row = 1; row <= lake.rows(); ++row)
    for (int32_t col = 1; col <= lake.cols(); ++col)
      lake.SetR4CellColRow(col, row, isWater(lake, {.col = col, .row = row}) ? 1.0F : 0.0F);
  return lake.WritefltR4(stem);
}

constexpr float kMarsh = 0.3F;  ///< metres, of low ground that the sea does not reach

/// Lets the sea in over the lowest ground, where elevations are then 0, and draws its coast between the outer
/// cells of the water.
int writeCoast(terrain::R4Grid_type& raw, double depth, const std::string& directory) {
  ColRow lowest{.col = 1, .row = 1};
  float least = 1e9F;
  for (int32_t row = 1; row <= raw.rows(); ++row)
    for (int32_t col = 1; col <= raw.cols(); ++col)
      if (const float z = raw.ExtractR4ValueColRow(col, row); z != raw.GetNodataR4() && z < least) {
        least = z;
        lowest = {.col = col, .row = row};
      }
  const double level = static_cast<double>(least) + depth;
  terrain::R4Grid_type sea;
  if (floodBelow(raw, level, lowest, sea) != 0) return -1;
  const auto isShore = [&](ColRow at) {
    if (!isWater(sea, at)) return false;
    for (int32_t code = 1; code <= terrain::kDirections; ++code)
      if (const ColRow side = terrain::stepFrom(at, code);
          raw.contains(side.col, side.row) && !isWater(sea, side) &&
          raw.ExtractR4ValueColRow(side.col, side.row) != raw.GetNodataR4())
        return true;
    return false;
  };
  std::vector<std::vector<ColRow>> coast;
  for (int32_t row = 1; row <= raw.rows(); ++row)
    for (int32_t col = 1; col <= raw.cols(); ++col) {
      const ColRow at{.col = col, .row = row};
      if (!isShore(at)) continue;
      for (const int32_t code : {1, 6, 7, 8})
        if (const ColRow next = terrain::stepFrom(at, code); isShore(next)) coast.push_back({at, next});
    }
  for (int32_t row = 1; row <= raw.rows(); ++row)
    for (int32_t col = 1; col <= raw.cols(); ++col) {
      const float z = raw.ExtractR4ValueColRow(col, row);
      if (z != raw.GetNodataR4())
        raw.SetR4CellColRow(
            col, row,
            isWater(sea, {.col = col, .row = row}) ? 0.0F : std::max(z - static_cast<float>(level), kMarsh));
    }
  if (writeLines(raw, coast, directory + "/coast") != 0) return -1;
  return raw.WritefltR4(directory + "/elev_coast");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: synthetic_landscape <directory>\n";
    return 1;
  }
  const auto land = growValley();
  if (land == nullptr) return 1;
  const std::string directory = argv[1];
  const std::string stem = directory + "/elev_valley";
  terrain::R4Grid_type raw;
  Map map;
  if (survey(*land, raw, map) != 0 || raw.WritefltR4(stem) != 0) return 1;
  std::cout << "Wrote " << stem << ".flt, " << raw.cols() << " x " << raw.rows() << " cells of "
            << raw.cellsize << " m\n";
  const bool mapped = writeLake(map.lake, directory + "/lake_valley") == 0 &&
                      writePoints(raw, map.culverts, directory + "/crossings") == 0 &&
                      writeLines(raw, {map.river}, directory + "/river") == 0;
  return mapped && writeCoast(raw, 25.0, directory) == 0 ? 0 : 1;
}
