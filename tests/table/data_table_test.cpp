#include "table/data_table.h"

#include <cmath>
#include <functional>
#include <limits>

#include "foundation/memory.h"
#include "table/point_vectors.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

/// Three records of every type, in the order I4, I8, R4, R8, text.
class Table : public TableTest {
 protected:
  Table() {
    make({attribute("i", "I4"), attribute("l", "I8"), attribute("f", "R4"), attribute("d", "R8"),
          attribute("c", "C ")},
         3);
  }
};

TEST_F(Table, RealsReadAsIntegersOnlyWhenWholeOrNegative) {
  const struct {
    double value;
    bool reads;
    int64_t whole;
  } cases[] = {{2.0, true, 2},
               {2.5, false, -9999},
               {-2.5, true, -2},
               {2.0 + 5e-9, true, 2},
               {2.0 + 2e-8, false, -9999},
               {1e10, true, 10000000000},
               {1e19, false, -9999},
               {std::nan(""), false, -9999},
               {-std::numeric_limits<double>::infinity(), false, -9999},
               {-9.3e18, false, -9999}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    table.WriteR8Value(4, 1, c.value);
    int64_t whole = 0;
    EXPECT_EQ(table.ReadI8Value(4, 1, whole), c.reads ? 0 : -1);
    EXPECT_EQ(whole, c.whole);
    int32_t narrow = 0;
    EXPECT_EQ(table.ReadI4Value(4, 1, narrow), c.reads && std::abs(c.value) < 2e9 ? 0 : -1);
    EXPECT_EQ(table.status == 0, narrow != -9999);
  }
  EXPECT_TRUE(seen.has("Incorrect data type"));
}

TEST_F(Table, ValuesConvertOnlyIfTheTargetHoldsThem) {
  EXPECT_EQ(table.WriteR8Value(1, 1, 2.5), 0);
  EXPECT_EQ(table.WriteR8Value(1, 2, -2.5), 0);
  EXPECT_EQ(table.field[0]->I4, (std::vector<int32_t>{3, -3, -9999})) << "halves away from zero";
  EXPECT_EQ(table.WriteI8Value(1, 3, int64_t{1} << 31), -1);
  EXPECT_EQ(table.WriteR4Value(1, 3, 2.5F), -1) << "float32 only if whole";
  EXPECT_EQ(table.field[0]->I4[2], -9999);
  EXPECT_EQ(table.WriteR4Value(2, 3, 7.0F), 0);
  EXPECT_EQ(table.field[1]->I8[2], 7);
  EXPECT_EQ(table.WriteR8Value(3, 1, 1e39), -1) << "a finite value does not turn infinite";
  EXPECT_EQ(table.WriteR8Value(3, 1, std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(table.WriteCharValue(1, 1, "x"), -1);
  table.WriteI8Value(2, 1, int64_t{1} << 32);
  ASSERT_EQ(table.SetIDfield({.fieldNum = 2}), 0);
  EXPECT_EQ(table.RecordID(1), -9999);

  int64_t wide = 0;
  float real = 0;
  table.WriteCharValue(5, 1, "  12");
  EXPECT_EQ(table.ReadI8Value(5, 1, wide), 0);
  EXPECT_EQ(wide, 12);
  table.WriteCharValue(5, 1, "twelve");
  EXPECT_EQ(table.ReadI8Value(5, 1, wide), -1);
  EXPECT_EQ(wide, -9999);
  EXPECT_TRUE(seen.has("Error reading string twelve"));
  EXPECT_EQ(table.ReadR4Value(5, 1, real), -1);
  EXPECT_EQ(real, -9999.0F);
  EXPECT_TRUE(seen.has("Incorrect data type C"));
}

TEST_F(Table, WholeColumnsDoNotConvert) {
  std::vector<float> reals;
  EXPECT_EQ(table.ReadR4Field(reals, {.fieldName = " f "}), 0);
  EXPECT_EQ(reals, std::vector<float>(3, -9999.0F));
  EXPECT_EQ(table.ReadR4Field(reals, {.fieldNum = 4}), -1);
  EXPECT_EQ(table.WriteI4Field(std::vector<int32_t>{1, 2}, 1), -1);
  EXPECT_TRUE(seen.has("Input data array is incorrect length"));
  EXPECT_EQ(table.WriteCharField(std::vector<std::string>{"a", std::string(300, 'b'), ""}, 5), 0);
  EXPECT_EQ(table.field[4]->Char[1].size(), 256U);
}

TEST_F(Table, ExtremesIgnoreNodata) {
  EXPECT_EQ(table.Minimum({.fieldNum = 3}), std::numeric_limits<double>::max());
  EXPECT_EQ(table.Maximum({.fieldNum = 3}), -9999.0);
  table.field[2]->R4 = {5.0F, -9999.0F, -2.0F};
  EXPECT_EQ(table.Minimum({.fieldName = "f"}), -2.0);
  EXPECT_EQ(table.Maximum({.fieldName = "f", .nodata = 5.0F}), -9999.0);
  table.field[2]->R4.clear();  // as in header-only mode
  table.Maximum({.fieldName = "f"});
  EXPECT_EQ(table.status, -1);
  table.field[0]->I4 = {-3, -2, 5};
  EXPECT_EQ(table.Minimum({.fieldNum = 1, .nodata = -2.9F}), 5.0) << "truncated to -2 for integers";
  table.Minimum({.fieldNum = 1, .fieldName = "i"});
  table.Minimum({.fieldNum = 5});
  EXPECT_TRUE(seen.has("Cannot have both fieldNum and fieldName arguments") &&
              seen.has("Unknown data type C"));
}

TEST_F(Table, FaultsAreReportedUnderTheNameOfTheOperation) {
  std::vector<int32_t> i4;
  float real = 0;
  const struct {
    std::function<void()> fails;
    const char* report;
  } cases[] = {
      {[&] { table.ReadI4Field(i4, {.fieldNum = 2}); },
       "ReadI4Field in DataTableModule\n Field l does not match data vector type (INT4)"},
      {[&] { table.WriteCharField({}, 1); },
       "WriteR4Field in DataTableModul\n Field i does not match data vector type (CHAR)"},
      {[&] { table.setRecordFlag(1, true); }, "setRecordFlag in dataTableModule\n Unknown type"},
      {[&] { table.Minimum({.fieldName = "no"}); }, "Minimum in DataTableModule\n Field not found: no"},
      {[&] { table.ReadR4Value(6, 1, real); },
       "ReadR4Value in DataTableModule\n Field number out of range\n ifield =  6\n nfields = 5"},
      {[&] { table.ReadR4Value(3, 4, real); },
       "ReadR4Value in DataTableModule\n Record number out of range\n irec =       4\n numRecords = 3"},
      {[&] { table.WriteR4Value(9, 1, 1.0F); },
       "WriteR4Value in DataTableModule\n Field number out of range\n Requested field number: 9"},
      {[&] { table.AddField(std::vector<AttributeType>(1), {.replace = true}); },
       "AddField in DataTableModule\n Data field has no name"},
  };
  for (const auto& each : cases) {
    seen.clear();
    table.status = 0;
    each.fails();
    EXPECT_EQ(table.status, -1) << each.report;
    EXPECT_EQ(seen.text(), " ERROR: " + std::string(each.report) + "\n");
  }
  seen.clear();
  EXPECT_EQ(table.ReadI4Field(i4, {.fieldNum = 6}), -1);
  EXPECT_EQ(table.WriteI4Field({}, 0), -1);
  EXPECT_EQ(seen.text(), "") << "a number out of range is not reported";
}

TEST_F(Table, MemoryThatIsNotThereLeavesTheTableWhole) {
  std::vector<int32_t> i4;
  const AttributeType added[] = {attribute("new", "R8")};
  table.SetIDfield({.fieldNum = 2});
  memoryLimits().largestBlock = 1;
  EXPECT_EQ(table.ReadI4Field(i4, {.fieldNum = 1}), -1);
  EXPECT_TRUE(seen.has("Unable to allocate memory for object\n I4data"));
  EXPECT_EQ(table.AddField(added), -1);
  EXPECT_TRUE(seen.has("newField%R8"));
  EXPECT_EQ(table.WriteCSV("never_written"), -1);
  EXPECT_TRUE(seen.has("ID and recOrder"));
  memoryLimits() = {};
  EXPECT_EQ(table.nfields, 5);
  EXPECT_EQ(table.field[0]->I4, (std::vector<int32_t>(3, -9999)));
}

TEST_F(Table, FieldsAreFoundNamedAndFlagged) {
  ASSERT_EQ(table.Rename(1, "MEAN ANNUAL PRECIP", "kept as it was"), 0);
  table.AbbreviateFieldNames();
  EXPECT_EQ(table.FieldOutNames()[0], "MEANPREC_M");
  EXPECT_EQ(table.FieldNumber(" MEANPREC_M "), 1);
  int32_t number = 7;
  FixedText<2> type;
  table.FindField("MEANPREC_M", number, type);  // by name alone
  EXPECT_EQ(number, 0);
  EXPECT_EQ(table.FieldType({.fieldName = "MEANPREC_M"}).padded(), "I4");
  ASSERT_EQ(table.SetIDfield({.fieldNum = 2}), 0);
  table.SetOutFlags(false, true);
  EXPECT_EQ(table.FieldNumber("f", true), 0);
  EXPECT_EQ(table.FieldNumber("l", true), 2);
}

TEST_F(Table, ReplacementWorksOnTenCharacters) {
  ASSERT_EQ(table.Rename(2, "ABCDEFGHIJ"), 0);
  ASSERT_EQ(table.SetIDfield({.fieldNum = 3}), 0);
  const AttributeType list[] = {attribute("ABCDEFGHIJKL", "R8")};
  ASSERT_EQ(table.AddField(list, {.fill = 4, .replace = true}), 0);
  EXPECT_EQ(table.nfields, 5);
  EXPECT_EQ(table.FieldName(5), "ABCDEFGHIJKL");
  EXPECT_EQ(table.field[4]->R8, std::vector<double>(3, 4.0));
  EXPECT_EQ(table.IDfield, 2) << "the ID stays with its column";
}

TEST_F(Table, DuplicateNamesAreNumbered) {
  table.SetOutName(1, "AB");
  table.SetOutName(3, "AB");
  EXPECT_EQ(table.duplicateCheck(), 0);
  EXPECT_EQ(table.FieldOutNames(), (std::vector<std::string>{"AB1", "l", "AB2", "d", "c"}));
  EXPECT_EQ(seen.text(), " Duplicate field name: AB\n   Renamed to AB1 and AB2\n");
  table.SetOutName(2, "AB1");
  EXPECT_EQ(table.duplicateCheck(), -1);
  EXPECT_TRUE(seen.has("Cannot unambiguously rename this field"));
}

TEST_F(Table, AppliedListsAreAddedAfterTheOldFields) {
  ASSERT_EQ(table.Rename(2, "eight ch ars"), 0);  // its ninth character is a blank
  std::vector<AttributeType> list{attribute("f", "I4"), attribute("new", "C ")};
  std::vector<AttributeReference> references{{.first = 2, .second = 0, .list = {1, -1}}};
  ASSERT_EQ(table.ApplyAttributeList(list, {.references = references, .outValue = false}), 0);
  EXPECT_EQ(table.FieldName(3), "f1");
  EXPECT_EQ(references[0].first, 7);
  EXPECT_EQ(references[0].list, (std::vector<int32_t>{6, -1}));
  ASSERT_EQ(list.size(), 7U);
  list = {attribute("eight ch ars", "I4")};
  ASSERT_EQ(table.ApplyAttributeList(list), 0);
  EXPECT_EQ(table.FieldName(2), "eight ch 1");
  ASSERT_EQ(list.size(), 8U);
  list.pop_back();
  EXPECT_FALSE(list[0].outFlag);
  EXPECT_TRUE(list[5].outFlag);
}

TEST_F(Table, RecordsAreKeptDroppedAndRepeated) {
  table.WriteI4Field(std::vector<int32_t>{10, 20, 30}, 1);
  table.WriteCharField(std::vector<std::string>{"a", "bb", "ccc"}, 5);
  EXPECT_EQ(table.takeRecords(std::vector<int64_t>{1, 4}), -1);
  ASSERT_EQ(table.takeRecords(std::vector<int64_t>{3, 1, 1, 2}), 0);
  EXPECT_EQ(table.field[0]->I4, (std::vector<int32_t>{30, 10, 10, 20}));
  ASSERT_EQ(table.takeRecords(std::vector<int64_t>{1, 3, 4}), 0);
  EXPECT_EQ(table.field[0]->I4, (std::vector<int32_t>{30, 10, 20}));
  EXPECT_EQ(table.field[4]->Char[0], "ccc");
  EXPECT_EQ(table.field[4]->Char[2], "bb");
}

TEST_F(Table, ShapesGoWithTheirRecords) {
  PointVectorType points;
  points.numRecords = 3;
  for (int32_t r = 1; r <= 3; ++r) points.SetPointXY(r, r, 0);
  ASSERT_EQ(points.takeRecords(std::vector<int64_t>{3, 1, 1}), 0);
  EXPECT_EQ(points.point[0].x, 3);
  ASSERT_EQ(points.takeRecords(std::vector<int64_t>{1, 3}), 0);
  ASSERT_EQ(points.point.size(), 2U);
  EXPECT_EQ(points.point[1].x, 1);
}

TEST(TextColumn, KeepsItsTextsThroughManyChanges) {
  TextColumn column;
  ASSERT_TRUE(column.assign(100));
  const auto text = [](std::size_t round) {
    return std::string(round % 250, static_cast<char>('a' + round % 26)) + "|";
  };
  for (std::size_t round = 0; round < 2000; ++round) ASSERT_TRUE(column.set(round % 100, text(round)));
  for (std::size_t record = 0; record < 100; ++record) EXPECT_EQ(column[record], text(1900 + record));
}

}  // namespace
}  // namespace terrain
