// Attribute lists: every spelling of the vocabulary, what rows make and refuse, and the columns on disk.

#include "attributes/attribute_list.h"

#include <filesystem>
#include <map>
#include <set>

#include "../table/table_support.h"
#include "attributes/attribute_reference.h"
#include "attributes/attribute_vocabulary.h"
#include "attributes/equation.h"
#include "foundation/platform.h"
#include "grid/storage.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

namespace fs = std::filesystem;

class Lists : public ::testing::Test {
 protected:
  void SetUp() override {
    errors_ = std::exchange(platform::console().errors, &warnings_);
    before_ = fs::current_path();
    fs::current_path(scratch_.path());
    for (const char* name : {"precip", "position", "geology", "canopy", "landcover", "soils", "heights"})
      writeRaster(name, "1 2\n");
    writeLines("roads", {{{0, 0}, {1, 1}}});
    for (const char* name : {"curves.txt", "soils.csv", "codes.csv"}) writeBytes(name, "A,B\n1,2\n");
  }
  void TearDown() override {
    fs::current_path(before_);
    platform::console().errors = errors_;
  }

  int read(const std::string& text) {
    writeBytes("list.txt", text);
    InputFileType file = NewInputFile("list.txt", {.mayBeEmpty = true});
    seen.clear();
    return ReadList(file, list);
  }
  /// Reads the lines of an attribute block.
  int readRows(const std::string& rows) {
    return read("LAKE MASK: m\nATTRIBUTE LIST:\n" + rows + "\nEND LIST:\n");
  }
  [[nodiscard]] const AttributeType* column(std::string_view outName) const {
    for (const AttributeType& one : list.attributes)
      if (one.outName.trimmed() == outName) return &one;
    return nullptr;
  }
  /// Output name, type, length and decimals of a column, and "w" if it is written.
  [[nodiscard]] std::string format(std::string_view outName) const {
    const AttributeType* const one = column(outName);
    if (one == nullptr) return "none";
    return std::string(one->dataType.trimmed()) + ' ' + std::to_string(one->length) + ' ' +
           std::to_string(one->decimals) + (one->outFlag ? " w" : "");
  }
  [[nodiscard]] bool warned(int32_t line, std::string_view text) const {
    return std::ranges::any_of(list.warnings, [&](const LineWarning& one) {
      return one.line == line && one.text.find(text) != std::string::npos;
    });
  }

  ConsoleCapture seen;
  ScratchDir scratch_;
  fs::path before_;
  std::ostringstream warnings_;
  std::ostream* errors_ = nullptr;
  AttributeList list;
};

/// What a row must be given.
const std::map<std::string_view, std::string_view> kNeeds{
    {"VALLEY WIDTH", "CHANNEL DEPTHS = 2"},
    {"VALLEYFLOORMASK", "OUTPUT FIELD = F, ELEVATION = 2"},
    {"IP", "INDEX FILE = curves.txt"},
    {"MEAN AZIMUTH", "SIN FIELD = WIDTH, COS FIELD = WIDTH"},
    {"DOWNSTREAM MAXIMUM", "BY NODE"},
    {"ROAD DENSITY", "ROADX SHAPEFILE = roads.shp"},
    {"POSITION", "RADIUS = 3"},
    {"VWI", "ELEV = 2"},
    {"VALLEY CONSTRAINT", "CHAN DEPTHS = 2, CONSTRAINED VWI = 1, VWI UNCONSTRAINED = 1"},
    {"WOOD ACCUMULATION TYPE", "TREE HEIGHT = 2"},
    {"WIDTH PROBABILITY", "MAX AREA = 2"},
    {"GRADIENT BREAK", "NODE FIELD"}};

/// A text with its letters in lower case.
std::string lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

TEST_F(Lists, EverySpellingMakesItsColumnsAndNoOtherDoes) {
  std::set<std::string> words;
  std::set<std::string> outNames;
  for (const AttributeRow& row : attributeRows()) {
    const std::string_view first = nameOfKeyword(row.words);
    const auto need = kNeeds.find(first);
    const std::string arguments = need == kNeeds.end() ? "" : std::string(need->second);
    forEachWord(row.words, [&](std::string_view view) {
      const std::string word(view);
      EXPECT_TRUE(words.insert(word).second) << word << " names two rows";
      const std::string others = "WIDTH\nPLAN CURVATURE\n";
      for (const std::string colon : {":", ""}) {
        ASSERT_EQ(readRows(others + word + (colon.empty() && !arguments.empty() ? ", " : colon) + arguments),
                  0)
            << word << seen.text();
        ASSERT_GE(list.attributes.size(), 3U) << word;
        EXPECT_EQ(list.attributes[2].name.trimmed(), row.columns.front().when.empty()
                                                         ? row.columns.front().name
                                                         : list.attributes[2].name.trimmed());
      }
      const std::string small = lower(word);
      if (findAttributeRow(small) != nullptr) return;
      ASSERT_EQ(readRows("WIDTH:\n" + small + ": " + arguments), 0) << small;
      EXPECT_EQ(list.attributes.size(), 1U) << small;
      EXPECT_TRUE(warned(4, small + " is not a keyword")) << small;
    });
    if (!isKeyword("ELEVATION DROP|SMOOTH PROFILE", first))
      for (const RowColumn& one : row.columns) {
        const AttributeType made = describeColumn(one);
        EXPECT_TRUE(outNames.insert(lower(std::string(made.outName.trimmed()))).second)
            << made.outName.trimmed();
      }
    forEachWord(row.internal, [&](std::string_view name) {
      EXPECT_TRUE(name.empty() || findRowColumn(name) != nullptr) << name;
    });
  }
  EXPECT_EQ(attributeRows().size(), 69U);
}

TEST_F(Lists, OptionsHaveManySpellings) {
  for (const char* length : {"LENGTH", "LEN", "Length", "Len", "length", "len"})
    for (const char* decimals : {"DECCNT", "DecCnt", "deccnt", "decCnt"}) {
      ASSERT_EQ(readRows(std::string("WIDTH: OUTFLAG, ") + length + " = 9, " + decimals + "=2"), 0);
      EXPECT_EQ(format("WIDTH"), "R4 9 2 w");
    }
  for (const char* nodata : {"NODATA", "NoData", "NO DATA", "NO_DATA", "No Data", "nodata"}) {
    ASSERT_EQ(readRows(std::string("WIDTH:\t") + nodata + " = -1"), 0);
    EXPECT_EQ(column("WIDTH")->nodata, -1.0F);
  }
  for (const auto& [words, code] : std::map<std::string, std::string>{{"I4|INT4", "I4"},
                                                                      {"I8|INT8", "I8"},
                                                                      {"R4|REAL4", "R4"},
                                                                      {"R8|REAL8", "R8"},
                                                                      {"C|CHAR|Char|char", "C"}})
    forEachWord(words, [&, type = code](std::string_view word) {
      for (const char* key : {"TYPE", "Type", "type"}) {
        ASSERT_EQ(readRows("WIDTH: " + std::string(key) + " = " + std::string(word)), 0);
        EXPECT_EQ(column("WIDTH")->dataType.trimmed(), type);
      }
    });
  for (const char* flag : {"OUTFLAG", "OutFlag", "outflag", "OUT FLAG", "OUTFLAG = .TRUE."}) {
    ASSERT_EQ(readRows(std::string("WIDTH: OutNode, Outreach, NodeFlag, calcflag, ") + flag), 0);
    const AttributeType& one = *column("WIDTH");
    EXPECT_TRUE(one.outFlag && one.shpFlag && one.csvFlag && one.nodeFlag && one.calcFlag && list.wantsNodes)
        << flag;
  }
  for (const char* name : {"FIELDNAME", "FIELD NAME", "OUTPUT FIELD", "OUTPUT FIELD NAME", "OUT FIELD"}) {
    ASSERT_EQ(readRows(std::string("WIDTH: ") + name + " = \"W\""), 0);
    EXPECT_NE(column("W"), nullptr);
  }
  ASSERT_EQ(readRows("WIDTH: OUTFLAG = 1, TYPE = REAL\nDEPTH: OUTNODE\nELEVATION: WIDE = 3, LENGHT = 4"), 0);
  EXPECT_TRUE(warned(3, "OUTFLAG = 1 is off"));
  EXPECT_TRUE(warned(3, "REAL is no type"));
  EXPECT_TRUE(warned(4, "OUTNODE has no effect without OUTFLAG"));
  EXPECT_TRUE(warned(5, "\"WIDE = 3\" is no argument of ELEVATION"));
  EXPECT_TRUE(warned(5, "did you mean LENGTH"));
  EXPECT_TRUE(warned(0, "no column is written"));
}

TEST_F(Lists, RowsWithArgumentsMakeTheirColumns) {
  ASSERT_EQ(readRows("VALLEY WIDTH RIGHT: NUMDEPTHS = 2\nVAL_L: Elevation = 1\nVALLEY WIDTH LEFT: ELEVATION "
                     "= 1, OUT FIELD = L"),
            0)
      << seen.text();
  EXPECT_EQ(format("VALWID_R"), "R4 15 5");
  EXPECT_NE(column("VALWID_L"), nullptr);
  EXPECT_NE(column("L"), nullptr) << "a given name has no suffix";
  EXPECT_EQ(list.attributes.size(), 6U) << "WIDTH, DEPTH and GRADIENT once, at the end";
  EXPECT_EQ(list.attributes.back().name.trimmed(), "GRADIENT");
  ASSERT_EQ(
      readRows(
          "ROAD DENSITY: SEGMENT SHAPEFILE = roads, BOTH SIDES, CONTRIBUTNG AREA, LENGTH = 7\n"
          "LAKE: GET DISTANCE\nSURFACE METRICS: PLAN FIELD = P, PROFILE\n"
          "LINE OF SIGHT: SUFFIX = 25\nINCISION:\nWOOD ACCUMULATION TYPES: TREE HEIGHT RASTER = heights, "
          "OUTPUT FIELD SUFFIX = _abc"),
      0)
      << seen.text();
  for (const char* name : {"UpRoadDen", "RtRoadDen", "LftRoadDen"}) EXPECT_EQ(format(name), "R4 7 5") << name;
  EXPECT_EQ(format("LocRoadDen"), "none");
  EXPECT_EQ(format("LAKE"), "I4 12 0");
  EXPECT_NE(column("AreaLakeUp"), nullptr);
  EXPECT_NE(column("P"), nullptr);
  EXPECT_NE(column("SURF_PROF"), nullptr);
  EXPECT_EQ(format("SURF_INCIS"), "none");
  EXPECT_EQ(format("Geomor_25"), "I4 2 0");
  EXPECT_EQ(format("ZenithLeft"), "R4 12 8");
  EXPECT_NE(column("MisMatch"), nullptr) << "no field given: all four";
  EXPECT_EQ(format("Wd_Type_abc"), "C 12 0");
  EXPECT_TRUE(warned(8, "the suffix is cut")) << "Wd_Type_abc and Partial_abc";
  ASSERT_EQ(readRows("OVERLAY: FIELD NAME = UNIT, OUTPUT FIELD = GEO, GRID = geology.flt\nWIDTH:\nACW_M:"),
            0);
  EXPECT_NE(column("GEO"), nullptr) << "FIELD NAME is the source";
  EXPECT_TRUE(warned(5, "two columns have the name WIDTH"));
}

TEST_F(Lists, ImpliedColumnsStandOnceAtTheEnd) {
  ASSERT_EQ(readRows("IP: INDEX CURVE FILE = curves.txt, OUTFLAG\nMAXDOWNGRAD:"), 0);
  EXPECT_TRUE(seen.has("MEAN ANNUAL FLOW needed for IP, added to attribute list"));
  EXPECT_TRUE(seen.has("MEAN ANNUAL PRECIP needed for MEAN ANNUAL FLOW, added to attribute list"));
  EXPECT_TRUE(seen.has("Maximum downstream gradient based on default gradient length scales"));
  EXPECT_TRUE(seen.has("WARNING: MEAN ANNUAL PRECIP may need a precip raster"));
  EXPECT_EQ(format("MEANPREC_M"), "R4 12 5");
  EXPECT_EQ(format("MEANFLWCMS"), "R4 12 4");
  ASSERT_EQ(readRows("MEANFLOWCMS:\nMEANPREC: File = precip, Units = FEET"), 0);
  EXPECT_FALSE(seen.has("WARNING: MEAN ANNUAL PRECIP"));
  EXPECT_EQ(list.attributes.size(), 2U);
  ASSERT_EQ(read("CLIP BASIN: c\nATTRIBUTE LIST\nWIDTH\nEnd\n"), 0);
  EXPECT_EQ(format("CLIP BASIN"), "R4 12 0");
}

TEST_F(Lists, AllFailuresComeInOneReadingWithTheirLines) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"WIDTH: LENGTH = 255", "Error reading field length for WIDTH"},
      {"WIDTH: DECCNT = 16", "Error reading field deccnt for WIDTH"},
      {"WIDTH: NODATA = none", "Error reading field nodata"},
      {"VALLEY WIDTH:", "Error reading number of channel depths for valley width"},
      {"VALLEY WIDTH: CHANDEPTHS = 1, ELEVATION = 2",
       "Error reading elevation above channel for valley width"},
      {"VALLEY WIDTH: NUM DEPTHS = few", "Error reading number of channel depths for valley width"},
      {"VALLEY FLOOR MASK: ELEVATION = 2", "Valley floor mask must specify an output data field name"},
      {"VALLEY FLOOR MASK: ELEVATION = 2, OUT FIELD = A, OUTPUT = BY CHANNEL",
       "cannot use OUTPUT = CHANNEL ID"},
      {"VALLEY FLOOR MASK: OUTFILE = a", "VALLEY FLOOR MASK, need to specify either elevation or number"},
      {"VWI:", "Error setting VWI CHANNEL DEPTHS"},
      {"VWI: CHANNEL DEPTHS = x", "Input file, error reading VWI argument for CHANNEL DEPTHS"},
      {"VALLEY CONSTRAINT: ELEV = 1, CONSTRAINED = 3, UNCONSTRAINED = 2",
       "VWI for unconstrained must be >= that for constrained"},
      {"VALLEY CONSTRAINT: ELEV = 1, UNCONSTRAINED = 2", "Error reading VWI value for CONSTRAINED channels"},
      {"WOOD ACCUMULATION TYPES: TREE HEIGHT = 0", "TREE HEIGHT must be > zero for WOOD ACCUMULATION TYPES"},
      {"WOOD ACCUMULATION TYPES: TREE HEIGHT = 3, TREE HEIGHT SHAPEFILE = roads, SHAPEFILE ID FIELD = I",
       "Specify either a constant TREE HEIGHT or a TREE HEIGHT SHAPEFILE, not both"},
      {"WOOD ACCUMULATION TYPES: TREE HEIGHT SHAPEFILE = roads",
       "Need ID field name for TREE HEIGHT SHAPEFILE"},
      {"WOOD ACCUMULATION TYPES:", "Error reading TREE HEIGHT"},
      {"WOOD ACCUMULATION TYPES: TREE HEIGHT RASTER = none", "Cannot find TREE HEIGHT RASTER"},
      {"MEANPREC: FILE = none", "Cannot find precipitation file none"},
      {"MEANPREC: FACTOR = much", "Unable to read precip factor"},
      {"MEANPREC: UNITS = cubits", "Unknown precip units"},
      {"ROAD DENSITY: LOCAL", "ROADX SHAPEFILE not specified"},
      {"ROAD DENSITY: ROADX SHAPEFILE = none", "Cannot find road shapefile none"},
      {"DOWNSTREAM MAX:", "Input file; DOWNSTREAM MAXIMUM - need to specify BY NODE or BY REACH"},
      {"IP:", "IP Index file not specified"},
      {"IP: INDEX FILE = none", "IP index curve not found: none"},
      {"REACHCODE: FILE = none", "Cannot find reachCode file none"},
      {"POSITION:", "Error, missing arguments for LANDSCAPE POSITION"},
      {"POSITION: RADIUS = wide", "Error reading RADIUS for LANDSCAPE POSITION"},
      {"LINE OF SIGHT: INNER WIDTHS = x", "Error reading INNER WIDTHS for LINE OF SIGHT"},
      {"SURFACE METRICS: MIN RADIUS = x", "Error reading MINIMUM RADIUS for SURFACE METRICS"},
      {"WIDTH PROBABILITY:", "MAX AREA for WIDTH PROBABILITY has not been specified"},
      {"OVERLAY: GRID = none", "Attribute OVERLAY, cannot find GRID"},
      {"GRAD BREAK:", "GRADIENT BREAK, no method specified"},
      {"PLAN SUM:", "PLAN SUM requires PLAN CURVATURE"},
      {"MEAN AZIMUTH: SIN FIELD = WIDTH", "Missing SIN or COS FIELD for MEAN AZIMUTH"},
      {"DEPTH: EQUATION\nTERM: FIELD = LOST, COEF = q\nINTERCEPT: x\nTERM: COEF = 3\nEND EQUATION",
       "COEF value for LOST"}};
  std::string all;
  for (const auto& [row, text] : rows) {
    EXPECT_EQ(readRows(row), -1) << row;
    EXPECT_TRUE(seen.has(text)) << row << '\n' << seen.text();
    EXPECT_TRUE(seen.has("  Line ") || row.starts_with("MEAN AZIMUTH")) << row << '\n' << seen.text();
    if (text.starts_with("PLAN SUM")) continue;
    all += row + '\n';
  }
  EXPECT_EQ(readRows(all), -1);
  for (const auto& [row, text] : rows) EXPECT_TRUE(text.starts_with("PLAN SUM") || seen.has(text)) << text;
  EXPECT_EQ(read("ATTRIBUTE LIST:\nLAKE:\nEND LIST:\nLAKE FILE:\n"), -1);
  EXPECT_TRUE(seen.has("Missing lake mask file name"));
  EXPECT_EQ(read("DEM:\nSMOOTHING WINDOW: MAX PASS = some\nATTRIBUTE LIST:\nWIDTH\n"), -1);
  EXPECT_TRUE(seen.has("Input file, missing argument for keyword DEM FILE")) << seen.text();
  EXPECT_TRUE(seen.has("Input file, error reading SMOOTHING WINDOW MAX PASS"));
  EXPECT_TRUE(seen.has("Error reading attribute list"));
  EXPECT_EQ(readRows("WIDTH: " + std::string(257, 'x')), -1);
  EXPECT_EQ(readRows("WIDTH: " + std::string(256, 'x')), 0);
  std::string many = "WIDTH: LENGTH = 3";
  for (int i = 0; i < 500; ++i) many += ",a";
  EXPECT_EQ(readRows(many), -1);
}

TEST_F(Lists, BlocksEndAlikeAndOpenersCloseThem) {
  for (const char* end : {"END LIST", "End List:", "END", "End", "END RASTER LIST:", "END ATTRIBUTE LIST"}) {
    ASSERT_EQ(read(std::string("RASTER LIST\nFILE = canopy, FIELD = A\n") + end +
                   "\nATTRIBUTE LIST\nWIDTH, OUTFLAG\n" + end + "\nDATA ID: x\n"),
              0)
        << end << seen.text();
    EXPECT_EQ(list.rasters.size(), 1U);
    EXPECT_EQ(list.attributes.size(), 1U);
    EXPECT_EQ(list.dataID, "x");
  }
  ASSERT_EQ(read("Attribute List:\nWIDTH:\nRASTERS:\nFILE: canopy, FIELD = A\nEND\n"), 0);
  EXPECT_TRUE(warned(3, "closes the block that line 1 opens"));
  EXPECT_EQ(list.rasters.size(), 1U);
  EXPECT_EQ(read("attribute list:\nWIDTH:\nEND\n"), 0);
  EXPECT_TRUE(list.attributes.empty());
  EXPECT_TRUE(warned(1, "did you mean ATTRIBUTE LIST?"));
}

TEST_F(Lists, EquationsAreReadWithTheirRow) {
  ASSERT_EQ(
      readRows(
          "WIDTH: OUTFLAG, EQUATION\nINTERCEPT = 4\nTERM: FIELD = DRAINAGE AREA, COEF = 2\nEND EQUATION\n"
          "CONTRIBUTING AREA:\nEQUATION: POWER, OUTFLAG\nTERM: FIELD = ACW_M, COEFF = 3\nEND EQUATION:"),
      0)
      << seen.text();
  EXPECT_EQ(column("WIDTH")->equation.intercept, 4.0F);
  EXPECT_EQ(column("POWER")->equation.term.size(), 1U);
  EXPECT_TRUE(warned(9, "\"COEFF = 3\" is no argument of TERM"));
  EXPECT_EQ(readRows("WIDTH: EQUATION\nTERM: FIELD = DEPTH\nDEPTH: OUTFLAG"), -1);
  EXPECT_TRUE(seen.has("There is no END EQUATION for WIDTH"));
  EXPECT_NE(column("DEPTH"), nullptr) << "rows after it are read";
  EXPECT_EQ(read("ATTRIBUTE LIST\nWIDTH: EQUATION"), -1);
  EXPECT_EQ(list.attributes.size(), 1U) << "the last line is read once";
  EXPECT_EQ(read("RASTER LIST\nFILE = canopy"), -1);
  EXPECT_EQ(list.rasters.size(), 1U);
  EXPECT_EQ(readRows("EQUATION: OUTFLAG\nEND EQUATION"), -1);
  EXPECT_TRUE(seen.has("The equation has no name"));
}

TEST_F(Lists, EquationsHaveValues) {
  const auto valued = [&](const std::string& rows, std::vector<double> values) {
    EXPECT_EQ(readRows(rows), 0) << seen.text();
    EXPECT_EQ(values.size(), list.attributes.size());
    evaluateEquations(list.attributes, values);
    return values;
  };
  const auto depth = [](const std::string& lines) {
    return "WIDTH:\nDEPTH: EQUATION\n" + lines + "\nEND EQUATION";
  };
  EXPECT_EQ(
      valued(depth("INTERCEPT: 1\nTERM: FIELD = WIDTH, COEF = 2, EXPONENT = 2, FIELD = WIDTH, COEF = -1"),
             {3, 0})[1],
      1 + 2 * 9 * -3.0);
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH, BASE = 10, EXPONENT = 2\nTERM: FIELD = WIDTH, BASE = 2"),
                   {100, 0})[1],
            4 + std::log2(100.0));
  const double none = -9999;
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH"), {none, 7})[1], none);
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH, BASE = 10"), {0, 7})[1], none);
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH, BASE = 1"), {5, 7})[1], none);
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH, EXPONENT = 0.5"), {-4, 7})[1], none);
  EXPECT_EQ(valued(depth("TERM: FIELD = WIDTH, EXPONENT = -1, FIELD = WIDTH, COEF = 0"), {0, 7})[1], none);
  // Equations use each other in any order; a circle has no value.
  const std::vector<double> chain =
      valued("ELEVATION: EQUATION\nTERM: FIELD = DEPTH, COEF = 3\nEND EQUATION\n" +
                 depth("TERM: FIELD = WIDTH, COEF = 2"),
             {0, 5, 0});
  EXPECT_EQ(chain, (std::vector<double>{30, 5, 10}));
  const std::vector<double> circle =
      valued("ELEVATION: EQUATION\nTERM: FIELD = DEPTH\nEND EQUATION\n" + depth("TERM: FIELD = ELEVATION"),
             {1, 5, 1});
  EXPECT_EQ(circle, (std::vector<double>{none, 5, none}));
}

TEST_F(Lists, RastersHaveModesCategoriesAndTables) {
  ASSERT_EQ(read("RASTER LIST:\n"
                 "FILE: \"canopy.flt\", FIELD = Canopy, MEAN LOCAL, PER AREA, BUFFER = 20, MAX VALUE = 90, "
                 "MAXGAP = 3, OUTFLAG\n"
                 "FILE: landcover, CATEGORY, PROP CONTRIB, TYPE = R8, LENGTH = 7, OUTFLAG, LAKE RESET\n"
                 "CAT LIST:\nVALUE: 11, FIELD = Water\nVALUE = 42, OUTPUT FIELD = Conifer, LENGTH = 9\nEND "
                 "CAT LIST:\n"
                 "FILE: soils, FIELD = LOCAL_MEAN, RASTER TABLE, TABLE NAME = soils.csv, ATTRIBUTE NAME = K, "
                 "LAMBDA = 0.1, mean\n"
                 "END RASTER LIST:\n"),
            0)
      << seen.text();
  ASSERT_EQ(list.rasters.size(), 3U);
  const RasterEntry& canopy = list.rasters[0];
  EXPECT_EQ(canopy.file, "canopy");
  EXPECT_TRUE(canopy.zone == SampleZone::local && canopy.statistic == SampleStatistic::mean &&
              canopy.perArea);
  EXPECT_EQ(canopy.maxGap, 3.0F);
  EXPECT_EQ(canopy.maximum, 90.0F);
  const RasterEntry& cover = list.rasters[1];
  ASSERT_EQ(cover.categories.size(), 2U);
  EXPECT_TRUE(cover.isCategorical && cover.lakeReset && cover.zone == SampleZone::contributing);
  EXPECT_EQ(cover.categories[0].value, 11);
  EXPECT_EQ(cover.categories[0].column.length, 7);
  EXPECT_TRUE(cover.categories[0].column.outFlag);
  EXPECT_EQ(cover.categories[1].column.length, 9);
  const RasterEntry& soils = list.rasters[2];
  EXPECT_TRUE(soils.isTable && soils.field == "K" && soils.decay == 0.1F);
  EXPECT_TRUE(soils.zone == SampleZone::none && soils.statistic == SampleStatistic::none)
      << "values set no mode";
  EXPECT_TRUE(warned(8, "\"mean\" has no effect"));
  EXPECT_EQ(rasterColumns(list.rasters).size(), 4U);
  for (const auto& [lines, text] :
       {std::pair<std::string, std::string>{"MEAN: canopy",
                                            "FILE keyword must follow the RASTER LIST keyword"},
        {"FILE:", "Missing rasterlist argument"},
        {"FILE: none, FIELD = A", "Cannot find flt raster none"},
        {"FILE: canopy, MEAN", "Missing rasterList field name"},
        {"FILE: canopy, FIELD = A, MEAN, SUM", "Two words of one kind"},
        {"FILE: canopy, FIELD = A, LEFT, RIGHT", "Two words of one kind"},
        {"FILE: canopy, FIELD = A, LENGTH = x", "Error reading field length for raster list"},
        {"FILE: canopy, FIELD = A, DECCNT = x", "Error reading deccnt for raster list"},
        {"FILE: canopy, FIELD = A, NODATA = x", "Error reading nodata for raster list"},
        {"FILE: canopy, FIELD = A, MAX GAP = x", "Error reading MAXGAP"},
        {"FILE: canopy, FIELD = A, BUFFER = x", "Error reading buffer width for canopy"},
        {"FILE: soils, FIELD = A, TABLE FILE = none.csv, ATTRIBUTE NAME = K", "Cannot open none.csv"},
        {"FILE: landcover\nCAT LIST:\nVALUE: a, FIELD = A\nEND CAT LIST",
         "Error reading category value for rasterList"},
        {"FILE: landcover\nCAT LIST: 3\nVALUE: 1, FIELD = A\nEND CAT LIST",
         "Error reading number of categories in landcover"},
        {"FILE: landcover\nCAT LIST:\nVALUE: 1, FIELD = A, NODATA = x\nEND CAT LIST",
         "Error reading nodata vlaue for raster list"},
        {"FILE: landcover\nCAT LIST:\nVALUE: 1, FIELD = A", "Error reading CAT LIST"}}) {
    EXPECT_EQ(read("RASTER LIST:\n" + lines + "\nEND RASTER LIST:\nATTRIBUTE LIST\nWIDTH\nEND"), -1) << lines;
    EXPECT_TRUE(seen.has(text)) << lines << '\n' << seen.text();
    EXPECT_EQ(list.attributes.size(), 1U) << "what follows is read: " << lines;
  }
}

TEST_F(Lists, TheReferenceIsThatOfTheTables) {
  EXPECT_EQ(readBytes(TERRAIN_SOURCE_DIR "/docs/attribute_lists.md"), attributeReference())
      << attributeReference();
}

TEST_F(Lists, TheExampleBecomesFilesThatOthersRead) {
  std::string example = readBytes(TERRAIN_SOURCE_DIR "/examples/attribute_list.txt");
  ASSERT_EQ(read(example), 0) << seen.text();
  EXPECT_TRUE(list.warnings.empty()) << describe(list.warnings.front());
  std::set<std::string_view> rows;
  for (const AttributeRow& row : attributeRows())
    for (const RowColumn& one : row.columns)
      for (const AttributeType& made : list.attributes)
        if (made.name.trimmed() == one.name) rows.insert(row.words);
  EXPECT_EQ(rows.size(), attributeRows().size()) << "every row is in the example";
  DataTableType table;
  ASSERT_EQ(NewDataTable(table, {.attributeList = list.attributes, .numRecords = 2}), 0);
  ASSERT_EQ(table.AddField(rasterColumns(list.rasters)), 0) << seen.text();
  ASSERT_EQ(table.WriteI8Value(table.FieldNumber("ID"), 1, 17110013), 0);
  ASSERT_EQ(table.WriteCharValue(table.FieldNumber("REACHCODE"), 1, "17110012000123"), 0);
  ASSERT_EQ(table.writeDBFfile("out"), 0) << seen.text();
  ASSERT_EQ(table.WriteCSV("out.csv"), 0) << seen.text();
  if (!haveTool("ogrinfo")) GTEST_SKIP() << "gdal-bin is not installed";
  const std::string dbf = shell("cd '" + scratch_.path() + "' && ogrinfo -ro -al out.dbf").text;
  for (const char* text :
       {"ID: Integer64 (12.0)", "REACHCODE: String (14.0)", "WIDTH: Real (8.2)", "VALLEY_CON: String (13.0)",
        "ELEVATION: Real (10.2)", "CONIFER: Real (9.3)", "GEOLOGY: String (6.0)", "NODE_ID: Integer64 (12.0)",
        "ID (Integer64) = 17110013", "REACHCODE (String) = 17110012000123", "POWER: Real"})
    EXPECT_NE(dbf.find(text), std::string::npos) << text << '\n' << dbf;
  EXPECT_EQ(dbf.find("FLOORWIDTH"), std::string::npos) << "it has no OUTFLAG";
  const std::string csv =
      shell("cd '" + scratch_.path() + "' && ogrinfo -ro -al -oo AUTODETECT_TYPE=YES out.csv").text;
  EXPECT_NE(csv.find("17110012000123"), std::string::npos) << csv;
}

}  // namespace
}  // namespace terrain::test
