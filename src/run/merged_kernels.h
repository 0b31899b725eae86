#pragma once
// The loops of merged walks. Where the compiler can, they exist for several vector widths, of which the
// machine's is taken; every number is rounded the same in each.

#include <array>
#include <cstddef>

namespace terrain {

/// to[i] += p * from[i]
void addScaled(double* to, const double* from, double p, std::size_t count);

/// to[i] += ((w[0] * from[i] + w[1] * from[i + 1]) + w[2] * from[i + 2]) + w[3] * from[i + 3]
void addInterpolated(double* to, const double* from, const std::array<double, 4>& w, std::size_t count);

/// Eight sums, of every eighth number from the first, the second... on, added up in pairs.
[[nodiscard]] double sumOf(const double* values, std::size_t count);

}  // namespace terrain
