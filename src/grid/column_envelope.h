#pragma once
// Exact distances in two passes: along the columns, then across them.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/memory.h"

namespace terrain {

/// Squared distances, in cells, to the nearest marked cells of all columns from the distances within each
/// column: the lower envelope of the parabolas (x - i)^2 + g(i)^2, in integers (Meijster, Roerdink and
/// Hesselink 2000). Work does not depend on the distances.
class ColumnEnvelope {
 public:
  [[nodiscard]] bool open(std::size_t cols) { return tryAllocate(parts_, cols); }

  /// Calls use(column, column of the mark, squared distance), columns from 0, where there is a mark;
  /// inColumn[i] above `farthest` means that column i has none. Of two marks as near that of the western
  /// column i is taken where first(i, u), else that of u; `first` must come from one order of all marks.
  template <class First, class Use>
  void visit(std::span<const int64_t> inColumn, int64_t farthest, First first, Use use) {
    const auto squared = [&](int64_t x, int64_t i) {
      const int64_t g = inColumn[static_cast<std::size_t>(i)];
      return (x - i) * (x - i) + g * g;
    };
    const auto winsTie = [&](int64_t i, int64_t u) {
      return first(static_cast<std::size_t>(i), static_cast<std::size_t>(u));
    };
    const auto cols = static_cast<int64_t>(inColumn.size());
    std::size_t used = 0;
    for (int64_t u = 0; u < cols; ++u) {
      if (inColumn[static_cast<std::size_t>(u)] > farthest) continue;
      const auto replaced = [&](const Part& part) {
        const int64_t ahead = squared(part.from, u) - squared(part.from, part.column);
        return ahead < 0 || (ahead == 0 && !winsTie(part.column, u));
      };
      while (used > 0 && replaced(parts_[used - 1])) --used;
      if (used == 0) {
        parts_[used++] = {.column = u, .from = 0};
        continue;
      }
      // The last x at which the last parabola is not above the new one, or, where a tie goes to that, below.
      const int64_t i = parts_[used - 1].column;
      const int64_t ahead = squared(0, u) - squared(0, i);
      int64_t last = ahead / (2 * (u - i));
      if (last * 2 * (u - i) == ahead && !winsTie(i, u)) --last;
      if (last + 1 < cols) parts_[used++] = {.column = u, .from = last + 1};
    }
    for (int64_t x = cols - 1; used > 0 && x >= 0; --x) {
      const Part& part = parts_[used - 1];
      use(static_cast<std::size_t>(x), static_cast<std::size_t>(part.column), squared(x, part.column));
      if (x == part.from) --used;
    }
  }

 private:
  struct Part {
    int64_t column = 0;
    int64_t from = 0;  // the first x at which this column's parabola is lowest
  };
  std::vector<Part> parts_;
};

}  // namespace terrain
