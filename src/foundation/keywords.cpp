#include "foundation/keywords.h"

#include <algorithm>

namespace terrain {

namespace {

constexpr std::size_t kValueLength = 256;

std::string synonyms(std::string_view words, std::string_view separator) {
  std::string list;
  forEachWord(words.substr(std::min(nameOfKeyword(words).size() + 1, words.size())),
              [&](std::string_view word) { list.append(list.empty() ? "" : separator).append(word); });
  return list;
}

/// The text without the double quotes around it.
std::string withoutQuotes(std::string_view text) {
  text = stripped(text);
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
    text = stripped(text.substr(1, text.size() - 2));
  return std::string(text);
}

/// Text of a manual page: its own escape character and hyphens are escaped.
std::string roff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\' || c == '-') escaped += '\\';
    escaped += c == '\\' ? 'e' : c;
  }
  return escaped;
}

}  // namespace

bool KeywordInput::fail(std::string_view message, std::string_view why) {
  failures.push_back({.message = std::string(message), .detail = std::string(why)});
  return false;
}

bool KeywordInput::isHostText() {
  return text->find('\0') == std::string::npos || fail({}, "The value holds a NUL character");
}

// ---- values ----

namespace detail {

bool parseFileName(KeywordInput& input, bool (*exists)(std::string_view), std::string& name) {
  if (!input.isHostText()) return false;
  name = stripFileName(*input.text);
  if (exists == nullptr) return !name.empty() && lastSeparator(name) + 1 != name.size();
  input.file = name;
  return exists(name);
}

void completeFailures(KeywordInput& input, std::string_view failure) {
  if (input.failures.empty()) input.failures.push_back({.file = input.file});
  for (KeywordFailure& entry : input.failures)
    if (entry.message.empty())
      entry.message =
          failure.empty() ? std::string("Error reading ").append(input.name) : std::string(failure);
}

}  // namespace detail

// ---- words and values of lines ----

bool isKeyword(std::string_view words, std::string_view word) {
  bool found = false;
  if (!isBlank(word)) forEachWord(words, [&](std::string_view known) { found |= equalPadded(known, word); });
  return found;
}

std::string_view nameOfKeyword(std::string_view words) { return words.substr(0, words.find('|')); }

void valueAfterEquals(const LogicalLine& line, KeywordInput& input) {
  if (line.arguments.empty() || line.arguments.front().empty()) return;
  const std::string& argument = line.arguments.front();
  if (argument.size() > kValueLength) {
    input.fail({}, "The value is longer than 256 characters");
    return;
  }
  std::string value = withoutQuotes(argument.front() == '"' ? argument : splitArgument(argument).value);
  if (!value.empty()) input.text = std::move(value);
}

void wholeArgument(const LogicalLine& line, KeywordInput& input) {
  if (!line.arguments.empty()) input.text = unquotedName(line.arguments.front());
}

std::optional<std::string> unquotedName(std::string_view text) {
  text = stripped(text);
  if (text.empty()) return std::nullopt;
  if (text.front() != '"' && text.front() != '\'') return std::string(text);
  std::string quoted;
  if (FreeFormatReader(text, {.slashEnds = false}).next(quoted) != FieldStatus::value) return std::nullopt;
  return std::string(stripped(quoted));
}

// ---- help and manual ----

namespace {

/// An argument of a record, as in "DIG = <number> m".
std::string argumentHelp(const KeywordTexts& row) {
  if (row.words.empty()) return std::string("<").append(row.argument).append(">");
  std::string help(nameOfKeyword(row.words));
  if (row.takes == TakesValue::always) help.append(" = <").append(row.argument).append(">");
  if (!row.unit.empty()) help.append(" ").append(row.unit);
  return help;
}

std::string argumentNotes(const KeywordTexts& row) {
  std::string notes(row.meaning);
  if (!row.standard.empty()) notes.append(" Without it: ").append(row.standard).append(".");
  return notes;
}

}  // namespace

std::string keywordHelp(const KeywordTexts& row) {
  std::string help("  ");
  help.append(nameOfKeyword(row.words)).append(":");
  if (!row.argument.empty()) help.append(" <").append(row.argument).append(">");
  if (!row.unit.empty()) help.append(" ").append(row.unit);
  if (!row.standard.empty()) help.append("   [").append(row.standard).append("]");
  help.append("\n      ").append(row.meaning).append("\n");
  if (const std::string others = synonyms(row.words, ", "); !others.empty())
    help.append("      Also: ").append(others).append("\n");
  for (const KeywordTexts& argument : row.arguments)
    help.append("      ").append(argumentHelp(argument)).append(": ").append(argumentNotes(argument)) += '\n';
  return help;
}

std::string keywordManual(const KeywordTexts& row) {
  const std::string_view argument = row.unit.empty() ? row.argument : row.unit;
  std::string manual(".TP\n.B ");
  manual.append(roff(nameOfKeyword(row.words))).append(":");
  if (!argument.empty()) manual.append(" \\fI").append(roff(argument)).append("\\fR");
  manual.append("\n").append(roff(row.meaning));
  if (!row.standard.empty()) manual.append(" Without it: ").append(roff(row.standard)).append(".");
  if (const std::string others = synonyms(row.words, ", "); !others.empty())
    manual.append(" Also: ").append(roff(others)).append(".");
  manual.append("\n");
  for (const KeywordTexts& each : row.arguments)
    manual.append(".br\n").append(roff(argumentHelp(each))).append(": ").append(roff(argumentNotes(each))) +=
        '\n';
  return manual;
}

}  // namespace terrain
