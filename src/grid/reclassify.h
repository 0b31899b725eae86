#pragma once
// Classes of a float grid as a byte raster.

#include <optional>
#include <span>
#include <string_view>

#include "grid/grid.h"

namespace terrain {

/// Writes the classes of a grid as `<stem>.bil` and `.hdr` (grid/bil_raster.h); a ".hdr" at the end of `stem`
/// does not count. The class of a value is the number, from 1, of the first of the ascending `bounds` that is
/// not below it. Cells without data and values above the last bound take `nodata`, absent: 0, which must be
/// a byte, -128 to 127, and no class; there are at most 127 bounds. 0, or -1 with a report.
int Reclassify(const R4Grid_type& grid, std::span<const float> bounds, std::string_view stem,
               std::optional<float> nodata = std::nullopt);

}  // namespace terrain
