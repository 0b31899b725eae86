#include "grid/bil_raster.h"

#include "foundation/free_format.h"
#include "grid/raster_header.h"
#include "grid/raster_output.h"

namespace terrain {

namespace {

void writeLines(TextFile& text, const Grid_Header& header, std::optional<int32_t> nbits) {
  const GridGeometry at = geometryInFile(header);
  text.writeLine("ncols " + freeText(at.cols()));
  text.writeLine("nrows " + freeText(at.rows()));
  text.writeLine("ulxmap " + shortestText(at.xmin + 0.5 * at.xcellsize));
  text.writeLine("ulymap " + shortestText(at.ymax + 0.5 * at.ycellsize));
  text.writeLine("xdim " + shortestText(at.xcellsize));
  text.writeLine("ydim " + shortestText(at.ycellsize));
  text.writeLine("nodata " + shortestText(header.nodata));
  text.writeLine("pixeltype signedint");
  text.writeLine("nbands 1");
  text.writeLine("nbits " + freeText(nbits.value_or(8)));
}

}  // namespace

int Grid_Header::writeBILheader(std::string_view stem, std::optional<int32_t> nbits) {
  Attempt attempt{status};
  RasterOutput out("writeBILheader in Grid_Module", stem);
  if (out.openHeader() != kSuccess) return kFailure;
  writeLines(out.header(), *this, nbits);
  out.writeProjection(projection);
  return attempt.end(out.commit());
}

int I1Grid_type::writeBIL(std::string_view stem) {
  return writeRaster<std::int8_t>(
      *this, stem,
      {.routine = "writeBIL in Grid_Module", .cellsEnding = ".bil", .headerFailed = "writeBIL failed"},
      [this](TextFile& text) { writeLines(text, *this, std::nullopt); });
}

}  // namespace terrain
