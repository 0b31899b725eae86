#pragma once
// Float rasters: `<stem>.flt`, the cells as raw little-endian binary, row after row from the north,
// with the text header `<stem>.hdr` and optional projection text `<stem>.prj`. Written cells are
// always float32, whatever the grid's type. `<stem>.int`, integer cells, is read in the same way.
//
// A header is written last and an old one removed first, so a raster that was cut short by a full
// disk or a broken run has no header and cannot be taken for a finished one.

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
/// grid keeps the nodata value it has. Status 0 or -1.
int ReadGrid(Grid_Header& grid, std::string_view fileName, const ReadGridArgs& args = {});

/// Reads a raster with `replaceNodata`, whatever `args` says. With a clip grid whose lengths were
/// converted from feet the grid's header says so too. 0, or -1 with a report and a grid without cells.
int readRaster(R4Grid_type& grid, std::string_view name, const ReadGridArgs& args = {});

/// Writes any grid as `<stem>.flt` and `.hdr`.
int WriteGridflt(Grid_Header& grid, std::string_view stem, const VersionStamp* stamp = nullptr);

/// How a file is resampled onto the lattice of `matchGrid`.
struct MatchArgs {
  const Grid_Header* matchGrid = nullptr;  ///< null: the file's own lattice
  std::optional<bool> onDisk{};
  bool halfCell = false;       ///< shift the georeference by half a cell at the end
  bool ignoreNodata = false;   ///< float types: missing corners count as 0
  bool noInterpolate = false;  ///< float32 only
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
