// The surroundings of one point: its standing among them, and their mean weighted by distance.

#include <cmath>
#include <vector>

#include "grid/circles.h"
#include "grid/grid.h"
#include "grid/missing.h"

namespace terrain {

namespace {

/// Calls use(value, dCol, dRow) for the cells with data in a circle, rows from the north.
template <class Use>
void forEachValid(const R4Grid_type& grid, const CellCircle& circle, ColRow centre, Use use) {
  const auto missing = missingIn(grid);
  circle.forEachRow(grid, centre, [&](int32_t row, int32_t col1, int32_t col2) {
    for (int32_t col = col1; col <= col2; ++col) {
      const float value = grid.ExtractR4ValueColRow(col, row);
      if (!missing(value)) use(value, col - centre.col, row - centre.row);
    }
  });
}

/// The radius of `distanceWeightedMean` between its calls, in map units.
std::optional<double>& weightedMeanRadius() {
  static std::optional<double> radius;
  return radius;
}

constexpr std::string_view kWeightedTag = "distanceWeightedMean in Grid_Module";

/// Mean with weights that fall from 1 at the centre to 0 half a window away: 1 - d / half, d in cells in
/// float32.
float weightedMeanAt(const R4Grid_type& grid, ColRow centre, double radius) {
  const double half = std::trunc(radius / grid.meanCellSize()) + 1;
  double sum = 0;
  double weights = 0;
  forEachValid(grid, CellCircle::within(grid, radius), centre, [&](float value, int32_t dCol, int32_t dRow) {
    const auto x = static_cast<float>(dCol);
    const auto y = static_cast<float>(dRow);
    const double weight = 1 - static_cast<double>(std::sqrt(x * x + y * y)) / half;
    sum += weight * static_cast<double>(value);
    weights += weight;
  });
  return weights > 0 ? static_cast<float>(sum / weights) : kNodata;
}

}  // namespace

float R4Grid_type::LocalRelief(double radius, double x, double y) const {
  Attempt attempt{status};
  if (!hasSquareCells(*this)) {
    putMessage("LocalRelief requires square cells");
    return kNodata;
  }
  const ColRow centre = cellHolding(x, y).value_or(ColRow{});  // (0, 0) lies in no grid
  const float here = ExtractR4ValueColRow(centre.col, centre.row);
  attempt.succeed();
  if (missingIn(*this)(here)) return kNodata;
  // Squared distances up to the nearest integer of the squared radius.
  const double inCells = radius > 0 ? radius / xcellsize : 0.0;
  const double limit = std::round(inCells * inCells);
  const CellCircle circle(
      wholeCells(std::sqrt(limit), std::max(cols(), rows())), [limit](int32_t dCol, int32_t dRow) {
        return static_cast<double>(dCol) * dCol + static_cast<double>(dRow) * dRow <= limit;
      });
  int64_t count = 0;
  double sum = 0;
  forEachValid(*this, circle, centre, [&](float value, int32_t, int32_t) {
    sum += static_cast<double>(value);
    ++count;
  });
  if (count <= 2) return kNodata;
  const double mean = sum / static_cast<double>(count);
  double squares = 0;
  forEachValid(*this, circle, centre, [&](float value, int32_t, int32_t) {
    squares += (static_cast<double>(value) - mean) * (static_cast<double>(value) - mean);
  });
  const double deviation = std::sqrt(squares / static_cast<double>(count - 1));
  return deviation > 0 ? static_cast<float>((static_cast<double>(here) - mean) / deviation) : 0.0F;
}

int R4Grid_type::distanceWeightedMean(const WeightedMeanArgs& args) const {
  Attempt attempt{status};
  if (!hasSquareCells(*this)) {
    putMessage("DistanceWeightedMean requires square cellsize");
    return kFailure;
  }
  std::optional<double>& radius = weightedMeanRadius();
  if (args.finish) {
    radius.reset();
    return attempt.succeed();
  }
  if (args.radius) radius = *args.radius;
  if ((args.initialize && !args.radius) || !radius) return fail(kWeightedTag, "Need radius to initialize");
  if (!isRadius(*radius, kWeightedTag)) return kFailure;
  if (args.initialize) return attempt.succeed();

  ColRow centre;
  if (args.col && args.row) {
    centre = {.col = *args.col, .row = *args.row};
  } else if (args.x && args.y) {
    centre = cellHolding(*args.x, *args.y).value_or(ColRow{});
  } else {
    return fail(kWeightedTag, args.x ? "Need x and y" : "Need col row or x y arguments");
  }
  if (!contains(centre)) return fail(kWeightedTag, "Location outside of grid extent");
  if (args.mean != nullptr) *args.mean = weightedMeanAt(*this, centre, *radius);
  return attempt.succeed();
}

}  // namespace terrain
