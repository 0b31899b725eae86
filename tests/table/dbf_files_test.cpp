// DBF files of others: real ones, and those that OGR writes and reads.

#include "support/real_data.h"
#include "support/tools.h"
#include "table/dbf.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

std::string valuesOf(const DataTableType& table) {
  std::ostringstream out;
  out.precision(17);
  for (const auto& field : table.field)
    visitColumn(*field, [&out](const auto& column) {
      for (std::size_t r = 0; r < column.size(); ++r) out << column[r] << '|';
    });
  return out.str();
}

TEST(DbfFiles, RealTablesKeepTheirRecords) {
  SKIP_WITHOUT_REAL_DATA();
  int found = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(test::dataFolder())) {
    if (entry.path().extension() != ".dbf") continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++found;
    ConsoleCapture seen;
    ScratchDir scratch;
    DataTableType table, back;
    ASSERT_EQ(NewDataTable(table, {.filePath = entry.path().string()}), 0) << seen.text();
    EXPECT_FALSE(seen.has("NonFatal")) << seen.text();
    ASSERT_EQ(table.writeDBFfile(scratch.path("out")), 0) << seen.text();
    ASSERT_EQ(NewDataTable(back, {.filePath = scratch.path("out.dbf")}), 0) << seen.text();
    EXPECT_EQ(back.numRecords, table.numRecords);
    EXPECT_TRUE(valuesOf(back) == valuesOf(table));
    // Where two fields have one name, that of the second is changed.
    EXPECT_EQ(formOf(readBytes(scratch.path("out.dbf")), false), formOf(readBytes(entry.path()), false));
  }
  EXPECT_GT(found, 0);
}

using DbfPeers = TableTest;

TEST_F(DbfPeers, OgrReadsWhatIsWritten) {
  if (!haveTool("ogrinfo")) GTEST_SKIP() << "gdal-bin is not installed";
  make({attribute("whole", "I4", 9), attribute("long", "I8", 18), attribute("real", "R8", 20, 6),
        attribute("text", "C ", 254)},
       2);
  table.WriteI4Field(std::vector<int32_t>{7, -12345678}, 1);
  table.WriteI8Field(std::vector<int64_t>{123456789012345678, -5}, 2);
  table.WriteR8Field(std::vector<double>{1234567.015625, -0.5}, 3);
  table.WriteCharField(std::vector<std::string>{std::string(254, 'x'), "b c"}, 4);
  ASSERT_EQ(table.writeDBFfile(scratch.path("ours")), 0) << seen.text();
  const std::string listing = shell("ogrinfo -al " + scratch.path("ours.dbf")).text;
  for (const char* line :
       {"Feature Count: 2", "whole: Integer (9.0)", "long: Integer64 (18.0)", "real: Real (20.6)",
        "text: String (254.0)", "whole (Integer) = -12345678", "long (Integer64) = 123456789012345678",
        "real (Real) = 1234567.015625", "text (String) = b c"})
    EXPECT_NE(listing.find(line), std::string::npos) << line << "\n" << listing;
  for (const char* word : {"Warning", "ERROR"}) EXPECT_EQ(listing.find(word), std::string::npos) << listing;
}

}  // namespace
}  // namespace terrain
