#pragma once
// The walks: each sends a share of water from a cell downslope, split at every cell between the two
// neighbours that bracket its aspect, until the limit of time or distance is reached. A share is added to
// every cell that it passes, in float32, depth first and in the order of the directions: that order, with the
// order of the start cells, fixes the rounding of the result.

#include <cstdint>
#include <functional>

#include "run/walk_table.h"

namespace terrain {

class Walks {
 public:
  Walks() = default;
  Walks(const Walks&) = delete;
  Walks& operator=(const Walks&) = delete;

  /// Prepares walks over `grad` and `aspect`, of one extent, or over some of their rows; `grad` is read only
  /// by time. 0, or -1 with a report.
  int prepare(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect);
  int prepare(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect, RowRange rows);

  /// Leaves out what does not come to the rows of `band`, whose totals stay the same. 0, or -1 with a report.
  int keepWalksTo(RowRange band);

  /// Passes `share` on from (col, row), reached after `elapsed` hours, 0 or more; the share is added to that
  /// cell too. A step that does not fit the duration is cut in proportion. No effect outside the rows.
  /// 0, or -1 with a report for walks that were prepared by distance.
  int walkByTime(int32_t col, int32_t row, float share, float elapsed);

  /// The same after `travelled` metres, 0 or more. With `origin` true nothing is added to (col, row) itself,
  /// and `origin` becomes false. A step that does not fit the distance is not taken.
  /// 0, or -1 with a report for walks that were prepared by time.
  int walkByDistance(int32_t col, int32_t row, float share, float travelled, bool& origin);

  /// A walk of share 1 from every cell whose aspect is not negative, row by row. `rowDone` is called after
  /// each row.
  void walkAll(const std::function<void()>& rowDone = {});

  /// The same from the columns first to last of a row.
  void walkFrom(int32_t row, int32_t first, int32_t last);

  /// The totals of the cells of a row.
  void totals(int32_t row, std::span<float> out) const { table_.totals(row, out); }
  [[nodiscard]] const WalkTable& table() const { return table_; }

 private:
  template <class Walker>
  void walkFrom(Walker& walker, int32_t row, int32_t first, int32_t last);
  template <class Use>
  void withWalker(Use use);

  WalkValues values_{};
  WalkTable table_;
};

}  // namespace terrain
