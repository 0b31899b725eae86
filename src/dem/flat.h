#pragma once
// A flat: connected cells of one elevation, whose slope gives no direction. Two integer surfaces are laid
// over it, one that falls away from the higher ground around it and one that falls toward its outlets; flow
// follows their sum (Garbrecht and Martz 1997).

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "grid/directions.h"

namespace terrain {

/// Elevations closer than this are one level.
inline constexpr float kLevel = 9e-5F;

/// Reports a cell of a flat from which no neighbour has a lower rank.
void reportUndrained(std::string_view routine, const GridGeometry& grid, ColRow cell);

/// What a cell of a flat borders on.
enum class Rim : int8_t { none, high, outlet };

/// The number of each position of a flat, from 1, found by hashing: memory follows the flat and not the box
/// around it, which for a long valley floor is far larger.
class PositionIndex {
 public:
  /// Empties the index and makes room for so many positions. False if there is no memory.
  [[nodiscard]] bool reset(std::size_t count) {
    std::size_t slots = 16;
    while (slots < 2 * count) slots *= 2;
    mask_ = slots - 1;
    return tryAllocate(slots_, slots);
  }
  void add(std::uint64_t key, int32_t number) {
    std::size_t slot = first(key);
    while (slots_[slot].number != 0) slot = (slot + 1) & mask_;
    slots_[slot] = {.key = key, .number = number};
  }
  /// 0 for a position that is not in the index.
  [[nodiscard]] int32_t find(std::uint64_t key) const {
    std::size_t slot = first(key);
    while (slots_[slot].number != 0 && slots_[slot].key != key) slot = (slot + 1) & mask_;
    return slots_[slot].number;
  }

 private:
  struct Slot {
    std::uint64_t key = 0;
    int32_t number = 0;
  };
  [[nodiscard]] std::size_t first(std::uint64_t key) const {
    constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio
    return static_cast<std::size_t>((key * multiplier) >> 20U) & mask_;
  }

  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
};

/// The cells of one flat, in the order in which they were found, with their ranks.
template <class Lattice>
class Flat {
 public:
  using At = typename Lattice::At;

  explicit Flat(const Lattice& lattice) : lattice_(lattice) {}

  /// Walks the flat of `start`: join(neighbour), called for each neighbour of a cell of the flat, says
  /// whether it belongs to the flat and has not been met before. False if there is no memory.
  template <class Join>
  [[nodiscard]] bool collect(At start, Join join) {
    cells_.clear();
    if (!tryAppend(cells_, start)) return false;
    for (std::size_t i = 0; i < cells_.size(); ++i)
      for (int32_t code = 1; code <= kDirections; ++code) {
        const At there = lattice_.step(cells_[i], code);
        if (join(there) && !tryAppend(cells_, there)) return false;
      }
    return true;
  }
  [[nodiscard]] const std::vector<At>& cells() const { return cells_; }

  /// Ranks the cells by what rimOf(cell) says of each. False if there is no memory.
  ///
  /// The ranks are those of repeated passes over the whole flat, in closed form. Away from higher ground:
  /// with i the steps from the nearest high cell, not across outlets, and D the largest i, a cell holds D + 2
  /// - i, or 0 where it is not reached. Toward the outlets: 2 d with d the steps from the nearest outlet;
  /// cells that no outlet reaches hold 2 max(d) + 4, and all hold 4 where there is no outlet. The doubling
  /// makes a step toward an outlet outweigh a step away from high ground.
  template <class RimOf>
  [[nodiscard]] bool rank(RimOf rimOf) {
    const std::size_t count = cells_.size();
    if (!index_.reset(count) || !tryAllocate(rims_, count) || !tryAllocate(rank_, count)) return false;
    for (std::size_t i = 0; i < count; ++i) {
      index_.add(Lattice::key(cells_[i]), static_cast<int32_t>(i + 1));
      rims_[i] = rimOf(cells_[i]);
    }
    if (!measure(Rim::high)) return false;
    for (std::size_t i = 0; i < count; ++i) rank_[i] = steps_[i] < 0 ? 0 : longest_ + 2 - steps_[i];
    if (!measure(Rim::outlet)) return false;
    for (std::size_t i = 0; i < count; ++i) {
      if (rims_[i] == Rim::outlet) rank_[i] = 0;
      rank_[i] += steps_[i] < 0 ? 2 * longest_ + 4 : 2 * steps_[i];
    }
    return true;
  }
  [[nodiscard]] int32_t rankOf(std::size_t i) const { return rank_[i]; }
  [[nodiscard]] bool contains(At at) const { return index_.find(Lattice::key(at)) > 0; }

  /// The direction of the greatest fall of the ranks from the i-th cell, the first of equal ones; 0 if there
  /// is none.
  [[nodiscard]] int32_t steepest(std::size_t i) const {
    int32_t best = 0;
    float greatest = 0.0F;
    for (int32_t code = 1; code <= kDirections; ++code) {
      const int32_t j = index_.find(Lattice::key(lattice_.step(cells_[i], code)));
      if (j == 0) continue;
      const float fall =
          static_cast<float>(rank_[i] - rank_[static_cast<std::size_t>(j - 1)]) / stepLength(code);
      if (fall > greatest) {
        greatest = fall;
        best = code;
      }
    }
    return best;
  }

 private:
  /// Steps of every cell from the nearest cell of a kind, -1 where there is no way; ways from high cells do
  /// not lead through outlets. `longest_` is the largest of them.
  [[nodiscard]] bool measure(Rim from) {
    steps_.clear();
    if (!tryResize(steps_, cells_.size())) return false;
    std::ranges::fill(steps_, -1);
    queue_.clear();
    for (std::size_t i = 0; i < cells_.size(); ++i) {
      if (rims_[i] != from) continue;
      steps_[i] = 0;
      if (!tryAppend(queue_, static_cast<int32_t>(i))) return false;
    }
    longest_ = 0;
    for (std::size_t next = 0; next < queue_.size(); ++next) {
      const auto i = static_cast<std::size_t>(queue_[next]);
      longest_ = steps_[i];
      for (int32_t code = 1; code <= kDirections; ++code) {
        const int32_t number = index_.find(Lattice::key(lattice_.step(cells_[i], code)));
        if (number == 0) continue;
        const auto j = static_cast<std::size_t>(number - 1);
        if (steps_[j] >= 0 || (from == Rim::high && rims_[j] == Rim::outlet)) continue;
        steps_[j] = steps_[i] + 1;
        if (!tryAppend(queue_, number - 1)) return false;
      }
    }
    return true;
  }

  const Lattice& lattice_;
  std::vector<At> cells_;
  PositionIndex index_;
  std::vector<Rim> rims_;
  std::vector<int32_t> rank_, steps_, queue_;
  int32_t longest_ = 0;
};

}  // namespace terrain
