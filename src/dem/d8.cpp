// D8 codes from aspects: the one of eight directions that an aspect is nearest to.

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "dem/dem.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "grid/directions.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "CalcD8 in DEM_Module";

int fault(std::string_view why) { return reportError({.routine = kTag, .message1 = why}); }

/// Codes of a row of aspects; cells without an aspect keep what `codes` holds. The column of an aspect
/// beyond the table, such as one in degrees, or 0.
int32_t codesOfRow(std::span<const float> aspects, std::span<int32_t> codes) {
  for (std::size_t i = 0; i < aspects.size(); ++i) {
    const float aspect = std::isnan(aspects[i]) ? -1.0F : aspects[i];
    if (!(aspect >= 0.0F)) continue;
    const int32_t code = codeOfAspect(aspect);
    if (code == 0) return static_cast<int32_t>(i + 1);
    codes[i] = code;
  }
  return 0;
}

/// The rows of the two grids through the row path or cell by cell.
class Rows {
 public:
  Rows(R4Grid_type& aspect, I4Grid_type& codes, D8Access access)
      : aspect_(aspect), codes_(codes), access_(access) {}

  int prepare() const {
    if (access_ == D8Access::cells) return kSuccess;
    if (aspect_.SetRowAccess() != kSuccess) return fault("aspect%setRowAccess failed");
    if (codes_.SetRowAccess() != kSuccess) return fault("D8grid%setRowAccess failed");
    return kSuccess;
  }
  int read(int32_t row, std::span<float> out) const {
    if (access_ == D8Access::cells) {
      for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = aspect_.ExtractR4ValueColRow(static_cast<int32_t>(i + 1), row);
      return kSuccess;
    }
    if (aspect_.readRow(row, out) == kIoOk) return kSuccess;
    return reportScratchRead(kTag, aspect_);
  }
  int write(int32_t row, std::span<const int32_t> in) const {
    if (access_ == D8Access::rows) return codes_.SetI4row(row, in);
    for (std::size_t i = 0; i < in.size(); ++i)
      if (codes_.SetI4Cell(static_cast<int32_t>(i + 1), row, in[i]) != kSuccess) return kFailure;
    return kSuccess;
  }

 private:
  R4Grid_type& aspect_;
  I4Grid_type& codes_;
  D8Access access_;
};

int fillCodes(R4Grid_type& aspect, I4Grid_type& codes, D8Access access) {
  const Rows rows(aspect, codes, access);
  if (rows.prepare() != kSuccess) return kFailure;
  std::vector<float> aspects;
  std::vector<int32_t> row;
  if (!tryAllocate(aspects, static_cast<std::size_t>(aspect.cols())) || !tryAllocate(row, aspects.size()))
    return cannotAllocate(kTag, "row arrays");
  const int32_t none = codes.GetNodataI4();
  for (int32_t r = 1; r <= aspect.rows(); ++r) {
    if (rows.read(r, aspects) != kSuccess) return kFailure;
    std::ranges::fill(row, none);
    if (const int32_t col = codesOfRow(aspects, row); col != 0)
      return reportError({.routine = kTag,
                          .message1 = "An aspect beyond a full circle; aspects are radians: " +
                                      freeText(aspects[static_cast<std::size_t>(col - 1)]),
                          .message2 = "  Column " + freeText(col) + ", row " + freeText(r)});
    if (rows.write(r, row) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

int DEM_type::CalcD8(D8Access access) {
  Attempt attempt{status};
  if (GetAspect() != kSuccess) return fault("GetAspect failed");
  if (CreateGrid(D8, {.like = &aspect}) != kSuccess) return fault("CreateGrid failed for D8");
  if (fillCodes(aspect, D8, access) != kSuccess) {
    terrain::DestroyGrid(D8);
    D8.status = kFailure;
    return kFailure;
  }
  D8.status = kSuccess;
  return attempt.succeed();
}

int DEM_type::GetD8() {
  Attempt attempt{status};
  if (!D8.GridExists() && CalcD8() != kSuccess)
    return reportError({.routine = "GetD8 in DEM_Module", .message1 = "CalcD8 failed"});
  return attempt.succeed();
}

}  // namespace terrain
