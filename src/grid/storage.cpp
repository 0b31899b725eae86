#include "grid/storage.h"

#include <algorithm>
#include <limits>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/scratch.h"

namespace terrain {

namespace {

constexpr std::string_view kCreateTag = "CreateGrid in Grid_Module";

int createFailed(std::string_view why) { return reportError({.routine = kCreateTag, .message1 = why}); }

std::size_t bytesPerCell(const Grid_Header& grid) {
  switch (grid.cellType()) {
    case CellType::R8:
    case CellType::I8:
      return 8;
    case CellType::R4:
    case CellType::I4:
      return 4;
    case CellType::I2:
      return 2;
    case CellType::I1:
      return 1;
    case CellType::none:
      break;
  }
  return 0;
}

enum class Mode { row, cell };

/// A scratch file that is closed and cannot be opened again is lost to its grid: its unit's number may go to
/// another file.
int loseScratch(Grid_Header& grid) {
  platform::removeFile(grid.scratchFile);
  grid.scratchUnit = 0;
  grid.rowAccess = grid.cellAccess = false;
  return kFailure;
}

/// Both access modes are views of the same bytes; the record length makes the difference.
int switchAccess(Grid_Header& grid, Mode mode) {
  const bool wanted = mode == Mode::row ? grid.rowAccess : grid.cellAccess;
  if (!grid.onDisk || (wanted && grid.scratchUnit > 0)) return grid.status = kSuccess;
  const std::string_view tag =
      mode == Mode::row ? "SetRowAccess in Grid_Module" : "SetCellAccess in Grid_Module";
  Attempt attempt{grid.status};
  const std::size_t cellBytes = bytesPerCell(grid);
  if (cellBytes == 0) return reportError({.routine = tag, .message1 = "Unknown grid type"});
  const std::size_t recordLength =
      mode == Mode::row ? cellBytes * static_cast<std::size_t>(grid.cols()) : cellBytes;

  if (grid.scratchUnit > 0) {
    UnitTable& table = units();
    IoCode code = table.close(grid.scratchUnit);
    if (code != kIoOk) {
      reportScratchWrite(tag, grid, code);
      return loseScratch(grid);
    }
    code = table.openRecords(grid.scratchUnit, grid.scratchFile, platform::Open::update, recordLength);
    if (code != kIoOk) {
      reportError({.routine = tag, .code = kCannotOpenToWrite, .file = grid.scratchFile});
      return loseScratch(grid);
    }
  } else {
    OpenBinaryScratchFile(
        {.unit = &grid.scratchUnit, .fileName = &grid.scratchFile, .recordLength = recordLength});
    if (grid.scratchUnit < 1)
      return reportError({.routine = tag, .message1 = "OpenBinaryScratchFile failed"});
    putMessage(
        (mode == Mode::row ? "SetRowAccess: created scratch file " : "SetCellAccess: created scratch file ") +
        grid.scratchFile);
    putMessage("  Unit: ", grid.scratchUnit);
  }
  grid.rowAccess = mode == Mode::row;
  grid.cellAccess = mode == Mode::cell;
  return attempt.succeed();
}

/// Counts and geometry from the template or the arguments.
void settleGeometry(Grid_Header& grid, const CreateGridArgs& args) {
  if (args.like != nullptr) {
    grid.copyGeometry(*args.like);
    grid.units = args.like->units;
    grid.feetConverted = args.like->feetConverted;
    grid.version = args.like->version;
    if (!args.nodata) grid.nodata = args.like->nodata;
    if (args.like->projection.LineCount() > 0) grid.projection = args.like->projection.Copy();
  } else {
    grid.ncols = args.ncols;
    grid.nrows = args.nrows.value_or(0);
    grid.xmin = args.xmin;
    grid.ymin = args.ymin;
    if (args.size.xcellsize) {
      grid.xcellsize = *args.size.xcellsize;
      grid.ycellsize = args.size.ycellsize.value_or(*args.size.xcellsize);
      grid.cellsize = (grid.xcellsize + grid.ycellsize) / 2;
    } else {
      grid.cellsize = grid.xcellsize = grid.ycellsize = args.size.cellsize.value_or(0);
    }
    grid.settleFarCorner();
    if (args.units) grid.units = *args.units;
  }
  if (args.version != nullptr) grid.version = *args.version;
  if (args.projection != nullptr && args.projection->LineCount() > 0)
    grid.projection = args.projection->Copy();
}

template <Cell T>
void allocateCells(GridOf<T>& grid, int32_t pad) {
  if (grid.cells.allocate(grid.cols(), grid.rows(), pad)) return;
  putMessage("");
  putMessage("WARNING: CreateGrid unable to allocate memory for " + std::string(CellTraits<T>::gridWord));
  putMessage("  Using on-disk scratch space");
  grid.onDisk = true;
}

/// The whole margin is set too: nothing of a new grid is left to chance.
template <Cell T>
void fillCells(GridOf<T>& grid, T fill) {
  const int32_t pad = grid.cells.pad();
  for (int32_t row = 1 - pad; row <= grid.rows() + pad; ++row)
    std::ranges::fill(grid.cells.paddedRow(row), fill);
}

/// Makes the scratch file with its full length and every cell set, so that a full disk shows here.
template <Cell T>
int createOnDisk(GridOf<T>& grid, int32_t pad, T fill) {
  constexpr CellType type = CellTraits<T>::type;
  if (pad > 0) return createFailed("On-disk storage cannot pad grid edges");
  if (openRowScratch(grid, sizeof(T)) != kSuccess)
    return createFailed(type == CellType::I1   ? "OpenBinaryScratchFile failed for I1Grid_type"
                        : type == CellType::I2 ? "OpenBinaryScratchFile failed for I2Grid_type"
                                               : "OpenBinaryScratchFile failed");
  putMessage("CreateGrid: created scratch file " + grid.scratchFile);
  putMessage(CellTraits<T>::rowAccessLine);
  putMessage("  Unit: ", grid.scratchUnit);
  grid.rowAccess = true;
  grid.cellAccess = false;

  // The room is claimed before the first row, so that a disk that is too small is not filled up first.
  const auto bytes =
      byteCount(static_cast<std::uint64_t>(grid.cols()) * sizeof(T), static_cast<std::uint64_t>(grid.rows()));
  IoCode code = bytes ? units().records(grid.scratchUnit)->file().reserve(*bytes) : kIoPastEnd;
  std::vector<T> row;
  if (code == kIoOk && !tryAllocate(row, static_cast<std::size_t>(grid.cols()))) {
    grid.releaseStorage();
    return cannotAllocate(kCreateTag, CellTraits<T>::rowObject);
  }
  std::ranges::fill(row, fill);
  for (int32_t r = 1; r <= grid.rows() && code == kIoOk; ++r) code = grid.writeRow(r, row);
  if (code == kIoOk) code = units().records(grid.scratchUnit)->flush();
  if (code != kIoOk) {
    reportScratchWrite(kCreateTag, grid, code);
    grid.releaseStorage();
    return kFailure;
  }
  return kSuccess;
}

template <Cell T>
int createTyped(GridOf<T>& grid, const CreateGridArgs& args, int32_t pad) {
  if (!grid.onDisk) allocateCells(grid, pad);
  const T fill = args.fillValue ? truncateOrKeep<T>(*args.fillValue) : grid.nodataValue();
  if (!grid.onDisk) {
    grid.rowAccess = grid.cellAccess = false;
    fillCells(grid, fill);
    return kSuccess;
  }
  if (createOnDisk(grid, pad, fill) != kSuccess) return kFailure;
  if (args.cellAccess.value_or(false) && args.rowAccess.value_or(false))
    return createFailed("Cannot have cellAccess and rowAccess both true");
  const bool byCell = args.cellAccess.value_or(args.rowAccess.has_value() && !*args.rowAccess);
  if (byCell && grid.SetCellAccess() != kSuccess) return createFailed("setCellAccess failed");
  return kSuccess;
}

int32_t marginOf(const Grid_Header& grid, const CreateGridArgs& args) {
  int32_t pad = 0;
  const double size = std::max(grid.xcellsize, grid.ycellsize);
  if (args.padDistance && size > 0) pad = truncateTo<int32_t>(*args.padDistance / size);
  return std::clamp(std::max(pad, args.padCells), 0, std::numeric_limits<int32_t>::max() / 4);
}

}  // namespace

int Grid_Header::SetRowAccess() { return switchAccess(*this, Mode::row); }
int Grid_Header::SetCellAccess() { return switchAccess(*this, Mode::cell); }

int openRowScratch(Grid_Header& grid, std::size_t cellBytes) {
  OpenBinaryScratchFile({.unit = &grid.scratchUnit,
                         .fileName = &grid.scratchFile,
                         .recordLength = cellBytes * static_cast<std::size_t>(grid.cols())});
  return grid.scratchUnit < 1 ? kFailure : kSuccess;
}

int CreateGrid(Grid_Header& grid, const CreateGridArgs& args) {
  Attempt attempt{grid.status};
  if (args.like == nullptr && !args.ncols)
    return reportError(
        {.routine = "SUBROUTINE CreateGrid in MODULE Grid_Module", .message1 = "Missing required arguments"});
  // The template may be the grid itself or lose its cells; its header is needed after that.
  Grid_Header like;
  CreateGridArgs settled = args;
  if (args.like != nullptr) {
    like = *args.like;
    settled.like = &like;
  }
  const int32_t pad = marginOf(grid, args);
  if (grid.ncols) {
    putMessage("");
    putMessage("CreateGrid in Grid_Module: Grid-to-be-created already exists");
    putMessage("  Existing grid will be destroyed");
    putMessage("");
    DestroyGrid(grid);
  }
  if (args.onDisk) grid.onDisk = *args.onDisk;
  grid.nodata = args.nodata.value_or(kNodata);
  settleGeometry(grid, settled);
  if (grid.cols() < 1 || grid.rows() < 1) {
    const std::string counts = freeText(grid.cols()) + " columns, " + freeText(grid.rows()) + " rows";
    grid.ncols.reset();
    grid.nrows.reset();
    return createFailed("A grid needs at least one column and one row: " + counts);
  }
  const int made = visitGrid(
      grid, [&](auto& typed) { return createTyped(typed, settled, pad); }, 1);
  if (made == 1) return createFailed("Grid type not defined");
  return made == kSuccess ? attempt.succeed() : kFailure;
}

void DestroyGrid(Grid_Header& grid) {
  if (grid.scratchUnit > 0) {
    if (units().isOpen(grid.scratchUnit)) {
      if (units().close(grid.scratchUnit, Closing::erase) == kIoOk) {
        putMessage("DestroyGrid: deleted scratch file");
        putMessage("  File: " + grid.scratchFile);
        putMessage("  Unit: ", grid.scratchUnit);
      } else {
        putMessage("WARNING: DestroyGrid unable to delete scratch file");
      }
    }
    grid.scratchUnit = 0;
    grid.scratchFile.clear();
  }
  visitGrid(
      grid,
      [](auto& typed) {
        typed.cells.release();
        return 0;
      },
      0);
  grid.ncols.reset();
  grid.nrows.reset();
  grid.xmin = grid.ymin = grid.xmax = grid.ymax = 0;
  grid.cellsize = grid.xcellsize = grid.ycellsize = 0;
  grid.reserved = 0;
  grid.projection.Clear();
}

}  // namespace terrain
