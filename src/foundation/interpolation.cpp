#include "foundation/interpolation.h"

#include <algorithm>
#include <cstddef>

#include "foundation/messages.h"

namespace terrain {

namespace {

template <class Real>
const Real& element(std::span<const Real> table, int32_t index) {
  return table[static_cast<std::size_t>(index) - 1];
}

/// Narrows low..high until no index is left between them: element `low` is not above the value.
template <class Real>
int32_t bisect(std::span<const Real> table, Real value, int32_t low, int32_t high) {
  while (high - low > 1) {
    const int32_t probe = low + (high - low) / 2;
    (value >= element(table, probe) ? low : high) = probe;
  }
  return low;
}

template <class Real>
int32_t locate(std::span<const Real> table, Real value, int32_t* hint) {
  const int32_t n = static_cast<int32_t>(table.size());
  int32_t place = 0;
  if (n > 0) {
    if (table.front() >= value) {
      place = 1;
    } else if (value >= table.back()) {
      place = n;
    } else {
      const bool usable = hint != nullptr && *hint >= 1 && *hint <= n && element(table, *hint) <= value;
      place = bisect(table, value, usable ? *hint : 0, n + 1);
    }
  }
  if (hint != nullptr) *hint = place;
  return place;
}

template <class Real>
Real interpolate(Real inVal, std::span<const Real> x, std::span<const Real> y, int32_t* index) {
  constexpr Real kNone = Real(-9999.0);
  const auto refuse = [](std::string_view text) {
    putMessage(text);
    return kNone;
  };
  if (x.size() != y.size()) return refuse("FUNCTION getValue: arrays are different size");
  if (x.empty()) return refuse("FUNCTION getValue: arrays are empty");
  if (inVal < x.front()) return refuse("FUNCTION getValue: inVal less than minimum x value");
  if (inVal > x.back()) return refuse("FUNCTION getValue: inVal greater than maximum x value");
  const int32_t i = locate(x, inVal, index);
  if (i < 1) return refuse("FUNCTION getValue: inVal or x is not a number");
  if (inVal == element(x, i)) return element(y, i);
  if (i == static_cast<int32_t>(x.size())) return refuse("FUNCTION getValue: inVal or x is not a number");
  const Real x0 = element(x, i), x1 = element(x, i + 1);
  const Real y0 = element(y, i), y1 = element(y, i + 1);
  return y1 + (inVal - x1) * ((y1 - y0) / (x1 - x0));
}

}  // namespace

int32_t LocateBelow(int32_t n, float value, std::span<const float> table) {
  n = static_cast<int32_t>(std::min(static_cast<std::size_t>(std::max(n, 0)), table.size()));
  if (n == 0 || value < table.front()) return 0;
  if (value > element(table, n)) return n;
  return bisect(table, value, 1, n);
}

int64_t LinearIndex(std::span<const int32_t> dims, std::span<const int32_t> indices) {
  if (dims.size() != indices.size()) return 0;
  int64_t position = 1;
  int64_t stride = 1;
  for (std::size_t d = 0; d < dims.size(); ++d) {
    int64_t offset = 0;
    if (__builtin_mul_overflow(int64_t{indices[d]} - 1, stride, &offset) ||
        __builtin_add_overflow(position, offset, &position))
      return 0;
    // The last dimension's own size is no part of any position.
    if (d + 1 < dims.size() && __builtin_mul_overflow(stride, int64_t{dims[d]}, &stride)) return 0;
  }
  return position;
}

// ---- faces ----

int32_t Locate(std::span<const float> table, float value, int32_t* hint) {
  return locate(table, value, hint);
}
int32_t Locate(std::span<const double> table, double value, int32_t* hint) {
  return locate(table, value, hint);
}

float getValue(float inVal, std::span<const float> x, std::span<const float> y, int32_t* index) {
  return interpolate(inVal, x, y, index);
}
double getValue(double inVal, std::span<const double> x, std::span<const double> y, int32_t* index) {
  return interpolate(inVal, x, y, index);
}

}  // namespace terrain
