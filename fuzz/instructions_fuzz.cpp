// An instruction file of any bytes: its lines, its keywords and values, its columns.

#include "foundation/input_file.h"
#include "input_on_disk.h"
#include "run/keywords.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace terrain;
  const std::string name = fuzz::writeInput("in.txt", data, size);
  InputFileType file = NewInputFile(name);
  RunState run;
  for (LogicalLine line; file.GetLine(line) == 0;) {
    for (const std::string& argument : line.arguments) {
      const std::string value = splitArgument(argument).value;
      KeywordFailure failure;
      for (const Keyword& keyword : keywords())
        if (keyword.name == line.keyword) keyword.act(run, value, failure);
    }
  }
  std::vector<ColumnFormat> columns;
  file.FindFormats(columns);
  int32_t count = 0;
  file.Rewind();
  file.CountToEndList(count);
  return 0;
}
