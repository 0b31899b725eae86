#pragma once
// The accumulation of a run: a walk from every cell, then the final pass that turns the totals of the cells
// into the output raster.

#include "run/walk_table.h"

namespace terrain {

/// The grids of one extent that the walks read, and the one they fill. `grad` is read only by time,
/// `bcon` only for a specific area.
struct AccumulationGrids {
  const R4Grid_type& grad;
  const R4Grid_type& aspect;
  const R4Grid_type& bcon;
  R4Grid_type& accum;
};

/// Creates `accum` with the extent of `like`, whose cell size gives the lengths of the steps, and starts a
/// walk at every cell. The result counts cells; with `limits.specific` it is divided by the contour length
/// where that is above 0, at most 1000000. Cells with a negative aspect become -9999.0. `programInfo` becomes
/// the version of `accum`. The grids may be on
/// disk. All threads walk (foundation/threads.h); the bits do not depend on their number.
/// 0, or -1 with a report; so where a grid that is read is absent or has another extent than `like`.
int accumulateCells(const WalkValues& limits, const AccumulationGrids& grids, const Grid_Header& like,
                    const VersionStamp* programInfo = nullptr);

}  // namespace terrain
