#pragma once
// Names of files of areas in instruction files.

#include <string>
#include <string_view>

#include "foundation/file_names.h"
#include "foundation/keywords.h"

namespace terrain {

/// The name of a raster or a shapefile, with or without its extension. False, with the failure `missing` and
/// the name, where there is neither.
inline bool parseArea(std::string& name, KeywordInput& input, std::string_view missing) {
  if (!input.isHostText()) return false;
  name = stripFileName(*input.text);
  return rasterExists(name) || shapefileExists(name) || input.fail(std::string(missing) + name);
}

/// The same of a shapefile.
inline bool parseShapefile(std::string& name, KeywordInput& input, std::string_view missing) {
  if (!input.isHostText()) return false;
  name = stripFileName(*input.text);
  return shapefileExists(name) || input.fail(std::string(missing) + name);
}

}  // namespace terrain
