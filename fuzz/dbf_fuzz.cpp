// Any bytes as a DBF file: read it, with and without values; what reads is written and read again, and
// must then hold the same texts, cut at 254 characters, and numbers of records.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "foundation/text.h"
#include "input_on_disk.h"
#include "table/dbf.h"

namespace {

constexpr std::size_t kLongestWritten = 254;

void require(bool condition) {
  if (!condition) std::abort();
}

/// A text as it is written and read again: cut, without the blanks and NULs at its end.
std::string_view asStored(std::string_view text) {
  const std::string_view stored = terrain::cut(text, kLongestWritten);
  return stored.substr(0, stored.find_last_not_of(std::string_view(" \0", 2)) + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace terrain;
  const std::string path = fuzz::writeInput("table.dbf", data, size);
  const std::string copyStem = fuzz::folder() + "copy";

  DataTableType table;
  const int read = NewDataTable(table, {.filePath = path});
  const int64_t numRecords = table.numRecords;
  DataTableType header;
  const int headerRead = NewDataTable(header, {.filePath = path, .headerOnly = true});
  // The header counts deleted records as well.
  require(read == headerRead && header.numRecords >= numRecords && header.nfields == table.nfields);
  require(read == 0 || table.nfields == 0);
  if (read == 0 && table.writeDBFfile(copyStem, {.allFields = true}) == 0) {
    DataTableType again;
    require(NewDataTable(again, {.filePath = copyStem + ".dbf"}) == 0);
    require(again.numRecords == numRecords);
    int32_t copy = 0;
    for (const auto& content : table.field) {
      if (kindOf(content->dataType.padded()) == FieldKind::unknown) continue;
      const FieldContent* const other = again.fieldAt(++copy);
      require(other != nullptr);
      if (content->dataType == "C ")
        for (std::size_t r = 0; r < content->Char.size(); ++r)
          require(asStored(content->Char[r]) == other->Char[r]);
    }
    require(copy == again.nfields);
  }
  return 0;
}
