#pragma once
// The operations behind the members of `DEM_type`, each in the source file of its subject. Contracts are
// those of the members.

#include <optional>
#include <string_view>

#include "dem/dem.h"

namespace terrain {

// dem/naming.cpp
int resolveDEM(DEM_type& dem, const ResolveDEMOptions& options);
int readDEMHeader(DEM_type& dem);

// dem/parameter_file.cpp
/// The DEM's names and header from what its keywords have set; reports under `routine`.
int resolveParameters(DEM_type& dem, std::string_view routine, std::string_view fileName);

// dem/elevations.cpp
int getElevations(DEM_type& dem, const GetElevOptions& options);

// dem/matching_grids.cpp
int getPin(DEM_type& dem, std::optional<std::string_view> name);
[[nodiscard]] R4Grid_type getSlope(DEM_type& dem, std::optional<std::string_view> name);
[[nodiscard]] R4Grid_type getPlanCurvature(DEM_type& dem, std::optional<std::string_view> name);

// dem/gep.cpp
int getGEP(DEM_type& dem, R4Grid_type& gep, const GEPFiles& files);

// dem/d8.cpp
int calcD8(DEM_type& dem, D8Access access);
int getD8(DEM_type& dem);

// dem/flood.cpp
/// `codes`, where angles are kept: the D8 codes by which every cell was drained.
int flood(DEM_type& dem, I1Grid_type* codes = nullptr);
[[nodiscard]] int32_t edgeDirectionOf(const R4Grid_type& elevations, ColRow cell);

// dem/flow.cpp
/// `codes`, where angles are kept: those of `flood`, for cells whose angle would lead in a circle.
int flow(DEM_type& dem, I1Grid_type* codes = nullptr);

// dem/contour_length.cpp
int fillContourLength(DEM_type& dem, float length, const R4Grid_type* aspectGrid);

}  // namespace terrain
