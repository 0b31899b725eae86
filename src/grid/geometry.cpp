#include "grid/geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

std::int64_t wholeCellsBelow(double cells) {
  return wholeCells(std::floor(cells + 1e-8 + 1e-9 * std::abs(cells)));
}

void GridGeometry::updateFarCorner() {
  xmax = xmin + (static_cast<double>(cols()) - 1) * xcellsize;
  ymax = ymin + (static_cast<double>(rows()) - 1) * ycellsize;
}

bool GridGeometry::resolvesCells() const {
  const auto resolved = [](double size, double low, double high) {
    return size > 4 * std::numeric_limits<double>::epsilon() * std::max(std::abs(low), std::abs(high));
  };
  return resolved(xcellsize, xmin, xmax) && resolved(ycellsize, ymin, ymax);
}

void GridGeometry::move(double dx, double dy) {
  xmin += dx;
  xmax += dx;
  ymin += dy;
  ymax += dy;
}

void GridGeometry::scaleLengths(double factor) {
  for (double* length : {&xmin, &ymin, &xmax, &ymax, &cellsize, &xcellsize, &ycellsize}) *length *= factor;
}

void GridGeometry::InitializeHeader(int32_t cols, int32_t rows, double west, double south,
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
  updateFarCorner();
}

ColRow GridGeometry::XYtoColRow(double x, double y) const {
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

Point GridGeometry::ColRowToXY(int32_t col, int32_t row) const {
  const double c = col;
  const double r = row;
  return {
      .x = col >= 1 ? xmin + (c - 1) * xcellsize : xmin + c * xcellsize,
      .y = row >= 1 ? ymin + (static_cast<double>(rows()) - r) * ycellsize : ymax + std::abs(r * ycellsize)};
}

ColRow GridGeometry::NearestColRow(double x, double y) const {
  ColRow cell = XYtoColRow(x, y);
  const Point at = ColRowToXY(cell.col, cell.row);
  if ((x - at.x) / xcellsize >= 0.5) cell.col = std::min(plus(cell.col, 1), cols());
  if ((y - at.y) / ycellsize >= 0.5) cell.row = std::max(plus(cell.row, -1), 1);
  return cell;
}

ColRow GridGeometry::NearestColRowOpen(double x, double y) const {
  ColRow cell = XYtoColRow(x, y);
  const Point at = ColRowToXY(cell.col, cell.row);
  if ((x - at.x) / xcellsize > 0.5) cell.col = plus(cell.col, 1);
  if ((y - at.y) / ycellsize > 0.5) cell.row = plus(cell.row, -1);
  return cell;
}

void GridGeometry::MetersToFeet() {
  for (double* length : {&xmin, &ymin, &xmax, &ymax, &cellsize, &xcellsize, &ycellsize})
    *length /= kMetersPerFoot;
}

void GridGeometry::GetExtent(const ExtentOut& out) const {
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

bool SameGridGeometry(const GridGeometry& a, const GridGeometry& b) {
  return sameCounts(a, b) && SameExtent(a, b);
}

bool SameExtent(const GridGeometry& a, const GridGeometry& b) {
  return sameR8(a.cellsize, b.cellsize) && sameR8(a.xmin, b.xmin) && sameR8(a.ymin, b.ymin) &&
         sameR8(a.xmax, b.xmax) && sameR8(a.ymax, b.ymax) && sameR8(a.xcellsize, b.xcellsize) &&
         sameR8(a.ycellsize, b.ycellsize);
}

}  // namespace terrain
