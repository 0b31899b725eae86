#include "dem/input_mask.h"

#include <string>

#include "foundation/file_names.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "grid/cell_view.h"
#include "grid/float_raster.h"
#include "grid/storage.h"
#include "table/polygon_vectors.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

/// `outside` in all cells, which is the nodata value too where polygons bring their own.
int makeCells(const DEM_type& dem, const MaskTexts& texts, int32_t outside, I4Grid_type& cells) {
  if (CreateGrid(cells, {.like = &dem.elev, .fillValue = static_cast<float>(outside)}) == kSuccess)
    return kSuccess;
  return fail(texts.routine, "CreateGrid failed for " + std::string(texts.what));
}

int burnPolygons(const DEM_type& dem, std::string_view name, const MaskTexts& texts,
                 const PolygonRasterOptions& options, I4Grid_type& cells) {
  PolyVectorType polygons;
  Grid_Header units;  // the file has the DEM's unit
  units.units = dem.feetConverted ? 'f' : 'm';
  if (ReadPolygonShapefile(polygons, name, {.grid = &units}) != kSuccess)
    return fail(texts.routine, "ReadPolygonShapefile failed for " + std::string(name));
  if (options.ival) polygons.IDfield = 0;
  if (polygons.RasterizePoly(cells, options) == kSuccess) return kSuccess;
  return fail(texts.routine, "rasterize failed for " + std::string(texts.what));
}

}  // namespace

int readMaskRaster(const DEM_type& dem, std::string_view name, const MaskTexts& texts, I4Grid_type& cells,
                   int32_t outside) {
  I4Grid_type raster;
  if (ReadGrid(raster, name, {.replaceNodata = true}) != kSuccess)
    return reportError({.routine = texts.routine,
                        .code = kOwnWords,
                        .message1 = "ReadGrid failed for ",
                        .message2 = std::string(texts.what) + " " + std::string(name)});
  if (dem.feetConverted) FeetToMeters(raster);
  if (!sameR8(raster.cellsize, dem.cellsize))
    return fail(texts.routine,
                "The cell sizes of " + std::string(texts.what) + " and DEM differ: " + std::string(name));
  if (makeCells(dem, texts, outside, cells) != kSuccess) return kFailure;
  const int32_t missing = raster.nodataValue();
  return withCells(raster, texts.routine, [&](auto mask) {
    return withCells(cells, texts.routine, [&](auto to) {
      for (int32_t row = 1; row <= cells.rows(); ++row)
        for (int32_t col = 1; col <= cells.cols(); ++col) {
          const Point at = cells.ColRowToXY(col, row);
          const ColRow there = raster.XYtoColRow(at.x, at.y);
          if (!raster.contains(there)) continue;
          const int32_t value = mask.get(there.col, there.row);
          to.set(col, row, value == missing ? outside : value);
        }
      return kSuccess;
    });
  });
}

int readAreaMask(const DEM_type& dem, std::string_view file, const MaskTexts& texts, I4Grid_type& cells) {
  const std::string name = stripExtension(stripped(file));
  if (rasterExists(name)) return readMaskRaster(dem, name, texts, cells);
  return makeCells(dem, texts, 0, cells) == kSuccess ? burnPolygons(dem, name, texts, {.ival = 1}, cells)
                                                     : kFailure;
}

int readAreaIds(const DEM_type& dem, std::string_view file, std::string_view idField, const MaskTexts& texts,
                I4Grid_type& ids) {
  const std::string name = stripExtension(stripped(file));
  if (rasterExists(name)) return readMaskRaster(dem, name, texts, ids, kNoAreaId);
  if (makeCells(dem, texts, kNoAreaId, ids) != kSuccess) return kFailure;
  ids.SetNodata(static_cast<float>(kNoAreaId));
  PolygonRasterOptions options{.useID = isBlank(idField)};
  if (!isBlank(idField)) options.fieldName = idField;
  return burnPolygons(dem, name, texts, options, ids);
}

}  // namespace terrain
