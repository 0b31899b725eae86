#include "run/keywords.h"

#include <array>
#include <cmath>
#include <limits>

#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/text.h"

namespace terrain {

namespace {

/// A finite number of at least `least`, or the variable stays as it was.
template <class Number>
bool takeNumber(const std::string& value, Number& variable,
                Number least = std::numeric_limits<Number>::lowest()) {
  Number read = variable;
  if (FreeFormatReader(value).next(read) != FieldStatus::value || !std::isfinite(read) || read < least)
    return false;
  variable = read;
  return true;
}

bool takeDEM(RunState& run, const std::string& value, KeywordFailure& failure) {
  // The last DEM counts: nothing of an earlier one may be taken for its own.
  run.DEM.startAfresh();
  run.DEM.file = stripFileName(value);
  failure.file = run.DEM.file;
  return !value.empty() && run.DEM.ResolveDEM() == kSuccess;
}

bool takeInput(std::string& name, bool& make, const std::string& value, KeywordFailure& failure) {
  name = stripFileName(value);
  make = false;
  failure.file = name;
  return !value.empty() && rasterExists(name);
}

bool takeAspect(RunState& run, const std::string& value, KeywordFailure& failure) {
  return takeInput(run.aspectName, run.makeAspect, value, failure);
}
bool takeGradient(RunState& run, const std::string& value, KeywordFailure& failure) {
  return takeInput(run.gradientName, run.makeGradient, value, failure);
}
bool takeBcon(RunState& run, const std::string& value, KeywordFailure& failure) {
  return takeInput(run.bconName, run.makeBcon, value, failure);
}

bool takeLengthScale(RunState& run, const std::string& value, KeywordFailure&) {
  return takeNumber(value, run.DEM.len_scale);
}

bool takeScratchDirectory(RunState& run, const std::string& value, KeywordFailure&) {
  if (value.empty()) return false;
  run.scratchPath = completeDirectory(value);
  return true;
}

/// The two ways to limit a walk exclude each other.
bool refuse(KeywordFailure& failure, std::string_view message) {
  failure.message = message;
  return false;
}
constexpr std::string_view kTimeAfterDistance = "Cannot have both DURATION + CONDUCTIVITY and MAX DISTANCE";
constexpr std::string_view kDistanceAfterTime = "Cannot have both MAX DISTANCE and DURATION + CONDUCTIVITY";

bool takeDuration(RunState& run, const std::string& value, KeywordFailure& failure) {
  if (run.walk.byDistance) return refuse(failure, kTimeAfterDistance);
  run.walk.byTime = true;
  return takeNumber(value, run.walk.duration);
}
bool takeConductivity(RunState& run, const std::string& value, KeywordFailure& failure) {
  if (run.walk.byDistance) return refuse(failure, kTimeAfterDistance);
  run.walk.byTime = true;
  return takeNumber(value, run.walk.conductivity, 0.0F);
}
bool takeMaxDistance(RunState& run, const std::string& value, KeywordFailure& failure) {
  if (run.walk.byTime) return refuse(failure, kDistanceAfterTime);
  run.walk.byDistance = true;
  run.makeGradient = false;
  return takeNumber(value, run.walk.maxDistance);
}

bool takeOutput(RunState& run, const std::string& value, KeywordFailure&) {
  run.outputName = stripFileName(value);
  return !run.outputName.empty();
}

bool setSpecific(RunState& run, const std::string&, KeywordFailure&) { return run.walk.specific = true; }
bool setSaveGradient(RunState& run, const std::string&, KeywordFailure&) { return run.saveGradient = true; }
bool setSaveAspect(RunState& run, const std::string&, KeywordFailure&) { return run.saveAspect = true; }
bool setSaveBcon(RunState& run, const std::string&, KeywordFailure&) { return run.saveBcon = true; }

constexpr std::array kKeywords{
    Keyword{"DEM", "raster", "", "required",
            "Elevations in metres. The name, as of every raster, with or without .flt.", "Error finding DEM",
            takeDEM},
    Keyword{"INPUT ASPECT RASTER", "raster", "", "computed from the DEM",
            "Aspect in radians clockwise from north, pointing downslope; negative where there is none.",
            "Cannot find INPUT ASPECT RASTER", takeAspect},
    Keyword{"INPUT GRADIENT RASTER", "raster", "", "computed from the DEM",
            "Tangent of the slope. Used by time only.", "Cannot find INPUT GRADIENT RASTER", takeGradient},
    Keyword{"INPUT BCON RASTER", "raster", "", "computed from aspect",
            "Length of contour that a cell's flow crosses, in cell widths. Used with SPECIFIC only.",
            "Cannot find INPUT BCON RASTER", takeBcon},
    Keyword{"LENGTH SCALE", "number", "m", "required where gradient or aspect is computed",
            "Radius of the circle on which gradient and aspect are measured.", "Error reading LENGTH SCALE",
            takeLengthScale},
    Keyword{"SCRATCH DIRECTORY", "directory", "", "the DEM's directory",
            "Where the log is kept during the run, and grids that do not fit in memory.",
            "Error reading SCRATCH DIRECTORY", takeScratchDirectory},
    Keyword{"DURATION", "number", "hours", "0", "Length of the storm: limits the walks by time.",
            "Error reading DURATION", takeDuration},
    Keyword{"CONDUCTIVITY", "number", "m/hour", "0", "Saturated hydraulic conductivity, not negative.",
            "Error reading CONDUCTIVITY", takeConductivity},
    Keyword{"SPECIFIC", "", "", "off", "Divide the contributing area by the contour length.", "",
            setSpecific},
    Keyword{"MAX DISTANCE", "number", "m", "none",
            "Horizontal flow distance: limits the walks by distance, in place of DURATION and CONDUCTIVITY.",
            "Error reading MAX DISTANCE", takeMaxDistance},
    Keyword{"OUTPUT RASTER", "raster", "", "required", "The partial contributing area, in cells.",
            "Error reading OUTPUT RASTER", takeOutput},
    Keyword{"OUTPUT ACCUMULATION RASTER", "raster", "", "", "The same as OUTPUT RASTER.",
            "Error reading OUTPUT ACCUMULATION RASTER", takeOutput},
    Keyword{"OUTPUT GRAD RASTER", "", "", "off",
            "Save the computed gradient beside the DEM, as grad_<length>_<id>.", "", setSaveGradient},
    Keyword{"OUTPUT ASPECT RASTER", "", "", "off",
            "Save the computed aspect beside the DEM, as aspect_<length>_<id>.", "", setSaveAspect},
    Keyword{"OUTPUT BCON RASTER", "", "", "off",
            "Save the computed contour length beside the DEM, as bcon_<length>_<id>.", "", setSaveBcon},
};

}  // namespace

std::span<const Keyword> keywords() { return kKeywords; }

std::string keywordHelp() {
  std::string help;
  for (const Keyword& keyword : kKeywords) {
    help.append("  ").append(keyword.name).append(":");
    if (!keyword.value.empty()) help.append(" <").append(keyword.value).append(">");
    if (!keyword.unit.empty()) help.append(" ").append(keyword.unit);
    if (!keyword.standard.empty()) help.append("   [").append(keyword.standard).append("]");
    help.append("\n      ").append(keyword.meaning).append("\n");
  }
  return help;
}

}  // namespace terrain
