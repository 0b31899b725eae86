#include "run/time_tables.h"

#include <cmath>
#include <vector>

#include "run/merged_kernels.h"

namespace terrain {

TimeTables::Delay TimeTables::delayOf(const Donor& donor, double scale) const {
  const double rungs = static_cast<double>(donor.step) / (duration_ / static_cast<double>(rungs_));
  const double whole = std::floor(rungs);
  const double q = 1 - (rungs - whole);
  Delay delay{.rungs = static_cast<std::size_t>(whole)};
  delay.weights = {-q * (q - 1) * (q - 2) / 6, (q + 1) * (q - 1) * (q - 2) / 2, -(q + 1) * q * (q - 2) / 2,
                   (q + 1) * q * (q - 1) / 6};
  for (double& weight : delay.weights) weight *= scale;
  return delay;
}

void TimeTables::start(FlowTable& table) const {
  const double h = duration_ / static_cast<double>(rungs_);
  for (std::size_t j = 0; j <= rungs_; ++j) table.values[kZeros + j] = static_cast<double>(j) * h;
}

void TimeTables::pull(FlowTable& to, const FlowTable& from, const Donor& donor) const {
  if (!arrives(donor)) return;
  const Delay delay = delayOf(donor, static_cast<double>(donor.share));
  const std::size_t first = firstRung(delay);
  addInterpolated(to.values.get() + kZeros + first, source(from, first, delay), delay.weights,
                  rungs_ + 1 - first);
}

/// Rung by rung, so that what comes back to a cell is complete before it is passed on: a step takes two rungs
/// or more, and interpolation reads one rung ahead.
void TimeTables::march(std::span<const Pull> pulls) const {
  struct Delayed {
    const Pull* pull;
    Delay delay;
  };
  std::vector<Delayed> delayed;
  for (const Pull& pull : pulls)
    if (arrives(pull.donor))
      delayed.push_back({.pull = &pull, .delay = delayOf(pull.donor, static_cast<double>(pull.donor.share))});
  for (std::size_t j = 0; j <= rungs_; ++j)
    for (const Delayed& one : delayed)
      if (j >= firstRung(one.delay))
        addInterpolated(one.pull->to->values.get() + kZeros + j, source(*one.pull->from, j, one.delay),
                        one.delay.weights, 1);
}

double TimeTables::lastPart(const FlowTable& from, const Donor& donor) const {
  double before = 0;
  if (arrives(donor)) {
    const Delay delay = delayOf(donor, 1.0);
    addInterpolated(&before, source(from, rungs_, delay), delay.weights, 1);
  }
  return static_cast<double>(donor.share) * (from.values[kZeros + rungs_] - before) /
         static_cast<double>(donor.step);
}

}  // namespace terrain
