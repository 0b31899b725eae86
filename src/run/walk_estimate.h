#pragma once
// How much work the walks of a run are, told before they begin. The visits of a walk are counted without
// making them: shares that reach a cell after the same way are counted together. A thousand starts, one in
// each of as many equal stretches of the starts of the grid, stand for all.

#include <cstdint>
#include <string>
#include <vector>

#include "run/accumulation.h"

namespace terrain {

struct WalkEstimate {
  std::int64_t starts = 0;
  std::int64_t samples = 0;
  int32_t medianSteps = 0;   ///< of the longest path of a walk
  int32_t longestSteps = 0;  ///< of any sampled walk
  double visits = 0;         ///< of all walks, each cell that a share comes to, by whatever way
  double error = 0;          ///< of `visits`, relative: two standard errors of their mean
  double seconds = 0;        ///< of single walks, with all threads
  double mergedSeconds = 0;  ///< of merged walks, with all threads; by time at least
};

/// Estimates the walks over the grids; of merged walks only the time. The number of samples is four times as
/// large where `error` would be above 20 percent, unless walks are so long that counting takes a second. 0,
/// or -1 with a report of a grid that cannot be read.
int estimateWalks(const WalkValues& values, const AccumulationGrids& grids, WalkEstimate& estimate);

/// True if the walks may take so long that an estimate is worth its own time.
[[nodiscard]] bool isWorthEstimating(const WalkValues& values, const AccumulationGrids& grids,
                                     float shortest);

/// The lines for the user.
[[nodiscard]] std::vector<std::string> describe(const WalkEstimate& estimate, const WalkValues& values);

}  // namespace terrain
