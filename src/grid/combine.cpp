#include "grid/combine.h"

#include <array>
#include <vector>

#include "foundation/memory.h"
#include "grid/storage.h"

namespace terrain {

namespace {

struct CombineTexts {
  std::string_view routine;
  std::string_view createFailed;
  std::array<std::string_view, 3> rows;  // names of the row arrays: a, b, result
};

/// The rows of one grid: its own cells in memory, a buffer on disk.
class RowView {
 public:
  RowView(R4Grid_type& grid, std::string_view name, std::string_view routine)
      : grid_(grid), name_(name), routine_(routine) {}

  int prepare() {
    if (!grid_.onDisk || tryAllocate(buffer_, static_cast<std::size_t>(grid_.cols()))) return kSuccess;
    return cannotAllocate(routine_, name_);
  }
  /// The cells to be filled, or those that the grid holds.
  std::span<float> cells(int32_t row) {
    return grid_.onDisk ? std::span<float>(buffer_) : grid_.cells.row(row);
  }
  int read(int32_t row) {
    if (!grid_.onDisk || grid_.readRow(row, buffer_) == kIoOk) return kSuccess;
    return reportScratchRead(routine_, grid_);
  }
  int write(int32_t row) {
    if (!grid_.onDisk) return kSuccess;
    const IoCode code = grid_.writeRow(row, buffer_);
    return code == kIoOk ? kSuccess : reportScratchWrite(routine_, grid_, code);
  }

 private:
  R4Grid_type& grid_;
  std::string_view name_;
  std::string_view routine_;
  std::vector<float> buffer_;
};

template <class Combine>
int combineRows(R4Grid_type& a, R4Grid_type& b, R4Grid_type& out, const CombineTexts& texts,
                Combine combine) {
  RowView aRows(a, texts.rows[0], texts.routine);
  RowView bRows(b, texts.rows[1], texts.routine);
  RowView outRows(out, texts.rows[2], texts.routine);
  for (RowView* rows : {&aRows, &bRows, &outRows})
    if (rows->prepare() != kSuccess) return kFailure;
  const float aNone = a.GetNodataR4();
  const float bNone = b.GetNodataR4();
  const float none = out.GetNodataR4();
  for (int32_t row = 1; row <= out.rows(); ++row) {
    if (aRows.read(row) != kSuccess || bRows.read(row) != kSuccess) return kFailure;
    const std::span<const float> left = aRows.cells(row);
    const std::span<const float> right = bRows.cells(row);
    const std::span<float> result = outRows.cells(row);
    for (std::size_t i = 0; i < result.size(); ++i)
      result[i] = left[i] == aNone || right[i] == bNone ? none : combine(left[i], right[i], none);
    if (outRows.write(row) != kSuccess) return kFailure;
  }
  return kSuccess;
}

template <class Combine>
R4Grid_type combined(R4Grid_type& a, R4Grid_type& b, const CombineTexts& texts, Combine combine) {
  R4Grid_type out;
  out.status = kFailure;
  const auto fail = [&](std::string_view why) { reportError({.routine = texts.routine, .message1 = why}); };
  if (!a.GridExists() || !b.GridExists() || a.ncols != b.ncols || a.nrows != b.nrows) {
    fail("Input grid dimensions do not match");
  } else if (a.onDisk && !a.rowAccess) {
    fail("CellAccess not set for on-disk grid (1st argument)");
  } else if (b.onDisk && !b.rowAccess) {
    fail("CellAccess not set for on-disk grid (2nd argument)");
  } else if (CreateGrid(out, {.like = &a}) != kSuccess) {
    fail(texts.createFailed);
  } else if (combineRows(a, b, out, texts, combine) != kSuccess) {
    DestroyGrid(out);
    out.status = kFailure;
  }
  return out;
}

}  // namespace

// ---- faces ----

R4Grid_type MultiplyR4Grids(R4Grid_type& a, R4Grid_type& b) {
  return combined(
      a, b,
      {"MultiplyR4Grids in Grid_module", "GreateGrid failed for multiplyR4Grids", {"aRow", "bRow", "outRow"}},
      [](float x, float y, float) { return x * y; });
}

R4Grid_type DivideR4Grids(R4Grid_type& a, R4Grid_type& b) {
  constexpr std::string_view rows = "Row arrays";
  return combined(
      a, b, {"DivideR4Grids in Grid_module  ", "CreateGrid failed for DivideR4Grids", {rows, rows, rows}},
      [](float x, float y, float none) { return y == 0.0F ? none : x / y; });
}

}  // namespace terrain
