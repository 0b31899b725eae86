#pragma once
// The parts of a line, the rings of a polygon: ranges of one list of vertices, given by their starts.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace terrain {

/// Calls use(begin, end) with the range of vertices, from 0, of each part of a list of `count` vertices.
/// Starts count from `numberedFrom`: those of lines from 1, those of rings from 0; without any the list is
/// one part. False as soon as `use` is.
template <class Use>
bool forEachPart(std::span<const int32_t> starts, int32_t numberedFrom, std::size_t count, Use use) {
  const std::size_t parts = std::max<std::size_t>(starts.size(), 1);
  const auto start = [&](std::size_t p) {
    if (p == 0 || p >= parts) return p == 0 ? std::size_t{0} : count;
    return std::min(static_cast<std::size_t>(std::max<int64_t>(int64_t{starts[p]} - numberedFrom, 0)), count);
  };
  for (std::size_t part = 0; part < parts; ++part)
    if (!use(start(part), start(part + 1))) return false;
  return true;
}

}  // namespace terrain
