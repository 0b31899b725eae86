// Channel heads and the channels below them.

#include "dem/channel_initiation.h"

#include <cmath>
#include <set>

#include "dem/flow_accumulation.h"
#include "foundation/bytes.h"
#include "grid/neighbours.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

constexpr int32_t kSize = 60;

class ChannelInitiation : public InBothStorages {
 protected:
  void SetUp() override {
    InBothStorages::SetUp();
    build(dem);
    settings.criteria = {.lowGradient = 0.25F, .highGradient = 0.4F, .areaLow = 20, .areaHigh = 60};
    settings.specificArea = false;
    settings.accumulationFile = scratch.path("accum_a");
    settings.nodeFile = scratch.path("basenode_a");
  }
  /// Hills in cells of 10 m, with gradients of the raw surface and directions of the conditioned one.
  void build(DEM_type& to) {
    R4Grid_type hills =
        noiseDem(kSize, kSize, {.seed = 5, .lakes = 1, .roughness = 8}, {.storage = GetParam()});
    const std::vector<float> raw = cellsOf(hills);
    toWorkingForm(to, std::move(hills));
    const auto at = [&](int32_t col, int32_t row) {
      const float z = raw[static_cast<std::size_t>((std::clamp(row, 1, kSize) - 1) * kSize +
                                                   std::clamp(col, 1, kSize) - 1)];
      return z == kNodata ? 300.0F : z;
    };
    for (R4Grid_type* grid : {&to.grad, &to.plan})
      *grid = emptyGrid<R4Grid_type>(kSize, kSize, {.storage = GetParam()});
    fillWith(to.grad, [&](int32_t col, int32_t row) {
      if (raw[static_cast<std::size_t>((row - 1) * kSize + col - 1)] == kNodata) return kNodata;
      return std::hypot(at(col + 1, row) - at(col - 1, row), at(col, row + 1) - at(col, row - 1)) / 20;
    });
    fillWith(to.plan, [&](int32_t col, int32_t row) {
      return (at(col + 1, row) + at(col - 1, row) + at(col, row + 1) + at(col, row - 1) - 4 * at(col, row)) /
             100;
    });
    ASSERT_EQ(FlowDirection(to), 0);
  }
  void find() { ASSERT_EQ(AccumulateFlow(dem, settings, network), 0) << console_.text(); }
  [[nodiscard]] std::set<std::pair<int32_t, int32_t>> headSet() const {
    std::set<std::pair<int32_t, int32_t>> set;
    for (const ColRow& head : network.heads) set.emplace(head.row, head.col);
    return set;
  }
  struct Node {
    double x, y;
    int32_t code;
    float gradient, contributing;
  };
  [[nodiscard]] std::vector<Node> nodes() {
    const std::string bytes = readBytes(settings.nodeFile + ".dat");
    ByteReader in(std::as_bytes(std::span(bytes)));
    EXPECT_EQ(in.little<int32_t>(), 28);
    in.seek(28);
    const auto count = in.little<int32_t>();
    in.seek(84);
    EXPECT_EQ(in.little<double>(), dem.xmin);
    EXPECT_EQ(in.little<double>(), dem.xmax);
    EXPECT_EQ(in.little<int32_t>(), kSize);
    EXPECT_EQ(bytes.size(), 28u * static_cast<std::size_t>(count + 5));
    std::vector<Node> list;
    in.seek(140);
    for (int32_t i = 0; i < count; ++i) {
      Node& node = list.emplace_back();
      node.x = in.little<double>();
      node.y = in.little<double>();
      node.code = in.little<int32_t>();
      node.gradient = in.little<float>();
      node.contributing = in.little<float>();
    }
    return list;
  }

  ScratchDir scratch;
  DEM_type dem;
  InitiationSettings settings;
  ChannelNetwork network;
};
INSTANTIATE_TEST_SUITE_P(Storages, ChannelInitiation, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

TEST_P(ChannelInitiation, WithoutHeadsTheAreaIsThatOfTheAccumulator) {
  settings.criteria.areaLow = settings.criteria.areaHigh = 1e9F;
  R8Grid_type area;
  ASSERT_EQ(accumulator(dem, {.DAR8 = &area}), 0);
  const std::vector<float> angles = cellsOf(dem.aspect);
  find();
  EXPECT_TRUE(network.heads.empty());
  EXPECT_TRUE(nodes().empty());
  EXPECT_EQ(cellsOf(dem.aspect), angles);
  for (int32_t row = 1; row <= kSize; ++row)
    for (int32_t col = 1; col <= kSize; ++col) {
      const double expected = dem.elev.value(col, row, "") == 0.0F ? -9999.0 : area.value(col, row, "");
      ASSERT_NEAR(network.accum.value(col, row, ""), expected, 1e-4 * std::abs(expected));
    }
}

TEST_P(ChannelInitiation, HeadsMeetTheirThresholdsAndChannelsDoNotSplit) {
  find();
  ASSERT_GT(network.heads.size(), 20U);
  for (const ColRow& head : network.heads) {
    const double cells = network.accum.value(head.col, head.row, "");
    const float gradient = dem.grad.value(head.col, head.row, "");
    EXPECT_GE(cells, static_cast<double>(settings.criteria.area(gradient)) / 100 * (1 - 1e-6));
  }
  const std::vector<Node> channel = nodes();
  EXPECT_EQ(std::ssize(channel), network.nodes);
  std::set<std::pair<int32_t, int32_t>> cells;
  for (const Node& node : channel) {
    const ColRow at = dem.XYtoColRow(node.x, node.y);
    cells.emplace(at.row, at.col);
    EXPECT_EQ(node.code, dem.D8FromAspect(at.col, at.row));
    EXPECT_EQ(node.gradient, dem.grad.value(at.col, at.row, ""));
    EXPECT_EQ(node.contributing, static_cast<float>(network.accum.value(at.col, at.row, "")));
  }
  for (const auto& head : headSet()) EXPECT_TRUE(cells.contains(head));
  int64_t inside = 0;
  for (const auto& [row, col] : cells) {
    // All the flow goes one way, to a channel cell or off the land.
    const float angle = dem.aspect.value(col, row, "");
    const ColRow below = stepFrom({.col = col, .row = row}, codeOfAspect(angle));
    if (!dem.contains(below) || dem.elev.value(below.col, below.row, "") == 0.0F) continue;
    ++inside;
    EXPECT_EQ(FlowProportion(angle, opposite(codeOfAspect(angle))), 1.0F) << col << ' ' << row;
    EXPECT_TRUE(cells.contains({below.row, below.col})) << col << ' ' << row;
  }
  EXPECT_GT(inside, 100);
  // What leaves the land is the land.
  double leaving = 0;
  int64_t land = 0;
  for (int32_t row = 1; row <= kSize; ++row)
    for (int32_t col = 1; col <= kSize; ++col) {
      if (dem.elev.value(col, row, "") == 0.0F) continue;
      ++land;
      for (int32_t code = 1; code <= kDirections; ++code) {
        const ColRow n = stepFrom({.col = col, .row = row}, code);
        if (dem.contains(n) && dem.elev.value(n.col, n.row, "") != 0.0F) continue;
        leaving += network.accum.value(col, row, "") *
                   static_cast<double>(FlowProportion(dem.aspect.value(col, row, ""), opposite(code)));
      }
    }
  EXPECT_NEAR(leaving, static_cast<double>(land), 1e-3 * static_cast<double>(land));
}

TEST_P(ChannelInitiation, ChannelsFollowSinglePathsByTheirWeights) {
  find();
  const auto heads = headSet();
  DEM_type again;
  build(again);
  const auto& z = again.elev;
  const std::vector<float> angles = cellsOf(again.aspect);
  D8Paths paths{.weights = {.slope = 1.0F}};
  settings.paths = &paths;
  ASSERT_EQ(AccumulateFlow(again, settings, network), 0) << console_.text();
  EXPECT_EQ(headSet(), heads) << "the heads are those of the D-infinity flow";
  const auto isLand = [&](ColRow at) { return z.contains(at) && z.value(at.col, at.row, "") != 0.0F; };
  // The lower neighbours, the steepest last.
  const auto lower = [&](ColRow at) {
    std::vector<std::pair<double, int32_t>> list;
    for (int32_t code = 8; code >= 1; --code)
      if (const ColRow n = stepFrom(at, code); isLand(n)) {
        const double drop =
            static_cast<double>(z.value(at.col, at.row, "")) - static_cast<double>(z.value(n.col, n.row, ""));
        if (drop > 0) list.emplace_back(isDiagonal(code) ? drop / std::sqrt(2.0) : drop, code);
      }
    std::ranges::stable_sort(list, {}, [](const auto& entry) { return entry.first; });
    return list;
  };
  std::set<std::pair<int32_t, int32_t>> cells;
  for (const Node& node : nodes()) {
    const ColRow at = again.XYtoColRow(node.x, node.y);
    cells.emplace(at.row, at.col);
  }
  std::optional<ColRow> parted;  // a head with a choice
  for (int32_t row = 1; row <= kSize; ++row)
    for (int32_t col = 1; col <= kSize; ++col) {
      const ColRow at{.col = col, .row = row};
      const float before = angles[static_cast<std::size_t>((row - 1) * kSize + col - 1)];
      if (!cells.contains({row, col})) {
        EXPECT_EQ(again.aspect.value(col, row, ""), before) << "beside the paths nothing changes";
        continue;
      }
      const ColRow below = stepFrom(at, codeOfAspect(again.aspect.value(col, row, "")));
      if (!isLand(stepFrom(at, codeOfAspect(before)))) continue;  // the edge
      EXPECT_TRUE(cells.contains({below.row, below.col}));
      const auto choice = lower(at);
      EXPECT_TRUE(choice.empty() || below == stepFrom(at, choice.back().second)) << col << ' ' << row;
      if (choice.size() > 1 && heads.contains({row, col})) parted = at;
    }
  ASSERT_TRUE(parted);
  // A preferred neighbour outweighs the slope; a vegetation index keeps the path off it on gentle ground
  // only.
  const ColRow second = stepFrom(*parted, lower(*parted).rbegin()[1].second);
  R4Grid_type marks = emptyGrid<R4Grid_type>(kSize, kSize, {.storage = GetParam()});
  fillWith(marks,
           [&](int32_t col, int32_t row) { return ColRow{.col = col, .row = row} == second ? 1.0F : 0.0F; });
  const auto goesThere = [&] {
    DEM_type other;
    build(other);
    EXPECT_EQ(AccumulateFlow(other, settings, network), 0);
    return stepFrom(*parted, codeOfAspect(other.aspect.value(parted->col, parted->row, ""))) == second;
  };
  paths.weights.preferential = 3.0F;
  paths.preferential = &marks;
  EXPECT_TRUE(goesThere());
  paths.weights.ndvi = -4.0F;
  paths.ndvi = &marks;
  EXPECT_FALSE(goesThere());
  paths.maxNdviGradient = 0.0F;
  EXPECT_TRUE(goesThere());
}

TEST_P(ChannelInitiation, AroundPointsThresholdsOfTheirOwnHold) {
  const std::vector<ColRow> points{{.col = 15, .row = 20}, {.col = 45, .row = 45}};
  R4Grid_type weight;
  PointBuffer buffer{.inner = 40, .outer = 65, .instead = {.area = 1.0F}};
  ASSERT_EQ(weighBuffer(dem, buffer, points, weight), 0);
  for (int32_t row = 1; row <= kSize; ++row)
    for (int32_t col = 1; col <= kSize; ++col) {
      double away = 1e9;
      for (const ColRow& at : points) away = std::min(away, 10 * std::hypot(at.col - col, at.row - row));
      EXPECT_NEAR(weight.value(col, row, ""), std::clamp((65 - away) / 25, 0.0, 1.0), 1e-6)
          << col << ' ' << row;
    }
  const InitiationCriteria half = settings.criteria.towards(buffer.instead, 0.5F);
  EXPECT_EQ(half.areaLow, 10.5F);
  EXPECT_EQ(half.areaHigh, 30.5F);
  settings.criteria.areaLow = settings.criteria.areaHigh = 1e9F;
  settings.criteria.planLow = settings.criteria.planHigh = 1e9F;
  settings.weight = &weight;
  settings.instead = buffer.instead;
  find();
  EXPECT_FALSE(network.heads.empty());
  for (const ColRow& head : network.heads) EXPECT_EQ(weight.value(head.col, head.row, ""), 1.0F);
  // A point goes to the most flow near it; without a buffer it is a head.
  R4Grid_type area;
  ASSERT_EQ(accumulator(dem, {.DA = &area}), 0);
  std::vector<ColRow> moved = points;
  ASSERT_EQ(moveToMostFlow(dem, area, 30.0, moved), 0);
  for (std::size_t i = 0; i < points.size(); ++i) {
    EXPECT_LE(std::hypot(moved[i].col - points[i].col, moved[i].row - points[i].row), 3.0);
    for (int32_t row = points[i].row - 2; row <= points[i].row + 2; ++row)
      for (int32_t col = points[i].col - 2; col <= points[i].col + 2; ++col)
        EXPECT_LE(area.value(col, row, ""), area.value(moved[i].col, moved[i].row, ""));
  }
}

TEST_P(ChannelInitiation, LongerWaysLeaveFewerHeads) {
  find();
  const std::size_t all = network.heads.size();
  std::size_t before = all;
  for (const float length : {15.0F, 60.0F, 1e6F}) {
    DEM_type again;
    build(again);
    settings.criteria.lengthLow = settings.criteria.lengthHigh = length;
    ASSERT_EQ(AccumulateFlow(again, settings, network), 0);
    EXPECT_LT(network.heads.size(), before) << length;
    before = network.heads.size();
  }
  EXPECT_EQ(before, 0U);
  // Cells of less than a metre change nothing but the scale.
  DEM_type fine;
  build(fine);
  for (Grid_Header* grid :
       std::initializer_list<Grid_Header*>{&fine, &fine.elev, &fine.aspect, &fine.grad, &fine.plan}) {
    grid->cellsize = grid->xcellsize = grid->ycellsize = 0.1;
    grid->updateFarCorner();
  }
  settings.criteria.areaLow /= 10000;
  settings.criteria.areaHigh /= 10000;
  settings.criteria.lengthLow = settings.criteria.lengthHigh = 0.15F;
  ASSERT_EQ(AccumulateFlow(fine, settings, network), 0);
  EXPECT_GT(network.heads.size(), 5U);
}

TEST_P(ChannelInitiation, MasksForceAllowAndExclude) {
  settings.criteria.areaLow = settings.criteria.areaHigh = 1e9F;
  I1Grid_type mask = emptyGrid<I1Grid_type>(kSize, kSize, {.storage = GetParam()});
  fillWith(mask, [](int32_t col, int32_t row) {
    return row == 30 && col > 20 && col < 40 ? 3 : row == 50 ? 1 : 0;
  });
  settings.initMask = &mask;
  find();
  const auto heads = headSet();
  for (int32_t col = 21; col < 40; ++col)
    EXPECT_EQ(heads.contains({30, col}), dem.elev.value(col, 30, "") != 0.0F) << col;
  for (const auto& [row, col] : heads) EXPECT_TRUE(row == 30 || row == 50) << row << ' ' << col;
  I4Grid_type west = emptyGrid<I4Grid_type>(kSize, kSize, {.storage = GetParam()});
  fillWith(west, [](int32_t col, int32_t) { return col <= 30 ? 1 : 0; });
  for (const bool excludes : {true, false}) {
    DEM_type again;
    build(again);
    settings.excluded.clear();
    settings.only.clear();
    (excludes ? settings.excluded : settings.only).push_back(&west);
    ASSERT_EQ(AccumulateFlow(again, settings, network), 0);
    EXPECT_FALSE(network.heads.empty());
    for (const ColRow& head : network.heads) EXPECT_EQ(head.col > 30, excludes);
  }
}

TEST_P(ChannelInitiation, CriteriaByPlaceHoldInTheirCells) {
  I4Grid_type ids = emptyGrid<I4Grid_type>(kSize, kSize, {.storage = GetParam()});
  fillWith(ids, [](int32_t col, int32_t) { return col <= 20 ? 1 : col <= 40 ? 7 : 9; });
  InitiationCriteria none = settings.criteria;
  none.areaLow = none.areaHigh = 1e9F;
  settings.criteriaByID = {{1, none}, {7, settings.criteria}};
  settings.ids = &ids;
  find();
  EXPECT_FALSE(network.heads.empty());
  for (const ColRow& head : network.heads) EXPECT_TRUE(head.col > 20 && head.col <= 40) << head.col;
}

TEST_P(ChannelInitiation, FlowDecaysWithDistance) {
  find();
  const std::vector<double> whole = cellsOf(network.accum);
  DEM_type again;
  build(again);
  settings.criteria.areaLow = settings.criteria.areaHigh = 1e9F;
  settings.decay = {.conductivity = 100, .proportion = 0.5, .duration = 3};
  ASSERT_EQ(AccumulateFlow(again, settings, network), 0);
  // Two cells above each other on a slope: 1 + 1 * (1 - |ln P| / (K T sin) * step / cos).
  const std::vector<double> decayed = cellsOf(network.accum);
  double most = 0;
  for (std::size_t i = 0; i < decayed.size(); ++i) most = std::max(most, decayed[i]);
  EXPECT_GT(most, 1.0);
  EXPECT_LT(most, *std::ranges::max_element(whole) / 4);
  settings.decay.proportion = 0;
  EXPECT_EQ(AccumulateFlow(again, settings, network), -1);
  EXPECT_TRUE(console_.has("DECAY - need to specify all three coefficients"));
}

TEST(InitiationCriteria, AreaFallsWithTheSlopeAndChangesLinearlyBetweenTheLimits) {
  const InitiationCriteria c{
      .lowGradient = 0.2F, .highGradient = 0.4F, .slopeExponent = 2, .areaLow = 8, .areaHigh = 2};
  EXPECT_FLOAT_EQ(c.area(0.2F), 200.0F);
  EXPECT_FLOAT_EQ(c.area(0.4F), 12.5F);
  EXPECT_NEAR(c.area(0.3F), 5 / 0.09, 1e-3);
  EXPECT_TRUE(std::isfinite(c.area(0.0F)));
  EXPECT_EQ(c.length(0.5F), -1.0F);
}

}  // namespace
}  // namespace terrain::test
