#pragma once
// The raster block of an attribute list: rasters that are sampled along channels, each for a column.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/attribute_table.h"

namespace terrain {

/// Where a raster is sampled.
enum class SampleZone { none, contributing, downstream, local, right, left, both };
/// What of the samples is kept.
enum class SampleStatistic { none, mean, sum, maximum, proportion };

/// One value of a raster of categories, with a column of its own.
struct RasterCategory {
  int32_t value = 0;
  AttributeType column{};
};

struct RasterEntry {
  std::string file{};  ///< without extension; with `isTable` the raster of record numbers
  int32_t line = 0;    ///< of the instruction file
  AttributeType column{};
  std::vector<RasterCategory> categories{};
  SampleZone zone = SampleZone::none;
  SampleStatistic statistic = SampleStatistic::none;
  bool isCategorical = false, includeArea = false, perArea = false, noBuffer = false, lakeReset = false,
       addChannelWidth = false, excludeChannels = false, isEuclidean = false, aboveZero = false,
       byNode = false;
  bool isTable = false;          ///< values are in a table, by the numbers in the raster
  std::string table{}, field{};  ///< its file, and the column
  std::optional<float> maximum{}, buffer{}, maxGap{}, decay{};  ///< map units but for the first and the last
};

/// The columns of raster entries: the entry's own, or those of its categories, in their order.
[[nodiscard]] std::vector<AttributeType> rasterColumns(std::span<const RasterEntry> entries);

}  // namespace terrain
