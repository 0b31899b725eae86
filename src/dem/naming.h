#pragma once
// The names of a DEM's files: how a few given names become all of them, and how a derived raster is named.

#include <span>
#include <string>
#include <string_view>

#include "dem/dem.h"

namespace terrain {

inline constexpr std::string_view kElevPrefix = "elev_";

/// The trimmed path with a separator at its end; a blank path stays blank.
[[nodiscard]] std::string withSeparator(std::string_view path);

/// The identifier in a raster's name: what follows the last underscore of the file name without its
/// directory, or all of that name where it has no underscore or ends in one.
[[nodiscard]] std::string identifierOf(std::string_view file);

/// The length rounded to an integer, and "_"; "_" alone where it is not above 0, blank where the integer does
/// not fit 32 bits.
[[nodiscard]] std::string roundedLengthName(double length);
/// The same with the fraction cut off, which is how a run names the rasters that it saves.
[[nodiscard]] std::string truncatedLengthName(double length);

/// The name of the derived raster with the first of the prefixes for which there is one. Where there is none,
/// a report with the name of the first, and a blank.
[[nodiscard]] std::string findDerived(const DEM_type& dem, std::span<const std::string> prefixes);

/// Reads the header of `name` into the DEM and sets its nodata to -9999.0, the value in all its grids.
/// -1, reported, where it cannot be read or cannot carry a raster.
int readUsableHeader(DEM_type& dem, std::string_view name, std::string_view routine);

/// What the names of files that belong to a DEM end in: its identifier and, where it differs, that of its
/// data.
[[nodiscard]] std::string identifiersOf(const DEM_type& dem);

}  // namespace terrain
