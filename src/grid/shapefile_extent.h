#pragma once
// The part of a grid's lattice that the bounding box of a shapefile covers.

#include <optional>
#include <string_view>

#include "grid/header.h"

namespace terrain {

/// Makes a header of the cells of `grid`, and of the lattice beyond it, that the box of `<stem>.shp`
/// touches, and one more column to the east and row to the north. A buffer, in map units, adds as many whole
/// cells as it takes on every side; the header is then cut to the grid. Lengths of a grid that were
/// converted from feet are taken for those of the file too. Reports end with `errorContext`, if it is not
/// blank. Status 0; -1 with a report for a header that has counts already, a file that has no box, and a box
/// that lies off the grid.
int GetShapefileExtent(Grid_Header& newHeader, const Grid_Header& grid, std::string_view stem,
                       std::string_view errorContext = {}, std::optional<double> bufferDistance = {});
/// The header itself, with its status.
[[nodiscard]] Grid_Header ExtentFromShapefile(const Grid_Header& grid, std::string_view stem,
                                              std::string_view errorContext = {},
                                              std::optional<double> bufferDistance = {});

}  // namespace terrain
