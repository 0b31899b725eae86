#include "dem/input_table.h"

#include <cmath>
#include <type_traits>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "table/field_content.h"
#include "table/geometry.h"

namespace terrain {

int readNumbers(const DataTableType& table, int32_t field, std::string_view routine,
                std::vector<double>& values, int64_t& firstBad) {
  firstBad = 0;
  const auto copy = [&](const auto& column) {
    if (!tryAllocate(values, column.size())) return cannotAllocate(routine, "columns");
    for (std::size_t i = 0; i < values.size() && firstBad == 0; ++i) {
      bool isNumber = true;
      if constexpr (std::is_same_v<std::decay_t<decltype(column)>, TextColumn>)
        isNumber = parseNumber(trimmed(column[i]), values[i]);
      else
        values[i] = static_cast<double>(column[i]);
      if (!isNumber || !std::isfinite(values[i]) || values[i] == kMissing)
        firstBad = static_cast<int64_t>(i) + 1;
    }
    return kSuccess;
  };
  return visitColumn(*table.fieldAt(field), copy, [&] {
    firstBad = 1;
    return kSuccess;
  });
}

}  // namespace terrain
