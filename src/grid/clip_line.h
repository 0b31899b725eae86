#pragma once
// The part of a straight line that lies on a grid; see `Grid_Header::clipLine`.

#include <cstdint>

namespace terrain {

/// A line from (x1, y1) to (x2, y2), and the cells of its ends.
struct LineClipRecord {
  double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  int32_t col1 = 0, col2 = 0, row1 = 0, row2 = 0;
};

}  // namespace terrain
