#pragma once
// Channel masks: lines or cells along which water is known to flow. A swale is dug along them into the
// elevations before flow directions are found, deepest at the mask, and filled in again afterwards, so that
// the directions lead along the mask and the surface stays as it was.

#include <optional>
#include <string>
#include <vector>

#include "dem/dem.h"

namespace terrain {

/// What a mask says of channel heads on its cells. Where masks differ the later of these holds.
enum class MaskInitiation : int8_t { open, allow, preclude, force };

/// Channel heads at the upper ends of a mask's lines: those that no other line shares and that are higher
/// than the other end of their line or, of lines that are drawn downstream, their beginnings.
struct TopPoints {
  bool directional = false;
  float radius = 0.0F;  ///< metres; around the forced cell of a point heads are allowed
  std::string file{};   ///< the points are written to it as a shapefile; blank: they are not
};

struct ChannelMask {
  std::string file{};      ///< a raster, whose cells above 0 are the mask, or a shapefile of lines
  float dig = 2.0F;        ///< depth at the mask, metres
  float radius = 25.0F;    ///< half the width of the swale, metres; below half a cell the mask alone is dug
  float maxSlope = 0.1F;   ///< cells with a steeper gradient are not dug
  bool selective = false;  ///< only cells of the preferential flow paths are dug
  MaskInitiation initiation = MaskInitiation::open;
  bool directional = false;  ///< its lines are drawn in the sense of the flow
  bool upstream = false;     ///< or against it
  std::optional<TopPoints> top{};
  bool offset = false, doEdges = false, fullEnforce = false, honorDem = false;  ///< without effect
  float minLength = 0.0F;  ///< metres; shorter sections that water cuts off are left out

  [[nodiscard]] bool tellsOfHeads() const { return initiation != MaskInitiation::open || top.has_value(); }
};

/// Preferential flow paths: the cells above 0 of a raster of the DEM's extent.
struct PreferentialFlow {
  std::string raster{};
  float buffer = 0.0F;  ///< metres; the cells within this distance of a path belong to it
};

struct ChannelMasks {
  std::vector<ChannelMask> masks{};
  std::optional<PreferentialFlow> preferential{};
  const I1Grid_type* water = nullptr;  ///< cells other than 0 are not dug (`FlattenWatermask`)

  /// The deepest and the steepest of what may be dug, for `shiftElevations`: depth (m, at least 2) and slope.
  [[nodiscard]] double deepest() const;
  [[nodiscard]] double steepest() const;
  [[nodiscard]] bool tellOfHeads() const;
};

/// Makes `chan`, the depths of all swales in metres, 0 where nothing is dug, and subtracts it from the
/// elevations, which are in the working form (nodata 0). Around every cell of a mask, within the radius r, a
/// cell at the distance d with the gradient S is dug by max(1 - d/r, 0) * (cell size * S + dig), cells of the
/// mask by a quarter of `dig` more; where swales meet the deepest holds. Swales stop at water, and what is
/// left of a mask beside it, connected by sides and corners, is dug where it has the least length, counted in
/// cells. Needs the gradient (`GetGrad`, or a grid in `grad`). Where masks tell of channel heads they are
/// marked in `initMask` (initiation_marks.h), if given, which is made where it does not exist. 0, or -1 with
/// a report; so for a mask without a cell on the DEM's data.
int digChannels(DEM_type& dem, const ChannelMasks& channels, R4Grid_type& chan,
                I1Grid_type* initMask = nullptr);
/// Adds `chan` to the elevations again.
int undigChannels(DEM_type& dem, R4Grid_type& chan);

}  // namespace terrain
