#include "attributes/attribute_table.h"

#include <algorithm>
#include <array>
#include <set>
#include <type_traits>

#include "foundation/free_format.h"
#include "foundation/keywords.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadList in Utilities";

// ---- the arguments of an attribute ----

/// A word that is no type leaves the type as it is.
bool parseType(AttributeType& attribute, KeywordInput& input) {
  constexpr std::array<std::array<std::string_view, 2>, 5> kTypes{{{"I4|INT4", "I4"},
                                                                   {"I8|INT8", "I8"},
                                                                   {"R4|REAL4", "R4"},
                                                                   {"R8|REAL8", "R8"},
                                                                   {"C|CHAR|Char|char", "C "}}};
  for (const auto& [words, code] : kTypes)
    if (isKeyword(words, *input.text)) attribute.dataType = code;
  return true;
}

using Value = KeywordValue<AttributeType>;
constexpr Keyword<AttributeType> kArguments[] = {
    {.words = "POSITIVE ONLY", .value = Value::flag<&AttributeType::positiveOnly>()},
    {.words = "NO NEGATIVES", .value = Value::flag<&AttributeType::noNegatives>()},
    {.words = "OUTFLAG", .value = Value::flag<&AttributeType::outFlag>()},
    {.words = "OUTNODE", .value = Value::flag<&AttributeType::shpFlag>()},
    {.words = "OUTREACH", .value = Value::flag<&AttributeType::csvFlag>()},
    {.words = "LEN|len|LENGTH|Length|length",
     .value = Value::number<&AttributeType::length>(),
     .failure = "Error reading field length"},
    {.words = "DECCNT|deccnt|decCnt|DecCnt",
     .value = Value::number<&AttributeType::decimals>(),
     .failure = "Error reading field decCnt"},
    {.words = "NODATA|NoData|NO DATA|NO_DATA|No Data|nodata",
     .value = Value::number<&AttributeType::nodata>(),
     .failure = "Error reading field nodata"},
    {.words = "TYPE|type|Type", .value = Value::own<parseType>("type")},
    {.words = "FIELDNAME|FIELD NAME|OUTPUT FIELD|OUTPUT FIELD NAME|OUT FIELD",
     .value = Value::text<&AttributeType::outName>()},
};

// ---- the factors of a term ----

bool addFactor(EquationTermType& term, KeywordInput& input) {
  term.field.emplace_back().name = std::string_view(*input.text);
  return true;
}

/// A number of the last factor; one before the first belongs to none and is a fault.
template <auto Member>
bool parseFactorNumber(EquationTermType& term, KeywordInput& input) {
  const std::string error = "Error reading " + std::string(input.name) + " value for ";
  if (term.field.empty()) return input.fail(error, "  No FIELD stands before it");
  EquationFieldType& last = term.field.back();
  return readFree(*input.text, last.*Member) || input.fail(error + std::string(last.name.trimmed()));
}

using Factor = KeywordValue<EquationTermType>;
constexpr Keyword<EquationTermType> kFactors[] = {
    {.words = "FIELD|ATTRIBUTE", .value = Factor::own<addFactor>("name")},
    {.words = "COEF|COEFFICIENT",
     .value = Factor::own<parseFactorNumber<&EquationFieldType::coef>>("number")},
    {.words = "EXPONENT", .value = Factor::own<parseFactorNumber<&EquationFieldType::exponent>>("number")},
    {.words = "BASE", .value = Factor::own<parseFactorNumber<&EquationFieldType::base>>("number")},
};

/// Parses arguments into a record and reports every failure.
template <class Record>
int parse(std::type_identity_t<std::span<const Keyword<Record>>> table, const LogicalLine& line,
          Record& record) {
  KeywordInput input{.line = &line};
  if (parseArguments(table, record, input)) return kSuccess;
  for (const KeywordFailure& failure : input.failures) {
    Report report{.routine = kTag, .code = kOwnWords, .message1 = failure.message};
    if (!failure.detail.empty()) report.message2 = failure.detail;
    reportError(report);
  }
  return kFailure;
}

bool isAzimuthFieldThere(const AttributeType& attribute, std::string_view which,
                         std::span<const AttributeType> list) {
  for (const std::string& argument : attribute.arguments) {
    const SplitArgument parts = splitArgument(argument);
    if (stripped(parts.name) != which) continue;
    const std::string_view wanted = stripped(parts.value);  // a blank one names nothing
    if (!wanted.empty() && std::any_of(list.begin(), list.end(), [&](const AttributeType& other) {
          return other.name.trimmed().find(wanted) != std::string_view::npos;
        }))
      return true;
  }
  return false;
}

}  // namespace

bool wantsEquation(const AttributeType& attribute) {
  return std::any_of(attribute.arguments.begin(), attribute.arguments.end(), [](const std::string& argument) {
    const SplitArgument parts = splitArgument(argument);
    const std::string_view name = stripped(parts.name);
    return name.empty() ? stripped(parts.value) == "EQUATION"
                        : name.find("EQUATION") != std::string_view::npos;
  });
}

int fillFromArguments(AttributeType& attribute, bool& wantsNodes) {
  if (attribute.arguments.empty()) return kSuccess;
  LogicalLine line;
  line.arguments = attribute.arguments;
  if (parse(kArguments, line, attribute) != kSuccess) return kFailure;
  if (!attribute.outFlag) attribute.shpFlag = attribute.csvFlag = false;
  if (attribute.shpFlag) attribute.nodeFlag = wantsNodes = true;
  return kSuccess;
}

int readEquation(InputFileType& input, AttributeType& attribute) {
  LogicalLine line;
  while (input.GetLine(line) == kSuccess) {
    const std::string_view keyword = stripped(line.keyword);
    const bool bareEnd =  // without ":"
        keyword.empty() && line.arguments.size() == 1 && stripped(line.arguments.front()) == "END EQUATION";
    if (bareEnd || keyword == "END EQUATION") return kSuccess;
    if (keyword == "INTERCEPT" || keyword == "CONSTANT") {
      if (line.arguments.empty() ||
          !readFree(splitArgument(line.arguments.front()).value, attribute.equation.intercept))
        return fail(kTag, "Error reading INTERCEPT for " + std::string(attribute.name.trimmed()));
    } else if (keyword == "TERM") {
      if (parse(kFactors, line, attribute.equation.term.emplace_back()) != kSuccess) return kFailure;
    }
  }
  return fail(kTag, "Error reading EQUATION inputs");
}

int checkEquations(std::span<const AttributeType> list) {
  std::set<std::string_view> names;
  for (const AttributeType& attribute : list) {
    names.insert(attribute.name.trimmed());
    names.insert(attribute.outName.trimmed());
  }
  int result = kSuccess;
  for (const AttributeType& attribute : list) {
    if (!wantsEquation(attribute)) continue;
    for (const EquationTermType& term : attribute.equation.term)
      for (const EquationFieldType& factor : term.field)
        if (!names.contains(factor.name.trimmed()))
          result = reportError({.code = kOwnWords,
                                .message1 = "Cannot find required field for equation",
                                .message2 = "  Field name: " + std::string(factor.name.trimmed())});
  }
  return result;
}

int checkAzimuths(std::span<const AttributeType> list) {
  int result = kSuccess;
  for (const AttributeType& attribute : list)
    if (attribute.name.trimmed().find("AZIMUTH") != std::string_view::npos &&
        !(isAzimuthFieldThere(attribute, "SIN FIELD", list) &&
          isAzimuthFieldThere(attribute, "COS FIELD", list)))
      result = reportError({.code = kOwnWords, .message1 = "Missing SIN or COS FIELD for MEAN AZIMUTH"});
  return result;
}

void warnMissingArguments(std::span<const AttributeType> list) {
  for (const AttributeType& attribute : list)
    if (attribute.arguments.empty() &&
        attribute.name.trimmed().find("MEAN ANNUAL PRECIP") != std::string_view::npos)
      putMessage("WARNING: MEAN ANNUAL PRECIP may need a precip raster");
}

}  // namespace terrain
