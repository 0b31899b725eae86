#pragma once
// Min-heap of cells by elevation: the rim of what already drains, lowest cell first.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/memory.h"
#include "foundation/status.h"

namespace terrain {

struct DEMCellType {
  int32_t col = 0;
  int32_t row = 0;
  float elev = 0.0F;  ///< the key
};

/// Binary min-heap, root at index 1, the children of index i at 2i and 2i+1. A cell may be in it more than
/// once. Among equal keys an element stops below its parent when it is inserted, and of two children the left
/// one rises; nothing else orders them.
class MinHeapType {
 public:
  /// Empties the heap and gives its memory back.
  void ClearMinHeap() { std::vector<DEMCellType>().swap(cells_); }
  [[nodiscard]] int64_t SizeMinHeap() const { return static_cast<int64_t>(cells_.size()); }

  /// Adds a cell. -1, with the heap as it was, if there is no memory. Memory grows geometrically.
  [[nodiscard]] int InsertMinHeap(int32_t col, int32_t row, float elev) {
    const DEMCellType cell{.col = col, .row = row, .elev = elev};
    if (!tryAppend(cells_, cell)) return kFailure;
    std::size_t i = cells_.size();
    for (; i > 1 && elev < at(i / 2).elev; i /= 2) at(i) = at(i / 2);
    at(i) = cell;
    return kSuccess;
  }

  /// Removes the lowest cell. The heap must not be empty.
  void PopMinHeap(int32_t& col, int32_t& row) {
    col = at(1).col;
    row = at(1).row;
    at(1) = cells_.back();
    cells_.pop_back();
    if (!cells_.empty()) SiftDownMinHeap(1);
  }

  /// Moves the cell at index i down to where its key is not above those of its children; gives the index.
  int64_t SiftDownMinHeap(int64_t i) {
    const std::size_t size = cells_.size();
    std::size_t place = static_cast<std::size_t>(i);
    const DEMCellType cell = at(place);
    while (2 * place <= size) {
      std::size_t child = 2 * place;
      if (child < size && at(child).elev > at(child + 1).elev) ++child;
      if (at(child).elev >= cell.elev) break;
      at(place) = at(child);
      place = child;
    }
    at(place) = cell;
    return static_cast<int64_t>(place);
  }

 private:
  DEMCellType& at(std::size_t index) { return cells_[index - 1]; }

  std::vector<DEMCellType> cells_;
};

}  // namespace terrain
