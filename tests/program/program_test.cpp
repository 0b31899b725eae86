// Whole runs of the program: exit status, files and messages.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "foundation/file_names.h"
#include "foundation/memory.h"
#include "grid/float_raster.h"
#include "run/driver.h"
#include "run/instructions.h"
#include "run/keywords.h"
#include "run/program.h"
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
    std::ofstream(at(name), std::ios::binary) << text;
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

/// Instructions of a run by time with some lines changed: "KEYWORD: value" replaces the line of the keyword
/// or is appended, "-KEYWORD" removes it.
std::string byTime(const std::vector<std::string>& changes = {}) {
  std::vector<std::string> lines{"DEM: elev_site.flt", "LENGTH SCALE: 15", "SCRATCH DIRECTORY: s",
                                 "DURATION: 24",       "CONDUCTIVITY: 10", "OUTPUT RASTER: out"};
  for (const std::string& change : changes) {
    const bool removes = change.starts_with('-');
    const std::string keyword = removes ? change.substr(1) + ':' : change.substr(0, change.find(':') + 1);
    const auto found =
        std::ranges::find_if(lines, [&](const std::string& line) { return line.starts_with(keyword); });
    if (removes)
      lines.erase(found);
    else if (found == lines.end())
      lines.push_back(change);
    else
      *found = change;
  }
  std::string text;
  for (const std::string& line : lines) text += line + '\n';
  return text;
}

TEST_F(Program, RunWritesRastersAndLogsAndLeavesNothingElse) {
  writeDem();
  const Outcome done =
      run(byTime({"SPECIFIC:", "OUTPUT GRAD RASTER:", "OUTPUT ASPECT RASTER:", "OUTPUT BCON RASTER:"}));
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
  R4Grid_type dem = test::noiseDem(90, 200, {.seed = 9, .lakes = 2});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  const MessageWriter before = messages();
  for (const char* limit : {"DURATION: 12\nCONDUCTIVITY: 10\nSPECIFIC:\n", "MAX DISTANCE: 60\n"}) {
    std::string results[2];
    for (const bool onDisk : {false, true}) {
      write("in.txt", "DEM: " + at("elev_site") + "\nLENGTH SCALE: 25\nSCRATCH DIRECTORY: " + at("s") + "\n" +
                          limit + "OUTPUT RASTER: " + at("out"));
      if (onDisk) memoryLimits().largestBlock = 60'000;  // bands of rows fit, grids do not
      RunState state;
      EXPECT_TRUE(carryOutRun(state, at("in.txt")));
      memoryLimits().largestBlock.reset();
      results[onDisk ? 1 : 0] = readBytes(at("out.flt"));
      EXPECT_EQ(readBytes(at("out.log")).find("created scratch file") != std::string::npos, onDisk);
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_TRUE(fs::is_empty(at("s")));
  }
  messages() = before;
}

TEST_F(Program, FaultsAreReportedAndEndWithStatusOne) {
  writeDem();
  R4Grid_type other = test::noiseDem(39, 30, {}, {.xmin = 500000, .ymin = 4000000});
  ASSERT_EQ(other.WritefltR4(at("narrow")), 0);
  write("short.flt", std::string(100, 'x'));
  write("short.hdr", readBytes(at("elev_site.hdr")));
  write("garbage.flt", std::string(4800, '\xB7'));
  write("garbage.hdr", std::string(3000, '\x01') + std::string(1000, '\xFF'));
  write("two.flt", std::string(4800, '\0'));
  write("two.hdr", "NCOLS 40\nNROWS 30\nXLLCORNER 0\nYLLCORNER 0\nXCELLSIZE 10\nYCELLSIZE 20\n");
  struct Case {
    std::vector<std::string> changes;
    std::vector<std::string> words;
  };
  for (const Case& c :
       {Case{{"DEM: none", "LENGTH SCALE: nan", "CONDUCTIVITY: -1", "INPUT BCON RASTER: nob",
              "OUTPUT RASTER:"},
             {"Error finding DEM", "Error reading LENGTH SCALE\n LINE: 2", "Error reading CONDUCTIVITY",
              "FILE: nob\n Cannot find INPUT BCON RASTER", "Error reading OUTPUT RASTER\n LINE: 6",
              "Error reading input file\n PROGRAM ABORTED"}},
        {{"DURATION: 2*"}, {"Error reading DURATION"}},
        {{"OUTPUT RASTER: " + std::string(300, 'x')}, {"The value is longer than 256 characters"}},
        {{"DEM: elev_site\nMAX DISTANCE: 5"}, {"Cannot have both DURATION + CONDUCTIVITY and MAX DISTANCE"}},
        {{"MAX DISTANCE: 5"}, {"Cannot have both MAX DISTANCE and DURATION + CONDUCTIVITY"}},
        {{"THREADS: 0"}, {"Error reading THREADS: a whole number from 1"}},
        {{"THREADS: two"}, {"Error reading THREADS"}},
        {{"WALKS: FAST"}, {"WALKS is EXACT or MERGED\n LINE: 7"}},
        {{"WALKS: EXACT, MERGED"}, {"WALKS is EXACT or MERGED"}},
        {{"WALKS: MERGED, TOLERANCE = 0"}, {"Error reading TOLERANCE of WALKS"}},
        {{"-OUTPUT RASTER"}, {"Output raster not specified\n PROGRAM ABORTED"}},
        {{"-DURATION", "-CONDUCTIVITY"},
         {"ByTime or ByDistance not specified", "Error reading input rasters"}},
        {{"-LENGTH SCALE"}, {"LENGTH SCALE is missing or not above 0", "Error reading input rasters"}},
        {{"SCRATCH DIRECTORY: nowhere"},
         {"ScratchPath not found: nowhere\\", "Error accessing scratch directory"}},
        {{"OUTPUT RASTER: nowhere/out"},
         {"FILE: nowhere/out.flt\n Directory of the output raster does not exist"}},
        {{"OUTPUT RASTER: elev_site"}, {"Output raster would replace an input raster"}},
        {{"OUTPUT RASTER: grad_15_site", "OUTPUT GRAD RASTER:"},
         {"Output raster would replace a raster that is to be saved"}},
        {{"DEM: short"},
         {"short.flt", "The raster file is shorter than its header says", "Error reading DEM"}},
        {{"DEM: garbage"}, {"garbage.hdr"}},
        {{"DEM: two"}, {"The DEM must have square cells", "Error reading input rasters"}},
        {{"INPUT ASPECT RASTER: narrow"},
         {"FILE: narrow", "Error reading Aspect raster", "39 columns", "40 columns"}},
        {{"INPUT GRADIENT RASTER: short"}, {"FILE: short\n Error reading Gradient raster"}}}) {
    SCOPED_TRACE(byTime(c.changes));
    const Outcome failed = run(byTime(c.changes));
    EXPECT_EQ(failed.status, 1) << failed.text;
    for (const std::string& words : c.words)
      EXPECT_NE(failed.text.find(words), std::string::npos) << words << "\n" << failed.text;
    EXPECT_FALSE(rasterExists(at("out")));
  }
  EXPECT_NE(logs().find("PROGRAM ABORTED"), std::string::npos);
}

TEST_F(Program, InstructionFileIsFoundOrReportedMissing) {
  writeDem();
  const std::string cd = "cd '" + scratch_.path() + "' && ";
  for (const auto& [arguments, message] : {std::pair{" none.txt", "Cannot find none.txt"},
                                           {" </dev/null", "Input file (full path): "},
                                           {" scratch", "Input file: scratch"},
                                           {" x", "Cannot find input file"},
                                           {" test", "Cannot find test.txt file"},
                                           {" a b", "Usage: ostrevanmoor"}}) {
    const Outcome failed = shell(cd + program() + arguments);
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.text.find(message), std::string::npos) << failed.text;
  }
  write("in put.txt", byTime());
  EXPECT_EQ(shell(cd + program() + " 'in put.txt'").status, 0);
  EXPECT_EQ(shell(cd + "echo \"'in put.txt' more\" | " + program()).status, 0);
  write("test.txt", at("") + "link.txt rest\n");
  fs::create_symlink(at("in put.txt"), at("link.txt"));
  EXPECT_EQ(shell(cd + program() + " test").status, 0);
  write("ostrevanmoor.txt", byTime());
  EXPECT_EQ(shell(cd + program() + " 1").status, 0);
  write("noise.txt", std::string(20'000, '\0') + std::string(100'000, '\xFE'));
  EXPECT_EQ(shell(cd + program() + " noise.txt").status, 1);
  const Outcome help = shell(program() + " --help");
  EXPECT_EQ(help.status, 0);
  for (const auto& row : keywords())
    EXPECT_NE(help.text.find("  " + std::string(nameOfKeyword(row.words)) + ':'), std::string::npos);
  // The manual page has the same table.
  EXPECT_NE(readBytes(TERRAIN_SOURCE_DIR "/docs/ostrevanmoor.1.in")
                .find(".SH KEYWORDS\n" + keywordManual() + ".SH"),
            std::string::npos)
      << keywordManual();
  EXPECT_EQ(shell(program() + " --version").text, "Ostrevanmoor 1.0.2\n");
}

TEST_F(Program, WarnsOfWhatAnInstructionFilePassesOver) {
  writeDem();
  const auto run = [&](const std::string& instructions) {
    write("in.txt", instructions);
    return shell("cd '" + scratch_.path() + "' && (" + program() + " in.txt 2>warnings)");
  };
  const std::string quiet = byTime({"DURATION: 24 hours", "SPECIFIC:"});
  ASSERT_EQ(run("STRICT:\n" + quiet).status, 0);
  EXPECT_EQ(readBytes(at("warnings")), "");
  const std::string result = readBytes(at("out.flt"));
  const std::string console = readBytes(at("out.log"));

  ASSERT_EQ(run(quiet + "DURATON: 3\nOUTPUT BCON RASTER: maybe\n").status, 0);
  EXPECT_EQ(readBytes(at("warnings")),
            " WARNING: line 8: DURATON is not a keyword; did you mean DURATION?\n"
            " WARNING: line 9: OUTPUT BCON RASTER takes no value; it is on, whatever follows the colon\n");
  EXPECT_EQ(readBytes(at("out.flt")), result);
  EXPECT_EQ(readBytes(at("out.log")).find("WARNING"), std::string::npos);

  // Settings without effect, and limits that let nothing flow.
  ASSERT_EQ(run(byTime({"OUTPUT GRAD RASTER:", "OUTPUT ASPECT RASTER:"})).status, 0);
  const std::string saved = "INPUT GRADIENT RASTER: grad_15_site\nINPUT ASPECT RASTER: aspect_15_site\n";
  const auto warnings = [&](const std::string& instructions) {
    EXPECT_EQ(run("STRICT:\n" + instructions).status, 1);
    const std::string text = readBytes(at("warnings"));
    EXPECT_TRUE(
        text.ends_with(" FILE: in.txt\n STRICT: the instruction file has warnings\n PROGRAM ABORTED\n"));
    return text.substr(0, text.find(" FILE:"));
  };
  EXPECT_EQ(
      warnings(byTime({"-CONDUCTIVITY", "DURATION: -1", "OUTPUT BCON RASTER:"})),
      " WARNING: line 7: OUTPUT BCON RASTER has no effect: contour lengths are used with SPECIFIC only\n"
      " WARNING: DURATION is missing or not above 0, so no water leaves the cell that it fell on\n"
      " WARNING: CONDUCTIVITY is missing or not above 0, so no water leaves the cell that it fell on\n");
  EXPECT_EQ(warnings(byTime({"WALKS: EXACT, TOLERANCE = 0.01"})),
            " WARNING: TOLERANCE has no effect: only merged walks by time have one\n");
  EXPECT_EQ(warnings(byTime({"OUTPUT GRAD RASTER:", "OUTPUT ASPECT RASTER:"}) + saved),
            " WARNING: line 3: LENGTH SCALE has no effect: neither gradient nor aspect nor contour length is "
            "computed\n"
            " WARNING: line 8: OUTPUT GRAD RASTER has no effect: the gradient is read and not computed\n"
            " WARNING: line 9: OUTPUT ASPECT RASTER has no effect: the aspect is read and not computed\n");
  EXPECT_EQ(
      warnings(byTime({"-CONDUCTIVITY", "-DURATION", "MAX DISTANCE: 30", "OUTPUT GRAD RASTER:"}) + saved),
      " WARNING: line 3: LENGTH SCALE has no effect: neither gradient nor aspect nor contour length is "
      "computed\n"
      " WARNING: line 7: OUTPUT GRAD RASTER has no effect: a run by distance computes no gradient\n"
      " WARNING: line 8: INPUT GRADIENT RASTER has no effect: a run by distance uses no gradient\n");

  // The unit of the ground. An empty projection file says nothing.
  write("elev_site.prj", "");
  const Outcome silent = run("STRICT:\n" + quiet);
  EXPECT_EQ(silent.status, 0) << silent.text;
  EXPECT_EQ(silent.text.find("empty"), std::string::npos);
  write("elev_site.prj",
        "PROJCS[\"x\",GEOGCS[\"y\",UNIT[\"Degree\",0.0174]],UNIT[\"Foot_US\",0.3048006096]]");
  EXPECT_EQ(warnings(quiet), " WARNING: elev_site: the map is in feet; its cell size is taken for metres\n");
  write("elev_site.prj", "GEOGCS[\"y\",UNIT[\"Degree\",0.0174532925199433]]");
  const Outcome degrees = run(quiet);
  EXPECT_EQ(degrees.status, 1);
  EXPECT_NE(degrees.text.find("The DEM is in degrees and must be in metres: gdalwarp -t_srs"),
            std::string::npos);
}

TEST_F(Program, FullDiskEndsWithStatusOneAndTheLogStays) {
  R4Grid_type dem = test::noiseDem(90, 80, {.seed = 5});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  write("out.hdr", "older");
  const Outcome full = run(byTime(), "ulimit -f 16;");  // blocks of 512 bytes: the log fits
  EXPECT_EQ(full.status, 1) << full.text;
  EXPECT_NE(full.text.find("Error writing output raster"), std::string::npos) << full.text;
  EXPECT_FALSE(platform::fileExists(at("out.log")));
  EXPECT_NE(logs().find("Error writing output raster"), std::string::npos);
  EXPECT_EQ(run(byTime(), "ulimit -f 2;").status, 1);
}

TEST_F(Program, OutputsThatCannotBeWrittenOrWouldReplaceAnInputStopTheRunFirst) {
  R4Grid_type dem = test::noiseDem(40, 30, {.seed = 5});
  for (const char* name : {"elev_site", "aspect_15_site"}) ASSERT_EQ(dem.WritefltR4(at(name)), 0);
  write("out.flt", "older");
  const std::string before = readBytes(at("aspect_15_site.flt"));
  const auto refused = [&](const std::vector<std::string>& changes, std::string_view text) {
    const Outcome stopped = run(byTime(changes));
    EXPECT_EQ(stopped.status, 1);
    EXPECT_NE(stopped.text.find(text), std::string::npos) << stopped.text;
    EXPECT_EQ(stopped.text.find("Reading elevations"), std::string::npos);
    EXPECT_EQ(stopped.text.find("Accumulating"), std::string::npos);
    EXPECT_EQ(readBytes(at("out.flt")), "older");
  };
  for (const char* ending : {".hdr", ".prj", ".log"}) {
    fs::create_directory(at("out") + ending);
    refused({}, "FILE: out" + std::string(ending) + "\n Output file cannot be written: not a regular file");
    fs::remove(at("out") + ending);
    fs::create_symlink("in.txt", at("out") + ending);
    refused({}, "Output raster would replace the instruction file");
    fs::remove(at("out") + ending);
    fs::create_symlink("elev_site.hdr", at("out") + ending);
    refused({"DEM: ./elev_site"}, "Output raster would replace an input raster");
    fs::remove(at("out") + ending);
  }
  fs::create_directory(at("grad_15_site.log"));
  refused({"OUTPUT GRAD RASTER:"}, "FILE: grad_15_site.log\n Output file cannot be written");
  refused({"DEM: aspect_15_site", "OUTPUT ASPECT RASTER:"}, "Output raster would replace an input raster");
  EXPECT_EQ(readBytes(at("aspect_15_site.flt")), before);
  refused({"OUTPUT RASTER: ../" + fs::path(at("")).parent_path().filename().string() + "/bcon_15_site",
           "OUTPUT BCON RASTER:", "SPECIFIC:"},
          "Output raster would replace a raster that is to be saved");
}

TEST_F(Program, NamesKeepTheirParts) {
  writeDem();
  fs::create_directories(at("o/s"));
  for (const char* name : {"acc_0.125", "acc_0.250", "./o4", "o/../ab", "o/x.y"}) {
    const Outcome done = run(byTime({std::string("OUTPUT RASTER: ") + name, "SCRATCH DIRECTORY: o/s"}));
    EXPECT_EQ(done.status, 0) << done.text;
    EXPECT_TRUE(rasterExists(at(name))) << name;
  }
  using namespace std::string_literals;
  const std::string dem = readBytes(at("elev_site.flt"));
  for (const std::string& change :
       {"OUTPUT RASTER: out\0b"s, "DEM: elev_site\0b"s, "INPUT ASPECT RASTER: a\0b"s,
        "SCRATCH DIRECTORY: elev_site.flt\0/"s, "OUTPUT RASTER: o/"s}) {
    const Outcome failed = run(byTime({change}));
    EXPECT_EQ(failed.status, 1) << change;
    EXPECT_NE(failed.text.find("PROGRAM ABORTED"), std::string::npos);
    EXPECT_EQ(failed.text.find('\0') == std::string::npos, true);
  }
  EXPECT_EQ(readBytes(at("elev_site.flt")), dem);
  // A tab beside a keyword is a blank.
  ASSERT_EQ(run(byTime({"SPECIFIC:"})).status, 0);
  const std::string specific = readBytes(at("out.flt"));
  ASSERT_EQ(run(byTime() + "\tSPECIFIC\t:\n").status, 0);
  EXPECT_EQ(readBytes(at("out.flt")), specific);
}

TEST_F(Program, ADryRunTellsTheWorkAndWritesNothing) {
  writeDem();
  write("in.txt",
        byTime({"-DURATION", "-CONDUCTIVITY", "MAX DISTANCE: 2000", "OUTPUT ASPECT RASTER:", "THREADS: 2"}));
  const auto filesIn = [&] {
    std::ptrdiff_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::recursive_directory_iterator(scratch_.path())) ++files;
    return files;
  };
  const std::ptrdiff_t before = filesIn();
  const std::string command = "cd '" + scratch_.path() + "' && " + program() + " --dry-run ";
  const Outcome told = test::shell(command + "in.txt");
  EXPECT_EQ(told.status, 0) << told.text;
  EXPECT_NE(told.text.find("Walks: 1179, of "), std::string::npos) << told.text;
  EXPECT_NE(told.text.find("Expected: about "), std::string::npos) << told.text;
  EXPECT_EQ(filesIn(), before);
  write("in.txt", byTime({"WALKS: MERGED"}));
  EXPECT_NE(test::shell(command + "in.txt").text.find("Expected, merged: "), std::string::npos);
  write("in.txt", byTime({"DURATION: x"}));
  EXPECT_EQ(test::shell(command + "in.txt").status, 1);
  EXPECT_EQ(test::shell(command + "in.txt more").status, 1);
}

// A sanitizer reserves more address space than a limit could leave it.
#ifdef __SANITIZE_ADDRESS__
constexpr std::string_view kLittleMemory{};
#else
constexpr std::string_view kLittleMemory = "ulimit -v 27000;";
#endif

TEST_F(Program, SignalsAndExceptionsEndTheLogAndLeaveNoScratchFile) {
  R4Grid_type dem = test::noiseDem(1100, 2700, {.seed = 5});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  const std::string instructions = byTime({"-DURATION", "-CONDUCTIVITY", "MAX DISTANCE: 260"});
  for (const auto& [signal, number] : {std::pair{"INT", 2}, {"TERM", 15}, {"HUP", 1}}) {
    // Sent by `timeout`: a shell starts background jobs with SIGINT ignored, and what is ignored stays so.
    const Outcome ended = run(instructions, std::string(kLittleMemory) +
                                                "timeout --foreground --preserve-status -s " + signal + " 2");
    EXPECT_EQ(ended.text.find("created scratch file") != std::string::npos, !kLittleMemory.empty());
    EXPECT_EQ(ended.status, 128 + number) << ended.text;
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(at("s"))) {
      ++files;
      EXPECT_TRUE(readBytes(entry.path()).ends_with("\n PROGRAM ABORTED\n")) << entry.path();
      fs::remove(entry.path());
    }
    EXPECT_EQ(files, 1U);
  }
  const ProgramFace throwing{.run = [](const std::optional<std::string>& name) -> bool {
    Session session;
    session.start(kProgram);
    session.findInstructions(name);
    session.openLog(fs::path(*name).parent_path().string() + "/s/");
    throw std::bad_alloc();
  }};
  std::string name = at("in.txt");
  std::string program = "program";
  char* arguments[] = {program.data(), name.data(), nullptr};
  EXPECT_EXIT(runProgram(2, arguments, throwing), ::testing::ExitedWithCode(1), "");
  EXPECT_TRUE(logs().ends_with(" std::bad_alloc\n PROGRAM ABORTED\n")) << logs();
}

TEST_F(Program, RunsAtTheSameTimeShareAScratchDirectory) {
  writeDem();
  std::string command = "cd '" + scratch_.path() + "'; ";
  for (const char* n : {"1", "2", "3"}) {
    write(std::string("in") + n + ".txt", byTime({std::string("OUTPUT RASTER: out") + n}));
    command += program() + " in" + n + ".txt & p" + n + "=$!; ";
  }
  const Outcome all = shell(command + "wait $p1 && wait $p2 && wait $p3");
  EXPECT_EQ(all.status, 0) << all.text;
  for (const char* n : {"out1", "out2", "out3"}) {
    EXPECT_EQ(readBytes(at("out1.flt")), readBytes(at(std::string(n) + ".flt")));
    EXPECT_NE(readBytes(at(std::string(n) + ".log")).find("CPU seconds: "), std::string::npos) << n;
  }
  EXPECT_TRUE(fs::is_empty(at("s")));
}

TEST_F(Program, RastersGoToGdalAndComeFromIt) {
  if (!haveTool("gdalinfo")) GTEST_SKIP() << "no gdalinfo on this machine";
  const std::string cd = "cd '" + scratch_.path() + "' && ";
  R4Grid_type dem = test::noiseDem(40, 30, {.seed = 5, .lakes = 1},
                                   {.xmin = 500000.5, .ymin = 4000000.25, .cellsize = 7.5});
  ASSERT_EQ(dem.WritefltR4(at("elev_site")), 0);
  ASSERT_EQ(run(byTime()).status, 0);
  const Outcome info = shell(cd + "gdalinfo out.flt");
  for (const char* line : {"Size is 40, 30", "Pixel Size = (7.5", "NoData Value=-9999", "Type=Float32",
                           "Lower Left  (  500000.500, 4000000.250)"})
    EXPECT_NE(info.text.find(line), std::string::npos) << line << info.text;
  // GeoTIFF to run to GeoTIFF: what gdal_translate writes is all that a run needs.
  ASSERT_EQ(shell(cd + "gdal_translate -q -a_srs EPSG:32611 -co COMPRESS=DEFLATE elev_site.flt my.tif && "
                       "mkdir t && gdal_translate -q -of EHdr -ot Float32 my.tif t/elev_my.flt")
                .status,
            0);
  const Outcome done = run(byTime({"DEM: t/elev_my.flt", "OUTPUT RASTER: t/out"}));
  ASSERT_EQ(done.status, 0) << done.text;
  EXPECT_EQ(readBytes(at("t/out.flt")), readBytes(at("out.flt")));
}

}  // namespace
}  // namespace terrain
