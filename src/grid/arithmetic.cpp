#include "grid/arithmetic.h"

#include <algorithm>
#include <array>

#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kUnlike = "Input grid dimensions do not match";

template <Cell T>
bool areAlike(const GridOf<T>& a, const GridOf<T>& b) {
  return a.GridExists() && b.GridExists() && sameCounts(a, b);
}

// ---- two grids to a new one ----

struct CombineTexts {
  std::string_view routine;
  std::string_view createFailed;
  std::array<std::string_view, 3> rows{"aRow", "bRow", "outRow"};  // names of the row arrays
};

template <Cell T, class Combine>
int combine(GridOf<T>& out, const GridOf<T>& a, const GridOf<T>& b, const CombineTexts& texts,
            Combine operation) {
  Attempt attempt{out.status};
  if (!areAlike(a, b)) return fail(texts.routine, kUnlike);
  if (a.useRowAccess() != kSuccess)
    return fail(texts.routine, "CellAccess not set for on-disk grid (1st argument)");
  if (b.useRowAccess() != kSuccess)
    return fail(texts.routine, "CellAccess not set for on-disk grid (2nd argument)");
  if (CreateGrid(out, {.like = &a, .setCells = false}) != kSuccess)
    return fail(texts.routine, texts.createFailed);
  const auto body = [aMissing = missingIn(a), bMissing = missingIn(b), none = out.nodataValue(), operation](
                        int32_t, std::span<const T> left, std::span<const T> right, std::span<T> result) {
    for (std::size_t i = 0; i < result.size(); ++i) {
      const T value = operation(left[i], right[i], none);
      result[i] = aMissing(left[i]) || bMissing(right[i]) ? none : value;
    }
  };
  RowPass pass(reading(a, texts.rows[0]), reading(b, texts.rows[1]), filling(out, texts.rows[2]));
  if (pass.run(texts.routine, body) == kSuccess) return attempt.succeed();
  DestroyGrid(out);
  return kFailure;
}

template <class Grid, class Combine>
Grid combined(const Grid& a, const Grid& b, const CombineTexts& texts, Combine operation) {
  Grid out;
  static_cast<void>(combine(out, a, b, texts, operation));
  return out;
}

constexpr auto kMultiply = [](auto x, auto y, auto) { return x * y; };
constexpr auto kSubtract = [](auto x, auto y, auto) { return x - y; };
constexpr auto kDivide = [](auto x, auto y, auto none) {
  const auto quotient = x / y;
  return y == 0 ? none : quotient;
};

// ---- two grids in place ----

/// cell = operation(cell, other's cell) where both hold a value; nodata where only the cell does.
template <Cell T, class Operation>
int changeWith(GridOf<T>& grid, const GridOf<T>& other, std::string_view routine, Operation operation) {
  Attempt attempt{grid.status};
  if (!areAlike(grid, other)) return fail(routine, kUnlike);
  if (grid.SetRowAccess() != kSuccess || other.useRowAccess() != kSuccess)
    return fail(routine, "SetRowAccess failed");
  const auto body = [missing = missingIn(grid), otherMissing = missingIn(other), none = grid.nodataValue(),
                     operation](int32_t, std::span<T> cells, std::span<const T> others) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const T value = operation(cells[i], others[i]);
      cells[i] = missing(cells[i]) ? cells[i] : otherMissing(others[i]) ? none : value;
    }
  };
  return attempt.end(RowPass(changing(grid), reading(other)).run(routine, body));
}

// ---- one value for all ----

template <Cell T>
int setAll(GridOf<T>& grid, std::string_view routine, T value) {
  Attempt attempt{grid.status};
  if (grid.SetRowAccess() != kSuccess) return fail(routine, "SetRowAccess failed");
  return attempt.end(RowPass(filling(grid)).run(routine, [value](int32_t, std::span<T> row) {
    std::ranges::fill(row, value);
  }));
}

}  // namespace

// ---- faces: two grids to a new one; the tags and texts are those that users know ----

R4Grid_type MultiplyR4Grids(const R4Grid_type& a, const R4Grid_type& b) {
  return combined(a, b, {"MultiplyR4Grids in Grid_module", "GreateGrid failed for multiplyR4Grids"},
                  kMultiply);
}
R8Grid_type MultiplyR8Grids(const R8Grid_type& a, const R8Grid_type& b) {
  return combined(a, b, {"MultiplyR8Grids in Grid_module", "GreateGrid failed for multiplyR8Grids"},
                  kMultiply);
}
R4Grid_type SubtractR4Grids(const R4Grid_type& a, const R4Grid_type& b) {
  return combined(a, b, {"MultiplyR8Grids in Grid_module", "GreateGrid failed for multiplyR8Grids"},
                  kSubtract);
}
R8Grid_type SubtractR8Grids(const R8Grid_type& a, const R8Grid_type& b) {
  return combined(a, b, {"MultiplyR4Grids in Grid_module", "GreateGrid failed for multiplyR8Grids"},
                  kSubtract);
}
R4Grid_type DivideR4Grids(const R4Grid_type& a, const R4Grid_type& b) {
  return combined(a, b,
                  {.routine = "DivideR4Grids in Grid_module  ",
                   .createFailed = "CreateGrid failed for DivideR4Grids",
                   .rows = {"Row arrays", "Row arrays", "Row arrays"}},
                  kDivide);
}

// clang-format off
// ---- faces: two grids in place ----

int R4Grid_type::MultiplyR4(const R4Grid_type& other) { return changeWith(*this, other, "MultiplyR4 in Grid_Module", [](float a, float b) { return a * b; }); }
int R4Grid_type::AddR4Grid(const R4Grid_type& other) { return changeWith(*this, other, "AddR4Grid in Grid_Module", [](float a, float b) { return a + b; }); }
int R4Grid_type::SubtractR4Grid(const R4Grid_type& other) { return changeWith(*this, other, "SubtractR4Grid in Grid_Module", [](float a, float b) { return a - b; }); }

// ---- faces: grid and number, in place ----

int R4Grid_type::scalarMultiplyR4(float by) { return onValid(*this, {"scalarMultiplyR4 in Grid_Module", "r4array"}, [by](float v) { return v * by; }); }
int R8Grid_type::scalarMultiplyR8(double by) { return onValid(*this, {"scalarMultiplyR8 in Grid_Module", "r8array"}, [by](double v) { return v * by; }); }
int R4Grid_type::scalarAddR4(float amount) { return onValid(*this, {"scalarAddR4 in Grid_Module", "r4array"}, [amount](float v) { return v + amount; }); }
int R8Grid_type::ValueMinusR8Grid(double value) { return onValid(*this, {"ValueMinusR8Grid in Grid_Module", "rarray"}, [value](double v) { return value - v; }); }
int R8Grid_type::R8GridMinusValue(double value) { return onValid(*this, {"R8GridMinusValue in Grid_Module", "rarray"}, [value](double v) { return v - value; }); }
int R4Grid_type::SetToMaxR4(float value) { return onValid(*this, {"SetToMaxR4 in Grid_Module", "rowArray"}, [value](float v) { return std::max(v, value); }); }
int I4Grid_type::SetValidI4(int32_t value) { return onValid(*this, {"SetValidI4 in Grid_Module"}, [value](int32_t) { return value; }); }
int R4Grid_type::SetAllR4(float value) { return setAll(*this, "SetAllR4 in Grid_Module", value); }
int I1Grid_type::SetAllI1(int8_t value) { return setAll(*this, "SetAllI1 in Grid_Module", value); }

// clang-format on

int R4Grid_type::scalarDivideR4(float by) {
  constexpr PassTexts texts{"scalarDivideR4 in Grid_Module", "r4array"};
  if (by == 0.0F) {
    status = kFailure;
    return fail(texts.routine, "Cannot divide by zero");
  }
  return onValid(*this, texts, [by](float v) { return v / by; });
}

int R4Grid_type::ValueMinusR4Grid(float value, bool positiveOnly) {
  constexpr PassTexts texts{"ValueMinusR4Grid in Grid_Module", "rarray"};
  if (!positiveOnly) return onValid(*this, texts, [value](float v) { return value - v; });
  return onValid(*this, texts, [value](float v) {
    const float difference = value - v;
    return v > 0.0F ? difference : v;
  });
}

int R4Grid_type::SetToMinR4(float value) {
  constexpr PassTexts texts{"SetToMinR4 in Grid_Module", "rowArray"};
  const auto lower = [value](float v) { return std::min(v, value); };
  // A nodata value that lies below the data takes part; one above it would be lowered into the data.
  return nodataValue() > 0.0F ? onValid(*this, texts, lower) : onEvery(*this, texts, lower);
}

}  // namespace terrain
