#pragma once
// Cells within a distance of marked cells, changed in place. Of our own, for buffers and halos.

#include "grid/circle_fold.h"

namespace terrain {

/// cell = change(cell, near) for every cell, `near` where a cell that was a source before the operation
/// lies within `distance`, in map units, of it. `found` tells whether there was a source. 0, or -1 with a
/// report.
template <Cell T, class IsSource, class Change>
[[nodiscard]] int widen(GridOf<T>& grid, double distance, std::string_view routine, IsSource isSource,
                        Change change, bool& found) {
  using Flag = std::uint8_t;
  const CellCircle circle = CellCircle::within(grid, distance);
  CircleFold near(grid, circle, Flag{0}, [](Flag a, Flag b) { return static_cast<Flag>(a | b); });
  std::vector<Flag> sources;
  auto changed = changing(grid);
  if (!near.open() || !tryAllocate(sources, static_cast<std::size_t>(grid.cols())))
    return cannotAllocate(routine, "window");
  if (changed.open(routine) != kSuccess) return kFailure;
  found = false;
  const auto take = [&](int32_t row, std::span<const T> cells) {
    bool any = false;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      sources[i] = isSource(cells[i]) ? 1 : 0;
      any = any || sources[i] != 0;
    }
    found = found || any;
    near.add(row, any ? std::span<const Flag>(sources) : std::span<const Flag>());
  };
  const auto give = [&](int32_t row) {
    const auto covered = near.row(row);
    const auto body = [&](std::span<T> cells) {
      for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = change(cells[i], covered[i] != 0);
    };
    return onRow(row, routine, body, changed);
  };
  return passAhead(grid, circle.reach(), {.routine = routine}, take, give);
}

}  // namespace terrain
