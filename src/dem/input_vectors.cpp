#include "dem/input_vectors.h"

#include <string>

#include "foundation/file_names.h"
#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

int readLines(const DEM_type& dem, std::string_view file, LineVectorType& lines, const VectorTexts& failure) {
  const std::string stem = stripExtension(stripped(file));
  if (ReadPolylineShapefile(lines, stem) != kSuccess)
    return fail(failure.routine, std::string(failure.message) + stem);
  if (dem.feetConverted) lines.ConvertToMeters();
  return kSuccess;
}

int readPoints(const DEM_type& dem, std::string_view file, PointVectorType& points,
               const VectorTexts& failure) {
  const std::string stem = stripExtension(stripped(file));
  PointReadOptions options;
  if (dem.feetConverted) options.units = 'f';
  if (ReadPointShapefile(points, stem, options) == kSuccess) return kSuccess;
  return fail(failure.routine, std::string(failure.message) + stem);
}

std::vector<ColRow> cellsOfPoints(const DEM_type& dem, const PointVectorType& points) {
  std::vector<ColRow> cells;
  for (const PointType& point : points.point)
    if (dem.covers(point.x, point.y))
      if (const std::optional<ColRow> cell = dem.cellHolding(point.x, point.y)) cells.push_back(*cell);
  return cells;
}

}  // namespace terrain
