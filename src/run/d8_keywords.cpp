// Keywords of the drainage program: channels along single directions.

#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;

constexpr Keyword<D8Lengths> kLengthWords[] = {
    {.words = "PLAN",
     .value = KeywordValue<D8Lengths>::number<&D8Lengths::plan>({.least = 0}),
     .failure = "Error reading D8 LENGTH SCALES for PLAN",
     .unit = "m",
     .meaning = "Of plan curvature."},
    {.words = "ASPECT",
     .value = KeywordValue<D8Lengths>::number<&D8Lengths::aspect>({.least = 0}),
     .failure = "Error reading D8 LENGTH SCALES for ASPECT",
     .unit = "m",
     .meaning = "Of the aspect."},
};

using Weight = KeywordValue<D8Coefficients>;
constexpr Keyword<D8Coefficients> kWeightWords[] = {
    {.words = "SLOPE",
     .value = Weight::number<&D8Coefficients::slope>(),
     .failure = "Error reading D8 Coefficient for Slope",
     .meaning = "Steep neighbours."},
    {.words = "PLAN",
     .value = Weight::number<&D8Coefficients::plan>(),
     .failure = "Error reading D8 Coefficient for Plan",
     .meaning = "Neighbours of high plan curvature."},
    {.words = "ASPECT",
     .value = Weight::number<&D8Coefficients::aspect>(),
     .failure = "Error reading D8 Coefficient for Aspect",
     .meaning = "Neighbours in the direction of the aspect."},
    {.words = "ACCUM",
     .value = Weight::number<&D8Coefficients::accum>(),
     .failure = "Error reading D8 Coefficient for Accum",
     .meaning = "Neighbours of large contributing area."},
    {.words = "NDVI",
     .value = Weight::number<&D8Coefficients::ndvi>(),
     .failure = "Error reading D8 Coefficient for NDVI",
     .meaning = "Neighbours of a high vegetation index."},
    {.words = "PREFERENTIAL FLOW RASTER",
     .value = Weight::number<&D8Coefficients::preferential>(),
     .failure = "Error reading D8 Coefficient for Preferential Flow Raster",
     .meaning = "Neighbours on the raster of SELECTIVE ENFORCEMENT."},
};

bool parseNdvi(NdviRaster& ndvi, KeywordInput& input) {
  if (!input.isHostText()) return false;
  ndvi.file = stripFileName(*input.text);
  return rasterExists(ndvi.file) || input.fail("Cannot find NDVI RASTER " + ndvi.file);
}
constexpr Keyword<NdviRaster> kNdviWords[] = {
    {.words = "FILE",
     .value = KeywordValue<NdviRaster>::own<parseNdvi>("raster"),
     .meaning = "On the DEM's cells."},
    {.words = "", .value = KeywordValue<NdviRaster>::own<parseNdvi>("raster"), .meaning = "The same."},
    {.words = "MAXIMUM GRADIENT",
     .value = KeywordValue<NdviRaster>::number<&NdviRaster::maxGradient>({.least = 0}),
     .failure = "Error reading MAXIMUM GRADIENT for NDVI RASTER",
     .standard = "any",
     .meaning = "Steeper cells are left to the other factors."},
};

constexpr Row kRows[] = {
    {.words = "D8 COEFFICIENTS",
     .value = Value::records<kWeightWords, &DrainageRun::d8, &D8Plan::coefficients>(),
     .standard = "off",
     .meaning =
         "Below their heads channels go along single neighbours, those with the largest sum of weighted "
         "factors; with no weight given SLOPE, PLAN and ASPECT have 1, else those left out 0."},
    {.words = "D8 LENGTH SCALES",
     .value = Value::records<kLengthWords, &DrainageRun::d8, &D8Plan::lengths>(),
     .standard = "off; with D8 COEFFICIENTS those of the DEM",
     .meaning = "The same, with plan curvature and aspect on circles of these radii."},
    {.words = "NO CHANNELS FLOW ACCUMULATION RASTER",
     .value = Value::existing<rasterExists, &DrainageRun::d8, &D8Plan::accumName>("raster"),
     .failure = "Cannot find NO CHANNELS FLOW ACCUMULATION RASTER",
     .standard = "that of the run",
     .meaning = "Contributing area for ACCUM, such as of a run with NO CHANNELS."},
    {.words = "NDVI RASTER",
     .value = Value::records<kNdviWords, &DrainageRun::d8, &D8Plan::ndvi>(),
     .standard = "none",
     .meaning = "Vegetation index."},
};

}  // namespace

std::span<const Row> d8Keywords() { return kRows; }

}  // namespace terrain
