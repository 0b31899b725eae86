#include "table/rank.h"

#include <cmath>

#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;
using Ranks = std::vector<int32_t>;

class RankOfRecords : public TableTest {
 protected:
  RankOfRecords() {
    make({attribute("whole", "I4"), attribute("wide", "I8"), attribute("real", "R4"),
          attribute("double", "R8"), attribute("text", "C ")},
         6);
    table.WriteI4Field(Ranks{30, 10, -9999, 20, 10, 40}, 1);
    table.WriteI8Field(std::vector<int64_t>{3, 1, -9999, 2, 1, int64_t{1} << 40}, 2);
    table.WriteR4Field(std::vector<float>{3, 1, NAN, 2, 1, 4}, 3);
    table.WriteR8Field(std::vector<double>{3, 1, -9999, 2, 1, 4}, 4);
    table.WriteCharField(std::vector<std::string>{"c", "a", "", "b", "a", "ca"}, 5);
  }
  Ranks rank(std::string_view field, const std::vector<RankFilter>& filters = {}) {
    Ranks ranks;
    EXPECT_EQ(Rank(ranks, table, field, filters), 0) << seen.text();
    EXPECT_EQ(table.status, 0);
    return ranks;
  }
};

TEST_F(RankOfRecords, EveryTypeRanksItsValuesEqualOnesByRecord) {
  for (const char* field : {"whole", " wide", "real", "double", "text"})
    EXPECT_EQ(rank(field), (Ranks{4, 1, -9999, 3, 2, 5})) << field;
}

TEST_F(RankOfRecords, FiltersOfEveryTypeLeaveRecordsOut) {
  EXPECT_EQ(rank("real", {{.fieldName = "whole", .type = "I4", .test = "<", .I4 = 40},
                          {.fieldName = "text", .type = "C ", .test = ">=", .Char = "b"}}),
            (Ranks{2, -9999, -9999, 1, -9999, -9999}));
  EXPECT_EQ(rank("text", {{.fieldName = "wide", .type = "I8", .test = ">", .I8 = int64_t{1} << 39}}),
            (Ranks{-9999, -9999, -9999, -9999, -9999, 1}));
  EXPECT_EQ(rank("whole", {{.fieldName = "double", .type = "R8", .test = "<=", .R8 = 2},
                           {.fieldName = "real", .type = "R4", .test = "=", .R4 = 1.000001F}}),
            (Ranks{-9999, 1, -9999, -9999, 2, -9999}));
}

TEST_F(RankOfRecords, FaultsAreReported) {
  Ranks ranks;
  const auto refused = [&](std::string_view field, const RankFilter& filter, std::string_view why) {
    seen.clear();
    EXPECT_EQ(Rank(ranks, table, field, std::span(&filter, 1)), -1);
    EXPECT_EQ(table.status, -1);
    EXPECT_TRUE(seen.has(why)) << seen.text();
  };
  const RankFilter good{.fieldName = "whole", .type = "I4", .test = "="};
  refused("none", good, " ERROR: Rank in DataTableModule\n Field name not found: none\n");
  refused("real", {.fieldName = "no", .type = "I4"}, "Filter field name not found: no");
  refused("real", {.fieldName = "whole", .type = "L "}, "Unknown filter type: L\n");
  refused("real", {.fieldName = "whole", .type = "I4", .test = "<>"}, "unknown comparison test: <>");
  refused("whole", {.fieldName = "text", .type = "R8", .test = "="}, "Incorrect data type C");
  table.field[2]->dataType = "L ";
  refused("real", good, "Unknown data type: L\n");
  table.field[0]->I4.clear();
  refused("whole", good, "Field has no values in memory");
}

}  // namespace
}  // namespace terrain
