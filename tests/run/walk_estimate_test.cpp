// Estimates of the walks against the visits of the walks themselves.

#include "run/walk_estimate.h"

#include <gtest/gtest.h>

#include "dem/dem.h"
#include "grid/surface_raster.h"
#include "support/real_data.h"
#include "support/reference_walks.h"
#include "support/walk_grids.h"

namespace terrain {
namespace {

class Estimates : public ::testing::Test {
 protected:
  /// Estimated visits over counted ones.
  static double ratio(WalkValues values, R4Grid_type& grad, R4Grid_type& aspect, WalkEstimate& estimate) {
    values.cellDistance = stepLengths(aspect.cellsize);
    R4Grid_type none;
    EXPECT_EQ(estimateWalks(values, {.grad = grad, .aspect = aspect, .bcon = none, .accum = none}, estimate),
              0);
    R4Grid_type accum;
    EXPECT_EQ(CreateGrid(accum, {.like = &aspect, .fillValue = 0.0F}), 0);
    test::ReferenceWalks reference(values, grad, aspect, accum);
    reference.walkAll();
    return estimate.visits / static_cast<double>(reference.visits);
  }
  test::ConsoleCapture console_;
};

TEST_F(Estimates, CountTheVisitsOfAFewWalksAlmostExactly) {
  for (uint32_t seed = 1; seed <= 4; ++seed) {
    test::Mixture m(20, 20, seed, test::Storage::memory);  // every cell is a sample
    WalkEstimate estimate;
    for (const float limit : {9.0F, 50.0F, 77.7F})
      EXPECT_NEAR(ratio({.byDistance = true, .maxDistance = limit}, m.grad, m.aspect, estimate), 1.0, 1e-6);
    EXPECT_NEAR(ratio({.byTime = true, .duration = 12.0F, .conductivity = 10.0F}, m.grad, m.aspect, estimate),
                1.0, 0.05);
    EXPECT_EQ(ratio({.byTime = true, .duration = 0.0F, .conductivity = 10.0F}, m.grad, m.aspect, estimate),
              1.0);
    EXPECT_EQ(estimate.longestSteps, 0);
  }
}

TEST_F(Estimates, AreWithinAQuarterOnRealSurfaces) {
  SKIP_WITHOUT_REAL_DATA();
  for (const char* name : {"small", "small_gully", "medium_ridges"}) {
    SCOPED_TRACE(name);
    DEM_type dem;
    dem.file = test::dataFolder() + "/raster/" + name;
    ASSERT_EQ(dem.ResolveDEM(), 0);
    ASSERT_EQ(dem.GetElev(), 0);
    for (R4Grid_type* g : {&dem.grad, &dem.aspect}) ASSERT_EQ(CreateGrid(*g, {.like = &dem.elev}), 0);
    const auto cell = static_cast<float>(dem.cellsize);
    ASSERT_EQ(surfaceRasters(dem.elev, 2 * cell,
                             {{&dem.grad, SurfaceMetric::gradient}, {&dem.aspect, SurfaceMetric::aspect}}),
              0);
    WalkEstimate estimate;
    EXPECT_NEAR(
        ratio({.byTime = true, .duration = 20.0F, .conductivity = cell}, dem.grad, dem.aspect, estimate), 1.0,
        0.25);
    EXPECT_NEAR(ratio({.byDistance = true, .maxDistance = 6.3F * cell}, dem.grad, dem.aspect, estimate), 1.0,
                0.25);
    EXPECT_EQ(estimate.longestSteps, 6);
  }
}

TEST_F(Estimates, NameMergedWalksWhereExactOnesTakeLong) {
  const WalkEstimate hours{
      .starts = 5'000'000, .samples = 1000, .visits = 1e14, .seconds = 1e5, .mergedSeconds = 9};
  const auto lines = describe(hours, {.byDistance = true});
  EXPECT_NE(lines.back().find("WALKS: MERGED would take about 9 seconds"), std::string::npos) << lines.back();
  EXPECT_EQ(describe({.starts = 10, .seconds = 1}, {.byDistance = true}).size(), 3U);
  EXPECT_EQ(describe(hours, {.merged = true}).size(), 1U);
}

}  // namespace
}  // namespace terrain
