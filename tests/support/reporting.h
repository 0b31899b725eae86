#pragma once
// What the system reports, caught for a test.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"

namespace terrain::test {

/// Catches what goes to the console while it lives, with a fresh message writer.
class ConsoleCapture {
 public:
  ConsoleCapture() {
    platform::console().out = &text_;
    messages() = {};
  }
  ~ConsoleCapture() {
    platform::console() = console_;
    messages() = writer_;
  }
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  [[nodiscard]] std::string text() const { return text_.str(); }
  [[nodiscard]] bool has(std::string_view line) const { return text().find(line) != std::string::npos; }
  void clear() { text_.str(""); }

 private:
  std::ostringstream text_;
  platform::Console console_ = platform::console();
  MessageWriter writer_ = messages();
};

/// A fixture for operations that report. Memory limits that a test sets end with it.
class Reporting : public ::testing::Test {
 protected:
  ~Reporting() override { memoryLimits() = {}; }
  /// What has been reported since the last call.
  std::string written() {
    std::string text = console_.text();
    console_.clear();
    return text;
  }

  ConsoleCapture console_;
};

}  // namespace terrain::test
