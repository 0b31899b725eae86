#include "run/surface_repairs.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dem/hydroflatten.h"
#include "dem/input_mask.h"
#include "dem/input_vectors.h"
#include "dem/ocean.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "grid/missing.h"
#include "grid/rows.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "InitFlowDirection in DEM_Module";

int floodZeros(DEM_type& dem, const SeaPoint& point) {
  putMessage("Flooding zero to nodata");
  const std::optional<ColRow> cell = dem.elev.cellHolding(*point.x, *point.y);
  if (!cell) return fail(kTag, "The point of FLOOD ZERO TO NODATA is not on the DEM");
  if (dem.elev.value(cell->col, cell->row, kTag) != 0.0F)
    return fail(kTag, "The elevation at the point of FLOOD ZERO TO NODATA is not 0");
  return dem.elev.FloodZeroToNodata(cell->col, cell->row);
}

/// Cells below 0 become 0; where angles are kept only those without one.
int raiseNegatives(DEM_type& dem) {
  const auto raise = [missing = missingIn(dem.elev)](float& cell) {
    if (!missing(cell) && cell < 0.0F) cell = 0.0F;
  };
  if (!dem.flowMode.keepAngles)
    return RowPass{changing(dem.elev)}.run(kTag, [&](int32_t, std::span<float> cells) {
      for (float& cell : cells) raise(cell);
    });
  if (dem.GetAspect() != kSuccess) return fail(kTag, "getAspect failed");
  return RowPass{changing(dem.elev), reading(dem.aspect)}.run(
      kTag, [&](int32_t, std::span<float> cells, std::span<const float> angles) {
        for (std::size_t i = 0; i < cells.size(); ++i)
          if (!(angles[i] >= 0.0F)) raise(cells[i]);
      });
}

int applyMask(DEM_type& dem, const NodataMask& mask) {
  putMessage("Using nodataMask " + mask.file);
  I4Grid_type cells;
  if (readAreaMask(dem, mask.file, {.routine = kTag, .what = "nodataPoly"}, cells) != kSuccess)
    return kFailure;
  return RowPass{changing(dem.elev), reading(cells)}.run(
      kTag, [&](int32_t, std::span<float> elevations, std::span<const int32_t> marks) {
        for (std::size_t i = 0; i < marks.size(); ++i)
          if ((marks[i] != 0) == mask.inside && !(mask.cutoff && elevations[i] >= *mask.cutoff))
            elevations[i] = dem.elev.nodata;
      });
}

/// What zeros become: the lowest elevation, or, where zero is nodata, the lowest one above it.
int lowestElevation(const DEM_type& dem, bool zeroIsNodata, float& lowest) {
  lowest = std::numeric_limits<float>::max();
  return RowPass{reading(dem.elev)}.run(
      kTag, [&, missing = missingIn(dem.elev)](int32_t, std::span<const float> cells) {
        for (const float cell : cells)
          if (!missing(cell) && !(zeroIsNodata && cell <= 0.0F)) lowest = std::min(lowest, cell);
      });
}

int replaceZeros(DEM_type& dem, float by) {
  return RowPass{changing(dem.elev)}.run(
      kTag, [by](int32_t, std::span<float> cells) { std::ranges::replace(cells, 0.0F, by); });
}

/// The cells of the points become nodata, so that the water around leaves the DEM there.
int openDrains(DEM_type& dem, const std::string& file) {
  putMessage("Using closed depression drain points from " + file);
  PointVectorType points;
  if (readPoints(dem, file, points, {.routine = kTag, .message = "readPointShapefile failed for "}) !=
      kSuccess)
    return kFailure;
  const std::vector<ColRow> cells = cellsOfPoints(dem, points);
  for (const ColRow& cell : cells) dem.elev.setCell(cell.col, cell.row, dem.elev.nodata, {});
  putMessage("  Cells that drain: ", std::ssize(cells));
  return dem.elev.status;
}

int lowerGround(DEM_type& dem, const SurfaceRepairs& repairs) {
  if (!repairs.crossings.file.empty() && SmoothRoadCrossings(dem, repairs.crossings) != kSuccess)
    return kFailure;
  if (!repairs.excavateFile.empty() && Excavate(dem, repairs.excavateFile) != kSuccess) return kFailure;
  if (repairs.trenches.empty()) return kSuccess;
  float lowest = 0;
  if (lowestElevation(dem, repairs.zeroIsNodata, lowest) != kSuccess) return kFailure;
  for (LineExcavation trench : repairs.trenches) {
    putMessage("Excavating based on " + trench.file);
    putMessage("  Buffer: ", trench.radius);
    trench.minElevation =
        std::nextafter(lowest, -std::numeric_limits<float>::max());  // the lowest cell is ground
    if (ExcavateLine(dem, trench) != kSuccess) return fail(kTag, "excavateLine failed");
  }
  return kSuccess;
}

}  // namespace

double SurfaceRepairs::waterDepth() const {
  double depth = 0;
  for (const WaterMask& mask : waterMasks) depth += static_cast<double>(mask.lowerBy) + 1;
  return depth;
}

int flattenWater(DEM_type& dem, const SurfaceRepairs& repairs, I1Grid_type& initMask, WaterCells& water) {
  for (std::size_t i = 0; i < repairs.waterMasks.size(); ++i) {
    WaterMask mask = repairs.waterMasks[i];
    putMessage("Watermask file: " + mask.file);
    if (repairs.keepWaterGrids)
      mask.gridSuffix = i == 0 ? "" : std::string("_").append(std::to_string(i + 1));
    if (FlattenWatermask(dem, mask, initMask, water) != kSuccess)
      return fail(kTag, "flattenWatermask failed");
  }
  return kSuccess;
}

int repairSurface(DEM_type& dem, const SurfaceRepairs& repairs) {
  if (repairs.zeroSea && floodZeros(dem, *repairs.zeroSea) != kSuccess) return kFailure;
  if (repairs.coastline) {
    putMessage("Imposing coastline");
    if (MaskOcean(dem, repairs.coastline->file, repairs.coastline->minElevation) != kSuccess)
      return fail(kTag, "Error reading coastline shapefile");
  }
  if (repairs.holes && dem.elev.FillHoles(*repairs.holes) != kSuccess) return fail(kTag, "FillHoles failed");
  return kSuccess;
}

int maskSurface(DEM_type& dem, const SurfaceRepairs& repairs) {
  if (repairs.zeroRadius > 0 && checkZeros(dem.elev, repairs.zeroRadius) != kSuccess)
    return fail(kTag, "checkZeros failed");
  if (repairs.raiseNegatives && raiseNegatives(dem) != kSuccess) return kFailure;
  for (const NodataMask& mask : repairs.nodataMasks)
    if (applyMask(dem, mask) != kSuccess) return kFailure;
  if (repairs.lakes && Hydroflatten(dem, repairs.lakes->file, repairs.lakes->maxSlope) != kSuccess)
    return kFailure;
  if (!repairs.drainPoints.empty() && openDrains(dem, repairs.drainPoints) != kSuccess) return kFailure;
  if (lowerGround(dem, repairs) != kSuccess) return kFailure;
  if (repairs.lowerZeros) {
    putMessage("Lowering zeros");
    float lowest = 0;
    if (lowestElevation(dem, repairs.zeroIsNodata, lowest) != kSuccess ||
        replaceZeros(dem, lowest) != kSuccess)
      return kFailure;
  }
  if (repairs.zeroIsNodata && replaceZeros(dem, dem.elev.nodata) != kSuccess) return kFailure;
  return kSuccess;
}

}  // namespace terrain
