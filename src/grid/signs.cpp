// The sign of cells: negative values as marks, and the way back.

#include <cmath>
#include <limits>
#include <type_traits>

#include "grid/grid.h"
#include "grid/rows.h"

namespace terrain {

namespace {

/// |v|; of the lowest integer the largest one.
constexpr auto kMagnitude = []<Cell T>(T v) -> T {
  if constexpr (std::is_floating_point_v<T>)
    return std::abs(v);
  else if (v == std::numeric_limits<T>::lowest())
    return std::numeric_limits<T>::max();
  else
    return v < 0 ? -v : v;
};

/// -|v|; the lowest integer stays.
constexpr auto kNegativeMagnitude = []<Cell T>(T v) -> T {
  if constexpr (std::is_floating_point_v<T>)
    return -std::abs(v);
  else
    return v > 0 ? -v : v;
};

constexpr PassTexts textsOf(std::string_view routine) {
  return {.routine = routine, .rowName = "rowArray", .modeFailed = "setRowAccess failed"};
}

/// The absolute values of both integer types report alike.
constexpr PassTexts kAbsoluteValue{.routine = "AbsValI8 in Grid_Module", .rowName = "i8row"};

}  // namespace

// clang-format off
// ---- faces ----

int R4Grid_type::SetNegativeR4(const WindowArgs& window) { return onEvery(*this, textsOf("SetNegativeR4 in Grid_Module"), kNegativeMagnitude, window); }
int I4Grid_type::SetNegativeI4(const WindowArgs& window) { return onEvery(*this, textsOf("SetNegativeI4 in Grid_Module"), kNegativeMagnitude, window); }

int R4Grid_type::SetPositiveR4(const WindowArgs& window) { return onValid(*this, textsOf("SetPositiveR4 in Grid_Module"), kMagnitude, window); }
int I4Grid_type::SetPositiveI4(const WindowArgs& window) { return onValid(*this, textsOf("SetPositiveI4 in Grid_Module"), kMagnitude, window); }
int I8Grid_type::SetPositiveI8(const WindowArgs& window) { return onValid(*this, textsOf("SetPositiveI8 in Grid_Module"), kMagnitude, window); }

int I4Grid_type::AbsValI4() { return onValid(*this, kAbsoluteValue, kMagnitude); }
int I8Grid_type::AbsValI8() { return onValid(*this, kAbsoluteValue, kMagnitude); }

// clang-format on

}  // namespace terrain
