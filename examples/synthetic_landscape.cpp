// Grows a mountain valley, the same on every run, and writes it as a float raster, elev_valley.flt and .hdr,
// into the directory that is named. It has what raw elevations have: a lake behind a dam, roads that cross
// valleys on embankments, the scatter of a survey, a ragged margin without data.
//
//   synthetic_landscape <directory>
//
// The ground rises, rivers cut into it at the rate K A^1/2 S (A area drained, S slope) and slopes creep. The
// cut is implicit: a cell's new height follows from that of its receiver, so one sweep upstream solves it for
// any length of step (J. Braun and S. D. Willett, 2013: A very efficient O(n), implicit and parallel method
// to solve the stream power equation. Geomorphology 180-181, 170-179). Large rivers are found on coarse
// cells, which are then halved four times, each time with time for smaller valleys to grow.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dem/flow_direction.h"
#include "grid/directions.h"
#include "grid/float_raster.h"
#include "grid/line_cells.h"
#include "grid/storage.h"

namespace {

using terrain::ColRow;

constexpr int32_t kCols = 45;  // of the coarse start; halving makes 2n - 1 of n
constexpr int32_t kRows = 35;
constexpr double kCoarseCell = 160.0;  // metres
constexpr int kHalvings = 4;
constexpr double kBaseLevel = 120.0;   // metres, at the outlet
constexpr double kOutlet = 4320.0;     // metres from the western side, on the southern one
constexpr double kHalfOutlet = 200.0;  // metres
constexpr double kYears = 90000.0;     // of a step
constexpr double kUplift = 1.1e-4;     // metres a year, in the north; half of it in the south
constexpr double kErodibility = 4e-6;  // per year
constexpr double kCreep = 0.004;       // square metres a year
constexpr double kRiverArea = 1e4;     // square metres: what creeps into larger rivers is carried away

// ---- noise ----

/// A number from 0 to below 1 for a lattice point, by the mixing steps of splitmix64.
double hashed(int64_t x, int64_t y) {
  auto h =
      static_cast<uint64_t>(x) * 0x9E3779B97F4A7C15ULL ^ static_cast<uint64_t>(y) * 0xC2B2AE3D27D4EB4FULL;
  h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9ULL;
  h = (h ^ (h >> 27)) * 0x94D049BB133111EBULL;
  return static_cast<double>((h ^ (h >> 31)) >> 11) / 9007199254740992.0;
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

// ---- growth ----

class Landscape {
 public:
  /// Coarse, rough ground.
  int start() {
    if (create(kCols, kRows, kCoarseCell) != 0) return -1;
    forEachCell([&](ColRow at) { setHeight(at, kBaseLevel + 100.0 * hashed(at.col, at.row)); });
    return drain();
  }

  /// The same ground on cells of half the size, bent and roughened: on coarse cells rivers run too straight.
  int refine(const Landscape& coarse) {
    const terrain::DEM_type& from = coarse.dem_;
    if (create(2 * from.cols() - 1, 2 * from.rows() - 1, from.cellsize / 2) != 0) return -1;
    const double wave = 5.0 * from.cellsize;
    const double bend = 1.2 * from.cellsize;
    const ColRow corner{.col = dem_.cols(), .row = 1};
    forEachCell([&](ColRow at) {
      const double u = east(at) / wave;
      const double v = north(at) / wave;
      const double x = std::clamp(east(at) + bend * noise(u, v), 0.0, east(corner));
      const double y = std::clamp(north(at) + bend * noise(u + 50.5, v + 50.5), 0.0, north(corner));
      const double z = double{from.elev.ExtractR4ValueXY(x, y)};
      setHeight(at, z + 0.2 * dem_.cellsize * hashed(at.col, at.row));
    });
    return drain();
  }

  /// One step: areas, the cut of the rivers against uplift, creep, directions for the next.
  void grow() {
    orderUpstream();
    areas_.SetAllR4(static_cast<float>(dem_.CellAreaKm2() * 1e6));
    for (auto at = order_.rbegin(); at != order_.rend(); ++at) {
      const ColRow receiver = terrain::stepFrom(*at, code(*at));
      if (code(*at) != 0) areas_.AddR4(receiver.col, receiver.row, static_cast<float>(area(*at)));
    }
    for (const ColRow at : order_) cut(at);
    // Creep along the rows, then along the columns above the southern side.
    for (int32_t row = 1; row < dem_.rows(); ++row) creep({.col = 1, .row = row}, 1, dem_.cols());
    for (int32_t col = 1; col <= dem_.cols(); ++col)
      creep({.col = col, .row = dem_.rows() - 1}, 3, dem_.rows() - 1);
    forEachCell([&](ColRow at) { setCode(at, dem_.elev.SteepestNeighbour(at.col, at.row)); });
  }

  terrain::R4Grid_type& heights() { return dem_.elev; }
  [[nodiscard]] double height(ColRow at) const { return dem_.elev.ExtractR4ValueColRow(at.col, at.row); }
  void setHeight(ColRow at, double z) { dem_.elev.SetR4CellColRow(at.col, at.row, static_cast<float>(z)); }
  /// Square metres that drained through the cell in the last step, its own included.
  [[nodiscard]] double area(ColRow at) const { return areas_.ExtractR4ValueColRow(at.col, at.row); }
  /// Metres from the south-western cell.
  [[nodiscard]] double east(ColRow at) const { return (at.col - 1) * dem_.cellsize; }
  [[nodiscard]] double north(ColRow at) const { return (dem_.rows() - at.row) * dem_.cellsize; }

  template <class Visit>
  void forEachCell(Visit visit) const {
    for (int32_t row = 1; row <= dem_.rows(); ++row)
      for (int32_t col = 1; col <= dem_.cols(); ++col) visit(ColRow{.col = col, .row = row});
  }

 private:
  int create(int32_t cols, int32_t rows, double cell) {
    if (terrain::CreateGridHeader(dem_, cols, rows, 0.0, 0.0, {.size = {.cellsize = cell}}) != 0) return -1;
    if (terrain::CreateGrid(dem_.elev, {.like = &dem_}) != 0) return -1;
    return terrain::CreateGrid(areas_, {.like = &dem_});
  }
  /// Breaches pits, behind a wall that keeps the flow from the sides but for the outlet.
  int drain() {
    const auto addToSides = [&](double wall) {
      forEachCell([&](ColRow at) {
        const bool side = at.row == 1 || at.row == dem_.rows() || at.col == 1 || at.col == dem_.cols();
        if (side) setHeight(at, isOutlet(at) ? kBaseLevel : height(at) + wall);
      });
    };
    addToSides(1000.0);
    dem_.SetLengthScale(2 * dem_.cellsize);
    dem_.plan = dem_.GetPlanCurvature();
    if (dem_.plan.status != 0 || shiftElevations(dem_) != 0 || FlowDirection(dem_) != 0) return -1;
    if (restoreElevations(dem_) != 0) return -1;
    addToSides(-1000.0);
    if (dem_.CalcD8() != 0) return -1;
    forEachCell([&](ColRow at) { setCode(at, code(at)); });
    return 0;
  }
  [[nodiscard]] bool isOutlet(ColRow at) const {
    return at.row == dem_.rows() && std::abs(east(at) - kOutlet) <= kHalfOutlet;
  }
  /// Direction of the cell's receiver; 0 at the outlet and in a pit.
  [[nodiscard]] int32_t code(ColRow at) const { return dem_.D8.ExtractI4ValueColRow(at.col, at.row); }
  void setCode(ColRow at, int32_t code) {
    const ColRow receiver = terrain::stepFrom(at, code);
    const bool ends = isOutlet(at) || !dem_.contains(receiver.col, receiver.row);
    dem_.D8.SetI4Cell(at.col, at.row, ends ? 0 : code);
  }

  /// All cells, each after its receiver: depth first from the cells that have none.
  void orderUpstream() {
    order_.clear();
    forEachCell([&](ColRow root) {
      if (code(root) == 0) stack_.push_back(root);
      while (!stack_.empty()) {
        const ColRow at = stack_.back();
        stack_.pop_back();
        order_.push_back(at);
        for (int32_t k = 1; k <= terrain::kDirections; ++k) {
          const ColRow donor = terrain::stepFrom(at, k);
          if (code(donor) == terrain::opposite(k)) stack_.push_back(donor);
        }
      }
    });
  }

  /// Uplift, and the river's cut, which ends at the receiver's height. Pits only rise, and so overflow.
  void cut(ColRow at) {
    if (isOutlet(at)) return;
    const double uplift = kYears * kUplift * (0.5 + 0.5 * north(at) / ((dem_.rows() - 1) * dem_.cellsize));
    const double risen = height(at) + uplift;
    if (code(at) == 0) return setHeight(at, risen);
    const double softness = 1.0 + 0.4 * noise(east(at) / 900.0, north(at) / 900.0);
    const double step = terrain::isDiagonal(code(at)) ? std::sqrt(2.0) : 1.0;
    const double cuts = kYears * kErodibility * softness * std::sqrt(area(at)) / (step * dem_.cellsize);
    setHeight(at, (risen + cuts * height(terrain::stepFrom(at, code(at)))) / (1.0 + cuts));
  }

  /// Implicit diffusion along a line of cells with closed ends: the tridiagonal system
  /// (1 + 2r) z[i] - r (z[i - 1] + z[i + 1]) = z before, by elimination and back substitution.
  void creep(ColRow at, int32_t direction, int32_t count) {
    const double r = kCreep * kYears / (dem_.cellsize * dem_.cellsize);
    weights_.clear();
    double weight = 0.0;  // of the next cell in this one's height
    double known = 0.0;
    for (int32_t i = 1; i <= count; ++i, at = terrain::stepFrom(at, direction)) {
      const bool river = area(at) > kRiverArea;
      const double before = !river && i > 1 ? r : 0.0;
      const double after = !river && i < count ? r : 0.0;
      const double pivot = 1.0 + before + after - before * weight;
      known = (height(at) + before * known) / pivot;
      weight = after / pivot;
      weights_.push_back(weight);
      setHeight(at, known);
    }
    double z = 0.0;
    for (auto next = weights_.rbegin(); next != weights_.rend(); ++next) {
      at = terrain::stepFrom(at, terrain::opposite(direction));
      z = height(at) + *next * z;
      setHeight(at, z);
    }
  }

  terrain::DEM_type dem_;
  terrain::R4Grid_type areas_;
  std::vector<ColRow> order_, stack_;
  std::vector<double> weights_;
};

// ---- what a survey finds besides ----

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
  auto land = std::make_unique<Landscape>();
  if (land->start() != 0) return 1;
  for (int level = 0; level <= kHalvings; ++level) {
    if (level > 0) {
      auto fine = std::make_unique<Landscape>();
      if (fine->refine(*land) != 0) return 1;
      land = std::move(fine);
    }
    const int steps = level == 0 ? 80 : level < kHalvings ? 40 : 25;
    for (int step = 0; step < steps; ++step) land->grow();
  }
  const std::string stem = std::string(argv[1]) + "/elev_valley";
  terrain::R4Grid_type raw;
  if (survey(*land, raw) != 0 || raw.WritefltR4(stem) != 0) return 1;
  std::cout << "Wrote " << stem << ".flt, " << raw.cols() << " x " << raw.rows() << " cells of "
            << raw.cellsize << " m\n";
  return 0;
}
