#pragma once
// Lines and polygons burned into grids: what `LineVectorType::Rasterize` and `PolyVectorType::RasterizePoly`
// are told.

#include <cstdint>
#include <optional>
#include <span>
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

/// The value of a polygon is the first that is given of: its entry in `values`, `ival`, `singleValue`, the
/// number in the field `fieldName`, its ID. In a table without an ID field it is 1. 0 means outside: a record
/// whose entry or field is 0 is left out, all other zeros are errors.
struct PolygonRasterOptions {
  std::optional<int32_t> ival{};
  bool useID = false;  ///< an ID is required
  std::optional<std::string_view> fieldName{};
  std::optional<std::string_view> IDfieldName{};  ///< becomes the table's ID field
  std::optional<int32_t> singleValue{};           ///< only polygons with this ID
  const Grid_Header* like =
      nullptr;        ///< lattice of the new grid; absent: the grid as it is, else one on the table's lattice
  double buffer = 0;  ///< m; with `singleValue`, cells of 0 within this distance take it as well
  bool positiveIDonly = false;  ///< leaves out polygons whose ID is 0
  bool snapToGrid = false;      ///< moves every vertex to the nearest lattice point first
  /// Leaves out cells of which the polygon covers less than half, if it has cells that no edge crosses.
  bool strictBoundary = false;
  int64_t firstRecord = 1;
  std::optional<int64_t> lastRecord{};  ///< absent: the last one
  std::span<const int32_t> values{};    ///< empty, or one a record
  /// Stem of a raster of the share of every cell that the burned polygons cover, each counted alone; blank:
  /// none is written.
  std::string_view check{};
};

}  // namespace terrain
