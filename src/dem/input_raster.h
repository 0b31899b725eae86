#pragma once
// Rasters that come from outside, checked against the DEM that they are used with.

#include <string_view>

#include "dem/dem.h"
#include "grid/float_raster.h"

namespace terrain {

/// Routine and message of the report that a raster and the DEM differ.
struct MatchTexts {
  std::string_view routine{};
  std::string_view message{};
};

/// A report with the names of both files, their sizes and their corners; -1.
int reportMismatch(const DEM_type& dem, const Grid_Header& raster, std::string_view name,
                   const MatchTexts& texts);

/// True if the raster has the DEM's counts, corners and cell sizes. If not, the report above.
[[nodiscard]] bool matchesDEM(const DEM_type& dem, const Grid_Header& raster, std::string_view name,
                              const MatchTexts& texts);

/// Reads a raster that must match the DEM; `unreadable` and its name are reported where it cannot be read. 0,
/// or -1 with a report.
int readMatchingRaster(const DEM_type& dem, std::string_view name, std::string_view unreadable,
                       const MatchTexts& texts, R4Grid_type& grid);

/// True if every cell of `extent` lies in the raster, half a cell of tolerance aside.
[[nodiscard]] bool coversExtent(const Grid_Header& raster, const Grid_Header& extent);

/// Multiplies every valid cell, in float32. 0, or -1 with a report.
int scaleValid(R4Grid_type& grid, float factor, std::string_view routine);

}  // namespace terrain
