#pragma once
// Length of contour that the flow of a cell crosses, in cell widths: 1 where the cell and its neighbours
// face one way, as on a plane; less where flow converges, more where it spreads.
//
// The aspects of the eight neighbours are turned to the cell's own frame, in which the neighbour ahead
// is T3. Each of the four sides gives two terms, of its centre and of each of its two corners:
//
//     aspects by D8 code         a cell that faces north
//        d4  d3  d2                  T4  T3  T2       T3 ahead, T7 behind
//        d5   .  d1                  T5   .  T1       T1 right, T5 left
//        d6  d7  d8                  T6  T7  T8

#include <array>
#include <cstddef>

namespace terrain {

/// The contour length of one cell, in float32. `turned` holds T1 to T8, radians from 0 to a full circle,
/// clockwise from the cell's own aspect.
[[nodiscard]] float contourLength(const std::array<float, 8>& turned);

/// Index in T (from 0) that the value of D8 code 1 has for a cell with this aspect. The edges between
/// the four facings, at odd eighths of a circle, belong to the next facing clockwise, the last to west.
[[nodiscard]] inline std::size_t firstTurned(float aspect) {
  if (aspect < 0.7853982F || aspect > 5.4977875F) return 0;  // north: T1 is d1
  if (aspect < 2.3561945F) return 2;                         // east: T3 is d1
  if (aspect < 3.926991F) return 4;                          // south: T5 is d1
  return 6;                                                  // west: T7 is d1
}

}  // namespace terrain
