#include "foundation/bytes.h"

#include <algorithm>
#include <exception>

#include "foundation/memory.h"

namespace terrain {

// ---- reading ----

std::span<const std::byte> ByteReader::take(std::uint64_t count) {
  if (!holds(count)) {
    ok_ = false;
    return {};
  }
  const auto taken = bytes_.subspan(at_, static_cast<std::size_t>(count));
  at_ += taken.size();
  return taken;
}

std::string_view ByteReader::text(std::uint64_t count) {
  const auto taken = take(count);
  return {reinterpret_cast<const char*>(taken.data()), taken.size()};  // characters, not numbers
}

ByteReader ByteReader::part(std::uint64_t count) {
  ByteReader inner(take(count));
  inner.ok_ = ok_;
  return inner;
}

bool ByteReader::skip(std::uint64_t count) {
  if (!holds(count)) return ok_ = false;
  at_ += static_cast<std::size_t>(count);
  return true;
}

bool ByteReader::seek(std::uint64_t position) {
  if (!ok_ || position > bytes_.size()) return ok_ = false;
  at_ = static_cast<std::size_t>(position);
  return true;
}

IoCode readWholeFile(std::string_view name, std::vector<std::byte>& bytes) {
  bytes.clear();
  platform::File file;
  IoCode code = file.open(name, platform::Open::read);
  if (code != kIoOk) return code;
  if (!tryAllocate(bytes, static_cast<std::size_t>(file.size()))) return kIoNoMemory;
  code = file.readAt(0, bytes);
  if (code != kIoOk) bytes.clear();
  return code;
}

// ---- writing ----

ByteWriter::ByteWriter(platform::File& file, std::size_t bufferBytes)
    : file_(&file), buffer_(tryArray<std::byte>(bufferBytes)), capacity_(bufferBytes) {
  if (buffer_ == nullptr) fault_ = kIoNoMemory;
}

void ByteWriter::bytes(std::span<const std::byte> bytes) {
  if (!ok() || bytes.empty()) return;
  if (out_ != nullptr) {
    try {
      out_->insert(out_->end(), bytes.begin(), bytes.end());
      written_ += bytes.size();
    } catch (const std::exception&) {  // bad_alloc, length_error
      fault_ = kIoNoMemory;
    }
    return;
  }
  if (bytes.size() > capacity_ - used_) flush();
  if (!ok()) return;
  if (bytes.size() > capacity_) {  // more than the buffer ever holds: straight to the file
    fault_ = file_->writeAt(written_, bytes);
    if (ok()) written_ += bytes.size();
    return;
  }
  std::copy(bytes.begin(), bytes.end(), buffer_.get() + used_);
  used_ += bytes.size();
}

void ByteWriter::text(std::string_view text) { bytes(std::as_bytes(std::span(text))); }

void ByteWriter::fill(std::byte value, std::uint64_t count) {
  std::array<std::byte, 256> piece;
  piece.fill(value);
  for (; count > 0 && ok(); count -= std::min<std::uint64_t>(count, piece.size()))
    bytes(std::span(piece).first(static_cast<std::size_t>(std::min<std::uint64_t>(count, piece.size()))));
}

void ByteWriter::patch(std::uint64_t offset, std::span<const std::byte> bytes) {
  if (!ok()) return;
  if (offset > position() || bytes.size() > position() - offset) {
    fault_ = kIoPastEnd;
    return;
  }
  if (out_ != nullptr) {
    std::copy(bytes.begin(), bytes.end(), out_->begin() + static_cast<std::ptrdiff_t>(offset));
    return;
  }
  if (offset >= written_) {
    std::copy(bytes.begin(), bytes.end(), buffer_.get() + (offset - written_));
    return;
  }
  flush();
  if (ok()) fault_ = file_->writeAt(offset, bytes);
}

void ByteWriter::flush() {
  if (!ok() || used_ == 0) return;
  fault_ = file_->writeAt(written_, std::span(buffer_.get(), used_));
  if (!ok()) return;
  written_ += used_;
  used_ = 0;
}

IoCode ByteWriter::finish() {
  flush();
  return fault_;
}

}  // namespace terrain
