#include "run/walks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/messages.h"
#include "run/distance_walker.h"
#include "run/walk_cells.h"

namespace terrain {

namespace {

constexpr float kNoFurther = std::numeric_limits<float>::infinity();

/// The limit of a walk and the rule for the step that crosses it. A cell reached with `spent` up to `deepest`
/// passes its share on; a cell reached later only receives `lastShare`.
struct TimeLimit {
  float duration;
  [[nodiscard]] float limit() const { return duration; }
  [[nodiscard]] float deepest() const { return duration; }
  /// The share of the step in proportion to the part that fits the duration.
  [[nodiscard]] float lastShare(float share, float spent, float step, float /*reach*/) const {
    return share * (duration - spent) / step;
  }
};

struct DistanceLimit {
  float maxDistance;
  float lastReach;  // the largest reach from which the shortest step still fits
  [[nodiscard]] float limit() const { return maxDistance; }
  [[nodiscard]] float deepest() const { return lastReach; }
  [[nodiscard]] float lastShare(float share, float /*spent*/, float /*step*/, float reach) const {
    return reach <= maxDistance ? share : 0.0F;
  }
};

/// One walk at a time. `Guarded` is for limits so large that adding a step changes nothing in float32: a step
/// that does not advance is not taken, or a walk between two cells that face each other would never end.
template <class Limit, bool Guarded>
class Walker {
 public:
  Walker(Limit limit, WalkCell* cells) : limit_(limit), cells_(cells) {}

  void add(std::int64_t index, float share) { cells_[index].total += share; }
  [[nodiscard]] bool startsAt(std::int64_t index) const { return cells_[index].starts != 0; }

  /// Passes `share`, which has been added to the cell, to the neighbours until the limit ends every path. The
  /// first neighbour is followed at once; the second is pending while the first goes on, since both may lead
  /// to the same cells and the additions keep their order.
  void passOn(std::int64_t index, float share, float spent) {
    if (!(limit_.limit() > spent)) return;
    pending_.clear();
    while (true) {
      const WalkCell& cell = cells_[index];
      const float step0 = cell.step[0];
      const float step1 = cell.step[1];
      const float reach0 = step0 + spent;
      const float reach1 = step1 + spent;
      const float share0 = cell.share[0] * share;
      const float share1 = cell.share[1] * share;
      const std::int64_t first = index + cell.next[0];
      const std::int64_t second = index + cell.next[1];
      // One unpredictable branch on both conditions instead of two.
      switch (static_cast<int>(goesOn(reach0, spent)) | static_cast<int>(goesOn(reach1, spent)) << 1) {
        case 0:
          add(first, last(share0, spent, step0, reach0));
          add(second, last(share1, spent, step1, reach1));
          if (!nextPending(index, share, spent)) return;
          break;
        case 1:
          if (share1 > 0.0F) pending_.push({second, last(share1, spent, step1, reach1), kNoFurther});
          add(first, share0);
          index = first;
          share = share0;
          spent = reach0;
          break;
        case 2:
          add(first, last(share0, spent, step0, reach0));
          add(second, share1);
          index = second;
          share = share1;
          spent = reach1;
          break;
        default:
          pending_.push({second, share1, reach1});
          add(first, share0);
          index = first;
          share = share0;
          spent = reach0;
      }
    }
  }

 private:
  [[nodiscard]] bool goesOn(float reach, float spent) const {
    if constexpr (Guarded)
      return reach <= limit_.deepest() && reach > spent;
    else
      return reach <= limit_.deepest();
  }
  [[nodiscard]] float last(float share, float spent, float step, float reach) const {
    if constexpr (Guarded)
      if (!(reach > spent)) return 0.0F;
    return limit_.lastShare(share, spent, step, reach);
  }

  /// Adds the shares of pending cells until one of them goes on; false when none is left.
  bool nextPending(std::int64_t& index, float& share, float& spent) {
    while (!pending_.empty()) {
      const Pending top = pending_.pop();
      add(top.cell, top.share);
      if (top.spent > limit_.deepest()) continue;
      index = top.cell;
      share = top.share;
      spent = top.spent;
      return true;
    }
    return false;
  }

  Limit limit_;
  WalkCell* cells_;
  PendingStack pending_;
};

}  // namespace

int Walks::prepare(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect) {
  return prepare(values, grad, aspect, {.first = 1, .last = aspect.rows()});
}

int Walks::prepare(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect,
                   RowRange rows) {
  values_ = values;
  return table_.make(values, grad, aspect, rows);
}

int Walks::keepWalksTo(RowRange band) {
  // A walk's time or distance is a sum of rounded sums; no walk to the band may be left out.
  const float limit = values_.byTime ? values_.duration : values_.maxDistance;
  const float steps = std::max(limit, 0.0F) / table_.shortestStep();
  return table_.keepWaysTo(band, limit * (1.0F + 1e-5F + 3e-7F * steps),
                           [](const WalkCell& cell, std::size_t way) { return cell.step[way]; });
}

/// Calls `use` with the walker of the run: by time or by distance, guarded or not.
template <class Use>
void Walks::withWalker(Use use) {
  WalkCell* const cells = table_.cells();
  const float limit = values_.byTime ? values_.duration : values_.maxDistance;
  const float finest = std::nextafter(limit, std::numeric_limits<float>::infinity()) - limit;
  const float shortest = table_.shortestStep();
  const auto run = [&](auto&& walker) { use(walker); };
  if (values_.byTime) {
    if (shortest >= finest)
      run(Walker<TimeLimit, false>({values_.duration}, cells));
    else
      run(Walker<TimeLimit, true>({values_.duration}, cells));
  } else {
    // The distance walker needs steps that are not lost to rounding, nor the sum of a few of them.
    constexpr float kMargin = 16.0F;
    const float c = values_.cellDistance[1];
    if (shortest >= kMargin * finest)
      run(DistanceWalker(limit, c, cells));
    else
      run(Walker<DistanceLimit, true>({limit, lastReachFor(limit, c)}, cells));
  }
}

template <class Walker>
void Walks::walkFrom(Walker& walker, int32_t row, int32_t first, int32_t last) {
  const std::int64_t rowStart = table_.index(0, row);
  for (int32_t col = first; col <= last; ++col) {
    if (!walker.startsAt(rowStart + col)) continue;
    if (values_.byTime) walker.add(rowStart + col, 1.0F);  // by distance a cell is no part of its own total
    walker.passOn(rowStart + col, 1.0F, 0.0F);
  }
}

void Walks::walkFrom(int32_t row, int32_t first, int32_t last) {
  withWalker([&](auto& walker) { walkFrom(walker, row, first, last); });
}

void Walks::walkAll(const std::function<void()>& rowDone) {
  withWalker([&](auto& walker) {
    for (int32_t row = table_.rows().first; row <= table_.rows().last; ++row) {
      walkFrom(walker, row, 1, table_.cols());
      if (rowDone) rowDone();
    }
  });
}

int Walks::walkByTime(int32_t col, int32_t row, float share, float elapsed) {
  if (!values_.byTime) return fail("walkByTime", "The walks were prepared by distance");
  if (col < 1 || row < table_.rows().first || col > table_.cols() || row > table_.rows().last)
    return kSuccess;
  withWalker([&](auto& walker) {
    walker.add(table_.index(col, row), share);
    walker.passOn(table_.index(col, row), share, elapsed);
  });
  return kSuccess;
}

int Walks::walkByDistance(int32_t col, int32_t row, float share, float travelled, bool& origin) {
  if (values_.byTime) return fail("walkByDistance", "The walks were prepared by time");
  const bool adds = !std::exchange(origin, false);
  if (col < 1 || row < table_.rows().first || col > table_.cols() || row > table_.rows().last)
    return kSuccess;
  withWalker([&](auto& walker) {
    if (adds) walker.add(table_.index(col, row), share);
    walker.passOn(table_.index(col, row), share, travelled);
  });
  return kSuccess;
}

}  // namespace terrain
