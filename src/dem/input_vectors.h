#pragma once
// Shapefiles of lines and points that come from outside, brought to the DEM's units.

#include <string_view>

#include "dem/dem.h"
#include "table/line_vectors.h"
#include "table/point_vectors.h"

namespace terrain {

/// Routine and message of the report that a shapefile cannot be read; its name follows the message.
struct VectorTexts {
  std::string_view routine{};
  std::string_view message{};
};

/// Reads a shapefile, in metres where the DEM's unit is feet. An ending of the name is dropped. 0, or -1 with
/// a report.
int readLines(const DEM_type& dem, std::string_view file, LineVectorType& lines, const VectorTexts& failure);
int readPoints(const DEM_type& dem, std::string_view file, PointVectorType& points,
               const VectorTexts& failure);

/// The cells of the points that lie on the DEM, in the order of the points.
[[nodiscard]] std::vector<ColRow> cellsOfPoints(const DEM_type& dem, const PointVectorType& points);

}  // namespace terrain
