#include <algorithm>
#include <cstring>
#include <map>
#include <numeric>
#include <set>

#include "foundation/bytes.h"
#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/dbf.h"
#include "table/dbf_form.h"
#include "table/table_output.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "writeDBFfile in DataTableModule";
constexpr std::size_t kNameLength = 10;
constexpr int64_t kLongest = 65535;  // of header and record, whose lengths have 16 bits
constexpr int64_t kLongestNumber = 255;
constexpr uint64_t kLargestBlock = 199999999;

/// One written field.
struct Column {
  const FieldContent* content;
  std::string name;  ///< in the file
  WrittenForm form;
  std::size_t start;         ///< after the delete flag
  int64_t lost = 0;          ///< values for which there is no number
  int64_t substituted = 0;   ///< values too large for 25 characters
  int64_t cutTexts = 0;      ///< texts longer than the field
  int64_t firstCutText = 0;  ///< record of the first of them
};

// ---- which fields, under which names ----

bool isPrintable(char c) { return c > ' ' || static_cast<unsigned char>(c) >= 0x80; }

const FixedText<kTextLength>& outputName(const FieldContent& content) {
  return content.outName.blank() ? content.name : content.outName;
}

/// At most 10 characters without blanks: those inside become "_".
std::string fileName(const FieldContent& content) {
  std::string name(cut(outputName(content).trimmed(), kNameLength));
  std::size_t end = name.size();
  while (end > 0 && !isPrintable(name[end - 1])) --end;
  name.resize(end);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == ' ' || c == '\0'; }, '_');
  return name;
}

/// Makes the names unique; the first of equal ones stays.
void makeNamesUnique(std::vector<Column>& columns) {
  std::set<std::string> taken;
  for (const Column& column : columns) taken.insert(column.name);
  std::set<std::string> given;
  std::map<std::string, int32_t> next;
  for (Column& column : columns) {
    if (!column.name.empty() && given.insert(column.name).second) continue;
    const std::string stem = column.name.empty() ? "FIELD" : column.name;
    std::string name;
    do {
      const std::string suffix = "_" + std::to_string(++next[stem]);
      name = stem.substr(0, kNameLength - suffix.size()) + suffix;
    } while (taken.contains(name));
    taken.insert(name);
    given.insert(name);
    putMessage("Field " + std::string(outputName(*column.content).trimmed()) +
               " is written to the dbf file as " + name);
    column.name = name;
  }
}

void setFlags(DataTableType& table, const DbfWriteOptions& options) {
  if (FieldContent* const id = table.fieldAt(table.IDfield)) {
    id->outFlag = true;
    if (options.shpOnly) id->shpFlag = true;
    if (options.csvOnly) id->csvFlag = true;
  }
  if (options.allFields)
    for (const auto& content : table.field) content->outFlag = content->shpFlag = true;
}

int chooseColumns(DataTableType& table, const DbfWriteOptions& options, std::span<const int64_t> records,
                  std::vector<Column>& columns) {
  const std::vector<int32_t> lengths = table.FieldLengths();
  std::size_t start = 0;
  for (std::size_t f = 0; f < lengths.size(); ++f) {
    const FieldContent& content = *table.field[f];
    if (!content.outFlag || (options.shpOnly && !content.shpFlag) || (options.csvOnly && !content.csvFlag))
      continue;
    const std::optional<std::size_t> held = numValues(content);
    if (!held) {
      putMessage(unwrittenField(content));
      continue;
    }
    const std::string name(content.name.trimmed());
    if (std::cmp_not_equal(*held, std::max<int64_t>(table.numRecords, 0)))
      return fail(kTag, "Field has no values in memory: " + name);
    if (lengths[f] < 1 || lengths[f] > (content.dataType == "C " ? kLongest : kLongestNumber))
      return fail(kTag, "Field length " + freeText(lengths[f]) + " out of range: " + name);
    logDecimals(content);
    const WrittenForm form = writtenForm(content, lengths[f], records, options.nodataOut);
    columns.push_back({&content, fileName(content), form, start});
    start += form.length;
  }
  const auto numFields = static_cast<int64_t>(columns.size());
  if (33 + 32 * numFields > kLongest)
    return fail(kTag, "Too many fields for a dbf file: " + freeText(numFields));
  if (std::cmp_greater(start + 1, kLongest))
    return fail(kTag, "Fields are too long for a dbf file: " + freeText(static_cast<int64_t>(start) + 1));
  makeNamesUnique(columns);
  return kSuccess;
}

// ---- which records ----

int chooseRecords(DataTableType& table, const DbfWriteOptions& options, std::vector<int64_t>& records) {
  const auto noMemory = [] { return cannotAllocate(kTag, "recIndex"); };
  if (options.recIndex) {
    for (const int64_t record : *options.recIndex)
      if (record < 1 || record > table.numRecords)
        return fail(kTag, "Record number out of range: " + freeText(record));
    if (!tryAllocate(records, options.recIndex->size())) return noMemory();
    std::copy(options.recIndex->begin(), options.recIndex->end(), records.begin());
  } else {
    if (options.isFlag && !table.hasRecordFlags()) return fail(kTag, "Unknown shapefile type");
    if (!tryAllocate(records, static_cast<std::size_t>(std::max<int64_t>(table.numRecords, 0))))
      return noMemory();
    std::iota(records.begin(), records.end(), int64_t{1});
    if (options.isFlag)
      std::erase_if(records, [&table](int64_t record) {
        const bool* const flag = table.recordFlag(record);
        return flag == nullptr || !*flag;
      });
  }
  if (records.size() > UINT32_MAX) return fail(kTag, "Too many records for a dbf file");
  return kSuccess;
}

// ---- values ----

/// Writes records into the image of the file.
class RecordWriter {
 public:
  RecordWriter(std::span<std::byte> image, std::size_t first, std::size_t recordLength,
               std::optional<int32_t> nodataOut)
      : image_(image), first_(first), recordLength_(recordLength), nodataOut_(nodataOut) {}

  /// One field of the records listed, the first of which is record `place` of the file, from 0.
  int write(Column& column, std::span<const int64_t> records, std::size_t place) {
    const auto writeAll = [&](const auto& values) {
      for (std::size_t i = 0; i < records.size(); ++i) {
        std::byte* const at = image_.data() + first_ + (place + i) * recordLength_ + 1 + column.start;
        if (put(values[static_cast<std::size_t>(records[i]) - 1], column, at, records[i]) != kSuccess)
          return kFailure;
      }
      return kSuccess;
    };
    return visitColumn(*column.content, writeAll, [] { return kSuccess; });
  }

 private:
  int put(std::string_view value, Column& column, std::byte* at, int64_t record) {
    if (value.size() > column.form.length && column.cutTexts++ == 0) column.firstCutText = record;
    copy(cut(value, column.form.length), at);
    return kSuccess;
  }
  template <class T>
  requires std::is_arithmetic_v<T>
  int put(T value, Column& column, std::byte* at, int64_t record) {
    const std::optional<T> written = writtenValue(value, *column.content, nodataOut_);
    if (!written) return kSuccess;
    if (column.form.kept) {
      KeptNumber number(*column.content->dbfForm, column.form.length);
      if (number.set(*written)) {
        copy(number.text(), at);
        return kSuccess;
      }
    }
    if constexpr (std::is_integral_v<T>)
      text_.set(*written);
    else
      text_.set(*written, column.content->decimals);
    if (!text_.isNumber()) {  // the format has no NaN and no infinity: a field of "*" is a missing number
      std::fill_n(at, column.form.length, std::byte{'*'});
      ++column.lost;
      return kSuccess;
    }
    if (text_.substituted()) ++column.substituted;
    if (text_.wholeLength() > column.form.length) {
      const std::string why = "Record " + freeText(record) + ": value does not fit field " + column.name +
                              ": " + freeText(*written);
      return nodataOut_ && countsAsNodata(value) ? reportError({.routine = kTag,
                                                                .code = kOwnWords,
                                                                .message1 = "Error writing nodata value",
                                                                .message2 = why})
                                                 : fail(kTag, why);
    }
    copy(cut(text_.text(), column.form.length), at);  // this drops decimals at most
    return kSuccess;
  }
  static void copy(std::string_view text, std::byte* at) {
    if (!text.empty()) std::memcpy(at, text.data(), text.size());
  }

  std::span<std::byte> image_;
  std::size_t first_;
  std::size_t recordLength_;
  std::optional<int32_t> nodataOut_;
  ValueText text_;
};

// ---- the image of the file ----

/// The file is written in equal blocks; together they may hold more than the natural length.
struct Blocks {
  uint64_t count = 1;
  uint64_t size = 0;
};
Blocks blocksFor(uint64_t natural) {
  Blocks blocks{.size = natural + natural % 4};
  while (blocks.size > kLargestBlock) {
    ++blocks.count;
    const uint64_t share = natural / blocks.count;
    blocks.size = share + share % 4;
  }
  if (blocks.count * blocks.size < natural) ++blocks.count;
  return blocks;
}

void writeHeader(std::vector<std::byte>& front, std::span<const Column> columns, const DbfHeader& header,
                 const std::optional<CalendarDate>& fixedDate) {
  CalendarDate date;
  if (fixedDate) {
    date = *fixedDate;
  } else {
    const platform::DateTime now = platform::clock().now();
    date = {now.year, now.month, now.day};
  }
  ByteWriter out(front);
  out.little(uint8_t{3});
  out.little(static_cast<uint8_t>(date.year - 1900));
  out.little(static_cast<uint8_t>(date.month));
  out.little(static_cast<uint8_t>(date.day));
  out.little(static_cast<uint32_t>(header.numRecords));
  out.little(static_cast<uint16_t>(33 + 32 * columns.size()));
  out.little(header.recordLength);
  out.fill(std::byte{0}, 17);
  out.little(header.languageDriver);
  out.fill(std::byte{0}, 2);
  for (const Column& column : columns) {
    out.text(column.name);
    out.fill(std::byte{0}, kNameLength - column.name.size() + 1);
    const bool isText = column.content->dataType == "C ";
    out.text(std::string_view(&column.form.letter, 1));
    out.fill(std::byte{0}, 4);
    // Readers infer the type from the count of decimals: integers have none whatever the field says, and
    // reals keep theirs at any length. Only text has a length of 16 bits.
    if (column.form.length < 128 || !isText) {
      out.little(static_cast<uint8_t>(column.form.length));
      const bool isReal = kindOf(column.content->dataType.padded()) == FieldKind::R4 ||
                          kindOf(column.content->dataType.padded()) == FieldKind::R8;
      out.little(static_cast<uint8_t>(isReal ? writtenDecimals(column.content->decimals) : 0));
    } else {
      out.little(static_cast<uint16_t>(column.form.length));
    }
    out.fill(std::byte{0}, 14);
  }
  out.little(uint8_t{0x0D});
}

/// Reports a fault of the file of a table that has `bytes` in blocks of `blockSize`.
void reportFault(const std::string& name, TableOutput::Step step, IoCode code, std::size_t bytes,
                 uint64_t blockSize) {
  const bool opening = step == TableOutput::Step::open;
  reportError({.routine = kTag,
               .code = kOwnWords,
               .file = name,
               .message1 = opening ? "Error opening dbf file" : "Error writing to dbf file"});
  if (opening) {
    putMessage("Error code:    ", code);
    putMessage("Unit number:   ", freeUnit());
    putMessage("dbfFileSize:   ", static_cast<int64_t>(bytes));
    putMessage("dbfRecordSize: ", static_cast<int64_t>(blockSize));
  } else if (step == TableOutput::Step::commit) {
    putMessage(" IOSTAT on close: ", code);
  }
}

int writeRecords(RecordWriter& writer, std::span<Column> columns, std::span<const int64_t> records) {
  constexpr std::size_t kAtATime = 4096;  // formatted field by field while they are in the cache
  for (std::size_t first = 0; first < records.size(); first += kAtATime) {
    const auto some = records.subspan(first, std::min(kAtATime, records.size() - first));
    for (Column& column : columns)
      if (writer.write(column, some, first) != kSuccess) return kFailure;
  }
  return kSuccess;
}

void logLosses(std::span<const Column> columns) {
  for (const Column& column : columns) {
    if (column.lost > 0)
      putMessage("Values of " + column.name + " that are no numbers, written as missing: ", column.lost);
    if (column.substituted > 0)
      putMessage("Values of " + column.name + " beyond 25 characters, written as -9999: ",
                 column.substituted);
    if (column.cutTexts > 0)
      putMessage("Texts of " + column.name + " cut to " + freeText(static_cast<int64_t>(column.form.length)) +
                 " characters, the first in record " + freeText(column.firstCutText) + ": " +
                 freeText(column.cutTexts));
  }
}

}  // namespace

int DbfImage::allocate(std::span<const std::byte> header, uint64_t recordBytes) {
  const Blocks blocks = blocksFor(header.size() + recordBytes + 1);
  const auto size = static_cast<std::size_t>(blocks.count * blocks.size);
  if (!tryAllocate(bytes_, size)) {
    cannotAllocate(kTag, "dbf");
    putConsoleLine("dbfFileSize: " + freeText(static_cast<int64_t>(size)));
    return kFailure;
  }
  blockSize_ = blocks.size;
  std::copy(header.begin(), header.end(), bytes_.begin());
  std::fill_n(bytes_.begin() + std::ssize(header), recordBytes, std::byte{' '});
  bytes_[header.size() + static_cast<std::size_t>(recordBytes)] = std::byte{0x1A};
  return kSuccess;
}

int DbfImage::make(DataTableType& table, const DbfWriteOptions& options) {
  if (options.isFlag && options.recIndex)
    return fail(kTag, "Incompatible arguments: isFlag = TRUE and recIndex");
  std::vector<int64_t> records;
  if (chooseRecords(table, options, records) != kSuccess) return kFailure;
  setFlags(table, options);
  std::vector<Column> columns;
  if (chooseColumns(table, options, records, columns) != kSuccess) return kFailure;

  const std::size_t recordLength =
      1 + std::accumulate(columns.begin(), columns.end(), std::size_t{0},
                          [](std::size_t sum, const Column& c) { return sum + c.form.length; });
  std::vector<std::byte> header;
  writeHeader(header, columns,
              {.numRecords = std::ssize(records),
               .recordLength = static_cast<uint16_t>(recordLength),
               .languageDriver = table.languageDriver},
              options.date);
  codePage_ = table.codePage;
  if (allocate(header, uint64_t{recordLength} * records.size()) != kSuccess) return kFailure;
  RecordWriter writer(bytes_, header.size(), recordLength, options.nodataOut);
  if (writeRecords(writer, columns, records) != kSuccess) return kFailure;
  logLosses(columns);
  return kSuccess;
}

int DbfImage::addTo(TableOutput& out, std::string_view path) const {
  const std::string stem(trimmed(path));
  const auto report = [name = stem + ".dbf", size = bytes_.size(), blockSize = blockSize_](
                          TableOutput::Step step, IoCode code) {
    reportFault(name, step, code, size, blockSize);
  };
  if (out.add(stem + ".dbf", bytes_, report) != kSuccess) return kFailure;
  const std::string name = stem + ".cpg";
  const auto reportCodePage = [name](TableOutput::Step /*step*/, IoCode code) {
    reportError({.routine = kTag, .code = kCannotOpenToWrite, .file = name, .message1 = describe(code)});
  };
  return codePage_.empty() ? out.addRemoval(name, reportCodePage)
                           : out.add(name, std::as_bytes(std::span(codePage_)), reportCodePage);
}

int writeDbf(DataTableType& table, std::string_view path, const DbfWriteOptions& options) {
  Attempt attempt{table.status};
  DbfImage image;
  TableOutput out;
  if (image.make(table, options) != kSuccess || image.addTo(out, path) != kSuccess) return kFailure;
  return attempt.end(out.commit());
}

}  // namespace terrain
