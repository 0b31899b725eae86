#include "dem/hydroflatten.h"

#include <vector>

#include "dem/input_mask.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/cell_view.h"
#include "grid/directions.h"
#include "grid/missing.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Hydroflatten in DEM_Module";
constexpr int32_t kTaken = 0;

/// Collects the patch of a lake cell, which leaves the mask. False if there is no memory.
template <class Lakes>
bool collectPatch(const DEM_type& dem, Lakes lakes, ColRow start, std::vector<ColRow>& patch) {
  patch.clear();
  lakes.set(start.col, start.row, kTaken);
  if (!tryAppend(patch, start)) return false;
  for (std::size_t next = 0; next < patch.size(); ++next)
    for (const int32_t code : {1, 3, 5, 7}) {
      const ColRow side = stepFrom(patch[next], code);
      if (!dem.elev.contains(side) || lakes.get(side.col, side.row) == kTaken) continue;
      lakes.set(side.col, side.row, kTaken);
      if (!tryAppend(patch, side)) return false;
    }
  return true;
}

/// Levels one patch.
template <class Elevations, class Gradients>
void level(const DEM_type& dem, const std::vector<ColRow>& patch, float maxSlope, Elevations elevations,
           Gradients gradients) {
  const auto missing = missingIn(dem.elev);
  double sum = 0;
  int64_t count = 0;
  for (const ColRow& cell : patch) {
    const float z = elevations.get(cell.col, cell.row);
    const float gradient = gradients.get(cell.col, cell.row);
    if (missing(z) || !(gradient >= 0.0F && gradient < maxSlope)) continue;
    sum += static_cast<double>(z);
    ++count;
  }
  if (count == 0) return;
  const auto mean = static_cast<float>(sum / static_cast<double>(count));
  for (const ColRow& cell : patch)
    if (!missing(elevations.get(cell.col, cell.row))) elevations.set(cell.col, cell.row, mean);
}

}  // namespace

int Hydroflatten(DEM_type& dem, std::string_view lakes, float maxSlope) {
  Attempt attempt{dem.status};
  putMessage("Hydroflatting " + std::string(lakes));
  if (!dem.elev.GridExists()) return fail(kTag, "Elevations not loaded");
  if (dem.GetGrad() != kSuccess) return fail(kTag, "GetGrad failed");
  if (!SameGridGeometry(dem.elev, dem.grad))
    return fail(kTag, "The gradient has another extent than the DEM");
  I4Grid_type cells;
  if (readAreaMask(dem, lakes, {.routine = kTag, .what = "lake mask"}, cells) != kSuccess) return kFailure;
  std::vector<ColRow> patch;
  const auto levelAll = [&](auto mask, auto elevations, auto gradients) {
    for (int32_t row = 1; row <= dem.rows(); ++row)
      for (int32_t col = 1; col <= dem.cols(); ++col) {
        if (mask.get(col, row) == kTaken) continue;
        if (!collectPatch(dem, mask, {.col = col, .row = row}, patch))
          return cannotAllocate(kTag, "cells of a lake");
        level(dem, patch, maxSlope, elevations, gradients);
      }
    return kSuccess;
  };
  const int levelled = withCells(cells, kTag, [&](auto mask) {
    return withCells(dem.elev, kTag, [&](auto elevations) {
      return withCells(dem.grad, kTag, [&](auto gradients) { return levelAll(mask, elevations, gradients); });
    });
  });
  return levelled == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
