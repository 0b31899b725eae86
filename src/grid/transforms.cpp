#include "grid/transforms.h"

#include <cmath>

#include "grid/missing.h"
#include "grid/new_grid.h"
#include "grid/rows.h"

namespace terrain {

R4Grid_type NDVI(const R4Grid_type& first, const R4Grid_type& second) {
  constexpr std::string_view routine = "NDVI in Grid_Module";
  const bool fits = first.GridExists() && second.GridExists() && SameGridGeometry(first, second);
  if (!fits) fail(routine, "Function NDVI, image extents do not match");
  const CreateGridArgs like{.like = &first, .nodata = kNodata, .setCells = false};
  return newGridFrom<R4Grid_type>(first, fits, like, [&](R4Grid_type& out) {
    const auto index = [noFirst = missingIn(first), noSecond = missingIn(second)](int32_t, auto a, auto b,
                                                                                  auto result) {
      for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = noFirst(a[i]) || noSecond(b[i]) ? kNodata : (a[i] - b[i]) / (a[i] + b[i]);
    };
    return RowPass{reading(first), reading(second), filling(out)}.run(routine, index);
  });
}

R4Grid_type R4Grid_type::LogR4() const {
  return newGridFrom<R4Grid_type>(
      *this, true, {.like = this, .nodata = kNodata, .setCells = false}, [&](R4Grid_type& out) {
        const auto logarithm = [holdsData = positiveIn(*this)](int32_t, auto values, auto logs) {
          for (std::size_t i = 0; i < logs.size(); ++i)
            logs[i] = holdsData(values[i]) ? std::log(values[i]) : kNodata;
        };
        return RowPass{reading(*this), filling(out)}.run("LogR4 in Grid_Module", logarithm);
      });
}

}  // namespace terrain
