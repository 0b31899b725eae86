#include "dem/ocean.h"

#include "dem/input_vectors.h"
#include "foundation/messages.h"
#include "grid/cell_view.h"
#include "grid/directions.h"
#include "grid/missing.h"
#include "grid/storage.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "MaskOcean in DEM_Module";

/// Cells of the coastline that are on the DEM.
template <class Coast>
int64_t coastCells(const DEM_type& dem, Coast coast) {
  int64_t count = 0;
  for (int32_t row = 1; row <= dem.elev.rows(); ++row)
    for (int32_t col = 1; col <= dem.elev.cols(); ++col) count += coast.get(col, row) != 0 ? 1 : 0;
  return count;
}

/// Land is what is above the minimum elevation. The interior spreads from the land that is no coast over the
/// sides of cells, and goes on from land alone; all such land is interior from the start, so that what the
/// spread adds are the low cells with such land at a side, and one pass finds them. The coastline is
/// connected by sides and corners and therefore keeps the two sides apart. Setting cells to nodata makes no
/// land and takes none away.
template <class Elevations, class Coast>
void maskCells(const DEM_type& dem, float minElevation, Elevations elevations, Coast coast) {
  const R4Grid_type& elev = dem.elev;
  const auto isLand = [&, missing = missingIn(elev)](int32_t col, int32_t row) {
    const float z = elevations.get(col, row);
    return !missing(z) && z > minElevation;
  };
  const auto isInterior = [&](int32_t col, int32_t row) {
    if (coast.get(col, row) != 0) return false;
    for (const int32_t code : {1, 3, 5, 7}) {
      const ColRow side = stepFrom({.col = col, .row = row}, code);
      if (elev.contains(side) && coast.get(side.col, side.row) == 0 && isLand(side.col, side.row))
        return true;
    }
    return false;
  };
  for (int32_t row = 1; row <= elev.rows(); ++row)
    for (int32_t col = 1; col <= elev.cols(); ++col)
      if (!isLand(col, row) && !isInterior(col, row)) elevations.set(col, row, elev.nodataValue());
}

}  // namespace

int MaskOcean(DEM_type& dem, std::string_view coastline, float minElevation) {
  Attempt attempt{dem.status};
  putMessage("Masking ocean");
  if (!dem.elev.GridExists()) return fail(kTag, "Elevations not loaded");
  LineVectorType lines;
  const VectorTexts failure{.routine = kTag, .message = "ReadPolylineShapefile failed for "};
  if (readLines(dem, coastline, lines, failure) != kSuccess) return kFailure;
  I4Grid_type coast;
  if (CreateGrid(coast, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for coastline");
  if (lines.Rasterize(coast, {.ival = 1}) != kSuccess) return fail(kTag, "Error rasterizing coastline");
  withCells(coast, kTag, [&](auto coastView) {
    if (coastCells(dem, coastView) == 0) putMessage("  The coastline does not overlap the DEM");
    putMessage("  Got interior");
    withCells(dem.elev, kTag, [&](auto elevations) { maskCells(dem, minElevation, elevations, coastView); });
  });
  return attempt.succeed();
}

}  // namespace terrain
