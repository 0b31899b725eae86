// Operations of int32 grids alone: counting marks, and merging a block of labels.

#include "grid/grid.h"
#include "grid/rows.h"

namespace terrain {

std::int64_t I4Grid_type::CountNonZeroI4() {
  constexpr std::string_view routine = "CountNonZeroI4 in Grid_Module";
  Attempt attempt{status};
  if (SetRowAccess() != kSuccess) return fail(routine, "SetRowAccess failed");
  std::int64_t count = 0;
  const auto body = [&count, missing = missingIn(*this)](int32_t, std::span<const int32_t> row) {
    for (const int32_t cell : row) count += cell != 0 && !missing(cell) ? 1 : 0;
  };
  const I4Grid_type& grid = *this;
  return attempt.end(RowPass(reading(grid)).run(routine, body)) == kSuccess ? count : kFailure;
}

int I4Grid_type::MergeWindowI4(const Window& window, std::span<const int32_t> array) {
  constexpr std::string_view routine = "MergeWindowI4 in Grid_Module";
  Attempt attempt{status};
  if (array.size() < window.cells()) return fail(routine, "Input array does not match window");
  if (SetRowAccess() != kSuccess) return fail(routine, "SetRowAccess failed");
  const Window inside = clipped({window.col1, window.col2, window.row1, window.row2});
  const auto body = [&, missing = missingIn(*this)](int32_t row, std::span<int32_t> current) {
    const auto entries = array.subspan(window.offsetOf(inside.col1, row), current.size());
    for (std::size_t i = 0; i < current.size(); ++i) {
      const int32_t entry = entries[i];
      const bool gives = current[i] == 0 || (current[i] > entry && !missing(current[i]));
      if (entry > 0 && gives) current[i] = entry;
    }
  };
  return attempt.end(RowPass(changing(*this)).runWithin(inside, routine, body));
}

}  // namespace terrain
