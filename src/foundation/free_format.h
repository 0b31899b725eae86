#pragma once
// Free-format (list-directed) reading and writing of numbers and words, used by every reader and writer
// of text in the system.
//
// Reading: fields are separated by blanks, tabs, NUL characters or one comma among them; a slash
// ends the list; nothing between two commas is an empty field and leaves its variable as it was; "3*7"
// is three sevens and "3*" three empty fields; a quoted field ('...' or "...", the quote doubled inside)
// may hold any character. A number may be quoted if its quotes are closed and the field ends there; it may
// have a sign and an exponent with e, d or q, or a signed
// exponent alone (1.5+3). Integers have no point.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace terrain {

enum class FieldStatus {
  value,  ///< read and stored
  empty,  ///< nothing between two commas, or after a slash: the variable keeps its value
  end,    ///< no further field in the text
  bad,    ///< there is a field, but it cannot be read as the type asked for; it is skipped
};

struct FreeFormat {
  bool slashEnds = true;  ///< false where a slash is an ordinary character, as in host paths
};

/// Reads the fields of one text from left to right. Looks at the text, does not own it.
class FreeFormatReader {
 public:
  explicit FreeFormatReader(std::string_view text, FreeFormat format = {}) : text_(text), format_(format) {}

  FieldStatus next(std::string& word);
  FieldStatus next(int32_t& value);
  FieldStatus next(int64_t& value);
  FieldStatus next(float& value);
  FieldStatus next(double& value);

 private:
  struct Token {
    std::string text;
    bool wellFormed = true;  // false for a quote without its end, or with anything but a separator after it
  };

  FieldStatus nextToken(Token& token);
  void readRepeatCount();
  void readQuoted(Token& token);
  template <class Number>
  FieldStatus nextNumber(Number& value);
  [[nodiscard]] bool isSeparator(char c) const;
  void skipBlanks();
  void endField();

  std::string_view text_;
  FreeFormat format_;
  std::size_t at_ = 0;
  bool ended_ = false;        // a slash ended the list
  std::int64_t repeats_ = 0;  // how often the repeated field is still to be read
  FieldStatus repeatedStatus_ = FieldStatus::value;
  Token repeated_;
};

/// Reads the first field of the text. False, with `value` as it was, if there is none or it is bad;
/// true for an empty field, which leaves `value` as it was too.
template <class T>
[[nodiscard]] bool readFree(std::string_view text, T& value) {
  const FieldStatus field = FreeFormatReader(text).next(value);
  return field == FieldStatus::value || field == FieldStatus::empty;
}

/// A whole text as one number, in the same form; false if it holds anything else.
[[nodiscard]] bool parseNumber(std::string_view token, int32_t& value);
[[nodiscard]] bool parseNumber(std::string_view token, int64_t& value);
[[nodiscard]] bool parseNumber(std::string_view token, float& value);
[[nodiscard]] bool parseNumber(std::string_view token, double& value);

/// Numbers without leading blanks. A float32 shows 7 significant digits, a float64 15: without an exponent
/// from 0.1 to below 10 to the power of the digits, with an exponent otherwise.
[[nodiscard]] std::string freeText(int32_t value);
[[nodiscard]] std::string freeText(int64_t value);
[[nodiscard]] std::string freeText(float value);
[[nodiscard]] std::string freeText(double value);

/// Fixed-point text with `decimals` digits after the point and a leading zero below 1: "0.50",
/// "-3.". Exact decimal rounding, ties to even.
[[nodiscard]] std::string fixedText(double value, int32_t decimals);

/// The shortest text that reads back as the same value.
[[nodiscard]] std::string shortestText(float value);
[[nodiscard]] std::string shortestText(double value);

}  // namespace terrain
