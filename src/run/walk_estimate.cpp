#include "run/walk_estimate.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <span>
#include <unordered_map>

#include "foundation/messages.h"
#include "foundation/threads.h"
#include "grid/rows.h"
#include "run/bands.h"
#include "run/walks.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "estimateWalks";
/// Seconds of walks from which on a warning names merged walks.
constexpr double kLong = 600;
/// Where a visit cannot be timed; and the parts of merged walks: a cell, and a number of its table.
constexpr double kSecondsOfVisit = 2.5e-9;
constexpr double kSecondsOfCell = 3e-7;
constexpr double kSecondsOfNumber = 5e-10;
constexpr double kSecondsOfRung = 1.4e-9;

struct Start {
  int32_t col = 0, row = 0;
};

struct Count {
  double visits = 0;
  int32_t steps = 0;
};

/// Counts the visits of single walks, with the data of the cells that they pass. Values of cells are read
/// one at a time, from grids on disk too.
class Counter {
 public:
  Counter(const WalkValues& values, const AccumulationGrids& grids, float shortest)
      : values_(values), grids_(grids), stride_(std::int64_t{grids.aspect.cols()} + 2) {
    constexpr int32_t kMostSteps = 4000;
    const int32_t steps = stepsWithin(values, shortest, kMostSteps);
    bins_ = static_cast<std::size_t>(std::clamp(8 * steps, 64, 512));
    if (values.byTime) return;
    // Straight steps that fit beside b diagonal ones.
    float diagonals = 0.0F;
    for (int32_t b = 0; b <= steps && diagonals <= values.maxDistance; ++b) {
      int32_t fit = -1;
      for (float way = diagonals; way <= values.maxDistance && fit <= steps;
           way = values.cellDistance[1] + way)
        ++fit;
      fits_.push_back(fit);
      diagonals = values.cellDistance[2] + diagonals;
    }
  }
  [[nodiscard]] Count of(const Start& start) {
    const std::int64_t first = start.row * stride_ + start.col;
    return values_.byTime ? byTime(first) : byDistance(first);
  }

 private:
  /// The record of a cell; one outside the grid has no steps.
  [[nodiscard]] WalkCell cellAt(std::int64_t at) const {
    const auto col = static_cast<int32_t>(at % stride_);
    const auto row = static_cast<int32_t>(at / stride_);
    if (col < 1 || row < 1 || col > grids_.aspect.cols() || row > grids_.aspect.rows()) return {};
    const float gradient = values_.byTime ? grids_.grad.ExtractR4ValueColRow(col, row) : 0.0F;
    return walkCell(values_, gradient, grids_.aspect.ExtractR4ValueColRow(col, row), stride_);
  }

  /// Step by step: how many shares are at each cell after so many diagonal steps.
  [[nodiscard]] Count byDistance(std::int64_t first) {
    if (fits_.empty()) return {.visits = 1};
    std::unordered_map<std::int64_t, std::vector<double>> here{{first, {1.0}}};
    Count count{.visits = 1};
    for (int32_t taken = 0; !here.empty(); ++taken) {
      std::unordered_map<std::int64_t, std::vector<double>> next;
      for (const auto& [at, shares] : here) {
        const WalkCell cell = cellAt(at);
        for (std::size_t way = 0; way < 2; ++way) {
          if (!(cell.share[way] > 0.0F)) continue;
          const bool diagonal = cell.step[way] > values_.cellDistance[1];
          for (std::size_t b = 0; b < shares.size(); ++b) {
            const std::size_t after = b + (diagonal ? 1 : 0);
            const int32_t straight = taken + 1 - static_cast<int32_t>(after);
            if (shares[b] <= 0 || after >= fits_.size() || straight > fits_[after]) continue;
            std::vector<double>& there = next[at + cell.next[way]];
            if (there.size() <= after) there.resize(after + 1);
            there[after] += shares[b];
            count.visits += shares[b];
            count.steps = taken + 1;
          }
        }
      }
      here = std::move(next);
    }
    return count;
  }

  /// Over time, in equal parts of the duration: what comes between two of them is divided between both.
  [[nodiscard]] Count byTime(std::int64_t first) const {
    struct Local {
      std::int64_t at;
      WalkCell cell;
      std::vector<double> shares;  // by part of the duration
      std::vector<int32_t> steps;
    };
    std::unordered_map<std::int64_t, std::size_t> places;
    std::vector<Local> cells;
    const auto placeOf = [&](std::int64_t at) -> Local& {
      const auto [found, made] = places.try_emplace(at, cells.size());
      if (made)
        cells.push_back({at, cellAt(at), std::vector<double>(bins_ + 1), std::vector<int32_t>(bins_ + 1)});
      return cells[found->second];
    };
    Count count{.visits = 1};
    if (!(values_.duration > 0.0F)) return count;
    placeOf(first).shares[0] = 1;
    const double bin = static_cast<double>(values_.duration) / static_cast<double>(bins_);
    for (std::size_t j = 0; j < bins_; ++j)
      for (std::size_t i = 0; i < cells.size(); ++i) {
        const double shares = cells[i].shares[j];
        if (shares <= 0) continue;
        const int32_t steps = cells[i].steps[j] + 1;
        const WalkCell cell = cells[i].cell;
        const std::int64_t at = cells[i].at;
        for (std::size_t way = 0; way < 2; ++way) {
          if (!(cell.share[way] > 0.0F) || !std::isfinite(cell.step[way])) continue;
          count.visits += shares;
          count.steps = std::max(count.steps, steps);
          const double reach =
              static_cast<double>(j) + std::max(static_cast<double>(cell.step[way]) / bin, 1.0);
          if (reach > static_cast<double>(bins_)) continue;
          Local& there = placeOf(at + cell.next[way]);
          const auto whole = static_cast<std::size_t>(reach);
          const double rest = reach - static_cast<double>(whole);
          there.shares[whole] += shares * (1 - rest);
          there.steps[whole] = std::max(there.steps[whole], steps);
          if (whole == bins_) continue;
          there.shares[whole + 1] += shares * rest;
          there.steps[whole + 1] = std::max(there.steps[whole + 1], steps);
        }
      }
    return count;
  }

  const WalkValues& values_;
  const AccumulationGrids& grids_;
  std::int64_t stride_;
  std::vector<int32_t> fits_;
  std::size_t bins_ = 64;
};

bool startsWalk(float aspect) { return aspect >= 0.0F; }

/// How many walks start in each row.
int countStarts(const R4Grid_type& aspect, std::vector<std::int64_t>& byRow) {
  byRow.assign(static_cast<std::size_t>(aspect.rows()) + 1, 0);
  return RowPass{reading(aspect, "aspects")}.run(kTag, [&](int32_t row, std::span<const float> cells) {
    byRow[static_cast<std::size_t>(row)] = std::ranges::count_if(cells, startsWalk);
  });
}

/// One start in each of `count` equal stretches of all starts, at a place that looks random and is the same
/// in every run.
int chooseStarts(const R4Grid_type& aspect, const std::vector<std::int64_t>& byRow, std::int64_t starts,
                 std::int64_t count, std::vector<Start>& chosen) {
  std::vector<std::int64_t> numbers;
  uint64_t seed = 20;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t first = i * starts / count;
    const std::int64_t end = (i + 1) * starts / count;
    seed = seed * 6364136223846793005U + 1442695040888963407U;
    numbers.push_back(first + static_cast<std::int64_t>((seed >> 33U) % static_cast<uint64_t>(end - first)));
  }
  chosen.clear();
  std::int64_t before = 0;
  auto next = numbers.begin();
  return RowPass{reading(aspect, "aspects")}.run(kTag, [&](int32_t row, std::span<const float> cells) {
    const std::int64_t after = before + byRow[static_cast<std::size_t>(row)];
    for (std::size_t c = 0; next != numbers.end() && *next < after; ++c)
      if (startsWalk(cells[c]) && before++ == *next) {
        chosen.push_back({static_cast<int32_t>(c) + 1, row});
        ++next;
      }
    before = after;
  });
}

/// Seconds of a visit: walks from adjacent starts beside some of the samples are made and timed.
int timeVisits(const WalkValues& values, const AccumulationGrids& grids, int32_t margin, Counter& counter,
               std::span<const Start> samples, double& seconds) {
  constexpr std::size_t kBlocks = 4;
  constexpr double kVisits = 2e5;
  constexpr std::int64_t kMostCells = 4'000'000;
  const std::int64_t rows = std::min(2 * std::int64_t{margin} + 1, std::int64_t{grids.aspect.rows()});
  seconds = kSecondsOfVisit;
  if (rows * grids.aspect.cols() > kMostCells) return kSuccess;
  double visits = 0;
  std::chrono::duration<double> passed{};
  for (std::size_t block = 0; block < kBlocks; ++block) {
    const Start& start = samples[(2 * block + 1) * samples.size() / (2 * kBlocks)];
    double here = 0;
    int32_t end = start.col;
    for (; end <= grids.aspect.cols() && here < kVisits; ++end)
      if (startsWalk(grids.aspect.ExtractR4ValueColRow(end, start.row)))
        here += counter.of({end, start.row}).visits;
    if (here > 100 * kVisits) continue;
    Walks walks;
    if (walks.prepare(values, grids.grad, grids.aspect,
                      {std::max(start.row - margin, 1), std::min(start.row + margin, grids.aspect.rows())}) !=
        kSuccess)
      return kFailure;
    std::chrono::duration<double> least{};
    for (int32_t pass = 0; pass < 3; ++pass) {  // the first brings the cells near
      const auto begun = std::chrono::steady_clock::now();
      walks.walkFrom(start.row, start.col, end - 1);
      const std::chrono::duration<double> once = std::chrono::steady_clock::now() - begun;
      least = pass == 0 ? once : std::min(least, once);
    }
    passed += least;
    visits += here;
  }
  if (visits > kVisits / 2) seconds = passed.count() / visits;
  return kSuccess;
}

/// Merged walks on one thread. By time with the fewest rungs, of which there are at least two passes.
double mergedSeconds(const WalkValues& values, float shortest, double cells) {
  if (values.byTime) {
    const double rungs = std::max(2.5 * static_cast<double>(values.duration) / static_cast<double>(shortest),
                                  0.2 / values.tolerance);
    return cells * (2 * kSecondsOfCell + 3 * rungs * kSecondsOfRung);
  }
  const double steps = static_cast<double>(values.maxDistance) / static_cast<double>(values.cellDistance[1]);
  return cells * (kSecondsOfCell + steps * steps * 0.36 * kSecondsOfNumber);  // the numbers of a full table
}

std::string rounded(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), value < 1e6 ? "%.0f" : "%.1e", value);
  return text.data();
}

/// A time as people say it, after "about " or "at least ".
std::string inWords(double seconds, const std::string& before) {
  constexpr double kMinute = 60, kHour = 3600, kDay = 86400, kYear = 3.16e7;
  if (seconds < 1) return "less than a second";
  if (seconds < 2) return "one or two seconds";
  if (seconds < 2 * kMinute) return before + rounded(seconds) + " seconds";
  if (seconds < 2 * kHour) return before + rounded(seconds / kMinute) + " minutes";
  if (seconds < 2 * kDay) return before + rounded(seconds / kHour) + " hours";
  if (seconds < 2 * kYear) return before + rounded(seconds / kDay) + " days";
  return before + rounded(seconds / kYear) + " years";
}

}  // namespace

bool isWorthEstimating(const WalkValues& values, const AccumulationGrids& grids, float shortest) {
  constexpr int32_t kManySteps = 40;
  constexpr double kShort = 0.3;  // seconds
  const double cells = static_cast<double>(grids.aspect.cols()) * static_cast<double>(grids.aspect.rows());
  return cells * std::exp2(stepsWithin(values, shortest, kManySteps) + 1) * kSecondsOfVisit > kShort;
}

int estimateWalks(const WalkValues& values, const AccumulationGrids& grids, WalkEstimate& estimate) {
  constexpr std::int64_t kSamples = 1000;
  constexpr double kMostError = 0.2;
  estimate = {};
  float shortest = 0;
  std::vector<std::int64_t> byRow;
  if (shortestStep(values, grids.grad, shortest) != kSuccess || countStarts(grids.aspect, byRow) != kSuccess)
    return kFailure;
  for (const std::int64_t starts : byRow) estimate.starts += starts;
  const double cells = static_cast<double>(grids.aspect.cols()) * static_cast<double>(grids.aspect.rows());
  const auto threads = static_cast<double>(threadCount());
  estimate.mergedSeconds = mergedSeconds(values, shortest, cells) / threads;
  if (estimate.starts == 0 || values.merged) return kSuccess;
  Counter counter(values, grids, shortest);
  std::vector<Start> chosen;
  constexpr std::chrono::seconds kPatience{1};  // walks that take so long to count are never made
  const auto begun = std::chrono::steady_clock::now();
  for (std::int64_t wanted = kSamples; wanted <= 4 * kSamples; wanted *= 4) {
    const std::int64_t count = std::min(wanted, estimate.starts);
    if (chooseStarts(grids.aspect, byRow, estimate.starts, count, chosen) != kSuccess) return kFailure;
    std::vector<int32_t> steps;
    double sum = 0;
    double squares = 0;
    for (const Start& start : chosen) {
      const Count walk = counter.of(start);
      steps.push_back(walk.steps);
      sum += walk.visits;
      squares += walk.visits * walk.visits;
    }
    const auto size = static_cast<double>(chosen.size());
    const double mean = sum / size;
    std::ranges::sort(steps);
    estimate.samples = std::ssize(chosen);
    estimate.medianSteps = steps[steps.size() / 2];
    estimate.longestSteps = steps.back();
    estimate.visits = mean * static_cast<double>(estimate.starts);
    estimate.error = 2 * std::sqrt(std::max(squares / size - mean * mean, 0.0)) / (mean * std::sqrt(size));
    if (count == estimate.starts) estimate.error = 0;
    if (estimate.error <= kMostError || std::chrono::steady_clock::now() - begun > kPatience) break;
  }
  double visit = 0;
  const int32_t margin = stepsWithin(values, shortest, grids.aspect.rows());
  if (timeVisits(values, grids, margin, counter, chosen, visit) != kSuccess) return kFailure;
  estimate.seconds = (estimate.visits * visit + cells * kSecondsOfCell / 4) / threads;
  return kSuccess;
}

std::vector<std::string> describe(const WalkEstimate& estimate, const WalkValues& values) {
  const std::string by =
      " on " + std::to_string(threadCount()) + (threadCount() > 1 ? " threads" : " thread");
  // By time there may be more rungs.
  const std::string merged = inWords(estimate.mergedSeconds, values.byTime ? "at least " : "about ");
  if (values.merged) return {"Expected, merged: " + merged + by};
  std::vector<std::string> lines{"Walks: " + rounded(static_cast<double>(estimate.starts)) + ", of " +
                                 std::to_string(estimate.medianSteps) + " steps (median), at most " +
                                 std::to_string(estimate.longestSteps) + " in " +
                                 std::to_string(estimate.samples) + " samples"};
  lines.push_back("Visits of cells: " + rounded(estimate.visits) + ", within " +
                  rounded(100 * estimate.error) + " percent");
  lines.push_back("Expected: " + inWords(estimate.seconds, "about ") + by);
  if (estimate.seconds > kLong && estimate.mergedSeconds < estimate.seconds)
    lines.push_back("WARNING: exact walks would take long; WALKS: MERGED would take " + merged);
  return lines;
}

}  // namespace terrain
