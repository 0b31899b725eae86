#include "grid/neighbours.h"

#include <algorithm>
#include <numbers>

namespace terrain {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kQuarterPi = 0.7853981633974483;

/// Edges of the wedges: direction k has entries k, k+1, k+2 (from 1) as upper edge, centre, lower edge.
constexpr std::array<double, 10> kEdges{7 * kPi / 4, 3 * kPi / 2, 5 * kPi / 4, kPi,      3 * kPi / 4,
                                        kPi / 2,     kPi / 4,     0.0,         -kPi / 4, -kPi / 2};

struct Wedge {
  double share;
  bool inside;
  bool belowCentre;
};

Wedge wedgeOf(float aspect, int32_t k) {
  if (k < 1 || k > kDirections) return {.share = 0.0, .inside = false, .belowCentre = false};
  double a = static_cast<double>(aspect);
  if (k > 6 && a > kPi) a -= 2 * kPi;  // the wedges of 7 and 8 reach below zero
  const auto at = static_cast<std::size_t>(k);
  const double upper = kEdges[at - 1];
  const double centre = kEdges[at];
  const double lower = kEdges[at + 1];
  if (!(upper > a && a > lower)) return {.share = 0.0, .inside = false, .belowCentre = false};
  const bool below = centre > a;
  return {.share = (below ? a - lower : upper - a) / kQuarterPi, .inside = true, .belowCentre = below};
}

}  // namespace

float FlowProportion(float aspect, int32_t k) {
  const Wedge wedge = wedgeOf(aspect, k);
  if (!wedge.inside) return 0.0F;
  const auto r = static_cast<float>(std::clamp(wedge.share, 0.0, 1.0));
  if (r < 0.000001F) return 0.0F;
  if (r > 0.999999F) return 1.0F;
  return r;
}

FlowPair FlowProportionPair(float aspect, int32_t k) {
  const Wedge wedge = wedgeOf(aspect, k);
  if (!wedge.inside) return {};
  double r = wedge.share;
  if (r < 0.000001) r = 0.0;
  if (r > 0.999999) r = 1.0;
  const int32_t partner = k + (wedge.belowCentre ? 5 : 3);
  return {.share = r, .partner = partner > kDirections ? partner - kDirections : partner};
}

}  // namespace terrain
