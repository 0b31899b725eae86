// Whole runs of the drainage program: exit status, files and messages.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "dem/hydroflatten.h"
#include "grid/directions.h"
#include "grid/float_raster.h"
#include "run/drainage.h"
#include "support/dem_fixtures.h"
#include "support/tools.h"
#include "table/point_vectors.h"

namespace terrain::test {
namespace {

namespace fs = std::filesystem;

class DrainageProgram : public ::testing::Test {
 protected:
  DrainageProgram() {
    fs::create_directories(at("s"));
    R4Grid_type dem = noiseDem(60, 45, {.seed = 5, .lakes = 1, .roughness = 40});
    EXPECT_EQ(dem.WritefltR4(at("elev_site")), 0);
  }
  std::string at(const std::string& name) { return scratch_.path() + name; }
  Outcome run(const std::string& instructions) {
    writeBytes(at("in.txt"), instructions);
    return shell("cd '" + scratch_.path() + "' && " + TERRAIN_DRAINAGE_PROGRAM + " in.txt");
  }
  std::string raster(const std::string& name) { return readBytes(at(name + ".flt")); }

  ConsoleCapture console_;
  ScratchDir scratch_;
};

constexpr std::string_view kOutputs =
    "SCRATCH DIRECTORY: s\nOUTPUT CONDITIONED DEM: cond\nOUTPUT FLOW ANGLE RASTER: ang.flt\n"
    "OUTPUT D8 RASTER: d8\nOUTPUT DRAINAGE AREA RASTER: area\n";

TEST_F(DrainageProgram, WritesTheRastersOfTheLibraryAndALogBesideEach) {
  const Outcome done = run("DEM: elev_site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\n" + std::string(kOutputs));
  ASSERT_EQ(done.status, 0) << done.text;
  EXPECT_TRUE(fs::is_empty(at("s")));
  DEM_type dem;
  dem.file = at("elev_site");
  dem.len_scale = 25;
  ASSERT_EQ(dem.ResolveDEM(), 0);
  ASSERT_EQ(dem.GetElev(), 0);
  const std::vector<float> raw = cellsOf(dem.elev);
  dem.plan = dem.GetPlanCurvature();
  ASSERT_EQ(shiftElevations(dem), 0);
  ASSERT_EQ(FlowDirection(dem), 0);
  ASSERT_EQ(dem.CalcD8(), 0);
  ASSERT_EQ(accumulator(dem, {.DA = &dem.DA}), 0);
  R4Grid_type read;
  const auto cellsIn = [&](const std::string& name) {
    EXPECT_EQ(ReadGrid(read, at(name)), 0);
    EXPECT_TRUE(platform::fileExists(at(name + ".log"))) << name;
    EXPECT_EQ(read.nodata, kNodata);
    return cellsOf(read);
  };
  EXPECT_EQ(cellsIn("ang"), cellsOf(dem.aspect));
  const std::vector<float> codes = cellsIn("d8");
  const std::vector<float> areas = cellsIn("area");
  const std::vector<float> surface = cellsIn("cond");
  const std::vector<float> expected = cellsOf(dem.DA);
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const bool land = raw[i] != kNodata;
    EXPECT_EQ(areas[i], land ? expected[i] : kNodata);
    EXPECT_EQ(codes[i], static_cast<float>(cellsOf(dem.D8)[i]));
    if (!land) {
      EXPECT_EQ(surface[i], kNodata);
    } else {
      EXPECT_LT(surface[i], raw[i] + 45);
    }
  }
  // The surface is drained: a run on it carves nothing. The DEM is found by path and identifier as well.
  fs::rename(at("cond.flt"), at("elev_cond.flt"));
  fs::rename(at("cond.hdr"), at("elev_cond.hdr"));
  const Outcome again = run(
      "PATH: .\nDEM ID: cond\nCURVATURE LENGTH SCALE: 25\nOUTPUT D8 RASTER: again\nSCRATCH DIRECTORY: s\n");
  EXPECT_EQ(again.status, 0) << again.text;
  EXPECT_NE(again.text.find("Drainage passages carved: 0"), std::string::npos) << again.text;
}

TEST_F(DrainageProgram, FlowFollowsAChannelMask) {
  // A mask from the middle of the hills to the western edge, across the slopes.
  R4Grid_type mask;
  ASSERT_EQ(ReadGrid(mask, at("elev_site")), 0);
  const int32_t row = mask.rows() / 2;
  const int32_t head = mask.cols() / 2;
  fillWith(mask, [&](int32_t col, int32_t r) { return r == row && col <= head ? 1.0F : 0.0F; });
  ASSERT_EQ(mask.WritefltR4(at("mask")), 0);
  const std::string start = "DEM: elev_site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\n" + std::string(kOutputs);
  const Outcome done = run(
      start + "CHANNEL MASK: mask, DIG = 400, RADIUS = 40 m, MAX SLOPE = 9\nCHANNEL MASK FILE: mask.flt\n");
  ASSERT_EQ(done.status, 0) << done.text;
  I4Grid_type codes;
  ASSERT_EQ(ReadGrid(codes, at("d8")), 0);
  ColRow cell{.col = head, .row = row};
  int steps = 0;
  for (; codes.contains(cell.col, cell.row) && cell.row == row && steps < 1000; ++steps)
    cell = stepFrom(cell, codes.value(cell.col, cell.row, ""));
  EXPECT_EQ(cell.row, row) << "left the mask at column " << cell.col;
  EXPECT_EQ(cell.col, 0) << "at the western edge";

  const struct {
    std::string line, text;
  } faults[] = {{"CHANNEL MASK: none\n", "Cannot find channel mask file none"},
                {"CHANNEL MASK: mask, DIG = deep\n", "Error reading dig value for channel mask"},
                {"CHANNEL MASK: mask, WIDTH = 3\n", "\"WIDTH = 3\" is no argument of CHANNEL MASK"},
                {"CHANNEL MASK: mask, SELECTIVE\n", "Selective Enforcement List not provided"},
                {"SELECTIVE ENFORCEMENT: RASTER = none\n", "Cannot find PREFERENTIAL FLOW RASTER"},
                {"SELECTIVE ENFORCEMENT: BUFFER = 3\n", "Cannot find PREFERENTIAL FLOW RASTER"},
                {"CHANNEL MASK: DIG = 3\n", "Cannot find channel mask file"},
                {"CHANNEL MASK: d8\n", "Output raster would replace an input raster"}};
  for (const auto& fault : faults) {
    const Outcome failed = run(start + fault.line);
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.text.find(fault.text), std::string::npos) << failed.text;
  }
}

TEST_F(DrainageProgram, AnglesAreSmoothedOrKept) {
  const std::string start =
      "PATH: .\nDEM ID: site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\nSCRATCH DIRECTORY: s\n";
  ASSERT_EQ(run(start + "OUTPUT FLOW ANGLE RASTER: local\n").status, 0);
  const Outcome smoothed = run(start + "USE SMOOTHED ASPECT: 40 m\nOUTPUT FLOW ANGLE RASTER: smooth\n");
  ASSERT_EQ(smoothed.status, 0) << smoothed.text;
  EXPECT_NE(smoothed.text.find("Smoothing length (m) = "), std::string::npos);
  EXPECT_NE(raster("smooth"), raster("local"));
  // What is kept is read from the raster that the naming rules give.
  fs::copy_file(at("smooth.flt"), at("ang_site.flt"));
  fs::copy_file(at("smooth.hdr"), at("ang_site.hdr"));
  const Outcome kept = run(start + "USE EXISTING FLOW DIRECTIONS:\nOUTPUT FLOW ANGLE RASTER: kept\n");
  EXPECT_EQ(kept.status, 0) << kept.text;
  EXPECT_NE(kept.text.find("Using existing flow direction file"), std::string::npos) << kept.text;
  const Outcome failed = run(start + "USE SMOOTHED ASPECT:\nOUTPUT FLOW ANGLE RASTER: smooth\n");
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.text.find("Length scale for aspect not specified"), std::string::npos) << failed.text;
}

TEST_F(DrainageProgram, ChannelsAreFoundByTheirThresholds) {
  const std::string start = "DEM: elev_site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\nSCRATCH DIRECTORY: s\n";
  const std::string thresholds =
      "AREA SLOPE THRESHOLD LOW GRADIENT: 300\nAREA SLOPE THRESHOLD - HIGH GRADIENT: 400\n";
  const Outcome done = run(start + thresholds + "OUTPUT FLOW ACCUMULATION RASTER: acc\nCALIBRATE:\n");
  ASSERT_EQ(done.status, 0) << done.text;
  EXPECT_NE(done.text.find("Created accumulation grid: acc"), std::string::npos);
  EXPECT_TRUE(fs::exists(at("acc.log")));
  const auto nodes = [&] { return fs::file_size(at("basenode_site.dat")) / 28 - 5; };
  const auto all = nodes();
  EXPECT_GT(all, 20U);
  EXPECT_NE(readBytes(at("areathreshold_site.csv")).find("AREA,CHANNEL_DENSITY"), std::string::npos);
  const std::string whole = raster("acc");
  // A mask that covers the western half; fewer channels with a way to go, none where none may begin.
  R4Grid_type mask;
  ASSERT_EQ(ReadGrid(mask, at("elev_site")), 0);
  const int32_t half = mask.cols() / 2;
  fillWith(mask, [half](int32_t col, int32_t) { return col <= half ? 1.0F : 0.0F; });
  ASSERT_EQ(mask.WritefltR4(at("west")), 0);
  const std::string rest = thresholds + "OUTPUT FLOW ACCUMULATION RASTER: acc2\n";
  for (const char* more : {"MINIMUM THRESHOLD FLOW LENGTH: 40\n", "NO INITIATION RASTER: west\n",
                           "INITIATION RASTER: west.flt\n", "LAKE: FILE = west, PRECLUDE\n"}) {
    const Outcome less = run(start + rest + more);
    ASSERT_EQ(less.status, 0) << less.text;
    EXPECT_LT(nodes(), all) << more;
    EXPECT_GT(nodes(), 0U) << more;
  }
  // A mask of lines as channel, or the beginnings of its lines alone.
  const Point west = mask.ColRowToXY(20, 20);
  const Point east = mask.ColRowToXY(40, 20);
  writeLines(at("lines"), {{west, east}});
  const std::string none =
      start + "AREA SLOPE THRESHOLD LOW GRADIENT: 1e9\nAREA SLOPE THRESHOLD HIGH GRADIENT: 1e9\n" +
      "OUTPUT FLOW ACCUMULATION RASTER: acc2\n";
  ASSERT_EQ(run(none + "CHANNEL MASK: lines, PRECLUDE\n").status, 0);
  EXPECT_EQ(nodes(), 0U);
  ASSERT_EQ(run(none + "CHANNEL MASK: lines, FORCE INITIATION\n").status, 0);
  EXPECT_GE(nodes(), 21U);
  const Outcome top = run(none + "CHANNEL MASK: lines, DIRECTIONAL, TOP DIRECTIONAL, POINT FILE = tops\n");
  ASSERT_EQ(top.status, 0) << top.text;
  EXPECT_NE(top.text.find("Number of points: 1"), std::string::npos) << top.text;
  PointVectorType tops;
  ASSERT_EQ(ReadPointShapefile(tops, at("tops")), 0);
  ASSERT_EQ(tops.point.size(), 1U);
  EXPECT_EQ(tops.point[0].x, west.x);
  EXPECT_GT(nodes(), 0U);
  const Outcome refused = run(none + "CHANNEL MASK: lines, TOP DIRECTIONAL\n");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.text.find("you need to specify DIRECTIONAL flow lines"), std::string::npos)
      << refused.text;

  ASSERT_EQ(run(start + rest + "NODATA MASK: west, OUTSIDE\n").status, 0);
  R4Grid_type land;
  ASSERT_EQ(ReadGrid(land, at("acc2")), 0);
  for (int32_t row = 1; row <= land.rows(); ++row) EXPECT_EQ(land.value(half + 1, row, ""), kNodata);

  for (const auto& [line, text] :
       {std::pair<std::string, std::string>{"AREA SLOPE THRESHOLD LOW GRADIENT: 3\n",
                                            "Required threshold parameter missing"},
        {thresholds + "MINIMUM THRESHOLD FLOW LENGTH, LOW GRADIENT: 3\n",
         "Need to specifiy high and low gradient minimum flow length"},
        {thresholds + "DECAY: CONDUCTIVITY = 3\n", "DECAY - need to specify all three coefficients"},
        {thresholds + "SLOPE EXPONENT: steep\n", "Error reading SLOPE EXPONENT"},
        {thresholds + "NO INITIATION RASTER: none\n", "Cannot find noinitfile none"},
        {"NODATA MASK: none\n", "Cannot find nodata mask none"},
        {"COASTLINE FILE: west\n", "Cannot find COASTLINE FILE"},
        {"FLOOD ZERO TO NODATA: X = 3\n", "Error reading X for SET ZERO TO NODATA"},
        {"FILL HOLES: MAXSIZE = big\n", "cannot read maxSize value"}}) {
    const Outcome failed = run(start + "OUTPUT D8 RASTER: x\n" + line);
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.text.find(text), std::string::npos) << failed.text;
  }
  EXPECT_EQ(raster("acc"), whole);
}

TEST_F(DrainageProgram, ChannelsBeginAtPointsByTablesAndFollowSinglePaths) {
  const std::string start =
      "DEM: elev_site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\nSCRATCH DIRECTORY: s\n"
      "OUTPUT FLOW ACCUMULATION RASTER: acc\n";
  const auto thresholds = [](const std::string& value) {
    return "AREA SLOPE THRESHOLD LOW GRADIENT: " + value + "\nAREA SLOPE THRESHOLD HIGH GRADIENT: " + value +
           '\n';
  };
  const auto nodes = [&](const std::string& more) {
    const Outcome done = run(start + more);
    EXPECT_EQ(done.status, 0) << done.text;
    return static_cast<int64_t>(fs::file_size(at("basenode_site.dat")) / 28) - 5;
  };
  R4Grid_type dem;
  ASSERT_EQ(ReadGrid(dem, at("elev_site")), 0);
  const Point middle = dem.ColRowToXY(30, 22);
  PointVectorType points;
  const AttributeType id[] = {
      AttributeType{.name = "ID", .dataType = "I4", .outFlag = true, .shpFlag = true}};
  ASSERT_EQ(NewDataTable(points, {.attributeList = id, .numRecords = 1}), 0);
  ASSERT_EQ(points.SetPointXY(1, middle.x, middle.y), 0);
  ASSERT_EQ(points.WritePointShapefile(at("heads")), 0);
  const std::string none = thresholds("1e9");
  EXPECT_EQ(nodes(none), 0);
  EXPECT_GT(nodes(none + "CHANNEL INITIATION POINT FILE: FILE = heads.shp, RADIUS = 40, ABOVE\n"), 0);
  const std::string buffer = "INITIATION POINT BUFFER: INNER = 100, OUTER = 150, AREA OVERRIDE = 30\n";
  EXPECT_GT(nodes(none + "CHANNEL INITIATION POINT FILE: heads\n" + buffer), 0);

  const auto all = nodes(thresholds("300"));
  R4Grid_type areas = emptyGrid<R4Grid_type>(dem.cols(), dem.rows(), {.xmin = dem.xmin, .ymin = dem.ymin});
  fillWith(areas, [](int32_t col, int32_t) { return col < 30 ? 1.0F : 2.0F; });
  ASSERT_EQ(areas.WritefltR4(at("areas")), 0);
  writeBytes(at("criteria.csv"), "ID,SlopeAreaLow,SlopeAreaHigh\n1,300,300\n2,1e9,1e9\n");
  const auto half = nodes("INITIATION CRITERIA: ID RASTER = areas, CSV FILE = criteria.csv\n");
  EXPECT_GT(half, 0);
  EXPECT_LT(half, all);

  const std::string whole = raster("acc");
  nodes(thresholds("300") + "D8 COEFFICIENTS: SLOPE = 1, PLAN = 0.5\n");
  EXPECT_NE(raster("acc"), whole);
  nodes(thresholds("300") + "D8 LENGTH SCALES: PLAN = 30, ASPECT = 30\nOUTPUT GRADIENT RASTER: grad\n" +
        "OUTPUT PLAN CURVATURE RASTER: plan\nOUTPUT BCONTOUR RASTER: bcon\nDEBUG:\nDOVRAKT EXCAVATE: DEPTH = "
        "3\n");
  for (const char* name : {"grad.log", "plan.log", "bcon.log", "check0_site.flt", "check1_site.flt",
                           "check_site.flt", "chkDEM_site.flt"})
    EXPECT_TRUE(fs::exists(at(name))) << name;
  // A drain, and a lake with its centre line.
  nodes(thresholds("300") + "CLOSED DEPRESSION DRAIN POINT FILE: heads\n");
  R4Grid_type area;
  ASSERT_EQ(ReadGrid(area, at("acc")), 0);
  EXPECT_EQ(area.value(30, 22, ""), kNodata);
  nodes(thresholds("300") + "WATER MASK: areas, FORCE INIT\nOUTPUT INTERMEDIATE WATER MASK RASTERS:\n");
  EXPECT_TRUE(fs::exists(at("watermaskval_site.flt")));

  for (const auto& [line, text] :
       {std::pair<std::string, std::string>{buffer,
                                            "INITIATION POINT BUFFER needs a CHANNEL INITIATION POINT FILE"},
        {"CHANNEL INITIATION POINT FILE: none\n", "cannot find CHANNEL INITIATION POINT FILE none"},
        {"INITIATION CRITERIA: CSV FILE = criteria.csv\n", "Missing required file for INTITIATION CRITERIA"},
        {"INITIATION CRITERIA: ID RASTER = none\n", "Cannot find INITIATION CRITERIA ID RASTER none"},
        {"D8 LENGTH SCALES: PLAN = 3\n", "Length scale for aspect not specified"},
        {"D8 COEFFICIENTS: PREFERENTIAL FLOW RASTER = 1\n", "Cannot find PREFERENTIAL FLOW RASTER"},
        {"D8 COEFFICIENTS: SLOPE = much\n", "Error reading D8 Coefficient for Slope"},
        {"NDVI RASTER: none\n", "Cannot find NDVI RASTER none"},
        {"DEV THRESHOLD LOW GRADIENT: few\n", "Error reading DEV THRESHOLD LOW GRADIENT"},
        {"DEV THRESHOLD LOW GRADIENT: 3, 4\n", "Required threshold parameter missing"},
        {"WATER MASK: areas, PRECLUDE, FORCE INIT\n", "exclude each other"},
        {"WATER MASK: areas, MINIMUM WIDTH = x\n", "Error reading MINIMUM WIDTH for WATER MASK"},
        {"CURVATURE LENGTH SCALE: 20, wide\n", "Error reading CURVATURE LENGTH SCALE"},
        {"WATER MASK: FILE = none\n", "Cannot find watermask file none"}}) {
    const Outcome failed = run(start + thresholds("300") + line);
    EXPECT_EQ(failed.status, 1) << line;
    EXPECT_NE(failed.text.find(text), std::string::npos) << failed.text;
  }
}

TEST_F(DrainageProgram, GroundIsLoweredAlongLinesAndAtPoints) {
  R4Grid_type dem;
  ASSERT_EQ(ReadGrid(dem, at("elev_site")), 0);
  const Point cell = dem.ColRowToXY(30, 20);
  const Point end = dem.ColRowToXY(42, 33);
  writeBytes(at("cuts.csv"),
             "X,Y,CUT\n" + std::to_string(cell.x + 1) + "," + std::to_string(cell.y + 1) + ",25\n");
  writeLines(at("culvert"), {{cell, end}});
  const std::string start = "DEM: elev_site\nCURVATURE LENGTH SCALE: 25 m\nSTRICT:\n" + std::string(kOutputs);
  ASSERT_EQ(run(start).status, 0);
  const std::string usual = raster("cond");
  const Outcome cut = run(start + "EXCAVATE FILE: cuts.csv\n");
  ASSERT_EQ(cut.status, 0) << cut.text;
  EXPECT_NE(raster("cond"), usual);
  const Outcome trench = run(start + "EXCAVATE LINE: FILE = culvert, RADIUS = 10 m\n");
  ASSERT_EQ(trench.status, 0) << trench.text;
  EXPECT_NE(trench.text.find("Excavating based on culvert"), std::string::npos) << trench.text;
  for (const auto& [line, text] :
       {std::pair<std::string, std::string>{"EXCAVATE FILE: none.csv\n",
                                            "Cannot file EXCAVATE FILE none.csv"},
        {"LINE EXCAVATE: RADIUS = 3\n", "LINE EXCAVATE file not specified"},
        {"EXCAVATE LINE: none\n", "Cannot find LINE EXCAVATE shapefile none"},
        {"ROAD CROSSING FILE: none\n", "Cannot find CROSSING POINT SHAPEFILE none"},
        {"ROAD CROSSING INNER RADIUS: wide\n", "Error reading ROAD CROSSING INNER RADIUS"}}) {
    const Outcome failed = run(start + line);
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.text.find(text), std::string::npos) << failed.text;
  }
}

TEST_F(DrainageProgram, FaultsAreToldBeforeAnyComputing) {
  const std::string outputs(kOutputs);
  const std::string dem = "DEM: elev_site\n";
  const std::string scale = "CURVATURE LENGTH SCALE: 25\n";
  for (const auto& [instructions, text] : {
           std::pair<std::string, std::string>{outputs + scale, "Error finding DEM"},
           {"DEM: nothing\n" + outputs + scale, "Error finding DEM"},
           {dem + scale + "SCRATCH DIRECTORY: s\n", "Output raster not specified"},
           {dem + outputs, "Plan curvature file not found: CURVATURE LENGTH SCALE computes it"},
           {dem + outputs + "CURVATURE LENGTH SCALE:\n",
            "Input file; missing argument for keyword CURVATURE LENGTH SCALE"},
           {dem + outputs + "CURVATURE LENGTH SCALE: -1\n", "Error reading CURVATURE LENGTH SCALE"},
           {dem + scale + outputs + "OUTPUT CONDITIONED DEM: ./elev_site\n",
            "Output raster would replace an input raster"},
           {dem + scale + outputs + "OUTPUT D8 RASTER: area\n", "Output raster would replace"},
           {dem + scale + outputs + "OUTPUT D9 RASTER: x\nSTRICT:\n", "did you mean OUTPUT D8 RASTER?"},
           {dem + scale + outputs + "OUTPUT D8 RASTER: none/x\n",
            "Directory of the output raster does not exist"},
       }) {
    const Outcome failed = run(instructions);
    EXPECT_EQ(failed.status, 1) << instructions;
    EXPECT_NE(failed.text.find(text), std::string::npos) << text << '\n' << failed.text;
    EXPECT_NE(failed.text.find("PROGRAM ABORTED"), std::string::npos);
    EXPECT_FALSE(platform::fileExists(at("area.flt")));
  }
}

TEST_F(DrainageProgram, ShowsItsKeywords) {
  const Outcome help = shell(std::string(TERRAIN_DRAINAGE_PROGRAM) + " --help");
  EXPECT_EQ(help.status, 0);
  for (const auto& row : drainageKeywords())
    EXPECT_NE(help.text.find("  " + std::string(nameOfKeyword(row.words)) + ':'), std::string::npos);
  EXPECT_NE(readBytes(TERRAIN_SOURCE_DIR "/docs/ostrevanmoor-drainage.1.in")
                .find(".SH KEYWORDS\n" + drainageKeywordManual() + ".SH"),
            std::string::npos)
      << drainageKeywordManual();
}

}  // namespace
}  // namespace terrain::test
