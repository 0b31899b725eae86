// An attribute list of any bytes: what it makes, the values of its equations, a table of its columns.

#include <vector>

#include "attributes/attribute_list.h"
#include "attributes/equation.h"
#include "foundation/platform.h"
#include "input_on_disk.h"
#include "table/data_table.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace terrain;
  static std::ostream nowhere(nullptr);
  platform::console().out = platform::console().errors = &nowhere;
  InputFileType file = NewInputFile(fuzz::writeInput("in.txt", data, size));
  AttributeList list;
  ReadList(file, list);
  std::vector<double> values(list.attributes.size(), 1.5);
  evaluateEquations(list.attributes, values);
  DataTableType table;
  if (NewDataTable(table, {.attributeList = list.attributes, .numRecords = 1}) == kSuccess)
    table.AddField(rasterColumns(list.rasters));
  return 0;
}
