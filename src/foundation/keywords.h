#pragma once
// Keyword tables: one row a keyword, and one reader for every file that is made of keyword lines.
//
// A table belongs to a record, the struct that its values go to. A row has the keyword's words, the kind of
// its value with the member that receives it, and every text about it: failure, unit, default, meaning, echo.
// The reader, the help text, the manual page and the echo of the settings use the same rows. A new keyword
// costs one row, and one function if its value has a form of its own:
//
//   using Value = KeywordValue<Settings>;
//   constexpr Keyword<Settings> kWords[] = {
//       {.words = "SLOPE EXPONENT|EXPONENT", .value = Value::number<&Settings::exponent>(), .standard = "2"},
//       {.words = "LIMIT", .value = Value::number<&Settings::basin, &Basin::limit>({.least = 0}), .unit =
//       "m"},
//       {.words = "CHANNEL MASK", .value = Value::records<kMaskWords, &Settings::masks>()},
//   };

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/input_file.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/text.h"

namespace terrain {

// ---- what a keyword is given, and what may go wrong ----

struct KeywordFailure {
  std::string message{};  ///< blank: the failure text of the row
  std::string detail{};   ///< a second line of the report
  std::string file{};     ///< the file that the value names
};

/// What a line, or one argument of a line, gives to its keyword.
struct KeywordInput {
  std::string_view name{};            ///< the first word of the row
  std::optional<std::string> text{};  ///< the value; absent if there is none
  const LogicalLine* line = nullptr;  ///< the whole line: the keyword as written, all arguments
  bool lone = false;                  ///< an argument without a name
  std::string_view whereMissing{};  ///< report of a missing value, before the keyword; blank: that of the row
  std::string file{};               ///< set by parsers of file names, for the report of a failure
  std::vector<KeywordFailure> failures{};

  /// False, with a failure noted, if the value holds a NUL, at which the host would end a name.
  bool isHostText();
  /// Notes a failure with a text of its own; false.
  bool fail(std::string_view message, std::string_view detail = {});
};

/// Whether a keyword stands alone, may have a value or must have one.
enum class TakesValue { never, optionally, always };

/// What a value is made of: one text, one number, or all arguments of the line.
enum class ValueForm { text, number, record };

struct NumberRule {
  double least = -std::numeric_limits<double>::infinity();
  /// List-directed reading of any number, NaN and infinity too; an empty field leaves the member unchanged.
  /// Without it the number must be there and be finite.
  bool listDirected = false;
};

namespace detail {

template <class T>
struct ValueType : std::type_identity<T> {};
template <class T>
struct ValueType<std::optional<T>> : std::type_identity<T> {};

/// Parses a number into a member, which may be optional.
template <class Member>
bool parseNumber(std::string_view text, const NumberRule& rule, Member& member) {
  typename ValueType<Member>::type value{};
  const FieldStatus field = FreeFormatReader(text).next(value);
  if (field == FieldStatus::empty && rule.listDirected) return true;
  if (field != FieldStatus::value) return false;
  const auto wide = static_cast<double>(value);
  if (!rule.listDirected && (!std::isfinite(wide) || wide < rule.least)) return false;
  member = value;
  return true;
}

/// Parses a file name into `name`, without extension. False for a blank one, for one that ends in a
/// separator, or where the file must exist and does not.
bool parseFileName(KeywordInput& input, bool (*exists)(std::string_view), std::string& name);

/// The member at the end of a path of member pointers.
template <auto... Path, class Record>
auto& memberAt(Record& record) {
  return (record.*....*Path);
}

}  // namespace detail

// ---- the value of a keyword ----

struct KeywordTexts;

/// How a value is parsed and where it goes. Made by the functions below; `Path` leads from the record to the
/// member, through nested structs where there are several pointers.
template <class Record>
struct KeywordValue {
  std::string_view argument{};  ///< what the help text shows after the colon
  TakesValue takes = TakesValue::never;
  ValueForm form = ValueForm::text;
  NumberRule rule{};
  bool (*parse)(const KeywordValue& self, Record& record, KeywordInput& input) = nullptr;
  void (*echo)(const Record& record, std::string_view label) = nullptr;
  std::vector<KeywordTexts> (*arguments)() = nullptr;  ///< of a record

  /// A number of the member's type, or of an optional's.
  template <auto... Path>
  static constexpr KeywordValue number(const NumberRule& rule = {}) {
    return {"number", TakesValue::always,    ValueForm::number,
            rule,     &parseNumber<Path...>, &echoMember<Path...>};
  }
  /// The value as it is; a single character takes the first of a value that is not blank.
  template <auto... Path>
  static constexpr KeywordValue text() {
    return {"text", TakesValue::always, ValueForm::text, {}, &parseText<Path...>, &echoMember<Path...>};
  }
  /// A directory, with a separator appended.
  template <auto... Path>
  static constexpr KeywordValue directory() {
    return {"directory", TakesValue::always,       ValueForm::text,
            {},          &parseDirectory<Path...>, &echoMember<Path...>};
  }
  /// A file name without its extension.
  template <auto... Path>
  static constexpr KeywordValue file(std::string_view argument) {
    return {argument, TakesValue::always,           ValueForm::text,
            {},       &parseFile<nullptr, Path...>, &echoMember<Path...>};
  }
  /// The name of a file that must exist: `rasterExists`, `shapefileExists` and the like.
  template <bool (*Exists)(std::string_view), auto... Path>
  static constexpr KeywordValue existing(std::string_view argument) {
    return {argument, TakesValue::always,          ValueForm::text,
            {},       &parseFile<Exists, Path...>, &echoMember<Path...>};
  }
  /// True where the keyword is met, whatever follows it.
  template <auto... Path>
  static constexpr KeywordValue toggle() {
    return {{}, TakesValue::never, ValueForm::text, {}, &parseFlag<Path...>, &echoMember<Path...>};
  }
  /// A truth value; true where none is given.
  template <auto... Path>
  static constexpr KeywordValue flag() {
    return {"yes or no", TakesValue::optionally, ValueForm::text,
            {},          &parseFlag<Path...>,    &echoMember<Path...>};
  }
  /// A list to which every line appends a record, an optional record of which the last line counts, or a
  /// record that is there, filled from the arguments of the line by the rows of `Table`.
  template <const auto& Table, auto... Path>
  static constexpr KeywordValue records() {
    return {"arguments", TakesValue::optionally, ValueForm::record, {}, &parseRecord<Table, Path...>,
            nullptr,     &textsOfTable<Table>};
  }
  /// A value with a form of its own: `bool Parse(Record&, KeywordInput&)` gives false for a failure. The path
  /// may be left out where nothing is echoed.
  template <bool (*Parse)(Record&, KeywordInput&), auto... Path>
  static constexpr KeywordValue own(std::string_view argument, TakesValue takes = TakesValue::always) {
    constexpr auto echo = [] {
      if constexpr (sizeof...(Path) > 0)
        return &echoMember<Path...>;
      else
        return nullptr;
    }();
    return {argument, takes, ValueForm::text, {}, &parseOwn<Parse>, echo};
  }

 private:
  template <auto... Path>
  static bool parseNumber(const KeywordValue& self, Record& record, KeywordInput& input) {
    return detail::parseNumber(*input.text, self.rule, detail::memberAt<Path...>(record));
  }
  template <auto... Path>
  static bool parseText(const KeywordValue&, Record& record, KeywordInput& input) {
    auto& member = detail::memberAt<Path...>(record);
    if (!input.isHostText()) return false;
    if constexpr (std::is_same_v<std::remove_cvref_t<decltype(member)>, char>) {
      if (input.text->empty()) return false;
      member = input.text->front();
    } else {
      member = std::string_view(*input.text);
    }
    return true;
  }
  template <auto... Path>
  static bool parseDirectory(const KeywordValue&, Record& record, KeywordInput& input) {
    if (!input.isHostText()) return false;
    detail::memberAt<Path...>(record) = completeDirectory(*input.text);
    return true;
  }
  template <bool (*Exists)(std::string_view), auto... Path>
  static bool parseFile(const KeywordValue&, Record& record, KeywordInput& input) {
    return detail::parseFileName(input, Exists, detail::memberAt<Path...>(record));
  }
  template <auto... Path>
  static bool parseFlag(const KeywordValue&, Record& record, KeywordInput& input) {
    detail::memberAt<Path...>(record) = !input.text || textIsTrue(*input.text);
    return true;
  }
  template <const auto& Table, auto... Path>
  static bool parseRecord(const KeywordValue&, Record& record, KeywordInput& input);
  template <const auto& Table>
  static std::vector<KeywordTexts> textsOfTable();
  template <bool (*Parse)(Record&, KeywordInput&)>
  static bool parseOwn(const KeywordValue&, Record& record, KeywordInput& input) {
    return Parse(record, input);
  }
  template <auto... Path>
  static void echoMember(const Record& record, std::string_view label) {
    const auto& member = detail::memberAt<Path...>(record);
    using Member = std::remove_cvref_t<decltype(member)>;
    if constexpr (std::is_same_v<Member, bool>) {
      if (member) putMessage(label);
    } else if constexpr (requires { member.has_value(); }) {
      if (member) putMessage(label, *member);
    } else if constexpr (std::is_arithmetic_v<Member> && !std::is_same_v<Member, char>) {
      putMessage(label, member);
    } else if constexpr (requires { member.trimmed(); }) {
      putMessage(std::string(label).append(member.trimmed()));
    } else {
      putMessage(std::string(label) += member);
    }
  }
};

// ---- tables ----

/// One row. The words are matched whole and with their case; trailing blanks do not count.
template <class Record>
struct Keyword {
  std::string_view words{};  ///< the keyword, and its synonyms after "|"; blank: an argument without a name
  KeywordValue<Record> value{};
  std::string_view failure{};   ///< blank: "Error reading " and the keyword
  std::string_view unit{};      ///< of a number
  std::string_view standard{};  ///< what holds without the keyword
  std::string_view meaning{};
  std::string_view echo{};  ///< label of the value in the log; of a switch the line where it is on
  /// Called before the value is parsed; false, with `input.fail`, where the keyword cannot be used here.
  bool (*before)(Record& record, KeywordInput& input) = nullptr;
};

/// Calls `use` with each of the words between "|".
template <class Use>
void forEachWord(std::string_view words, Use use) {
  while (true) {
    const std::size_t end = words.find('|');
    use(words.substr(0, end));
    if (end == std::string_view::npos) return;
    words.remove_prefix(end + 1);
  }
}

/// True if `word` is one of the words.
[[nodiscard]] bool isKeyword(std::string_view words, std::string_view word);
/// The first of the words.
[[nodiscard]] std::string_view nameOfKeyword(std::string_view words);

/// The row of a word, or null.
template <class Table>
[[nodiscard]] auto findKeyword(const Table& table, std::string_view word) -> decltype(&*std::begin(table)) {
  for (const auto& row : table)
    if (isKeyword(row.words, word)) return &row;
  return nullptr;
}

namespace detail {
/// Gives every failure its text, and the line's failure where the parser noted none.
void completeFailures(KeywordInput& input, std::string_view failure);
}  // namespace detail

/// Parses the value of one keyword into the record. False with at least one entry in `input.failures`.
template <class Record>
bool parseKeyword(const Keyword<Record>& row, Record& record, KeywordInput& input) {
  input.name = nameOfKeyword(row.words);
  const bool missing = row.value.takes == TakesValue::always && !input.text;
  if (missing && !input.whereMissing.empty()) input.fail(std::string(input.whereMissing).append(input.name));
  if (input.failures.empty() && (row.before == nullptr || row.before(record, input)) && !missing &&
      row.value.parse(row.value, record, input))
    return true;
  detail::completeFailures(input, row.failure);
  return false;
}

/// The row of an argument, `NAME = value` or a lone word, or null. Sets `input.text` to the value, or to a
/// lone word that is no keyword.
template <class Table>
[[nodiscard]] auto findArgument(const Table& table, std::string_view argument, KeywordInput& input) {
  const SplitArgument pair = splitArgument(argument);
  input.lone = isBlank(pair.name);
  const auto* row = findKeyword(table, leftAdjusted(input.lone ? pair.value : pair.name));
  if (!input.lone || row == nullptr) input.text = stripped(pair.value);
  return row;
}

/// Parses the arguments of a line into a record by the rows of a table of their own. A lone argument that is
/// no keyword is the value of the next row without words; one that fits no row is left out. False with the
/// failures of all arguments in `input`.
template <class Record>
bool parseArguments(std::type_identity_t<std::span<const Keyword<Record>>> table, Record& record,
                    KeywordInput& input) {
  auto unnamed = table.begin();
  for (const std::string& argument : input.line->arguments) {
    KeywordInput part{.line = input.line};
    const Keyword<Record>* row = findArgument(table, argument, part);
    if (row == nullptr && part.lone) {
      while (unnamed != table.end() && !unnamed->words.empty()) ++unnamed;
      if (unnamed != table.end()) row = &*unnamed++;
    }
    if (row != nullptr && !parseKeyword(*row, record, part))
      input.failures.insert(input.failures.end(), part.failures.begin(), part.failures.end());
  }
  return input.failures.empty();
}

template <class Record>
template <const auto& Table, auto... Path>
bool KeywordValue<Record>::parseRecord(const KeywordValue&, Record& record, KeywordInput& input) {
  auto& member = detail::memberAt<Path...>(record);
  if constexpr (requires { member.emplace_back(); })
    return parseArguments(Table, member.emplace_back(), input);
  else if constexpr (requires { member.emplace(); })
    return parseArguments(Table, member.emplace(), input);
  else
    return parseArguments(Table, member, input);
}

// ---- files ----

/// Where the value of a line is found: sets `input.text`, or notes a failure.
using ValueOfLine = void (*)(const LogicalLine& line, KeywordInput& input);

/// What follows an "=" in the first argument, without double quotes around it; in double quotes the whole
/// argument. A blank value is none, one of more than 256 characters a failure.
void valueAfterEquals(const LogicalLine& line, KeywordInput& input);

/// The first argument: in single or double quotes up to the closing one, else all of it, so that names with
/// blanks and with separators of either kind need no quotes.
void wholeArgument(const LogicalLine& line, KeywordInput& input);
/// The same of a text; nothing if it is blank.
[[nodiscard]] std::optional<std::string> unquotedName(std::string_view text);

/// Reads all keyword lines of a file into the record. Lines without a keyword of the table have no effect.
/// `report(failure, lineNumber)` reports one failure and says whether the reading goes on. 0, or -1 where a
/// keyword failed.
template <class Record, class Report>
int readKeywords(InputFileType& file, std::type_identity_t<std::span<const Keyword<Record>>> table,
                 Record& record, ValueOfLine valueOfLine, Report report) {
  int result = kSuccess;
  for (LogicalLine line; file.GetLine(line) == kSuccess;) {
    const Keyword<Record>* row = findKeyword(table, line.keyword);
    if (row == nullptr) continue;
    KeywordInput input{.line = &line};
    if (row->value.takes != TakesValue::never) valueOfLine(line, input);
    if (parseKeyword(*row, record, input)) continue;
    result = kFailure;
    bool goesOn = true;
    for (const KeywordFailure& failure : input.failures) goesOn = report(failure, line.lineNumber) && goesOn;
    if (!goesOn) break;
  }
  return result;
}

// ---- what is shown of the rows ----

/// Writes the echo of a keyword's value to the log.
template <class Record>
void echoKeyword(std::type_identity_t<std::span<const Keyword<Record>>> table, const Record& record,
                 std::string_view word) {
  const Keyword<Record>* row = findKeyword(table, word);
  if (row != nullptr && row->value.echo != nullptr) row->value.echo(record, row->echo);
}

/// The texts of a row that do not depend on its record.
struct KeywordTexts {
  std::string_view words{}, argument{}, unit{}, standard{}, meaning{};
  TakesValue takes = TakesValue::never;
  ValueForm form = ValueForm::text;
  std::vector<KeywordTexts> arguments{};  ///< the rows of a record's arguments
};
template <class Record>
[[nodiscard]] KeywordTexts textsOf(const Keyword<Record>& row) {
  return {
      row.words,      row.value.argument,
      row.unit,       row.standard,
      row.meaning,    row.value.takes,
      row.value.form, row.value.arguments == nullptr ? std::vector<KeywordTexts>() : row.value.arguments()};
}

template <class Record>
[[nodiscard]] std::vector<KeywordTexts> textsOf(std::span<const Keyword<Record>> table) {
  std::vector<KeywordTexts> texts;
  for (const Keyword<Record>& row : table) texts.push_back(textsOf(row));
  return texts;
}

template <class Record>
template <const auto& Table>
std::vector<KeywordTexts> KeywordValue<Record>::textsOfTable() {
  std::vector<KeywordTexts> texts;
  for (const auto& row : Table) texts.push_back(textsOf(row));
  return texts;
}

/// A row as a paragraph of the help text, and of the manual page.
[[nodiscard]] std::string keywordHelp(const KeywordTexts& row);
[[nodiscard]] std::string keywordManual(const KeywordTexts& row);

}  // namespace terrain
