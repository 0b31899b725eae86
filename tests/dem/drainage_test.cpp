// Breaching, flow angles and accumulation: properties on made terrain, and hand-worked cases.

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "dem/flat.h"
#include "dem/flow_accumulation.h"
#include "dem/flow_direction.h"
#include "dem/lattice.h"
#include "grid/neighbours.h"
#include "support/dem_fixtures.h"
#include "support/real_data.h"
#include "support/reference_drainage.h"

namespace terrain::test {
namespace {

struct Plan {
  int32_t cols, rows;
  NoisePlan noise;
  float step;  ///< heights are multiples of it: large ones make flats
};

R4Grid_type heights(const Plan& plan, Storage storage) {
  R4Grid_type grid = noiseDem(plan.cols, plan.rows, plan.noise, {.storage = storage});
  fillWith(grid, [&](int32_t col, int32_t row) {
    const float z = grid.ExtractR4ValueColRow(col, row);
    return z == grid.nodata ? z : std::round(z / plan.step) * plan.step;
  });
  return grid;
}

/// A DEM in the working form, with the plan curvature of no curvature at all.
void prepare(DEM_type& dem, R4Grid_type&& elevations) {
  dem.plan = emptyGrid<R4Grid_type>(elevations.cols(), elevations.rows(),
                                    {.storage = elevations.onDisk ? Storage::disk : Storage::memory});
  fillWith(dem.plan, [](int32_t col, int32_t row) { return std::sin(col * 1.7 + row * 2.3); });
  takeElevations(dem, std::move(elevations));
  ASSERT_EQ(shiftElevations(dem), 0);
}

const std::vector<Plan>& terrains() {
  static const std::vector<Plan> plans{
      {60, 50, {.seed = 1}, 0.001F},
      {60, 50, {.seed = 2, .lakes = 4, .roughness = 30}, 1.0F},
      {70, 40, {.seed = 3, .holes = 0.05, .lakes = 2, .roughness = 60}, 10.0F},
      {40, 70, {.seed = 4, .roughness = 300}, 100.0F},
      {1, 30, {.seed = 5}, 1.0F},
      {30, 2, {.seed = 6}, 1.0F},
      {2, 2, {.seed = 7}, 1.0F},
  };
  return plans;
}

class Drainage : public InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, Drainage, ::testing::Values(Storage::memory, Storage::disk), storageName);

/// True if following the codes from every cell of data leads out of it.
bool leadsOut(const DEM_type& dem, const std::vector<float>& elevations, const std::vector<int32_t>& codes) {
  enum State : int8_t { unknown, onPath, out };
  std::vector<State> states(codes.size(), unknown);
  const auto indexOf = [&](ColRow cell) {
    return static_cast<std::size_t>(cell.row - 1) * static_cast<std::size_t>(dem.cols()) +
           static_cast<std::size_t>(cell.col - 1);
  };
  std::vector<std::size_t> path;
  for (int32_t row = 1; row <= dem.rows(); ++row)
    for (int32_t col = 1; col <= dem.cols(); ++col) {
      path.clear();
      for (ColRow at{.col = col, .row = row}; dem.contains(at);) {
        const std::size_t i = indexOf(at);
        if (elevations[i] == 0.0F || states[i] == out) break;
        if (states[i] == onPath || codes[i] < 1 || codes[i] > kDirections) return false;
        states[i] = onPath;
        path.push_back(i);
        at = stepFrom(at, codes[i]);
      }
      for (const std::size_t i : path) states[i] = out;
    }
  return true;
}

/// Conditions a DEM in the working form and holds what must be true of every result against it.
void expectConditioned(DEM_type& dem) {
  const std::vector<float> raw = cellsOf(dem.elev);
  ASSERT_EQ(FlowDirection(dem), 0);
  const std::vector<float> conditioned = cellsOf(dem.elev);
  const std::vector<float> angles = cellsOf(dem.aspect);
  R8Grid_type area;
  area.onDisk = dem.elev.onDisk;
  ASSERT_EQ(accumulator(dem, {.DAR8 = &area}), 0);
  ASSERT_EQ(dem.CalcD8(), 0);
  const std::vector<double> areas = cellsOf(area);
  const std::vector<int32_t> codes = cellsOf(dem.D8);
  EXPECT_TRUE(leadsOut(dem, conditioned, codes)) << "a circle of codes";

  const auto indexOf = [&](ColRow cell) {
    return static_cast<std::size_t>(cell.row - 1) * static_cast<std::size_t>(dem.cols()) +
           static_cast<std::size_t>(cell.col - 1);
  };
  const auto isData = [&](ColRow cell) { return dem.contains(cell) && raw[indexOf(cell)] > 0; };
  double cells = 0;
  double leaving = 0;
  for (int32_t row = 1; row <= dem.rows(); ++row) {
    for (int32_t col = 1; col <= dem.cols(); ++col) {
      const ColRow cell{.col = col, .row = row};
      const std::size_t i = indexOf(cell);
      if (!isData(cell)) {
        ASSERT_EQ(conditioned[i], 0.0F);
        ASSERT_LT(angles[i], 0.0F);
        continue;
      }
      ++cells;
      ASSERT_GE(angles[i], 0.0F) << col << ' ' << row;
      ASSERT_EQ(codes[i], codeOfAspect(angles[i]));
      const bool isRaised = conditioned[i] > raw[i] + 0.0006F;  // elevations are rounded to millimetres
      for (int32_t code = 1; code <= kDirections; ++code) {
        const ColRow n = stepFrom(cell, code);
        ASSERT_TRUE(!isRaised || (isData(n) && raw[indexOf(n)] > raw[i])) << "raised, and no pit of one cell";
        if (!isData(n)) leaving += areas[i] * static_cast<double>(FlowProportion(angles[i], opposite(code)));
      }
    }
  }
  EXPECT_NEAR(leaving / cells, 1.0, 1e-6);
}

TEST_P(Drainage, EveryCellDrainsToTheEdgeAndTheAreaIsConserved) {
  for (const Plan& plan : terrains()) {
    DEM_type dem;
    prepare(dem, heights(plan, GetParam()));
    expectConditioned(dem);
    const std::vector<float> conditioned = cellsOf(dem.elev);

    // A drained surface needs no further passage.
    console_.clear();
    ASSERT_EQ(FlowDirection(dem), 0);
    EXPECT_TRUE(console_.has("Drainage passages carved: 0\n")) << console_.text();
    EXPECT_EQ(cellsOf(dem.elev), conditioned);
  }
}

TEST(DrainageReal, EveryCellDrainsAndARunAgainGivesTheSameBytes) {
  SKIP_WITHOUT_REAL_DATA();
  const ConsoleCapture console;
  for (const char* name : {"small", "small_gully", "medium", "medium_basin", "medium_ridges"}) {
    std::vector<float> results[2][2];
    for (auto& result : results) {
      DEM_type dem;
      dem.file = dataFolder() + "/raster/" + name;
      ASSERT_EQ(dem.ResolveDEM(), 0);
      ASSERT_EQ(dem.GetElev(), 0);
      dem.SetLengthScale(2 * dem.cellsize);
      dem.plan = dem.GetPlanCurvature();
      ASSERT_EQ(shiftElevations(dem), 0);
      expectConditioned(dem);
      result[0] = cellsOf(dem.elev);
      result[1] = cellsOf(dem.aspect);
    }
    EXPECT_EQ(results[0][0], results[1][0]) << name;
    EXPECT_EQ(results[0][1], results[1][1]) << name;
  }
}

/// The DEM conditioned by the reference implementation: surface, angles, areas.
void expectReference(DEM_type& dem) {
  PlainTerrain plain{dem.cols(), dem.rows(), cellsOf(dem.elev), cellsOf(dem.plan)};
  for (float& cell : plain.elev) cell = std::round(cell * 1000.0F) / 1000.0F;
  ASSERT_EQ(FlowDirection(dem), 0);
  EXPECT_TRUE(plainFlood(plain).drained);
  int64_t flats = 0;
  const std::vector<float> angles = plainFlow(plain, flats);
  EXPECT_EQ(cellsOf(dem.elev), plain.elev);
  EXPECT_EQ(cellsOf(dem.aspect), angles);
  R8Grid_type wide;
  R4Grid_type byCode;
  ASSERT_EQ(accumulator(dem, {.DA = &dem.DA, .DAR8 = &wide}), 0);
  ASSERT_EQ(dem.CalcD8(), 0);
  ASSERT_EQ(accumulator(dem, {.DA = &byCode, .useD8 = true}), 0);
  EXPECT_EQ(cellsOf(dem.DA), plainAccumulation(plain, angles));
  EXPECT_EQ(cellsOf(wide), plainAccumulationR8(plain, angles));
  EXPECT_EQ(cellsOf(byCode), plainAccumulationD8(dem.cols(), dem.rows(), cellsOf(dem.D8)));
}

TEST(DrainageReference, MadeAndRealTerrainsGiveTheSameBits) {
  const ConsoleCapture console;
  for (const Plan& plan : terrains()) {
    DEM_type dem;
    prepare(dem, heights(plan, Storage::memory));
    expectReference(dem);
  }
  for (uint32_t seed = 100; seed < 130; ++seed) {
    DEM_type dem;
    prepare(
        dem,
        heights({31, 23, {.seed = seed, .holes = 0.02, .lakes = 1, .roughness = 40}, seed % 2 ? 5.0F : 0.1F},
                Storage::memory));
    expectReference(dem);
  }
  // Directions that lead in circles, and into cells without one.
  std::mt19937 random(9);
  for (int round = 0; round < 30; ++round) {
    DEM_type dem;
    dem.aspect = emptyGrid<R4Grid_type>(12, 9);
    fillWith(dem.aspect, [&](int32_t, int32_t) {
      const auto eighth = static_cast<double>(random() % 18);
      return eighth > 16 ? -1.0 : eighth * 0.39269908;
    });
    static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(dem.aspect);
    ASSERT_EQ(accumulator(dem, {.DA = &dem.DA}), 0);
    const PlainTerrain plain{12, 9, std::vector<float>(108, 1.0F), {}};
    EXPECT_EQ(cellsOf(dem.DA), plainAccumulation(plain, cellsOf(dem.aspect)));
  }
}

TEST(DrainageReference, RealTerrainsGiveTheSameBits) {
  SKIP_WITHOUT_REAL_DATA();
  const ConsoleCapture console;
  for (const char* name : {"small", "small_gully", "medium_ridges"}) {
    DEM_type dem;
    dem.file = dataFolder() + "/raster/" + name;
    ASSERT_EQ(dem.ResolveDEM(), 0);
    ASSERT_EQ(dem.GetElev(), 0);
    dem.SetLengthScale(2 * dem.cellsize);
    dem.plan = dem.GetPlanCurvature();
    ASSERT_EQ(shiftElevations(dem), 0);
    expectReference(dem);
  }
}

TEST(DrainageStorage, GridsOnDiskGiveTheSameBytes) {
  const ConsoleCapture console;
  const ScratchDir scratch;
  for (const Plan& plan : terrains()) {
    std::vector<std::vector<float>> results[2];
    for (const Storage storage : {Storage::memory, Storage::disk}) {
      DEM_type dem;
      prepare(dem, heights(plan, storage));
      ASSERT_EQ(FlowDirection(dem), 0);
      ASSERT_EQ(accumulator(dem, {.DA = &dem.DA}), 0);
      auto& result = results[storage == Storage::memory ? 0 : 1];
      result = {cellsOf(dem.elev), cellsOf(dem.aspect), cellsOf(dem.DA)};
      ASSERT_EQ(dem.CalcD8(), 0);
      R4Grid_type byCode;
      byCode.onDisk = dem.D8.onDisk;
      ASSERT_EQ(accumulator(dem, {.DA = &byCode, .useD8 = true}), 0);
      result.push_back(cellsOf(byCode));
    }
    EXPECT_EQ(results[0], results[1]);
  }
}

/// The two surfaces over a flat by passes over all of its cells, as they are defined.
std::vector<int32_t> ranksByPasses(const Bordered& lattice, const std::vector<Bordered::At>& cells,
                                   const std::vector<Rim>& rims) {
  const auto indexOf = [&](Bordered::At at) {
    return std::ranges::find(cells, at) - cells.begin() +
           (std::ranges::find(cells, at) == cells.end() ? 1 : 0);
  };
  const auto spread = [&](std::vector<int32_t>& values, std::vector<std::size_t> front, auto step, auto meets,
                          auto value) {
    while (true) {
      step();
      std::vector<std::size_t> next;
      for (const std::size_t i : front)
        for (int32_t code = 1; code <= kDirections; ++code) {
          const auto j = static_cast<std::size_t>(indexOf(lattice.step(cells[i], code)));
          if (j >= cells.size() || !meets(values[j])) continue;
          values[j] = value();
          next.push_back(j);
        }
      if (next.empty()) return;
      front = next;
    }
  };
  std::vector<int32_t> away(cells.size(), 0);
  std::vector<int32_t> toward(cells.size(), 2);
  std::vector<std::size_t> high;
  std::vector<std::size_t> outlets;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (rims[i] == Rim::outlet) {
      away[i] = -1;
      toward[i] = 0;
      outlets.push_back(i);
    } else if (rims[i] == Rim::high) {
      away[i] = 1;
      high.push_back(i);
    }
  }
  spread(
      away, high,
      [&] {
        for (int32_t& value : away) value += value > 0 ? 1 : 0;
      },
      [](int32_t value) { return value == 0; }, [] { return 1; });
  int32_t level = 0;
  spread(
      toward, outlets,
      [&] {
        level += 2;
        for (int32_t& value : toward) value += value == level ? 2 : 0;
      },
      [&](int32_t value) { return value == level + 2; }, [&] { return level; });
  for (std::size_t i = 0; i < cells.size(); ++i) toward[i] += std::max(away[i], 0);
  return toward;
}

TEST(Flats, RanksInClosedFormAreThoseOfThePasses) {
  std::mt19937 random(3);
  Grid_Header extent;
  ASSERT_EQ(CreateGridHeader(extent, 14, 11, 0, 0, {.size = {.cellsize = 1}}), 0);
  const Bordered lattice(extent);
  for (int round = 0; round < 300; ++round) {
    // A random patch, with rims of every kind, or none of some.
    std::vector<bool> member(14 * 11);
    for (std::size_t i = 0; i < member.size(); ++i) member[i] = random() % 4 != 0;
    const auto isMember = [&](Bordered::At at) {
      const ColRow cell = lattice.place(at);
      return extent.contains(cell) && member[static_cast<std::size_t>((cell.row - 1) * 14 + cell.col - 1)];
    };
    std::vector<bool> met(200);
    Flat<Bordered> flat(lattice);
    const Bordered::At start = lattice.at(7, 5);
    met[static_cast<std::size_t>(start)] = true;
    ASSERT_TRUE(flat.collect(start, [&](Bordered::At at) {
      if (at < 0 || !isMember(at) || met[static_cast<std::size_t>(at)]) return false;
      return static_cast<bool>(met[static_cast<std::size_t>(at)] = true);
    }));
    std::vector<Rim> rims(flat.cells().size());
    const unsigned outlets = round % 3 == 0 ? 1000 : 12;
    const unsigned highs = round % 5 == 0 ? 1000 : 9;
    for (Rim& rim : rims)
      rim = random() % outlets == 0 ? Rim::outlet : random() % highs == 0 ? Rim::high : Rim::none;
    std::size_t next = 0;
    ASSERT_TRUE(flat.rank([&](Bordered::At) { return rims[next++]; }));
    const std::vector<int32_t> expected = ranksByPasses(lattice, flat.cells(), rims);
    for (std::size_t i = 0; i < rims.size(); ++i) ASSERT_EQ(flat.rankOf(i), expected[i]) << round << ' ' << i;
  }
}

TEST_P(Drainage, AccumulationAddsWhatFlowsInAndRefusesWhatDoesNotFit) {
  constexpr float east = 1.5707964F;
  DEM_type dem;
  dem.aspect = gridOf<R4Grid_type>("1.5707964 1.5707964 1.5707964 .\n0.7853982 0.3926991 0 .",
                                   {.storage = GetParam()});
  static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(dem.aspect);
  dem.DA.onDisk = dem.aspect.onDisk;
  ASSERT_EQ(accumulator(dem, {.DA = &dem.DA}), 0);
  EXPECT_EQ(show(dem.DA),
            "1 3.5 6 0\n1 1 1 0\n");  // the middle cell of the south gives half to each
  EXPECT_EQ(dem.DA.nodata, kNodata);

  // A circle of four cells is cut where it closes: each cell is counted once on the way round.
  dem.aspect = gridOf<R4Grid_type>("1.5707964 3.1415927\n0 4.712389", {.storage = GetParam()});
  static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(dem.aspect);
  dem.DA = R4Grid_type{};
  dem.DA.onDisk = dem.aspect.onDisk;
  ASSERT_EQ(accumulator(dem, {.DA = &dem.DA}), 0);
  EXPECT_EQ(show(dem.DA), "5 2\n4 3\n");

  // Something that is routed: doubled, negative values cut, zeros filled from around them.
  dem.aspect = gridOf<R4Grid_type>("1.5707964 1.5707964 1.5707964 1.5707964", {.storage = GetParam()});
  static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(dem.aspect);
  R4Grid_type rain = gridOf<R4Grid_type>("4 0 0 -1", {.storage = GetParam()});
  R4Grid_type routed;
  R8Grid_type area;
  routed.onDisk = area.onDisk = dem.aspect.onDisk;
  ASSERT_EQ(accumulator(dem, {.accum = &routed,
                              .ingrid = &rain,
                              .DAR8 = &area,
                              .infillZeros = true,
                              .clipNegative = true,
                              .scale = 2.0F}),
            0)
      << console_.text();
  EXPECT_EQ(show(routed), "8 16 24 24\n");
  EXPECT_EQ(show(area), "1 2 3 4\n");
  EXPECT_EQ(codeOfAspect(east), 1);

  R4Grid_type none;
  rain = gridOf<R4Grid_type>("0 0 0 0");
  const std::pair<AccumulatorArgs, const char*> refused[] = {
      {{}, "Missing argument, need DA grid"},
      {{.DA = &none, .infillZeros = true}, "Warning: cannot infill nonexistent grid"},
      {{.accum = &none, .DA = &none}, "Warning: no ingrid to calculate accumulation from"},
      {{.ingrid = &none, .DA = &none}, "Must create ingrid prior to calling this subroutine"},
      {{.ingrid = &rain, .DA = &none}, "Missing argument, need accumulation grid"},
      {{.DA = &none, .useD8 = true}, "D8 grid must be created prior to calling this routine"},
      {{.accum = &none, .ingrid = &rain, .infillZeros = true}, "All precipitation values are zero"},
  };
  for (const auto& [args, message] : refused) {
    EXPECT_EQ(accumulator(dem, args), -1);
    EXPECT_TRUE(console_.has(message)) << message << console_.text();
  }
}

}  // namespace
}  // namespace terrain::test
