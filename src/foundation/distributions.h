#pragma once
// What a sample looks like: its empirical quantiles and its most frequent values.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace terrain {

template <class Real>
struct DistributionArgs {
  std::optional<Real> minValue{};  ///< only values above it
  std::optional<Real> maxValue{};  ///< only values below it
  int32_t* numBelow = nullptr;     ///< receives the number of values left out at the low end
  int32_t* numAbove = nullptr;     ///< receives the number of values left out at the high end
};

/// Empirical quantile function: dist[i], i from 0 to nBins, is the value below which i / nBins of
/// the sample lies, linear between neighbouring ranks (computed in float64). dist[0] is the
/// smallest value, dist[nBins] the largest, to the rounding of a bin's width in the sample's precision. NaNs
/// in the sample rank above all numbers and are at the high end of `dist`, unless `maxValue` leaves them
/// out. -1, with `dist` empty, `numBelow` and `numAbove` as they were, and a message, if fewer than two
/// values are above `minValue`, none beyond the first is below `maxValue`, none is between the two,
/// the sample is empty, nBins is below 1 or there is no memory.
int CumulativeDist(std::span<const float> values, std::vector<float>& dist, int32_t nBins,
                   const DistributionArgs<float>& args = {});
int CumulativeDist(std::span<const double> values, std::vector<double>& dist, int32_t nBins,
                   const DistributionArgs<double>& args = {});

/// The most frequent of the values above 0, ascending; several where they are equally frequent.
/// Empty if no value is above 0. Memory follows the number of values, whatever their range. -1 and
/// a line on the console, with `modes` empty, if there is none.
int Mode(std::vector<int32_t>& modes, std::span<const int32_t> values);

}  // namespace terrain
