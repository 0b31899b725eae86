#pragma once
// Which records of a table of lines or polygons go to its files, and in which order.

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "table/data_table.h"

namespace terrain {

struct RecordSize {
  uint64_t parts = 0;
  uint64_t vertices = 0;  ///< 0: there is nothing to write
};

struct WrittenRecords {
  std::vector<int64_t> records{};  ///< from 1, in the order in which they are written
  uint64_t parts = 0;              ///< of all of them
  uint64_t vertices = 0;
};

struct WrittenRecordsOptions {
  bool isFlag = false;         ///< only records whose flag is set are looked at
  bool byID = false;           ///< ascending by ID, equal IDs in table order
  std::string_view routine{};  ///< under which failures are reported, with the arrays' names
  std::string_view idArrays{};
  std::string_view orderArray{};
};

/// Chooses the records that have vertices and, in a table with an ID field, an ID above 0. The flag of
/// every record looked at is set to whether it was chosen. `table` has record flags; `sizeOf` is asked
/// once for each. 0, or -1 after a report where there is no memory.
int chooseWrittenRecords(DataTableType& table, const WrittenRecordsOptions& options,
                         const std::function<RecordSize(int64_t irec)>& sizeOf, WrittenRecords& chosen);

}  // namespace terrain
