#pragma once
// Values of numeric columns as text in a work field of 25 characters, the form used in DBF files and
// delimited text.

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "table/field_content.h"

namespace terrain {

inline constexpr std::size_t kValueWidth = 25;

inline constexpr int32_t kMostDecimals = 20;

/// `decimals` as values are written: the nearest of 0 to 20.
[[nodiscard]] constexpr int32_t writtenDecimals(int32_t decimals) {
  return std::clamp(decimals, 0, kMostDecimals);
}
/// Logs a field of reals whose number of decimals is not the one written.
void logDecimals(const FieldDescription& field);

/// The text of one value, left-adjusted; replaced by each `set`.
class ValueText {
 public:
  void set(int32_t value) { set(static_cast<int64_t>(value)); }
  void set(int64_t value);
  /// Fixed-point with `decimals` digits after the point, limited by `writtenDecimals`. If 25
  /// characters do not hold it, decimals are dropped; if they do not hold the whole part, the text is the
  /// substitute -9999, with as many of the decimals as fit.
  void set(float value, int32_t decimals) { setReal(static_cast<double>(value), decimals); }
  void set(double value, int32_t decimals) { setReal(value, decimals); }

  [[nodiscard]] std::string_view text() const { return {text_.data(), size_}; }
  /// Characters before the point that the value itself needs, its sign included; `text` holds them
  /// unless `substituted`.
  [[nodiscard]] std::size_t wholeLength() const { return wholeLength_; }
  [[nodiscard]] bool substituted() const { return substituted_; }
  /// False for NaN and the infinities, whose text is a word.
  [[nodiscard]] bool isNumber() const { return isNumber_; }

 private:
  void setReal(double value, int32_t decimals);
  bool fit(double value, int32_t decimals);

  std::array<char, 352> text_;  // 309 digits before the point, a sign, a point, 20 digits after it
  std::size_t size_ = 0;
  std::size_t wholeLength_ = 0;
  bool substituted_ = false;
  bool isNumber_ = true;
};

/// The text of a real that reads back as the same value of its width: fixed-point with as many digits as that
/// takes, at least `decimals` of them after the point (`writtenDecimals`). Values below 0.0001 or from 1E15
/// on are in exponent form where that is shorter. Always with a point or an exponent.
class ExactText {
 public:
  template <std::floating_point Real>
  [[nodiscard]] std::string_view set(Real value, int32_t decimals);

 private:
  std::array<char, 400> text_;  // 309 digits before the point, or 324 zeros and 17 digits after it
};

/// True for a negative value whose magnitude is a whole multiple of 9 (-9, -18, -9999): such values are
/// replaced where the caller asks for another nodata value on output.
[[nodiscard]] bool countsAsNodata(int32_t value);
[[nodiscard]] bool countsAsNodata(int64_t value);
[[nodiscard]] bool countsAsNodata(float value);
[[nodiscard]] bool countsAsNodata(double value);

}  // namespace terrain
