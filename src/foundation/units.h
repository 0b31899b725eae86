#pragma once
// File units: small integers from 11 upward, each the name of one open file. The table owns the
// files; a unit is a text file of lines or a direct-access file of fixed-size records.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/interruption.h"
#include "foundation/platform.h"

namespace terrain {

inline constexpr int32_t kFirstUnit = 11;

/// A sequential file of lines. Lines end in LF, CR LF or CR; a UTF-8 byte order mark at the start of
/// the file is no part of the first line. Written lines end in LF.
class TextFile {
 public:
  TextFile(platform::File file, std::string name) : file_(std::move(file)), name_(std::move(name)) {}
  ~TextFile() { flush(); }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  /// The next line, at most `limit` characters of it. False at the end of the file or on a fault.
  bool readLine(std::string& line, std::size_t limit = std::string::npos);
  /// Adds a line; `fault` tells what went wrong with this or an earlier one.
  void writeLine(std::string_view line);
  /// Writes a piece of a line, or of several.
  void write(std::string_view text);
  IoCode flush();
  /// Forgets what is not yet written: the file is to be removed.
  void abandon() { out_.clear(); }
  /// The next line read is the first.
  void rewind();
  /// The first fault, 0 if none; it stays.
  [[nodiscard]] IoCode fault() const { return fault_; }
  [[nodiscard]] std::string_view name() const { return name_; }
  [[nodiscard]] platform::File& file() { return file_; }

 private:
  bool fill();

  platform::File file_;
  std::string name_;
  std::vector<std::byte> in_;  // bytes read from the file; those from at_ on are still to be returned
  std::size_t at_ = 0;
  std::uint64_t readOffset_ = 0;
  bool atStart_ = true;
  bool afterReturn_ = false;  // the last line ended in CR: a LF now belongs to its end
  std::string out_;           // bytes not yet written; they belong at the end of the file
  IoCode fault_ = kIoOk;
};

/// A direct-access file of records of one length, numbered from 1. Short records go through a
/// buffer of pages, so that scattered cells cost a look-up and not a system call; records of a
/// page or more go straight to the file. Where memory is short fewer pages are kept, at least one;
/// kIoNoMemory tells that there is not even that. What was last written is what is read; closing
/// writes the buffer out.
class RecordFile {
 public:
  static constexpr std::size_t kPageBytes = std::size_t{1} << 16;
  static constexpr std::size_t kMostPages = 512;

  RecordFile(platform::File file, std::string name, std::size_t recordLength);
  ~RecordFile() { flush(); }
  RecordFile(const RecordFile&) = delete;
  RecordFile& operator=(const RecordFile&) = delete;

  /// Reads the first out.size() bytes of a record. kIoPastEnd where the file does not hold them.
  [[nodiscard]] IoCode read(std::int64_t record, std::span<std::byte> out) {
    return readBytes(offsetOf(record), out);
  }
  [[nodiscard]] IoCode write(std::int64_t record, std::span<const std::byte> in) {
    return writeBytes(offsetOf(record), in);
  }
  /// The same at a byte offset, of any length.
  [[nodiscard]] IoCode readBytes(std::uint64_t offset, std::span<std::byte> out);
  [[nodiscard]] IoCode writeBytes(std::uint64_t offset, std::span<const std::byte> in);

  /// The bytes at `offset`, in the page buffer, good until the next call; null, with `code` set,
  /// where the file does not hold them. `length` divides the page size and `offset`. With `change`
  /// the caller may alter them.
  std::byte* locate(std::uint64_t offset, std::size_t length, bool change, IoCode& code) {
    const std::uint64_t number = offset / kPageBytes;
    Page* page = number < table_.size() ? table_[number] : nullptr;
    if (page == nullptr || offset % kPageBytes + length > page->valid) [[unlikely]]
      page = load(number, offset % kPageBytes + length, code);
    if (page == nullptr) return nullptr;
    page->used = true;
    page->changed = page->changed || change;
    return page->bytes.get() + offset % kPageBytes;
  }

  IoCode flush();
  /// Forgets what is not yet written: the file is to be removed.
  void abandon();
  [[nodiscard]] std::size_t recordLength() const { return recordLength_; }
  /// Numbers the records by another length, in bytes and above 0, from now on. The bytes of the file and
  /// of the buffer stay as they are, and nothing is written.
  void setRecordLength(std::size_t recordLength) { recordLength_ = recordLength; }
  [[nodiscard]] std::uint64_t size();
  [[nodiscard]] std::string_view name() const { return name_; }
  [[nodiscard]] platform::File& file() { return file_; }

 private:
  struct Page {
    std::unique_ptr<std::byte[]> bytes;
    std::uint64_t number = 0;
    std::size_t valid = 0;  // bytes from the page's start that the file holds or will hold
    bool changed = false;
    bool used = false;  // since the last sweep for a page to reuse
  };

  [[nodiscard]] std::uint64_t offsetOf(std::int64_t record) const {
    return static_cast<std::uint64_t>(record - 1) * recordLength_;
  }
  [[nodiscard]] bool paged(std::size_t length) const { return length < kPageBytes / 16; }
  Page* load(std::uint64_t number, std::size_t needed, IoCode& code);
  Page* pageFor(std::uint64_t number, IoCode& code);
  Page* vacantPage(IoCode& code);
  Page* newPage();
  void unlist(const Page& page);
  IoCode growTable(std::uint64_t number);
  IoCode releasePages(std::size_t kept);
  IoCode writeOut(Page& page);
  IoCode dropPages();

  platform::File file_;
  std::string name_;
  std::size_t recordLength_;
  std::vector<Page*> table_;  // by page number; null where the page is not in the buffer
  std::vector<std::unique_ptr<Page>> pages_;
  std::size_t mostPages_ = kMostPages;  // fewer once memory was short
  std::size_t hand_ = 0;                // where the next sweep begins
};

enum class Closing { keep, erase };

/// The open units of the process.
class UnitTable {
 public:
  /// The lowest unit from 11 that is not open.
  [[nodiscard]] int32_t freeUnit() const;
  [[nodiscard]] IoCode openText(int32_t unit, std::string_view name, platform::Open how);
  /// Record length in bytes, above 0.
  [[nodiscard]] IoCode openRecords(int32_t unit, std::string_view name, platform::Open how,
                                   std::size_t recordLength);
  [[nodiscard]] bool isOpen(int32_t unit) const {
    const Entry* entry = find(unit);
    return entry != nullptr && (entry->text || entry->records);
  }
  /// The open file of a unit, or null if the unit is not open or of the other form.
  [[nodiscard]] TextFile* text(int32_t unit) const {
    const Entry* entry = find(unit);
    return entry == nullptr ? nullptr : entry->text.get();
  }
  [[nodiscard]] RecordFile* records(int32_t unit) const {
    const Entry* entry = find(unit);
    return entry == nullptr ? nullptr : entry->records.get();
  }
  /// The unit's file is removed if a signal ends the process while the unit is open.
  void setTemporary(int32_t unit);
  /// Another record length for an open direct-access unit, without closing it; kIoNotFound for any other.
  [[nodiscard]] IoCode setRecordLength(int32_t unit, std::size_t recordLength);
  /// Closes a unit; the host has received what was written if the code is 0. `erase` removes
  /// the file, unless its name has since been given to another file.
  IoCode close(int32_t unit, Closing closing = Closing::keep);

 private:
  struct Entry {
    std::unique_ptr<TextFile> text;
    std::unique_ptr<RecordFile> records;
    platform::TemporaryName temporary;
  };
  [[nodiscard]] const Entry* find(int32_t unit) const {
    const auto index = static_cast<std::size_t>(unit);
    return unit >= 0 && index < files_.size() ? &files_[index] : nullptr;
  }
  /// The entry of a unit, closed and ready for a file; null for a number that is no unit.
  Entry* vacate(int32_t unit);

  std::vector<Entry> files_;  // by unit number; an entry without a file is not open
};

/// The unit table of the process.
UnitTable& units();

/// Closes its unit when an operation ends, however it ends.
class UnitGuard {
 public:
  explicit UnitGuard(int32_t unit) : unit_(unit) {}
  ~UnitGuard() {
    if (units().isOpen(unit_)) units().close(unit_);
  }
  UnitGuard(const UnitGuard&) = delete;
  UnitGuard& operator=(const UnitGuard&) = delete;

 private:
  int32_t unit_;
};

/// The bytes of a value or an array, for record transfers.
template <class T>
std::span<std::byte> bytesOf(std::span<T> values) {
  return std::as_writable_bytes(values);
}

}  // namespace terrain
