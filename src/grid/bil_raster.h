#pragma once
// Byte rasters: `<stem>.bil`, the cells of an I1Grid_type as they are, row after row from the north, with
// the text header `<stem>.hdr` of a raster of one band: a keyword and a value a line.
//
//   ncols, nrows           counts
//   ulxmap, ulymap         centre of the north-west cell
//   xdim, ydim             width and height of a cell
//   nodata                 the grid's
//   pixeltype signedint    the bytes run from -128 to 127
//   nbands 1, nbits 8      one band of bytes, or of as many bits as the caller says
//
// `I1Grid_type::writeBIL` writes both, `Grid_Header::writeBILheader` the header of a grid of any type. The
// reference point of a grid is taken for the outer corner of its south-west cell, as readers of the other
// headers do; `Grid_Header::ReadBILHeader`, which knows the keywords in upper case too, takes the half
// cell off again. Lengths that were converted from feet are written in feet.

#include "grid/grid.h"
