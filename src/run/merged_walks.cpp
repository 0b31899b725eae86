#include "run/merged_walks.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/threads.h"
#include "run/bands.h"
#include "run/distance_tables.h"
#include "run/flow_graph.h"
#include "run/table_pool.h"
#include "run/time_tables.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulateCells";

/// One pass over all cells, with tables of either kind.
template <class Tables>
class Pass {
 public:
  Pass(const FlowGraph& graph, const Tables& tables, std::vector<double>* totals)
      : graph_(graph), tables_(tables), totals_(totals) {}

  [[nodiscard]] int run() {
    if (!pool_.open(graph_)) {
      const auto lock = oneThreadAtATime();
      return cannotAllocate(kTag, "order of the merged walks");
    }
    const GroupsEnd end = forEachGroup(graph_, [&](std::span<const std::int64_t> group) {
      return group.size() == 1 ? takeCell(group.front()) : takeGroup(group);
    });
    if (end == GroupsEnd::done) return kSuccess;
    const auto lock = oneThreadAtATime();
    if (group_ > 1)
      return fail(kTag, "Merged walks: no memory for the tables of " +
                            freeText(static_cast<int64_t>(group_)) +
                            " cells along which the flow goes in circles");
    return fail(kTag, "Merged walks: no memory for the tables of the cells; a shorter limit needs less");
  }

 private:
  [[nodiscard]] bool startsAt(std::int64_t cell) const { return graph_.cell(cell).starts != 0; }
  [[nodiscard]] bool giveTable(std::int64_t cell, int32_t steps) {
    if (!pool_.give(cell, tables_.sizeOf(steps), steps)) return false;
    if (startsAt(cell)) tables_.start(pool_.of(cell));
    return true;
  }
  [[nodiscard]] bool takeCell(std::int64_t cell) {
    const Donors donors = graph_.donors(cell);
    int32_t steps = 0;
    for (const Donor& donor : donors) steps = std::max(steps, tables_.stepsAfter(pool_.of(donor.cell).steps));
    if (!giveTable(cell, steps)) return false;
    for (const Donor& donor : donors) tables_.pull(pool_.of(cell), pool_.of(donor.cell), donor);
    setTotal(cell, donors);
    for (const Donor& donor : donors) pool_.use(donor.cell);
    pool_.finish(cell);
    return true;
  }
  /// Cells that water returns to: their tables are filled together, and each sums in the order of a single
  /// cell's.
  [[nodiscard]] bool takeGroup(std::span<const std::int64_t> group) {
    group_ = group.size();
    if (!memoryFor(group_ * tables_.sizeOf(tables_.longest()) * sizeof(double))) return false;
    for (const std::int64_t cell : group)
      if (!giveTable(cell, tables_.longest())) return false;
    std::vector<Pull> pulls;
    for (const std::int64_t cell : group)
      for (const Donor& donor : graph_.donors(cell))
        if (!tryAppend(pulls, Pull{.to = &pool_.of(cell), .from = &pool_.of(donor.cell), .donor = donor}))
          return false;
    tables_.march(pulls);
    for (const std::int64_t cell : group) setTotal(cell, graph_.donors(cell));
    for (const Pull& pull : pulls) pool_.use(pull.donor.cell);
    group_ = 0;
    return true;
  }
  void setTotal(std::int64_t cell, const Donors& donors) {
    double total = tables_.total(pool_.of(cell), startsAt(cell));
    for (const Donor& donor : donors) total += tables_.lastPart(pool_.of(donor.cell), donor);
    graph_.cell(cell).total = static_cast<float>(total);
    if (totals_ != nullptr) (*totals_)[static_cast<std::size_t>(cell)] = total;
  }

  const FlowGraph& graph_;
  const Tables& tables_;
  std::vector<double>* totals_;
  TablePool pool_;
  std::size_t group_ = 0;  ///< cells of the group at work, 0 for a cell by itself
};

/// One pass over all bands; `reach` is the most steps on which a cell's total depends. `change` becomes the
/// largest difference to the totals before.
template <class Tables>
int passOverBands(const WalkValues& values, const AccumulationGrids& grids, const Tables& tables,
                  int32_t reach, double* change) {
  return forEachBand(values, grids.accum, reach, [&](const Band& band) {
    WalkTable table;
    if (table.make(values, grids.grad, grids.aspect, band.withMargins) != kSuccess) return kFailure;
    const auto step = [](const WalkCell&, std::size_t) { return 1.0F; };
    if (table.keepWaysTo(band.rows, static_cast<float>(reach), step) != kSuccess) return kFailure;
    const FlowGraph graph(table);
    if (Pass(graph, tables, nullptr).run() != kSuccess) return kFailure;
    double here = 0;
    if (storeTotals(table, band, grids.accum, change != nullptr ? &here : nullptr) != kSuccess)
      return kFailure;
    if (change == nullptr) return kSuccess;
    const auto lock = oneThreadAtATime();
    *change = std::max(*change, here);
    return kSuccess;
  });
}

double durationOf(const WalkValues& values) { return std::max(static_cast<double>(values.duration), 0.0); }

/// Steps on which the last rung depends. Interpolation reads one rung ahead, so with a step of whole rungs
/// each step goes back by one less than these.
int32_t stepsOfRungs(double rungs, double duration, float shortest) {
  const double whole = std::floor(static_cast<double>(shortest) / (duration / rungs));
  const double steps = duration > 0 ? 2 + rungs / std::max(whole - 1, 1.0) : 1.0;
  return static_cast<int32_t>(steps);
}

/// Twice as many rungs, until the totals no longer change by more than half the tolerance.
int mergeByTime(const WalkValues& values, const AccumulationGrids& grids, MergedResult& result) {
  constexpr double kMostRungs = 1 << 21;
  const double duration = durationOf(values);
  float shortest = 0;
  if (shortestStep(values, grids.grad, shortest) != kSuccess) return kFailure;
  // A step takes 2.5 rungs or more. Twice as many as these keep the tolerance on most grids.
  const double fewest =
      std::ceil(std::max(2.5 * duration / static_cast<double>(shortest), 0.2 / values.tolerance));
  if (!(fewest <= kMostRungs)) return fail(kTag, "DURATION has too many steps for merged walks");
  for (double rungs = fewest; rungs <= kMostRungs; rungs *= 2) {
    const TimeTables tables(duration, static_cast<std::size_t>(rungs));
    result = {.rungs = static_cast<int32_t>(rungs)};
    const int32_t reach = stepsOfRungs(rungs, duration, shortest);
    if (passOverBands(values, grids, tables, reach, &result.change) != kSuccess) return kFailure;
    if (rungs == fewest || result.change > values.tolerance / 2) continue;
    putMessage("Merged walks: rungs of time: ", result.rungs);
    putMessage("Merged walks: largest relative difference to half of them: ", result.change);
    return kSuccess;
  }
  return fail(kTag, "Merged walks: the TOLERANCE cannot be kept");
}

}  // namespace

int mergeWalks(const WalkValues& values, const AccumulationGrids& grids, MergedResult& result) {
  if (values.byTime) return mergeByTime(values, grids, result);
  DistanceTables tables;
  if (tables.prepare(values) != kSuccess) return kFailure;
  return passOverBands(values, grids, tables, tables.longest(), nullptr);
}

int mergeTable(WalkTable& table, const WalkValues& values, int32_t rungs, std::vector<double>* totals) {
  const FlowGraph graph(table);
  if (totals != nullptr && !tryAllocate(*totals, static_cast<std::size_t>(graph.records())))
    return cannotAllocate(kTag, "totals of the merged walks");
  if (values.byTime)
    return Pass(graph, TimeTables(durationOf(values), static_cast<std::size_t>(rungs)), totals).run();
  DistanceTables tables;
  return tables.prepare(values) == kSuccess ? Pass(graph, tables, totals).run() : kFailure;
}

}  // namespace terrain
