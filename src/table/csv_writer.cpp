// A table written as delimited text: every line begins with one blank, as all free-format lines do.

#include <algorithm>
#include <cmath>
#include <optional>
#include <type_traits>
#include <vector>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/replacement.h"
#include "foundation/sorting.h"
#include "foundation/status.h"
#include "foundation/units.h"
#include "table/data_table.h"
#include "table/delimited_text.h"
#include "table/value_text.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "WriteCSV in DataTableModule";

struct Column {
  const FieldContent* content;
  std::string name;         ///< in the heading
  int64_t lost = 0;         ///< values for which there is no number
  int64_t joinedLines = 0;  ///< texts of several lines
};

/// The fields to write; one of a type without values is logged and left out. A field without values
/// in memory is a failure unless there are no records.
int chooseColumns(const DataTableType& table, bool csvOnly, std::vector<Column>& columns) {
  const std::vector<std::string> outNames = table.FieldOutNames();
  for (std::size_t f = 0; f < table.field.size(); ++f) {
    const FieldContent& content = *table.field[f];
    if (!content.outFlag || (csvOnly && !content.csvFlag)) continue;
    const std::optional<std::size_t> held = numValues(content);
    if (!held) {
      putMessage(unwrittenField(content));
      continue;
    }
    if (std::cmp_less(*held, table.numRecords))
      return fail(kTag, "Field has no values in memory: " + std::string(content.name.trimmed()));
    logDecimals(content);
    columns.push_back({&content, outNames[f]});
  }
  return kSuccess;
}

/// Record numbers ascending by ID, equal IDs in table order; empty without an ID field.
int orderById(DataTableType& table, std::vector<int32_t>& recOrder) {
  if (table.IDfield < 1) return kSuccess;
  const auto count = static_cast<std::size_t>(std::max<int64_t>(table.numRecords, 0));
  std::vector<int64_t> ID;
  const auto noMemory = [] { return cannotAllocate(kTag, "ID and recOrder"); };
  if (!tryAllocate(ID, count) || !tryAllocate(recOrder, count)) return noMemory();
  for (std::size_t r = 0; r < count; ++r)  // an ID that cannot be read is reported and counts as -9999
    table.ReadI8Value(table.IDfield, static_cast<int64_t>(r) + 1, ID[r]);
  return mergeRank(ID, recOrder) == kSuccess ? kSuccess : noMemory();
}

/// Makes the lines of the records.
class RecordLine {
 public:
  RecordLine(std::span<Column> columns, std::optional<int32_t> nodataOut)
      : columns_(columns), nodataOut_(nodataOut) {}

  /// The line of `record` (from 1), without the blank before it.
  std::string_view make(int64_t record) {
    line_.clear();
    for (std::size_t c = 0; c < columns_.size(); ++c) {
      Column& column = columns_[c];
      visitColumn(*column.content, [&](const auto& values) {
        append(values[static_cast<std::size_t>(record) - 1], column, c == 0);
      });
      if (c + 1 < columns_.size()) line_ += ',';
    }
    return line_;
  }

 private:
  void append(std::string_view text, Column& column, bool first) {
    if (text.find_first_of("\r\n") == std::string_view::npos) {
      appendCell(line_, text, first);
      return;
    }
    std::string joined(text);
    std::replace_if(
        joined.begin(), joined.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    appendCell(line_, joined, first);
    ++column.joinedLines;
  }
  template <class T>
  requires std::is_arithmetic_v<T>
  void append(T value, Column& column, bool /*first*/) {
    if (nodataOut_ && countsAsNodata(value)) {
      if constexpr (std::is_integral_v<T>)
        line_ += freeText(*nodataOut_);
      else
        line_ += freeText(static_cast<T>(*nodataOut_));
      return;
    }
    if constexpr (std::is_integral_v<T>)
      line_ += freeText(value);
    else if (std::isfinite(value))
      line_ += text_.set(value, column.content->decimals);
    else
      ++column.lost;  // a blank is a missing number
  }

  std::span<Column> columns_;
  std::optional<int32_t> nodataOut_;
  ExactText text_;
  std::string line_;
};

void writeLine(TextFile& file, std::string_view line, std::size_t numFields) {
  file.write(" ");
  file.writeLine(numFields == 1 && line.empty() ? "\"\"" : line);  // a blank line would not be read
}

void writeHeading(TextFile& file, std::span<const Column> columns) {
  std::string line;
  for (const Column& column : columns) {
    if (&column != columns.data()) line += ',';
    std::string name = column.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    appendCell(line, name, &column == columns.data());
  }
  writeLine(file, line, columns.size());
}

void writeRecords(DataTableType& table, TextFile& file, std::span<const int32_t> recOrder,
                  std::span<Column> columns, const CsvWriteOptions& options) {
  const bool flagged = options.isFlag && table.hasRecordFlags();
  RecordLine line(columns, options.nodataOut);
  for (int64_t place = 1; place <= table.numRecords && file.fault() == kIoOk; ++place) {
    const int64_t record = recOrder.empty() ? place : recOrder[static_cast<std::size_t>(place) - 1];
    if (flagged) {
      const bool* const flag = table.recordFlag(record);
      if (flag == nullptr || !*flag) continue;
    }
    writeLine(file, line.make(record), columns.size());
  }
}

void logLosses(std::span<const Column> columns) {
  for (const Column& column : columns) {
    const auto log = [&column](std::string_view what, int64_t count) {
      if (count > 0) putMessage("Values of " + column.name + std::string(what), count);
    };
    log(" that are no numbers, written as missing: ", column.lost);
    log(" whose line ends are written as blanks: ", column.joinedLines);
  }
}

}  // namespace

int DataTableType::WriteCSV(std::string_view path, const CsvWriteOptions& options) {
  Attempt attempt{status};
  std::vector<Column> columns;
  std::vector<int32_t> recOrder;
  if (chooseColumns(*this, options.csvOnly, columns) != kSuccess || orderById(*this, recOrder) != kSuccess)
    return kFailure;

  std::string name(trimmed(path));
  if (!name.ends_with(".csv")) name += ".csv";
  Replacement file;
  if (file.open(name) != kIoOk)
    return reportError({.routine = kTag, .code = kCannotOpenToWrite, .file = name});
  writeHeading(file.text(), columns);
  writeRecords(*this, file.text(), recOrder, columns, options);
  if (file.commit() != kIoOk) return reportError({.routine = kTag, .code = kWriteError, .file = name});
  logLosses(columns);
  return attempt.succeed();
}

}  // namespace terrain
