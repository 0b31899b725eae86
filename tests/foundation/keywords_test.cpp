#include "foundation/keywords.h"

#include <gtest/gtest.h>

#include <cmath>

#include "foundation/keyword_check.h"
#include "foundation/text.h"
#include "support/reporting.h"

namespace terrain::test {
namespace {

struct Mask {
  std::string file{};
  float dig = 2.0F;
  bool forced = false;
  std::optional<int64_t> count{};
  double first = 0, second = 0;
};
using MaskValue = KeywordValue<Mask>;
constexpr Keyword<Mask> kMaskWords[] = {
    {.words = "", .value = MaskValue::number<&Mask::first>(), .failure = "Error reading first value"},
    {.words = "", .value = MaskValue::number<&Mask::second>()},
    {.words = "FILE|File", .value = MaskValue::text<&Mask::file>()},
    {.words = "DIG", .value = MaskValue::number<&Mask::dig>({.least = 0}), .failure = "Bad dig value"},
    {.words = "FORCE", .value = MaskValue::flag<&Mask::forced>()},
    {.words = "COUNT", .value = MaskValue::number<&Mask::count>()},
};

struct Settings {
  std::vector<Mask> masks{};
  Mask inner{};
  bool plain = false, switched = false;
  char unit = 'm';
  FixedText<4> code{};
  std::string directory{}, raster{};
  float nodata = 7.0F;
};
bool refuse(Settings&, KeywordInput& input) { return input.fail("Not here", "  detail"); }
bool parseShape(Settings& settings, KeywordInput& input) {
  settings.inner.file = *input.text + '/' + std::to_string(input.line->arguments.size());
  return *input.text != "bad";
}
bool noSuchFile(std::string_view) { return false; }

using Value = KeywordValue<Settings>;
constexpr Keyword<Settings> kWords[] = {
    {.words = "MASK|MASK FILE", .value = Value::records<kMaskWords, &Settings::masks>()},
    {.words = "PLAIN", .value = Value::toggle<&Settings::plain>(), .echo = "Plain is on"},
    {.words = "SWITCH", .value = Value::flag<&Settings::switched>()},
    {.words = "UNIT", .value = Value::text<&Settings::unit>()},
    {.words = "CODE", .value = Value::text<&Settings::code>(), .echo = "Code: "},
    {.words = "SCRATCH", .value = Value::directory<&Settings::directory>()},
    {.words = "RASTER",
     .value = Value::existing<noSuchFile, &Settings::raster>("raster"),
     .failure = "No raster"},
    {.words = "DEPTH|DIG DEPTH|CUT",
     .value = Value::number<&Settings::inner, &Mask::dig>(),
     .unit = "m",
     .standard = "2",
     .meaning = "Depth, well-known.",
     .echo = "Depth = "},
    {.words = "NODATA", .value = Value::number<&Settings::nodata>({.listDirected = true})},
    {.words = "SHAPE", .value = Value::own<parseShape>("shape")},
    {.words = "OLD", .value = Value::toggle<&Settings::plain>(), .before = refuse},
};

class Keywords : public Reporting {
 protected:
  /// Reads the lines; gives the failures, "number: message detail file".
  std::vector<std::string> read(std::initializer_list<std::string> lines, bool goesOn = true) {
    InputFileType file;
    file.lines = lines;
    std::vector<std::string> failures;
    const int result = readKeywords(
        file, kWords, settings, valueAfterEquals, [&](const KeywordFailure& failure, int32_t number) {
          failures.push_back(std::to_string(number) + ": " + failure.message + failure.detail + failure.file);
          return goesOn;
        });
    EXPECT_EQ(result, failures.empty() ? 0 : -1);
    return failures;
  }
  Settings settings{};
};

TEST_F(Keywords, StoreValuesInTheirMembers) {
  EXPECT_TRUE(
      read({"PLAIN: no", "SWITCH: no", "UNIT: feet", "CODE: F = abcdef", "SCRATCH: dir/sub", "CUT: 3.5 m",
            "NODATA: nan", "SHAPE: \"x = y\", 2, 3", "UNKNOWN: 1", "plain: no", "no keyword"})
          .empty());
  EXPECT_TRUE(settings.plain);
  EXPECT_FALSE(settings.switched);
  EXPECT_EQ(settings.unit, 'f');
  EXPECT_EQ(settings.code.padded(), "abcd");
  EXPECT_EQ(settings.directory, "dir/sub/");
  EXPECT_EQ(settings.inner.dig, 3.5F);
  EXPECT_TRUE(std::isnan(settings.nodata));
  EXPECT_EQ(settings.inner.file, "x = y/3");
}

TEST_F(Keywords, ReportFailuresAndReadOn) {
  EXPECT_EQ(
      read({"DEPTH:", "CUT: x", "DEPTH: inf", "NODATA: x", "RASTER: a.flt", "SHAPE: bad",
            "OLD:", "UNIT: \"\""}),
      (std::vector<std::string>{"1: Error reading DEPTH", "2: Error reading DEPTH", "3: Error reading DEPTH",
                                "4: Error reading NODATA", "5: No rastera", "6: Error reading SHAPE",
                                "7: Not here  detail", "8: Error reading UNIT"}));
  EXPECT_EQ(settings.inner.dig, 2.0F);
  using namespace std::string_literals;
  EXPECT_EQ(read({"CODE: a\0b"s, "SCRATCH: a\0b"s, "RASTER: a\0b"s}).size(), 3U);
  EXPECT_EQ(settings.directory, "");
  EXPECT_EQ(read({"CUT: x", "DEPTH: x"}, false).size(), 1U);
}

TEST_F(Keywords, ArgumentsFillARecordOfTheirOwn) {
  EXPECT_TRUE(read({"MASK: File = a b, 1.5, DIG = 3, -2, FORCE, OTHER = 1, more",
                    "MASK FILE: FORCE = no, COUNT = 5000000000"})
                  .empty());
  ASSERT_EQ(settings.masks.size(), 2U);
  const Mask& mask = settings.masks[0];
  EXPECT_EQ(mask.file, "a b");
  EXPECT_EQ(mask.dig, 3.0F);
  EXPECT_TRUE(mask.forced && !settings.masks[1].forced);
  EXPECT_EQ(mask.first, 1.5);
  EXPECT_EQ(mask.second, -2.0);
  EXPECT_EQ(mask.count, std::nullopt);
  EXPECT_EQ(settings.masks[1].count, 5'000'000'000);
  EXPECT_EQ(read({"MASK: DIG = -1, x, COUNT = 1.5, FILE"}),
            (std::vector<std::string>{"1: Bad dig value", "1: Error reading first value",
                                      "1: Error reading COUNT", "1: Error reading FILE"}));
}

TEST_F(Keywords, RowsGiveEchoHelpAndManual) {
  settings.plain = true;
  settings.code = "ab";
  for (const char* word : {"PLAIN", "CODE", "CUT", "SWITCH", "NONE"}) echoKeyword(kWords, settings, word);
  settings.plain = false;
  echoKeyword(kWords, settings, "PLAIN");
  EXPECT_EQ(written(), " Plain is on\n Code: ab\n Depth = 2.000000\n");
  const KeywordTexts depth = textsOf(*findKeyword(kWords, "DEPTH"));
  EXPECT_EQ(keywordHelp(depth),
            "  DEPTH: <number> m   [2]\n      Depth, well-known.\n      Also: DIG DEPTH, CUT\n");
  EXPECT_EQ(keywordManual(depth),
            ".TP\n.B DEPTH: \\fIm\\fR\nDepth, well\\-known. Without it: 2. Also: DIG DEPTH, CUT.\n");
  const std::string mask = keywordHelp(textsOf(*findKeyword(kWords, "MASK")));
  EXPECT_NE(mask.find("\n      DIG = <number>: \n"), std::string::npos) << mask;
}

TEST_F(Keywords, ThatAreMisspeltOrHaveMoreThanIsReadAreNamedWithTheirLine) {
  InputFileType file;
  file.lines = {"depth: 1",
                "PLIAN:",
                "DIG  DEPTH: 1",
                "RASTER FILE: x",
                "SWITCH",
                "DEPTH = 3",
                "XYZ: 1",
                "DEPTH: 1,5",
                "CUT: 4 feet",
                "DEPTH: 5 m",
                "PLAIN: no",
                "SCRATCH: a=b",
                "SCRATCH: F = c",
                "MASK: 1,2,DIG=3",
                "MASK: 1",
                "DIG: 24/7",
                "# x",
                "NODATA: 24/7",
                "MASK: 1, 2, 3, DIGG = 3, FORCE, DIG = 4 m"};
  std::string all;
  for (const LineWarning& warning :
       checkKeywordLines(file, textsOf(std::span<const Keyword<Settings>>(kWords)), valueAfterEquals))
    all += describe(warning) + '\n';
  EXPECT_EQ(all,
            "line 1: depth is not a keyword; did you mean DEPTH?\n"
            "line 2: PLIAN is not a keyword; did you mean PLAIN?\n"
            "line 3: DIG  DEPTH is not a keyword; did you mean DIG DEPTH?\n"
            "line 4: RASTER FILE is not a keyword\n"
            "line 5: there is no colon after a keyword, so the line is not read; did you mean SWITCH:?\n"
            "line 6: an \"=\" stands in place of the colon, so the line is not read; did you mean DEPTH:?\n"
            "line 7: XYZ is not a keyword\n"
            "line 8: what follows the comma is not read: only \"1\" of \"1,5\"; decimals are written with a "
            "point\n"
            "line 9: DEPTH was given in line 8 already; this line replaces it\n"
            "line 9: what follows the number is not read: \"4 feet\"; the unit is m\n"
            "line 10: DEPTH was given in line 9 already; this line replaces it\n"
            "line 11: PLAIN takes no value; it is on, whatever follows the colon\n"
            "line 12: what stands before the \"=\" is not read: only \"b\" of \"a=b\"\n"
            "line 13: SCRATCH was given in line 12 already; this line replaces it\n"
            "line 16: DIG is not a keyword; did you mean DIG DEPTH?\n"
            "line 18: what follows the number is not read: \"24/7\"\n"
            "line 19: \"3\" is no argument of MASK\n"
            "line 19: \"DIGG = 3\" is no argument of MASK; did you mean DIG?\n"
            "line 19: what follows the number is not read: \"4 m\"\n");
}

}  // namespace
}  // namespace terrain::test
