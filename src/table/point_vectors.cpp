#include "table/point_vectors.h"

namespace terrain {

namespace {

constexpr std::string_view kPoints = "self%point object array";

}  // namespace

// ---- positions ----

int32_t PointVectorType::PointCol(int64_t irec) const { return valueOf(irec, &PointType::col, -9999); }

int32_t PointVectorType::PointRow(int64_t irec) const { return valueOf(irec, &PointType::row, -9999); }

int PointVectorType::SetPointXY(int64_t irec, double x, double y) {
  Attempt attempt{status};
  if (makeShapes("SetPointXY in DataTableModule", kPoints) != kSuccess) return kFailure;
  return attempt.end(onShape(irec, [&](PointType& at) {
    at.x = x;
    at.y = y;
  }));
}

int PointVectorType::SetPointOffset(int64_t irec, double xOffset, double yOffset) {
  return onShape(irec, [&](PointType& at) {
    at.xOffset = xOffset;
    at.yOffset = yOffset;
  });
}

int PointVectorType::SetPointColRow(int64_t irec, int32_t col, int32_t row) {
  return onShape(irec, [&](PointType& at) {
    at.col = col;
    at.row = row;
  });
}

void PointVectorType::PointXY(int64_t irec, double& x, double& y, bool applyOffset) const {
  x = y = kMissing;
  const PointType* const at = shapeAt(irec);
  if (at == nullptr) return;
  x = applyOffset ? at->x + at->xOffset : at->x;
  y = applyOffset ? at->y + at->yOffset : at->y;
}

// ---- links ----

int PointVectorType::SetLinkValue(int64_t irec, int64_t value) {
  Attempt attempt{status};
  const bool first = point.empty();
  if (makeShapes("SetLinkValue in DataTableModule", kPoints) != kSuccess) return kFailure;
  if (first)
    for (PointType& each : point) each.linkValue = 0;
  return attempt.end(onShape(irec, [&](PointType& at) { at.linkValue = value; }));
}

int PointVectorType::addLink(int64_t irec, Links links, int64_t linked) {
  return onShape(irec, [&](PointType& at) {
    if (shapeAt(linked) == nullptr || !tryGrow(at.*links, 1)) return kFailure;
    (at.*links).push_back(linked);
    return kSuccess;
  });
}

int PointVectorType::AddLinkA(int64_t irec, int64_t linked) {
  return addLink(irec, &PointType::linksA, linked);
}

int PointVectorType::AddLinkB(int64_t irec, int64_t linked) {
  return addLink(irec, &PointType::linksB, linked);
}

int64_t PointVectorType::linkOf(int64_t irec, Links links, std::optional<int32_t> index) const {
  const PointType* const at = shapeAt(irec);
  const int64_t* const link = at == nullptr ? nullptr : entryAt(at->*links, index.value_or(1));
  return link == nullptr ? -1 : *link;
}

int64_t PointVectorType::LinkA(int64_t irec, std::optional<int32_t> index) const {
  return linkOf(irec, &PointType::linksA, index);
}

int64_t PointVectorType::LinkB(int64_t irec, std::optional<int32_t> index) const {
  return linkOf(irec, &PointType::linksB, index);
}

int32_t PointVectorType::NumLinksA(int64_t irec) const {
  const PointType* const at = shapeAt(irec);
  return at == nullptr ? -1 : static_cast<int32_t>(at->linksA.size());
}

int64_t PointVectorType::LinkValue(int64_t irec) const { return valueOf(irec, &PointType::linkValue, -9999); }

// ---- flags and the table ----

void PointVectorType::SetAllPointFlags(bool value) { setAllFlags(value); }

void PointVectorType::SetPointFlag(int64_t irec, bool value) { setFlag(irec, value); }

bool PointVectorType::PointFlag(int64_t irec) const { return valueOf(irec, &PointType::flag, false); }

void PointVectorType::DestroyTable() { clear(); }

}  // namespace terrain
