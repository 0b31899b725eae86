// Grids of record numbers joined to tables.

#include <limits>

#include "grid/float_raster.h"
#include "support/grids.h"
#include "table/raster_table.h"
#include "table_support.h"

namespace terrain {
namespace {

using namespace terrain::test;

class RasterTable : public InBothStorages {
 protected:
  RasterTable() {
    const std::vector<AttributeType> list = {attribute("A", "I4"), attribute("B", "I8", 16),
                                             attribute("C", "R4", 12, 3), attribute("D", "R8", 12, 3),
                                             attribute("T", "C ")};
    EXPECT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = 3}), 0);
    table.WriteI4Field(std::vector<int32_t>{10, 20, 30}, 1);
    table.WriteI8Field(std::vector<int64_t>{1, 16777217, int64_t{1} << 40}, 2);
    table.WriteR4Field(std::vector<float>{1.75F, -2.75F, std::numeric_limits<float>::quiet_NaN()}, 3);
    table.WriteR8Field(std::vector<double>{0.1, 1e300, -3e9}, 4);
  }
  I4Grid_type raster = gridOf<I4Grid_type>("1 2 3\n3 . 4\n", {.storage = GetParam()});
  DataTableType table;
};
INSTANTIATE_TEST_SUITE_P(Storages, RasterTable, everyStorage(), storageName);

TEST_P(RasterTable, EachNumericTypeGivesValues) {
  R4Grid_type real;
  I4Grid_type whole;
  real.onDisk = whole.onDisk = GetParam() != Storage::memory;
  const auto made = [&](const char* field) {
    RasterTableType joined = createRasterTable(raster, table, field);
    EXPECT_EQ(joined.status, 0);
    EXPECT_EQ(joined.MakeR4Grid(real), 0);
    EXPECT_EQ(joined.MakeI4Grid(whole), 0);
    return show(real) + "| " + show(whole);
  };
  EXPECT_EQ(made("A"), "10 20 30\n30 . .\n| 10 20 30\n30 . .\n");
  EXPECT_TRUE(console_.has("MakeR4Grid in DataTableModule, field A: Record number out of range, cells: 2"));
  EXPECT_FALSE(console_.has("ERROR")) << console_.text();
  EXPECT_EQ(made("B"), "1 1.67772e+07 1.09951e+12\n1.09951e+12 . .\n| 1 16777216 .\n. . .\n");
  EXPECT_TRUE(console_.has("MakeI4Grid in DataTableModule, field B: Value out of range, cells: 2"));
  EXPECT_EQ(made("C"), "1.75 -2.75 .\n. . .\n| 1 -2 .\n. . .\n") << "a NaN is no integer";
  EXPECT_EQ(made("D"), "0.1 . -3e+09\n-3e+09 . .\n| 0 . .\n. . .\n");
  EXPECT_EQ(real.value(1, 1, ""), 0.1F);
  EXPECT_EQ(whole.onDisk, GetParam() != Storage::memory);

  // The output may take the place of the index raster, and a template may be its header.
  RasterTableType joined = createRasterTable(raster, table, "A");
  EXPECT_EQ(joined.MakeI4Grid(raster, &raster), 0);
  EXPECT_EQ(show(raster), "10 20 30\n30 . .\n");
}

TEST_P(RasterTable, CellsOfAnotherLatticeTakeTheValueAtTheirPoint) {
  // Half the cell size, from half a cell west of the raster and half a cell above its first row on.
  R4Grid_type fine = emptyGrid<R4Grid_type>(8, 4, {.xmin = 995, .ymin = 2000, .cellsize = 5});
  R4Grid_type out;
  RasterTableType joined = createRasterTable(raster, table, "A");
  ASSERT_EQ(joined.MakeR4Grid(out, &fine), 0);
  EXPECT_EQ(show(out),
            ". 10 10 20 20 30 30 .\n. 10 10 20 20 30 30 .\n. 30 30 . . . . .\n. 30 30 . . . . .\n");
  for (int32_t row = 1; row <= 4; ++row)
    for (int32_t col = 1; col <= 8; ++col) {
      const Point at = fine.ColRowToXY(col, row);
      EXPECT_EQ(joined.ReadR4ValueXY(at.x, at.y), out.value(col, row, "")) << col << " " << row;
    }
}

TEST_P(RasterTable, FaultsAreReported) {
  EXPECT_EQ(createRasterTable(raster, table, "NONE").status, -1);
  EXPECT_TRUE(console_.has("Cannot find indexID field in table"));
  EXPECT_EQ(createRasterTable(raster, table, "T").status, -1);
  EXPECT_TRUE(console_.has("Require numeric field, not C"));
  RasterTableType joined = createRasterTable(raster, table, "A");
  EXPECT_EQ(joined.ReadR4Value(3, 2), -9999.0F);
  EXPECT_TRUE(console_.has("Record number out of range"));
  R4Grid_type out;
  joined.field = 5;
  EXPECT_EQ(joined.ReadR4Value(1, 1), -9999.0F);
  EXPECT_EQ(joined.MakeR4Grid(out), -1);
  EXPECT_EQ(show(out), ". . .\n. . .\n");
  EXPECT_TRUE(console_.has("Incorrect data type C")) << console_.text();
  EXPECT_EQ(std::exchange(joined.field, 9), 5);
  EXPECT_EQ(joined.MakeR4Grid(out), -1);
  EXPECT_TRUE(console_.has("Field number out of range"));
}

TEST_P(RasterTable, FilesAreReadAndJoined) {
  const std::string stem = scratch_.path("pair");
  for (int32_t field = 3; field <= 4; ++field)
    for (int64_t record = 1; record <= 3; ++record) table.WriteR4Value(field, record, 0.5F);
  ASSERT_EQ(table.WriteCSV(stem + ".csv"), 0);
  ASSERT_EQ(table.writeDBFfile(stem), 0);
  ASSERT_EQ(raster.WritefltI4(stem), 0);
  I4Grid_type whole;
  R4Grid_type real;
  ASSERT_EQ(ReadI4RasterTable(stem + ".flt", stem + ".csv", "A", whole), 0) << console_.text();
  EXPECT_EQ(show(whole), "10 20 30\n30 . .\n");
  R4Grid_type part = emptyGrid<R4Grid_type>(2, 1, {.xmin = 1010, .ymin = 2010});
  ASSERT_EQ(ReadR4RasterTable(stem + ".flt", stem + ".dbf", "A", real, &part), 0) << console_.text();
  EXPECT_EQ(show(real), "20 30\n");
  EXPECT_EQ(ReadR4RasterTable(stem + "x.flt", stem + ".dbf", "A", real), -1);
  EXPECT_TRUE(console_.has("Error reading index raster"));
  EXPECT_FALSE(real.GridExists());
  EXPECT_EQ(ReadR4RasterTable(stem + ".flt", stem + ".txt", "A", real), -1);
  EXPECT_TRUE(console_.has("Error reading data table"));
}

}  // namespace
}  // namespace terrain
