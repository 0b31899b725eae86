// ReadGrid: a raster file, or the part of it that a clip grid covers, to a grid of any type.

#include <limits>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "grid/float_raster.h"
#include "grid/raster_header.h"
#include "grid/raster_rows.h"
#include "grid/raster_source.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadGrid in Grid_Module";

int clipTo(Grid_Header& grid, Grid_Header file, const Grid_Header& clip, Placement& place) {
  if (!clip.HeaderExists()) return fail(kTag, "Clipgrid not assigned");
  if (clip.feetConverted && !file.feetConverted) FeetToMeters(file);
  grid.geometry() = file.geometry();
  grid.feetConverted = file.feetConverted;
  if (clip.ncols == file.ncols && clip.nrows == file.nrows && sameR8(clip.xmin, file.xmin) &&
      sameR8(clip.ymin, file.ymin) && sameR8(clip.xcellsize, file.xcellsize) &&
      sameR8(clip.ycellsize, file.ycellsize))
    return kSuccess;

  const auto [c1, r1] = file.XYtoColRow(clip.xmin, clip.ymax);
  const auto [c2, r2] = file.XYtoColRow(clip.xmax, clip.ymin);
  const Point northWest = file.ColRowToXY(c1, r1);
  const Point southEast = file.ColRowToXY(c2, r2);
  grid.xmin = northWest.x;
  grid.ymax = northWest.y;
  grid.xmax = southEast.x;
  grid.ymin = southEast.y;
  // Counted by lattice numbers: the quotient of extent and cell size loses a cell to rounding far from 0.
  const int64_t cols = GridGeometry::lineIndex(c2) - GridGeometry::lineIndex(c1) + 1;
  const int64_t rows = GridGeometry::lineIndex(r2) - GridGeometry::lineIndex(r1) + 1;
  place = {.col1 = std::max(c1, 1),
           .col2 = std::min(c2, file.cols()),
           .row1 = std::max(r1, 1),
           .row2 = std::min(r2, file.rows())};
  if (place.col1 > place.col2 || place.row1 > place.row2) return fail(kTag, "Clipgrid does not overlap");
  constexpr int64_t most = std::numeric_limits<int32_t>::max();
  if (cols > most || rows > most) return fail(kTag, "Clipgrid has too many cells of the file's size");
  grid.ncols = static_cast<int32_t>(cols);
  grid.nrows = static_cast<int32_t>(rows);
  place.toCol = static_cast<int32_t>(place.col1 - GridGeometry::lineIndex(c1) + 1);
  place.toRow = static_cast<int32_t>(place.row1 - GridGeometry::lineIndex(r1) + 1);
  return kSuccess;
}

template <Cell T>
int makeStorage(GridOf<T>& grid, const ReadGridArgs& args, std::string_view fileName) {
  grid.rowAccess = grid.cellAccess = false;
  if (!grid.onDisk && !grid.cells.allocate(grid.cols(), grid.rows())) {
    grid.onDisk = true;
    putMessage("ReadGrid: unable to allocate memory for grid; using scratch space");
  }
  if (!grid.onDisk) return kSuccess;
  if (openRowScratch(grid, sizeof(T)) != kSuccess)
    return fail(kTag, "OpenBinaryScratchFile failed for " + std::string(fileName));
  putMessage("ReadGrid: created scratch file: " + grid.scratchFile);
  putMessage("  For file: " + std::string(fileName));
  putMessage(args.cellAccess.value_or(false) ? "  CellAccess" : "  RowAccess");
  putMessage("  Unit: ", grid.scratchUnit);
  grid.rowAccess = true;
  return kSuccess;
}

/// Writes out what is buffered of a grid on disk, so that a full disk shows before the grid is used.
int flushScratch(const Grid_Header& grid) {
  if (!grid.onDisk) return kSuccess;
  const IoCode code = units().records(grid.scratchUnit)->flush();
  return code == kIoOk ? kSuccess : reportScratchWrite(kTag, grid, code);
}

template <Cell T>
int readTyped(GridOf<T>& grid, const RasterSource& source, const ReadGridArgs& args) {
  if constexpr (std::same_as<T, std::int8_t> || std::same_as<T, std::int16_t>) {
    return fail(kTag, "Not implemented for this grid type");
  } else {
    if (grid.ncols) DestroyGrid(grid);
    grid.onDisk = args.onDisk.value_or(false);
    grid.geometry() = source.header.geometry();
    grid.feetConverted = false;
    Placement place{.col2 = source.header.cols(), .row2 = source.header.rows()};
    const auto read = [&] {
      if (args.clipGrid != nullptr && clipTo(grid, source.header, *args.clipGrid, place) != kSuccess)
        return kFailure;
      if (source.header.projection.LineCount() > 0) grid.projection = source.header.projection.Copy();
      const Converter<T> convert = converterFor<T>(source.type);
      if (convert == nullptr) return fail(kTag, "Unsupported grid type for this operation");
      const auto nodata = args.replaceNodata ? std::optional(source.header.nodata) : std::nullopt;
      if (makeStorage(grid, args, source.name) != kSuccess ||
          fillFromFile(grid, source, place, convert, nodata, kTag) != kSuccess ||
          flushScratch(grid) != kSuccess)
        return kFailure;
      if (args.replaceNodata) grid.nodata = kNodata;
      return args.cellAccess.value_or(false) ? grid.SetCellAccess() : kSuccess;
    };
    if (read() == kSuccess) return kSuccess;
    grid.releaseStorage();  // half a raster is no raster
    return kFailure;
  }
}

}  // namespace

int ReadGrid(Grid_Header& grid, std::string_view fileName, const ReadGridArgs& args) {
  Attempt attempt{grid.status};
  RasterSource source;
  if (findRaster(source, fileName, grid.cellType(), kTag) != kSuccess) return kFailure;
  if (args.fileHeader != nullptr) *args.fileHeader = source.header;
  return attempt.end(visitGrid(
      grid, [&](auto& typed) { return readTyped(typed, source, args); },
      [] { return fail(kTag, "Unknown grid type"); }));
}

int readRaster(R4Grid_type& grid, std::string_view name, const ReadGridArgs& args) {
  ReadGridArgs replacing = args;
  replacing.replaceNodata = true;
  if (ReadGrid(grid, name, replacing) != kSuccess) {
    if (grid.ncols) DestroyGrid(grid);
    return grid.status = kFailure;
  }
  return kSuccess;
}

}  // namespace terrain
