#pragma once
// The eight directions from a cell to its neighbours, by D8 code: counter-clockwise from east.
//
//     4 3 2
//     5 . 1      odd codes are straight steps, even codes diagonal ones
//     6 7 8
//
// The walks of the accumulation number the directions clockwise from west; their direction k is the
// opposite of code k.

#include <array>
#include <cstddef>
#include <cstdint>
#include <numbers>

#include "grid/geometry.h"

namespace terrain {

inline constexpr int32_t kDirections = 8;
/// Length of a diagonal step in float32, in cell sizes.
inline constexpr float kDiagonalStep = 1.4142135F;

/// Entry k of a table that counts from 1; entry 0 is not used.
using DirectionTable = std::array<int32_t, 9>;
inline constexpr DirectionTable colOffset{0, 1, 1, 0, -1, -1, -1, 0, 1};
inline constexpr DirectionTable rowOffset{0, 0, -1, -1, -1, 0, 1, 1, 1};

[[nodiscard]] constexpr bool isDiagonal(int32_t code) { return code % 2 == 0; }
[[nodiscard]] constexpr int32_t opposite(int32_t code) { return code > 4 ? code - 4 : code + 4; }

/// The neighbour that a code leads to.
[[nodiscard]] constexpr ColRow stepFrom(ColRow cell, int32_t code) {
  const auto k = static_cast<std::size_t>(code);
  return {.col = cell.col + colOffset[k], .row = cell.row + rowOffset[k]};
}
/// The code of a step of at most one column and one row; 0 for none.
[[nodiscard]] constexpr int32_t codeOfStep(int32_t dCol, int32_t dRow) {
  for (int32_t code = 1; code <= kDirections; ++code) {
    const auto k = static_cast<std::size_t>(code);
    if (colOffset[k] == dCol && rowOffset[k] == dRow) return code;
  }
  return 0;
}

/// Length of a step in cell sizes, in float32.
[[nodiscard]] constexpr float stepLength(int32_t code) { return isDiagonal(code) ? kDiagonalStep : 1.0F; }

/// The code nearest to an aspect (radians clockwise from north, at least 0), an aspect halfway between two
/// going clockwise; 0 for one beyond a full circle. Float32 throughout.
[[nodiscard]] constexpr int32_t codeOfAspect(float aspect) {
  constexpr std::array<int32_t, 9> byEighth{3, 2, 1, 8, 7, 6, 5, 4, 3};  // clockwise from north
  const float eighths = aspect / 0.7853982F + 0.5F;
  return eighths < static_cast<float>(byEighth.size()) ? byEighth[static_cast<std::size_t>(eighths)] : 0;
}

/// The aspect of a code: a multiple of pi / 4, rounded once to float32.
[[nodiscard]] constexpr float aspectOfCode(int32_t code) {
  constexpr std::array<double, 9> eighths{0, 2, 1, 0, 7, 6, 5, 4, 3};  // entry 0 is not used
  return static_cast<float>(eighths[static_cast<std::size_t>(code)] * std::numbers::pi / 4);
}

}  // namespace terrain
