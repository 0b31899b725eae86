// GEP: pin times gradient over contour length.

#include "dem/operations.h"
#include "grid/arithmetic.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "GetGEP in DEM_Module";

/// Loads a grid that is not there yet with `get`.
template <class Get>
int load(const R4Grid_type& grid, std::string_view line, std::string_view message, Get get) {
  if (grid.GridExists()) return kSuccess;
  putMessage(line);
  return get() == kSuccess ? kSuccess : fail(kTag, message);
}

int loadInputs(DEM_type& dem, const GEPFiles& files) {
  if (load(dem.grad, "  Reading slope file", "GetGrad failed", [&] { return dem.GetGrad(files.slope); }) !=
      kSuccess)
    return kFailure;
  if (load(dem.pin, "  Reading PIN file", "GetPin failed", [&] { return dem.GetPin(files.pin); }) != kSuccess)
    return kFailure;
  return load(dem.bcon, "  Reading Bcontour file", "Cannot find Bcon file",
              [&] { return dem.GetBcon(files.bcon); });
}

}  // namespace

int getGEP(DEM_type& dem, R4Grid_type& gep, const GEPFiles& files) {
  Attempt attempt{dem.status, gep.status};
  if (loadInputs(dem, files) != kSuccess) return kFailure;
  putMessage("  Calculating GEP");
  for (R4Grid_type* grid : {&dem.pin, &dem.grad, &dem.bcon})
    if (grid->SetRowAccess() != kSuccess) return fail(kTag, "SetRowAccess failed");
  R4Grid_type product = MultiplyR4Grids(dem.pin, dem.grad);
  if (product.status != kSuccess) return kFailure;
  gep = DivideR4Grids(product, dem.bcon);
  if (gep.status != kSuccess) return kFailure;
  for (R4Grid_type* grid : {&dem.pin, &dem.bcon, &dem.grad}) DestroyGrid(*grid);
  return attempt.succeed();
}

}  // namespace terrain
