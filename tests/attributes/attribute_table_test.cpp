#include "attributes/attribute_table.h"

#include "../table/table_support.h"

namespace terrain {
namespace {

using terrain::test::ConsoleCapture;

AttributeType filled(std::vector<std::string> arguments, int expected = 0) {
  AttributeType attribute;
  attribute.arguments = std::move(arguments);
  bool wantsNodes = false;
  EXPECT_EQ(fillFromArguments(attribute, wantsNodes), expected);
  EXPECT_EQ(wantsNodes, expected == 0 && attribute.shpFlag);
  return attribute;
}

TEST(AttributeTable, ArgumentsSetTheirMembers) {
  const AttributeType made =
      filled({"LEN = 9", "DecCnt=2", "Type = REAL8", "NO DATA = -1.5", "OUT FIELD = FLOW", "OUTFLAG = .TRUE.",
              "OUTNODE", "NO NEGATIVES = yes", "POSITIVE ONLY = 1", "SOMETHING"});
  EXPECT_EQ(made.length, 9);
  EXPECT_EQ(made.decimals, 2);
  EXPECT_EQ(made.dataType.padded(), "R8");
  EXPECT_EQ(made.nodata, -1.5F);
  EXPECT_EQ(made.outName.trimmed(), "FLOW");
  EXPECT_TRUE(made.outFlag && made.shpFlag && made.nodeFlag && made.noNegatives);
  EXPECT_FALSE(made.positiveOnly) << "1 is not a word for true";
  EXPECT_EQ(filled({"TYPE = WORD"}).dataType.padded(), "R4");
}

TEST(AttributeTable, NodeOutputNeedsTheOutputFlagInAnyOrder) {
  EXPECT_FALSE(filled({"OUTNODE", "OUTREACH"}).shpFlag);
  EXPECT_TRUE(filled({"OUTNODE", "OUTFLAG"}).nodeFlag);
  EXPECT_TRUE(filled({"OUTFLAG", "OUTNODE"}).nodeFlag);
  EXPECT_FALSE(filled({"OUTFLAG = no", "OUTNODE"}).nodeFlag);
}

TEST(AttributeTable, UnreadableNumbersAreReported) {
  ConsoleCapture seen;
  for (const char* argument : {"length = long", "deccnt = 2.5", "nodata = none"}) filled({argument}, -1);
  const std::string routine = " ERROR: ReadList in Utilities\n ";
  EXPECT_EQ(seen.text(), routine + "Error reading field length for\n" + routine +
                             "Error reading field deccnt for\n" + routine + "Error reading field nodata\n");
}

class Equation : public ::testing::Test {
 protected:
  int read(std::vector<std::string> lines) {
    InputFileType input;
    input.lines = std::move(lines);
    made = {};
    made.name = "WIDTH";
    made.arguments = {"EQUATION"};
    return readEquation(input, made);
  }
  AttributeType made;
};

TEST_F(Equation, KeepsTermsAndFieldsInOrder) {
  ASSERT_EQ(read({"CONSTANT: 2.5", "OTHER: 1",
                  "TERM: FIELD = AREA, COEF = 3, EXPONENT = 0.5, ATTRIBUTE = PRECIP, BASE = 10",
                  "TERM: FIELD = SLOPE", "END EQUATION"}),
            0);
  EXPECT_EQ(made.equation.intercept, 2.5F);
  ASSERT_EQ(made.equation.term.size(), 2U);
  const auto& fields = made.equation.term[0].field;
  EXPECT_EQ(fields[0].name.trimmed(), "AREA");
  EXPECT_EQ(fields[0].coef, 3.0F);
  EXPECT_EQ(fields[0].exponent, 0.5F);
  EXPECT_EQ(fields[1].coef, 1.0F);
  EXPECT_EQ(fields[1].base, 10);
}

TEST_F(Equation, FaultsAreReported) {
  const struct {
    std::vector<std::string> lines;
    const char* message;
  } cases[] = {
      {{"TERM: FIELD = A"}, "Error reading EQUATION inputs"},
      {{"INTERCEPT: x", "END EQUATION:"}, "Error reading INTERCEPT for WIDTH"},
      {{"TERM: FIELD = AREA, COEFFICIENT = q", "END EQUATION:"}, "Error reading COEF value for AREA"},
      {{"TERM: FIELD = AREA, BASE = 1.5", "END EQUATION:"}, "Error reading BASE value for AREA"},
      {{"TERM: COEF = 2", "END EQUATION:"}, "No FIELD stands before it"},
      {{"TERM", "END EQUATION"}, "A TERM of WIDTH has no FIELD"},
      {{"INTERCEPT = 4", "TERM: EXPONENT = 2, FIELD = AREA", "END EQUATION:"}, "No FIELD stands before it"}};
  for (const auto& c : cases) {
    ConsoleCapture seen;
    EXPECT_EQ(read(c.lines), -1) << c.message;
    EXPECT_TRUE(seen.has(c.message)) << seen.text();
  }
}

TEST(AttributeTable, ListsAreChecked) {
  std::vector<AttributeType> list(3);
  list[0].name = "MEAN ANNUAL PRECIPITATION";
  list[0].outName = "PRECIP";
  list[1].name = "DEPTH";
  list[1].arguments = {"EQUATION = yes"};
  for (const std::string_view factor : {"PRECIP", "LOST"})
    list[1].equation.term.emplace_back().field.emplace_back().name = factor;
  list[2].name = "MEAN AZIMUTH";
  list[2].arguments = {"SIN FIELD = DEPTH", "COS FIELD = ANNUAL"};
  ConsoleCapture seen;
  EXPECT_EQ(checkEquations(list), -1);
  EXPECT_EQ(checkAzimuths(list), 0);
  list[2].arguments = {"SIN FIELD = DEPTH", "COS FIELD ="};
  EXPECT_EQ(checkAzimuths(list), -1);
  warnMissingArguments(list);
  EXPECT_EQ(seen.text(),
            " Cannot find required field for equation\n   Field name: LOST\n"
            " Missing SIN or COS FIELD for MEAN AZIMUTH\n"
            " WARNING: MEAN ANNUAL PRECIP may need a precip raster\n");
}

}  // namespace
}  // namespace terrain
