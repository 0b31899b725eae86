#include "run/accumulation.h"

#include <algorithm>
#include <cmath>

#include "foundation/messages.h"
#include "foundation/progress.h"
#include "grid/geometry.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "run/bands.h"
#include "run/merged_walks.h"
#include "run/walks.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";
constexpr float kLargestSpecificArea = 1000000.0F;

/// The walks and the final pass read whole rows of every grid: each must have the extent of `like`.
int checkGrids(const WalkValues& values, const AccumulationGrids& grids, const Grid_Header& like) {
  struct Needed {
    bool needed;
    const R4Grid_type& grid;
    std::string_view name;
  };
  for (const Needed& one :
       {Needed{true, grids.aspect, "aspect"}, Needed{values.byTime, grids.grad, "gradient"},
        Needed{values.specific, grids.bcon, "contour length"}}) {
    if (!one.needed) continue;
    if (!one.grid.GridExists()) return fail(kTag, std::string("There is no grid of ").append(one.name));
    if (!SameGridGeometry(like, one.grid))
      return fail(kTag, std::string("The grid of ").append(one.name).append(" has another extent"));
  }
  return kSuccess;
}

/// The value of a cell in the output raster; a contour length of 0 leaves the count.
float finalValue(float total, float aspect, float contour) {
  if (std::isnan(aspect) || aspect < 0.0F) return kNodata;
  return contour > 0.0F ? std::min(total / contour, kLargestSpecificArea) : total;
}

/// From the totals in `accum` to the output raster.
int finalPass(const WalkValues& values, const AccumulationGrids& grids) {
  const auto finish = [&](int32_t, std::span<float> cells, std::span<const float> aspects,
                          std::span<const float> contours = {}) {
    for (std::size_t c = 0; c < cells.size(); ++c)
      cells[c] = finalValue(cells[c], aspects[c], contours.empty() ? 0.0F : contours[c]);
  };
  constexpr std::string_view name = "rows of the final pass";
  if (values.specific)
    return RowPass{changing(grids.accum, name), reading(grids.aspect, name), reading(grids.bcon, name)}.run(
        kTag, finish);
  return RowPass{changing(grids.accum, name), reading(grids.aspect, name)}.run(kTag, finish);
}

/// Every walk by itself, band by band.
int walkSingly(const WalkValues& values, const AccumulationGrids& grids, const Grid_Header& like) {
  float shortest = 0;
  if (shortestStep(values, grids.grad, shortest) != kSuccess) return kFailure;
  const int32_t margin = stepsWithin(values, shortest, like.rows());
  ProgressLine progress(like.rows());
  return forEachBand(values, like, margin, [&](const Band& band) {
    Walks walks;
    if (walks.prepare(values, grids.grad, grids.aspect, band.withMargins) != kSuccess ||
        walks.keepWalksTo(band.rows) != kSuccess)
      return kFailure;
    int32_t row = band.withMargins.first;
    walks.walkAll([&] {
      if (row >= band.rows.first && row <= band.rows.last) progress.advance();
      ++row;
    });
    return storeTotals(walks.table(), band, grids.accum);
  });
}

}  // namespace

int accumulateCells(const WalkValues& limits, const AccumulationGrids& grids, const Grid_Header& like,
                    const VersionStamp* programInfo) {
  WalkValues values = limits;
  values.cellDistance = stepLengths(like.cellsize);
  const float c = values.cellDistance[1];
  // Walks end because every step has a length above 0.
  if (!std::isfinite(c) || !(c > 0.0F)) return fail(kTag, "The cell size must be above 0");
  if (checkGrids(values, grids, like) != kSuccess) return kFailure;
  if (CreateGrid(grids.accum, {.like = &like, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return kFailure;
  if (programInfo != nullptr) grids.accum.SetVersion(*programInfo);
  putMessage("Accumulating");
  MergedResult merged;
  if ((values.merged ? mergeWalks(values, grids, merged) : walkSingly(values, grids, like)) != kSuccess)
    return kFailure;
  return finalPass(values, grids);
}

}  // namespace terrain
