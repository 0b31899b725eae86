#pragma once
// The six grid types with their published operations: the whole vocabulary of each type in one
// place. Storage: grid/storage.h. Raster files: grid/float_raster.h. Arrays of a window hold its
// rows from the north, each from the west, one after the other.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "grid/grid_core.h"

namespace terrain {

/// How a value at a point is found. Interpolation is on unless one of the first three says otherwise;
/// `interpolate` and `noInterpolate` both true give nodata.
struct PointOptions {
  std::optional<bool> interpolate{};
  bool noInterpolate = false;
  bool nearest = false;       ///< the nearest lattice point instead of the one at or below-left
  bool ignoreNodata = false;  ///< missing corners count as 0, at their full weight
  bool absolute = false;      ///< absolute values of the corners and of the result
};

/// What `surfaceMetrics` is asked for; null for outputs not wanted. The point is the cell (col, row)
/// where `col` is given, else (x, y).
struct SurfaceMetricsArgs {
  float length = 0;  ///< radius in map units
  std::optional<double> x{}, y{};
  std::optional<int32_t> col{}, row{};
  float* gradient = nullptr;       ///< tangent of the slope
  float* plan = nullptr;           ///< plan curvature
  float* profile = nullptr;        ///< profile curvature
  float* planScaled = nullptr;     ///< filled only with `plan` or `profile`
  float* profileScaled = nullptr;  ///< the same
  float* aspect = nullptr;         ///< radians clockwise from north
  int32_t* steepest = nullptr;     ///< D8 code, 0 for none
  float* flowWidth = nullptr;
  float* dinfAspect = nullptr;  ///< D-infinity direction, radians clockwise from north, -1 without descent
  bool absolute = false;        ///< absolute values of the surface
  std::optional<bool> ridge{};  ///< mirror one side of the samples; where present, `valley` is not looked at
  std::optional<bool> valley{};
};

/// What `Evans3x3` is asked for; null for outputs not wanted.
struct EvansArgs {
  float* aspect = nullptr;  ///< degrees clockwise from north
  float* gradient = nullptr;
  float* plan = nullptr;
  float* tangential = nullptr;
  float* planRaw = nullptr;
  float* profile = nullptr;
  float* profileRaw = nullptr;
  float* curvMin = nullptr;
  float* curvMax = nullptr;
  float* curvPrincipal = nullptr;
};

/// What `MinR4` and `MinR4At` count.
struct MinOptions {
  WindowArgs window{};                    ///< absent sides: the whole grid; cut to the grid
  std::optional<bool> greaterThanZero{};  ///< only cells above `lowerBound`; absent: as `lowerBound` is given
  bool includeNodata = false;
  std::optional<float> lowerBound{};  ///< exclusive; 0 where only `greaterThanZero` is given
};
struct MaxOptions {
  WindowArgs window{};
  bool includeNodata = false;
};

class R4Grid_type : public GridOf<float> {
 public:
  [[nodiscard]] float GetNodataR4() const { return nodataValue(); }

  // ---- cells (grid/access.cpp) ----
  /// Nodata outside the grid and for a NaN.
  [[nodiscard]] float ExtractR4ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractR4ValueColRow in Grid_module");
  }
  /// Value at a point, bilinear between four cells, summed in float64 and rounded once. The cells at
  /// the grid's border are never interpolated; nodata outside the area covered.
  [[nodiscard]] float ExtractR4ValueXY(double x, double y, const PointOptions& options = {}) const;
  int SetR4CellColRow(int32_t col, int32_t row, float newValue);
  int SetR4CellXY(double x, double y, float newValue);
  int AddR4(int32_t col, int32_t row, float amount);
  int SubtractR4(int32_t col, int32_t row, float amount);
  int multiplyCellR4(int32_t col, int32_t row, float factor);
  /// Sets each listed cell; cells outside the grid are passed over. 0, or -1 with a report.
  int SetR4List(std::span<const ColRow> list, float newValue);

  // ---- rows and windows (grid/access.cpp) ----
  /// A row outside the grid gives -9999.0 whatever the nodata value is.
  void ExtractR4row(std::span<float> array, int32_t row) const;
  int SetR4row(int32_t row, std::span<const float> array);
  void ExtractR4Window(std::span<float> array, const Window& window) const;
  void ExtractR4Neighbours(std::array<float, 9>& array, int32_t col, int32_t row) const;
  int setWindowR4(const Window& window, std::span<const float> array);

  // ---- arithmetic in place (grid/arithmetic.cpp): in float32, nodata and NaN stay; 0, or -1 with a report
  // ----
  int scalarMultiplyR4(float by);
  /// A division by 0 is refused.
  int scalarDivideR4(float by);
  int scalarAddR4(float amount);
  /// value - cell; with `positiveOnly` for the cells above 0.0 alone.
  int ValueMinusR4Grid(float value, bool positiveOnly = false);
  /// cell * other's cell; nodata where the other cell is missing. Refused where the counts differ.
  int MultiplyR4(const R4Grid_type& other);
  int AddR4Grid(const R4Grid_type& other);
  int SubtractR4Grid(const R4Grid_type& other);
  /// min(cell, value); a nodata value of 0 or less takes part like any other, one above 0 stays.
  int SetToMinR4(float value);
  /// max(cell, value).
  int SetToMaxR4(float value);
  /// Every cell takes the value, those that are missing too.
  int SetAllR4(float value);

  // ---- sign (grid/signs.cpp): a window is cut to the grid; a NaN stays; 0, or -1 with a report ----
  /// -|cell|, nodata not excepted: a cell of a nodata value above 0 no longer reads as nodata.
  int SetNegativeR4(const WindowArgs& window = {});
  /// |cell|; nodata stays.
  int SetPositiveR4(const WindowArgs& window = {});

  // ---- copies (grid/clones.cpp) ----
  /// Makes `result` a copy of this grid, on disk or in memory as asked for, else as `result` is flagged. The
  /// status of `result` is set. 0, or -1 with a report.
  int cloneR4(R4Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// Takes the cells of a grid of the same geometry; its nodata becomes that of this grid. 0, or -1 with a
  /// report.
  int R4GridCopy(const R4Grid_type& source);

  // ---- smallest and largest value (grid/extremes.cpp) ----
  /// The smallest of the cells above nodata, where nodata is above 0 of all that are not nodata;
  /// 3.4028235e38 if there is none. Status -1, with a report, if the rows cannot be read, or if
  /// `includeNodata` and `greaterThanZero` meet a nodata value of 0 or less.
  [[nodiscard]] float MinR4(const MinOptions& options = {});
  /// The same, and the first cell in row order that holds it; (0, 0) if there is none.
  [[nodiscard]] float MinR4At(ColRow& at, const MinOptions& options = {});
  /// The largest of the same cells; -3.4028235e38 if there is none.
  [[nodiscard]] float MaxR4(const MaxOptions& options = {});

  // ---- surface metrics (grid/surface_metrics.cpp, grid/curvature.cpp) ----
  /// Gradient, aspect and curvature on a circle of radius `length`. Status -1, with the float outputs
  /// at -9999.0, where the point has no data.
  int surfaceMetrics(const SurfaceMetricsArgs& args);
  /// Plan curvature times the radius squared, dimensionless.
  [[nodiscard]] float PlanXY(float length, double x, double y);
  /// Quadratic fit over 3 by 3 cells (Evans 1980, Zevenbergen and Thorne's numbering).
  void Evans3x3(int32_t col, int32_t row, const EvansArgs& args);
  /// D8 code of the neighbour with the steepest descent, 0 for none.
  [[nodiscard]] int32_t SteepestNeighbour(int32_t col, int32_t row);

  // ---- raster files (grid/float_raster.cpp) ----
  int WritefltR4(std::string_view stem, const VersionStamp* stamp = nullptr);
};

class R8Grid_type : public GridOf<double> {
 public:
  [[nodiscard]] double GetNodataR8() const { return nodataValue(); }
  [[nodiscard]] double extractR8ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: extractR8ValueColRow in Grid_Module");
  }
  [[nodiscard]] double ExtractR8ValueXY(double x, double y, const PointOptions& options = {}) const;
  int SetR8Cell(int32_t col, int32_t row, double newValue);
  int AddR8(int32_t col, int32_t row, double amount);
  int multiplyCellR8(int32_t col, int32_t row, double factor);
  void ExtractR8row(std::span<double> array, int32_t row) const;
  int SetR8Row(int32_t row, std::span<const double> array);
  void ExtractR8Window(std::span<double> array, const Window& window) const;
  int setWindowR8(const Window& window, std::span<const double> array);
  /// cell * array element.
  int multiplyWindowR8(const Window& window, std::span<const double> array);
  // As with float32, in float64.
  int scalarMultiplyR8(double by);
  /// value - cell.
  int ValueMinusR8Grid(double value);
  /// cell - value.
  int R8GridMinusValue(double value);
  int cloneR8(R8Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// 1.7976931348623157e308 if no cell counts.
  [[nodiscard]] double MinR8(const WindowArgs& window = {});
  int WritefltR8(std::string_view stem, const VersionStamp* stamp = nullptr);
};

class I4Grid_type : public GridOf<std::int32_t> {
 public:
  [[nodiscard]] int32_t GetNodataI4() const { return nodataValue(); }
  [[nodiscard]] int32_t ExtractI4ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI4ValueColRow in Grid_Module");
  }
  /// The lattice cell at the point; -9999 outside xmin..xmax, ymin..ymax.
  [[nodiscard]] int32_t ExtractI4ValueXY(double x, double y) const;
  int SetI4Cell(int32_t col, int32_t row, int32_t newValue);
  int SetI4CellXY(double x, double y, int32_t newValue);
  int AddColRowI4(int32_t col, int32_t row, int32_t amount);
  /// Makes the cell's value negative.
  int SetI4Negative(int32_t col, int32_t row);
  void ExtractI4row(std::span<int32_t> array, int32_t row) const;
  int SetI4row(int32_t row, std::span<const int32_t> array);
  void ExtractI4Window(std::span<int32_t> array, const Window& window) const;
  void ExtractI4Neighbours(std::array<int32_t, 9>& array, int32_t col, int32_t row) const;
  int setWindowI4(const Window& window, std::span<const int32_t> array);
  /// max(cell, array element).
  int setWindowMaxI4(const Window& window, std::span<const int32_t> array);

  // ---- whole grids and windows: as with float32 (grid/arithmetic.cpp, signs.cpp, clones.cpp, extremes.cpp,
  // integers.cpp); of the lowest integer the absolute value is the largest ----
  /// Every cell that is not nodata takes the value.
  int SetValidI4(int32_t value);
  int SetNegativeI4(const WindowArgs& window = {});
  int SetPositiveI4(const WindowArgs& window = {});
  int AbsValI4();
  int cloneI4(I4Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  int I4GridCopy(const I4Grid_type& source);
  /// 2147483647 if no cell counts.
  [[nodiscard]] int32_t MinI4(const WindowArgs& window = {});
  /// -2147483648 if no cell counts.
  [[nodiscard]] int32_t maxI4(const WindowArgs& window = {});
  /// Cells other than 0 and nodata; -1 with status -1 and a report if a row cannot be read.
  [[nodiscard]] std::int64_t CountNonZeroI4();
  /// Where the array is above 0 and the cell is 0 or larger, the cell takes the element. Cells outside the
  /// grid are passed over. 0, or -1 with a report.
  int MergeWindowI4(const Window& window, std::span<const int32_t> array);

  int WritefltI4(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells at their own width as `<stem>.int`; see grid/integer_raster.h.
  int WriteIntI4(std::string_view stem);
};

class I8Grid_type : public GridOf<std::int64_t> {
 public:
  [[nodiscard]] int64_t GetNodataI8() const { return nodataValue(); }
  [[nodiscard]] int64_t ExtractI8ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI8ValueColRow in Grid_Module");
  }
  /// The lattice cell at the point; -9999 outside xmin..xmax, ymin..ymax.
  [[nodiscard]] int64_t ExtractI8ValueXY(double x, double y) const;
  int SetI8CellColRow(int32_t col, int32_t row, int64_t newValue);
  int SetI8CellXY(double x, double y, int64_t newValue);
  int AddColRowI8(int32_t col, int32_t row, int64_t amount);
  /// Makes the cell's value negative.
  int SetI8Negative(int32_t col, int32_t row);
  void ExtractI8row(std::span<int64_t> array, int32_t row) const;
  int SetI8row(int32_t row, std::span<const int64_t> array);
  void ExtractI8Window(std::span<int64_t> array, const Window& window) const;
  void ExtractI8Neighbours(std::array<int64_t, 9>& array, int32_t col, int32_t row) const;
  int setWindowI8(const Window& window, std::span<const int64_t> array);
  // As with int32.
  int SetPositiveI8(const WindowArgs& window = {});
  int AbsValI8();
  int cloneI8(I8Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// The lowest int64 if no cell counts.
  [[nodiscard]] int64_t maxI8(const WindowArgs& window = {});
  int WritefltI8(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells at their own width as `<stem>.int`; see grid/integer_raster.h.
  int WriteIntI8(std::string_view stem);
};

class I2Grid_type : public GridOf<std::int16_t> {
 public:
  [[nodiscard]] int16_t GetNodataI2() const { return nodataValue(); }
  void ExtractI2Row(std::span<int16_t> array, int32_t row) const;
  int SetI2row(int32_t row, std::span<const int16_t> array);
  int WritefltI2(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes D8 flow directions as `<stem>.rst` and `.rdc`; see grid/rst_raster.h.
  int WriterstI2(std::string_view stem);
};

class I1Grid_type : public GridOf<std::int8_t> {
 public:
  /// Always 0, as `nodata` is from the making of the grid on.
  [[nodiscard]] int8_t GetNodataI1() const { return nodataValue(); }
  [[nodiscard]] int8_t ExtractI1ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI1ValueColRow in Grid_Module");
  }
  int SetI1Cell(int32_t col, int32_t row, int8_t newValue);
  int AddColRowI1(int32_t col, int32_t row, int8_t amount);
  void ExtractI1Row(std::span<int8_t> array, int32_t row) const;
  int SetI1Row(int32_t row, std::span<const int8_t> array);
  int setWindowI1(const Window& window, std::span<const int8_t> array);
  /// Every cell takes the value. 0, or -1 with a report.
  int SetAllI1(int8_t value);
  /// The largest value above 0; -128 if there is none.
  [[nodiscard]] int8_t MaxI1(const WindowArgs& window = {});
  int WritefltI1(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells as `<stem>.bil`; see grid/bil_raster.h.
  int writeBIL(std::string_view stem);
};

}  // namespace terrain
