#pragma once
// Masks that come from outside, rasters or polygons, brought to the DEM's cells.

#include <cstdint>
#include <limits>
#include <string_view>

#include "dem/dem.h"

namespace terrain {

/// Who reads a mask, for the reports, and what it is called there.
struct MaskTexts {
  std::string_view routine{};
  std::string_view what{};  ///< such as "channel mask"
};

/// The value of the mask cell in which the reference point of each cell of the DEM lies, `outside` beyond the
/// raster and for its nodata. `name` is without extension. The raster's cells must be of the DEM's size. 0,
/// or -1 with a report.
int readMaskRaster(const DEM_type& dem, std::string_view name, const MaskTexts& texts, I4Grid_type& cells,
                   int32_t outside = 0);

/// The same for a raster or a shapefile of polygons, whichever `file`, with or without extension, is; cells
/// that polygons cover or whose edges they cross hold 1.
int readAreaMask(const DEM_type& dem, std::string_view file, const MaskTexts& texts, I4Grid_type& cells);

inline constexpr int32_t kNoAreaId = std::numeric_limits<int32_t>::min();

/// The identifiers of areas: the cells of a raster, or the integers of a field of polygons, by default their
/// ID field; of polygons with 0 nothing is taken. `kNoAreaId` where there is no area. 0, or -1 with a report.
int readAreaIds(const DEM_type& dem, std::string_view file, std::string_view idField, const MaskTexts& texts,
                I4Grid_type& ids);

}  // namespace terrain
