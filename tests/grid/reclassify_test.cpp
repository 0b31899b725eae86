#include "grid/reclassify.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "support/grids.h"

namespace terrain {
namespace {

class Classes : public test::InBothStorages {};
INSTANTIATE_TEST_SUITE_P(Storages, Classes, test::everyStorage(), test::storageName);

TEST_P(Classes, AreTheFirstBoundsNotBelowTheValues) {
  auto grid = test::gridOf<R4Grid_type>("0 1 1.5\n 5 5.1 .\n -3 2 0", {.storage = GetParam()});
  grid.SetR4CellColRow(3, 3, std::numeric_limits<float>::quiet_NaN());
  const std::array bounds{1.0F, 2.0F, 5.0F};
  const std::string stem = scratch_.path("classes");
  EXPECT_EQ(Reclassify(grid, bounds, stem + ".hdr"), 0);
  EXPECT_EQ(test::readBytes(stem + ".bil"), std::string("\1\1\2\3\0\0\1\2\0", 9));
  EXPECT_EQ(Reclassify(grid, bounds, stem, -1.0F), 0);
  EXPECT_EQ(test::readBytes(stem + ".bil"), "\1\1\2\3\xff\xff\1\2\xff");
  EXPECT_NE(test::readBytes(stem + ".hdr").find("\nnodata -1\n"), std::string::npos);
}

TEST_P(Classes, ThatAByteRasterCannotHoldAreRefused) {
  const auto grid = test::gridOf<R4Grid_type>("1 2", {.storage = GetParam()});
  const std::string stem = scratch_.path("classes");
  std::vector<float> bounds(128);
  std::iota(bounds.begin(), bounds.end(), 1.0F);
  EXPECT_EQ(Reclassify(grid, bounds, stem), -1);
  bounds.pop_back();
  for (const float nodata : {2.0F, 0.5F, 128.0F, -129.0F, std::numeric_limits<float>::quiet_NaN()})
    EXPECT_EQ(Reclassify(grid, bounds, stem, nodata), -1);
  EXPECT_EQ(Reclassify(grid, std::array{2.0F, 1.0F}, stem), -1);
  EXPECT_EQ(grid.status, -1);
  EXPECT_FALSE(std::filesystem::exists(stem + ".bil"));
  EXPECT_EQ(Reclassify(grid, bounds, stem, -128.0F), 0);
}

}  // namespace
}  // namespace terrain
