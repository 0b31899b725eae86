#pragma once
// The pieces of a DEM's file names, shared by what settles, reads and looks for them.

#include <span>
#include <string>
#include <string_view>

#include "dem/dem.h"

namespace terrain {

inline constexpr std::string_view kElevPrefix = "elev_";

/// The trimmed path with a separator at its end; a blank path stays blank.
[[nodiscard]] std::string withSeparator(std::string_view path);

/// The identifier in a raster's name: what stands behind the last underscore of the part behind the
/// last separator, or all of that part where it has no underscore or ends in one.
[[nodiscard]] std::string identifierOf(std::string_view file);

/// The length tag with the fraction cut off, which is how a run names the rasters that it saves.
[[nodiscard]] std::string truncatedLengthName(double length);

/// The name that the first of the prefixes with a raster leads to. Where there is none, a report with
/// the name of the first, and a blank.
[[nodiscard]] std::string findDerived(const DEM_type& dem, std::span<const std::string> prefixes);

/// Reads the header of `name` into the DEM and sets its nodata to -9999.0, the value in all its grids.
/// -1, reported, where it cannot be read or cannot carry a raster.
int takeHeader(DEM_type& dem, std::string_view name, std::string_view routine);

}  // namespace terrain
