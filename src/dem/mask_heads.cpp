#include "dem/mask_heads.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "dem/initiation_marks.h"
#include "dem/initiation_points.h"
#include "dem/input_vectors.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "grid/rows.h"
#include "table/part_ranges.h"
#include "table/point_vectors.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FlowDirection in DEM_Module";

int8_t valueOf(MaskInitiation initiation) {
  switch (initiation) {
    case MaskInitiation::allow:
      return initiation_mark::allowed;
    case MaskInitiation::preclude:
      return initiation_mark::none;
    case MaskInitiation::force:
      return initiation_mark::forced;
    case MaskInitiation::open:
      break;
  }
  return initiation_mark::open;
}

int markCells(const ChannelMask& mask, const I4Grid_type& ichan, I1Grid_type& initMask) {
  const int8_t mark = valueOf(mask.initiation);
  return RowPass{changing(initMask), reading(ichan)}.run(
      kTag, [mark](int32_t, std::span<int8_t> marks, std::span<const int32_t> cells) {
        for (std::size_t i = 0; i < marks.size(); ++i)
          if (cells[i] > 0) marks[i] = initiation_mark::stronger(marks[i], mark);
      });
}

// ---- upper ends ----

struct End {
  Point at{};
  std::optional<ColRow> cell{};
  float elevation = 0;  ///< 0: off the data
};

/// The two ends of a part of a line, the beginning first.
using Ends = std::array<End, 2>;

std::vector<Ends> endsOf(const DEM_type& dem, const LineVectorType& lines) {
  std::vector<Ends> list;
  const auto endAt = [&](const SegmentType& line, std::size_t vertex) {
    End end{.at = {.x = line.x[vertex], .y = line.y[vertex]}};
    if (dem.covers(end.at.x, end.at.y)) end.cell = dem.cellHolding(end.at.x, end.at.y);
    if (end.cell) end.elevation = dem.elev.value(end.cell->col, end.cell->row, kTag);
    return end;
  };
  for (const SegmentType& line : lines.segment)
    forEachPart(line.parts, 1, std::min(line.x.size(), line.y.size()),
                [&](std::size_t begin, std::size_t end) {
                  if (end - begin > 1) list.push_back({endAt(line, begin), endAt(line, end - 1)});
                  return true;
                });
  return list;
}

/// Upper ends on the data that no other line shares.
std::vector<End> upperEnds(const std::vector<Ends>& parts, const ChannelMask& mask) {
  std::map<std::pair<int32_t, int32_t>, int32_t> meeting;
  for (const Ends& ends : parts)
    for (const End& end : ends)
      if (end.cell) ++meeting[{end.cell->row, end.cell->col}];
  std::vector<End> tops;
  for (const Ends& ends : parts) {
    const bool lastIsUpper = mask.top->directional ? mask.upstream : ends[1].elevation > ends[0].elevation;
    const End& upper = ends[lastIsUpper ? 1 : 0];
    if (upper.cell && upper.elevation != 0.0F && meeting[{upper.cell->row, upper.cell->col}] == 1)
      tops.push_back(upper);
  }
  return tops;
}

int writePoints(const DEM_type& dem, const std::string& file, const std::vector<End>& tops) {
  PointVectorType points;
  AttributeType id;
  id.name = "ID";
  id.dataType = "I4";
  id.length = 9;
  id.outFlag = id.shpFlag = true;
  const auto count = static_cast<int64_t>(tops.size());
  int status = NewDataTable(points, {.attributeList = std::span(&id, 1), .numRecords = count});
  points.feetConverted = dem.feetConverted;
  for (int64_t i = 1; i <= count && status == kSuccess; ++i) {
    const Point& at = tops[static_cast<std::size_t>(i) - 1].at;
    status = points.SetPointXY(i, at.x, at.y);
    if (status == kSuccess) status = points.WriteI4Value(1, i, static_cast<int32_t>(i));
  }
  if (status != kSuccess || points.WritePointShapefile(file) != kSuccess)
    return fail(kTag, "ERROR writing initiation point shapefile");
  putMessage("    Created output point shapefile " + file);
  return kSuccess;
}

int markTopPoints(DEM_type& dem, const ChannelMask& mask, I1Grid_type& initMask) {
  if (mask.selective) return fail(kTag, "Cannot use TOP POINT with selective enforcement");
  if (mask.top->directional && !mask.directional)
    return fail(kTag, "For TOP POINT DIRECTIONAL, you need to specify DIRECTIONAL flow lines");
  LineVectorType lines;
  if (readLines(dem, mask.file, lines, {.routine = kTag, .message = "ReadPolylineShapefile failed for "}) !=
      kSuccess)
    return kFailure;
  const std::vector<End> tops = upperEnds(endsOf(dem, lines), mask);
  putMessage("  Top points generated from channel mask");
  putMessage("    Mask file: " + mask.file);
  putMessage("    Number of points: ", std::ssize(tops));
  if (tops.empty()) putMessage("    **** No top points within DEM ****");
  if (!isBlank(mask.top->file) && !tops.empty() && writePoints(dem, mask.top->file, tops) != kSuccess)
    return kFailure;
  for (const End& top : tops)
    markInitiationPoint(dem, *top.cell, static_cast<double>(mask.top->radius), initMask);
  return kSuccess;
}

}  // namespace

int markHeads(DEM_type& dem, const ChannelMask& mask, const I4Grid_type& ichan, I1Grid_type& initMask) {
  if (markCells(mask, ichan, initMask) != kSuccess) return kFailure;
  return mask.top ? markTopPoints(dem, mask, initMask) : kSuccess;
}

}  // namespace terrain
