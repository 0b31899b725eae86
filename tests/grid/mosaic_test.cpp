// Parts of grids and their mosaics.

#include "grid/mosaic.h"

#include <gtest/gtest.h>

#include "grid/float_raster.h"
#include "support/grids.h"

namespace terrain {
namespace {

class Mosaics : public test::InBothStorages {
 protected:
  std::string write(R4Grid_type grid, const std::string& name) {
    EXPECT_EQ(grid.WritefltR4(scratch_.path(name)), 0);
    return scratch_.path(name);
  }
  test::GridPlan plan() const { return {.storage = GetParam()}; }
};
INSTANTIATE_TEST_SUITE_P(Storages, Mosaics, test::everyStorage(), test::storageName);

TEST_P(Mosaics, SubsetsPutTogetherAreTheGrid) {
  auto dem = test::noiseDem(23, 17, {.holes = 0.1}, plan());
  const auto expected = test::cellsOf(dem);
  std::vector<std::string> files;
  for (const Window& w :
       {Window{1, 12, 1, 9}, Window{10, 23, 1, 9}, Window{1, 12, 8, 17}, Window{10, 23, 8, 17}})
    files.push_back(write(dem.SubsetR4({.col1 = w.col1, .col2 = w.col2, .row1 = w.row1, .row2 = w.row2}),
                          "part" + std::to_string(files.size())));
  for (const MosaicMode mode : {MosaicMode::smallest, MosaicMode::largest, MosaicMode::mean}) {
    auto mosaic = MosaicR4(files, {.mode = mode, .onDisk = GetParam() != test::Storage::memory});
    EXPECT_EQ(mosaic.status, 0);
    EXPECT_TRUE(SameGridGeometry(mosaic, dem));
    EXPECT_EQ(test::cellsOf(mosaic), expected);
  }
  EXPECT_EQ(test::show(ResampleR4(dem, dem)), test::show(dem));
}

TEST_P(Mosaics, SubsetsByAHeaderMayGoBeyondTheGrid) {
  auto grid = test::gridOf<I4Grid_type>("1 2 3\n 4 5 6\n 7 8 9", plan());
  Grid_Header part;
  part.InitializeHeader(4, 3, grid.xmin - 20, grid.ymin + 10, {.cellsize = 10});
  const auto west = grid.SubsetI4({.header = &part});
  EXPECT_EQ(test::show(west), ". . . .\n. . 1 2\n. . 4 5\n");
  EXPECT_EQ(west.xmin, grid.xmin - 20);
  EXPECT_EQ(test::show(grid.SubsetI4({.col1 = 2, .col2 = 3, .row1 = 3, .row2 = 3})), "8 9\n");
  part.InitializeHeader(2, 2, grid.xmin - 20, grid.ymin, {.cellsize = 10});
  for (const SubsetArgs& args : {SubsetArgs{.header = &part}, SubsetArgs{.col1 = 1, .col2 = 2, .row1 = 1},
                                 SubsetArgs{.col1 = 3, .col2 = 2, .row1 = 1, .row2 = 2},
                                 SubsetArgs{.col1 = 1, .col2 = 2, .row1 = 4, .row2 = 2000000000}}) {
    EXPECT_EQ(grid.SubsetI4(args).status, -1);
    EXPECT_EQ(grid.status, -1);
  }
}

TEST_P(Mosaics, SamplesShareWhatIsLeftOver) {
  auto grid = test::emptyGrid<R4Grid_type>(8, 7, plan());
  test::fillWith(grid, [](int32_t col, int32_t row) { return 10 * row + col; });
  const auto sample = grid.SubsampleR4(3);  // 2 columns and 1 row are left over
  EXPECT_EQ(test::show(sample), "12 15\n42 45\n");
  EXPECT_EQ(sample.xmin, grid.xmin + 10);
  EXPECT_EQ(sample.ymax, grid.ymax);
  EXPECT_EQ(sample.ExtractR4ValueXY(sample.xmin, sample.ymin), 42.0F);
  EXPECT_EQ(test::show(grid.SubsampleR4(1)), test::show(grid));
  for (const int32_t factor : {0, -2, 8}) EXPECT_EQ(grid.SubsampleR4(factor).status, -1);
}

TEST_P(Mosaics, ModesDecideWhereSeveralFilesHoldData) {
  const std::vector<std::string> files{
      write(test::gridOf<R4Grid_type>("1 2 .\n . 4 6",
                                      {.xmin = 0.1, .ymin = 0, .cellsize = 0.1, .nodata = -32768}),
            "a"),
      write(test::gridOf<R4Grid_type>("3 -2\n . 8", {.xmin = 0.2, .ymin = 0, .cellsize = 0.1}), "b"),
      write(test::gridOf<R4Grid_type>("5", {.xmin = 0.2, .ymin = 0.1, .cellsize = 0.1}), "c")};
  const auto merged = [&](MosaicMode mode) { return test::show(MosaicR4(files, {.mode = mode})); };
  EXPECT_EQ(merged(MosaicMode::smallest), "1 2 -2\n. 4 6\n");
  EXPECT_EQ(merged(MosaicMode::largest), "1 5 -2\n. 4 8\n");
  EXPECT_EQ(merged(MosaicMode::mean), "1 3.33333 -2\n. 4 7\n");
  // Onto a lattice of its own: cells go by their centre.
  Grid_Header coarse;
  coarse.InitializeHeader(2, 1, 0.1, 0, {.cellsize = 0.2});
  EXPECT_EQ(test::show(MosaicR4(files, {.like = &coarse, .mode = MosaicMode::largest})), "5 8\n");
  const std::vector<std::string> unlike{files[0],
                                        write(test::gridOf<R4Grid_type>("5", {.cellsize = 3}), "d")};
  EXPECT_EQ(MosaicR4(unlike).status, -1);
  EXPECT_EQ(MosaicR4({}).status, -1);
}

}  // namespace
}  // namespace terrain
