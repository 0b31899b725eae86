#pragma once
// What is said of channel heads cell by cell, in a grid of int8 (`InitiationSettings::initMask`).

#include <cstdint>

namespace terrain::initiation_mark {

inline constexpr int8_t none = -1;    ///< no head
inline constexpr int8_t open = 0;     ///< the criteria decide
inline constexpr int8_t allowed = 1;  ///< the slope alone decides
inline constexpr int8_t forced = 3;   ///< a head

/// Of two marks the one that holds: forced over none over allowed.
[[nodiscard]] constexpr int8_t stronger(int8_t a, int8_t b) {
  const auto strength = [](int8_t mark) { return mark < 0 ? 2 : int{mark}; };
  return strength(a) >= strength(b) ? a : b;
}

}  // namespace terrain::initiation_mark
