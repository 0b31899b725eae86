// Rasters in the formats of other systems: .int, .bil and .rst, read by us and by GDAL.

#include <gtest/gtest.h>

#include <fstream>

#include "grid/bil_raster.h"
#include "grid/float_raster.h"
#include "grid/integer_raster.h"
#include "grid/rst_raster.h"
#include "support/grids.h"
#include "support/tools.h"

namespace terrain {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class RasterFormats : public test::InBothStorages {
 protected:
  std::string at(const std::string& name) { return scratch_.path() + name; }
  std::string read(const std::string& name) {
    std::ifstream in(at(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  template <class G>
  G grid(std::string_view text, double cellsize = 30, float nodata = kNodata) {
    return test::gridOf<G>(text,
                           {.xmin = 556560, .ymin = 4373130.25, .cellsize = cellsize, .nodata = nodata});
  }
  template <class G>
  G stored(std::string_view text) {
    return test::gridOf<G>(text, {.xmin = 556560, .ymin = 4373130.25, .cellsize = 30, .storage = GetParam()});
  }
  /// What GDAL sees: the report on the raster, then its cells, a row a line.
  static std::string gdal(const std::string& file) {
    const auto info = test::shell("gdalinfo -mm " + file);
    const auto cells = test::shell("gdal_translate -q -of XYZ " + file + " /vsistdout/");
    EXPECT_EQ(info.status, 0) << info.text;
    return info.text + cells.text;
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, RasterFormats, test::everyStorage(), test::storageName);

TEST_P(RasterFormats, IntegersAtTheirOwnWidth) {
  auto i4 = stored<I4Grid_type>("1 -2 70000\n . 5 6");
  const std::string common =
      "NCOLS        3\nNROWS        2\nXLLCORNER    556560.00000\nYLLCORNER   4373130.25000\n"
      "CELLSIZE        30.00000\nNODATA_VALUE ";
  const std::string order = "BYTEORDER     LSBFIRST\n";
  ASSERT_EQ(i4.WriteIntI4(at("a")), 0);
  EXPECT_EQ(read("a.hdr"), common + " -9999.0\n" + order +
                               "FILETYPE I4\nBIT DEPTH 32\n\nNBITS 32\nPIXELTYPE SIGNEDINT\n"
                               "#_FILE_TYPE I4\n#_BIT_DEPTH 32\n");
  EXPECT_EQ(read("a.int").size(), 24u);
  I4Grid_type back;
  ASSERT_EQ(ReadGrid(back, at("a.int"), {.onDisk = i4.onDisk}), 0);
  EXPECT_EQ(test::cellsOf(back), test::cellsOf(i4));
  EXPECT_TRUE(SameGridGeometry(back, i4));

  auto i8 = stored<I8Grid_type>("1 -2 70000000000\n . 5 6");
  ASSERT_EQ(i8.WriteIntI8(at("a")), 0);
  EXPECT_THAT(read("a.hdr"), HasSubstr(" -9999.0\n" + order + "FILETYPE I8\nBITDEPTH 64\n\n"));
  I8Grid_type back8;
  ASSERT_EQ(ReadGrid(back8, at("a")), 0);
  EXPECT_EQ(test::cellsOf(back8), test::cellsOf(i8));

  auto i1 = stored<I1Grid_type>("1 -2 127\n 0 5 -128");
  auto i2 = stored<I2Grid_type>("1 -2 32767\n . 5 6");
  for (Grid_Header* grid : {static_cast<Grid_Header*>(&i1), static_cast<Grid_Header*>(&i2)}) {
    ASSERT_EQ(WriteGridInt(*grid, at("b")), 0);
    ASSERT_EQ(ReadGrid(back, at("b")), 0);
    EXPECT_EQ(back.ExtractI4ValueColRow(2, 1), -2);
    EXPECT_EQ(back.ExtractI4ValueColRow(3, 1), grid == &i1 ? 127 : 32767);
  }
  EXPECT_THAT(read("b.hdr"),
              HasSubstr("NODATA_VALUE           -9999\n" + order + "FILETYPE  INT\n\nNBITS 16\n"));
  auto r4 = stored<R4Grid_type>("1");
  EXPECT_EQ(WriteGridInt(r4, at("none")), -1);
  EXPECT_THAT(console_.text(), HasSubstr("WriteGridInt requires integer grid type"));
  EXPECT_FALSE(platform::fileExists(at("none.int")));
}

TEST_P(RasterFormats, NumbersThatTheFixedFormLosesAreWrittenInFull) {
  auto fine = grid<I8Grid_type>("1 2", 1.0 / 3600, -3.4e38F);
  ASSERT_EQ(fine.WriteIntI8(at("fine")), 0);
  Grid_Header header;
  ASSERT_EQ(header.ReadHeader(at("fine")), 0);
  EXPECT_EQ(header.cellsize, 1.0 / 3600);
  EXPECT_THAT(read("fine.hdr"), HasSubstr("NODATA_VALUE -9223372036854775808.0\n"));
  auto oblong = grid<I4Grid_type>("1 2\n 3 4");
  oblong.ycellsize = 20;
  oblong.updateFarCorner();
  ASSERT_EQ(oblong.WriteIntI4(at("oblong")), 0);
  EXPECT_THAT(console_.text(),
              HasSubstr("WriteIntI4 cannot properly write raster with unequal cell dimensions"));
  I4Grid_type back;
  ASSERT_EQ(ReadGrid(back, at("oblong")), 0);
  EXPECT_EQ(back.xcellsize, 30);
  EXPECT_EQ(back.ycellsize, 20);
}

TEST_P(RasterFormats, BytesWithTheirHeader) {
  auto bytes = stored<I1Grid_type>("1 -5 127\n 0 5 -128");
  ASSERT_EQ(bytes.writeBIL(at("a")), 0);
  EXPECT_EQ(read("a.bil"), std::string("\x01\xFB\x7F\x00\x05\x80", 6));
  EXPECT_EQ(read("a.hdr"),
            "ncols 3\nnrows 2\nulxmap 556575\nulymap 4373175.25\nxdim 30\nydim 30\nnodata 0\n"
            "pixeltype signedint\nnbands 1\nnbits 8\n");
  Grid_Header back;
  ASSERT_EQ(back.ReadBILHeader(at("a.bil")), 0);
  EXPECT_TRUE(SameGridGeometry(back, bytes) && back.nodata == 0.0F);
  ASSERT_EQ(bytes.writeBILheader(at("b"), 16), 0);
  EXPECT_THAT(read("b.hdr"), HasSubstr("nbits 16\n"));

  std::ofstream(at("c.hdr")) << "NCOLS 3\nNROWS 2\nXLLCORNER 7\nULXMAP 115\nULYMAP 245\nXDIM 30\n";
  ASSERT_EQ(back.ReadBILHeader(at("c")), 0);
  EXPECT_EQ(back.xmin, 100);
  EXPECT_EQ(back.ymin, 200);
  EXPECT_EQ(back.cellsize, 30);
  std::ofstream(at("c.hdr")) << "YDIM x\n";
  EXPECT_EQ(back.ReadBILHeader(at("c")), -1);
  EXPECT_THAT(console_.text(), HasSubstr("Error reading XDIM in " + at("c.hdr")));
}

TEST_P(RasterFormats, GdalSeesTheSameCellsAtTheSamePlaces) {
  if (!test::haveTool("gdalinfo")) GTEST_SKIP() << "gdal-bin is not installed";
  const auto placed = HasSubstr(
      "Origin = (556560.000000000000000,4373190.250000000000000)\n"
      "Pixel Size = (30.000000000000000,-30.000000000000000)");
  const auto cells = [](const std::string& last) {
    return HasSubstr("556575 4373175.25 1\n556605 4373175.25 -5\n556575 4373145.25 64\n556605 4373145.25 " +
                     last);
  };
  auto i1 = stored<I1Grid_type>("1 -5\n 64 0");
  ASSERT_EQ(i1.writeBIL(at("a")), 0);
  ASSERT_EQ(WriteGridInt(i1, at("b")), 0);
  for (const char* name : {"a.bil", "b.int"})
    EXPECT_THAT(gdal(at(name)),
                AllOf(placed, HasSubstr("NoData Value=0\n"), HasSubstr("PIXELTYPE=SIGNEDBYTE"),
                      HasSubstr("Min/Max=-5.000,64.000"), HasSubstr("4373145.25 64\n")));
  auto i2 = stored<I2Grid_type>("1 -5\n 64 .");
  ASSERT_EQ(i2.WriterstI2(at("c")), 0);
  EXPECT_THAT(read("c.rdc"), HasSubstr("value units : meters\n"));
  EXPECT_THAT(gdal(at("c.rst")), AllOf(placed, HasSubstr("NoData Value=-9999\n"), cells("-9999\n")));
  auto i4 = stored<I4Grid_type>("1 -5\n 64 .");
  i4.projection.lines = {"PROJCS[\"x\"]"};
  ASSERT_EQ(i4.WriteIntI4(at("d")), 0);
  EXPECT_EQ(read("d.prj"), "PROJCS[\"x\"]\n");
  EXPECT_THAT(gdal(at("d.int")), AllOf(placed, HasSubstr("Type=Int32"), cells("-9999\n")));
  i2.units = 'f';
  ASSERT_EQ(i2.WriterstI2(at("c")), 0);
  EXPECT_THAT(read("c.rdc"), AllOf(HasSubstr("ref. units  : f\n"), HasSubstr("value units : feet\n")));
}

}  // namespace
}  // namespace terrain
