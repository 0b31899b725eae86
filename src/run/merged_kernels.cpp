#include "run/merged_kernels.h"

// Sanitizers are not yet there when the loader chooses among the versions.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)
#define TERRAIN_VECTOR_WIDTHS __attribute__((target_clones("default", "avx2", "avx512f")))
#else
#define TERRAIN_VECTOR_WIDTHS
#endif

namespace terrain {

TERRAIN_VECTOR_WIDTHS void addScaled(double* __restrict to, const double* __restrict from, double p,
                                     std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) to[i] += p * from[i];
}

TERRAIN_VECTOR_WIDTHS void addInterpolated(double* __restrict to, const double* __restrict from,
                                           const std::array<double, 4>& w, std::size_t count) {
  const double w0 = w[0];
  const double w1 = w[1];
  const double w2 = w[2];
  const double w3 = w[3];
  for (std::size_t i = 0; i < count; ++i)
    to[i] += ((w0 * from[i] + w1 * from[i + 1]) + w2 * from[i + 2]) + w3 * from[i + 3];
}

TERRAIN_VECTOR_WIDTHS double sumOf(const double* values, std::size_t count) {
  constexpr std::size_t kSums = 8;
  double sums[kSums] = {};
  std::size_t i = 0;
  for (; i + kSums <= count; i += kSums)
    for (std::size_t k = 0; k < kSums; ++k) sums[k] += values[i + k];
  for (std::size_t k = 0; i + k < count; ++k) sums[k] += values[i + k];
  return ((sums[0] + sums[1]) + (sums[2] + sums[3])) + ((sums[4] + sums[5]) + (sums[6] + sums[7]));
}

}  // namespace terrain
