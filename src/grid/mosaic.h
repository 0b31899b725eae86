#pragma once
// Several rasters as one: merged from files, and taken onto another lattice.

#include <optional>
#include <span>
#include <string>

#include "grid/grid.h"

namespace terrain {

/// What a cell takes where several rasters hold data.
enum class MosaicMode { smallest, largest, mean };

struct MosaicArgs {
  const Grid_Header* like = nullptr;  ///< geometry of the result; null: the union of the files' extents
  MosaicMode mode = MosaicMode::mean;
  std::optional<bool> onDisk{};  ///< absent: in memory where memory suffices
};

/// Merges float rasters, names with or without extension, into a new grid. A value goes to the cell whose
/// area holds the centre of its own, and values outside are left out; nodata is what each file's header
/// says, and NaN. Means are summed in float64 in the order of the files. Without `like` all files have one
/// cell size. A file that cannot be read, or has unequal cell sizes, is reported; the result then has
/// status -1 and no cells.
[[nodiscard]] R4Grid_type MosaicR4(std::span<const std::string> files, const MosaicArgs& args = {});

/// A grid resampled onto the lattice of `like`: each reference point takes the value that
/// `ExtractR4ValueXY` gives there, bilinear between four cells.
[[nodiscard]] R4Grid_type ResampleR4(const R4Grid_type& input, const Grid_Header& like);

}  // namespace terrain
