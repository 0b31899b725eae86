// The program as its users meet it: run on files, judged by its exit status, its files and its words.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "foundation/file_names.h"
#include "foundation/memory.h"
#include "grid/float_raster.h"
#include "run/driver.h"
#include "run/instructions.h"
#include "run/keywords.h"
#include "support/grids.h"
#include "support/tools.h"

namespace terrain {
namespace {

namespace fs = std::filesystem;
using terrain::test::haveTool;
using terrain::test::Outcome;
using terrain::test::readBytes;
using terrain::test::shell;

class Program : public ::testing::Test {
 protected:
  Program() { fs::create_directories(at("s")); }

  std::string at(const std::string& name) { return scratch_.path() + name; }
  void write(const std::string& name, std::string_view text) {
    test::writeBytes(at(name), text);
  }
  /// A hillside with a hole, as elev_site.
  void writeDem() {
    R4Grid_type dem = test::noiseDem(40, 30, {.seed = 5, .lakes = 1}, {.xmin = 500000, .ymin = 4000000});
    ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  }
  std::string program() { return std::string(TERRAIN_PROGRAM); }
  Outcome run(const std::string& instructions, const std::string& before = "") {
    write("in.txt", instructions);
    return shell("cd '" + scratch_.path() + "' && " + before + ' ' + program() + " in.txt");
  }
  std::string logs() {
    std::string all;
    for (const auto& entry : fs::recursive_directory_iterator(scratch_.path()))
      if (entry.path().filename().string().starts_with("Ostrevanmoor_")) all += readBytes(entry.path());
    return all;
  }

  test::ConsoleCapture console_;
  test::ScratchDir scratch_;
};

constexpr std::string_view kByTime =
    "DEM: elev_site.flt\nLENGTH SCALE: 15\nSCRATCH DIRECTORY: s\nDURATION: 24\nCONDUCTIVITY: 10\n"
    "OUTPUT RASTER: out\n";

TEST_F(Program, RunWritesRastersAndLogsAndLeavesNothingElse) {
  writeDem();
  const Outcome done = run(std::string(kByTime) +
                           "SPECIFIC:\nOUTPUT GRAD RASTER:\nOUTPUT ASPECT RASTER:\nOUTPUT BCON RASTER:\n");
  EXPECT_EQ(done.status, 0) << done.text;
  for (const char* name : {"out", "grad_15_site", "aspect_15_site", "bcon_15_site"}) {
    EXPECT_TRUE(rasterExists(at(name))) << name;
    EXPECT_TRUE(platform::fileExists(at(std::string(name) + ".log"))) << name;
  }
  EXPECT_TRUE(fs::is_empty(at("s")));
  const std::string log = readBytes(at("out.log"));
  EXPECT_TRUE(log.starts_with(
      "  Ostrevanmoor log file\n    Version 1.0.2\n    Compiled January 8, 2023\n    Started "));
  std::size_t from = 0;
  for (const char* line :
       {"  Input file: in.txt\n", "  DEM: elev_site.flt\n",
        "  Scratch directory: s\\\n \n  DEM: elev_site\n    Ncols = 40\n    Nrows = 30\n",
        "  Storm duration (hrs) = 24.00000\n  Saturated hydraulic conductivity (m/hr) = 10.00000\n \n"
        "  Specific contributing area will be output\n",
        "  Creating gradient and aspect grids\n  Created log file grad_15_site.log\n  Created log file "
        "aspect_15_site.log\n",
        "  Creating bcon raster\n", "  Accumulating\n", "  CPU seconds: "}) {
    const std::size_t found = log.find(line, from);
    EXPECT_NE(found, std::string::npos) << line << log;
    from = found == std::string::npos ? from : found;
  }
  EXPECT_TRUE(done.text.starts_with(
      " ===========================================\n Program Ostrevanmoor\n   compile date January 8, 2023\n"
      "   version 1.0.2\n -------------------------------------------\n Started "));
  EXPECT_NE(readBytes(at("out.hdr")).find(" #  Created by: Ostrevanmoor\n"), std::string::npos);

  // The saved rasters are inputs that give the same result; further words on a line do no harm.
  const std::string first = readBytes(at("out.flt"));
  const Outcome again =
      run("\xEF\xBB\xBF"
          "DEM: FILE = elev_site, more\r\nINPUT GRADIENT RASTER: grad_15_site\r\nINPUT ASPECT RASTER: "
          "\"aspect_15_site.flt\"\r\n"
          "INPUT BCON RASTER: bcon_15_site\r\nDURATION: 24 hours\r\nCONDUCTIVITY: 1d1\r\nSPECIFIC:\r\n"
          "UNKNOWN: 1\r\nSPECIFIC\r\ndem: x\r\nSCRATCH DIRECTORY: s # not t\r\nOUTPUT ACCUMULATION RASTER: "
          "out\r\nOUTPUT ASPECT RASTER:\r\n");
  EXPECT_EQ(again.status, 0) << again.text;
  EXPECT_EQ(readBytes(at("out.flt")), first);
  DEM_type dem;
  dem.file = at("elev_site");
  dem.len_scale = 15;
  ASSERT_EQ(dem.ResolveDEM(), 0);
  EXPECT_EQ(dem.GetGrad(), 0);
  EXPECT_EQ(dem.GetAspect(), 0);
  EXPECT_EQ(dem.GetBcon(), 0);
}

TEST_F(Program, EveryGridOnDiskGivesTheSameBytes) {
  R4Grid_type dem = test::noiseDem(90, 80, {.seed = 9, .lakes = 2});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  const MessageWriter before = messages();
  for (const char* limit : {"DURATION: 12\nCONDUCTIVITY: 10\nSPECIFIC:\n", "MAX DISTANCE: 60\n"}) {
    std::string results[2];
    for (const bool onDisk : {false, true}) {
      write("in.txt", "DEM: " + at("elev_site") + "\nLENGTH SCALE: 25\nSCRATCH DIRECTORY: " + at("s") + "\n" +
                          limit + "OUTPUT RASTER: " + at("out"));
      if (onDisk) memoryLimits().largestBlock = 20'000;  // rows fit, grids do not
      RunState state;
      EXPECT_TRUE(carryOutRun(state, at("in.txt")));
      memoryLimits().largestBlock.reset();
      results[onDisk ? 1 : 0] = readBytes(at("out.flt"));
      EXPECT_EQ(readBytes(at("out.log")).find("accumulateCells: created scratch file") != std::string::npos,
                onDisk);
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_TRUE(fs::is_empty(at("s")));
  }
  messages() = before;
}

TEST_F(Program, FaultsAreToldAndEndWithStatusOne) {
  writeDem();
  R4Grid_type other = test::noiseDem(39, 30, {}, {.xmin = 500000, .ymin = 4000000});
  ASSERT_EQ(other.WritefltR4(at("narrow")), 0);
  write("short.flt", std::string(100, 'x'));
  write("short.hdr", readBytes(at("elev_site.hdr")));
  write("garbage.flt", std::string(4800, '\xB7'));
  write("garbage.hdr", std::string(3000, '\x01') + std::string(1000, '\xFF'));
  write("plain.flt", std::string(100, 'x'));
  write("plain.hdr", "NCOLS 40\nNROWS 30\nXLLCORNER 0\nYLLCORNER 0\nCELLSIZE 10\n");
  write("two.flt", std::string(4800, '\0'));
  write("two.hdr", "NCOLS 40\nNROWS 30\nXLLCORNER 0\nYLLCORNER 0\nXCELLSIZE 10\nYCELLSIZE 20\n");
  const std::string time = "DURATION: 1\nCONDUCTIVITY: 1\n";
  const std::string common = "SCRATCH DIRECTORY: s\nOUTPUT RASTER: out\nLENGTH SCALE: 15\n";
  struct Case {
    std::string instructions;
    std::vector<std::string> words;
  };
  for (const Case& c :
       {Case{"DEM: none\nDURATION: /\nDURATION: 2*\nDURATION: x\nCONDUCTIVITY: -1\nLENGTH SCALE: nan\nINPUT "
             "BCON RASTER: nob\nOUTPUT "
             "RASTER:\n" +
                 common,
             {"Error finding DEM", "Error reading DURATION\n LINE: 2", "LINE: 3", "LINE: 4",
              "Error reading CONDUCTIVITY", "Error reading LENGTH SCALE",
              "FILE: nob\n Cannot find INPUT BCON RASTER", "Error reading OUTPUT RASTER\n LINE: 8",
              "Error reading input file\n PROGRAM ABORTED"}},
        {"DEM: elev_site\nMAX DISTANCE: 5\n" + time + common,
         {"Cannot have both DURATION + CONDUCTIVITY and MAX DISTANCE"}},
        {"DEM: elev_site\n" + time + "MAX DISTANCE: 5\n" + common,
         {"Cannot have both MAX DISTANCE and DURATION + CONDUCTIVITY"}},
        {"DEM: elev_site\n" + time + "SCRATCH DIRECTORY: s\n",
         {"Output raster not specified\n PROGRAM ABORTED"}},
        {"DEM: elev_site\n" + common, {"ByTime or ByDistance not specified", "Error reading input rasters"}},
        {"DEM: elev_site\n" + time + "SCRATCH DIRECTORY: s\nOUTPUT RASTER: out\n",
         {"LENGTH SCALE is missing or not above 0", "Error reading input rasters"}},
        {"DEM: elev_site\n" + time + "SCRATCH DIRECTORY: nowhere\nOUTPUT RASTER: out\n",
         {"ScratchPath not found: nowhere\\", "Error accessing scratch directory"}},
        {"DEM: elev_site\n" + time + "SCRATCH DIRECTORY: s\nLENGTH SCALE: 15\nOUTPUT RASTER: nowhere/out\n",
         {"FILE: nowhere/out.flt\n Directory of the output raster does not exist"}},
        {"DEM: elev_site\n" + time + "SCRATCH DIRECTORY: s\nLENGTH SCALE: 15\nOUTPUT RASTER: elev_site\n",
         {"Output raster would replace an input raster"}},
        {"DEM: short\n" + time + common,
         {"short.flt", "The raster file is shorter than its header says", "Error reading DEM"}},
        {"DEM: plain\n" + time + common,
         {"FILE: plain.flt\n Unknown bit depth\n The raster file is shorter than its header says"}},
        {"DEM: elev_site\nOUTPUT RASTER: grad_15_site\nOUTPUT GRAD RASTER:\nSCRATCH DIRECTORY: s\nLENGTH "
         "SCALE: 15\n" +
             time,
         {"Output raster would replace a raster that is to be saved"}},
        {"DEM: garbage\n" + time + common, {"garbage.hdr"}},
        {"DEM: two\n" + time + common, {"The DEM must have square cells", "Error reading input rasters"}},
        {"DEM: elev_site\nINPUT ASPECT RASTER: narrow\n" + time + common,
         {"FILE: narrow", "Error reading Aspect raster", "39 columns", "40 columns"}},
        {"DEM: elev_site\nINPUT GRADIENT RASTER: short\n" + time + common,
         {"FILE: short\n Error reading Gradient raster"}},
        {"DEM: elev_site\nOUTPUT RASTER: " + std::string(300, 'x') + "\n" + time,
         {"The value is longer than 256 characters"}}}) {
    SCOPED_TRACE(c.instructions);
    const Outcome failed = run(c.instructions);
    EXPECT_EQ(failed.status, 1) << failed.text;
    for (const std::string& words : c.words)
      EXPECT_NE(failed.text.find(words), std::string::npos) << words << "\n" << failed.text;
    EXPECT_FALSE(rasterExists(at("out")));
  }
  EXPECT_NE(logs().find("PROGRAM ABORTED"), std::string::npos);
}

TEST_F(Program, InstructionFileIsFoundOrToldMissing) {
  writeDem();
  const std::string cd = "cd '" + scratch_.path() + "' && ";
  EXPECT_EQ(shell(cd + program() + " none.txt").status, 1);
  EXPECT_NE(shell(cd + program() + " none.txt").text.find("Cannot find none.txt"), std::string::npos);
  EXPECT_EQ(shell(cd + program() + " </dev/null").status, 1);
  EXPECT_EQ(shell(cd + program() + " s").status, 1);
  EXPECT_NE(shell(cd + program() + " x").text.find("Cannot find input file"), std::string::npos);
  EXPECT_NE(shell(cd + program() + " test").text.find("Cannot find test.txt file"), std::string::npos);
  write("in put.txt", kByTime);
  EXPECT_EQ(shell(cd + program() + " 'in put.txt'").status, 0);
  EXPECT_EQ(shell(cd + "echo \"'in put.txt' more\" | " + program()).status, 0);
  write("test.txt", at("") + "link.txt rest\n");
  fs::create_symlink(at("in put.txt"), at("link.txt"));
  EXPECT_EQ(shell(cd + program() + " test").status, 0);
  write("ostrevanmoor.txt", kByTime);
  EXPECT_EQ(shell(cd + program() + " 1").status, 0);
  write("noise.txt", std::string(20'000, '\0') + std::string(100'000, '\xFE'));
  EXPECT_EQ(shell(cd + program() + " noise.txt").status, 1);
  const Outcome help = shell(program() + " --help");
  EXPECT_EQ(help.status, 0);
  for (const Keyword& keyword : keywords()) EXPECT_NE(help.text.find(keyword.name), std::string::npos);
  EXPECT_EQ(shell(program() + " --version").text, "Ostrevanmoor 1.0.2\n");
  EXPECT_EQ(shell(program() + " a b").status, 1);
}

TEST_F(Program, FullDiskEndsWithStatusOneAndTheLogStays) {
  writeDem();
  fs::create_symlink("/dev/full", at("out.flt"));
  const Outcome full = run(std::string(kByTime));
  EXPECT_EQ(full.status, 1) << full.text;
  EXPECT_NE(full.text.find("Error writing output raster"), std::string::npos);
  EXPECT_FALSE(platform::fileExists(at("out.hdr")) || platform::fileExists(at("out.log")));
  EXPECT_NE(logs().find("Error writing output raster"), std::string::npos);
  // A limit on file sizes that the scratch files meet when they are made.
  const Outcome limited = run(std::string(kByTime), "ulimit -f 2;");
  EXPECT_EQ(limited.status, 1) << limited.text;
}

TEST_F(Program, TwoRunsShareAScratchDirectory) {
  writeDem();
  std::string command = "cd '" + scratch_.path() + "'; ";
  for (const char* n : {"1", "2", "3"}) {
    std::string text(kByTime);
    text.replace(text.find("out"), 3, std::string("out") + n);
    write(std::string("in") + n + ".txt", text);
    command += program() + " in" + n + ".txt & p" + n + "=$!; ";
  }
  const Outcome all = shell(command + "wait $p1 && wait $p2 && wait $p3");
  EXPECT_EQ(all.status, 0) << all.text;
  EXPECT_EQ(readBytes(at("out1.flt")), readBytes(at("out2.flt")));
  for (const char* log : {"out1.log", "out2.log", "out3.log"})
    EXPECT_NE(readBytes(at(log)).find("CPU seconds: "), std::string::npos) << log;
  EXPECT_TRUE(fs::is_empty(at("s")));
}

TEST_F(Program, NodataOfTheDemIsWhatItsHeaderSays) {
  for (const float nodata : {-32768.0F, 0.0F, 3.4028235e38F}) {
    R4Grid_type dem = test::noiseDem(40, 30, {.seed = 5, .lakes = 2}, {.nodata = nodata});
    ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
    const Outcome done = run(std::string(kByTime));
    ASSERT_EQ(done.status, 0) << done.text;
    R4Grid_type out;
    ASSERT_EQ(out.ReadHeader(at("out")), 0);
    EXPECT_EQ(out.nodata, -9999.0F);
    ASSERT_EQ(ReadGrid(out, at("out")), 0);
    for (int32_t row = 1; row <= 30; ++row)
      for (int32_t col = 1; col <= 40; ++col)
        EXPECT_EQ(dem.ExtractR4ValueColRow(col, row) == nodata,
                  out.ExtractR4ValueColRow(col, row) == -9999.0F);
  }
}

TEST_F(Program, RastersGoToGdalAndComeFromIt) {
  if (!haveTool("gdalinfo")) GTEST_SKIP() << "no gdalinfo on this machine";
  const std::string cd = "cd '" + scratch_.path() + "' && ";
  R4Grid_type dem = test::noiseDem(40, 30, {.seed = 5, .lakes = 1},
                                   {.xmin = 500000.5, .ymin = 4000000.25, .cellsize = 7.5});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  ASSERT_EQ(run(std::string(kByTime)).status, 0);
  const Outcome info = shell(cd + "gdalinfo out.flt");
  for (const char* line : {"Size is 40, 30", "Pixel Size = (7.5", "NoData Value=-9999", "Type=Float32",
                           "Lower Left  (  500000.500, 4000000.250)"})
    EXPECT_NE(info.text.find(line), std::string::npos) << line << info.text;
  R4Grid_type out;
  ASSERT_EQ(ReadGrid(out, at("out")), 0);
  for (const ColRow cell : {ColRow{1, 1}, ColRow{40, 30}, ColRow{7, 20}}) {
    const Outcome value = shell(cd + "gdallocationinfo -valonly out.flt " + std::to_string(cell.col - 1) +
                                ' ' + std::to_string(cell.row - 1));
    EXPECT_FLOAT_EQ(std::stof(value.text), out.ExtractR4ValueColRow(cell.col, cell.row));
  }

  // GeoTIFF to run to GeoTIFF: what gdal_translate writes is all that a run needs.
  ASSERT_EQ(shell(cd + "gdal_translate -q -a_srs EPSG:32611 -co COMPRESS=DEFLATE elev_site.flt my.tif && "
                       "mkdir t && gdal_translate -q -of EHdr -ot Float32 my.tif t/elev_my.flt")
                .status,
            0);
  const Outcome done =
      run("DEM: t/elev_my.flt\nLENGTH SCALE: 15\nSCRATCH DIRECTORY: s\nDURATION: 24\nCONDUCTIVITY: "
          "10\nOUTPUT RASTER: t/out\n");
  ASSERT_EQ(done.status, 0) << done.text;
  EXPECT_EQ(readBytes(at("t/out.flt")), readBytes(at("out.flt")));
  const std::string corner = "gdalinfo -json ";
  ASSERT_EQ(shell(cd + "gdal_translate -q t/out.flt back.tif").status, 0);
  const auto geoTransform = [&](const std::string& file) {
    const std::string json = shell(cd + "gdalinfo -json " + file).text;
    const std::size_t from = json.find("\"geoTransform\"");
    return json.substr(from, json.find(']', from) - from);
  };
  EXPECT_EQ(geoTransform("back.tif"), geoTransform("my.tif"));
}

}  // namespace
}  // namespace terrain
