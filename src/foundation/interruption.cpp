#include "foundation/interruption.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/platform.h"

namespace terrain::platform {

/// One watched name in a list that only grows: the handler may walk it at any moment, so entries are used
/// again and never freed.
struct TemporaryName::Entry {
  std::atomic<char*> path{nullptr};  // null in an entry that is free
  dev_t device{};
  ino_t inode{};
  Entry* next = nullptr;
};

namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

std::atomic<TemporaryName::Entry*> entries{nullptr};
InterruptionHook hook;

sigset_t interruptions() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : kSignals) ::sigaddset(&set, signal);
  return set;
}

/// Async-signal-safe, as all that it calls must be.
void removeTemporaryFiles() {
  for (TemporaryName::Entry* entry = entries; entry != nullptr; entry = entry->next) {
    const char* path = entry->path;
    struct stat about {};
    if (path != nullptr && ::lstat(path, &about) == 0 && about.st_dev == entry->device &&
        about.st_ino == entry->inode)
      ::unlink(path);
  }
}

void onInterruption(int signal) {
  removeTemporaryFiles();
  if (hook.call != nullptr) hook.call(hook.context);
  ::raise(signal);  // its default action is in force again and ends the process when the handler returns
}

TemporaryName::Entry* freeEntry() {
  for (TemporaryName::Entry* entry = entries; entry != nullptr; entry = entry->next)
    if (entry->path == nullptr) return entry;
  auto* added = new (std::nothrow) TemporaryName::Entry;
  if (added == nullptr) return nullptr;
  added->next = entries;
  entries = added;
  return added;
}

}  // namespace

void handleInterruptions() {
  for (const int signal : kSignals) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = &onInterruption;
    action.sa_mask = interruptions();
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
  }
}

void setInterruptionHook(InterruptionHook newHook) {
  const InterruptionsHeld held;
  hook = newHook;
}

TemporaryName& TemporaryName::operator=(TemporaryName&& other) noexcept {
  if (this != &other) {
    release();
    entry_ = std::exchange(other.entry_, nullptr);
  }
  return *this;
}

void TemporaryName::watch(std::string_view name) {
  release();
  struct stat about {};
  const std::string path = hostPath(name);
  if (::lstat(path.c_str(), &about) != 0) return;
  entry_ = freeEntry();
  if (entry_ == nullptr) return;
  entry_->device = about.st_dev;
  entry_->inode = about.st_ino;
  entry_->path = ::strdup(path.c_str());
}

void TemporaryName::release() {
  if (entry_ == nullptr) return;
  std::free(entry_->path.exchange(nullptr));
  entry_ = nullptr;
}

InterruptionsHeld::InterruptionsHeld() {
  const sigset_t set = interruptions();
  ::pthread_sigmask(SIG_BLOCK, &set, &before_);
}

InterruptionsHeld::~InterruptionsHeld() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace terrain::platform
