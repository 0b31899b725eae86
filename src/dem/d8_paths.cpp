#include "dem/d8_paths.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>
#include <tuple>

#include "foundation/messages.h"
#include "grid/directions.h"
#include "grid/missing.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "AccumulateFlow in DEM_Modul";

/// A lower neighbour of a cell of a path.
struct Candidate {
  ColRow cell{};
  int32_t code = 0;
  double slope = 0;
  double sum = 0;  ///< of the weighted factors
};

/// The lower neighbours of a cell, in the order of their codes.
struct Candidates {
  std::array<Candidate, kDirections> all{};
  std::size_t count = 0;

  void add(const Candidate& candidate) { all[count++] = candidate; }
  [[nodiscard]] std::span<Candidate> list() { return std::span(all).first(count); }
};

class Tracer {
 public:
  Tracer(DEM_type& dem, const D8Paths& paths, const R8Grid_type& walkedAccum)
      : dem_(dem),
        paths_(paths),
        accum_(walkedAccum),
        plan_(paths.plan != nullptr ? paths.plan : &dem.plan),
        aspect_(paths.aspect != nullptr         ? paths.aspect
                : dem.scaledAspect.GridExists() ? &dem.scaledAspect
                                                : &dem.aspect) {}

  void follow(ColRow at, I1Grid_type& onPath) {
    while (onPath.value(at.col, at.row, kTag) == 0) {
      onPath.setCell(at.col, at.row, 1, {});
      const std::optional<int32_t> code = next(at);
      if (!code) return;
      dem_.aspect.setCell(at.col, at.row, aspectOfCode(*code), {});
      at = stepFrom(at, *code);
    }
  }

 private:
  [[nodiscard]] bool isData(ColRow at) const {
    return dem_.elev.contains(at) && dem_.elev.value(at.col, at.row, kTag) != dem_.elev.nodata;
  }
  /// The code of the step from a cell; none where its water leaves the data.
  [[nodiscard]] std::optional<int32_t> next(ColRow at) const {
    const int32_t own = dem_.D8FromAspect(at.col, at.row);
    if (own <= 0 || !isData(stepFrom(at, own))) return std::nullopt;
    Candidates lower;
    const float z = dem_.elev.value(at.col, at.row, kTag);
    for (int32_t code = 1; code <= kDirections; ++code) {
      const ColRow side = stepFrom(at, code);
      if (!isData(side)) continue;
      const double drop =
          static_cast<double>(z) - static_cast<double>(dem_.elev.value(side.col, side.row, kTag));
      if (drop > 0)
        lower.add({.cell = side, .code = code, .slope = isDiagonal(code) ? drop / std::sqrt(2.0) : drop});
    }
    if (lower.count == 0) return own;
    weigh(at, lower.list());
    return std::ranges::max_element(lower.list(), {},
                                    [](const Candidate& c) { return std::tuple(c.sum, c.slope, -c.code); })
        ->code;
  }

  void weigh(ColRow at, std::span<Candidate> lower) const {
    const D8Weights& weights = paths_.weights;
    addShare(weights.slope, lower, [](const Candidate& c) { return std::optional(c.slope); });
    addRange(weights.plan, lower, plan_);
    if (const auto angle = cell(*aspect_, at); weights.aspect != 0 && angle && *angle >= 0)
      for (Candidate& c : lower)
        c.sum += static_cast<double>(weights.aspect) *
                 (1 + std::cos(*angle - static_cast<double>(aspectOfCode(c.code)))) / 2;
    addShare(weights.accum, lower, [this](const Candidate& c) {
      return paths_.accum != nullptr ? cell(*paths_.accum, c.cell)
                                     : std::optional(accum_.value(c.cell.col, c.cell.row, kTag));
    });
    const float gradient = dem_.grad.value(at.col, at.row, kTag);
    if (paths_.ndvi != nullptr && gradient <= paths_.maxNdviGradient)
      addRange(weights.ndvi, lower, paths_.ndvi);
    if (paths_.preferential != nullptr)
      for (Candidate& c : lower)
        if (cell(*paths_.preferential, c.cell).value_or(0) > 0)
          c.sum += static_cast<double>(weights.preferential);
  }
  [[nodiscard]] static std::optional<double> cell(const R4Grid_type& grid, ColRow at) {
    const float value = grid.value(at.col, at.row, kTag);
    return missingIn(grid)(value) ? std::nullopt : std::optional(static_cast<double>(value));
  }
  /// Adds a factor of values from 0 up, over the largest.
  template <class ValueOf>
  static void addShare(float weight, std::span<Candidate> lower, ValueOf valueOf) {
    if (weight == 0) return;
    double most = 0;
    for (const Candidate& c : lower) most = std::max(most, valueOf(c).value_or(0));
    if (!(most > 0)) return;
    for (Candidate& c : lower)
      c.sum += static_cast<double>(weight) * std::max(valueOf(c).value_or(0), 0.0) / most;
  }
  /// Adds a factor that goes from the lowest to the highest value.
  static void addRange(float weight, std::span<Candidate> lower, const R4Grid_type* grid) {
    if (weight == 0) return;
    std::optional<double> least;
    std::optional<double> most;
    for (const Candidate& c : lower)
      if (const auto value = cell(*grid, c.cell)) {
        least = std::min(least.value_or(*value), *value);
        most = std::max(most.value_or(*value), *value);
      }
    if (!least || !(*most > *least)) return;
    for (Candidate& c : lower)
      if (const auto value = cell(*grid, c.cell))
        c.sum += static_cast<double>(weight) * (*value - *least) / (*most - *least);
  }

  DEM_type& dem_;
  const D8Paths& paths_;
  const R8Grid_type& accum_;
  const R4Grid_type* plan_;
  const R4Grid_type* aspect_;
};

}  // namespace

int tracePaths(DEM_type& dem, const D8Paths& paths, const std::vector<ColRow>& heads,
               const R8Grid_type& walkedAccum, I1Grid_type& onPath) {
  putMessage("Getting D8 flow directions");
  if (CreateGrid(onPath, {.like = &dem.elev, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for flow paths");
  for (Grid_Header* grid : std::initializer_list<Grid_Header*>{&dem.elev, &dem.aspect, &onPath})
    if (grid->SetCellAccess() != kSuccess) return fail(kTag, "DEM%aspect%setCellAccess failed");
  Tracer tracer(dem, paths, walkedAccum);
  for (const ColRow& head : heads) tracer.follow(head, onPath);
  return kSuccess;
}

}  // namespace terrain
