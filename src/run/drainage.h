#pragma once
// The drainage program: from raw elevations to a surface on which every cell drains, its flow directions and
// contributing areas.

#include <optional>
#include <span>
#include <string>

#include "dem/channel_mask.h"
#include "dem/dem.h"
#include "foundation/keywords.h"
#include "run/d8_mode.h"
#include "run/initiation.h"
#include "run/session.h"
#include "run/surface_repairs.h"

namespace terrain {

struct CurvatureScale {
  double length = 0;               ///< metres; 0: plan curvature is read
  std::optional<double> radius{};  ///< of the circle, metres, where it is not the length scale

  [[nodiscard]] double circle() const { return radius.value_or(length); }
};

struct DrainageRun {
  CurvatureScale curvature{};
  double gradientLength = 0;  ///< length scale of the gradient, metres; 0: the circle of plan curvature
  SurfaceRepairs repairs{};
  ChannelMasks channels{};  ///< where swales lead the flow
  InitiationPlan initiation{};
  D8Plan d8{};
  std::string scratchPath{};  ///< ends in a separator
  bool strict = false;        ///< warnings about the instruction file stop the run
  /// Rasters to write, without extension; a blank one is not written.
  std::string surfaceName{}, angleName{}, codeName{}, areaName{}, gradientName{}, planName{};

  Session session{};
  DEM_type DEM{};
};

/// The program that makes these runs.
extern const ProgramIdentity kDrainageProgram;

[[nodiscard]] std::span<const Keyword<DrainageRun>> drainageKeywords();
/// Those of the repairs of the surface, of water masks, of channel initiation and of single directions, which
/// are among them.
[[nodiscard]] std::span<const Keyword<DrainageRun>> surfaceKeywords();
[[nodiscard]] std::span<const Keyword<DrainageRun>> waterKeywords();
[[nodiscard]] std::span<const Keyword<DrainageRun>> initiationKeywords();
[[nodiscard]] std::span<const Keyword<DrainageRun>> d8Keywords();
/// The keywords with unit, default and meaning: the help text and the section of the manual page.
[[nodiscard]] std::string drainageKeywordHelp();
[[nodiscard]] std::string drainageKeywordManual();

/// Carries out the run that the instruction file describes. True if all its rasters were written; a failure
/// that stops the run ends the process with exit status 1.
[[nodiscard]] bool carryOutDrainage(DrainageRun& run, const std::optional<std::string>& instructionFile);

}  // namespace terrain
