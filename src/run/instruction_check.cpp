#include "run/instruction_check.h"

#include <algorithm>
#include <limits>

#include "run/ground_check.h"
#include "run/keywords.h"

namespace terrain {

namespace {

/// A keyword that has no effect where the condition holds.
struct Unused {
  std::string_view keyword;
  std::string_view reason;
  bool (*holds)(const RunState& run);
};

constexpr Unused kUnused[] = {
    {"INPUT GRADIENT RASTER", "a run by distance uses no gradient",
     [](const RunState& run) { return run.walk.byDistance; }},
    {"OUTPUT GRAD RASTER", "a run by distance computes no gradient",
     [](const RunState& run) { return run.walk.byDistance; }},
    {"OUTPUT GRAD RASTER", "the gradient is read and not computed",
     [](const RunState& run) { return !run.walk.byDistance && !run.makeGradient; }},
    {"OUTPUT ASPECT RASTER", "the aspect is read and not computed",
     [](const RunState& run) { return !run.makeAspect; }},
    {"INPUT BCON RASTER", "contour lengths are used with SPECIFIC only",
     [](const RunState& run) { return !run.walk.specific; }},
    {"OUTPUT BCON RASTER", "contour lengths are used with SPECIFIC only",
     [](const RunState& run) { return !run.walk.specific; }},
    {"OUTPUT BCON RASTER", "the contour length is read and not computed",
     [](const RunState& run) { return run.walk.specific && !run.makeBcon; }},
    {"LENGTH SCALE", "neither gradient nor aspect nor contour length is computed",
     [](const RunState& run) {
       return !run.makeGradient && !run.makeAspect && !(run.walk.specific && run.makeBcon);
     }},
};

/// A tolerance that nothing keeps, and a run by time with nothing to walk for.
void checkLimits(const WalkValues& walk, std::vector<LineWarning>& warnings) {
  if (walk.tolerance != WalkValues{}.tolerance && !(walk.merged && walk.byTime))
    warnings.push_back({.text = "TOLERANCE has no effect: only merged walks by time have one"});
  if (!walk.byTime) return;
  for (const auto& [keyword, value] :
       {std::pair{"DURATION", walk.duration}, {"CONDUCTIVITY", walk.conductivity}})
    if (!(value > 0))
      warnings.push_back({.text = std::string(keyword) +
                                  " is missing or not above 0, so no water leaves the cell that it fell on"});
}

}  // namespace

std::vector<LineWarning> checkInstructions(RunState& run, bool read) {
  InputFileType& file = run.session.instructions;
  std::vector<LineWarning> warnings = checkKeywordLines(file, textsOf(keywords()), valueAfterEquals);
  if (!read) return warnings;
  for (const Unused& one : kUnused)
    if (const int32_t line = lineOfKeyword(file, one.keyword); line > 0 && one.holds(run))
      warnings.push_back({line, std::string(one.keyword).append(" has no effect: ").append(one.reason)});
  checkLimits(run.walk, warnings);
  if (const auto feet = feetWarning(run.DEM)) warnings.push_back({.text = *feet});
  std::ranges::stable_sort(warnings, {}, [](const LineWarning& warning) {
    return warning.line > 0 ? warning.line : std::numeric_limits<int32_t>::max();
  });
  return warnings;
}

}  // namespace terrain
