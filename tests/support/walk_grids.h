#pragma once
// Grids for tests of walks.

#include <cmath>
#include <limits>
#include <random>

#include "support/grids.h"

namespace terrain::test {

inline constexpr float kPi = 3.1415927F;

/// Every kind of cell at once: holes, flats, aspects on and beside the centres, beyond a full circle and
/// negative, cells that face each other, walls and NaN.
struct Mixture {
  R4Grid_type grad, aspect, bcon;
  Mixture(int32_t cols, int32_t rows, uint32_t seed, Storage storage) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    for (R4Grid_type* g : {&grad, &aspect, &bcon})
      *g = emptyGrid<R4Grid_type>(cols, rows, {.storage = storage});
    const float main = unit(random) * 6.28F;
    fillWith(aspect, [&](int32_t, int32_t) {
      const float kind = unit(random);
      if (kind < 0.05F) return kNodata;
      if (kind < 0.10F) return static_cast<float>(random() % 9) * (kPi / 4);
      if (kind < 0.12F) return -unit(random);
      if (kind < 0.14F) return 6.28F + unit(random);
      if (kind < 0.15F) return std::numeric_limits<float>::quiet_NaN();
      if (kind < 0.30F) return unit(random) * 6.2831853F;
      return std::fmod(main + 0.6F * unit(random), 6.2831853F);
    });
    fillWith(grad, [&](int32_t, int32_t) {
      const float kind = unit(random);
      if (kind < 0.05F) return kNodata;
      if (kind < 0.10F) return 0.0F;
      if (kind < 0.12F) return 100.0F * unit(random);
      return 0.05F + unit(random);
    });
    fillWith(bcon, [&](int32_t, int32_t) {
      return unit(random) < 0.2F ? 0.0F : unit(random) < 0.05F ? 1e-9F : 2 * unit(random);
    });
  }
};

}  // namespace terrain::test
