#include "dem/initiation_points.h"

#include <algorithm>
#include <cmath>

#include "dem/initiation_marks.h"
#include "dem/input_vectors.h"
#include "foundation/messages.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "InitFlowDirection in DEM_Module";

/// Calls use(cell) for the cells of the DEM whose middle is within the radius, in row order.
template <class Use>
void forEachWithin(const DEM_type& dem, ColRow at, double radius, Use use) {
  const double cells = radius / dem.cellsize;
  const auto reach = static_cast<int32_t>(std::min(cells, double{1e6}));
  const Window window = dem.clipped(
      {.col1 = at.col - reach, .col2 = at.col + reach, .row1 = at.row - reach, .row2 = at.row + reach});
  for (int32_t row = window.row1; row <= window.row2; ++row)
    for (int32_t col = window.col1; col <= window.col2; ++col)
      if (std::hypot(col - at.col, row - at.row) <= cells) use(ColRow{.col = col, .row = row});
}

}  // namespace

int readInitiationPoints(const DEM_type& dem, const InitiationPoints& settings, std::vector<ColRow>& cells) {
  putMessage("Processing initiaton point shapefile " + settings.file);
  PointVectorType points;
  if (readPoints(dem, settings.file, points,
                 {.routine = kTag, .message = "Error reading CHANNEL INITATION POINT FILE "}) != kSuccess)
    return kFailure;
  putMessage("  Number of points: ", std::ssize(points.point));
  if (settings.above) putMessage("  Looking at or above each point");
  cells = cellsOfPoints(dem, points);
  std::erase_if(cells,
                [&](ColRow cell) { return dem.elev.value(cell.col, cell.row, kTag) == dem.elev.nodata; });
  putMessage("  Points on the data of the DEM: ", std::ssize(cells));
  return kSuccess;
}

int moveToMostFlow(const DEM_type& dem, const R4Grid_type& area, double radius, std::vector<ColRow>& cells) {
  for (ColRow& cell : cells) {
    ColRow best = cell;
    float most = area.value(cell.col, cell.row, kTag);
    forEachWithin(dem, cell, radius, [&](ColRow other) {
      const float value = area.value(other.col, other.row, kTag);
      if (!(value > most)) return;
      most = value;
      best = other;
    });
    cell = best;
  }
  return area.status;
}

void markInitiationPoint(const DEM_type& dem, ColRow at, double radius, I1Grid_type& initMask) {
  const auto mark = [&](ColRow cell, int8_t value) {
    const int8_t before = initMask.value(cell.col, cell.row, kTag);
    initMask.setCell(cell.col, cell.row, initiation_mark::stronger(before, value), {});
  };
  forEachWithin(dem, at, radius, [&](ColRow cell) { mark(cell, initiation_mark::allowed); });
  mark(at, initiation_mark::forced);
}

int weighBuffer(const DEM_type& dem, const PointBuffer& buffer, const std::vector<ColRow>& cells,
                R4Grid_type& weight) {
  I4Grid_type points;
  if (CreateGrid(points, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for initiation points");
  for (const ColRow& cell : cells) points.setCell(cell.col, cell.row, 1, {});
  weight = points.distanceTo(buffer.outer + dem.cellsize);  // which measures whole cells only
  if (weight.status != kSuccess) return kFailure;
  return RowPass{changing(weight)}.run(kTag, [&](int32_t, std::span<float> values) {
    for (float& value : values) {
      const auto away = static_cast<double>(value);
      const double part = (buffer.outer - away) / (buffer.outer - buffer.inner);
      value = away <= buffer.inner ? 1.0F : away < buffer.outer ? static_cast<float>(part) : 0.0F;
    }
  });
}

}  // namespace terrain
