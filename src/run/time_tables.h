#pragma once
// Tables of merged walks by time: the integral over time of the water that has come to a cell, at equal rungs
// from the start of the storm to the limit. A donor's table is read between its rungs by cubic interpolation
// (Lagrange, four rungs). Before the first rung stand zeros, since nothing has come then.

#include <array>
#include <cstdint>
#include <span>

#include "run/merged_pulls.h"

namespace terrain {

class TimeTables {
 public:
  TimeTables() = default;
  /// `duration` in hours. `rungs` is so large that the shortest step takes two rungs or more.
  TimeTables(double duration, std::size_t rungs) : duration_(duration), rungs_(rungs) {}

  [[nodiscard]] std::size_t rungs() const { return rungs_; }
  [[nodiscard]] static int32_t longest() { return 0; }
  [[nodiscard]] static int32_t stepsAfter(int32_t) { return 0; }
  [[nodiscard]] std::size_t sizeOf(int32_t) const { return kZeros + rungs_ + 1; }
  void start(FlowTable& table) const;
  void pull(FlowTable& to, const FlowTable& from, const Donor& donor) const;
  void march(std::span<const Pull> pulls) const;
  /// What starts at the cell; all else is in the last parts of its donors.
  [[nodiscard]] static double total(const FlowTable&, bool starts) { return starts ? 1.0 : 0.0; }
  /// What a donor has sent by the limit: all that has arrived, and of what is on its way the part of the step
  /// that it has gone; so it is the mean over the last step of what had left by then.
  [[nodiscard]] double lastPart(const FlowTable& from, const Donor& donor) const;

 private:
  static constexpr std::size_t kZeros = 4;
  /// A step as whole rungs, and the weights of the four rungs around what is left.
  struct Delay {
    std::size_t rungs = 0;
    std::array<double, 4> weights{};
  };
  /// True if a step of the donor ends within the duration.
  [[nodiscard]] bool arrives(const Donor& donor) const { return static_cast<double>(donor.step) < duration_; }
  [[nodiscard]] Delay delayOf(const Donor& donor, double scale) const;
  /// The first of the four rungs for the value at a rung after a delay.
  [[nodiscard]] static const double* source(const FlowTable& from, std::size_t rung, const Delay& delay) {
    return from.values.get() + kZeros + rung - delay.rungs - 2;
  }
  /// The first rung at which water may have come.
  [[nodiscard]] static std::size_t firstRung(const Delay& delay) {
    return delay.rungs > 0 ? delay.rungs - 1 : 0;
  }

  double duration_ = 0;
  std::size_t rungs_ = 1;
};

}  // namespace terrain
