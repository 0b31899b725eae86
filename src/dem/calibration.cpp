#include "dem/calibration.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "dem/grids.h"
#include "dem/naming.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/replacement.h"
#include "foundation/text.h"
#include "grid/missing.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Calibrate in DEM_Module";

// ---- inputs ----

/// The raster of the area has the length scale in its name, or, where there is none such, no length.
int findArea(DEM_type& dem, const CalibrationSettings& settings) {
  if (!dem.DA.GridExists() && isBlank(dem.areaFile) && settings.areaLength) {
    const std::string prefix(dem_grids::area.prefix);
    const std::array names{prefix + roundedLengthName(*settings.areaLength),
                           prefix + truncatedLengthName(*settings.areaLength), prefix};
    dem.areaFile = findDerived(dem, names);
    if (isBlank(dem.areaFile)) return fail(kTag, "Cannot find area raster file");
  }
  return dem.GetArea() == kSuccess ? kSuccess : fail(kTag, "GetArea failed");
}

int findGradient(DEM_type& dem, const CalibrationSettings& settings) {
  const double lengthScale = dem.len_scale;
  if (settings.gradLength) dem.len_scale = *settings.gradLength;
  const int status = dem.GetGrad();
  dem.len_scale = lengthScale;
  return status == kSuccess ? kSuccess : fail(kTag, "GetGrad failed");
}

/// The contour length: the raster that is named, or made at the length of a cell.
int findContourLength(DEM_type& dem) {
  if (dem.bcon.GridExists()) return kSuccess;
  int status = kFailure;
  if (!isBlank(dem.bconFile)) {
    status = dem.GetBcon();
  } else if (dem.elev.GridExists() || dem.GetElev() == kSuccess) {
    putMessage("Subroutine Calibrate calling calcBcon");
    status = dem.calcBcon(static_cast<float>(dem.cellsize));
  }
  return status == kSuccess ? kSuccess : fail(kTag, "calcBcon failed");
}

int findInputs(DEM_type& dem, const CalibrationSettings& settings) {
  struct Input {
    R4Grid_type& grid;
    std::string_view name;
  };
  if (findArea(dem, settings) != kSuccess || findGradient(dem, settings) != kSuccess ||
      (settings.specificArea && findContourLength(dem) != kSuccess))
    return kFailure;
  for (const auto& [grid, name] : {Input{dem.DA, "DA"}, Input{dem.grad, "grad"}, Input{dem.bcon, "bcon"}}) {
    if (&grid == &dem.bcon && !settings.specificArea) continue;
    const std::string text = "DEM%" + std::string(name);
    if (!SameGridGeometry(dem, grid)) return fail(kTag, text + " has another extent than the DEM");
    if (grid.SetRowAccess() != kSuccess) return fail(kTag, text + "%setRowAccess failed");
  }
  return kSuccess;
}

// ---- thresholds ----

/// How many cells have thresholds from 10^(k/10) on, for each k.
struct Histogram {
  static constexpr int32_t kLowest = -10;
  static constexpr int32_t kHighest = 70;

  std::array<int64_t, kHighest - kLowest + 1> counters{};
  int64_t cells = 0;

  void add(int32_t k) {
    ++counters[static_cast<std::size_t>(k - kLowest)];
    ++cells;
  }
  [[nodiscard]] int64_t at(int32_t k) const { return counters[static_cast<std::size_t>(k - kLowest)]; }
};

struct Histograms {
  Histogram steep, gentle;

  void add(float threshold, bool isSteep) {
    const float tenths = std::trunc(std::log10(threshold) / 0.1F);
    if (!(tenths >= static_cast<float>(Histogram::kLowest)) ||
        tenths > static_cast<float>(Histogram::kHighest))
      return;
    (isSteep ? steep : gentle).add(static_cast<int32_t>(tenths));
  }
};

/// `contours` is empty where the area is not divided by them.
int fillThresholds(const DEM_type& dem, const CalibrationSettings& settings, R4Grid_type& threshold,
                   Histograms& histograms) {
  const auto cellsize = static_cast<float>(dem.cellsize);
  const auto body = [&, noArea = missingIn(dem.DA), noGradient = missingIn(dem.grad)](
                        int32_t, std::span<float> cells, std::span<const float> areas,
                        std::span<const float> gradients, std::span<const float> contours = {}) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      cells[i] = kNodata;
      if (noArea(areas[i]) || areas[i] < 0.0F || noGradient(gradients[i])) continue;
      if (!contours.empty() && !(contours[i] > 0.0F)) continue;
      const float area = areas[i] * cellsize / (contours.empty() ? 1.0F : contours[i]);
      const float gradient = gradients[i];
      cells[i] = 0.0F;
      if (!(area > 0.0F) || !(gradient > 0.0F)) continue;
      cells[i] = area * std::pow(gradient, settings.Alpha);
      histograms.add(cells[i], gradient > settings.Smin);
    }
  };
  if (settings.specificArea)
    return RowPass{filling(threshold), reading(dem.DA), reading(dem.grad), reading(dem.bcon)}.run(kTag, body);
  return RowPass{filling(threshold), reading(dem.DA), reading(dem.grad)}.run(kTag, body);
}

int makeThresholds(const DEM_type& dem, const CalibrationSettings& settings, const std::string& ids,
                   Histograms& histograms) {
  diagnose("CreateGrid for threshold");
  R4Grid_type threshold;
  if (CreateGrid(threshold, {.like = &dem.DA, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for threshold grid");
  if (fillThresholds(dem, settings, threshold, histograms) != kSuccess) return kFailure;
  const std::string name = std::string(stripped(dem.path)) + "threshold_" + ids;
  if (threshold.WritefltR4(name) != kSuccess) return fail(kTag, "WriteFlt failed for threshold raster");
  putMessage("Created flt raster " + name);
  diagnose("DestroyGrid for threshold");
  return kSuccess;
}

// ---- the tables ----

/// `side` is "greater" or "less".
void writeTable(TextFile& text, const Histogram& histogram, std::string_view side, float cellsize,
                float Smin) {
  constexpr float kKilometresPerStep = 0.0012071069F;  // the mean of a straight and a diagonal step, of 1 m
  text.writeLine("Slopes " + std::string(side) + " than smin");
  text.writeLine("AREA,CHANNEL_DENSITY");
  const float area = static_cast<float>(histogram.cells) * (cellsize * cellsize) / 1e6F;
  if (!(area > 0.0F))
    return text.writeLine(" No DEM cells had a slope " + std::string(side) + " than " + freeText(Smin));
  int64_t above = 0;
  for (int32_t k = Histogram::kHighest; k >= Histogram::kLowest; --k) {
    above += histogram.at(k);
    if (above == 0) continue;
    const auto threshold = static_cast<float>(std::pow(10.0, 0.1 * k));
    const float density = static_cast<float>(above) * cellsize * kKilometresPerStep / area;
    text.writeLine(freeText(threshold) + "," + freeText(density));
  }
}

std::string lengthText(const std::optional<double>& own, double other) {
  return freeText(own.value_or(other));
}

int writeTables(const DEM_type& dem, const CalibrationSettings& settings, const std::string& ids,
                const Histograms& histograms) {
  const std::string name = std::string(stripped(dem.path)) + "areathreshold_" + ids + ".csv";
  Replacement file;
  if (const IoCode code = file.open(name); code != kIoOk)
    return reportError({.routine = kTag,
                        .code = kCannotOpenToWrite,
                        .file = name,
                        .message1 = "areathreshold_",
                        .message2 = describe(code)});
  TextFile& text = file.text();
  text.writeLine("input path: " + std::string(stripped(dem.path)));
  text.writeLine("DEM ID    : " + std::string(stripped(dem.demID)));
  text.writeLine(settings.specificArea ? "Using specific area" : "NOT using specific area");
  text.writeLine("Smin: " + freeText(settings.Smin));
  text.writeLine("Smax: " + freeText(settings.Smax));
  text.writeLine("Alpha: " + freeText(settings.Alpha));
  text.writeLine("Accumulation length scale: " + lengthText(settings.areaLength, dem.len_scale));
  text.writeLine("Gradient length scale: " + lengthText(settings.gradLength, dem.len_scale));
  const auto cellsize = static_cast<float>(dem.cellsize);
  writeTable(text, histograms.steep, "greater", cellsize, settings.Smin);
  writeTable(text, histograms.gentle, "less", cellsize, settings.Smin);
  if (const IoCode code = file.commit(); code != kIoOk)
    return reportError({.routine = kTag, .code = kWriteError, .file = name, .message1 = describe(code)});
  putMessage("Created file " + name);
  return kSuccess;
}

}  // namespace

int Calibrate(DEM_type& dem, const CalibrationSettings& settings) {
  Attempt attempt{dem.status};
  if (!dem.DEMexists()) return fail(kTag, "Must create DEM prior to calling this subroutine");
  if (findInputs(dem, settings) != kSuccess) return kFailure;
  const std::string ids = identifiersOf(dem);
  Histograms histograms;
  if (makeThresholds(dem, settings, ids, histograms) != kSuccess ||
      writeTables(dem, settings, ids, histograms) != kSuccess)
    return kFailure;
  return attempt.succeed();
}

}  // namespace terrain
