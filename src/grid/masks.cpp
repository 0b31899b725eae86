// Cells of a grid that a mask leaves out become nodata: row by row for grids of the same place, by map
// position and with a buffer for any other.

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "grid/grid.h"
#include "grid/rows.h"

namespace terrain {

namespace {

// ---- row by row ----

template <Cell T>
int maskByRow(GridOf<T>& self, const Grid_Header& mask, std::string_view tag) {
  Attempt attempt{self.status};
  if (self.SetRowAccess() != kSuccess) return fail(tag, "self%setRowAccess failed");
  if (mask.useRowAccess() != kSuccess) return fail(tag, "maskGrid%setRowAccess failed");
  if (!sameCounts(self, mask)) return fail(tag, "Mask grid does not match dimensions of input grid");
  const auto apply = [&]<Cell M>(const GridOf<M>& typed) {
    const std::string rowName = "mask" + std::string(kFactsOf<M>.code) + " array";
    RowPass pass(changing(self, "selfRow"), reading(typed, rowName));
    return pass.run(tag, [none = self.nodataValue(), masked = typed.nodataValue()](
                             int32_t, std::span<T> cells, std::span<const M> maskCells) {
      for (std::size_t i = 0; i < cells.size(); ++i)
        if (maskCells[i] == masked) cells[i] = none;
    });
  };
  return attempt.end(visitGrid(mask, apply, [tag] { return fail(tag, "Unrecognized grid type"); }));
}

// ---- with a buffer ----

/// The columns to either side of a circle's centre in the row that is `away` from it.
int64_t halfWidth(int64_t radius, int64_t away) {
  const int64_t square = radius * radius - away * away;
  auto half = static_cast<int64_t>(std::sqrt(static_cast<double>(square)));
  while (half * half > square) --half;
  while ((half + 1) * (half + 1) <= square) ++half;
  return half;
}

/// Whole cells in a distance, halves away from zero; nothing for what is no distance.
std::optional<int64_t> cellsIn(double distance, const GridGeometry& grid, std::string_view tag) {
  if (!(distance >= 0 && std::isfinite(distance))) {
    fail(tag, "The buffer distance must be a number not below 0");
    return std::nullopt;
  }
  constexpr double most = 1e9;  // beyond any grid
  return truncateTo<int64_t>(std::min(std::round(distance / std::max(grid.xcellsize, grid.ycellsize)), most));
}

/// Where the data of a mask is: for each row near the current one, and each column, how many columns away
/// the nearest cell with data lies in that row. Rows are read once, from the north, and held in a ring.
template <Cell M>
class DataDistances {
 public:
  DataDistances(const GridOf<M>& mask, int64_t reach) : mask_(mask), reach_(reach) {}

  /// False if there is no memory for the rows.
  [[nodiscard]] bool open() {
    held_ = std::min<int64_t>(mask_.rows(), 2 * reach_ + 1);
    width_ = static_cast<std::size_t>(mask_.cols());
    const auto cells = byteCount(width_, static_cast<std::uint64_t>(held_));
    return cells && tryAllocate(distances_, *cells) && tryAllocate(cells_, width_) &&
           tryReserve(near_, static_cast<std::size_t>(held_));
  }
  /// Makes `row`, which may lie outside the mask, the current row; rows never fall.
  [[nodiscard]] IoCode moveTo(int64_t row) {
    const int64_t first = std::max<int64_t>(1, row - reach_);
    const int64_t last = std::min<int64_t>(mask_.rows(), row + reach_);
    for (int64_t r = std::max(first, loaded_ + 1); r <= last; loaded_ = r++)
      if (const IoCode code = load(static_cast<int32_t>(r)); code != kIoOk) return code;
    near_.clear();
    for (int64_t r = first; r <= last; ++r)
      near_.push_back({.distances = slot(r), .half = halfWidth(reach_, row - r)});
    // The nearest rows first: most cells with data around them are found there.
    std::ranges::sort(near_, std::greater<>{}, &NearRow::half);
    return kIoOk;
  }
  /// True if data lies in the circle of radius `reach` around a column, inside or outside the mask, of the
  /// current row.
  [[nodiscard]] bool dataAround(int64_t col) const {
    const int64_t inside = std::clamp<int64_t>(col, 1, mask_.cols());
    const int64_t outside = std::abs(col - inside);
    return std::ranges::any_of(
        near_, [&](const NearRow& row) { return outside + row.distances[inside - 1] <= row.half; });
  }

 private:
  struct NearRow {
    const int32_t* distances;  // by column
    int64_t half;              // columns of the circle to either side
  };
  static constexpr int32_t kNone = std::numeric_limits<int32_t>::max();

  int32_t* slot(int64_t row) { return distances_.data() + static_cast<std::size_t>(row % held_) * width_; }
  IoCode load(int32_t row) {
    if (const IoCode code = mask_.readRow(row, cells_); code != kIoOk) return code;
    int32_t* const out = slot(row);
    int32_t away = kNone;
    const auto sweep = [&](std::size_t i) {
      away = cells_[i] != mask_.nodataValue() ? 0 : away == kNone ? kNone : away + 1;
      return away;
    };
    for (std::size_t i = 0; i < width_; ++i) out[i] = sweep(i);
    away = kNone;
    for (std::size_t i = width_; i-- > 0;) out[i] = std::min(out[i], sweep(i));
    return kIoOk;
  }

  const GridOf<M>& mask_;
  int64_t reach_;
  int64_t held_ = 1;
  int64_t loaded_ = 0;
  std::size_t width_ = 0;
  std::vector<int32_t> distances_;
  std::vector<M> cells_;
  std::vector<NearRow> near_;
};

template <Cell T, Cell M>
int maskAround(GridOf<T>& self, const GridOf<M>& mask, int64_t reach, std::string_view tag) {
  DataDistances<M> distances(mask, reach);
  std::vector<int64_t> maskCols;
  if (!tryAllocate(maskCols, static_cast<std::size_t>(self.cols())) || !distances.open())
    return cannotAllocate(tag, "bufMask");
  // Cells are matched by their reference points: the mask's column depends on the column alone, its row on
  // the row.
  for (int32_t col = 1; col <= self.cols(); ++col)
    maskCols[static_cast<std::size_t>(col - 1)] =
        1 + wholeCellsBelow((self.ColRowToXY(col, 1).x - mask.xmin) / mask.xcellsize);
  RowPass pass(changing(self, "selfRow"));
  return pass.run(tag, [&](int32_t row, std::span<T> cells) {
    const double y = self.ColRowToXY(1, row).y;
    if (distances.moveTo(mask.rows() - wholeCellsBelow((y - mask.ymin) / mask.ycellsize)) != kIoOk)
      return reportScratchRead(tag, mask);
    for (std::size_t i = 0; i < cells.size(); ++i)
      if (!distances.dataAround(maskCols[i])) cells[i] = self.nodataValue();
    return kSuccess;
  });
}

template <Cell T>
int maskWithBuffer(GridOf<T>& self, const Grid_Header& mask, double bufferDistance, std::string_view tag) {
  Attempt attempt{self.status};
  const auto radius = cellsIn(bufferDistance, mask, tag);
  if (!radius) return kFailure;
  const auto refuse = [tag] { return fail(tag, "Mask type not supported"); };
  const auto apply = [&]<Cell M>(const GridOf<M>& typed) {
    if constexpr (std::same_as<M, std::int32_t> || std::same_as<M, std::int64_t>)
      return typed.GridExists() ? maskAround(self, typed, *radius + 1, tag)
                                : fail(tag, "Grid does not exist");
    else
      return refuse();
  };
  return attempt.end(visitGrid(mask, apply, refuse));
}

// ---- as the two grids have it ----

struct MaskTexts {
  std::string_view routine, byRow, byRowFailed, withBuffer, withBufferFailed;
};

bool sameLattice(const GridGeometry& a, const GridGeometry& b) {
  return sameCounts(a, b) && sameR8(a.xmin, b.xmin) && sameR8(a.ymin, b.ymin) &&
         sameR8(a.xcellsize, b.xcellsize) && sameR8(a.ycellsize, b.ycellsize);
}

template <Cell T>
int applyMask(GridOf<T>& self, const Grid_Header& mask, std::optional<double> bufferDistance,
              const MaskTexts& texts) {
  Attempt attempt{self.status};
  const double distance = bufferDistance.value_or(0);
  const auto radius = cellsIn(distance, self, texts.routine);
  if (!radius) return kFailure;
  const bool byRow = *radius == 0 && sameLattice(self, mask);
  const int done =
      byRow ? maskByRow(self, mask, texts.byRow) : maskWithBuffer(self, mask, distance, texts.withBuffer);
  if (done == kSuccess) return attempt.succeed();
  return fail(texts.routine, byRow ? texts.byRowFailed : texts.withBufferFailed);
}

constexpr std::string_view kR4ByRow = "R4MaskByRow in Grid_Module";
constexpr std::string_view kI4ByRow = "I4MaskByRow in Grid_Module";
constexpr std::string_view kI8ByRow = "I8MaskByRow in Grid_Module";
constexpr std::string_view kR4Buffer = "R4MaskWithBuffer in Grid_Module";
constexpr std::string_view kI4Buffer = "I4MaskWithBuffer in Grid_Module";
constexpr std::string_view kI8Buffer = "I8MaskWithBuffer in Grid_Module";
constexpr MaskTexts kR4Mask{"R4Mask in Grid_Module", kR4ByRow, "MaskByRow failed", kR4Buffer,
                            "MaskWithBuffer failed"};
constexpr MaskTexts kI4Mask{"I4Mask in Grid_Module", kI4ByRow, "I4MaskByRow failed", kI4Buffer,
                            "I4MaskWithBuffer failed"};
constexpr MaskTexts kI8Mask{"I4Mask in Grid_Module", kI8ByRow, "I4MaskByRow failed", kI8Buffer,
                            "I4MaskWithBuffer failed"};

}  // namespace

// clang-format off
// ---- faces ----

int R4Grid_type::R4MaskByRow(const Grid_Header& mask) { return maskByRow(*this, mask, kR4ByRow); }
int R8Grid_type::R8MaskByRow(const Grid_Header& mask) { return maskByRow(*this, mask, "R8MaskByRow in Grid_Module"); }
int I4Grid_type::I4MaskByRow(const Grid_Header& mask) { return maskByRow(*this, mask, kI4ByRow); }
int I8Grid_type::I8MaskByRow(const Grid_Header& mask) { return maskByRow(*this, mask, kI8ByRow); }

int R4Grid_type::R4MaskWithBuffer(const Grid_Header& mask, double distance) { return maskWithBuffer(*this, mask, distance, kR4Buffer); }
int I4Grid_type::I4MaskWithBuffer(const Grid_Header& mask, double distance) { return maskWithBuffer(*this, mask, distance, kI4Buffer); }
int I8Grid_type::I8MaskWithBuffer(const Grid_Header& mask, double distance) { return maskWithBuffer(*this, mask, distance, kI8Buffer); }

int R4Grid_type::R4Mask(const Grid_Header& mask, std::optional<double> distance) { return applyMask(*this, mask, distance, kR4Mask); }
int I4Grid_type::I4Mask(const Grid_Header& mask, std::optional<double> distance) { return applyMask(*this, mask, distance, kI4Mask); }
int I8Grid_type::I8Mask(const Grid_Header& mask, std::optional<double> distance) { return applyMask(*this, mask, distance, kI8Mask); }

// clang-format on

}  // namespace terrain
