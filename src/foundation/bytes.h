#pragma once
// Bytes of binary files. `ByteReader` walks bytes in memory, `ByteWriter` appends to a vector or to
// an open file through a buffer of fixed size. Each read and write says its byte order, as some
// formats mix both; nothing is read beyond what is there, and the first failure sticks, so that a
// record is read whole and tested once.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "foundation/messages.h"
#include "foundation/platform.h"

namespace terrain {

/// A number with a fixed size and byte order in a file.
template <class T>
concept FileNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && sizeof(T) <= 8;

namespace detail {
/// The number's bytes, first to last in the order wanted, copied from or to `at`.
template <FileNumber T>
T loadNumber(const std::byte* at, std::endian order) {
  std::array<std::byte, sizeof(T)> bytes;
  std::memcpy(bytes.data(), at, sizeof(T));
  if (order != std::endian::native)
    for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
  return std::bit_cast<T>(bytes);
}
template <FileNumber T>
void storeNumber(std::byte* at, T value, std::endian order) {
  auto bytes = std::bit_cast<std::array<std::byte, sizeof(T)>>(value);
  if (order != std::endian::native)
    for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
  std::memcpy(at, bytes.data(), sizeof(T));
}
}  // namespace detail

/// The message code for a failure of opening and reading: the reading, or for any other the opening.
[[nodiscard]] constexpr int32_t readFailure(IoCode code) {
  return code == kIoPastEnd || code >= kIoHost ? kReadError : kCannotOpenToRead;
}

/// Reads bytes from front to back. Looks at the bytes, does not own them.
class ByteReader {
 public:
  explicit ByteReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

  /// False once a read or a seek went beyond the bytes; every later read then gives 0 or nothing.
  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] std::size_t position() const { return at_; }  ///< counted from 0
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] std::size_t remaining() const { return bytes_.size() - at_; }
  /// True if `count` items of `size` bytes each follow; to be asked before memory is allocated for them.
  /// False after a failure, too.
  [[nodiscard]] bool holds(std::uint64_t count, std::uint64_t size = 1) const {
    return ok_ && (size == 0 || count <= remaining() / size);
  }

  template <FileNumber T>
  [[nodiscard]] T little() {
    return number<T>(std::endian::little);
  }
  template <FileNumber T>
  [[nodiscard]] T big() {
    return number<T>(std::endian::big);
  }
  /// As many numbers as `out` has elements; false, with `out` as it was, if they are not all there.
  template <FileNumber T>
  bool little(std::span<T> out) {
    return numbers(out, std::endian::little);
  }
  template <FileNumber T>
  bool big(std::span<T> out) {
    return numbers(out, std::endian::big);
  }

  /// The next `count` bytes; empty after a failure.
  [[nodiscard]] std::span<const std::byte> take(std::uint64_t count);
  /// The same as characters.
  [[nodiscard]] std::string_view text(std::uint64_t count);
  /// A reader of the next `count` bytes alone, for a record that must not be left; failed if they are not
  /// there.
  [[nodiscard]] ByteReader part(std::uint64_t count);
  bool skip(std::uint64_t count);
  /// The next read is at `position`, from 0 to the size. A failure stays.
  bool seek(std::uint64_t position);

 private:
  template <FileNumber T>
  T number(std::endian order) {
    if (!holds(1, sizeof(T))) [[unlikely]] {
      ok_ = false;
      return T{};
    }
    const T value = detail::loadNumber<T>(bytes_.data() + at_, order);
    at_ += sizeof(T);
    return value;
  }
  template <FileNumber T>
  bool numbers(std::span<T> out, std::endian order) {
    if (!holds(out.size(), sizeof(T))) return ok_ = false;
    for (T& value : out) value = number<T>(order);
    return true;
  }

  std::span<const std::byte> bytes_;
  std::size_t at_ = 0;
  bool ok_ = true;
};

/// Appends bytes to a vector or to a file. Neither is owned. The first failure sticks.
class ByteWriter {
 public:
  static constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

  /// Appends to what the vector already holds; offsets count from the vector's start.
  explicit ByteWriter(std::vector<std::byte>& out) : out_(&out), written_(out.size()) {}
  /// Writes the file from its start; `finish` must be called at the end.
  explicit ByteWriter(platform::File& file, std::size_t bufferBytes = kBufferBytes);
  ByteWriter(const ByteWriter&) = delete;
  ByteWriter& operator=(const ByteWriter&) = delete;

  [[nodiscard]] bool ok() const { return fault_ == kIoOk; }
  /// The first fault; kIoNoMemory where a vector could not grow.
  [[nodiscard]] IoCode fault() const { return fault_; }
  /// Bytes written so far: the offset of the next one.
  [[nodiscard]] std::uint64_t position() const { return written_ + used_; }

  template <FileNumber T>
  void little(T value) {
    number(value, std::endian::little);
  }
  template <FileNumber T>
  void big(T value) {
    number(value, std::endian::big);
  }
  void bytes(std::span<const std::byte> bytes);
  void text(std::string_view text);
  /// `count` bytes of one value.
  void fill(std::byte value, std::uint64_t count);

  /// Replaces a number written before, for counts and boxes that are known at the end.
  template <FileNumber T>
  void patchLittle(std::uint64_t offset, T value) {
    patchNumber(offset, value, std::endian::little);
  }
  template <FileNumber T>
  void patchBig(std::uint64_t offset, T value) {
    patchNumber(offset, value, std::endian::big);
  }

  /// Writes out what is buffered; gives the first fault, 0 if none.
  IoCode finish();

 private:
  template <FileNumber T>
  void number(T value, std::endian order) {
    if (buffer_ == nullptr || capacity_ - used_ < sizeof(T)) [[unlikely]] {
      std::array<std::byte, sizeof(T)> raw;
      detail::storeNumber(raw.data(), value, order);
      bytes(raw);
      return;
    }
    detail::storeNumber(buffer_.get() + used_, value, order);
    used_ += sizeof(T);
  }
  template <FileNumber T>
  void patchNumber(std::uint64_t offset, T value, std::endian order) {
    std::array<std::byte, sizeof(T)> raw;
    detail::storeNumber(raw.data(), value, order);
    patch(offset, raw);
  }
  void patch(std::uint64_t offset, std::span<const std::byte> bytes);
  void flush();

  std::vector<std::byte>* out_ = nullptr;
  platform::File* file_ = nullptr;
  std::unique_ptr<std::byte[]> buffer_;  // bytes not yet written: the first used_ of capacity_
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
  std::uint64_t written_ = 0;  // bytes before those in the buffer
  IoCode fault_ = kIoOk;
};

/// A whole file in memory; `bytes` is empty after a fault.
[[nodiscard]] IoCode readWholeFile(std::string_view name, std::vector<std::byte>& bytes);

}  // namespace terrain
