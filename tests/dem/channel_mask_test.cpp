// Swales along channel masks, hand-worked.

#include "dem/channel_mask.h"

#include <cmath>

#include "dem/flow_direction.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

constexpr int32_t kCols = 21;
constexpr int32_t kRows = 11;
constexpr float kGradient = 0.05F;

/// Ground that falls to the east, in cells of 10 m, with a mask along row 6 as lines and as a raster.
class ChannelMaskTest : public InBothStorages {
 protected:
  void SetUp() override {
    R4Grid_type ground = emptyGrid<R4Grid_type>(kCols, kRows, plan);
    fillWith(ground, [](int32_t col, int32_t row) {
      return row == 1 ? kNodata : 100.0F - 0.5F * static_cast<float>(col);
    });
    takeElevations(dem, std::move(ground));
    dem.grad = emptyGrid<R4Grid_type>(kCols, kRows, plan);
    fillWith(dem.grad, [](int32_t col, int32_t) { return col == 5 ? 0.5F : kGradient; });
    R4Grid_type raster = emptyGrid<R4Grid_type>(kCols, kRows, {});
    fillWith(raster, [](int32_t, int32_t row) { return row == 6 ? 1.0F : kNodata; });
    ASSERT_EQ(raster.WritefltR4(scratch_.path("mask")), 0);
    writeLines(scratch_.path("lines"), {{{900, 2055}, {1300, 2055}}});
    ASSERT_EQ(shiftElevations(dem, 4.0, 0.1), 0);
    before = cellsOf(dem.elev);
  }
  [[nodiscard]] int dig(const ChannelMask& mask, std::optional<PreferentialFlow> preferential = {}) {
    return digChannels(dem, {.masks = {mask}, .preferential = std::move(preferential)}, chan);
  }
  [[nodiscard]] float depth(int32_t col, int32_t row) const { return chan.value(col, row, ""); }

  GridPlan plan{.nodata = kNodata, .storage = GetParam()};
  DEM_type dem;
  R4Grid_type chan;
  std::vector<float> before;
};

TEST_P(ChannelMaskTest, SwalesFallToTheMaskAndAreFilledInAgain) {
  ASSERT_EQ(dig({.file = scratch_.path("lines"), .dig = 4.0F, .radius = 30.0F}), 0) << console_.text();
  const double c = 10.0 * static_cast<double>(kGradient) + 4.0;
  EXPECT_EQ(depth(10, 6), static_cast<float>(c + 1.0)) << "on the mask a quarter more";
  EXPECT_EQ(depth(10, 7), static_cast<float>((1.0 - 1.0 / 3.0) * c));
  EXPECT_EQ(depth(10, 4), static_cast<float>((1.0 - 2.0 / 3.0) * c));
  EXPECT_EQ(depth(10, 3), 0.0F) << "at the radius";
  EXPECT_EQ(depth(5, 6), 0.0F) << "too steep";
  for (std::size_t i = 0; i < before.size(); ++i)
    EXPECT_EQ(cellsOf(dem.elev)[i], before[i] == 0.0F ? 0.0F : before[i] - cellsOf(chan)[i]);
  ASSERT_EQ(undigChannels(dem, chan), 0);
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_NEAR(cellsOf(dem.elev)[i], before[i], 1e-5);
}

TEST_P(ChannelMaskTest, UpperEndsOfLinesAreHeads) {
  // The second line ends where the third begins; all but the second's upper ends are free.
  writeLines(scratch_.path("net"),
             {{{1150, 2055}, {1050, 2055}}, {{1080, 2035}, {1150, 2035}}, {{1080, 2035}, {1040, 2015}}});
  ChannelMask mask{
      .file = scratch_.path("net"), .initiation = MaskInitiation::preclude, .top = TopPoints{.radius = 10}};
  I1Grid_type heads;
  heads.onDisk = dem.elev.onDisk;
  const auto marksOf = [&] {
    heads.releaseStorage();
    EXPECT_EQ(digChannels(dem, {.masks = {mask}}, chan, &heads), 0) << console_.text();
    std::vector<ColRow> forced;
    for (int32_t row = 1; row <= kRows; ++row)
      for (int32_t col = 1; col <= kCols; ++col)
        if (heads.value(col, row, "") == 3) forced.push_back({.col = col, .row = row});
    return forced;
  };
  EXPECT_EQ(marksOf(), (std::vector<ColRow>{{.col = 6, .row = 6}, {.col = 5, .row = 10}}));
  EXPECT_EQ(heads.value(7, 6, ""), -1) << "the mask";
  EXPECT_EQ(heads.value(6, 5, ""), 1) << "within the radius";
  EXPECT_EQ(heads.value(6, 4, ""), 0);
  mask.directional = true;
  mask.top->directional = true;
  EXPECT_EQ(marksOf(), (std::vector<ColRow>{{.col = 16, .row = 6}})) << "the beginnings";
  mask.upstream = true;
  EXPECT_EQ(marksOf(),
            (std::vector<ColRow>{{.col = 6, .row = 6}, {.col = 16, .row = 8}, {.col = 5, .row = 10}}));
}

TEST_P(ChannelMaskTest, ARasterIsTheSameMaskAndANarrowSwaleIsTheMaskAlone) {
  ASSERT_EQ(dig({.file = scratch_.path("lines.shp"), .maxSlope = 9.0F}), 0) << console_.text();
  const std::vector<float> byLines = cellsOf(chan);
  ASSERT_EQ(dig({.file = scratch_.path("mask.flt"), .maxSlope = 9.0F}), 0) << console_.text();
  EXPECT_EQ(cellsOf(chan), byLines);
  ASSERT_EQ(dig({.file = scratch_.path("mask"), .radius = 1.0F}), 0) << console_.text();
  EXPECT_EQ(depth(10, 6), static_cast<float>(0.5 + 2.5));
  EXPECT_EQ(depth(10, 7), 0.0F);
}

TEST_P(ChannelMaskTest, SelectiveMasksAreDugOnPreferentialPaths) {
  R4Grid_type paths = emptyGrid<R4Grid_type>(kCols, kRows, {});
  fillWith(paths, [](int32_t col, int32_t row) { return col == 10 && row == 6 ? 1.0F : kNodata; });
  ASSERT_EQ(paths.WritefltR4(scratch_.path("paths")), 0);
  const ChannelMask mask{.file = scratch_.path("mask"), .selective = true};
  EXPECT_EQ(dig(mask), -1);
  EXPECT_TRUE(console_.has("Selective Enforcement List not provided"));
  ASSERT_EQ(dig(mask, PreferentialFlow{.raster = scratch_.path("paths")}), 0) << console_.text();
  EXPECT_EQ(std::ranges::count_if(cellsOf(chan), [](float d) { return d > 0; }), 1);
  ASSERT_EQ(dig(mask, PreferentialFlow{.raster = scratch_.path("paths"), .buffer = 10.0F}), 0);
  EXPECT_EQ(std::ranges::count_if(cellsOf(chan), [](float d) { return d > 0; }), 5)
      << "the cell and its sides";
  R4Grid_type other = emptyGrid<R4Grid_type>(kCols, kRows + 1, {});
  ASSERT_EQ(other.WritefltR4(scratch_.path("other")), 0);
  EXPECT_EQ(dig(mask, PreferentialFlow{.raster = scratch_.path("other")}), -1);
  EXPECT_TRUE(console_.has("  Preferential flow raster and DEM have different extent"));
}

TEST_P(ChannelMaskTest, MasksThatCannotBeUsedAreReported) {
  EXPECT_EQ(dig({.file = scratch_.path("none")}), -1);
  EXPECT_TRUE(console_.has("ReadPolylineShapefile failed for " + scratch_.path("none"))) << console_.text();
  R4Grid_type off = emptyGrid<R4Grid_type>(3, 3, {.xmin = 5000});
  fillWith(off, [](int32_t, int32_t) { return 1.0F; });
  ASSERT_EQ(off.WritefltR4(scratch_.path("off")), 0);
  EXPECT_EQ(dig({.file = scratch_.path("off")}), -1);
  EXPECT_TRUE(console_.has("Channel mask does not overlap DEM")) << console_.text();
  R4Grid_type coarse = emptyGrid<R4Grid_type>(3, 3, {.cellsize = 50});
  ASSERT_EQ(coarse.WritefltR4(scratch_.path("coarse")), 0);
  EXPECT_EQ(dig({.file = scratch_.path("coarse")}), -1);
  EXPECT_TRUE(console_.has("The cell sizes of channel mask and DEM differ"));
  dem.grad.releaseStorage();
  EXPECT_EQ(dig({.file = scratch_.path("mask")}), -1);
  EXPECT_TRUE(console_.has("Error opening gradient flt raster"));
}

INSTANTIATE_TEST_SUITE_P(Storages, ChannelMaskTest, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

}  // namespace
}  // namespace terrain::test
