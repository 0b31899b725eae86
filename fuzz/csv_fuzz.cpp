// Any bytes as delimited text: read it, with and without values; what reads is written and, where its
// lines are short enough, read again, and must then hold the same records and texts.

#include <cmath>
#include <cstdlib>
#include <string>

#include "input_on_disk.h"
#include "table/data_table.h"
#include "table/delimited_text.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

/// A text as a line of a file holds it: without line ends and without blanks around it.
std::string onOneLine(std::string_view text) {
  std::string joined(text);
  for (char& c : joined)
    if (c == '\r' || c == '\n') c = ' ';
  return std::string(terrain::stripped(joined));
}

/// Columns whose texts all look like numbers, or are blank, come back as another type or not at all;
/// the others must come back as they were.
void compare(const terrain::DataTableType& table, const terrain::DataTableType& again) {
  using namespace terrain;
  require(again.numRecords == table.numRecords);
  if (again.nfields != table.nfields) return;  // a column without values is gone
  for (std::size_t f = 0; f < table.field.size(); ++f) {
    const FieldContent& before = *table.field[f];
    const FieldContent& after = *again.field[f];
    require(after.name == onOneLine(before.outName.trimmed()));
    if (before.dataType != "C " || after.dataType != "C ") continue;
    for (std::size_t r = 0; r < before.Char.size(); ++r) require(after.Char[r] == onOneLine(before.Char[r]));
  }
  for (std::size_t f = 0; f < table.field.size(); ++f) {
    if (table.field[f]->dataType == "I4") require(again.field[f]->I4 == table.field[f]->I4);
    if (table.field[f]->dataType == "I8" && again.field[f]->dataType == "I8")
      require(again.field[f]->I8 == table.field[f]->I8);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace terrain;
  const std::string path = fuzz::writeInput("in.csv", data, size);
  DataTableType table;
  const int read = NewDataTable(table, {.filePath = path});
  require(read == 0 || (table.nfields == 0 && table.numRecords == 0));
  DataTableType header;
  const int headerRead = NewDataTable(header, {.filePath = path, .headerOnly = true});
  require(read != 0 ||
          (headerRead == 0 && header.numRecords == table.numRecords && header.nfields == table.nfields));
  if (read != 0) return 0;
  for (const auto& content : table.field)
    require(content->I4.size() + content->I8.size() + content->R4.size() + content->R8.size() +
                content->Char.size() ==
            static_cast<std::size_t>(table.numRecords));
  if (table.nfields == 0) return 0;
  const std::string copy = fuzz::folder() + "out.csv";
  if (table.WriteCSV(copy) == 0) {
    DataTableType again;
    require(NewDataTable(again, {.filePath = copy}) == 0);
    compare(table, again);
  }
  return 0;
}
