#pragma once
// How far a long work is, for who waits at a terminal: one line on standard error that is written over.

#include <chrono>
#include <cstdint>
#include <mutex>

namespace terrain {

/// Counts the parts of a work. From the second second on the line tells percent and the time left, once a
/// second; where standard error is no terminal nothing is written. Several threads may count.
class ProgressLine {
 public:
  explicit ProgressLine(std::int64_t parts) : parts_(parts) {}
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;
  /// Takes the line away.
  ~ProgressLine();

  /// One more part is done.
  void advance();

 private:
  using Clock = std::chrono::steady_clock;

  std::mutex mutex_;
  std::int64_t parts_;
  std::int64_t done_ = 0;
  bool shown_ = false;
  Clock::time_point begun_ = Clock::now();
  Clock::time_point told_ = begun_;
};

}  // namespace terrain
