// DBF files of others: real ones, and those that OGR writes and reads.

#include "support/tools.h"
#include "table/dbf.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::testing;

TEST(DbfFiles, RealTablesGoRound) {
#ifdef TERRAIN_TEST_DATA
  const std::filesystem::path root = TERRAIN_TEST_DATA;
#else
  const std::filesystem::path root;
#endif
  if (root.empty() || !std::filesystem::exists(root)) GTEST_SKIP() << "no test data";
  int found = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() != ".dbf") continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++found;
    Messages seen;
    Scratch scratch;
    DataTableType table;
    ASSERT_EQ(NewDataTable(table, {.filePath = entry.path().string()}), 0) << seen.text();
    EXPECT_FALSE(seen.has("NonFatal")) << seen.text();
    ASSERT_EQ(table.writeDBFfile(scratch.path("out")), 0) << seen.text();
    DataTableType back;
    ASSERT_EQ(NewDataTable(back, {.filePath = scratch.path("out.dbf")}), 0) << seen.text();
    ASSERT_EQ(back.numRecords, table.numRecords);
    int32_t copy = 0;
    for (int32_t number = 1; number <= table.nfields; ++number) {
      const FieldContent* const field = table.fieldAt(number);
      if (kindOf(field->dataType.padded()) == FieldKind::unknown) continue;
      const FieldContent* other = back.fieldAt(++copy);
      ASSERT_NE(other, nullptr);
      const bool repeated =
          table.FieldNumber(field->name.trimmed()) != number;  // one of these has such a name
      EXPECT_EQ(other->name == field->name.trimmed(), !repeated) << other->name.trimmed();
      for (int64_t r = 1; r <= table.numRecords; ++r) {
        if (field->dataType == "C ") {
          ASSERT_EQ(field->Char[static_cast<std::size_t>(r) - 1],
                    other->Char[static_cast<std::size_t>(r) - 1]);
        } else {
          double a = 0, b = 0;
          table.ReadR8Value(number, r, a);
          back.ReadR8Value(copy, r, b);
          ASSERT_EQ(static_cast<float>(a), static_cast<float>(b)) << field->name.trimmed() << ' ' << r;
        }
      }
    }
  }
  EXPECT_GT(found, 0);
}

TEST(DbfFiles, OgrReadsWhatIsWritten) {
  if (!haveTool("ogr2ogr")) GTEST_SKIP() << "no ogr2ogr";
  Messages seen;
  Scratch scratch;
  DataTableType table;
  const AttributeType list[] = {attribute("whole", "I4", 9), attribute("long", "I8", 18),
                                attribute("real", "R8", 20, 6), attribute("text", "C ", 254)};
  ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 2}), 0);
  table.WriteI4Field(std::vector<int32_t>{7, -12345678}, 1);
  table.WriteI8Field(std::vector<int64_t>{123456789012345678, -5}, 2);
  table.WriteR8Field(std::vector<double>{1234567.015625, -0.5}, 3);
  table.WriteCharField(std::vector<std::string>{std::string(254, 'x'), "b c"}, 4);
  ASSERT_EQ(table.writeDBFfile(scratch.path("ours")), 0) << seen.text();
  const std::string told = shell("ogrinfo -al " + scratch.path("ours.dbf")).text;
  EXPECT_EQ(told.find("Warning"), std::string::npos) << told;
  EXPECT_EQ(told.find("ERROR"), std::string::npos) << told;
  for (const char* line :
       {"Feature Count: 2", "whole: Integer (9.0)", "long: Integer64 (18.0)", "real: Real (20.6)",
        "text: String (254.0)", "whole (Integer) = -12345678", "long (Integer64) = 123456789012345678",
        "real (Real) = 1234567.015625", "text (String) = b c"})
    EXPECT_NE(told.find(line), std::string::npos) << line << "\n" << told;
  ASSERT_EQ(table.writeDBFfile(scratch.path("none"), {.recIndex = std::span<const int64_t>()}), 0);
  EXPECT_NE(shell("ogrinfo -al -so " + scratch.path("none.dbf")).text.find("Feature Count: 0"),
            std::string::npos);
}

TEST(DbfFiles, WhatOgrWritesIsRead) {
  if (!haveTool("ogr2ogr")) GTEST_SKIP() << "no ogr2ogr";
  Messages seen;
  Scratch scratch;
  writeBytes(scratch.path("in.csv"),
             "i,r,d,t,w\n12,1.5,2001/02/03,one,a\n,,,,\n-7,2500000.25,1999/12/31,two words,z\n");
  writeBytes(scratch.path("in.csvt"),
             "\"Integer(5)\",\"Real(15.4)\",\"Date\",\"String(20)\",\"String(254)\"\n");
  shell("ogr2ogr -f 'ESRI Shapefile' " + scratch.path("theirs.dbf") + " " + scratch.path("in.csv")).text;
  DataTableType table;
  ASSERT_EQ(NewDataTable(table, {.filePath = scratch.path("theirs.dbf")}), 0) << seen.text();
  ASSERT_EQ(table.numRecords, 3);
  EXPECT_EQ(table.field[0]->I4, (std::vector<int32_t>{12, -9999, -7}));
  EXPECT_EQ(table.field[1]->R8, (std::vector<double>{1.5, -9999.0, 2500000.25}));
  EXPECT_EQ(table.field[2]->Char[0], "20010203");
  EXPECT_EQ(table.field[3]->Char[2], "two words");
  EXPECT_EQ(table.field[4]->Char[2], "z");
  EXPECT_EQ(table.FieldLength("w"), 254);
  EXPECT_FALSE(seen.has("NonFatal")) << seen.text();
}

}  // namespace
}  // namespace terrain
