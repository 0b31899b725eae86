// Areas, copies, turned and placed polygons.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/part_ranges.h"
#include "table/polygon_vectors.h"
#include "table/shape_parts.h"

namespace terrain {

namespace {

constexpr std::string_view kCopyAllTag = "CopyPolygons in DataTableModule";
constexpr std::string_view kCopyTag = "CopyPoly in DataTableModule";
constexpr std::string_view kPlaceTag = "PlacePolygon in DataTableModule";
constexpr std::string_view kRemoveTag = "removePolyVertex";

/// Copies what makes the outline; the other members of `to` stay. False if there is no memory.
bool copyOutline(const PolygonType& from, PolygonType& to) {
  to.xmin = from.xmin;
  to.xmax = from.xmax;
  to.ymin = from.ymin;
  to.ymax = from.ymax;
  to.reference = from.reference;
  return tryCopy<int32_t>(to.ring, from.ring) && tryCopy<double>(to.x, from.x) &&
         tryCopy<double>(to.y, from.y) && tryCopy<double>(to.dx, from.dx) && tryCopy<double>(to.dy, from.dy);
}

/// Why the arrays of a polygon do not fit each other; blank if they do.
std::string_view faultOfArrays(const PolygonType& polygon) {
  if (polygon.x.size() != polygon.y.size() || polygon.dx.size() != polygon.dy.size())
    return "x and y arrays of unequal size";
  if (!polygon.x.empty() && !polygon.dx.empty() && polygon.x.size() != polygon.dx.size())
    return "Vertices and relative vertices of unequal number";
  return {};
}

}  // namespace

double PolyVectorType::PolygonArea(int64_t irec) const {
  const PolygonType* const at = shapeAt(irec);
  if (at == nullptr) return kMissing;
  const std::size_t count = std::min(at->x.size(), at->y.size());
  if (count == 0) return 0;
  const std::vector<double>& x = at->x;
  const std::vector<double>& y = at->y;
  const auto sameVertex = [&](std::size_t i, std::size_t j) { return x[i] == x[j] && y[i] == y[j]; };
  const auto without = [&](std::size_t begin, std::size_t end) {
    return end - begin > 1 && sameVertex(begin, end - 1) ? end - 1 : end;
  };
  const std::size_t n = without(0, count);
  double meanX = 0;
  double meanY = 0;
  for (std::size_t i = 0; i < n; ++i) {
    meanX += x[i];
    meanY += y[i];
  }
  meanX /= static_cast<double>(n);
  meanY /= static_cast<double>(n);
  double sum = 0;
  forEachPart(at->ring, 0, count, [&](std::size_t begin, std::size_t end) {
    end = without(begin, end);
    for (std::size_t i = begin; i < end; ++i) {
      const std::size_t next = i + 1 < end ? i + 1 : begin;
      sum += (x[next] - meanX) * (y[i] - meanY) - (x[i] - meanX) * (y[next] - meanY);
    }
    return true;
  });
  return 0.5 * sum;
}

PolyVectorType PolyVectorType::CopyPolygons() const {
  PolyVectorType copy;
  copy.status = kFailure;
  if (copyColumns(copy, kCopyAllTag) != kSuccess) return copy;
  // They are asked for together: each alone could fit where all of them do not.
  std::uint64_t bytes = polygon.size() * sizeof(PolygonType);
  for (const PolygonType& each : polygon) bytes += each.arrayBytes();
  bool held = memoryFor(bytes) && tryAllocate(copy.polygon, polygon.size());
  for (std::size_t i = 0; held && i < polygon.size(); ++i) held = copyOutline(polygon[i], copy.polygon[i]);
  if (!held) {
    copy.clear();
    cannotAllocate(kCopyAllTag, "polygons");
    return copy;
  }
  copy.geometry() = geometry();
  copy.units = units;
  copy.feetConverted = feetConverted;
  copy.prj = prj;
  copy.status = kSuccess;
  return copy;
}

PolygonType PolyVectorType::CopyPoly(int64_t irec, std::optional<double> angle) {
  PolygonType copy;
  onShape(irec, [&](const PolygonType& at) {
    if (!copyOutline(at, copy)) {
      copy = PolygonType();
      return cannotAllocate(kCopyTag, "x,y arrays");
    }
    if (!angle) return kSuccess;
    if (!copy.reference) return fail(kCopyTag, "Cannot rotate without a reference point");
    if (copy.dx.size() != copy.x.size() || copy.dy.size() != copy.x.size())
      return fail(kCopyTag, "Cannot rotate without relative vertices");
    const double cosine = std::cos(*angle);
    const double sine = std::sin(*angle);
    for (std::size_t i = 0; i < copy.dx.size(); ++i) {
      const double dx = copy.dx[i];
      const double dy = copy.dy[i];
      copy.dx[i] = cosine * dx - sine * dy;
      copy.dy[i] = sine * dx + cosine * dy;
    }
    return kSuccess;
  });
  return copy;
}

int PolyVectorType::PlacePolygon(int64_t irec, const PolygonType& source, double x, double y) {
  Attempt attempt{status};
  if (const std::string_view why = faultOfArrays(source); !why.empty()) return fail(kPlaceTag, why);
  PolygonType next;  // `source` may be the record's own
  if (!copyOutline(source, next) || (!next.dx.empty() && !tryResize(next.x, next.dx.size())) ||
      (!next.dy.empty() && !tryResize(next.y, next.dy.size())))
    return cannotAllocate(kPlaceTag, "x,y arrays");
  if (next.ring.empty() && !next.x.empty() && !tryAllocate(next.ring, 1))
    return cannotAllocate(kPlaceTag, "ring");
  if (!next.x.empty())
    if (const std::string why = faultOfStarts(next.ring, next.x.size()); !why.empty())
      return fail(kPlaceTag, why);
  next.reference = ReferencePointType{.x = x, .y = y};
  for (std::size_t i = 0; i < next.dx.size(); ++i) {
    next.x[i] = x + next.dx[i];
    next.y[i] = y + next.dy[i];
  }
  next.updateBox();
  if (makeShapes(kPlaceTag, "polygon") != kSuccess) return kFailure;
  return attempt.end(onShape(irec, [&](PolygonType& at) {
    if (at.x.size() == next.x.size()) {
      next.z.swap(at.z);
      next.m.swap(at.m);
    }
    next.flag = at.flag;
    next.value = at.value;
    at = std::move(next);
  }));
}

int PolyVectorType::removePolyVertex(int64_t irec, int32_t index) {
  return onShape(irec, [&](PolygonType& at) {
    const std::size_t count = std::min(at.x.size(), at.y.size());
    if (index < 1 || std::cmp_greater(index, count)) return kFailure;
    const std::size_t removed = static_cast<std::size_t>(index) - 1;
    std::string_view why;
    forEachPart(at.ring, 0, count, [&](std::size_t begin, std::size_t end) {
      if (removed < begin || removed >= end) return true;
      if (removed == begin || removed + 1 == end)
        why = "Cannot remove polygon endpoint";
      else if (end - begin <= 4)
        why = "Cannot remove a vertex of a triangle";
      return false;
    });
    if (!why.empty()) return fail(kRemoveTag, why);
    for (std::vector<double>* values : {&at.x, &at.y, &at.z, &at.m, &at.dx, &at.dy})
      if (removed < values->size()) values->erase(values->begin() + static_cast<std::ptrdiff_t>(removed));
    for (int32_t& start : at.ring)
      if (std::cmp_greater(start, removed)) --start;
    at.updateBox();
    return kSuccess;
  });
}

}  // namespace terrain
