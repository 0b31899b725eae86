#pragma once
// Life and storage of grids: made in memory or in a scratch file, destroyed with either. A grid
// goes to disk when its caller says so, or when there is no memory for its cells, and never moves
// after it is made.

#include <cstdint>
#include <optional>

#include "grid/grid.h"

namespace terrain {

/// `like` is a header or grid whose geometry is copied; without it `ncols`, `nrows` and the rest say it.
struct CreateGridArgs {
  const Grid_Header* like = nullptr;
  std::optional<int32_t> ncols{}, nrows{};
  double xmin = 0, ymin = 0;
  CellSize size{};
  int32_t padCells = 0;                 ///< margin of cells on every side, in memory only
  std::optional<double> padDistance{};  ///< the same as a distance, on the cell sizes the grid holds before
  std::optional<float> nodata{};        ///< absent: that of `like`, else -9999.0
  std::optional<float> fillValue{};     ///< absent: the type's nodata; truncated in integer types
  bool setCells = true;                 ///< false: the caller sets every cell; until then they are undefined
  std::optional<bool> onDisk{};         ///< absent: as the grid is flagged
  std::optional<char> units{};
  const VersionStamp* version = nullptr;
  std::optional<bool> cellAccess{};
  std::optional<bool> rowAccess{};
  const InputFileType* projection = nullptr;
};

/// Makes a grid of any of the six types with every cell set. An existing grid is destroyed first. A
/// grid on disk ends in row access unless cell access is asked for. Status 0; -1 with a report, and without
/// a grid unless the arguments themselves were refused.
int CreateGrid(Grid_Header& grid, const CreateGridArgs& args);

/// Frees a grid of any type and deletes its scratch file; safe on a grid that was never made. The
/// nodata value, units, flags, file type and version stay.
void DestroyGrid(Grid_Header& grid);

/// Opens a scratch file for the grid, with one row a record; the texts are the caller's. Of our own,
/// shared with the raster readers.
int openRowScratch(Grid_Header& grid, std::size_t bytesPerCell);

}  // namespace terrain
