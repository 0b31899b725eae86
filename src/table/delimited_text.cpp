#include "table/delimited_text.h"

#include <algorithm>
#include <limits>

#include "foundation/field_text.h"
#include "foundation/free_format.h"
#include "foundation/text.h"
#include "table/field_content.h"

namespace terrain {

namespace {

constexpr char kDelimiter = ',';
constexpr char kQuote = '"';
constexpr char kCommentMark = '#';
constexpr std::string_view kSpace{" \t\0", 3};

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isSpace(char c) { return kSpace.find(c) != std::string_view::npos; }

std::string_view withoutLeadingSpace(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kSpace), text.size()));
}

std::size_t countDigits(std::string_view text) {
  std::size_t count = 0;
  while (count < text.size() && isDigit(text[count])) ++count;
  return count;
}

/// Digits of a number without its exponent, zeros at its start not counted.
std::size_t countDigitsOf(std::string_view number) {
  std::size_t count = 0;
  for (const char c : number)
    if (isDigit(c) && (count > 0 || c != '0')) ++count;
  return count;
}

void dropSign(std::string_view& text) {
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
}

}  // namespace

// ---- reading lines ----

/// Position of the character, or the line's length.
std::size_t DelimitedLine::find(char c, std::size_t from) const {
  return std::min(line_.find(c, from), line_.size());
}

/// The quote after `opening` that is not doubled, or the line's length. A search without result, to the
/// end of the line, happens at most once a line: every later run of quotes is then even, so a cell that
/// begins with one closes within it.
std::size_t DelimitedLine::closingQuote(std::size_t opening) const {
  std::size_t at = find(kQuote, opening + 1);
  while (at + 1 < line_.size() && line_[at + 1] == kQuote) at = find(kQuote, at + 2);
  return at;
}

/// End of the cell at `at_` if it is not a quoted one: the next delimiter that no pair of quotes keeps.
std::size_t DelimitedLine::unquotedEnd() const {
  const std::size_t end = find(kDelimiter, at_);
  const std::size_t quote = std::string_view(line_).substr(at_, end - at_).find(kQuote);
  if (quote == std::string_view::npos) return end;
  const std::size_t closing = find(kQuote, at_ + quote + 1);
  return closing < line_.size() ? find(kDelimiter, closing + 1) : end;
}

/// The text with each doubled quote made one, in its place.
std::string_view DelimitedLine::undoubled(std::size_t from, std::size_t to) {
  std::size_t end = std::min(find(kQuote, from), to);
  for (std::size_t at = end; at < to; ++at) {
    line_[end++] = line_[at];
    if (line_[at] == kQuote) ++at;
  }
  return std::string_view(line_).substr(from, end - from);
}

bool DelimitedLine::next(std::string_view& cell) {
  cell = {};
  if (done_) return false;
  while (at_ < line_.size() && isSpace(line_[at_])) ++at_;
  if (at_ == line_.size()) {
    done_ = true;
    return afterDelimiter_;
  }
  std::size_t end = 0;
  bool quoted = false;
  if (line_[at_] != kQuote) {
    end = unquotedEnd();
  } else if (const std::size_t closing = closingQuote(at_); closing == line_.size()) {
    end = find(kDelimiter, at_);
  } else {
    end = find(kDelimiter, closing + 1);
    quoted = withoutLeadingSpace(std::string_view(line_).substr(closing + 1, end - closing - 1)).empty();
    if (quoted) cell = undoubled(at_ + 1, closing);
  }
  if (!quoted) cell = trimmedField(std::string_view(line_).substr(at_, end - at_));
  done_ = end == line_.size();
  afterDelimiter_ = true;
  at_ = end + 1;
  return true;
}

bool isSkippedLine(std::string_view line) {
  const std::string_view text = withoutLeadingSpace(line);
  return text.empty() || text.front() == kCommentMark;
}

// ---- writing cells ----

void appendCell(std::string& line, std::string_view text, bool firstCell) {
  text = stripped(text);
  if (text.empty()) return;
  const bool quoted = text.find_first_of(std::string_view{",\"", 2}) != std::string_view::npos ||
                      isSpace(text.front()) || isSpace(text.back()) ||
                      (firstCell && text.front() == kCommentMark);
  if (!quoted) {
    line += text;
    return;
  }
  line += kQuote;
  for (const char c : text) {
    if (c == kQuote) line += kQuote;
    line += c;
  }
  line += kQuote;
}

// ---- column types ----

bool isDelimitedNumber(std::string_view text) {
  dropSign(text);
  const std::size_t whole = countDigits(text);
  text.remove_prefix(whole);
  std::size_t fraction = 0;
  if (text.starts_with('.')) {
    fraction = countDigits(text.substr(1));
    text.remove_prefix(1 + fraction);
  }
  if (whole + fraction == 0) return false;
  if (text.empty()) return true;
  if (text.front() != 'E' && text.front() != 'e') return false;
  text.remove_prefix(1);
  dropSign(text);
  return !text.empty() && countDigits(text) == text.size();
}

bool isMissingNumber(std::string_view text) {
  dropSign(text);
  constexpr std::string_view word = "NAN";
  return std::ranges::equal(text, word, [](char c, char w) { return c == w || c == w - 'A' + 'a'; });
}

/// The kind of the column with one more value; text for a value that is no number, or beyond float64.
ColumnSurvey::Kind ColumnSurvey::kindWith(std::string_view value) {
  constexpr std::size_t kMostCharactersOfR4 = 8;
  constexpr std::size_t kDigitsOfR4 = 7;  // which a float32 always holds
  if (!isDelimitedNumber(value)) return Kind::text;
  const std::size_t exponent = value.find_first_of("Ee");
  const std::size_t point = value.find('.');
  const bool wide =
      value.size() > kMostCharactersOfR4 || countDigitsOf(value.substr(0, exponent)) > kDigitsOfR4;
  if (point == std::string_view::npos && exponent == std::string_view::npos && kind_ != Kind::real) {
    int64_t whole = 0;
    wide_ = wide_ || wide;             // in case the column turns out to be real
    if (!parseNumber(value, whole)) {  // beyond 64 bits: a number where the column is real
      double real = 0.0;
      float narrow = 0.0F;
      wide_ = wide_ || !parseNumber(value, narrow);
      notInteger_ = true;
      return parseNumber(value, real) ? Kind::integer : Kind::text;
    }
    smallest_ = std::min(smallest_, whole);
    largest_ = std::max(largest_, whole);
    return Kind::integer;
  }
  float narrow = 0.0F;
  double real = 0.0;
  if (wide || !parseNumber(value, narrow)) {
    if (!parseNumber(value, real)) return Kind::text;
    wide_ = true;
  }
  if (point != std::string_view::npos)
    decimals_ = std::max(decimals_, std::min(exponent, value.size()) - point - 1);
  return Kind::real;
}

void ColumnSurvey::note(std::string_view cell) {
  const std::string_view value = trimmedField(cell);
  if (value.empty()) return;
  length_ = std::max(length_, value.size());
  characters_ += std::min(value.size(), kTextLength);
  if (isMissingNumber(leftAdjusted(value)))
    hasMissing_ = true;
  else if (kind_ != Kind::text)
    kind_ = kindWith(leftAdjusted(value));
}

ColumnFormat ColumnSurvey::format() const {
  constexpr int64_t low = std::numeric_limits<int32_t>::min();
  constexpr int64_t high = std::numeric_limits<int32_t>::max();
  ColumnFormat found;
  found.length = static_cast<int32_t>(std::min(length_, kTextLength));
  found.decCnt = static_cast<int32_t>(std::min(decimals_, kTextLength));
  switch (kind_) {
    case Kind::none:
      found.dataType = hasMissing_ ? "R4" : "U ";
      break;
    case Kind::integer:
      found.dataType = notInteger_ ? "C " : smallest_ < low || largest_ > high ? "I8" : "I4";
      break;
    case Kind::real:
      found.dataType = wide_ ? "R8" : "R4";
      break;
    case Kind::text:
      found.dataType = "C ";
      break;
  }
  return found;
}

}  // namespace terrain
