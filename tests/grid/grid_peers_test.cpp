// The grid library on real DEMs beside GDAL, and beside plain forms of what GDAL has not.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "grid/float_raster.h"
#include "grid/integer_raster.h"
#include "grid/mosaic.h"
#include "support/grids.h"
#include "support/real_data.h"
#include "support/tools.h"

namespace terrain {
namespace {

class GridPeers : public ::testing::Test {
 protected:
  void SetUp() override {
    SKIP_WITHOUT_REAL_DATA();
    if (!test::haveTool("gdal_translate")) GTEST_SKIP() << "gdal-bin is not installed";
    ASSERT_EQ(ReadGrid(dem_, raster("medium")), 0);
  }
  static std::string raster(const std::string& name) { return test::dataFolder() + "/raster/" + name; }
  std::string at(const std::string& name) const { return scratch_.path(name); }
  static void run(const std::string& command) {
    const auto outcome = test::shell(command);
    EXPECT_EQ(outcome.status, 0) << command << '\n' << outcome.text;
  }
  /// The cells of a raster file.
  static std::vector<float> cellsIn(const std::string& file) {
    const std::string bytes = test::readBytes(file);
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(float));
    return values;
  }

  test::ConsoleCapture console_;
  test::ScratchDir scratch_;
  R4Grid_type dem_;
};

TEST_F(GridPeers, SubsetsAndMosaicsAreThoseOfGdal) {
  const std::string source = raster("medium") + ".flt ";
  const auto cut = [&](const std::string& window, const std::string& name) {
    run("gdal_translate -q -of EHdr -srcwin " + window + ' ' + source + at(name + ".flt"));
  };
  cut("10 20 800 400", "a");
  auto part = dem_.SubsetR4({.col1 = 11, .col2 = 810, .row1 = 21, .row2 = 420});
  EXPECT_EQ(test::cellsOf(part), cellsIn(at("a.flt")));
  cut("500 300 697 343", "b");
  cut("0 600 40 43", "c");
  run("gdalbuildvrt -q " + at("all.vrt ") + at("a.flt ") + at("b.flt ") + at("c.flt"));
  run("gdal_translate -q -of EHdr " + at("all.vrt ") + at("all.flt"));
  const std::vector<std::string> files{at("a"), at("b"), at("c")};
  for (const MosaicMode mode : {MosaicMode::smallest, MosaicMode::largest, MosaicMode::mean}) {
    auto mosaic = MosaicR4(files, {.mode = mode});
    EXPECT_EQ(test::cellsOf(mosaic), cellsIn(at("all.flt")));
  }
}

TEST_F(GridPeers, APolygonsMaskLeavesWhatGdalsCutlineLeaves) {
  const std::string bands = test::dataFolder() + "/vector/medium_bands.shp ";
  const std::string lattice =
      " -te 376313.655454263 3788627.827628375 412223.655454263 3807917.827628375 -tr 30 30 -of EHdr ";
  run("gdal_rasterize -q -init -9999 -burn 1 -a_nodata -9999 -ot Float32 -where ID=2" + lattice + bands +
      at("mask.flt"));
  run("gdalwarp -q -dstnodata -9999 -cl medium_bands -cwhere ID=2 -cutline " + bands + lattice +
      raster("medium.flt ") + at("cut.flt"));
  R4Grid_type mask;
  ASSERT_EQ(ReadGrid(mask, at("mask")), 0);
  EXPECT_EQ(dem_.R4Mask(mask), 0);
  EXPECT_EQ(test::cellsOf(dem_), cellsIn(at("cut.flt")));
  EXPECT_GT(dem_.CountValid(), 100000);
}

TEST_F(GridPeers, DistancesAreNowhereLongerThanGdals) {
  if (!test::haveTool("gdal_proximity.py")) GTEST_SKIP() << "the scripts of GDAL are not installed";
  I4Grid_type marks;
  ASSERT_EQ(CreateGrid(marks, {.like = &dem_, .fillValue = 0.0F}), 0);
  for (int32_t k = 1; k <= 60; ++k) marks.SetI4Cell(k * k % dem_.cols() + 1, k * k * k % dem_.rows() + 1, 1);
  ASSERT_EQ(marks.WritefltI4(at("marks")), 0);
  auto distances = marks.distanceTo(1e9);
  run("gdal_proximity.py -q -of EHdr -ot Float32 -distunits PIXEL -values 1 " + at("marks.flt ") +
      at("near.bil"));
  const auto near = cellsIn(at("near.bil"));
  const auto cells = test::cellsOf(distances);
  ASSERT_EQ(near.size(), cells.size());
  std::size_t longer = 0;  // theirs does not always find the nearest mark
  for (std::size_t i = 0; i < near.size(); ++i) {
    const auto pixels = cells[i] / static_cast<float>(dem_.cellsize);
    EXPECT_LE(pixels, near[i] * 1.00001F);
    if (near[i] > pixels * 1.00001F) ++longer;
  }
  EXPECT_LT(longer * 100, near.size());
}

TEST_F(GridPeers, GdalReadsWhatIsWritten) {
  const auto seen = [&](const std::string& file) {
    run("gdal_translate -q -ot Float32 -of EHdr " + at(file) + ' ' + at("seen.flt"));
    return cellsIn(at("seen.flt"));
  };
  const auto expected = test::cellsOf(dem_);  // whole metres, which every type of two bytes and more holds
  ASSERT_EQ(dem_.WritefltR4(at("floats")), 0);
  EXPECT_EQ(seen("floats.flt"), expected);
  I2Grid_type i2;
  I4Grid_type i4;
  I8Grid_type i8;
  for (Grid_Header* grid : std::initializer_list<Grid_Header*>{&i2, &i4, &i8})
    visitGrid(*grid, [&](auto& typed) {
      ASSERT_EQ(CreateGrid(typed, {.like = &dem_}), 0);
      test::fillWith(typed, [&](int32_t col, int32_t row) { return dem_.ExtractR4ValueColRow(col, row); });
      ASSERT_EQ(WriteGridInt(typed, at("whole")), 0);
      if (grid == &i8)
        EXPECT_NE(test::shell("gdalinfo " + at("whole.int")).status, 0);  // GDAL has no such cells here
      else
        EXPECT_EQ(seen("whole.int"), expected);
    });
  ASSERT_EQ(i2.WriterstI2(at("idrisi")), 0);
  EXPECT_EQ(seen("idrisi.rst"), expected);
}

TEST_F(GridPeers, QuantilesMeansAndMaximaAgreeWithPlainForms) {
  ASSERT_EQ(ReadGrid(dem_, raster("medium_ridges")), 0);
  dem_.nodata = kNodata;
  std::vector<float> sorted;
  for (const float cell : test::cellsOf(dem_))
    if (cell != kNodata) sorted.push_back(cell);
  std::ranges::sort(sorted);
  const auto count = static_cast<double>(sorted.size());
  std::vector<float> asked, exact(101), binned(101);
  for (int32_t k = 0; k <= 100; ++k) asked.push_back(static_cast<float>(k) / 100);
  ASSERT_EQ(dem_.quantileR4(asked, exact), 0);
  ASSERT_EQ(dem_.quantileR4(asked, binned, {.useBins = true}), 0);
  for (std::size_t k = 0; k <= 100; ++k) {
    const double p = std::clamp(static_cast<double>(asked[k]) * count, 1.0, count);
    const auto i = static_cast<std::size_t>(p);
    const double held = double{sorted[i - 1]};
    const double next = i > 1 && i < sorted.size() ? double{sorted[i]} : held;
    EXPECT_FLOAT_EQ(exact[k], static_cast<float>(held + (p - static_cast<double>(i)) * (next - held)));
    EXPECT_NEAR(binned[k], exact[k], 0.2);
  }

  constexpr int32_t reach = 6;
  R4Grid_type means;
  ASSERT_EQ(dem_.meanWindowR4(reach * dem_.cellsize, means), 0);
  const auto maxima = dem_.maxWindowR4(reach * dem_.cellsize);
  for (int32_t row = 1; row <= dem_.rows(); row += 3)
    for (int32_t col = 1; col <= dem_.cols(); ++col) {
      if (dem_.ExtractR4ValueColRow(col, row) == kNodata) continue;
      double sum = 0, cells = 0;
      float largest = kNodata;
      for (int32_t j = -reach; j <= reach; ++j)
        for (int32_t i = -reach; i <= reach; ++i) {
          const float value = dem_.ExtractR4ValueColRow(col + i, row + j);
          if (i * i + j * j > reach * reach || value == kNodata) continue;
          sum += static_cast<double>(value);
          ++cells;
          largest = std::max(largest, value);
        }
      EXPECT_FLOAT_EQ(means.ExtractR4ValueColRow(col, row), static_cast<float>(sum / cells));
      EXPECT_EQ(maxima.ExtractR4ValueColRow(col, row), largest);
    }
}

}  // namespace
}  // namespace terrain
