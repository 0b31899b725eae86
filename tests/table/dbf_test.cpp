#include "table/dbf.h"

#include <cmath>
#include <limits>

#include "foundation/memory.h"
#include "table/point_vectors.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

class Dbf : public TableTest {
 protected:
  int read(const std::string& bytes, bool headerOnly = false) {
    const std::string name = scratch.path("in.dbf");
    writeBytes(name, bytes);
    return NewDataTable(table, {.filePath = name, .headerOnly = headerOnly});
  }
  /// The bytes of the file that a table makes; blank if it is not written.
  std::string written(DataTableType& any, DbfWriteOptions options = {}) {
    options.date = CalendarDate{2001, 2, 3};
    return any.writeDBFfile(scratch.path("out"), options) == 0 ? readBytes(scratch.path("out.dbf")) : "";
  }
  std::string written(const DbfWriteOptions& options = {}) { return written(table, options); }
  /// What is read from the file that was written.
  std::string writtenTable() {
    DataTableType back;
    EXPECT_EQ(NewDataTable(back, {.filePath = scratch.path("out.dbf")}), 0) << seen.text();
    return shown(back);
  }
  /// The one record of a table of one real or integer field.
  std::string cell(double value, std::string_view type, int32_t length, int32_t decimals,
                   std::optional<int32_t> nodataOut = std::nullopt) {
    make({attribute("V", type, length, decimals)}, 1);
    table.field[0]->outLength = length;
    EXPECT_EQ(table.WriteR8Value(1, 1, value), 0);
    const std::string bytes = written({.nodataOut = nodataOut});
    return bytes.empty() ? "failed" : bytes.substr(66, static_cast<std::size_t>(length));
  }
};

TEST_F(Dbf, TypesFollowLetterLengthAndDecimals) {
  const std::vector<RawDbfField> fields{{"A", 'F', 8, 2}, {"B", 'O', 9},    {"C", 'N', 9},
                                        {"D", 'N', 10},   {"E", 'N', 8, 2}, {"F", 'N', 9, 2},
                                        {"G", 'D', 8},    {"H", 'B', 1},    {"I", 'C', 4}};
  const std::string record = std::string(" ") + "1.5     " + "2.5      " + "12       " + "3456789012" +
                             "3.25    " + "45.50    " + "20010203" + "T" + "abcd";
  ASSERT_EQ(read(rawDbf(fields, {record})), 0) << seen.text();
  EXPECT_EQ(
      shown(table),
      "A R4 1.5; B R8 2.5; C I4 12; D I8 3456789012; E R4 3.25; F R8 45.5; G C 20010203; H B; I C abcd; ");
  EXPECT_TRUE(seen.has("Unknown data type B"));
  const std::string bytes = written();
  EXPECT_EQ(static_cast<unsigned char>(bytes[8]) + 256 * bytes[9], 33 + 8 * 32) << "H is not written";
}

TEST_F(Dbf, NumbersAreReadInEveryForm) {
  const struct {
    std::string text;  // of an integer and of a real field
    int32_t whole;
    double real;
    bool bad = false;
  } cases[] = {{"      12", 12, 12},
               {"12      ", 12, 12},
               {"        ", -9999, -9999},
               {"********", -9999, -9999},
               {"5.      ", 5, 5},
               {"5.00    ", 5, 5},
               {"1,5     ", -9999, -9999, true},
               {"1/2     ", -9999, -9999, true},
               {"1e3     ", 1000, 1000},
               {"2*      ", -9999, -9999},
               {"+7      ", 7, 7},
               {"abc     ", -9999, -9999, true},
               {"12 abc  ", 12, 12},
               {"-0.     ", 0, 0},
               {std::string(8, '\0'), -9999, -9999},
               {std::string("3\0\0\0\0\0\0\0", 8), 3, 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    seen.clear();
    ASSERT_EQ(read(rawDbf({{"I", 'N', 8}, {"R", 'F', 8, 2}}, {" " + c.text + c.text})), 0);
    EXPECT_EQ(table.field[0]->I4[0], c.whole);
    EXPECT_EQ(static_cast<double>(table.field[1]->R4[0]), c.real);
    for (const char* field : {"I: ", "R: "})
      EXPECT_EQ(seen.has(std::string("NonFatal ERROR dbf record 1, ") + field), c.bad);
  }
  seen.clear();
  ASSERT_EQ(read(rawDbf({{"I", 'N', 3}}, {"   1", " x  ", " 2.5"})), 0);
  EXPECT_EQ(seen.text(), " NonFatal ERROR dbf record 2, I: x\n   Records with unreadable numbers in I: 2\n");
}

TEST_F(Dbf, LongTextKeepsLaterColumnsInPlace) {
  const std::string longText(300, 'x');
  ASSERT_EQ(read(rawDbf({{"T", 'C', 300}, {"N", 'N', 4}}, {" " + longText + "  42"})), 0) << seen.text();
  EXPECT_EQ(shown(table), "T C " + longText.substr(0, 256) + "; N I4 42; ");
  // A width of 44 whose decimal byte is used for something else: the byte alone counts.
  std::string odd = rawDbf({{"T", 'C', 44}, {"N", 'N', 4}}, {" " + std::string(44, 'y') + "  43"});
  odd[32 + 17] = 1;
  ASSERT_EQ(read(odd), 0) << seen.text();
  EXPECT_EQ(shown(table), "T C " + std::string(44, 'y') + "; N I4 43; ");
  EXPECT_EQ(table.fieldAt(1)->decimals, 0);
  // Every byte of a text is written as it was read, but for NULs at its end.
  const std::string mixed = std::string(" \xC3\xA4 b\0c\t", 8) + std::string(192, 'z');
  ASSERT_EQ(read(rawDbf({{"T", 'C', 200}, {"N", 'N', 4}}, {" " + mixed + "  44"})), 0);
  EXPECT_EQ(written().substr(33 + 64 + 1, 200), mixed);
}

TEST_F(Dbf, AFileWrittenUnchangedComesBackTheSame) {
  const std::vector<RawDbfField> fields{{"C", 'C', 2},    {"N", 'N', 3},     {"D", 'D', 8},     {"L", 'L', 1},
                                        {"F", 'F', 8, 2}, {"N4", 'N', 8, 4}, {"E", 'F', 19, 11}};
  const auto row = [&](std::string flag, std::vector<std::string> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i)
      flag += cells[i] + std::string(static_cast<std::size_t>(fields[i].length) - cells[i].size(), ' ');
    return flag;
  };
  ASSERT_EQ(
      read(rawDbf(fields, {row(" ", {"ab", "999", "20010203", "T", "16777217", "123456.8", "1.50e-015"}),
                           row("*", {"zz", "bad", "99999999", "F", "bad", "bad", "bad"}),
                           row(" ", {"c", "", "", "?", "99999999", "  1.2500", "-2.000000e+0030"}),
                           row(" ", {{"\0\0", 2}, "-99", "19991231", "", "-9.5", "", "-9999."})})),
      0);
  EXPECT_EQ(seen.text(), " Deleted records left out of " + scratch.path("in.dbf") + ": 1\n");
  const std::string values = shown(table);
  EXPECT_EQ(values.substr(0, values.find("F R8")),
            "C C ab c ; N I4 999 -9999 -99; D C 20010203  19991231; L C T ? ; ");
  EXPECT_EQ(table.field[4]->R8, (std::vector<double>{16777217, 99999999, -9.5}));
  const std::string bytes = written();
  EXPECT_EQ(bytes.substr(33 + 7 * 32, 3 * 50),
            row(" ", {"ab", "999", "20010203", "T", "16777217", "123456.8", "1.5e-15"}) +
                row(" ", {"c", "", "", "?", "99999999", "1.2500", "-2e30"}) +
                row(" ", {"", "-99", "19991231", "", "-9.50", "", "-9999.00000000000"}));
  EXPECT_EQ(writtenTable(), values);
  EXPECT_EQ(formOf(bytes), "C C2.0; N N3.0; D D8.0; L L1.0; F F8.2; N4 N8.4; E F19.11; ");

  // Values that the form of the file does not hold take the form of a new column.
  for (const int32_t number : {1, 3, 4}) ASSERT_EQ(table.WriteCharValue(number, 1, "later"), 0);
  ASSERT_EQ(table.WriteI4Value(2, 1, 12345), 0);
  ASSERT_EQ(table.WriteR4Value(6, 1, 12.34567F), 0) << "decimals beyond those of the field are no fault";
  ASSERT_EQ(table.WriteR8Value(7, 1, -1.0 / 3e300), 0);
  EXPECT_EQ(formOf(written()), "C C5.0; N N5.0; D C8.0; L C5.0; F F8.2; N4 N8.4; E F23.11; ");
  ASSERT_EQ(NewDataTable(table, {.filePath = scratch.path("out.dbf")}), 0);
  EXPECT_EQ(table.field[6]->R8[0], -1.0 / 3e300);
  EXPECT_EQ(table.field[0]->Char[0], "later");
}

TEST_F(Dbf, CountZeroComesFromTheFileUnlessItEnds) {
  ASSERT_EQ(read(rawDbf({{"N", 'N', 4}}, {"    1", "    2"}, 0)), 0);
  EXPECT_EQ(shown(table), "N I4 1 2; ");
  ASSERT_EQ(read(rawDbf({{"N", 'N', 1}}, {}, 0) + std::string(4, '\0')), 0);
  EXPECT_EQ(table.numRecords, 0) << "padding after the end mark holds no records";
  EXPECT_TRUE(seen.has("WARNING InitDBFfileFromDisk: input file has no records"));
}

TEST_F(Dbf, DamagedFilesAreRefusedOrGiveAWholeTable) {
  const std::string good = rawDbf({{"NAME", 'C', 3}, {"N", 'N', 4}, {"R", 'N', 12, 3}},
                                  {" abc   1     1.500  ", " def   2     2.500  "});
  const std::size_t complete = good.size() - 1;  // the end mark may be missing
  for (std::size_t length = 0; length <= good.size(); ++length) {
    EXPECT_EQ(read(good.substr(0, length)), length >= complete ? 0 : -1) << length;
    EXPECT_EQ(table.status, length >= complete ? 0 : -1);
    EXPECT_EQ(table.nfields, length >= complete ? 3 : 0);
  }
  const auto damage = [&](std::size_t offset, std::vector<int> bytes) {
    std::string bad = good;
    for (std::size_t i = 0; i < bytes.size(); ++i) bad[offset + i] = static_cast<char>(bytes[i]);
    seen.clear();
    return read(bad);
  };
  EXPECT_EQ(damage(4, {3, 0, 0, 0}), -1);
  EXPECT_TRUE(seen.has("dbf record count 3 exceeds the file's 2") && seen.has("in.dbf"));
  EXPECT_EQ(damage(8, {255, 255}), -1);
  EXPECT_TRUE(seen.has("dbf header length 65535 does not fit the file"));
  EXPECT_EQ(damage(10, {19, 0}), -1);
  EXPECT_TRUE(seen.has("dbf record length 19 is below its fields"));
  EXPECT_EQ(damage(10, {0, 0}), -1);
  EXPECT_TRUE(seen.has("WARNING InitDBFfileFromDisk: input file has zero record length"));
  EXPECT_EQ(damage(32, {0x0D}), 0) << "descriptors end at the mark, whatever the header length is";
  // Every byte of the header set to each of some values: never more than an error.
  for (std::size_t at = 0; at < 33 + 96; ++at)
    for (const int value : {0, 1, 13, 26, 127, 128, 255}) damage(at, {value});
}

TEST_F(Dbf, HeaderOnlyLeavesTheFileOpenWithoutValues) {
  const std::string good = rawDbf({{"N", 'N', 4}}, {"    1", "    2"});
  ASSERT_EQ(read(good, true), 0);
  EXPECT_EQ(table.numRecords, 2);
  EXPECT_EQ(table.dbfPosition, 66);
  EXPECT_TRUE(table.field[0]->I4.empty());
  int32_t value = 0;
  EXPECT_EQ(table.ReadI4Value(1, 1, value), -1);
  EXPECT_EQ(table.writeDBFfile(scratch.path("out")), -1);
  ASSERT_EQ(read(good, true), 0) << "a second file replaces the first";
  for (std::size_t length = 0; length < good.size() - 1; ++length)
    EXPECT_EQ(read(good.substr(0, length), true), -1) << length;
}

TEST_F(Dbf, RealsAreWrittenInTheirFields) {
  EXPECT_EQ(cell(1.5, "R8", 10, 2), "1.50      ");
  EXPECT_EQ(cell(1234567.125, "R8", 9, 3), "1234567.1") << "decimals are cut";
  EXPECT_EQ(cell(1234567.125, "R8", 7, 3), "1234567");
  EXPECT_EQ(cell(1234567.125, "R8", 6, 3), "failed") << "a whole part never is";
  EXPECT_TRUE(seen.has("Record 1: value does not fit field V: 1234567.12500000"));
  EXPECT_EQ(cell(123456, "I4", 5, 0), "failed");
  // 15 decimals and 10 digits do not fit 25 characters with the point: a decimal is dropped, not the value.
  EXPECT_EQ(cell(1234567890.25, "R8", 30, 15), "1234567890.25000000000000     ");
  EXPECT_EQ(cell(1e24, "R8", 30, 3), "999999999999999983222784.     ");
  EXPECT_EQ(cell(1e28, "R8", 30, 3), "-9999.000                     ");
  EXPECT_EQ(cell(std::nan(""), "R8", 6, 2), "******");
  EXPECT_TRUE(seen.has("Values of V that are no numbers, written as missing: 1"));
}

TEST_F(Dbf, NegativeMultiplesOfNineAreNodata) {
  for (const double nodata : {-9.0, -18.0, -9999.0}) {
    for (const char* real : {"R4", "R8"}) EXPECT_EQ(cell(nodata, real, 7, 2, -1), "-1.00  ");
    for (const char* whole : {"I4", "I8"}) EXPECT_EQ(cell(nodata, whole, 7, 0, -1), "-1     ");
  }
  EXPECT_EQ(cell(-9998, "R4", 8, 2, -1), "-9998.00");
  EXPECT_EQ(cell(-9.5, "R8", 8, 2, -1), "-9.50   ");
  EXPECT_EQ(cell(9, "I4", 8, 2, -1), "9       ");
  EXPECT_EQ(cell(-9999, "R8", 8, 2), "-9999.00") << "only where asked for";
  EXPECT_EQ(cell(-9, "I4", 4, 0, -99999), "failed");
  EXPECT_TRUE(seen.has("Error writing nodata value\n Record 1: value does not fit field V: -99999"));
}

TEST_F(Dbf, HeaderRecordsAndPaddingHaveTheirBytes) {
  make({attribute("MEAN FLOW", "R4", 8, 2), attribute("a very long name", "C ", 3)}, 2);
  table.SetOutName(1, "");
  const std::string bytes = written();
  // 33 + 2 * 32, two records of 1 + 8 + 5 bytes (the least length is decimals + 5), the end mark.
  ASSERT_EQ(bytes.size(), 126U + 126U % 4);
  EXPECT_EQ(bytes.substr(0, 12), std::string("\3\x65\2\3\2\0\0\0\x61\0\x0E\0", 12));
  EXPECT_EQ(bytes.substr(32, 18), std::string("MEAN_FLOW\0\0N\0\0\0\0\x08\x02", 18));
  EXPECT_EQ(bytes.substr(64, 18), std::string("a_very_lon\0C\0\0\0\0\x05\0", 18));
  EXPECT_EQ(bytes.substr(96, 15), "\r -9999.00     ");
  EXPECT_EQ(bytes.substr(125), std::string("\x1A\0\0", 3));
}

TEST_F(Dbf, NamesEqualInTenCharactersAreMadeUnique) {
  make({attribute("MEAN_ANNUAL_FLOW", "I4", 8), attribute("MEAN_ANNUAL_RAIN", "I4", 8),
        attribute("MEAN_ANN_1", "I4", 8), attribute("MEAN_ANNUAL_SNOW", "I4", 8)},
       0);
  ASSERT_FALSE(written().empty());
  EXPECT_EQ(writtenTable(), "MEAN_ANNUA I4; MEAN_ANN_2 I4; MEAN_ANN_1 I4; MEAN_ANN_3 I4; ");
  EXPECT_TRUE(seen.has("Field MEAN_ANNUAL_RAIN is written to the dbf file as MEAN_ANN_2"));
}

TEST_F(Dbf, RecordListGivesRecordsAndOrder) {
  make({attribute("ID", "I4"), attribute("X", "I4"), attribute("Y", "I4", 8)}, 4);
  for (int32_t r = 1; r <= 4; ++r) table.WriteI4Value(1, r, 10 * r);
  ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  table.SetOutFlags(false);
  table.SetOutFlag(true, {.fieldName = "X", .shpFlag = false});
  table.SetOutFlag(true, {.fieldName = "Y"});
  const std::vector<int64_t> order{4, 2, 2};
  const std::string before = written({.shpOnly = true, .recIndex = order});
  EXPECT_EQ(writtenTable(), "ID I8 40 20 20; Y I4 -9999 -9999 -9999; ") << "the ID field is always written";
  const std::vector<int64_t> wrong{1, 5};
  EXPECT_EQ(written({.recIndex = wrong}), "");
  EXPECT_EQ(written({.isFlag = true, .recIndex = order}), "");
  EXPECT_TRUE(seen.has("Incompatible arguments: isFlag = TRUE and recIndex"));
  EXPECT_EQ(written({.isFlag = true}), "");
  EXPECT_TRUE(seen.has("Unknown shapefile type"));
  memoryLimits().largestBlock = 100;
  EXPECT_EQ(written(), "");
  EXPECT_TRUE(seen.has(" dbf\n dbfFileSize: ")) << seen.text();
  EXPECT_EQ(NewDataTable(table, {.filePath = scratch.path("out.dbf")}), -1);
  EXPECT_TRUE(seen.has("dbf file array"));
  memoryLimits() = {};
  EXPECT_EQ(readBytes(scratch.path("out.dbf")), before) << "a refused table leaves the old file";
}

TEST_F(Dbf, OnlyFlaggedRecordsOfAVectorTable) {
  PointVectorType points;
  const AttributeType list[] = {attribute("ID", "I4", 8)};
  ASSERT_EQ(NewDataTable(points, {.attributeList = list, .numRecords = 3}), 0);
  points.WriteI4Field(std::vector<int32_t>{1, 2, 3}, 1);
  points.SetPointXY(2, 0, 0);
  points.SetPointFlag(2, false);
  ASSERT_FALSE(written(points, {.isFlag = true}).empty());
  EXPECT_EQ(writtenTable(), "ID I4 1 3; ");
  ASSERT_EQ(points.WriteCSV(scratch.path("out"), {.isFlag = true}), 0);
  EXPECT_EQ(readBytes(scratch.path("out.csv")), " ID\n 1\n 3\n");
  ASSERT_EQ(NewDataTable(points, {.attributeList = list, .numRecords = 1}), 0);
  EXPECT_TRUE(points.point.empty()) << "a new table has no shapes of the old one";
}

TEST_F(Dbf, NothingLongerThanSixteenBitsIsWritten) {
  make(std::vector<AttributeType>(2048, attribute("F", "I4", 5)), 1);
  EXPECT_EQ(written(), "");
  EXPECT_TRUE(seen.has("Too many fields for a dbf file: 2048"));
  make(std::vector<AttributeType>(2046, attribute("F", "I4", 5)), 1);
  EXPECT_EQ(written().substr(8, 2), "\xE1\xFF") << "33 + 2046 * 32";
  EXPECT_TRUE(writtenTable().ends_with("F_2045 I4 -9999; "));
  make(std::vector<AttributeType>(259, attribute("F", "C ", 254)), 1);
  EXPECT_EQ(written(), "");
  EXPECT_TRUE(seen.has("Fields are too long for a dbf file: 65787")) << seen.text();
}

TEST_F(Dbf, WideTextIsCutAtWhatOthersRead) {
  make({attribute("T", "C ", 256), attribute("N", "I4", 5)}, 3);
  for (const int64_t r : {2, 3}) ASSERT_EQ(table.WriteCharValue(1, r, std::string(256, 'x')), 0);
  ASSERT_FALSE(written().empty());
  EXPECT_TRUE(seen.has("Texts of T cut to 254 characters, the first in record 2: 2")) << seen.text();
  EXPECT_EQ(writtenTable(),
            "T C  " + std::string(254, 'x') + " " + std::string(254, 'x') + "; N I4 -9999 -9999 -9999; ");
}

TEST_F(Dbf, TheEncodingOfTextsIsKept) {
  std::string bytes = rawDbf({{"N", 'N', 4}}, {"    1"});
  bytes[29] = '\xC9';
  writeBytes(scratch.path("in.cpg"), "UTF-8\r\n");
  ASSERT_EQ(read(bytes), 0);
  EXPECT_EQ(written()[29], '\xC9');
  EXPECT_EQ(readBytes(scratch.path("out.cpg")), "UTF-8\r\n");
  table.codePage.clear();
  ASSERT_FALSE(written().empty());
  EXPECT_FALSE(std::filesystem::exists(scratch.path("out.cpg"))) << "it describes other texts";
}

TEST_F(Dbf, FilesThatCannotBeOpenedAreReported) {
  make({attribute("N", "I4")}, 1);
  EXPECT_EQ(table.writeDBFfile(scratch.path("no/such/out")), -1);
  EXPECT_TRUE(seen.has(" dbfFileSize: 82\n dbfRecordSize: 82\n")) << seen.text();
  EXPECT_EQ(NewDataTable(table, {.filePath = scratch.path("none.dbf")}), -1);
  EXPECT_TRUE(seen.has("Error opening file ") && seen.has("fsize returned zero file length for "));
  EXPECT_EQ(NewDataTable(table, {.filePath = "table.txt"}), -1);
  EXPECT_TRUE(seen.has("Unknown file type: txt"));
}

}  // namespace
}  // namespace terrain
