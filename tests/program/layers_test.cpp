// Includes go one way between the rooms.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

namespace {

TEST(Layers, IncludesGoOneWay) {
  const std::map<std::string, std::set<std::string>> allowed{
      {"foundation", {"foundation"}},
      {"attributes", {"attributes", "foundation"}},
      {"grid", {"grid", "foundation"}},
      {"table", {"table", "attributes", "grid", "foundation"}},
      {"dem", {"dem", "table", "attributes", "grid", "foundation"}},
      {"run", {"run", "dem", "table", "attributes", "grid", "foundation"}}};
  const std::regex include(R"re(^#include "([a-z]+)/)re");
  int looked = 0;
  for (const auto& [room, below] : allowed) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(TERRAIN_SOURCE_DIR) + "/src/" + room)) {
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        std::smatch found;
        if (!std::regex_search(line, found, include)) continue;
        ++looked;
        EXPECT_TRUE(below.contains(found[1])) << entry.path() << ": " << line;
      }
    }
  }
  EXPECT_GT(looked, 100);
}

}  // namespace
