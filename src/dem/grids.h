#pragma once
// The member grids of a DEM as data: one row a grid, for the getters, for `DestroyGrid` and for the names of
// the files.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "dem/dem.h"
#include "dem/input_raster.h"

namespace terrain {

struct DemGrid {
  std::string_view words{};  ///< the member's name, and synonyms after "|"
  std::variant<R4Grid_type DEM_type::*, I4Grid_type DEM_type::*> grid{};
  std::string DEM_type::*file = nullptr;  ///< the name given for its raster
  std::string_view prefix{};              ///< of the raster's name
  bool tagged = true;                     ///< the length tag follows the prefix
  std::string_view savedPrefix{};         ///< of the same raster as a run saves it, with the length tag
  std::string_view routine{};             ///< of the getter's reports
  std::string_view opening{};             ///< line with which the getter starts; blank: none
  std::string_view alreadyThere{};        ///< diagnostic line of the getter for a grid that exists
  std::string_view what{};                ///< "Cannot find `what` raster file"
};

namespace dem_grids {

inline constexpr DemGrid elev{.words = "elev",
                              .grid = &DEM_type::elev,
                              .prefix = "elev_",
                              .tagged = false,
                              .routine = "GetElev in DEM_Module",
                              .alreadyThere = "Called GetElev, but elev grid already exists"};
inline constexpr DemGrid grad{.words = "grad",
                              .grid = &DEM_type::grad,
                              .file = &DEM_type::gradFile,
                              .prefix = "grad_",
                              .savedPrefix = "grad_",
                              .routine = "GetGrad in DEM_Module",
                              .opening = "Subroutine GetGrad: reading gradient file",
                              .alreadyThere = "Called GetGrad, but grad grid already exists",
                              .what = "gradient"};
inline constexpr DemGrid plan{.words = "plan",
                              .grid = &DEM_type::plan,
                              .file = &DEM_type::planFile,
                              .prefix = "plan_",
                              .routine = "GetPlan in DEM_Module",
                              .opening = "Subroutine GetPlan: reading plan curvature file",
                              .alreadyThere = "Called GetPlan, but plan grid already exists",
                              .what = "plan curvature"};
inline constexpr DemGrid prof{.words = "prof",
                              .grid = &DEM_type::prof,
                              .file = &DEM_type::profFile,
                              .prefix = "prof_",
                              .routine = "GetProf in DEM_Module",
                              .alreadyThere = "Called GetProf, but plan grid already exists",
                              .what = "profile curvature"};
inline constexpr DemGrid bcon{.words = "bcon",
                              .grid = &DEM_type::bcon,
                              .file = &DEM_type::bconFile,
                              .prefix = "bcon_",
                              .savedPrefix = "bcon_",
                              .routine = "GetBcon in DEM_Module",
                              .opening = "Subroutine GetBcon, reading Bcontour raster",
                              .alreadyThere = "Called GetBcon, but Bcon grid already exists",
                              .what = "Bcon"};
inline constexpr DemGrid area{.words = "DA|area|accum",
                              .grid = &DEM_type::DA,
                              .file = &DEM_type::areaFile,
                              .prefix = "accum_",
                              .tagged = false,
                              .routine = "GetArea in DEM_Module",
                              .alreadyThere = "Called GetArea, but DA grid already exists",
                              .what = "area"};
inline constexpr DemGrid aspect{.words = "aspect",
                                .grid = &DEM_type::aspect,
                                .file = &DEM_type::aspectFile,
                                .prefix = "ang_",
                                .tagged = false,
                                .savedPrefix = "aspect_",
                                .routine = "GetAspect in DEM_Module",
                                .alreadyThere = "Called GetAspect, but aspect grid already exists",
                                .what = "aspect"};
inline constexpr DemGrid scaledAspect{
    .words = "scaledAspect", .grid = &DEM_type::scaledAspect, .routine = "Flow in DEM_Module"};
inline constexpr DemGrid pin{
    .words = "pin", .grid = &DEM_type::pin, .prefix = "pin_", .routine = "GetPin in DEM_Module"};
inline constexpr DemGrid d8{.words = "D8", .grid = &DEM_type::D8, .routine = "GetD8 in DEM_Module"};

inline constexpr std::array all{&elev, &grad, &plan, &prof, &bcon, &area, &aspect, &scaledAspect, &pin, &d8};

}  // namespace dem_grids

/// A line of `demDiagnostics`.
void diagnose(std::string_view line);

/// The getter of a raster with a naming rule: reads it on first use onto the DEM's extent.
int getGrid(DEM_type& dem, const DemGrid& row, std::optional<std::string_view> name);

/// Reads the part of a raster that covers `extent`: the DEM's, or that moved by half a cell. A grid that was
/// flagged as on disk is read to disk. 0, or -1 with a report and no grid; so where the raster does not cover
/// the extent or has another lattice.
int readOnto(const DEM_type& dem, const Grid_Header& extent, R4Grid_type& grid, std::string_view name,
             const MatchTexts& mismatch);

/// `DestroyGrid` of a member grid by its name.
int destroyMember(DEM_type& dem, std::string_view name);

}  // namespace terrain
