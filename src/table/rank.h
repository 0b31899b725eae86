#pragma once
// Ranks of a column's values over the records that pass a set of tests. The table stays as it is.

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "table/data_table.h"

namespace terrain {

/// A test of one field's value against a constant. `type` selects the constant; the
/// field is read as that type, by the conversion rules of the single values.
struct RankFilter {
  std::string_view fieldName{};
  FixedText<2> type{};      ///< "I4", "I8", "R4", "R8" or "C "
  std::string_view test{};  ///< "=", ">", "<", "<=" or ">="
  int32_t I4 = 0;
  int64_t I8 = 0;
  float R4 = 0;
  double R8 = 0;
  std::string_view Char{};
};

/// `ranks` gets one place a record: the rank of its value, from 1 for the smallest, among the records
/// that pass all filters. Equal values are ranked in the order of their records; text is compared
/// padded with blanks. Records that fail a filter or have no value (nodata, NaN, blank text) get
/// -9999. Fields are found by `FieldNumber`. -1 after a report for a field that is not there, an
/// unknown type or test, a value that cannot be read as its filter's type, or too little memory; no
/// rank is given then. n log n.
int Rank(std::vector<int32_t>& ranks, DataTableType& table, std::string_view fieldName,
         std::span<const RankFilter> filters = {});

}  // namespace terrain
