#pragma once
// Reference implementation of the contour length: cell by cell, every neighbour through the checked read, all
// weights computed.

#include <array>
#include <cmath>
#include <cstdint>

#include "grid/grid.h"
#include "grid/neighbours.h"

namespace terrain::test {

inline float referenceTerm(bool centreIn, bool adjacentIn, float p, float q) {
  if (centreIn && adjacentIn) return p + q;
  if (centreIn) return (p * p) / (p + q);
  if (adjacentIn) return (q * q) / (p + q);
  return 0.0F;
}

/// T1 to T8 at elements 1 to 8 for a cell of aspect `a` with turned neighbours d1 to d8.
inline std::array<float, 9> referenceRotation(float a, const std::array<float, 9>& d) {
  if (a < 0.7853982F || a > 5.4977875F) return d;
  if (a < 2.3561945F) return {0, d[7], d[8], d[1], d[2], d[3], d[4], d[5], d[6]};
  if (a < 3.926991F) return {0, d[5], d[6], d[7], d[8], d[1], d[2], d[3], d[4]};
  return {0, d[3], d[4], d[5], d[6], d[7], d[8], d[1], d[2]};
}

inline float referenceSum(const std::array<float, 9>& T) {
  std::array<float, 9> S{}, C{};
  for (std::size_t i = 1; i <= 8; ++i) {
    S[i] = std::abs(std::sin(T[i]));
    C[i] = std::abs(std::cos(T[i]));
  }
  const auto in1 = [&](std::size_t i) { return T[i] > 0.0F && T[i] < 3.1415927F; };
  const auto in3 = [&](std::size_t i) { return T[i] < 1.5707964F || T[i] > 4.712389F; };
  const auto in5 = [&](std::size_t i) { return T[i] > 3.1415927F && T[i] < 6.2831855F; };
  const auto in7 = [&](std::size_t i) { return T[i] > 1.5707964F && T[i] < 4.712389F; };
  float sum = 0.0F;
  sum += referenceTerm(in1(1), in1(2), S[1], S[2]);
  sum += referenceTerm(in1(1), in1(8), S[1], S[8]);
  sum += referenceTerm(in3(3), in3(2), C[3], C[2]);
  sum += referenceTerm(in3(3), in3(4), C[3], C[4]);
  sum += referenceTerm(in5(5), in5(4), S[5], S[4]);
  sum += referenceTerm(in5(5), in5(6), S[5], S[6]);
  sum += referenceTerm(in7(7), in7(6), C[7], C[6]);
  sum += referenceTerm(in7(7), in7(8), C[7], C[8]);
  return sum;
}

inline void referenceContourLength(R4Grid_type& elev, R4Grid_type& aspect, R4Grid_type& bcon) {
  for (int32_t row = 1; row <= aspect.rows(); ++row) {
    for (int32_t col = 1; col <= aspect.cols(); ++col) {
      const float a = aspect.ExtractR4ValueColRow(col, row);
      if (a == aspect.GetNodataR4()) continue;
      std::array<float, 9> e{}, s{}, d{};
      float lowest = 3.4028235e38F;
      float highest = -3.4028235e38F;
      for (std::size_t k = 1; k <= 8; ++k) {
        e[k] = elev.ExtractR4ValueColRow(col + colOffset[k], row + rowOffset[k]);
        s[k] = aspect.ExtractR4ValueColRow(col + colOffset[k], row + rowOffset[k]);
        if (s[k] == aspect.GetNodataR4()) s[k] = a;
        if (e[k] > -9999.0F && e[k] < lowest) lowest = e[k];
        if (e[k] > highest) highest = e[k];
      }
      if (lowest == highest) {
        bcon.SetR4CellColRow(col, row, 1.0F);
        continue;
      }
      for (std::size_t k = 1; k <= 8; ++k) {
        d[k] = s[k] - a;
        if (d[k] < 0.0F) d[k] = d[k] + 6.2831855F;
      }
      bcon.SetR4CellColRow(col, row, referenceSum(referenceRotation(a, d)) * 0.25F);
    }
  }
}

}  // namespace terrain::test
