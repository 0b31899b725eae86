#include "grid/mosaic.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "grid/circle_fold.h"
#include "grid/float_raster.h"
#include "grid/missing.h"
#include "grid/new_grid.h"
#include "grid/raster_header.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "MosaicR4 in Grid_Module";

int32_t countBetween(double low, double high, double size) {
  return truncateTo<int32_t>(std::round((high - low) / size) + 1);
}

/// The union of the files' extents, in the cells of the first.
int unionOf(std::span<const std::string> files, Grid_Header& all) {
  for (const std::string& file : files) {
    Grid_Header header;
    if (header.ReadHeader(file) != kSuccess) return kFailure;
    header.unifyCellSize();
    if (!usableHeader(header, rasterStem(file), kTag)) return kFailure;
    if (&file == &files.front()) all = header;
    if (!sameR8(header.cellsize, all.cellsize))
      return reportError(
          {.routine = kTag, .file = file, .message1 = "Cell size differs from the first file"});
    all.xmin = std::min(all.xmin, header.xmin);
    all.ymin = std::min(all.ymin, header.ymin);
    all.xmax = std::max(all.xmax, header.xmax);
    all.ymax = std::max(all.ymax, header.ymax);
  }
  all.ncols = countBetween(all.xmin, all.xmax, all.cellsize);
  all.nrows = countBetween(all.ymin, all.ymax, all.cellsize);
  all.updateFarCorner();
  all.nodata = kNodata;
  return kSuccess;
}

/// Reads the files one after the other and calls use(grid), which gives 0 or -1.
template <class Use>
int forEachFile(std::span<const std::string> files, Use use) {
  for (const std::string& file : files) {
    R4Grid_type grid;
    Grid_Header header;
    if (ReadGrid(grid, file, {.fileHeader = &header}) != kSuccess) return kFailure;
    if (!hasSquareCells(grid))
      return reportError({.routine = kTag, .file = file, .message1 = "Input grid has unequal cellsize"});
    grid.nodata = header.nodata;
    if (use(grid) != kSuccess) return kFailure;
  }
  return kSuccess;
}

/// The 0-based column, or row from the south, of the result that each of `count` of a file falls in;
/// outside it a number that it has not.
int64_t placeOf(int64_t index, double fileLow, double fileSize, double low, double size) {
  const double centre = fileLow + (static_cast<double>(index) + 0.5) * fileSize;
  return truncateTo<int64_t>(std::floor((centre - low) / size + 1e-9));
}

/// Calls bring(row of the result, cells, places) for the rows of a file that fall within the result; the
/// cell i belongs in the 0-based column places[i].
template <class Bring>
int forEachPlacedRow(const R4Grid_type& file, const GridGeometry& out, Bring bring) {
  std::vector<int64_t> places;
  if (!tryAllocate(places, static_cast<std::size_t>(file.cols()))) return cannotAllocate(kTag, "row");
  for (std::size_t i = 0; i < places.size(); ++i)
    places[i] = placeOf(static_cast<int64_t>(i), file.xmin, file.xcellsize, out.xmin, out.xcellsize);
  return RowPass{reading(file)}.run(kTag, [&](int32_t row, std::span<const float> cells) {
    const int64_t fromSouth = placeOf(file.rows() - row, file.ymin, file.ycellsize, out.ymin, out.ycellsize);
    if (fromSouth < 0 || fromSouth >= out.rows()) return kSuccess;
    return bring(static_cast<int32_t>(out.rows() - fromSouth), cells, std::span<const int64_t>(places));
  });
}

/// Calls use(place, value) for the values of a row with data that fall within the `width` columns.
template <class Missing, class Use>
void forEachValue(std::span<const float> cells, std::span<const int64_t> places, std::size_t width,
                  Missing missing, Use use) {
  for (std::size_t i = 0; i < cells.size(); ++i)
    if (!missing(cells[i]) && places[i] >= 0 && places[i] < static_cast<int64_t>(width))
      use(static_cast<std::size_t>(places[i]), cells[i]);
}

int mergeExtremes(std::span<const std::string> files, R4Grid_type& out, bool smallest) {
  const auto isEmpty = missingIn(out);
  auto rows = changing(out);
  if (rows.open(kTag) != kSuccess) return kFailure;
  return forEachFile(files, [&](const R4Grid_type& file) {
    return forEachPlacedRow(file, out, [&](int32_t row, auto cells, auto places) {
      const auto merge = [&](std::span<float> kept) {
        forEachValue(cells, places, kept.size(), missingIn(file), [&](std::size_t at, float value) {
          if (isEmpty(kept[at]) || (smallest ? value < kept[at] : value > kept[at])) kept[at] = value;
        });
      };
      return onRow(row, kTag, merge, rows);
    });
  });
}

int mergeMeans(std::span<const std::string> files, R4Grid_type& out, const CreateGridArgs& like) {
  R8Grid_type sums;
  I4Grid_type counts;
  CreateGridArgs zeros = like;
  zeros.fillValue = 0.0F;
  if (CreateGrid(sums, zeros) != kSuccess || CreateGrid(counts, zeros) != kSuccess) return kFailure;
  auto sumRows = changing(sums);
  auto countRows = changing(counts);
  if (sumRows.open(kTag) != kSuccess || countRows.open(kTag) != kSuccess) return kFailure;
  const auto bring = [&](const R4Grid_type& file) {
    return forEachPlacedRow(file, out, [&](int32_t row, auto cells, auto places) {
      const auto add = [&](std::span<double> sum, std::span<int32_t> count) {
        forEachValue(cells, places, sum.size(), missingIn(file), [&](std::size_t at, float value) {
          sum[at] += static_cast<double>(value);
          ++count[at];
        });
      };
      return onRow(row, kTag, add, sumRows, countRows);
    });
  };
  if (forEachFile(files, bring) != kSuccess) return kFailure;
  const auto divide = [](int32_t, auto sum, auto count, auto mean) {
    for (std::size_t i = 0; i < mean.size(); ++i)
      if (count[i] > 0) mean[i] = static_cast<float>(sum[i] / count[i]);
  };
  return RowPass{reading(sums), reading(counts), changing(out)}.run(kTag, divide);
}

}  // namespace

R4Grid_type MosaicR4(std::span<const std::string> files, const MosaicArgs& args) {
  R4Grid_type failed;
  failed.status = kFailure;
  Grid_Header lattice;
  if (files.empty()) {
    fail(kTag, "No input files");
    return failed;
  }
  if (args.like != nullptr)
    lattice = *args.like;
  else if (unionOf(files, lattice) != kSuccess)
    return failed;
  const CreateGridArgs like{.like = &lattice, .onDisk = args.onDisk};
  return newGrid<R4Grid_type>(like, [&](R4Grid_type& out) {
    return args.mode == MosaicMode::mean ? mergeMeans(files, out, like)
                                         : mergeExtremes(files, out, args.mode == MosaicMode::smallest);
  });
}

R4Grid_type ResampleR4(const R4Grid_type& input, const Grid_Header& like) {
  return newGrid<R4Grid_type>({.like = &like, .nodata = input.nodata, .setCells = false},
                              [&](R4Grid_type& out) {
                                return RowPass{filling(out)}.run(
                                    "ResampleR4 in Grid_Module", [&](int32_t row, std::span<float> cells) {
                                      for (std::size_t i = 0; i < cells.size(); ++i) {
                                        const Point at = out.ColRowToXY(static_cast<int32_t>(i) + 1, row);
                                        cells[i] = input.ExtractR4ValueXY(at.x, at.y);
                                      }
                                    });
                              });
}

}  // namespace terrain
