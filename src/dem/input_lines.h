#pragma once
// Line shapefiles that come from outside, brought to the DEM's units.

#include <string_view>

#include "dem/dem.h"
#include "table/line_vectors.h"

namespace terrain {

/// Routine and message of the report that a shapefile cannot be read; its name follows the message.
struct LineTexts {
  std::string_view routine{};
  std::string_view message{};
};

/// Reads the lines of a shapefile, in metres where the DEM's unit is feet. An ending of the name is dropped.
/// 0, or -1 with a report.
int readLines(const DEM_type& dem, std::string_view file, LineVectorType& lines, const LineTexts& failure);

}  // namespace terrain
