#pragma once
// Memory that is asked for by the size of the data. An allocation that the machine cannot hold
// fails here, when it is asked for, and the caller reports it or uses a scratch file; otherwise the host
// would end the process when the pages are first touched.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace terrain {

struct MemoryLimits {
  /// No single block above this many bytes is allocated. Absent: only the machine limits blocks.
  std::optional<std::uint64_t> largestBlock{};
};

/// The limits in force: this module's state.
MemoryLimits& memoryLimits();

/// True if a block of `bytes` may be asked for now: within the limits, and, for blocks that
/// matter, within the memory that the machine has available.
[[nodiscard]] bool memoryFor(std::uint64_t bytes);

/// The same for the machine alone, whatever the limits.
[[nodiscard]] bool machineHas(std::uint64_t bytes);

/// count * size in bytes, or nothing if it does not fit 64 bits.
[[nodiscard]] std::optional<std::uint64_t> byteCount(std::uint64_t count, std::uint64_t size);

/// Makes `block` `count` elements long, each a value-initialised T. False if there is no memory.
template <class T>
[[nodiscard]] bool tryAllocate(std::vector<T>& block, std::size_t count) {
  const auto bytes = byteCount(count, sizeof(T));
  if (!bytes || !memoryFor(*bytes)) return false;
  try {
    block.assign(count, T{});
  } catch (const std::exception&) {  // bad_alloc, length_error
    return false;
  }
  return true;
}

/// A copy of `from` in `to`. False, with `to` empty, if there is no memory.
template <class T>
[[nodiscard]] bool tryCopy(std::vector<T>& to, std::span<const T> from) {
  to.clear();
  if (!memoryFor(from.size() * sizeof(T))) return false;
  try {
    to.assign(from.begin(), from.end());
  } catch (const std::exception&) {  // bad_alloc, length_error
    return false;
  }
  return true;
}

/// Reserves memory for `count` elements in all; the elements of `list` stay. False, with the list as it was,
/// if there is no memory.
template <class T>
[[nodiscard]] bool tryReserve(std::vector<T>& list, std::size_t count) {
  if (count <= list.capacity()) return true;
  const auto bytes = byteCount(count, sizeof(T));
  if (!bytes || !memoryFor(*bytes)) return false;
  try {
    list.reserve(count);
  } catch (const std::exception&) {  // bad_alloc, length_error
    return false;
  }
  return true;
}

/// Makes the list `count` long; new elements are value-initialised. False, with the list as it was, if
/// there is no memory.
template <class T>
[[nodiscard]] bool tryResize(std::vector<T>& list, std::size_t count) {
  if (!tryReserve(list, count)) return false;
  list.resize(count);
  return true;
}

/// Appends one element; the capacity grows geometrically. False, with the list as it was, if there is no
/// memory.
template <class T>
[[nodiscard]] bool tryAppend(std::vector<T>& list, T value) {
  if (list.size() == list.capacity() && !tryReserve(list, list.empty() ? 16 : 2 * list.size())) return false;
  list.push_back(std::move(value));
  return true;
}

/// An array of `count` elements whose values are not set, or null if there is no memory.
template <class T>
[[nodiscard]] std::unique_ptr<T[]> tryArray(std::size_t count) {
  const auto bytes = byteCount(count, sizeof(T));
  if (!bytes || *bytes > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) ||
      !memoryFor(*bytes))
    return nullptr;
  return std::unique_ptr<T[]>(new (std::nothrow) T[count]);
}

}  // namespace terrain
