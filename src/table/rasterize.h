#pragma once
// Lines burned into grids: what `LineVectorType::Rasterize` is told.

#include <cstdint>
#include <optional>
#include <string_view>

#include "grid/header.h"

namespace terrain {

struct LineRasterOptions {
  /// Of all cells. Absent: 1 for a table without an ID field; that and 0, in one with an ID field: the
  /// record's ID.
  std::optional<int32_t> ival{};
  bool useRecord = false;  ///< the record number in its place
  const Grid_Header* like =
      nullptr;  ///< lattice of the new grid; absent: that of the table, or the grid as it is
  std::optional<float> buffer{};                ///< m; the cells within this distance take the value as well
  std::optional<std::string_view> flagField{};  ///< only records whose integer in this field is `flagValue`
  int32_t flagValue = 0;
  double xShift = 0, yShift = 0;                  ///< added to all vertices
  bool direction = false;                         ///< direction codes (grid/directions.h) in place of a value
  bool reverseRing = false;                       ///< the vertices of each part last to first
  std::optional<std::string_view> lengthField{};  ///< records in ascending order of this field
  std::optional<std::string_view>
      priorityField{};   ///< records with a positive value first, negative ones not
  int32_t gridFill = 0;  ///< of the new grid; only cells of 0 are burned
};

}  // namespace terrain
