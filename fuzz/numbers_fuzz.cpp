// Free-format fields of any bytes; what reads as a number reads back from its shortest text.

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "foundation/field_text.h"
#include "foundation/free_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace terrain;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const bool slashEnds : {true, false}) {
    FreeFormatReader words(text, {.slashEnds = slashEnds});
    std::string word;
    for (std::size_t i = 0; i <= size + 1 && words.next(word) != FieldStatus::end; ++i)
      static_cast<void>(fieldType(word));
    FreeFormatReader numbers(text, {.slashEnds = slashEnds});
    for (std::size_t i = 0; i <= size + 1; ++i) {
      double value = 0;
      const FieldStatus field = numbers.next(value);
      if (field == FieldStatus::end) break;
      if (field != FieldStatus::value || !std::isfinite(value)) continue;
      double back = 0;
      if (!readFree(shortestText(value), back) || back != value) std::abort();
      static_cast<void>(freeText(value));
      static_cast<void>(GetRealValue(value, 3, 12));
    }
  }
  int64_t whole = 0;
  static_cast<void>(readFree(text, whole));
  return 0;
}
