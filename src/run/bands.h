#pragma once
// Bands of rows that are walked by themselves. A walk cannot leave a band of rows as wide as its reach, so a
// band is walked with a margin on both sides: of every walk that comes to one of its cells the start is among
// them. Each cell of the band gets its additions in the order of a walk over the whole grid, so how the grid
// is cut leaves no trace in the result.

#include <cstdint>
#include <functional>
#include <vector>

#include "run/accumulation.h"

namespace terrain {

struct Band {
  RowRange rows;         ///< whose totals it gives
  RowRange withMargins;  ///< of these and of the walks to them
};

/// The least that a step can take, in hours or metres: by distance the cell size, by time that of a cell in
/// which water is as fast as it is anywhere, or a little less. 0, or -1 with a report of a grid that cannot
/// be read.
int shortestStep(const WalkValues& values, const R4Grid_type& grad, float& shortest);

/// Most steps of a walk within the limit, the cut one included, by sums in float32 as in a walk; counted up
/// to `most`.
[[nodiscard]] int32_t stepsWithin(const WalkValues& values, float shortest, int32_t most);

/// Cuts the rows of a grid into bands with margins of so many rows, and calls work(band) for each, on several
/// threads. Bands are of `values.bandRows` rows, or so large that the margins add little and so many that all
/// threads have work, as far as memory allows. 0, or -1 where a band gave that.
int forEachBand(const WalkValues& values, const Grid_Header& grid, int32_t margin,
                const std::function<int(const Band&)>& work);

/// Writes the totals of a band's rows to `accum`. Where `change` is given it becomes the largest relative
/// difference to what `accum` held before, of cells where walks start. 0, or -1 with a report.
int storeTotals(const WalkTable& table, const Band& band, R4Grid_type& accum, double* change = nullptr);

}  // namespace terrain
