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

namespace terrain {

namespace {

constexpr std::string_view kTag = "Rank in DataTableModule";
constexpr int32_t kUnranked = -9999;

// ---- filters ----

/// True in `pass` if the record's value meets the filter. -1, after a report, if it cannot be read.
int apply(const RankFilter& filter, DataTableType& table, int32_t number, int64_t record, bool& pass) {
  const auto compare = [&](auto value, auto read, auto is, const auto& constant) {
    if ((table.*read)(number, record, value) != kSuccess) return kFailure;
    pass = is(value, filter.test, constant);
    return kSuccess;
  };
  switch (kindOf(filter.type.padded())) {
    case FieldKind::I4:
      return compare(int32_t{}, &DataTableType::ReadI4Value, isI4, filter.I4);
    case FieldKind::I8:
      return compare(int64_t{}, &DataTableType::ReadI8Value, isI8, filter.I8);
    case FieldKind::R4:
      return compare(float{}, &DataTableType::ReadR4Value, isR4, filter.R4);
    case FieldKind::R8:
      return compare(double{}, &DataTableType::ReadR8Value, isR8, filter.R8);
    case FieldKind::text:
      return compare(std::string(), &DataTableType::ReadCharValue, isChar, filter.Char);
    case FieldKind::unknown:
      break;
  }
  return kFailure;
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

template <class Column>
constexpr std::string_view arrayName() {
  using T = ElementOf<Column>;
  if constexpr (std::is_same_v<T, int32_t>) return "I4vals";
  if constexpr (std::is_same_v<T, int64_t>) return "I8vals";
  if constexpr (std::is_same_v<T, float>) return "R4vals";
  if constexpr (std::is_same_v<T, double>) return "R8vals";
  return "Cvals";
}

/// Ranks the column's values of `records` (from 1).
template <class Column>
int rankColumn(const Column& column, std::span<const int64_t> records, std::vector<int32_t>& ranks) {
  using Value = std::decay_t<decltype(column[0])>;
  std::vector<Value> values;
  std::vector<int32_t> order;
  if (!tryAllocate(values, records.size())) return cannotAllocate(kTag, arrayName<Column>());
  for (std::size_t i = 0; i < records.size(); ++i)
    values[i] = column[static_cast<std::size_t>(records[i]) - 1];
  if (!tryAllocate(order, values.size()) || orderOf(std::span<const Value>(values), order) != kSuccess)
    return cannotAllocate(kTag, "order");
  for (std::size_t rank = 0; rank < order.size(); ++rank)
    ranks[static_cast<std::size_t>(records[static_cast<std::size_t>(order[rank]) - 1]) - 1] =
        static_cast<int32_t>(rank) + 1;
  return kSuccess;
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

  int result = kFailure;
  const bool known = visitColumn(*field, [&](const auto& column) {
    if (column.size() < count) {
      fail(kTag, "Field has no values in memory");
      return;
    }
    std::vector<int64_t> records;
    if (!tryAllocate(records, count)) {
      cannotAllocate(kTag, "records");
      return;
    }
    std::size_t passed = 0;
    for (std::size_t i = 0; i < count; ++i) {
      bool pass = hasValue(column[i]);
      for (std::size_t k = 0; k < filters.size() && pass; ++k)
        if (apply(filters[k], table, filterFields[k], static_cast<int64_t>(i) + 1, pass) != kSuccess) return;
      if (pass) records[passed++] = static_cast<int64_t>(i) + 1;
    }
    records.resize(passed);
    result = rankColumn(column, records, ranks);
  });
  if (!known) fail(kTag, "Unknown data type: " + std::string(field->dataType.padded()));
  return result == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
