#pragma once
// All that one run knows: the limits of its walks, what it reads, makes and saves, and its DEM. Made
// once at the program's entry and handed down; there is no other state of a run.

#include <string>
#include <string_view>

#include "dem/dem.h"
#include "foundation/input_file.h"
#include "run/walk_table.h"

namespace terrain {

inline constexpr std::string_view kProgramName = "Ostrevanmoor";
inline constexpr std::string_view kCompileDate = "January 8, 2023";
inline constexpr std::string_view kVersion = "1.0.2";

struct RunState {
  WalkValues walk{};

  bool makeGradient = true;  ///< gradient is computed from the DEM
  bool makeAspect = true;    ///< aspect is computed from the DEM
  bool makeBcon = true;      ///< contour length is computed rather than read
  bool saveGradient = false, saveAspect = false, saveBcon = false;  ///< a computed raster is written too
  std::string outputName{};                                         ///< rasters are named without extension
  std::string gradientName{}, aspectName{}, bconName{};
  std::string scratchPath{};  ///< ends in a separator
  std::string lengthTag{};    ///< integer part of the length scale, in the names of saved rasters

  std::string inputName{};       ///< path of the instruction file
  InputFileType instructions{};  ///< held until the inputs are ready
  int32_t logUnit = 0;
  std::string startText{};
  std::string runStamp{};
  VersionStamp programInfo{};

  DEM_type DEM{};
  R4Grid_type accum{};
};

}  // namespace terrain
