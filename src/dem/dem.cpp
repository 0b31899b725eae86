// The members of `DEM_type`: one line each, to the operation in the file of its subject.

#include "dem/dem.h"

#include <array>

#include "dem/grids.h"
#include "dem/naming.h"
#include "dem/operations.h"

namespace terrain {

using Name = std::optional<std::string_view>;

// ---- header and names ----
void DEM_type::FeetToMeters() { terrain::FeetToMeters(*this); }
void DEM_type::ClearNames() {
  for (std::string* name : {&file, &path, &demID, &dataID, &refFile, &refPath, &refID, &refDataID})
    name->clear();
}
void DEM_type::startAfresh() {
  const double length = len_scale;
  *this = DEM_type{};
  len_scale = length;
}
std::string DEM_type::lengthName() const { return roundedLengthName(len_scale); }
std::string DEM_type::resolveName(std::string_view prefix) const {
  return findDerived(*this, std::array{std::string(prefix)});
}
int DEM_type::ResolveDEM(const ResolveDEMOptions& options) { return resolveDEM(*this, options); }
int DEM_type::ReadDEMHeader() { return readDEMHeader(*this); }

// ---- getters ----
int DEM_type::GetGrad(Name name) { return getGrid(*this, dem_grids::grad, name); }
int DEM_type::GetPlan(Name name) { return getGrid(*this, dem_grids::plan, name); }
int DEM_type::GetProf(Name name) { return getGrid(*this, dem_grids::prof, name); }
int DEM_type::GetBcon(Name name) { return getGrid(*this, dem_grids::bcon, name); }
int DEM_type::GetArea(Name name) { return getGrid(*this, dem_grids::area, name); }
int DEM_type::GetAspect(Name name) { return getGrid(*this, dem_grids::aspect, name); }
int DEM_type::GetElev(const GetElevOptions& options) { return getElevations(*this, options); }
int DEM_type::GetPin(Name name) { return getPin(*this, name); }
R4Grid_type DEM_type::GetSlope(Name name) { return getSlope(*this, name); }
R4Grid_type DEM_type::GetPlanCurvature(Name name) { return getPlanCurvature(*this, name); }
int DEM_type::GetGEP(R4Grid_type& gep, const GEPFiles& files) { return getGEP(*this, gep, files); }
int DEM_type::DestroyGrid(std::string_view name) { return destroyMember(*this, name); }

// ---- derived grids ----
int DEM_type::Flood() { return flood(*this); }
int DEM_type::Flow() { return flow(*this); }
int32_t DEM_type::EdgeDirection(int32_t col, int32_t row) const {
  return edgeDirectionOf(elev, {.col = col, .row = row});
}
int DEM_type::CalcD8(D8Access access) { return calcD8(*this, access); }
int DEM_type::GetD8() { return getD8(*this); }
int DEM_type::calcBcon(float length, const R4Grid_type* aspectGrid) {
  return fillContourLength(*this, length, aspectGrid);
}

}  // namespace terrain
