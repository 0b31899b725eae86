#include "attributes/list_lines.h"

#include "attributes/column_options.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadList in Utilities";
constexpr std::size_t kArgumentLength = 256;
constexpr std::size_t kArguments = 500;
constexpr std::size_t kLineLength = 4096;

bool isListWord(std::string_view word) {
  return isKeyword(list_words::attributes, word) || isKeyword(list_words::rasters, word) ||
         isKeyword(list_words::ends, word) || isKeyword(list_words::inRasters, word) || word == "EQUATION" ||
         findAttributeRow(word) != nullptr;
}

/// True unless the argument goes on in the line: the reader of lines cuts it.
bool endsWithin(std::string_view line, std::string_view argument) {
  const std::size_t at = line.find(argument);
  if (at == std::string_view::npos) return true;  // it has tabs
  const std::string_view rest = line.substr(at + argument.size());
  return rest.empty() || rest.find_first_not_of(" \t,#") != 0;
}

}  // namespace

void giveListKeyword(LogicalLine& line) { giveKeyword(line, isListWord); }

bool ListLines::next(LogicalLine& line) {
  if (input.GetLine(line) != kSuccess) return false;
  const auto withBlanks = [](std::string& text) {
    std::ranges::replace(text, '\t', ' ');
    text = stripped(text);
  };
  withBlanks(line.keyword);
  for (std::string& argument : line.arguments) withBlanks(argument);
  giveListKeyword(line);
  checkLine(line);
  return true;
}

void ListLines::checkLine(const LogicalLine& line) {
  const std::string_view raw = input.lines[static_cast<std::size_t>(line.lineNumber - 1)];
  if (raw.size() >= kLineLength)
    fail(line, "Missing rasterlist argument", "The line has more than 4095 characters");
  if (line.arguments.size() > kArguments)
    fail(line, "Input file, missing arguments for " + line.keyword, "The line has more than 500 arguments");
  for (const std::string& argument : line.arguments)
    if (argument.size() >= kArgumentLength && !endsWithin(raw, argument))
      fail(line, "Input file, missing arguments for " + line.keyword,
           "An argument has more than 256 characters");
  const std::size_t mark = raw.find('#');
  if (mark != std::string_view::npos && mark > 0 && raw[mark - 1] != ' ' && raw[mark - 1] != '\t' &&
      raw[mark - 1] != ',')
    warn(line, "what follows \"#\" is a comment, also within a name");
}

void ListLines::fail(const LogicalLine& line, std::string_view message, std::string_view why) {
  failed = true;
  const std::string reason = why.empty() ? std::string() : "  " + std::string(why);
  const std::string place = line.lineNumber > 0 ? lineText(line.lineNumber) : std::string();
  Report report{.routine = kTag, .code = kOwnWords, .message1 = message};
  report.message2 = reason.empty() ? place : reason;
  if (!reason.empty()) report.message3 = place;
  reportError(report);
}

void ListLines::warn(const LogicalLine& line, std::string text) {
  warnings.push_back({.line = line.lineNumber, .text = std::move(text)});
}

void ListLines::warnUnknown(const LogicalLine& line, std::span<const KeywordTexts> known) {
  const std::string word =
      isBlank(line.keyword) ? input.lines[static_cast<std::size_t>(line.lineNumber - 1)] : line.keyword;
  const std::string near = nearestKeyword(known, word);
  warn(line, std::string(stripped(word)) + " is not a keyword, so the line makes nothing" +
                 (near.empty() ? "" : "; did you mean " + near + "?"));
}

void ListLines::warnIfNear(const LogicalLine& line, std::span<const KeywordTexts> known) {
  std::vector<KeywordTexts> all(known.begin(), known.end());
  all.push_back({.words = list_words::attributes});
  all.push_back({.words = list_words::rasters});
  if (const std::string near = nearestKeyword(all, line.keyword); !near.empty())
    warn(line, line.keyword + " is not a keyword; did you mean " + near + "?");
}

bool ListLines::opensBlock(const LogicalLine& line, int32_t opener) {
  if (!isKeyword(list_words::attributes, line.keyword) && !isKeyword(list_words::rasters, line.keyword))
    return false;
  warn(line, line.keyword + " closes the block that line " + std::to_string(opener) + " opens");
  input.StepBack();
  return true;
}

void ListLines::warnLongName(const LogicalLine& line, const AttributeType& column) {
  if (column.outName.trimmed().size() > kOutLength)
    warn(line,
         "the name " + std::string(column.outName.trimmed()) + " is cut to 10 characters in a DBF file");
  if (column.outName.trimmed().find_first_of("<>") != std::string_view::npos)
    warn(line, "the name " + std::string(column.outName.trimmed()) + " holds an operator");
}

void ListLines::warnOfOptions(const LogicalLine& options, std::span<const Keyword<AttributeType>> table,
                              const AttributeRow& row) {
  bool isWritten = false;
  std::string_view output;
  for (const std::string& argument : options.arguments) {
    if (isBlank(argument)) continue;
    KeywordInput part;
    const auto* const known = findArgument(table, argument, part);
    if (argument.find_first_of("<>") != std::string::npos)
      warn(options, "\"<\" and \">\" separate a name from its value: " + argument);
    if (known == nullptr) {
      std::vector<KeywordTexts> words = textsOf(table);
      for (const RowArgument& one : row.arguments) words.push_back({.words = one.words});
      const SplitArgument pair = splitArgument(argument);
      const std::string near = nearestKeyword(words, stripped(part.lone ? pair.value : pair.name));
      warn(options, '"' + std::string(stripped(argument)) + "\" is no argument of " +
                        std::string(nameOfKeyword(row.words)) +
                        (near.empty() ? "" : "; did you mean " + near + "?"));
      continue;
    }
    const std::string_view word = nameOfKeyword(known->words);
    if (word == "TYPE" && part.text &&
        std::ranges::none_of(kColumnTypes, [&](const auto& type) { return isKeyword(type[0], *part.text); }))
      warn(options, *part.text + " is no type, so the column keeps its own");
    const bool isFlag = known->value.takes == TakesValue::optionally;
    if (isFlag && part.text && !textIsTrue(*part.text) &&
        !isKeyword("F|f|N|n|FALSE|False|false|NO|No|no|.FALSE.|.false.", *part.text))
      warn(options, std::string(word) + " = " + *part.text + " is off: what is on begins with T or Y");
    if (word == "OUTFLAG") isWritten = !part.text || textIsTrue(*part.text);
    if (word == "OUTNODE" || word == "OUTREACH") output = word;
  }
  if (!output.empty() && !isWritten) warn(options, std::string(output) + " has no effect without OUTFLAG");
}

void ListLines::warnOfEquation() {
  const int32_t position = input.CurrentLine();
  for (LogicalLine line; input.GetLine(line) == kSuccess;) {
    giveKeyword(line, [](std::string_view word) {
      return isKeyword("END EQUATION|INTERCEPT|CONSTANT|TERM", word) || isListWord(word);
    });
    if (line.keyword == "END EQUATION" || isListWord(line.keyword)) break;
    if (!isKeyword("INTERCEPT|CONSTANT|TERM", line.keyword)) {
      warnUnknown(line, std::vector<KeywordTexts>{
                            {.words = "INTERCEPT|CONSTANT"}, {.words = "TERM"}, {.words = "END EQUATION"}});
      continue;
    }
    if (line.keyword != "TERM") continue;
    for (const std::string& argument : line.arguments) {
      const SplitArgument pair = splitArgument(argument);
      if (isBlank(argument) ||
          isKeyword("FIELD|ATTRIBUTE|COEF|COEFFICIENT|EXPONENT|BASE", stripped(pair.name)))
        continue;
      warn(line, '"' + argument + "\" is no argument of TERM");
    }
  }
  input.ReturnTo(position);
}

}  // namespace terrain
