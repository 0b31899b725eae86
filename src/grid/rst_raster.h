#pragma once
// Rasters of D8 flow directions for IDRISI: `<stem>.rst`, the cells of an I2Grid_type as they are, row after
// row from the north, with the documentation file `<stem>.rdc`. Written by `I2Grid_type::WriterstI2`.
//
// The documentation has a fixed title and the fixed range 1 to 128 of the direction codes. Its extent is
// that of the cells' outer edges, the reference point being the south-west corner of a cell; its flag value
// is the grid's nodata. Lengths are written as the grid holds them.

#include "grid/grid.h"
