#pragma once
// Delimited text tables: a heading line with the name of each column, then one line a record. Lines
// and cells have their true lengths.
//
// A line is cells with "," between them; a "," at its end adds a blank cell. Blanks, tabs and NUL
// characters around a cell are no part of it. A cell that begins and ends with a double quote is
// quoted: it may hold delimiters, a quote in it is doubled, and its text is the one between the
// quotes. In a cell with further text before or after its quotes the quotes are part of the text, and
// delimiters between them still do not separate. A quote without a closing one on its line is an
// ordinary character: a record never extends beyond its line. There are no keywords, and a comment mark
// counts at a line's start only.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/input_file.h"

namespace terrain {

/// Splits one line from left to right, in time linear in its length.
class DelimitedLine {
 public:
  /// The line is changed where a cell has doubled quotes.
  explicit DelimitedLine(std::string& line) : line_(line) {}
  /// The text of the next cell, valid until the line changes. False, with a blank text, after the
  /// last cell. A blank line has none.
  bool next(std::string_view& cell);

 private:
  [[nodiscard]] std::size_t find(char c, std::size_t from) const;
  [[nodiscard]] std::size_t closingQuote(std::size_t opening) const;
  [[nodiscard]] std::size_t unquotedEnd() const;
  std::string_view undoubled(std::size_t from, std::size_t to);

  std::string& line_;
  std::size_t at_ = 0;
  bool afterDelimiter_ = false;
  bool done_ = false;
};

/// True for blank lines and for comments, lines that begin with "#".
[[nodiscard]] bool isSkippedLine(std::string_view line);

/// Adds a cell to a line that is being written: left-adjusted and trimmed, and quoted only where it
/// would not be read back otherwise: with a delimiter or a quote in it, a tab or NUL character at its
/// start or end, or, as the first cell, "#" at its start. The text holds no line ends.
void appendCell(std::string& line, std::string_view text, bool firstCell);

/// A number as columns hold it: an optional sign, digits with at most one point among or around them,
/// and optionally "E" or "e" with a whole exponent. Signs and digits of any other form ("1-2",
/// "12.05.2020") are text.
[[nodiscard]] bool isDelimitedNumber(std::string_view text);

/// True for "NaN", in either case and with or without a sign: a number that is missing.
[[nodiscard]] bool isMissingNumber(std::string_view text);

/// Infers type, width and decimals of one column from its values; whether they stood in quotes makes no
/// difference. A column with a value that is neither a number nor NaN is text; else one with a point or an
/// exponent in a value is real: float64 if any of its numbers has more than 8 characters or 7 digits or is
/// beyond float32, else float32; else it is integer, of 64 bits if a value needs them, or text if one is no
/// 64-bit integer. A column of nothing but NaN is float32.
class ColumnSurvey {
 public:
  /// Blank cells are ignored.
  void note(std::string_view cell);
  [[nodiscard]] ColumnFormat format() const;
  /// Characters of all values together, each cut at the length that a column holds.
  [[nodiscard]] std::size_t characters() const { return characters_; }

 private:
  enum class Kind { none, integer, real, text };
  [[nodiscard]] Kind kindWith(std::string_view value);

  Kind kind_ = Kind::none;
  bool wide_ = false;        // a value asks for float64
  bool notInteger_ = false;  // a value without a point is no integer: the column is real or text
  bool hasMissing_ = false;  // a NaN, which a text column takes as it is
  std::size_t length_ = 0;
  std::size_t decimals_ = 0;
  std::size_t characters_ = 0;
  int64_t smallest_ = 0;
  int64_t largest_ = 0;
};

}  // namespace terrain
