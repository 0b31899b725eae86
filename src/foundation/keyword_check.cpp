#include "foundation/keyword_check.h"

#include <algorithm>
#include <map>

namespace terrain {

namespace {

bool isBlankCharacter(char c) { return c == ' ' || c == '\t'; }

/// The words of a text in upper case.
std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words(1);
  for (const char c : text) {
    if (!isBlankCharacter(c))
      words.back() += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    else if (!words.back().empty())
      words.emplace_back();
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

std::string joined(std::span<const std::string> words) {
  std::string text;
  for (const std::string& word : words) text.append(text.empty() ? "" : " ").append(word);
  return text;
}

/// Letters to insert, remove, change or swap with the next one to make `b` of `a`; `most` where that is less.
std::size_t editDistance(std::string_view a, std::string_view b, std::size_t most) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) >= most) return most;
  // Three rows of the table of distances between beginnings of `a` and of `b`.
  std::vector<std::size_t> rows(3 * (b.size() + 1));
  const auto row = [&](std::size_t i) { return &rows[i % 3 * (b.size() + 1)]; };
  for (std::size_t i = 0; i <= a.size(); ++i) {
    std::size_t* const cost = row(i);
    for (std::size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[j] = i + j;
        continue;
      }
      const std::size_t* const above = row(i - 1);
      const std::size_t change = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[j] = std::min({change, above[j] + 1, cost[j - 1] + 1});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        cost[j] = std::min(cost[j], row(i - 2)[j - 2] + 1);
    }
  }
  return std::min(most, row(a.size())[b.size()]);
}

bool abbreviates(std::string_view shorter, std::string_view word) {
  constexpr std::size_t least = 3;
  return shorter.size() >= least && word.starts_with(shorter);
}

/// Between texts of words; `most` where that is less.
std::size_t distance(std::span<const std::string> a, std::span<const std::string> b, std::size_t most) {
  const std::size_t whole = editDistance(joined(a), joined(b), most);
  if (a.size() < b.size() && std::ranges::equal(a, b.first(a.size()))) return 1;  // words are left out
  if (a.size() != b.size()) return whole;
  std::size_t sum = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    sum += abbreviates(a[i], b[i]) || abbreviates(b[i], a[i]) ? (a[i] == b[i] ? 0 : 1)
                                                              : editDistance(a[i], b[i], most);
  return std::min(whole, sum);
}

/// A longer text is no misspelt keyword and is not compared letter by letter.
constexpr std::size_t kLongestKeyword = 64;

struct Nearest {
  std::string keyword{};
  std::size_t distance = 0;
};

Nearest nearest(std::span<const KeywordTexts> rows, std::span<const std::string> words) {
  const std::string text = joined(words);
  Nearest best{.distance = text.size() / 3 + 1};
  if (text.size() > kLongestKeyword) return best;
  for (const KeywordTexts& row : rows) {
    forEachWord(row.words, [&](std::string_view known) {
      const std::size_t d = distance(words, wordsOf(known), best.distance);
      if (d < best.distance) best = {.keyword = std::string(known), .distance = d};
    });
  }
  return best;
}

std::string quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

/// Collects the warnings of one file.
class LineCheck {
 public:
  LineCheck(std::span<const KeywordTexts> rows, ValueOfLine valueOfLine)
      : rows_(rows), valueOfLine_(valueOfLine) {}

  void check(const LogicalLine& line, std::string_view whole) {
    line_ = line.lineNumber;
    if (isBlank(line.keyword)) return checkLineWithoutKeyword(whole);
    const auto row = std::ranges::find_if(
        rows_, [&](const KeywordTexts& known) { return isKeyword(known.words, line.keyword); });
    if (row == rows_.end()) return checkUnknown(line.keyword);
    checkRepeated(*row);
    checkValue(*row, line);
  }

  std::vector<LineWarning> warnings{};

 private:
  void warn(std::string text) { warnings.push_back({.line = line_, .text = std::move(text)}); }

  void checkUnknown(std::string_view keyword) {
    std::string text = std::string(keyword).append(" is not a keyword");
    const Nearest known = nearest(rows_, wordsOf(keyword));
    if (!known.keyword.empty()) text.append("; did you mean ").append(known.keyword).append("?");
    warn(std::move(text));
  }

  /// The colon is missing, or an "=" stands before it. The keyword may be followed by its value.
  void checkLineWithoutKeyword(std::string_view whole) {
    const std::size_t equals = whole.find('=');
    const std::vector<std::string> words = wordsOf(whole.substr(0, equals));
    Nearest known;
    for (std::size_t count = 1; count <= words.size() && count <= kMostWords; ++count) {
      Nearest one = nearest(rows_, std::span(words).first(count));
      if (!one.keyword.empty() && (known.keyword.empty() || one.distance <= known.distance))
        known = std::move(one);
    }
    std::string text = equals == std::string_view::npos ? "there is no colon after a keyword"
                                                        : "an \"=\" stands in place of the colon";
    text += ", so the line is not read";
    if (!known.keyword.empty()) text.append("; did you mean ").append(known.keyword).append(":?");
    warn(std::move(text));
  }

  void checkRepeated(const KeywordTexts& row) {
    if (row.form == ValueForm::record) return;
    const auto [before, isFirst] = lines_.try_emplace(row.words, line_);
    if (!isFirst && row.takes != TakesValue::never)
      warn(std::string(nameOfKeyword(row.words)) + " was given in line " + std::to_string(before->second) +
           " already; this line replaces it");
    before->second = line_;
  }

  void checkValue(const KeywordTexts& row, const LogicalLine& line) {
    const std::string name(nameOfKeyword(row.words));
    const bool hasText = std::ranges::any_of(line.arguments, [](const auto& one) { return !one.empty(); });
    if (row.takes == TakesValue::never) {
      if (hasText) warn(name + " takes no value; it is on, whatever follows the colon");
      return;
    }
    if (row.form == ValueForm::record) return checkArguments(row, line);
    if (!hasText) return;
    KeywordInput input{.line = &line};
    valueOfLine_(line, input);
    if (line.arguments.size() > 1) {
      std::string rest;
      for (const std::string& one : std::span(line.arguments).subspan(1)) rest.append(",").append(one);
      warn("what follows the comma is not read: only " + quoted(line.arguments.front()) + " of " +
           quoted(line.arguments.front() + rest) +
           (row.form == ValueForm::number ? "; decimals are written with a point" : ""));
    }
    if (input.text) checkText(row, line, *input.text);
  }

  /// Arguments of a record that fit none of its rows.
  void checkArguments(const KeywordTexts& row, const LogicalLine& line) {
    auto unnamed =
        std::ranges::count_if(row.arguments, [](const auto& known) { return known.words.empty(); });
    for (const std::string& argument : line.arguments) {
      KeywordInput part;
      if (isBlank(argument)) continue;
      if (const KeywordTexts* const known = findArgument(row.arguments, argument, part)) {
        if (known->form == ValueForm::number && part.text) checkNumber(*known, *part.text);
        continue;
      }
      if (part.lone && unnamed-- > 0) continue;
      std::string text =
          quoted(stripped(argument)) + " is no argument of " + std::string(nameOfKeyword(row.words));
      const SplitArgument pair = splitArgument(argument);
      const Nearest word = nearest(row.arguments, wordsOf(part.lone ? pair.value : pair.name));
      if (!word.keyword.empty()) text.append("; did you mean ").append(word.keyword).append("?");
      warn(std::move(text));
    }
  }

  void checkText(const KeywordTexts& row, const LogicalLine& line, std::string_view value) {
    const std::string_view argument = line.arguments.front();
    const std::string before = splitArgument(argument).name;
    const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
    // Values may be named, as in "DEM: FILE = name".
    if (argument.size() > value.size() && argument.front() != '"' && !std::ranges::all_of(before, isUpper))
      warn("what stands before the \"=\" is not read: only " + quoted(value) + " of " + quoted(argument));
    if (row.form == ValueForm::number) checkNumber(row, value);
  }

  void checkNumber(const KeywordTexts& row, std::string_view value) {
    const std::size_t end = std::min(value.find_first_of(" \t"), value.size());
    const std::string_view rest = stripped(value.substr(end));
    double number = 0;
    if (parseNumber(value.substr(0, end), number) && (rest.empty() || rest == row.unit)) return;
    std::string text = "what follows the number is not read: " + quoted(value);
    if (!row.unit.empty()) text.append("; the unit is ").append(row.unit);
    warn(std::move(text));
  }

  static constexpr std::size_t kMostWords = 4;
  std::span<const KeywordTexts> rows_;
  ValueOfLine valueOfLine_;
  std::map<std::string_view, int32_t> lines_{};
  int32_t line_ = 0;
};

}  // namespace

std::string describe(const LineWarning& warning) {
  return warning.line > 0 ? "line " + std::to_string(warning.line) + ": " + warning.text : warning.text;
}

std::vector<LineWarning> checkKeywordLines(InputFileType& file, std::span<const KeywordTexts> rows,
                                           ValueOfLine valueOfLine) {
  LineCheck lines(rows, valueOfLine);
  file.Rewind();
  for (LogicalLine line; file.GetLine(line) == kSuccess;)
    lines.check(line, file.lines[static_cast<std::size_t>(line.lineNumber - 1)]);
  file.Rewind();
  return lines.warnings;
}

std::string nearestKeyword(std::span<const KeywordTexts> rows, std::string_view text) {
  return nearest(rows, wordsOf(text)).keyword;
}

int32_t lineOfKeyword(InputFileType& file, std::string_view words) {
  int32_t found = 0;
  file.Rewind();
  for (LogicalLine line; file.GetLine(line) == kSuccess;)
    if (isKeyword(words, line.keyword)) found = line.lineNumber;
  file.Rewind();
  return found;
}

}  // namespace terrain
