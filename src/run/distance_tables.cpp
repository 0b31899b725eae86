#include "run/distance_tables.h"

#include <algorithm>

#include "foundation/messages.h"
#include "run/merged_kernels.h"

namespace terrain {

int DistanceTables::prepare(const WalkValues& values) {
  constexpr std::size_t kMostSteps = 4000;
  constexpr std::string_view kTag = "accumulateCells";
  const float limit = values.maxDistance;
  const float straight = values.cellDistance[1];
  const float diagonal = values.cellDistance[2];
  fits_.clear();
  // ways[a]: length of b diagonal steps after a straight ones. A walk takes them in any order; only with many
  // hundred steps does the order decide whether the last one fits.
  std::vector<float> ways{0.0F};
  for (float way = straight; way <= limit && ways.size() <= kMostSteps; way = straight + way)
    ways.push_back(way);
  if (ways.size() > kMostSteps)
    return fail(kTag, "MAX DISTANCE has more than 4000 steps, too many for merged walks");
  bool orderDecides = false;
  for (float diagonals = 0.0F; !ways.empty(); diagonals = diagonal + diagonals) {
    fits_.push_back(static_cast<int32_t>(ways.size()) - 1);
    int32_t after = -1;  // straight steps that fit after the diagonal ones
    for (float way = diagonals; way <= limit && after <= fits_.back(); way = straight + way) ++after;
    orderDecides = orderDecides || after != fits_.back();
    for (float& way : ways) way = diagonal + way;
    while (!ways.empty() && ways.back() > limit) ways.pop_back();
  }
  putMessage("Merged walks: most steps of a walk: ", longest());
  putMessage("Merged walks: kilobytes of a cell's table, at most: ",
             static_cast<int64_t>(sizeOf(longest()) * sizeof(double) / 1024 + 1));
  if (orderDecides)
    putMessage(
        "Merged walks: for some ways of the full distance the order of their steps decides in a single walk; "
        "here "
        "straight steps come first");
  return kSuccess;
}

std::size_t DistanceTables::sizeOf(int32_t steps) const {
  std::size_t size = 0;
  for (int32_t b = 0; b <= rows(steps); ++b) size += width(b, steps);
  return std::max(size, std::size_t{1});
}

void DistanceTables::pull(FlowTable& to, const FlowTable& from, const Donor& donor) const {
  const auto share = static_cast<double>(donor.share);
  const double* source = from.values.get();
  double* target = to.values.get();
  for (int32_t b = 0; b <= rows(from.steps); ++b) {
    const std::size_t count = width(b, from.steps);
    const std::size_t room = width(b, to.steps);
    if (!donor.diagonal)
      addScaled(target + 1, source, share, std::min(count, room - 1));
    else if (b < rows(to.steps))
      addScaled(target + room, source, share, std::min(count, width(b + 1, to.steps)));
    source += count;
    target += room;
  }
}

/// Number by number, so that what comes back to a cell is complete before it is passed on: a step makes a or
/// b larger.
void DistanceTables::march(std::span<const Pull> pulls) const {
  struct Rows {
    double* to;
    const double* from;  ///< row that the water comes from: of b, or of b - 1 for a diagonal step
    std::size_t count;
    std::size_t first;  ///< place in the target row of the source's first number
  };
  std::vector<Rows> at;
  for (const Pull& pull : pulls)
    at.push_back({.to = pull.to->values.get(), .from = pull.from->values.get(), .count = 0, .first = 0});
  for (int32_t b = 0; b <= rows(longest()); ++b) {
    for (std::size_t i = 0; i < pulls.size(); ++i) {
      const Pull& pull = pulls[i];
      const int32_t steps = pull.from->steps;
      if (b > 0) {
        at[i].to += width(b - 1, pull.to->steps);
        const int32_t passed = pull.donor.diagonal ? b - 2 : b - 1;
        if (passed >= 0 && passed <= rows(steps)) at[i].from += width(passed, steps);
      }
      const int32_t row = pull.donor.diagonal ? b - 1 : b;
      at[i].count = row >= 0 && row <= rows(steps) ? width(row, steps) : 0;
      at[i].first = pull.donor.diagonal ? 0 : 1;
    }
    const std::size_t places = width(b, longest());
    for (std::size_t a = 0; a < places; ++a)
      for (std::size_t i = 0; i < pulls.size(); ++i)
        if (a >= at[i].first && a - at[i].first < at[i].count)
          at[i].to[a] += static_cast<double>(pulls[i].donor.share) * at[i].from[a - at[i].first];
  }
}

double DistanceTables::total(const FlowTable& table, bool starts) {
  const double sum = sumOf(table.values.get(), table.size);
  return starts ? sum - 1 : sum;
}

}  // namespace terrain
