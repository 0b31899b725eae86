// Growing and thinning of marked areas by the marks around each cell.

#include <algorithm>
#include <array>

#include "grid/circle_fold.h"
#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/row_window.h"

namespace terrain {

namespace {

/// Which cells of a 3 by 3 block are above 0, rows from the north; the cell itself is number 4.
using Block = std::array<bool, 9>;

/// cell = change(cell, block) for the cells within the outer rows and columns; the blocks are those of
/// before the operation. Cells without data in the mask stay as they are.
template <class Change>
int changeByBlocks(I4Grid_type& grid, const R4Grid_type* mask, std::string_view routine, Change change) {
  Attempt attempt{grid.status};
  RowWindow<int32_t> window(grid, 1, 1);
  if (!window.open()) return cannotAllocate(routine, "row");
  auto changed = changing(grid);
  if (changed.open(routine) != kSuccess) return kFailure;
  const auto isMarked = positiveIn(grid);
  const auto masked = [&](int32_t col, int32_t row) {
    if (mask == nullptr) return false;
    const Point at = grid.ColRowToXY(col, row);
    const auto there = mask->cellHolding(at.x + grid.xcellsize / 2, at.y + grid.ycellsize / 2);
    return !there || missingIn(*mask)(mask->ExtractR4ValueColRow(there->col, there->row));
  };
  for (int32_t row = 2; row < grid.rows(); ++row) {
    if (window.moveTo(row) != kIoOk) return reportScratchRead(routine, grid);
    const auto changeRow = [&](std::span<int32_t> cells) {
      for (int32_t col = 2; col < grid.cols(); ++col) {
        Block block{};
        for (int32_t k = 0; k < 9; ++k)
          block[static_cast<std::size_t>(k)] = isMarked(window.row(row + k / 3 - 1)[col + k % 3 - 2]);
        int32_t& cell = cells[static_cast<std::size_t>(col - 1)];
        const int32_t next = change(cell, block);
        if (next != cell && !masked(col, row)) cell = next;
      }
    };
    if (onRow(row, routine, changeRow, changed) != kSuccess) return kFailure;
  }
  return attempt.succeed();
}

int32_t countOf(const Block& block) { return static_cast<int32_t>(std::ranges::count(block, true)); }

/// True if one side of the block, with its corners, is marked throughout.
bool hasFullSide(const Block& b) {
  return (b[0] && b[1] && b[2]) || (b[6] && b[7] && b[8]) || (b[0] && b[3] && b[6]) || (b[2] && b[5] && b[8]);
}

}  // namespace

int I4Grid_type::GrowI4(const GrowArgs& args) {
  return changeByBlocks(*this, args.mask, "GrowI4 in Grid_Module", [&](int32_t cell, const Block& block) {
    return cell == 0 && countOf(block) >= args.minNeighbours ? args.value : cell;
  });
}

int I4Grid_type::ThinI4(const ThinArgs& args) {
  return changeByBlocks(*this, args.mask, "ThinI4 in Grid_Module", [&](int32_t cell, const Block& block) {
    if (!block[4]) return cell;
    const int32_t count = countOf(block);
    return count <= args.maxNeighbours || (count == 4 && hasFullSide(block)) ? 0 : cell;
  });
}

}  // namespace terrain
