#pragma once
// The text header of a raster, `<stem>.hdr`: pairs of tokens, a keyword and a value, the rest of a
// line dropped. Keywords are compared exactly. The corner keywords give the reference point of the
// south-west cell, which other systems read as the outer corner of that cell; the two differ by
// nothing but the name as long as one system writes and reads.
//
// A header without a corner or a cell size of these names may carry them as ULXMAP, ULYMAP (centre
// of the north-west cell), XDIM and YDIM, as band-interleaved rasters do; they are taken from there.

#include <string>
#include <string_view>

#include "foundation/units.h"
#include "grid/header.h"

namespace terrain {

/// The name of a raster without blanks around it and without its extension: ".hdr" and the endings of the
/// cells' files, in upper case too.
[[nodiscard]] std::string rasterStem(std::string_view name);

/// What a header written by other systems says of the cells beyond the fields of a grid header; blank
/// where it says nothing. Only readers of cells look at it.
struct RasterLayout {
  bool hasCorner = false;  ///< both coordinates of one
  std::string byteOrder{};
  std::string pixelType{};
  std::string bands{};
};

/// Reads `<stem>.hdr` into `header` as `Grid_Header::ReadHeader` does, and the layout with it.
int readRasterHeader(Grid_Header& header, std::string_view file, RasterLayout& layout);

/// What is wrong with a header that tells no place.
inline constexpr std::string_view kCornerMissing = "XLLCORNER or YLLCORNER is missing";

/// Reports what is wrong with the header of the raster `stem`, naming its file, under `tag`; -1.
int refuseHeader(std::string_view stem, std::string_view tag, std::string_view why);

/// True if the header can carry a raster: counts of at least 1, finite corners, cell sizes above 0 that
/// tell one cell's coordinates from the next one's. Otherwise a report.
[[nodiscard]] bool usableHeader(const Grid_Header& header, std::string_view stem, std::string_view tag);

// ---- writing ----

/// The geometry as it is written: lengths that were converted from feet are in feet again.
[[nodiscard]] GridGeometry geometryInFile(const Grid_Header& header);
/// True for square cells; a header of this format has one cell size. Otherwise a report.
[[nodiscard]] bool hasOneCellSize(const Grid_Header& header);
/// Writes the lines of `<stem>.hdr`.
void writeHeaderLines(TextFile& text, const Grid_Header& header, const VersionStamp* stamp);

}  // namespace terrain
