#include "grid/arithmetic.h"

#include <array>

#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

struct CombineTexts {
  std::string_view routine;
  std::string_view createFailed;
  std::array<std::string_view, 3> rows;  // names of the row arrays: a, b, result
};

/// A new grid of combine(a, b, nodata of the result) where both are valid, else nodata.
template <class Combine>
R4Grid_type combined(const R4Grid_type& a, const R4Grid_type& b, const CombineTexts& texts, Combine combine) {
  R4Grid_type out;
  out.status = kFailure;
  if (!a.GridExists() || !b.GridExists() || !sameCounts(a, b)) {
    fail(texts.routine, "Input grid dimensions do not match");
  } else if (a.onDisk && !a.rowAccess) {
    fail(texts.routine, "CellAccess not set for on-disk grid (1st argument)");
  } else if (b.onDisk && !b.rowAccess) {
    fail(texts.routine, "CellAccess not set for on-disk grid (2nd argument)");
  } else if (CreateGrid(out, {.like = &a}) != kSuccess) {
    fail(texts.routine, texts.createFailed);
  } else {
    const auto body = [aNone = a.nodataValue(), bNone = b.nodataValue(), none = out.nodataValue(), combine](
                          int32_t, std::span<const float> left, std::span<const float> right,
                          std::span<float> result) {
      for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = left[i] == aNone || right[i] == bNone ? none : combine(left[i], right[i], none);
    };
    RowPass pass(reading(a, texts.rows[0]), reading(b, texts.rows[1]), filling(out, texts.rows[2]));
    if (pass.run(texts.routine, body) != kSuccess) {
      DestroyGrid(out);
      out.status = kFailure;
    }
  }
  return out;
}

}  // namespace

// ---- faces: two grids to a new one ----

R4Grid_type MultiplyR4Grids(const R4Grid_type& a, const R4Grid_type& b) {
  return combined(
      a, b,
      {"MultiplyR4Grids in Grid_module", "GreateGrid failed for multiplyR4Grids", {"aRow", "bRow", "outRow"}},
      [](float x, float y, float) { return x * y; });
}

R4Grid_type DivideR4Grids(const R4Grid_type& a, const R4Grid_type& b) {
  constexpr std::string_view rows = "Row arrays";
  return combined(
      a, b, {"DivideR4Grids in Grid_module  ", "CreateGrid failed for DivideR4Grids", {rows, rows, rows}},
      [](float x, float y, float none) { return y == 0.0F ? none : x / y; });
}

// clang-format off
// ---- faces: grid and number, in place ----

int R4Grid_type::scalarMultiplyR4(float by) { return onValid(*this, {"scalarMultiplyR4 in Grid_Module", "r4array"}, [by](float v) { return v * by; }); }
int R8Grid_type::scalarMultiplyR8(double by) { return onValid(*this, {"scalarMultiplyR8 in Grid_Module", "r8array"}, [by](double v) { return v * by; }); }

// clang-format on

}  // namespace terrain
