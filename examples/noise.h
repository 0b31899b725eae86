#pragma once
// Noise that is the same on every run and machine: integers, and sums and products of float64.

#include <cmath>
#include <cstdint>

namespace landscape {

/// A number from 0 to below 1 for a lattice point, by the mixing steps of splitmix64.
inline double hashed(int64_t x, int64_t y) {
  auto h =
      static_cast<uint64_t>(x) * 0x9E3779B97F4A7C15ULL ^ static_cast<uint64_t>(y) * 0xC2B2AE3D27D4EB4FULL;
  h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9ULL;
  h = (h ^ (h >> 27)) * 0x94D049BB133111EBULL;
  return static_cast<double>((h ^ (h >> 31)) >> 11) / 9007199254740992.0;
}

/// Smooth noise between -1 and 1: lattice values joined by cubic steps.
inline double noise(double x, double y) {
  const double fx = std::floor(x);
  const double fy = std::floor(y);
  const auto ix = static_cast<int64_t>(fx);
  const auto iy = static_cast<int64_t>(fy);
  const auto ease = [](double t) { return t * t * (3.0 - 2.0 * t); };
  const double u = ease(x - fx);
  const double v = ease(y - fy);
  const double low = hashed(ix, iy) * (1 - u) + hashed(ix + 1, iy) * u;
  const double high = hashed(ix, iy + 1) * (1 - u) + hashed(ix + 1, iy + 1) * u;
  return 2.0 * (low * (1 - v) + high * v) - 1.0;
}

}  // namespace landscape
