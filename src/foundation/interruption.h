#pragma once
// The end of the process by a signal: Ctrl-C, a termination, a lost terminal. Temporary files are removed
// and the program's last line is written; then the signal takes effect, so that the caller sees it.

#include <csignal>
#include <string_view>
#include <utility>

namespace terrain::platform {

/// From now on SIGINT, SIGTERM and SIGHUP remove the temporary files, call the hook and end the process.
/// A signal that the process was started to ignore, as SIGHUP under nohup, stays ignored.
void handleInterruptions();

/// What is called once, in the signal handler: it may do only what is async-signal-safe. Of this system
/// that is `File::size` and `File::writeAt`. Without `call` nothing is called.
struct InterruptionHook {
  void (*call)(void* context) = nullptr;
  void* context = nullptr;
};
void setInterruptionHook(InterruptionHook hook);

/// While it lives, an interruption removes the file that had the name when `watch` was called; another file
/// that has taken the name by then stays. Set and released by one thread.
class TemporaryName {
 public:
  TemporaryName() = default;
  ~TemporaryName() { release(); }
  TemporaryName(TemporaryName&& other) noexcept : entry_(std::exchange(other.entry_, nullptr)) {}
  TemporaryName& operator=(TemporaryName&& other) noexcept;
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  void watch(std::string_view name);
  void release();

  struct Entry;

 private:
  Entry* entry_ = nullptr;
};

/// While it lives, interruptions of this thread wait: for the moment in which a file is made and watched, or
/// several are renamed.
class InterruptionsHeld {
 public:
  InterruptionsHeld();
  ~InterruptionsHeld();
  InterruptionsHeld(const InterruptionsHeld&) = delete;
  InterruptionsHeld& operator=(const InterruptionsHeld&) = delete;

 private:
  sigset_t before_;
};

}  // namespace terrain::platform
