#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "foundation/bytes.h"
#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "foundation/units.h"
#include "table/dbf.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "NewDataTable in TabularDataModule";
constexpr std::size_t kHeaderBytes = 32;
constexpr std::size_t kFieldBytes = 32;
constexpr std::size_t kLanguageOffset = 29;
constexpr std::size_t kFrontBytes = 65535;  // the longest header
constexpr std::byte kEndOfFields{0x0D};
constexpr std::byte kEndOfFile{0x1A};

// ---- header ----

/// The column type of a letter; the letter itself where no type fits.
FixedText<2> typeOf(char letter, int32_t length, int32_t decimals) {
  const bool isReal = letter == 'F' || letter == 'O' || (letter == 'N' && decimals != 0);
  if (length < 1) return "U ";  // no bytes to read from: memory must not follow a record count alone
  if (isReal) return length < 9 ? "R4" : "R8";
  if (letter == 'N') return length < 10 ? "I4" : "I8";
  if (letter == 'C' || letter == 'D' || letter == 'L') return "C ";
  const char code[2] = {letter, ' '};
  return std::string_view(code, 2);
}

struct RawField {
  std::string name;
  char letter;
  int32_t byteLength;
  int32_t decimals;
  int32_t wordLength;  // length and decimal count as one number, the form of long text fields
};

/// Text fields have 16-bit lengths if the record length then fits, else 8-bit ones. False if neither fits.
bool resolveLengths(const std::vector<RawField>& raw, DbfHeader& header) {
  int64_t byWord = 1;
  int64_t byByte = 1;
  for (const RawField& field : raw) {
    byByte += field.byteLength;
    byWord += field.letter == 'C' ? field.wordLength : field.byteLength;
  }
  const bool words = byWord == header.recordLength;
  if (!words && byByte > header.recordLength) return false;
  for (const RawField& field : raw) {
    const bool word = words && field.letter == 'C';
    DbfField& resolved = header.fields.emplace_back();
    resolved.name = field.name;
    resolved.letter = field.letter;
    resolved.length = word ? field.wordLength : field.byteLength;
    // Text has no decimals: what some writers leave in that byte must not widen the column.
    resolved.decimals = field.letter == 'C' || field.letter == 'D' ? 0 : field.decimals;
    resolved.dataType = typeOf(resolved.letter, resolved.length, resolved.decimals);
  }
  return true;
}

/// The field descriptors of a header of `length` bytes.
std::vector<RawField> readFields(std::span<const std::byte> front, std::size_t length) {
  std::vector<RawField> fields;
  ByteReader in(front);
  in.seek(kHeaderBytes);
  while (in.position() + kFieldBytes <= length && front[in.position()] != kEndOfFields) {
    ByteReader field = in.part(kFieldBytes);
    const std::string_view name = field.text(10);
    RawField& read = fields.emplace_back();
    read.name = name.substr(0, name.find('\0'));  // some writers leave old bytes after the NUL
    field.skip(1);
    read.letter = static_cast<char>(field.little<uint8_t>());
    field.skip(4);
    read.byteLength = field.little<uint8_t>();
    read.decimals = field.little<uint8_t>();
    read.wordLength = read.byteLength + 256 * read.decimals;
  }
  return fields;
}

// ---- numbers ----

enum class Parsed { value, empty, bad };

bool isSpace(char c) { return c == ' ' || c == '\0' || c == '\t'; }

/// The whole token as a number, for the common forms; false where the complete parser must decide.
template <class T>
bool quickNumber(std::string_view token, T& value) {
  const char first = token.size() > 1 && token.front() == '-' ? token[1] : token.front();
  if ((first < '0' || first > '9') && (std::is_integral_v<T> || first != '.')) return false;
  T parsed{};
  const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), parsed);
  if (error != std::errc{} || end != token.data() + token.size()) return false;
  value = parsed;
  return true;
}

/// A whole number written as a real one ("5.", "5.00", "1e3") for an integer column.
template <class T>
bool wholeNumber(std::string_view token, T& value) {
  const std::size_t point = token.find('.');
  if (point != std::string_view::npos && token.find_first_not_of('0', point + 1) == std::string_view::npos &&
      parseNumber(token.substr(0, point), value))
    return true;  // exact, whatever its size
  double real = 0.0;
  constexpr double limit = -static_cast<double>(std::numeric_limits<T>::min());
  if (!parseNumber(token, real) || real != std::trunc(real) || real < -limit || real >= limit) return false;
  value = static_cast<T>(real);
  return true;
}

/// One number from the bytes of a field, without the blanks, tabs and NULs around it; "*" throughout is
/// a missing one.
template <class T>
Parsed readNumber(std::string_view slice, T& value) {
  std::size_t from = 0;
  while (from < slice.size() && isSpace(slice[from])) ++from;
  std::size_t to = from;
  while (to < slice.size() && !isSpace(slice[to])) ++to;
  if (from == to) return Parsed::empty;
  const std::string_view token = slice.substr(from, to - from);
  if (to == slice.size() && quickNumber(token, value)) return Parsed::value;
  if (slice.find_first_of(",/") != std::string_view::npos) return Parsed::bad;
  if (quickNumber(token, value)) return Parsed::value;
  if (token.find_first_not_of('*') == std::string_view::npos) return Parsed::empty;
  if (const FieldStatus field = FreeFormatReader(slice).next(value); field == FieldStatus::value)
    return Parsed::value;
  else if (field == FieldStatus::empty)
    return Parsed::empty;
  if constexpr (std::is_integral_v<T>)
    if (wholeNumber(token, value)) return Parsed::value;
  return Parsed::bad;
}

/// True if a real number has an exponent, or more than so many decimals.
bool hasOtherDigits(std::string_view slice, int32_t decimals) {
  slice = slice.substr(0, slice.find_last_not_of(std::string_view(" \0\t", 3)) + 1);
  if (slice.find_first_of("eEdD") != std::string_view::npos) return true;
  const std::size_t point = slice.find('.');
  return point != std::string_view::npos && std::cmp_greater(slice.size() - point - 1, decimals);
}

/// True if a real number has more than 7 digits, or is a whole one that 32 bits do not hold.
bool needsReal8(std::string_view slice) {
  constexpr std::size_t kDigitsOfReal4 = 7;
  if (slice.size() <= kDigitsOfReal4) return false;
  std::size_t digits = 0;
  std::size_t zeros = 0;  // at the end of those so far
  for (const char c : slice) {
    if (c == '.' || c == '-' || c == '+' || isSpace(c)) continue;
    if (c < '0' || c > '9') break;
    zeros = c == '0' ? zeros + 1 : 0;
    if (digits > 0 || c != '0') ++digits;
  }
  if (digits <= kDigitsOfReal4) return false;
  double value = 0;
  return digits - zeros > kDigitsOfReal4 || (readNumber(slice, value) == Parsed::value &&
                                             static_cast<double>(static_cast<float>(value)) != value);
}

// ---- records ----

/// The bytes of one field in the records that are read.
struct Slices {
  std::string_view records;
  std::span<const int64_t> numbers;  ///< of those read, from 1; empty: all
  std::size_t recordLength;
  std::size_t start;
  std::size_t length;
  /// Number in the file of the record at `place`, from 0.
  [[nodiscard]] int64_t number(std::size_t place) const {
    return numbers.empty() ? static_cast<int64_t>(place) + 1 : numbers[place];
  }
  [[nodiscard]] std::string_view operator[](std::size_t place) const {
    return records.substr((static_cast<std::size_t>(number(place)) - 1) * recordLength + start, length);
  }
  /// A text without the blanks and NULs at its end.
  [[nodiscard]] std::string_view text(std::size_t place) const {
    const std::string_view whole = cut((*this)[place], kTextLength);
    return whole.substr(0, whole.find_last_not_of(std::string_view(" \0", 2)) + 1);
  }
};

/// What the texts of a field were like.
struct FieldFacts {
  bool missing = false;    ///< some numbers were blank or could not be read
  bool hasNodata = false;  ///< some were -9999
  bool anyDigits = false;  ///< see `DbfForm`
  int64_t unread = 0;      ///< numbers that cannot be read, logged once, with the first of them
  int64_t firstRecord = 0;
  std::string firstText{};
};

/// Stores the values of records from `first` to before `end`, from 0. False if there is no memory.
template <class T>
bool decode(const Slices& slices, const DbfField& field, std::size_t first, std::size_t end,
            std::vector<T>& column, FieldFacts& facts) {
  for (std::size_t r = first; r < end; ++r) {
    const std::string_view slice = slices[r];
    const Parsed parsed = readNumber(slice, column[r]);
    if (parsed == Parsed::value) {
      if (column[r] == static_cast<T>(-9999)) facts.hasNodata = true;
      if constexpr (std::is_floating_point_v<T>)
        facts.anyDigits = facts.anyDigits || hasOtherDigits(slice, field.decimals);
      continue;
    }
    facts.missing = true;
    if (parsed != Parsed::bad || facts.unread++ > 0) continue;
    facts.firstRecord = slices.number(r);
    facts.firstText = slice;
  }
  return true;
}
bool decode(const Slices& slices, const DbfField& /*field*/, std::size_t first, std::size_t end,
            TextColumn& column, FieldFacts& /*facts*/) {
  for (std::size_t r = first; r < end; ++r)
    if (!column.set(r, slices.text(r))) return false;
  return true;
}

/// Reserves room for all texts of the column. False if there is no memory.
bool prepareTexts(const Slices& slices, TextColumn& column) {
  std::size_t characters = 0;
  for (std::size_t r = 0; r < column.size(); ++r) characters += slices.text(r).size();
  return column.assign(column.size(), characters);
}

/// The records of a file and which of them are read.
struct Records {
  std::string_view bytes;
  std::vector<int64_t> read{};  ///< numbers from 1; empty: all
  int64_t count = 0;            ///< of those read
};

/// The bytes of each field in the records read.
std::vector<Slices> slicesOf(const DbfHeader& header, const Records& records) {
  std::vector<Slices> slices;
  std::size_t start = 1;
  for (const DbfField& field : header.fields) {
    const auto length = static_cast<std::size_t>(field.length);
    slices.push_back({records.bytes, records.read, header.recordLength, start, length});
    start += length;
  }
  return slices;
}

/// Finds the records that are marked as deleted. False if there is no memory.
bool leaveOutDeleted(const DbfHeader& header, Records& records, std::vector<int64_t>& deleted) {
  constexpr char kDeleted = '*';
  records.count = header.numRecords;
  const auto isDeleted = [&](int64_t number) {
    return records.bytes[static_cast<std::size_t>(number - 1) * header.recordLength] == kDeleted;
  };
  for (int64_t number = 1; number <= header.numRecords; ++number)
    if (isDeleted(number) && !tryAppend(deleted, number)) return false;
  records.count -= std::ssize(deleted);
  if (deleted.empty()) return true;
  if (!tryReserve(records.read, static_cast<std::size_t>(records.count))) return false;
  for (int64_t number = 1; number <= header.numRecords; ++number)
    if (!isDeleted(number)) records.read.push_back(number);
  return true;
}

/// Gives 64 bits to the columns of 32-bit reals with values that need them.
void widenReals(const Records& records, DbfHeader& header) {
  const std::vector<Slices> slices = slicesOf(header, records);
  for (std::size_t f = 0; f < slices.size(); ++f) {
    if (!(header.fields[f].dataType == "R4")) continue;
    for (int64_t r = 0; r < records.count && header.fields[f].dataType == "R4"; ++r)
      if (needsReal8(slices[f][static_cast<std::size_t>(r)])) header.fields[f].dataType = "R8";
  }
}

void logUnread(const DbfField& field, const FieldFacts& facts) {
  if (facts.unread == 0) return;
  putMessage("NonFatal ERROR dbf record " + freeText(facts.firstRecord) + ", " + field.name + ": " +
             facts.firstText);
  if (facts.unread > 1) putMessage("  Records with unreadable numbers in " + field.name + ": ", facts.unread);
}

int decodeRecords(DataTableType& table, const DbfHeader& header, const Records& records) {
  constexpr std::size_t kBlock = 4096;  // records decoded field by field while they are in the cache
  const auto noMemory = [] { return cannotAllocate(kTag, "newField%char"); };
  const auto count = static_cast<std::size_t>(records.count);
  if (count == 0) return kSuccess;
  const std::vector<Slices> slices = slicesOf(header, records);
  std::vector<FieldFacts> facts(slices.size());
  for (std::size_t f = 0; f < slices.size(); ++f)
    if (!prepareTexts(slices[f], table.field[f]->Char)) return noMemory();
  for (std::size_t first = 0; first < count; first += kBlock) {
    const std::size_t end = std::min(count, first + kBlock);
    for (std::size_t f = 0; f < slices.size(); ++f) {
      const auto decodeBlock = [&](auto& column) {
        return decode(slices[f], header.fields[f], first, end, column, facts[f]);
      };
      if (!visitColumn(*table.field[f], decodeBlock, [] { return true; })) return noMemory();
    }
  }
  for (std::size_t f = 0; f < facts.size(); ++f) {
    logUnread(header.fields[f], facts[f]);
    DbfForm& form = *table.field[f]->dbfForm;
    form.anyDigits = facts[f].anyDigits;
    form.blankIsMissing = facts[f].missing && !facts[f].hasNodata;
  }
  return kSuccess;
}

// ---- files ----

int failFile(std::string_view path, std::string_view message) {
  return reportError({.routine = kTag, .code = kOwnWords, .file = path, .message1 = message});
}

std::vector<AttributeType> attributesOf(const DbfHeader& header) {
  std::vector<AttributeType> list;
  for (const DbfField& field : header.fields) {
    AttributeType& attribute = list.emplace_back();
    attribute.name = std::string_view(field.name);
    attribute.length = field.length;
    attribute.decimals = field.decimals;
    attribute.dataType = field.dataType;
    attribute.outFlag = attribute.shpFlag = attribute.csvFlag =
        kindOf(field.dataType.padded()) != FieldKind::unknown;
  }
  return list;
}

/// The first bytes of the file, from the file opened on `dbfUnit`.
IoCode openHeader(DataTableType& table, std::string_view path, std::size_t length,
                  std::vector<std::byte>& bytes) {
  const int32_t unit = freeUnit();
  if (const IoCode code = units().openRecords(unit, path, platform::Open::read, 1); code != kIoOk)
    return code;
  table.dbfUnit = unit;
  bytes.resize(length);
  return units().records(unit)->readBytes(0, bytes);
}

/// The name of the encoding, kept as the file beside the table has it.
std::string codePageBeside(std::string_view path) {
  constexpr std::uint64_t kLongest = 256;
  constexpr std::size_t kEnding = 4;
  const std::string name = existingFile(path.substr(0, path.size() - std::min(path.size(), kEnding)), ".cpg");
  platform::File file;
  if (!platform::fileExists(name) || file.open(name, platform::Open::read) != kIoOk || file.size() > kLongest)
    return {};
  std::vector<std::byte> bytes(static_cast<std::size_t>(file.size()));
  return file.readAt(0, bytes) == kIoOk ? std::string(ByteReader(bytes).text(bytes.size())) : std::string();
}

void warn(std::string_view path, std::string_view what) {
  putMessage("WARNING InitDBFfileFromDisk: input file has " + std::string(what));
  putMessage("  File: " + std::string(trimmed(path)));
}

/// Reads the header in the first bytes of a file of `size` bytes.
int readHeader(DataTableType& table, std::string_view path, std::span<const std::byte> front,
               std::uint64_t size, DbfHeader& header) {
  std::string fault;
  if (!parseDbfHeader(front, size, header, fault)) return failFile(path, fault);
  if (header.recordLength < 1) {
    warn(path, "zero record length");
    return kFailure;
  }
  if (header.numRecords == 0) warn(path, "no records");
  table.dbfRecordLength = header.recordLength;
  table.dbfPosition = int64_t{header.headerLength} + 1;
  table.codePage = codePageBeside(trimmed(path));
  table.languageDriver = header.languageDriver;
  return kSuccess;
}

/// Gives the table its fields, with columns of `numRecords` values.
int addFields(DataTableType& table, const DbfHeader& header, int64_t numRecords) {
  table.numRecords = numRecords;
  if (!header.fields.empty() && table.AddField(attributesOf(header)) != kSuccess) return kFailure;
  for (std::size_t f = 0; f < header.fields.size(); ++f)
    table.field[f]->dbfForm = {.letter = header.fields[f].letter, .decimals = header.fields[f].decimals};
  return kSuccess;
}

int readFault(std::string_view path, IoCode code) {
  if (code == kIoNoMemory)
    return reportError({.routine = kTag, .code = kCannotAllocate, .file = path, .text = "dbf file array"});
  return reportError({.routine = kTag, .code = readFailure(code), .file = path});
}

/// The fields alone; the file stays open.
int readFront(DataTableType& table, std::string_view path, std::uint64_t size) {
  std::vector<std::byte> bytes;
  const IoCode code = openHeader(
      table, path, static_cast<std::size_t>(std::min<std::uint64_t>(size, kFrontBytes + 1)), bytes);
  if (code != kIoOk) return readFault(path, code);
  DbfHeader header;
  if (readHeader(table, path, bytes, size, header) != kSuccess || addFields(table, header, 0) != kSuccess)
    return kFailure;
  table.numRecords = header.numRecords;
  return kSuccess;
}

int readWhole(DataTableType& table, std::string_view path, std::vector<int64_t>& deleted) {
  std::vector<std::byte> bytes;
  if (const IoCode code = readWholeFile(path, bytes); code != kIoOk) return readFault(path, code);
  DbfHeader header;
  if (readHeader(table, path, bytes, bytes.size(), header) != kSuccess) return kFailure;
  ByteReader in(bytes);
  in.seek(header.headerLength);
  const std::uint64_t length = static_cast<std::uint64_t>(header.numRecords) * header.recordLength;
  Records records{.bytes = in.text(length)};
  if (!leaveOutDeleted(header, records, deleted)) return cannotAllocate(kTag, "dbf index arrays");
  if (!deleted.empty())
    putMessage("Deleted records left out of " + std::string(trimmed(path)) + ": ", std::ssize(deleted));
  widenReals(records, header);
  if (addFields(table, header, records.count) != kSuccess ||
      decodeRecords(table, header, records) != kSuccess)
    return kFailure;
  table.dbfPosition += static_cast<int64_t>(length);
  return kSuccess;
}

}  // namespace

bool parseDbfHeader(std::span<const std::byte> front, std::uint64_t fileSize, DbfHeader& header,
                    std::string& fault) {
  header = {};
  const auto refuse = [&fault](std::string text) {
    fault = std::move(text);
    return false;
  };
  ByteReader in(front);
  in.skip(4);
  const auto count = in.little<uint32_t>();
  header.headerLength = in.little<uint16_t>();
  header.recordLength = in.little<uint16_t>();
  in.seek(kLanguageOffset);
  header.languageDriver = in.little<uint8_t>();
  if (!in.seek(kHeaderBytes)) return refuse("dbf header is cut short");
  const std::size_t length = header.headerLength;
  if (length < kHeaderBytes + 1 || length > fileSize || length > front.size())
    return refuse("dbf header length " + freeText(static_cast<int32_t>(length)) + " does not fit the file");
  if (header.recordLength < 1) return true;  // reported by the caller
  const std::vector<RawField> raw = readFields(front, length);
  if (!resolveLengths(raw, header))
    return refuse("dbf record length " + freeText(static_cast<int32_t>(header.recordLength)) +
                  " is below its fields");
  const std::uint64_t records = (fileSize - length) / header.recordLength;
  const bool emptyTable = length < front.size() && front[length] == kEndOfFile;
  header.numRecords = count == 0 && !emptyTable ? static_cast<int64_t>(records) : static_cast<int64_t>(count);
  if (count > records)
    return refuse("dbf record count " + freeText(static_cast<int64_t>(count)) + " exceeds the file's " +
                  freeText(static_cast<int64_t>(records)));
  return true;
}

int readDbf(DataTableType& table, std::string_view path, const DbfReadOptions& options) {
  Attempt attempt{table.status};
  const int64_t found = fsize(trimmed(path));  // reports what is wrong with the file
  const auto size = static_cast<std::uint64_t>(std::max<int64_t>(found, 0));
  if (size < 1) return failFile(path, "fsize returned zero file length for " + std::string(trimmed(path)));
  std::vector<int64_t> deleted;
  const int result = options.headerOnly ? readFront(table, path, size) : readWhole(table, path, deleted);
  if (options.deleted != nullptr) *options.deleted = std::move(deleted);
  if (result != kSuccess) table.DataTableType::clear();
  return attempt.end(result);
}

}  // namespace terrain
