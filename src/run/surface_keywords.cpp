// Keywords of the drainage program: repairs of the surface.

#include "foundation/platform.h"
#include "run/area_argument.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;

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
  return parseShapefile(coast.file, input, "Cannot find COASTLINE FILE ");
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

bool parseLakes(LevelledLakes& lakes, KeywordInput& input) {
  return parseArea(lakes.file, input, "Cannot find lake shapefile ");
}
constexpr Keyword<LevelledLakes> kLakeWords[] = {
    {.words = "FILE",
     .value = KeywordValue<LevelledLakes>::own<parseLakes>("raster or shapefile"),
     .meaning = "Polygons, or cells other than 0."},
    {.words = "",
     .value = KeywordValue<LevelledLakes>::own<parseLakes>("raster or shapefile"),
     .meaning = "The same."},
    {.words = "MAX SLOPE|MAXIMUM SLOPE",
     .value = KeywordValue<LevelledLakes>::number<&LevelledLakes::maxSlope>({.least = 0}),
     .failure = "Error reading MAX SLOPE for HYDROFLATTEN LAKES",
     .standard = "0.01",
     .meaning = "Steeper cells do not count for the level."},
};
constexpr Value kLakes = [] {
  Value value = Value::records<kLakeWords, &DrainageRun::repairs, &SurfaceRepairs::lakes>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    LevelledLakes& lakes = run.repairs.lakes.emplace();
    return parseArguments(kLakeWords, lakes, input) &&
           (!lakes.file.empty() || input.fail("Cannot find lake shapefile "));
  };
  return value;
}();

// ---- ground that is lowered ----

bool parseCrossingFile(RoadCrossings& crossings, KeywordInput& input) {
  return parseShapefile(crossings.file, input, "Cannot find CROSSING POINT SHAPEFILE ");
}
using CrossingValue = KeywordValue<RoadCrossings>;
constexpr Keyword<RoadCrossings> kCrossingWords[] = {
    {.words = "FILE|SHAPEFILE",
     .value = CrossingValue::own<parseCrossingFile>("shapefile"),
     .meaning = "Points."},
    {.words = "", .value = CrossingValue::own<parseCrossingFile>("shapefile"), .meaning = "The same."},
    {.words = "OUTER|Outer",
     .value = CrossingValue::number<&RoadCrossings::outerRadius>({.least = 0}),
     .failure = "Input file; Error reading ROAD CROSSING OUTER RADIUS",
     .unit = "m",
     .standard = "50",
     .meaning = "Nothing is changed beyond it."},
    {.words = "INNER|Inner",
     .value = CrossingValue::number<&RoadCrossings::innerRadius>({.least = 0}),
     .failure = "Input file; Error reading ROAD CROSSING INNER RADIUS",
     .unit = "m",
     .standard = "25",
     .meaning = "Within it the ground is lowered in full."},
    {.words = "DITCH|Ditch",
     .value = CrossingValue::number<&RoadCrossings::ditchRadius>({.least = 0}),
     .failure = "Input file; Error reading ROAD CROSSING DITCH RADIUS",
     .unit = "m",
     .standard = "8",
     .meaning = "Low ground this near to high ground is a ditch."},
    {.words = "DEBUG|Debug",
     .value = CrossingValue::flag<&RoadCrossings::debug>(),
     .meaning = "Write the surface as crossingChk."},
};

bool parseLineFile(LineExcavation& line, KeywordInput& input) {
  return parseShapefile(line.file, input, "Cannot find LINE EXCAVATE shapefile ");
}
using TrenchValue = KeywordValue<LineExcavation>;
constexpr Keyword<LineExcavation> kTrenchWords[] = {
    {.words = "FILE", .value = TrenchValue::own<parseLineFile>("shapefile"), .meaning = "Lines."},
    {.words = "", .value = TrenchValue::own<parseLineFile>("shapefile"), .meaning = "The same."},
    {.words = "RADIUS|Radius|BUFFER|Buffer",
     .value = TrenchValue::number<&LineExcavation::radius>({.least = 0}),
     .failure = "Input file, Error reading RADIUS for LINE EXCAVATE",
     .unit = "m",
     .standard = "the cell size",
     .meaning = "Half the width of the trench."},
    {.words = "DEBUG",
     .value = TrenchValue::flag<&LineExcavation::debug>(),
     .meaning = "Write the surface as lineExcavateChk."},
};
constexpr Value kTrench = [] {
  Value value = Value::records<kTrenchWords, &DrainageRun::repairs, &SurfaceRepairs::trenches>();
  value.parse = [](const Value&, DrainageRun& run, KeywordInput& input) {
    LineExcavation& line = run.repairs.trenches.emplace_back();
    return parseArguments(kTrenchWords, line, input) &&
           (!line.file.empty() || input.fail("LINE EXCAVATE file not specified"));
  };
  return value;
}();

bool parseExcavateFile(DrainageRun& run, KeywordInput& input) {
  if (!input.isHostText()) return false;
  run.repairs.excavateFile = *input.text;
  return platform::fileExists(*input.text) || input.fail("Cannot file EXCAVATE FILE " + *input.text);
}

bool parseDrainPoints(DrainageRun& run, KeywordInput& input) {
  return parseShapefile(run.repairs.drainPoints, input, "Cannot find CLOSED DEPRESSION DRAIN POINT FILE ");
}

constexpr Keyword<CarvedCut> kCutWords[] = {
    {.words = "LENGTH|Length",
     .value = KeywordValue<CarvedCut>::number<&CarvedCut::length>({.least = 0}),
     .failure = "Input file; Error reading CUT LENGTH for keyword EXCAVATE",
     .unit = "m",
     .standard = "50, at least 5 cells",
     .meaning = "Longest cut."},
    {.words = "DEPTH|Depth",
     .value = KeywordValue<CarvedCut>::number<&CarvedCut::depth>({.least = 0}),
     .failure = "Input file; Error reading CUT DEPTH for keyword EXCAVATE",
     .unit = "m",
     .standard = "5",
     .meaning = "Deepest cut."},
};

constexpr Row kRows[] = {
    {.words = "GRADIENT LENGTH SCALE",
     .value = Value::number<&DrainageRun::gradientLength>({.least = 0}),
     .unit = "m",
     .standard = "CURVATURE LENGTH SCALE",
     .meaning = "Radius of the circle on which the gradient is measured."},
    {.words = "OUTPUT GRADIENT RASTER",
     .value = Value::file<&DrainageRun::gradientName>("raster"),
     .standard = "not written",
     .meaning = "The gradient, a tangent."},
    {.words = "OUTPUT PLAN CURVATURE RASTER",
     .value = Value::file<&DrainageRun::planName>("raster"),
     .standard = "not written",
     .meaning = "Plan curvature."},
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
    {.words = "SET ZERO TO NODATA",
     .value = Value::number<&DrainageRun::repairs, &SurfaceRepairs::zeroRadius>({.least = 0}),
     .failure = "Error reading ZERO RADIUS",
     .unit = "m",
     .standard = "off",
     .meaning = "Zeros without other data within this radius become nodata."},
    {.words = "HYDROFLATTEN LAKES",
     .value = kLakes,
     .standard = "none",
     .meaning = "Lakes get one level, the mean of their gentle cells."},
    {.words = "CLOSED DEPRESSION DRAIN POINT FILE",
     .value = Value::own<parseDrainPoints>("shapefile"),
     .standard = "none",
     .meaning = "Sinkholes and drains: the cells of the points become nodata, and the water around them "
                "leaves the DEM "
                "there."},
    {.words = "DOVRAKT EXCAVATE",
     .value = Value::records<kCutWords, &DrainageRun::repairs, &SurfaceRepairs::cut>(),
     .standard = "off",
     .meaning = "Accepted, without effect: passages are carved as long and as deep as they must be."},
    {.words = "CROSSING POINT FILE|CROSSING FILE|ROAD CROSSING POINT FILE|ROAD CROSSING POINT SHAPEFILE|"
              "ROAD CROSSING FILE|ROAD CROSSING SHAPEFILE|ROAD CROSSING POINTS",
     .value = Value::records<kCrossingWords, &DrainageRun::repairs, &SurfaceRepairs::crossings>(),
     .standard = "none",
     .meaning = "Roads are lowered to the valley where streams cross them."},
    {.words = "ROAD CROSSING OUTER RADIUS",
     .value = Value::number<&DrainageRun::repairs, &SurfaceRepairs::crossings, &RoadCrossings::outerRadius>(
         {.least = 0}),
     .failure = "Error reading ROAD CROSSING OUTER RADIUS",
     .unit = "m",
     .standard = "50",
     .meaning = "As OUTER above."},
    {.words = "ROAD CROSSING INNER RADIUS",
     .value = Value::number<&DrainageRun::repairs, &SurfaceRepairs::crossings, &RoadCrossings::innerRadius>(
         {.least = 0}),
     .failure = "Error reading ROAD CROSSING INNER RADIUS",
     .unit = "m",
     .standard = "25",
     .meaning = "As INNER above."},
    {.words = "ROAD CROSSING DITCH RADIUS",
     .value = Value::number<&DrainageRun::repairs, &SurfaceRepairs::crossings, &RoadCrossings::ditchRadius>(
         {.least = 0}),
     .failure = "Error reading ROAD CROSSING DITCH RADIUS",
     .unit = "m",
     .standard = "8",
     .meaning = "As DITCH above."},
    {.words = "EXCAVATE FILE",
     .value = Value::own<parseExcavateFile>("delimited text"),
     .standard = "none",
     .meaning = "Cells that are lowered: columns X, Y and CUT."},
    {.words = "EXCAVATE LINE|LINE EXCAVATE",
     .value = kTrench,
     .standard = "none",
     .meaning = "Trenches along lines that stand for culverts and ditches, any number of lines."},
};

}  // namespace

std::span<const Row> surfaceKeywords() { return kRows; }

}  // namespace terrain
