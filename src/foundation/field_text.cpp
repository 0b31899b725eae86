#include "foundation/field_text.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace terrain {

namespace {

/// Fixed-point text in at most `width` characters, or empty if it needs more.
std::string fitted(double value, int32_t decimals, std::size_t width) {
  std::string text = fixedText(value, decimals);
  if (text.size() > width) {
    const std::size_t digit = text.starts_with('-') ? 1 : 0;
    if (text.compare(digit, 2, "0.") == 0 && text.size() > digit + 2) text.erase(digit, 1);
  }
  return text.size() <= width ? text : std::string();
}

std::string realField(double value, int32_t decimals, std::size_t width, std::string_view routine,
                      std::string_view tooManyDecimals) {
  std::string field;
  if (decimals < 0 || decimals > 20) {
    fail(routine, tooManyDecimals);
  } else {
    field = fitted(value, decimals, width);
    if (field.empty()) {
      const int power = std::min(static_cast<int>(width) - decimals - 1, 4);
      const auto substitute = static_cast<float>(-0.9999 * std::pow(10.0, power));
      field = fitted(static_cast<double>(substitute), decimals, width);
    }
  }
  field.resize(width, ' ');
  return field;
}

}  // namespace

std::string GetRealValue(double value, int32_t decimals, std::size_t width) {
  return realField(value, decimals, width, "GetRealValue", "Currently handles up to 20 decimal places");
}

std::string GetRealValue_sp(float value, int32_t decimals, std::size_t width) {
  return realField(static_cast<double>(value), decimals, width, "GetRealValue_sp",
                   "Currently handles up to 15 decimal places");
}

std::string_view trimmedField(std::string_view text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\0'))
    text.remove_suffix(1);
  return text;
}

bool looksNumeric(std::string_view text) {
  return text.find_first_not_of("-+E1234567890.") == std::string_view::npos;
}

FieldClass fieldType(std::string_view text) {
  const std::string_view value = trimmedField(text);
  FieldClass found;
  if (value.empty()) return found;
  found.length = static_cast<int32_t>(value.size());
  const std::size_t point = value.find('.');
  int64_t whole = 0;
  if (!looksNumeric(value)) {
    found.type = "C ";
  } else if (point != std::string_view::npos) {
    found.type = found.length < 9 ? "R4" : "R8";
    found.decimals = static_cast<int32_t>(value.size() - point) - 1;
  } else if (!parseNumber(value, whole)) {
    found.type = "C ";
  } else {
    found.type = whole < 2147483647 ? "I4" : "I8";
  }
  return found;
}

bool equalValues(const AnyValue& a, const AnyValue& b) {
  if (a.index() != b.index()) return false;
  if (const auto* text = std::get_if<std::string>(&a)) return equalPadded(*text, std::get<std::string>(b));
  return a == b;
}

void printValue(const AnyValue& value) {
  std::visit(
      [](const auto& held) {
        if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string>)
          putConsoleLine(held);
        else
          putConsoleLine(freeText(held));
      },
      value);
}

bool assignValue(AnyValue& target, const AnyValue& value) {
  return std::visit(
      [](auto& to, const auto& from) {
        using To = std::decay_t<decltype(to)>;
        using From = std::decay_t<decltype(from)>;
        if constexpr (std::is_same_v<To, From>) {
          to = from;
          return true;
        } else if constexpr (std::is_same_v<To, std::string> || std::is_same_v<From, std::string>) {
          return false;
        } else if constexpr (std::is_integral_v<To>) {
          const To converted = truncateTo<To>(static_cast<long double>(from));
          if (static_cast<long double>(converted) != std::trunc(static_cast<long double>(from))) return false;
          to = converted;
          return true;
        } else {
          to = static_cast<To>(from);
          return true;
        }
      },
      target, value);
}

void missingArgument(std::string_view name) {
  reportError({.message1 = "Missing argument for " + std::string(name), .stop = true});
  abortRun();
}

}  // namespace terrain
