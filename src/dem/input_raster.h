#pragma once
// Rasters that come from outside: read with the nodata value that their own header gives, and checked
// against the DEM that they are used with.

#include <string_view>

#include "dem/dem.h"
#include "grid/float_raster.h"

namespace terrain {

/// The name without ".flt" or ".FLT" at its end and without blanks around it.
[[nodiscard]] std::string_view stemOfRaster(std::string_view name);

/// Reads a raster so that its nodata is the system's: cells that hold the nodata value of the file's
/// header, and NaN, become -9999.0, which is the grid's nodata. In memory or, as `args` or a lack of
/// memory has it, in a scratch file. With a clip grid whose lengths were converted from feet the grid's
/// header says so too. 0, or -1 with a report and a grid without cells.
int readRaster(R4Grid_type& grid, std::string_view name, const ReadGridArgs& args = {});

/// What is said when a raster and the DEM differ, under which tag.
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

/// Multiplies every valid cell, in float32. 0, or -1 with a report.
int scaleValid(R4Grid_type& grid, float factor, std::string_view routine);

}  // namespace terrain
