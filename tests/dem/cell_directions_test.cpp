// Directions of single cells, marks downstream, and contributing cells by category.

#include <cmath>

#include "dem/categorical_accumulation.h"
#include "dem/flow_accumulation.h"
#include "foundation/memory.h"
#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class CellDirections : public InBothStorages {
 protected:
  /// A DEM with these aspects.
  void make(R4Grid_type&& aspects) {
    static_cast<Grid_Header&>(dem) = static_cast<const Grid_Header&>(aspects);
    dem.onDisk = false;
    dem.scratchUnit = 0;
    dem.aspect = std::move(aspects);
    dem.D8.onDisk = dem.aspect.onDisk;
  }
  DEM_type dem;
};

TEST_P(CellDirections, StepsOfSingleCells) {
  make(gridOf<R4Grid_type>(". 0 0.39\n0.4 1.5707964 6.2", {.storage = GetParam()}));
  const std::vector<int32_t> expected{-1, 3, 3, 2, 1, 3};
  for (int32_t i = 0; i < 6; ++i)
    EXPECT_EQ(dem.D8FromAspect(i % 3 + 1, i / 3 + 1), expected[static_cast<std::size_t>(i)]) << i;
  EXPECT_EQ(DEM_type::FlowDir({.col = 3, .row = 3}, {.col = 2, .row = 4}), 6);
  EXPECT_EQ(DEM_type::FlowDir({.col = 3, .row = 3}, {.col = 3, .row = 3}), 0);
  EXPECT_EQ(DEM_type::FlowDir({.col = 3, .row = 3}, {.col = 3, .row = 5}), -1);
  EXPECT_TRUE(console_.has("Row increment > 1"));
  EXPECT_EQ(DEM_type::FlowDir({.col = -3, .row = 3}, {.col = 3, .row = 3}), -1);
  EXPECT_TRUE(console_.has("Column increment > 1"));
}

TEST_P(CellDirections, TraceMarksTheWayDownOnce) {
  const float east = 1.5707964F;
  const float south = 3.1415927F;
  R4Grid_type aspects = emptyGrid<R4Grid_type>(4, 3, {.storage = GetParam()});
  fillWith(aspects, [&](int32_t col, int32_t row) { return col < 3 ? east : row == 3 ? kNodata : south; });
  make(std::move(aspects));
  I4Grid_type marks = emptyGrid<I4Grid_type>(4, 3, {.storage = GetParam()});
  fillWith(marks, [](int32_t, int32_t) { return 0; });
  EXPECT_EQ(dem.trace(marks, 1, 1), -1) << "without codes";
  ASSERT_EQ(dem.CalcD8(), 0);
  ASSERT_EQ(dem.trace(marks, 1, 1), 0);
  EXPECT_EQ(show(marks), "1 1 1 0\n0 0 1 0\n0 0 1 0\n");
  ASSERT_EQ(dem.trace(marks, 2, 2), 0);
  EXPECT_EQ(show(marks), "1 1 1 0\n0 1 1 0\n0 0 1 0\n");
  ASSERT_EQ(dem.trace(marks, 9, 9), 0) << "outside there is nothing to mark";
  // A circle of codes is gone round once.
  dem.D8.SetI4Cell(3, 1, 5);
  fillWith(marks, [](int32_t, int32_t) { return 0; });
  ASSERT_EQ(dem.trace(marks, 2, 1), 0);
  EXPECT_EQ(show(marks), "0 1 1 0\n0 0 0 0\n0 0 0 0\n");
}

TEST_P(CellDirections, CategoriesAreRoutedAsEachAloneIs) {
  constexpr int32_t kCols = 23;
  constexpr int32_t kRows = 17;
  constexpr int32_t kHighest = 130;  // more than are routed at a time
  R4Grid_type aspects = emptyGrid<R4Grid_type>(kCols, kRows, {.storage = GetParam()});
  fillWith(aspects, [](int32_t col, int32_t row) {
    return (col * row) % 19 == 5 ? kNodata : std::fmod(0.37F * static_cast<float>(col + 2 * row), 3.1F);
  });
  make(std::move(aspects));
  I4Grid_type categories = emptyGrid<I4Grid_type>(kCols, kRows, {.storage = GetParam()});
  fillWith(categories, [](int32_t col, int32_t row) { return (col + 29 * row) % (kHighest + 1); });
  const std::string path = scratch_.path("amounts.bin");
  ASSERT_EQ(CategoricalAccumulator(dem, categories, path), 0) << console_.text();
  const std::string bytes = readBytes(path);
  ASSERT_EQ(bytes.size(), sizeof(float) * kCols * kRows * kHighest);
  std::vector<float> records(bytes.size() / sizeof(float));
  std::memcpy(records.data(), bytes.data(), bytes.size());
  CategoryAmounts amounts;
  ASSERT_EQ(CategoricalAccumulator(dem, categories, amounts), 0) << console_.text();
  EXPECT_EQ(amounts.categories, kHighest);
  EXPECT_EQ(amounts.values, records);
  memoryLimits().largestBlock = 60'000;  // a row of records fits, all of them do not
  EXPECT_EQ(CategoricalAccumulator(dem, categories, path), 0) << console_.text();
  EXPECT_EQ(readBytes(path), bytes) << "group by group";
  EXPECT_EQ(CategoricalAccumulator(dem, categories, amounts), -1);
  EXPECT_TRUE(console_.has("Insufficient memory for catAccum")) << console_.text();
  EXPECT_TRUE(amounts.values.empty());
  memoryLimits().largestBlock.reset();
  for (int32_t category = 1; category <= kHighest; ++category) {
    R4Grid_type alone = emptyGrid<R4Grid_type>(kCols, kRows);
    fillWith(alone, [&](int32_t col, int32_t row) {
      return categories.value(col, row, "") == category && dem.D8FromAspect(col, row) > 0 ? 1.0F : 0.0F;
    });
    R4Grid_type routed;
    ASSERT_EQ(accumulator(dem, {.accum = &routed, .ingrid = &alone}), 0) << console_.text();
    const std::vector<float> expected = cellsOf(routed);
    for (std::size_t i = 0; i < expected.size(); ++i)
      ASSERT_EQ(records[i * kHighest + static_cast<std::size_t>(category) - 1], expected[i])
          << "cell " << i << ", category " << category;
  }
}

TEST_P(CellDirections, CategoriesThatCannotBeRoutedAreReported) {
  make(gridOf<R4Grid_type>("0 0\n0 0", {.storage = GetParam()}));
  I4Grid_type none;
  EXPECT_EQ(CategoricalAccumulator(dem, none, scratch_.path("x")), -1);
  I4Grid_type categories = gridOf<I4Grid_type>("0 0\n. -3");
  EXPECT_EQ(CategoricalAccumulator(dem, categories, "  "), -1);
  EXPECT_EQ(CategoricalAccumulator(dem, categories, scratch_.path("x")), -1);
  DEM_type wide;
  wide.aspect = emptyGrid<R4Grid_type>(300, 300);
  static_cast<Grid_Header&>(wide) = static_cast<const Grid_Header&>(wide.aspect);
  I4Grid_type mistaken = emptyGrid<I4Grid_type>(300, 300);
  mistaken.SetI4Cell(1, 1, 2147483647);
  EXPECT_EQ(CategoricalAccumulator(wide, mistaken, scratch_.path("x")), -1);
  for (const char* message : {"Must create ingrid prior", "Missing required argument outfile",
                              "ingrid has no category above 0", "The disk of the output file is full"})
    EXPECT_TRUE(console_.has(message)) << message << console_.text();
  categories.SetI4Cell(1, 1, 2);
  writeBytes(scratch_.path("x"), "older");
  {
    const FileSizeLimit limit(16);
    EXPECT_EQ(CategoricalAccumulator(dem, categories, scratch_.path("x")), -1);
  }
  EXPECT_EQ(readBytes(scratch_.path("x")), "older");
  EXPECT_EQ(CategoricalAccumulator(dem, categories, scratch_.path("no/x")), -1);
  EXPECT_TRUE(console_.has("; reopening")) << console_.text();
}

INSTANTIATE_TEST_SUITE_P(Storages, CellDirections, ::testing::Values(Storage::memory, Storage::disk),
                         storageName);

}  // namespace
}  // namespace terrain::test
