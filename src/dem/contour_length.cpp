#include "dem/contour_length.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "dem/operations.h"
#include "foundation/threads.h"
#include "grid/row_window.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "calcBcon in DEM_Module";
constexpr float kHalfCircle = 3.1415927F;
constexpr float kFullCircle = 6.2831855F;
constexpr float kQuarterCircle = 1.5707964F;
constexpr float kThreeQuarters = 4.712389F;

// ---- one cell ----

/// The term of a centre and an adjacent corner: both weights, or the part of the one that is in.
float term(bool centreIn, bool adjacentIn, float p, float q) {
  if (centreIn) return adjacentIn ? p + q : p * p / (p + q);
  return adjacentIn ? q * q / (p + q) : 0.0F;
}

/// Adds the two terms of one side. A weight costs a sine or cosine and is computed only where a term needs
/// it; where all positions are out the terms are 0 and leave the sum unchanged.
template <class Weight, class In>
void addSide(float& sum, float centre, float first, float second, Weight weight, In in) {
  const bool centreIn = in(centre);
  const bool firstIn = in(first);
  const bool secondIn = in(second);
  if (!(centreIn || firstIn || secondIn)) return;
  const float p = weight(centre);
  if (centreIn || firstIn) sum += term(centreIn, firstIn, p, weight(first));
  if (centreIn || secondIn) sum += term(centreIn, secondIn, p, weight(second));
}

}  // namespace

float contourLength(const std::array<float, 8>& turned) {
  const auto sine = [](float angle) { return std::abs(std::sin(angle)); };
  const auto cosine = [](float angle) { return std::abs(std::cos(angle)); };
  const auto& [t1, t2, t3, t4, t5, t6, t7, t8] = turned;
  float sum = 0.0F;
  addSide(sum, t1, t2, t8, sine, [](float t) { return t > 0.0F && t < kHalfCircle; });
  addSide(sum, t3, t2, t4, cosine, [](float t) { return t < kQuarterCircle || t > kThreeQuarters; });
  addSide(sum, t5, t4, t6, sine, [](float t) { return t > kHalfCircle && t < kFullCircle; });
  addSide(sum, t7, t6, t8, cosine, [](float t) { return t > kQuarterCircle && t < kThreeQuarters; });
  return sum * 0.25F;
}

// ---- the grid ----

namespace {

using Neighbours = std::array<float, 8>;

/// The neighbours of a cell by D8 code, from 1 at element 0.
Neighbours neighboursOf(const RowWindow<float>& window, int32_t row, std::size_t col) {
  const float* above = window.row(row - 1) + col;
  const float* level = window.row(row) + col;
  const float* below = window.row(row + 1) + col;
  return {level[1], above[1], above[0], above[-1], level[-1], below[-1], below[0], below[1]};
}

/// True if the lowest neighbour above -9999 is as high as the highest of all.
bool areLevel(const Neighbours& heights) {
  float lowest = std::numeric_limits<float>::max();
  float highest = heights[0];
  for (const float height : heights) {
    if (height > kNodata && height < lowest) lowest = height;
    highest = std::max(highest, height);
  }
  return lowest == highest;
}

float contourLengthOfCell(float aspect, const Neighbours& aspects, float none) {
  std::array<float, 8> turned;
  const std::size_t first = firstTurned(aspect);
  for (std::size_t k = 0; k < turned.size(); ++k) {
    const float there = aspects[k] == none ? aspect : aspects[k];
    float turn = there - aspect;
    if (turn < 0.0F) turn += kFullCircle;
    turned[(first + k) % turned.size()] = turn;
  }
  return contourLength(turned);
}

int fillRows(const R4Grid_type& elev, const R4Grid_type& aspect, R4Grid_type& bcon) {
  const float none = aspect.nodataValue();
  const bool inMemory = !elev.onDisk && !aspect.onDisk && !bcon.onDisk;
  return forEachStretch(elev.rows(), inMemory, [&](int32_t first, int32_t last) {
    RowWindow<float> heights(elev, 1, 1);
    RowWindow<float> angles(aspect, 1, 1);
    if (!heights.open() || !angles.open()) {
      const auto lock = oneThreadAtATime();
      return cannotAllocate(kTag, "row windows");
    }
    const Window rows{.col1 = 1, .col2 = elev.cols(), .row1 = first, .row2 = last};
    // A cell without an aspect keeps what the grid holds.
    return RowPass{changing(bcon)}.runWithin(rows, kTag, [&](int32_t row, std::span<float> cells) {
      if (heights.moveTo(row) != kIoOk) return reportScratchRead(kTag, elev);
      if (angles.moveTo(row) != kIoOk) return reportScratchRead(kTag, aspect);
      for (std::size_t col = 0; col < cells.size(); ++col) {
        const float a = angles.row(row)[col];
        if (a == none) continue;
        cells[col] = areLevel(neighboursOf(heights, row, col))
                         ? 1.0F
                         : contourLengthOfCell(a, neighboursOf(angles, row, col), none);
      }
      return kSuccess;
    });
  });
}

}  // namespace

int fillContourLength(DEM_type& dem, float length, const R4Grid_type* aspectGrid) {
  Attempt attempt{dem.status, dem.bcon.status};
  if (!dem.elev.GridExists()) return fail(kTag, "Elevations not loaded");
  if (!dem.bcon.GridExists() && CreateGrid(dem.bcon, {.like = &dem}) != kSuccess)
    return fail(kTag, "CreateGrid failed for bcon");
  R4Grid_type own;
  if (aspectGrid == nullptr) {
    if (CreateGrid(own, {.like = &dem}) != kSuccess) return fail(kTag, "CreateGrid failed for aspect");
    if (surfaceRasters(dem.elev, length, {{&own, SurfaceMetric::aspect}}) != kSuccess) return kFailure;
    aspectGrid = &own;
  }
  const auto alike = [&](const Grid_Header& grid) {
    return grid.ncols == dem.elev.ncols && grid.nrows == dem.elev.nrows;
  };
  if (!aspectGrid->GridExists() || !alike(*aspectGrid) || !alike(dem.bcon))
    return fail(kTag, "Input grid dimensions do not match");
  return attempt.end(fillRows(dem.elev, *aspectGrid, dem.bcon));
}

}  // namespace terrain
