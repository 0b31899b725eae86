#include "foundation/memory.h"

#include <limits>

#include "foundation/platform.h"

namespace terrain {

namespace {
/// For smaller blocks the machine is not asked.
constexpr std::uint64_t kBlockThatMatters = std::uint64_t{32} << 20;
/// What a large block leaves for the work on it: buffers, lists that grow, messages. Without it the data
/// would fit and the run end.
constexpr std::uint64_t kMargin = std::uint64_t{1} << 20;
}  // namespace

MemoryLimits& memoryLimits() {
  static MemoryLimits limits;
  return limits;
}

bool memoryFor(std::uint64_t bytes) {
  if (memoryLimits().largestBlock && bytes > *memoryLimits().largestBlock) return false;
  return machineHas(bytes);
}

bool machineHas(std::uint64_t bytes) {
  if (bytes > std::numeric_limits<std::uint64_t>::max() - kMargin) return false;
  if (bytes >= kMargin && !platform::hasAddressSpace(bytes + kMargin)) return false;
  return bytes < kBlockThatMatters || bytes <= platform::availableMemory();
}

std::optional<std::uint64_t> byteCount(std::uint64_t count, std::uint64_t size) {
  std::uint64_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes)) return std::nullopt;
  return bytes;
}

}  // namespace terrain
