// Directions that are kept, smoothed directions, and what turning a DEM may change.

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <random>

#include "dem/flow_direction.h"
#include "grid/directions.h"
#include "grid/surface_raster.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

constexpr int32_t kSize = 48;

class FlowModes : public InBothStorages {
 protected:
  R4Grid_type hills(uint32_t seed) {
    return noiseDem(kSize, kSize, {.seed = seed, .lakes = 2, .roughness = 30}, {.storage = GetParam()});
  }
  /// Following the codes of the angles from every cell of data leads out of it.
  void expectDrained(DEM_type& dem) {
    for (int32_t row = 1; row <= kSize; ++row)
      for (int32_t col = 1; col <= kSize; ++col) {
        ColRow at{.col = col, .row = row};
        int steps = 0;
        while (dem.contains(at.col, at.row) && dem.elev.value(at.col, at.row, "") != 0.0F &&
               ++steps < kSize * kSize) {
          const int32_t code = dem.D8FromAspect(at.col, at.row);
          ASSERT_GT(code, 0) << at.col << ' ' << at.row;
          at = stepFrom(at, code);
        }
        ASSERT_LT(steps, kSize * kSize) << "a circle below " << col << ' ' << row;
      }
  }
};

TEST_P(FlowModes, WithoutAnyAngleToKeepTheResultIsTheUsualOne) {
  for (const uint32_t seed : {1U, 2U, 3U}) {
    DEM_type usual;
    toWorkingForm(usual, hills(seed));
    DEM_type kept;
    toWorkingForm(kept, hills(seed));
    kept.aspect = emptyGrid<R4Grid_type>(kSize, kSize, {.storage = GetParam()});
    kept.flowMode.keepAngles = true;
    ASSERT_EQ(FlowDirection(usual), 0);
    ASSERT_EQ(FlowDirection(kept), 0) << console_.text();
    EXPECT_EQ(cellsOf(kept.elev), cellsOf(usual.elev));
    EXPECT_EQ(cellsOf(kept.aspect), cellsOf(usual.aspect));
  }
}

TEST_P(FlowModes, AnglesAreKeptAndOnlyGapsAreFilled) {
  DEM_type dem;
  toWorkingForm(dem, hills(7));
  ASSERT_EQ(FlowDirection(dem), 0);
  const std::vector<float> before = cellsOf(dem.aspect);
  const auto inGap = [](int32_t col, int32_t row, int32_t margin) {
    return std::abs(col - 20) <= 6 + margin && std::abs(row - 25) <= 4 + margin;
  };
  // New ground in a gap of the directions: a hollow without a way out.
  fillWith(dem.elev, [&](int32_t col, int32_t row) {
    const float z = dem.elev.value(col, row, "");
    return z != 0.0F && inGap(col, row, 0) ? 40.0F + static_cast<float>(std::hypot(col - 20, row - 25)) : z;
  });
  fillWith(dem.aspect, [&](int32_t col, int32_t row) {
    return inGap(col, row, 0) ? -1.0F : dem.aspect.value(col, row, "");
  });
  dem.flowMode.keepAngles = true;
  ASSERT_EQ(FlowDirection(dem), 0) << console_.text();
  int64_t kept = 0;
  for (int32_t row = 2; row < kSize; ++row)
    for (int32_t col = 2; col < kSize; ++col) {
      bool besideNothing = false;
      for (int32_t code = 1; code <= kDirections; ++code) {
        const ColRow n = stepFrom({.col = col, .row = row}, code);
        besideNothing = besideNothing || dem.elev.value(n.col, n.row, "") == 0.0F;
      }
      if (inGap(col, row, 1) || besideNothing) continue;
      ++kept;
      EXPECT_EQ(dem.aspect.value(col, row, ""),
                before[static_cast<std::size_t>((row - 1) * kSize + col - 1)]);
    }
  EXPECT_GT(kept, kSize * kSize / 2);
  expectDrained(dem);
}

TEST_P(FlowModes, GapsDrainWhateverTheKeptAnglesAndTheSurface) {
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    const bool isRaw = seed % 2 == 0;  // else the surface to which the angles belong
    const float step = seed % 3 == 0 ? 0.001F : seed % 3 == 1 ? 1.0F : seed % 5 == 2 ? 1000.0F : 5.0F;
    R4Grid_type ground = hills(seed);
    fillWith(ground, [&](int32_t col, int32_t row) {
      const float z = ground.value(col, row, "");
      return z == ground.nodata ? z : std::round(z / step) * step;
    });
    DEM_type dem;
    toWorkingForm(dem, std::move(ground));
    const std::vector<float> raw = cellsOf(dem.elev);
    ASSERT_EQ(FlowDirection(dem), 0);
    std::size_t next = 0;
    if (isRaw) fillWith(dem.elev, [&](int32_t, int32_t) { return raw[next++]; });
    std::mt19937 random(seed);
    for (const float nothing : {-1.0F, kNodata, std::numeric_limits<float>::quiet_NaN(), -1.0F}) {
      const auto below = [&](uint32_t n) { return static_cast<int32_t>(random() % n); };
      const ColRow middle{.col = below(kSize) + 1, .row = below(kSize) + 1};
      const ColRow half{.col = below(7), .row = below(7)};
      fillWith(dem.aspect, [&](int32_t col, int32_t row) {
        const bool inGap = std::abs(col - middle.col) <= half.col && std::abs(row - middle.row) <= half.row;
        return inGap ? nothing : dem.aspect.value(col, row, "");
      });
    }
    dem.flowMode.keepAngles = true;
    console_.clear();
    ASSERT_EQ(FlowDirection(dem), 0) << seed << console_.text();
    EXPECT_FALSE(console_.has("ERROR")) << seed << console_.text();
    const std::vector<float> after = cellsOf(dem.elev);
    for (std::size_t i = 0; i < raw.size(); ++i) ASSERT_EQ(raw[i] == 0.0F, after[i] == 0.0F) << seed;
    expectDrained(dem);
  }
}

TEST_P(FlowModes, AnglesThatDoNotReachTheEdgeAreReportedWithACell) {
  constexpr float east = 1.5707964F;
  const auto refused = [&](const std::function<float(int32_t, int32_t)>& angle, std::string_view message) {
    DEM_type dem;
    R4Grid_type ground = emptyGrid<R4Grid_type>(9, 9, {.storage = GetParam()});
    fillWith(ground, [](int32_t col, int32_t) { return 100.0F - static_cast<float>(col); });
    toWorkingForm(dem, std::move(ground));
    dem.aspect = emptyGrid<R4Grid_type>(9, 9, {.storage = GetParam()});
    fillWith(dem.aspect, angle);
    dem.flowMode.keepAngles = true;
    EXPECT_EQ(FlowDirection(dem), -1);
    EXPECT_TRUE(console_.has(message)) << console_.text();
    console_.clear();
  };
  refused([&](int32_t col, int32_t row) { return row == 5 && col == 6 ? 3 * east : east; },
          "The flow directions do not lead to the edge of the data");
  refused([&](int32_t, int32_t) { return 90.0F; }, "A flow direction is beyond a full circle");
}

TEST_P(FlowModes, SmoothedAnglesAreUsedWhereTheyLeadDown) {
  DEM_type local;
  toWorkingForm(local, hills(4));
  DEM_type dem;
  toWorkingForm(dem, hills(4));
  dem.flowMode = {.smoothingLength = 40, .d8Length = 40};
  ASSERT_EQ(FlowDirection(local), 0);
  EXPECT_FALSE(local.scaledAspect.GridExists());
  ASSERT_EQ(FlowDirection(dem), 0) << console_.text();
  EXPECT_EQ(cellsOf(dem.elev), cellsOf(local.elev));
  R4Grid_type smooth = emptyGrid<R4Grid_type>(kSize, kSize, {.storage = GetParam()});
  ASSERT_EQ(surfaceRasters(local.elev, 40.0F, {{&smooth, SurfaceMetric::aspect}}), 0);
  EXPECT_EQ(cellsOf(dem.scaledAspect), cellsOf(dem.aspect));
  // Another length for the codes alone leaves the angles as they are, and those of flats are the same.
  DEM_type coded;
  toWorkingForm(coded, hills(4));
  coded.flowMode.d8Length = 40;
  ASSERT_EQ(FlowDirection(coded), 0);
  EXPECT_EQ(cellsOf(coded.aspect), cellsOf(local.aspect));
  EXPECT_EQ(cellsOf(coded.scaledAspect), cellsOf(dem.aspect));
  int64_t taken = 0;
  int64_t refused = 0;
  for (int32_t row = 2; row < kSize; ++row)
    for (int32_t col = 2; col < kSize; ++col) {
      const float here = dem.elev.value(col, row, "");
      const float a = local.aspect.value(col, row, "");
      const float s = smooth.value(col, row, "");
      const float used = dem.aspect.value(col, row, "");
      bool isFlat = here == 0.0F;
      for (int32_t code = 1; code <= kDirections; ++code) {
        const ColRow n = stepFrom({.col = col, .row = row}, code);
        isFlat = isFlat || dem.elev.value(n.col, n.row, "") == 0.0F ||
                 std::abs(dem.elev.value(n.col, n.row, "") - here) < 1e-3F;
      }
      if (isFlat || s < 0.0F) continue;
      // The two neighbours on either side of the smoothed angle, clockwise from north.
      const double eighth = std::numbers::pi / 4;
      const auto below = static_cast<int>(static_cast<double>(s) / eighth);
      constexpr int32_t clockwise[] = {3, 2, 1, 8, 7, 6, 5, 4, 3, 2};
      const auto falls = [&](int index) {
        const ColRow n = stepFrom({.col = col, .row = row}, clockwise[index]);
        return dem.elev.value(n.col, n.row, "") < here;
      };
      const double apart =
          std::abs(std::remainder(static_cast<double>(s) - static_cast<double>(a), 8 * eighth));
      if (std::abs(apart - 2 * eighth) < 1e-4) continue;
      const bool use = apart < 2 * eighth && falls(below) && falls(below + 1);
      EXPECT_EQ(used, use ? s : a) << col << ' ' << row;
      ++(use ? taken : refused);
    }
  EXPECT_GT(taken, 300);
  EXPECT_GT(refused, 100);
}

/// The DEM turned or mirrored: cell (col, row) of the new one is `from(col, row)` of the old, and an angle a
/// becomes offset + sign * a.
struct Turn {
  std::function<ColRow(int32_t, int32_t)> from;
  double offset, sign;
};

TEST_P(FlowModes, TurningADemWithoutTiesTurnsItsSurfaceAndItsAngles) {
  // All heights differ, so that no two straight slopes of a cell are equal and no rim cells have one height
  // but for those along passages.
  std::vector<int32_t> order(static_cast<std::size_t>(kSize) * kSize);
  std::iota(order.begin(), order.end(), 1);
  std::mt19937 random(11);
  for (std::size_t i = order.size() - 1; i > 0; --i) std::swap(order[i], order[random() % (i + 1)]);
  const auto at = [](ColRow cell) { return static_cast<std::size_t>((cell.row - 1) * kSize + cell.col - 1); };
  const auto ground = [&](ColRow cell) {
    const bool isHole = std::hypot(cell.col - 30, cell.row - 12) < 4;
    return isHole ? kNodata : 0.013F * static_cast<float>(order[at(cell)]) + static_cast<float>(cell.row);
  };
  const auto conditioned = [&](DEM_type& dem, const std::function<ColRow(int32_t, int32_t)>& from) {
    R4Grid_type grid = emptyGrid<R4Grid_type>(kSize, kSize, {.storage = GetParam()});
    fillWith(grid, [&](int32_t col, int32_t row) { return ground(from(col, row)); });
    toWorkingForm(dem, std::move(grid));
    ASSERT_EQ(FlowDirection(dem), 0);
  };
  DEM_type dem;
  conditioned(dem, [](int32_t col, int32_t row) { return ColRow{.col = col, .row = row}; });
  const std::vector<float> surface = cellsOf(dem.elev);
  const std::vector<float> angles = cellsOf(dem.aspect);
  const double pi = std::numbers::pi;
  const Turn turns[] = {
      {[](int32_t col, int32_t row) { return ColRow{.col = kSize + 1 - col, .row = row}; }, 0, -1},
      {[](int32_t col, int32_t row) { return ColRow{.col = col, .row = kSize + 1 - row}; }, pi, -1},
      {[](int32_t col, int32_t row) { return ColRow{.col = row, .row = kSize + 1 - col}; }, pi / 2, 1},
  };
  for (const Turn& turn : turns) {
    DEM_type turned;
    conditioned(turned, turn.from);
    int64_t moved = 0;
    int64_t compared = 0;
    for (int32_t row = 2; row < kSize; ++row)
      for (int32_t col = 2; col < kSize; ++col) {
        const float here = turned.elev.value(col, row, "");
        bool isAlike = here == surface[at(turn.from(col, row))];
        if (!isAlike) ++moved;
        std::vector<float> around{here};
        for (int32_t code = 1; code <= kDirections; ++code) {
          const ColRow n = stepFrom({.col = col, .row = row}, code);
          around.push_back(turned.elev.value(n.col, n.row, ""));
          isAlike = isAlike && around.back() == surface[at(turn.from(n.col, n.row))] && around.back() > 0.0F;
        }
        // Passages are level: between equal neighbours the order of the codes decides.
        std::ranges::sort(around);
        if (!isAlike || std::ranges::adjacent_find(around) != around.end()) continue;
        ++compared;
        const double expected =
            turn.offset + turn.sign * static_cast<double>(angles[at(turn.from(col, row))]);
        const auto found = static_cast<double>(turned.aspect.value(col, row, ""));
        EXPECT_NEAR(std::remainder(found - expected, 2 * pi), 0.0, 1e-5) << col << ' ' << row;
      }
    EXPECT_LE(moved, 10) << "cells whose passages another order of equal rim heights moved";
    EXPECT_GT(compared, kSize * kSize / 4);
  }
}

INSTANTIATE_TEST_SUITE_P(Storages, FlowModes, ::testing::Values(Storage::memory, Storage::disk), storageName);

}  // namespace
}  // namespace terrain::test
