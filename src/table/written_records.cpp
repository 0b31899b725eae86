#include "table/written_records.h"

#include <exception>

#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/shapefile.h"

namespace terrain {

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
