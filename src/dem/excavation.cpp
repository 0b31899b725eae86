#include "dem/excavation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "dem/input_table.h"
#include "dem/input_vectors.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "grid/buffers.h"
#include "grid/cell_view.h"
#include "grid/clip_line.h"
#include "grid/directions.h"
#include "grid/line_cells.h"
#include "grid/missing.h"
#include "grid/storage.h"
#include "table/data_table.h"
#include "table/geometry.h"
#include "table/part_ranges.h"

namespace terrain {

// ---- zeros ----

int checkZeros(R4Grid_type& elev, double radius) {
  constexpr std::string_view tag = "checkZeros";
  Attempt attempt{elev.status};
  if (!(radius > 0)) return fail(tag, "Radius is not above 0");
  const double cells = std::max(std::round(radius / elev.meanCellSize()), 1.0);
  const auto isOtherData = [missing = missingIn(elev)](float z) { return z != 0.0F && !missing(z); };
  const auto change = [missing = missingIn(elev)](float z, bool near) {
    return z == 0.0F && !near && !missing(z) ? kNodata : z;
  };
  bool found = false;
  return attempt.end(widen(elev, cells * elev.meanCellSize(), tag, isOtherData, change, found));
}

// ---- single cells ----

namespace {

constexpr std::string_view kTableTag = "Excavate in dovrakt";

/// x, y and depth of all points, in metres.
struct Cuts {
  std::vector<double> x{}, y{}, depth{};
};

int readCuts(const DEM_type& dem, std::string_view file, Cuts& cuts) {
  DataTableType table;
  if (readDelimited(table, stripped(file), DelimitedPart::whole) != kSuccess)
    return fail(kTableTag, "Error reading excavate file");
  const int32_t cut = table.FieldNumber("CUT");
  const std::array fields{table.FieldNumber("X"), table.FieldNumber("Y"),
                          cut > 0 ? cut : table.FieldNumber("VALUE")};
  if (std::ranges::find(fields, 0) != fields.end())
    return fail(kTableTag, "Required input fields not found (X, Y, CUT)");
  const std::array columns{&cuts.x, &cuts.y, &cuts.depth};
  for (std::size_t c = 0; c < columns.size(); ++c) {
    int64_t bad = 0;
    if (readNumbers(table, fields[c], kTableTag, *columns[c], bad) != kSuccess) return kFailure;
    if (bad != 0)
      return reportError({.routine = kTableTag,
                          .code = kOwnWords,
                          .message1 = "Error reading excavate file",
                          .message2 = "  Record " + freeText(bad) + ", field " +
                                      std::string(table.fieldAt(fields[c])->name.trimmed())});
    if (dem.feetConverted)
      for (double& value : *columns[c]) value *= kMetersPerFootR4;
  }
  return kSuccess;
}

}  // namespace

int Excavate(DEM_type& dem, std::string_view file) {
  Attempt attempt{dem.status};
  if (!dem.elev.GridExists()) return fail(kTableTag, "Elevations not loaded");
  Cuts cuts;
  if (readCuts(dem, file, cuts) != kSuccess) return kFailure;
  if (dem.elev.SetCellAccess() != kSuccess) return fail(kTableTag, "DEM%elev%setCellAccess failed");
  withCells(dem.elev, kTableTag, [&, missing = missingIn(dem.elev)](auto cells) {
    for (std::size_t i = 0; i < cuts.x.size(); ++i) {
      const std::optional<ColRow> at = dem.elev.cellHolding(cuts.x[i], cuts.y[i]);
      if (!at) continue;
      const float z = cells.get(at->col, at->row);
      if (!missing(z)) cells.set(at->col, at->row, z - static_cast<float>(cuts.depth[i]));
    }
  });
  return attempt.succeed();
}

// ---- trenches ----

namespace {

constexpr std::string_view kLineTag = "ExcavateLine";
constexpr float kNodeDepth = 0.1F;  ///< of a node of the grade line below the ground around it, metres

/// How much of the depth in the middle of a trench reaches each cell around it.
struct Walls {
  int32_t reach = 1;  ///< cells
  std::vector<float> weights{};

  [[nodiscard]] int make(double cellsize, float radius, int32_t most) {
    const float length = radius > 0.0F ? radius : static_cast<float>(cellsize);
    const double cells = std::round(static_cast<double>(length) / cellsize);
    reach = static_cast<int32_t>(std::clamp(cells, 1.0, static_cast<double>(most)));
    const std::size_t side = 2 * static_cast<std::size_t>(reach) + 1;
    const auto count = byteCount(side, side);
    if (!count || !tryAllocate(weights, static_cast<std::size_t>(*count)))
      return cannotAllocate(kLineTag, "Transition matrix in ExcavateLine");
    std::size_t at = 0;
    for (int64_t j = -reach; j <= reach; ++j)
      for (int64_t i = -reach; i <= reach; ++i, ++at) {
        const int64_t square = i * i + j * j;
        if (square > int64_t{reach} * reach) continue;
        const float distance = static_cast<float>(cellsize) * std::sqrt(static_cast<float>(square));
        weights[at] = std::max(1.0F - distance / length, 0.0F);
      }
    return kSuccess;
  }
};

/// The cells along one line and their profile, from the high end to the end of the trench.
struct Course {
  std::vector<ColRow> cells{};
  std::vector<float> distance{};  ///< from the start, in cells
  std::vector<float> profile{};   ///< the ground, then the bottom of the trench
  float lowest = 0;               ///< no ground is cut below it
};

/// Trenches cut into the elevations. `Cells` are those of the elevations, and of the depths that one line
/// gives; these are 0 from one line to the next.
template <class Elevations, class Depths>
class Trencher {
 public:
  Trencher(const R4Grid_type& elev, Elevations elevations, Depths depths, const Walls& walls, float floorElev)
      : elev_(elev), elevations_(elevations), depths_(depths), walls_(walls), floorElev_(floorElev) {}

  /// One line, of a vertex at least.
  [[nodiscard]] int cut(std::span<const double> x, std::span<const double> y) {
    bool passed = isFlat(x) || isFlat(y);
    if (!passed && (trace(x, y) != kSuccess || findEnd(passed) != kSuccess)) return kFailure;
    if (passed) return ++leftOut_, kSuccess;
    if (findNodes() != kSuccess) return kFailure;
    grade();
    return dig();
  }
  [[nodiscard]] int64_t leftOut() const { return leftOut_; }

 private:
  static bool isFlat(std::span<const double> values) {
    const auto [low, high] = std::ranges::minmax_element(values);
    return *high - *low == 0;
  }

  /// The cells of the line in its own sense; the one that two segments share stands there twice.
  int trace(std::span<const double> x, std::span<const double> y) {
    std::vector<ColRow>& cells = course_.cells;
    cells.clear();
    bool room = true;
    for (std::size_t v = 1; room && v < x.size(); ++v) {
      LineClipRecord line{.x1 = x[v - 1], .x2 = x[v], .y1 = y[v - 1], .y2 = y[v]};
      if (elev_.clipLine(line) != kSuccess) return kFailure;
      if (line.col1 == -9999) continue;
      const std::size_t start = cells.size();
      const ColRow from{.col = line.col1, .row = line.row1};
      const ColRow to{.col = line.col2, .row = line.row2};
      const bool reversed = forEachLineCell(from, to, [&](ColRow cell) {
        if (elev_.contains(cell)) room = room && tryAppend(cells, cell);
      });
      if (reversed) std::reverse(cells.begin() + static_cast<std::ptrdiff_t>(start), cells.end());
    }
    return room ? kSuccess : cannotAllocate(kLineTag, "line cells");
  }

  /// The lowest of a cell and its neighbours; nodata counts, and lies outside the grid.
  [[nodiscard]] float lowestAround(ColRow cell) const {
    std::array<float, 9> around{};
    elev_.ExtractR4Neighbours(around, cell.col, cell.row);
    return *std::ranges::min_element(around);
  }
  [[nodiscard]] float ground(ColRow cell) const { return elevations_.get(cell.col, cell.row); }
  [[nodiscard]] bool isGround(float z) const { return z > floorElev_; }

  /// Turns the line so that it starts at its high end, ends it where it is lowest, and takes its profile.
  int findEnd(bool& passed) {
    auto& [cells, distance, profile, lowest] = course_;
    passed = true;
    if (cells.size() < 2) return kSuccess;
    if (!isGround(ground(cells.front())) || !isGround(ground(cells.back()))) return kSuccess;
    if (ground(cells.back()) > ground(cells.front())) std::ranges::reverse(cells);
    const float top = ground(cells.front());
    lowest = top;
    std::size_t count = 0;
    for (std::size_t i = 1; i < cells.size(); ++i)
      if (const float low = lowestAround(cells[i]); low < lowest) {
        lowest = low;
        count = i + 1;
      }
    if (count < 3 || top < 0.0F || !isGround(lowest)) return kSuccess;
    cells.resize(count);
    if (!tryResize(distance, count) || !tryResize(profile, count)) return cannotAllocate(kLineTag, "profile");
    distance[0] = 0.0F;
    profile[0] = top;
    for (std::size_t i = 1; i < count; ++i) {
      distance[i] = distance[i - 1] + stepBetween(cells[i - 1], cells[i]);
      profile[i] = ground(cells[i]);
      if (!isGround(profile[i])) return kSuccess;
    }
    passed = false;
    return kSuccess;
  }
  /// In cells. Where a line leaves the grid and comes back the step is the straight one.
  static float stepBetween(ColRow a, ColRow b) {
    if (a == b) return 0.0F;
    if (const int32_t code = codeOfStep(b.col - a.col, b.row - a.row); code > 0) return stepLength(code);
    return static_cast<float>(std::hypot(b.col - a.col, b.row - a.row));
  }

  /// The knick points, where the mean gradient to the end is lower than on either side, and the end.
  int findNodes() {
    nodes_.clear();
    const std::size_t end = course_.cells.size() - 1;
    const auto gradient = [&](std::size_t i) {
      return (course_.profile[i] - course_.profile[end]) / (course_.distance[end] - course_.distance[i]);
    };
    bool room = true;
    for (std::size_t i = 1; room && i + 1 < end; ++i)
      if (gradient(i) < gradient(i - 1) && gradient(i) < gradient(i + 1)) room = tryAppend(nodes_, i);
    return room && tryAppend(nodes_, end) ? kSuccess : cannotAllocate(kLineTag, "nodes");
  }
  /// Lowers the profile to the bottom of the trench, straight lines between the nodes.
  void grade() {
    std::vector<float>& profile = course_.profile;
    const std::vector<float>& distance = course_.distance;
    const auto nodeHeight = [&](std::size_t i) {
      return std::max(lowestAround(course_.cells[i]) - kNodeDepth, course_.lowest);
    };
    profile[0] = nodeHeight(0);
    std::size_t start = 0;
    for (const std::size_t node : nodes_) {
      profile[node] = nodeHeight(node);
      const float length = distance[node] - distance[start];
      const float fall = length > 0.0F ? std::max(profile[start] - profile[node], 0.0F) / length : 0.0F;
      for (std::size_t j = start + 1; j < node; ++j)
        profile[j] = std::min(profile[j], profile[start] - (distance[j] - distance[start]) * fall);
      start = node;
    }
  }

  /// Every cell takes the deepest of the cuts that reach it, all made into the ground as it was before. The
  /// lowest of max(z - depth, lowest) is that of the greatest depth, to the last bit, as rounding keeps the
  /// order; so one depth a cell is kept.
  int dig() {
    touched_.clear();
    bool room = true;
    for (std::size_t i = 1; room && i + 1 < course_.cells.size(); ++i) {
      const float depth = std::max(ground(course_.cells[i]) - course_.profile[i], 0.0F);
      if (depth > 0.0F) room = deepenAround(course_.cells[i], depth);
    }
    for (const ColRow cell : touched_) {
      const float z = ground(cell);
      const float lowered = std::max(z - depths_.get(cell.col, cell.row), course_.lowest);
      if (room && lowered < z) elevations_.set(cell.col, cell.row, lowered);
      depths_.set(cell.col, cell.row, 0.0F);
    }
    return room ? kSuccess : cannotAllocate(kLineTag, "thisWindow matrix in ExcavateLine");
  }
  bool deepenAround(ColRow centre, float depth) {
    const int32_t reach = walls_.reach;
    const std::int64_t side = 2 * std::int64_t{reach} + 1;
    const Window window = elev_.clipped({.col1 = centre.col - reach,
                                         .col2 = centre.col + reach,
                                         .row1 = centre.row - reach,
                                         .row2 = centre.row + reach});
    for (int32_t row = window.row1; row <= window.row2; ++row)
      for (int32_t col = window.col1; col <= window.col2; ++col) {
        const std::int64_t at = (row - centre.row + reach) * side + (col - centre.col + reach);
        const float share = walls_.weights[static_cast<std::size_t>(at)] * depth;
        if (!(share > 0.0F) || !isGround(elevations_.get(col, row))) continue;
        const float before = depths_.get(col, row);
        if (before == 0.0F && !tryAppend(touched_, ColRow{.col = col, .row = row})) return false;
        if (share > before) depths_.set(col, row, share);
      }
    return true;
  }

  const R4Grid_type& elev_;
  Elevations elevations_;
  Depths depths_;
  const Walls& walls_;
  float floorElev_;
  Course course_;
  std::vector<std::size_t> nodes_;
  std::vector<ColRow> touched_;
  int64_t leftOut_ = 0;
};

/// One trench after the other, for each part of each line.
template <class Trenches>
int cutAll(const LineVectorType& lines, Trenches& trencher) {
  for (const SegmentType& line : lines.segment) {
    const std::span<const double> x(line.x);
    const std::span<const double> y(line.y);
    const bool cut =
        forEachPart(line.parts, 1, std::min(x.size(), y.size()), [&](std::size_t begin, std::size_t end) {
          return end <= begin ||
                 trencher.cut(x.subspan(begin, end - begin), y.subspan(begin, end - begin)) == kSuccess;
        });
    if (!cut) return kFailure;
  }
  if (trencher.leftOut() > 0) putMessage("Lines, or parts of lines, without a trench: ", trencher.leftOut());
  return kSuccess;
}

}  // namespace

int ExcavateLine(DEM_type& dem, const LineExcavation& settings) {
  Attempt attempt{dem.status};
  if (!dem.elev.GridExists()) return fail(kLineTag, "Elevations not loaded");
  LineVectorType lines;
  const VectorTexts failure{.routine = kLineTag, .message = "readPolylineShapefile failed for "};
  if (readLines(dem, settings.file, lines, failure) != kSuccess) return kFailure;
  Walls walls;
  if (walls.make(dem.elev.cellsize, settings.radius, std::max(dem.elev.cols(), dem.elev.rows())) != kSuccess)
    return kFailure;
  R4Grid_type depths;
  if (CreateGrid(depths, {.like = &dem.elev, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return cannotAllocate(kLineTag, "thisWindow matrix in ExcavateLine");
  const float floorElev = std::max(dem.elev.nodataValue(), settings.minElevation);
  const int status = withCells(dem.elev, kLineTag, [&](auto elevations) {
    return withCells(depths, kLineTag, [&](auto depthCells) {
      Trencher trencher(dem.elev, elevations, depthCells, walls, floorElev);
      return cutAll(lines, trencher);
    });
  });
  if (status != kSuccess) return kFailure;
  if (!settings.debug) return attempt.succeed();
  const std::string name = std::string(stripped(dem.path)) + "lineExcavateChk";
  if (dem.elev.WritefltR4(name) != kSuccess) return fail(kLineTag, "WriteFlt failed for " + name);
  putMessage("Created flt raster " + name);
  return attempt.succeed();
}

}  // namespace terrain
