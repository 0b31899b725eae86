// Another nodata value for a grid and its cells.

#include <cmath>

#include "grid/grid.h"
#include "grid/rows.h"

namespace terrain {

namespace {

/// The header holds nodata as a float32, so the cells take the value that such a number has.
template <Cell T>
int resetNodata(GridOf<T>& grid, T newValue, std::optional<T> oldValue, bool setHeader,
                std::string_view tag) {
  const auto nodata = static_cast<float>(newValue);
  if (!std::isfinite(nodata)) return grid.status = fail(tag, "The new nodata value is not a number");
  const T old = oldValue.value_or(grid.nodataValue());
  const auto stored = static_cast<T>(static_cast<float>(old));
  const auto isOld = [=](T cell) {
    if (std::isnan(old)) return std::isnan(cell);
    return old > 0 ? cell == old || cell == stored : cell <= old;
  };
  const auto change = [=, value = static_cast<T>(nodata)](T cell) { return isOld(cell) ? value : cell; };
  if (onEvery(grid, {.routine = tag, .rowName = "thisRow"}, change) != kSuccess) return kFailure;
  if (setHeader) grid.nodata = nodata;
  return kSuccess;
}

}  // namespace

// ---- faces ----

int R4Grid_type::resetNodataValueR4(float newValue, std::optional<float> oldValue, bool setHeader) {
  return resetNodata(*this, newValue, oldValue, setHeader, "resetNodataValueR4 in Grid_Module");
}
int R8Grid_type::resetNodataValueR8(double newValue, std::optional<double> oldValue, bool setHeader) {
  return resetNodata(*this, newValue, oldValue, setHeader, "resetNodataValueR8 in Grid_Module");
}
int R4Grid_type::ZeroToNodata() {
  return onEvery(*this, {.routine = "ZeroToNodata in Grid_Module"},
                 [none = nodataValue()](float cell) { return std::abs(cell) < 0.0001F ? none : cell; });
}

}  // namespace terrain
