// Drainage area along angles of one's own: how many cells drain through each cell of a DEM.
//
//   route_area <dem> <aspect raster> <output>      aspects in radians clockwise from north, downslope

#include <iostream>

#include "dem/flow_accumulation.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "Usage: route_area <dem> <aspect raster> <output>\n";
    return 1;
  }
  terrain::DEM_type dem;
  dem.file = argv[1];
  if (dem.ResolveDEM() != 0 || dem.GetElev() != 0 || dem.GetAspect(argv[2]) != 0) return 1;
  if (terrain::accumulator(dem, {.DA = &dem.DA}) != 0) return 1;
  // Cells without an aspect hold 0; those without land are to hold nodata.
  if (dem.DA.R4MaskByRow(dem.elev) != 0) return 1;
  return dem.DA.WritefltR4(argv[3]) == 0 ? 0 : 1;
}
