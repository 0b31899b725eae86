#pragma once
// Float rasters: `<stem>.flt`, the cells as raw little-endian binary, row after row from the north,
// with the text header `<stem>.hdr` and optional projection text `<stem>.prj`. Written cells are
// always float32, whatever the grid's type. `<stem>.int`, integer cells, is read in the same way.
//
// The files are written under temporary names and take their places together, the header last: a full
// disk or a broken run leaves an older raster as it was.

#include <optional>
#include <string_view>

#include "grid/grid.h"

namespace terrain {

struct ReadGridArgs {
  const Grid_Header* clipGrid = nullptr;  ///< its extent, snapped to the file's lattice, is what is read
  std::optional<bool> onDisk{};           ///< absent: in memory where memory suffices
  std::optional<bool> cellAccess{};       ///< a grid on disk ends in cell access
  bool replaceNodata = false;             ///< the file's nodata and NaN become -9999, the grid's nodata
  Grid_Header* fileHeader = nullptr;      ///< receives the header of the file
};

/// Makes a float32, float64, int32 or int64 grid from a raster file; name with or without extension.
/// Unless `replaceNodata` says otherwise values are moved as they stand, nodata and NaN included, and the
/// grid keeps the nodata value it has. With a clip grid whose lengths were converted from feet the new
/// grid's are, and it says so. Status 0, or -1 with a report and a grid without cells.
int ReadGrid(Grid_Header& grid, std::string_view fileName, const ReadGridArgs& args = {});

/// Reads a raster with `replaceNodata`, whatever `args` says.
int readRaster(R4Grid_type& grid, std::string_view name, const ReadGridArgs& args = {});

/// Writes any grid as `<stem>.flt` and `.hdr`, and `.prj` where it has a projection; an older `.prj` goes.
/// Cells must be square, as the header has one cell size. Status 0; -1 with a report, with older files as
/// they were.
int WriteGridflt(Grid_Header& grid, std::string_view stem, const VersionStamp* stamp = nullptr);

/// How a file is resampled onto the lattice of `matchGrid`. The new grid then has the nodata value of the
/// file; without `matchGrid` it has its own, as with `ReadGrid`.
struct MatchArgs {
  const Grid_Header* matchGrid = nullptr;  ///< null: the file's own lattice
  std::optional<bool> onDisk{};
  bool halfCell = false;       ///< shift the georeference by half a cell at the end
  bool ignoreNodata = false;   ///< float types: missing corners count as 0
  bool noInterpolate = false;  ///< float32 only
  bool replaceNodata = false;  ///< the file's nodata and NaN become -9999, the grid's nodata
};
int ReadR4GridFile(R4Grid_type& grid, std::string_view fileName, const MatchArgs& args = {});
int ReadR8GridFile(R8Grid_type& grid, std::string_view fileName, const MatchArgs& args = {});
int ReadI4GridFile(I4Grid_type& grid, std::string_view fileName, const MatchArgs& args = {});
int ReadI8GridFile(I8Grid_type& grid, std::string_view fileName, const MatchArgs& args = {});

struct OpenR4Args {
  const Grid_Header* clipGrid = nullptr;  ///< square cells
  std::optional<bool> onDisk{};
  std::optional<float> nodata{};  ///< the grid's nodata; absent: the file's
};
/// A leaner reader of float32 files with a shorter list of header keywords; it takes the file's nodata.
int OpenR4Grid(R4Grid_type& grid, std::string_view fileName, const OpenR4Args& args = {});

}  // namespace terrain
