#include <span>
#include <vector>

#include "dem/parameter_keywords.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;
using DemWords = DemKeywords<DrainageRun, &DrainageRun::DEM>;

// ---- channel masks ----

/// A raster, or a shapefile of lines, with or without its extension.
bool parseMaskFile(ChannelMask& mask, KeywordInput& input) {
  if (!input.isHostText()) return false;
  mask.file = stripFileName(*input.text);
  return rasterExists(mask.file) || shapefileExists(mask.file) ||
         input.fail("Cannot find channel mask file " + mask.file);
}

template <MaskInitiation kWhat>
bool parseInitiation(ChannelMask& mask, KeywordInput& input) {
  mask.initiation = !input.text || textIsTrue(*input.text) ? kWhat : MaskInitiation::open;
  return true;
}
template <bool kDirectional>
bool parseTop(ChannelMask& mask, KeywordInput&) {
  if (!mask.top) mask.top.emplace();
  mask.top->directional = kDirectional;
  return true;
}
bool parsePointRadius(ChannelMask& mask, KeywordInput& input) {
  if (!mask.top) mask.top.emplace();
  return detail::parseNumber(*input.text, {.least = 0}, mask.top->radius);
}
bool parsePointFile(ChannelMask& mask, KeywordInput& input) {
  if (!input.isHostText()) return false;
  if (!mask.top) mask.top.emplace();
  mask.top->file = stripFileName(*input.text);
  return !mask.top->file.empty();
}

using MaskValue = KeywordValue<ChannelMask>;
constexpr Keyword<ChannelMask> kMaskWords[] = {
    {.words = "FILE|File|file",
     .value = MaskValue::own<parseMaskFile>("raster or shapefile"),
     .meaning = "Lines, or cells above 0."},
    {.words = "", .value = MaskValue::own<parseMaskFile>("raster or shapefile"), .meaning = "The same."},
    {.words = "DIG|Dig|dig",
     .value = MaskValue::number<&ChannelMask::dig>({.least = 0}),
     .failure = "Input file; Error reading dig value for channel mask",
     .unit = "m",
     .standard = "2",
     .meaning = "Depth of the swale."},
    {.words = "RADIUS|Radius|radius|BUFFER|Buffer|buffer",
     .value = MaskValue::number<&ChannelMask::radius>({.least = 0}),
     .failure = "Input file; Error reading RADIUS value for channel mask",
     .unit = "m",
     .standard = "25",
     .meaning = "Half its width."},
    {.words = "MAXSLOPE|MAXIMUM SLOPE|MaxSlope|Maximum Slope|MAX SLOPE",
     .value = MaskValue::number<&ChannelMask::maxSlope>({.least = 0}),
     .failure = "Input file; Error reading MAXIMUM SLOPE for channel mask",
     .standard = "0.1",
     .meaning = "Steeper cells are not dug."},
    {.words = "SELECTIVE|SELECTIVE ENFORCEMENT",
     .value = MaskValue::flag<&ChannelMask::selective>(),
     .meaning = "Only preferential flow paths are dug."},
    {.words = "INIT|Init",
     .value = MaskValue::own<parseInitiation<MaskInitiation::allow>>("yes or no", TakesValue::optionally),
     .meaning = "Channels may begin anywhere along the mask."},
    {.words = "INIT ALL|FORCE INITIATION",
     .value = MaskValue::own<parseInitiation<MaskInitiation::force>>("yes or no", TakesValue::optionally),
     .meaning = "The whole mask is channel."},
    {.words = "PRECLUDE",
     .value = MaskValue::own<parseInitiation<MaskInitiation::preclude>>("yes or no", TakesValue::optionally),
     .meaning = "No channel begins along the mask."},
    {.words = "DIRECTIONAL",
     .value = MaskValue::flag<&ChannelMask::directional>(),
     .meaning = "Lines are drawn in the sense of the flow."},
    {.words = "UPSTREAM",
     .value = MaskValue::flag<&ChannelMask::upstream>(),
     .meaning = "With DIRECTIONAL: against it."},
    {.words = "TOP POINT|GET TOP POINT",
     .value = MaskValue::own<parseTop<false>>("yes or no", TakesValue::optionally),
     .meaning = "A channel begins at the upper end of each line."},
    {.words = "TOP DIRECTIONAL|TOP POINT DIRECTIONAL",
     .value = MaskValue::own<parseTop<true>>("yes or no", TakesValue::optionally),
     .meaning = "The same, the upper end being where the line begins."},
    {.words = "POINT RADIUS",
     .value = MaskValue::own<parsePointRadius>("number"),
     .failure = "Error reading POINT RADIUS",
     .unit = "m",
     .standard = "0",
     .meaning = "Around a top point channels may begin."},
    {.words = "OFFSET",
     .value = MaskValue::flag<&ChannelMask::offset>(),
     .meaning = "Accepted, without effect."},
    {.words = "DO EDGES", .value = MaskValue::flag<&ChannelMask::doEdges>(), .meaning = "The same."},
    {.words = "FULL ENFORCE", .value = MaskValue::flag<&ChannelMask::fullEnforce>(), .meaning = "The same."},
    {.words = "HONOR DEM", .value = MaskValue::flag<&ChannelMask::honorDem>(), .meaning = "The same."},
    {.words = "MIN LENGTH",
     .value = MaskValue::number<&ChannelMask::minLength>({.least = 0}),
     .failure = "Error reading CHANNEL MASK MIN LENGTH",
     .unit = "m",
     .standard = "0",
     .meaning = "Shorter sections that a water mask cuts off are left out."},
    {.words = "POINT FILE",
     .value = MaskValue::own<parsePointFile>("shapefile"),
     .meaning = "The top points are written to it."},
};

/// A mask must have a file.
constexpr Value kMask = [] {
  Value value = Value::records<kMaskWords, &DrainageRun::channels, &ChannelMasks::masks>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    ChannelMask& mask = run.channels.masks.emplace_back();
    return parseArguments(kMaskWords, mask, input) &&
           (!mask.file.empty() || input.fail("Cannot find channel mask file"));
  };
  return value;
}();

bool parsePathRaster(PreferentialFlow& paths, KeywordInput& input) {
  if (!input.isHostText()) return false;
  paths.raster = stripFileName(*input.text);
  return rasterExists(paths.raster);
}

using PathValue = KeywordValue<PreferentialFlow>;
constexpr Keyword<PreferentialFlow> kPathWords[] = {
    {.words = "PREFERENTIAL FLOW RASTER|RASTER",
     .value = PathValue::own<parsePathRaster>("raster"),
     .failure = "Cannot find PREFERENTIAL FLOW RASTER",
     .meaning = "Its cells above 0 are the paths."},
    {.words = "",
     .value = PathValue::own<parsePathRaster>("raster"),
     .failure = "Cannot find PREFERENTIAL FLOW RASTER",
     .meaning = "The same."},
    {.words = "BUFFER",
     .value = PathValue::number<&PreferentialFlow::buffer>({.least = 0}),
     .unit = "m",
     .standard = "0",
     .meaning = "Cells within it belong to a path."},
};

constexpr Value kPaths = [] {
  Value value = Value::records<kPathWords, &DrainageRun::channels, &ChannelMasks::preferential>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    PreferentialFlow& paths = run.channels.preferential.emplace();
    return parseArguments(kPathWords, paths, input) &&
           (!paths.raster.empty() || input.fail("Cannot find PREFERENTIAL FLOW RASTER"));
  };
  return value;
}();

// ---- smoothed directions ----

using ModeValue = KeywordValue<FlowMode>;
constexpr Keyword<FlowMode> kSmoothingWords[] = {
    {.words = "LENGTH SCALE",
     .value = ModeValue::number<&FlowMode::smoothingLength>({.least = 0}),
     .failure = "Error reading LENGTH SCALE for SMOOTHED ASPECT",
     .unit = "m",
     .meaning = "Radius of the circle on which the aspect is measured."},
    {.words = "",
     .value = ModeValue::number<&FlowMode::smoothingLength>({.least = 0}),
     .failure = "Error reading LENGTH SCALE for SMOOTHED ASPECT",
     .unit = "m",
     .meaning = "The same."},
};
constexpr Value kSmoothing = [] {
  Value value = Value::records<kSmoothingWords, &DrainageRun::DEM, &DEM_type::flowMode>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    return parseArguments(kSmoothingWords, run.DEM.flowMode, input) &&
           (run.DEM.flowMode.smoothingLength > 0 || input.fail("Length scale for aspect not specified"));
  };
  return value;
}();

bool parseDebug(DrainageRun&, KeywordInput& input) {
  demDiagnostics().on = !input.text || textIsTrue(*input.text);
  return true;
}

using ScaleValue = KeywordValue<CurvatureScale>;
constexpr Keyword<CurvatureScale> kScaleWords[] = {
    {.words = "",
     .value = ScaleValue::number<&CurvatureScale::length>({.least = 0}),
     .failure = "Error reading CURVATURE LENGTH SCALE",
     .unit = "m",
     .meaning = "Radius of the circle, unless another is given."},
    {.words = "",
     .value = ScaleValue::number<&CurvatureScale::radius>({.least = 0}),
     .failure = "Error reading CURVATURE LENGTH SCALE",
     .unit = "m",
     .standard = "the length scale",
     .meaning = "Radius of the circle."},
};
constexpr Value kCurvature = [] {
  Value value = Value::records<kScaleWords, &DrainageRun::curvature>();
  value.takes = TakesValue::always;
  return value;
}();

constexpr Row kOwnWords[] = {
    {.words = "DEM",
     .value = Value::existing<rasterExists, &DrainageRun::DEM, &DEM_type::refFile>("raster"),
     .failure = "Error finding DEM",
     .standard = "PATH and DEM ID",
     .meaning = "Elevations, by file name. The name, as of every raster, with or without .flt."},
    {.words = "CURVATURE LENGTH SCALE|PLAN CURVATURE LENGTH SCALE",
     .value = kCurvature,
     .standard = "plan_<length>_<id> is read",
     .meaning = "Circle on which plan curvature is measured, which decides between equal slopes."},
    {.words = "USE SMOOTHED ASPECT",
     .value = kSmoothing,
     .standard = "angles of the eight neighbours alone",
     .meaning =
         "Angles of the smoothed surface, where they lead down and are within 90 degrees of the local ones."},
    {.words = "USE EXISTING FLOW DIRECTIONS",
     .value = Value::flag<&DrainageRun::DEM, &DEM_type::flowMode, &FlowMode::keepAngles>(),
     .standard = "off",
     .meaning = "Keep the angles of ang_<length>_<id> and find those that it lacks."},
    {.words = "CHANNEL MASK|CHANNEL MASK GRID|CHANNEL MASK FILE|CHANNEL MASK SHAPEFILE",
     .value = kMask,
     .standard = "none",
     .meaning =
         "Known channels, any number of lines. A swale along them leads the flow and is filled in again."},
    {.words = "SELECTIVE ENFORCEMENT",
     .value = kPaths,
     .standard = "none",
     .meaning = "Where masks that are SELECTIVE may be dug."},
    {.words = "SCRATCH DIRECTORY",
     .value = Value::directory<&DrainageRun::scratchPath>(),
     .standard = "the DEM's directory",
     .meaning = "Where the log is kept during the run, and grids that do not fit in memory."},
    {.words = "OUTPUT CONDITIONED DEM",
     .value = Value::file<&DrainageRun::surfaceName>("raster"),
     .standard = "not written",
     .meaning =
         "The surface on which every cell drains: the DEM with passages carved through closed depressions."},
    {.words = "OUTPUT FLOW ANGLE RASTER",
     .value = Value::file<&DrainageRun::angleName>("raster"),
     .standard = "not written",
     .meaning = "D-infinity flow angle, radians clockwise from north."},
    {.words = "OUTPUT D8 RASTER",
     .value = Value::file<&DrainageRun::codeName>("raster"),
     .standard = "not written",
     .meaning = "Flow to one neighbour: 1 to 8, counter-clockwise from east."},
    {.words = "OUTPUT DRAINAGE AREA RASTER",
     .value = Value::file<&DrainageRun::areaName>("raster"),
     .standard = "not written",
     .meaning = "Contributing cells, by flow angle; a cell counts itself."},
    {.words = "DEBUG",
     .value = Value::own<parseDebug>("yes or no", TakesValue::optionally),
     .standard = "off",
     .meaning = "Tell each step in the log, and write what the channel heads are found from as check0_<id>, "
                "check1_<id>, check_<id>, chkDEM_<id> and initmask_<id> beside the DEM."},
    {.words = "STRICT",
     .value = Value::toggle<&DrainageRun::strict>(),
     .standard = "off",
     .meaning = "Stop before any computing where the instruction file gives cause for a warning."},
};

/// The DEM, the keywords of its file, then those of the steps of the run.
const std::vector<Row>& keywords() {
  static const std::vector<Row> rows = [] {
    std::vector<Row> all;
    all.reserve(std::size(kOwnWords) + DemWords::rows.size() + surfaceKeywords().size() +
                waterKeywords().size() + initiationKeywords().size() + d8Keywords().size());
    const auto add = [&all](std::span<const Row> more) {
      for (const Row& row : more) all.push_back(row);
    };
    add(std::span(kOwnWords).first(1));
    add(DemWords::rows);
    add(std::span(kOwnWords).subspan(1));
    add(surfaceKeywords());
    add(waterKeywords());
    add(initiationKeywords());
    add(d8Keywords());
    return all;
  }();
  return rows;
}

}  // namespace

std::span<const Row> drainageKeywords() { return keywords(); }

std::string drainageKeywordHelp() {
  std::string help;
  for (const Row& row : keywords()) help += keywordHelp(textsOf(row));
  return help;
}

std::string drainageKeywordManual() {
  std::string manual;
  for (const Row& row : keywords()) manual += keywordManual(textsOf(row));
  return manual;
}

}  // namespace terrain
