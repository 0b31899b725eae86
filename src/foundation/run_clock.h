#pragma once
// The clock of the "Started " and "Done    " lines, which go to the console alone.

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/platform.h"

namespace terrain {

/// What `RunClock` remembers between its calls.
struct ClockState {
  bool clockRunning = false;
  platform::DateTime started{};
};
ClockState& clockState();

struct ClockArgs {
  std::optional<bool> start{};
  std::optional<bool> stop{};
  std::string* startText = nullptr;  ///< out: the date text, at most 50 characters
  std::string* stamp = nullptr;      ///< out: month, day, year, hour, minutes, seconds, as in Nov_5_26_9_05_7
  std::size_t stampLength = 50;      ///< the stamp is cut to this
};

/// Starts the clock ("Started " and the date, and an empty line) or, with `stop` true, or with either
/// argument false while it runs, tells the end ("Started " with seconds, "Done    ").
void RunClock(const ClockArgs& args);

/// "November 5, 2026": month in full, day without leading blank, four-digit year.
[[nodiscard]] std::string dateText(const platform::DateTime& time);

}  // namespace terrain
