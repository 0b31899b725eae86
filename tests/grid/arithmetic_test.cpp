#include "grid/arithmetic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;
using ::testing::HasSubstr;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

class GridArithmetic : public test::InBothStorages {
 protected:
  template <class G = R4Grid_type>
  [[nodiscard]] G grid(std::string_view text, float nodata = kNodata) const {
    return test::gridOf<G>(text, {.nodata = nodata, .storage = GetParam()});
  }
  template <class G>
  struct Case {
    std::function<int64_t(G&, const G&)> run;
    std::string_view expected;
  };
  /// Each operation gives 0 for "6 . -8 0 5" and "2 3 . 0 4" and turns the first into `expected`.
  template <class G>
  void expectEach(const std::vector<Case<G>>& cases) const {
    for (const Case<G>& c : cases) {
      auto changed = grid<G>("6 . -8 0 5");
      EXPECT_EQ(c.run(changed, grid<G>("2 3 . 0 4")), 0) << &c - cases.data();
      EXPECT_EQ(test::show(changed), std::string(c.expected) + '\n') << &c - cases.data();
      EXPECT_EQ(changed.status, 0);
    }
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, GridArithmetic, test::everyStorage(), test::storageName);

/// Moves what an operation makes into the grid that is compared.
template <class G>
int keep(G& grid, G made) {
  grid = std::move(made);
  return grid.status;
}

TEST_P(GridArithmetic, EveryOperationChangesTheCellsThatHoldValues) {
  using R4 = R4Grid_type;
  using R8 = R8Grid_type;
  using I4 = I4Grid_type;
  using I8 = I8Grid_type;
  const std::vector<ColRow> list{{2, 1}, {0, 1}, {5, 1}, {1, 2}};
  expectEach<R4>({{[](R4& g, const R4& o) { return keep(g, MultiplyR4Grids(g, o)); }, "12 . . 0 20"},
                  {[](R4& g, const R4& o) { return keep(g, SubtractR4Grids(g, o)); }, "4 . . 0 1"},
                  {[](R4& g, const R4& o) { return keep(g, DivideR4Grids(g, o)); }, "3 . . . 1.25"},
                  {[](R4& g, const R4& o) { return g.MultiplyR4(o); }, "12 . . 0 20"},
                  {[](R4& g, const R4& o) { return g.AddR4Grid(o); }, "8 . . 0 9"},
                  {[](R4& g, const R4& o) { return g.SubtractR4Grid(o); }, "4 . . 0 1"},
                  {[](R4& g, const R4&) { return g.scalarMultiplyR4(0.5F); }, "3 . -4 0 2.5"},
                  {[](R4& g, const R4&) { return g.scalarDivideR4(0.5F); }, "12 . -16 0 10"},
                  {[](R4& g, const R4&) { return g.scalarAddR4(0.5F); }, "6.5 . -7.5 0.5 5.5"},
                  {[](R4& g, const R4&) { return g.ValueMinusR4Grid(1); }, "-5 . 9 1 -4"},
                  {[](R4& g, const R4&) { return g.ValueMinusR4Grid(1, true); }, "-5 . -8 0 -4"},
                  {[](R4& g, const R4&) { return g.SetToMinR4(1); }, "1 . -8 0 1"},
                  {[](R4& g, const R4&) { return g.SetToMaxR4(1); }, "6 . 1 1 5"},
                  {[](R4& g, const R4&) { return g.SetAllR4(7); }, "7 7 7 7 7"},
                  {[](R4& g, const R4&) { return g.SetNegativeR4({.col1 = 5, .col2 = 9}); }, "6 . -8 0 -5"},
                  {[](R4& g, const R4&) { return g.SetNegativeR4({.col1 = 8}); }, "6 . -8 0 5"},
                  {[](R4& g, const R4&) { return g.SetPositiveR4({.row2 = 1}); }, "6 . 8 0 5"},
                  {[](R4& g, const R4&) { return g.SetPositiveR4({.row1 = 2}); }, "6 . -8 0 5"},
                  {[](R4& g, const R4& o) { return g.R4GridCopy(o); }, "2 3 . 0 4"},
                  {[&](R4& g, const R4&) { return g.SetR4List(list, 9); }, "6 9 -8 0 9"}});
  expectEach<R8>({{[](R8& g, const R8& o) { return keep(g, MultiplyR8Grids(g, o)); }, "12 . . 0 20"},
                  {[](R8& g, const R8& o) { return keep(g, SubtractR8Grids(g, o)); }, "4 . . 0 1"},
                  {[](R8& g, const R8&) { return g.scalarMultiplyR8(0.5); }, "3 . -4 0 2.5"},
                  {[](R8& g, const R8&) { return g.ValueMinusR8Grid(1); }, "-5 . 9 1 -4"},
                  {[](R8& g, const R8&) { return g.R8GridMinusValue(1); }, "5 . -9 -1 4"},
                  {[](R8& g, const R8&) { return g.MinR8({.col1 = 4}) == 0 ? 0 : 1; }, "6 . -8 0 5"}});
  expectEach<I4>({{[](I4& g, const I4&) { return g.SetValidI4(7); }, "7 . 7 7 7"},
                  {[](I4& g, const I4&) { return g.SetNegativeI4({.col1 = 3}); }, "6 . -8 0 -5"},
                  {[](I4& g, const I4&) { return g.SetPositiveI4({.col1 = 2}); }, "6 . 8 0 5"},
                  {[](I4& g, const I4& o) { return g.I4GridCopy(o); }, "2 3 . 0 4"},
                  {[](I4& g, const I4&) { return g.CountNonZeroI4() - 3; }, "6 . -8 0 5"}});
  expectEach<I8>({{[](I8& g, const I8&) { return g.SetPositiveI8({.col1 = 2}); }, "6 . 8 0 5"},
                  {[](I8& g, const I8&) { return g.AbsValI8(); }, "6 . 8 0 5"},
                  {[](I8& g, const I8&) { return g.maxI8({.col1 = 2}) - 5; }, "6 . -8 0 5"}});
  auto bytes = grid<I1Grid_type>("1 2\n 3 4");
  EXPECT_EQ(bytes.MaxI1({.row2 = 1}), 2);
  EXPECT_EQ(bytes.SetAllI1(3), 0);
  EXPECT_EQ(test::show(bytes), "3 3\n3 3\n");
}

TEST_P(GridArithmetic, OtherNodataNaNAndOtherCounts) {
  auto changed = grid("10 . -4 0 100", 50);
  changed.SetR4CellColRow(4, 1, kNaN);
  EXPECT_EQ(changed.SetToMaxR4(1), 0);
  EXPECT_EQ(changed.SetToMinR4(20), 0);
  EXPECT_EQ(changed.scalarDivideR4(0), -1);
  EXPECT_EQ(changed.AddR4Grid(grid("1 1 1 1 .", 99)), 0);
  EXPECT_TRUE(test::sameBits(test::cellsOf(changed)[3], kNaN));
  EXPECT_EQ(test::show(changed), "11 . 2 . .\n");
  EXPECT_EQ(changed.SetNegativeR4(), 0);  // nodata not excepted
  EXPECT_EQ(test::cellsOf(changed)[1], -50.0F);
  auto labels = grid<I4Grid_type>("-2147483648 . -3");
  EXPECT_EQ(labels.AbsValI4(), 0);
  EXPECT_EQ(test::show(labels), "2147483647 . 3\n");
  EXPECT_EQ(changed.MultiplyR4(grid("6 5")), -1);
  EXPECT_EQ(changed.status, -1);
  EXPECT_FALSE(SubtractR4Grids(changed, grid("6 5")).GridExists());
  for (const char* text : {"ERROR: scalarDivideR4 in Grid_Module\n Cannot divide by zero",
                           "ERROR: MultiplyR8Grids in Grid_module\n Input grid dimensions do not match"})
    EXPECT_THAT(console_.text(), HasSubstr(text));
}

TEST_P(GridArithmetic, ClonesAndCopiesHoldTheSameCellsWhereverTheyAre) {
  const auto expectClones = [](const auto& source, auto cloneOf) {
    for (const bool onDisk : {false, true}) {
      std::remove_cvref_t<decltype(source)> clone;
      EXPECT_EQ((source.*cloneOf)(clone, onDisk), 0);
      EXPECT_TRUE(clone.onDisk == onDisk && SameGridGeometry(clone, source));
      EXPECT_EQ(test::show(clone), test::show(source));
      EXPECT_EQ((clone.*cloneOf)(clone, onDisk), -1);
    }
  };
  const auto source = grid("1 . 3\n 4 5 6", 77);
  expectClones(source, &R4Grid_type::cloneR4);
  expectClones(grid<R8Grid_type>("1.5 ."), &R8Grid_type::cloneR8);
  expectClones(grid<I4Grid_type>("2 ."), &I4Grid_type::cloneI4);
  expectClones(grid<I8Grid_type>("3 ."), &I8Grid_type::cloneI8);
  auto copy = grid("0 0 0\n 0 0 0");
  EXPECT_EQ(copy.R4GridCopy(source), 0);
  EXPECT_EQ(test::show(copy), "1 . 3\n4 5 6\n");  // nodata of the copy, which is another one
  EXPECT_EQ(grid("0 0 0").R4GridCopy(source), -1);
  EXPECT_EQ(R4Grid_type().cloneR4(copy), -1);
  for (const char* text : {"ERROR: R4GridCopy in Grid_Module\n Grid extents do not match",
                           "ERROR: cloneR4 in Grid_Modul\n CreateGrid failed for clone"})
    EXPECT_THAT(console_.text(), HasSubstr(text));
}

TEST_P(GridArithmetic, MinimumAndMaximumCountWhatTheyAreAskedFor) {
  constexpr float kHighest = std::numeric_limits<float>::max();
  auto dem = grid("5 -3 . 8\n 2 8 0 2");
  dem.SetR4CellColRow(3, 2, kNaN);
  EXPECT_EQ(dem.MinR4(), -3);
  EXPECT_EQ(dem.MaxR4(), 8);
  EXPECT_EQ(dem.MinR4({.greaterThanZero = true}), 2);
  EXPECT_EQ(dem.MinR4({.lowerBound = 2.0F}), 5);
  EXPECT_EQ(dem.MinR4({.lowerBound = -20000.0F}), -3);  // nodata is no value
  EXPECT_EQ(dem.MinR4({.greaterThanZero = false, .lowerBound = 2.0F}), -3);
  EXPECT_EQ(dem.MinR4({.includeNodata = true}), kNodata);
  EXPECT_EQ(dem.MinR4({.window = {.col1 = -5, .col2 = 1}}), 2);
  EXPECT_EQ(dem.MinR4({.window = {.col1 = 3, .col2 = 3}}), kHighest);
  EXPECT_EQ(dem.MaxR4({.window = {.row1 = 3}}), -kHighest);
  EXPECT_EQ(dem.MinR4({.greaterThanZero = true, .includeNodata = true}), kHighest);
  EXPECT_EQ(dem.status, -1);
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: MinR4 in GridModule\n Cannot specify greaterThanZero and "
                                         "IncludeNodata if nodata > 0.\n"));
  auto high = grid("5 -3 . 8", 7);
  EXPECT_EQ(high.MinR4(), -3);
  EXPECT_EQ(high.MinR4({.includeNodata = true, .lowerBound = 5.0F}), 7);
  EXPECT_EQ(high.MinR4({.lowerBound = 5.0F}), 8);
  high.nodata = kNaN;
  EXPECT_EQ(high.MaxR4(), 8);
  EXPECT_EQ(grid<I4Grid_type>("-9999 .").maxI4(), std::numeric_limits<int32_t>::lowest());
  EXPECT_EQ(grid<I4Grid_type>("4 -2147483648", 9).MinI4(), std::numeric_limits<int32_t>::lowest());
}

TEST_P(GridArithmetic, TheFirstOfTheSmallestIsFoundOnNoise) {
  auto dem = test::noiseDem(150, 40, {.seed = 4, .holes = 0.2}, {.storage = GetParam()});
  test::fillWith(dem, [&](int32_t col, int32_t row) {
    return std::floor(dem.ExtractR4ValueColRow(col, row) / 10) * 10 + 1;  // many ties
  });
  float least = std::numeric_limits<float>::max();
  ColRow expected, at;
  for (int32_t row = 3; row <= 38; ++row)
    for (int32_t col = 17; col <= 133; ++col)
      if (const float cell = dem.ExtractR4ValueColRow(col, row); cell > 250 && cell < least) {
        least = cell;
        expected = {col, row};
      }
  EXPECT_EQ(dem.MinR4At(at, {.window = {17, 133, 3, 38}, .lowerBound = 250.0F}), least);
  EXPECT_EQ(at, expected);
}

TEST_P(GridArithmetic, AMergedBlockGivesLowerLabels) {
  auto labels = grid<I4Grid_type>("0 5 .\n 9 2 0");
  const std::vector<int32_t> block{4, 4, 4, 4, 0, 4, 4, 4, 4};
  EXPECT_EQ(labels.MergeWindowI4({2, 4, 1, 3}, block), 0);
  EXPECT_EQ(labels.MergeWindowI4({0, 2, 1, 3}, block), 0);
  EXPECT_EQ(labels.MergeWindowI4({1, 4, 1, 3}, block), -1);
  EXPECT_EQ(test::show(labels), "4 4 .\n9 2 0\n");
}

TEST(Arithmetic, AScratchFileThatFailsIsReported) {
  test::ConsoleCapture console;
  test::ScratchDir scratch;
  // Larger than the pages that are held, so that rows must come from the file.
  auto grid = test::emptyGrid<R4Grid_type>(4000, 4000, {.storage = Storage::disk});
  auto other = test::emptyGrid<R4Grid_type>(4000, 4000);
  std::filesystem::resize_file(grid.scratchFile, 0);
  R4Grid_type clone;
  EXPECT_EQ(grid.cloneR4(clone), -1);
  EXPECT_THAT(console.text(), HasSubstr("ERROR: cloneR4 in Grid_Modul\n FILE: " + grid.scratchFile +
                                        "\n Error reading r4array\n"));
  EXPECT_EQ(grid.scalarMultiplyR4(2), -1);
  EXPECT_EQ(other.MultiplyR4(grid), -1);
  units().close(grid.scratchUnit, Closing::keep);
  EXPECT_EQ(grid.SetAllR4(1), -1);
  EXPECT_EQ(MultiplyR4Grids(other, grid).status, -1);
  EXPECT_THAT(console.text(), HasSubstr("CellAccess not set for on-disk grid (2nd argument)"));
}

}  // namespace
}  // namespace terrain
