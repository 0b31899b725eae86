#pragma once
// Raster files for tests of the elevation model, written byte by byte and not by the system's own writer.

#include <bit>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "dem/flow_direction.h"
#include "support/grids.h"
#include "table/line_vectors.h"

namespace terrain::test {

struct RasterPlan {
  double xmin = 1000, ymin = 2000;
  double cellsize = 10;
  std::string nodata = "-9999";
};

/// A float raster from its rows, north first; "." is the plan's nodata, "nan" not a number.
inline void writeRaster(const std::string& stem, std::string_view rows, const RasterPlan& plan = {}) {
  std::vector<float> cells;
  std::size_t nrows = 0;
  std::istringstream lines{std::string(rows)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::size_t inRow = 0;
    for (std::string word; words >> word; ++inRow)
      cells.push_back(std::stof(word == "." ? plan.nodata : word));
    if (inRow > 0) ++nrows;
  }
  std::ostringstream header;
  header.precision(15);
  header << "NCOLS " << cells.size() / nrows << "\nNROWS " << nrows << "\nXLLCORNER " << plan.xmin
         << "\nYLLCORNER " << plan.ymin << "\nCELLSIZE " << plan.cellsize << "\nNODATA_VALUE " << plan.nodata
         << "\n";
  writeBytes(stem + ".hdr", header.str());
  std::string bytes(cells.size() * sizeof(float), '\0');
  std::memcpy(bytes.data(), cells.data(), bytes.size());
  writeBytes(stem + ".flt", bytes);
}

/// The cells as text, a row a line; "." is nodata.
template <class G>
std::string showCells(G& grid) {
  std::ostringstream out;
  const auto cells = cellsOf(grid);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) out << (i % static_cast<std::size_t>(grid.cols()) == 0 ? "\n" : " ");
    if (cells[i] == grid.nodataValue())
      out << '.';
    else
      out << cells[i];
  }
  return out.str();
}

/// A DEM of these elevations, whose new grids are where they are.
inline void takeElevations(DEM_type& dem, R4Grid_type&& elevations) {
  static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(elevations);
  dem.onDisk = false;
  dem.scratchUnit = 0;
  dem.elev = std::move(elevations);
  dem.aspect.onDisk = dem.DA.onDisk = dem.D8.onDisk = dem.elev.onDisk;
}

/// A DEM in the working form, with the plan curvature of no curvature at all.
inline void toWorkingForm(DEM_type& dem, R4Grid_type&& elevations) {
  dem.plan = emptyGrid<R4Grid_type>(elevations.cols(), elevations.rows(),
                                    {.storage = elevations.onDisk ? Storage::disk : Storage::memory});
  fillWith(dem.plan, [](int32_t, int32_t) { return 0.0F; });
  takeElevations(dem, std::move(elevations));
  ASSERT_EQ(shiftElevations(dem), 0);
}

/// A shapefile of lines, each a list of vertices.
inline void writeLines(const std::string& stem, const std::vector<std::vector<Point>>& lines) {
  LineVectorType table;
  const AttributeType id[] = {
      AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};
  ASSERT_EQ(NewDataTable(table, {.attributeList = id, .numRecords = static_cast<int64_t>(lines.size())}), 0);
  ASSERT_EQ(table.initializeSegments(), 0);
  for (std::size_t n = 0; n < lines.size(); ++n) {
    std::vector<double> x;
    std::vector<double> y;
    for (const Point& at : lines[n]) {
      x.push_back(at.x);
      y.push_back(at.y);
    }
    ASSERT_EQ(table.setSegmentXY(static_cast<int64_t>(n) + 1, x, y), 0);
    table.segment[n].flag = true;
  }
  ASSERT_EQ(table.WriteShapefile(stem, {.isFlag = true}), 0);
}

}  // namespace terrain::test
