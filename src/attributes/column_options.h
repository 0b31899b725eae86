#pragma once
// The options that a line may give to the column it makes: output name, format, flags. One table of words for
// attribute rows, raster entries and categories alike. Internal to the module.

#include <array>
#include <string>

#include "attributes/attribute_table.h"
#include "foundation/keywords.h"

namespace terrain {

/// The types of columns: their words, and their codes in an attribute.
inline constexpr std::array<std::array<std::string_view, 2>, 5> kColumnTypes{{{"I4|INT4", "I4"},
                                                                              {"I8|INT8", "I8"},
                                                                              {"R4|REAL4", "R4"},
                                                                              {"R8|REAL8", "R8"},
                                                                              {"C|CHAR|Char|char", "C "}}};

/// A word that is no type leaves the type as it is.
inline bool parseColumnType(AttributeType& column, KeywordInput& input) {
  for (const auto& [words, code] : kColumnTypes)
    if (isKeyword(words, *input.text)) column.dataType = code;
  return true;
}

/// An integer from `Least` to `Most`. The failure of the row names the column, unless it tells of a raster
/// list.
template <int32_t Least, int32_t Most, auto Member>
bool parseWhole(AttributeType& column, KeywordInput& input) {
  int32_t value = 0;
  if (!detail::parseNumber(*input.text, {}, value) || value < Least || value > Most) return false;
  column.*Member = value;
  return true;
}

inline bool parseOutName(AttributeType& column, KeywordInput& input) {
  const std::optional<std::string> name = unquotedName(*input.text);
  if (!name) return false;
  column.outName = std::string_view(*name);
  return true;
}

/// What is reported for a number that cannot be read or is out of range.
struct OptionFailures {
  std::string_view length =
      "Error reading field length for ";  ///< a blank at the end: the column's name follows
  std::string_view decimals = "Error reading field deccnt for ";
  std::string_view nodata = "Error reading field nodata";
  std::string_view name = "Input file; missing argument for OUTPUT FIELD";
};

constexpr auto columnOptions(const OptionFailures& failures) {
  using Value = KeywordValue<AttributeType>;
  return std::to_array<Keyword<AttributeType>>({
      {.words = "FIELDNAME|FIELD NAME|OUTPUT FIELD|OUTPUT FIELD NAME|OUT FIELD",
       .value = Value::own<parseOutName>("name"),
       .failure = failures.name,
       .meaning =
           "Name of the column, 10 characters in a DBF file. In a line of several columns it has no effect."},
      {.words = "LENGTH|LEN|Length|Len|length|len",
       .value = Value::own<parseWhole<1, 254, &AttributeType::length>>("1 to 254"),
       .failure = failures.length,
       .meaning = "Characters of a value."},
      {.words = "DECCNT|DecCnt|deccnt|decCnt",
       .value = Value::own<parseWhole<0, 15, &AttributeType::decimals>>("0 to 15"),
       .failure = failures.decimals,
       .meaning = "Decimal places."},
      {.words = "NODATA|NoData|NO DATA|NO_DATA|No Data|nodata",
       .value = Value::number<&AttributeType::nodata>(),
       .failure = failures.nodata,
       .standard = "-9999",
       .meaning = "Value of records without data."},
      {.words = "TYPE|Type|type",
       .value = Value::own<parseColumnType>("type"),
       .meaning = "I4 or INT4, I8 or INT8, R4 or REAL4, R8 or REAL8; CHAR, Char, char or C."},
      {.words = "OUTFLAG|OutFlag|outflag|OUT FLAG",
       .value = Value::flag<&AttributeType::outFlag>(),
       .meaning = "The column is written."},
      {.words = "OUTNODE|OutNode|outnode",
       .value = Value::flag<&AttributeType::shpFlag>(),
       .meaning = "With OUTFLAG: to the node output."},
      {.words = "OUTREACH|Outreach|outreach",
       .value = Value::flag<&AttributeType::csvFlag>(),
       .meaning = "With OUTFLAG: to the reach output."},
      {.words = "NODEFLAG|NodeFlag|nodeflag",
       .value = Value::flag<&AttributeType::nodeFlag>(),
       .meaning = "The attribute is kept by node."},
      {.words = "CALCFLAG|CalcFlag|calcflag",
       .value = Value::flag<&AttributeType::calcFlag>(),
       .meaning = "The attribute is calculated."},
      {.words = "POSITIVE ONLY",
       .value = Value::flag<&AttributeType::positiveOnly>(),
       .meaning = "Only positive values are taken."},
      {.words = "NO NEGATIVES",
       .value = Value::flag<&AttributeType::noNegatives>(),
       .meaning = "Negative values are not taken."},
  });
}

}  // namespace terrain
