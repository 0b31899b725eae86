#include "run/bands.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "foundation/memory.h"
#include "foundation/threads.h"
#include "grid/rows.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";

/// Rows of a band: of eight margins at least, unless threads were left without work; of two margins then.
int32_t bandRows(const Grid_Header& grid, int32_t margin, int32_t& threads) {
  constexpr std::int64_t kBandsOfAThread = 4;
  constexpr std::int64_t kTableBytes = std::int64_t{64} << 20U;
  const std::int64_t all = *grid.nrows;
  const std::int64_t rowBytes = (std::int64_t{*grid.ncols} + 2) * std::int64_t{sizeof(WalkCell)};
  const auto share = [&](std::int64_t parts) { return (all + parts - 1) / parts; };
  std::int64_t rows =
      std::min(share(kBandsOfAThread * threads), std::max(kTableBytes / rowBytes, std::int64_t{1}));
  rows = std::max(
      {rows, std::min(std::int64_t{8} * margin, share(threads)), std::int64_t{2} * margin, std::int64_t{1}});
  rows = std::min(rows, all);
  const auto fits = [&] {
    const std::int64_t held = std::min(rows + 2 * std::int64_t{margin}, all) + 2;
    const auto bytes = byteCount(static_cast<std::uint64_t>(held), static_cast<std::uint64_t>(rowBytes));
    const auto together = bytes ? byteCount(*bytes, static_cast<std::uint64_t>(threads)) : std::nullopt;
    return together && memoryFor(*bytes) && machineHas(*together);
  };
  while (threads > 1 && !fits()) --threads;
  while (rows > 1 && !fits()) rows = (rows + 1) / 2;
  return static_cast<int32_t>(rows);
}

}  // namespace

int shortestStep(const WalkValues& values, const R4Grid_type& grad, float& shortest) {
  shortest = values.cellDistance[1];
  if (!values.byTime) return kSuccess;
  double most = 0;  // of sin(slope) cos(slope)
  if (RowPass{reading(grad, "gradients")}.run(kTag, [&](int32_t, std::span<const float> cells) {
        for (const float gradient : cells) {
          const auto g = static_cast<double>(gradient);
          if (g > 0) most = std::max(most, 1 / (1 / g + g));
        }
      }) != kSuccess)
    return kFailure;
  // What rounding in float32 may add to the product: a part of it, and where slopes are steep a part of 1.
  const double speed = static_cast<double>(values.conductivity) * (most * (1 + 1e-5) + 2e-7);
  constexpr float kNever = std::numeric_limits<float>::infinity();
  shortest = speed > 0 ? static_cast<float>(static_cast<double>(shortest) / speed * (1 - 1e-6)) : kNever;
  return kSuccess;
}

int32_t stepsWithin(const WalkValues& values, float shortest, int32_t most) {
  const float limit = values.byTime ? values.duration : values.maxDistance;
  int32_t steps = 0;
  for (float spent = 0.0F; steps < most; ++steps) {
    const float reach = shortest + spent;
    if (!(values.byTime ? limit > spent : reach <= limit)) break;
    if (!(reach > spent)) return most;  // not advanced
    spent = reach;
  }
  return steps;
}

int forEachBand(const WalkValues& values, const Grid_Header& grid, int32_t margin,
                const std::function<int(const Band&)>& work) {
  const std::int64_t all = *grid.nrows;
  int32_t threads = threadCount();
  const std::int64_t rows = values.bandRows > 0 ? values.bandRows : bandRows(grid, margin, threads);
  const auto count = static_cast<int32_t>((all + rows - 1) / rows);
  return forEachPart(count, threads, [&](int32_t part) {
    const std::int64_t first = part * rows + 1;
    const std::int64_t last = std::min(first + rows - 1, all);
    return work({.rows = {static_cast<int32_t>(first), static_cast<int32_t>(last)},
                 .withMargins = {static_cast<int32_t>(std::max(first - margin, std::int64_t{1})),
                                 static_cast<int32_t>(std::min(last + margin, all))}});
  });
}

int storeTotals(const WalkTable& table, const Band& band, R4Grid_type& accum, double* change) {
  std::vector<float> totals(static_cast<std::size_t>(table.cols()));
  std::vector<float> before(change != nullptr ? totals.size() : 0);
  for (int32_t row = band.rows.first; row <= band.rows.last; ++row) {
    table.totals(row, totals);
    const auto lock = oneThreadAtATime();
    if (change != nullptr) {
      if (accum.readRow(row, before) != kIoOk) return reportScratchRead(kTag, accum);
      const WalkCell* cell = table.cells() + table.index(1, row);
      for (std::size_t c = 0; c < totals.size(); ++c) {
        if (cell[c].starts == 0) continue;
        const auto total = static_cast<double>(totals[c]);
        *change = std::max(*change, std::abs(total - static_cast<double>(before[c])) / total);
      }
    }
    if (const IoCode code = accum.writeRow(row, totals); code != kIoOk)
      return reportScratchWrite(kTag, accum, code);
  }
  return kSuccess;
}

}  // namespace terrain
