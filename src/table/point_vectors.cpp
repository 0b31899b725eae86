#include "table/point_vectors.h"

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

int append(std::vector<int64_t>& list, int64_t value) {
  try {
    list.push_back(value);
  } catch (const std::exception&) {  // bad_alloc, length_error
    return kFailure;
  }
  return kSuccess;
}

int64_t entryOf(const std::vector<int64_t>& list, std::optional<int32_t> index) {
  const int64_t at = index.value_or(1);
  return at >= 1 && at <= static_cast<int64_t>(list.size()) ? list[static_cast<std::size_t>(at) - 1] : -1;
}

}  // namespace

int PointVectorType::makePoints(int64_t linkValue, std::string_view routine) {
  if (!point.empty() || numRecords < 1) return kSuccess;
  if (!tryAllocate(point, static_cast<std::size_t>(numRecords)))
    return cannotAllocate(routine, "self%point object array");
  for (PointType& each : point) each.linkValue = linkValue;
  return kSuccess;
}

// ---- places ----

int32_t PointVectorType::PointCol(int64_t irec) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -9999 : at->col;
}

int32_t PointVectorType::PointRow(int64_t irec) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -9999 : at->row;
}

int PointVectorType::SetPointXY(int64_t irec, double x, double y) {
  Attempt attempt{status};
  if (makePoints(PointType{}.linkValue, "SetPointXY in DataTableModule") != kSuccess) return kFailure;
  PointType* at = pointAt(irec);
  if (at == nullptr) return kFailure;
  at->x = x;
  at->y = y;
  return attempt.succeed();
}

int PointVectorType::SetPointOffset(int64_t irec, double xOffset, double yOffset) {
  Attempt attempt{status};
  PointType* at = pointAt(irec);
  if (at == nullptr) return kFailure;
  at->xOffset = xOffset;
  at->yOffset = yOffset;
  return attempt.succeed();
}

int PointVectorType::SetPointColRow(int64_t irec, int32_t col, int32_t row) {
  Attempt attempt{status};
  PointType* at = pointAt(irec);
  if (at == nullptr) return kFailure;
  at->col = col;
  at->row = row;
  return attempt.succeed();
}

void PointVectorType::PointXY(int64_t irec, double& x, double& y, bool applyOffset) const {
  x = y = kMissing;
  const PointType* at = pointAt(irec);
  if (at == nullptr) return;
  x = applyOffset ? at->x + at->xOffset : at->x;
  y = applyOffset ? at->y + at->yOffset : at->y;
}

// ---- links ----

int PointVectorType::SetLinkValue(int64_t irec, int64_t value) {
  Attempt attempt{status};
  if (makePoints(0, "SetLinkValue in DataTableModule") != kSuccess) return kFailure;
  PointType* at = pointAt(irec);
  if (at == nullptr) return kFailure;
  at->linkValue = value;
  return attempt.succeed();
}

int PointVectorType::AddLinkA(int64_t irec, int64_t linked) {
  Attempt attempt{status};
  PointType* at = pointAt(irec);
  if (at == nullptr || pointAt(linked) == nullptr || append(at->linksA, linked) != kSuccess) return kFailure;
  return attempt.succeed();
}

int PointVectorType::AddLinkB(int64_t irec, int64_t linked) {
  Attempt attempt{status};
  PointType* at = pointAt(irec);
  if (at == nullptr || pointAt(linked) == nullptr || append(at->linksB, linked) != kSuccess) return kFailure;
  return attempt.succeed();
}

int64_t PointVectorType::LinkA(int64_t irec, std::optional<int32_t> index) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -1 : entryOf(at->linksA, index);
}

int64_t PointVectorType::LinkB(int64_t irec, std::optional<int32_t> index) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -1 : entryOf(at->linksB, index);
}

int32_t PointVectorType::NumLinksA(int64_t irec) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -1 : static_cast<int32_t>(at->linksA.size());
}

int64_t PointVectorType::LinkValue(int64_t irec) const {
  const PointType* at = pointAt(irec);
  return at == nullptr ? -9999 : at->linkValue;
}

// ---- flags and the table ----

void PointVectorType::SetAllPointFlags(bool value) {
  Attempt attempt{status};
  for (PointType& each : point) each.flag = value;
  attempt.succeed();
}

void PointVectorType::SetPointFlag(int64_t irec, bool value) {
  Attempt attempt{status};
  PointType* at = pointAt(irec);
  if (at == nullptr) return;
  at->flag = value;
  attempt.succeed();
}

bool PointVectorType::PointFlag(int64_t irec) const {
  const PointType* at = pointAt(irec);
  return at != nullptr && at->flag;
}

void PointVectorType::DestroyTable() {
  std::vector<PointType>().swap(point);
  clear();
}

}  // namespace terrain
