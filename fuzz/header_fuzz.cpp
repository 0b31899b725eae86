// A raster header of any bytes, with a cell file of a few bytes beside it.

#include "grid/float_raster.h"
#include "input_on_disk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace terrain;
  const std::string header = fuzz::writeInput("x.hdr", data, size);
  const uint8_t cells[256] = {1, 2, 3, 4};
  fuzz::writeInput("x.flt", cells, sizeof cells);
  Grid_Header bare;
  bare.ReadHeader(header);
  R4Grid_type floats;
  ReadGrid(floats, fuzz::folder() + "x");
  I8Grid_type whole;
  ReadGrid(whole, fuzz::folder() + "x");
  R4Grid_type lean;
  OpenR4Grid(lean, fuzz::folder() + "x");
  return 0;
}
