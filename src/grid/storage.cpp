#include "grid/storage.h"

#include <algorithm>
#include <limits>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/scratch.h"

namespace terrain {

namespace {

constexpr std::string_view kCreateTag = "CreateGrid in Grid_Module";

enum class Access { rows, cells };

/// Both access modes are views of the same bytes; only the length of a record differs, and it changes in
/// place.
int switchAccess(const Grid_Header& grid, Access access) {
  const bool rows = access == Access::rows;
  const std::string_view tag = rows ? "SetRowAccess in Grid_Module" : "SetCellAccess in Grid_Module";
  const CellFacts* facts = factsOf(grid.cellType());
  if (facts == nullptr) return fail(tag, "Unknown grid type");
  RecordFile* file = units().records(grid.scratchUnit);
  if (file == nullptr)
    return reportError({.routine = tag, .code = kCannotOpenToWrite, .file = grid.scratchFile});
  file->setRecordLength(rows ? facts->bytes * static_cast<std::size_t>(grid.cols()) : facts->bytes);
  grid.rowAccess = rows;
  grid.cellAccess = !rows;
  return kSuccess;
}

/// True where the access mode is as wanted already, or means nothing.
bool hasAccess(const Grid_Header& grid, Access access) {
  const bool wanted = access == Access::rows ? grid.rowAccess : grid.cellAccess;
  return !grid.onDisk || (wanted && units().records(grid.scratchUnit) != nullptr);
}

int useAccess(const Grid_Header& grid, Access access) {
  return hasAccess(grid, access) ? kSuccess : switchAccess(grid, access);
}

int setAccess(Grid_Header& grid, Access access) {
  if (hasAccess(grid, access)) return grid.status = kSuccess;
  Attempt attempt{grid.status};
  const CellFacts* facts = factsOf(grid.cellType());
  // A grid that was never written has no file yet; one that lost its file must not start an empty one.
  if (grid.scratchUnit < 1 && grid.scratchFile.empty() && facts != nullptr) {
    const bool rows = access == Access::rows;
    if (openRowScratch(grid, facts->bytes) != kSuccess)
      return fail(rows ? "SetRowAccess in Grid_Module" : "SetCellAccess in Grid_Module",
                  "OpenBinaryScratchFile failed");
    putMessage((rows ? "SetRowAccess: created scratch file " : "SetCellAccess: created scratch file ") +
               grid.scratchFile);
    putMessage("  Unit: ", grid.scratchUnit);
  }
  return attempt.end(switchAccess(grid, access));
}

/// Counts and geometry from the template or the arguments.
void setGeometry(Grid_Header& grid, const CreateGridArgs& args) {
  if (args.like != nullptr) {
    grid.geometry() = args.like->geometry();
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
    grid.updateFarCorner();
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
  putMessage("WARNING: CreateGrid unable to allocate memory for " + std::string(kFactsOf<T>.grid));
  putMessage("  Using on-disk scratch space");
  grid.onDisk = true;
}

/// The whole margin is set too, so that no cell of a new grid is undefined.
template <Cell T>
void fillCells(GridOf<T>& grid, T fill) {
  const int32_t pad = grid.cells.pad();
  for (int32_t row = 1 - pad; row <= grid.rows() + pad; ++row)
    std::ranges::fill(grid.cells.paddedRow(row), fill);
}

/// Makes the scratch file with its full length and every cell set, so that a full disk shows here; without a
/// value to set only the room is claimed.
template <Cell T>
int createOnDisk(GridOf<T>& grid, int32_t pad, std::optional<T> fill) {
  if (pad > 0) return fail(kCreateTag, "On-disk storage cannot pad grid edges");
  if (openRowScratch(grid, sizeof(T)) != kSuccess) return fail(kCreateTag, kFactsOf<T>.scratchFailed);
  putMessage("CreateGrid: created scratch file " + grid.scratchFile);
  putMessage(kFactsOf<T>.rowAccessLine);
  putMessage("  Unit: ", grid.scratchUnit);
  grid.rowAccess = true;
  grid.cellAccess = false;

  // The room is claimed before the first row, so that a disk that is too small is not filled up first.
  const auto bytes =
      byteCount(static_cast<std::uint64_t>(grid.cols()) * sizeof(T), static_cast<std::uint64_t>(grid.rows()));
  IoCode code = bytes ? units().records(grid.scratchUnit)->file().reserve(*bytes) : kIoPastEnd;
  std::vector<T> row;
  if (code == kIoOk && fill) {
    if (!tryAllocate(row, static_cast<std::size_t>(grid.cols()))) {
      grid.releaseStorage();
      return cannotAllocate(kCreateTag, kFactsOf<T>.createRow);
    }
    std::ranges::fill(row, *fill);
    for (int32_t r = 1; r <= grid.rows() && code == kIoOk; ++r) code = grid.writeRow(r, row);
  }
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
  if constexpr (std::same_as<T, std::int8_t>) grid.nodata = 0;  // the one value that an int8 grid has
  if (!grid.onDisk) allocateCells(grid, pad);
  std::optional<T> fill;
  if (args.setCells) fill = args.fillValue ? truncateOrKeep<T>(*args.fillValue) : grid.nodataValue();
  if (!grid.onDisk) {
    grid.rowAccess = grid.cellAccess = false;
    if (fill) fillCells(grid, *fill);
    return kSuccess;
  }
  if (createOnDisk(grid, pad, fill) != kSuccess) return kFailure;
  if (args.cellAccess.value_or(false) && args.rowAccess.value_or(false))
    return fail(kCreateTag, "Cannot have cellAccess and rowAccess both true");
  const bool byCell = args.cellAccess.value_or(args.rowAccess.has_value() && !*args.rowAccess);
  if (byCell && grid.SetCellAccess() != kSuccess) return fail(kCreateTag, "setCellAccess failed");
  return kSuccess;
}

int32_t marginOf(const Grid_Header& grid, const CreateGridArgs& args) {
  int32_t pad = 0;
  const double size = std::max(grid.xcellsize, grid.ycellsize);
  if (args.padDistance && size > 0) pad = truncateTo<int32_t>(*args.padDistance / size);
  return std::clamp(std::max(pad, args.padCells), 0, std::numeric_limits<int32_t>::max() / 4);
}

}  // namespace

int Grid_Header::SetRowAccess() { return setAccess(*this, Access::rows); }
int Grid_Header::SetCellAccess() { return setAccess(*this, Access::cells); }
int Grid_Header::useRowAccess() const { return useAccess(*this, Access::rows); }
int Grid_Header::useCellAccess() const { return useAccess(*this, Access::cells); }

int openRowScratch(Grid_Header& grid, std::size_t cellBytes) {
  OpenBinaryScratchFile({.unit = &grid.scratchUnit,
                         .fileName = &grid.scratchFile,
                         .recordLength = cellBytes * static_cast<std::size_t>(grid.cols())});
  return grid.scratchUnit < 1 ? kFailure : kSuccess;
}

int CreateGrid(Grid_Header& grid, const CreateGridArgs& args) {
  Attempt attempt{grid.status};
  if (args.like == nullptr && !args.ncols)
    return fail("SUBROUTINE CreateGrid in MODULE Grid_Module", "Missing required arguments");
  // The template may be the grid itself or lose its cells; its header is needed after that.
  Grid_Header like;
  CreateGridArgs own = args;
  if (args.like != nullptr) {
    like = *args.like;
    own.like = &like;
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
  setGeometry(grid, own);
  if (grid.cols() < 1 || grid.rows() < 1) {
    const std::string counts = freeText(grid.cols()) + " columns, " + freeText(grid.rows()) + " rows";
    grid.ncols.reset();
    grid.nrows.reset();
    return fail(kCreateTag, "A grid needs at least one column and one row: " + counts);
  }
  const int made = visitGrid(
      grid, [&](auto& typed) { return createTyped(typed, own, pad); },
      [] { return fail(kCreateTag, "Grid type not defined"); });
  if (made != kSuccess) {
    visitGrid(grid, [](auto& typed) { typed.releaseStorage(); });
    grid.ncols.reset();
    grid.nrows.reset();
  }
  return attempt.end(made);
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
  }
  grid.scratchFile.clear();
  visitGrid(grid, [](auto& typed) { typed.cells.release(); });
  grid.geometry() = {};
  grid.reserved = 0;
  grid.projection.Clear();
}

}  // namespace terrain
