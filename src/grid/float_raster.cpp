// Writers of float rasters.

#include "grid/float_raster.h"

#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/raster_rows.h"

namespace terrain {

namespace {

template <Cell T>
int writeFloats(GridOf<T>& grid, std::string_view stem, const VersionStamp* stamp) {
  const std::string_view tag = kFactsOf<T>.writeTag;
  Attempt attempt{grid.status};
  const std::string base(stripped(stem));
  const std::string name = base + ".flt";
  if (!grid.GridExists() || !grid.holdsItsCells()) return fail(tag, "Grid does not exist");
  platform::File file;
  const IoCode opened = file.open(name, platform::Open::replace);
  if (opened != kIoOk) {
    reportError({.routine = tag, .code = kCannotOpenToWrite, .file = name});
    putMessage("Error code: ", opened);
    return kFailure;
  }
  platform::removeFile(base + ".hdr");
  const auto write = [&] {
    if (grid.SetRowAccess() != kSuccess) return fail(tag, "setRowAccess failed");
    if (writeRows<float>(grid, file, name, {tag, kFactsOf<T>.writeRow}) != kSuccess) return kFailure;
    if (const IoCode closed = file.close(); closed != kIoOk)
      return reportError({.routine = tag, .code = kWriteError, .file = name, .message1 = describe(closed)});
    return grid.WriteGridHeader(base, stamp) == kSuccess ? kSuccess : fail(tag, "writeHeader failed");
  };
  if (write() == kSuccess) return attempt.succeed();
  platform::removeFile(name);
  return kFailure;
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
