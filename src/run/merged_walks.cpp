#include "run/merged_walks.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
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
    if (!pool_.open(graph_)) return cannotAllocate(kTag, "order of the merged walks");
    const GroupsEnd end = forEachGroup(graph_, [&](std::span<const std::int64_t> group) {
      return group.size() == 1 ? takeCell(group.front()) : takeGroup(group);
    });
    if (end == GroupsEnd::done) return kSuccess;
    if (group_ > 1)
      return fail(kTag, "Merged walks: no memory for the tables of " +
                            freeText(static_cast<int64_t>(group_)) +
                            " cells along which the flow goes in circles");
    return fail(kTag, "Merged walks: no memory for the tables of the cells; a shorter limit needs less");
  }

  /// The largest relative difference to the totals before the pass, of cells where walks start. By distance a
  /// total may be 0, and there is but one pass.
  [[nodiscard]] double change() const { return change_; }

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
    float& stored = graph_.cell(cell).total;
    if (startsAt(cell)) change_ = std::max(change_, std::abs(total - static_cast<double>(stored)) / total);
    stored = static_cast<float>(total);
    if (totals_ != nullptr) (*totals_)[static_cast<std::size_t>(cell)] = total;
  }

  const FlowGraph& graph_;
  const Tables& tables_;
  std::vector<double>* totals_;
  TablePool pool_;
  double change_ = 0;
  std::size_t group_ = 0;  ///< cells of the group at work, 0 for a cell by itself
};

/// Twice as many rungs, until the totals no longer change by more than half the tolerance.
int mergeByTime(const FlowGraph& graph, const WalkValues& values, float shortest, MergedResult& result,
                std::vector<double>* totals) {
  constexpr double kMostRungs = 1 << 21;
  const double duration = std::max(static_cast<double>(values.duration), 0.0);
  // A step takes 2.5 rungs or more. Twice as many as these keep the tolerance on most grids.
  const double fewest =
      std::ceil(std::max(2.5 * duration / static_cast<double>(shortest), 0.2 / values.tolerance));
  if (!(fewest <= kMostRungs)) return fail(kTag, "DURATION has too many steps for merged walks");
  for (double rungs = fewest; rungs <= kMostRungs; rungs *= 2) {
    const TimeTables tables(duration, static_cast<std::size_t>(rungs));
    Pass pass(graph, tables, totals);
    if (pass.run() != kSuccess) return kFailure;
    result = {.rungs = static_cast<int32_t>(rungs), .change = pass.change()};
    if (rungs == fewest || result.change > values.tolerance / 2) continue;
    putMessage("Merged walks: rungs of time: ", result.rungs);
    putMessage("Merged walks: largest relative difference to half of them: ", result.change);
    return kSuccess;
  }
  return fail(kTag, "Merged walks: the TOLERANCE cannot be kept");
}

}  // namespace

int mergeWalks(WalkTable& table, const WalkValues& values, MergedResult& result,
               std::vector<double>* totals) {
  if (table.memory() == nullptr) return fail(kTag, "Merged walks: no memory for the cells");
  const FlowGraph graph(table);
  if (totals != nullptr && !tryAllocate(*totals, static_cast<std::size_t>(graph.records())))
    return cannotAllocate(kTag, "totals of the merged walks");
  if (values.byTime) return mergeByTime(graph, values, table.shortestStep(), result, totals);
  DistanceTables tables;
  return tables.prepare(values) == kSuccess ? Pass(graph, tables, totals).run() : kFailure;
}

}  // namespace terrain
