#pragma once
// Smoothing of an elevation grid: in a circle around each cell a plane is fitted by least squares with
// weights that fall with the distance, and the weighted mean of the residuals is added at the centre. A
// cell that the circle's edge crosses counts by the share of its area inside.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "grid/grid.h"

namespace terrain {

/// The filter that has been set up: `side` = 2 * halfWidth + 1 rows of as many window cells, one after the
/// other. There is one at a time.
struct WdMeanSetup {
  double cellsize = 0;  ///< map units
  double radius = 0;    ///< of the circle, map units
  int32_t alphaFit = 0, alphaMean = 0;
  int32_t halfWidth = 0;            ///< cells from the centre to the window's edge
  std::vector<double> coverage{};   ///< share of each cell's area inside the circle; 1 for the centre
  std::vector<double> weightFit{};  ///< of the plane fit
  std::vector<double> weightMean{};
  std::vector<int32_t> reach{};  ///< for each row the cells on either side of the centre, -1 for none
};
/// Null before `Init_WD_mean` and after `ReleaseWDMean`.
[[nodiscard]] const WdMeanSetup* wdMeanSetup();

struct WdMeanArgs {
  std::optional<double> radius{};  ///< map units
  int32_t* halfWidth = nullptr;    ///< takes the half width of the window, cells
  std::optional<int32_t> alphaFit{};
  std::optional<int32_t> alphaMean{};  ///< 0 where only the other two are given
};

/// Sets the filter up for a cell size. The weight of a window cell is coverage * (1 - t)^alpha, with t its
/// distance as a share of the longest one of a cell with coverage, and the coverage alone for an alpha of
/// 0 or less. Without radius or `alphaFit` the three parameters are read from the file "wd_mean.txt" in the
/// current directory; if there is none they are asked for on the console, and the file is written. 0; or
/// -1, with a report and the older setup as it was, for a parameter that is missing or not valid or if
/// there is no memory.
int Init_WD_mean(double cellsize, const WdMeanArgs& args = {});
/// Frees the setup.
void ReleaseWDMean();

/// Share of the area of the window cell at offsets (i, j) from the centre that a circle of radius `r`, in
/// cells, around the centre covers.
[[nodiscard]] double CellCoverage(int32_t i, int32_t j, double r);

/// The surface that the filter fits to a window: value + eastward * i + northward * j at the cell i columns
/// east and j rows north of the centre.
struct WdMeanFit {
  float value = 0;  ///< the filtered value of the centre; NaN where no cell of the circle has a value
  double eastward = 0, northward = 0;
  bool level = false;  ///< the cells lie on one point or one line: the weighted mean in place of a plane
};
/// Fits the window of the setup, which there must be: rows of cells from the north, of which those of nodata
/// and NaN take no part. 0, or -1 with a report.
int WDMeanFit(std::span<const float> window, float nodata, WdMeanFit& fit);

/// The filtered value of the cell whose area holds a point; -9999.0 outside the grid and where the cell does
/// not hold a value above 0. Sets the filter up, with the parameters that it has, for another cell size.
/// 0; -1, with a report, if that or memory for the window fails.
int WDMeanCell(const R4Grid_type& grid, double x, double y, float& filtered);

/// Filters a whole grid into a clone of it; cells without a value above 0 stay as they are. The window is
/// cut at the grid's edge. Logs each row. The status of `output` is set. 0, or -1 with a report.
int WDMeanGrid(const R4Grid_type& input, R4Grid_type& output);

}  // namespace terrain
