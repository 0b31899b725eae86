#pragma once
// The parts of a line, for code that takes each for a line of its own.

#include <algorithm>
#include <cstddef>

#include "table/geometry.h"

namespace terrain {

/// Calls use(begin, end) with the range of vertices, from 0, of each part, until it gives false; false then.
template <class Use>
bool forEachPart(const SegmentType& line, Use use) {
  const std::size_t count = std::min(line.x.size(), line.y.size());
  const std::size_t parts = std::max<std::size_t>(line.parts.size(), 1);
  for (std::size_t part = 0; part < parts; ++part) {
    const auto start = [&](std::size_t p) {
      return p < line.parts.size() && p > 0 ? static_cast<std::size_t>(std::max(line.parts[p] - 1, 0)) : 0;
    };
    const std::size_t end = part + 1 < parts ? std::min(start(part + 1), count) : count;
    if (!use(start(part), end)) return false;
  }
  return true;
}

}  // namespace terrain
