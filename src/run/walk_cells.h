#pragma once
// The stack of pending cells. Internal to the walks.

#include <cstdint>
#include <vector>

#include "run/walk_table.h"

namespace terrain {

/// A second neighbour, to be visited after the walk through the first.
struct Pending {
  std::int64_t cell;
  float share;
  float spent;
};

/// The pending cells, last in first out. It grows with the walks and never shrinks.
class PendingStack {
 public:
  PendingStack() = default;
  PendingStack(const PendingStack&) = delete;
  PendingStack& operator=(const PendingStack&) = delete;

  void clear() { top_ = store_.data(); }
  [[nodiscard]] bool empty() const { return top_ == store_.data(); }
  void push(const Pending& entry) {
    if (top_ == store_.data() + store_.size()) [[unlikely]]
      grow();
    *top_++ = entry;
  }
  Pending pop() { return *--top_; }

 private:
  void grow() {
    const std::size_t used = store_.size();
    store_.resize(used * 2);
    top_ = store_.data() + used;
  }
  std::vector<Pending> store_ = std::vector<Pending>(1024);
  Pending* top_ = store_.data();
};

}  // namespace terrain
