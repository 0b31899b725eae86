#include "dem/basins.h"

#include <string_view>
#include <vector>

#include "dem/lattice.h"
#include "dem/receivers.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "delineateBasin in DEM_Module";
constexpr std::string_view kD8Tag = "delineateBasinD8 in DEM_Module";

/// The cell of a pour point; none off the grid. 0, or -1 with a report.
int resolve(const DEM_type& dem, const PourPoint& at, std::string_view tag, std::optional<ColRow>& cell) {
  if (at.x.has_value() != at.y.has_value()) return fail(tag, "Need both x and y arguments");
  if (at.col.has_value() != at.row.has_value()) return fail(tag, "Need both column and row arguments");
  if (at.x) {
    if (dem.covers(*at.x, *at.y)) cell = dem.cellHolding(*at.x, *at.y);
    return kSuccess;
  }
  if (!at.col) return fail(tag, "Pour point not specified");
  if (dem.contains(*at.col, *at.row)) cell = ColRow{.col = *at.col, .row = *at.row};
  return kSuccess;
}

/// Goes upstream from a cell: calls visit(donor) for every cell that gives to it and, where that gives true,
/// for all that give to that one, once for each pair of donor and receiver. False if there is no memory.
template <class Flow, class Visit>
bool walkUpstream(const InPlace& lattice, const Flow& flow, ColRow start, Visit visit) {
  std::vector<ColRow> open;
  if (!tryAppend(open, start)) return false;
  while (!open.empty()) {
    const ColRow at = open.back();
    open.pop_back();
    for (int32_t code = 1; code <= kDirections; ++code) {
      const ColRow donor = lattice.step(at, code);
      if (flow.share(donor, opposite(code)) > 0.0F && visit(donor) && !tryAppend(open, donor)) return false;
    }
  }
  return true;
}

/// Two walks upstream: the first counts for every cell of the basin its receivers within it, the second takes
/// each cell when the shares of all of them are known.
int fillShares(DEM_type& dem, R4Grid_type& P, ColRow start) {
  const InPlace lattice(dem);
  AngleFlow<InPlace> flow;
  InPlace::Cells<float> shares;
  InPlace::Cells<int8_t> waiting;
  I1Grid_type receivers;
  if (!flow.open(dem, kTag) || !shares.load(P, 0.0F, kTag) ||
      !waiting.create(receivers, dem.aspect, 0, 0, kTag))
    return cannotAllocate(kTag, "receivers");
  int64_t left = 0;
  const auto count = [&](ColRow at) {
    if (at == start) return false;
    const int8_t before = waiting.get(at);
    waiting.set(at, static_cast<int8_t>(before + 1));
    left += before == 0 ? 1 : 0;
    return before == 0;
  };
  const auto take = [&](ColRow at) {
    if (at == start) return false;
    const auto others = static_cast<int8_t>(waiting.get(at) - 1);
    waiting.set(at, others);
    if (others > 0) return false;
    double sum = 0;
    flow.forEachReceiver(at, [&](int32_t code) {
      sum +=
          static_cast<double>(flow.share(at, code)) * static_cast<double>(shares.get(lattice.step(at, code)));
    });
    shares.set(at, static_cast<float>(sum));
    --left;
    return true;
  };
  shares.set(start, 1.0F);
  if (!walkUpstream(lattice, flow, start, count) || !walkUpstream(lattice, flow, start, take))
    return cannotAllocate(kTag, "holdCell");
  if (left == 0) return kSuccess;
  for (int32_t row = 1; row <= dem.rows(); ++row)
    for (int32_t col = 1; col <= dem.cols(); ++col)
      if (waiting.get({.col = col, .row = row}) > 0)
        return reportError({.routine = kTag,
                            .code = kOwnWords,
                            .message1 = "The angles above the pour point lead in a circle",
                            .message2 = "  Column " + freeText(col) + ", row " + freeText(row)});
  return kFailure;
}

int fillCodes(DEM_type& dem, I4Grid_type& basin, ColRow start) {
  const InPlace lattice(dem);
  CodeFlow<InPlace> flow;
  InPlace::Cells<int32_t> marks;
  if (!flow.open(dem, kD8Tag) || !marks.load(basin, 1, kD8Tag)) return cannotAllocate(kD8Tag, "basin");
  const auto mark = [&](ColRow at) {
    if (marks.get(at) != 0) return false;
    marks.set(at, 1);
    return true;
  };
  marks.set(start, 1);
  return walkUpstream(lattice, flow, start, mark) ? kSuccess : cannotAllocate(kD8Tag, "holdCell");
}

}  // namespace

int delineateBasin(DEM_type& dem, R4Grid_type& P, const PourPoint& at) {
  Attempt attempt{dem.status};
  std::optional<ColRow> start;
  if (resolve(dem, at, kTag, start) != kSuccess) return kFailure;
  if (dem.GetAspect() != kSuccess) return fail(kTag, "GetAspect failed");
  if (!SameGridGeometry(dem, dem.aspect))
    return fail(kTag, "The directions have another extent than the DEM");
  if (CreateGrid(P, {.like = &dem.aspect, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for P");
  if (!start || fillShares(dem, P, *start) == kSuccess) return attempt.succeed();
  DestroyGrid(P);
  return P.status = kFailure;
}

int delineateBasinD8(DEM_type& dem, I4Grid_type& basin, const PourPoint& at) {
  Attempt attempt{dem.status};
  std::optional<ColRow> start;
  if (resolve(dem, at, kD8Tag, start) != kSuccess) return kFailure;
  if (dem.GetD8() != kSuccess) return fail(kD8Tag, "GetD8 failed");
  if (!SameGridGeometry(dem, dem.D8)) return fail(kD8Tag, "The directions have another extent than the DEM");
  if (CreateGrid(basin, {.like = &dem.D8, .fillValue = 0.0F}) != kSuccess)
    return fail(kD8Tag, "CreateGrid failed for basin");
  if (!start || fillCodes(dem, basin, *start) == kSuccess) return attempt.succeed();
  DestroyGrid(basin);
  return basin.status = kFailure;
}

}  // namespace terrain
