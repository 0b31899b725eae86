// Any bytes as a DBF file: read it, with and without values; what reads is written and read again, and
// must then hold the same texts and numbers of records.

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <span>
#include <sstream>
#include <string>

#include "foundation/messages.h"
#include "foundation/platform.h"
#include "table/dbf.h"

namespace {

std::string scratchStem() {
  const char* directory = std::getenv("TMPDIR");
  return std::string(directory == nullptr ? "/tmp" : directory) + "/dbf_fuzz_" + std::to_string(::getpid());
}

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace terrain;
  static const std::string stem = scratchStem();
  static std::ostringstream sink;
  sink.str("");
  platform::console().out = &sink;

  platform::File file;
  require(file.open(stem + ".dbf", platform::Open::replace) == kIoOk);
  require(file.writeAt(0, std::as_bytes(std::span(data, size))) == kIoOk);
  file.close();

  DataTableType table;
  const int read = NewDataTable(table, {.filePath = stem + ".dbf"});
  const int64_t numRecords = table.numRecords;
  DataTableType header;
  const int headerRead = NewDataTable(header, {.filePath = stem + ".dbf", .headerOnly = true});
  require(read == headerRead && header.numRecords == numRecords && header.nfields == table.nfields);
  require(read == 0 || table.nfields == 0);
  if (read == 0 && table.writeDBFfile(stem + "_out", {.allFields = true}) == 0) {
    DataTableType again;
    require(NewDataTable(again, {.filePath = stem + "_out.dbf"}) == 0);
    require(again.numRecords == numRecords);
    int32_t copy = 0;
    for (const auto& content : table.field) {
      if (kindOf(content->dataType.padded()) == FieldKind::unknown) continue;
      const FieldContent* const other = again.fieldAt(++copy);
      require(other != nullptr);
      if (content->dataType == "C ")
        for (std::size_t r = 0; r < content->Char.size(); ++r) require(content->Char[r] == other->Char[r]);
    }
    require(copy == again.nfields);
  }
  return 0;
}
