#pragma once
// The whole state of one run: the limits of its walks, what it reads, computes and saves, and its DEM. Made
// once at the program's entry and handed down.

#include <string>

#include "dem/dem.h"
#include "run/session.h"
#include "run/walk_table.h"

namespace terrain {

struct RunState {
  WalkValues walk{};

  bool makeGradient = true;  ///< gradient is computed from the DEM
  bool makeAspect = true;    ///< aspect is computed from the DEM
  bool makeBcon = true;      ///< contour length is computed rather than read
  bool saveGradient = false, saveAspect = false, saveBcon = false;  ///< a computed raster is written too
  int32_t threads = 0;                                              ///< that work at once; 0: all cores
  bool dry = false;          ///< ends before the walks, with an estimate of their time
  bool strict = false;       ///< warnings about the instruction file stop the run
  std::string outputName{};  ///< rasters are named without extension
  std::string gradientName{}, aspectName{}, bconName{};
  std::string scratchPath{};  ///< ends in a separator
  std::string lengthTag{};    ///< integer part of the length scale, in the names of saved rasters

  Session session{};
  DEM_type DEM{};
  R4Grid_type accum{};
};

}  // namespace terrain
