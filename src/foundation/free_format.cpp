#include "foundation/free_format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

#include "foundation/text.h"

namespace terrain {

namespace {

constexpr bool isBlankCharacter(char c) {
  return c == ' ' || c == '\t' || c == '\0' || c == '\r' || c == '\n';
}
constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// True if the decimal magnitude is below 1: a number too small, not too large, for its type.
bool isTiny(std::string_view digits) {
  const std::size_t e = digits.find('e');
  std::int64_t exponent = 0;
  if (e != std::string_view::npos) {
    std::string_view power = digits.substr(e + 1);
    if (power.starts_with('+')) power.remove_prefix(1);
    if (std::from_chars(power.data(), power.data() + power.size(), exponent).ec != std::errc{})
      exponent = power.starts_with('-') ? std::numeric_limits<std::int32_t>::min()
                                        : std::numeric_limits<std::int32_t>::max();
  }
  const std::string_view mantissa = digits.substr(0, e);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return true;
  const auto place = first < point ? static_cast<std::int64_t>(point - first)
                                   : -static_cast<std::int64_t>(first - point) + 1;
  return place + exponent <= 0;
}

/// Rewrites a free-format real for from_chars: no plus sign, every exponent an "e". False if the
/// text is not a number.
bool normalise(std::string_view token, std::string& digits) {
  digits.clear();
  std::size_t at = 0;
  if (at < token.size() && (token[at] == '+' || token[at] == '-')) {
    if (token[at] == '-') digits += '-';
    ++at;
  }
  const std::size_t start = at;
  bool anyDigit = false;
  bool point = false;
  for (; at < token.size() && (isDigit(token[at]) || (token[at] == '.' && !point)); ++at) {
    if (token[at] == '.')
      point = true;
    else
      anyDigit = true;
    digits += token[at];
  }
  if (!anyDigit) {  // infinities and NaN as from_chars knows them
    if (at != start) return false;
    digits.append(token.substr(start));
    return at < token.size() && std::string_view("iInN").find(token[at]) != std::string_view::npos;
  }
  if (at == token.size()) return true;
  const bool letter = std::string_view("eEdDqQ").find(token[at]) != std::string_view::npos;
  if (letter)
    ++at;
  else if (token[at] != '+' && token[at] != '-')
    return false;
  digits += 'e';
  if (at < token.size() && (token[at] == '+' || token[at] == '-')) digits += token[at++];
  const std::size_t power = at;
  while (at < token.size() && isDigit(token[at])) digits += token[at++];
  return at == token.size() && at > power;
}

template <class Real>
bool parseReal(std::string_view token, Real& value) {
  std::string digits;
  if (!normalise(token, digits)) return false;
  Real parsed{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
  if (end != digits.data() + digits.size()) return false;
  if (error == std::errc::result_out_of_range) {
    if (!isTiny(digits)) return false;
    parsed = digits.front() == '-' ? Real(-0.0) : Real(0);
  } else if (error != std::errc{}) {
    return false;
  }
  value = parsed;
  return true;
}

template <class Integer>
bool parseInteger(std::string_view token, Integer& value) {
  if (token.starts_with('+') && token.size() > 1 && isDigit(token[1])) token.remove_prefix(1);
  Integer parsed{};
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), parsed);
  if (error != std::errc{} || end != token.data() + token.size()) return false;
  value = parsed;
  return true;
}

template <class Real>
std::string realText(Real value, int digits) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  std::array<char, 64> buffer{};
  const auto scientific = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                        std::chars_format::scientific, digits - 1);
  std::string text(buffer.data(), scientific.ptr);
  const std::size_t e = text.find('e');
  int exponent = 0;
  std::from_chars(text.data() + e + (text[e + 1] == '+' ? 2 : 1), text.data() + text.size(), exponent);
  if (exponent >= -1 && exponent < digits) {  // the rounded value decides, so 9999999.9 shows its exponent
    const auto fixed = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                     std::chars_format::fixed, digits - 1 - exponent);
    text.assign(buffer.data(), fixed.ptr);
    if (text.find('.') == std::string::npos) text += '.';
    return text;
  }
  text[e] = 'E';
  return text;
}

template <class Real>
std::string shortest(Real value) {
  std::array<char, 64> buffer{};
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

}  // namespace

bool FreeFormatReader::isSeparator(char c) const {
  return isBlankCharacter(c) || c == ',' || (c == '/' && format_.slashEnds);
}

void FreeFormatReader::skipBlanks() {
  while (at_ < text_.size() && isBlankCharacter(text_[at_])) ++at_;
}

// After a field: blanks and at most one comma.
void FreeFormatReader::endField() {
  skipBlanks();
  if (at_ < text_.size() && text_[at_] == ',') ++at_;
}

// "3*" before a field; a count that is no number from 1 counts as 1.
void FreeFormatReader::readRepeatCount() {
  std::size_t digits = at_;
  while (digits < text_.size() && isDigit(text_[digits])) ++digits;
  repeatedStatus_ = FieldStatus::value;
  if (digits == at_ || digits == text_.size() || text_[digits] != '*') return;
  if (!parseInteger(text_.substr(at_, digits - at_), repeats_) || repeats_ < 1) repeats_ = 1;
  at_ = digits + 1;
  --repeats_;
  if (at_ == text_.size() || isSeparator(text_[at_])) repeatedStatus_ = FieldStatus::empty;
}

void FreeFormatReader::readQuoted(Token& token) {
  const char quote = text_[at_++];
  token.wellFormed = false;
  while (at_ < text_.size()) {
    if (text_[at_] == quote) {
      ++at_;
      if (at_ == text_.size() || text_[at_] != quote) {
        token.wellFormed = at_ == text_.size() || isSeparator(text_[at_]);
        return;
      }
    }
    token.text += text_[at_++];
  }
}

FieldStatus FreeFormatReader::nextToken(Token& token) {
  if (repeats_ > 0) {
    --repeats_;
    token = repeated_;
    return repeatedStatus_;
  }
  token = {};
  if (ended_) return FieldStatus::empty;
  skipBlanks();
  if (at_ == text_.size()) return FieldStatus::end;
  if (text_[at_] == ',') {
    ++at_;
    return FieldStatus::empty;
  }
  if (text_[at_] == '/' && format_.slashEnds) {
    ended_ = true;
    return FieldStatus::empty;
  }
  readRepeatCount();
  if (repeatedStatus_ == FieldStatus::value && (text_[at_] == '"' || text_[at_] == '\''))
    readQuoted(token);
  else
    while (at_ < text_.size() && !isSeparator(text_[at_])) token.text += text_[at_++];
  endField();
  if (repeats_ > 0) repeated_ = token;
  return repeatedStatus_;
}

template <class Number>
FieldStatus FreeFormatReader::nextNumber(Number& value) {
  Token token;
  const FieldStatus status = nextToken(token);
  if (status != FieldStatus::value) return status;
  return token.wellFormed && parseNumber(token.text, value) ? FieldStatus::value : FieldStatus::bad;
}

FieldStatus FreeFormatReader::next(std::string& word) {
  Token token;
  const FieldStatus status = nextToken(token);
  if (status == FieldStatus::value) word = std::move(token.text);
  return status;
}
FieldStatus FreeFormatReader::next(int32_t& value) { return nextNumber(value); }
FieldStatus FreeFormatReader::next(int64_t& value) { return nextNumber(value); }
FieldStatus FreeFormatReader::next(float& value) { return nextNumber(value); }
FieldStatus FreeFormatReader::next(double& value) { return nextNumber(value); }

bool parseNumber(std::string_view token, int32_t& value) { return parseInteger(token, value); }
bool parseNumber(std::string_view token, int64_t& value) { return parseInteger(token, value); }
bool parseNumber(std::string_view token, float& value) { return parseReal(token, value); }
bool parseNumber(std::string_view token, double& value) { return parseReal(token, value); }

std::string freeText(int32_t value) { return std::to_string(value); }
std::string freeText(int64_t value) { return std::to_string(value); }
std::string freeText(float value) {
  return value == 0.0F ? "0.000000" : realText(value, std::numeric_limits<float>::digits10 + 1);
}
std::string freeText(double value) {
  return value == 0.0 ? "0.00000000000000" : realText(value, std::numeric_limits<double>::digits10);
}

std::string fixedText(double value, int32_t decimals) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  std::array<char, 400> buffer{};  // 309 digits before the point, decimals after it
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                 std::chars_format::fixed, std::clamp(decimals, 0, 60))
                       .ptr;
  std::string text(buffer.data(), end);
  if (decimals <= 0) text += '.';
  return text;
}

std::string shortestText(float value) { return shortest(value); }
std::string shortestText(double value) { return shortest(value); }

}  // namespace terrain
