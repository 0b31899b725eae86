#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "dem/contour_length.h"
#include "dem/dem.h"
#include "grid/surface_raster.h"
#include "support/dem_fixtures.h"
#include "support/grids.h"
#include "support/reference_contour.h"

namespace terrain::test {
namespace {

/// A DEM object that owns these elevations.
DEM_type demAround(R4Grid_type elev) {
  DEM_type dem;
  dem.geometry() = elev.geometry();
  dem.nodata = elev.nodata;
  dem.elev = std::move(elev);
  return dem;
}

/// Aspects of every kind: smooth, random, on the edges of the facings, missing, NaN, below zero.
R4Grid_type mixedAspects(const R4Grid_type& like, uint32_t seed, Storage storage) {
  R4Grid_type aspect = emptyGrid<R4Grid_type>(like.cols(), like.rows(), {.storage = storage});
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> turn(0.0F, 6.2831855F);
  constexpr std::array edges{0.0F,      0.7853982F, 1.5707964F, 2.3561945F, 3.1415927F,
                             3.926991F, 4.712389F,  5.4977875F, 6.2831855F, -1.0F};
  fillWith(aspect, [&](int32_t col, int32_t row) {
    const auto kind = random() % 20;
    if (kind == 0) return aspect.nodata;
    if (kind == 1) return std::numeric_limits<float>::quiet_NaN();
    if (kind < 8) return edges[random() % edges.size()];
    if (kind < 14) return turn(random);
    return static_cast<float>(std::fmod(0.05 * col + 0.03 * row, 6.283));
  });
  return aspect;
}

class ContourLength : public InBothStorages {};

TEST_P(ContourLength, HasTheBitsOfTheReference) {
  for (const auto& [cols, rows] : {std::pair{61, 47}, {1, 30}, {30, 1}, {1, 1}, {2, 3}}) {
    for (const float nodata : {kNodata, 0.0F}) {
      SCOPED_TRACE(std::to_string(cols) + " x " + std::to_string(rows) + " nodata " + std::to_string(nodata));
      DEM_type dem = demAround(noiseDem(cols, rows, {.seed = 7, .holes = 0.05, .lakes = 2},
                                        {.nodata = nodata, .storage = GetParam()}));
      for (int32_t row = 10; row <= 18; ++row)  // a lake, and cells that are no number
        for (int32_t col = 10; col <= 20; ++col)
          if (dem.elev.contains(col, row))
            dem.elev.SetR4CellColRow(col, row, row == 10 ? std::numeric_limits<float>::quiet_NaN() : 250.0F);
      R4Grid_type aspect = mixedAspects(dem.elev, 11, GetParam());
      R4Grid_type reference = emptyGrid<R4Grid_type>(cols, rows);
      referenceContourLength(dem.elev, aspect, reference);
      dem.bcon.onDisk = GetParam() == Storage::disk;
      dem.nodata = kNodata;
      ASSERT_EQ(dem.calcBcon(5.0F, &aspect), 0);
      EXPECT_EQ(dem.bcon.status, 0);
      EXPECT_EQ(dem.bcon.onDisk, GetParam() == Storage::disk);
      EXPECT_TRUE(std::ranges::equal(cellsOf(reference), cellsOf(dem.bcon), sameBits<float>));
    }
  }
}

TEST_P(ContourLength, ComputesAspectsWhereNoneAreGiven) {
  DEM_type dem = demAround(noiseDem(25, 20, {.seed = 3, .holes = 0.03}, {.storage = GetParam()}));
  R4Grid_type aspect = emptyGrid<R4Grid_type>(25, 20);
  ASSERT_EQ(surfaceRasters(dem.elev, 7.5F, {{&aspect, SurfaceMetric::aspect}}), 0);
  ASSERT_EQ(dem.calcBcon(7.5F, &aspect), 0);
  const auto expected = cellsOf(dem.bcon);
  DestroyGrid(dem.bcon);
  ASSERT_EQ(dem.calcBcon(7.5F), 0);
  EXPECT_EQ(cellsOf(dem.bcon), expected);
}

INSTANTIATE_TEST_SUITE_P(Storages, ContourLength, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

TEST(ContourLengthOfACell, IsOneOnAPlane) {
  const ConsoleCapture quiet;
  DEM_type plane = demAround(gridOf<R4Grid_type>("1 2 3\n1 2 3\n1 2 3"));
  R4Grid_type aspect = gridOf<R4Grid_type>("4.7 4.7 4.7\n4.7 . 4.7\n4.7 4.7 4.7");
  ASSERT_EQ(plane.calcBcon(1.0F, &aspect), 0);
  EXPECT_EQ(showCells(plane.bcon), "1 1 1\n1 . 1\n1 1 1");
}

// Values computed by hand.
TEST(ContourLengthOfACell, FollowsTheTableOfTerms) {
  constexpr float right = 1.5707964F;  // in for the right side, not ahead
  std::array<float, 8> turned{};
  turned[0] = right;  // T1: two terms 1 * 1 / (1 + 0); T3 with T2, T4: 1 + 1 each
  EXPECT_FLOAT_EQ(contourLength(turned), 0.25F * (1 + 1 + 2 + 2));
  turned[2] = 3.1415927F;  // T3 faces back: both its terms are 1 / (1 + 1)
  EXPECT_FLOAT_EQ(contourLength(turned), 0.25F * (1 + 1 + 0.5F + 0.5F));
}

TEST(ContourLengthOfACell, NeedsElevationsAndAspectsOfOneSize) {
  ConsoleCapture console;
  DEM_type dem;
  EXPECT_EQ(dem.calcBcon(1.0F), -1);
  EXPECT_EQ(dem.bcon.status, -1);
  dem = demAround(gridOf<R4Grid_type>("1 2\n3 4"));
  R4Grid_type other = gridOf<R4Grid_type>("1 2 3\n4 5 6");
  EXPECT_EQ(dem.calcBcon(1.0F, &other), -1);
  EXPECT_NE(console.text().find("Input grid dimensions do not match"), std::string::npos);
}

}  // namespace
}  // namespace terrain::test
