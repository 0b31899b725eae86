#include "foundation/run_clock.h"

#include <array>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

namespace {

constexpr std::array<std::string_view, 12> kMonths{"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};

std::string_view monthName(int32_t month) { return kMonths[static_cast<std::size_t>((month + 11) % 12)]; }

std::string twoDigits(int32_t value) {
  std::string digits = freeText(value);
  if (value < 10) digits.insert(digits.begin(), '0');
  return digits;
}

std::string twelveHour(int32_t hour) { return freeText(hour % 12 == 0 ? 12 : hour % 12); }
std::string_view halfOfDay(int32_t hour) { return hour < 12 ? " AM" : " PM"; }

std::string timeWithoutSeconds(const platform::DateTime& t) {
  return twelveHour(t.hour) + ':' + twoDigits(t.minute) + std::string(halfOfDay(t.hour));
}

// Seconds and milliseconds have fields of 2 and 3 characters that are not filled with zeros.
std::string timeWithSeconds(const platform::DateTime& t) {
  return twelveHour(t.hour) + ':' + twoDigits(t.minute) + ':' + rightJustified(freeText(t.second), 2) + ':' +
         rightJustified(freeText(t.millisecond), 3) + std::string(halfOfDay(t.hour));
}

std::string atTime(const platform::DateTime& date, const std::string& time) {
  return dateText(date) + " at " + time;
}

std::string stampOf(const platform::DateTime& t) {
  return std::string(monthName(t.month).substr(0, 3)) + '_' + freeText(t.day) + '_' +
         twoDigits(t.year % 100) + '_' + freeText(t.hour) + '_' + twoDigits(t.minute) + '_' +
         freeText(t.second);
}

}  // namespace

ClockState& clockState() {
  static ClockState state;
  return state;
}

std::string dateText(const platform::DateTime& time) {
  return std::string(monthName(time.month)) + ' ' + freeText(time.day) + ", " + freeText(time.year);
}

void RunClock(const ClockArgs& args) {
  ClockState& state = clockState();
  const bool startAsked = args.start.value_or(false);
  const bool stopAsked = args.stop.value_or(false);
  const bool neither = !args.start && !args.stop;
  bool done = state.clockRunning;
  if (stopAsked && !args.start)
    done = true;
  else if (startAsked || neither)
    done = false;

  platform::DateTime now = platform::clock().now();
  std::string text;
  if (!done) {
    state.started = now;
    state.clockRunning = true;
    text = atTime(now, timeWithoutSeconds(now));
    putConsoleLine("Started " + text);
    putConsoleLine("");
  } else {
    putConsoleLine("Started " + atTime(state.started, timeWithSeconds(state.started)));
    text = atTime(now, timeWithSeconds(now));
    putConsoleLine("Done    " + text);
  }
  if (args.startText != nullptr) *args.startText = std::string(cut(text, 50));
  if (args.stamp != nullptr) *args.stamp = std::string(cut(stampOf(now), args.stampLength));
}

}  // namespace terrain
