#include "table/polygon_vectors.h"

#include <algorithm>
#include <utility>

#include "table/shape_parts.h"

namespace terrain {

namespace {

constexpr std::string_view kSetTag = "setPolyVertices in DataTableModule";

bool hasVertex(const PolygonType& polygon, int32_t index) {
  return index >= 1 && static_cast<std::size_t>(index) <= std::min(polygon.x.size(), polygon.y.size());
}

/// Mean of the values without the last, which repeats the first; summed in float64 from the front.
double meanOf(std::span<const double> values) {
  const std::size_t n = std::max<std::size_t>(values.size() - 1, 1);
  double sum = 0;
  for (const double value : values.first(n)) sum += value;
  return sum / static_cast<double>(n);
}

/// Updates the box after a vertex has moved from (oldX, oldY) to (x, y). All vertices are visited only if it
/// was on a side of the box and moved inward.
void moveBox(PolygonType& polygon, double oldX, double oldY, double x, double y) {
  const auto leaves = [](double from, double to, double low, double high) {
    return (from == low && !(to <= low)) || (from == high && !(to >= high));
  };
  if (leaves(oldX, x, polygon.xmin, polygon.xmax) || leaves(oldY, y, polygon.ymin, polygon.ymax)) {
    polygon.updateBox();
    return;
  }
  polygon.xmin = std::min(polygon.xmin, x);
  polygon.xmax = std::max(polygon.xmax, x);
  polygon.ymin = std::min(polygon.ymin, y);
  polygon.ymax = std::max(polygon.ymax, y);
}

/// Replaces the vertices by arrays of the same size. The new arrays are made first, so the polygon stays
/// whole if memory runs out.
int replaceVertices(PolygonType& polygon, std::span<const double> x, std::span<const double> y,
                    const PolygonArrays& others) {
  static constexpr int32_t kOneRing[] = {0};
  const bool sameCount = polygon.x.size() == x.size() && !polygon.ring.empty();
  const std::span<const int32_t> ring = others.ring ? *others.ring
                                        : sameCount ? std::span<const int32_t>(polygon.ring)
                                                    : kOneRing;
  if (const std::string why = x.empty() ? "" : faultOfStarts(ring, x.size()); !why.empty())
    return fail(kSetTag, why);
  PolygonType next;
  bool held = tryCopy(next.x, x) && tryCopy(next.y, y) &&
              tryCopy(next.ring, x.empty() ? std::span<const int32_t>() : ring);
  if (others.z) held = held && tryCopy(next.z, *others.z);
  if (others.m) held = held && tryCopy(next.m, *others.m);
  if (!held) return cannotAllocate(kSetTag, "x,y arrays");
  polygon.x.swap(next.x);
  polygon.y.swap(next.y);
  polygon.ring.swap(next.ring);
  if (others.z || !sameCount) polygon.z.swap(next.z);
  if (others.m || !sameCount) polygon.m.swap(next.m);
  polygon.dx.clear();  // of the old vertices
  polygon.dy.clear();
  polygon.updateBox();
  return kSuccess;
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

void PolygonType::updateBox() {
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

void PolyVectorType::DestroyPolygons() { clearShapes(); }

void PolyVectorType::PolygonBounds(int64_t irec, double& west, double& east, double& south,
                                   double& north) const {
  const PolygonType* at = shapeAt(irec);
  west = at == nullptr ? kLargestReal8 : at->xmin;
  east = at == nullptr ? 0.0 : at->xmax;
  south = at == nullptr ? kLargestReal8 : at->ymin;
  north = at == nullptr ? 0.0 : at->ymax;
}

int PolyVectorType::PolygonVertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
                                    const PolygonVerticesOptions& options) {
  if (shapeAt(irec) == nullptr) PolygonType().PolyVertices(x, y, options.z);  // empties the outputs
  return onShape(irec, [&](const PolygonType& at) { return at.PolyVertices(x, y, options.z); });
}

int PolyVectorType::Polyz(int64_t irec, std::vector<double>& z) {
  z.clear();
  return onShape(irec, [&](const PolygonType& at) { return at.Polyz(z); });
}

int PolyVectorType::PolyParts(int64_t irec, std::vector<int32_t>& starts) {
  starts.clear();
  return onShape(irec, [&](const PolygonType& at) { return at.PolyParts(starts); });
}

int PolyVectorType::SetPolygonValue(int64_t irec, float value) {
  return onShape(irec, [value](PolygonType& at) { at.value = value; });
}

float PolyVectorType::PolygonValue(int64_t irec) const {
  return valueOf(irec, &PolygonType::value, -9999.0F);
}

// ---- reference points ----

int PolyVectorType::SetReferencePoint(int64_t irec, const ReferencePointOptions& options) {
  constexpr std::string_view tag = "SetReferencePoint in DataTableModule";
  return onShape(irec, [&](PolygonType& at) {
    if (options.x.has_value() != options.y.has_value()) return fail(tag, "Must specify both x and y");
    if (!options.x && (at.x.empty() || at.y.size() != at.x.size())) return kFailure;
    at.reference = ReferencePointType{.x = options.x ? *options.x : meanOf(at.x),
                                      .y = options.y ? *options.y : meanOf(at.y)};
    if (!options.relative) return kSuccess;
    if (!tryCopy<double>(at.dx, at.x) || !tryCopy<double>(at.dy, at.y))
      return cannotAllocate(tag, "dx,dy arrays");
    for (double& dx : at.dx) dx -= at.reference->x;
    for (double& dy : at.dy) dy -= at.reference->y;
    return kSuccess;
  });
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
  if (makeShapes(kSetTag, "polygon") != kSuccess) return kFailure;
  return attempt.end(onShape(irec, [&](PolygonType& at) { return replaceVertices(at, x, y, others); }));
}

int PolyVectorType::SetPolygonZ(int64_t irec, std::span<const double> z) {
  constexpr std::string_view tag = "SetPolygonZ in DataTableModule";
  return onShape(irec, [&](PolygonType& at) {
    if (z.size() != at.x.size()) return fail(tag, "z array and vertices of unequal size");
    return tryCopy(at.z, z) ? kSuccess : cannotAllocate(tag, "z array");
  });
}

int PolyVectorType::SetPolyVertex(int64_t irec, int32_t index, double x, double y) {
  return onShape(irec, [&](PolygonType& at) {
    if (!hasVertex(at, index)) return kFailure;
    const auto i = static_cast<std::size_t>(index) - 1;
    const double oldX = std::exchange(at.x[i], x);
    const double oldY = std::exchange(at.y[i], y);
    if (at.reference && i < at.dx.size() && i < at.dy.size()) {
      at.dx[i] = x - at.reference->x;
      at.dy[i] = y - at.reference->y;
    }
    moveBox(at, oldX, oldY, x, y);
    return kSuccess;
  });
}

int PolyVectorType::SetPolyVertexZ(int64_t irec, int32_t index, double z) {
  return onShape(irec, [&](PolygonType& at) {
    if (!hasVertex(at, index)) return kFailure;
    if (at.z.size() != at.x.size()) {
      if (!tryAllocate(at.z, at.x.size()))
        return cannotAllocate("SetPolyVertexZ in DataTableModule", "z array");
      std::fill(at.z.begin(), at.z.end(), kMissing);
    }
    *entryAt(at.z, index) = z;
    return kSuccess;
  });
}

}  // namespace terrain
