#pragma once
// The six grid types with their published operations: the whole vocabulary of each type in one
// place. Storage: grid/storage.h. Raster files: grid/float_raster.h. Arrays of a window hold its
// rows from the north, each from the west, one after the other.

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "grid/grid_core.h"
#include "grid/region_args.h"

namespace terrain {

/// How a value at a point is found. Interpolation is on unless one of the first three says otherwise;
/// `interpolate` and `noInterpolate` both true give nodata.
struct PointOptions {
  std::optional<bool> interpolate{};
  bool noInterpolate = false;
  bool nearest = false;       ///< the nearest lattice point instead of the one at or below-left
  bool ignoreNodata = false;  ///< missing corners count as 0, at their full weight
  bool absolute = false;      ///< absolute values of the corners and of the result; nodata is known before
};

/// What `surfaceMetrics` is asked for; null for outputs not wanted. The point is the cell (col, row)
/// where `col` is given, else (x, y). Curvatures are in 1 / map unit and positive where the ground is
/// hollow: `plan` where contours turn round a hollow, so that flow converges, `profile` where the slope is
/// concave up, so that flow slows down. `Evans3x3` has another unit, and other signs.
struct SurfaceMetricsArgs {
  float length = 0;  ///< radius in map units
  std::optional<double> x{}, y{};
  std::optional<int32_t> col{}, row{};
  float* gradient = nullptr;    ///< tangent of the slope
  float* plan = nullptr;        ///< plan curvature, along the contour; 0 on level ground
  float* profile = nullptr;     ///< profile curvature, down the slope; 0 on level ground
  float* planScaled = nullptr;  ///< plan / (1 + g^2)^1.5 with slope g; filled only with `plan` or `profile`
  float* profileScaled = nullptr;  ///< profile / (1 + g^2)^0.5; the same
  float* aspect = nullptr;         ///< radians clockwise from north
  /// D8 code of the direction with the lowest sample among the neighbour cells below the centre, 0 for
  /// none. A neighbour without data counts as lower, nodata being below the ground, so on the edge of the
  /// data the code may point off it; with `absolute` only ground above |nodata| does.
  int32_t* steepest = nullptr;
  /// Width of the flow over the cell's border in cell widths: half the sum of the cosines between each
  /// descending facet's steepest direction and its cardinal direction; 1.0 where nothing descends.
  float* flowWidth = nullptr;
  float* dinfAspect = nullptr;  ///< D-infinity direction, radians clockwise from north, -1 without descent
  bool absolute = false;        ///< absolute values of the surface
  std::optional<bool> ridge{};  ///< mirror one side of the samples; where present, `valley` is not looked at
  std::optional<bool> valley{};
};

/// What `Evans3x3` is asked for; null for outputs not wanted. Curvatures are per cell size (divided by it
/// they are in 1 / map unit). `plan`, `tangential`, `planRaw` are positive in hollows, where flow converges,
/// `profile`, `profileRaw` where the slope is convex up, the reverse of `surfaceMetrics`; `curvMin` and
/// `curvMax` are positive where the ground is convex up, `curvPrincipal` where it is concave up.
struct EvansArgs {
  float* aspect = nullptr;         ///< degrees clockwise from north
  float* gradient = nullptr;       ///< tangent of the slope
  float* plan = nullptr;           ///< of the contour
  float* tangential = nullptr;     ///< of the section normal to the slope line
  float* planRaw = nullptr;        ///< second derivative along the contour
  float* profile = nullptr;        ///< of the slope line
  float* profileRaw = nullptr;     ///< second derivative down the slope
  float* curvMin = nullptr;        ///< the smaller of the principal second derivatives
  float* curvMax = nullptr;        ///< the larger
  float* curvPrincipal = nullptr;  ///< the larger principal curvature of the surface
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

class I4Grid_type;

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
  /// Stores a value. Status 0; -1 outside the grid, with a report.
  int SetR4CellColRow(int32_t col, int32_t row, float newValue);
  /// The same for the lattice cell at a point.
  int SetR4CellXY(double x, double y, float newValue);
  /// cell + amount, and so on. A missing cell counts as the number that nodata is: -9999 and 2.5 give
  /// -9996.5, which then reads as data. Status 0; -1 outside the grid, not reported.
  int AddR4(int32_t col, int32_t row, float amount);
  int SubtractR4(int32_t col, int32_t row, float amount);
  int multiplyCellR4(int32_t col, int32_t row, float factor);
  /// Sets each listed cell; cells outside the grid are passed over. 0, or -1 with a report.
  int SetR4List(std::span<const ColRow> list, float newValue);

  // ---- rows and windows (grid/access.cpp) ----
  /// The cells of a row as they are. A row outside the grid, or an array that is too short, gives -9999.0
  /// whatever the nodata value is; a row that cannot be read gives nodata, a report and status -1.
  void ExtractR4row(std::span<float> array, int32_t row) const;
  /// Stores a row of ncols cells. Status 0; -1 outside the grid, or with a report.
  int SetR4row(int32_t row, std::span<const float> array);
  /// The cells of a window as the cell reader gives them: nodata outside the grid and for a NaN.
  void ExtractR4Window(std::span<float> array, const Window& window) const;
  /// The same for the 3 by 3 cells round a cell.
  void ExtractR4Neighbours(std::array<float, 9>& array, int32_t col, int32_t row) const;
  /// Stores a window. Status 0; -1 with a report if the array is too short, or if cells lie outside the grid:
  /// those within it are stored then.
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
  /// status of `result` is set. 0, or -1 with a report and no cells in `result`.
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

  // ---- masks (grid/masks.cpp): cells that the mask leaves out become nodata; rows before a failure stay
  // masked; 0, or -1 with a report ----
  /// Leaves out the cells that are nodata in the same row and column of the mask, of any type; a NaN of the
  /// mask leaves nothing out. The counts must agree.
  int R4MaskByRow(const Grid_Header& maskGrid);
  /// Leaves out the cells with no data of the mask in a circle round their position in it, of
  /// `bufferDistance` (map units, rounded to whole cells of the mask) and one cell more. The mask is an I4 or
  /// I8 grid; it holds no data beyond its border.
  int R4MaskWithBuffer(const Grid_Header& maskGrid, double bufferDistance);
  /// Row by row where the two grids lie on the same cells and the distance is below half a cell of this grid,
  /// else with the buffer.
  int R4Mask(const Grid_Header& maskGrid, std::optional<double> bufferDistance = {});

  // ---- nodata (grid/nodata_values.cpp): a NaN stays; 0, or -1 with a report ----
  /// Cells at or below `oldValue`, absent: the grid's nodata, become `newValue`, which becomes the grid's
  /// nodata unless `setHeader` is false. An old value above 0 means the cells that equal it.
  int resetNodataValueR4(float newValue, std::optional<float> oldValue = {}, bool setHeader = true);
  /// Cells between -0.0001 and 0.0001 become nodata.
  int ZeroToNodata();

  // ---- floods and blobs (grid/flood_fill.cpp, grid/blobs.cpp) ----
  /// Sets the cell (col, row), whatever it holds, and the zeros that are connected to it by sides to `value`,
  /// which must not be 0. A seed outside is reported and changes nothing.
  int Flood_R4queue(int32_t col, int32_t row, float value);
  /// The same with the grid's nodata; nothing to do where that is 0.
  int FloodZeroToNodata(int32_t col, int32_t row);
  /// Every cell at or below 0 becomes nodata.
  int SetNonPositiveToNodata();
  /// Delineates blobs, groups of cells at or above `threshold` connected by sides and corners, in `output`,
  /// made here: 1 in blobs, -1 elsewhere; with a buffer 1 in and around blobs, -1 without data, else 0.
  int FlagThreshold(I4Grid_type& output, float threshold, const BlobArgs& args = {}) const;
  /// Cells below `threshold` (above 0) become nodata. With minArea, in squared map units, patches of up to
  /// so many cells become nodata too, and the cells of the others 0. With bufferDistance, from half a cell
  /// on, what remains becomes 1 and cells of nodata within that distance 2. Nodata must not be 0.
  int greaterThanR4(float threshold, double minArea, double bufferDistance);
  /// Zeros within `distance`, in map units, of a cell above 0 take `value`; there must be one. Other cells,
  /// nodata unless it is 0 included, stay as they are (grid/buffers.cpp).
  int bufferR4(double distance, float value);
  /// Fills holes, regions connected by sides and corners that hold no data or data up to `minVal`, with the
  /// lowest value on their rim, unless they touch the grid's edge or are too large (grid/holes.cpp).
  int FillHoles(const FillHolesArgs& args = {});

  // ---- surroundings (grid/window_operations.cpp, grid/relief.cpp) ----
  /// Means of the cells with data in a circle, radius in map units, around every cell that holds data;
  /// `output` is made here. Sums in float64, rounded once. Cells must be square.
  int meanWindowR4(double radius, R4Grid_type& output) const;
  /// Largest values in such circles.
  [[nodiscard]] R4Grid_type maxWindowR4(double radius) const;
  /// Smooths the cells whose 3 by 3 block holds data throughout, `passes` times; a row sees the one above
  /// as already smoothed.
  int SmoothR4(int32_t passes);
  /// Weighted mean of the cells with data in the 3 by 3 block; -9999.0 where there are none.
  [[nodiscard]] float Mean3x3R4(int32_t col, int32_t row, const BlockOptions& options = {}) const;
  /// Smallest value of the eight neighbours that hold data, or that are above 0; -9999.0 where none does.
  [[nodiscard]] float Min3x3R4(int32_t col, int32_t row, bool positiveOnly = false) const;
  /// Standard score of the cell at a point among the cells in a circle, radius in map units: 0 on flat
  /// ground, -9999.0 without data there or with two cells or fewer. Cells must be square, else status -1.
  [[nodiscard]] float LocalRelief(double radius, double x, double y) const;
  /// Mean in a circle at a cell or point, weighted by distance. Cells must be square.
  int distanceWeightedMean(const WeightedMeanArgs& args) const;

  // ---- statistics (grid/quantiles.cpp) ----
  /// Quantiles, fractions from 0 to 1, of the cells with data, into `values` in the same order: exact, by
  /// linear interpolation between sorted values, or from a histogram. The grid's nodata where no cell counts.
  int quantileR4(std::span<const float> quantiles, std::span<float> values,
                 const QuantileArgs& args = {}) const;
  /// Mean, and variance (over the count) and deviation if wanted, of the cells with data, summed in float64;
  /// -9999.0 where there are none.
  int meanR4(float& mean, const MeanOutputs& outputs = {}) const;
  /// How many cells hold data; -9999 if they cannot be read.
  [[nodiscard]] int64_t CountValid() const;

  // ---- new grids (grid/transforms.cpp, grid/subsets.cpp); status -1 and no cells where one cannot be made
  // ----
  /// Natural logarithms in float32 of the data above 0, -9999.0, the nodata of the result, elsewhere.
  [[nodiscard]] R4Grid_type LogR4() const;
  /// Every factor-th cell, without averaging; what is left over is shared between both sides.
  [[nodiscard]] R4Grid_type SubsampleR4(int32_t factor) const;
  /// A rectangle of the grid; nodata where it lies outside, a report where all of it does.
  [[nodiscard]] R4Grid_type SubsetR4(const SubsetArgs& args) const;

  // ---- surface metrics (grid/surface_metrics.cpp, grid/curvature.cpp): nodata must be a number not above 0,
  // with data above it, and the cells square; otherwise a report and status -1 ----
  /// Gradient, aspect and curvature on a circle of radius `length`. Status -1, with the float outputs
  /// at -9999.0, where the point has no data.
  int surfaceMetrics(const SurfaceMetricsArgs& args);
  /// The same under the name that its reports carry.
  int surfaceMetricsZTC(const SurfaceMetricsArgs& args) { return surfaceMetrics(args); }
  /// `plan` of `surfaceMetrics` times the radius squared, in map units; -9999.0 without data.
  [[nodiscard]] float PlanXY(float length, double x, double y);
  /// Quadratic fit over 3 by 3 cells (Evans 1980, Zevenbergen and Thorne's numbering).
  void Evans3x3(int32_t col, int32_t row, const EvansArgs& args);
  /// D8 code of the neighbour with the steepest descent by absolute values, in cell units; 0 for none.
  /// Missing neighbours do not count.
  [[nodiscard]] int32_t SteepestNeighbour(int32_t col, int32_t row);

  // ---- raster files (grid/float_raster.cpp) ----
  /// Writes `<stem>.flt` and its header; see `WriteGridflt`.
  int WritefltR4(std::string_view stem, const VersionStamp* stamp = nullptr);
};

class R8Grid_type : public GridOf<double> {
 public:
  /// The header's float32, widened.
  [[nodiscard]] double GetNodataR8() const { return nodataValue(); }

  // ---- cells, rows and windows (grid/access.cpp) ----
  /// Nodata outside the grid and for a NaN.
  [[nodiscard]] double extractR8ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: extractR8ValueColRow in Grid_Module");
  }
  /// Value at a point, found as by `ExtractR4ValueXY`, not rounded to float32.
  [[nodiscard]] double ExtractR8ValueXY(double x, double y, const PointOptions& options = {}) const;
  /// Stores a value. Status 0; -1 outside the grid, with a report.
  int SetR8Cell(int32_t col, int32_t row, double newValue);
  /// cell + amount; a missing cell counts as the number that nodata is. Status 0; -1 outside, not reported.
  int AddR8(int32_t col, int32_t row, double amount);
  /// cell * factor in the same way.
  int multiplyCellR8(int32_t col, int32_t row, double factor);
  /// As `ExtractR4row`.
  void ExtractR8row(std::span<double> array, int32_t row) const;
  /// Stores a row of ncols cells. Status 0; -1 with a report.
  int SetR8Row(int32_t row, std::span<const double> array);
  /// As `ExtractR4Window`.
  void ExtractR8Window(std::span<double> array, const Window& window) const;
  /// As `setWindowR4`.
  int setWindowR8(const Window& window, std::span<const double> array);
  /// cell * array element, for the cells of a window; a missing cell counts as a number.
  int multiplyWindowR8(const Window& window, std::span<const double> array);

  // ---- whole grids: as with float32, in float64 ----
  /// cell * by for the cells that hold a value.
  int scalarMultiplyR8(double by);
  /// value - cell.
  int ValueMinusR8Grid(double value);
  /// cell - value.
  int R8GridMinusValue(double value);
  /// As `cloneR4`.
  int cloneR8(R8Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// The smallest cell above nodata, as in `MinR4`; 1.7976931348623157e308 if there is none.
  [[nodiscard]] double MinR8(const WindowArgs& window = {});
  /// As `R4MaskByRow`.
  int R8MaskByRow(const Grid_Header& maskGrid);
  /// As `resetNodataValueR4`; the cells take the new value as a float32 holds it, like the header.
  int resetNodataValueR8(double newValue, std::optional<double> oldValue = {}, bool setHeader = true);
  /// Writes the cells, rounded to float32, as `<stem>.flt`; see `WriteGridflt`.
  int WritefltR8(std::string_view stem, const VersionStamp* stamp = nullptr);
};

class I4Grid_type : public GridOf<std::int32_t> {
 public:
  /// The header's value truncated, kept within the type's range.
  [[nodiscard]] int32_t GetNodataI4() const { return nodataValue(); }

  // ---- cells, rows and windows (grid/access.cpp) ----
  /// Nodata outside the grid.
  [[nodiscard]] int32_t ExtractI4ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI4ValueColRow in Grid_Module");
  }
  /// The lattice cell at the point; -9999 outside xmin..xmax, ymin..ymax.
  [[nodiscard]] int32_t ExtractI4ValueXY(double x, double y) const;
  /// Stores a value. Status 0; -1 outside the grid, with a report.
  int SetI4Cell(int32_t col, int32_t row, int32_t newValue);
  /// The same for the lattice cell at a point.
  int SetI4CellXY(double x, double y, int32_t newValue);
  /// cell + amount, wrapping at the ends of the type; a missing cell counts as the number that nodata is.
  /// Status 0; -1 outside the grid, not reported.
  int AddColRowI4(int32_t col, int32_t row, int32_t amount);
  /// -|cell|, nodata not excepted. Status 0; -1 outside the grid, not reported.
  int SetI4Negative(int32_t col, int32_t row);
  /// As `ExtractR4row`; -9999 outside the grid.
  void ExtractI4row(std::span<int32_t> array, int32_t row) const;
  /// As `SetR4row`.
  int SetI4row(int32_t row, std::span<const int32_t> array);
  /// As `ExtractR4Window`.
  void ExtractI4Window(std::span<int32_t> array, const Window& window) const;
  /// The 3 by 3 cells round a cell.
  void ExtractI4Neighbours(std::array<int32_t, 9>& array, int32_t col, int32_t row) const;
  /// As `setWindowR4`.
  int setWindowI4(const Window& window, std::span<const int32_t> array);
  /// max(cell, array element) for the cells of a window.
  int setWindowMaxI4(const Window& window, std::span<const int32_t> array);

  // ---- whole grids and windows: as with float32 (grid/arithmetic.cpp, signs.cpp, clones.cpp, extremes.cpp,
  // integers.cpp); of the lowest integer the absolute value is the largest ----
  /// Every cell that is not nodata takes the value.
  int SetValidI4(int32_t value);
  /// -|cell| for the cells of a window, nodata not excepted.
  int SetNegativeI4(const WindowArgs& window = {});
  /// |cell| for the cells of a window; nodata stays.
  int SetPositiveI4(const WindowArgs& window = {});
  /// The same for the whole grid.
  int AbsValI4();
  /// As `cloneR4`.
  int cloneI4(I4Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// As `R4GridCopy`.
  int I4GridCopy(const I4Grid_type& source);
  /// The smallest cell above nodata, as in `MinR4`; 2147483647 if no cell counts.
  [[nodiscard]] int32_t MinI4(const WindowArgs& window = {});
  /// The largest of the same cells; -2147483648 if no cell counts.
  [[nodiscard]] int32_t maxI4(const WindowArgs& window = {});
  /// Cells other than 0 and nodata; -1 with status -1 and a report if a row cannot be read.
  [[nodiscard]] std::int64_t CountNonZeroI4();
  /// Where the array is above 0 and the cell is 0 or larger, the cell takes the element. Cells outside the
  /// grid are passed over. 0, or -1 with a report.
  int MergeWindowI4(const Window& window, std::span<const int32_t> array);

  // ---- masks (grid/masks.cpp): as with float32 ----
  /// As `R4MaskByRow`.
  int I4MaskByRow(const Grid_Header& maskGrid);
  /// As `R4MaskWithBuffer`.
  int I4MaskWithBuffer(const Grid_Header& maskGrid, double bufferDistance);
  /// As `R4Mask`.
  int I4Mask(const Grid_Header& maskGrid, std::optional<double> bufferDistance = {});

  /// As `Flood_R4queue`, both under their name (grid/flood_fill.cpp).
  int Flood_I4queue(int32_t col, int32_t row, int32_t value);
  int FloodI4(int32_t col, int32_t row, int32_t value);
  /// As `bufferR4` (grid/buffers.cpp).
  int buffer(double distance, int32_t value);
  /// Cells of 0 with at least `minNeighbours` cells above 0 in their 3 by 3 block take `value`; the blocks
  /// are those of before, the outer rows and columns stay (grid/grow_thin.cpp).
  int GrowI4(const GrowArgs& args = {});
  /// Cells above 0 become 0 where their block has at most `maxNeighbours` cells above 0, themselves included,
  /// or four of which three fill one of its sides.
  int ThinI4(const ThinArgs& args = {});
  /// Distances, in map units, from each reference point to the nearest of a cell above 0, in a new grid;
  /// 1.0e30 beyond a radius of maxDistance / cellsize, truncated to whole cells. Cells must be square
  /// (grid/distances.cpp).
  [[nodiscard]] R4Grid_type distanceTo(double maxDistance) const;
  /// As `SubsetR4` (grid/subsets.cpp).
  [[nodiscard]] I4Grid_type SubsetI4(const SubsetArgs& args) const;

  // ---- raster files ----
  /// Writes the cells as float32, which keeps integers to 16777216, as `<stem>.flt`; see `WriteGridflt`.
  int WritefltI4(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells at their own width as `<stem>.int`; see grid/integer_raster.h.
  int WriteIntI4(std::string_view stem);
};

class I8Grid_type : public GridOf<std::int64_t> {
 public:
  /// The header's value truncated, kept within the type's range.
  [[nodiscard]] int64_t GetNodataI8() const { return nodataValue(); }

  // ---- cells, rows and windows (grid/access.cpp): as with int32 ----
  /// Nodata outside the grid.
  [[nodiscard]] int64_t ExtractI8ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI8ValueColRow in Grid_Module");
  }
  /// The lattice cell at the point; -9999 outside xmin..xmax, ymin..ymax.
  [[nodiscard]] int64_t ExtractI8ValueXY(double x, double y) const;
  /// Stores a value. Status 0; -1 outside the grid, with a report.
  int SetI8CellColRow(int32_t col, int32_t row, int64_t newValue);
  /// The same for the lattice cell at a point.
  int SetI8CellXY(double x, double y, int64_t newValue);
  /// As `AddColRowI4`.
  int AddColRowI8(int32_t col, int32_t row, int64_t amount);
  /// -|cell|, nodata not excepted. Status 0; -1 outside the grid, with a report.
  int SetI8Negative(int32_t col, int32_t row);
  /// As `ExtractR4row`; -9999 outside the grid.
  void ExtractI8row(std::span<int64_t> array, int32_t row) const;
  /// As `SetR4row`.
  int SetI8row(int32_t row, std::span<const int64_t> array);
  /// As `ExtractR4Window`.
  void ExtractI8Window(std::span<int64_t> array, const Window& window) const;
  /// The same into a list that is made as long as the window. 0, or -1 with a report and an empty list if
  /// there is no memory.
  int ExtractI8WindowList(std::vector<int64_t>& list, const Window& window) const;
  /// The 3 by 3 cells round a cell.
  void ExtractI8Neighbours(std::array<int64_t, 9>& array, int32_t col, int32_t row) const;
  /// As `setWindowR4`.
  int setWindowI8(const Window& window, std::span<const int64_t> array);

  // ---- whole grids and windows: as with int32 ----
  /// |cell| for the cells of a window; nodata stays.
  int SetPositiveI8(const WindowArgs& window = {});
  /// The same for the whole grid.
  int AbsValI8();
  /// As `cloneR4`.
  int cloneI8(I8Grid_type& result, std::optional<bool> disk = std::nullopt) const;
  /// The largest cell above nodata, as in `maxI4`; the lowest int64 if there is none.
  [[nodiscard]] int64_t maxI8(const WindowArgs& window = {});

  // ---- masks (grid/masks.cpp): as with float32 ----
  /// As `R4MaskByRow`.
  int I8MaskByRow(const Grid_Header& maskGrid);
  /// As `R4MaskWithBuffer`.
  int I8MaskWithBuffer(const Grid_Header& maskGrid, double bufferDistance);
  /// As `R4Mask`.
  int I8Mask(const Grid_Header& maskGrid, std::optional<double> bufferDistance = {});

  /// As `Flood_R4queue` and `bufferR4` (grid/flood_fill.cpp, grid/buffers.cpp).
  int Flood_I8queue(int32_t col, int32_t row, int64_t value);
  int buffer(double distance, int64_t value);
  /// The cell above 0 nearest the cell at (x, y), in a square around that, the first in row order of several;
  /// col and row are -9999 where there is none (grid/distances.cpp).
  void NearestValidI8(double x, double y, int32_t& col, int32_t& row,
                      const NearestValidArgs& args = {}) const;

  // ---- raster files ----
  /// Writes the cells as float32, which keeps integers to 16777216, as `<stem>.flt`; see `WriteGridflt`.
  int WritefltI8(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells at their own width as `<stem>.int`; see grid/integer_raster.h.
  int WriteIntI8(std::string_view stem);
};

class I2Grid_type : public GridOf<std::int16_t> {
 public:
  /// The header's value truncated, kept within the type's range.
  [[nodiscard]] int16_t GetNodataI2() const { return nodataValue(); }
  /// As `ExtractR4row`; -9999 outside the grid.
  void ExtractI2Row(std::span<int16_t> array, int32_t row) const;
  /// As `SetR4row`; a failed switch of the access mode is reported.
  int SetI2row(int32_t row, std::span<const int16_t> array);
  /// Writes the cells as float32 as `<stem>.flt`; see `WriteGridflt`.
  int WritefltI2(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes D8 flow directions as `<stem>.rst` and `.rdc`; see grid/rst_raster.h.
  int WriterstI2(std::string_view stem);
};

class I1Grid_type : public GridOf<std::int8_t> {
 public:
  /// Always 0, as `nodata` is from the making of the grid on.
  [[nodiscard]] int8_t GetNodataI1() const { return nodataValue(); }
  /// 0, which is nodata, outside the grid.
  [[nodiscard]] int8_t ExtractI1ValueColRow(int32_t col, int32_t row) const {
    return value(col, row, "ERROR: ExtractI1ValueColRow in Grid_Module");
  }
  /// Stores a value. Status 0; -1 outside the grid, not reported.
  int SetI1Cell(int32_t col, int32_t row, int8_t newValue);
  /// As `AddColRowI4`.
  int AddColRowI1(int32_t col, int32_t row, int8_t amount);
  /// As `ExtractR4row`; 0 outside the grid.
  void ExtractI1Row(std::span<int8_t> array, int32_t row) const;
  /// As `SetR4row`; a failed switch of the access mode is reported.
  int SetI1Row(int32_t row, std::span<const int8_t> array);
  /// As `setWindowR4`; cells outside the grid are not reported.
  int setWindowI1(const Window& window, std::span<const int8_t> array);
  /// Every cell takes the value. 0, or -1 with a report.
  int SetAllI1(int8_t value);
  /// The largest value above 0; -128 if there is none.
  [[nodiscard]] int8_t MaxI1(const WindowArgs& window = {});
  /// Writes the cells as float32 as `<stem>.flt`; see `WriteGridflt`.
  int WritefltI1(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// Writes the cells as `<stem>.bil`; see grid/bil_raster.h.
  int writeBIL(std::string_view stem);
};

}  // namespace terrain
