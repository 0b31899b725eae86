#pragma once
// Free-format (list-directed) reading and writing of numbers and words: the one piece behind every
// reader and writer of text in the system.
//
// Reading: fields are separated by blanks, tabs, NUL characters or one comma among them; a slash
// ends the list; nothing between two commas is a null value and leaves its variable alone; "3*7"
// is three sevens and "3*" three nulls; a quoted field ('...' or "...", the quote doubled inside)
// may hold any character. Numbers may have a sign and an exponent with e, d or q, or a signed
// exponent alone (1.5+3). Integers have no point.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace terrain {

enum class Field {
  value,  ///< read and stored
  null,   ///< a null value: the variable keeps what it held
  end,    ///< no further field in the text
  bad,    ///< there is a field, but it does not read as the type asked for; it is passed over
};

struct FreeFormat {
  bool slashEnds = true;  ///< false where a slash is an ordinary character, as in host paths
};

/// Reads the fields of one text from left to right. Looks at the text, does not own it.
class FreeFormatReader {
 public:
  explicit FreeFormatReader(std::string_view text, FreeFormat format = {}) : text_(text), format_(format) {}

  Field next(std::string& word);
  Field next(int32_t& value);
  Field next(int64_t& value);
  Field next(float& value);
  Field next(double& value);

 private:
  Field nextToken(std::string& token);
  template <class Number>
  Field nextNumber(Number& value);
  [[nodiscard]] bool isSeparator(char c) const;
  void skipBlanks();
  void endField();

  std::string_view text_;
  FreeFormat format_;
  std::size_t at_ = 0;
  bool ended_ = false;        // a slash was met
  std::int64_t repeats_ = 0;  // how often `repeated_` is still to be given
  bool repeatedNull_ = false;
  std::string repeated_;
};

/// Reads the first field of the text. False, with `value` as it was, if there is none or it is bad;
/// true for a null value, which leaves `value` as it was too.
template <class T>
[[nodiscard]] bool readFree(std::string_view text, T& value) {
  const Field field = FreeFormatReader(text).next(value);
  return field == Field::value || field == Field::null;
}

/// A whole text as one number, in the same form; false if anything else stands in it.
[[nodiscard]] bool parseNumber(std::string_view token, int32_t& value);
[[nodiscard]] bool parseNumber(std::string_view token, int64_t& value);
[[nodiscard]] bool parseNumber(std::string_view token, float& value);
[[nodiscard]] bool parseNumber(std::string_view token, double& value);

/// Numbers without leading blanks. A float32 shows 7 significant digits, a float64 15: plain from
/// 0.1 to below 10 to the power of the digits, with an exponent otherwise.
[[nodiscard]] std::string freeText(int32_t value);
[[nodiscard]] std::string freeText(int64_t value);
[[nodiscard]] std::string freeText(float value);
[[nodiscard]] std::string freeText(double value);

/// Fixed-point text with `decimals` digits behind the point and a leading zero below 1: "0.50",
/// "-3.". Exact decimal rounding, ties to even.
[[nodiscard]] std::string fixedText(double value, int32_t decimals);

/// The shortest text that reads back as the same value.
[[nodiscard]] std::string shortestText(float value);
[[nodiscard]] std::string shortestText(double value);

}  // namespace terrain
