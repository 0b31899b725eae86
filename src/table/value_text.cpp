#include "table/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "foundation/free_format.h"
#include "foundation/messages.h"

namespace terrain {

void logDecimals(const FieldDescription& field) {
  const FieldKind kind = kindOf(field.dataType.padded());
  const int32_t written = writtenDecimals(field.decimals);
  if ((kind != FieldKind::R4 && kind != FieldKind::R8) || written == field.decimals) return;
  putMessage("Decimals of field " + std::string(field.name.trimmed()) + ", " + freeText(field.decimals) +
             ", are written as " + freeText(written));
}

void ValueText::set(int64_t value) {
  const char* const end = std::to_chars(text_.data(), text_.data() + text_.size(), value).ptr;
  size_ = wholeLength_ = static_cast<std::size_t>(end - text_.data());
  substituted_ = false;
  isNumber_ = true;
}

/// The value with `decimals` digits, or fewer where that makes it fit. False if the whole part does not.
bool ValueText::fit(double value, int32_t decimals) {
  for (;;) {
    char* end =
        std::to_chars(text_.data(), text_.data() + text_.size(), value, std::chars_format::fixed, decimals)
            .ptr;
    size_ = static_cast<std::size_t>(end - text_.data());
    const auto fraction = static_cast<std::size_t>(decimals > 0 ? decimals + 1 : 0);  // with the point
    wholeLength_ = size_ - fraction;
    if (decimals == 0) text_[size_++] = '.';
    if (size_ <= kValueWidth) return true;
    if (wholeLength_ > kValueWidth) return false;
    if (decimals == 0 || wholeLength_ == kValueWidth) {  // no room for the point
      if (decimals == 0) {
        size_ = kValueWidth;
        return true;
      }
      decimals = 0;
    } else {  // rounding to fewer digits can add one before the point: then once more
      decimals = static_cast<int32_t>(kValueWidth - wholeLength_ - 1);
    }
  }
}

void ValueText::setReal(double value, int32_t decimals) {
  substituted_ = false;
  isNumber_ = std::isfinite(value);
  if (!isNumber_) {
    const std::string_view word = std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity";
    std::copy(word.begin(), word.end(), text_.begin());
    size_ = wholeLength_ = word.size();
    return;
  }
  decimals = writtenDecimals(decimals);
  if (fit(value, decimals)) return;
  const std::size_t wanted = wholeLength_;
  const int power = std::min(static_cast<int>(kValueWidth) - decimals - 1, 4);
  fit(static_cast<double>(static_cast<float>(-0.9999 * std::pow(10.0, power))), decimals);
  wholeLength_ = wanted;
  substituted_ = true;
}

template <std::floating_point Real>
std::string_view ExactText::set(Real value, int32_t decimals) {
  constexpr Real least = Real(1e-4);
  constexpr Real most = Real(1e15);
  char* const begin = text_.data();
  char* const room = begin + text_.size();
  const Real magnitude = std::abs(value);
  if (magnitude != 0 && (magnitude < least || magnitude >= most)) {
    const char* const fixedEnd = std::to_chars(begin, room, value, std::chars_format::fixed).ptr;
    const auto fixedSize = fixedEnd - begin;
    char* const end = std::to_chars(begin, room, value, std::chars_format::scientific).ptr;
    std::replace(begin, end, 'e', 'E');
    if (end - begin < fixedSize) return {begin, end};
  }
  char* end = std::to_chars(begin, room, value, std::chars_format::fixed).ptr;
  const char* const point = std::find(begin, end, '.');
  const auto digits = std::max<std::ptrdiff_t>(end - point - 1, 0);
  if (point == end) *end++ = '.';
  for (std::ptrdiff_t i = digits; i < writtenDecimals(decimals); ++i) *end++ = '0';
  return {begin, end};
}
template std::string_view ExactText::set(float value, int32_t decimals);
template std::string_view ExactText::set(double value, int32_t decimals);

bool countsAsNodata(int32_t value) { return value < 0 && value % 9 == 0; }
bool countsAsNodata(int64_t value) { return value < 0 && value % 9 == 0; }
bool countsAsNodata(float value) { return value < 0 && std::fmod(-value, 9.0F) == 0.0F; }
bool countsAsNodata(double value) { return value < 0 && std::fmod(-value, 9.0) == 0.0; }

}  // namespace terrain
