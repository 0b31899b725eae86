// Delimited text read into a table. The file is read twice, for the types of the columns and the number of
// records, then for the values, so that no more than one line is in memory.

#include <algorithm>
#include <array>
#include <exception>
#include <vector>

#include "foundation/field_text.h"
#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/units.h"
#include "table/data_table.h"
#include "table/delimited_text.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "NewDataTable in TabularDataModule";
constexpr std::string_view kAddTag = "AddField in DataTableModule";
constexpr std::string_view kOpenTag = "NewInputFile in InputFileModule";
// A field is described in some 1500 bytes, whatever its name's length.
constexpr std::size_t kMostFields = 100000;

constexpr std::uint64_t kShortestLimit = std::uint64_t{32} << 20;

int failFile(std::string_view path, std::string_view message) {
  return reportError({.routine = kTag, .code = kOwnWords, .file = path, .message1 = message});
}

// ---- lines ----

/// The lines of an open file that are neither blank nor comments.
class Lines {
 public:
  Lines(TextFile& file, std::string_view path) : file_(file), path_(path) {}

  bool next() {
    while (file_.readLine(line_, limit_)) {
      ++number_;
      if (line_.size() >= limit_) {  // such a line would exhaust the memory of the machine
        noMemory_ = true;
        return false;
      }
      if (!isSkippedLine(line_)) return true;
    }
    return false;
  }
  void rewind() {
    file_.rewind();
    number_ = 0;
  }
  [[nodiscard]] DelimitedLine cells() { return DelimitedLine(line_); }
  [[nodiscard]] int64_t number() const { return number_; }  ///< of the line in the file, from 1
  [[nodiscard]] std::string_view path() const { return path_; }
  [[nodiscard]] std::uint64_t fileSize() const { return file_.file().size(); }
  /// Reports why `next` gave up before the file's end, if it did.
  int fault() const {
    if (noMemory_)
      return reportError({.routine = kTag, .code = kCannotAllocate, .file = path_, .text = "lines"});
    if (file_.fault() != kIoOk) return reportError({.routine = kTag, .code = kReadError, .file = path_});
    return kSuccess;
  }

 private:
  TextFile& file_;
  std::string_view path_;
  // Room to grow by copying; a line of less than the minimum is read however little memory is free.
  const std::size_t limit_ =
      static_cast<std::size_t>(std::max(kShortestLimit, platform::availableMemory() / 4));
  std::string line_;
  int64_t number_ = 0;
  bool noMemory_ = false;
};

// ---- first pass: names, types, number of records ----

struct Heading {
  std::vector<std::string> names;
  std::vector<ColumnSurvey> columns;  ///< one a name
  int64_t numRecords = 0;
};

int readHeading(Lines& lines, Heading& heading) {
  if (!lines.next()) {
    lines.fault();
    return failFile(lines.path(), "NewInputFile unable to read header line for " + std::string(lines.path()));
  }
  DelimitedLine cells = lines.cells();
  for (std::string_view cell; cells.next(cell);) {
    if (heading.names.size() == kMostFields)
      return failFile(lines.path(), "More than " + freeText(static_cast<int64_t>(kMostFields)) +
                                        " fields in the header line");
    heading.names.emplace_back(cut(cell, kTextLength));
  }
  return kSuccess;
}

/// Lines of one fault: one log line for all of them.
struct FaultyLines {
  int64_t count = 0;
  int64_t first = 0;

  void add(int64_t line) {
    if (++count == 1) first = line;
  }
  void log(std::string_view what) const {
    if (count == 0) return;
    std::string text = std::string("WARNING ").append(what).append(", line ").append(freeText(first));
    if (count > 1) text.append(" (the first of ").append(freeText(count)).append(" lines)");
    putMessage(text);
  }
};

/// Lines that do not have the fields of the heading say nothing about the columns. Blank cells beyond the
/// heading's, as a delimiter at the end of a line makes one, do not count.
int surveyColumns(Lines& lines, Heading& heading) {
  const std::size_t numFields = heading.names.size();
  std::vector<std::string_view> values(numFields);
  heading.columns.resize(numFields);
  FaultyLines shortLines;
  FaultyLines longLines;
  while (lines.next()) {
    ++heading.numRecords;
    DelimitedLine cells = lines.cells();
    std::size_t count = 0;
    bool beyond = false;
    for (std::string_view cell; cells.next(cell); ++count)
      if (count < numFields)
        values[count] = cell;
      else
        beyond = beyond || !cell.empty();
    if (count < numFields)
      shortLines.add(lines.number());
    else if (beyond)
      longLines.add(lines.number());
    else
      for (std::size_t f = 0; f < numFields; ++f) heading.columns[f].note(values[f]);
  }
  if (lines.fault() != kSuccess)
    return failFile(lines.path(), "NewInputFile%findFormats failed for " + std::string(lines.path()));
  shortLines.log("Missing fields");
  longLines.log("Fields beyond those of the header line");
  if (heading.numRecords > 0 && shortLines.count + longLines.count == heading.numRecords)
    return failFile(lines.path(), "No line has the fields of the header line");
  return kSuccess;
}

// ---- the table's columns ----

AttributeType attributeOf(std::string_view name, const ColumnFormat& format) {
  AttributeType attribute;
  attribute.name = name;
  attribute.length = format.length;
  attribute.decimals = format.decCnt;
  attribute.dataType = std::string_view(format.dataType);
  attribute.outFlag = attribute.shpFlag = attribute.csvFlag = true;
  return attribute;
}

/// The column that the cells at one position of a line are stored in.
struct Target {
  FieldContent* content = nullptr;  ///< null for a column without values, which the table does not have
  int64_t cutTexts = 0;
};

/// Adds the columns, filled with nodata, and gives the target of each cell of a line.
int addColumns(DataTableType& table, const Lines& lines, const Heading& heading,
               std::vector<Target>& targets) {
  const std::size_t numFields = heading.names.size();
  std::vector<AttributeType> list;
  std::vector<std::size_t> sources;  // the cell of each column
  for (std::size_t f = 0; f < numFields; ++f) {
    ColumnFormat format = heading.columns[f].format();
    if (heading.numRecords == 0) format = {.length = 1, .dataType = "C "};  // a file of headings keeps them
    if (kindOf(format.dataType) == FieldKind::unknown) {                    // the table has no such column
      fail(kAddTag, "Unknown data type " + std::string(format.dataType));
      continue;
    }
    list.push_back(attributeOf(heading.names[f], format));
    sources.push_back(f);
  }
  // A complete record has a character for each of its cells. A table whose cells are mostly missing from the
  // file comes from a damaged file, and would take far more memory than the file has bytes.
  constexpr std::uint64_t kFewCells = std::uint64_t{1} << 20;
  const auto records = static_cast<std::uint64_t>(heading.numRecords);
  const std::uint64_t room = std::max(kFewCells, 8 * lines.fileSize());
  if (!list.empty() && records > room / list.size())
    return failFile(lines.path(), "Most fields of the records are missing");

  table.numRecords = heading.numRecords;
  if (table.AddField(list) != kSuccess) return kFailure;
  targets.resize(numFields);
  for (std::size_t c = 0; c < sources.size(); ++c) {
    FieldContent& content = *table.field[c];
    targets[sources[c]].content = &content;
    if (kindOf(content.dataType.padded()) == FieldKind::text &&
        !content.Char.assign(content.Char.size(), heading.columns[sources[c]].characters()))
      return cannotAllocate(kTag, "newField%char");
  }
  return kSuccess;
}

// ---- second pass: values ----

enum class Stored { yes, unreadable, noMemory };

Stored store(std::string_view text, TextColumn& column, std::size_t record, Target& target) {
  if (text.size() > kTextLength) ++target.cutTexts;
  return column.set(record, text) ? Stored::yes : Stored::noMemory;
}
/// A blank cell, or NaN, leaves the nodata with which the column was filled.
template <class T>
Stored store(std::string_view text, std::vector<T>& column, std::size_t record, Target& /*target*/) {
  text = leftAdjusted(trimmedField(text));  // as when the type was inferred
  if (text.empty() || isMissingNumber(text)) return Stored::yes;
  return isDelimitedNumber(text) && parseNumber(text, column[record]) ? Stored::yes : Stored::unreadable;
}

/// Cells beyond those of the heading are ignored; a line that ends early leaves nodata in the others.
int readRecord(Lines& lines, std::span<Target> targets, std::size_t record) {
  DelimitedLine cells = lines.cells();
  std::string_view cell;
  for (Target& target : targets) {
    if (!cells.next(cell)) break;
    if (target.content == nullptr) continue;
    const Stored stored = visitColumn(
        *target.content, [&](auto& column) { return store(trimmed(cell), column, record, target); },
        [] { return Stored::yes; });
    if (stored == Stored::noMemory) return cannotAllocate(kTag, "newField%char");
    if (stored == Stored::unreadable)
      return reportError({.routine = kTag,
                          .code = kOwnWords,
                          .file = lines.path(),
                          .message1 = "Error reading field " + std::string(target.content->name.trimmed()),
                          .message2 = "Value: " + std::string(cell),
                          .line = static_cast<int32_t>(std::min<int64_t>(lines.number(), INT32_MAX))});
  }
  return kSuccess;
}

int readRecords(Lines& lines, std::span<Target> targets, int64_t numRecords) {
  lines.rewind();
  lines.next();  // the heading
  for (int64_t record = 1; record <= numRecords; ++record) {
    if (!lines.next()) {
      lines.fault();
      return failFile(lines.path(), "ReadLine failed");
    }
    if (readRecord(lines, targets, static_cast<std::size_t>(record) - 1) != kSuccess) return kFailure;
  }
  for (const Target& target : targets)
    if (target.cutTexts > 0)
      putMessage("Texts of " + std::string(target.content->name.trimmed()) + " cut at 256 characters: ",
                 target.cutTexts);
  return kSuccess;
}

// ---- files ----

/// True if the file begins with a byte order mark of UTF-16, or, as such text without a mark does, with a NUL
/// in every other place.
bool isUtf16(platform::File& file) {
  std::array<std::byte, 64> start{};
  std::size_t got = 0;
  if (file.readAt(0, start, got) != kIoOk || got < 2) return false;
  const auto at = [&](std::size_t i) { return std::to_integer<unsigned>(start[i]); };
  if ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == 0xFE && at(1) == 0xFF)) return true;
  std::array<std::size_t, 2> nuls{};
  for (std::size_t i = 0; i < got; ++i) nuls[i % 2] += at(i) == 0 ? 1U : 0U;
  return got >= 4 && std::max(nuls[0], nuls[1]) >= got / 2 && std::min(nuls[0], nuls[1]) == 0;
}

/// Opens the file as `unit`. False, after a report, if that fails or the file is empty.
bool openFile(std::string_view path, int32_t unit) {
  if (!platform::fileExists(path) && !platform::isDirectory(path)) {
    fail(kOpenTag, "  Cannot find " + std::string(path));
    return false;
  }
  if (units().openText(unit, path, platform::Open::read) != kIoOk) {
    putMessage("ERROR NewInputFile, Cannot open " + std::string(path));
    return false;
  }
  if (units().text(unit)->file().size() == 0) {
    reportError({.routine = kOpenTag, .file = path, .message1 = "Input file is empty"});
    return false;
  }
  if (!isUtf16(units().text(unit)->file())) return true;
  reportError({.routine = kOpenTag, .file = path, .message1 = "The file is UTF-16 text: save it as UTF-8"});
  return false;
}

int readFile(DataTableType& table, std::string_view path, DelimitedPart part) {
  const int32_t unit = freeUnit();
  const UnitGuard guard(unit);
  if (!openFile(path, unit)) return failFile(path, "NewInputFile failed for " + std::string(path));
  Lines lines(*units().text(unit), path);
  Heading heading;
  std::vector<Target> targets;
  if (readHeading(lines, heading) != kSuccess || surveyColumns(lines, heading) != kSuccess ||
      addColumns(table, lines, heading, targets) != kSuccess)
    return kFailure;
  return part == DelimitedPart::columnsOnly ? kSuccess : readRecords(lines, targets, heading.numRecords);
}

}  // namespace

int readDelimited(DataTableType& table, std::string_view path, DelimitedPart part) {
  table.clear();
  Attempt attempt{table.status};
  int result = kFailure;
  try {  // lines and names are strings, which grow with the file
    result = readFile(table, trimmed(path), part);
  } catch (const std::exception&) {  // bad_alloc, length_error
    reportError({.routine = kTag, .code = kCannotAllocate, .file = path, .text = "lines"});
  }
  if (result != kSuccess) table.clear();
  return attempt.end(result);
}

}  // namespace terrain
