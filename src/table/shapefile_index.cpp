// The number of records in a shapefile: from the length of the index file, if its content agrees with the
// main file, else from the record headers of the main file.

#include <algorithm>
#include <array>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "table/shapefile.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "NumRecordsInShapefile in DataTableModule";

/// An open file, with its name for reports.
struct NamedFile {
  std::string name;
  platform::File file{};
};

int readFault(const NamedFile& from, std::string_view what) {
  return reportError({.routine = kTag, .code = kReadError, .file = from.name, .message1 = what});
}

/// Two big-endian numbers, or the first of them alone.
struct NumberPair {
  int32_t first = 0;
  int32_t second = 0;
};
IoCode readNumbers(const NamedFile& from, uint64_t offset, std::size_t count, NumberPair& numbers) {
  std::array<std::byte, 2 * sizeof(int32_t)> bytes{};
  const IoCode code = from.file.readAt(offset, std::span(bytes).first(count * sizeof(int32_t)));
  ByteReader in(bytes);
  numbers.first = in.big<int32_t>();
  numbers.second = in.big<int32_t>();
  return code;
}

/// What an index contains about the files.
struct IndexFacts {
  int64_t records = 0;
  bool whole = false;   ///< its length is the one that its header gives
  int64_t mainEnd = 0;  ///< the end of the last record in the main file
};

int readIndex(const NamedFile& index, IndexFacts& facts) {
  const uint64_t size = index.file.size();
  NumberPair length;
  NumberPair last;  // entry: offset and content length
  IoCode code = readNumbers(index, kShapeLengthOffset, 1, length);
  if (code == kIoOk && size > kShapeHeaderBytes)
    code = readNumbers(index, size - kShapeIndexEntryBytes, 2, last);
  if (code != kIoOk) return readFault(index, describe(code));
  const int64_t words = length.first;
  facts.records = (words - 50) / 4;
  facts.whole = size >= kShapeHeaderBytes && (size - kShapeHeaderBytes) % kShapeIndexEntryBytes == 0 &&
                2 * words == static_cast<int64_t>(size);
  facts.mainEnd = size > kShapeHeaderBytes ? 2 * (int64_t{last.first} + 4 + last.second)
                                           : static_cast<int64_t>(kShapeHeaderBytes);
  return kSuccess;
}

/// The end of the main file by its header; bytes after it are ignored.
int readMainEnd(const NamedFile& main, uint64_t& end) {
  NumberPair length;
  const IoCode code = readNumbers(main, kShapeLengthOffset, 1, length);
  end = 2 * static_cast<uint64_t>(std::max(length.first, 0));
  if (code != kIoOk || end < kShapeHeaderBytes || end > main.file.size())
    return readFault(main, "File size discrepency");
  return kSuccess;
}

/// Counts the records of a main file, of which only the headers are read; -1 after a report.
int64_t countRecords(const NamedFile& main, uint64_t end) {
  int64_t count = 0;
  uint64_t at = kShapeHeaderBytes;
  while (at < end) {
    NumberPair header;  // number and content length
    IoCode code = readNumbers(main, at, 2, header);
    if (code == kIoOk && (header.first != count + 1 || header.second < 2)) code = kIoPastEnd;
    at += kShapeRecordHeaderBytes + 2 * static_cast<uint64_t>(std::max(header.second, 0));
    if (code != kIoOk || at > end)
      return readFault(main, "Record " + freeText(count + 1) + " does not lie within the file");
    ++count;
  }
  return count;
}

}  // namespace

int64_t NumRecordsInShapefile(std::string_view path) {
  NamedFile index{.name = existingFile(trimmed(path), ".shx")};
  NamedFile main{.name = existingFile(trimmed(path), ".shp")};
  const IoCode code = index.file.open(index.name, platform::Open::read);
  if (code != kIoOk)
    return reportError(
        {.routine = kTag, .code = kCannotOpenToRead, .file = index.name, .message1 = describe(code)});
  IndexFacts facts;
  if (readIndex(index, facts) != kSuccess) return kFailure;
  if (main.file.open(main.name, platform::Open::read) != kIoOk) {
    if (facts.whole) return facts.records;
    return reportError(
        {.routine = kTag, .code = kOwnWords, .file = index.name, .message1 = "File size discrepency"});
  }
  uint64_t end = 0;
  if (readMainEnd(main, end) != kSuccess) return kFailure;
  if (facts.whole && facts.mainEnd == static_cast<int64_t>(end)) return facts.records;
  return countRecords(main, end);
}

}  // namespace terrain
