// Opens a raster and tells what is in it: the library in a few lines.
//
//   open_grid <raster>

#include <iostream>

#include "grid/float_raster.h"

int main(int argc, char** argv) {
  terrain::R4Grid_type grid;
  if (argc != 2 || terrain::ReadGrid(grid, argv[1]) != 0) return 1;
  std::cout << grid.cols() << " columns, " << grid.rows() << " rows, first cell "
            << grid.ExtractR4ValueColRow(1, 1) << '\n';
  return 0;
}
