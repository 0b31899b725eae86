// An instruction file of any bytes: its lines, its keywords and values, its columns.

#include "foundation/input_file.h"
#include "input_on_disk.h"
#include "run/keywords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace terrain;
  const std::string name = fuzz::writeInput("in.txt", data, size);
  InputFileType file = NewInputFile(name);
  RunState run;
  readKeywords(file, keywords(), run, valueAfterEquals, [](const KeywordFailure&, int32_t) { return true; });
  file.Rewind();
  std::vector<ColumnFormat> columns;
  file.FindFormats(columns);
  int32_t count = 0;
  file.Rewind();
  file.CountToEndList(count);
  return 0;
}
