#include "dem/water_mask.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "dem/centre_line.h"
#include "dem/initiation_marks.h"
#include "dem/input_mask.h"
#include "dem/naming.h"
#include "foundation/file_names.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "grid/buffers.h"
#include "grid/cell_view.h"
#include "grid/directions.h"
#include "grid/float_raster.h"
#include "grid/region_walk.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FlattenWatermask in DEM_Module";

void logChoices(const WaterMask& settings) {
  if (settings.preclude)
    putMessage("  No channel initiation within water mask");
  else if (settings.force)
    putMessage("  Channel initiation forced along water mask centerlines");
  else
    putMessage("  Channel initiation allowed along water mask centerlines");
  if (settings.setToMinimum)
    putMessage("  Elevations within mask set to minimum elevation along polygon edges");
  else
    putMessage("  Elevations within mask lowered by amount ", settings.lowerBy);
  if (settings.incise) putMessage("  Water mask incised toward center");
  putMessage("  Maxgrad = ", settings.maxGradient);
  putMessage("  Minimun width for centerline (m): ", settings.minimumWidth);
}

// ---- the mask ----

/// Patches of fewer cells become dry.
int dropSmallPatches(I4Grid_type& mask, double leastCells) {
  constexpr int32_t kKept = 2;
  return repaintRegions(
      mask, water::open, kKept, {kTag, "No memory for the cells of a patch"}, [](int32_t) {},
      [leastCells](int64_t count) { return static_cast<double>(count) < leastCells ? water::dry : kKept; });
}

/// 1 for water with data below it, 0 elsewhere. Gives the number of water cells.
int readMask(const DEM_type& dem, const WaterMask& settings, I4Grid_type& mask, int64_t& count) {
  const std::string name = stripExtension(stripped(settings.file));
  putMessage((rasterExists(name) ? "Reading water mask raster: " : "Reading water mask shapefile: ") + name);
  if (readAreaMask(dem, settings.file, {.routine = kTag, .what = "water mask"}, mask) != kSuccess)
    return kFailure;
  bool found = false;
  const auto isWater = [](int32_t value) { return value > 0; };
  const auto toOne = [](int32_t value, bool near) { return value > 0 || near ? water::open : water::dry; };
  if (widen(mask, settings.radius, kTag, isWater, toOne, found) != kSuccess) return kFailure;
  const auto clean = [&](bool countOnly) {
    count = 0;
    return RowPass{changing(mask), reading(dem.elev)}.run(
        kTag, [&](int32_t, std::span<int32_t> cells, std::span<const float> elevations) {
          for (std::size_t i = 0; i < cells.size(); ++i) {
            const bool isWet = cells[i] > 0 && (countOnly || elevations[i] != dem.elev.nodata);
            cells[i] = isWet ? water::open : water::dry;
            count += isWet ? 1 : 0;
          }
        });
  };
  if (clean(false) != kSuccess) return kFailure;
  const double leastCells = settings.minimumPatchSize / (dem.cellsize * dem.cellsize);
  if (!(leastCells > 1)) return kSuccess;
  return dropSmallPatches(mask, leastCells) == kSuccess ? clean(true) : kFailure;
}

// ---- marks ----

template <class Grid>
int makeUnlessThere(const DEM_type& dem, Grid& grid) {
  return grid.GridExists() ? kSuccess : CreateGrid(grid, {.like = &dem.elev, .fillValue = 0.0F});
}

int markHeads(const DEM_type& dem, const WaterMask& settings, const I4Grid_type& mask,
              I1Grid_type& initMask) {
  if (!settings.preclude && !settings.force) return kSuccess;
  if (makeUnlessThere(dem, initMask) != kSuccess) return fail(kTag, "Unable to create initMask grid");
  const auto mark = [&](int32_t kind) {
    if (settings.preclude) return kind == water::dry ? initiation_mark::open : initiation_mark::none;
    return kind == water::centreLine ? initiation_mark::forced : initiation_mark::open;
  };
  return RowPass{changing(initMask), reading(mask)}.run(
      kTag, [&](int32_t, std::span<int8_t> marks, std::span<const int32_t> classes) {
        for (std::size_t i = 0; i < marks.size(); ++i)
          marks[i] = initiation_mark::stronger(marks[i], mark(classes[i]));
      });
}

int markWater(const DEM_type& dem, const I4Grid_type& mask, WaterCells& water) {
  if (makeUnlessThere(dem, water) != kSuccess) return kFailure;
  return RowPass{changing(water), reading(mask)}.run(
      kTag, [](int32_t, std::span<int8_t> cells, std::span<const int32_t> classes) {
        for (std::size_t i = 0; i < cells.size(); ++i)
          if (classes[i] != water::dry) cells[i] = 1;
      });
}

// ---- elevations ----

/// The grids of the water, as cells.
template <class Mask, class Elevations, class Distances>
class Flattening {
 public:
  Flattening(const DEM_type& dem, const WaterMask& settings, Mask mask, Elevations elevations,
             Distances distances, double scale)
      : dem_(dem),
        settings_(settings),
        mask_(mask),
        elevations_(elevations),
        distances_(distances),
        scale_(scale) {}

  /// False if there is no memory.
  [[nodiscard]] bool flatten(ColRow seed) {
    patch_.clear();
    lowest_ = elevations_.get(seed.col, seed.row);
    if (!take(seed)) return false;
    for (std::size_t next = 0; next < patch_.size(); ++next)
      for (int32_t code = 1; code <= kDirections; ++code) {
        const ColRow side = stepFrom(patch_[next], code);
        if (!dem_.elev.contains(side)) continue;
        const int32_t kind = mask_.get(side.col, side.row);
        if (kind == water::open || kind == water::centreLine) {
          if (!take(side)) return false;
        } else if (kind == water::dry) {
          const float z = elevations_.get(side.col, side.row);
          if (z != dem_.elev.nodata) lowest_ = std::min(lowest_, z);
        }
      }
    for (const ColRow& cell : patch_) rewrite(cell);
    return true;
  }

 private:
  static constexpr int32_t kTaken = 2;  ///< added to the class

  [[nodiscard]] bool take(ColRow cell) {
    mask_.set(cell.col, cell.row, mask_.get(cell.col, cell.row) + kTaken);
    return tryAppend(patch_, cell);
  }
  void rewrite(ColRow cell) {
    const auto [col, row] = cell;
    const bool isLine = mask_.get(col, row) == water::centreLine + kTaken;
    const double base = static_cast<double>(settings_.setToMinimum ? lowest_ : elevations_.get(col, row));
    const auto lowerBy = static_cast<double>(settings_.lowerBy);
    double below = 0;
    if (settings_.incise)
      below = static_cast<double>(distances_.get(col, row)) * scale_ + (isLine ? lowerBy : 0.0);
    else
      below = lowerBy * ((settings_.setToMinimum ? 0 : 1) + (isLine ? 1 : 0));
    elevations_.set(col, row, static_cast<float>(base - below));
    mask_.set(col, row, water::dry);
  }

  const DEM_type& dem_;
  const WaterMask& settings_;
  Mask mask_;
  Elevations elevations_;
  Distances distances_;
  double scale_;
  float lowest_ = 0;
  std::vector<ColRow> patch_;
};

int rewriteElevations(DEM_type& dem, const WaterMask& settings, I4Grid_type& mask, R4Grid_type& distances) {
  putMessage("Masking elevation values");
  float farthest = 0;
  if (RowPass{reading(distances)}.run(kTag, [&](int32_t, std::span<const float> cells) {
        for (const float cell : cells) farthest = std::max(farthest, cell);
      }) != kSuccess)
    return kFailure;
  const double scale = farthest > 0.0F ? 1 / static_cast<double>(farthest) : 0.0;
  return withCells(mask, kTag, [&](auto classes) {
    return withCells(dem.elev, kTag, [&](auto elevations) {
      return withCells(distances, kTag, [&](auto away) {
        Flattening flattening(dem, settings, classes, elevations, away, scale);
        for (int32_t row = 1; row <= dem.rows(); ++row)
          for (int32_t col = 1; col <= dem.cols(); ++col)
            if (classes.get(col, row) > 0 && !flattening.flatten({.col = col, .row = row}))
              return cannotAllocate(kTag, "cells of a patch");
        return kSuccess;
      });
    });
  });
}

int writeGrids(const DEM_type& dem, const std::string& suffix, I4Grid_type& mask, WaterGrids& grids) {
  const auto nameOf = [&](std::string_view what) {
    return dem.path + std::string(what) + identifiersOf(dem) + suffix;
  };
  if (grids.distToEdge.WritefltR4(nameOf("waterMaskDistToEdge_")) == kSuccess &&
      grids.slope.WritefltR4(nameOf("waterMaskSlope_")) == kSuccess &&
      mask.WritefltI4(nameOf("watermaskval_")) == kSuccess)
    return kSuccess;
  return fail(kTag, "WriteFlt failed for intermediate water mask rasters");
}

}  // namespace

int FlattenWatermask(DEM_type& dem, const WaterMask& settings, I1Grid_type& initMask, WaterCells& cells) {
  Attempt attempt{dem.status};
  logChoices(settings);
  if (dem.GetElev() != kSuccess) return fail(kTag, "GetElev failed");
  I4Grid_type mask;
  int64_t count = 0;
  if (readMask(dem, settings, mask, count) != kSuccess) return kFailure;
  if (count == 0) {
    putMessage("");
    putMessage("****** WARNING: Watermask did not mask any portion of the DEM ******");
    putMessage("");
    return attempt.succeed();
  }
  WaterGrids grids;
  if (BuildMask({.minimumWidth = settings.minimumWidth, .maxGradient = settings.maxGradient}, mask, grids) !=
          kSuccess ||
      (settings.gridSuffix && writeGrids(dem, *settings.gridSuffix, mask, grids) != kSuccess) ||
      markHeads(dem, settings, mask, initMask) != kSuccess || markWater(dem, mask, cells) != kSuccess ||
      rewriteElevations(dem, settings, mask, grids.distToEdge) != kSuccess)
    return kFailure;
  putMessage("FlattenWaterMask3 all done");
  return attempt.succeed();
}

}  // namespace terrain
