#pragma once
// Comparing and converting numbers: equality within a tolerance, comparisons that are named by
// a word, and float to integer within the range of the integer.

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace terrain {

/// |a - b| / max(|a|, |b|) below `tolerance`; where the smaller magnitude is 0 the larger must be
/// below `tolerance`. Float32 arithmetic.
[[nodiscard]] bool sameR4(float a, float b, float tolerance = 0.00001F);

/// The same in float64. With `absolute` the magnitudes must differ by less than that, so a and -a
/// count as the same.
[[nodiscard]] bool sameR8(double a, double b, double tolerance = 0.00000001,
                          std::optional<double> absolute = std::nullopt);

/// a `test` b with `test` one of "=", ">", "<", "<=", ">=". Floats are equal within the tolerance of
/// `sameR8` or `sameR4`; every other comparison is exact. Any other word is reported; false then.
[[nodiscard]] bool isR8(double a, std::string_view test, double b);
[[nodiscard]] bool isR4(float a, std::string_view test, float b);
[[nodiscard]] bool isI8(int64_t a, std::string_view test, int64_t b);
[[nodiscard]] bool isI4(int32_t a, std::string_view test, int32_t b);
/// Blank-padded equality and order.
[[nodiscard]] bool isChar(std::string_view a, std::string_view test, std::string_view b);

/// True for the words above.
[[nodiscard]] bool isComparison(std::string_view test);

/// Truncated towards zero and kept within the range of Integer; NaN gives 0.
template <class Integer, class Real>
[[nodiscard]] constexpr Integer truncateTo(Real value) {
  constexpr auto low = std::numeric_limits<Integer>::min();
  constexpr auto high = std::numeric_limits<Integer>::max();
  if (!(value == value)) return 0;
  if (value <= static_cast<Real>(low)) return low;
  if (value >= static_cast<Real>(high)) return high;
  return static_cast<Integer>(value);
}

}  // namespace terrain
