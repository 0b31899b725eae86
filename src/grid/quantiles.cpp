// Statistics of all cells of a grid: how many hold data, their mean and spread, quantiles.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "grid/grid.h"
#include "grid/missing.h"
#include "grid/rows.h"

namespace terrain {

namespace {

/// Calls use(value) for every cell that holds data, row by row. 0, or -1 with a report.
template <class Use>
int forEachValid(const R4Grid_type& grid, const PassTexts& texts, Use use) {
  return RowPass{reading(grid, texts.rowName)}.run(
      texts.routine, [&, missing = missingIn(grid)](int32_t, std::span<const float> cells) {
        for (const float cell : cells)
          if (!missing(cell)) use(cell);
      });
}

constexpr PassTexts kQuantiles{.routine = "quantileR4 in Grid_Module", .rowName = "gridRow"};

/// The cells that quantiles are taken of.
struct Population {
  const R4Grid_type& grid;
  float floor;  // cells below it do not count
  std::size_t count = 0;
  float low = std::numeric_limits<float>::max();
  float high = std::numeric_limits<float>::lowest();

  template <class Use>
  int visit(Use use) const {
    return forEachValid(grid, kQuantiles, [&](float value) {
      if (value >= floor) use(value);
    });
  }
  /// Counts them; `low` is the smallest cell with data or, where cells lie below it, the floor.
  int measure() {
    const int status = forEachValid(grid, kQuantiles, [&](float value) {
      count += value >= floor ? 1 : 0;
      low = std::min(low, value);
      high = std::max(high, value);
    });
    low = std::max(low, floor);
    return status;
  }
};

// ---- exact ----

/// Puts the values of these ranks, counted from `first` for the first value and ascending, in their sorted
/// places. Each split halves the list of ranks: the work is cells times the logarithm of ranks.
void selectRanks(std::span<float> values, std::size_t first, std::span<const std::size_t> ranks) {
  if (ranks.empty()) return;
  const std::size_t middle = ranks.size() / 2;
  const std::size_t at = ranks[middle] - first;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at), values.end());
  selectRanks(values.first(at), first, ranks.first(middle));
  selectRanks(values.subspan(at + 1), ranks[middle] + 1, ranks.subspan(middle + 1));
}

/// A quantile as a place among `count` sorted values, counted from 1, and the way to the next one.
struct Place {
  std::size_t rank = 1;
  double fraction = 0;
};
Place placeOf(float quantile, std::size_t count) {
  const double p = static_cast<double>(quantile) * static_cast<double>(count);
  const auto most = static_cast<int64_t>(count);
  const int64_t rank = std::clamp<int64_t>(truncateTo<int64_t>(p), 1, most);
  const double fraction = p - static_cast<double>(rank);
  const bool between = rank > 1 && rank < most && !sameR8(fraction, 0.0);
  return {.rank = static_cast<std::size_t>(rank), .fraction = between ? fraction : 0.0};
}

int exactQuantiles(const Population& cells, std::span<const float> quantiles, std::span<float> values) {
  std::vector<float> sorted;
  std::vector<std::size_t> ranks;
  if (!tryReserve(sorted, cells.count) || !tryReserve(ranks, 2 * quantiles.size()))
    return cannotAllocate(kQuantiles.routine, "rarray");
  if (cells.visit([&](float value) { sorted.push_back(value); }) != kSuccess) return kFailure;
  for (const float quantile : quantiles) {
    const Place place = placeOf(quantile, cells.count);
    ranks.push_back(place.rank);
    if (place.fraction != 0) ranks.push_back(place.rank + 1);
  }
  std::ranges::sort(ranks);
  ranks.erase(std::unique(ranks.begin(), ranks.end()), ranks.end());
  selectRanks(sorted, 1, ranks);
  for (std::size_t k = 0; k < quantiles.size(); ++k) {
    const Place place = placeOf(quantiles[k], cells.count);
    const double low = static_cast<double>(sorted[place.rank - 1]);
    const double step =
        place.fraction != 0 ? place.fraction * (static_cast<double>(sorted[place.rank]) - low) : 0.0;
    values[k] = static_cast<float>(low + step);
  }
  return kSuccess;
}

// ---- by a histogram ----

/// Bins of equal width between the extremes, and the share of cells below each edge.
struct Histogram {
  std::vector<float> edges;
  std::vector<float> cumulative;

  int fill(const Population& cells, std::size_t bins) {
    std::vector<int64_t> counts;
    if (!tryAllocate(edges, bins + 1) || !tryAllocate(counts, bins))
      return cannotAllocate(kQuantiles.routine, "bins");
    if (!tryAllocate(cumulative, bins + 1)) return cannotAllocate(kQuantiles.routine, "cumulative");
    const double low = static_cast<double>(cells.low);
    const double width = (static_cast<double>(cells.high) - low) / static_cast<double>(bins);
    for (std::size_t k = 0; k < bins; ++k)
      edges[k] = static_cast<float>(low + static_cast<double>(k) * width);
    edges[bins] = cells.high;
    // The bin of a value is that of the last edge at or below it; the division only says where to look.
    const auto count = [&](float value) {
      std::size_t k = width > 0 ? truncateTo<uint32_t>((static_cast<double>(value) - low) / width) : 0;
      k = std::min(k, bins - 1);
      while (k > 0 && value < edges[k]) --k;
      while (k + 1 < bins && value >= edges[k + 1]) ++k;
      ++counts[k];
    };
    if (cells.visit(count) != kSuccess) return kFailure;
    int64_t below = 0;
    for (std::size_t k = 0; k < bins; ++k) {
      below += counts[k];
      cumulative[k + 1] = static_cast<float>(static_cast<double>(below) / static_cast<double>(cells.count));
    }
    return kSuccess;
  }
  /// In float32: from the edge below, by the part of its bin's cells that are still to come.
  [[nodiscard]] float quantile(float q) const {
    const auto after = std::ranges::upper_bound(cumulative, q);
    if (after == cumulative.begin()) return edges.front();
    const auto k = static_cast<std::size_t>(after - cumulative.begin()) - 1;
    if (k == 0) return edges.front();
    if (k + 1 >= edges.size()) return edges.back();
    const float width = edges[k + 1] - edges[k];
    if (sameR4(width, 0.0F)) return edges[k];
    return edges[k] + (q - cumulative[k]) / (cumulative[k + 1] - cumulative[k]) * width;
  }
};

int histogramQuantiles(const Population& cells, int32_t bins, std::span<const float> quantiles,
                       std::span<float> values) {
  Histogram histogram;
  if (histogram.fill(cells, std::min(static_cast<std::size_t>(bins), cells.count)) != kSuccess)
    return kFailure;
  for (std::size_t k = 0; k < quantiles.size(); ++k) values[k] = histogram.quantile(quantiles[k]);
  return kSuccess;
}

}  // namespace

int R4Grid_type::quantileR4(std::span<const float> quantiles, std::span<float> values,
                            const QuantileArgs& args) const {
  Attempt attempt{status};
  if (values.size() < quantiles.size()) return fail(kQuantiles.routine, "Fewer values than quantiles");
  Population population{.grid = *this,
                        .floor = args.minValue.value_or(-std::numeric_limits<float>::infinity())};
  if (population.measure() != kSuccess) return kFailure;
  if (population.count == 0) {
    std::ranges::fill(values.first(quantiles.size()), nodataValue());
    return attempt.succeed();
  }
  const int32_t bins = args.bins.value_or(0);
  // An infinite range has no bins of equal width.
  const bool finite = std::isfinite(population.low) && std::isfinite(population.high);
  if (finite && (args.useBins || bins > 0))
    return attempt.end(histogramQuantiles(population, bins > 0 ? bins : 10000, quantiles, values));
  return attempt.end(exactQuantiles(population, quantiles, values));
}

int R4Grid_type::meanR4(float& mean, const MeanOutputs& outputs) const {
  constexpr PassTexts texts{.routine = "meanR4 in Grid_Module", .rowName = "rarray"};
  Attempt attempt{status};
  mean = kNodata;
  for (float* output : {outputs.variance, outputs.deviation})
    if (output != nullptr) *output = kNodata;
  int64_t count = 0;
  double sum = 0;
  const auto add = [&](float value) {
    sum += static_cast<double>(value);
    ++count;
  };
  if (forEachValid(*this, texts, add) != kSuccess) return kFailure;
  if (count == 0) return attempt.succeed();
  mean = static_cast<float>(sum / static_cast<double>(count));
  if (outputs.variance == nullptr && outputs.deviation == nullptr) return attempt.succeed();

  double squares = 0;
  const auto addSquare = [&, centre = static_cast<double>(mean)](float value) {
    const double departure = static_cast<double>(value) - centre;
    squares += departure * departure;
  };
  if (forEachValid(*this, texts, addSquare) != kSuccess) return kFailure;
  const auto variance = static_cast<float>(squares / static_cast<double>(count));
  if (outputs.variance != nullptr) *outputs.variance = variance;
  if (outputs.deviation != nullptr) *outputs.deviation = std::sqrt(variance);
  return attempt.succeed();
}

int64_t R4Grid_type::CountValid() const {
  Attempt attempt{status};
  int64_t count = 0;
  if (forEachValid(*this, {.routine = "CountValid in Grid_Module"}, [&](float) { ++count; }) != kSuccess)
    return static_cast<int64_t>(kNodata);
  attempt.succeed();
  return count;
}

}  // namespace terrain
