#include "grid/header.h"

#include "foundation/messages.h"

namespace terrain {

int Grid_Header::Offset(const OffsetArgs& shift) {
  constexpr std::string_view tag = "Offset in grid_module";
  Attempt attempt{status};
  if (shift.x.has_value() != shift.y.has_value())
    return reportError({.routine = tag, .message1 = "Must specify both x and y"});
  double dx = 0;
  double dy = 0;
  if (shift.x) {
    dx = *shift.x;
    dy = *shift.y;
  } else if (shift.halfCell) {
    if (!*shift.halfCell) return reportError({.routine = tag, .message1 = "No offset specified"});
    dx = xcellsize / 2;
    dy = ycellsize / 2;
  }
  move(dx, dy);
  return attempt.succeed();
}

int CreateGridHeader(Grid_Header& header, int32_t ncols, int32_t nrows, double xmin, double ymin,
                     const HeaderArgs& args) {
  Attempt attempt{header.status};
  const CellSize& size = args.size;
  if (!size.cellsize && !(size.xcellsize && size.ycellsize))
    return reportError({.routine = "CreateGridHeader in Grid_Module", .message1 = "Cellsize not specified"});
  header.ncols = ncols;
  header.nrows = nrows;
  header.xmin = xmin;
  header.ymin = ymin;
  if (size.cellsize) {
    header.cellsize = header.xcellsize = header.ycellsize = *size.cellsize;
  } else {
    header.xcellsize = *size.xcellsize;
    header.ycellsize = *size.ycellsize;
  }
  header.updateFarCorner();
  if (args.units) header.units = *args.units;
  if (args.version != nullptr) header.version = *args.version;
  if (args.projection != nullptr && args.projection->LineCount() > 0)
    header.projection = args.projection->Copy();
  return attempt.succeed();
}

void FeetToMeters(Grid_Header& header) {
  header.scaleLengths(kMetersPerFoot);
  header.feetConverted = true;
}

}  // namespace terrain
