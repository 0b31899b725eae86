// Filling of holes, regions without data or of low values, with the lowest value on their rim.

#include <algorithm>
#include <cmath>
#include <string>

#include "foundation/free_format.h"
#include "grid/grid.h"
#include "grid/region_walk.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "GetHoleSize contained in FillHoles in Grid_Module";

/// Which cells are part of holes, and which data may be a rim.
struct HoleRule {
  float gridNodata;
  float nodata;
  float minVal;

  [[nodiscard]] bool missing(float value) const {
    return std::isnan(value) || value == gridNodata || value == nodata;
  }
  /// With a nodata above 0 every value up to `minVal` is low; else those below nodata are neither.
  [[nodiscard]] bool hole(float value) const {
    return missing(value) || (value <= minVal && (nodata > 0 || value >= nodata));
  }
  [[nodiscard]] bool rim(float value) const { return value > minVal && !missing(value); }
};

/// A bit for each cell of a grid.
class CellBits {
 public:
  [[nodiscard]] bool open(const GridGeometry& grid) {
    width_ = static_cast<std::uint64_t>(grid.cols());
    return tryAllocate(words_, width_ * static_cast<std::uint64_t>(grid.rows()) / 64 + 1);
  }
  /// Sets the bit of a cell; false if it was set before.
  bool set(ColRow cell) {
    const std::uint64_t at =
        static_cast<std::uint64_t>(cell.row - 1) * width_ + static_cast<std::uint64_t>(cell.col - 1);
    const std::uint64_t bit = std::uint64_t{1} << (at % 64);
    std::uint64_t& word = words_[at / 64];
    const bool isNew = (word & bit) == 0;
    word |= bit;
    return isNew;
  }

 private:
  std::uint64_t width_ = 0;
  std::vector<std::uint64_t> words_;
};

constexpr float kNoRim = 1.0e30F;

struct Hole {
  int64_t count = 1;
  bool atBorder = false;
  float rim = kNoRim;
};

/// Fills the holes of fewer than `limit` cells; `filled` counts them. A filled cell is above `minVal` and
/// so part of no hole; cells of holes that stay are told by their bit, and keep their value.
template <class Cells>
int fillHoles(const GridGeometry& grid, Cells cells, const HoleRule& rule, int64_t limit, int64_t& filled) {
  CellBits walked;
  if (!walked.open(grid)) return cannotAllocate(kTag, "edge1 initial call");
  RegionWalk walk(grid, Connection::eight);
  const auto measure = [&](ColRow seed, Hole& hole) {
    const auto look = [&](ColRow at) {
      hole.atBorder =
          hole.atBorder || at.col == 1 || at.row == 1 || at.col == grid.cols() || at.row == grid.rows();
    };
    look(seed);
    return walk.spread(seed, [&](ColRow at) {
      const float value = cells.get(at.col, at.row);
      if (rule.rim(value)) hole.rim = std::min(hole.rim, value);
      if (!rule.hole(value) || !walked.set(at)) return false;
      look(at);
      ++hole.count;
      return true;
    });
  };
  const auto fill = [&](ColRow seed, float value) {
    cells.set(seed.col, seed.row, value);
    return walk.spread(seed, [&](ColRow at) {
      if (!rule.hole(cells.get(at.col, at.row))) return false;
      cells.set(at.col, at.row, value);
      return true;
    });
  };
  for (int32_t row = 1; row <= grid.rows(); ++row)
    for (int32_t col = 1; col <= grid.cols(); ++col) {
      if (!rule.hole(cells.get(col, row)) || !walked.set({col, row})) continue;
      Hole hole;
      if (!measure({col, row}, hole)) return cannotAllocate(kTag, "edge1");
      if (hole.atBorder || hole.count >= limit || !(hole.rim < kNoRim)) continue;
      if (!fill({col, row}, hole.rim)) return cannotAllocate(kTag, "holdEdge");
      ++filled;
    }
  return kSuccess;
}

void logArgument(std::string_view label, std::string value) {
  value.resize(std::max<std::size_t>(value.size(), 12), ' ');
  putMessage(std::string(label) + value);
}

}  // namespace

int R4Grid_type::FillHoles(const FillHolesArgs& args) {
  putMessage("Filling data holes in the grid");
  const double size = std::max(xcellsize, ycellsize);
  const double maxSize = static_cast<double>(args.maxSize.value_or(0.0F));
  const auto limit =
      truncateTo<int64_t>(maxSize > 0 ? std::round(maxSize / size) : std::nearbyint(1.0e6 / size));
  logArgument("  nodata          = ", freeText(args.nodata));
  logArgument("  min_val        = ", freeText(args.minVal));
  logArgument("  max_size (sq m) = ",
              freeText(truncateTo<int64_t>(std::round(size * static_cast<double>(limit)))));

  int64_t filled = 0;
  const HoleRule rule{.gridNodata = nodataValue(), .nodata = args.nodata, .minVal = args.minVal};
  const auto fill = [&](auto view) { return fillHoles(geometry(), view, rule, limit, filled); };
  if (onCells(*this, kTag, fill) != kSuccess) return kFailure;
  if (filled > 0)
    putMessage("Number of holes filled: ", filled);
  else
    putMessage("No data holes encountered");
  return kSuccess;
}

}  // namespace terrain
