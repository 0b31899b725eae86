#include "grid/shapefile_extent.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "foundation/bytes.h"
#include "foundation/files.h"
#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

namespace {

struct Box {
  double xmin = 0, ymin = 0, xmax = 0, ymax = 0;
};

/// What goes wrong is reported in one way, with the caller's context as the last line.
class ExtentReport {
 public:
  ExtentReport(std::string_view routine, std::string_view context) : routine_(routine), context_(context) {}
  int operator()(Report report) const {
    report.routine = routine_;
    if (!isBlank(context_)) report.message3 = context_;
    return reportError(report);
  }

 private:
  std::string_view routine_, context_;
};

int readBox(Box& box, std::string_view stem, const ExtentReport& report) {
  constexpr std::uint64_t boxOffset = 36;  // four little-endian float64 of the file's header
  const std::string name = existingFile(stripped(stem), ".shp");
  platform::File file;
  if (file.open(name, platform::Open::read) != kIoOk)
    return report({.code = kCannotOpenToRead, .file = name});
  std::array<std::byte, 32> bytes{};
  if (file.readAt(boxOffset, bytes) != kIoOk) return report({.code = kReadError, .file = name});
  ByteReader reader(bytes);
  for (double* bound : {&box.xmin, &box.ymin, &box.xmax, &box.ymax}) *bound = reader.little<double>();
  if (std::isfinite(box.xmax - box.xmin) && std::isfinite(box.ymax - box.ymin) && box.xmin <= box.xmax &&
      box.ymin <= box.ymax)
    return kSuccess;
  return report({.file = name, .message1 = "The shapefile has no bounding box"});
}

/// The cells of one axis, counted from 0, that an interval touches, and one more.
struct Span {
  int64_t first = 0, last = 0;
  [[nodiscard]] int64_t count() const { return last - first + 1; }
};

Span spanOf(double low, double high, double origin, double size, int32_t count,
            std::optional<double> buffer) {
  Span span{.first = wholeCellsBelow((low - origin) / size),
            .last = wholeCellsBelow((high - origin) / size) + 1};
  if (buffer) {
    const int64_t cells = -wholeCellsBelow(-*buffer / size);  // rounded up
    span.first = std::max<int64_t>(span.first - cells, 0);
    span.last = std::min<int64_t>(span.last + cells, int64_t{count} - 1);
  }
  return span;
}

int findExtent(Grid_Header& header, const Grid_Header& grid, std::string_view stem,
               std::optional<double> bufferDistance, const ExtentReport& report) {
  Attempt attempt{header.status};
  Box box;
  if (readBox(box, stem, report) != kSuccess) return kFailure;
  if (grid.feetConverted)
    for (double* bound : {&box.xmin, &box.ymin, &box.xmax, &box.ymax}) *bound *= kMetersPerFoot;
  const bool overlaps = grid.HeaderExists() && box.xmin <= grid.xmax + grid.xcellsize &&
                        box.xmax >= grid.xmin && box.ymin <= grid.ymax + grid.ycellsize &&
                        box.ymax >= grid.ymin;
  const Span cols = spanOf(box.xmin, box.xmax, grid.xmin, grid.xcellsize, grid.cols(), bufferDistance);
  const Span rows = spanOf(box.ymin, box.ymax, grid.ymin, grid.ycellsize, grid.rows(), bufferDistance);
  if (!overlaps || cols.count() < 1 || rows.count() < 1)
    return report({.message1 = "Shapefile does not overlap DEM",
                   .message2 = "Ensure that coordinate systems and datums match"});
  constexpr int64_t most = std::numeric_limits<int32_t>::max();
  if (cols.count() > most || rows.count() > most)
    return report({.message1 = "The bounding box of the shapefile has too many cells"});

  header.ncols = static_cast<int32_t>(cols.count());
  header.nrows = static_cast<int32_t>(rows.count());
  header.cellsize = grid.cellsize;
  header.xcellsize = grid.xcellsize;
  header.ycellsize = grid.ycellsize;
  header.xmin = grid.xmin + static_cast<double>(cols.first) * grid.xcellsize;
  header.ymin = grid.ymin + static_cast<double>(rows.first) * grid.ycellsize;
  header.updateFarCorner();
  header.units = grid.units;
  header.feetConverted = grid.feetConverted;
  return attempt.succeed();
}

}  // namespace

int GetShapefileExtent(Grid_Header& newHeader, const Grid_Header& grid, std::string_view stem,
                       std::string_view errorContext, std::optional<double> bufferDistance) {
  const ExtentReport report("SUBROUTINE GetShapefileExtent in MODULE G", errorContext);
  if (newHeader.ncols) return newHeader.status = report({.message1 = "Newgrid already exists"});
  return findExtent(newHeader, grid, stem, bufferDistance, report);
}

Grid_Header ExtentFromShapefile(const Grid_Header& grid, std::string_view stem, std::string_view errorContext,
                                std::optional<double> bufferDistance) {
  Grid_Header header;
  findExtent(header, grid, stem, bufferDistance,
             {"FUNCTION ExtentFromShapefile in MODULE Grid_Modul", errorContext});
  return header;
}

}  // namespace terrain
