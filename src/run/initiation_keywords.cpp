// Keywords of the drainage program: repairs of the surface, and channel initiation.

#include "foundation/file_names.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;

/// A raster or a shapefile, with or without its extension.
bool parseArea(std::string& name, KeywordInput& input, std::string_view missing) {
  if (!input.isHostText()) return false;
  name = stripFileName(*input.text);
  return rasterExists(name) || shapefileExists(name) || input.fail(std::string(missing) + name);
}

// ---- repairs of the surface ----

constexpr Keyword<SeaPoint> kSeaWords[] = {
    {.words = "X",
     .value = KeywordValue<SeaPoint>::number<&SeaPoint::x>(),
     .failure = "Error reading X for SET ZERO TO NODATA",
     .meaning = "Map coordinate."},
    {.words = "Y",
     .value = KeywordValue<SeaPoint>::number<&SeaPoint::y>(),
     .failure = "Error reading X for SET ZERO TO NODATA",
     .meaning = "Map coordinate."},
};
constexpr Value kSea = [] {
  Value value = Value::records<kSeaWords, &DrainageRun::repairs, &SurfaceRepairs::zeroSea>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    SeaPoint& point = run.repairs.zeroSea.emplace();
    return parseArguments(kSeaWords, point, input) &&
           ((point.x && point.y) || input.fail("Error reading X for SET ZERO TO NODATA"));
  };
  return value;
}();

bool parseHoleNodata(FillHolesArgs& args, KeywordInput& input) {
  return detail::parseNumber(*input.text, {}, args.nodata);
}
constexpr Keyword<FillHolesArgs> kHoleWords[] = {
    {.words = "MAXSIZE",
     .value = KeywordValue<FillHolesArgs>::number<&FillHolesArgs::maxSize>({.least = 0}),
     .failure = "Input file FILL DEM HOLES: cannot read maxSize value",
     .standard = "1e6",
     .meaning = "Over the cell size, the number of cells that no longer fits."},
    {.words = "MINELEV|MIN ELEV|MINIMUM ELEVATION",
     .value = KeywordValue<FillHolesArgs>::number<&FillHolesArgs::minVal>(),
     .failure = "Input file FILL DEM HOLES: cannot read MINELEV value",
     .unit = "m",
     .standard = "0",
     .meaning = "Elevations up to it are part of holes too."},
    {.words = "NODATA|NODATA VALUE|NO_DATA|NO_DATA VALUE",
     .value = KeywordValue<FillHolesArgs>::own<parseHoleNodata>("number"),
     .failure = "Input file FILL DEM HOLES: cannot read NODATA value",
     .standard = "-9999",
     .meaning = "Elevation that is missing, as the DEM's own nodata is."},
};

bool parseNodataFile(NodataMask& mask, KeywordInput& input) {
  return parseArea(mask.file, input, "Cannot find nodata mask ");
}
template <bool kInside>
bool parseSide(NodataMask& mask, KeywordInput& input) {
  mask.inside = (!input.text || textIsTrue(*input.text)) == kInside;
  return true;
}
using MaskValue = KeywordValue<NodataMask>;
constexpr Keyword<NodataMask> kNodataWords[] = {
    {.words = "FILE|File|file",
     .value = MaskValue::own<parseNodataFile>("raster or shapefile"),
     .meaning = "Polygons, or cells other than 0."},
    {.words = "", .value = MaskValue::own<parseNodataFile>("raster or shapefile"), .meaning = "The same."},
    {.words = "INSIDE|Inside|inside",
     .value = MaskValue::own<parseSide<true>>("yes or no", TakesValue::optionally),
     .standard = "yes",
     .meaning = "What the mask covers becomes nodata."},
    {.words = "OUTSIDE|Outside|outside",
     .value = MaskValue::own<parseSide<false>>("yes or no", TakesValue::optionally),
     .meaning = "What it does not cover."},
    {.words = "ELEVATION CUTOFF|Elevation Cutoff",
     .value = MaskValue::number<&NodataMask::cutoff>(),
     .failure = "Input file, Error reading ELEVATION CUTOFF for NODATA MASK",
     .unit = "m",
     .meaning = "Only elevations below it."},
};
constexpr Value kNodataMask = [] {
  Value value = Value::records<kNodataWords, &DrainageRun::repairs, &SurfaceRepairs::nodataMasks>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    NodataMask& mask = run.repairs.nodataMasks.emplace_back();
    return parseArguments(kNodataWords, mask, input) &&
           (!mask.file.empty() || input.fail("Cannot find nodata mask "));
  };
  return value;
}();

bool parseCoastFile(Coastline& coast, KeywordInput& input) {
  if (!input.isHostText()) return false;
  coast.file = stripFileName(*input.text);
  return shapefileExists(coast.file) || input.fail("Cannot find COASTLINE FILE", coast.file);
}
constexpr Keyword<Coastline> kCoastWords[] = {
    {.words = "FILE",
     .value = KeywordValue<Coastline>::own<parseCoastFile>("shapefile"),
     .meaning = "Lines."},
    {.words = "", .value = KeywordValue<Coastline>::own<parseCoastFile>("shapefile"), .meaning = "The same."},
    {.words = "MIN ELEV|MINIMUM ELEVATION",
     .value = KeywordValue<Coastline>::number<&Coastline::minElevation>(),
     .failure = "Error reading MIN ELEV for COASTLINE FILE",
     .unit = "m",
     .standard = "0",
     .meaning = "Land is higher."},
};
constexpr Value kCoast = [] {
  Value value = Value::records<kCoastWords, &DrainageRun::repairs, &SurfaceRepairs::coastline>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    Coastline& coast = run.repairs.coastline.emplace();
    return parseArguments(kCoastWords, coast, input) &&
           (!coast.file.empty() || input.fail("FILE not specified for COASTLINE"));
  };
  return value;
}();

// ---- channel initiation ----

template <auto Member>
constexpr Value planNumber(const NumberRule& rule = {}) {
  return Value::number<&DrainageRun::initiation, Member>(rule);
}

constexpr Keyword<InitiationPlan::Relief> kReliefWords[] = {
    {.words = "",
     .value = KeywordValue<InitiationPlan::Relief>::number<&InitiationPlan::Relief::low>(),
     .failure = "Input file, Error reading LOW threshold for LOCAL RELIEF",
     .unit = "m",
     .meaning = "Most relief at low gradients."},
    {.words = "HIGH",
     .value = KeywordValue<InitiationPlan::Relief>::number<&InitiationPlan::Relief::high>(),
     .failure = "Input file, Error reading HIGH threshold for LOCAL RELIEF",
     .unit = "m",
     .meaning = "Most relief at high gradients."},
    {.words = "ACCUM LOW",
     .value = KeywordValue<InitiationPlan::Relief>::number<&InitiationPlan::Relief::accumLow>({.least = 0}),
     .failure = "Input file, Error reading ACCUM LOW for LOCAL RELIEF",
     .meaning = "Area that then suffices."},
    {.words = "ACCUM HIGH",
     .value = KeywordValue<InitiationPlan::Relief>::number<&InitiationPlan::Relief::accumHigh>({.least = 0}),
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

constexpr Row kRows[] = {
    {.words = "GRADIENT LENGTH SCALE",
     .value = Value::number<&DrainageRun::gradientLength>({.least = 0}),
     .unit = "m",
     .standard = "CURVATURE LENGTH SCALE",
     .meaning = "Radius of the circle on which the gradient is measured."},
    {.words = "FLOOD ZERO TO NODATA",
     .value = kSea,
     .standard = "off",
     .meaning = "Zeros that are connected to the zero at a point become nodata."},
    {.words = "COASTLINE FILE",
     .value = kCoast,
     .standard = "none",
     .meaning = "The sea outside the line becomes nodata."},
    {.words = "FILL DEM HOLES|FILL HOLES",
     .value = Value::records<kHoleWords, &DrainageRun::repairs, &SurfaceRepairs::holes>(),
     .standard = "off",
     .meaning = "Holes in the data get the lowest elevation of their rim."},
    {.words = "SET NEGATIVE VALUES TO ZERO",
     .value = Value::flag<&DrainageRun::repairs, &SurfaceRepairs::raiseNegatives>(),
     .standard = "off",
     .meaning = "Elevations below 0 become 0.",
     .echo = "Negative values set to zero"},
    {.words = "NODATA MASK",
     .value = kNodataMask,
     .standard = "none",
     .meaning = "Ground that is taken out, any number of lines."},
    {.words = "LOWER ZEROS",
     .value = Value::flag<&DrainageRun::repairs, &SurfaceRepairs::lowerZeros>(),
     .standard = "off",
     .meaning = "Elevations of 0 become the lowest elevation."},
    {.words = "ZERO IS NODATA",
     .value = Value::flag<&DrainageRun::repairs, &SurfaceRepairs::zeroIsNodata>(),
     .standard = "off",
     .meaning = "Elevations of 0 are missing."},
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
    {.words = "OUTPUT FLOW ACCUMULATION RASTER",
     .value = Value::file<&DrainageRun::initiation, &InitiationPlan::accumulationName>("raster"),
     .standard = "accum_<id> beside the DEM",
     .meaning = "Contributing cells where channels are found, along which flow is not parted. The channel "
                "cells are in basenode_<id>.dat beside the DEM."},
};

}  // namespace

std::span<const Row> initiationKeywords() { return kRows; }

}  // namespace terrain
