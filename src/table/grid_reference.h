#pragma once
// What a table of lines or polygons keeps of the grid that it was read with.

#include <cstdint>

#include "grid/header.h"

namespace terrain {

struct GridReference {
  int32_t ncols = 0, nrows = 0;
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0, cellsize = 0;
  char units = 'm';
  bool feetConverted = false;  ///< read in feet, held in metres, written back in feet

  /// All but `feetConverted`.
  void takeReference(const Grid_Header& grid) {
    ncols = grid.cols();
    nrows = grid.rows();
    xmin = grid.xmin;
    xmax = grid.xmax;
    ymin = grid.ymin;
    ymax = grid.ymax;
    cellsize = grid.cellsize;
    units = grid.units;
  }
};

}  // namespace terrain
