#include "attributes/attribute_table.h"

#include <algorithm>
#include <array>
#include <set>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadList in Utilities";

// ---- the argument names, each with the member it sets ----

template <class Member>
struct Named {
  std::string_view name;
  Member AttributeType::*member;
};
constexpr std::array kFlags{
    Named<bool>{"POSITIVE ONLY", &AttributeType::positiveOnly},
    Named<bool>{"NO NEGATIVES", &AttributeType::noNegatives},
    Named<bool>{"OUTFLAG", &AttributeType::outFlag},
    Named<bool>{"OUTNODE", &AttributeType::shpFlag},
    Named<bool>{"OUTREACH", &AttributeType::csvFlag},
};
constexpr std::array kIntegers{
    Named<int32_t>{"LEN", &AttributeType::length},      Named<int32_t>{"len", &AttributeType::length},
    Named<int32_t>{"LENGTH", &AttributeType::length},   Named<int32_t>{"Length", &AttributeType::length},
    Named<int32_t>{"length", &AttributeType::length},   Named<int32_t>{"deccnt", &AttributeType::decimals},
    Named<int32_t>{"DECCNT", &AttributeType::decimals}, Named<int32_t>{"decCnt", &AttributeType::decimals},
    Named<int32_t>{"DecCnt", &AttributeType::decimals},
};
constexpr std::array kReals{
    Named<float>{"NODATA", &AttributeType::nodata},  Named<float>{"NoData", &AttributeType::nodata},
    Named<float>{"NO DATA", &AttributeType::nodata}, Named<float>{"NO_DATA", &AttributeType::nodata},
    Named<float>{"No Data", &AttributeType::nodata}, Named<float>{"nodata", &AttributeType::nodata},
};
constexpr std::array<std::string_view, 3> kTypeNames{"type", "TYPE", "Type"};
constexpr std::array<std::string_view, 5> kOutNames{"FIELDNAME", "FIELD NAME", "OUTPUT FIELD",
                                                    "OUTPUT FIELD NAME", "OUT FIELD"};
constexpr std::array<std::array<std::string_view, 2>, 12> kTypes{{
    {"I4", "I4"},
    {"INT4", "I4"},
    {"I8", "I8"},
    {"INT8", "I8"},
    {"R4", "R4"},
    {"REAL4", "R4"},
    {"R8", "R8"},
    {"REAL8", "R8"},
    {"C", "C "},
    {"CHAR", "C "},
    {"Char", "C "},
    {"char", "C "},
}};

template <class Table>
auto memberOf(const Table& table, std::string_view name) {
  const auto found =
      std::find_if(table.begin(), table.end(), [&](const auto& entry) { return entry.name == name; });
  return found == table.end() ? nullptr : found->member;
}
template <class Names>
bool isOneOf(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Sets the member that one argument names; -1 for a number that cannot be read.
int applyArgument(AttributeType& attribute, std::string_view argument) {
  const SplitArgument parts = splitArgument(argument);
  const std::string_view name = stripped(parts.name);
  const std::string_view value = stripped(parts.value);
  if (name.empty()) {
    if (const auto flag = memberOf(kFlags, value)) attribute.*flag = true;
  } else if (const auto flag = memberOf(kFlags, name)) {
    attribute.*flag = textIsTrue(value);
  } else if (const auto integer = memberOf(kIntegers, name)) {
    if (!readFree(value, attribute.*integer))
      return fail(kTag, integer == &AttributeType::length ? "Error reading field length"
                                                          : "Error reading field decCnt");
  } else if (const auto real = memberOf(kReals, name)) {
    if (!readFree(value, attribute.*real)) return fail(kTag, "Error reading field nodata");
  } else if (isOneOf(kTypeNames, name)) {
    for (const auto& [word, code] : kTypes)
      if (word == value) attribute.dataType = code;
  } else if (isOneOf(kOutNames, name)) {
    attribute.outName = value;
  }
  return kSuccess;
}

/// The arguments of a "TERM" line. A number before the first field belongs to none and is a fault.
int addTerm(EquationType& equation, const std::vector<std::string>& arguments) {
  EquationTermType& term = equation.term.emplace_back();
  for (const std::string& argument : arguments) {
    const SplitArgument parts = splitArgument(argument);
    const std::string_view name = stripped(parts.name);
    const bool isField = name == "FIELD" || name == "ATTRIBUTE";
    const bool isCoef = name == "COEF" || name == "COEFFICIENT";
    if (isField) {
      term.field.emplace_back().name = stripped(parts.value);
    } else if (isCoef || name == "EXPONENT" || name == "BASE") {
      const std::string error = "Error reading " + std::string(isCoef ? "COEF" : name) + " value for ";
      if (term.field.empty())
        return reportError({.routine = kTag,
                            .code = kOwnWords,
                            .message1 = error,
                            .message2 = "  No FIELD stands before it"});
      EquationFieldType& last = term.field.back();
      const bool read = isCoef               ? readFree(parts.value, last.coef)
                        : name == "EXPONENT" ? readFree(parts.value, last.exponent)
                                             : readFree(parts.value, last.base);
      if (!read) return fail(kTag, error + std::string(last.name.trimmed()));
    }
  }
  return kSuccess;
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
  for (const std::string& argument : attribute.arguments)
    if (applyArgument(attribute, argument) != kSuccess) return kFailure;
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
      if (addTerm(attribute.equation, line.arguments) != kSuccess) return kFailure;
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
