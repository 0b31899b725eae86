#include "grid/filters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>

#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;
using ::testing::HasSubstr;

/// Runs in a directory of its own, without a setup; the console answers with `answers`.
class Filters : public test::InBothStorages {
 protected:
  Filters() { std::filesystem::current_path(scratch_.path()); }
  ~Filters() override {
    ReleaseWDMean();
    platform::console().in = in_;
    std::filesystem::current_path(directory_);
  }
  void answer(const std::string& answers) {
    answers_.clear();
    answers_.str(answers);
    platform::console().in = &answers_;
  }

 private:
  std::filesystem::path directory_ = std::filesystem::current_path();
  std::istream* in_ = platform::console().in;
  std::istringstream answers_;
};
INSTANTIATE_TEST_SUITE_P(Storages, Filters, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST(CellCoverage, IsTheAreaThatTheCellAndTheCircleShare) {
  for (const double r : {0.1, 0.3, 0.5, 0.6, 0.7072, 1.0, 1.5, 1.55, 2.0, 3.7, 12.25, 30.0}) {
    const auto reach = static_cast<int32_t>(r) + 2;
    double sum = 0;
    for (int32_t i = -reach; i <= reach; ++i)
      for (int32_t j = -reach; j <= reach; ++j) {
        const double share = CellCoverage(i, j, r);
        EXPECT_EQ(share, CellCoverage(-i, j, r));
        EXPECT_NEAR(share, CellCoverage(j, i, r), 1e-13);
        sum += share;
        if (r > 4) continue;
        double area = 0;  // chords of the circle within the cell, along 2000 lines of it
        for (int32_t k = 0; k < 2000; ++k) {
          const double y = j - 0.5 + (k + 0.5) / 2000;
          const double chord = std::sqrt(std::max(r * r - y * y, 0.0));
          area += std::max(std::min(chord, i + 0.5) - std::max(-chord, i - 0.5), 0.0) / 2000;
        }
        EXPECT_NEAR(share, area, 2e-5) << i << ' ' << j << ' ' << r;
      }
    EXPECT_NEAR(sum, std::numbers::pi * r * r, 1e-11) << r;
  }
  EXPECT_EQ(CellCoverage(3, 0, 9), 1.0);
  EXPECT_EQ(CellCoverage(3, 0, 2), 0.0);
  EXPECT_EQ(CellCoverage(0, 0, 0), 0.0);
}

TEST_P(Filters, APlaneStaysAPlaneAtTheEdgeAndBesideHolesToo) {
  auto dem = test::noiseDem(30, 24, {.holes = 0.1, .lakes = 2}, {.storage = GetParam()});
  const auto plane = [](int32_t col, int32_t row) { return static_cast<float>(500 + 3 * col - 7 * row); };
  test::fillWith(dem, [&](int32_t col, int32_t row) {
    return dem.ExtractR4ValueColRow(col, row) == dem.nodata ? dem.nodata : plane(col, row);
  });
  for (const int32_t alpha : {0, 1, 3}) {
    int32_t halfWidth = 0;
    ASSERT_EQ(Init_WD_mean(10, {.radius = 34, .halfWidth = &halfWidth, .alphaFit = alpha, .alphaMean = 2}),
              0);
    EXPECT_EQ(halfWidth, 3);
    R4Grid_type smooth;
    ASSERT_EQ(WDMeanGrid(dem, smooth), 0);
    for (int32_t row = 1; row <= dem.rows(); ++row)
      for (int32_t col = 1; col <= dem.cols(); ++col)
        EXPECT_NEAR(smooth.ExtractR4ValueColRow(col, row), dem.ExtractR4ValueColRow(col, row), 1e-3);
  }
  EXPECT_THAT(console_.text(), HasSubstr(" Radius: 34.0000000000000\n Alpha fit: 0\n Alpha mean: 2\n"));
  EXPECT_THAT(console_.text(), HasSubstr("   At row 2 out of 24\n"));
}

TEST_P(Filters, TheGridIsFilteredAsItsCellsAreInBothStorages) {
  auto inMemory = test::noiseDem(21, 17, {.holes = 0.2, .roughness = 40});
  auto dem = test::noiseDem(21, 17, {.holes = 0.2, .roughness = 40}, {.storage = GetParam()});
  for (R4Grid_type* grid : {&inMemory, &dem}) {
    grid->SetR4CellColRow(5, 5, -3);
    grid->SetR4CellColRow(9, 9, std::numeric_limits<float>::quiet_NaN());
  }
  ASSERT_EQ(Init_WD_mean(10, {.radius = 25, .alphaFit = 2, .alphaMean = 1}), 0);
  R4Grid_type smooth, smoothInMemory;
  ASSERT_EQ(WDMeanGrid(dem, smooth), 0);
  ASSERT_EQ(WDMeanGrid(inMemory, smoothInMemory), 0);
  for (int32_t row = 1; row <= dem.rows(); ++row)
    for (int32_t col = 1; col <= dem.cols(); ++col) {
      float value = 0;
      const auto [x, y] = dem.ColRowToXY(col, row);
      ASSERT_EQ(WDMeanCell(dem, x + 9, y + 9, value), 0);
      const float held = dem.ExtractR4ValueColRow(col, row);
      EXPECT_EQ(value > kNodata, held > 0);
      const float expected = held > 0 ? value : held;
      EXPECT_EQ(smooth.ExtractR4ValueColRow(col, row), expected);
      EXPECT_EQ(smoothInMemory.ExtractR4ValueColRow(col, row), expected);
    }
  float outside = 0;
  EXPECT_EQ(WDMeanCell(dem, 0, 0, outside), 0);
  EXPECT_EQ(outside, kNodata);
}

TEST_P(Filters, CellsOnALineHaveTheirWeightedMean) {
  auto line = test::gridOf<R4Grid_type>("4 . .\n . 7 .\n . . 1", {.storage = GetParam()});
  ASSERT_EQ(Init_WD_mean(10, {.radius = 20, .alphaFit = 1, .alphaMean = 2}), 0);
  const std::vector<double>& weights = wdMeanSetup()->weightMean;
  const double corner = weights[1 * 5 + 1];
  R4Grid_type smooth;
  ASSERT_EQ(WDMeanGrid(line, smooth), 0);
  EXPECT_FLOAT_EQ(smooth.ExtractR4ValueColRow(2, 2), static_cast<float>((7 + 5 * corner) / (1 + 2 * corner)));
  // Too small a circle for neighbours: each cell stays.
  ASSERT_EQ(Init_WD_mean(10, {.radius = 3, .alphaFit = 1, .alphaMean = 2}), 0);
  EXPECT_EQ(wdMeanSetup()->halfWidth, 1);
  ASSERT_EQ(WDMeanGrid(line, smooth), 0);
  EXPECT_EQ(test::show(smooth), test::show(line));
}

TEST_P(Filters, ParametersAreAskedForOnceAndASetupServesOneCellSize) {
  const auto dem = test::gridOf<R4Grid_type>("1 2\n 3 4", {.storage = GetParam()});
  float value = 0;
  answer("25.5\n\n2\n");
  EXPECT_EQ(WDMeanCell(dem, 1000, 2000, value), -1);
  EXPECT_THAT(console_.text(), HasSubstr("The console ended before the answer to Alpha mean:"));
  answer("25.5\n 2\n1\n");
  EXPECT_EQ(WDMeanCell(dem, 1000, 2000, value), 0);
  EXPECT_THAT(console_.text(), HasSubstr("Radius: Alpha fit: Alpha mean: "));
  std::stringstream kept;
  kept << std::ifstream("wd_mean.txt").rdbuf();
  EXPECT_THAT(kept.str(),
              ::testing::MatchesRegex("25.5[0]*   , radius \\(m\\)\n2   , alpha fit\n1   , alpha mean\n"));

  ReleaseWDMean();
  answer("");
  const auto wide = test::gridOf<R4Grid_type>("1 2\n 3 4", {.cellsize = 5});
  EXPECT_EQ(WDMeanCell(dem, 1000, 2000, value), 0);  // from the file
  EXPECT_EQ(wdMeanSetup()->halfWidth, 3);
  EXPECT_EQ(WDMeanCell(wide, 1000, 2000, value), 0);
  EXPECT_EQ(wdMeanSetup()->halfWidth, 5);

  std::ofstream("wd_mean.txt") << "10\nmany\n3\n";
  EXPECT_EQ(Init_WD_mean(10), -1);
  EXPECT_THAT(console_.text(), HasSubstr(" FILE: wd_mean.txt\n LINE: 2\n"));
  for (const double radius : {0.0, -1.0, 1e300})
    EXPECT_EQ(Init_WD_mean(1, {.radius = radius, .alphaFit = 1}), -1);
  EXPECT_EQ(wdMeanSetup()->halfWidth, 5);  // a failure leaves the older setup
}

}  // namespace
}  // namespace terrain
