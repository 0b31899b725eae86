// Statistics in circles and blocks, distances, and what is made of all cells.

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "grid/grid.h"
#include "grid/transforms.h"
#include "support/grids.h"

namespace terrain {
namespace {

using test::Storage;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

class Windows : public test::InBothStorages {
 protected:
  template <class G = R4Grid_type>
  G grid(std::string_view text, float nodata = kNodata) {
    return test::gridOf<G>(text,
                           {.xmin = 0, .ymin = 0, .cellsize = 10, .nodata = nodata, .storage = GetParam()});
  }
  R4Grid_type dem(float nodata = kNodata) {
    auto made = test::noiseDem(31, 23, {.holes = 0.1, .lakes = 2}, {.nodata = nodata, .storage = GetParam()});
    made.SetR4CellColRow(3, 4, kNan);
    made.SetR4CellColRow(20, 11, -500.0F);
    if (GetParam() == Storage::disk) made.SetRowAccess();
    return made;
  }
};
INSTANTIATE_TEST_SUITE_P(Storages, Windows, test::everyStorage(), test::storageName);

/// The values with data within `radius` cells of a cell, rows from the north.
std::vector<double> circleAround(const R4Grid_type& grid, int32_t col, int32_t row, double radius) {
  std::vector<double> values;
  for (int32_t r = 1; r <= grid.rows(); ++r)
    for (int32_t c = 1; c <= grid.cols(); ++c) {
      const double squared = (c - col) * (c - col) + (r - row) * (r - row);
      const float value = grid.ExtractR4ValueColRow(c, r);
      if (squared <= radius * radius && value != grid.nodata) values.push_back(static_cast<double>(value));
    }
  return values;
}

TEST_P(Windows, MeansAndMaximaAreThoseOfTheCellsInTheCircle) {
  for (const float nodata : {-9999.0F, 9999.0F}) {
    auto input = dem(nodata);
    for (const double radius : {0.0, 0.9, 1.5, 3.0, 7.3, 50.0}) {
      R4Grid_type means;
      ASSERT_EQ(input.meanWindowR4(radius * 10, means), 0);
      const auto maxima = input.maxWindowR4(radius * 10);
      for (int32_t row = 1; row <= input.rows(); ++row)
        for (int32_t col = 1; col <= input.cols(); ++col) {
          const bool missing = input.ExtractR4ValueColRow(col, row) == nodata;
          EXPECT_EQ(means.ExtractR4ValueColRow(col, row) == nodata, missing);
          EXPECT_EQ(maxima.ExtractR4ValueColRow(col, row) == nodata, missing);
          if (missing) continue;
          const auto values = circleAround(input, col, row, radius);
          const double sum = std::accumulate(values.begin(), values.end(), 0.0);
          const auto mean = static_cast<float>(sum / static_cast<double>(values.size()));
          EXPECT_NEAR(means.ExtractR4ValueColRow(col, row), mean,
                      std::abs(std::nextafter(mean, 1e9F) - mean));
          EXPECT_EQ(maxima.ExtractR4ValueColRow(col, row), std::ranges::max(values));
        }
    }
  }
}

TEST_P(Windows, AHugeValueLeavesNoTraceInCirclesWithoutIt) {
  auto input = dem();
  input.SetR4CellColRow(12, 12, 1e37F);
  R4Grid_type means, memoryMeans;
  ASSERT_EQ(input.meanWindowR4(35, means), 0);
  EXPECT_GT(means.ExtractR4ValueColRow(12, 15), 1e34F);
  EXPECT_LT(means.ExtractR4ValueColRow(12, 16), 500.0F);
  EXPECT_LT(means.ExtractR4ValueColRow(16, 12), 500.0F);
  // The same bytes in memory and on disk.
  R4Grid_type copy = test::emptyGrid<R4Grid_type>(31, 23);
  test::fillWith(copy, [&](int32_t col, int32_t row) { return input.ExtractR4ValueColRow(col, row); });
  ASSERT_EQ(copy.meanWindowR4(35, memoryMeans), 0);
  EXPECT_EQ(test::cellsOf(means), test::cellsOf(memoryMeans));
}

TEST_P(Windows, CirclesAreRefusedWhereTheyCannotBe) {
  auto input = grid("1 2\n 3 4");
  R4Grid_type out;
  EXPECT_EQ(input.meanWindowR4(-1, out), -1);
  EXPECT_EQ(input.meanWindowR4(10, input), -1);
  EXPECT_EQ(input.maxWindowR4(std::nan("")).status, -1);
  EXPECT_EQ(input.bufferR4(-10, 1), -1);
  EXPECT_EQ(grid<I4Grid_type>("1 0").distanceTo(-10).status, -1);
  input.ycellsize = 12;
  EXPECT_EQ(input.meanWindowR4(10, out), -1);
  EXPECT_NE(console_.text().find(" meanWindowR4 requires square cells\n"), std::string::npos);
  EXPECT_EQ(input.LocalRelief(10, 5, 5), kNodata);
  EXPECT_EQ(input.status, -1);
}

TEST_P(Windows, SmoothingSeesTheRowAboveAsSmoothed) {
  auto input = grid("0 0 0 0\n 0 9 0 0\n 0 0 0 0\n 0 . 0 0\n 0 0 0 0");
  EXPECT_EQ(input.SmoothR4(0), 0);
  EXPECT_EQ(input.SmoothR4(1), 0);
  const auto centre = static_cast<float>(9 * 0.195346 / 3.802494);
  const auto side = static_cast<float>(9 * 0.123317 / 3.802494);
  EXPECT_EQ(input.ExtractR4ValueColRow(2, 2), centre);
  EXPECT_EQ(input.ExtractR4ValueColRow(3, 2), side);
  EXPECT_EQ(input.ExtractR4ValueColRow(2, 3), 0.0F);  // a block with a hole
  auto tall = grid("0 0 0\n 0 9 0\n 0 0 0\n 0 0 0");
  EXPECT_EQ(tall.SmoothR4(1), 0);
  EXPECT_EQ(tall.ExtractR4ValueColRow(2, 3),
            static_cast<float>(static_cast<double>(centre) * 0.123317 / 3.802494));
}

TEST_P(Windows, BlocksOfThreeByThreeCountOnlyWhatHoldsData) {
  const auto input = grid("1 2 3\n 4 . 6\n -7 8 9");
  EXPECT_EQ(input.Mean3x3R4(2, 2), 26.0F / 8);
  EXPECT_EQ(input.Mean3x3R4(2, 2, {.positiveOnly = true}), 33.0F / 7);
  const double w = double{0.70710677F};
  EXPECT_FLOAT_EQ(input.Mean3x3R4(2, 2, {.distanceWeighted = true}),
                  static_cast<float>((w * 1 + 2 + w * 3 + 4 + 6 - w * 7 + 8 + w * 9) / (4 + 4 * w)));
  EXPECT_EQ(input.Mean3x3R4(1, 1), 7.0F / 3);
  EXPECT_EQ(input.Min3x3R4(2, 2), -7.0F);
  EXPECT_EQ(input.Min3x3R4(2, 2, true), 1.0F);
  EXPECT_EQ(grid("5").Min3x3R4(1, 1), kNodata);
  EXPECT_EQ(grid("-5").Mean3x3R4(1, 1, {.positiveOnly = true}), kNodata);
}

TEST_P(Windows, ReliefAndWeightedMeanAtAPoint) {
  auto input = grid("1 2 3\n 4 5 6\n 7 8 .");
  // The five cells of a cross: mean 5, deviation sqrt(20 / 4).
  EXPECT_EQ(input.LocalRelief(10, 15, 15), 0.0F);
  // At (1, 1), in the top row's area: 1, 2, 4 with the mean 7/3 and the deviation sqrt(7/3).
  EXPECT_FLOAT_EQ(input.LocalRelief(10, 5, 25), static_cast<float>((1 - 7.0 / 3) / std::sqrt(7.0 / 3)));
  EXPECT_EQ(grid("3 3 3").LocalRelief(10, 15, 5), 0.0F);
  EXPECT_EQ(input.LocalRelief(10, 25, 5), kNodata);
  EXPECT_EQ(grid("1 2").LocalRelief(10, 5, 5), kNodata);
  float mean = 0;
  EXPECT_EQ(input.distanceWeightedMean({.finish = true}), 0);
  EXPECT_EQ(input.distanceWeightedMean({.col = 2, .row = 2, .mean = &mean}), -1);
  EXPECT_EQ(input.distanceWeightedMean({.radius = 10, .initialize = true}), 0);
  EXPECT_EQ(input.distanceWeightedMean({.x = 1}), -1);
  EXPECT_EQ(input.distanceWeightedMean({}), -1);
  EXPECT_EQ(input.distanceWeightedMean({.x = 5, .y = 25, .mean = &mean}), 0);
  EXPECT_EQ(mean, (1.0F + 0.5F * 2 + 0.5F * 4) / 2);
  for (const auto text : {"Need radius to initialize", "Need x and y", "Need col row or x y arguments"})
    EXPECT_NE(console_.text().find(text), std::string::npos) << text;
}

TEST_P(Windows, DistancesAreThoseToTheNearestMarkedCell) {
  for (const int32_t marked : {0, 1, 6, 200}) {
    auto marks = test::emptyGrid<I4Grid_type>(29, 41, {.storage = GetParam()});
    std::vector<ColRow> places;
    for (int32_t k = 1; k <= marked; ++k) places.push_back({k * k % 29 + 1, k * k * k % 41 + 1});
    for (const ColRow& at : places) marks.SetI4Cell(at.col, at.row, 2);
    if (GetParam() == Storage::disk) marks.SetRowAccess();
    for (const double most : {0.0, 10.0, 27.5, 90.0, 1e6}) {
      const auto distance = marks.distanceTo(most);
      ASSERT_EQ(distance.status, 0);
      const double n = std::trunc(most / 10);
      for (int32_t row = 1; row <= 41; ++row)
        for (int32_t col = 1; col <= 29; ++col) {
          double nearest = 1e30;
          for (const ColRow& at : places) {
            const double squared = (at.col - col) * (at.col - col) + (at.row - row) * (at.row - row);
            if (squared <= n * n) nearest = std::min(nearest, std::sqrt(squared) * 10);
          }
          EXPECT_EQ(distance.ExtractR4ValueColRow(col, row), static_cast<float>(nearest))
              << marked << ' ' << most;
        }
    }
  }
}

TEST_P(Windows, TheNearestValidCellIsTheFirstOfThoseAsNear) {
  const auto input = grid<I8Grid_type>(". 5 0 0 0\n 0 0 0 0 6\n 0 0 0 0 0\n 0 7 0 8 0");
  struct Case {
    double x, y;
    NearestValidArgs args;
    ColRow expected;
  };
  for (const Case& c : {Case{25, 15, {}, {2, 4}}, Case{15, 35, {}, {2, 1}}, Case{15, 25, {}, {2, 1}},
                        Case{25, 15, {.cells = 1}, {2, 4}}, Case{35, 25, {.distance = 10.0}, {5, 2}},
                        Case{5, 25, {.cells = 0}, {-9999, -9999}}, Case{55, 25, {}, {-9999, -9999}}}) {
    ColRow found;
    input.NearestValidI8(c.x, c.y, found.col, found.row, c.args);
    EXPECT_EQ(found, c.expected) << c.x << ' ' << c.y;
  }
}

TEST_P(Windows, TheNearestValidCellIsThatOfAPlainSearch) {
  auto cells = test::emptyGrid<I8Grid_type>(31, 19, {.storage = GetParam()});
  std::mt19937 random(5);
  for (int32_t added = 0; added < 25; ++added) {
    for (int32_t reach = 0; reach < 40; reach += 3) {
      const ColRow at{1 + static_cast<int32_t>(random() % 31), 1 + static_cast<int32_t>(random() % 19)};
      ColRow found, expected{-9999, -9999};
      int32_t nearest = 1000000;
      for (int32_t row = std::max(at.row - reach, 1); row <= at.row + reach && row <= 19; ++row)
        for (int32_t col = std::max(at.col - reach, 1); col <= at.col + reach && col <= 31; ++col) {
          const int32_t squared = (col - at.col) * (col - at.col) + (row - at.row) * (row - at.row);
          if (squared >= nearest || cells.ExtractI8ValueColRow(col, row) <= 0) continue;
          nearest = squared;
          expected = {col, row};
        }
      const Point point = cells.ColRowToXY(at.col, at.row);
      cells.NearestValidI8(point.x + 3, point.y + 3, found.col, found.row, {.cells = reach});
      EXPECT_EQ(found, expected) << at.col << ' ' << at.row << ' ' << reach;
    }
    cells.SetI8CellColRow(1 + static_cast<int32_t>(random() % 31), 1 + static_cast<int32_t>(random() % 19),
                          1);
  }
}

TEST_P(Windows, LogarithmsAndNormalisedDifferences) {
  auto input = grid("1 0 -2\n . 4 8", -1);
  auto logs = input.LogR4();
  EXPECT_EQ(logs.nodata, kNodata);
  EXPECT_EQ(test::cellsOf(logs),
            (std::vector<float>{0, kNodata, kNodata, kNodata, std::log(4.0F), std::log(8.0F)}));
  const auto other = grid("1 5 3\n 3 . 2", 7);
  auto index = NDVI(input, other);
  EXPECT_EQ(test::cellsOf(index), (std::vector<float>{0, -1, -5, kNodata, kNodata, 0.6F}));
  EXPECT_EQ(NDVI(input, grid("1 2\n 3 4")).status, -1);
}

TEST_P(Windows, QuantilesAgreeWithASort) {
  auto input = dem(9999.0F);
  auto sorted = circleAround(input, 1, 1, 1000);
  std::ranges::sort(sorted);
  EXPECT_EQ(input.CountValid(), std::ssize(sorted));
  const auto count = static_cast<double>(sorted.size());
  std::vector<float> asked{0.5F, 0, 1, 0.999F, 0.25F, 2 / static_cast<float>(count), 1.7F, -1, 0.5F};
  for (int32_t k = 0; k < 40; ++k) asked.push_back(static_cast<float>(k) / 41);
  std::vector<float> got(asked.size()), binned(asked.size());
  ASSERT_EQ(input.quantileR4(asked, got), 0);
  ASSERT_EQ(input.quantileR4(asked, binned, {.useBins = true}), 0);
  for (std::size_t k = 0; k < asked.size(); ++k) {
    const double p = static_cast<double>(asked[k]) * count;
    const auto i = static_cast<std::size_t>(std::clamp(std::trunc(p), 1.0, count));
    double expected = sorted[i - 1];
    if (i > 1 && i < sorted.size()) expected += (p - static_cast<double>(i)) * (sorted[i] - sorted[i - 1]);
    EXPECT_FLOAT_EQ(got[k], static_cast<float>(expected)) << asked[k];
    if (i > 2) {
      EXPECT_NEAR(binned[k], expected, 3) << asked[k];
    }
  }
  EXPECT_EQ(binned[1], -500.0F);
  EXPECT_EQ(binned[2], static_cast<float>(sorted.back()));
}

TEST_P(Windows, QuantilesOfFewCellsOfNoneAndAboveAFloor) {
  auto input = grid("1 2 3 4\n . 6 7 8");
  const std::array asked{0.0F, 0.5F, 1.0F};
  std::array<float, 3> got{};
  EXPECT_EQ(input.quantileR4(asked, got, {.minValue = 3.0F}), 0);
  EXPECT_EQ(got, (std::array{3.0F, 5.0F, 8.0F}));
  // Bins from 1 and from 4.5, with 4 and 3 of the 7 cells; the first bin gives its lower edge.
  EXPECT_EQ(input.quantileR4(std::array{0.0F, 0.5F, 0.8F}, got, {.bins = 2}), 0);
  EXPECT_EQ(got[1], 1.0F);
  EXPECT_FLOAT_EQ(got[2], static_cast<float>(4.5 + (0.8 - 4.0 / 7) / (3.0 / 7) * 3.5));
  // Above the floor of 2.5: bins from there and from 5.25, with 2 and 3 of the 5 cells.
  EXPECT_EQ(input.quantileR4(std::array{0.8F}, got, {.bins = 2, .minValue = 2.5F}), 0);
  EXPECT_FLOAT_EQ(got[0], static_cast<float>(5.25 + (0.8 - 0.4) / 0.6 * 2.75));
  EXPECT_EQ(input.quantileR4(asked, got, {.bins = 2, .minValue = 100.0F}), 0);
  EXPECT_EQ(got, (std::array{kNodata, kNodata, kNodata}));
  EXPECT_EQ(input.quantileR4(asked, std::span(got).first(2)), -1);

  float mean = 0, variance = 0, deviation = 0;
  EXPECT_EQ(input.meanR4(mean, {.variance = &variance, .deviation = &deviation}), 0);
  EXPECT_EQ(mean, 31.0F / 7);
  EXPECT_FLOAT_EQ(variance, 292.0F / 49);
  EXPECT_EQ(deviation, std::sqrt(variance));
  EXPECT_EQ(grid(". .").meanR4(mean, {.variance = &variance}), 0);
  EXPECT_EQ(mean, kNodata);
}

}  // namespace
}  // namespace terrain
