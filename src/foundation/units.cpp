#include "foundation/units.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "foundation/memory.h"
#include "foundation/text.h"

namespace terrain {

// ---- text files ----

namespace {
constexpr std::size_t kTextBlock = std::size_t{1} << 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view asText(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
}  // namespace

bool TextFile::fill() {
  if (at_ > 0) {
    in_.erase(in_.begin(), in_.begin() + static_cast<std::ptrdiff_t>(at_));
    at_ = 0;
  }
  const std::size_t held = in_.size();
  in_.resize(held + kTextBlock);
  std::size_t got = 0;
  const IoCode code = file_.readAt(readOffset_, std::span(in_).subspan(held), got);
  in_.resize(held + got);
  readOffset_ += got;
  if (code != kIoOk && fault_ == kIoOk) fault_ = code;
  if (atStart_ && asText(in_).starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
  atStart_ = false;
  return got > 0;
}

bool TextFile::readLine(std::string& line, std::size_t limit) {
  line.clear();
  flush();
  // Characters beyond the limit are skipped in pieces, so that a line without an end needs no memory.
  const auto append = [&](std::string_view piece) {
    if (line.size() < limit) line.append(cut(piece, limit - line.size()));
  };
  bool any = false;
  while (at_ < in_.size() || fill()) {
    std::string_view rest = asText(std::span(in_).subspan(at_));
    if (rest.empty()) continue;  // the file so far was its byte order mark
    if (std::exchange(afterReturn_, false) && rest.front() == '\n') {
      ++at_;
      continue;
    }
    any = true;
    rest = rest.substr(0, rest.find('\n'));
    const std::string_view piece = rest.substr(0, rest.find('\r'));
    append(piece);
    at_ += piece.size();
    if (at_ == in_.size()) continue;
    afterReturn_ = in_[at_++] == std::byte{'\r'};
    return true;
  }
  return any;
}

void TextFile::write(std::string_view text) {
  out_.append(text);
  if (out_.size() >= kTextBlock) flush();
}

void TextFile::writeLine(std::string_view line) {
  write(line);
  write("\n");
}

IoCode TextFile::flush() {
  if (out_.empty()) return fault_;
  const IoCode code = file_.writeAt(file_.size(), std::as_bytes(std::span(out_)));
  if (code != kIoOk && fault_ == kIoOk) fault_ = code;
  out_.clear();
  return fault_;
}

void TextFile::rewind() {
  flush();
  in_.clear();
  at_ = 0;
  readOffset_ = 0;
  atStart_ = true;
  afterReturn_ = false;
}

// ---- direct-access files ----

namespace {
/// Like tryResize, without the limit on blocks of data: the buffer's lists serve grids that obey it.
template <class T>
bool resized(std::vector<T>& list, std::size_t count) {
  const auto bytes = byteCount(count, sizeof(T));
  if (!bytes || !machineHas(*bytes)) return false;
  try {
    list.resize(count);
  } catch (const std::exception&) {  // bad_alloc, length_error
    return false;
  }
  return true;
}
}  // namespace

RecordFile::RecordFile(platform::File file, std::string name, std::size_t recordLength)
    : file_(std::move(file)), name_(std::move(name)), recordLength_(recordLength) {}

IoCode RecordFile::readBytes(std::uint64_t offset, std::span<std::byte> out) {
  if (!paged(out.size())) {
    const IoCode code = dropPages();
    return code != kIoOk ? code : file_.readAt(offset, out);
  }
  while (!out.empty()) {
    const std::size_t piece = std::min<std::size_t>(out.size(), kPageBytes - offset % kPageBytes);
    IoCode code = kIoOk;
    const std::byte* from = locate(offset, piece, false, code);
    if (from == nullptr) return code;
    std::memcpy(out.data(), from, piece);
    out = out.subspan(piece);
    offset += piece;
  }
  return kIoOk;
}

IoCode RecordFile::writeBytes(std::uint64_t offset, std::span<const std::byte> in) {
  if (!paged(in.size())) {
    const IoCode code = dropPages();
    return code != kIoOk ? code : file_.writeAt(offset, in);
  }
  while (!in.empty()) {
    const std::size_t inPage = offset % kPageBytes;
    const std::size_t piece = std::min<std::size_t>(in.size(), kPageBytes - inPage);
    IoCode code = kIoOk;
    Page* page = pageFor(offset / kPageBytes, code);
    if (page == nullptr) return code;
    std::memcpy(page->bytes.get() + inPage, in.data(), piece);
    page->valid = std::max(page->valid, inPage + piece);
    page->changed = true;
    page->used = true;
    in = in.subspan(piece);
    offset += piece;
  }
  return kIoOk;
}

RecordFile::Page* RecordFile::pageFor(std::uint64_t number, IoCode& code) {
  if (number < table_.size() && table_[number] != nullptr) return table_[number];
  code = growTable(number);
  if (code != kIoOk) return nullptr;
  Page* page = vacantPage(code);
  if (page == nullptr) return nullptr;
  std::memset(page->bytes.get(), 0, kPageBytes);
  page->number = number;
  page->changed = false;
  page->used = true;
  page->valid = 0;
  code = file_.readAt(number * kPageBytes, {page->bytes.get(), kPageBytes}, page->valid);
  if (code != kIoOk) {
    page->used = false;
    page->valid = 0;
    return nullptr;
  }
  table_[number] = page;
  return page;
}

/// Gives the table an entry for a page; where memory is short all pages but one are freed for it.
IoCode RecordFile::growTable(std::uint64_t number) {
  if (number < table_.size()) return kIoOk;
  const std::size_t entries = static_cast<std::size_t>(number) + 1;
  if (resized(table_, std::max(entries, 2 * table_.size())) || resized(table_, entries)) return kIoOk;
  const IoCode code = releasePages(1);
  if (code != kIoOk) return code;
  return resized(table_, entries) ? kIoOk : kIoNoMemory;
}

/// A page that holds nothing: a new one, or, where there are enough or memory is short, the first that was
/// not used since the hand last passed it.
RecordFile::Page* RecordFile::vacantPage(IoCode& code) {
  if (pages_.size() < mostPages_) {
    if (Page* page = newPage()) return page;
    mostPages_ = pages_.size();
  }
  if (pages_.empty()) {
    mostPages_ = kMostPages;  // there may be memory later
    code = kIoNoMemory;
    return nullptr;
  }
  while (pages_[hand_]->used) {
    pages_[hand_]->used = false;
    hand_ = (hand_ + 1) % pages_.size();
  }
  Page* page = pages_[hand_].get();
  hand_ = (hand_ + 1) % pages_.size();
  code = writeOut(*page);
  if (code != kIoOk) {
    page->used = true;
    return nullptr;
  }
  unlist(*page);
  return page;
}

/// Null where memory is short.
RecordFile::Page* RecordFile::newPage() {
  std::unique_ptr<Page> page(new (std::nothrow) Page);
  if (page == nullptr) return nullptr;
  page->bytes.reset(new (std::nothrow) std::byte[kPageBytes]);
  if (page->bytes == nullptr || !resized(pages_, pages_.size() + 1)) return nullptr;
  pages_.back() = std::move(page);
  return pages_.back().get();
}

void RecordFile::unlist(const Page& page) {
  if (page.number < table_.size() && table_[page.number] == &page) table_[page.number] = nullptr;
}

/// Writes out and frees the last pages until `kept` are left.
IoCode RecordFile::releasePages(std::size_t kept) {
  hand_ = 0;
  while (pages_.size() > kept) {
    const IoCode code = writeOut(*pages_.back());
    if (code != kIoOk) return code;
    unlist(*pages_.back());
    pages_.pop_back();
  }
  return kIoOk;
}

RecordFile::Page* RecordFile::load(std::uint64_t number, std::size_t needed, IoCode& code) {
  code = kIoOk;
  // No page table is grown for a page that the file does not have.
  if (number >= table_.size() && number * kPageBytes >= size()) {
    code = kIoPastEnd;
    return nullptr;
  }
  Page* page = pageFor(number, code);
  if (page == nullptr) return nullptr;
  if (needed > page->valid) {
    code = kIoPastEnd;
    return nullptr;
  }
  return page;
}

IoCode RecordFile::writeOut(Page& page) {
  if (!page.changed) return kIoOk;
  const IoCode code = file_.writeAt(page.number * kPageBytes, {page.bytes.get(), page.valid});
  if (code == kIoOk) page.changed = false;
  return code;
}

IoCode RecordFile::flush() {
  IoCode first = kIoOk;
  for (auto& page : pages_) {
    const IoCode code = writeOut(*page);
    if (first == kIoOk) first = code;
  }
  return first;
}

void RecordFile::abandon() {
  for (auto& page : pages_) page->changed = false;
}

IoCode RecordFile::dropPages() {
  if (pages_.empty()) return kIoOk;
  const IoCode code = flush();
  return code != kIoOk ? code : releasePages(0);
}

std::uint64_t RecordFile::size() {
  std::uint64_t bytes = file_.size();
  for (const auto& page : pages_)
    if (page->changed) bytes = std::max<std::uint64_t>(bytes, page->number * kPageBytes + page->valid);
  return bytes;
}

// ---- the table ----

UnitTable& units() {
  static UnitTable table;
  return table;
}

int32_t UnitTable::freeUnit() const {
  int32_t unit = kFirstUnit;
  while (isOpen(unit)) ++unit;
  return unit;
}

UnitTable::Entry* UnitTable::vacate(int32_t unit) {
  constexpr int32_t kMostUnits = 1 << 16;
  if (unit < 1 || unit >= kMostUnits) return nullptr;
  close(unit);
  const auto index = static_cast<std::size_t>(unit);
  if (index >= files_.size()) files_.resize(index + 1);
  return &files_[index];
}

IoCode UnitTable::openText(int32_t unit, std::string_view name, platform::Open how) {
  Entry* entry = vacate(unit);
  if (entry == nullptr) return kIoNotAFile;
  platform::File file;
  const IoCode code = file.open(name, how);
  if (code == kIoOk) entry->text = std::make_unique<TextFile>(std::move(file), std::string(name));
  return code;
}

IoCode UnitTable::openRecords(int32_t unit, std::string_view name, platform::Open how,
                              std::size_t recordLength) {
  Entry* entry = vacate(unit);
  if (entry == nullptr) return kIoNotAFile;
  platform::File file;
  const IoCode code = file.open(name, how);
  if (code == kIoOk)
    entry->records = std::make_unique<RecordFile>(std::move(file), std::string(name), recordLength);
  return code;
}

void UnitTable::setTemporary(int32_t unit) {
  if (!isOpen(unit)) return;
  Entry& entry = files_[static_cast<std::size_t>(unit)];
  entry.temporary.watch(entry.text ? entry.text->name() : entry.records->name());
}

IoCode UnitTable::setRecordLength(int32_t unit, std::size_t recordLength) {
  RecordFile* file = records(unit);
  if (file == nullptr) return kIoNotFound;
  file->setRecordLength(recordLength);
  return kIoOk;
}

IoCode UnitTable::close(int32_t unit, Closing closing) {
  if (!isOpen(unit)) return kIoOk;
  const Entry entry = std::move(files_[static_cast<std::size_t>(unit)]);
  platform::File& file = entry.text ? entry.text->file() : entry.records->file();
  const std::string_view name = entry.text ? entry.text->name() : entry.records->name();
  if (closing == Closing::erase) {
    const IoCode code = file.isNamed(name) ? platform::removeFile(name) : kIoOk;
    if (code == kIoOk && entry.records) entry.records->abandon();
    return code;
  }
  const IoCode flushed = entry.text ? entry.text->flush() : entry.records->flush();
  const IoCode closed = file.close();
  return flushed != kIoOk ? flushed : closed;
}

}  // namespace terrain
