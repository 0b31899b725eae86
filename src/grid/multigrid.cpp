#include "grid/multigrid.h"

#include <algorithm>
#include <limits>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/grid.h"
#include "grid/storage.h"

namespace terrain {

int CreateI4Multigrid(I4Multigrid_type& multigrid, const Grid_Header& header) {
  const Grid_Header like = header;
  static_cast<Grid_Header&>(multigrid) = like;
  multigrid.cells.clear();
  Attempt attempt{multigrid.status};
  const bool counted = like.cols() > 0 && like.rows() > 0;
  const auto count = static_cast<std::size_t>(like.cols()) * static_cast<std::size_t>(like.rows());
  if (counted && tryResize(multigrid.cells, count)) return attempt.succeed();
  multigrid.DestroyMultigrid();
  return reportError({.routine = "CreateI4Multigrid in Grid_Module",
                      .message1 = "  Unable to allocate multigrid",
                      .message2 = counted ? "  Error code: 41, " + describe(kIoNoMemory)
                                          : "  Error code: 1, the header has no cells"});
}

void I4Multigrid_type::DestroyMultigrid() {
  cells.clear();
  cells.shrink_to_fit();
  ncols.reset();
  nrows.reset();
}

// ---- the list of a cell ----

const I4Holder_type* I4Multigrid_type::holder(ColRow cell) const {
  if (!contains(cell)) return nullptr;
  const auto place = (static_cast<std::size_t>(cell.row) - 1) * static_cast<std::size_t>(cols()) +
                     static_cast<std::size_t>(cell.col) - 1;
  return place < cells.size() ? &cells[place] : nullptr;
}
I4Holder_type* I4Multigrid_type::holder(ColRow cell) {
  return const_cast<I4Holder_type*>(std::as_const(*this).holder(cell));
}
const I4Multigrid_type::List* I4Multigrid_type::list(int32_t col, int32_t row) const {
  const I4Holder_type* const held = holder({.col = col, .row = row});
  return held == nullptr ? nullptr : held->list.get();
}

bool I4Multigrid_type::HasListColRow(int32_t col, int32_t row) const { return list(col, row) != nullptr; }

int32_t I4Multigrid_type::ListSizeColRow(int32_t col, int32_t row) const {
  if (holder({.col = col, .row = row}) == nullptr) return -1;
  const List* const held = list(col, row);
  return held == nullptr ? 0 : static_cast<int32_t>(held->size());
}

int32_t I4Multigrid_type::ListValueColRow(int32_t col, int32_t row, int32_t n) const {
  const List* const held = list(col, row);
  const auto at = static_cast<std::size_t>(n) - 1;
  return held == nullptr || n < 1 || at >= held->size() ? 0 : (*held)[at];
}

std::vector<int32_t> I4Multigrid_type::ExtractListColRow(int32_t col, int32_t row) const {
  const List* const held = list(col, row);
  List copy;
  if (held != nullptr && !tryCopy(copy, std::span(*held)))
    cannotAllocate("ExtractListColRow in Grid_Module", "list");
  return copy;
}

bool I4Multigrid_type::ListContains(int32_t col, int32_t row, int32_t value) const {
  const List* const held = list(col, row);
  return held != nullptr && std::ranges::find(*held, value) != held->end();
}

// ---- changes ----

int I4Multigrid_type::AddToListColRow(int32_t col, int32_t row, int32_t value) {
  Attempt attempt{status};
  I4Holder_type* const held = holder({.col = col, .row = row});
  if (held == nullptr) return kFailure;
  if (ListContains(col, row, value)) return attempt.succeed();
  if (held->list == nullptr) {
    const int32_t one = value;
    return attempt.end(SetListColRow(col, row, {&one, 1}));
  }
  return tryAppend(*held->list, value) ? attempt.succeed()
                                       : cannotAllocate("AddToListColRow in Grid_Module", "list");
}

int I4Multigrid_type::SetListColRow(int32_t col, int32_t row, std::span<const int32_t> values) {
  Attempt attempt{status};
  I4Holder_type* const held = holder({.col = col, .row = row});
  if (held == nullptr) return kFailure;
  std::unique_ptr<List> fresh(new (std::nothrow) List);
  if (fresh == nullptr || !tryCopy(*fresh, values))
    return cannotAllocate("SetListColRow in Grid_Module", "list");
  held->list = std::move(fresh);
  return attempt.succeed();
}

template <class Change>
int I4Multigrid_type::changeNumbers(int32_t col, int32_t row, std::optional<int32_t> n, Change change) {
  Attempt attempt{status};
  I4Holder_type* const held = holder({.col = col, .row = row});
  if (held == nullptr) return kFailure;
  if (held->list != nullptr)
    for (std::size_t i = 0; i < held->list->size(); ++i)
      if (!n || static_cast<int64_t>(i) + 1 == *n) (*held->list)[i] = change((*held->list)[i]);
  return attempt.succeed();
}

int I4Multigrid_type::AbsListValue(int32_t col, int32_t row, std::optional<int32_t> n) {
  return changeNumbers(col, row, n, [](int32_t v) {
    return v == std::numeric_limits<int32_t>::min() ? std::numeric_limits<int32_t>::max() : std::abs(v);
  });
}
int I4Multigrid_type::NegateListValue(int32_t col, int32_t row, std::optional<int32_t> n) {
  return changeNumbers(col, row, n, [](int32_t v) { return v > 0 ? -v : v; });
}

int I4Multigrid_type::RemoveListValue(int32_t col, int32_t row, std::optional<int32_t> n) {
  Attempt attempt{status};
  I4Holder_type* const held = holder({.col = col, .row = row});
  if (held == nullptr) return kFailure;
  if (!n)
    held->list.reset();
  else if (*n >= 1 && *n <= ListSizeColRow(col, row))
    held->list->erase(held->list->begin() + (*n - 1));
  return attempt.succeed();
}

// ---- rasters ----

template <class ValueOf>
int I4Multigrid_type::writeRaster(std::string_view stem, ValueOf valueOf) {
  Attempt attempt{status};
  I4Grid_type values;
  if (CreateGrid(values, {.like = this}) != kSuccess || values.SetRowAccess() != kSuccess) return kFailure;
  std::vector<int32_t> row;
  if (!tryAllocate(row, static_cast<std::size_t>(cols())))
    return cannotAllocate("WriteListCounts in Grid_Module", "row");
  for (int32_t r = 1; r <= rows(); ++r) {
    for (int32_t c = 1; c <= cols(); ++c)
      row[static_cast<std::size_t>(c - 1)] = valueOf(c, r, values.nodataValue());
    if (values.SetI4row(r, row) != kSuccess) return kFailure;
  }
  return attempt.end(values.WritefltI4(stem));
}

int I4Multigrid_type::WriteListCounts(std::string_view stem) {
  return writeRaster(stem, [this](int32_t col, int32_t row, int32_t) { return ListSizeColRow(col, row); });
}
int I4Multigrid_type::WriteListValues(std::string_view stem, int32_t n) {
  return writeRaster(stem, [this, n](int32_t col, int32_t row, int32_t none) {
    return n >= 1 && n <= ListSizeColRow(col, row) ? ListValueColRow(col, row, n) : none;
  });
}

// clang-format off
// ---- faces: by position ----

bool I4Multigrid_type::HasListXY(double x, double y) const { return HasListColRow(at(x, y).col, at(x, y).row); }
int32_t I4Multigrid_type::ListSizeXY(double x, double y) const { return ListSizeColRow(at(x, y).col, at(x, y).row); }
int32_t I4Multigrid_type::ListValueXY(double x, double y, int32_t n) const { return ListValueColRow(at(x, y).col, at(x, y).row, n); }
std::vector<int32_t> I4Multigrid_type::ExtractListXY(double x, double y) const { return ExtractListColRow(at(x, y).col, at(x, y).row); }
int I4Multigrid_type::AddToListXY(double x, double y, int32_t value) { return AddToListColRow(at(x, y).col, at(x, y).row, value); }
int I4Multigrid_type::SetListXY(double x, double y, std::span<const int32_t> values) { return SetListColRow(at(x, y).col, at(x, y).row, values); }

// clang-format on

}  // namespace terrain
