#include "grid/rst_raster.h"

#include "foundation/free_format.h"
#include "grid/raster_output.h"

namespace terrain {

namespace {

void writeLines(TextFile& text, const I2Grid_type& grid) {
  const auto put = [&](std::string_view key, const std::string& value) {
    text.writeLine(std::string(key) + value);
  };
  text.writeLine("file format : IDRISI Raster A.1");
  text.writeLine("file title  : D8 flow directions");
  text.writeLine("data type   : integer");
  text.writeLine("file type   : binary");
  put("columns     : ", freeText(grid.cols()));
  put("rows        : ", freeText(grid.rows()));
  text.writeLine("ref. system : plane");
  put("ref. units  : ", std::string(1, grid.units));
  text.writeLine("unit dist.  : 1");
  put("min. X      : ", shortestText(grid.xmin));
  put("max. X      : ", shortestText(grid.xmax + grid.xcellsize));
  put("min. Y      : ", shortestText(grid.ymin));
  put("max. Y      : ", shortestText(grid.ymax + grid.ycellsize));
  text.writeLine("posn error  : unknown");
  put("resolution  : ", shortestText(grid.meanCellSize()));
  text.writeLine("min. value  : 1");
  text.writeLine("max. value  : 128");
  text.writeLine("display min : 0.");
  text.writeLine("display max : 128.");
  put("value units : ", grid.units == 'm' ? "meters" : "feet");
  text.writeLine("value error : unknown");
  put("flag value  : ", freeText(int32_t{grid.nodataValue()}));
  text.writeLine("flag def'n  : missing data");
  text.writeLine("legend cats : 0");
}

}  // namespace

int I2Grid_type::WriterstI2(std::string_view stem) {
  return writeRaster<std::int16_t>(*this, stem,
                                   {.routine = "WriterstI2 in Grid_Module",
                                    .rowObject = "i2Array",
                                    .cellsEnding = ".rst",
                                    .headerEnding = ".rdc",
                                    .hasProjection = false},
                                   [this](TextFile& text) { writeLines(text, *this); });
}

}  // namespace terrain
