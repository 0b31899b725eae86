#include "dem/input_raster.h"

#include "foundation/free_format.h"
#include "foundation/text.h"
#include "grid/rows.h"

namespace terrain {

namespace {

std::string extentLine(std::string_view label, std::string_view name, const Grid_Header& header) {
  return std::string(label).append(stripped(name)) + ": " + freeText(header.cols()) + " columns, " +
         freeText(header.rows()) + " rows of " + shortestText(header.xcellsize) + " by " +
         shortestText(header.ycellsize) + ", lower left corner " + shortestText(header.xmin) + ' ' +
         shortestText(header.ymin);
}

}  // namespace

int reportMismatch(const DEM_type& dem, const Grid_Header& raster, std::string_view name,
                   const MatchTexts& texts) {
  return reportError({.routine = texts.routine,
                      .file = name,
                      .message1 = texts.message,
                      .message2 = extentLine("  Raster ", name, raster),
                      .message3 = extentLine("  DEM ", dem.file, dem)});
}

bool matchesDEM(const DEM_type& dem, const Grid_Header& raster, std::string_view name,
                const MatchTexts& texts) {
  if (SameGridGeometry(dem, raster)) return true;
  reportMismatch(dem, raster, name, texts);
  return false;
}

int readMatchingRaster(const DEM_type& dem, std::string_view name, std::string_view unreadable,
                       const MatchTexts& texts, R4Grid_type& grid) {
  if (ReadGrid(grid, name) != kSuccess)
    return fail(texts.routine, std::string(unreadable).append(" ").append(name));
  if (dem.feetConverted) FeetToMeters(grid);
  return matchesDEM(dem, grid, name, texts) ? kSuccess : kFailure;
}

bool coversExtent(const Grid_Header& raster, const Grid_Header& extent) {
  const double x = extent.xcellsize / 2;
  const double y = extent.ycellsize / 2;
  return raster.xmin < extent.xmin + x && raster.ymin < extent.ymin + y && raster.xmax > extent.xmax - x &&
         raster.ymax > extent.ymax - y;
}

int scaleValid(R4Grid_type& grid, float factor, std::string_view routine) {
  return onValid(grid, {.routine = routine}, [factor](float cell) { return cell * factor; });
}

}  // namespace terrain
