#include "grid/buffers.h"

#include "grid/grid.h"
#include "grid/missing.h"

namespace terrain {

namespace {

template <Cell T>
int bufferCells(GridOf<T>& grid, double distance, T value, std::string_view routine) {
  Attempt attempt{grid.status};
  if (!isRadius(distance, routine)) return kFailure;
  if (grid.SetRowAccess() != kSuccess) return fail(routine, "SetRowAccess failed");
  bool found = false;
  const auto change = [value](T cell, bool near) { return near && cell == 0 ? value : cell; };
  if (widen(grid, distance, routine, positiveIn(grid), change, found) != kSuccess) return kFailure;
  return found ? attempt.succeed() : fail(routine, "Grid has no values greater than zero");
}

}  // namespace

// ---- faces ----

int R4Grid_type::bufferR4(double distance, float value) {
  return bufferCells(*this, distance, value, "bufferR4 in Grid_Module");
}
int I4Grid_type::buffer(double distance, int32_t value) {
  return bufferCells(*this, distance, value, "buffer in Grid_Module");
}
int I8Grid_type::buffer(double distance, int64_t value) {
  return bufferCells(*this, distance, value, "buffer in Grid_Module");
}

}  // namespace terrain
