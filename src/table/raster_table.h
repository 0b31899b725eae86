#pragma once
// Raster tables: a grid of record numbers joined to an attribute table. Each cell names a record, and one
// numeric field of that record gives the cell's value, so that one grid and one table stand for as many
// grids of values as the table has fields.

#include <cstdint>
#include <string_view>

#include "grid/grid.h"
#include "table/data_table.h"

namespace terrain {

/// A value is read as float32, which keeps integers to 16777216. Where a cell names no record (0, a negative
/// number such as nodata, or a number beyond the last record), or the value is not in the range of the type
/// it is read as, the value is -9999.
struct RasterTableType {
  DataTableType* table = nullptr;  ///< the caller's
  I4Grid_type* raster = nullptr;   ///< record numbers, from 1; the caller's
  int32_t field = 0;               ///< number of the field that gives the values, from 1
  int32_t status = 0;

  /// The value of one cell; what is wrong with it is reported.
  [[nodiscard]] float ReadR4Value(int32_t col, int32_t row) const;
  /// The value of the cell that holds a point; the strips beyond xmax and ymax belong to the outer cells.
  [[nodiscard]] float ReadR4ValueXY(double x, double y) const;
  /// A grid of the values, truncated to integers, on the lattice of `raster` or of `like`, whose cells take
  /// the value at their reference points. Its nodata is -9999. Cells without a value are counted by what is
  /// wrong, one line of the log for each kind. -1, reported once, with the grid all -9999 for a field that
  /// has no numbers; without cells where it cannot be made.
  int MakeI4Grid(I4Grid_type& grid, const Grid_Header* like = nullptr);
  /// The same without truncation.
  int MakeR4Grid(R4Grid_type& grid, const Grid_Header* like = nullptr);
};

/// Reads the two halves of a raster table: a raster of record numbers, onto the lattice of `header` where
/// that is given, and a table whose path ends in "dbf" or "csv". What both held before is lost. 0, or -1 with
/// a report; the table is not read where the raster cannot be.
int readRasterTable(std::string_view rasterPath, std::string_view tablePath, I4Grid_type& raster,
                    DataTableType& table, const Grid_Header* header = nullptr);

/// Joins a grid and a table, which must outlive the result, by a field of one of the four numeric types.
/// Status 0; -1 with a report where the table has no such field.
[[nodiscard]] RasterTableType createRasterTable(I4Grid_type& raster, DataTableType& table,
                                                std::string_view fieldName);

/// Reads a raster table and makes the grid of one field's values. 0, or -1 with a report.
int ReadI4RasterTable(std::string_view rasterPath, std::string_view tablePath, std::string_view fieldName,
                      I4Grid_type& grid, const Grid_Header* header = nullptr);
int ReadR4RasterTable(std::string_view rasterPath, std::string_view tablePath, std::string_view fieldName,
                      R4Grid_type& grid, const Grid_Header* header = nullptr);

}  // namespace terrain
