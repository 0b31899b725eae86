// Conditions a DEM so that every cell drains, and writes the surface, the flow angles and the drainage area.
//
//   condition_dem <dem> <output stem>      writes <stem>_elev, <stem>_angle and <stem>_area

#include <iostream>

#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"

int main(int argc, char** argv) {
  using namespace terrain;
  if (argc != 3) {
    std::cerr << "Usage: condition_dem <dem> <output stem>\n";
    return 1;
  }
  const std::string stem = argv[2];
  DEM_type dem;
  dem.file = argv[1];
  if (dem.ResolveDEM() != 0 || dem.GetElev() != 0) return 1;

  // Plan curvature, on the raw surface, decides between equal slopes.
  dem.SetLengthScale(2 * dem.cellsize);
  dem.plan = dem.GetPlanCurvature();
  if (dem.plan.status != 0) return 1;

  if (shiftElevations(dem) != 0 || FlowDirection(dem, {.outfile = stem + "_elev"}) != 0) return 1;
  if (dem.aspect.WritefltR4(stem + "_angle") != 0) return 1;
  if (accumulator(dem, {.DA = &dem.DA}) != 0) return 1;
  // Outside the land no cell has an angle, and its area is 0: make that nodata.
  if (dem.DA.R4MaskByRow(dem.aspect) != 0) return 1;
  return dem.DA.WritefltR4(stem + "_area") == 0 ? 0 : 1;
}
