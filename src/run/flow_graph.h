#pragma once
// The order in which water comes to cells: every cell after all cells above it. Cells that water returns to,
// along directions that lead in a circle, form a group; every other cell is a group of its own. They are the
// strongly connected components of the graph of steps, found by R. Tarjan's algorithm (1972, Depth-first
// search and linear graph algorithms. SIAM Journal on Computing 1, 146-160), here without recursion, over the
// steps backwards.

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "foundation/memory.h"
#include "grid/directions.h"
#include "run/walk_table.h"

namespace terrain {

/// A cell from which a step leads to another.
struct Donor {
  std::int64_t cell = 0;
  bool diagonal = false;
  float share = 0.0F;  ///< part of the donor's water that takes the step
  float step = 0.0F;   ///< hours or metres
};

/// The donors of a cell, in the order of the directions of their steps.
class Donors {
 public:
  void add(const Donor& donor) { list_[count_++] = donor; }
  [[nodiscard]] const Donor* begin() const { return list_.data(); }
  [[nodiscard]] const Donor* end() const { return list_.data() + count_; }

 private:
  std::array<Donor, kDirections> list_;
  std::size_t count_ = 0;
};

/// The steps of a walk table, from both ends.
class FlowGraph {
 public:
  explicit FlowGraph(WalkTable& table)
      : cells_(table.cells()), cols_(table.cols()), rows_(table.rows().last - table.rows().first + 1) {
    for (int32_t k = 1; k <= kDirections; ++k) {
      const auto at = static_cast<std::size_t>(k);
      offsets_[at] = -rowOffset[at] * stride() - colOffset[at];
    }
  }

  [[nodiscard]] WalkCell& cell(std::int64_t at) const { return cells_[at]; }
  [[nodiscard]] std::int64_t records() const { return stride() * (std::int64_t{rows_} + 2); }
  /// Calls use(record) for every cell of the grid, row by row.
  template <class Use>
  void forEachCell(Use use) const {
    for (int32_t row = 1; row <= rows_; ++row)
      for (int32_t col = 1; col <= cols_; ++col) use(std::int64_t{row} * stride() + col);
  }
  [[nodiscard]] Donors donors(std::int64_t at) const {
    Donors found;
    for (int32_t k = 1; k <= kDirections; ++k) {
      const std::int64_t offset = offsets_[static_cast<std::size_t>(k)];
      const WalkCell& donor = cells_[at - offset];
      const std::size_t way = wayBy(donor, offset);
      if (way < 2)
        found.add({.cell = at - offset,
                   .diagonal = isDiagonal(k),
                   .share = donor.share[way],
                   .step = donor.step[way]});
    }
    return found;
  }
  /// Moves `direction` past the next donor of a cell; -1 if there is none.
  [[nodiscard]] std::int64_t nextDonor(std::int64_t at, int32_t& direction) const {
    while (direction <= kDirections) {
      const std::int64_t offset = offsets_[static_cast<std::size_t>(direction++)];
      if (wayBy(cells_[at - offset], offset) < 2) return at - offset;
    }
    return -1;
  }
  /// Steps from a cell to cells of the grid.
  [[nodiscard]] int32_t receivers(std::int64_t at) const {
    int32_t count = 0;
    for (std::size_t way = 0; way < 2; ++way)
      if (cells_[at].share[way] > 0.0F && isInside(at + cells_[at].next[way])) ++count;
    return count;
  }

 private:
  [[nodiscard]] std::int64_t stride() const { return std::int64_t{cols_} + 2; }
  /// Which of a cell's steps leads so many records on; 2 if none does.
  static std::size_t wayBy(const WalkCell& cell, std::int64_t offset) {
    for (std::size_t way = 0; way < 2; ++way)
      if (cell.next[way] == offset && cell.share[way] > 0.0F) return way;
    return 2;
  }
  [[nodiscard]] bool isInside(std::int64_t at) const {
    const std::int64_t row = at / stride();
    const std::int64_t col = at % stride();
    return row >= 1 && row <= rows_ && col >= 1 && col <= cols_;
  }

  WalkCell* cells_;
  int32_t cols_, rows_;
  std::array<std::int64_t, 9> offsets_{};
};

/// How the visiting of groups ended.
enum class GroupsEnd { done, stopped, noMemory };

/// Calls use(cells of a group), false to stop, for all groups, each after those above it. A group's cells
/// come in the order of their records. The visits begin at cells whose water leaves the grid, or ends, each
/// with all that drains to it, so that few groups wait for those below them.
template <class Use>
[[nodiscard]] GroupsEnd forEachGroup(const FlowGraph& graph, Use use) {
  struct Frame {
    std::int64_t cell;
    int32_t direction;  ///< from which donors are still to be visited
  };
  constexpr int32_t kUnseen = 0;
  constexpr int32_t kDone = std::numeric_limits<int32_t>::max();
  if (graph.records() >= kDone) return GroupsEnd::noMemory;
  std::vector<int32_t> numbers;
  std::vector<int32_t> lowest;  // number of the earliest open cell that a cell's donors lead to
  std::vector<Frame> path;
  std::vector<std::int64_t> open;
  if (!tryAllocate(lowest, static_cast<std::size_t>(graph.records())) ||
      !tryAllocate(numbers, static_cast<std::size_t>(graph.records())))
    return GroupsEnd::noMemory;
  const auto at = [](std::vector<int32_t>& list, std::int64_t cell) -> int32_t& {
    return list[static_cast<std::size_t>(cell)];
  };
  int32_t last = 0;
  const auto enter = [&](std::int64_t cell) {
    at(numbers, cell) = at(lowest, cell) = ++last;
    return tryAppend(path, Frame{cell, 1}) && tryAppend(open, cell);
  };
  GroupsEnd end = GroupsEnd::done;
  const auto visitFrom = [&](std::int64_t root) {
    if (at(numbers, root) != kUnseen || end != GroupsEnd::done) return;
    if (!enter(root)) end = GroupsEnd::noMemory;
    while (!path.empty() && end == GroupsEnd::done) {
      Frame& top = path.back();
      const std::int64_t donor = graph.nextDonor(top.cell, top.direction);
      if (donor >= 0) {
        if (at(numbers, donor) == kUnseen) {
          if (!enter(donor)) end = GroupsEnd::noMemory;
        } else {
          at(lowest, top.cell) = std::min(at(lowest, top.cell), at(numbers, donor));
        }
        continue;
      }
      const std::int64_t cell = top.cell;
      path.pop_back();
      if (!path.empty()) {
        int32_t& below = at(lowest, path.back().cell);
        below = std::min(below, at(lowest, cell));
      }
      if (at(lowest, cell) != at(numbers, cell)) continue;
      std::size_t first = open.size() - 1;
      while (open[first] != cell) --first;
      std::sort(open.begin() + static_cast<std::ptrdiff_t>(first), open.end());
      for (std::size_t i = first; i < open.size(); ++i) at(numbers, open[i]) = kDone;
      if (!use(std::span<const std::int64_t>(open).subspan(first))) end = GroupsEnd::stopped;
      open.resize(first);
    }
  };
  graph.forEachCell([&](std::int64_t cell) {
    if (graph.receivers(cell) == 0) visitFrom(cell);
  });
  graph.forEachCell(visitFrom);
  return end;
}

}  // namespace terrain
