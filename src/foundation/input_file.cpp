#include "foundation/input_file.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "foundation/field_text.h"
#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/replacement.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "foundation/units.h"

namespace terrain {

namespace {

/// Blanks, tabs and NUL characters at the start do not count.
std::string_view withoutLeadingSpace(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t' || text.front() == '\0'))
    text.remove_prefix(1);
  return text;
}

/// Around a keyword a tab is a blank.
constexpr std::string_view kBlanks = " \t";
std::string_view withoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}
std::string_view withoutTrailingBlanks(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

/// At the end of an argument "#" goes as well, whatever the comment mark is.
std::string_view withoutArgumentTail(std::string_view text) {
  while (!text.empty() && std::string_view(" \t\0#", 4).find(text.back()) != std::string_view::npos)
    text.remove_suffix(1);
  return text;
}

/// The next delimiter; if a quote opens before it, the next after the closing quote.
std::size_t findDelimiter(std::string_view text, char delimiter) {
  const std::size_t first = text.find(delimiter);
  const std::size_t open = text.find('"');
  if (open == std::string_view::npos || first == std::string_view::npos || open > first) return first;
  const std::size_t close = text.find('"', open + 1);
  return text.find(delimiter, (close == std::string_view::npos ? open : close) + 1);
}

}  // namespace

// ---- loading and saving ----

InputFileType NewInputFile(std::string_view name, const InputFileOptions& options) {
  InputFileType file;
  file.options_ = options;
  file.fileName = std::string(stripped(name));
  file.status = kFailure;
  const bool exists = platform::fileExists(file.fileName) || platform::isDirectory(file.fileName);
  if (!exists && !options.newFile) {
    fail("NewInputFile in InputFileModule", "  Cannot find " + file.fileName);
    return file;
  }
  if (exists && options.newFile)
    putConsoleLine("NewInputFile WARNING: input file already exists" + file.fileName);
  file.status = options.newFile ? kSuccess : file.load();
  return file;
}

int InputFileType::load() {
  const int32_t unit = freeUnit();
  const UnitGuard guard(unit);
  if (units().openText(unit, fileName, platform::Open::read) != kIoOk) {
    putMessage("ERROR NewInputFile, Cannot open " + fileName);
    return kFailure;
  }
  TextFile& text = *units().text(unit);
  try {
    std::string line;
    while (text.readLine(line, options_.lineLength)) {
      if (lines.size() == static_cast<std::size_t>(std::numeric_limits<int32_t>::max()))
        throw std::bad_alloc();
      lines.emplace_back(trimmed(line));
    }
  } catch (const std::bad_alloc&) {
    std::vector<std::string>().swap(lines);
    putMessage("ERROR NewInputFile; cannot allocate memory to hold file contents");
    return kFailure;
  }
  if (text.fault() != kIoOk) {
    lines.clear();
    return reportError({.routine = "NewInputFile in InputFileModule", .code = kReadError, .file = fileName});
  }
  if (lines.empty() && !options_.mayBeEmpty) {
    return reportError(
        {.routine = "NewInputFile in InputFileModule", .file = fileName, .message1 = "Input file is empty"});
  }
  return kSuccess;
}

int InputFileType::writeLines(std::string_view name, std::span<const int32_t> leftOut) const {
  Replacement file;
  if (file.open(name) != kIoOk) return kFailure;
  std::size_t next = 0;
  for (int32_t number = 1; number <= LineCount(); ++number) {
    if (next < leftOut.size() && leftOut[next] == number) {
      ++next;
      continue;
    }
    file.text().writeLine(trimmed(lines[static_cast<std::size_t>(number - 1)]));
  }
  return file.commit() == kIoOk ? kSuccess : kFailure;
}

int InputFileType::Save(std::span<const int32_t> leftOut) {
  Attempt attempt{status};
  if (writeLines(fileName, leftOut) != kSuccess) {
    putMessage("ERROR InputUnit%Save; unable to open file " + fileName);
    return kFailure;
  }
  return attempt.succeed();
}

int InputFileType::writeAscii(std::string_view name) {
  Attempt attempt{status};
  if (lines.empty()) return kFailure;
  if (writeLines(name, {}) != kSuccess)
    return reportError(
        {.routine = "writeAscii in inputFileModule", .file = name, .message1 = "Unable to open output file"});
  return attempt.succeed();
}

void InputFileType::Close(std::optional<bool> save) {
  // The wish belongs to the object: one saved file must not make every other object write its own.
  if (save) saveOnClose_ = *save;
  if (saveOnClose_ && !fileName.empty()) Save();
  fileName.clear();
  Clear();
}

void InputFileType::Clear() {
  lines.clear();
  currentLine_ = 0;
}

InputFileType InputFileType::Copy() const {
  InputFileType copy;
  copy.fileName = fileName;
  copy.lines = lines;
  return copy;
}

// ---- reading ----

int InputFileType::GetLine(LogicalLine& line) {
  Attempt attempt{status};
  line.keyword.clear();
  line.arguments.clear();
  std::string_view text;
  do {
    if (currentLine_ >= LineCount()) {
      currentLine_ = LineCount();
      return kFailure;
    }
    text = withoutLeadingBlanks(cut(lines[static_cast<std::size_t>(currentLine_++)], options_.lineLength));
  } while (isBlank(text) || text.front() == options_.commentMark);
  line.lineNumber = currentLine_;

  const std::size_t delimiter = text.find(options_.keywordDelimiter);
  if (delimiter != std::string_view::npos && delimiter < text.find('=')) {
    line.keyword = std::string(withoutTrailingBlanks(text.substr(0, delimiter)));
    text.remove_prefix(delimiter + 1);
  }
  splitArguments(text, line.arguments);
  return attempt.succeed();
}

void InputFileType::splitArguments(std::string_view rest, std::vector<std::string>& arguments) const {
  bool afterDelimiter = false;
  while (true) {
    rest = withoutLeadingSpace(rest);
    if (rest.empty()) {
      if (afterDelimiter) arguments.emplace_back();
      return;
    }
    const std::size_t comment = std::min(rest.find(options_.commentMark), rest.size());
    if (comment == 0) return;
    const std::size_t delimiter = findDelimiter(rest, options_.argumentDelimiter);
    const bool last = delimiter >= comment;
    const std::string_view argument = withoutArgumentTail(rest.substr(0, last ? comment : delimiter));
    arguments.emplace_back(cut(argument, options_.argumentLength));
    if (last) return;
    rest.remove_prefix(delimiter + 1);
    afterDelimiter = true;
  }
}

int32_t InputFileType::KeywordLineCount() {
  const int32_t position = currentLine_;
  const int32_t before = status;
  int32_t count = 0;
  for (LogicalLine line; GetLine(line) == kSuccess;) ++count;
  currentLine_ = position;
  status = before;
  return count;
}

void InputFileType::Rewind(std::optional<int32_t> lineNumber) {
  currentLine_ = lineNumber && *lineNumber >= 1 && *lineNumber <= LineCount() ? *lineNumber - 1 : 0;
}

void InputFileType::StepBack() { currentLine_ = std::max(currentLine_ - 1, 0); }

void InputFileType::ReturnTo(int32_t line) { currentLine_ = std::clamp(line, 0, LineCount()); }

int InputFileType::CountToEndList(int32_t& count) {
  const int32_t position = currentLine_;
  count = 0;
  for (LogicalLine line; GetLine(line) == kSuccess; ++count) {
    if (line.keyword.find("END LIST") != std::string::npos) {
      currentLine_ = position;
      return kSuccess;
    }
  }
  return kFailure;
}

// ---- writing ----

int InputFileType::PutLine(const LineParts& parts) {
  std::string text;
  const auto append = [&](std::string_view piece) { text = std::string(trimmed(text)).append(piece); };
  if (parts.keyword) append(std::string(trimmed(*parts.keyword)) + options_.keywordDelimiter);
  for (std::size_t i = 0; i < parts.arguments.size(); ++i) {
    append(' ' + std::string(trimmed(parts.arguments[i])));
    if (i + 1 < parts.arguments.size()) text += options_.argumentDelimiter;
  }
  if (parts.comment) append(" # " + std::string(trimmed(*parts.comment)));
  text = std::string(cut(text, options_.lineLength));

  Attempt attempt{status};
  if (!parts.lineNumber) {
    lines.push_back(std::move(text));
  } else {
    if (*parts.lineNumber < 1 || *parts.lineNumber > LineCount()) return kFailure;
    lines[static_cast<std::size_t>(*parts.lineNumber - 1)] = std::move(text);
  }
  return attempt.succeed();
}

// ---- column formats ----

namespace {

/// Adapts a column's format to one more value; `largest` is the largest integer seen there.
void noteValue(std::string_view value, ColumnFormat& column, int64_t& largest) {
  const auto length = static_cast<int32_t>(value.size());
  column.length = std::max(column.length, length);
  if (column.dataType == "C ") return;
  const std::size_t point = value.find('.');
  int64_t whole = 0;
  if (!looksNumeric(value)) {
    column.dataType = "C ";
  } else if (point != std::string_view::npos) {
    // The type follows the last such value.
    column.dataType = length > 8 ? "R8" : "R4";
    column.decCnt = std::max(column.decCnt, static_cast<int32_t>(value.size() - point) - 1);
  } else if (column.dataType.front() != 'R') {
    if (!parseNumber(value, whole)) {  // signs and digits that are no integer, such as 1-2
      column.dataType = "C ";
      return;
    }
    column.dataType = "I4";
    column.decCnt = 0;
    largest = std::max(largest, whole);
  }
}

}  // namespace

int InputFileType::FindFormats(std::vector<ColumnFormat>& columns) {
  const int32_t position = currentLine_;
  Rewind();
  LogicalLine line;
  if (GetLine(line) != kSuccess || line.arguments.empty()) {
    status = kFailure;
    return kFailure;
  }
  columns.assign(line.arguments.size(), ColumnFormat{});
  std::vector<int64_t> largest(columns.size(), 0);
  while (GetLine(line) == kSuccess && !line.arguments.empty()) {
    if (line.arguments.size() != columns.size()) {
      putMessage("WARNING Missing fields, line", line.lineNumber);
      continue;
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::string_view value = trimmedField(line.arguments[i]);
      if (!value.empty()) noteValue(value, columns[i], largest[i]);
    }
  }
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (columns[i].dataType == "I4" && largest[i] > 2147483647) columns[i].dataType = "I8";
  currentLine_ = position;
  status = kSuccess;
  return kSuccess;
}

// ---- arguments ----

SplitArgument splitArgument(std::string_view argument) {
  const std::size_t order = argument.find_first_of("<>");
  const std::size_t equals = argument.find('=');
  const std::size_t nameEnd = order != std::string_view::npos ? order : equals;
  const std::size_t mark = equals != std::string_view::npos ? equals : order;
  if (mark == std::string_view::npos || mark == 0) return {.value = std::string(argument)};
  SplitArgument parts{.name = std::string(trimmed(argument.substr(0, nameEnd))),
                      .value = std::string(leftAdjusted(argument.substr(mark + 1)))};
  if (nameEnd <= mark)
    parts.operation = std::string(trimmed(cut(argument.substr(nameEnd, mark + 1 - nameEnd), 2)));
  return parts;
}

bool textIsTrue(std::string_view text) {
  text = leftAdjusted(text);
  if (text.starts_with('.')) text.remove_prefix(1);
  return !text.empty() && std::string_view("TYty").find(text.front()) != std::string_view::npos;
}

void reportReadError(int32_t code, std::string_view name) {
  reportError({.message1 = "ERROR reading " + std::string(trimmed(name)),
               .message2 = "  Code: " + rightJustified(freeText(code), 5),
               .stop = true});
  abortRun();
}

}  // namespace terrain
