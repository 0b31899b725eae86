#pragma once
// Channels along single directions in the drainage program: what its keywords set, and the grids that they
// name.

#include <optional>
#include <string>

#include "dem/channel_mask.h"
#include "dem/d8_paths.h"

namespace terrain {

struct D8Lengths {
  std::optional<double> plan{}, aspect{};  ///< metres
};

struct D8Coefficients {
  std::optional<float> slope{}, plan{}, aspect{}, accum{}, ndvi{}, preferential{};

  /// Those that are given; if none is, 1 for slope, plan curvature and aspect.
  [[nodiscard]] D8Weights weights() const;
};

struct NdviRaster {
  std::string file{};
  std::optional<float> maxGradient{};
};

struct D8Plan {
  std::optional<D8Lengths> lengths{};
  std::optional<D8Coefficients> coefficients{};
  std::string accumName{};  ///< raster of contributing area
  NdviRaster ndvi{};

  [[nodiscard]] bool isOn() const { return lengths || coefficients; }
  /// The text of what is missing; blank if nothing is.
  [[nodiscard]] std::string missing(const ChannelMasks& channels) const;
};

struct D8Grids {
  R4Grid_type plan{}, accum{}, ndvi{}, preferential{};
  D8Paths paths{};  ///< names those of the grids that exist
};

/// Reads the rasters of the plan, and measures plan curvature where it has a length other than `planLength`,
/// that of `DEM%plan`. The elevations must be the raw ones. 0, or -1 with a report.
int loadD8(DEM_type& dem, const D8Plan& plan, const ChannelMasks& channels, double planLength,
           D8Grids& grids);

}  // namespace terrain
