#pragma once
// The folder of real rasters and vector files. Tests that need it skip where there is none.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace terrain::test {

/// The folder that the environment names in OSTREVANMOOR_TEST_DATA (blank: none), else the one that was
/// given to CMake; blank where there is none.
inline std::string dataFolder() {
  const char* const named = std::getenv("OSTREVANMOOR_TEST_DATA");
  return named != nullptr ? named : TERRAIN_TEST_DATA;
}

}  // namespace terrain::test

/// Skips the running test, saying so, where there is no real data.
#define SKIP_WITHOUT_REAL_DATA() \
  if (terrain::test::dataFolder().empty()) GTEST_SKIP() << "no folder of real data: see CONTRIBUTING.md"
