#include "attributes/attribute_vocabulary.h"

#include <array>
#include <cctype>

#include "attributes/column_options.h"
#include "attributes/raster_list.h"
#include "foundation/free_format.h"

namespace terrain {

// ---- the arguments of a line ----

bool RowReading::has(std::string_view words) const {
  bool found = false;
  forEachWord(words, [&](std::string_view word) { found = found || given.contains(word); });
  return found;
}

std::string_view RowReading::text(std::string_view word) const {
  const auto found = given.find(word);
  return found == given.end() ? std::string_view() : std::string_view(found->second);
}

float RowReading::number(std::string_view word) const {
  float value = 0;
  FreeFormatReader(text(word)).next(value);
  return value;
}

namespace {

// ---- rules ----

constexpr std::string_view kDepths = "CHANNEL DEPTHS";
constexpr std::string_view kAbove = "ELEVATION";

/// One of depths and elevation must be there, and not the other.
bool hasOneHeight(const RowReading& row) { return row.has(kDepths) != row.has(kAbove); }
std::string_view whyNotOneHeight(const RowReading& row) {
  return row.has(kDepths) ? "CHANNEL DEPTHS and ELEVATION exclude each other"
                          : "CHANNEL DEPTHS or ELEVATION must be given";
}

void checkValleyWidth(RowReading& row) {
  if (!hasOneHeight(row))
    row.fail(row.has(kDepths) ? "Error reading elevation above channel for valley width"
                              : "Error reading number of channel depths for valley width",
             whyNotOneHeight(row));
  if (row.isNamed || row.columns.empty()) return;
  const auto holds = [&](std::string_view word) { return row.keyword.find(word) != std::string_view::npos; };
  const bool right = holds("RIGHT") || row.keyword == "VAL_R";
  const bool left = holds("LEFT") || row.keyword == "VAL_L";
  if (right || left) row.columns[0].outName = right ? "VALWID_R" : "VALWID_L";
}

void checkFloorMask(RowReading& row) {
  const bool toFile = row.has("OUTPUT FILE");
  if (!row.isNamed && !toFile)
    row.fail("Valley floor mask must specify an output data field name and/or output file name");
  constexpr std::string_view kChannel = "CHANNEL|Channel|BY CHANNEL|CHANNEL ID";
  constexpr std::string_view kReach = "REACH|Reach|BY REACH|REACHID|REACH ID";
  if (const std::string_view output = row.text("OUTPUT"); !output.empty()) {
    if (row.isNamed && isKeyword(kChannel, output))
      row.fail("To write valley-mask width to output field, cannot use OUTPUT = CHANNEL ID");
    if (!isKeyword(kChannel, output) && !isKeyword(kReach, output))
      row.fail("Input file; missing argument for OUTPUT", "OUTPUT is CHANNEL or REACH");
  }
  if (!hasOneHeight(row))
    row.fail("VALLEY FLOOR MASK, need to specify either elevation or number of channel depths",
             whyNotOneHeight(row));
}

void checkIndex(RowReading& row) {
  if (!hasOneHeight(row))
    row.fail(row.has(kDepths) ? "Error setting VWI ELEVATION" : "Error setting VWI CHANNEL DEPTHS",
             whyNotOneHeight(row));
}

void checkConstraint(RowReading& row) {
  if (!hasOneHeight(row))
    row.fail(row.has(kDepths) ? "Error setting VALLEY CONSTRAINT ELEVATION"
                              : "Error setting VALLEY CONSTRAINT CHANNEL DEPTHS",
             whyNotOneHeight(row));
  if (!row.has("CONSTRAINED")) row.fail("Error reading VWI value for CONSTRAINED channels");
  if (!row.has("UNCONSTRAINED")) row.fail("Error reading VWI value for UNCONSTRAINED channels");
  if (row.has("CONSTRAINED") && row.has("UNCONSTRAINED") &&
      row.number("UNCONSTRAINED") < row.number("CONSTRAINED"))
    row.fail("VWI for unconstrained must be >= that for constrained");
}

constexpr std::string_view kUnits =
    "m|meter|meters|metre|metres|cm|centimeter|centimeters|centimetre|centimetres|mm|millimeter|millimeters|"
    "millimetre|millimetres|in|inch|inches|ft|foot|feet";

void checkPrecipitation(RowReading& row) {
  if (!row.has("UNIT")) return;
  std::string unit(row.text("UNIT"));
  for (char& c : unit) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (!isKeyword(kUnits, unit))
    row.fail("Unknown precip units", "Known are m, cm, mm, in and ft, and their words");
}

void checkWood(RowReading& row) {
  const bool constant = row.has("TREE HEIGHT");
  const bool polygons = row.has("TREE HEIGHT SHAPEFILE");
  const bool raster = row.has("TREE HEIGHT RASTER");
  if (constant && !(row.number("TREE HEIGHT") > 0))
    row.fail("TREE HEIGHT must be > zero for WOOD ACCUMULATION TYPES");
  if (constant && polygons)
    row.fail("Specify either a constant TREE HEIGHT or a TREE HEIGHT SHAPEFILE, not both");
  if (raster && (constant || polygons))
    row.fail("Error reading TREE HEIGHT", "A TREE HEIGHT RASTER stands beside another height");
  if (!constant && !polygons && !raster)
    row.fail("Error reading TREE HEIGHT", "One of TREE HEIGHT, its SHAPEFILE and its RASTER must be given");
  if (polygons && !row.has("SHAPEFILE ID FIELD")) row.fail("Need ID field name for TREE HEIGHT SHAPEFILE");
}

void checkMaximum(RowReading& row) {
  if (row.has("BY NODE") == row.has("BY REACH"))
    row.fail("Input file; DOWNSTREAM MAXIMUM - need to specify BY NODE or BY REACH");
}
void checkRoads(RowReading& row) {
  if (!row.has("ROADX SHAPEFILE")) row.fail("ROADX SHAPEFILE not specified");
}
void checkIp(RowReading& row) {
  if (!row.has("INDEX FILE")) row.fail("IP Index file not specified");
}
void checkPosition(RowReading& row) {
  if (!row.has("FILE") && !row.has("RADIUS")) row.fail("Error, missing arguments for LANDSCAPE POSITION");
}
void checkMaxArea(RowReading& row) {
  if (!row.has("MAX AREA")) row.fail("MAX AREA for WIDTH PROBABILITY has not been specified");
}
void checkBreak(RowReading& row) {
  if (!row.has("SET LENGTH|NODE FIELD|EXTENT FIELD")) row.fail("GRADIENT BREAK, no method specified");
}

// ---- rows ----

using Kind = ArgumentKind;

constexpr RowArgument kDepthCount{"CHANNEL DEPTHS|CHAN DEPTHS|CHANDEPTHS|NUMDEPTHS|NUM DEPTHS", Kind::number,
                                  "Error reading number of channel depths for valley width"};
constexpr RowArgument kHeight{"ELEVATION|Elevation", Kind::number,
                              "Error reading elevation above channel for valley width"};
constexpr RowArgument kIndexDepths{"CHANNEL DEPTHS|CHAN DEPTHS", Kind::number,
                                   "Input file, error reading VWI argument for CHANNEL DEPTHS"};
constexpr RowArgument kIndexHeight{"ELEVATION|ELEV", Kind::number,
                                   "Input file, error reading VWI argument for ELEVATION"};

std::vector<AttributeRow> makeRows() {
  const std::vector<RowArgument> probability{
      {"CLASS FIELD"},
      {"MAX AREA", Kind::number, "Error reading MAX AREA for WIDTH PROBABILITY"},
      {"INTERCEPT|CONSTANT", Kind::number, "Error reading EQUATION inputs"},
      {"TERM"},
      {"LEVEL"},
      {"FINAL", Kind::name},
      {"PROB", Kind::name}};
  const std::vector<RowArgument> drop{{"GRADIENT FIELD|GRAD FIELD"}, {"OUTPUT"}};
  return {
      {.words = "ID|REACH ID|REACHID", .columns = {{.name = "ID", .type = "I8"}}},
      {.words = "NODE ID", .columns = {{.name = "NODE ID", .type = "I4"}}},
      {.words = "CHANNEL ID|CHANNELID", .columns = {{.name = "CHANNEL_ID", .type = "I4"}}},
      {.words = "DOWNID|DOWN ID|DOWN REACH ID", .columns = {{.name = "DOWNID", .type = "I8"}}},
      {.words = "REACHCODE",
       .columns = {{.name = "REACHCODE", .type = "C ", .length = 14}},
       .arguments = {{"FILE", Kind::file, "Cannot find reachCode file "}}},
      {.words = "STREAM ORDER|ORDER|CHANNEL ORDER|STRAHLER ORDER",
       .columns = {{.name = "STRM_ORDER", .type = "I4", .length = 14}}},
      {.words = "MEAN ANNUAL PRECIPITATION|MEAN ANNUAL PREC|MEAN ANNUAL PRECIP|MEANPREC|MEANPREC_M",
       .columns = {{.name = "MEAN ANNUAL PRECIP", .outName = "MEANPREC_M"}},
       .arguments = {{"FILE|File", Kind::raster, "Cannot find precipitation file "},
                     {"FACTOR|PRECIP FACTOR", Kind::number, "Unable to read precip factor"},
                     {"UNIT|UNITS|Units|units"}},
       .rule = checkPrecipitation},
      {.words = "MEANFLOWCMS|MEAN ANNUAL FLOW",
       .columns = {{.name = "MEAN ANNUAL FLOW", .decimals = 4, .outName = "MEANFLWCMS"}}},
      {.words = "WIDTH|WIDTH_M|ACW_M|CHANWIDTH|CHAN_WIDTH|CHANNEL WIDTH", .columns = {{.name = "WIDTH"}}},
      {.words = "DEPTH|CHANNEL DEPTH", .columns = {{.name = "DEPTH", .decimals = 3}}},
      {.words =
           "VALLEY WIDTH|VAL_WIDTH|VALLEY_WIDTH|VALLEY WIDTH RIGHT|VALLEY WIDTH LEFT|VAL_WID|VAL_L|VAL_R",
       .columns = {{.name = "VALWID", .length = 15}},
       .arguments = {kDepthCount, kHeight},
       .internal = "WIDTH|DEPTH|GRADIENT",
       .rule = checkValleyWidth},
      {.words = "VALLEYFLOORMASK|VALLEY FLOOR MASK",
       .columns = {{.name = "VALWIDM"}},
       .arguments = {kDepthCount,
                     kHeight,
                     {"OUTPUT FILE|OUTFILE"},
                     {"OUTPUT"},
                     {"MAKE RASTERS", Kind::mark},
                     {"DEPTH RASTER", Kind::name},
                     {"ELEV RASTER", Kind::name}},
       .internal = "DEPTH|WIDTH",
       .rule = checkFloorMask},
      {.words = "CONTRIBUTING AREA|DRAINAGE AREA|AREA_KM2",
       .columns = {{.name = "AREA_KM2", .type = "R8", .length = 15, .decimals = 4}}},
      {.words = "ELEVATION|ELEV", .columns = {{.name = "ELEVATION"}}},
      {.words = "REACH LENGTH|LENGTH|LENGTH_M", .columns = {{.name = "REACH LENGTH"}}},
      {.words = "NUMBER OF CHANNELS|N_CHAN|NUM CHAN",
       .columns = {{.name = "NUM_CHAN", .type = "R8", .decimals = 9}}},
      {.words = "ToOutletKm|DISTANCE TO OUTLET|DISTANCE TO OCEAN",
       .columns = {{.name = "ToOutletKm", .type = "R8"}}},
      {.words = "ToMouth_m|DISTANCE TO MOUTH", .columns = {{.name = "ToMouth_km", .type = "R8"}}},
      {.words = "ToSource_m|DISTANCE TO SOURCE", .columns = {{.name = "ToSourceKm", .type = "R8"}}},
      {.words = "ELEVATION DIFFERENCE", .columns = {{.name = "DELTA_ELEV", .length = 8, .decimals = 3}}},
      {.words = "SLK_INDEX|SLK INDEX", .columns = {{.name = "SLK_INDEX"}}},
      {.words = "GRADIENT|CHANNEL GRADIENT", .columns = {{.name = "GRADIENT", .decimals = 3}}},
      {.words = "FitElev|FITELEV|FIT ELEV|Fit Elev", .columns = {{.name = "FitElev"}}},
      {.words = "MAXDOWNGRAD|MAXIMUM DOWNSTREAM GRADIENT", .columns = {{.name = "MAXDWNGRAD", .length = 15}}},
      {.words = "PLAN CURVATURE", .columns = {{.name = "PLAN CURVATURE"}}},
      {.words = "PLAN SUM", .columns = {{.name = "PLAN SUM"}}},
      {.words = "LOCAL ELEVATION", .columns = {{.name = "LOCAL ELEVATION"}}},
      {.words = "SINUOSITY", .columns = {{.name = "SINUOSITY"}}},
      {.words = "IP",
       .columns = {{.name = "IP", .length = 7, .decimals = 4, .stem = "IP"}},
       .arguments = {{"INDEX FILE|INDEX CURVE FILE", Kind::file, "IP index curve not found: "}, {"SUFFIX"}},
       .internal = "WIDTH",
       .rule = checkIp},
      {.words = "FLOW DIRECTION|FLOW_DIR|AZIMUTH", .columns = {{.name = "FLOW_DIR", .length = 15}}},
      {.words = "MEAN AZIMUTH",
       .columns = {{.name = "MEAN AZIMUTH", .outName = "MEAN_AZIM"}},
       .arguments = {{"SIN FIELD"}, {"COS FIELD"}}},
      {.words = "DOWNSTREAM SUM", .columns = {{.name = "DOWNSTREAM SUM", .outName = "DOWN_SUM"}}},
      {.words = "DOWNSTREAM MEAN", .columns = {{.name = "DOWNSTREAM MEAN", .outName = "DOWN_MEAN"}}},
      {.words = "DOWNSTREAM MAXIMUM|DOWNSTREAM MAX",
       .columns = {{.name = "DOWNSTREAM MAXIMUM", .outName = "DOWN_MAX"}},
       .arguments = {{"BY REACH|BYREACH|ByReach|By Reach", Kind::mark},
                     {"BY NODE|BYNODE|ByNode|By Node", Kind::mark}},
       .rule = checkMaximum},
      {.words = "UPSTREAM SUM", .columns = {{.name = "UPSTREAM SUM"}}},
      {.words = "UPSTREAM MEAN", .columns = {{.name = "UPSTREAM MEAN"}}},
      {.words = "ROAD DENSITY",
       .columns = {{.name = "UpRoadDen", .when = "UPSTREAM|CONTRIBUTING AREA"},
                   {.name = "DwnRoadDen", .when = "DOWNSTREAM"},
                   {.name = "RtRoadDen", .when = "RIGHT SIDE|BOTH SIDES"},
                   {.name = "LftRoadDen", .when = "LEFT SIDE|BOTH SIDES"},
                   {.name = "LocRoadDen", .when = "LOCAL"}},
       .arguments = {{"ROADX SHAPEFILE|ROAD SEGMENT SHAPEFILE|SEGMENT SHAPEFILE", Kind::shapefile,
                      "Cannot find road shapefile "},
                     {"UPSTREAM", Kind::mark},
                     {"DOWNSTREAM", Kind::mark},
                     {"RIGHT SIDE", Kind::mark},
                     {"LEFT SIDE|LEFT", Kind::mark},
                     {"LOCAL", Kind::mark},
                     {"BOTH SIDES", Kind::mark},
                     {"CONTRIBUTING AREA|CONTRIBUTNG AREA", Kind::mark}},
       .otherwise = "LocRoadDen",
       .rule = checkRoads},
      {.words = "CUMULATIVE UPSTREAM CHANNEL LENGTH",
       .columns = {{.name = "CUMULATIVE UPSTREAM CHANNEL LENGTH"}}},
      {.words = "CHANNEL DENSITY", .columns = {{.name = "CHANNEL DENSITY"}}},
      {.words = "CONFLUENCE DENSITY|JUNCTION DENSITY", .columns = {{.name = "CONFLUENCE DENSITY"}}},
      {.words = "BARRIER POINT SHAPEFILE|BARRIERS|BARRIER", .columns = {{.name = "BARRIER", .type = "I4"}}},
      {.words = "WATERMASK AREA", .columns = {{.name = "WATERMASK AREA", .outName = "WMASK_AREA"}}},
      {.words = "WATERMASK EDGE LENGTH",
       .columns = {{.name = "WATERMASK EDGE LENGTH", .outName = "WMASK_EDGE"}}},
      {.words = "LAKE|LAKE MASK|LAKE ID",
       .columns = {{.name = "LAKE", .type = "I4"},
                   {.name = "ToLakeUp_m", .when = "GET DISTANCE TO"},
                   {.name = "ToLakeDn_m", .when = "GET DISTANCE TO"},
                   {.name = "MinToLake", .when = "GET DISTANCE TO"},
                   {.name = "NumLake_Up", .when = "GET DISTANCE TO"},
                   {.name = "AreaLakeUp", .when = "GET DISTANCE TO"}},
       .arguments = {{"GET DISTANCE TO|GET DISTANCE", Kind::mark}}},
      {.words = "DOWNSTREAM X", .columns = {{.name = "DOWN_X", .type = "R8"}}},
      {.words = "DOWNSTREAM Y", .columns = {{.name = "DOWN_Y", .type = "R8"}}},
      {.words = "UPSTREAM X", .columns = {{.name = "UP_X", .type = "R8"}}},
      {.words = "UPSTREAM Y", .columns = {{.name = "UP_Y", .type = "R8"}}},
      {.words = "TYPE N|TYPEN|CHANNEL CLASS", .columns = {{.name = "ChanType", .type = "I4", .length = 2}}},
      {.words = "POSITION|LAND_POS|LANDSCAPE POSITION",
       .columns = {{.name = "LAND_POS", .length = 8}},
       .arguments = {{"FILE|RASTER", Kind::raster, "Error reading input flt raster for LANDSCAPE POSITION"},
                     {"RADIUS", Kind::number, "Error reading RADIUS for LANDSCAPE POSITION"}},
       .rule = checkPosition},
      {.words = "TRIBUTARY EFFECTS|JUNCTION EFFECTS|JUNCTION PROBABILITY|JUNCTION EFFECTS PROBABILITY",
       .columns = {{.name = "TRIBUTARY EFFECTS"}}},
      {.words = "VWI|VALLEY WIDTH INDEX",
       .columns = {{.name = "VWI", .length = 9, .decimals = 3}},
       .arguments = {kIndexDepths, kIndexHeight},
       .internal = "WIDTH|DEPTH|VALWID|AREA_KM2",
       .rule = checkIndex},
      {.words = "VALLEY CONSTRAINT",
       .columns = {{.name = "VALLEY_CON", .type = "C ", .length = 13}},
       .arguments = {kIndexDepths,
                     kIndexHeight,
                     {"CONSTRAINED|CONSTRAINED VWI|VWI CONSTRAINED", Kind::number,
                      "Error reading VWI value for CONSTRAINED channels"},
                     {"UNCONSTRAINED|UNCONSTRAINED VWI|VWI UNCONSTRAINED", Kind::number,
                      "Error reading VWI value for UNCONSTRAINED channels"}},
       .internal = "WIDTH|DEPTH|VALWID",
       .rule = checkConstraint},
      {.words = "WOOD ACCUMULATION TYPE|WOOD ACCUMULATION TYPES",
       .columns = {{.name = "Margin", .length = 8, .stem = "Margin"},
                   {.name = "Partial", .length = 8, .stem = "Partial"},
                   {.name = "Span", .length = 8, .stem = "Span"},
                   {.name = "Single", .length = 8, .stem = "Single"},
                   {.name = "Wd_Type", .type = "C ", .stem = "Wd_Type"}},
       .arguments = {{"TREE HEIGHT|CONSTANT TREE HEIGHT", Kind::number,
                      "Error reading TREE HEIGHT for WOOD ACCUMULATION TYPES"},
                     {"TREE HEIGHT SHAPEFILE", Kind::shapefile,
                      "Cannot find TREE HEIGHT SHAPEFILE for WOOD ACCUMULATION TYPES"},
                     {"SHAPEFILE ID FIELD|TREE HEIGHT SHAPEFILE ID FIELD"},
                     {"TREE HEIGHT RASTER", Kind::raster,
                      "Cannot find TREE HEIGHT RASTER for WOOD ACCUMULATION TYPES"},
                     {"SUFFIX|OUTPUT FIELD SUFFIX"}},
       .rule = checkWood},
      {.words = "LOCAL CONTRIBUTING AREA", .columns = {{.name = "AREA_ADJ"}}},
      {.words = "ELEVATION DROP", .columns = {{.name = "GRADIENT", .decimals = 3}}, .arguments = drop},
      {.words = "SMOOTH PROFILE", .columns = {{.name = "GRADIENT", .decimals = 3}}, .arguments = drop},
      {.words = "SURFACE METRICS",
       .columns = {{.name = "SURF_INCIS", .when = "INCISION"},
                   {.name = "SURF_HORIZ", .when = "HORIZONTAL"},
                   {.name = "SURF_PLAN", .when = "PLAN"},
                   {.name = "SURF_PROF", .when = "PROFILE"}},
       .arguments = {{"MINIMUM RADIUS|MIN RADIUS", Kind::number,
                      "Error reading MINIMUM RADIUS for SURFACE METRICS"},
                     {"MAXIMUM RADIUS|MAX RADIUS", Kind::number,
                      "Error reading MAXIMUM RADIUS for SURFACE METRICS"},
                     {"INNER WIDTHS|INNER", Kind::number, "Error reading INNER WIDTHS for SURFACE METRICS"},
                     {"OUTER WIDTHS|OUTER", Kind::number, "Error reading OUTER WIDTHS for SURFACE METRICS"},
                     {"INCISION|INCISION FIELD", Kind::name},
                     {"HORIZONTAL|HORIZONTAL CURVATURE|HORIZONTAL FIELD", Kind::name},
                     {"PLAN|PLAN CURVATURE|PLAN FIELD", Kind::name},
                     {"PROFILE|PROFILE CURVATURE|PROFILE FIELD", Kind::name}},
       .otherwise = "SURF_INCIS|SURF_HORIZ|SURF_PLAN|SURF_PROF"},
      {.words = "LINE OF SIGHT",
       .columns = {{.name = "Geomorphon", .type = "I4", .length = 2, .stem = "Geomor_"},
                   {.name = "ZenithLeft", .decimals = 8},
                   {.name = "ZenithRight", .decimals = 8},
                   {.name = "NadirLeft", .decimals = 8},
                   {.name = "NadirRight", .decimals = 8}},
       .arguments = {{"INNER|INNER WIDTHS|INNER CHAN WIDTHS", Kind::number,
                      "Error reading INNER WIDTHS for LINE OF SIGHT"},
                     {"OUTER|OUTER WIDTHS|OUTER CHAN WIDTHS", Kind::number,
                      "Error reading OUTER WIDTHS for LINE OF SIGHT"},
                     {"MIN DIF|FLATNESS THRESHOLD", Kind::number, "Error reading MIN DIF for LINE OF SIGHT"},
                     {"SUFFIX"}}},
      {.words = "INCISION",
       .columns = {{.name = "ElevDif", .when = "ELEV DIF FIELD"},
                   {.name = "ElevDev", .when = "ELEV DEV FIELD"},
                   {.name = "PlanCurv", .when = "PLAN CURVATURE FIELD"},
                   {.name = "MisMatch", .when = "MISMATCH FIELD"}},
       .arguments = {{"CHANNEL INCISION", Kind::mark},
                     {"ALL POSITIVE", Kind::mark},
                     {"ELEV DIF FIELD|DIF FIELD|DIF", Kind::name},
                     {"ELEV DEV FIELD|DEV FIELD|DEV", Kind::name},
                     {"PLAN CURVATURE FIELD|PLAN FIELD|PLAN", Kind::name},
                     {"MISMATCH FIELD|MISMATCH", Kind::name}},
       .otherwise = "ElevDif|ElevDev|PlanCurv|MisMatch"},
      {.words = "WIDTH PROBABILITY",
       .columns = {{.name = "WIDTH PROBABILITY"}},
       .arguments = probability,
       .rule = checkMaxArea},
      {.words = "EXPECTED WIDTH", .columns = {{.name = "EXPECTED WIDTH"}}, .arguments = probability},
      {.words = "CLASS PROBABILITY", .columns = {{.name = "CLASS PROBABILITY"}}, .arguments = probability},
      {.words = "OVERLAY",
       .columns = {{.name = "OVERLAY"}},
       .arguments = {{"FIELD NAME|FIELD"}, {"GRID", Kind::raster, "Attribute OVERLAY, cannot find GRID"}}},
      {.words = "GRADIENT BREAK|GRAD BREAK",
       .columns = {{.name = "GRADIENT BREAK"}},
       .arguments = {{"UPGRAD FIELD"},
                     {"DOWNGRAD FIELD"},
                     {"SET LENGTH", Kind::number},
                     {"NODE FIELD", Kind::name},
                     {"EXTENT FIELD", Kind::name}},
       .rule = checkBreak},
      {.words = "WDFW BARRIER", .columns = {{.name = "WDFW BARRIER"}}},
      {.words = "GRADIENT PHB", .columns = {{.name = "GRADIENT PHB"}}},
      {.words = "FRANSEN ET AL FISH MODEL", .columns = {{.name = "FRANSEN ET AL FISH MODEL"}}},
      {.words = "LOOK AHEAD", .columns = {{.name = "LOOK AHEAD"}}},
  };
}

}  // namespace

std::span<const AttributeRow> attributeRows() {
  static const std::vector<AttributeRow> rows = makeRows();
  return rows;
}

const AttributeRow* findAttributeRow(std::string_view keyword) {
  for (const AttributeRow& row : attributeRows())
    if (isKeyword(row.words, keyword)) return &row;
  return nullptr;
}

AttributeType describeColumn(const RowColumn& column) {
  constexpr std::size_t kOutLength = 10;
  AttributeType made;
  made.name = column.name;
  made.outName = column.outName.empty() ? trimmed(column.name.substr(0, kOutLength)) : column.outName;
  made.dataType = column.type;
  made.length = column.length;
  made.decimals = column.type.front() == 'R' ? column.decimals : 0;
  return made;
}

const RowColumn* findRowColumn(std::string_view name) {
  for (const AttributeRow& row : attributeRows())
    for (const RowColumn& column : row.columns)
      if (column.name == name) return &column;
  return nullptr;
}

AttributeNames::AttributeNames(std::span<const AttributeType> list) {
  const auto add = [this](std::string_view name, std::size_t place) {
    if (!isBlank(name)) places_.try_emplace(std::string(name), place);
  };
  for (std::size_t i = 0; i < list.size(); ++i) add(list[i].name.trimmed(), i);
  for (std::size_t i = 0; i < list.size(); ++i) add(list[i].outName.trimmed(), i);
  for (std::size_t i = 0; i < list.size(); ++i)
    for (const AttributeRow& row : attributeRows())
      for (const RowColumn& column : row.columns)
        if (column.name == list[i].name.trimmed())
          forEachWord(row.words, [&](std::string_view word) { add(word, i); });
}

std::optional<std::size_t> AttributeNames::find(std::string_view name) const {
  const auto found = places_.find(trimmed(name));
  return found == places_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace terrain
