// Values at a point, surface metrics at a point and of whole grids, held bit for bit against their
// plain forms, and pinned on surfaces whose answer is known.

#include <gtest/gtest.h>

#include <array>
#include <numbers>

#include "foundation/memory.h"
#include "grid/float_raster.h"
#include "grid/surface_raster.h"
#include "support/grids.h"
#include "support/plain_surface.h"
#include "support/real_data.h"

namespace terrain::test {
namespace {

constexpr float kPiF = std::numbers::pi_v<float>;

/// Every output of `surfaceMetrics`.
struct Metrics {
  int status = 0;
  float gradient = 7, plan = 7, profile = 7, planScaled = 7, profileScaled = 7, aspect = 7;
  int32_t steepest = 7;
  float flowWidth = 7, dinfAspect = 7;

  /// `args` with the outputs that `wanted` has bits for.
  SurfaceMetricsArgs asked(SurfaceMetricsArgs args, unsigned wanted) {
    const auto pick = [wanted](unsigned bit, auto* out) { return (wanted >> bit & 1U) != 0 ? out : nullptr; };
    args.gradient = pick(0, &gradient);
    args.plan = pick(1, &plan);
    args.profile = pick(2, &profile);
    args.planScaled = pick(3, &planScaled);
    args.profileScaled = pick(4, &profileScaled);
    args.aspect = pick(5, &aspect);
    args.steepest = pick(6, &steepest);
    args.flowWidth = pick(7, &flowWidth);
    args.dinfAspect = pick(8, &dinfAspect);
    return args;
  }
  [[nodiscard]] std::array<float, 8> floats() const {
    return {gradient, plan, profile, planScaled, profileScaled, aspect, flowWidth, dinfAspect};
  }
};

void expectSame(const Metrics& got, const Metrics& plain) {
  EXPECT_EQ(got.status, plain.status);
  EXPECT_EQ(got.steepest, plain.steepest);
  const auto a = got.floats();
  const auto b = plain.floats();
  for (std::size_t i = 0; i < a.size(); ++i)
    EXPECT_TRUE(sameBits(a[i], b[i])) << "output " << i << ": " << a[i] << " " << b[i];
}

void compareAt(R4Grid_type& grid, const PlainGrid& plain, const SurfaceMetricsArgs& args, unsigned wanted) {
  Metrics got;
  Metrics expected;
  got.status = grid.surfaceMetrics(got.asked(args, wanted));
  EXPECT_EQ(grid.status, got.status);
  expected.status = plainSurfaceMetrics(plain, expected.asked(args, wanted));
  expectSame(got, expected);
}

constexpr unsigned kAll = 0x1FF;

// ---- values at a point ----

class ValueXY : public InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, ValueXY, ::testing::Values(Storage::memory, Storage::disk), storageName);

TEST_P(ValueXY, MatchesThePlainFormWithEveryOption) {
  R4Grid_type grid = noiseDem(13, 11, {.seed = 3, .holes = 0.15}, {.cellsize = 7.3, .storage = GetParam()});
  grid.SetR4CellColRow(5, 5, -grid.ExtractR4ValueColRow(5, 4));
  grid.SetR4CellColRow(6, 7, std::numeric_limits<float>::quiet_NaN());
  const PlainGrid plain = plainCopy(grid);
  std::mt19937 random(5);
  std::uniform_real_distribution<double> column(-2.0, 15.0);
  std::uniform_real_distribution<double> row(-2.0, 13.0);
  for (int trial = 0; trial < 4000; ++trial) {
    double c = column(random);
    double r = row(random);
    if (trial % 4 == 1) c = std::floor(c);  // on a line of nodes
    if (trial % 8 >= 5) r = std::floor(r);
    if (trial % 16 == 7) c += 1e-10;
    if (trial % 16 == 11) r -= 1e-10;
    if (trial % 16 == 3) c = 12.5;  // beyond the last column
    if (trial % 16 == 15) r = 10.5;
    const double x = grid.xmin + c * grid.xcellsize;
    const double y = grid.ymin + r * grid.ycellsize;
    for (int options = 0; options < 48; ++options) {
      PointOptions o{.noInterpolate = (options & 1) != 0,
                     .nearest = (options & 2) != 0,
                     .ignoreNodata = (options & 4) != 0,
                     .absolute = (options & 8) != 0};
      if (options >= 16) o.interpolate = options >= 32;
      const float got = grid.ExtractR4ValueXY(x, y, o);
      const float expected = plainValueXY(plain, x, y, o);
      ASSERT_TRUE(sameBits(got, expected))
          << c << " " << r << " options " << options << ": " << got << " " << expected;
    }
  }
}

TEST_P(ValueXY, HasTheToldValuesAtTheEdges) {
  auto grid = gridOf<R4Grid_type>(R"(1 2 3 4
                                     5 . . 8
                                     9 10 . 12
                                     13 14 15 16)",
                                  {.xmin = 0, .ymin = 0, .storage = GetParam()});
  EXPECT_EQ(grid.ExtractR4ValueXY(grid.xmax + 5, 20), 8.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(10, grid.ymax + 5), 2.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(10, -1), kNodata);
  EXPECT_EQ(grid.ExtractR4ValueXY(std::nan(""), 10), kNodata);
  EXPECT_EQ(grid.ExtractR4ValueXY(10, 10), 10.0F);                         // a node
  EXPECT_EQ(grid.ExtractR4ValueXY(15, 15), 10.0F);                         // a corner has data
  EXPECT_EQ(grid.ExtractR4ValueXY(15, 15, {.ignoreNodata = true}), 2.5F);  // at its quarter weight
  EXPECT_EQ(grid.ExtractR4ValueXY(15, 15, {.interpolate = true, .noInterpolate = true}), kNodata);
}

TEST_P(ValueXY, NodataAboveTheDataIsNoData) {
  const auto grid = gridOf<R4Grid_type>("1 1 1 1\n 1 5 . 1\n 1 5 5 1\n 1 1 1 1",
                                        {.xmin = 0, .ymin = 0, .nodata = 3.4e38F, .storage = GetParam()});
  EXPECT_EQ(grid.ExtractR4ValueXY(15, 15), 5.0F);
  EXPECT_EQ(grid.ExtractR4ValueXY(15, 15, {.ignoreNodata = true}), 3.75F);
}

// ---- metrics at a point ----

class Surface : public InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, Surface, ::testing::Values(Storage::memory, Storage::disk), storageName);

TEST_P(Surface, MissingGroundIsKnownOrTheGridRefused) {
  float gradient = 0;
  const SurfaceMetricsArgs args{.length = 10, .col = 3, .row = 3, .gradient = &gradient};
  const auto flat = [&](float height, float nodata) {
    auto grid = emptyGrid<R4Grid_type>(5, 5, {.nodata = nodata, .storage = GetParam()});
    fillWith(grid,
             [&](int32_t col, int32_t row) { return col == 4 && row > 1 && row < 5 ? nodata : height; });
    return grid;
  };
  for (const float nodata : {3.4e38F, 1.0F, std::numeric_limits<float>::infinity(), std::nanf("")}) {
    auto grid = flat(100, nodata);
    EXPECT_EQ(grid.surfaceMetrics(args), -1);
    EXPECT_EQ(gradient, kNodata);
    auto out = emptyGrid<R4Grid_type>(5, 5, {.storage = GetParam()});
    EXPECT_EQ(surfaceRasters(grid, 10, {{.grid = &out, .metric = SurfaceMetric::gradient}}), -1);
    EXPECT_EQ(grid.PlanXY(10, 1020, 2020), kNodata);
    EXPECT_EQ(grid.SteepestNeighbour(3, 3), 0);
    EXPECT_THAT(console_.text(), ::testing::HasSubstr("The nodata value of a surface must be a number"));
  }
  for (const float nodata : {kNodata, 0.0F}) {
    auto grid = flat(-100, nodata);
    SurfaceMetricsArgs absolute = args;
    absolute.absolute = true;
    EXPECT_EQ(grid.surfaceMetrics(absolute), 0);
    EXPECT_EQ(gradient, 0.0F);
  }
  auto tiny = flat(100, kNodata);
  tiny.cellsize = tiny.xcellsize = tiny.ycellsize = 1e-30;
  tiny.updateFarCorner();
  EXPECT_EQ(tiny.surfaceMetrics(args), -1);
  EXPECT_THAT(console_.text(), ::testing::HasSubstr("too small beside its coordinates"));
}

TEST_P(Surface, MatchesThePlainFormForEveryOutputAndOption) {
  struct Case {
    const char* name;
    NoisePlan noise;
    GridPlan plan;
  };
  const Case cases[] = {{"whole", {.seed = 11}, {}},
                        {"holes",
                         {.seed = 12, .holes = 0.04, .lakes = 4},
                         {.xmin = 556560.25, .ymin = 4373130.5, .cellsize = 9.7}},
                        {"ragged", {.seed = 13, .holes = 0.5}, {.cellsize = 0.1}},
                        {"nodata 0", {.seed = 14, .holes = 0.1, .lakes = 2}, {.nodata = 0}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    GridPlan plan = c.plan;
    plan.storage = GetParam();
    R4Grid_type grid = noiseDem(24, 19, c.noise, plan);
    for (int32_t col = 3; col <= 24; col += 4)  // marks, as a flood leaves them
      if (grid.ExtractR4ValueColRow(col, 9) != grid.nodata)
        grid.SetR4CellColRow(col, 9, -grid.ExtractR4ValueColRow(col, 9));
    const PlainGrid plain = plainCopy(grid);
    std::mt19937 random(17);
    std::uniform_real_distribution<double> unit(-0.05, 1.05);
    for (const double cells : {0.3, 0.5, 1.0, 1.5, 1.99, 2.0, 2.5, 3.7, 6.0, 40.0}) {
      SCOPED_TRACE(cells);
      for (int mode = 0; mode < 8; ++mode) {
        SurfaceMetricsArgs args{.length = static_cast<float>(cells * plan.cellsize),
                                .absolute = mode % 2 == 1};
        if (mode / 2 == 1) args.ridge = true;
        if (mode / 2 == 2) args.valley = true;
        if (mode / 2 == 3) args.ridge = false, args.valley = true;
        for (int32_t row = 1; row <= 19; ++row)
          for (int32_t col = 1 + (row + mode) % 3; col <= 24; col += 3) {
            args.col = col;
            args.row = row;
            compareAt(grid, plain, args, kAll);
          }
        args.col.reset();
        args.row.reset();
        for (int trial = 0; trial < 30; ++trial) {
          args.x = grid.xmin + unit(random) * 24 * plan.cellsize;
          args.y = grid.ymin + unit(random) * 19 * plan.cellsize;
          compareAt(grid, plain, args, kAll);
          compareAt(grid, plain, args, static_cast<unsigned>(trial * 37) & kAll);
          if (!args.absolute) {
            const float got = grid.PlanXY(args.length, *args.x, *args.y);
            ASSERT_TRUE(sameBits(got, plainPlanXY(plain, args.length, *args.x, *args.y)));
          }
        }
        ASSERT_FALSE(HasFailure());
      }
    }
  }
}

TEST_P(Surface, KnowsPlanesInEveryDirection) {
  struct Case {
    double east, north;
    float aspect;
  };
  for (const Case& c : {Case{0.1, 0, 3 * kPiF / 2},
                        {-0.1, 0, kPiF / 2},
                        {0, 0.1, kPiF},
                        {0.1, 0.1, 5 * kPiF / 4},
                        {-0.1, 0.1, 3 * kPiF / 4}}) {
    R4Grid_type grid = emptyGrid<R4Grid_type>(41, 41, {.storage = GetParam()});
    fillWith(grid, [&](int32_t col, int32_t row) { return 500 + 10 * (c.east * col - c.north * row); });
    for (const float length : {4.0F, 10.0F, 35.0F, 100.0F}) {
      Metrics m;
      EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = length, .col = 21, .row = 21}, kAll)), 0);
      EXPECT_NEAR(m.gradient, std::hypot(c.east, c.north), 2e-5);
      EXPECT_NEAR(m.aspect, c.aspect, 2e-4);
      EXPECT_NEAR(m.dinfAspect, c.aspect, 2e-4);
    }
  }
}

TEST_P(Surface, HasTheToldAnswersOnSpecialCells) {
  R4Grid_type grid = emptyGrid<R4Grid_type>(15, 15, {.storage = GetParam()});
  Metrics m;
  // Level ground: no gradient, and an aspect that means nothing.
  fillWith(grid, [](int32_t, int32_t) { return 100; });
  grid.surfaceMetrics(m.asked({.length = 25, .col = 8, .row = 8}, kAll));
  EXPECT_EQ(m.gradient, 0.0F);
  EXPECT_EQ(m.plan, 0.0F);
  EXPECT_EQ(m.profile, 0.0F);
  EXPECT_FLOAT_EQ(m.aspect, 5 * kPiF / 8);
  EXPECT_EQ(m.steepest, 0);

  // Down to the north, a little to either side: the two estimates lie across north.
  for (const double lean : {-0.02, 0.02, 0.0}) {
    fillWith(grid,
             [&](int32_t col, int32_t row) { return 100 + row + lean * col + 0.3 * ((col * row) % 3); });
    grid.surfaceMetrics(m.asked({.length = 20, .col = 8, .row = 8}, kAll));
    EXPECT_GT(std::cos(m.aspect), 0.9F) << m.aspect;
  }

  // A pit.
  fillWith(grid, [](int32_t col, int32_t row) { return 100 + std::hypot(col - 8, row - 8); });
  grid.surfaceMetrics(m.asked({.length = 10, .col = 8, .row = 8}, kAll));
  EXPECT_EQ(m.dinfAspect, -1.0F);
  EXPECT_EQ(m.flowWidth, 1.0F);
  EXPECT_EQ(m.steepest, 0);

  // A cell alone.
  fillWith(grid, [](int32_t col, int32_t row) { return col == 8 && row == 8 ? 50.0 : -9999.0; });
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 20, .col = 8, .row = 8}, 1)), 0);
  EXPECT_EQ(m.gradient, 0.0F);
  // No data at the point, a point off the grid, and a cell off it.
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 20, .col = 7, .row = 8}, kAll)), -1);
  for (const float value : m.floats()) EXPECT_EQ(value, kNodata);
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 20, .x = -1e9, .y = 0}, kAll)), -1);
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 20, .col = 0, .row = 99}, kAll)), -1);
  EXPECT_EQ(grid.status, -1);

  // A cardinal neighbour without data draws the D-infinity direction.
  fillWith(grid, [](int32_t col, int32_t row) { return col == 9 && row == 8 ? -9999.0 : 100.0 + row; });
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 10, .col = 8, .row = 8}, kAll)), -1);
  EXPECT_FLOAT_EQ(m.dinfAspect, kPiF / 2);
  EXPECT_EQ(m.flowWidth, 1.0F);
}

TEST_P(Surface, RefusesWhatHasNoCircle) {
  R4Grid_type grid = noiseDem(9, 9, {}, {.storage = GetParam()});
  R4Grid_type out = emptyGrid<R4Grid_type>(9, 9, {.storage = GetParam()});
  Metrics m;
  for (const float length :
       {0.0F, -20.0F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = length, .col = 5, .row = 5}, kAll)), -1);
    EXPECT_EQ(m.gradient, kNodata);
    EXPECT_EQ(surfaceRasters(grid, length, {{&out, SurfaceMetric::gradient}}), -1);
    EXPECT_EQ(grid.PlanXY(length, 1040, 2040), kNodata);
  }
  R4Grid_type other = emptyGrid<R4Grid_type>(8, 9);
  EXPECT_EQ(surfaceRasters(grid, 10, {{&other, SurfaceMetric::aspect}}), -1);
  grid.ycellsize = 11;
  EXPECT_EQ(grid.surfaceMetrics(m.asked({.length = 10, .col = 5, .row = 5}, kAll)), -1);
  EXPECT_EQ(surfaceRasters(grid, 10, {{&out, SurfaceMetric::gradient}}), -1);
  EXPECT_EQ(grid.PlanXY(10, 1040, 2040), 0.0F);
  EXPECT_NE(console_.text().find("surfaceMetrics cannot use unequal cell dimensions"), std::string::npos);
  EXPECT_NE(console_.text().find("PlanXY requires square cellsize"), std::string::npos);
  float aspect = 0;
  grid.Evans3x3(5, 5, {.aspect = &aspect});
  EXPECT_EQ(grid.status, -1);
  EXPECT_NE(console_.text().find("Evans3x3 requires square cells"), std::string::npos);
}

TEST_P(Surface, LengthsBeyondTheGridEndAtTheLongestCircle) {
  R4Grid_type grid = noiseDem(16, 12, {.seed = 4, .lakes = 1}, {.cellsize = 0.3, .storage = GetParam()});
  const PlainGrid plain = plainCopy(grid);
  for (int32_t row = 1; row <= 12; ++row)
    for (int32_t col = 1; col <= 16; ++col) {
      // The plain form goes down cell by cell; what is longer still comes through the same radii.
      Metrics expected;
      expected.status =
          plainSurfaceMetrics(plain, expected.asked({.length = 300, .col = col, .row = row}, kAll));
      for (const float length : {300.0F, 3e8F, 1e30F}) {
        Metrics got;
        got.status = grid.surfaceMetrics(got.asked({.length = length, .col = col, .row = row}, kAll));
        expectSame(got, expected);
      }
    }
}

// ---- quadratic fit, D8 ----

TEST_P(Surface, EvansMatchesThePlainFormAndKnownQuadratics) {
  R4Grid_type grid = noiseDem(17, 15, {.seed = 8, .holes = 0.03}, {.storage = GetParam()});
  for (int32_t col = 2; col <= 8; ++col)
    for (int32_t row = 2; row <= 8; ++row)
      grid.SetR4CellColRow(col, row, static_cast<float>(100 + col * col));
  const PlainGrid plain = plainCopy(grid);
  const auto all = [](std::array<float, 10>& out) {
    return EvansArgs{out.data(), &out[1], &out[2], &out[3], &out[4],
                     &out[5],    &out[6], &out[7], &out[8], &out[9]};
  };
  for (int32_t row = 0; row <= 16; ++row)
    for (int32_t col = 0; col <= 18; ++col) {
      std::array<float, 10> got{};
      std::array<float, 10> expected{};
      grid.Evans3x3(col, row, all(got));
      plainEvans(plain, col, row, all(expected));
      for (std::size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(sameBits(got[i], expected[i]))
            << col << " " << row << " output " << i << ": " << got[i] << " " << expected[i];
      ASSERT_EQ(grid.SteepestNeighbour(col, row), plainSteepest(plain, col, row)) << col << " " << row;
    }

  // Heights in cells: z = a x^2 + b y^2 + c x y + p x + q y, all recovered.
  const double a = 0.05, b = -0.02, c = 0.03, p = 0.3, q = -0.4;
  fillWith(grid, [&](int32_t col, int32_t row) {
    const double x = col - 8, y = 8 - row;
    return 1000 + 10 * (a * x * x + b * y * y + c * x * y + p * x + q * y);
  });
  std::array<float, 10> got{};
  grid.Evans3x3(8, 8, all(got));
  const double w = p * p + q * q;
  EXPECT_NEAR(got[1], 0.5, 1e-5);
  EXPECT_NEAR(got[0], 360 - 36.8699, 1e-2);  // down to the west and north
  EXPECT_NEAR(got[4], 2 * (b * p * p - c * p * q + a * q * q) / w, 1e-4);
  EXPECT_NEAR(got[6], -2 * (a * p * p + c * p * q + b * q * q) / w, 1e-4);
  EXPECT_NEAR(got[8] - got[7], 2 * std::hypot(c, a - b), 1e-4);
  EXPECT_EQ(grid.status, 0);
}

TEST_P(Surface, SteepestNeighbourPrefersTheShorterStepAmongEqualDrops) {
  auto grid = gridOf<R4Grid_type>(R"(9 9 8.5857865
                                     9 10 9.0
                                     . 11 -3)",
                                  {.storage = GetParam()});
  EXPECT_EQ(grid.SteepestNeighbour(2, 2), 8);  // by its absolute value, 3
  grid.SetR4CellColRow(3, 3, 12);
  EXPECT_EQ(grid.SteepestNeighbour(2, 2), 1);  // the north-east drops as much, by a longer way
  EXPECT_EQ(grid.SteepestNeighbour(1, 3), 0);
  EXPECT_EQ(grid.SteepestNeighbour(0, 0), 0);
}

// ---- whole grids ----

/// surfaceRasters beside surfaceMetrics, cell by cell.
void compareRasters(R4Grid_type& elev, float length, Storage storage) {
  SCOPED_TRACE(length);
  R4Grid_type gradient, aspect;
  for (R4Grid_type* grid : {&gradient, &aspect})
    ASSERT_EQ(CreateGrid(*grid, {.like = &elev, .onDisk = storage == Storage::disk}), 0);
  ASSERT_EQ(
      surfaceRasters(elev, length, {{&gradient, SurfaceMetric::gradient}, {&aspect, SurfaceMetric::aspect}}),
      0);
  EXPECT_EQ(elev.status, 0);
  const std::vector<float> gradients = cellsOf(gradient);
  const std::vector<float> aspects = cellsOf(aspect);
  std::size_t at = 0;
  for (int32_t row = 1; row <= elev.rows(); ++row)
    for (int32_t col = 1; col <= elev.cols(); ++col, ++at) {
      float g = elev.nodata;
      float a = elev.nodata;
      if (elev.ExtractR4ValueColRow(col, row) != elev.nodata)
        elev.surfaceMetrics({.length = length, .col = col, .row = row, .gradient = &g, .aspect = &a});
      ASSERT_TRUE(sameBits(gradients[at], g))
          << "gradient " << col << " " << row << ": " << gradients[at] << " " << g;
      ASSERT_TRUE(sameBits(aspects[at], a))
          << "aspect " << col << " " << row << ": " << aspects[at] << " " << a;
    }
}

TEST_P(Surface, RastersAreTheMetricsOfEveryCell) {
  struct Case {
    const char* name;
    int32_t ncols, nrows;
    NoisePlan noise;
    GridPlan plan;
  };
  const Case cases[] = {
      {"whole", 83, 61, {.seed = 21}, {}},
      {"longer than a block", 530, 9, {.seed = 22, .holes = 0.001}, {.xmin = 3, .cellsize = 0.7}},
      {"holes",
       70,
       66,
       {.seed = 23, .holes = 0.02, .lakes = 5},
       {.xmin = 556560.1, .ymin = 4373130.7, .cellsize = 30.1}},
      {"nodata 0", 40, 44, {.seed = 24, .holes = 0.01, .lakes = 3}, {.cellsize = 1.0 / 3, .nodata = 0}},
      {"one column", 1, 30, {.seed = 25}, {}},
      {"one row", 30, 1, {.seed = 26}, {}},
      {"small", 3, 3, {.seed = 27}, {}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    GridPlan plan = c.plan;
    plan.storage = GetParam();
    R4Grid_type elev = noiseDem(c.ncols, c.nrows, c.noise, plan);
    for (const double cells : {0.5, 1.0, 1.5, 2.0, 3.7, 10.0, 25.0, 1e9, 1e30}) {
      compareRasters(elev, static_cast<float>(cells * plan.cellsize), GetParam());
      ASSERT_FALSE(HasFailure());
    }
  }
}

TEST_P(Surface, RastersKeepOddValuesAndPositionsRight) {
  R4Grid_type elev = noiseDem(30, 20, {.seed = 31, .holes = 0.01}, {.storage = GetParam()});
  elev.SetR4CellColRow(7, 7, std::numeric_limits<float>::quiet_NaN());
  elev.SetR4CellColRow(15, 10, std::numeric_limits<float>::infinity());
  elev.SetR4CellColRow(22, 12, -20000.0F);  // below nodata, but not nodata
  for (const float length : {5.0F, 20.0F, 37.0F}) compareRasters(elev, length, GetParam());
  // So far out that neighbouring cells share their coordinates.
  const R4Grid_type far =
      noiseDem(30, 20, {.seed = 32}, {.xmin = 1e17, .ymin = -1e17, .cellsize = 3, .storage = GetParam()});
  R4Grid_type gradient = emptyGrid<R4Grid_type>(30, 20);
  EXPECT_EQ(surfaceRasters(far, 20, {{&gradient, SurfaceMetric::gradient}}), -1);
  // Cell sizes that a float64 holds only nearly, and more radii than there are tables for.
  R4Grid_type fine = noiseDem(90, 80, {.seed = 33, .holes = 0.0005, .lakes = 1},
                              {.xmin = 0.1, .cellsize = 0.1, .storage = GetParam()});
  compareRasters(fine, 3.05F, GetParam());
}

TEST_P(Surface, OneRasterAloneAndNoMemoryForTheRestGiveTheSame) {
  R4Grid_type elev = noiseDem(50, 40, {.seed = 41, .holes = 0.01}, {.storage = GetParam()});
  std::array<R4Grid_type, 4> out;
  for (R4Grid_type& grid : out) ASSERT_EQ(CreateGrid(grid, {.like = &elev}), 0);
  EXPECT_EQ(surfaceRasters(elev, 33, {{&out[0], SurfaceMetric::gradient}}), 0);
  EXPECT_EQ(surfaceRasters(elev, 33, {{&out[1], SurfaceMetric::aspect}}), 0);
  memoryLimits().largestBlock = 16;
  const int status =
      surfaceRasters(elev, 33, {{&out[2], SurfaceMetric::gradient}, {&out[3], SurfaceMetric::aspect}});
  memoryLimits().largestBlock.reset();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(cellsOf(out[0]), cellsOf(out[2]));
  EXPECT_EQ(cellsOf(out[1]), cellsOf(out[3]));
}

TEST_P(Surface, RastersOfRealTerrainAreTheMetricsOfEveryCell) {
  SKIP_WITHOUT_REAL_DATA();
  for (const char* name : {"small", "medium_ridges", "small_gully"}) {
    SCOPED_TRACE(name);
    const std::string file = dataFolder() + "/raster/" + name;
    R4Grid_type elev;
    ASSERT_EQ(ReadGrid(elev, file, {.onDisk = GetParam() == Storage::disk}), 0);
    for (const double cells : {0.5, 3.7, 10.0})
      compareRasters(elev, static_cast<float>(cells * elev.cellsize), GetParam());
    const PlainGrid plain = plainCopy(elev);
    for (int32_t row = 1; row <= elev.rows(); row += 7)
      for (int32_t col = 1; col <= elev.cols(); col += 5)
        compareAt(elev, plain, {.length = static_cast<float>(4.2 * elev.cellsize), .col = col, .row = row},
                  kAll);
    ASSERT_FALSE(HasFailure());
  }
}

}  // namespace
}  // namespace terrain::test
