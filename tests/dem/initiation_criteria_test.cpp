// Tables of criteria by area: what they give, and what is refused.

#include "dem/initiation_criteria.h"

#include "support/dem_fixtures.h"

namespace terrain::test {
namespace {

class CriteriaTable : public ::testing::Test {
 protected:
  void SetUp() override {
    R4Grid_type ground = emptyGrid<R4Grid_type>(6, 4);
    fillWith(ground, [](int32_t, int32_t) { return 100.0F; });
    takeElevations(dem, std::move(ground));
    writeRaster(scratch_.path("areas"), "1 1 . 5 5 0\n1 1 . 5 5 0\n1 1 . 5 5 0\n-3 -3 . 5 5 0\n");
    files = {.idRaster = scratch_.path("areas"), .table = scratch_.path("criteria.csv")};
    uniform.criteria.areaLow = 11;
    uniform.criteria.areaHigh = 12;
    uniform.hasArea = true;
  }
  [[nodiscard]] int read(const std::string& table) {
    writeBytes(files.table, table);
    return ReadInitiationCriteria(dem, files, uniform, ids, list);
  }

  ConsoleCapture console_;
  ScratchDir scratch_;
  DEM_type dem;
  CriteriaFiles files;
  UniformCriteria uniform;
  I4Grid_type ids;
  CriteriaList list;
};

TEST_F(CriteriaTable, HoldsByAreaAndOtherwiseTheUniformOnesDo) {
  ASSERT_EQ(read("SlopeAreaHigh,ID,SlopeAreaLow,SlopeExponent,LRlow,LRhigh,AccumLow,AccumHigh,Remark\n"
                 "90.5,5,70,-1,3,4,30,40,wet\n60,1,50,1.5,1,2,10,20,\"dry, steep\"\n"),
            0)
      << console_.text();
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].first, 1);
  EXPECT_EQ(list[0].second.areaLow, 50.0F);
  EXPECT_EQ(list[0].second.slopeExponent, 1.5F);
  EXPECT_EQ(list[0].second.reliefHigh, 2.0F);
  EXPECT_EQ(list[0].second.accumLow, 10.0F);
  EXPECT_EQ(list[1].first, 5);
  EXPECT_EQ(list[1].second.areaHigh, 90.5F);
  EXPECT_EQ(list[1].second.slopeExponent, 2.0F) << "of a value that is not above 0";
  EXPECT_EQ(list[1].second.lowGradient, 0.25F) << "not in the table";
  EXPECT_EQ(cellsOf(ids)[0], 1);
  EXPECT_TRUE(console_.has("  SlopeAreaLow; corresponds to AREA SLOPE THRESHOLD LOW GRADIENT"));
  EXPECT_TRUE(console_.has("  Number of rows (polygons) = 2"));
  EXPECT_TRUE(console_.has("  Minimum polygon ID = 1"));
  EXPECT_TRUE(console_.has("  Maximum polygon ID = 5"));
  EXPECT_TRUE(console_.has("without channel heads: 10")) << "0, -3 and nodata: " << console_.text();
  ASSERT_EQ(read("area,PlanLow,PlanHigh\n0,1,2\n"), 0) << "the first column names the areas";
  EXPECT_EQ(list[0].second.areaHigh, 12.0F);
  EXPECT_EQ(list[0].second.planHigh, 2.0F);
}

TEST_F(CriteriaTable, IsRefusedWhereItIsNotWhole) {
  for (const auto& [table, text] : {
           std::pair<std::string, std::string>{"", "Error reading INITIATION CRITERIA CSV FILE "},
           {"ID,SlopeExponent\n", "Error reading INITIATION CRITERIA CSV FILE "},
           {"ID,SlopeExponent\n1,2\n2,steep\n", "Error reading SlopeExponent in record 2"},
           {"ID,SlopeExponent\n1,2\n2,\n", "Error reading SlopeExponent in record 2"},
           {"ID,AccumLow\n1,-2\n", "Error reading AccumLow in record 1"},
           {"ID,SlopeExponent\n1,2\n1.5,2\n", "Error reading ID in record 2"},
           {"ID,SlopeExponent\n99999999999,2\n", "Error reading ID in record 1"},
           {"ID,SlopeExponent\n7,2\n1,2\n7,3\n", "Two records have the identifier 7"},
           {"ID,LocalReliefLow,AccumLow\n1,2,3\n", "Need to include both LocalReliefLow and LocalReliefHigh"},
           {"ID,LRlow,LRhigh\n1,2,3\n", "Required threshold parameter missing"},
           {"ID,PlanHigh\n1,2\n", "Required threshold parameter missing"},
           {"ID,MinLengthLow\n1,2\n", "Need to specifiy high and low gradient minimum flow length"},
       }) {
    EXPECT_EQ(read(table), -1) << table;
    EXPECT_TRUE(console_.has(text)) << text << '\n' << console_.text();
  }
  uniform.hasArea = false;
  EXPECT_EQ(read("ID,SlopeAreaLow\n1,2\n"), -1);
  EXPECT_EQ(read("ID,SlopeAreaLow,SlopeAreaHigh\n1,2,3\n"), 0);
}

}  // namespace
}  // namespace terrain::test
