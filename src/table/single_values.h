#pragma once
// The operations on single values by the type of the value, for code that is written once for all types.

#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>

#include "table/data_table.h"

namespace terrain {

/// The type of one value of a column of a type.
template <class Column>
using SingleValue = std::conditional_t<std::is_same_v<Column, TextColumn>, std::string, Column>;

/// False for a finite value that float32 does not hold: from the half-way mark above its largest on it would
/// turn infinite.
template <class Value>
[[nodiscard]] bool fitsR4(Value value) {
  if constexpr (std::is_same_v<Value, double>)
    return !(std::isfinite(value) && std::abs(value) >= 0x1.ffffffp127);
  else
    return true;
}

inline int readValue(DataTableType& table, int32_t ifield, int64_t irec, int32_t& value) {
  return table.ReadI4Value(ifield, irec, value);
}
inline int readValue(DataTableType& table, int32_t ifield, int64_t irec, int64_t& value) {
  return table.ReadI8Value(ifield, irec, value);
}
inline int readValue(DataTableType& table, int32_t ifield, int64_t irec, float& value) {
  return table.ReadR4Value(ifield, irec, value);
}
inline int readValue(DataTableType& table, int32_t ifield, int64_t irec, double& value) {
  return table.ReadR8Value(ifield, irec, value);
}
inline int readValue(DataTableType& table, int32_t ifield, int64_t irec, std::string& value) {
  return table.ReadCharValue(ifield, irec, value);
}

inline int writeValue(DataTableType& table, int32_t ifield, int64_t irec, int32_t value) {
  return table.WriteI4Value(ifield, irec, value);
}
inline int writeValue(DataTableType& table, int32_t ifield, int64_t irec, int64_t value) {
  return table.WriteI8Value(ifield, irec, value);
}
inline int writeValue(DataTableType& table, int32_t ifield, int64_t irec, float value) {
  return table.WriteR4Value(ifield, irec, value);
}
inline int writeValue(DataTableType& table, int32_t ifield, int64_t irec, double value) {
  return table.WriteR8Value(ifield, irec, value);
}
inline int writeValue(DataTableType& table, int32_t ifield, int64_t irec, const std::string& value) {
  return table.WriteCharValue(ifield, irec, value);
}

}  // namespace terrain
