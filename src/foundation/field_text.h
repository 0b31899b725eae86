#pragma once
// Values as text in fields of a fixed width, and the classification of such a text.

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace terrain {

/// A number in a field of `width` characters with `decimals` (0 to 20) digits after the point,
/// left-adjusted and padded with blanks. Where it does not fit, the field holds the substitute,
/// -0.9999 times 10 to the power min(width - decimals - 1, 4): -9999 in a wide field. Other
/// `decimals` are reported and give a blank field. The zero before the point goes first.
[[nodiscard]] std::string GetRealValue(double value, int32_t decimals, std::size_t width);
[[nodiscard]] std::string GetRealValue_sp(float value, int32_t decimals, std::size_t width);

/// What a text field holds: `type` is "C ", "I4", "I8", "R4", "R8", or two blanks for a blank text.
struct FieldClass {
  std::string_view type = "  ";
  int32_t decimals = 0;  ///< digits after the point
  int32_t length = 0;    ///< without trailing blanks, tabs and NUL characters
};

/// Any character outside "-+E1234567890." makes a text. Signs and digits that are no valid integer
/// ("1-2", "E5") are text too.
[[nodiscard]] FieldClass fieldType(std::string_view text);

/// The text without trailing blanks, tabs and NUL characters.
[[nodiscard]] std::string_view trimmedField(std::string_view text);
/// True if every character could belong to a number.
[[nodiscard]] bool looksNumeric(std::string_view text);

/// A value of one of the five kinds that fields and arguments hold.
using AnyValue = std::variant<std::string, double, float, int64_t, int32_t>;

/// True if both hold the same kind and equal values; texts compare without trailing blanks.
[[nodiscard]] bool equalValues(const AnyValue& a, const AnyValue& b);
/// Prints a value on the console.
void printValue(const AnyValue& value);
/// Assigns, converting between numbers; false, with `target` as it was, where the target's kind cannot hold
/// the value.
[[nodiscard]] bool assignValue(AnyValue& target, const AnyValue& value);

/// Stops the run with "Missing argument for " and the name.
[[noreturn]] void missingArgument(std::string_view name);

}  // namespace terrain
