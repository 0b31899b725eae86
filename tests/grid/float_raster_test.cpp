#include "grid/float_raster.h"

#include <gtest/gtest.h>

#include <fstream>

#include "foundation/file_names.h"
#include "grid/raster_header.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;

class FloatRaster : public test::InBothStorages {
 protected:
  void write(const std::string& name, std::string_view text) {
    test::writeBytes(scratch_.path() + name, text);
  }
  template <class T>
  void writeCells(const std::string& name, const std::vector<T>& cells) {
    write(name, {reinterpret_cast<const char*>(cells.data()), cells.size() * sizeof(T)});
  }
  std::string read(const std::string& name) { return test::readBytes(scratch_.path() + name); }
  std::string at(const std::string& name) { return scratch_.path() + name; }
  bool onDisk() { return GetParam() == Storage::disk; }
  bool said(std::string_view text) { return console_.text().find(text) != std::string::npos; }
};
INSTANTIATE_TEST_SUITE_P(Storages, FloatRaster, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST_P(FloatRaster, HeaderIsWrittenLineByLine) {
  auto grid = test::gridOf<R4Grid_type>(
      "1 2\n 3 .", {.xmin = 556560, .ymin = 4373130.25, .cellsize = 30, .storage = GetParam()});
  grid.projection.lines = {"PROJCS[" + std::string(5000, 'x') + "]"};
  const VersionStamp stamp{.createdBy = "Maker", .createdOn = "May 1, 2026"};
  ASSERT_EQ(grid.WritefltR4(at("a b"), &stamp), 0);
  EXPECT_EQ(
      read("a b.hdr"),
      " NCOLS        2\n NROWS        2\n XLLCORNER 556560.000000000\n YLLCORNER 4373130.250000000\n"
      " CELLSIZE         30.000000000\n NODATA_VALUE  -9999.0\n BYTEORDER     LSBFIRST\n \n #_FILE_TYPE R4\n"
      " #_BIT_DEPTH 32\n \n #  Created on: May 1, 2026\n #  Created by: Maker\n");
  EXPECT_EQ(read("a b.prj"), grid.projection.lines[0] + '\n');
  R4Grid_type back;
  ASSERT_EQ(ReadGrid(back, at("a b.flt"), {.onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(back), test::cellsOf(grid));
  EXPECT_TRUE(SameGridGeometry(back, grid));
  EXPECT_EQ(back.projection.lines, grid.projection.lines);
  grid.feetConverted = true;
  grid.nodata = -3.4e38F;
  ASSERT_EQ(grid.WriteGridHeader(at("f")), 0);
  Grid_Header feet;
  ASSERT_EQ(feet.ReadHeader(at("f.hdr.hdr")), 0);
  EXPECT_DOUBLE_EQ(feet.cellsize, 98.425197601);
  EXPECT_EQ(feet.nodata, -3.4e38F);
}

TEST_P(FloatRaster, HeaderKeywordsComeInManyForms) {
  struct Case {
    std::string_view text;
    int32_t ncols;
    double xmin, ymin, cellsize, xcellsize, ycellsize;
    float nodata;
  };
  for (const Case& c :
       {Case{"ncols 3\r\nnrows,2\r\nXMIN 5\nyllcorner 6d0\ncellsize 10\nNoData -1\n", 3, 5, 6, 10, 10, 10,
             -1},
        {"NCOLS\n3\nNROWS 2 extra words\n\n# NCOLS 9\n'X CELLSIZE' 10\n\"Y CELLSIZE\" 20\n", 3, -9999, -9999,
         -9999, 10, 20, -9999},
        {"NCOLS 4\nNCOLS 3\nNROWS 2\nX CELLSIZE 30\ncellsize 30\nXCELLSIZE 5\n", 3, -9999, -9999, 30, 30, 30,
         -9999},
        {"NROWS 2\nNCOLS 3\nULXMAP 115\nULYMAP 245\nXDIM 30\nYDIM 30\nNODATA -32768\n", 3, 100, 200, 30, 30,
         30, -32768},
        {"NROWS 2\nNCOLS 3\nXDIM 10\nYDIM 20\nULXMAP 5\nULYMAP 30\nYLLCORNER 7\n", 3, 0, 7, 15, 10, 20,
         -9999},
        {"NROWS 2\nNCOLS 3\nXCELLSIZE 10\nYCELLSIZE 10\n", 3, -9999, -9999, 10, 10, 10, -9999}}) {
    SCOPED_TRACE(c.text);
    write("h.hdr", "#_FILE_TYPE R8\n#_BIT_DEPTH 64\nCELLSIZE 7\n");
    write("h.prj", "of an earlier raster");
    Grid_Header h;
    ASSERT_EQ(h.ReadHeader(at("h")), 0);
    std::filesystem::remove(at("h.prj"));
    write("h.hdr", c.text);
    ASSERT_EQ(h.ReadHeader(at("h")), 0);
    EXPECT_EQ(h.cols(), c.ncols);
    EXPECT_EQ(h.rows(), 2);
    EXPECT_EQ(h.xmin, c.xmin);
    EXPECT_EQ(h.ymin, c.ymin);
    EXPECT_EQ(h.cellsize, c.cellsize);
    EXPECT_EQ(h.xcellsize, c.xcellsize);
    EXPECT_EQ(h.ycellsize, c.ycellsize);
    EXPECT_EQ(h.nodata, c.nodata);
    EXPECT_TRUE(h.fileType.blank() && h.bitDepth == 0 && h.projection.LineCount() == 0);
  }
  write("h.hdr", "NCOLS 2.5\n");
  Grid_Header h;
  EXPECT_EQ(h.ReadHeader(at("h")), -1);
  EXPECT_TRUE(said("Error reading NCOLS in " + at("h.hdr")));
  EXPECT_EQ(h.ReadHeader(at("none")), -1);
}

TEST_P(FloatRaster, FilesOfEveryTypeAreConverted) {
  const std::string place = "NCOLS 3\nNROWS 2\nXLLCORNER 0\nYLLCORNER 0\nCELLSIZE 1\n";
  writeCells("r8.flt", std::vector<double>{1.5, -2.5, 1e20, 4, 5, 6});
  write("r8.hdr", place);
  writeCells("i2.int", std::vector<int16_t>{1, -2, 3, 4, 5, 6});
  write("i2.hdr", place + "#_FILE_TYPE I\n#_BIT_DEPTH 16\n");
  writeCells("i8.int", std::vector<int64_t>{(std::int64_t{1} << 32) + 7, -2, 3, 4, 5, 6});
  write("i8.hdr", place);
  R4Grid_type r4;
  ASSERT_EQ(ReadGrid(r4, at("r8"), {.onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(r4), (std::vector{1.5F, -2.5F, 1e20F, 4.0F, 5.0F, 6.0F}));
  I4Grid_type i4;
  ASSERT_EQ(ReadGrid(i4, at("r8"), {.onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(i4), (std::vector<int32_t>{1, -2, 2147483647, 4, 5, 6}));
  ASSERT_EQ(ReadGrid(i4, at("i8"), {.onDisk = onDisk()}), 0);
  EXPECT_EQ(i4.ExtractI4ValueColRow(1, 1), 7);
  I8Grid_type i8;
  ASSERT_EQ(ReadGrid(i8, at("i2.INT"), {.onDisk = onDisk(), .cellAccess = true}), 0);
  EXPECT_EQ(i8.cellAccess, onDisk());
  EXPECT_EQ(i8.ExtractI8ValueColRow(2, 1), -2);
  R8Grid_type r8;
  ASSERT_EQ(ReadGrid(r8, at("r8"), {.onDisk = onDisk()}), 0);
  ASSERT_EQ(r8.WritefltR8(at("w")), 0);
  ASSERT_EQ(i8.WritefltI8(at("w8")), 0);
  ASSERT_EQ(ReadGrid(i8, at("w8")), 0);
  EXPECT_EQ(i8.ExtractI8ValueColRow(2, 1), -2);

  I2Grid_type i2;
  EXPECT_EQ(ReadGrid(i2, at("i2")), -1);
  EXPECT_TRUE(said("Not implemented for this grid type"));
  EXPECT_EQ(ReadGrid(r4, at("none")), -1);
  EXPECT_EQ(ReadGrid(r4, "  "), -1);
}

TEST_P(FloatRaster, ClipKeepsTheClipGridsExtent) {
  auto grid =
      test::gridOf<R4Grid_type>("1 2 3\n 4 5 6\n 7 8 9", {.storage = Storage::memory});  // x 1000.., y 2000..
  ASSERT_EQ(grid.WritefltR4(at("c")), 0);
  Grid_Header clip;
  clip.InitializeHeader(3, 3, 990.0, 2010.0, {.cellsize = 10.0});  // one column west, one row north
  R4Grid_type part;
  part.nodata = -5.0F;
  ASSERT_EQ(ReadGrid(part, at("c"), {.clipGrid = &clip, .onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(part),
            (std::vector{-9999.0F, -9999.0F, -9999.0F, -9999.0F, 1.0F, 2.0F, -9999.0F, 4.0F, 5.0F}));
  EXPECT_EQ(part.nodata, -5.0F);
  EXPECT_EQ(part.xmin, 990.0);
  R4Grid_type lean;
  ASSERT_EQ(OpenR4Grid(lean, at("c"), {.clipGrid = &clip, .onDisk = onDisk(), .nodata = -1.0F}), 0);
  EXPECT_EQ(test::cellsOf(lean), (std::vector{-1.0F, -1.0F, -1.0F, -1.0F, 1.0F, 2.0F, -1.0F, 4.0F, 5.0F}));
  clip.InitializeHeader(2, 2, 1010.0, 2000.0, {.cellsize = 10.0});
  ASSERT_EQ(ReadGrid(part, at("c"), {.clipGrid = &clip, .onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(part), (std::vector{5.0F, 6.0F, 8.0F, 9.0F}));
  clip.InitializeHeader(2, 2, 5000.0, 2000.0, {.cellsize = 10.0});
  EXPECT_EQ(ReadGrid(part, at("c"), {.clipGrid = &clip}), -1);
  EXPECT_TRUE(said("Clipgrid does not overlap"));
  EXPECT_FALSE(part.GridExists());

  Grid_Header finer;
  finer.InitializeHeader(5, 5, 1000.0, 2000.0, {.cellsize = 5.0});
  R4Grid_type match;
  ASSERT_EQ(ReadR4GridFile(match, at("c"), {.matchGrid = &finer, .onDisk = onDisk(), .halfCell = true}), 0);
  EXPECT_EQ(match.ExtractR4ValueColRow(3, 3), 5.0F);
  EXPECT_EQ(match.xmin, 1002.5);
  I4Grid_type whole;
  ASSERT_EQ(ReadI4GridFile(whole, at("c"), {.matchGrid = &finer, .onDisk = onDisk()}), 0);
  EXPECT_EQ(whole.ExtractI4ValueColRow(5, 1), 3);
  EXPECT_EQ(ReadI4GridFile(whole, at("c")), -1);
}

TEST_P(FloatRaster, WhatDoesNotFitIsRefusedInWords) {
  struct Case {
    std::string_view header, message;
  };
  writeCells("x.flt", std::vector<float>(6, 1.0F));
  const std::string place = "XLLCORNER 0\nYLLCORNER 0\nCELLSIZE 1\n";
  for (const Case& c :
       {Case{"NCOLS 3\nNROWS 3\n#_FILE_TYPE R4\n#_BIT_DEPTH 32\n",
             "The raster file is shorter than its header says"},
        {"NCOLS 3\nNROWS 3\n", "Unknown bit depth"},
        {"NCOLS 3\nNROWS 2\n#_FILE_TYPE R8\n#_BIT_DEPTH 32\n",
         "grid header file type and bit depth do not match"},
        {"NCOLS 3\nNROWS 2\n#_FILE_TYPE Q7\n", "Unrecognized raster file type: Q7"},
        {"NCOLS 3\nNROWS 2\n#_FILE_TYPE IN\n#_BIT_DEPTH 24\n", "Unrecognized raster file type"},
        {"NROWS 2\n", "NCOLS is missing or below 1"},
        {"NCOLS 0\nNROWS 2\n", "NCOLS is missing or below 1"},
        {"NCOLS 3\nNROWS -2\n", "NROWS is missing or below 1"},
        {"NCOLS 2147483647\nNROWS 2147483647\n#_FILE_TYPE R4\n#_BIT_DEPTH 32\n",
         "The raster file is shorter than its header says"},
        {"NCOLS 3\nNROWS 2\nCELLSIZE nan\n", "CELLSIZE is missing or not above 0"},
        {"NCOLS 3\nNROWS 2\nCELLSIZE 0\nXCELLSIZE -1\nYCELLSIZE 1\n", "CELLSIZE is missing or not above 0"},
        {"NCOLS 3\nNROWS 2\nXLLCORNER inf\n", "XLLCORNER is not a number"},
        {"NCOLS -2147483648\nNROWS 2\n", "NCOLS is missing or below 1"},
        {"NCOLS 3\nNROWS 2\nXLLCORNER 500000\nCELLSIZE 1e-30\n", "CELLSIZE is too small"},
        {"NCOLS 3\nNROWS 2\nBYTEORDER M\n", "BYTEORDER M: only little-endian rasters can be read"},
        {"NCOLS 3\nNROWS 2\nNBANDS 3\n", "NBANDS 3: only rasters of one band can be read"},
        {"NCOLS 3\nNROWS 2\nPIXELTYPE SIGNEDINT\n",
         "PIXELTYPE SIGNEDINT: the cells of a .flt raster must be floats"}}) {
    SCOPED_TRACE(c.header);
    write("x.hdr", place + std::string(c.header));
    R4Grid_type grid;
    grid.onDisk = onDisk();
    EXPECT_EQ(ReadGrid(grid, at("x"), {.onDisk = onDisk()}), -1);
    EXPECT_TRUE(said(c.message)) << console_.text();
    EXPECT_FALSE(grid.GridExists() && grid.HeaderExists());
  }
}

TEST_P(FloatRaster, FilesOfARasterChangeTogetherOrNotAtAll) {
  auto grid = test::emptyGrid<R4Grid_type>(300, 300, {.storage = GetParam()});
  const auto all = [&] { return read("w.flt") + read("w.hdr") + read("w.prj"); };
  grid.projection.lines = {"of the older raster"};
  ASSERT_EQ(grid.WritefltR4(at("w")), 0);
  const std::string older = all();
  grid.projection.Clear();
  grid.nodata = -1;
  {
    const test::FileSizeLimit full(1000);
    EXPECT_EQ(grid.WritefltR4(at("w")), -1);
  }
  EXPECT_TRUE(said("Error in writing to file"));
  EXPECT_TRUE(all() == older);
  EXPECT_EQ(grid.WritefltR4(at("none/w")), -1);
  EXPECT_TRUE(said("Error code: 29, no such file"));
  R4Grid_type none;
  EXPECT_EQ(none.WritefltR4(at("w")), -1);
  EXPECT_EQ(WriteGridflt(none, at("w")), -1);
  grid.ycellsize = 20;
  EXPECT_EQ(grid.WritefltR4(at("w")), -1);
  EXPECT_TRUE(said("the cells are 10.0000000000000 wide and 20.0000000000000 high"));
  EXPECT_TRUE(all() == older);
  grid.ycellsize = 10;
  EXPECT_EQ(grid.WritefltR4(at("w")), 0);
  EXPECT_FALSE(platform::fileExists(at("w.prj")));  // it told of the older raster
  std::filesystem::create_directory(at("d.hdr"));
  EXPECT_EQ(grid.WritefltR4(at("d")), -1);
  EXPECT_TRUE(said("writeHeader failed"));
  EXPECT_FALSE(platform::fileExists(at("d.flt")));
}

TEST_P(FloatRaster, PlaceUnitsAndNodataOfTheFileAreKnown) {
  write("n.hdr", "NCOLS 3\nNROWS 3\nXLLCORNER 1000\nYLLCORNER 2000\nCELLSIZE 10\nNODATA 3.4e38\n");
  const float none = 3.4e38F;
  writeCells("n.flt", std::vector<float>{1, 1, 1, 1, 5, none, 1, 1, std::nanf("")});
  Grid_Header finer;
  finer.InitializeHeader(2, 2, 1010, 2010, {.cellsize = 5});
  R4Grid_type grid;
  ASSERT_EQ(ReadR4GridFile(grid, at("n"), {.matchGrid = &finer, .onDisk = onDisk()}), 0);
  EXPECT_EQ(test::cellsOf(grid), (std::vector{5.0F, 5.0F, 5.0F, 5.0F}));
  EXPECT_EQ(grid.nodata, none);
  const MatchArgs replacing{.onDisk = onDisk(), .replaceNodata = true};
  ASSERT_EQ(ReadR4GridFile(grid, at("n"), replacing), 0);
  EXPECT_EQ(test::show(grid), "1 1 1\n1 5 .\n1 1 .\n");
  ASSERT_EQ(OpenR4Grid(grid, at("n.flt")), 0);
  EXPECT_EQ(grid.nodata, none);

  Grid_Header clip;
  clip.InitializeHeader(2, 2, 1000 * 0.3048, 2000 * 0.3048, {.cellsize = 10 * 0.3048});
  clip.feetConverted = true;
  ASSERT_EQ(ReadGrid(grid, at("n.hdr"), {.clipGrid = &clip, .onDisk = onDisk()}), 0);
  EXPECT_TRUE(grid.feetConverted);
  ASSERT_EQ(OpenR4Grid(grid, at("n.flt"), {.clipGrid = &clip}), 0);
  EXPECT_TRUE(grid.feetConverted);
  ASSERT_EQ(ReadGrid(grid, at("n")), 0);
  EXPECT_FALSE(grid.feetConverted);

  write("n.hdr", "NCOLS 3\nNROWS 3\nXLLCORNER 1000\nCELLSIZE 10\n");
  EXPECT_EQ(ReadGrid(grid, at("n")), -1);
  EXPECT_EQ(OpenR4Grid(grid, at("n")), -1);
  EXPECT_TRUE(said("XLLCORNER or YLLCORNER is missing"));
}

}  // namespace
}  // namespace terrain
