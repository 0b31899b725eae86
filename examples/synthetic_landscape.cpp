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
#include <initializer_list>
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
constexpr double kBaseLevel = 120.0;     // metres, at the outlet
constexpr double kOutlet = 4320.0;       // metres from the western side, on the southern one
constexpr double kHalfOutlet = 200.0;    // metres
constexpr double kYears = 30000.0;       // of a step
constexpr double kUplift = 4e-4;         // metres a year, in the north; half of it in the south
constexpr double kErodibility = 1.8e-5;  // per year
constexpr double kCreep = 0.012;         // square metres a year

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
  /// Coarse, rough ground inside a rim that is open at the outlet, drained from the first step on.
  int start() {
    if (create(kCols, kRows, kCoarseCell) != 0) return -1;
    forEachCell([&](ColRow at) {
      const bool rim = at.row == 1 || at.row == dem_.rows() || at.col == 1 || at.col == dem_.cols();
      setHeight(at,
                isOutlet(at) ? kBaseLevel : kBaseLevel + 100.0 * hashed(at.col, at.row) + (rim ? 100 : 1));
    });
    dem_.SetLengthScale(2 * dem_.cellsize);
    dem_.plan = dem_.GetPlanCurvature();
    if (dem_.plan.status != 0 || shiftElevations(dem_) != 0 || FlowDirection(dem_) != 0) return -1;
    return restoreElevations(dem_);
  }

  /// The same ground on cells of half the size, roughened a little.
  int refine(const Landscape& coarse) {
    const terrain::DEM_type& from = coarse.dem_;
    if (create(2 * from.cols() - 1, 2 * from.rows() - 1, from.cellsize / 2) != 0) return -1;
    forEachCell([&](ColRow at) {
      const double z = double{from.elev.ExtractR4ValueXY(east(at), north(at))};
      setHeight(at, isOutlet(at) ? kBaseLevel : z + 0.2 * dem_.cellsize * hashed(at.col, at.row));
    });
    return 0;
  }

  /// One step: directions, areas, the cut of the rivers against uplift, creep.
  void grow() {
    forEachCell([&](ColRow at) {
      const int32_t code = isOutlet(at) ? 0 : dem_.elev.SteepestNeighbour(at.col, at.row);
      codes_.SetI1Cell(at.col, at.row, static_cast<int8_t>(code));
    });
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
    const std::initializer_list<terrain::Grid_Header*> grids{&dem_.elev, &areas_, &codes_};
    const bool made = std::ranges::all_of(
        grids, [&](terrain::Grid_Header* grid) { return terrain::CreateGrid(*grid, {.like = &dem_}) == 0; });
    return made ? 0 : -1;
  }
  [[nodiscard]] bool isOutlet(ColRow at) const {
    return at.row == dem_.rows() && std::abs(east(at) - kOutlet) <= kHalfOutlet;
  }
  /// Direction of the cell's receiver; 0 at the outlet and in a pit.
  [[nodiscard]] int32_t code(ColRow at) const { return codes_.ExtractI1ValueColRow(at.col, at.row); }

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
      const double before = i > 1 ? r : 0.0;
      const double after = i < count ? r : 0.0;
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
  terrain::I1Grid_type codes_;
  std::vector<ColRow> order_, stack_;
  std::vector<double> weights_;
};

// ---- what a survey finds besides ----

/// A dam across the river where it passes a row, and the lake behind it up to a level.
int fillLake(Landscape& land, int32_t row, double depth) {
  terrain::R4Grid_type& heights = land.heights();
  ColRow river{.col = 1, .row = row};
  for (ColRow at = river; at.col <= heights.cols(); ++at.col)
    if (land.area(at) > land.area(river)) river = at;
  const double level = land.height(river) + depth;
  const auto build = [&](ColRow at, int32_t side) {
    for (; heights.contains(at.col, at.row) && land.height(at) < level + 2.0; at.col += side)
      for (ColRow part = at; part.row < at.row + 3; ++part.row)
        land.setHeight(part, std::max(land.height(part), level + 2.0));
  };
  build({.col = river.col + 1, .row = row}, 1);
  build(river, -1);
  // Water is what is connected to the river above the dam among the cells below the level.
  terrain::R4Grid_type water;
  if (terrain::CreateGrid(water, {.like = &heights}) != 0) return -1;
  land.forEachCell(
      [&](ColRow at) { water.SetR4CellColRow(at.col, at.row, land.height(at) < level ? 0.0F : 1.0F); });
  if (water.Flood_R4queue(river.col, row - 1, 2.0F) != 0) return -1;
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

int survey(Landscape& land) {
  land.forEachCell(
      [&](ColRow at) { land.setHeight(at, land.height(at) + 0.3 * (hashed(at.col, at.row) - 0.5)); });
  terrain::R4Grid_type& heights = land.heights();
  if (fillLake(land, 330, 14.0) != 0) return -1;
  terrain::R4Grid_type means;
  if (heights.meanWindowR4(80.0, means) != 0) return -1;
  buildRoad(land, means, {.col = 20, .row = 455}, {.col = 430, .row = 420});
  buildRoad(land, means, {.col = 430, .row = 420}, {.col = 690, .row = 470});
  buildRoad(land, means, {.col = 120, .row = 20}, {.col = 180, .row = 440});
  land.forEachCell([&](ColRow at) {
    const double width = 110.0 + 90.0 * noise(land.east(at) / 600.0, land.north(at) / 600.0 + 40.0);
    const double east = std::min(land.east(at), land.east({.col = heights.cols(), .row = 1}) - land.east(at));
    const double north = std::min(land.north(at), land.north({.col = 1, .row = 1}) - land.north(at));
    if (std::min(east, north) < width) land.setHeight(at, double{heights.GetNodataR4()});
  });
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
  if (survey(*land) != 0 || land->heights().WritefltR4(stem) != 0) return 1;
  std::cout << "Wrote " << stem << ".flt, " << land->heights().cols() << " x " << land->heights().rows()
            << " cells of " << land->heights().cellsize << " m\n";
  return 0;
}
