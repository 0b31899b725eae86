#include "table/rank.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <type_traits>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/sorting.h"
#include "foundation/status.h"
#include "table/single_values.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Rank in DataTableModule";
constexpr int32_t kUnranked = -9999;

// ---- filters ----

bool compare(int32_t value, const RankFilter& filter) { return isI4(value, filter.test, filter.I4); }
bool compare(int64_t value, const RankFilter& filter) { return isI8(value, filter.test, filter.I8); }
bool compare(float value, const RankFilter& filter) { return isR4(value, filter.test, filter.R4); }
bool compare(double value, const RankFilter& filter) { return isR8(value, filter.test, filter.R8); }
bool compare(const std::string& value, const RankFilter& filter) {
  return isChar(value, filter.test, filter.Char);
}

/// Sets `pass` to whether the record's value meets the filter. -1, after a report, if it cannot be read.
int apply(const RankFilter& filter, DataTableType& table, int32_t number, int64_t record, bool& pass) {
  const auto compareValue = [&](auto type) {
    SingleValue<typename decltype(type)::type> value{};
    if (readValue(table, number, record, value) != kSuccess) return kFailure;
    pass = compare(value, filter);
    return kSuccess;
  };
  return visitType(filter.type.padded(), compareValue, [] { return kFailure; });
}

/// The field of each filter, after a check of its type and its test. -1 after a report.
int locateFilters(const DataTableType& table, std::span<const RankFilter> filters,
                  std::vector<int32_t>& numbers) {
  if (!tryAllocate(numbers, filters.size())) return cannotAllocate(kTag, "filterFieldNums");
  for (std::size_t k = 0; k < filters.size(); ++k) {
    const RankFilter& filter = filters[k];
    numbers[k] = table.FieldNumber(filter.fieldName);
    if (numbers[k] == 0)
      return fail(kTag, "Filter field name not found: " + std::string(stripped(filter.fieldName)));
    if (kindOf(filter.type.padded()) == FieldKind::unknown)
      return fail(kTag, "Unknown filter type: " + std::string(filter.type.padded()));
    if (!isComparison(filter.test))
      return fail(kTag, "unknown comparison test: " + std::string(stripped(filter.test)));
  }
  return kSuccess;
}

// ---- values ----

bool hasValue(std::string_view text) { return !isBlank(text); }
template <class T>
bool hasValue(T value) {
  if constexpr (std::is_floating_point_v<T>)
    return value != T(-9999) && !std::isnan(value);
  else
    return value != T(-9999);
}

template <class T>
int orderOf(std::span<const T> values, std::span<int32_t> order) {
  return mergeRank(values, order);
}
int orderOf(std::span<const std::string_view> values, std::span<int32_t> order) {
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
    return comparePadded(values[static_cast<std::size_t>(a) - 1], values[static_cast<std::size_t>(b) - 1]) <
           0;
  });
  return kSuccess;
}

/// Ranks the column's values of `records` (from 1).
template <class Column>
int rankColumn(const Column& column, std::string_view type, std::span<const int64_t> records,
               std::vector<int32_t>& ranks) {
  using Value = std::decay_t<decltype(column[0])>;
  std::vector<Value> values;
  std::vector<int32_t> order;
  if (!tryAllocate(values, records.size())) return cannotAllocate(kTag, std::string(trimmed(type)) + "vals");
  for (std::size_t i = 0; i < records.size(); ++i)
    values[i] = column[static_cast<std::size_t>(records[i]) - 1];
  if (!tryAllocate(order, values.size()) || orderOf(std::span<const Value>(values), order) != kSuccess)
    return cannotAllocate(kTag, "order");
  for (std::size_t rank = 0; rank < order.size(); ++rank)
    ranks[static_cast<std::size_t>(records[static_cast<std::size_t>(order[rank]) - 1]) - 1] =
        static_cast<int32_t>(rank) + 1;
  return kSuccess;
}

/// Ranks the records that have a value and pass all filters; `fields` are those of the filters.
template <class Column>
int rankRecords(const Column& column, std::string_view type, DataTableType& table,
                std::span<const RankFilter> filters, std::span<const int32_t> fields,
                std::vector<int32_t>& ranks) {
  const std::size_t count = ranks.size();
  if (column.size() < count) return fail(kTag, "Field has no values in memory");
  std::vector<int64_t> records;
  if (!tryReserve(records, count)) return cannotAllocate(kTag, "records");
  for (std::size_t i = 0; i < count; ++i) {
    const auto record = static_cast<int64_t>(i) + 1;
    bool pass = hasValue(column[i]);
    for (std::size_t k = 0; k < filters.size() && pass; ++k)
      if (apply(filters[k], table, fields[k], record, pass) != kSuccess) return kFailure;
    if (pass) records.push_back(record);
  }
  return rankColumn(column, type, records, ranks);
}

}  // namespace

int Rank(std::vector<int32_t>& ranks, DataTableType& table, std::string_view fieldName,
         std::span<const RankFilter> filters) {
  Attempt attempt{table.status};
  ranks.clear();
  const FieldContent* const field = table.fieldAt(table.FieldNumber(fieldName));
  if (field == nullptr) return fail(kTag, "Field name not found: " + std::string(stripped(fieldName)));
  std::vector<int32_t> filterFields;
  if (locateFilters(table, filters, filterFields) != kSuccess) return kFailure;
  const auto count = static_cast<std::size_t>(std::max<int64_t>(table.numRecords, 0));
  if (!tryAllocate(ranks, count)) return cannotAllocate(kTag, "ranks");
  std::fill(ranks.begin(), ranks.end(), kUnranked);
  return attempt.end(visitColumn(
      *field,
      [&](const auto& column) {
        return rankRecords(column, field->dataType.padded(), table, filters, filterFields, ranks);
      },
      [field] { return fail(kTag, "Unknown data type: " + std::string(field->dataType.padded())); }));
}

}  // namespace terrain
