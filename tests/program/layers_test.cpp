// Includes go one way between the modules.

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
  int includes = 0;
  for (const auto& [module, below] : allowed) {
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(TERRAIN_SOURCE_DIR) + "/src/" + module)) {
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        std::smatch found;
        if (!std::regex_search(line, found, include)) continue;
        ++includes;
        EXPECT_TRUE(below.contains(found[1])) << entry.path() << ": " << line;
      }
    }
  }
  EXPECT_GT(includes, 100);
}

}  // namespace
