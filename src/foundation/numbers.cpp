#include "foundation/numbers.h"

#include <algorithm>
#include <string>

#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

namespace {

template <class Real>
bool same(Real a, Real b, Real tolerance, std::optional<Real> absolute) {
  if (a == b) return true;
  const Real high = std::max(std::abs(a), std::abs(b));
  const Real low = std::min(std::abs(a), std::abs(b));
  if (absolute) return high - low < *absolute;
  if (low == Real(0)) return high < tolerance;
  return std::abs(a - b) / high < tolerance;
}

/// An unordered pair meets no test but "=".
template <class Value, class Equal>
bool compare(const Value& a, std::string_view test, const Value& b, Equal equal, std::string_view routine) {
  const std::string_view word = stripped(test);
  if (word == "=") return equal(a, b);
  if (word == ">") return a > b;
  if (word == "<") return a < b;
  if (word == "<=") return a <= b;
  if (word == ">=") return a >= b;
  fail(routine, "unknown comparison test: " + std::string(word));
  return false;
}

}  // namespace

bool sameR4(float a, float b, float tolerance) { return same<float>(a, b, tolerance, std::nullopt); }

bool sameR8(double a, double b, double tolerance, std::optional<double> absolute) {
  return same<double>(a, b, tolerance, absolute);
}

bool isComparison(std::string_view test) {
  const std::string_view word = stripped(test);
  return word == "=" || word == ">" || word == "<" || word == "<=" || word == ">=";
}

bool isR8(double a, std::string_view test, double b) {
  return compare(
      a, test, b, [](double x, double y) { return sameR8(x, y); }, "FUNCTION isR8 in MODULE Utiliti");
}
bool isR4(float a, std::string_view test, float b) {
  return compare(
      a, test, b, [](float x, float y) { return sameR4(x, y); }, "FUNCTION isR4 in MODULE Utiliti");
}
bool isI8(int64_t a, std::string_view test, int64_t b) {
  return compare(a, test, b, std::equal_to<>{}, "FUNCTION isI8 in MODULE Utiliti");
}
bool isI4(int32_t a, std::string_view test, int32_t b) {
  return compare(a, test, b, std::equal_to<>{}, "FUNCTION isI4 in MODULE Utiliti");
}
bool isChar(std::string_view a, std::string_view test, std::string_view b) {
  return compare(comparePadded(a, b), test, 0, std::equal_to<>{}, "FUNCTION isChar in MODULE Utilities");
}

}  // namespace terrain
