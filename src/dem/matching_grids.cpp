// Rasters that must match the DEM as they are, and the grids that are computed where no raster is named.

#include <cmath>

#include "dem/grids.h"
#include "dem/input_raster.h"
#include "dem/naming.h"
#include "dem/operations.h"
#include "foundation/file_names.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "grid/raster_header.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"

namespace terrain {

namespace {

using Name = std::optional<std::string_view>;

struct MatchingTexts {
  std::string_view routine;
  std::string_view what;        // in the comparisons
  std::string_view readFailed;  // followed by the name
  std::string_view calculating{};
};
constexpr MatchingTexts kPin{dem_grids::pin.routine, "Pin", "ReadGridFile failed for "};
constexpr MatchingTexts kSlope{"GetSlope in DEM_Module", "Slope", "ReadGrid failed for ",
                               "  Calculating slope"};
constexpr MatchingTexts kPlan{"GetPlanCurvature in DEM_Module", "PlanCurvature", "ReadGrid failed for ",
                              "  Calculating Plan Curvature"};

// ---- reading ----

/// The three comparisons of a raster with the DEM, each with a message of its own and both extents.
int compareWithDEM(const DEM_type& dem, const Grid_Header& raster, std::string_view name,
                   const MatchingTexts& texts) {
  const auto differ = [&](std::string_view how) {
    const std::string message = std::string(texts.what).append(" and DEM ").append(how);
    return reportMismatch(dem, raster, name, {.routine = texts.routine, .message = message});
  };
  if (raster.ncols != dem.ncols || raster.nrows != dem.nrows) return differ("size do not match");
  if (!sameR8(raster.cellsize, dem.cellsize)) return differ("cellsize does not match");
  if (!sameR8(raster.xmin, dem.xmin) || !sameR8(raster.ymin, dem.ymin))
    return differ("lower left corner do not match");
  return kSuccess;
}

/// Reads a whole raster and compares it with the DEM; a grid without cells where they differ.
int readMatching(const DEM_type& dem, R4Grid_type& grid, std::string_view name, const MatchingTexts& texts) {
  if (readRaster(grid, name, {.onDisk = grid.onDisk}) != kSuccess)
    return fail(texts.routine, std::string(texts.readFailed).append(stripped(name)));
  if (dem.feetConverted) FeetToMeters(grid);
  if (compareWithDEM(dem, grid, name, texts) == kSuccess) return kSuccess;
  DestroyGrid(grid);
  return kFailure;
}

/// Name of the pin raster by the DEM's directory, length scale and identifier; blank, with a report, where
/// the length scale gives no tag.
std::string nameOfPin(const DEM_type& dem) {
  constexpr double largest = 99999.0;  // a field of 5
  if (!(dem.len_scale > 0)) {
    fail(kPin.routine, "DEM length scale unknown");
    return {};
  }
  if (std::round(dem.len_scale) > largest) {
    fail(kPin.routine, "Error reading DEM%len_scale");
    return {};
  }
  const auto withTag = [&](std::string_view tag) {
    return withSeparator(dem.path).append(dem_grids::pin.prefix).append(tag).append(stripped(dem.demID));
  };
  const std::string rounded = withTag(dem.lengthName());
  const std::string truncated = withTag(truncatedLengthName(dem.len_scale));
  return !rasterExists(rounded) && rasterExists(truncated) ? truncated : rounded;
}

// ---- computing ----

int planCurvatures(R4Grid_type& elev, float length, R4Grid_type& out) {
  return RowPass{filling(out)}.run(kPlan.routine, [&](int32_t row, std::span<float> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const auto col = static_cast<int32_t>(i + 1);
      float curvature = out.nodataValue();
      const bool there =
          elev.ExtractR4ValueColRow(col, row) != elev.nodataValue() &&
          elev.surfaceMetrics({.length = length, .col = col, .row = row, .plan = &curvature}) == kSuccess;
      cells[i] = there ? curvature : out.nodataValue();
    }
  });
}

/// A grid that `fill(elev, length, grid)` computes from the elevations at the length scale.
template <class Fill>
int computeGrid(DEM_type& dem, R4Grid_type& grid, const MatchingTexts& texts, Fill fill) {
  if (!(dem.len_scale > 0)) return fail(texts.routine, "DEM length scale unknown");
  if (!dem.elev.GridExists() && dem.GetElev() != kSuccess) return fail(texts.routine, "GetElev failed");
  putMessage(texts.calculating);
  if (CreateGrid(grid, {.like = &dem}) == kSuccess &&
      fill(dem.elev, static_cast<float>(dem.len_scale), grid) == kSuccess)
    return kSuccess;
  if (grid.ncols) DestroyGrid(grid);
  return kFailure;
}

/// A grid that is read where a name is given and computed where none is. A blank name gives an empty grid.
template <class Fill>
R4Grid_type readOrCompute(DEM_type& dem, const Name& name, const MatchingTexts& texts, Fill fill) {
  R4Grid_type grid;
  int done = kSuccess;
  if (!name)
    done = computeGrid(dem, grid, texts, fill);
  else if (!isBlank(*name))
    done = readMatching(dem, grid, *name, texts);
  grid.status = dem.status = done;
  return grid;
}

}  // namespace

int getPin(DEM_type& dem, Name name) {
  Attempt attempt{dem.status, dem.pin.status};
  if (dem.pin.GridExists()) {
    diagnose("DestroyGrid for Pin");
    DestroyGrid(dem.pin);
  }
  std::string file(stripped(name.value_or("")));
  if (file.empty()) file = nameOfPin(dem);
  if (file.empty()) return kFailure;
  if (!rasterExists(rasterStem(file)))
    return reportError({.routine = kPin.routine, .file = file, .message1 = "Cannot find pin_ID grid"});
  return attempt.end(readMatching(dem, dem.pin, file, kPin));
}

R4Grid_type getSlope(DEM_type& dem, Name name) {
  return readOrCompute(dem, name, kSlope, [](const R4Grid_type& elev, float length, R4Grid_type& grid) {
    return surfaceRasters(elev, length, {{&grid, SurfaceMetric::gradient}});
  });
}

R4Grid_type getPlanCurvature(DEM_type& dem, Name name) {
  return readOrCompute(dem, name, kPlan, planCurvatures);
}

}  // namespace terrain
