#include "attributes/attribute_table.h"

#include <algorithm>
#include <type_traits>

#include "attributes/attribute_vocabulary.h"
#include "attributes/column_options.h"
#include "foundation/free_format.h"
#include "foundation/keywords.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadList in Utilities";

constexpr auto kOptions = columnOptions({.nodata = "Error reading field nodata"});

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
          Record& record, std::string_view name) {
  KeywordInput input{.line = &line};
  if (parseArguments(table, record, input)) return kSuccess;
  const std::string place = line.lineNumber > 0 ? lineText(line.lineNumber) : std::string();
  for (const KeywordFailure& failure : input.failures) {
    const std::string text =
        failure.message.ends_with(' ') ? failure.message + std::string(name) : failure.message;
    Report report{.routine = kTag, .code = kOwnWords, .message1 = text};
    if (!failure.detail.empty()) report.message2 = failure.detail;
    if (!place.empty()) report.message3 = place;
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

std::string lineText(int32_t line) { return "  Line " + std::to_string(line); }

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
  if (parse(kOptions, line, attribute, attribute.name.trimmed()) != kSuccess) return kFailure;
  if (!attribute.outFlag) attribute.shpFlag = attribute.csvFlag = false;
  if (attribute.shpFlag) attribute.nodeFlag = wantsNodes = true;
  return kSuccess;
}

int readEquation(InputFileType& input, AttributeType& attribute, bool (*endsBlock)(const LogicalLine&)) {
  const std::string_view name = attribute.name.trimmed();
  int result = kSuccess;
  for (LogicalLine line; input.GetLine(line) == kSuccess;) {
    giveKeyword(
        line, [](std::string_view word) { return isKeyword("END EQUATION|INTERCEPT|CONSTANT|TERM", word); });
    const std::string_view keyword = stripped(line.keyword);
    if (keyword == "END EQUATION") return result;
    if (endsBlock != nullptr && endsBlock(line)) {
      input.StepBack();
      return reportError({.routine = kTag,
                          .code = kOwnWords,
                          .message1 = "Error reading EQUATION inputs",
                          .message2 = "  There is no END EQUATION for " + std::string(name),
                          .message3 = lineText(line.lineNumber)});
    }
    if (isKeyword("INTERCEPT|CONSTANT", keyword)) {
      if (line.arguments.empty() ||
          !detail::parseNumber(splitArgument(line.arguments.front()).value, {}, attribute.equation.intercept))
        result = reportError({.routine = kTag,
                              .code = kOwnWords,
                              .message1 = "Error reading INTERCEPT for " + std::string(name),
                              .message2 = lineText(line.lineNumber)});
    } else if (keyword == "TERM") {
      EquationTermType& term = attribute.equation.term.emplace_back();
      if (parse(kFactors, line, term, name) != kSuccess) {
        result = kFailure;
      } else if (term.field.empty()) {
        result = reportError({.routine = kTag,
                              .code = kOwnWords,
                              .message1 = "Error reading EQUATION inputs",
                              .message2 = "  A TERM of " + std::string(name) + " has no FIELD",
                              .message3 = lineText(line.lineNumber)});
      }
    }
  }
  return reportError({.routine = kTag,
                      .code = kOwnWords,
                      .message1 = "Error reading EQUATION inputs",
                      .message2 = "  There is no END EQUATION for " + std::string(name)});
}

int checkEquations(std::span<const AttributeType> list) {
  const AttributeNames names(list);
  int result = kSuccess;
  for (const AttributeType& attribute : list)
    for (const EquationTermType& term : attribute.equation.term)
      for (const EquationFieldType& factor : term.field)
        if (!names.find(factor.name.trimmed()))
          result = reportError({.code = kOwnWords,
                                .message1 = "Cannot find required field for equation",
                                .message2 = "  Field name: " + std::string(factor.name.trimmed())});
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
