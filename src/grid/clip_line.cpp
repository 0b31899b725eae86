#include "grid/clip_line.h"

#include <cmath>

#include "foundation/messages.h"
#include "grid/header.h"
#include "grid/line_cells.h"

namespace terrain {

int Grid_Header::clipLine(LineClipRecord& line) const {
  Attempt attempt{status};
  line.col1 = line.col2 = line.row1 = line.row2 = -9999;
  if (!std::isfinite(line.x2 - line.x1) || !std::isfinite(line.y2 - line.y1))
    return fail("clipLine in Grid_Module", "Cannot find intersection for P2");
  const Segment2D whole{.from = {.x = line.x1, .y = line.y1}, .to = {.x = line.x2, .y = line.y2}};
  const auto within = clipSegment(whole, {.x = xmin, .y = ymin}, {.x = xmax, .y = ymax});
  if (!within) return attempt.succeed();
  line.x1 = within->from.x;
  line.y1 = within->from.y;
  line.x2 = within->to.x;
  line.y2 = within->to.y;
  const ColRow first = XYtoColRow(line.x1, line.y1);
  const ColRow last = XYtoColRow(line.x2, line.y2);
  line.col1 = first.col;
  line.row1 = first.row;
  line.col2 = last.col;
  line.row2 = last.row;
  return attempt.succeed();
}

}  // namespace terrain
