// Keywords of the drainage program: water masks.

#include "run/area_argument.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;
using MaskValue = KeywordValue<WaterMask>;

bool parseWater(WaterMask& mask, KeywordInput& input) {
  return parseArea(mask.file, input, "Cannot find watermask file ");
}
bool parseRadius(WaterMask& mask, KeywordInput& input) {
  if (!input.text) return input.fail("MASK RADIUS for WATER MASK is not specified");
  return detail::parseNumber(*input.text, {.least = 0}, mask.radius);
}
bool parseDepth(WaterMask& mask, KeywordInput& input) {
  return !input.text || detail::parseNumber(*input.text, {.least = 0}, mask.lowerBy);
}
bool allowInitiation(WaterMask& mask, KeywordInput&) {
  mask.preclude = mask.force = false;
  return true;
}

constexpr Keyword<WaterMask> kMaskWords[] = {
    {.words = "FILE",
     .value = MaskValue::own<parseWater>("raster or shapefile"),
     .meaning = "Polygons, or cells above 0."},
    {.words = "", .value = MaskValue::own<parseWater>("raster or shapefile"), .meaning = "The same."},
    {.words = "RADIUS|BUFFER RADIUS",
     .value = MaskValue::own<parseRadius>("number", TakesValue::optionally),
     .failure = "Error reading BUFFER RADIUS for WATER MASK",
     .unit = "m",
     .standard = "0",
     .meaning = "The mask is widened by it."},
    {.words = "MINIMUM PATCH SIZE",
     .value = MaskValue::number<&WaterMask::minimumPatchSize>({.least = 0}),
     .failure = "Error reading MINIMUM PATCH SIZE for WATER MASK",
     .unit = "m2",
     .standard = "0",
     .meaning = "Smaller patches are left as they are."},
    {.words = "MINIMUM WIDTH",
     .value = MaskValue::number<&WaterMask::minimumWidth>({.least = 0}),
     .failure = "Error reading MINIMUM WIDTH for WATER MASK",
     .unit = "m",
     .standard = "0",
     .meaning = "Narrower patches have no centre line."},
    {.words = "MINIMUM GRADIENT",
     .value = MaskValue::number<&WaterMask::maxGradient>({.least = 0}),
     .failure = "Error reading MINIMUM GRADIENT for WATER MASK",
     .standard = "0.5",
     .meaning = "Branches of the centre line end where the distance to the shore changes faster, from 0 "
                "between parallel shores to 1."},
    {.words = "LOWER ELEVATION|LOWER ELEVATIONS|LOWER ELEV",
     .value = MaskValue::own<parseDepth>("number", TakesValue::optionally),
     .failure = "Error reading LOWER ELEVATION for WATER MASK",
     .unit = "m",
     .standard = "1",
     .meaning = "Depth of the water below its ground, and of the centre line below the water."},
    {.words = "SET TO MINIMUM ELEVATION",
     .value = MaskValue::flag<&WaterMask::setToMinimum>(),
     .meaning = "The water has the level of the lowest ground at its shore."},
    {.words = "INCISE TO CENTER",
     .value = MaskValue::flag<&WaterMask::incise>(),
     .meaning = "The bottom falls toward the middle, by 1 m."},
    {.words = "PRECLUDE|PRECLUDE INITIATION|PRECLUDE INIT",
     .value = MaskValue::flag<&WaterMask::preclude>(),
     .meaning = "No channel begins in the water."},
    {.words = "ALLOW INITIATION|ALLOW INIT",
     .value = MaskValue::own<allowInitiation>("", TakesValue::optionally),
     .meaning = "Channels begin there as elsewhere."},
    {.words = "FORCE INITIATION|FORCE INIT",
     .value = MaskValue::flag<&WaterMask::force>(),
     .meaning = "The centre lines are channels."},
};

constexpr Value kMask = [] {
  Value value = Value::records<kMaskWords, &DrainageRun::repairs, &SurfaceRepairs::waterMasks>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    WaterMask& mask = run.repairs.waterMasks.emplace_back();
    return parseArguments(kMaskWords, mask, input) &&
           (!mask.file.empty() || input.fail("Cannot find watermask file ")) &&
           (!(mask.preclude && mask.force) ||
            input.fail("PRECLUDE and FORCE INITIATION of a WATER MASK exclude each other"));
  };
  return value;
}();

constexpr Row kRows[] = {
    {.words = "WATERMASK|WATER MASK|WATERMASK FILE",
     .value = kMask,
     .standard = "none",
     .meaning = "Lakes and wide rivers, any number of lines. The flow is led along their centre lines, and "
                "swales of channel masks end at them."},
    {.words = "OUTPUT INTERMEDIATE WATER MASK RASTERS",
     .value = Value::flag<&DrainageRun::repairs, &SurfaceRepairs::keepWaterGrids>(),
     .standard = "off",
     .meaning = "Write the distance to the shore, its slope and the classes of the water (1 water, 2 centre "
                "line) as waterMaskDistToEdge_<id>, waterMaskSlope_<id> and watermaskval_<id> beside the "
                "DEM; of the second mask with _2 at the end, and so on."},
};

}  // namespace

std::span<const Row> waterKeywords() { return kRows; }

}  // namespace terrain
