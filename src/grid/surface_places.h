#pragma once
// Parts of the whole-grid form of gradient and aspect: where the samples of a circle fall on the two
// axes of a grid, and a sample between the cells of a window of rows. A sample is what the value reader
// of the grid gives there, bit for bit.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "grid/grid.h"
#include "grid/row_window.h"
#include "grid/surface_fit.h"

namespace terrain::surface {

// ---- places: where a coordinate falls on its axis ----

/// The five offsets of the circle on one axis, in units of the radius.
inline constexpr std::array<double, 5> kOffsets{-1, -kDiagonal, 0, kDiagonal, 1};
inline constexpr std::size_t kCentre = 2;

/// Number in kOffsets of each sample's offset in x and in y.
inline constexpr std::array<std::size_t, 10> kXOf{0, 1, 2, 3, 0, 2, 4, 1, 2, 3};
inline constexpr std::array<std::size_t, 10> kYOf{0, 3, 4, 3, 2, 2, 2, 1, 0, 1};

/// One coordinate of a point, as the value reader sees it.
struct Place {
  double fraction = 0;    // of a cell, from the reference point
  int32_t cell = 0;       // column or row; 0 where there is none
  bool onLine = false;    // no fraction within the tolerance
  bool onBorder = false;  // of the grid
};
using Places = std::array<Place, 5>;

/// Where the samples round a column's, or a row's, own point fall.
Places placesOfColumn(const GridGeometry& grid, int32_t col, double radius);
Places placesOfRow(const GridGeometry& grid, int32_t row, double radius);

// ---- one sample ----

/// Between four cells, as the value reader has it.
inline double bilinear(double a, double b, double c, double d, double u, double v) {
  return a * (1 - u) * (1 - v) + b * u * (1 - v) + c * (1 - u) * v + d * u * v;
}

class Sampler {
 public:
  Sampler(const RowWindow<float>& rows, float nodata) : rows_(rows), nodata_(nodata) {}

  /// Whether the sample can be above nodata: it cannot where the cell that holds it is not.
  [[nodiscard]] bool mayHoldData(const Place& x, const Place& y) const {
    return x.cell != 0 && y.cell != 0 && rows_.row(y.cell)[x.cell - 1] > nodata_;
  }
  [[nodiscard]] double value(const Place& x, const Place& y) const {
    if (x.cell == 0 || y.cell == 0) return static_cast<double>(nodata_);
    const double a = cell(x.cell, y.cell);
    if ((x.onLine && y.onLine) || x.onBorder || y.onBorder) return a;
    const double b = cell(x.cell + 1, y.cell);
    const double c = cell(x.cell, y.cell - 1);
    const double d = cell(x.cell + 1, y.cell - 1);
    const auto limit = static_cast<double>(nodata_);
    if (!(std::min({a, b, c, d}) > limit)) return a > limit ? a : limit;
    const auto result = static_cast<float>(bilinear(a, b, c, d, x.fraction, y.fraction));
    return static_cast<double>(std::isnan(result) ? nodata_ : result);
  }

 private:
  [[nodiscard]] double cell(int32_t col, int32_t row) const {
    const float held = rows_.row(row)[col - 1];
    return static_cast<double>(std::isnan(held) ? nodata_ : held);
  }

  const RowWindow<float>& rows_;
  float nodata_;
};

}  // namespace terrain::surface
