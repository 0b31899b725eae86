#include "run/accumulation.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/storage.h"
#include "run/walks.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";
constexpr float kMostSpecificArea = 1000000.0F;

/// What the final pass makes of a cell.
float finished(float total, float aspect, float contour, bool specific) {
  if (std::isnan(aspect) || aspect < 0.0F) return kNodata;
  if (!specific || !(contour > 0.0F)) return total;
  return std::min(total / contour, kMostSpecificArea);
}

int finalPass(const WalkValues& values, const AccumulationGrids& grids, Walks& walks) {
  const auto cols = static_cast<std::size_t>(grids.accum.cols());
  std::vector<float> totals;
  std::vector<float> aspects;
  std::vector<float> contours;
  if (!tryAllocate(totals, cols) || !tryAllocate(aspects, cols) || !tryAllocate(contours, cols))
    return cannotAllocate(kTag, "rows of the final pass");
  for (int32_t row = 1; row <= grids.accum.rows(); ++row) {
    walks.totals(row, totals);
    if (grids.aspect.readRow(row, aspects) != kIoOk) return reportScratchRead(kTag, grids.aspect);
    if (values.specific && grids.bcon.readRow(row, contours) != kIoOk)
      return reportScratchRead(kTag, grids.bcon);
    for (std::size_t c = 0; c < cols; ++c)
      totals[c] = finished(totals[c], aspects[c], contours[c], values.specific);
    if (grids.accum.SetR4row(row, totals) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

int accumulateCells(WalkValues& values, const AccumulationGrids& grids, const Grid_Header& like,
                    const VersionStamp* programInfo) {
  values.cellDistance = stepLengths(like.cellsize);
  const float c = values.cellDistance[1];
  // Walks end because every step is longer than nothing.
  if (!std::isfinite(c) || !(c > 0.0F))
    return reportError({.routine = kTag, .message1 = "The cell size must be above 0"});
  if (CreateGrid(grids.accum, {.like = &like, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return kFailure;
  if (programInfo != nullptr) grids.accum.SetVersion(*programInfo);
  putMessage("Accumulating");
  const bool onDisk = grids.accum.onDisk || grids.aspect.onDisk || (values.byTime && grids.grad.onDisk);
  Walks walks;
  if (walks.prepare(values, grids.grad, grids.aspect, onDisk ? WalkStorage::disk : WalkStorage::memory) !=
      kSuccess)
    return kFailure;
  walks.walkAll();
  return finalPass(values, grids, walks);
}

}  // namespace terrain
