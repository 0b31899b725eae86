// Connected groups of cells above a threshold: found, measured, kept or dropped, and widened.

#include <algorithm>
#include <cmath>

#include "grid/buffers.h"
#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/region_walk.h"
#include "grid/storage.h"

namespace terrain {

namespace {

// ---- blobs as marks in a grid of their own ----

constexpr std::string_view kFlagTag = "FlagThreshold in Grid_Module";

constexpr int32_t kOut = -1;
constexpr int32_t kUnseen = 0;  // above the threshold, blob not yet measured
constexpr int32_t kBlob = 1;
constexpr int32_t kMeasured = 2;

/// Turns the cells that wait to be measured into blobs, or out where their group has fewer than `least`.
int keepLargeBlobs(I4Grid_type& marks, int64_t least) {
  return repaintRegions(
      marks, kUnseen, kMeasured, {kFlagTag, "flag failed"}, [](int32_t) {},
      [least](int64_t count) { return count < least ? kOut : kBlob; });
}

/// 1 within `distance` of a blob, -1 where the input has no data, 0 elsewhere.
int bufferBlobs(const R4Grid_type& input, I4Grid_type& marks, double distance) {
  putMessage("Buffering blobs");
  bool found = false;
  const auto isBlob = [](int32_t mark) { return mark == kBlob; };
  const auto change = [](int32_t, bool near) { return near ? kBlob : 0; };
  if (widen(marks, distance, kFlagTag, isBlob, change, found) != kSuccess)
    return fail(kFlagTag, "Error buffering");
  const auto leaveOutMissing = [missing = missingIn(input)](int32_t, auto from, auto to) {
    for (std::size_t i = 0; i < to.size(); ++i)
      if (missing(from[i])) to[i] = kOut;
  };
  return RowPass{reading(input), changing(marks)}.run(kFlagTag, leaveOutMissing);
}

// ---- patches in place ----

constexpr std::string_view kGreaterTag = "Subroutine greaterThanR4 in Grid_Module";

/// Patches of data, joined by sides and corners, of up to `most` cells become nodata; the cells of larger
/// ones 0.0. All data is above 0.
int dropSmallPatches(R4Grid_type& grid, int64_t most) {
  return onCells(grid, kGreaterTag, [&](auto cells) {
    RegionWalk walk(grid, Connection::eight);
    const auto holdsData = positiveIn(grid);
    for (int32_t row = 1; row <= grid.rows(); ++row)
      for (int32_t col = 1; col <= grid.cols(); ++col) {
        if (!holdsData(cells.get(col, row))) continue;
        int64_t count = 0;
        const auto take = [&](ColRow at) {
          if (!holdsData(cells.get(at.col, at.row))) return false;
          cells.set(at.col, at.row, 0.0F);
          ++count;
          return true;
        };
        take({col, row});
        bool done = walk.spread({col, row}, take);
        if (done && count <= most) {
          cells.set(col, row, grid.nodataValue());
          done = walk.spread({col, row}, repaint(cells, 0.0F, grid.nodataValue()));
        }
        if (!done) return cannotAllocate(kGreaterTag, "edge1");
      }
    return kSuccess;
  });
}

}  // namespace

int R4Grid_type::FlagThreshold(I4Grid_type& output, float threshold, const BlobArgs& args) const {
  Attempt attempt{status, output.status};
  // The marks must not read as nodata.
  const auto none = truncateTo<int32_t>(nodata);
  const bool taken = none == kUnseen || none == kBlob;
  if (CreateGrid(output, {.like = this, .nodata = taken ? kNodata : nodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kFlagTag, "CreateGrid failed for output grid");
  putMessage("Delineating blobs");
  const int64_t least =
      args.minLength ? std::max<int64_t>(truncateTo<int64_t>(static_cast<double>(*args.minLength) /
                                                             std::max(xcellsize, ycellsize) * (1 + 1e-9)),
                                         1)
                     : 0;
  // Every group has one cell.
  const int32_t mark = least > 1 ? kUnseen : kBlob;
  const auto compare = [threshold, mark, missing = missingIn(*this)](int32_t, auto from, auto to) {
    for (std::size_t i = 0; i < to.size(); ++i)
      to[i] = !missing(from[i]) && from[i] >= threshold ? mark : kOut;
  };
  if (RowPass{reading(*this), filling(output)}.run(kFlagTag, compare) != kSuccess) return kFailure;
  if (mark == kUnseen && keepLargeBlobs(output, least) != kSuccess) return kFailure;
  if (args.bufferDistance.value_or(0.0F) > 0.0F &&
      bufferBlobs(*this, output, static_cast<double>(*args.bufferDistance)) != kSuccess)
    return kFailure;
  return attempt.succeed();
}

int R4Grid_type::greaterThanR4(float threshold, double minArea, double bufferDistance) {
  constexpr float kKept = 1.0F;
  constexpr float kHalo = 2.0F;
  Attempt attempt{status};
  const float none = nodataValue();
  const double size = meanCellSize();
  const bool widens = std::round(bufferDistance / size) >= 1;
  if (none == 0.0F) return fail(kGreaterTag, "Cannot use zero as nodata");
  if (!(threshold > 0.0F)) return fail(kGreaterTag, "Threshold must be greater than zero");
  if (widens && (none == kKept || none == kHalo))
    return fail(kGreaterTag, "Cannot use 1.0 or 2.0 as nodata with a buffer");

  const auto compare = [=](float cell) { return cell < threshold ? none : cell; };
  if (onEvery(*this, {kGreaterTag}, compare) != kSuccess) return kFailure;
  const double most = minArea > 0 ? std::round(minArea / (size * size)) : 0.0;
  if (most > 0 && dropSmallPatches(*this, truncateTo<int64_t>(most)) != kSuccess) return kFailure;
  if (!widens) return attempt.succeed();

  bool found = false;
  const auto isKept = [missing = missingIn(*this)](float cell) { return !missing(cell); };
  const auto change = [=](float cell, bool near) {
    if (isKept(cell)) return kKept;
    return near && cell == none ? kHalo : cell;
  };
  return attempt.end(widen(*this, bufferDistance, kGreaterTag, isKept, change, found));
}

}  // namespace terrain
