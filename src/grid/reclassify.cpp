#include "grid/reclassify.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Reclassify in Grid_Module";
using Limits = std::numeric_limits<std::int8_t>;

/// 0, or -1 with a report of what a byte raster cannot hold.
int checkClasses(std::span<const float> bounds, float nodata) {
  if (bounds.size() > static_cast<std::size_t>(Limits::max())) return fail(kTag, "More than 127 classes");
  if (std::ranges::any_of(bounds, [](float bound) { return std::isnan(bound); }) ||
      !std::ranges::is_sorted(bounds))
    return fail(kTag, "Class bounds must be ascending");
  if (!(nodata >= Limits::min() && nodata <= Limits::max() && nodata == std::trunc(nodata)))
    return fail(kTag, "Nodata must be a whole number from -128 to 127");
  if (nodata >= 1 && nodata <= static_cast<float>(bounds.size())) return fail(kTag, "Nodata is a class");
  return kSuccess;
}

}  // namespace

int Reclassify(const R4Grid_type& grid, std::span<const float> bounds, std::string_view stem,
               std::optional<float> nodata) {
  Attempt attempt{grid.status};
  const float none = nodata.value_or(0.0F);
  if (checkClasses(bounds, none) != kSuccess) return kFailure;
  if (stem.ends_with(".hdr")) stem.remove_suffix(4);
  I1Grid_type classes;
  if (CreateGrid(classes, {.like = &grid, .setCells = false}) != kSuccess)
    return fail(kTag, "Error creating BIL grid");
  classes.nodata = none;  // of the header; the grid is not read as one of bytes
  const auto classify = [=, missing = missingIn(grid)](int32_t, auto values, auto bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      const auto bound = std::ranges::lower_bound(bounds, values[i]);
      const bool hasClass = !missing(values[i]) && bound != bounds.end();
      bytes[i] = static_cast<std::int8_t>(hasClass ? static_cast<float>(bound - bounds.begin() + 1) : none);
    }
  };
  if (RowPass{reading(grid), filling(classes)}.run(kTag, classify) != kSuccess) return kFailure;
  return attempt.end(classes.writeBIL(stem));
}

}  // namespace terrain
