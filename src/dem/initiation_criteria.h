#pragma once
// Criteria of channel initiation that vary by place: areas with identifiers, and a table of criteria.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dem/channel_initiation.h"

namespace terrain {

struct CriteriaFiles {
  std::string idRaster{};     ///< integers; or
  std::string idShapefile{};  ///< polygons
  std::string idField{};      ///< of the polygons, and of the table if it has such a column
  std::string table{};        ///< delimited text
};

/// Criteria by identifier, sorted.
using CriteriaList = std::vector<std::pair<int32_t, InitiationCriteria>>;

/// Criteria that hold where a table has none.
struct UniformCriteria {
  InitiationCriteria criteria{};
  /// Which of them were given.
  bool hasArea = false, hasPlan = false, hasLength = false, hasRelief = false;
};

/// Reads identifiers onto the DEM's cells, and the criteria. The column of identifiers is that of the name
/// `idField`, else "ID", else the first. The others, in any order, are "LowGradient", "HighGradient",
/// "SlopeAreaLow", "SlopeAreaHigh", "SlopeExponent" (2 where it is not above 0), "LocalReliefLow" or "LRlow",
/// "AccumLow", "LocalReliefHigh" or "LRhigh", "AccumHigh", "PlanLow", "PlanHigh", "MinLengthLow" and
/// "MinLengthHigh"
/// (`InitiationCriteria`); for one that is missing the uniform criteria hold, unknown ones are logged. Every
/// record must have a number in every column. 0, or -1 with a report, so where an identifier occurs twice.
int ReadInitiationCriteria(const DEM_type& dem, const CriteriaFiles& files, const UniformCriteria& uniform,
                           I4Grid_type& ids, CriteriaList& list);

}  // namespace terrain
