#include "table/line_vectors.h"

#include <algorithm>
#include <cmath>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kSetXYTag = "setSegmentXY in DataTableModule";
constexpr std::string_view kColRowTag = "setColRow in DataTableModule";
constexpr std::string_view kSetZTag = "setVertexZ in DataTableModule";
constexpr std::string_view kVerticesTag = "Vertices in DataTableModule";

/// The list with `count` entries, new ones -9999; as it was without memory.
template <class T>
bool growTo(std::vector<T>& list, std::size_t count) {
  if (count <= list.size()) return true;
  if (!memoryFor(count * sizeof(T))) return false;
  try {
    list.resize(count, T(-9999));
  } catch (const std::exception&) {
    return false;
  }
  return true;
}

/// Entry `index`, from 1, of an array; null if there is none.
template <class Array>
auto* entryOf(Array& array, int64_t index) {
  return index >= 1 && index <= static_cast<int64_t>(array.size())
             ? &array[static_cast<std::size_t>(index) - 1]
             : nullptr;
}

int setLink(std::vector<int64_t>& list, int64_t value, int32_t index) {
  if (index < 1 || !growTo(list, static_cast<std::size_t>(index))) return kFailure;
  list[static_cast<std::size_t>(index) - 1] = value;
  return kSuccess;
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
    for (double& x : each.x) x *= kMetersPerFootR4;
    for (double& y : each.y) y *= kMetersPerFootR4;
    // The flag set below makes a writer turn z back into feet, so z goes along.
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
  SegmentType* at = segmentAt(irec);
  if (at == nullptr) return fail(tag, "Segment number outside range");
  at->col.clear();
  at->row.clear();
  if (n < 0 || !growTo(at->col, static_cast<std::size_t>(n))) return cannotAllocate(tag, "segment(iseg)%col");
  if (!growTo(at->row, static_cast<std::size_t>(n))) return cannotAllocate(tag, "segment(iseg)%row");
  return attempt.succeed();
}

int LineVectorType::setSegmentXY(int64_t irec, std::span<const double> x, std::span<const double> y,
                                 std::optional<std::span<const double>> xAlt,
                                 std::optional<std::span<const double>> yAlt) {
  Attempt attempt{status};
  if (segment.empty()) return fail(kSetXYTag, "Segments not allocated");
  SegmentType* at = segmentAt(irec);
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

int LineVectorType::SetSegmentLinkA(int64_t irec, int64_t value, int32_t index) {
  Attempt attempt{status};
  SegmentType* at = segmentAt(irec);
  return at != nullptr && setLink(at->linksA, value, index) == kSuccess ? attempt.succeed() : kFailure;
}

int LineVectorType::SetSegmentLinkB(int64_t irec, int64_t value, int32_t index) {
  Attempt attempt{status};
  SegmentType* at = segmentAt(irec);
  return at != nullptr && setLink(at->linksB, value, index) == kSuccess ? attempt.succeed() : kFailure;
}

int LineVectorType::setColRow(int64_t irec, int32_t index, int32_t col, int32_t row) {
  Attempt attempt{status};
  if (segment.empty()) return fail(kColRowTag, "segment has not been allocated");
  SegmentType* at = segmentAt(irec);
  if (at == nullptr) return fail(kColRowTag, "iseg out of range");
  if (at->col.empty()) {
    if (at->x.empty()) return fail(kColRowTag, "col and row arrays have not been allocated");
    if (!growTo(at->col, at->x.size())) return cannotAllocate(kColRowTag, "segment(iseg)%col");
  }
  if (!growTo(at->row, at->col.size())) return cannotAllocate(kColRowTag, "segment(iseg)%row");
  int32_t* place = entryOf(at->col, index);
  if (place == nullptr) return fail(kColRowTag, "array index out of range");
  *place = col;
  *entryOf(at->row, index) = row;
  return attempt.succeed();
}

int LineVectorType::SetVertexXY(int64_t irec, int32_t index, double x, double y) {
  Attempt attempt{status};
  SegmentType* at = segmentAt(irec);
  if (at == nullptr || entryOf(at->x, index) == nullptr || entryOf(at->y, index) == nullptr) return kFailure;
  *entryOf(at->x, index) = x;
  *entryOf(at->y, index) = y;
  return attempt.succeed();
}

int LineVectorType::setVertexZ(int64_t irec, int32_t index, float z) {
  Attempt attempt{status};
  SegmentType* at = segmentAt(irec);
  if (at == nullptr) return kFailure;
  if (at->x.empty()) return fail(kSetZTag, "z array not allocated");
  if (entryOf(at->x, index) == nullptr) return kFailure;
  if (!growTo(at->z, at->x.size())) return cannotAllocate(kSetZTag, "z array");
  *entryOf(at->z, index) = static_cast<double>(z);
  return attempt.succeed();
}

int LineVectorType::SetVerticesAlt(int64_t irec, std::span<const double> xAlt, std::span<const double> yAlt) {
  constexpr std::string_view tag = "SetVerticesAlt in DataTableModule";
  Attempt attempt{status};
  SegmentType* at = segmentAt(irec);
  if (at == nullptr) return kFailure;
  if (xAlt.size() != at->x.size() || yAlt.size() != at->x.size())
    return fail(tag, "x and y arrays of unequal size");
  if (!tryCopy(at->xAlt, xAlt) || !tryCopy(at->yAlt, yAlt)) return cannotAllocate(tag, "x,y arrays");
  return attempt.succeed();
}

// ---- what a segment holds ----

double LineVectorType::SegmentLength(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr ? kMissing : lengthOf(*at, false);
}

double LineVectorType::SegmentLength3D(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr ? kMissing : lengthOf(*at, true);
}

int32_t LineVectorType::NumVertices(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr || at->x.empty() ? -9999 : static_cast<int32_t>(at->x.size());
}

int32_t LineVectorType::VertexCount(int64_t irec) const {
  const int32_t count = NumVertices(irec);
  return count == -9999 ? -1 : count;
}

int32_t LineVectorType::NumParts(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr ? -9999 : at->NumParts();
}

int32_t LineVectorType::PartStart(int64_t irec, int32_t part) const {
  const SegmentType* at = segmentAt(irec);
  const int32_t* start = at == nullptr ? nullptr : entryOf(at->parts, part);
  return start == nullptr ? -9999 : *start;
}

int LineVectorType::Vertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
                             const VerticesOptions& options) {
  Attempt attempt{status};
  static const SegmentType none{};
  const SegmentType* at = segmentAt(irec);
  const int result = (at == nullptr ? none : *at).Vertices(x, y, options);
  return at != nullptr && result == kSuccess ? attempt.succeed() : kFailure;
}

int LineVectorType::ColsRows(int64_t irec, std::vector<int32_t>& cols, std::vector<int32_t>& rows) {
  Attempt attempt{status};
  cols.clear();
  rows.clear();
  const SegmentType* at = segmentAt(irec);
  return at != nullptr && at->ColsRows(cols, rows) == kSuccess ? attempt.succeed() : kFailure;
}

int64_t LineVectorType::FirstLinkA(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr || at->linksA.empty() ? -9999 : at->linksA.front();
}

int64_t LineVectorType::FirstLinkB(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at == nullptr || at->linksB.empty() ? -9999 : at->linksB.front();
}

int LineVectorType::LastVertex(int64_t irec, double& x, double& y) {
  Attempt attempt{status};
  x = y = kMissing;
  const SegmentType* at = segmentAt(irec);
  if (at == nullptr || at->x.empty() || at->y.empty()) return kFailure;
  x = at->x.back();
  y = at->y.back();
  return attempt.succeed();
}

SegmentEndCells LineVectorType::SegmentEnds(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  if (at == nullptr || at->col.empty() || at->row.empty()) return {};
  return {at->col.back(), at->row.back(), at->col.front(), at->row.front()};
}

void LineVectorType::VertexInfo(int64_t irec, int32_t index, const VertexInfoOut& out) const {
  const SegmentType* at = segmentAt(irec);
  if (at == nullptr) return;
  const auto give = [index](auto* to, const auto& from) {
    if (to != nullptr && entryOf(from, index) != nullptr)
      *to = static_cast<std::remove_pointer_t<decltype(to)>>(*entryOf(from, index));
  };
  give(out.col, at->col);
  give(out.row, at->row);
  give(out.x, at->x);
  give(out.y, at->y);
  give(out.xAlt, at->xAlt);
  give(out.yAlt, at->yAlt);
  give(out.z, at->z);
}

// ---- flags, fields, the table ----

void LineVectorType::SetSegmentFlag(std::optional<int64_t> irec, bool value) {
  Attempt attempt{status};
  if (!irec) {
    for (SegmentType& each : segment) each.flag = value;
  } else {
    SegmentType* at = segmentAt(*irec);
    if (at == nullptr) return;
    at->flag = value;
  }
  attempt.succeed();
}

bool LineVectorType::SegmentFlag(int64_t irec) const {
  const SegmentType* at = segmentAt(irec);
  return at != nullptr && at->flag;
}

void LineVectorType::CopyFieldNames(DataTableType& other) const {
  for (int32_t number = 1; number <= std::min(nfields, other.nfields); ++number) {
    other.fieldAt(number)->name = fieldAt(number)->name;
    other.fieldAt(number)->outName = fieldAt(number)->outName;
  }
}

int LineVectorType::CopyRecord(int64_t irec, DataTableType& other, int64_t otherRecord) {
  Attempt attempt{status};
  bool copied = true;
  // A value goes over only if it was read, so that a failure leaves the other table's value alone.
  const auto copy = [&](int32_t number, auto value, auto read, auto write) {
    copied = (this->*read)(number, irec, value) == kSuccess &&
             (other.*write)(number, otherRecord, value) == kSuccess && copied;
  };
  for (int32_t number = 1; number <= nfields; ++number) {
    using Table = DataTableType;
    switch (kindOf(fieldAt(number)->dataType.padded())) {
      case FieldKind::I4:
        copy(number, int32_t{}, &Table::ReadI4Value, &Table::WriteI4Value);
        break;
      case FieldKind::I8:
        copy(number, int64_t{}, &Table::ReadI8Value, &Table::WriteI8Value);
        break;
      case FieldKind::R4:
        copy(number, float{}, &Table::ReadR4Value, &Table::WriteR4Value);
        break;
      case FieldKind::R8:
        copy(number, double{}, &Table::ReadR8Value, &Table::WriteR8Value);
        break;
      case FieldKind::text:
        copy(number, std::string{}, &Table::ReadCharValue, &Table::WriteCharValue);
        break;
      case FieldKind::unknown:
        break;
    }
  }
  return copied ? attempt.succeed() : kFailure;
}

void LineVectorType::DestroySegments() {
  std::vector<SegmentType>().swap(segment);
  clear();
}

}  // namespace terrain
