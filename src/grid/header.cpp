#include "grid/header.h"

#include <cmath>

#include "foundation/messages.h"
#include "foundation/numbers.h"

namespace terrain {

namespace {
constexpr double kTolerance = 1e-8;  // of positions, in map units

int32_t wholeCells(double cells) { return truncateTo<int32_t>(cells); }

/// Sums of cell numbers stay within their range, so that a point far off the map is merely outside.
int32_t plus(int32_t a, int64_t b) {
  return truncateTo<int32_t>(static_cast<double>(a) + static_cast<double>(b));
}
}  // namespace

void Grid_Header::settleFarCorner() {
  xmax = xmin + static_cast<double>(cols() - 1) * xcellsize;
  ymax = ymin + static_cast<double>(rows() - 1) * ycellsize;
}

void Grid_Header::scaleLengths(double factor) {
  for (double* length : {&xmin, &ymin, &xmax, &ymax, &cellsize, &xcellsize, &ycellsize}) *length *= factor;
}

void Grid_Header::copyGeometry(const Grid_Header& from) {
  ncols = from.ncols;
  nrows = from.nrows;
  xmin = from.xmin;
  ymin = from.ymin;
  xmax = from.xmax;
  ymax = from.ymax;
  cellsize = from.cellsize;
  xcellsize = from.xcellsize;
  ycellsize = from.ycellsize;
}

void Grid_Header::InitializeHeader(int32_t cols, int32_t rows, double west, double south,
                                   const CellSize& size) {
  ncols = cols;
  nrows = rows;
  xmin = west;
  ymin = south;
  if (size.xcellsize) {
    xcellsize = *size.xcellsize;
    ycellsize = size.ycellsize.value_or(*size.xcellsize);
  } else {
    cellsize = xcellsize = ycellsize = size.cellsize.value_or(cellsize);
  }
  settleFarCorner();
}

ColRow Grid_Header::XYtoColRow(double x, double y) const {
  ColRow cell;
  const double d = x - xmin + kTolerance;
  cell.col = plus(wholeCells(d / xcellsize), d >= 0 ? 1 : -1);
  if (std::abs(y - ymax) < kTolerance) {
    cell.row = 1;
  } else if (y < ymax && y >= ymin) {
    cell.row = plus(rows(), -int64_t{wholeCells((y - ymin + kTolerance) / ycellsize)});
  } else if (y < ymin) {
    cell.row = plus(rows(), int64_t{wholeCells((ymin - y) / ycellsize)} +
                                (std::abs(std::fmod(ymin - y, ycellsize)) > kTolerance ? 1 : 0));
  } else {
    cell.row = plus(-1, -int64_t{wholeCells((y - kTolerance - ymax) / ycellsize)});
  }
  return cell;
}

Point Grid_Header::ColRowToXY(int32_t col, int32_t row) const {
  const double c = col;
  const double r = row;
  return {
      .x = col >= 1 ? xmin + (c - 1) * xcellsize : xmin + c * xcellsize,
      .y = row >= 1 ? ymin + (static_cast<double>(rows()) - r) * ycellsize : ymax + std::abs(r * ycellsize)};
}

ColRow Grid_Header::NearestColRow(double x, double y) const {
  ColRow cell = XYtoColRow(x, y);
  const Point at = ColRowToXY(cell.col, cell.row);
  if ((x - at.x) / xcellsize >= 0.5) cell.col = std::min(plus(cell.col, 1), cols());
  if ((y - at.y) / ycellsize >= 0.5) cell.row = std::max(plus(cell.row, -1), 1);
  return cell;
}

ColRow Grid_Header::NearestColRowOpen(double x, double y) const {
  ColRow cell = XYtoColRow(x, y);
  const Point at = ColRowToXY(cell.col, cell.row);
  if ((x - at.x) / xcellsize > 0.5) cell.col = plus(cell.col, 1);
  if ((y - at.y) / ycellsize > 0.5) cell.row = plus(cell.row, -1);
  return cell;
}

void Grid_Header::MetersToFeet() {
  for (double* length : {&xmin, &ymin, &xmax, &ymax, &cellsize, &xcellsize, &ycellsize})
    *length /= kMetersPerFoot;
}

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
  xmin += dx;
  xmax += dx;
  ymin += dy;
  ymax += dy;
  return attempt.succeed();
}

void Grid_Header::GetExtent(const ExtentOut& out) const {
  const auto copy = [](auto* to, const auto& from) {
    if (to != nullptr) *to = from;
  };
  copy(out.xmin, xmin);
  copy(out.xmax, xmax);
  copy(out.ymin, ymin);
  copy(out.ymax, ymax);
  copy(out.cellsize, cellsize);
  copy(out.xcellsize, xcellsize);
  copy(out.ycellsize, ycellsize);
  copy(out.ncols, cols());
  copy(out.nrows, rows());
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
  header.settleFarCorner();
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

bool SameGridGeometry(const Grid_Header& a, const Grid_Header& b) {
  return a.ncols == b.ncols && a.nrows == b.nrows && SameExtent(a, b);
}

bool SameExtent(const Grid_Header& a, const Grid_Header& b) {
  return sameR8(a.cellsize, b.cellsize) && sameR8(a.xmin, b.xmin) && sameR8(a.ymin, b.ymin) &&
         sameR8(a.xmax, b.xmax) && sameR8(a.ymax, b.ymax) && sameR8(a.xcellsize, b.xcellsize) &&
         sameR8(a.ycellsize, b.ycellsize);
}

}  // namespace terrain
