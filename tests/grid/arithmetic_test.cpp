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
constexpr WindowArgs kInner{.col1 = 2, .col2 = 40, .row1 = 0, .row2 = 4};

// Every operation once over noise with holes: what it leaves in memory, on disk in row access and on disk in
// cell access must be the same bytes.

/// Values of both signs, zeros, holes and a NaN, under a nodata value of either sign.
template <class G>
G noise(int32_t seed, Storage storage, float nodata) {
  G grid = test::emptyGrid<G>(37, 6, {.nodata = nodata, .storage = storage});
  test::fillWith(grid, [&](int32_t col, int32_t row) -> double {
    const int32_t mixed = (col * 7919 + row * 104729 + seed * 1299709) % 211;
    return mixed % 9 == 0 ? static_cast<double>(grid.nodataValue()) : mixed % 7 == 0 ? 0 : 100 - mixed;
  });
  if constexpr (std::is_floating_point_v<typename G::CellValue>) grid.setCell(30, 5, kNaN, {});
  return grid;
}

template <class G>
struct Operation {
  const char* name;
  std::function<double(G&, G&)> run;  // on a grid and another one; its status or value
};

template <class G>
void expectSameEverywhere(const std::vector<Operation<G>>& operations) {
  test::ConsoleCapture console;
  test::ScratchDir scratch;
  for (const float nodata : {kNodata, 0.0F, 99.0F})
    for (const Operation<G>& operation : operations) {
      SCOPED_TRACE(std::string(operation.name) + " nodata " + std::to_string(nodata));
      auto inMemory = noise<G>(1, Storage::memory, nodata);
      auto other = noise<G>(2, Storage::memory, nodata);
      const double expected = operation.run(inMemory, other);
      EXPECT_EQ(inMemory.status, 0);
      for (const bool byCell : {false, true}) {
        auto onDisk = noise<G>(1, Storage::disk, nodata);
        auto otherOnDisk = noise<G>(2, Storage::disk, nodata);
        for (G* grid : {&onDisk, &otherOnDisk})
          ASSERT_EQ(byCell ? grid->SetCellAccess() : grid->SetRowAccess(), 0);
        EXPECT_EQ(operation.run(onDisk, otherOnDisk), expected);
        const auto a = test::cellsOf(inMemory);
        const auto b = test::cellsOf(onDisk);
        EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])), 0);
      }
    }
}

/// Moves what an operation makes into the grid that is compared.
template <class G>
double keep(G& grid, G made) {
  grid = std::move(made);
  return grid.status;
}

TEST(Arithmetic, MemoryAndDiskGiveTheSameBytes) {
  using R4 = R4Grid_type;
  using R8 = R8Grid_type;
  using I4 = I4Grid_type;
  using I8 = I8Grid_type;
  using I1 = I1Grid_type;
  expectSameEverywhere<R4>({
      {"MultiplyR4Grids", [](R4& g, R4& o) { return keep(g, MultiplyR4Grids(g, o)); }},
      {"SubtractR4Grids", [](R4& g, R4& o) { return keep(g, SubtractR4Grids(g, o)); }},
      {"DivideR4Grids", [](R4& g, R4& o) { return keep(g, DivideR4Grids(g, o)); }},
      {"MultiplyR4", [](R4& g, R4& o) { return g.MultiplyR4(o); }},
      {"AddR4Grid", [](R4& g, R4& o) { return g.AddR4Grid(o); }},
      {"SubtractR4Grid", [](R4& g, R4& o) { return g.SubtractR4Grid(o); }},
      {"scalarMultiplyR4", [](R4& g, R4&) { return g.scalarMultiplyR4(0.1F); }},
      {"scalarDivideR4", [](R4& g, R4&) { return g.scalarDivideR4(0.3F); }},
      {"scalarAddR4", [](R4& g, R4&) { return g.scalarAddR4(0.1F); }},
      {"ValueMinusR4Grid", [](R4& g, R4&) { return g.ValueMinusR4Grid(0.1F); }},
      {"ValueMinusR4Grid above 0", [](R4& g, R4&) { return g.ValueMinusR4Grid(0.1F, true); }},
      {"SetToMinR4", [](R4& g, R4&) { return g.SetToMinR4(7); }},
      {"SetToMaxR4", [](R4& g, R4&) { return g.SetToMaxR4(7); }},
      {"SetAllR4", [](R4& g, R4&) { return g.SetAllR4(7); }},
      {"SetNegativeR4", [](R4& g, R4&) { return g.SetNegativeR4(kInner); }},
      {"SetPositiveR4", [](R4& g, R4&) { return g.SetPositiveR4({.row1 = 3}); }},
      {"R4GridCopy", [](R4& g, R4& o) { return g.R4GridCopy(o); }},
      {"MinR4", [](R4& g, R4&) { return g.MinR4({.window = kInner}); }},
      {"MinR4 above", [](R4& g, R4&) { return g.MinR4({.lowerBound = 5.0F}); }},
      {"MaxR4", [](R4& g, R4&) { return g.MaxR4({.window = kInner}); }},
      {"SetR4List",
       [](R4& g, R4&) {
         return g.SetR4List(std::vector<ColRow>{{2, 2}, {0, 1}, {37, 6}, {1, 7}}, 5);
       }},
  });
  expectSameEverywhere<R8>({
      {"MultiplyR8Grids", [](R8& g, R8& o) { return keep(g, MultiplyR8Grids(g, o)); }},
      {"SubtractR8Grids", [](R8& g, R8& o) { return keep(g, SubtractR8Grids(g, o)); }},
      {"scalarMultiplyR8", [](R8& g, R8&) { return g.scalarMultiplyR8(0.1); }},
      {"ValueMinusR8Grid", [](R8& g, R8&) { return g.ValueMinusR8Grid(0.1); }},
      {"R8GridMinusValue", [](R8& g, R8&) { return g.R8GridMinusValue(0.1); }},
      {"MinR8", [](R8& g, R8&) { return g.MinR8(kInner); }},
  });
  const std::vector<int32_t> block(20, 9);
  expectSameEverywhere<I4>({
      {"SetValidI4", [](I4& g, I4&) { return g.SetValidI4(7); }},
      {"SetNegativeI4", [](I4& g, I4&) { return g.SetNegativeI4(kInner); }},
      {"SetPositiveI4", [](I4& g, I4&) { return g.SetPositiveI4(kInner); }},
      {"AbsValI4", [](I4& g, I4&) { return g.AbsValI4(); }},
      {"I4GridCopy", [](I4& g, I4& o) { return g.I4GridCopy(o); }},
      {"MinI4", [](I4& g, I4&) { return g.MinI4(kInner); }},
      {"maxI4", [](I4& g, I4&) { return g.maxI4(kInner); }},
      {"CountNonZeroI4", [](I4& g, I4&) { return static_cast<double>(g.CountNonZeroI4()); }},
      {"MergeWindowI4",
       [&](I4& g, I4&) {
         return g.MergeWindowI4({35, 39, 5, 8}, block);
       }},
  });
  expectSameEverywhere<I8>({
      {"SetPositiveI8", [](I8& g, I8&) { return g.SetPositiveI8(kInner); }},
      {"AbsValI8", [](I8& g, I8&) { return g.AbsValI8(); }},
      {"maxI8", [](I8& g, I8&) { return static_cast<double>(g.maxI8(kInner)); }},
  });
  expectSameEverywhere<I1>({
      {"SetAllI1", [](I1& g, I1&) { return g.SetAllI1(3); }},
      {"MaxI1", [](I1& g, I1&) { return g.MaxI1(kInner); }},
  });
}

class GridArithmetic : public test::InBothStorages {
 protected:
  [[nodiscard]] test::GridPlan plan(float nodata = kNodata) const {
    return {.nodata = nodata, .storage = GetParam()};
  }
  [[nodiscard]] R4Grid_type r4(std::string_view text, float nodata = kNodata) const {
    return test::gridOf<R4Grid_type>(text, plan(nodata));
  }
  [[nodiscard]] I4Grid_type i4(std::string_view text, float nodata = kNodata) const {
    return test::gridOf<I4Grid_type>(text, plan(nodata));
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, GridArithmetic, ::testing::Values(Storage::memory, Storage::disk),
                         test::storageName);

TEST_P(GridArithmetic, AResultNeedsBothValues) {
  const auto a = r4("6 . 8 9 5");
  auto b = r4("2 3 . 0 5", 99);
  b.SetR4CellColRow(5, 1, kNaN);
  EXPECT_EQ(test::show(MultiplyR4Grids(a, b)), "12 . . 0 .\n");
  EXPECT_EQ(test::show(SubtractR4Grids(a, b)), "4 . . 9 .\n");
  EXPECT_EQ(test::show(DivideR4Grids(a, b)), "3 . . . .\n");
  auto c = r4("6 . 8 9 5");
  EXPECT_EQ(c.AddR4Grid(b), 0);
  EXPECT_EQ(test::show(c), "8 . . 9 .\n");
  EXPECT_EQ(c.SubtractR4Grid(c), 0);
  EXPECT_EQ(test::show(c), "0 . . 0 .\n");

  const auto unlike = r4("1 2");
  const auto none = SubtractR4Grids(a, unlike);
  EXPECT_EQ(none.status, -1);
  EXPECT_FALSE(none.GridExists());
  EXPECT_EQ(c.MultiplyR4(unlike), -1);
  EXPECT_EQ(c.status, -1);
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: MultiplyR8Grids in Grid_module\n Input grid dimensions do"));
}

TEST_P(GridArithmetic, NumbersLeaveNodataAndNaNAlone) {
  for (const float nodata : {kNodata, 50.0F}) {
    auto grid = r4("10 . -4 0 100", nodata);
    grid.SetR4CellColRow(4, 1, kNaN);
    EXPECT_EQ(grid.SetToMaxR4(1), 0);
    EXPECT_EQ(grid.SetToMinR4(20), 0);
    EXPECT_EQ(grid.scalarAddR4(1), 0);
    EXPECT_EQ(grid.scalarDivideR4(0.5F), 0);
    EXPECT_EQ(grid.scalarDivideR4(0), -1);
    EXPECT_EQ(grid.ValueMinusR4Grid(10, true), 0);
    const auto cells = test::cellsOf(grid);
    EXPECT_TRUE(test::sameBits(cells[3], kNaN));
    grid.SetR4CellColRow(4, 1, 0);
    EXPECT_EQ(test::show(grid), "-12 . 6 0 -32\n") << nodata;
  }
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: scalarDivideR4 in Grid_Module\n Cannot divide by zero"));
}

TEST_P(GridArithmetic, SignsAreMarksWithinAWindow) {
  auto grid = r4("1 -2 .\n 3 4 -5\n 6 . 7");
  EXPECT_EQ(grid.SetNegativeR4({.col1 = 2, .col2 = 9}), 0);
  EXPECT_EQ(test::show(grid), "1 -2 .\n3 -4 -5\n6 . -7\n");
  EXPECT_EQ(grid.SetPositiveR4({.row1 = 2, .row2 = 2}), 0);
  EXPECT_EQ(test::show(grid), "1 -2 .\n3 4 5\n6 . -7\n");
  EXPECT_EQ(grid.SetNegativeR4({.col1 = 8, .col2 = 9}), 0);
  EXPECT_EQ(test::show(grid), "1 -2 .\n3 4 5\n6 . -7\n");
  auto positive = r4("1 .", 9999);
  EXPECT_EQ(positive.SetNegativeR4(), 0);
  EXPECT_EQ(test::show(positive), "-1 -9999\n");

  auto labels = i4("-2147483648 . -3");
  EXPECT_EQ(labels.AbsValI4(), 0);
  EXPECT_EQ(test::show(labels), "2147483647 . 3\n");
  EXPECT_EQ(labels.SetNegativeI4(), 0);
  EXPECT_EQ(test::show(labels), "-2147483647 . -3\n");
}

TEST_P(GridArithmetic, ClonesHoldTheSameCellsWhereverTheyAre) {
  const auto source = r4("1 . 3\n 4 5 6", 77);
  for (const bool onDisk : {false, true}) {
    R4Grid_type clone;
    EXPECT_EQ(source.cloneR4(clone, onDisk), 0);
    EXPECT_EQ(clone.onDisk, onDisk);
    EXPECT_TRUE(SameGridGeometry(clone, source));
    EXPECT_EQ(test::show(clone), test::show(source));
    EXPECT_EQ(clone.cloneR4(clone), -1);
    EXPECT_TRUE(clone.GridExists());
  }
  R8Grid_type r8Clone;
  I4Grid_type i4Clone;
  I8Grid_type i8Clone;
  EXPECT_EQ(test::gridOf<R8Grid_type>("1.5 .", plan()).cloneR8(r8Clone), 0);
  EXPECT_EQ(i4("1 .").cloneI4(i4Clone), 0);
  EXPECT_EQ(test::gridOf<I8Grid_type>("5 .", plan()).cloneI8(i8Clone), 0);
  EXPECT_EQ(test::show(r8Clone) + test::show(i4Clone) + test::show(i8Clone), "1.5 .\n1 .\n5 .\n");

  auto copy = r4("0 0 0\n 0 0 0");
  EXPECT_EQ(copy.R4GridCopy(source), 0);
  EXPECT_EQ(test::show(copy), "1 . 3\n4 5 6\n");  // nodata of the copy, which is another one
  auto elsewhere = test::gridOf<R4Grid_type>("0 0 0\n 0 0 0", {.xmin = 7, .storage = GetParam()});
  EXPECT_EQ(elsewhere.R4GridCopy(source), -1);
  R4Grid_type none, clone;
  EXPECT_EQ(none.cloneR4(clone), -1);
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: R4GridCopy in Grid_Module\n Grid extents do not match"));
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: cloneR4 in Grid_Modul\n CreateGrid failed for clone"));
}

TEST_P(GridArithmetic, MinimumAndMaximumCountWhatTheyAreAskedFor) {
  auto grid = r4("5 -3 . 8\n 2 8 0 2");
  grid.SetR4CellColRow(3, 2, kNaN);
  EXPECT_EQ(grid.MinR4(), -3);
  EXPECT_EQ(grid.MaxR4(), 8);
  EXPECT_EQ(grid.MinR4({.greaterThanZero = true}), 2);
  EXPECT_EQ(grid.MinR4({.lowerBound = 2.0F}), 5);
  EXPECT_EQ(grid.MinR4({.lowerBound = -20000.0F}), -3);  // nodata is no value
  EXPECT_EQ(grid.MinR4({.greaterThanZero = false, .lowerBound = 2.0F}), -3);
  EXPECT_EQ(grid.MinR4({.includeNodata = true}), kNodata);
  EXPECT_EQ(grid.MinR4({.window = {.col1 = -5, .col2 = 1}}), 2);
  EXPECT_EQ(grid.MinR4({.window = {.col1 = 3, .col2 = 3}}), std::numeric_limits<float>::max());
  EXPECT_EQ(grid.MaxR4({.window = {.row1 = 3}}), std::numeric_limits<float>::lowest());
  EXPECT_EQ(grid.status, 0);
  ColRow at;
  EXPECT_EQ(grid.MinR4At(at, {.window = {.row1 = 2, .row2 = 2}}), 2);
  EXPECT_EQ(at, (ColRow{1, 2}));  // the first of two

  EXPECT_EQ(grid.MinR4({.greaterThanZero = true, .includeNodata = true}), std::numeric_limits<float>::max());
  EXPECT_EQ(grid.status, -1);
  EXPECT_THAT(console_.text(), HasSubstr("ERROR: MinR4 in GridModule\n Cannot specify greaterThanZero and "
                                         "IncludeNodata if nodata > 0.\n"));
  auto high = r4("5 -3 . 8", 7);
  EXPECT_EQ(high.MinR4(), -3);
  EXPECT_EQ(high.MinR4({.includeNodata = true, .lowerBound = 5.0F}), 7);
  EXPECT_EQ(high.MinR4({.lowerBound = 5.0F}), 8);
  EXPECT_EQ(i4("-9999 .").maxI4(), std::numeric_limits<int32_t>::lowest());
  EXPECT_EQ(i4("4 -2147483648", 9).MinI4(), std::numeric_limits<int32_t>::lowest());
}

TEST_P(GridArithmetic, TheFirstOfTheSmallestIsFoundOnNoise) {
  auto grid = test::noiseDem(150, 40, {.seed = 4, .holes = 0.2}, plan());
  test::fillWith(grid, [&](int32_t col, int32_t row) {
    return std::floor(grid.ExtractR4ValueColRow(col, row) / 10) * 10 + 1;  // many ties
  });
  const Window window{17, 133, 3, 38};
  std::optional<ColRow> expected;
  for (int32_t row = 3; row <= 38; ++row)
    for (int32_t col = 17; col <= 133; ++col) {
      const float cell = grid.ExtractR4ValueColRow(col, row);
      if (cell > 250 && (!expected || cell < grid.ExtractR4ValueColRow(expected->col, expected->row)))
        expected = ColRow{col, row};
    }
  ColRow at;
  const WindowArgs args{window.col1, window.col2, window.row1, window.row2};
  EXPECT_EQ(grid.MinR4At(at, {.window = args, .lowerBound = 250.0F}),
            grid.ExtractR4ValueColRow(expected->col, expected->row));
  EXPECT_EQ(at, *expected);
}

TEST_P(GridArithmetic, CountingAndMergingLabels) {
  auto labels = i4("0 5 .\n 9 2 0");
  EXPECT_EQ(labels.CountNonZeroI4(), 3);
  const std::vector<int32_t> block{4, 4, 4, 4, 0, 4, 4, 4, 4};
  EXPECT_EQ(labels.MergeWindowI4({2, 4, 1, 3}, block), 0);
  EXPECT_EQ(test::show(labels), "0 4 .\n9 2 0\n");
  EXPECT_EQ(labels.MergeWindowI4({0, 2, 1, 3}, block), 0);
  EXPECT_EQ(test::show(labels), "4 4 .\n9 2 0\n");
  EXPECT_EQ(labels.MergeWindowI4({1, 4, 1, 3}, block), -1);
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
  EXPECT_EQ(MultiplyR4Grids(other, grid).status, -1);
  units().close(grid.scratchUnit, Closing::keep);
  EXPECT_EQ(grid.SetAllR4(1), -1);
  EXPECT_EQ(MultiplyR4Grids(other, grid).status, -1);
  EXPECT_THAT(console.text(), HasSubstr("CellAccess not set for on-disk grid (2nd argument)"));
}

}  // namespace
}  // namespace terrain
