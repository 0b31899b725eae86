// Filling a region of zeros that is connected by sides, from a seed.

#include "grid/grid.h"
#include "grid/region_walk.h"
#include "grid/rows.h"

namespace terrain {

namespace {

template <Cell T>
int flood(GridOf<T>& grid, ColRow seed, T value, std::string_view routine) {
  return onCells(grid, routine, [&](auto cells) {
    if (!grid.contains(seed)) return fail(routine, "Location outside of grid extent");
    RegionWalk walk(grid, Connection::four);
    cells.set(seed.col, seed.row, value);
    return walk.spread(seed, repaint(cells, T{0}, value)) ? kSuccess : cannotAllocate(routine, "holdEdge");
  });
}

/// Zeros cannot be told from cells that the fill has reached.
template <Cell T>
int floodWithValue(GridOf<T>& grid, ColRow seed, T value, std::string_view routine) {
  if (value == 0) return grid.status = fail(routine, "Cannot use zero for flood fill");
  return flood(grid, seed, value, routine);
}

}  // namespace

// ---- faces ----

int R4Grid_type::Flood_R4queue(int32_t col, int32_t row, float value) {
  return floodWithValue(*this, {col, row}, value, "Flood_R4queue in Grid_Module");
}
int I4Grid_type::Flood_I4queue(int32_t col, int32_t row, int32_t value) {
  return floodWithValue(*this, {col, row}, value, "Flood_I4queue in Grid_Module");
}
int I8Grid_type::Flood_I8queue(int32_t col, int32_t row, int64_t value) {
  return floodWithValue(*this, {col, row}, value, "Flood_I8queue in Grid_Module");
}
int I4Grid_type::FloodI4(int32_t col, int32_t row, int32_t value) {
  return floodWithValue(*this, {col, row}, value, "FloodI4 in Grid_Module");
}
int R4Grid_type::FloodZeroToNodata(int32_t col, int32_t row) {
  if (nodataValue() == 0 && contains(col, row)) return status = kSuccess;  // the zeros are nodata already
  return flood(*this, {col, row}, nodataValue(), "FloodZeroToNodata in Grid_Module");
}
int R4Grid_type::SetNonPositiveToNodata() {
  return onEvery(*this, {"SetNonPositiveToNodata in Grid_Module"},
                 [nodata = nodataValue()](float cell) { return cell <= 0 ? nodata : cell; });
}

}  // namespace terrain
