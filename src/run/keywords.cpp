#include "run/keywords.h"

#include "foundation/file_names.h"

namespace terrain {

namespace {

using Value = KeywordValue<RunState>;

/// The last DEM counts: nothing of an earlier one may be used for it.
bool parseDEM(RunState& run, KeywordInput& input) {
  run.DEM.startAfresh();
  if (!input.isHostText()) return false;
  run.DEM.file = input.file = stripFileName(*input.text);
  return run.DEM.ResolveDEM() == kSuccess;
}

// The two ways to limit a walk exclude each other.
bool selectTime(RunState& run, KeywordInput& input) {
  if (run.walk.byDistance) return input.fail("Cannot have both DURATION + CONDUCTIVITY and MAX DISTANCE");
  return run.walk.byTime = true;
}
bool selectDistance(RunState& run, KeywordInput& input) {
  if (run.walk.byTime) return input.fail("Cannot have both MAX DISTANCE and DURATION + CONDUCTIVITY");
  run.makeGradient = false;
  return run.walk.byDistance = true;
}

/// A raster that is named need not be computed.
template <bool RunState::*Make>
bool isNamed(RunState& run, KeywordInput&) {
  run.*Make = false;
  return true;
}

template <bool kMerged>
bool chooseWalks(WalkValues& walk, KeywordInput&) {
  walk.merged = kMerged;
  return true;
}
bool choosesWalks(RunState&, KeywordInput& input) {
  const auto chosen = std::ranges::count_if(input.line->arguments, [](const std::string& word) {
    return isKeyword("EXACT|MERGED", stripped(word));
  });
  return chosen == 1 || input.fail("WALKS is EXACT or MERGED");
}
constexpr Keyword<WalkValues> kWalkWords[] = {
    {.words = "EXACT",
     .value = KeywordValue<WalkValues>::own<chooseWalks<false>>("", TakesValue::optionally),
     .meaning = "Each walk by itself; the work doubles with every step."},
    {.words = "MERGED",
     .value = KeywordValue<WalkValues>::own<chooseWalks<true>>("", TakesValue::optionally),
     .meaning = "All walks at once, for limits of more than some ten steps; by time within TOLERANCE."},
    {.words = "TOLERANCE",
     .value = KeywordValue<WalkValues>::number<&WalkValues::tolerance>({.least = 1e-6}),
     .failure = "Error reading TOLERANCE of WALKS",
     .standard = "0.001",
     .meaning = "Relative error of merged walks by time, from 0.000001."},
};

constexpr Keyword<RunState> kKeywords[] = {
    {.words = "DEM",
     .value = Value::own<parseDEM, &RunState::DEM, &DEM_type::file>("raster"),
     .failure = "Error finding DEM",
     .standard = "required",
     .meaning = "Elevations in metres. The name, as of every raster, with or without .flt.",
     .echo = "DEM: "},
    {.words = "INPUT ASPECT RASTER",
     .value = Value::existing<rasterExists, &RunState::aspectName>("raster"),
     .failure = "Cannot find INPUT ASPECT RASTER",
     .standard = "computed from the DEM",
     .meaning = "Aspect in radians clockwise from north, pointing downslope; negative where there is none.",
     .before = isNamed<&RunState::makeAspect>},
    {.words = "INPUT GRADIENT RASTER",
     .value = Value::existing<rasterExists, &RunState::gradientName>("raster"),
     .failure = "Cannot find INPUT GRADIENT RASTER",
     .standard = "computed from the DEM",
     .meaning = "Tangent of the slope. Used by time only.",
     .before = isNamed<&RunState::makeGradient>},
    {.words = "INPUT BCON RASTER",
     .value = Value::existing<rasterExists, &RunState::bconName>("raster"),
     .failure = "Cannot find INPUT BCON RASTER",
     .standard = "computed from aspect",
     .meaning = "Length of contour that a cell's flow crosses, in cell widths. Used with SPECIFIC only.",
     .before = isNamed<&RunState::makeBcon>},
    {.words = "LENGTH SCALE",
     .value = Value::number<&RunState::DEM, &DEM_type::len_scale>(),
     .unit = "m",
     .standard = "required where gradient or aspect is computed",
     .meaning = "Radius of the circle on which gradient and aspect are measured.",
     .echo = "  Length scale = "},
    {.words = "SCRATCH DIRECTORY",
     .value = Value::directory<&RunState::scratchPath>(),
     .standard = "the DEM's directory",
     .meaning = "Where the log is kept during the run, and grids that do not fit in memory."},
    {.words = "DURATION",
     .value = Value::number<&RunState::walk, &WalkValues::duration>(),
     .unit = "hours",
     .standard = "0",
     .meaning = "Length of the storm: limits the walks by time.",
     .echo = "Storm duration (hrs) = ",
     .before = selectTime},
    {.words = "CONDUCTIVITY",
     .value = Value::number<&RunState::walk, &WalkValues::conductivity>({.least = 0}),
     .unit = "m/hour",
     .standard = "0",
     .meaning = "Saturated hydraulic conductivity, not negative.",
     .echo = "Saturated hydraulic conductivity (m/hr) = ",
     .before = selectTime},
    {.words = "SPECIFIC",
     .value = Value::toggle<&RunState::walk, &WalkValues::specific>(),
     .standard = "off",
     .meaning = "Divide the contributing area by the contour length.",
     .echo = "Specific contributing area will be output"},
    {.words = "MAX DISTANCE",
     .value = Value::number<&RunState::walk, &WalkValues::maxDistance>(),
     .unit = "m",
     .standard = "none",
     .meaning =
         "Horizontal flow distance: limits the walks by distance, in place of DURATION and CONDUCTIVITY.",
     .echo = "Horizontal flow distance (m) = ",
     .before = selectDistance},
    {.words = "WALKS",
     .value = Value::records<kWalkWords, &RunState::walk>(),
     .standard = "EXACT",
     .meaning = "How the walks are made.",
     .before = choosesWalks},
    {.words = "THREADS",
     .value = Value::number<&RunState::threads>({.least = 1}),
     .failure = "Error reading THREADS: a whole number from 1",
     .standard = "all cores",
     .meaning = "How many cores work at once. The result does not depend on it."},
    {.words = "OUTPUT RASTER|OUTPUT ACCUMULATION RASTER",
     .value = Value::file<&RunState::outputName>("raster"),
     .standard = "required",
     .meaning = "The partial contributing area, in cells."},
    {.words = "OUTPUT GRAD RASTER",
     .value = Value::toggle<&RunState::saveGradient>(),
     .standard = "off",
     .meaning = "Save the computed gradient beside the DEM, as grad_<length>_<id>."},
    {.words = "OUTPUT ASPECT RASTER",
     .value = Value::toggle<&RunState::saveAspect>(),
     .standard = "off",
     .meaning = "Save the computed aspect beside the DEM, as aspect_<length>_<id>."},
    {.words = "OUTPUT BCON RASTER",
     .value = Value::toggle<&RunState::saveBcon>(),
     .standard = "off",
     .meaning = "Save the computed contour length beside the DEM, as bcon_<length>_<id>."},
    {.words = "STRICT",
     .value = Value::toggle<&RunState::strict>(),
     .standard = "off",
     .meaning = "Stop before any computing where the instruction file gives cause for a warning."},
};

}  // namespace

std::span<const Keyword<RunState>> keywords() { return kKeywords; }

std::string keywordHelp() {
  std::string help;
  for (const auto& row : kKeywords) help += keywordHelp(textsOf(row));
  return help;
}

std::string keywordManual() {
  std::string manual;
  for (const auto& row : kKeywords) manual += keywordManual(textsOf(row));
  return manual;
}

}  // namespace terrain
