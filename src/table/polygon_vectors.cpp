#include "table/polygon_vectors.h"

#include <algorithm>
#include <utility>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/shape_parts.h"

namespace terrain {

namespace {

constexpr std::string_view kSetTag = "setPolyVertices in DataTableModule";

bool hasVertex(const PolygonType& polygon, int32_t index) {
  return index >= 1 && static_cast<std::size_t>(index) <= std::min(polygon.x.size(), polygon.y.size());
}

/// Mean of the values but the last, which repeats the first; summed in float64 from the front.
double meanOf(std::span<const double> values) {
  const std::size_t n = std::max<std::size_t>(values.size() - 1, 1);
  double sum = 0;
  for (const double value : values.first(n)) sum += value;
  return sum / static_cast<double>(n);
}

}  // namespace

// ---- one polygon ----

int PolygonType::PolyVertices(std::vector<double>& outX, std::vector<double>& outY,
                              std::vector<double>* outZ) const {
  const bool held =
      tryCopy<double>(outX, x) && tryCopy<double>(outY, y) && (outZ == nullptr || tryCopy<double>(*outZ, z));
  return held ? kSuccess : cannotAllocate("PolyVertices in DataTableModule", "x,y arrays");
}

int PolygonType::Polyz(std::vector<double>& outZ) const {
  return tryCopy<double>(outZ, z) ? kSuccess : cannotAllocate("Polyz in DataTableModule", "z array");
}

int PolygonType::PolyParts(std::vector<int32_t>& starts) const {
  if (!tryCopy<int32_t>(starts, ring)) return cannotAllocate("PolyParts in DataTableModule", "ring");
  for (int32_t& start : starts) start = static_cast<int32_t>(int64_t{start} + 1);
  return kSuccess;
}

void PolygonType::settleBox() {
  xmin = xmax = ymin = ymax = kMissing;
  if (x.empty() || y.empty()) return;
  Range across;
  Range along;
  across.add(x);
  along.add(y);
  xmin = across.low;
  xmax = across.high;
  ymin = along.low;
  ymax = along.high;
}

// ---- what a polygon holds ----

void PolyVectorType::DestroyPolygons() { std::vector<PolygonType>().swap(polygon); }

void PolyVectorType::PolygonBounds(int64_t irec, double& west, double& east, double& south,
                                   double& north) const {
  const PolygonType* at = polygonAt(irec);
  west = at == nullptr ? kLargestReal8 : at->xmin;
  east = at == nullptr ? 0.0 : at->xmax;
  south = at == nullptr ? kLargestReal8 : at->ymin;
  north = at == nullptr ? 0.0 : at->ymax;
}

int PolyVectorType::PolygonVertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
                                    const PolygonVerticesOptions& options) {
  Attempt attempt{status};
  static const PolygonType none{};
  const PolygonType* at = polygonAt(irec);
  const int result = (at == nullptr ? none : *at).PolyVertices(x, y, options.z);
  return at != nullptr && result == kSuccess ? attempt.succeed() : kFailure;
}

int PolyVectorType::Polyz(int64_t irec, std::vector<double>& z) {
  Attempt attempt{status};
  z.clear();
  const PolygonType* at = polygonAt(irec);
  return at != nullptr && at->Polyz(z) == kSuccess ? attempt.succeed() : kFailure;
}

int PolyVectorType::PolyParts(int64_t irec, std::vector<int32_t>& starts) {
  Attempt attempt{status};
  starts.clear();
  const PolygonType* at = polygonAt(irec);
  return at != nullptr && at->PolyParts(starts) == kSuccess ? attempt.succeed() : kFailure;
}

int PolyVectorType::SetPolygonValue(int64_t irec, float value) {
  Attempt attempt{status};
  PolygonType* at = polygonAt(irec);
  if (at == nullptr) return kFailure;
  at->value = value;
  return attempt.succeed();
}

float PolyVectorType::PolygonValue(int64_t irec) const {
  const PolygonType* at = polygonAt(irec);
  return at == nullptr ? -9999.0F : at->value;
}

// ---- reference points ----

int PolyVectorType::SetReferencePoint(int64_t irec, const ReferencePointOptions& options) {
  constexpr std::string_view tag = "SetReferencePoint in DataTableModule";
  Attempt attempt{status};
  PolygonType* at = polygonAt(irec);
  if (at == nullptr) return kFailure;
  if (options.x.has_value() != options.y.has_value()) return fail(tag, "Must specify both x and y");
  if (!options.x && (at->x.empty() || at->y.size() != at->x.size())) return kFailure;
  at->reference = ReferencePointType{.x = options.x ? *options.x : meanOf(at->x),
                                     .y = options.y ? *options.y : meanOf(at->y)};
  if (options.relative) {
    if (!tryCopy<double>(at->dx, at->x) || !tryCopy<double>(at->dy, at->y))
      return cannotAllocate(tag, "dx,dy arrays");
    for (double& dx : at->dx) dx -= at->reference->x;
    for (double& dy : at->dy) dy -= at->reference->y;
  }
  return attempt.succeed();
}

int PolyVectorType::SetAllReferencePoints(bool relative) {
  Attempt attempt{status};
  for (std::size_t i = 0; i < polygon.size(); ++i)
    if (!polygon[i].x.empty() &&
        SetReferencePoint(static_cast<int64_t>(i) + 1, {.relative = relative}) != kSuccess)
      return kFailure;
  return attempt.succeed();
}

// ---- replacing vertices ----

int PolyVectorType::setPolyVertices(int64_t irec, std::span<const double> x, std::span<const double> y,
                                    const PolygonArrays& others) {
  Attempt attempt{status};
  const auto fits = [&x](const std::optional<std::span<const double>>& other) {
    return !other || other->empty() || other->size() == x.size();
  };
  if (x.size() != y.size() || !fits(others.z) || !fits(others.m))
    return fail(kSetTag, "x and y arrays of unequal size");
  if (polygon.empty() && numRecords > 0 && !tryAllocate(polygon, static_cast<std::size_t>(numRecords)))
    return cannotAllocate(kSetTag, "polygon");
  PolygonType* at = polygonAt(irec);
  if (at == nullptr) return kFailure;

  // Built aside, so that the polygon stays whole if memory runs out.
  PolygonType next;
  static constexpr int32_t kOneRing[] = {0};
  const bool sameCount = at->x.size() == x.size() && !at->ring.empty();
  const std::span<const int32_t> ring = others.ring ? *others.ring
                                        : sameCount ? std::span<const int32_t>(at->ring)
                                                    : kOneRing;
  if (const std::string why = x.empty() ? "" : faultOfStarts(ring, x.size()); !why.empty())
    return fail(kSetTag, why);
  bool held = tryCopy(next.x, x) && tryCopy(next.y, y) &&
              tryCopy(next.ring, x.empty() ? std::span<const int32_t>() : ring);
  if (others.z) held = held && tryCopy(next.z, *others.z);
  if (others.m) held = held && tryCopy(next.m, *others.m);
  if (!held) return cannotAllocate(kSetTag, "x,y arrays");
  if (!others.z && sameCount) next.z.swap(at->z);
  if (!others.m && sameCount) next.m.swap(at->m);
  at->x.swap(next.x);
  at->y.swap(next.y);
  at->ring.swap(next.ring);
  at->z.swap(next.z);
  at->m.swap(next.m);
  at->dx.clear();  // of the old vertices
  at->dy.clear();
  at->settleBox();
  return attempt.succeed();
}

int PolyVectorType::SetPolygonZ(int64_t irec, std::span<const double> z) {
  constexpr std::string_view tag = "SetPolygonZ in DataTableModule";
  Attempt attempt{status};
  PolygonType* at = polygonAt(irec);
  if (at == nullptr) return kFailure;
  if (z.size() != at->x.size()) return fail(tag, "z array and vertices of unequal size");
  if (!tryCopy(at->z, z)) return cannotAllocate(tag, "z array");
  return attempt.succeed();
}

int PolyVectorType::SetPolyVertex(int64_t irec, int32_t index, double x, double y) {
  Attempt attempt{status};
  PolygonType* at = polygonAt(irec);
  if (at == nullptr || !hasVertex(*at, index)) return kFailure;
  const auto i = static_cast<std::size_t>(index) - 1;
  const double oldX = std::exchange(at->x[i], x);
  const double oldY = std::exchange(at->y[i], y);
  if (at->reference && i < at->dx.size() && i < at->dy.size()) {
    at->dx[i] = x - at->reference->x;
    at->dy[i] = y - at->reference->y;
  }
  // The whole list is looked at only if the vertex held a side of the box and left it for the inside.
  const auto leaves = [](double from, double to, double low, double high) {
    return (from == low && !(to <= low)) || (from == high && !(to >= high));
  };
  if (leaves(oldX, x, at->xmin, at->xmax) || leaves(oldY, y, at->ymin, at->ymax)) {
    at->settleBox();
  } else {
    at->xmin = std::min(at->xmin, x);
    at->xmax = std::max(at->xmax, x);
    at->ymin = std::min(at->ymin, y);
    at->ymax = std::max(at->ymax, y);
  }
  return attempt.succeed();
}

int PolyVectorType::SetPolyVertexZ(int64_t irec, int32_t index, double z) {
  Attempt attempt{status};
  PolygonType* at = polygonAt(irec);
  if (at == nullptr || !hasVertex(*at, index)) return kFailure;
  if (at->z.size() != at->x.size()) {
    if (!tryAllocate(at->z, at->x.size()))
      return cannotAllocate("SetPolyVertexZ in DataTableModule", "z array");
    for (double& each : at->z) each = kMissing;
  }
  at->z[static_cast<std::size_t>(index) - 1] = z;
  return attempt.succeed();
}

}  // namespace terrain
