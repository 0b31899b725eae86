// Values of grids within polygons: mean aspects, and values in ascending order.

#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/sorting.h"
#include "foundation/status.h"
#include "grid/cell_view.h"
#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "table/polygon_vectors.h"
#include "table/rasterize.h"

namespace terrain {

namespace {

constexpr std::string_view kAspectTag = "getAspect in dataTableModule";
constexpr std::string_view kCdfTag = "GetCDF";

struct DirectionSums {
  float sine = 0;
  float cosine = 0;
};

/// From 0 to 2 pi; none where both sums are 0.
std::optional<float> directionOf(const DirectionSums& sums) {
  constexpr float kTurn = 6.2831855F;
  constexpr float kQuarter = 1.5707964F;
  if (sums.cosine == 0) {
    if (sums.sine == 0) return std::nullopt;
    return sums.sine > 0 ? kQuarter : kTurn - kQuarter;
  }
  float angle = std::atan(sums.sine / sums.cosine);
  if (sums.cosine < 0)
    angle += 3.1415927F;
  else if (sums.sine < 0)
    angle += kTurn;
  return angle;
}

/// The cells around a box, one more on each side where the grid has them; none where the box is not within
/// the area that the cells cover.
std::optional<Window> windowOf(const PolygonType& polygon, const GridGeometry& grid) {
  if (!grid.covers(polygon.xmin, polygon.ymin) || !grid.covers(polygon.xmax, polygon.ymax))
    return std::nullopt;
  const ColRow low = grid.coveringCell(grid.XYtoColRow(polygon.xmin, polygon.ymin));
  const ColRow high = grid.coveringCell(grid.XYtoColRow(polygon.xmax, polygon.ymax));
  return grid.clipped({.col1 = low.col - 1, .col2 = high.col + 1, .row1 = high.row - 1, .row2 = low.row + 1});
}

/// Cells of a window within a polygon, row by row: their values, and their places in the window's array.
struct Samples {
  std::vector<float> values{};
  std::vector<std::size_t> places{};
};

bool takeSamples(I4Grid_type& inside, std::span<const float> cells, const R4Grid_type& grid,
                 Samples& samples) {
  const auto width = static_cast<std::size_t>(inside.cols());
  return withCells(inside, kCdfTag, [&, isMissing = missingIn(grid)](auto marks) {
    for (std::size_t at = 0; at < cells.size(); ++at) {
      const auto col = static_cast<int32_t>(at % width) + 1;
      const auto row = static_cast<int32_t>(at / width) + 1;
      if (marks.get(col, row) <= 0 || isMissing(cells[at])) continue;
      if (!tryAppend(samples.values, cells[at]) || !tryAppend(samples.places, at)) return false;
    }
    return true;
  });
}

/// out[k] = valueAt(place) for the places in the order of their ranks. False if there is no memory.
template <class T, class ValueAt>
bool inOrder(std::span<const int32_t> order, const Samples& samples, std::vector<T>* out, ValueAt valueAt) {
  if (out == nullptr) return true;
  if (!tryAllocate(*out, order.size())) return false;
  for (std::size_t k = 0; k < order.size(); ++k)
    (*out)[k] = valueAt(samples.places[static_cast<std::size_t>(order[k]) - 1]);
  return true;
}

}  // namespace

int PolyVectorType::getAspect(const R4Grid_type& aspect) {
  Attempt attempt{status};
  if (numRecords < 1) return attempt.succeed();
  std::vector<int32_t> numbers;
  std::vector<DirectionSums> sums;
  if (numRecords > std::numeric_limits<int32_t>::max() ||
      !tryAllocate(numbers, static_cast<std::size_t>(numRecords)) || !tryAllocate(sums, numbers.size()))
    return cannotAllocate(kAspectTag, "sums");
  std::iota(numbers.begin(), numbers.end(), 1);
  I4Grid_type polygonAt;
  if (RasterizePoly(polygonAt, {.like = &aspect, .strictBoundary = true, .values = numbers}) != kSuccess)
    return fail(kAspectTag, "Error rasterizing polygons");
  const auto add = [&, isMissing = missingIn(aspect)](int32_t, std::span<const int32_t> records,
                                                      std::span<const float> directions) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (records[i] <= 0 || !(directions[i] >= 0) || isMissing(directions[i])) continue;
      DirectionSums& sum = sums[static_cast<std::size_t>(records[i]) - 1];
      sum.sine += std::sin(directions[i]);
      sum.cosine += std::cos(directions[i]);
    }
  };
  if (RowPass{reading(polygonAt), reading(aspect)}.run(kAspectTag, add) != kSuccess) return kFailure;
  for (std::size_t i = 0; i < sums.size(); ++i)
    if (const std::optional<float> direction = directionOf(sums[i]))
      SetPolygonValue(static_cast<int64_t>(i) + 1, *direction);
  return attempt.succeed();
}

int PolyVectorType::GetCDF(int64_t irec, const R4Grid_type& grid, std::vector<float>& values,
                           const CdfOptions& options) {
  Attempt attempt{status};
  const auto reset = [&] {
    values.clear();
    if (options.values2 != nullptr) options.values2->clear();
    for (std::vector<int32_t>* list : {options.cols, options.rows})
      if (list != nullptr) list->clear();
  };
  const auto noMemory = [&reset] {
    reset();
    return cannotAllocate(kCdfTag, "values");
  };
  reset();
  const PolygonType* const at = shapeAt(irec);
  if (at == nullptr) return kFailure;
  const bool wants2 = options.grid2 != nullptr && options.values2 != nullptr;
  if (!grid.GridExists() || (wants2 && !options.grid2->GridExists()))
    return fail(kCdfTag, "Grid does not exist");
  if (wants2 && !sameCounts(grid, *options.grid2)) return fail(kCdfTag, "Grids of different size");
  const std::optional<Window> window = at->x.empty() ? std::nullopt : windowOf(*at, grid);
  if (!window) return attempt.succeed();

  std::vector<float> cells;
  std::vector<float> cells2;
  if (!tryAllocate(cells, window->cells()) || (wants2 && !tryAllocate(cells2, cells.size())))
    return noMemory();
  grid.ExtractR4Window(cells, *window);
  if (wants2) options.grid2->ExtractR4Window(cells2, *window);

  const Point corner = grid.ColRowToXY(window->col1, window->row2);
  I4Grid_type inside;
  const CreateGridArgs lattice{.ncols = window->col2 - window->col1 + 1,
                               .nrows = window->row2 - window->row1 + 1,
                               .xmin = corner.x,
                               .ymin = corner.y,
                               .size = {.xcellsize = grid.xcellsize, .ycellsize = grid.ycellsize},
                               .fillValue = 0.0F};
  if (CreateGrid(inside, lattice) != kSuccess ||
      RasterizePoly(inside, {.ival = 1, .firstRecord = irec, .lastRecord = irec}) != kSuccess)
    return fail(kCdfTag, "Rasterize polygon failed");

  Samples samples;
  std::vector<int32_t> order;
  if (!takeSamples(inside, cells, grid, samples) || !tryAllocate(order, samples.values.size()) ||
      mergeRank(samples.values, order) != kSuccess)
    return noMemory();
  const auto width = window->width();
  const bool held =
      inOrder(order, samples, &values, [&](std::size_t place) { return cells[place]; }) &&
      inOrder(order, samples, wants2 ? options.values2 : nullptr,
              [&](std::size_t place) { return cells2[place]; }) &&
      inOrder(order, samples, options.cols,
              [&](std::size_t place) { return window->col1 + static_cast<int32_t>(place % width); }) &&
      inOrder(order, samples, options.rows,
              [&](std::size_t place) { return window->row1 + static_cast<int32_t>(place / width); });
  if (!held) return noMemory();
  return attempt.succeed();
}

}  // namespace terrain
