#include <algorithm>
#include <array>

#include "dem/parameter_keywords.h"
#include "run/drainage.h"

namespace terrain {

namespace {

using Row = Keyword<DrainageRun>;
using Value = KeywordValue<DrainageRun>;
using DemWords = DemKeywords<DrainageRun, &DrainageRun::DEM>;

constexpr Row kOwnWords[] = {
    {.words = "DEM",
     .value = Value::existing<rasterExists, &DrainageRun::DEM, &DEM_type::refFile>("raster"),
     .failure = "Error finding DEM",
     .standard = "PATH and DEM ID",
     .meaning = "Elevations, by file name. The name, as of every raster, with or without .flt."},
    {.words = "CURVATURE LENGTH SCALE",
     .value = Value::number<&DrainageRun::curvatureLength>({.least = 0}),
     .unit = "m",
     .standard = "plan_<length>_<id> is read",
     .meaning =
         "Radius of the circle on which plan curvature is measured, which decides between equal slopes."},
    {.words = "SCRATCH DIRECTORY",
     .value = Value::directory<&DrainageRun::scratchPath>(),
     .standard = "the DEM's directory",
     .meaning = "Where the log is kept during the run, and grids that do not fit in memory."},
    {.words = "OUTPUT CONDITIONED DEM",
     .value = Value::file<&DrainageRun::surfaceName>("raster"),
     .standard = "not written",
     .meaning =
         "The surface on which every cell drains: the DEM with passages carved through closed depressions."},
    {.words = "OUTPUT FLOW ANGLE RASTER",
     .value = Value::file<&DrainageRun::angleName>("raster"),
     .standard = "not written",
     .meaning = "D-infinity flow angle, radians clockwise from north."},
    {.words = "OUTPUT D8 RASTER",
     .value = Value::file<&DrainageRun::codeName>("raster"),
     .standard = "not written",
     .meaning = "Flow to one neighbour: 1 to 8, counter-clockwise from east."},
    {.words = "OUTPUT DRAINAGE AREA RASTER",
     .value = Value::file<&DrainageRun::areaName>("raster"),
     .standard = "not written",
     .meaning = "Contributing cells, by flow angle; a cell counts itself."},
    {.words = "STRICT",
     .value = Value::toggle<&DrainageRun::strict>(),
     .standard = "off",
     .meaning = "Stop before any computing where the instruction file gives cause for a warning."},
};

constexpr auto kKeywords = [] {
  std::array<Row, DemWords::rows.size() + std::size(kOwnWords)> rows{};
  rows[0] = kOwnWords[0];
  std::ranges::copy(DemWords::rows, rows.begin() + 1);
  std::ranges::copy(kOwnWords + 1, std::end(kOwnWords), rows.begin() + 1 + DemWords::rows.size());
  return rows;
}();

}  // namespace

std::span<const Row> drainageKeywords() { return kKeywords; }

std::string drainageKeywordHelp() {
  std::string help;
  for (const Row& row : kKeywords) help += keywordHelp(textsOf(row));
  return help;
}

std::string drainageKeywordManual() {
  std::string manual;
  for (const Row& row : kKeywords) manual += keywordManual(textsOf(row));
  return manual;
}

}  // namespace terrain
