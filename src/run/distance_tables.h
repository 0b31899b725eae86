#pragma once
// Tables of merged walks by distance: the water that has come to a cell by a straight and b diagonal steps,
// in 64 bits. Rows of equal b follow each other, each with as many numbers of straight steps as fit the limit
// and as the longest way to the cell has.

#include <cstdint>
#include <span>
#include <vector>

#include "run/merged_pulls.h"
#include "run/walk_table.h"

namespace terrain {

class DistanceTables {
 public:
  /// Finds the steps that fit the limit, by sums in float32 as in a walk. 0, or -1 with a report where they
  /// are more than 4000.
  int prepare(const WalkValues& values);

  /// Steps of the longest way within the limit.
  [[nodiscard]] int32_t longest() const { return fits_.empty() ? 0 : fits_.front(); }
  [[nodiscard]] int32_t stepsAfter(int32_t donor) const { return std::min(longest(), donor + 1); }
  [[nodiscard]] std::size_t sizeOf(int32_t steps) const;
  static void start(FlowTable& table) { table.values[0] = 1.0; }
  void pull(FlowTable& to, const FlowTable& from, const Donor& donor) const;
  void march(std::span<const Pull> pulls) const;
  /// All that has come, without what starts at the cell.
  [[nodiscard]] static double total(const FlowTable& table, bool starts);
  [[nodiscard]] static double lastPart(const FlowTable&, const Donor&) { return 0; }

 private:
  /// Diagonal steps of a way of so many steps, at most.
  [[nodiscard]] int32_t rows(int32_t steps) const {
    return std::min(static_cast<int32_t>(fits_.size()) - 1, steps);
  }
  /// Numbers in the row of b diagonal steps.
  [[nodiscard]] std::size_t width(int32_t b, int32_t steps) const {
    return static_cast<std::size_t>(std::min(fits_[static_cast<std::size_t>(b)], steps - b)) + 1;
  }

  std::vector<int32_t> fits_;  ///< straight steps that fit beside b diagonal ones, for b from 0
};

}  // namespace terrain
