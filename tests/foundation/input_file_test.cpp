#include "foundation/input_file.h"

#include <gtest/gtest.h>

#include "foundation/file_names.h"
#include "support/reporting.h"
#include "support/tools.h"

namespace terrain {
namespace {

class InputFile : public test::Reporting {
 protected:
  std::string write(std::string_view text) {
    const std::string name = dir_.path() + "in put.txt";
    test::writeBytes(name, text);
    return name;
  }
  InputFileType open(std::string_view text, const InputFileOptions& options = {}) {
    return NewInputFile(write(text), options);
  }
  /// Keyword and arguments of every logical line, as "keyword|arg|arg;".
  static std::string linesOf(InputFileType file) {
    std::string shown;
    for (LogicalLine line; file.GetLine(line) == 0;) {
      shown += line.keyword;
      for (const std::string& argument : line.arguments) shown += '|' + argument;
      shown += ';';
    }
    return shown;
  }

  test::ScratchDir dir_;
};

TEST_F(InputFile, SplitsLinesIntoKeywordAndArguments) {
  struct Case {
    std::string_view text, shown;
  };
  for (const Case& c : {Case{"A: 1, 2 # c", "A|1|2;"},
                        {"  LONG KEY : x", "LONG KEY|x;"},
                        {"A = 1: 2", "|A = 1: 2;"},
                        {"A:", "A;"},
                        {"A: 1,", "A|1|;"},
                        {"A: ,1,,2", "A||1||2;"},
                        {": 1", "|1;"},
                        {"\"a,b\", c", "|\"a,b\"|c;"},
                        {"\"a,b c", "|\"a|b c;"},
                        {"1, \"x,y\"", "|1|\"x,y\";"},
                        {"A: \"x # y\"", "A|\"x;"},
                        {"A: \t x\t ##", "A|x;"},
                        {"\t# c\n\tA\t: x\n\t\n", "A|x;"},
                        {"A: 1, # c", "A|1;"},
                        {"# c\n\n   \n#A: 1\nB: c:\\d", "B|c:\\d;"},
                        {"\xEF\xBB\xBF"
                         "A: 1\r\nB: 2\r\n",
                         "A|1;B|2;"},
                        {"A: f = x", "A|f = x;"}}) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(linesOf(open(c.text)), c.shown);
  }
  EXPECT_EQ(linesOf(open("A; 1! 2 % c\nB; x#",
                         {.keywordDelimiter = ';', .commentMark = '%', .argumentDelimiter = '!'})),
            "A|1|2;B|x;");
}

TEST_F(InputFile, CutsLongLinesAndArguments) {
  InputFileType file = open("A: " + std::string(5000, 'x') + ", 2\nB: 1");
  LogicalLine line;
  ASSERT_EQ(file.GetLine(line), 0);
  EXPECT_EQ(line.arguments, std::vector{std::string(256, 'x')});  // the second was cut off
  EXPECT_EQ(file.lines[0].size(), 4096u);
  std::string many = "K: 0";
  for (int i = 1; i < 2000; ++i) many += "," + std::to_string(i);
  file = open(many, {.lineLength = std::string::npos});
  ASSERT_EQ(file.GetLine(line), 0);
  EXPECT_EQ(line.arguments.size(), 2000u);
}

TEST_F(InputFile, KeepsItsPosition) {
  InputFileType file = open("# c\nA: 1\n\nB: 2\nEND LIST:\nC: 3\n");
  LogicalLine line;
  EXPECT_EQ(file.LineCount(), 6);
  EXPECT_EQ(file.KeywordLineCount(), 4);
  int32_t count = 0;
  EXPECT_EQ(file.CountToEndList(count), 0);
  EXPECT_EQ(count, 2);
  ASSERT_EQ(file.GetLine(line), 0);
  EXPECT_EQ(line.lineNumber, 2);
  file.StepBack();
  ASSERT_EQ(file.GetLine(line), 0);
  EXPECT_EQ(line.keyword, "A");
  file.Rewind(6);
  EXPECT_EQ(file.CountToEndList(count), -1);
  EXPECT_EQ(file.GetLine(line), -1);
  EXPECT_EQ(file.CurrentLine(), 6);
  for (int32_t outside : {0, 7, -3}) {
    file.Rewind(outside);
    EXPECT_EQ(file.CurrentLine(), 0);
  }
  EXPECT_EQ(file.Copy().CurrentLine(), 0);
}

TEST_F(InputFile, WritesWhatItWasGiven) {
  const std::string name = dir_.path() + "new.txt";
  InputFileType file = NewInputFile(name, {.newFile = true});
  const std::vector<std::string> two{"1", "two "};
  EXPECT_EQ(file.PutLine({.keyword = "A ", .arguments = two, .comment = "why"}), 0);
  EXPECT_EQ(file.PutLine({.arguments = two}), 0);
  EXPECT_EQ(file.PutLine({.keyword = "B", .lineNumber = 2}), 0);
  EXPECT_EQ(file.PutLine({.keyword = "C", .lineNumber = 3}), -1);
  EXPECT_EQ(file.PutLine({.keyword = "D"}), 0);
  const std::vector<int32_t> out{2};
  EXPECT_EQ(file.Save(out), 0);
  EXPECT_EQ(NewInputFile(name).lines, (std::vector<std::string>{"A: 1, two # why", "D:"}));
  file.Close(true);
  EXPECT_EQ(NewInputFile(name).LineCount(), 3);
  EXPECT_EQ(file.GetLine(*std::make_unique<LogicalLine>()), -1);
  file.fileName = dir_.path() + "none/x.txt";
  EXPECT_EQ(file.Save(), -1);
  EXPECT_TRUE(console_.has("ERROR InputUnit%Save; unable to open file "));
}

TEST_F(InputFile, TellsWhatCannotBeLoaded) {
  EXPECT_EQ(NewInputFile(dir_.path() + "none").status, -1);
  EXPECT_TRUE(console_.has("  Cannot find " + dir_.path() + "none"));
  EXPECT_EQ(open("").status, -1);
  EXPECT_TRUE(console_.has("Input file is empty"));
  EXPECT_EQ(NewInputFile(dir_.path()).status, -1);
  EXPECT_TRUE(console_.has("ERROR NewInputFile, Cannot open "));
  EXPECT_EQ(NewInputFile("/dev/zero").status, -1);
  EXPECT_EQ(linesOf(open("# only\n# comments")), "");
}

TEST_F(InputFile, InfersColumnFormats) {
  const auto formats = [&](std::string_view text) {
    std::vector<ColumnFormat> columns;
    InputFileType file = open(text);
    std::string shown;
    if (file.FindFormats(columns) != 0) return std::string("-1");
    for (const ColumnFormat& column : columns)
      shown +=
          column.dataType + ':' + std::to_string(column.length) + ':' + std::to_string(column.decCnt) + ' ';
    return shown;
  };
  EXPECT_EQ(formats("a,b,c,d,e\n12,3.5,12,2147483648,\n3.5,12,word,1,\n"),
            "R4:3:1 R4:3:1 C :4:0 I8:10:0 U :0:0 ");
  EXPECT_EQ(formats("a,b\n123456.78,1.25\n1,1.2\n"), "R8:9:2 R4:4:2 ");
  EXPECT_EQ(formats("a,b\n1-2,E5\n"), "C :3:0 C :2:0 ");
  EXPECT_EQ(formats("a,b\n1\n2,3\n"), "I4:1:0 I4:1:0 ");
  EXPECT_TRUE(console_.has(" WARNING Missing fields, line 2\n"));
}

TEST(Arguments, AreTakenApart) {
  struct Case {
    std::string_view text, name, operation, value;
  };
  for (const Case& c : {Case{"FILE = x y", "FILE", "=", "x y"},
                        {"a>=3", "a", ">=", "3"},
                        {"a < 3", "a", "<", "3"},
                        {"plain", "", "", "plain"},
                        {"=x", "", "", "=x"}}) {
    const SplitArgument parts = splitArgument(c.text);
    EXPECT_EQ(parts.name, c.name) << c.text;
    EXPECT_EQ(parts.operation, c.operation) << c.text;
    EXPECT_EQ(parts.value, c.value) << c.text;
  }
  for (const char* yes : {"T", " .true.", "yes", "Y"}) EXPECT_TRUE(textIsTrue(yes)) << yes;
  for (const char* no : {"", "..T", "F", "1"}) EXPECT_FALSE(textIsTrue(no)) << no;
  EXPECT_EQ(stripFileName(" FILE = a b.flt "), "a b");
}

}  // namespace
}  // namespace terrain
