// Keywords of the drainage program: channel initiation.

#include <algorithm>

#include "foundation/platform.h"
#include "run/area_argument.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;

template <auto Member>
constexpr Value planNumber(const NumberRule& rule = {}) {
  return Value::number<&DrainageRun::initiation, Member>(rule);
}

constexpr Keyword<ReliefThresholds> kReliefWords[] = {
    {.words = "",
     .value = KeywordValue<ReliefThresholds>::number<&ReliefThresholds::low>(),
     .failure = "Input file, Error reading LOW threshold for LOCAL RELIEF",
     .unit = "m",
     .meaning = "Most relief at low gradients."},
    {.words = "HIGH",
     .value = KeywordValue<ReliefThresholds>::number<&ReliefThresholds::high>(),
     .failure = "Input file, Error reading HIGH threshold for LOCAL RELIEF",
     .unit = "m",
     .meaning = "Most relief at high gradients."},
    {.words = "ACCUM LOW",
     .value = KeywordValue<ReliefThresholds>::number<&ReliefThresholds::accumLow>({.least = 0}),
     .failure = "Input file, Error reading ACCUM LOW for LOCAL RELIEF",
     .meaning = "Area that then suffices."},
    {.words = "ACCUM HIGH",
     .value = KeywordValue<ReliefThresholds>::number<&ReliefThresholds::accumHigh>({.least = 0}),
     .failure = "Input file, Error reading ACCUM HIGH for LOCAL RELIEF",
     .meaning = "Area that then suffices."},
};

constexpr Keyword<FlowDecay> kDecayWords[] = {
    {.words = "CONDUCTIVITY",
     .value = KeywordValue<FlowDecay>::number<&FlowDecay::conductivity>({.least = 0}),
     .unit = "m/h",
     .meaning = "Of the ground."},
    {.words = "PROPORTION",
     .value = KeywordValue<FlowDecay>::number<&FlowDecay::proportion>({.least = 0}),
     .meaning = "Part of the flow that is left after the duration."},
    {.words = "DURATION",
     .value = KeywordValue<FlowDecay>::number<&FlowDecay::duration>({.least = 0}),
     .unit = "h",
     .meaning = "Of the storm."},
};

template <auto List>
bool parseAreaList(DrainageRun& run, KeywordInput& input) {
  return parseArea((run.initiation.*List).emplace_back(), input, "Input File: Cannot find noinitfile ");
}

bool parseLakeFile(LakeFile& lake, KeywordInput& input) {
  return parseArea(lake.file, input, "Cannot find lake shapefile ");
}
bool allowInLake(LakeFile& lake, KeywordInput&) {
  lake.preclude = false;
  return true;
}
constexpr Keyword<LakeFile> kLakeWords[] = {
    {.words = "FILE",
     .value = KeywordValue<LakeFile>::own<parseLakeFile>("raster or shapefile"),
     .meaning = "Polygons, or cells other than 0."},
    {.words = "",
     .value = KeywordValue<LakeFile>::own<parseLakeFile>("raster or shapefile"),
     .meaning = "The same."},
    {.words = "PRECLUDE INITIATION|PRECLUDE",
     .value = KeywordValue<LakeFile>::flag<&LakeFile::preclude>(),
     .meaning = "No channel begins in a lake."},
    {.words = "ALLOW INITIATION|ALLOW",
     .value = KeywordValue<LakeFile>::own<allowInLake>("", TakesValue::optionally),
     .meaning = "Channels may begin there."},
};
constexpr Value kLake = [] {
  Value value = Value::records<kLakeWords, &DrainageRun::initiation, &InitiationPlan::lakes>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    LakeFile& lake = run.initiation.lakes.emplace_back();
    return parseArguments(kLakeWords, lake, input) &&
           (!lake.file.empty() || input.fail("Cannot find lake shapefile "));
  };
  return value;
}();

template <auto Low, auto Accum>
constexpr Keyword<ReliefThresholds> kDevWords[] = {
    {.words = "",
     .value = KeywordValue<ReliefThresholds>::number<Low>(),
     .failure = "Input file; Error reading DEV THRESHOLD LOW GRADIENT",
     .unit = "m",
     .meaning = "Most relief."},
    {.words = "",
     .value = KeywordValue<ReliefThresholds>::number<Accum>({.least = 0}),
     .failure = "Input file; Error reading DEV THRESHOLD LOW GRADIENT",
     .meaning = "Area that then suffices."},
};
/// Adds to the thresholds of relief that other lines give.
template <auto Low, auto Accum>
constexpr Value devThreshold() {
  Value value = Value::records<kDevWords<Low, Accum>, &DrainageRun::initiation, &InitiationPlan::relief>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    std::optional<ReliefThresholds>& relief = run.initiation.relief;
    return parseArguments(kDevWords<Low, Accum>, relief ? *relief : relief.emplace(), input);
  };
  return value;
}

// ---- points ----

bool parsePointFile(InitiationPoints& points, KeywordInput& input) {
  return parseShapefile(points.file, input, "Input file: cannot find CHANNEL INITIATION POINT FILE ");
}
using PointValue = KeywordValue<InitiationPoints>;
constexpr Keyword<InitiationPoints> kPointWords[] = {
    {.words = "FILE|FILE NAME", .value = PointValue::own<parsePointFile>("shapefile"), .meaning = "Points."},
    {.words = "", .value = PointValue::own<parsePointFile>("shapefile"), .meaning = "The same."},
    {.words = "RADIUS",
     .value = PointValue::number<&InitiationPoints::radius>({.least = 0}),
     .failure = "Input file: error reading RADIUS for CHANNEL INITIATION POINT FILE",
     .unit = "m",
     .standard = "0",
     .meaning = "Within it channels may begin."},
    {.words = "ABOVE|HIGHER",
     .value = PointValue::flag<&InitiationPoints::above>(),
     .meaning = "Each point moves to the largest contributing area within the radius."},
};
constexpr Value kPoints = [] {
  Value value = Value::records<kPointWords, &DrainageRun::initiation, &InitiationPlan::points>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    InitiationPoints& points = run.initiation.points.emplace();
    return parseArguments(kPointWords, points, input) &&
           (!points.file.empty() || input.fail("Input file: cannot find CHANNEL INITIATION POINT FILE "));
  };
  return value;
}();

using BufferValue = KeywordValue<PointBuffer>;
constexpr Keyword<PointBuffer> kBufferWords[] = {
    {.words = "INNER|INNER RADIUS",
     .value = BufferValue::number<&PointBuffer::inner>({.least = 0}),
     .failure = "Input file: Error reading INITIATION POINT BUFFER, INNER RADIUS",
     .unit = "m",
     .standard = "0",
     .meaning = "Within it the overrides hold, whatever the curvature."},
    {.words = "OUTER|OUTER RADIUS",
     .value = BufferValue::number<&PointBuffer::outer>({.least = 0}),
     .failure = "Input file: Error reading INITIATION POINT BUFFER, OUTER RADIUS",
     .unit = "m",
     .standard = "the inner radius",
     .meaning = "From the inner to the outer radius they go over into the ordinary thresholds."},
    {.words = "AREA OVERRIDE",
     .value = BufferValue::number<&PointBuffer::instead, &InitiationOverride::area>({.least = 0}),
     .failure = "Input file: Error reading AREA OVERRIDE for INITIATION POINT BUFFER",
     .standard = "the ordinary ones",
     .meaning = "Area slope threshold."},
    {.words = "LOCAL RELIEF OVERRIDE",
     .value = BufferValue::number<&PointBuffer::instead, &InitiationOverride::relief>(),
     .failure = "Input file: Error reading LOCAL RELIEF OVERRIDE for INITIATION POINT BUFFER",
     .unit = "m",
     .standard = "the ordinary ones",
     .meaning = "Local relief threshold."},
};
constexpr Value kBuffer = [] {
  Value value = Value::records<kBufferWords, &DrainageRun::initiation, &InitiationPlan::buffer>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    PointBuffer& buffer = run.initiation.buffer.emplace();
    if (!parseArguments(kBufferWords, buffer, input)) return false;
    buffer.outer = std::max(buffer.outer, buffer.inner);
    return buffer.outer > 0 || input.fail("Input file: Error reading INITIATION POINT BUFFER, INNER RADIUS");
  };
  return value;
}();

// ---- criteria by place ----

bool parseIdRaster(CriteriaFiles& files, KeywordInput& input) {
  if (!input.isHostText()) return false;
  files.idRaster = stripFileName(*input.text);
  return rasterExists(files.idRaster) ||
         input.fail("Cannot find INITIATION CRITERIA ID RASTER " + files.idRaster);
}
bool parseIdShapefile(CriteriaFiles& files, KeywordInput& input) {
  return parseShapefile(files.idShapefile, input, "Cannot find INITIATION CRITERIA ID SHAPEFILE ");
}
bool parseTable(CriteriaFiles& files, KeywordInput& input) {
  if (!input.isHostText()) return false;
  files.table = *input.text;
  return platform::fileExists(*input.text) ||
         input.fail("Error reading INITIATION CRITERIA CSV FILE " + *input.text);
}
using CriteriaValue = KeywordValue<CriteriaFiles>;
constexpr Keyword<CriteriaFiles> kCriteriaWords[] = {
    {.words = "ID RASTER|ID GRID",
     .value = CriteriaValue::own<parseIdRaster>("raster"),
     .meaning = "Whole numbers that name areas; or"},
    {.words = "ID SHAPEFILE|ID POLYGON SHAPEFILE",
     .value = CriteriaValue::own<parseIdShapefile>("shapefile"),
     .meaning = "polygons."},
    {.words = "ID FIELD",
     .value = CriteriaValue::text<&CriteriaFiles::idField>(),
     .standard = "ID",
     .meaning = "Field of the polygons, and column of the table, with these numbers."},
    {.words = "CSV FILE",
     .value = CriteriaValue::own<parseTable>("delimited text"),
     .meaning =
         "A record for each area, with columns LowGradient, HighGradient, SlopeAreaLow, SlopeAreaHigh, "
         "SlopeExponent, LocalReliefLow, AccumLow, LocalReliefHigh, AccumHigh, PlanLow, PlanHigh, "
         "MinLengthLow, MinLengthHigh; for one that is missing the other keywords hold."},
};

constexpr Row kRows[] = {
    {.words = "AREA SLOPE THRESHOLD LOW GRADIENT|AREA SLOPE THRESHOLD - LOW GRADIENT",
     .value = planNumber<&InitiationPlan::areaLow>({.least = 0}),
     .failure = "Input file, Error reading AREA SLOPE THRESHOLD for LOW GRADIENT",
     .standard = "no channels are found",
     .meaning = "Contributing area times gradient to the exponent from which on a channel begins."},
    {.words = "AREA SLOPE THRESHOLD HIGH GRADIENT|AREA SLOPE THRESHOLD - HIGH GRADIENT",
     .value = planNumber<&InitiationPlan::areaHigh>({.least = 0}),
     .failure = "Input file; Error reading AREA SLOPE THRESHOLD for HIGH GRADIENT",
     .standard = "none",
     .meaning = "The same at high gradients. In between it changes linearly."},
    {.words = "LOW GRADIENT UPPER LIMIT",
     .value = planNumber<&InitiationPlan::lowGradient>({.least = 0}),
     .failure = "Input file; Error reading LOW GRADIENT UPPER LIMIT",
     .standard = "0.25",
     .meaning = "Gradients up to it are low."},
    {.words = "HIGH GRADIENT LOWER LIMIT",
     .value = planNumber<&InitiationPlan::highGradient>({.least = 0}),
     .failure = "Input file; Error reading HIGH GRADIENT LOWER LIMIT",
     .standard = "0.4",
     .meaning = "Gradients from it on are high."},
    {.words = "SLOPE EXPONENT",
     .value = planNumber<&InitiationPlan::slopeExponent>(),
     .failure = "Input file; Error reading SLOPE EXPONENT",
     .standard = "2",
     .meaning = "Of the area slope thresholds; 2 where it is not above 0."},
    {.words = "PLAN CURVATURE THRESHOLD LOW GRADIENT",
     .value = planNumber<&InitiationPlan::planLow>(),
     .failure = "Input file; Error reading PLAN CURVATURE THRESHOLD LOW GRADIENT",
     .standard = "any curvature",
     .meaning = "Least plan curvature of a channel head."},
    {.words = "PLAN CURVATURE THRESHOLD HIGH GRADIENT",
     .value = planNumber<&InitiationPlan::planHigh>(),
     .failure = "Input file; Error reading PLAN CURVATURE THRESHOLD HIGH GRADIENT",
     .standard = "any curvature",
     .meaning = "The same at high gradients."},
    {.words = "MINIMUM THRESHOLD FLOW LENGTH",
     .value = planNumber<&InitiationPlan::length>(),
     .failure = "Input file; Error reading MINIMUM THRESHOLD FLOW LENGTH",
     .unit = "m",
     .standard = "none",
     .meaning = "Way of the flow over cells that have their area, before a channel begins."},
    {.words = "MINIMUM THRESHOLD FLOW LENGTH, LOW GRADIENT",
     .value = planNumber<&InitiationPlan::lengthLow>(),
     .failure = "Input file; Error reading MINIMUM THRESHOLD FLOW LENGTH, LOW GRADIENT",
     .unit = "m",
     .standard = "none",
     .meaning = "The same at low gradients."},
    {.words = "MINIMUM THRESHOLD FLOW LENGTH, HIGH GRADIENT",
     .value = planNumber<&InitiationPlan::lengthHigh>(),
     .failure = "Input file; Error reading MINIMUM THRESHOLD FLOW LENGTH, HIGH GRADIENT",
     .unit = "m",
     .standard = "none",
     .meaning = "The same at high gradients."},
    {.words = "LOCAL RELIEF RASTER|LOCAL RELIEF FILE",
     .value = Value::existing<rasterExists, &DrainageRun::initiation, &InitiationPlan::reliefName>("raster"),
     .failure = "Input file, Error: cannot find LOCAL RELIEF RASTER",
     .standard = "none",
     .meaning = "Local relief, on the DEM's cells."},
    {.words = "LOCAL RELIEF THRESHOLD",
     .value = Value::records<kReliefWords, &DrainageRun::initiation, &InitiationPlan::relief>(),
     .standard = "none",
     .meaning = "Cells with little relief need only an area of their own."},
    {.words = "DEV THRESHOLD LOW GRADIENT",
     .value = devThreshold<&ReliefThresholds::low, &ReliefThresholds::accumLow>(),
     .standard = "none",
     .meaning = "As LOCAL RELIEF THRESHOLD and its ACCUM LOW: relief, area."},
    {.words = "DEV THRESHOLD HIGH GRADIENT",
     .value = devThreshold<&ReliefThresholds::high, &ReliefThresholds::accumHigh>(),
     .standard = "none",
     .meaning = "The same for HIGH and ACCUM HIGH."},
    {.words = "INITIATION CRITERIA",
     .value = Value::records<kCriteriaWords, &DrainageRun::initiation, &InitiationPlan::criteriaFiles>(),
     .standard = "the same everywhere",
     .meaning = "Criteria that vary by place."},
    {.words = "CHANNEL INITIATION POINT FILE",
     .value = kPoints,
     .standard = "none",
     .meaning = "A channel begins in the cell of each point; with INITIATION POINT BUFFER only where the "
                "thresholds of the buffer are met."},
    {.words = "INITIATION POINT BUFFER|INITIATION BUFFER",
     .value = kBuffer,
     .standard = "none",
     .meaning = "Thresholds of their own around the points."},
    {.words = "NO INITIATION POLYGON FILE|NO INITIATION RASTER",
     .value = Value::own<parseAreaList<&InitiationPlan::excluded>>("raster or shapefile"),
     .standard = "none",
     .meaning = "No channel begins within, any number of lines."},
    {.words = "INITIATION POLYGON FILE|INITIATION RASTER",
     .value = Value::own<parseAreaList<&InitiationPlan::only>>("raster or shapefile"),
     .standard = "none",
     .meaning = "No channel begins outside, any number of lines."},
    {.words = "LAKE|LAKE SHAPEFILE|LAKE FILE|LAKE POLYGON SHAPEFILE|LAKE POLYGON FILE",
     .value = kLake,
     .standard = "none",
     .meaning = "Lakes, any number of lines."},
    {.words = "USE SPECIFIC CONTRIBUTING AREA|USE SPECIFIC DRAINAGE AREA",
     .value = Value::flag<&DrainageRun::initiation, &InitiationPlan::specificArea>(),
     .standard = "on",
     .meaning =
         "Areas of the thresholds are by length of contour, metres; off: square metres over the cell size."},
    {.words = "DECAY",
     .value = Value::records<kDecayWords, &DrainageRun::initiation, &InitiationPlan::decay>(),
     .standard = "none",
     .meaning = "Flow is lost on its way."},
    {.words = "CALIBRATE",
     .value = Value::flag<&DrainageRun::initiation, &InitiationPlan::calibrate>(),
     .standard = "off",
     .meaning = "Write a table of thresholds and of the channel densities that they would give."},
    {.words = "NO CHANNELS",
     .value = Value::flag<&DrainageRun::initiation, &InitiationPlan::noChannels>(),
     .standard = "off",
     .meaning = "Find no channels, whatever the thresholds."},
    {.words = "OUTPUT BCONTOUR RASTER",
     .value = Value::file<&DrainageRun::initiation, &InitiationPlan::bconName>("raster"),
     .standard = "not written",
     .meaning = "Length of contour that the flow of each cell crosses, in cells."},
    {.words = "OUTPUT FLOW ACCUMULATION RASTER",
     .value = Value::file<&DrainageRun::initiation, &InitiationPlan::accumulationName>("raster"),
     .standard = "accum_<id> beside the DEM",
     .meaning = "Contributing cells where channels are found, along which flow is not parted. The channel "
                "cells are in basenode_<id>.dat beside the DEM."},
};

}  // namespace

std::span<const Row> initiationKeywords() { return kRows; }

}  // namespace terrain
