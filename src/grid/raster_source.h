#pragma once
// A raster file that is to be read: where it is, what its header says, which cells it holds. Found and
// checked against its size before any cell is read. Internal to the raster readers.

#include <string>
#include <string_view>

#include "grid/header.h"

namespace terrain {

struct RasterSource {
  std::string name{};       ///< as the caller gave it
  std::string stem{};       ///< without extension
  std::string extension{};  ///< ".flt" or ".int"
  Grid_Header header{};
  CellType type = CellType::none;  ///< of the cells in the file
  std::size_t recordLength = 0;    ///< bytes of a row

  [[nodiscard]] std::string fileName() const { return stem + extension; }
};

/// Finds the raster `name`, with or without extension, for a grid of type `wanted`: float types read
/// `<stem>.flt`, integer types `<stem>.int`, else `<stem>.flt`. 0, or -1 with a report under `tag`.
int findRaster(RasterSource& source, std::string_view name, CellType wanted, std::string_view tag);

}  // namespace terrain
