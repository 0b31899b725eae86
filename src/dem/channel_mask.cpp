#include "dem/channel_mask.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dem/grids.h"
#include "dem/input_mask.h"
#include "dem/input_vectors.h"
#include "dem/mask_heads.h"
#include "dem/operations.h"
#include "foundation/file_names.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "grid/cell_view.h"
#include "grid/float_raster.h"
#include "grid/region_walk.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FlowDirection in DEM_Module";

// ---- the cells of a mask ----

int burnMaskLines(const DEM_type& dem, std::string_view name, I4Grid_type& cells) {
  putMessage("Reading channel mask shapefile " + std::string(name));
  LineVectorType lines;
  const VectorTexts failure{.routine = kTag, .message = "ReadPolylineShapefile failed for "};
  if (readLines(dem, name, lines, failure) != kSuccess) return kFailure;
  if (CreateGrid(cells, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for ichan");
  putMessage("Rasterizing channel mask");
  if (lines.Rasterize(cells, {.ival = 1}) == kSuccess) return kSuccess;
  return fail(kTag, "Rasterize failed for channel mask");
}

int readMask(const DEM_type& dem, const ChannelMask& mask, I4Grid_type& cells) {
  const std::string name = stripExtension(trimmed(mask.file));
  if (!rasterExists(name)) return burnMaskLines(dem, name, cells);
  putMessage("Reading channel mask .flt file");
  diagnose("ReadGrid ichanI4");
  return readMaskRaster(dem, name, {.routine = kTag, .what = "channel mask"}, cells);
}

/// Takes sections out of a mask that water cuts off and that have too few cells.
int dropSections(const I1Grid_type& water, double leastCells, I4Grid_type& ichan) {
  constexpr int32_t kDry = 1;
  constexpr int32_t kWet = 2;
  constexpr int32_t kSeen = 3;
  putMessage("Removing small channel sections isolated by the water mask");
  if (RowPass{changing(ichan), reading(water)}.run(
          kTag, [](int32_t, std::span<int32_t> cells, std::span<const int8_t> wet) {
            for (std::size_t i = 0; i < cells.size(); ++i)
              cells[i] = cells[i] <= 0 ? 0 : wet[i] != 0 ? kWet : kDry;
          }) != kSuccess)
    return kFailure;
  bool isCutOff = false;
  return repaintRegions(
      ichan, kDry, kSeen, {kTag, "edge1 array"}, [&](int32_t value) { isCutOff |= value == kWet; },
      [&](int64_t count) {
        const bool drops = std::exchange(isCutOff, false) && static_cast<double>(count) < leastCells;
        return drops ? 0 : kSeen;
      });
}

/// No swale lies in water.
int leaveOutWater(const I1Grid_type& water, R4Grid_type& chan) {
  return RowPass{changing(chan), reading(water)}.run(
      kTag, [](int32_t, std::span<float> depths, std::span<const int8_t> wet) {
        for (std::size_t i = 0; i < depths.size(); ++i)
          if (wet[i] != 0) depths[i] = 0.0F;
      });
}

// ---- where digging is preferred ----

int readPreferential(const DEM_type& dem, const PreferentialFlow& paths, R4Grid_type& grid) {
  putMessage("Reading preferential flow raster for selective drainage enforcement");
  if (readRaster(grid, paths.raster) != kSuccess) return fail(kTag, "ReadGrid failed for " + paths.raster);
  if (dem.feetConverted) FeetToMeters(grid);
  if (grid.ncols != dem.ncols || grid.nrows != dem.nrows || !sameR8(grid.xmin, dem.xmin) ||
      !sameR8(grid.ymin, dem.ymin))
    return fail(kTag, "  Preferential flow raster and DEM have different extent");
  if (!(paths.buffer > 0.0F)) return kSuccess;
  putMessage(" Buffering preferential flow paths; buffer (m) = ", paths.buffer);
  // What lies off the paths is 0 for the buffer, data or not.
  const auto toZero = [](int32_t, std::span<float> cells) {
    for (float& cell : cells)
      if (!(cell > 0.0F)) cell = 0.0F;
  };
  if (RowPass{changing(grid)}.run(kTag, toZero) == kSuccess &&
      grid.bufferR4(static_cast<double>(paths.buffer), 1.0F) == kSuccess)
    return kSuccess;
  return fail(kTag, "Error applying buffer");
}

// ---- swales ----

/// The grids of one swale, as cells.
template <class Elevations, class Gradients, class Mask, class Depths>
struct SwaleCells {
  Elevations elevations;
  Gradients gradients;
  Mask mask;
  Depths depths;
};
template <class... Cells>
SwaleCells(Cells...) -> SwaleCells<Cells...>;

/// Deepens the swale around one cell of a mask. `isPath(col, row)` tells which cells may be dug.
template <class Cells, class IsPath>
void deepenAround(const DEM_type& dem, const ChannelMask& mask, ColRow centre, int32_t radius,
                  const Cells& cells, IsPath isPath) {
  const double r = radius;
  for (int32_t row = std::max(centre.row - radius, 1); row <= std::min(centre.row + radius, dem.rows());
       ++row)
    for (int32_t col = std::max(centre.col - radius, 1); col <= std::min(centre.col + radius, dem.cols());
         ++col) {
      const double dx = col - centre.col;
      const double dy = row - centre.row;
      const double square = dx * dx + dy * dy;
      if (!(square < r * r)) continue;
      const float gradient = cells.gradients.get(col, row);
      if (!(gradient >= 0.0F) || gradient > mask.maxSlope || !isPath(col, row)) continue;
      const double share = std::max(1.0 - std::sqrt(square) / r, 0.0);
      double depth = share * (dem.cellsize * static_cast<double>(gradient) + static_cast<double>(mask.dig));
      if (cells.mask.get(col, row) > 0) depth += 0.25 * static_cast<double>(mask.dig);
      if (const auto deeper = static_cast<float>(depth); deeper > cells.depths.get(col, row))
        cells.depths.set(col, row, deeper);
    }
}

/// Deepens `chan` along one mask. Without `paths` every cell may be dug. Gives the number of mask cells.
int64_t makeSwale(DEM_type& dem, const ChannelMask& mask, I4Grid_type& ichan, R4Grid_type* paths,
                  R4Grid_type& chan) {
  const double cellsAcross = static_cast<double>(mask.radius) / dem.cellsize;
  const int32_t most = std::max(dem.cols(), dem.rows());
  const auto radius = static_cast<int32_t>(std::clamp(std::round(cellsAcross), 1.0, double(most)));
  int64_t count = 0;
  const auto dig = [&](const auto& cells, auto isPath) {
    for (int32_t row = 1; row <= dem.rows(); ++row)
      for (int32_t col = 1; col <= dem.cols(); ++col)
        if (cells.mask.get(col, row) > 0 && cells.elevations.get(col, row) != 0.0F) {
          ++count;
          deepenAround(dem, mask, {.col = col, .row = row}, radius, cells, isPath);
        }
  };
  withCells(dem.elev, kTag, [&](auto elevations) {
    withCells(dem.grad, kTag, [&](auto gradients) {
      withCells(ichan, kTag, [&](auto maskCells) {
        withCells(chan, kTag, [&](auto depths) {
          const SwaleCells cells{elevations, gradients, maskCells, depths};
          if (paths == nullptr)
            dig(cells, [](int32_t, int32_t) { return true; });
          else
            withCells(*paths, kTag, [&](auto path) {
              dig(cells, [path](int32_t col, int32_t row) { return path.get(col, row) > 0.0F; });
            });
        });
      });
    });
  });
  return count;
}

/// Adds `sign` times the depths to the elevations that are dug.
int changeByDepths(DEM_type& dem, R4Grid_type& chan, float sign) {
  return RowPass{changing(dem.elev), reading(chan)}.run(
      kTag, [sign](int32_t, std::span<float> elevations, std::span<const float> depths) {
        for (std::size_t i = 0; i < elevations.size(); ++i)
          if (depths[i] > 0.0F && elevations[i] > 0.0F) elevations[i] += sign * depths[i];
      });
}

}  // namespace

double ChannelMasks::deepest() const {
  double deepest = 2.0;
  for (const ChannelMask& mask : masks) deepest = std::max(deepest, static_cast<double>(mask.dig));
  return deepest;
}

double ChannelMasks::steepest() const {
  double steepest = 0.0;
  for (const ChannelMask& mask : masks) steepest = std::max(steepest, static_cast<double>(mask.maxSlope));
  return steepest;
}

bool ChannelMasks::tellOfHeads() const { return std::ranges::any_of(masks, &ChannelMask::tellsOfHeads); }

int digChannels(DEM_type& dem, const ChannelMasks& channels, R4Grid_type& chan, I1Grid_type* initMask) {
  diagnose("CreateGrid for chan");
  if (CreateGrid(chan, {.like = &dem.elev, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for chan");
  if (initMask != nullptr && channels.tellOfHeads() && !initMask->GridExists() &&
      CreateGrid(*initMask, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "Unable to create initMask grid");
  if (dem.GetGrad() != kSuccess) return fail(kTag, "Error opening gradient flt raster");
  R4Grid_type paths;
  if (channels.preferential && readPreferential(dem, *channels.preferential, paths) != kSuccess)
    return kFailure;
  for (const ChannelMask& mask : channels.masks) {
    if (mask.selective && !channels.preferential)
      return fail(kTag, "Selective Enforcement List not provided");
    I4Grid_type ichan;
    if (readMask(dem, mask, ichan) != kSuccess) return kFailure;
    if (channels.water != nullptr && mask.minLength > 0.0F &&
        dropSections(*channels.water, static_cast<double>(mask.minLength) / dem.cellsize, ichan) != kSuccess)
      return kFailure;
    if (!mask.selective) putMessage("Creating channel mask swale");
    if (makeSwale(dem, mask, ichan, mask.selective ? &paths : nullptr, chan) == 0)
      return reportError({.routine = kTag,
                          .code = kOwnWords,
                          .message1 = "Channel mask does not overlap DEM",
                          .message2 = "  " + mask.file});
    if (initMask != nullptr && mask.tellsOfHeads() && markHeads(dem, mask, ichan, *initMask) != kSuccess)
      return kFailure;
    diagnose("DestroyGrid for ichan");
  }
  if (channels.water != nullptr && leaveOutWater(*channels.water, chan) != kSuccess) return kFailure;
  putMessage(" Using channel mask to guide channel locations");
  return changeByDepths(dem, chan, -1.0F);
}

int undigChannels(DEM_type& dem, R4Grid_type& chan) {
  return changeByDepths(dem, chan, 1.0F) == kSuccess ? kSuccess : fail(kTag, "unDig_it failed");
}

}  // namespace terrain
