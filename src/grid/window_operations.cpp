// Statistics in a circle or in a 3 by 3 block around cells.

#include <array>
#include <cmath>

#include "grid/circle_fold.h"
#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/new_grid.h"
#include "grid/row_window.h"

namespace terrain {

namespace {

// ---- circles ----

/// Fills `output` with the means of the valid cells in circles, where the input has data.
int fillWithMeans(const R4Grid_type& input, double radius, R4Grid_type& output, std::string_view routine) {
  const CellCircle circle = CellCircle::within(input, radius);
  const auto plus = [](double a, double b) { return a + b; };
  CircleFold sums(input, circle, 0.0, plus);
  CircleFold counts(input, circle, 0.0, plus);  // exact up to 2^53
  std::vector<double> values, ones;
  const auto width = static_cast<std::size_t>(input.cols());
  if (!sums.open() || !counts.open() || !tryAllocate(values, width) || !tryAllocate(ones, width))
    return cannotAllocate(routine, "window");
  auto centres = reading(input);
  auto means = changing(output);
  if (centres.open(routine) != kSuccess || means.open(routine) != kSuccess) return kFailure;
  const auto missing = missingIn(input);
  const auto take = [&](int32_t row, std::span<const float> cells) {
    for (std::size_t i = 0; i < width; ++i) {
      const bool counted = !missing(cells[i]);
      values[i] = counted ? static_cast<double>(cells[i]) : 0.0;
      ones[i] = counted ? 1.0 : 0.0;
    }
    sums.add(row, values);
    counts.add(row, ones);
  };
  const auto give = [&](int32_t row) {
    const auto divide = [&, sum = sums.row(row), count = counts.row(row)](auto cells, auto out) {
      for (std::size_t i = 0; i < width; ++i)
        if (!missing(cells[i])) out[i] = static_cast<float>(sum[i] / count[i]);
    };
    return onRow(row, routine, divide, centres, means);
  };
  return passAhead(input, circle.reach(), {.routine = routine}, take, give);
}

/// Replaces what `output` holds by the largest valid value in circles, where the input has data.
int fillWithMaxima(const R4Grid_type& input, double radius, R4Grid_type& output, std::string_view routine) {
  const CellCircle circle = CellCircle::within(input, radius);
  CircleFold maxima(input, circle, kLowestCell<float>, [](float a, float b) { return a < b ? b : a; });
  std::vector<float> values;
  const auto width = static_cast<std::size_t>(input.cols());
  if (!maxima.open() || !tryAllocate(values, width)) return cannotAllocate(routine, "window");
  auto centres = reading(input);
  auto results = filling(output);
  if (centres.open(routine) != kSuccess || results.open(routine) != kSuccess) return kFailure;
  const auto missing = missingIn(input);
  const auto take = [&](int32_t row, std::span<const float> cells) {
    for (std::size_t i = 0; i < width; ++i) values[i] = missing(cells[i]) ? kLowestCell<float> : cells[i];
    maxima.add(row, values);
  };
  const auto give = [&](int32_t row) {
    const auto choose = [&, largest = maxima.row(row)](auto cells, auto out) {
      for (std::size_t i = 0; i < width; ++i) out[i] = missing(cells[i]) ? cells[i] : largest[i];
    };
    return onRow(row, routine, choose, centres, results);
  };
  return passAhead(input, circle.reach(), {.routine = routine}, take, give);
}

// ---- blocks ----

constexpr std::size_t kCentre = 4;

bool isCorner(std::size_t k) { return k == 0 || k == 2 || k == 6 || k == 8; }

/// Which cells of a block count.
auto countedIn(const R4Grid_type& grid, const BlockOptions& options) {
  return [missing = missingIn(grid), options](float value) {
    return !missing(value) && (!options.positiveOnly || value > 0);
  };
}

/// Weights of the smoothing kernel: more at the corners than at the sides.
constexpr double kCornerWeight = 0.77847;
constexpr double kSideWeight = 0.123317;
constexpr double kCentreWeight = 0.195346;
constexpr double kSmoothWeights = 3.802494;

double smoothed(const std::array<float, 9>& z) {
  double sum = 0;
  for (std::size_t k = 0; k < 9; ++k)
    sum += static_cast<double>(z[k]) * (k == kCentre  ? kCentreWeight
                                        : isCorner(k) ? kCornerWeight
                                                      : kSideWeight);
  return sum / kSmoothWeights;
}

/// One pass: each row is made from the one above as it has become and the two others as they were.
int smoothOnce(R4Grid_type& grid, std::string_view routine) {
  RowWindow<float> window(grid, 1, 1);
  std::vector<float> above, current;
  const auto width = static_cast<std::size_t>(grid.cols());
  if (!window.open() || !tryAllocate(above, width) || !tryAllocate(current, width))
    return cannotAllocate(routine, "row");
  auto changed = changing(grid);
  if (changed.open(routine) != kSuccess) return kFailure;
  const auto holdsData = aboveNodataIn(grid);
  for (int32_t row = 2; row < grid.rows(); ++row) {
    if (window.moveTo(row) != kIoOk) return reportScratchRead(routine, grid);
    if (row == 2) std::copy_n(window.row(1), width, above.begin());
    const std::array<const float*, 3> rows{above.data(), window.row(row), window.row(row + 1)};
    const auto smooth = [&](std::span<float> cells) {
      std::copy_n(rows[1], width, current.begin());
      for (std::size_t i = 1; i + 1 < width; ++i) {
        const std::array<float, 9> z{rows[0][i - 1], rows[0][i], rows[0][i + 1],
                                     rows[1][i - 1], rows[1][i], rows[1][i + 1],
                                     rows[2][i - 1], rows[2][i], rows[2][i + 1]};
        if (std::ranges::all_of(z, holdsData)) cells[i] = current[i] = static_cast<float>(smoothed(z));
      }
    };
    if (onRow(row, routine, smooth, changed) != kSuccess) return kFailure;
    std::swap(above, current);
  }
  return kSuccess;
}

}  // namespace

int R4Grid_type::meanWindowR4(double radius, R4Grid_type& output) const {
  constexpr std::string_view routine = "meanWindowR4 in Grid_Module";
  if (&output == this) return status = fail(routine, "The output must be another grid");
  Attempt attempt{status, output.status};
  if (!hasSquareCells(*this)) {
    putMessage("meanWindowR4 requires square cells");
    return kFailure;
  }
  if (!isRadius(radius, routine)) return kFailure;
  output = newGrid<R4Grid_type>({.like = this, .onDisk = output.onDisk}, [&](R4Grid_type& made) {
    return fillWithMeans(*this, radius, made, routine);
  });
  return attempt.end(output.status);
}

R4Grid_type R4Grid_type::maxWindowR4(double radius) const {
  constexpr std::string_view routine = "maxWindowR4 in Grid_Module";
  return newGridFrom<R4Grid_type>(
      *this, isRadius(radius, routine), {.like = this, .setCells = false},
      [&](R4Grid_type& made) { return fillWithMaxima(*this, radius, made, routine); });
}

int R4Grid_type::SmoothR4(int32_t passes) {
  Attempt attempt{status};
  for (int32_t pass = 0; pass < passes; ++pass)
    if (smoothOnce(*this, "SmoothR4 in Grid_Module") != kSuccess) return kFailure;
  return attempt.succeed();
}

float R4Grid_type::Mean3x3R4(int32_t col, int32_t row, const BlockOptions& options) const {
  std::array<float, 9> z{};
  ExtractR4Neighbours(z, col, row);
  const auto counted = countedIn(*this, options);
  double sum = 0;
  double weights = 0;
  for (std::size_t k = 0; k < 9; ++k) {
    if (!counted(z[k])) continue;
    const double weight = options.distanceWeighted && isCorner(k) ? double{0.70710677F} : 1.0;
    sum += weight * static_cast<double>(z[k]);
    weights += weight;
  }
  return weights > 0 ? static_cast<float>(sum / weights) : kNodata;
}

float R4Grid_type::Min3x3R4(int32_t col, int32_t row, bool positiveOnly) const {
  std::array<float, 9> z{};
  ExtractR4Neighbours(z, col, row);
  const auto counted = countedIn(*this, {.positiveOnly = positiveOnly});
  bool found = false;
  float least = kNodata;
  for (std::size_t k = 0; k < 9; ++k) {
    if (k == kCentre || !counted(z[k])) continue;
    least = found ? std::min(least, z[k]) : z[k];
    found = true;
  }
  return least;
}

}  // namespace terrain
