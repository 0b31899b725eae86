// Delimited text: how lines split, which types columns get, tables read and written, and the files of
// others.

#include "table/delimited_text.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "support/tools.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

/// The cells of a line, each followed by "|".
std::string cellsOf(std::string line) {
  std::string shown;
  DelimitedLine cells(line);
  for (std::string_view cell; cells.next(cell);) shown += std::string(cell) + "|";
  return shown;
}

TEST(DelimitedLine, SplitsAtDelimitersOutsideQuotes) {
  const std::array<std::string, 2> cases[] = {
      {"", ""},
      {" \t ", ""},
      {"a", "a|"},
      {" a , b\t,\tc d ", "a|b|c d|"},
      {"a,", "a||"},
      {",", "||"},
      {"a,,b", "a||b|"},
      {"12:30, C# , #3,x#", "12:30|C#|#3|x#|"},
      {R"("a,b", c)", "a,b|c|"},
      {R"(  "a,b"  ,"")", "a,b||"},
      {R"("say ""hi"", you","""",x)", R"(say "hi", you|"|x|)"},
      {R"(" a "," ")", " a | |"},
      {R"("a,b" c,d)", R"("a,b" c|d|)"},
      {R"(x"a,b"y,d)", R"(x"a,b"y|d|)"},
      {R"("a,b)", R"("a|b|)"},
      {R"(5" pipe,b)", R"(5" pipe|b|)"},
      {R"("a,"",b)", R"("a||b|)"},
      {std::string("\0a\0,b\0", 6), "a|b|"},
  };
  for (const auto& [line, cells] : cases) EXPECT_EQ(cellsOf(line), cells) << line;
}

TEST(DelimitedLine, TakesLinearTimeForUnclosedQuotes) {
  std::string line = "\"";
  for (int i = 0; i < 400000; ++i) line += ",\"\"\"\"";
  std::size_t count = 0;
  DelimitedLine cells(line);
  for (std::string_view cell; cells.next(cell);) ++count;
  EXPECT_EQ(count, 400001U);
  EXPECT_EQ(cellsOf(std::string(200000, '"') + ",a"), std::string(99999, '"') + "|a|");
}

TEST(DelimitedNumber, HasOneForm) {
  for (const char* number : {"0", "-1", "+12", "1.", ".5", "-.5", "1.5E3", "1E-3", "1.5e+10", "007"})
    EXPECT_TRUE(isDelimitedNumber(number)) << number;
  for (const char* text :
       {"", "-", ".", "E5", "1-2", "1.5-3", "1.2.3", "1E", "1E+", "--1", "1 2", "1d3", "nan", "0x1", "1E2.5"})
    EXPECT_FALSE(isDelimitedNumber(text)) << text;
}

/// Type, length and decimals of a column with these values.
std::string formatOf(const std::vector<std::string>& values) {
  ColumnSurvey survey;
  for (const std::string& value : values) {
    std::string line = value;
    std::string_view cell;
    DelimitedLine(line).next(cell);
    survey.note(cell);
  }
  const ColumnFormat format = survey.format();
  return format.dataType + std::to_string(format.length) + "." + std::to_string(format.decCnt);
}

TEST(ColumnSurvey, TypesFollowTheValues) {
  const struct {
    std::vector<std::string> values;
    const char* format;
  } cases[] = {
      {{}, "U 0.0"},
      {{"", "\"\"", "\"  \""}, "U 0.0"},
      {{"12", "3.5"}, "R43.1"},
      {{"12", "word", "3"}, "C 4.0"},
      {{"1.2345678", "2.5"}, "R89.7"},  // once a value asked for it
      {{"123456789", "2.5"}, "R89.1"},  // a float32 would not hold it
      {{"1.5E+99"}, "R87.1"},
      {{"1.25E-05", "3.5e-9"}, "R48.2"},
      {{"nan", "-NaN", ""}, "R44.0"},
      {{"nan", "7"}, "I43.0"},
      {{"nan", "x"}, "C 3.0"},
      {{"16777217.", "1"}, "R89.0"},
      {{"1234567.8"}, "R89.1"},
      {{"2147483647"}, "I410.0"},
      {{"2147483648"}, "I810.0"},
      {{"-2147483648"}, "I411.0"},
      {{"-2147483649", "5"}, "I811.0"},
      {{"99999999999999999999"}, "C 20.0"},
      {{"1E-05"}, "R45.0"},
      {{"2.5", "1E-05"}, "R45.1"},
      {{"99999999999999999999", "2.5"}, "R820.1"},
      {{"1-2"}, "C 3.0"},
      {{"1.5E999"}, "C 7.0"},
      {{"1.5e3"}, "R45.1"},
      {{"12", "\"13\"", "\" 145\""}, "I44.0"},
  };
  for (const auto& c : cases) EXPECT_EQ(formatOf(c.values), c.format) << ::testing::PrintToString(c.values);
}

class Csv : public TableTest {
 protected:
  int read(const std::string& text, bool headerOnly = false) {
    writeBytes(scratch.path("in.csv"), text);
    return NewDataTable(table, {.filePath = scratch.path("in.csv"), .headerOnly = headerOnly});
  }
  std::string written(const CsvWriteOptions& options = {}) {
    return table.WriteCSV(scratch.path("out"), options) == 0 ? readBytes(scratch.path("out.csv")) : "failed";
  }
};

TEST_F(Csv, ReadsColumnsOfEveryType) {
  ASSERT_EQ(read("I,J,R,D,T\n1,3000000000,1.5,-0.123456789,word\n-2,4,2,3.5,x y\n"), 0) << seen.text();
  EXPECT_EQ(shown(table), "I I4 1 -2; J I8 3000000000 4; R R4 1.5 2; D R8 -0.123457 3.5; T C word x y; ");
  EXPECT_EQ(table.field[3]->R8[0], -0.123456789);
  EXPECT_EQ(table.field[3]->fileLength, 12);
  EXPECT_EQ(table.field[3]->length, 14) << "decimals and 5";
  EXPECT_TRUE(table.field[4]->outFlag && table.field[4]->shpFlag && table.field[4]->csvFlag);
  EXPECT_EQ(seen.text(), "");
}

TEST_F(Csv, ReadsTheFormsOfLinesAndCells) {
  const struct {
    std::string text;
    const char* table;
    const char* log;
  } cases[] = {
      {"\xEF\xBB\xBF# made by hand\r\n\r\n \"Site, no.\" ,Time\r\n  # between\r\n\"a \"\"b\"\", c\", 12:30 "
       "\r\n\t\r\nNo #5 = C#,7:00#x",
       "Site, no. C a \"b\", c No #5 = C#; Time C 12:30 7:00#x; ", ""},
      {"A,B,C,D\n1,2.5,x,7\n2\n3,,,\n4,5.5,y,8,9,10\n5\n",
       "A I4 1 2 3 4 5; B R4 2.5 -9999 -9999 5.5 -9999; C C x   y ; D I4 7 -9999 -9999 8 -9999; ",
       " WARNING Missing fields, line 3 (the first of 2 lines)\n WARNING Fields beyond those of the header "
       "line, line 5\n"},
      {"A,B\n1,2,\n3,NaN, ,\n", "A I4 1 3; B I4 2 -9999; ", ""},
      {"# old\r\rA,B\r1,x\r\n2,y\n\n3,z\r", "A I4 1 2 3; B C x y z; ", ""},
      {"A,B\n\"5\t\",x\n\"\t\",y\n\" 7 \",z\n" + std::string("\"8\0\",u\n", 7),
       "A I4 5 -9999 7 8; B C x y z u; ", ""},
      {"A,B,C\n1,,x\n2, ,y\n", "A I4 1 2; C C x y; ",
       " ERROR: AddField in DataTableModule\n Unknown data type U\n"},
  };
  for (const auto& each : cases) {
    seen.clear();
    ASSERT_EQ(read(each.text), 0) << seen.text();
    EXPECT_EQ(shown(table), each.table);
    EXPECT_EQ(seen.text(), each.log);
  }
  ASSERT_EQ(read("A,B\n"), 0);
  EXPECT_EQ(shown(table), "A C; B C; ") << "columns without records";
  EXPECT_EQ(written(), " A,B\n");
  ASSERT_EQ(read("A,B\n1,x\n2,y\n", true), 0);
  EXPECT_EQ(shown(table), "A I4 -9999 -9999; B C  ; ") << "of the header alone";
}

TEST_F(Csv, FaultsNameTheFileAndLeaveNoFields) {
  const std::string path = scratch.path("in.csv");
  const auto refused = [&](const std::string& text, std::string_view message) {
    seen.clear();
    EXPECT_EQ(read(text), -1);
    EXPECT_TRUE(seen.has(message)) << seen.text();
    EXPECT_TRUE(seen.has("NewDataTable in TabularDataModule") && seen.has(path)) << seen.text();
    EXPECT_EQ(table.status, -1);
    EXPECT_EQ(table.nfields, 0);
    EXPECT_EQ(table.numRecords, 0);
  };
  refused("", "NewInputFile failed for " + path);
  EXPECT_TRUE(seen.has("Input file is empty"));
  refused("# only\n\n", "NewInputFile unable to read header line for " + path);
  refused("A,B\n1,2\n7,x,3\n", "Error reading field B");
  EXPECT_TRUE(seen.has("LINE: 3")) << seen.text();
  for (const char* value : {"1.5", "1-2", "3000000000"})
    refused("A,B\n1,2\n7," + std::string(value) + ",3\n", "Error reading field B");
  refused(std::string(200000, ','), "fields in the header line");
  std::string few;  // 1001 columns, two records that fill them and 40000 that do not
  for (int i = 0; i < 1000; ++i) few += "1,";
  few = few + "1\n" + few + "1\n" + few + "1\n";
  for (int i = 0; i < 40000; ++i) few += "1\n";
  refused(few, "Most fields of the records are missing");
  refused("A,B\n1\n2\n", "No line has the fields of the header line");
  refused(std::string("\xFF\xFE"
                      "A\0,\0B\0\n\0",
                      10),
          "The file is UTF-16 text: save it as UTF-8");
  refused(std::string("\0A\0,\0B\0\n", 8), "The file is UTF-16 text: save it as UTF-8");
  seen.clear();
  EXPECT_EQ(NewDataTable(table, {.filePath = scratch.path("none.csv")}), -1);
  EXPECT_TRUE(seen.has("Cannot find") && seen.has("NewInputFile failed for ")) << seen.text();
}

TEST_F(Csv, LinesMayHaveAnyLength) {
  constexpr std::size_t kLong = 10'000'000;
  ASSERT_EQ(
      read("A,B,C\n1," + std::string(kLong, 'x') + ",2\n3,y" + std::string(kLong / 2, ',') + "\n4,z,5\n"), 0);
  EXPECT_EQ(shown(table), "A I4 1 3 4; B C " + std::string(256, 'x') + " y z; C I4 2 -9999 5; ");
  EXPECT_TRUE(seen.has("Texts of B cut at 256 characters: 1")) << seen.text();
}

// ---- writing ----

TEST_F(Csv, WritesEachTypeInItsForm) {
  make({attribute("I", "I4"), attribute("J", "I8"), attribute("R", "R4", 12, 2), attribute("D", "R8", 12, 3),
        attribute("T", "C ")},
       2);
  table.field[0]->I4 = {7, std::numeric_limits<int32_t>::min()};
  table.field[1]->I8 = {3000000000, std::numeric_limits<int64_t>::min()};
  table.field[2]->R4 = {1.5F, -0.125F};
  table.field[3]->R8 = {1e21, 0.5};
  table.WriteCharValue(5, 1, "  word ");
  table.WriteCharValue(5, 2, "a b");
  table.SetOutName(1, "Identity");
  EXPECT_EQ(written(),
            " Identity,J,R,D,T\n 7,3000000000,1.50,1E+21,word\n"
            " -2147483648,-9223372036854775808,-0.125,0.500,a b\n");
  table.field[2]->R4 = {std::numeric_limits<float>::quiet_NaN(), 1.0F};
  table.field[3]->R8 = {99999.123456789, -std::numeric_limits<double>::infinity()};
  EXPECT_EQ(written(),
            " Identity,J,R,D,T\n 7,3000000000,,99999.123456789,word\n"
            " -2147483648,-9223372036854775808,1.00,,a b\n");
  EXPECT_TRUE(seen.has("Values of R that are no numbers, written as missing: 1")) << seen.text();
}

TEST_F(Csv, RealsKeepTheirValues) {
  constexpr std::size_t kCount = 4000;
  make({attribute("R", "R4", 12, 2), attribute("D", "R8", 12, 2)}, kCount);
  std::mt19937_64 random(3);
  for (std::size_t i = 0; i < kCount; ++i) {
    do {
      table.field[0]->R4[i] = std::bit_cast<float>(static_cast<uint32_t>(random()));
    } while (!std::isfinite(table.field[0]->R4[i]));
    do {
      table.field[1]->R8[i] = std::bit_cast<double>(random());
    } while (!std::isfinite(table.field[1]->R8[i]));
  }
  table.field[0]->R4[0] = 0.0001F;
  table.field[1]->R8[1] = 1e15;
  table.field[1]->R8[2] = 0.00001234;
  const std::string text = written();
  for (const char* line : {" 0.0001,", ",1E+15\n", ",1.234E-05\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line;
  DataTableType back;
  ASSERT_EQ(NewDataTable(back, {.filePath = scratch.path("out.csv")}), 0) << seen.text();
  ASSERT_EQ(back.field[0]->dataType, "R8") << "some have more digits than a float32 always holds";
  for (std::size_t i = 0; i < kCount; ++i)
    ASSERT_EQ(static_cast<float>(back.field[0]->R8[i]), table.field[0]->R4[i]) << i;
  EXPECT_EQ(back.field[1]->R8, table.field[1]->R8);
}

TEST_F(Csv, AFailedWriteKeepsTheOldFile) {
  make({attribute("A", "I4")}, 100000);
  writeBytes(scratch.path("out.csv"), "old");
  {
    const FileSizeLimit limit(10000);
    EXPECT_EQ(written(), "failed");
  }
  EXPECT_EQ(readBytes(scratch.path("out.csv")), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.path("")), {}), 1);
}

TEST_F(Csv, ReplacesNodata) {
  make({attribute("I", "I4"), attribute("J", "I8"), attribute("R", "R4", 12, 2), attribute("D", "R8", 12, 3)},
       1);
  const auto line = [&](double value) {
    for (int32_t f = 1; f <= 4; ++f) EXPECT_EQ(table.WriteR8Value(f, 1, value), 0);
    return written({.nodataOut = -5}).substr(9);
  };
  EXPECT_EQ(line(-18), " -5,-5,-5.000000,-5.00000000000000\n");
  EXPECT_EQ(line(18), " 18,18,18.00,18.000\n");
  EXPECT_EQ(line(-10), " -10,-10,-10.00,-10.000\n");
}

TEST_F(Csv, ChoosesFieldsAndAppendsTheExtensionOnce) {
  make({attribute("A", "I4"), attribute("B", "I4"), attribute("C", "I4")}, 1);
  table.SetOutFlag(false, {.fieldName = "A"});
  table.SetOutFlag(true, {.fieldName = "B", .csvFlag = false});
  EXPECT_EQ(written(), " B,C\n -9999,-9999\n");
  EXPECT_EQ(written({.csvOnly = true, .isFlag = true}), " C\n -9999\n") << "a table without flags";
  ASSERT_EQ(table.WriteCSV(scratch.path("named.csv") + "  "), 0);
  EXPECT_EQ(readBytes(scratch.path("named.csv")), " B,C\n -9999,-9999\n");
  EXPECT_EQ(table.WriteCSV(scratch.path("no such folder/x")), -1);
  EXPECT_TRUE(seen.has("no such folder/x.csv")) << seen.text();
}

TEST_F(Csv, IsOrderedById) {
  make({attribute("ID", "R8", 12, 0), attribute("T", "C ")}, 4);
  table.field[0]->R8 = {30, 10, 20, 10};
  for (int64_t r = 1; r <= 4; ++r) table.WriteCharValue(2, r, std::string(1, static_cast<char>('a' + r - 1)));
  EXPECT_EQ(written(), " ID,T\n 30.,a\n 10.,b\n 20.,c\n 10.,d\n");
  ASSERT_EQ(table.SetIDfield({.fieldName = "ID"}), 0);
  EXPECT_EQ(written(), " ID,T\n 10.,b\n 10.,d\n 20.,c\n 30.,a\n");
}

TEST_F(Csv, ColumnsWithoutValuesAreLeftOut) {
  make({attribute("T", "C "), attribute("N", "I4")}, 1);
  table.WriteCharValue(1, 1, "a");
  table.field[1]->I4.clear();
  EXPECT_EQ(written(), "failed");
  EXPECT_TRUE(seen.has("Field has no values in memory: N")) << seen.text();
  table.field[1]->dataType = "L ";
  EXPECT_EQ(written(), " T\n a\n");
  EXPECT_TRUE(seen.has("Unknown type L, not written: field N")) << seen.text();
}

TEST_F(Csv, QuotesWhatWouldNotBeReadBack) {
  make({attribute("#T, \"x\"", "C ")}, 6);
  const std::string texts[] = {"a,b", "say \"hi\"", "#5", "", "\tx", "two\r\nlines"};
  for (std::size_t r = 0; r < 6; ++r) table.WriteCharValue(1, static_cast<int64_t>(r) + 1, texts[r]);
  EXPECT_EQ(written(),
            " \"#T, \"\"x\"\"\"\n \"a,b\"\n \"say \"\"hi\"\"\"\n \"#5\"\n \"\"\n \"\tx\"\n two  lines\n");
  EXPECT_TRUE(seen.has("whose line ends are written as blanks: 1")) << seen.text();
  DataTableType back;
  ASSERT_EQ(NewDataTable(back, {.filePath = scratch.path("out.csv")}), 0);
  EXPECT_EQ(back.field[0]->name, table.field[0]->name.trimmed());
  for (std::size_t r = 0; r < 5; ++r) EXPECT_EQ(back.field.at(0)->Char[r], texts[r]);
}

TEST_F(Csv, RandomTablesAreReadBack) {
  std::mt19937 random(5);
  const std::string characters = "ab,\"#=: \t.5-'/\\";
  make({attribute("T", "C "), attribute("I", "I4"), attribute("J", "I8"), attribute("D", "R8", 12, 20),
        attribute("U", "C ")},
       500);
  for (int64_t r = 1; r <= 500; ++r) {
    for (const int32_t field : {1, 5}) {
      std::string text = r == 1 ? "x" : "";
      for (std::size_t n = random() % 12; n > 0; --n) text += characters[random() % characters.size()];
      table.WriteCharValue(field, r, leftAdjusted(text));
    }
    table.WriteI4Value(2, r, static_cast<int32_t>(random()));
    table.WriteI8Value(3, r, static_cast<int64_t>(uint64_t{random()} << 32 | random()));
    table.WriteR8Value(4, r, std::ldexp(static_cast<double>(random() % 65536), -16) - 0.5);
  }
  ASSERT_NE(written(), "failed") << seen.text();
  DataTableType back;
  ASSERT_EQ(NewDataTable(back, {.filePath = scratch.path("out.csv")}), 0) << seen.text();
  EXPECT_EQ(shown(back), shown(table));
  EXPECT_EQ(back.field[3]->R8, table.field[3]->R8);
}

// ---- files of others ----

TEST_F(Csv, OgrReadsOurFilesAndWeReadItsFiles) {
  if (!haveTool("ogr2ogr")) GTEST_SKIP() << "no OGR";
  make({attribute("NR", "I4"), attribute("Name", "C "), attribute("Value", "R8", 12, 3)}, 3);
  table.field[0]->I4 = {1, 2, 3};
  table.field[2]->R8 = {0.125, -7.0, 12345678.5};
  table.WriteCharValue(2, 1, "a, b");
  table.WriteCharValue(2, 2, "say \"hi\" # 12:30");
  ASSERT_NE(written(), "failed");
  const std::string info =
      shell("ogrinfo -ro -al -oo AUTODETECT_TYPE=YES '" + scratch.path("out.csv") + "'").text;
  for (const char* part : {"Feature Count: 3", "NR: Integer", "Value: Real", "Name (String) = a, b\n",
                           "Name (String) = say \"hi\" # 12:30\n", "Value (Real) = 0.125"})
    EXPECT_NE(info.find(part), std::string::npos) << part << "\n" << info;
  EXPECT_EQ(info.find("Warning"), std::string::npos) << info;

  for (const char* options : {"", "-lco LINEFORMAT=CRLF -lco WRITE_BOM=YES"}) {
    const std::string copy = scratch.path("copy.csv");
    std::filesystem::remove(copy);
    const std::string said = shell("ogr2ogr -f CSV " + std::string(options) + " -oo AUTODETECT_TYPE=YES '" +
                                   copy + "' '" + scratch.path("out.csv") + "'")
                                 .text;
    DataTableType back;
    ASSERT_EQ(NewDataTable(back, {.filePath = copy}), 0) << said << seen.text();
    EXPECT_EQ(shown(back), shown(table));
  }
}

}  // namespace
}  // namespace terrain
