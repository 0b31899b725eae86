#pragma once
// A grid whose cells each hold a list of integers, in memory alone. A cell may have no list, which is not
// the same as an empty one only to `HasListColRow` and `HasListXY`. A position means the cell whose area
// holds it.

#include <memory>
#include <span>
#include <vector>

#include "grid/header.h"

namespace terrain {

/// The list of a cell; null where there is none.
struct I4Holder_type {
  std::unique_ptr<std::vector<int32_t>> list{};
};

class I4Multigrid_type : public Grid_Header {
 public:
  std::vector<I4Holder_type> cells{};  ///< row after row from the north, each from the west

  [[nodiscard]] bool MultigridExists() const { return !cells.empty(); }

  [[nodiscard]] bool HasListColRow(int32_t col, int32_t row) const;
  [[nodiscard]] bool HasListXY(double x, double y) const;
  /// Numbers in the cell's list; -1 outside the grid.
  [[nodiscard]] int32_t ListSizeColRow(int32_t col, int32_t row) const;
  [[nodiscard]] int32_t ListSizeXY(double x, double y) const;
  /// The nth number of the list, from 1; 0 where there is none.
  [[nodiscard]] int32_t ListValueColRow(int32_t col, int32_t row, int32_t n) const;
  [[nodiscard]] int32_t ListValueXY(double x, double y, int32_t n) const;
  /// The list, empty where there is none.
  [[nodiscard]] std::vector<int32_t> ExtractListColRow(int32_t col, int32_t row) const;
  [[nodiscard]] std::vector<int32_t> ExtractListXY(double x, double y) const;
  [[nodiscard]] bool ListContains(int32_t col, int32_t row, int32_t value) const;

  // These give 0, or -1 and change nothing: outside the grid, or, reported, without memory.

  /// Appends a number that the list does not hold yet.
  int AddToListColRow(int32_t col, int32_t row, int32_t value);
  int AddToListXY(double x, double y, int32_t value);
  int SetListColRow(int32_t col, int32_t row, std::span<const int32_t> values);
  int SetListXY(double x, double y, std::span<const int32_t> values);
  /// The nth number, or without `n` every number of the list, becomes its absolute value, of the lowest
  /// integer the largest.
  int AbsListValue(int32_t col, int32_t row, std::optional<int32_t> n = {});
  /// The same with the negative of the absolute value.
  int NegateListValue(int32_t col, int32_t row, std::optional<int32_t> n = {});
  /// Removes the nth number, or without `n` the list.
  int RemoveListValue(int32_t col, int32_t row, std::optional<int32_t> n = {});

  /// Writes how many numbers each cell holds as the float raster `stem`. Status 0, or -1 with a report.
  int WriteListCounts(std::string_view stem);
  /// Writes the nth number of each cell's list, nodata where there is none, in the same way.
  int WriteListValues(std::string_view stem, int32_t n = 1);

  void DestroyMultigrid();

 private:
  using List = std::vector<int32_t>;
  [[nodiscard]] const I4Holder_type* holder(ColRow cell) const;
  [[nodiscard]] I4Holder_type* holder(ColRow cell);
  [[nodiscard]] const List* list(int32_t col, int32_t row) const;
  [[nodiscard]] ColRow at(double x, double y) const { return cellHolding(x, y).value_or(ColRow{}); }
  template <class Change>
  int changeNumbers(int32_t col, int32_t row, std::optional<int32_t> n, Change change);
  template <class ValueOf>
  int writeRaster(std::string_view stem, ValueOf valueOf);
};

/// Makes a multigrid with the geometry of a header and no lists; an earlier one goes. Status 0, or -1 with a
/// report and no multigrid.
int CreateI4Multigrid(I4Multigrid_type& multigrid, const Grid_Header& header);

}  // namespace terrain
