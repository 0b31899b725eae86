#include "dem/road_crossings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "dem/input_vectors.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "grid/circles.h"
#include "grid/filters.h"
#include "grid/missing.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "SmoothRoadCrossings";
constexpr int32_t kAlpha = 1;             ///< weights of the fits fall linearly with the distance
constexpr float kNoDifference = kNodata;  ///< of a cell without data

/// The surroundings of one point, as squares of the outer radius around it; cells are counted from 0.
class Crossing {
 public:
  [[nodiscard]] int prepare(const RoadCrossings& settings, double cellsize, int32_t halfWidth) {
    half_ = halfWidth;
    side_ = 2 * static_cast<std::size_t>(half_) + 1;
    const auto inCells = [cellsize](float radius) {
      return std::max(truncateTo<int32_t>(std::round(static_cast<double>(radius) / cellsize)), 1);
    };
    const int32_t inner = inCells(settings.innerRadius);
    if (inner >= half_) return fail(kTag, "Inner radius must be less than outer radius");
    if (makeTransition(settings, static_cast<float>(cellsize), inner) != kSuccess) return kFailure;
    // A ditch radius beyond the square takes in all of it.
    const int32_t ditch = std::min(inCells(settings.ditchRadius), 2 * half_ + 1);
    ditch_ = CellCircle(ditch, [ditch](int32_t i, int32_t j) {
      return int64_t{i} * i + int64_t{j} * j <= int64_t{ditch} * ditch;
    });
    for (const auto& [square, name] :
         {Named{&dif_, "dif"}, Named{&z_, "z"}, Named{&ground_, "thisDif"}, Named{&test_, "test"}})
      if (!tryAllocate(*square, side_ * side_)) return cannotAllocate(kTag, name);
    return tryAllocate(mask_, side_ * side_) ? kSuccess : cannotAllocate(kTag, "mask");
  }

  /// Lowers the elevations around a cell.
  [[nodiscard]] int smooth(R4Grid_type& elev, ColRow cell, Point at, int64_t& processed, int64_t& levelFits) {
    const Window square{.col1 = cell.col - half_,
                        .col2 = cell.col + half_,
                        .row1 = cell.row - half_,
                        .row2 = cell.row + half_};
    elev.ExtractR4Window(ground_, square);
    const float nodata = elev.nodataValue();
    float value = 0;
    if (fit(ground_, nodata, value, levelFits) != kSuccess) return kFailure;
    if (!std::isfinite(value)) return kSuccess;  // no data
    findLowGround(nodata);
    if (std::ranges::count(mask_, std::uint8_t{1}) < 4) return kSuccess;
    for (std::size_t i = 0; i < mask_.size(); ++i) test_[i] = mask_[i] != 0 ? ground_[i] : nodata;
    if (fit(test_, nodata, value, levelFits) != kSuccess) return kFailure;
    if (!(value > 0.0F)) {
      putMessage("no surface for x,y " + freeText(at.x) + ' ' + freeText(at.y));
      return kSuccess;
    }
    lower(nodata);
    ++processed;
    return store(elev, square);
  }

 private:
  struct Named {
    std::vector<float>* square;
    std::string_view name;
  };

  int makeTransition(const RoadCrossings& settings, float cellsize, int32_t inner) {
    if (!tryAllocate(transition_, side_ * side_)) return cannotAllocate(kTag, "transition");
    std::size_t at = 0;
    for (int64_t j = -half_; j <= half_; ++j)
      for (int64_t i = -half_; i <= half_; ++i, ++at) {
        const int64_t square = i * i + j * j;
        if (square <= int64_t{inner} * inner)
          transition_[at] = 1.0F;
        else if (square <= int64_t{half_} * half_)
          transition_[at] = 1.0F - (std::sqrt(static_cast<float>(square)) * cellsize - settings.innerRadius) /
                                       (settings.outerRadius - settings.innerRadius);
      }
    return kSuccess;
  }

  /// The surface of the filter's fit to a square, into `z`, and its value in the middle.
  int fit(const std::vector<float>& cells, float nodata, float& value, int64_t& levelFits) {
    WdMeanFit surface;
    if (WDMeanFit(cells, nodata, surface) != kSuccess) return kFailure;
    value = surface.value;
    if (surface.level && std::isfinite(value)) ++levelFits;
    std::size_t at = 0;
    for (int32_t j = half_; j >= -half_; --j)
      for (int32_t i = -half_; i <= half_; ++i)
        z_[at++] = static_cast<float>(surface.eastward * i + surface.northward * j) + value;
    return kSuccess;
  }

  /// Marks the ground below the surface that has no cell at or above it nearer than the ditch radius.
  void findLowGround(float nodata) {
    for (std::size_t i = 0; i < dif_.size(); ++i) {
      const bool data = ground_[i] != nodata && !std::isnan(ground_[i]);
      dif_[i] = data ? std::min(ground_[i] - z_[i], 0.0F) : kNoDifference;
    }
    GridGeometry square;
    square.ncols = square.nrows = 2 * half_ + 1;
    for (int32_t row = 1; row <= square.rows(); ++row)
      for (int32_t col = 1; col <= square.cols(); ++col) {
        const std::size_t at = indexOf(col, row);
        const bool low = dif_[at] > kNoDifference && dif_[at] < 0.0F;
        mask_[at] = low && !isNearHighGround(square, {.col = col, .row = row}) ? 1 : 0;
      }
  }
  [[nodiscard]] bool isNearHighGround(const GridGeometry& square, ColRow cell) const {
    bool high = false;
    ditch_.forEachRow(square, cell, [&](int32_t row, int32_t col1, int32_t col2) {
      for (int32_t col = col1; !high && col <= col2; ++col) high = dif_[indexOf(col, row)] == 0.0F;
    });
    return high;
  }

  /// The ground of the zone, lowered towards the surface `z` by the share of the transition, but not below
  /// its lowest cell. What belongs to the fit and what does not is treated alike; nodata stays.
  void lower(float nodata) {
    const auto isInZone = [&](std::size_t i) { return transition_[i] > 0.0F && ground_[i] != nodata; };
    float minElev = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < ground_.size(); ++i)
      if (isInZone(i)) minElev = std::min(minElev, ground_[i]);
    for (std::size_t i = 0; i < ground_.size(); ++i) {
      if (!isInZone(i)) continue;
      const float w = ground_[i];
      const float lowered = std::min(w + (z_[i] - w) * transition_[i], w);
      ground_[i] = std::max(lowered, minElev);
    }
  }

  /// The part of the square that lies on the grid.
  int store(R4Grid_type& elev, const Window& square) {
    const Window part =
        elev.clipped({.col1 = square.col1, .col2 = square.col2, .row1 = square.row1, .row2 = square.row2});
    for (int32_t row = part.row1; row <= part.row2; ++row)
      std::copy_n(ground_.begin() + static_cast<std::ptrdiff_t>(square.offsetOf(part.col1, row)),
                  part.width(), test_.begin() + static_cast<std::ptrdiff_t>(part.offsetOf(part.col1, row)));
    return elev.setWindowR4(part, std::span(test_).first(part.cells()));
  }

  [[nodiscard]] std::size_t indexOf(int32_t col, int32_t row) const {
    return static_cast<std::size_t>(row - 1) * side_ + static_cast<std::size_t>(col - 1);
  }

  int32_t half_ = 0;
  std::size_t side_ = 0;
  CellCircle ditch_{0, [](int32_t, int32_t) { return true; }};
  std::vector<float> transition_, dif_, z_, ground_, test_;
  std::vector<std::uint8_t> mask_;
};

void logCount(std::string_view text, int64_t count) {
  constexpr std::size_t width = 12;
  putMessage(std::string(text) + rightJustified(freeText(count), width));
}

int smoothAll(DEM_type& dem, const PointVectorType& points, Crossing& crossing) {
  R4Grid_type& elev = dem.elev;
  int64_t within = 0;
  int64_t processed = 0;
  int64_t levelFits = 0;
  for (const PointType& point : points.point) {
    if (!(point.x >= elev.xmin && point.x <= elev.xmax && point.y >= elev.ymin && point.y <= elev.ymax))
      continue;
    const std::optional<ColRow> cell = elev.cellHolding(point.x, point.y);
    if (!cell) continue;
    ++within;
    if (crossing.smooth(elev, *cell, {.x = point.x, .y = point.y}, processed, levelFits) != kSuccess)
      return kFailure;
  }
  logCount("Number of points        : ", static_cast<int64_t>(points.point.size()));
  logCount("Points within DEM extent: ", within);
  logCount("Points processed        : ", processed);
  if (levelFits > 0) putMessage("Fits that determine no plane, level at the weighted mean: ", levelFits);
  return kSuccess;
}

}  // namespace

int SmoothRoadCrossings(DEM_type& dem, const RoadCrossings& settings) {
  Attempt attempt{dem.status};
  putMessage("Smoothing road crossings");
  if (!dem.elev.GridExists()) return fail(kTag, "Elevations not loaded");
  const std::string stem = stripExtension(stripped(settings.file));
  putMessage("Reading crossing-point shapefile " + stem);
  PointVectorType points;
  if (readPoints(dem, stem, points, {.routine = kTag, .message = "ReadPointShapefile failed for "}) !=
      kSuccess)
    return kFailure;
  putMessage("Initiating smoothing grids");
  int32_t halfWidth = 0;
  const double cellsize = dem.elev.meanCellSize();
  if (Init_WD_mean(cellsize, {.radius = static_cast<double>(settings.outerRadius),
                              .halfWidth = &halfWidth,
                              .alphaFit = kAlpha,
                              .alphaMean = kAlpha}) != kSuccess)
    return fail(kTag, "init_WD_mean failed");
  Crossing crossing;
  if (crossing.prepare(settings, cellsize, halfWidth) != kSuccess ||
      smoothAll(dem, points, crossing) != kSuccess)
    return kFailure;
  if (!settings.debug) return attempt.succeed();
  const std::string name = std::string(stripped(dem.path)) + "crossingChk";
  if (dem.elev.WritefltR4(name) != kSuccess) return fail(kTag, "DEM%elev%writeFlt failed");
  putMessage("Created " + name + " .flt file");
  return attempt.succeed();
}

}  // namespace terrain
