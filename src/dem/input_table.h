#pragma once
// Columns of numbers from tables that come from outside.

#include <cstdint>
#include <string_view>
#include <vector>

#include "table/data_table.h"

namespace terrain {

/// One column of a table as numbers. `firstBad` is the first record, from 1, that has none, else 0. 0, or -1
/// with a report for want of memory.
int readNumbers(const DataTableType& table, int32_t field, std::string_view routine,
                std::vector<double>& values, int64_t& firstBad);

}  // namespace terrain
