#include "table/line_vectors.h"

#include <algorithm>
#include <cmath>

#include "table/single_values.h"

namespace terrain {

namespace {

constexpr std::string_view kSetXYTag = "setSegmentXY in DataTableModule";
constexpr std::string_view kColRowTag = "setColRow in DataTableModule";
constexpr std::string_view kSetZTag = "setVertexZ in DataTableModule";
constexpr std::string_view kVerticesTag = "Vertices in DataTableModule";

/// Makes the list at least `count` long; new entries are -9999. False, with the list as it was, if there is
/// no memory.
template <class T>
bool extend(std::vector<T>& list, std::size_t count) {
  if (count <= list.size()) return true;
  if (!tryGrow(list, count - list.size())) return false;
  list.resize(count, T(-9999));
  return true;
}

double lengthOf(const SegmentType& line, bool withZ) {
  double length = 0;
  withZ = withZ && line.z.size() == line.x.size();
  for (std::size_t i = 1; i < line.x.size() && i < line.y.size(); ++i) {
    const double dx = line.x[i] - line.x[i - 1];
    const double dy = line.y[i] - line.y[i - 1];
    const bool known = withZ && line.z[i] != kMissing && line.z[i - 1] != kMissing;
    const double dz = known ? line.z[i] - line.z[i - 1] : 0.0;
    length += std::sqrt(dx * dx + dy * dy + dz * dz);
  }
  return length;
}

}  // namespace

// ---- one segment ----

int SegmentType::Vertices(std::vector<double>& outX, std::vector<double>& outY,
                          const VerticesOptions& options) const {
  const bool alt = options.useAlt && !xAlt.empty();
  bool held = tryCopy<double>(outX, alt ? xAlt : x) && tryCopy<double>(outY, alt ? yAlt : y);
  if (options.xAlt != nullptr) held = held && tryCopy<double>(*options.xAlt, xAlt);
  if (options.yAlt != nullptr) held = held && tryCopy<double>(*options.yAlt, yAlt);
  if (options.z != nullptr) held = held && tryCopy<double>(*options.z, z);
  return held ? kSuccess : cannotAllocate(kVerticesTag, "x,y arrays");
}

int SegmentType::ColsRows(std::vector<int32_t>& cols, std::vector<int32_t>& rows) const {
  const bool held = tryCopy<int32_t>(cols, col) && tryCopy<int32_t>(rows, row);
  return held ? kSuccess : cannotAllocate("ColsRows in DataTableModule", "cols rows arrays");
}

float SegmentType::Length() const { return static_cast<float>(lengthOf(*this, false)); }

// ---- making segments ----

void LineVectorType::ConvertToMeters() {
  if (feetConverted) return;
  for (double* side : {&xmin, &xmax, &ymin, &ymax}) *side *= kMetersPerFootR4;
  for (SegmentType& each : segment) {
    for (auto* values : {&each.x, &each.y, &each.xAlt, &each.yAlt})
      for (double& value : *values) value *= kMetersPerFootR4;
    // With the flag set below, writers convert z back to feet.
    for (double& z : each.z)
      if (z != kMissing) z *= kMetersPerFootR4;
  }
  feetConverted = true;
}

int LineVectorType::initializeSegments(std::optional<int64_t> n) {
  constexpr std::string_view tag = "initializeSegments in DataTableModule";
  Attempt attempt{status};
  if (!segment.empty()) return fail(tag, "Segment already allocated");
  const int64_t count = n.value_or(numRecords);
  if (count < 0 || !tryAllocate(segment, static_cast<std::size_t>(count)))
    return cannotAllocate(tag, "Segment");
  if (nfields == 0) numRecords = count;
  return attempt.succeed();
}

int LineVectorType::initializeSegment(int64_t irec, int32_t n) {
  constexpr std::string_view tag = "initializeSegment in DataTableModule";
  Attempt attempt{status};
  SegmentType* at = shapeAt(irec);
  if (at == nullptr) return fail(tag, "Segment number outside range");
  at->col.clear();
  at->row.clear();
  if (n < 0 || !extend(at->col, static_cast<std::size_t>(n))) return cannotAllocate(tag, "segment(iseg)%col");
  if (!extend(at->row, static_cast<std::size_t>(n))) return cannotAllocate(tag, "segment(iseg)%row");
  return attempt.succeed();
}

int LineVectorType::setSegmentXY(int64_t irec, std::span<const double> x, std::span<const double> y,
                                 std::optional<std::span<const double>> xAlt,
                                 std::optional<std::span<const double>> yAlt) {
  Attempt attempt{status};
  if (segment.empty()) return fail(kSetXYTag, "Segments not allocated");
  SegmentType* at = shapeAt(irec);
  if (at == nullptr) return kFailure;
  if (!at->x.empty()) return fail(kSetXYTag, "Segment x-y already allocated");
  const auto fits = [&x](const std::optional<std::span<const double>>& other) {
    return !other || other->size() == x.size();
  };
  if (xAlt.has_value() != yAlt.has_value()) return fail(kSetXYTag, "xAlt and yAlt go together");
  if (y.size() != x.size() || !fits(xAlt) || !fits(yAlt))
    return fail(kSetXYTag, "x and y arrays of unequal size");
  bool held = tryCopy(at->x, x) && tryCopy(at->y, y);
  if (xAlt) held = held && tryCopy(at->xAlt, *xAlt) && tryCopy(at->yAlt, *yAlt);
  if (!held) {
    for (auto* values : {&at->x, &at->y, &at->xAlt, &at->yAlt}) values->clear();
    return cannotAllocate(kSetXYTag, "segment%x-y arrays");
  }
  return attempt.succeed();
}

int LineVectorType::setLink(int64_t irec, Links links, int64_t value, int32_t index) {
  return onShape(irec, [&](SegmentType& at) {
    if (index < 1 || !extend(at.*links, static_cast<std::size_t>(index))) return kFailure;
    *entryAt(at.*links, index) = value;
    return kSuccess;
  });
}

int LineVectorType::SetSegmentLinkA(int64_t irec, int64_t value, int32_t index) {
  return setLink(irec, &SegmentType::linksA, value, index);
}

int LineVectorType::SetSegmentLinkB(int64_t irec, int64_t value, int32_t index) {
  return setLink(irec, &SegmentType::linksB, value, index);
}

int LineVectorType::setColRow(int64_t irec, int32_t index, int32_t col, int32_t row) {
  Attempt attempt{status};
  if (segment.empty()) return fail(kColRowTag, "segment has not been allocated");
  SegmentType* at = shapeAt(irec);
  if (at == nullptr) return fail(kColRowTag, "iseg out of range");
  if (at->col.empty()) {
    if (at->x.empty()) return fail(kColRowTag, "col and row arrays have not been allocated");
    if (!extend(at->col, at->x.size())) return cannotAllocate(kColRowTag, "segment(iseg)%col");
  }
  if (!extend(at->row, at->col.size())) return cannotAllocate(kColRowTag, "segment(iseg)%row");
  int32_t* place = entryAt(at->col, index);
  if (place == nullptr) return fail(kColRowTag, "array index out of range");
  *place = col;
  *entryAt(at->row, index) = row;
  return attempt.succeed();
}

int LineVectorType::SetVertexXY(int64_t irec, int32_t index, double x, double y) {
  return onShape(irec, [&](SegmentType& at) {
    double* const atX = entryAt(at.x, index);
    double* const atY = entryAt(at.y, index);
    if (atX == nullptr || atY == nullptr) return kFailure;
    *atX = x;
    *atY = y;
    return kSuccess;
  });
}

int LineVectorType::setVertexZ(int64_t irec, int32_t index, float z) {
  return onShape(irec, [&](SegmentType& at) {
    if (at.x.empty()) return fail(kSetZTag, "z array not allocated");
    if (entryAt(at.x, index) == nullptr) return kFailure;
    if (!extend(at.z, at.x.size())) return cannotAllocate(kSetZTag, "z array");
    *entryAt(at.z, index) = static_cast<double>(z);
    return kSuccess;
  });
}

int LineVectorType::SetVerticesAlt(int64_t irec, std::span<const double> xAlt, std::span<const double> yAlt) {
  constexpr std::string_view tag = "SetVerticesAlt in DataTableModule";
  return onShape(irec, [&](SegmentType& at) {
    if (xAlt.size() != at.x.size() || yAlt.size() != at.x.size())
      return fail(tag, "x and y arrays of unequal size");
    return tryCopy(at.xAlt, xAlt) && tryCopy(at.yAlt, yAlt) ? kSuccess : cannotAllocate(tag, "x,y arrays");
  });
}

// ---- what a segment holds ----

double LineVectorType::SegmentLength(int64_t irec) const {
  const SegmentType* at = shapeAt(irec);
  return at == nullptr ? kMissing : lengthOf(*at, false);
}

double LineVectorType::SegmentLength3D(int64_t irec) const {
  const SegmentType* at = shapeAt(irec);
  return at == nullptr ? kMissing : lengthOf(*at, true);
}

int32_t LineVectorType::NumVertices(int64_t irec) const {
  const SegmentType* at = shapeAt(irec);
  return at == nullptr || at->x.empty() ? -9999 : static_cast<int32_t>(at->x.size());
}

int32_t LineVectorType::VertexCount(int64_t irec) const {
  const int32_t count = NumVertices(irec);
  return count == -9999 ? -1 : count;
}

int32_t LineVectorType::NumParts(int64_t irec) const {
  const SegmentType* at = shapeAt(irec);
  return at == nullptr ? -9999 : at->NumParts();
}

int32_t LineVectorType::PartStart(int64_t irec, int32_t part) const {
  const SegmentType* at = shapeAt(irec);
  const int32_t* start = at == nullptr ? nullptr : entryAt(at->parts, part);
  return start == nullptr ? -9999 : *start;
}

int LineVectorType::Vertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
                             const VerticesOptions& options) {
  if (shapeAt(irec) == nullptr) SegmentType().Vertices(x, y, options);  // empties the outputs
  return onShape(irec, [&](const SegmentType& at) { return at.Vertices(x, y, options); });
}

int LineVectorType::ColsRows(int64_t irec, std::vector<int32_t>& cols, std::vector<int32_t>& rows) {
  cols.clear();
  rows.clear();
  return onShape(irec, [&](const SegmentType& at) { return at.ColsRows(cols, rows); });
}

int64_t LineVectorType::firstLink(int64_t irec, Links links) const {
  const SegmentType* const at = shapeAt(irec);
  return at == nullptr || (at->*links).empty() ? -9999 : (at->*links).front();
}

int64_t LineVectorType::FirstLinkA(int64_t irec) const { return firstLink(irec, &SegmentType::linksA); }

int64_t LineVectorType::FirstLinkB(int64_t irec) const { return firstLink(irec, &SegmentType::linksB); }

int LineVectorType::LastVertex(int64_t irec, double& x, double& y) {
  x = y = kMissing;
  return onShape(irec, [&](const SegmentType& at) {
    if (at.x.empty() || at.y.empty()) return kFailure;
    x = at.x.back();
    y = at.y.back();
    return kSuccess;
  });
}

SegmentEndCells LineVectorType::SegmentEnds(int64_t irec) const {
  const SegmentType* at = shapeAt(irec);
  if (at == nullptr || at->col.empty() || at->row.empty()) return {};
  return {at->col.back(), at->row.back(), at->col.front(), at->row.front()};
}

void LineVectorType::VertexInfo(int64_t irec, int32_t index, const VertexInfoOut& out) const {
  const SegmentType* at = shapeAt(irec);
  if (at == nullptr) return;
  const auto copyOut = [index](auto* to, const auto& from) {
    if (to != nullptr && entryAt(from, index) != nullptr)
      *to = static_cast<std::remove_pointer_t<decltype(to)>>(*entryAt(from, index));
  };
  copyOut(out.col, at->col);
  copyOut(out.row, at->row);
  copyOut(out.x, at->x);
  copyOut(out.y, at->y);
  copyOut(out.xAlt, at->xAlt);
  copyOut(out.yAlt, at->yAlt);
  copyOut(out.z, at->z);
}

// ---- flags, fields, the table ----

void LineVectorType::SetSegmentFlag(std::optional<int64_t> irec, bool value) {
  if (irec)
    setFlag(*irec, value);
  else
    setAllFlags(value);
}

bool LineVectorType::SegmentFlag(int64_t irec) const { return valueOf(irec, &SegmentType::flag, false); }

void LineVectorType::CopyFieldNames(DataTableType& other) const {
  for (int32_t number = 1; number <= std::min(nfields, other.nfields); ++number) {
    other.fieldAt(number)->name = fieldAt(number)->name;
    other.fieldAt(number)->outName = fieldAt(number)->outName;
  }
}

int LineVectorType::CopyRecord(int64_t irec, DataTableType& other, int64_t otherRecord) {
  Attempt attempt{status};
  bool copied = true;
  for (int32_t number = 1; number <= nfields; ++number) {
    const auto copy = [&](auto type) {
      // The value is written only if it was read, so a failure leaves the other table's value unchanged.
      SingleValue<typename decltype(type)::type> value{};
      return readValue(*this, number, irec, value) == kSuccess &&
             writeValue(other, number, otherRecord, value) == kSuccess;
    };
    copied = visitType(fieldAt(number)->dataType.padded(), copy, [] { return true; }) && copied;
  }
  return attempt.end(copied ? kSuccess : kFailure);
}

void LineVectorType::DestroySegments() { clear(); }

}  // namespace terrain
