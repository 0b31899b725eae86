#include "grid/ground_unit.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>
#include <vector>

#include "foundation/free_format.h"
#include "foundation/text.h"

namespace terrain {

namespace {

std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper;
}

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::ranges::find(words, word) != words.end();
}

/// A linear unit by its length in metres; the international and the survey foot differ in the sixth digit.
GroundUnit unitOfLength(double metres) {
  constexpr double foot = 0.3048;
  if (metres == 1) return GroundUnit::metres;
  return std::abs(metres - foot) < 1e-5 ? GroundUnit::feet : GroundUnit::unknown;
}

/// The number that follows the name in `UNIT["name", number`; `text` begins after the opening bracket.
double factorOfUnit(std::string_view text) {
  double factor = 0;
  const std::size_t name = text.find('"');
  const std::size_t end = name == std::string_view::npos ? name : text.find('"', name + 1);
  if (end == std::string_view::npos) return factor;
  text = text.substr(std::min(text.find(',', end), text.size() - 1) + 1);
  return parseNumber(stripped(text.substr(0, text.find_first_of(",])"))), factor) ? factor : 0;
}

/// The unit of well-known text: that of a projected system, where there is one, else degrees for a geographic
/// one. The unit is a part of the system (WKT 1) or of its axes (WKT 2).
GroundUnit unitOfWellKnownText(std::string_view text) {
  GroundUnit unit = GroundUnit::unknown;
  std::vector<std::string> open;  // the words of the brackets around the current place
  bool quoted = false;
  std::string word;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') quoted = !quoted;
    if (quoted || c == '"') continue;
    if (c >= 'A' && c <= 'Z') {
      word += c;
    } else if (c == '[' || c == '(') {
      const bool projected = std::ranges::any_of(open, [](const auto& one) {
        return isOneOf(one, {"PROJCS", "PROJCRS", "PROJECTEDCRS"});
      });
      const bool ofSystem =
          !open.empty() && isOneOf(open.back(), {"PROJCS", "PROJCRS", "PROJECTEDCRS", "AXIS"});
      if (projected && ofSystem && isOneOf(word, {"UNIT", "LENGTHUNIT"}))
        return unitOfLength(factorOfUnit(text.substr(i + 1)));
      if (!projected && isOneOf(word, {"GEOGCS", "GEOGCRS", "GEOGRAPHICCRS"})) unit = GroundUnit::degrees;
      open.push_back(std::exchange(word, {}));
    } else if (c == ']' || c == ')') {
      if (!open.empty()) open.pop_back();
    } else if (c == ',') {
      word.clear();
    }
  }
  return unit;
}

/// The unit that lines of a name and a value tell.
GroundUnit unitOfLines(const InputFileType& projection) {
  GroundUnit unit = GroundUnit::unknown;
  for (const std::string& line : projection.lines) {
    const std::string upper = upperCase(line);
    FreeFormatReader fields(upper);
    std::string name;
    std::string value;
    if (fields.next(name) != FieldStatus::value || fields.next(value) != FieldStatus::value) continue;
    if (name == "PROJECTION" && value == "GEOGRAPHIC") return GroundUnit::degrees;
    if (name != "UNITS") continue;
    if (isOneOf(value, {"DD", "DS", "DEGREES"})) return GroundUnit::degrees;
    if (isOneOf(value, {"FEET", "FOOT"})) unit = GroundUnit::feet;
    if (isOneOf(value, {"METERS", "METRES", "METER", "METRE"})) unit = GroundUnit::metres;
  }
  return unit;
}

}  // namespace

GroundUnit groundUnit(const Grid_Header& header) {
  std::string text;
  for (const std::string& line : header.projection.lines) text += upperCase(line);
  if (text.find_first_of("[(") != std::string::npos) return unitOfWellKnownText(text);
  if (!isBlank(text)) return unitOfLines(header.projection);
  constexpr double smallCell = 0.01;
  const bool small = header.cellsize > 0 && header.cellsize < smallCell && header.xmin >= -360 &&
                     header.xmax <= 360 && header.ymin >= -180 && header.ymax <= 180;
  return small ? GroundUnit::degrees : GroundUnit::unknown;
}

}  // namespace terrain
