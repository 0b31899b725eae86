#pragma once
// The header of a grid: how many cells there are, where they lie, what nodata is, where the cells
// are kept. It stands alone for the header of a file and is the base of every grid.
//
// Cells are addressed (col, row) from 1. Row 1 is the northern row: y falls as the row rises, x
// rises with the column. (xmin, ymin) is the reference point of the south-west cell and (xmax,
// ymax) that of the north-east cell, not the outer edge: the area covered runs to xmax + xcellsize
// and ymax + ycellsize.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/input_file.h"
#include "foundation/text.h"

namespace terrain {

inline constexpr float kNodata = -9999.0F;  ///< nodata where nothing else is said
inline constexpr double kMetersPerFoot = 0.3048;

/// Who made a raster; written into its header file.
struct VersionStamp {
  FixedText<25> createdBy{};
  FixedText<25> versionNumber{};
  FixedText<25> compiledOn{};
  FixedText<25> createdOn{};
};

enum class CellType { none, R4, R8, I1, I2, I4, I8 };

/// A cell of a grid; it need not lie within one.
struct ColRow {
  int32_t col = 0;
  int32_t row = 0;
  friend bool operator==(const ColRow&, const ColRow&) = default;
};

struct Point {
  double x = 0;
  double y = 0;
};

/// Which fields of the extent `GetExtent` copies out; null for those not wanted.
struct ExtentOut {
  double* xmin = nullptr;
  double* xmax = nullptr;
  double* ymin = nullptr;
  double* ymax = nullptr;
  double* cellsize = nullptr;
  double* xcellsize = nullptr;
  double* ycellsize = nullptr;
  int32_t* ncols = nullptr;
  int32_t* nrows = nullptr;
};

/// Cell size of a grid: one size, or both; `xcellsize` decides where it is given.
struct CellSize {
  std::optional<double> cellsize{};
  std::optional<double> xcellsize{};
  std::optional<double> ycellsize{};
};

/// A shift of the georeference: both distances, or half a cell.
struct OffsetArgs {
  std::optional<double> x{};
  std::optional<double> y{};
  std::optional<bool> halfCell{};
};

class Grid_Header {
 public:
  Grid_Header() = default;
  virtual ~Grid_Header() = default;
  Grid_Header(const Grid_Header&) = default;
  Grid_Header& operator=(const Grid_Header&) = default;
  Grid_Header(Grid_Header&&) = default;
  Grid_Header& operator=(Grid_Header&&) = default;

  int32_t reserved = 0;
  int32_t status = 0;       ///< result of the last operation, 0 or -1
  int32_t scratchUnit = 0;  ///< unit of the scratch file; 0 or less: none is open
  int32_t bitDepth = 0;     ///< bits per cell named by a file header, 0 when unknown
  std::optional<int32_t> ncols{};
  std::optional<int32_t> nrows{};
  float nodata = kNodata;  ///< one value for every cell type; each type has its own form of it
  double xmin = 0, ymin = 0, xmax = 0, ymax = 0;
  double cellsize = 0;
  double xcellsize = 0, ycellsize = 0;
  bool feetConverted = false;  ///< held in feet and converted to metres; written back in feet
  bool onDisk = false;         ///< the cells are in the scratch file
  bool cellAccess = false;     ///< the scratch file is open with one cell a record
  bool rowAccess = false;      ///< the scratch file is open with one row a record
  char units = 'm';            ///< horizontal units, 'm' metres or 'f' feet
  FixedText<2> fileType{};     ///< cell-type code named by a file header: R4, R8, I1, I2, I4, I8
  std::string scratchFile{};
  VersionStamp version{};
  InputFileType projection{};  ///< the lines of the .prj file, written back unchanged

  [[nodiscard]] virtual CellType cellType() const { return CellType::none; }

  void InitializeHeader(int32_t cols, int32_t rows, double west, double south, const CellSize& size);
  /// Reads `<stem>.hdr`; see grid/raster_header.h for the keywords.
  int ReadHeader(std::string_view file);
  /// Writes `<stem>.hdr`, and `<stem>.prj` where there are projection lines. `stamp` serves where
  /// `version` is blank.
  int WriteGridHeader(std::string_view stem, const VersionStamp* stamp = nullptr);

  /// The lattice cell at or below-left of a point. There is no column or row 0: cells west of the
  /// grid are -1, -2, ..., rows above it -1, -2, ...
  [[nodiscard]] ColRow XYtoColRow(double x, double y) const;
  /// The lattice point nearest a point, kept within the grid's east and north; a tie goes up and right.
  [[nodiscard]] ColRow NearestColRow(double x, double y) const;
  /// The same, but a tie stays at the lower left and nothing is kept within the grid.
  [[nodiscard]] ColRow NearestColRowOpen(double x, double y) const;
  /// Reference point of a cell.
  [[nodiscard]] Point ColRowToXY(int32_t col, int32_t row) const;
  /// xcellsize * ycellsize, multiplied in float64 and rounded.
  [[nodiscard]] float CellArea() const { return static_cast<float>(xcellsize * ycellsize); }

  /// Divides the seven coordinates and sizes by 0.3048; `units` and `feetConverted` stay.
  void MetersToFeet();
  /// Shifts the georeference; cells and sizes stay.
  int Offset(const OffsetArgs& shift);
  void SetNodata(float value) { nodata = value; }
  [[nodiscard]] float GetNodata() const { return nodata; }
  void GetExtent(const ExtentOut& out) const;
  [[nodiscard]] bool HeaderExists() const { return ncols.has_value() && nrows.has_value(); }
  void SetVersion(const VersionStamp& stamp) { version = stamp; }

  /// Opens the scratch file with one row, or one cell, a record. At once 0 for a grid in memory or
  /// already in that mode; a grid flagged on disk that has no file gets an empty one.
  int SetRowAccess();
  int SetCellAccess();

  // Of our own: the counts as numbers, 0 where they are absent.
  [[nodiscard]] int32_t cols() const { return ncols.value_or(0); }
  [[nodiscard]] int32_t rows() const { return nrows.value_or(0); }
  [[nodiscard]] bool contains(int32_t col, int32_t row) const {
    return col >= 1 && row >= 1 && col <= cols() && row <= rows();
  }
  /// Sets xmax and ymax from the other fields.
  void settleFarCorner();
  /// Multiplies the seven coordinates and sizes by a factor.
  void scaleLengths(double factor);
  /// Copies counts, extent and cell sizes.
  void copyGeometry(const Grid_Header& from);
};

struct HeaderArgs {
  CellSize size{};
  std::optional<char> units{};
  const VersionStamp* version = nullptr;
  const InputFileType* projection = nullptr;
};
/// Makes a header. Without any cell size: "Cellsize not specified", status -1.
int CreateGridHeader(Grid_Header& header, int32_t ncols, int32_t nrows, double xmin, double ymin,
                     const HeaderArgs& args);

/// Multiplies the seven coordinates and sizes by 0.3048 and sets `feetConverted`.
void FeetToMeters(Grid_Header& header);

/// Counts equal, and corners and cell sizes equal within a relative 1e-8.
[[nodiscard]] bool SameGridGeometry(const Grid_Header& a, const Grid_Header& b);
/// The seven coordinates and sizes equal in the same way; counts are not compared.
[[nodiscard]] bool SameExtent(const Grid_Header& a, const Grid_Header& b);

}  // namespace terrain
