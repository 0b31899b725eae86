#pragma once
// All walks at once, for limits at which single walks would take too long: their number doubles with every
// step, but what reaches a cell by different ways can go on together. Cells are taken upstream first; each
// has one table of what has come to it, made from those of its donors, and gives it back once the cells below
// have read it.
//
// By distance (distance_tables.h) the totals are those of single walks, summed in 64 bits. By time
// (time_tables.h) they are as exact as the rungs of time are fine: the number of rungs is doubled until the
// totals stand still.

#include <cstdint>
#include <vector>

#include "run/accumulation.h"

namespace terrain {

struct MergedResult {
  int32_t rungs = 0;  ///< by time
  double change =
      0;  ///< by time: largest relative difference between the totals and those with half the rungs
};

/// Fills `grids.accum` with the totals of all walks, band by band (bands.h). By time the rungs are so many
/// that `change`, over the cells where walks start, is at most half of `values.tolerance`. 0, or -1 with a
/// report: no memory for the tables, or a limit of too many steps.
int mergeWalks(const WalkValues& values, const AccumulationGrids& grids, MergedResult& result);

/// One pass over a walk table, by time with so many rungs: fills the totals of its cells, and `totals`, where
/// given, with the same in 64 bits, by record. 0, or -1 with a report.
int mergeTable(WalkTable& table, const WalkValues& values, int32_t rungs,
               std::vector<double>* totals = nullptr);

}  // namespace terrain
