#pragma once
// A fixture for operations that report: what goes to the console can be read, and the writer and the
// memory limits are fresh before and after each test.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"

namespace terrain::test {

class Reporting : public ::testing::Test {
 protected:
  Reporting() {
    messages() = {};
    platform::console().out = &text_;
  }
  ~Reporting() override {
    platform::console() = console_;
    messages() = {};
    memoryLimits() = {};
  }
  /// What has been written since the last call.
  std::string written() {
    std::string text = text_.str();
    text_.str({});
    return text;
  }

 private:
  platform::Console console_ = platform::console();
  std::ostringstream text_;
};

}  // namespace terrain::test
