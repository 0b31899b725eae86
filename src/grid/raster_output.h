#pragma once
// A raster on its way to disk, the same for every format that is rows of cells beside a text header: the
// files are written under temporary names and take their places together, the header last, so a raster
// that was cut short by a full disk or a broken run leaves the older one as it was. Internal to the
// raster writers.

#include <string>
#include <string_view>

#include "foundation/replacement.h"
#include "grid/raster_rows.h"

namespace terrain {

class RasterOutput {
 public:
  /// `stem` is the name of the raster without extension; failures are reported under `routine`.
  RasterOutput(std::string_view routine, std::string_view stem);

  [[nodiscard]] const std::string& stem() const { return stem_; }
  /// Opens the file of the cells; a failure adds a line, `codeLabel` and the code. 0, or -1 with a report.
  [[nodiscard]] int openCells(std::string_view ending, std::string_view codeLabel);
  [[nodiscard]] int openHeader(std::string_view ending = ".hdr");
  /// Writes the projection file, or sees to it that none stays that belongs to an older raster. A file that
  /// cannot be replaced is reported and left.
  void writeProjection(const InputFileType& projection);
  [[nodiscard]] platform::File& cells() { return cells_.file(); }
  [[nodiscard]] const std::string& cellsName() const { return cells_.target(); }
  [[nodiscard]] TextFile& header() { return header_.text(); }
  /// Puts what was opened in place. 0, or -1 with a report.
  [[nodiscard]] int commit();

 private:
  [[nodiscard]] IoCode open(Replacement& file, std::string_view ending);

  std::string routine_;
  std::string stem_;
  Replacement cells_, projection_, header_;
  std::vector<Replacement*> opened_;  // but for the header
  bool hasHeader_ = false;
};

/// What a format of rows of cells calls its files and says of failures.
struct RasterFormat {
  std::string_view routine{};
  std::string_view rowObject = "row";
  std::string_view cellsEnding{};
  std::string_view headerEnding = ".hdr";
  std::string_view headerFailed{};  ///< follows the report of a header that cannot be written
  std::string_view codeLabel = "  Error code: ";
  bool hasProjection = true;  ///< readers of the format look for `<stem>.prj`
};

/// Writes a grid as `To` cells beside the header that `headerLines(text)` writes; sets the grid's status.
/// 0, or -1 with a report.
template <class To, Cell T, class HeaderLines>
int writeRaster(GridOf<T>& grid, std::string_view stem, const RasterFormat& format, HeaderLines headerLines) {
  Attempt attempt{grid.status};
  if (!grid.GridExists() || !grid.holdsItsCells()) return fail(format.routine, "Grid does not exist");
  RasterOutput out(format.routine, stem);
  if (out.openCells(format.cellsEnding, format.codeLabel) != kSuccess) return kFailure;
  if (out.openHeader(format.headerEnding) != kSuccess)
    return format.headerFailed.empty() ? kFailure : fail(format.routine, format.headerFailed);
  headerLines(out.header());
  if (format.hasProjection) out.writeProjection(grid.projection);
  if (grid.SetRowAccess() != kSuccess) return fail(format.routine, "setRowAccess failed");
  if (writeRows<To>(grid, out.cells(), out.cellsName(), {format.routine, format.rowObject}) != kSuccess)
    return kFailure;
  return attempt.end(out.commit());
}

}  // namespace terrain
