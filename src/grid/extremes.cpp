// The smallest and the largest value of a grid or of a window, and where they lie.

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/rows.h"

namespace terrain {

namespace {

/// The cell, or `otherwise` if it does not count: one choice after the other, without a branch.
template <Cell T>
T orElse(CellsFrom<T> counted, T cell, T otherwise) {
  const T high = cell >= counted.least ? cell : otherwise;
  return cell != counted.excluded ? high : otherwise;
}

template <Cell T>
struct Extreme {
  T value;
  ColRow at{};  ///< the first in row order; (0, 0) if no cell is better than the start
};

/// The best value of a row, or `start`. Several lanes run side by side, which the order of the cells does
/// not matter for; `better` is < or >.
template <Cell T, class Better>
T bestOfRow(std::span<const T> row, T start, CellsFrom<T> counted, Better better) {
  constexpr std::size_t lanes = 64 / sizeof(T);
  std::array<T, lanes> best;
  best.fill(start);
  const auto choose = [&](T cell, T& held) { held = better(cell, held) ? cell : held; };
  std::size_t i = 0;
  for (; i + lanes <= row.size(); i += lanes)
    for (std::size_t k = 0; k < lanes; ++k) choose(orElse(counted, row[i + k], start), best[k]);
  T result = start;
  for (const T cell : best) choose(cell, result);
  for (const T cell : row.subspan(i)) choose(orElse(counted, cell, start), result);
  return result;
}

/// The best value of a window from `start` on; sets the grid's status. After a failure, with a report, the
/// start.
template <Cell T, class Better>
Extreme<T> extreme(GridOf<T>& grid, const PassTexts& texts, const WindowArgs& window, T start,
                   CellsFrom<T> counted, Better better) {
  Attempt attempt{grid.status};
  Extreme<T> found{.value = start};
  if (grid.SetRowAccess() != kSuccess) {
    fail(texts.routine, texts.modeFailed);
    return found;
  }
  const Window inside = grid.clipped(window);
  const auto body = [&](int32_t row, std::span<const T> cells) {
    const T best = bestOfRow(cells, found.value, counted, better);
    if (!better(best, found.value)) return;
    const auto first = std::ranges::find_if(cells, [&](T cell) { return cell == best && counted(cell); });
    found = {.value = *first, .at = {inside.col1 + static_cast<int32_t>(first - cells.begin()), row}};
  };
  const GridOf<T>& source = grid;
  if (attempt.end(RowPass(reading(source, texts.rowName)).runWithin(inside, texts.routine, body)) != kSuccess)
    return {.value = start};
  return found;
}

constexpr PassTexts textsOf(std::string_view routine) { return {.routine = routine, .rowName = "rowarray"}; }

template <Cell T>
Extreme<T> smallest(GridOf<T>& grid, std::string_view routine, const WindowArgs& window,
                    CellsFrom<T> counted) {
  return extreme(grid, textsOf(routine), window, std::numeric_limits<T>::max(), counted, std::less<T>{});
}

template <Cell T>
Extreme<T> largest(GridOf<T>& grid, std::string_view routine, const WindowArgs& window,
                   CellsFrom<T> counted) {
  return extreme(grid, textsOf(routine), window, std::numeric_limits<T>::lowest(), counted,
                 std::greater<T>{});
}

/// Nothing is excluded: no cell equals a NaN.
constexpr float kNone = std::numeric_limits<float>::quiet_NaN();

Extreme<float> smallestR4(R4Grid_type& grid, const MinOptions& options) {
  constexpr std::string_view routine = "MinR4 in GridModule";
  const float nodata = grid.nodataValue();
  const bool bounded = options.greaterThanZero.value_or(options.lowerBound.has_value());
  if (bounded && options.includeNodata && nodata <= 0.0F) {
    grid.status = kFailure;
    fail(routine, "Cannot specify greaterThanZero and IncludeNodata if nodata > 0.");
    return {.value = std::numeric_limits<float>::max()};
  }
  CellsFrom<float> counted = aboveNodataIn(grid);
  if (options.includeNodata) counted = {.least = kLowestCell<float>, .excluded = kNone};
  if (bounded)
    counted.least = std::nextafter(options.lowerBound.value_or(0.0F), std::numeric_limits<float>::infinity());
  return smallest(grid, routine, options.window, counted);
}

}  // namespace

// ---- faces ----

float R4Grid_type::MinR4(const MinOptions& options) { return smallestR4(*this, options).value; }
float R4Grid_type::MinR4At(ColRow& at, const MinOptions& options) {
  const Extreme<float> found = smallestR4(*this, options);
  at = found.at;
  return found.value;
}
float R4Grid_type::MaxR4(const MaxOptions& options) {
  const CellsFrom<float> all{.least = kLowestCell<float>, .excluded = kNone};
  return largest(*this, "MaxR4 in GridModule", options.window,
                 options.includeNodata ? all : aboveNodataIn(*this))
      .value;
}
double R8Grid_type::MinR8(const WindowArgs& window) {
  return smallest(*this, "MinR8 in GridModule", window, aboveNodataIn(*this)).value;
}
int32_t I4Grid_type::MinI4(const WindowArgs& window) {
  return smallest(*this, "MinI4 in GridModule", window, aboveNodataIn(*this)).value;
}
int32_t I4Grid_type::maxI4(const WindowArgs& window) {
  return largest(*this, "maxI4 in GridModule", window, aboveNodataIn(*this)).value;
}
int64_t I8Grid_type::maxI8(const WindowArgs& window) {
  return largest(*this, "maxI8 in GridModule", window, aboveNodataIn(*this)).value;
}
int8_t I1Grid_type::MaxI1(const WindowArgs& window) {
  return largest(*this, "MaxI1 in GridModule", window, aboveNodataIn(*this)).value;
}

}  // namespace terrain
