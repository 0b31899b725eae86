#pragma once
// Line tables: a data table with one line a record. A line holds its vertices in one list, the starts
// of its parts and, when it was read against a grid, the cell of each vertex. Reads the shapefile
// types PolyLine, PolyLineZ and PolyLineM (without its measures), writes PolyLine and PolyLineZ.
//
// Records, vertices and parts count from 1. -9999 marks an absent value.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "grid/header.h"
#include "table/vector_table.h"

namespace terrain {

class I4Grid_type;
class R4Grid_type;
struct LineRasterOptions;

struct LineWriteOptions {
  std::optional<int32_t> nodataOut{};  ///< written in the table for negative multiples of 9
  bool isFlag = false;   ///< only lines whose flag is set; else the flags are set by what is written
  bool reverse = false;  ///< vertices and parts last to first
  const InputFileType* prjFile = nullptr;  ///< replaces `prj`
  bool zForm = false;                      ///< PolyLineZ; the next three count only there
  int32_t xyDecimals = 0;                  ///< above 0: coordinates are rounded, halves away from zero
  int32_t zDecimals = 0;
  bool allFields = false;              ///< all columns, whatever their flags
  std::optional<CalendarDate> date{};  ///< of writing, in the table's header; absent: today
};

struct LineDistanceOptions {
  I4Grid_type* lineGrid = nullptr;  ///< takes the IDs of the line cells
  // Which lines, and which keeps a cell where they cross: as in LineRasterOptions.
  std::optional<std::string_view> flagField{};
  int32_t flagValue = 0;
  std::optional<std::string_view> lengthField{};
  std::optional<std::string_view> priorityField{};
};

/// Outputs of `VertexInfo`; null for those not wanted.
struct VertexInfoOut {
  int32_t* col = nullptr;
  int32_t* row = nullptr;
  double* x = nullptr;
  double* y = nullptr;
  double* xAlt = nullptr;
  double* yAlt = nullptr;
  float* z = nullptr;
};

/// Cells at both ends of a line.
struct SegmentEndCells {
  int32_t lastCol = -1, lastRow = -1, firstCol = -1, firstRow = -1;
};

/// The geometry is that of the grid, or mask, that the lines were read against.
struct SegmentArray : GridGeometry {
  std::vector<SegmentType> segment{};  ///< that of record n is at n - 1
  char units = 'm';                    ///< of the grid; 'f': the file is in feet
  bool feetConverted = false;          ///< read in feet, held in metres, written back in feet
};

class LineVectorType : public VectorTable<SegmentType, SegmentArray, &SegmentArray::segment> {
 public:
  /// Once: extents, vertices and their second positions times the float32 0.3048.
  void ConvertToMeters();
  /// Makes `segment`, of `numRecords` segments or n; a table without columns takes n records.
  int initializeSegments(std::optional<int64_t> n = std::nullopt);
  /// Makes `col` and `row` of a segment for n cells, each -9999.
  int initializeSegment(int64_t irec, int32_t n);
  /// Fills a segment that has no vertices yet. Arrays of one size.
  int setSegmentXY(int64_t irec, std::span<const double> x, std::span<const double> y,
                   std::optional<std::span<const double>> xAlt = std::nullopt,
                   std::optional<std::span<const double>> yAlt = std::nullopt);
  /// Stores a link; a list that is too short grows, new entries are -9999.
  int SetSegmentLinkA(int64_t irec, int64_t value, int32_t index = 1);
  int SetSegmentLinkB(int64_t irec, int64_t value, int32_t index = 1);
  /// The cell of a vertex, or of one of the cells of `initializeSegment`.
  int setColRow(int64_t irec, int32_t index, int32_t col, int32_t row);
  /// Moves a vertex that is there.
  int SetVertexXY(int64_t irec, int32_t index, double x, double y);
  /// The first call on a line gives all its vertices the elevation -9999.0.
  int setVertexZ(int64_t irec, int32_t index, float z);

  /// Sum in float64 of the planar distances between consecutive vertices, from part to part too.
  /// -9999.0 for a bad record.
  [[nodiscard]] double SegmentLength(int64_t irec) const;
  /// The same with z; between two vertices of which one has no elevation the distance is planar.
  [[nodiscard]] double SegmentLength3D(int64_t irec) const;
  [[nodiscard]] int32_t NumVertices(int64_t irec) const;  ///< -9999 without vertices
  [[nodiscard]] int32_t NumParts(int64_t irec) const;     ///< -9999 for a bad record
  [[nodiscard]] int32_t PartStart(int64_t irec, int32_t part) const;
  /// Copies of the vertices; empty for a bad record or a line without vertices.
  int Vertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
               const VerticesOptions& options = {});
  /// Copies of the cells; empty for a bad record or a line without cells.
  int ColsRows(int64_t irec, std::vector<int32_t>& cols, std::vector<int32_t>& rows);
  /// Second positions, one for each vertex.
  int SetVerticesAlt(int64_t irec, std::span<const double> xAlt, std::span<const double> yAlt);
  [[nodiscard]] int64_t FirstLinkA(int64_t irec) const;
  [[nodiscard]] int64_t FirstLinkB(int64_t irec) const;
  /// -9999.0 for both outputs, and -1, where there is no vertex.
  int LastVertex(int64_t irec, double& x, double& y);
  /// Writes the lines that have vertices and, with an ID field, an ID above 0; in ascending order of
  /// the IDs unless `isFlag`. In the Z form a missing elevation is -9999.0. A line of one vertex is a fault.
  int WriteShapefile(std::string_view path, const LineWriteOptions& options = {});
  /// Burns the lines into a grid (table/rasterize.h): every cell of the integer line between the cells of two
  /// vertices takes the record's value where it holds 0, so of two crossing lines the first keeps the cell.
  /// 0, or -1 after a report; the grid then keeps what was burned so far.
  int Rasterize(I4Grid_type& igrid, const LineRasterOptions& options);
  /// The cells of the integer lines between the cells of consecutive vertices, in the order of the line; a
  /// part that is off the grid has none, and no cell follows itself. With `useAlt` the second positions,
  /// where the line has them. Empty for a bad record, which is -1, and for a line off the grid.
  int TraceCells(int64_t irec, const Grid_Header& grid, std::vector<int32_t>& cols,
                 std::vector<int32_t>& rows, bool useAlt = false);
  /// For each cell of the lattice `like`, with square cells, within `distance` (map units) of a cell of a
  /// line
  /// (`Rasterize`): the ID of the nearest line, of several as near that of the first line cell in row order,
  /// and the distance between the reference points of the two cells. Cells farther off have nodata in
  /// `idGrid` and -9999.0, which is nodata, in `distanceGrid`. Only IDs above 0 count. Where one line ends
  /// within another its last cell belongs to that. 0, or -1 after a report.
  int ID_distance(float distance, const Grid_Header& like, I4Grid_type& idGrid, R4Grid_type& distanceGrid,
                  const LineDistanceOptions& options = {});
  /// One flag or, without a record, all of them.
  void SetSegmentFlag(std::optional<int64_t> irec = std::nullopt, bool value = false);
  [[nodiscard]] bool SegmentFlag(int64_t irec) const;
  /// Gives the fields of `other` the names and output names of the fields of the same number.
  void CopyFieldNames(DataTableType& other) const;
  /// Copies each field's value to the field of the same number of another table's record.
  int CopyRecord(int64_t irec, DataTableType& other, int64_t otherRecord);
  [[nodiscard]] SegmentEndCells SegmentEnds(int64_t irec) const;
  [[nodiscard]] int32_t VertexCount(int64_t irec) const;  ///< -1 without vertices
  /// Outputs for which the line has no value are left unchanged.
  void VertexInfo(int64_t irec, int32_t index, const VertexInfoOut& out) const;
  /// Releases the segments and the columns: the same as `clear`.
  void DestroySegments();

 private:
  using Links = std::vector<int64_t> SegmentType::*;
  int setLink(int64_t irec, Links links, int64_t value, int32_t index);
  [[nodiscard]] int64_t firstLink(int64_t irec, Links links) const;
};

struct LineReadOptions {
  const Grid_Header* grid = nullptr;  ///< vertices outside it are dropped
  const R4Grid_type* mask =
      nullptr;  ///< vertices outside it or on its nodata are dropped; in the grid's units
  std::optional<std::string_view> IDfieldName{};
  double xOffset = 0;  ///< added in the file's units
  double yOffset = 0;
  int32_t xyDecimals = 0;  ///< above 0: rounded, halves away from zero
  int32_t zDecimals = 0;
};
/// Reads the shapefile with the stem `path` into a table; what it held before is lost. Against a grid, lines
/// are clipped vertex by vertex; one with fewer than 2 vertices left is empty and keeps its row. A table
/// without records is read, one with null shapes alone is a fault.
int ReadPolylineShapefile(LineVectorType& table, std::string_view path, const LineReadOptions& options = {});

}  // namespace terrain
