// Parts of a grid as new grids: a rectangle of its cells, or every n-th cell.

#include <algorithm>
#include <limits>

#include "grid/circle_fold.h"
#include "grid/grid.h"
#include "grid/new_grid.h"

namespace terrain {

namespace {

// ---- rectangles ----

/// Columns and rows on a line that goes on through 0 west and north of the grid.
struct Rectangle {
  int64_t col1 = 0, row1 = 0, cols = 0, rows = 0;
};

Rectangle rectangleOf(const GridGeometry& grid, const SubsetArgs& args) {
  if (args.header != nullptr) {
    const ColRow southWest = grid.XYtoColRow(args.header->xmin, args.header->ymin);
    const int64_t rows = args.header->rows();
    return {.col1 = GridGeometry::lineIndex(southWest.col),
            .row1 = GridGeometry::lineIndex(southWest.row) - rows + 1,
            .cols = args.header->cols(),
            .rows = rows};
  }
  return {.col1 = *args.col1,
          .row1 = *args.row1,
          .cols = int64_t{*args.col2} - *args.col1 + 1,
          .rows = int64_t{*args.row2} - *args.row1 + 1};
}

/// The rectangle's geometry as that of a header or, without one, from the grid's.
Grid_Header headerOf(const Grid_Header& grid, const Rectangle& part, const Grid_Header* given) {
  Grid_Header header = grid;
  header.ncols = static_cast<int32_t>(part.cols);
  header.nrows = static_cast<int32_t>(part.rows);
  const double south = static_cast<double>(grid.rows() - (part.row1 + part.rows - 1));
  header.xmin =
      given != nullptr ? given->xmin : grid.xmin + static_cast<double>(part.col1 - 1) * grid.xcellsize;
  header.ymin = given != nullptr ? given->ymin : grid.ymin + south * grid.ycellsize;
  header.updateFarCorner();
  return header;
}

/// Copies the cells of the rectangle that the grid has; the others are nodata.
template <Cell T>
int copyRectangle(const GridOf<T>& grid, const Rectangle& part, GridOf<T>& out, std::string_view routine) {
  auto from = reading(grid);
  auto to = changing(out);
  if (from.open(routine) != kSuccess || to.open(routine) != kSuccess) return kFailure;
  const int64_t col1 = std::max<int64_t>(part.col1, 1);
  const int64_t col2 = std::min<int64_t>(part.col1 + part.cols - 1, grid.cols());
  for (int32_t row = 1; row <= out.rows(); ++row) {
    const int64_t source = part.row1 + row - 1;
    if (source < 1 || source > grid.rows()) continue;
    if (from.enter(static_cast<int32_t>(source), routine) != kSuccess) return kFailure;
    const auto cells =
        from.cells().subspan(static_cast<std::size_t>(col1 - 1), static_cast<std::size_t>(col2 - col1 + 1));
    const auto copy = [&](std::span<T> copies) {
      std::ranges::copy(cells, copies.begin() + (col1 - part.col1));
    };
    if (onRow(row, routine, copy, to) != kSuccess) return kFailure;
  }
  return kSuccess;
}

template <class Grid>
Grid subset(const Grid& grid, const SubsetArgs& args, std::string_view routine) {
  const bool hasSides = args.col1 && args.col2 && args.row1 && args.row2;
  Rectangle part;
  const auto fits = [&] {
    if (args.header == nullptr && !hasSides) {
      fail(routine, "Need a header or col1, col2, row1 and row2");
      return false;
    }
    part = rectangleOf(grid, args);
    constexpr int64_t most = std::numeric_limits<int32_t>::max();
    const bool overlaps = part.cols >= 1 && part.rows >= 1 && part.cols <= most && part.rows <= most &&
                          part.col1 <= grid.cols() && part.col1 + part.cols > 1 && part.row1 <= grid.rows() &&
                          part.row1 + part.rows > 1;
    if (!overlaps) fail(routine, "Subset does not overlap the grid");
    if (overlaps && grid.useRowAccess() != kSuccess) return fail(routine, "SetRowAccess failed") == kSuccess;
    return overlaps;
  }();
  const Grid_Header header = fits ? headerOf(grid, part, args.header) : Grid_Header{};
  return newGridFrom<Grid>(grid, fits, {.like = &header},
                           [&](Grid& out) { return copyRectangle(grid, part, out, routine); });
}

// ---- samples ----

/// Copies every `factor`-th cell from (col, row) on.
int copySample(const R4Grid_type& grid, ColRow start, int32_t factor, R4Grid_type& out,
               std::string_view routine) {
  auto from = reading(grid);
  auto to = filling(out);
  if (from.open(routine) != kSuccess || to.open(routine) != kSuccess) return kFailure;
  const auto step = static_cast<std::size_t>(factor);
  for (int32_t row = 1; row <= out.rows(); ++row) {
    if (from.enter(start.row + (row - 1) * factor, routine) != kSuccess) return kFailure;
    const auto sample = [&](std::span<float> cells) {
      for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = from.cells()[static_cast<std::size_t>(start.col - 1) + i * step];
    };
    if (onRow(row, routine, sample, to) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

// ---- faces ----

R4Grid_type R4Grid_type::SubsetR4(const SubsetArgs& args) const {
  return subset(*this, args, "SubsetR4 in Grid_Module");
}
I4Grid_type I4Grid_type::SubsetI4(const SubsetArgs& args) const {
  return subset(*this, args, "SubsetI4 in Grid_Module");
}

R4Grid_type R4Grid_type::SubsampleR4(int32_t factor) const {
  constexpr std::string_view routine = "SubsampleR4 in Grid_Module";
  const bool fits = factor >= 1 && factor <= cols() && factor <= rows();
  if (!fits) fail(routine, "Factor must be from 1 to the number of columns and of rows");
  Grid_Header header = *this;
  ColRow start;
  if (fits) {
    start = {.col = cols() % factor / 2 + 1, .row = rows() % factor / 2 + 1};
    const Point first = ColRowToXY(start.col, start.row);
    const double times = factor;
    header.ncols = cols() / factor;
    header.nrows = rows() / factor;
    for (double* size : {&header.cellsize, &header.xcellsize, &header.ycellsize}) *size *= times;
    header.xmin = first.x;
    header.ymin = first.y - static_cast<double>(header.rows() - 1) * header.ycellsize;
    header.updateFarCorner();
  }
  return newGridFrom<R4Grid_type>(*this, fits, {.like = &header, .setCells = false}, [&](R4Grid_type& out) {
    return copySample(*this, start, factor, out, routine);
  });
}

}  // namespace terrain
