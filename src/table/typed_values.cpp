// Typed access to the columns: whole columns, single values with their conversions, extremes. The tables
// below define which type may be read as or written to which, and how; each operation is one template over
// them, and the published operations add the texts of their reports.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/status.h"
#include "table/data_table.h"
#include "table/single_values.h"

namespace terrain {

namespace {

// ---- conversions ----

enum class Rule {
  refuse,
  plain,    ///< the value, where the target's range holds it
  whole,    ///< real to integer: truncated, if the fraction is below a tolerance
  exact,    ///< real to integer: only without a fraction
  rounded,  ///< real to integer: to the nearest, halves away from zero
  parse,    ///< text to integer
};
using RuleRow = std::array<Rule, 5>;  // by FieldKind: I4, I8, R4, R8, text

template <class T>
struct ValueRules;  // by the type of the value read or written
template <>
struct ValueRules<int32_t> {
  static constexpr RuleRow read{Rule::plain, Rule::plain, Rule::whole, Rule::whole, Rule::parse};
  static constexpr RuleRow write{Rule::plain, Rule::plain, Rule::plain, Rule::plain, Rule::refuse};
};
template <>
struct ValueRules<int64_t> : ValueRules<int32_t> {};
template <>
struct ValueRules<float> {
  static constexpr RuleRow read{Rule::plain, Rule::plain, Rule::plain, Rule::plain, Rule::refuse};
  static constexpr RuleRow write{Rule::exact, Rule::exact, Rule::plain, Rule::plain, Rule::refuse};
};
template <>
struct ValueRules<double> {
  static constexpr RuleRow read = ValueRules<float>::read;
  static constexpr RuleRow write{Rule::rounded, Rule::rounded, Rule::plain, Rule::plain, Rule::refuse};
};

/// True if the value, which has no fraction, is in the integer's range; false for NaN.
template <class Integer, class Real>
bool inRange(Real value) {
  constexpr Real low = static_cast<Real>(std::numeric_limits<Integer>::min());  // -2^31 or -2^63, exact
  return value >= low && value < -low;
}

/// The comparison is signed: a negative value always passes and is truncated towards zero.
bool isWhole(double value) { return value - std::trunc(value) < static_cast<double>(1e-8F); }
bool isWhole(float value) { return value - std::trunc(value) < 1e-7F; }

template <class To, class Real>
bool integerFrom(Real value, Rule rule, To& out) {
  Real whole = std::trunc(value);
  if (rule == Rule::rounded) whole = std::round(value);
  if (rule == Rule::exact && value - whole != Real(0)) return false;
  if (rule == Rule::whole && !isWhole(value)) return false;
  if (!inRange<To>(whole)) return false;
  out = static_cast<To>(whole);
  return true;
}

template <class To, class From>
bool convert(From value, Rule rule, To& out) {
  if constexpr (std::is_integral_v<From> && std::is_integral_v<To>) {
    if (!std::in_range<To>(value)) return false;
    out = static_cast<To>(value);
    return true;
  } else if constexpr (std::is_integral_v<To>) {
    return integerFrom(value, rule, out);
  } else {
    if constexpr (std::is_same_v<To, float>)
      if (!fitsR4(value)) return false;
    out = static_cast<To>(value);
    return true;
  }
}

// ---- single values ----

constexpr std::string_view kNoValues = "Field has no values in memory";

template <class Column>
inline constexpr bool isText = std::is_same_v<std::decay_t<Column>, TextColumn>;

/// The texts of the reports of an operation on one value.
struct ValueTexts {
  std::string_view routine;
  std::string_view wrongType = "Incorrect data type";
  bool showsType = false;        ///< the type follows `wrongType`
  bool printsNumbers = false;    ///< console lines after a range failure
  bool logsFieldNumber = false;  ///< a log line after a field failure
  bool logsType = false;         ///< a log line after a type failure
};

/// The field, or null after a report.
FieldContent* locate(DataTableType& table, int32_t ifield, int64_t irec, const ValueTexts& texts) {
  FieldContent* const field = table.fieldAt(ifield);
  if (field == nullptr) {
    fail(texts.routine, "Field number out of range");
    if (texts.printsNumbers) {
      putConsoleLine("ifield =  " + freeText(ifield));
      putConsoleLine("nfields = " + freeText(table.nfields));
    }
    if (texts.logsFieldNumber) putMessage("Requested field number: ", ifield);
  } else if (irec < 1 || irec > table.numRecords) {
    fail(texts.routine, "Record number out of range");
    if (texts.printsNumbers) {
      putConsoleLine("irec =       " + freeText(irec));
      putConsoleLine("numRecords = " + freeText(table.numRecords));
    }
    return nullptr;
  }
  return field;
}

int wrongType(const FieldContent& field, const ValueTexts& texts) {
  const std::string type(field.dataType.padded());
  fail(texts.routine, texts.showsType ? std::string(texts.wrongType) + type : std::string(texts.wrongType));
  if (texts.logsType) putMessage("  Data type = " + type);
  return kFailure;
}

template <class To>
int readValue(DataTableType& table, int32_t ifield, int64_t irec, To& value, const ValueTexts& texts) {
  Attempt attempt{table.status};
  value = To(-9999);
  FieldContent* const field = locate(table, ifield, irec, texts);
  if (field == nullptr) return kFailure;
  const auto refuse = [&] { return wrongType(*field, texts); };
  const auto read = [&](const auto& column) {
    const Rule rule = ValueRules<To>::read[static_cast<std::size_t>(kindOf(field->dataType.padded()))];
    if (rule == Rule::refuse) return refuse();
    const auto at = static_cast<std::size_t>(irec) - 1;
    if (at >= column.size()) return fail(texts.routine, kNoValues);
    if constexpr (!isText<decltype(column)>) {
      return convert(column[at], rule, value) ? kSuccess : refuse();
    } else if constexpr (std::is_integral_v<To>) {
      if (readFree(column[at], value)) return kSuccess;
      return fail(texts.routine, "Error reading string " + std::string(column[at]));
    } else {
      return refuse();
    }
  };
  return attempt.end(visitColumn(*field, read, refuse));
}

template <class From>
int writeValue(DataTableType& table, int32_t ifield, int64_t irec, From value, const ValueTexts& texts) {
  Attempt attempt{table.status};
  FieldContent* const field = locate(table, ifield, irec, texts);
  if (field == nullptr) return kFailure;
  const auto refuse = [&] { return wrongType(*field, texts); };
  const auto write = [&](auto& column) {
    const Rule rule = ValueRules<From>::write[static_cast<std::size_t>(kindOf(field->dataType.padded()))];
    if (rule == Rule::refuse) return refuse();
    const auto at = static_cast<std::size_t>(irec) - 1;
    if (at >= column.size()) return fail(texts.routine, kNoValues);
    if constexpr (isText<decltype(column)>)
      return refuse();
    else
      return convert(value, rule, column[at]) ? kSuccess : refuse();
  };
  return attempt.end(visitColumn(*field, write, refuse));
}

// ---- whole columns ----

/// `word` names the type in a mismatch, `array` the array in an allocation failure.
struct ColumnTexts {
  std::string_view routine;
  std::string_view type;
  std::string_view word;
  std::string_view array;
};

int mismatch(const FieldContent& field, const ColumnTexts& texts) {
  return fail(texts.routine, "Field " + std::string(field.name.trimmed()) +
                                 " does not match data vector type (" + std::string(texts.word) + ")");
}

/// The number given, which may be out of range, or that of the field by its `name` alone, 0 after a report.
int32_t numberOf(const DataTableType& table, const FieldChoice& which, std::string_view routine) {
  if (which.fieldNum) return *which.fieldNum;
  int32_t number = 0;
  FixedText<2> type;
  table.FindField(*which.fieldName, number, type);
  if (number == 0) fail(routine, "Field name not found: " + std::string(stripped(*which.fieldName)));
  return number;
}

template <class T>
int readField(DataTableType& table, std::vector<T>& values, const FieldChoice& which,
              const ColumnTexts& texts) {
  Attempt attempt{table.status};
  if (!which.fieldNum && !which.fieldName) return kFailure;
  const FieldContent* const field = table.fieldAt(numberOf(table, which, texts.routine));
  if (field == nullptr) return kFailure;  // not reported for a number out of range
  if (field->dataType.padded() != texts.type) return mismatch(*field, texts);
  const std::vector<T>& column = columnOf<T>(*field);
  const auto count = static_cast<std::size_t>(std::max<int64_t>(table.numRecords, 0));
  if (column.size() != count) return kFailure;  // no values in memory
  if (values.size() != count && !tryAllocate(values, count))
    return cannotAllocate(texts.routine, texts.array);
  std::copy(column.begin(), column.end(), values.begin());
  return attempt.succeed();
}

template <class T, class Value>
int writeField(DataTableType& table, std::span<const Value> values, int32_t fieldNum,
               const ColumnTexts& texts) {
  Attempt attempt{table.status};
  FieldContent* const field = table.fieldAt(fieldNum);
  if (field == nullptr) return kFailure;  // not reported
  if (field->dataType.padded() != texts.type) return mismatch(*field, texts);
  if (std::cmp_not_equal(values.size(), std::max<int64_t>(table.numRecords, 0)))
    return fail(texts.routine, "Input data array is incorrect length");
  auto& column = columnOf<T>(*field);
  const auto noMemory = [&] { return cannotAllocate(texts.routine, texts.array); };
  if constexpr (std::is_same_v<T, TextColumn>) {
    if (column.size() != values.size() && !column.assign(values.size())) return noMemory();
    for (std::size_t i = 0; i < values.size(); ++i)
      if (!column.set(i, values[i])) return noMemory();
  } else {
    if (column.size() != values.size() && !tryAllocate(column, values.size())) return noMemory();
    std::copy(values.begin(), values.end(), column.begin());
  }
  return attempt.succeed();
}

// ---- extremes ----

/// Folds the values above nodata with `better`, from `start`.
template <class Better>
double extreme(DataTableType& table, const ExtremeOptions& options, double start, std::string_view routine,
               Better better) {
  Attempt attempt{table.status};
  double found = start;
  if (options.fieldNum.has_value() == options.fieldName.has_value()) {
    fail(routine, options.fieldNum ? "Cannot have both fieldNum and fieldName arguments"
                                   : "Missing required argument, fieldNum or fieldName");
    return found;
  }
  const int32_t number = options.fieldNum ? *options.fieldNum : table.FieldNumber(*options.fieldName);
  const FieldContent* const field = table.fieldAt(number);
  if (field == nullptr) {
    fail(routine, options.fieldNum ? std::string("Specified field number is out of range")
                                   : "Field not found: " + std::string(stripped(*options.fieldName)));
    return found;
  }
  const auto refuse = [&] {
    return fail(routine, "Unknown data type " + std::string(field->dataType.padded()));
  };
  const auto fold = [&](const auto& column) {
    if constexpr (isText<decltype(column)>) {
      return refuse();
    } else {
      if (std::cmp_less(column.size(), table.numRecords)) return fail(routine, kNoValues);
      using T = typename std::decay_t<decltype(column)>::value_type;
      T nodata{};
      if constexpr (std::is_integral_v<T>)
        nodata = truncateTo<T>(options.nodata);
      else
        nodata = static_cast<T>(options.nodata);
      for (const T value : column)
        if (value > nodata) found = better(found, static_cast<double>(value));
      return kSuccess;
    }
  };
  attempt.end(visitColumn(*field, fold, refuse));
  return found;
}

}  // namespace

// ---- published operations: whole columns ----

int DataTableType::ReadI4Field(std::vector<int32_t>& values, const FieldChoice& which) {
  return readField(*this, values, which, {"ReadI4Field in DataTableModule", "I4", "INT4", "I4data"});
}
int DataTableType::ReadI8Field(std::vector<int64_t>& values, const FieldChoice& which) {
  return readField(*this, values, which, {"ReadI8Field in DataTableModule", "I8", "INT8", "I8data"});
}
int DataTableType::ReadR4Field(std::vector<float>& values, const FieldChoice& which) {
  return readField(*this, values, which, {"ReadR4Field in DataTableModule", "R4", "REAL4", "R4data"});
}
int DataTableType::ReadR8Field(std::vector<double>& values, const FieldChoice& which) {
  return readField(*this, values, which, {"ReadR8Field in DataTableModule", "R8", "REAL8", "R8data"});
}
int DataTableType::WriteI4Field(std::span<const int32_t> values, int32_t fieldNum) {
  return writeField<int32_t>(*this, values, fieldNum,
                             {"WriteI4Field in DataTableModul", "I4", "INT4", "I4 array"});
}
int DataTableType::WriteI8Field(std::span<const int64_t> values, int32_t fieldNum) {
  return writeField<int64_t>(*this, values, fieldNum,
                             {"WriteI8Field in DataTableModul", "I8", "INT8", "I8 array"});
}
int DataTableType::WriteR4Field(std::span<const float> values, int32_t fieldNum) {
  return writeField<float>(*this, values, fieldNum,
                           {"WriteR4Field in DataTableModul", "R4", "REAL4", "R4 array"});
}
int DataTableType::WriteR8Field(std::span<const double> values, int32_t fieldNum) {
  return writeField<double>(*this, values, fieldNum,
                            {"WriteR8Field in DataTableModul", "R8", "REAL8", "R8 array"});
}
int DataTableType::WriteCharField(std::span<const std::string> values, int32_t fieldNum) {
  return writeField<TextColumn>(*this, values, fieldNum,
                                {"WriteR4Field in DataTableModul", "C ", "CHAR", "Char array"});
}

// ---- published operations: single values ----

int DataTableType::ReadI4Value(int32_t ifield, int64_t irec, int32_t& value) {
  return readValue(*this, ifield, irec, value, {.routine = "ReadI4Value in DataTableModule "});
}
int DataTableType::ReadI8Value(int32_t ifield, int64_t irec, int64_t& value) {
  return readValue(*this, ifield, irec, value, {.routine = "ReadI8Value in DataTableModule"});
}
int DataTableType::ReadR4Value(int32_t ifield, int64_t irec, float& value) {
  return readValue(*this, ifield, irec, value,
                   {.routine = "ReadR4Value in DataTableModule ",
                    .wrongType = "Incorrect data type ",
                    .showsType = true,
                    .printsNumbers = true});
}
int DataTableType::ReadR8Value(int32_t ifield, int64_t irec, double& value) {
  return readValue(
      *this, ifield, irec, value,
      {.routine = "ReadR8Value in DataTableModule ", .wrongType = "Incorrect data type ", .showsType = true});
}
int DataTableType::WriteI4Value(int32_t ifield, int64_t irec, int32_t value) {
  return writeValue(*this, ifield, irec, value,
                    {.routine = "WriteI4Value in DataTableModule", .wrongType = "Incorrect data type "});
}
int DataTableType::WriteI8Value(int32_t ifield, int64_t irec, int64_t value) {
  return writeValue(*this, ifield, irec, value,
                    {.routine = "WriteI8Value in DataTableModule", .wrongType = "Incorrect data type "});
}
int DataTableType::WriteR4Value(int32_t ifield, int64_t irec, float value) {
  return writeValue(*this, ifield, irec, value,
                    {.routine = "WriteR4Value in DataTableModule", .logsFieldNumber = true});
}
int DataTableType::WriteR8Value(int32_t ifield, int64_t irec, double value) {
  return writeValue(*this, ifield, irec, value,
                    {.routine = "WriteR8Value in DataTableModule", .wrongType = "Incorrect data type "});
}

int DataTableType::ReadCharValue(int32_t ifield, int64_t irec, std::string& value) {
  constexpr ValueTexts texts{.routine = "ReadCharValue in DataTableModule", .logsType = true};
  Attempt attempt{status};
  value.clear();
  const FieldContent* const content = locate(*this, ifield, irec, texts);
  if (content == nullptr) return kFailure;
  if (!(content->dataType == "C ")) return wrongType(*content, texts);
  const auto at = static_cast<std::size_t>(irec) - 1;
  if (at >= content->Char.size()) return fail(texts.routine, kNoValues);
  value = content->Char[at];
  return attempt.succeed();
}

int DataTableType::WriteCharValue(int32_t ifield, int64_t irec, std::string_view value) {
  constexpr ValueTexts texts{.routine = "WriteCharValue in DataTableModule"};
  Attempt attempt{status};
  FieldContent* const content = locate(*this, ifield, irec, texts);
  if (content == nullptr) return kFailure;
  if (!(content->dataType == "C ")) return wrongType(*content, texts);
  const auto at = static_cast<std::size_t>(irec) - 1;
  if (at >= content->Char.size()) return fail(texts.routine, kNoValues);
  if (!content->Char.set(at, value)) return cannotAllocate(texts.routine, "Char array");
  return attempt.succeed();
}

// ---- published operations: extremes ----

double DataTableType::Minimum(const ExtremeOptions& options) {
  return extreme(*this, options, std::numeric_limits<double>::max(), "Minimum in DataTableModule",
                 [](double a, double b) { return std::min(a, b); });
}
double DataTableType::Maximum(const ExtremeOptions& options) {
  return extreme(*this, options, -9999.0, "Maximum in DataTableModule",
                 [](double a, double b) { return std::max(a, b); });
}

}  // namespace terrain
