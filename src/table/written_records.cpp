#include "table/written_records.h"

#include <exception>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/sorting.h"
#include "foundation/status.h"

namespace terrain {

namespace {

/// Puts record numbers in ascending order of their IDs; equal IDs stay in order. -1 without memory.
int orderByID(std::vector<int64_t>& records, std::span<const int64_t> ids) {
  std::vector<int32_t> order;
  std::vector<int64_t> sorted;
  if (!tryAllocate(order, records.size()) || !tryAllocate(sorted, records.size()) ||
      mergeRank(ids, order) != kSuccess)
    return kFailure;
  for (std::size_t i = 0; i < order.size(); ++i) sorted[i] = records[static_cast<std::size_t>(order[i]) - 1];
  records.swap(sorted);
  return kSuccess;
}

}  // namespace

int chooseWrittenRecords(DataTableType& table, const WrittenRecordsOptions& options,
                         const std::function<RecordSize(int64_t irec)>& sizeOf, WrittenRecords& chosen) {
  const bool hasIDs = table.IDfield >= 1;
  const bool sorted = hasIDs && options.byID;
  std::vector<int64_t> ids;
  try {
    for (int64_t irec = 1; irec <= table.numRecords; ++irec) {
      bool& flag = *table.recordFlag(irec);
      if (options.isFlag && !flag) continue;
      const RecordSize size = sizeOf(irec);
      int64_t id = 0;
      flag = size.vertices > 0 &&
             (!hasIDs || (table.ReadI8Value(table.IDfield, irec, id) == kSuccess && id > 0));
      if (!flag) continue;
      chosen.parts += size.parts;
      chosen.vertices += size.vertices;
      chosen.records.push_back(irec);
      if (sorted) ids.push_back(id);
    }
  } catch (const std::exception&) {  // bad_alloc, length_error
    return cannotAllocate(options.routine, options.idArrays);
  }
  if (sorted && orderByID(chosen.records, ids) != kSuccess)
    return cannotAllocate(options.routine, options.orderArray);
  return kSuccess;
}

}  // namespace terrain
