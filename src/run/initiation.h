#pragma once
// Channel initiation in the drainage program: what its keywords set, and the step of the run.

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "dem/channel_initiation.h"
#include "dem/initiation_criteria.h"
#include "dem/initiation_points.h"

namespace terrain {

struct LakeFile {
  std::string file{};  ///< polygons or a raster
  bool preclude = false;
};

struct ReliefThresholds {
  std::optional<float> low{}, high{}, accumLow{}, accumHigh{};
};

struct InitiationPlan {
  /// Absent: 0.25, 0.4 and 2.
  std::optional<float> lowGradient{}, highGradient{}, slopeExponent{};
  std::optional<float> areaLow{}, areaHigh{};
  std::optional<float> planLow{}, planHigh{};
  std::optional<float> length{}, lengthLow{}, lengthHigh{};
  std::string reliefName{};  ///< raster of local relief
  std::optional<ReliefThresholds> relief{};
  std::vector<std::string> excluded{}, only{};  ///< polygons or rasters
  std::vector<LakeFile> lakes{};
  std::optional<FlowDecay> decay{};
  bool specificArea = true;
  bool noChannels = false;
  bool calibrate = false;
  CriteriaFiles criteriaFiles{};  ///< with a table, criteria vary by place
  std::optional<InitiationPoints> points{};
  std::optional<PointBuffer> buffer{};     ///< of the points
  std::string bconName{};                  ///< raster of contour lengths to write; blank: none
  std::optional<double> gradientLength{};  ///< at which the gradient was measured, metres, for the table
  std::string accumulationName{};          ///< blank: beside the DEM

  /// True where channels are to be found.
  [[nodiscard]] bool findsChannels() const {
    return !noChannels &&
           (areaLow || areaHigh || planLow || planHigh || relief || points || !criteriaFiles.table.empty());
  }
  /// The text of what is missing; blank if nothing is.
  [[nodiscard]] std::string missing() const;
  [[nodiscard]] InitiationCriteria criteria() const;
  /// The accumulation raster, without extension.
  [[nodiscard]] std::string accumulationRaster(const DEM_type& dem) const;
};

/// Writes the settings to the log.
void echoInitiation(const InitiationPlan& plan);

/// What the files of a plan hold, on the DEM's cells.
struct InitiationInputs {
  std::list<I4Grid_type> excluded{}, only{};
  R4Grid_type relief{};
  I4Grid_type ids{};
  CriteriaList criteria{};
  std::vector<ColRow> points{};
};

/// Reads them. 0, or -1 with a report.
int readInitiationInputs(const DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs);

/// The table of thresholds, then channel heads and nodes, as far as the plan has them; `DEM%aspect` is
/// changed along channels. Needs the gradient and the plan curvature of the raw surface. What the points say
/// is added to `initMask`. 0, or -1 with a report.
int initiateChannels(DEM_type& dem, const InitiationPlan& plan, InitiationInputs& inputs,
                     const D8Paths* paths, I1Grid_type& initMask, const VersionStamp* stamp);

}  // namespace terrain
