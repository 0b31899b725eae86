// D8 codes from aspects: the one of eight directions that an aspect is nearest to.

#include <cstdlib>

#include "dem/operations.h"
#include "foundation/free_format.h"
#include "grid/cell_view.h"
#include "grid/directions.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "CalcD8 in DEM_Module";

/// Stores the code of an aspect; a cell without an aspect keeps what it holds. -1, reported, for an aspect
/// beyond a full circle, such as one in degrees.
int storeCode(float aspect, int32_t col, int32_t row, int32_t& code) {
  if (!(aspect >= 0.0F)) return kSuccess;  // NaN too
  const int32_t nearest = codeOfAspect(aspect);
  if (nearest == 0)
    return reportError(
        {.routine = kTag,
         .message1 = "An aspect beyond a full circle; aspects are radians: " + freeText(aspect),
         .message2 = "  Column " + freeText(col) + ", row " + freeText(row)});
  code = nearest;
  return kSuccess;
}

int fillByRows(R4Grid_type& aspect, I4Grid_type& codes) {
  if (aspect.SetRowAccess() != kSuccess) return fail(kTag, "aspect%setRowAccess failed");
  if (codes.SetRowAccess() != kSuccess) return fail(kTag, "D8grid%setRowAccess failed");
  return RowPass{reading(aspect, "row arrays"), changing(codes, "row arrays")}.run(
      kTag, [](int32_t row, std::span<const float> aspects, std::span<int32_t> cells) {
        for (std::size_t i = 0; i < cells.size(); ++i)
          if (storeCode(aspects[i], static_cast<int32_t>(i + 1), row, cells[i]) != kSuccess) return kFailure;
        return kSuccess;
      });
}

int fillByCells(const R4Grid_type& aspect, I4Grid_type& codes) {
  for (int32_t row = 1; row <= aspect.rows(); ++row) {
    for (int32_t col = 1; col <= aspect.cols(); ++col) {
      int32_t code = codes.nodataValue();
      if (storeCode(aspect.ExtractR4ValueColRow(col, row), col, row, code) != kSuccess ||
          codes.SetI4Cell(col, row, code) != kSuccess)
        return kFailure;
    }
  }
  return kSuccess;
}

}  // namespace

int32_t DEM_type::D8FromAspect(int32_t col, int32_t row) const {
  const float angle = aspect.ExtractR4ValueColRow(col, row);
  return angle >= 0.0F ? codeOfAspect(angle) : -1;
}

int32_t DEM_type::FlowDir(ColRow from, ColRow to) {
  constexpr std::string_view tag = "flowDir in DEM_Module";
  const auto apart = [](int32_t a, int32_t b) { return std::abs(std::int64_t{a} - b) > 1; };
  if (apart(from.row, to.row)) return fail(tag, "Row increment > 1");
  if (apart(from.col, to.col)) return fail(tag, "Column increment > 1");
  return codeOfStep(to.col - from.col, to.row - from.row);
}

int DEM_type::trace(I4Grid_type& flows, int32_t col, int32_t row) {
  constexpr std::string_view tag = "SUBROUTINE trace CONTAINED in SUBROUTINE downhill in DEM_Module";
  Attempt attempt{status};
  if (!D8.GridExists()) return fail(tag, "D8 grid must be created prior to calling this routine");
  if (!flows.GridExists() || !SameGridGeometry(D8, flows))
    return fail(tag, "The grid of flows has another extent than the DEM");
  withCells(D8, tag, [&](auto codes) {
    withCells(flows, tag, [&](auto marks) {
      ColRow at{.col = col, .row = row};
      while (D8.contains(at.col, at.row) && marks.get(at.col, at.row) != 1) {
        marks.set(at.col, at.row, 1);
        const int32_t code = codes.get(at.col, at.row);
        if (code < 1 || code > kDirections) return;
        at = stepFrom(at, code);
      }
    });
  });
  return attempt.succeed();
}

int calcD8(DEM_type& dem, D8Access access) {
  if (dem.GetAspect() != kSuccess) return fail(kTag, "GetAspect failed");
  Attempt attempt{dem.status};
  if (CreateGrid(dem.D8, {.like = &dem.aspect}) != kSuccess) return fail(kTag, "CreateGrid failed for D8");
  const int filled =
      access == D8Access::rows ? fillByRows(dem.aspect, dem.D8) : fillByCells(dem.aspect, dem.D8);
  if (filled == kSuccess) {
    dem.D8.status = kSuccess;
    return attempt.succeed();
  }
  DestroyGrid(dem.D8);
  return dem.D8.status = kFailure;
}

int getD8(DEM_type& dem) {
  Attempt attempt{dem.status};
  if (!dem.D8.GridExists() && calcD8(dem, D8Access::rows) != kSuccess)
    return fail("GetD8 in DEM_Module", "CalcD8 failed");
  return attempt.succeed();
}

}  // namespace terrain
