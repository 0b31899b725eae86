#pragma once
// Priority lists of identified values: binary max-heaps of (id, key) pairs, root at index 1, the
// children of index i at 2i and 2i+1. The same id may be in a heap more than once. The operations
// report nothing.
//
// A NaN key is neither above nor below any other, so it counts as equal to all: it rises to the
// root and later keys rise above it. Everything stays in the heap, but the order of what is popped
// while a NaN is inside is not that of the keys.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "foundation/memory.h"
#include "foundation/status.h"

namespace terrain {

template <class Key>
class PriorityHeap {
 public:
  /// Memory for pairs grows in steps of this many.
  static constexpr int32_t kGrowth = 10000;

  /// Empties the heap and gives its memory back.
  void Clear() { std::vector<Item>().swap(items_); }

  [[nodiscard]] int32_t Size() const { return static_cast<int32_t>(items_.size()); }
  /// Pairs that there is memory for now.
  [[nodiscard]] int32_t Capacity() const { return static_cast<int32_t>(items_.capacity()); }

  /// Adds a pair; it rises above pairs with an equal key. -1, with the heap as it was, if there is
  /// no memory or the heap holds as many pairs as 32 bits can count.
  [[nodiscard]] int Insert(int32_t id, Key key) {
    if (Size() == Capacity() && !grow()) return kFailure;
    items_.push_back({id, key});
    std::size_t i = items_.size();
    for (; i > 1 && !(at(i / 2).key > key); i /= 2) at(i) = at(i / 2);
    at(i) = {id, key};
    return kSuccess;
  }

  /// Removes the pair with the largest key. -1, with `id` and `key` as they were, if there is none.
  int Pop(int32_t& id, Key& key) {
    if (items_.empty()) return kFailure;
    id = at(1).id;
    key = at(1).key;
    replaceByLast(1);
    return kSuccess;
  }

  /// Moves the pair at index i down, below pairs with an equal key, until its key is above those of
  /// its children; the index where it comes to rest. An index outside the heap is given back.
  int32_t SiftDown(int32_t i) {
    if (i < 1 || i > Size()) return i;
    const std::size_t size = items_.size();
    std::size_t place = static_cast<std::size_t>(i);
    const Item item = at(place);
    while (2 * place <= size) {
      std::size_t child = 2 * place;
      if (child < size && at(child + 1).key > at(child).key) ++child;
      if (item.key > at(child).key) break;
      at(place) = at(child);
      place = child;
    }
    at(place) = item;
    return static_cast<int32_t>(place);
  }

 protected:
  struct Item {
    int32_t id;
    Key key;
  };

  Item& at(std::size_t index) { return items_[index - 1]; }

  /// Removes the pair at index i: the last one takes its place and moves down from there.
  void replaceByLast(std::size_t i) {
    at(i) = items_.back();
    items_.pop_back();
    SiftDown(static_cast<int32_t>(i));
  }

  std::vector<Item> items_;

 private:
  /// Whole steps of kGrowth, half as many pairs again where that is more: with a single step each
  /// time the copies would add up to the square of the number of pairs.
  bool grow() {
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    const int32_t step = std::max(1, Capacity() / (2 * kGrowth)) * kGrowth;
    if (Size() == most) return false;
    return tryReserve(items_, static_cast<std::size_t>(Size() > most - step ? most : Size() + step));
  }
};

class PriorityHeapR4 : public PriorityHeap<float> {
 public:
  /// Removes the pair with this id that has the lowest index; nothing if there is none. The last pair
  /// takes its place and moves down from there, never up: where it came from another branch its key
  /// may stay above its parent's until that one is popped. Looks at every pair.
  void RemoveId(int32_t id) {
    const auto found =
        std::find_if(items_.begin(), items_.end(), [id](const Item& item) { return item.id == id; });
    if (found != items_.end()) replaceByLast(static_cast<std::size_t>(found - items_.begin()) + 1);
  }
};

class PriorityHeapR8 : public PriorityHeap<double> {};

}  // namespace terrain
