// The files of a table change together or not at all.

#include <map>

#include "shape_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

/// What is in a directory: names and contents.
std::map<std::string, std::string> filesIn(const std::string& directory) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(directory))
    files[entry.path().filename()] = entry.is_regular_file() ? readBytes(entry.path()) : "";
  return files;
}

class TableFiles : public ::testing::TestWithParam<Shape> {
 protected:
  ScratchDir scratch;
  ConsoleCapture seen;
};

TEST_P(TableFiles, AFaultAtAnyFileLeavesTheOlderOnesWhole) {
  const Shape type = GetParam();
  const std::string out = scratch.path("out");
  const std::string shape = isPoint(type)
                                ? pointContent(type, 1, 2)
                                : content(type, {.starts = {0}, .x = {0, 1, 1, 0}, .y = {0, 1, 2, 0}});
  putShapefile(scratch.path("in"), mainFile(type, {shape, shape}),
               rawDbf({{"T", 'C', 200}}, std::vector<std::string>(2, std::string(201, ' '))));
  writeBytes(scratch.path("in.prj"), "LOCAL_CS[]\n");
  writeBytes(scratch.path("in.cpg"), "UTF-8");
  withTableOf(type, [&](auto& table) {
    ASSERT_EQ(readShapes(table, scratch.path("in")), 0) << seen.text();
    ASSERT_EQ(writeShapes(table, out), 0) << seen.text();
    ASSERT_EQ(table.WriteCharValue(1, 1, "newer"), 0);
    const auto older = filesIn(scratch.path());
    ASSERT_EQ(older.size(), 4U + 5U);
    ASSERT_GT(older.at("out.dbf").size(), older.at("out.shp").size());
    {
      const FileSizeLimit allButTheRows(older.at("out.shp").size());
      EXPECT_EQ(writeShapes(table, out), -1);
      EXPECT_TRUE(seen.has("Error writing to dbf file") && seen.has("out.dbf")) << seen.text();
      EXPECT_EQ(table.writeDBFfile(out), -1);
    }
    {
      const FileSizeLimit nearlyNothing(10);
      EXPECT_EQ(writeShapes(table, out), -1);
      EXPECT_TRUE(seen.has("Failed to write file " + out + ".shp")) << seen.text();
    }
    EXPECT_EQ(filesIn(scratch.path()), older);
    for (const char* ending : {".prj", ".shx", ".cpg"}) {
      std::filesystem::remove(out + ending);
      std::filesystem::create_directory(out + ending);
      const auto before = filesIn(scratch.path());
      EXPECT_EQ(writeShapes(table, out), -1) << ending;
      EXPECT_EQ(filesIn(scratch.path()), before) << ending;
      std::filesystem::remove(out + ending);
    }

    // Side files of an older table tell of other shapes and other texts.
    ASSERT_EQ(writeShapes(table, out), 0) << seen.text();
    table.prj = InputFileType{};
    table.codePage.clear();
    ASSERT_EQ(writeShapes(table, out), 0) << seen.text();
    EXPECT_FALSE(platform::fileExists(out + ".prj") || platform::fileExists(out + ".cpg"));
    EXPECT_EQ(readBytes(out + ".dbf").substr(66, 5), "newer");
  });
}

INSTANTIATE_TEST_SUITE_P(Shapes, TableFiles,
                         ::testing::Values(Shape::point, Shape::polyline, Shape::polygon));

}  // namespace
}  // namespace terrain
