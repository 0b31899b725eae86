// Writers of float rasters.

#include "grid/float_raster.h"

#include "foundation/messages.h"
#include "grid/raster_header.h"
#include "grid/raster_output.h"

namespace terrain {

namespace {

template <Cell T>
int writeFloats(GridOf<T>& grid, std::string_view stem, const VersionStamp* stamp) {
  const RasterFormat format{.routine = kFactsOf<T>.writeTag,
                            .rowObject = kFactsOf<T>.writeRow,
                            .cellsEnding = ".flt",
                            .headerFailed = "writeHeader failed",
                            .codeLabel = "Error code: "};
  if (grid.GridExists() && !hasOneCellSize(grid))
    return grid.status = fail(format.routine, format.headerFailed);
  return writeRaster<float>(grid, stem, format, [&](TextFile& text) { writeHeaderLines(text, grid, stamp); });
}

}  // namespace

int WriteGridflt(Grid_Header& grid, std::string_view stem, const VersionStamp* stamp) {
  constexpr std::string_view tag = "WriteGridflt in Grid_Modul";
  return visitGrid(
      grid,
      [&](auto& typed) {
        return writeFloats(typed, stem, stamp) == kSuccess ? kSuccess : fail(tag, "Writeflt failed");
      },
      [tag] { return fail(tag, "Unrecognized grid type"); });
}

// clang-format off
// ---- faces ----

int R4Grid_type::WritefltR4(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }
int R8Grid_type::WritefltR8(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }
int I8Grid_type::WritefltI8(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }
int I4Grid_type::WritefltI4(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }
int I2Grid_type::WritefltI2(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }
int I1Grid_type::WritefltI1(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp); }

// clang-format on

}  // namespace terrain
