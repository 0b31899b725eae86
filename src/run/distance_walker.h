#pragma once
// The walk by distance, for limits at which no step is lost to float32 rounding. The distance that a share
// has travelled bounds the number of steps that are left, whatever cells they lead through. Most visits of a
// walk belong to its last two steps; these are computed together and without branches: a step beyond the
// limit adds 0, which changes nothing.

#include <bit>
#include <cstdint>

#include "run/walk_cells.h"

namespace terrain {

/// The largest t for which step + t, in float32, is not above the limit; -1 if there is none. The sum never
/// decreases as t increases, and non-negative floats are ordered like their bits, so bisection finds it.
inline float lastReachFor(float limit, float step) {
  if (!(step <= limit)) return -1.0F;
  auto fits = std::bit_cast<uint32_t>(0.0F);
  auto beyond = std::bit_cast<uint32_t>(limit) + 1;  // no reach above the limit counts
  while (beyond - fits > 1) {
    const uint32_t middle = fits + (beyond - fits) / 2;
    (step + std::bit_cast<float>(middle) <= limit ? fits : beyond) = middle;
  }
  return std::bit_cast<float>(fits);
}

class DistanceWalker {
 public:
  DistanceWalker(float maxDistance, float cardinalStep, WalkCell* cells)
      : maxDistance_(maxDistance),
        lastOfOne_(lastReachFor(maxDistance, cardinalStep)),
        lastOfTwo_(lastReachFor(lastOfOne_, cardinalStep)),
        lastOfThree_(lastReachFor(lastOfTwo_, cardinalStep)),
        cells_(cells) {}

  void add(std::int64_t index, float share) { cells_[index].total += share; }
  [[nodiscard]] bool startsAt(std::int64_t index) const { return cells_[index].starts != 0; }

  /// Passes `share`, which has been added to the cell, to the neighbours until the limit ends every path. The
  /// first neighbour is followed to the end before the second receives its share: both may lead to the same
  /// cells, and the additions keep their order.
  // Not inlined: in the loop over the start cells it would run short of registers.
  [[gnu::noinline]] void passOn(std::int64_t index, float share, float spent) {
    if (!(maxDistance_ > spent)) return;
    pending_.clear();
    if (spent > lastOfThree_) {
      end(index, share, spent);
      return;
    }
    while (true) {
      const WalkCell& cell = cells_[index];
      const float reach0 = cell.step[0] + spent;
      const float reach1 = cell.step[1] + spent;
      const float share0 = cell.share[0] * share;
      const float share1 = cell.share[1] * share;
      const std::int64_t first = index + cell.next[0];
      const std::int64_t second = index + cell.next[1];
      // Every step fits here. A missing one has an infinite reach and a share of 0.
      add(first, share0);
      if (reach0 <= lastOfThree_) {
        if (share1 > 0.0F) pending_.push({second, share1, reach1});
        index = first;
        share = share0;
        spent = reach0;
        continue;
      }
      end(first, share0, reach0);
      index = second;
      share = share1;
      spent = reach1;
      for (add(index, share); spent > lastOfThree_; add(index, share)) {
        end(index, share, spent);
        if (pending_.empty()) return;
        const Pending top = pending_.pop();
        index = top.cell;
        share = top.share;
        spent = top.spent;
      }
    }
  }

 private:
  using Four = float __attribute__((vector_size(16)));  // each lane rounds like a float

  [[nodiscard]] float fitting(float share, float reach) const { return reach <= maxDistance_ ? share : 0.0F; }

  /// The rest of a walk of at most two steps.
  void end(std::int64_t index, float share, float spent) {
    if (spent > lastOfTwo_)
      oneStep(index, share, spent);
    else
      twoSteps(index, share, spent);
  }

  void oneStep(std::int64_t index, float share, float spent) {
    const WalkCell& cell = cells_[index];
    const float share0 = fitting(cell.share[0] * share, cell.step[0] + spent);
    const float share1 = fitting(cell.share[1] * share, cell.step[1] + spent);
    const std::int64_t first = index + cell.next[0];
    const std::int64_t second = index + cell.next[1];
    add(first, share0);
    add(second, share1);
  }

  void twoSteps(std::int64_t index, float share, float spent) {
    const WalkCell& cell = cells_[index];
    const float reach0 = cell.step[0] + spent;
    const float reach1 = cell.step[1] + spent;
    const float share0 = fitting(cell.share[0] * share, reach0);
    const float share1 = fitting(cell.share[1] * share, reach1);
    const std::int64_t first = index + cell.next[0];
    const std::int64_t second = index + cell.next[1];
    const WalkCell& a = cells_[first];
    const float aShare0 = a.share[0], aShare1 = a.share[1], aStep0 = a.step[0], aStep1 = a.step[1];
    const std::int64_t first0 = first + a.next[0];
    const std::int64_t first1 = first + a.next[1];
    const WalkCell& b = cells_[second];
    const std::int64_t second0 = second + b.next[0];
    const std::int64_t second1 = second + b.next[1];
    const Four reach = Four{aStep0, aStep1, b.step[0], b.step[1]} + Four{reach0, reach0, reach1, reach1};
    const Four shares = Four{aShare0, aShare1, b.share[0], b.share[1]} * Four{share0, share0, share1, share1};
    const Four limit{maxDistance_, maxDistance_, maxDistance_, maxDistance_};
    const Four sent = reach <= limit ? shares : Four{};
    add(first, share0);
    add(first0, sent[0]);
    add(first1, sent[1]);
    add(second, share1);
    add(second0, sent[2]);
    add(second1, sent[3]);
  }

  float maxDistance_;
  float lastOfOne_;  // the largest reach from which one step of the shortest length fits; then two, three
  float lastOfTwo_;
  float lastOfThree_;
  WalkCell* cells_;
  PendingStack pending_;
};

}  // namespace terrain
