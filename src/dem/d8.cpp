// D8 codes from aspects: the one of eight directions that an aspect is nearest to.

#include "dem/operations.h"
#include "foundation/free_format.h"
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
