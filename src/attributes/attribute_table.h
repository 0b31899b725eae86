#pragma once
// The description of a table column before the table exists: name, format, output flags and, for a
// calculated column, an equation over other columns. A list of descriptions is a value; two lists
// never share storage.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/input_file.h"
#include "foundation/text.h"

namespace terrain {

/// One factor of a term (equation.h).
struct EquationFieldType {
  FixedText<256> name{};  ///< the attribute that gives the factor: its name or its output name
  float coef = 1.0F;
  float exponent = 1.0F;
  int32_t base = 0;
};

struct EquationTermType {
  std::vector<EquationFieldType> field{};  ///< in the order of the line's arguments
};

struct EquationType {
  float intercept = 0.0F;
  std::vector<EquationTermType> term{};  ///< in the order of the lines
};

struct AttributeType {
  FixedText<256> name{};
  FixedText<256> outName{};              ///< column name on output, 10 characters in a DBF file
  std::vector<std::string> arguments{};  ///< as the file gave them: name = value, or a lone word
  int32_t length = 12;                   ///< output length in characters
  int32_t decimals = 5;
  float nodata = -9999.0F;       ///< fills a new column
  FixedText<2> dataType = "R4";  ///< "I4", "I8", "R4", "R8" or "C "
  bool calcFlag = false;         ///< the attribute is calculated
  bool nodeFlag = false;         ///< held for each node, not only for each reach
  bool outFlag = false;          ///< written at all
  bool shpFlag = false;          ///< written to the node output
  bool csvFlag = false;          ///< written to the reach output
  bool positiveOnly = false;
  bool noNegatives = false;
  EquationType equation{};
};

/// True if one of the arguments holds the word "EQUATION", as a lone word or in its name.
[[nodiscard]] bool wantsEquation(const AttributeType& attribute);

/// Sets the members that the attribute's own arguments name. Each number that cannot be read is reported,
/// and the result is -1. `wantsNodes` becomes true if the attribute is written to the node
/// output.
int fillFromArguments(AttributeType& attribute, bool& wantsNodes);

/// Reads the lines of an equation block up to "END EQUATION", which is passed over, or to the first line that
/// `endsBlock` knows, which is read again. All faults are reported with their lines. A keyword may lack its
/// colon. 0, or -1 where there was a fault.
int readEquation(InputFileType& input, AttributeType& attribute,
                 bool (*endsBlock)(const LogicalLine&) = nullptr);

/// Gives a line without a colon its keyword: a first argument that `known` has, alone or before an "=".
template <class Known>
void giveKeyword(LogicalLine& line, Known known) {
  if (!isBlank(line.keyword) || line.arguments.empty()) return;
  const std::string first(stripped(line.arguments.front()));
  if (known(first)) {
    line.keyword = first;
    line.arguments.erase(line.arguments.begin());
  } else if (const SplitArgument pair = splitArgument(first); known(std::string(stripped(pair.name)))) {
    line.keyword = stripped(pair.name);
    line.arguments.front() = stripped(pair.value);
  }
}

/// The line of a report's place.
[[nodiscard]] std::string lineText(int32_t line);

/// Checks that every factor of every equation is the name, output name or keyword of an attribute of the
/// list. Each one that is not is reported; -1 if there was any.
int checkEquations(std::span<const AttributeType> list);

/// Checks that an attribute of a mean azimuth names the columns of its sine and cosine; as above.
int checkAzimuths(std::span<const AttributeType> list);

/// Warns about attributes that may lack an argument.
void warnMissingArguments(std::span<const AttributeType> list);

}  // namespace terrain
