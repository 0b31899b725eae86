#pragma once
// Integer rasters: `<stem>.int`, the cells of an integer grid at their own width, row after row from the
// north, with the text header `<stem>.hdr`. `ReadGrid` reads them back. `I4Grid_type::WriteIntI4` and
// `I8Grid_type::WriteIntI8` write the same cells with headers that name the type in other words.
//
// Coordinates and nodata have the fixed form of the header where that reads back as the same number, and
// as many digits as needed elsewhere. Cells that are not square are told in the log: CELLSIZE is the mean
// of width and height then, and XDIM and YDIM give the two.

#include "grid/grid.h"

namespace terrain {

/// Writes a grid of one of the four integer types. Status 0; -1 with a report for other grids or if a file
/// cannot be written, older files stay as they were then.
int WriteGridInt(Grid_Header& grid, std::string_view stem);

}  // namespace terrain
