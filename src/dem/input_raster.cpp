#include "dem/input_raster.h"

#include <cmath>
#include <vector>

#include "dem/naming.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/text.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "readRaster in DEM_Module";

/// Hands each row's cells to `change`: the grid's own for a grid in memory, those of a buffer that is
/// written back for one on disk.
template <class Change>
int changeRows(R4Grid_type& grid, std::string_view routine, Change change) {
  if (!grid.onDisk) {
    for (int32_t row = 1; row <= grid.rows(); ++row) change(grid.cells.row(row));
    return kSuccess;
  }
  std::vector<float> cells;
  if (!tryAllocate(cells, static_cast<std::size_t>(grid.cols()))) return cannotAllocate(routine, "row");
  for (int32_t row = 1; row <= grid.rows(); ++row) {
    if (grid.readRow(row, cells) != kIoOk) return reportScratchRead(routine, grid);
    change(std::span<float>(cells));
    const IoCode code = grid.writeRow(row, cells);
    if (code != kIoOk) return reportScratchWrite(routine, grid, code);
  }
  return kSuccess;
}

int settleNodata(R4Grid_type& grid, std::string_view name) {
  Grid_Header header;
  if (header.ReadHeader(stemOfRaster(name)) != kSuccess) return kFailure;
  const float held = header.nodata;
  return changeRows(grid, kTag, [held](std::span<float> row) {
    for (float& cell : row)
      if (cell == held || std::isnan(cell)) cell = kNodata;
  });
}

std::string extentLine(std::string_view label, std::string_view name, const Grid_Header& header) {
  return std::string(label).append(stripped(name)) + ": " + freeText(header.cols()) + " columns, " +
         freeText(header.rows()) + " rows of " + shortestText(header.xcellsize) + " by " +
         shortestText(header.ycellsize) + ", lower left corner " + shortestText(header.xmin) + ' ' +
         shortestText(header.ymin);
}

}  // namespace

std::string_view stemOfRaster(std::string_view name) {
  std::string_view stem = stripped(name);
  if (stem.ends_with(".flt") || stem.ends_with(".FLT")) stem.remove_suffix(4);
  return stem;
}

int readRaster(R4Grid_type& grid, std::string_view name, const ReadGridArgs& args) {
  grid.feetConverted = false;
  if (ReadGrid(grid, name, args) == kSuccess) {
    grid.nodata = kNodata;
    settleCellSize(grid);
    grid.feetConverted = args.clipGrid != nullptr && args.clipGrid->feetConverted;
    if (settleNodata(grid, name) == kSuccess) return grid.status = kSuccess;
  }
  if (grid.ncols) DestroyGrid(grid);
  return grid.status = kFailure;
}

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

int scaleValid(R4Grid_type& grid, float factor, std::string_view routine) {
  return changeRows(grid, routine, [factor, nodata = grid.GetNodataR4()](std::span<float> row) {
    for (float& cell : row)
      if (cell != nodata) cell *= factor;
  });
}

}  // namespace terrain
