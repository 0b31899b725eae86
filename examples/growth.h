#pragma once
// The growth of a landscape, an example of grids, flow directions and breaching put to work: the ground
// rises, rivers cut into it at the rate K A^1/2 S (A area drained, S slope) and slopes creep.
//
// The cut is implicit: a cell's new height follows from that of its receiver, so one sweep upstream solves it
// for any length of step (J. Braun and S. D. Willett, 2013: A very efficient O(n), implicit and parallel
// method to solve the stream power equation. Geomorphology 180-181, 170-179). Large rivers are found on
// coarse cells, which are then halved, each time with time for smaller valleys to grow.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dem/flow_direction.h"
#include "grid/directions.h"
#include "grid/storage.h"
#include "noise.h"

namespace landscape {

using terrain::ColRow;

inline constexpr int32_t kCols = 45;  // of the coarse start; halving makes 2n - 1 of n
inline constexpr int32_t kRows = 35;
inline constexpr double kCoarseCell = 160.0;  // metres
inline constexpr double kBaseLevel = 120.0;   // metres, at the outlet
inline constexpr double kOutlet = 4320.0;     // metres from the western side, on the southern one
inline constexpr double kHalfOutlet = 200.0;  // metres
inline constexpr double kYears = 90000.0;     // of a step
inline constexpr double kUplift = 1.1e-4;     // metres a year, in the north; half of it in the south
inline constexpr double kErodibility = 4e-6;  // per year
inline constexpr double kCreep = 0.004;       // square metres a year
inline constexpr double kRiverArea = 1e4;     // square metres: what creeps into larger rivers is carried away

class Landscape {
 public:
  /// Coarse, rough ground. 0, or -1 with a report, as of all operations.
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

}  // namespace landscape
