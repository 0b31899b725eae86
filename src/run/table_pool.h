#pragma once
// The tables of merged walks: each cell has one from when it is visited until the last cell below it has read
// it.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "foundation/memory.h"
#include "run/flow_graph.h"

namespace terrain {

/// What has come to a cell.
struct FlowTable {
  std::unique_ptr<double[]> values{};
  std::size_t size = 0;
  int32_t steps = 0;  ///< of the longest way that has come, by distance
};

class TablePool {
 public:
  [[nodiscard]] bool open(const FlowGraph& graph) {
    const auto records = static_cast<std::size_t>(graph.records());
    if (!tryAllocate(slots_, records) || !tryAllocate(readers_, records)) return false;
    graph.forEachCell(
        [&](std::int64_t cell) { readers(cell) = static_cast<uint8_t>(graph.receivers(cell)); });
    return true;
  }
  /// A cell's table, from `give` until as many have used it as the cell has receivers.
  [[nodiscard]] FlowTable& of(std::int64_t cell) { return tables_[static_cast<std::size_t>(slot(cell))]; }
  /// Gives a cell a table of zeros. False if there is no memory.
  [[nodiscard]] bool give(std::int64_t cell, std::size_t size, int32_t steps) {
    if (!grant(size)) return false;
    if (free_.empty()) {
      if (!tryAppend(free_, static_cast<int32_t>(tables_.size())) || !tryAppend(tables_, FlowTable{}))
        return false;
      if (!tryReserve(free_, tables_.capacity())) return false;  // taking a table back needs no memory
    }
    FlowTable& table = tables_[static_cast<std::size_t>(free_.back())];
    table.values.reset(new (std::nothrow) double[size]());
    if (table.values == nullptr) return false;
    table.size = size;
    table.steps = steps;
    slot(cell) = free_.back();
    free_.pop_back();
    inUse_ += size;
    return true;
  }
  /// A receiver of the cell has read its table.
  void use(std::int64_t cell) {
    if (--readers(cell) == 0) takeBack(cell);
  }
  /// The table of a cell without receivers is not needed once it is made.
  void finish(std::int64_t cell) {
    if (readers(cell) == 0) takeBack(cell);
  }

 private:
  [[nodiscard]] int32_t& slot(std::int64_t cell) { return slots_[static_cast<std::size_t>(cell)]; }
  [[nodiscard]] uint8_t& readers(std::int64_t cell) { return readers_[static_cast<std::size_t>(cell)]; }
  void takeBack(std::int64_t cell) {
    FlowTable& table = of(cell);
    inUse_ -= table.size;
    table = {};
    free_.push_back(slot(cell));
  }
  /// True if `size` more numbers may be used: the machine is asked for every further 64 MB.
  [[nodiscard]] bool grant(std::size_t size) {
    constexpr std::size_t kShare = (std::size_t{64} << 20U) / sizeof(double);
    if (inUse_ + size <= granted_) return true;
    const std::size_t more = std::max(kShare, inUse_ + size - granted_);
    if (!machineHas(more * sizeof(double))) return false;
    granted_ += more;
    return true;
  }

  std::vector<int32_t> slots_;    ///< of the cells, in `tables_`
  std::vector<uint8_t> readers_;  ///< receivers that have not read the cell's table
  std::vector<FlowTable> tables_;
  std::vector<int32_t> free_;
  std::size_t inUse_ = 0;  ///< numbers
  std::size_t granted_ = 0;
};

}  // namespace terrain
