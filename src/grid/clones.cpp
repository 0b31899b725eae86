// Copies of whole grids: into a new grid, in memory or on disk, and into an existing one.

#include <algorithm>

#include "grid/grid.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

struct CloneTexts {
  std::string_view routine;
  std::string_view rowName;
  std::string_view readFailed;
  std::string_view writeFailed;
};

template <Cell T>
int cloneInto(GridOf<T>& result, const GridOf<T>& source, std::optional<bool> onDisk,
              const CloneTexts& texts) {
  Attempt attempt{result.status};
  // Making the clone would destroy the source.
  if (&result == &source) return fail(texts.routine, "A grid cannot be its own clone");
  if (CreateGrid(result, {.like = &source, .setCells = false, .onDisk = onDisk}) != kSuccess)
    return fail(texts.routine, "CreateGrid failed for clone");
  if (source.useRowAccess() != kSuccess || result.SetRowAccess() != kSuccess) {
    DestroyGrid(result);
    return fail(texts.routine, "setRowAccess failed");
  }
  RowPass pass(reading(source, texts.rowName, texts.readFailed),
               filling(result, texts.rowName, texts.writeFailed));
  const auto copy = [](int32_t, auto from, auto to) { std::ranges::copy(from, to.begin()); };
  if (pass.run(texts.routine, copy) == kSuccess) return attempt.succeed();
  DestroyGrid(result);
  return kFailure;
}

/// Cells that hold the source's nodata value take that of `grid`.
template <Cell T>
int copyInto(GridOf<T>& grid, const GridOf<T>& source) {
  constexpr std::string_view routine = "R4GridCopy in Grid_Module";
  Attempt attempt{grid.status};
  if (!grid.GridExists() || !source.GridExists() || !SameGridGeometry(grid, source))
    return fail(routine, "Grid extents do not match");
  if (source.useRowAccess() != kSuccess || grid.SetRowAccess() != kSuccess)
    return fail(routine, "SetRowAccess failed");
  const auto copy = [from = source.nodataValue(), to = grid.nodataValue()](int32_t, std::span<const T> cells,
                                                                           std::span<T> copies) {
    std::ranges::transform(cells, copies.begin(), [=](T cell) { return cell == from ? to : cell; });
  };
  return attempt.end(RowPass(reading(source), filling(grid)).run(routine, copy));
}

}  // namespace

// clang-format off
// ---- faces ----

int R4Grid_type::cloneR4(R4Grid_type& result, std::optional<bool> disk) const { return cloneInto(result, *this, disk, {"cloneR4 in Grid_Modul", "r4Array", "Error reading r4array", "Error writing r4array"}); }
int R8Grid_type::cloneR8(R8Grid_type& result, std::optional<bool> disk) const { return cloneInto(result, *this, disk, {"cloneR8 in Grid_Modul", "r8Array", "Error reading r8array", "Error writing r8array"}); }
int I4Grid_type::cloneI4(I4Grid_type& result, std::optional<bool> disk) const { return cloneInto(result, *this, disk, {"cloneI4 in Grid_Modul", "i4Array", "Error reading i4array", "Error writing i4array"}); }
int I8Grid_type::cloneI8(I8Grid_type& result, std::optional<bool> disk) const { return cloneInto(result, *this, disk, {"cloneI8 in Grid_Modul", "i8Array", "Error reading i8array", "Error writing i8array"}); }

int R4Grid_type::R4GridCopy(const R4Grid_type& source) { return copyInto(*this, source); }
int I4Grid_type::I4GridCopy(const I4Grid_type& source) { return copyInto(*this, source); }

// clang-format on

}  // namespace terrain
