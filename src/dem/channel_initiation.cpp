#include "dem/channel_initiation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "dem/grids.h"
#include "dem/lattice.h"
#include "dem/naming.h"
#include "dem/node_file.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/status.h"
#include "grid/neighbours.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

// ---- criteria ----

float InitiationCriteria::between(float low, float high, float gradient) const {
  if (gradient <= lowGradient) return low;
  if (gradient >= highGradient) return high;
  return low + (gradient - lowGradient) * ((high - low) / (highGradient - lowGradient));
}

float InitiationCriteria::area(float gradient) const {
  if (gradient >= highGradient) return areaHigh / std::pow(gradient, slopeExponent);
  if (gradient > lowGradient)
    return (highGradient * areaLow + (areaHigh - areaLow) * gradient - lowGradient * areaHigh) /
           (highGradient - lowGradient) / std::pow(gradient, slopeExponent);
  // Below this gradient the quotient would overflow.
  const float least =
      slopeExponent > 0 ? std::pow(std::max(areaLow, areaHigh) / kUnlimited, 1 / slopeExponent) : 0.0F;
  return areaLow / std::pow(std::max(gradient, least), slopeExponent);
}

float InitiationCriteria::areaForRelief(float gradient, float relief) const {
  return between(reliefLow, reliefHigh, gradient) >= relief ? between(accumLow, accumHigh, gradient) : 0.0F;
}

InitiationCriteria InitiationCriteria::towards(const InitiationOverride& other, float weight) const {
  InitiationCriteria made = *this;
  const auto move = [weight](float& value, const std::optional<float>& to) {
    if (to) value = (1 - weight) * value + weight * *to;
  };
  for (float* area : {&made.areaLow, &made.areaHigh}) move(*area, other.area);
  for (float* relief : {&made.reliefLow, &made.reliefHigh}) move(*relief, other.relief);
  if (weight >= 1.0F) made.planLow = made.planHigh = -kUnlimited;
  return made;
}

namespace {

constexpr std::string_view kTag = "AccumulateFlow in DEM_Modul";
constexpr std::string_view kWalkTag = "dparea1_con in DEM_module";

// States of a cell in `checkGrid`. Above 0: the cells that must contribute; 0: no head; -1 and less: has its
// area and waits for its length, which is in a grid of its own.
constexpr float kForced = 1.0F;
constexpr float kChannel = -0.1F;  ///< a head or below one
constexpr float kFixed = -0.2F;    ///< and its direction is final
constexpr float kPending = -0.3F;  ///< and its direction is open
constexpr float kJustAboveOne = 1.00000012F;

/// The criteria of a cell; null where there are none.
class CriteriaByPlace {
 public:
  explicit CriteriaByPlace(const InitiationSettings& settings) : settings_(settings) {}
  [[nodiscard]] const InitiationCriteria* of(int32_t id) const {
    if (settings_.ids == nullptr) return &settings_.criteria;
    const auto& list = settings_.criteriaByID;
    const auto found = std::ranges::lower_bound(list, id, {}, [](const auto& entry) { return entry.first; });
    return found != list.end() && found->first == id ? &found->second : nullptr;
  }

 private:
  const InitiationSettings& settings_;
};

// ---- thresholds ----

/// The rows of a grid that may be absent; then every cell has the same value.
template <Cell T>
class OptionalRows {
 public:
  OptionalRows(const GridOf<T>* grid, T otherwise) : otherwise_(otherwise) {
    if (grid != nullptr) cursor_.emplace(reading(*grid));
  }
  [[nodiscard]] int open() { return cursor_ ? cursor_->open(kTag) : kSuccess; }
  [[nodiscard]] int enter(int32_t row) { return cursor_ ? cursor_->enter(row, kTag) : kSuccess; }
  [[nodiscard]] T at(std::size_t i) const { return cursor_ ? cursor_->cells()[i] : otherwise_; }

 private:
  std::optional<RowCursor<T, RowUse::read>> cursor_;
  T otherwise_;
};

/// What a cell's threshold depends on.
struct Site {
  float gradient, plan, relief;
  float perCell;  ///< cells that an area of 1 is
  int8_t mask;
};

/// The smaller of two thresholds, of which 0 is none.
float lesser(float a, float b) { return a > 0 && b > 0 ? std::min(a, b) : std::max(a, b); }

/// Cells that must contribute before a site becomes a head; 0: it does not become one.
float thresholdOf(const InitiationCriteria& criteria, const Site& site) {
  if (!(site.gradient >= 0.0F) || site.mask < 0) return 0.0F;
  if (site.mask == 3) return kForced;
  float threshold = 0.0F;
  const auto scaled = [&](float area) {
    const float cells = area * site.perCell;
    return cells > 0 ? std::max(cells, kJustAboveOne) : 0.0F;
  };
  if (site.mask > 0) {
    threshold = scaled(criteria.area(site.gradient));
    if (threshold > 0) threshold = std::clamp(threshold, 1.1F, 100.0F);
  }
  if (site.relief != kNodata)
    threshold = lesser(threshold, scaled(criteria.areaForRelief(site.gradient, site.relief)));
  if (site.mask == 0 && site.gradient > 0.0F && site.plan >= criteria.plan(site.gradient))
    threshold = lesser(threshold, scaled(criteria.area(site.gradient)));
  return threshold;
}

int fillThresholds(const DEM_type& dem, const InitiationSettings& settings, R4Grid_type& check) {
  const auto size = static_cast<float>(dem.cellsize);
  OptionalRows<int32_t> ids(settings.ids, 0);
  OptionalRows<int8_t> masks(settings.initMask, 0);
  OptionalRows<float> reliefs(settings.relief, kNodata);
  OptionalRows<float> widths(settings.specificArea ? &dem.bcon : nullptr, 1 / size);
  OptionalRows<float> weights(settings.weight, 0.0F);
  for (const int opened : {ids.open(), masks.open(), reliefs.open(), widths.open(), weights.open()})
    if (opened != kSuccess) return kFailure;
  const float reliefNodata = settings.relief != nullptr ? settings.relief->nodata : kNodata;
  const CriteriaByPlace criteria(settings);
  int status = kSuccess;
  const int passed = RowPass{reading(dem.grad), reading(dem.plan), filling(check)}.run(
      kTag, [&](int32_t row, std::span<const float> gradients, std::span<const float> plans,
                std::span<float> cells) {
        for (const int entered :
             {ids.enter(row), masks.enter(row), reliefs.enter(row), widths.enter(row), weights.enter(row)})
          if (entered != kSuccess) status = kFailure;
        if (status != kSuccess) return;
        for (std::size_t i = 0; i < cells.size(); ++i) {
          const InitiationCriteria* const own = criteria.of(ids.at(i));
          const float relief = reliefs.at(i);
          const Site site{.gradient = gradients[i],
                          .plan = plans[i],
                          .relief = relief == reliefNodata ? kNodata : relief,
                          .perCell = widths.at(i) / size,
                          .mask = masks.at(i)};
          const float weight = weights.at(i);
          if (own == nullptr)
            cells[i] = 0.0F;
          else
            cells[i] = thresholdOf(weight > 0.0F ? own->towards(settings.instead, weight) : *own, site);
        }
      });
  return passed == kSuccess ? status : kFailure;
}

/// Heads are kept out of, or within, the cells of a mask.
int applyMask(R4Grid_type& check, const I4Grid_type& mask, bool keepInside) {
  return RowPass{changing(check), reading(mask)}.run(
      kTag, [&](int32_t, std::span<float> cells, std::span<const int32_t> marks) {
        for (std::size_t i = 0; i < cells.size(); ++i)
          if ((marks[i] != 0) != keepInside) cells[i] = 0.0F;
      });
}

// ---- the walk ----

/// Walks upstream from every cell that no walk has reached, in row order, and routes what each cell has to
/// the cell below it once all above it is known. The order in which walks meet the two receivers of a cell
/// decides which of them is asked first whether the channel goes there.
template <class Lattice>
class Initiation {
 public:
  using At = typename Lattice::At;

  Initiation(DEM_type& dem, const InitiationSettings& settings, ChannelNetwork& network)
      : dem_(dem), settings_(settings), network_(network), criteria_(settings), lattice_(dem.aspect) {
    for (int32_t code = 1; code <= kDirections; ++code)
      steps_[static_cast<std::size_t>(code)] =
          isDiagonal(code) ? dem.cellsize * 1.4142135623730951 : dem.cellsize;
  }

  [[nodiscard]] bool open(R4Grid_type& check) {
    return aspect_.load(dem_.aspect, kNodata, kTag) && grad_.load(dem_.grad, kNodata, kTag) &&
           plan_.load(dem_.plan, kNodata, kTag) && check_.load(check, 0.0F, kTag) &&
           (settings_.ids == nullptr || ids_.load(*settings_.ids, 0, kTag)) &&
           length_.create(lengthGrid_, dem_.aspect, 0.0F, 0.0F, kTag) &&
           accum_.load(network_.accum, 0.0, kTag);
  }

  [[nodiscard]] int run(R4Grid_type& check) {
    for (int32_t row = 1; row <= dem_.rows(); ++row)
      for (int32_t col = 1; col <= dem_.cols(); ++col) {
        const At at = lattice_.at(col, row);
        if (accum_.get(at) == 0 && !walkFrom(at)) return cannotAllocate(kWalkTag, "cell initial allocation");
      }
    aspect_.store(dem_.aspect);
    check_.store(check);
    accum_.store(network_.accum);
    return kSuccess;
  }

 private:
  struct Entry {
    At at;
    int32_t code = 0;     ///< of the neighbour looked at
    int32_t entered = 0;  ///< code by which the walk came
    FlowPair flow{};      ///< into the entry below
  };

  [[nodiscard]] bool enter(At at, int32_t code, const FlowPair& flow) {
    if (check_.get(at) == kForced && !markHead(at)) return false;
    accum_.set(at, 1.0);
    return tryAppend(path_, Entry{.at = at, .entered = code, .flow = flow});
  }
  [[nodiscard]] bool walkFrom(At start) {
    path_.clear();
    if (!enter(start, 0, {})) return false;
    while (true) {
      Entry& top = path_.back();
      if (++top.code > kDirections) {
        const Entry done = top;
        path_.pop_back();
        if (path_.empty()) return true;
        if (!pass(done.at, path_.back().at, done.entered, done.flow)) return false;
        continue;
      }
      const At above = lattice_.step(top.at, top.code);
      const float angle = aspect_.get(above);
      if (!(angle >= 0.0F)) continue;
      const FlowPair flow = FlowProportionPair(angle, top.code);
      if (!(flow.share > 0)) continue;
      const bool held =
          accum_.get(above) == 0 ? enter(above, top.code, flow) : pass(above, top.at, top.code, flow);
      if (!held) return false;
    }
  }

  /// Routes what `from` has to `to`, its neighbour from which it lies in the direction of `code`.
  [[nodiscard]] bool pass(At from, At to, int32_t code, const FlowPair& flow) {
    const float state = check_.get(from);
    const double share =
        state < 0.0F && state > -0.5F ? channelShare(from, to, code, flow, state) : flow.share;
    if (!(share > 0)) return true;
    const double kept = settings_.decay.conductivity > 0 ? keptOnWay(from, code) : 1.0;
    if (kept > 0) accum_.set(to, accum_.get(to) + share * accum_.get(from) * kept);
    return judge(from, to, code);
  }
  /// The part that is left after a step from a cell.
  [[nodiscard]] double keptOnWay(At from, int32_t code) const {
    const FlowDecay& decay = settings_.decay;
    const double slope = std::atan(static_cast<double>(grad_.get(from)));
    const double reach = decay.conductivity * decay.duration * std::sin(slope);
    if (!(reach > 0)) return 0;
    const double lost = std::min(std::abs(std::log(decay.proportion) / reach), 1.0);
    return 1 - lost * (steps_[static_cast<std::size_t>(code)] / std::cos(slope));
  }
  /// Whether a cell becomes a head by what it has now.
  [[nodiscard]] bool judge(At from, At to, int32_t code) {
    const float state = check_.get(to);
    if (state <= 0.0F && state > -1.0F) return true;
    if (state == kForced) return markHead(to);
    const auto step = static_cast<float>(steps_[static_cast<std::size_t>(code)]);
    const float way = check_.get(from) <= -1.0F ? step + length_.get(from) : step;
    if (state <= -1.0F) {
      wait(to, std::max(way, length_.get(to)));
      return true;
    }
    if (accum_.get(to) < static_cast<double>(state)) return true;
    const InitiationCriteria* const criteria = criteria_.of(settings_.ids == nullptr ? 0 : ids_.get(to));
    if (criteria != nullptr && way < criteria->length(grad_.get(to))) {
      wait(to, way);
      return true;
    }
    return markHead(to);
  }
  void wait(At at, float way) {
    length_.set(at, way);
    check_.set(at, -std::max(way, 1.0F));
  }
  [[nodiscard]] bool markHead(At at) {
    check_.set(at, kChannel);
    return tryAppend(network_.heads, lattice_.place(at));
  }

  /// The share of a channel cell's flow that a neighbour receives: all of it or nothing.
  [[nodiscard]] double channelShare(At from, At to, int32_t code, const FlowPair& flow, float state) {
    if (state == kPending || (state == kChannel && goesThere(from, to, flow))) {
      check_.set(from, kFixed);
      check_.set(to, kChannel);
      if (settings_.paths == nullptr) aspect_.set(from, aspectOfCode(opposite(code)));
      return 1.0;
    }
    if (state == kChannel) check_.set(from, kPending);
    return 0.0;
  }
  /// Whether the channel goes to the first receiver asked, `to`.
  [[nodiscard]] bool goesThere(At from, At to, const FlowPair& flow) const {
    const ChannelSharing& sharing = settings_.sharing;
    if (flow.partner == 0 || flow.share >= sharing.highShare) return true;
    if (flow.share < sharing.lowShare) return false;
    const float plan = plan_.get(to);
    const float other = plan_.get(lattice_.step(from, flow.partner));
    const bool isLarger = flow.share >= 0.5;
    if (sameR4(plan, other)) return isLarger;
    if (plan >= sharing.refPlan) return plan > other;
    return other < sharing.refPlan && isLarger;
  }

  DEM_type& dem_;
  const InitiationSettings& settings_;
  ChannelNetwork& network_;
  CriteriaByPlace criteria_;
  Lattice lattice_;
  typename Lattice::template Cells<float> aspect_, grad_, plan_, check_, length_;
  typename Lattice::template Cells<double> accum_;
  typename Lattice::template Cells<int32_t> ids_;
  R4Grid_type lengthGrid_;
  std::array<double, 9> steps_{};  ///< length of a step by code, metres
  std::vector<Entry> path_;
};

/// Runs the walk over `check`. Empty if there is no memory.
template <class Lattice>
std::optional<int> initiateOver(DEM_type& dem, const InitiationSettings& settings, R4Grid_type& check,
                                ChannelNetwork& network) {
  Initiation<Lattice> initiation(dem, settings, network);
  if (!initiation.open(check)) return std::nullopt;
  return initiation.run(check);
}

int walk(DEM_type& dem, const InitiationSettings& settings, R4Grid_type& check, ChannelNetwork& network) {
  putMessage(" Accumulating");
  network.accum.releaseStorage();  // of another walk
  if (CreateGrid(network.accum, {.like = &dem.elev, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "CreateGrid failed for accum");
  std::optional<int> walked = initiateOver<Bordered>(dem, settings, check, network);
  if (!walked) walked = initiateOver<InPlace>(dem, settings, check, network);
  return walked ? *walked : fail(kTag, "checkGrid%setCellAccess failed");
}

/// The channels go on from the heads along paths of their own. The second walk finds no heads: its cells are
/// in channels or have none.
int followPaths(DEM_type& dem, const InitiationSettings& settings, R4Grid_type& check,
                ChannelNetwork& network) {
  putMessage("Using initiation points to trace D8 flow path");
  I1Grid_type onPath;
  if (tracePaths(dem, *settings.paths, network.heads, network.accum, onPath) != kSuccess) return kFailure;
  if (RowPass{filling(check), reading(onPath)}.run(
          kTag, [](int32_t, std::span<float> states, std::span<const int8_t> marks) {
            for (std::size_t i = 0; i < states.size(); ++i) states[i] = marks[i] != 0 ? kChannel : 0.0F;
          }) != kSuccess)
    return kFailure;
  return walk(dem, settings, check, network);
}

// ---- inputs and outputs ----

std::string fileBeside(const DEM_type& dem, const std::string& given, std::string_view prefix) {
  return given.empty() ? dem.path + std::string(prefix) + identifiersOf(dem) : given;
}

/// Writes what the heads are found from, where diagnostics are on.
template <class Grid>
int writeCheck(const DEM_type& dem, const Grid& grid, std::string_view prefix) {
  if (!demDiagnostics().on) return kSuccess;
  R4Grid_type copy;
  if (CreateGrid(copy, {.like = &dem.elev, .nodata = kNodata, .setCells = false}) != kSuccess ||
      RowPass{filling(copy), reading(grid)}.run(kTag, [](int32_t, std::span<float> cells, auto values) {
        for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = static_cast<float>(values[i]);
      }) != kSuccess)
    return kFailure;
  return copy.WritefltR4(fileBeside(dem, {}, prefix));
}

int checkInputs(DEM_type& dem, const InitiationSettings& settings) {
  if (!dem.elev.GridExists() || dem.GetAspect() != kSuccess) return fail(kTag, "GetAspect failed");
  if (dem.GetGrad() != kSuccess) return fail(kTag, "GetGrad failed");
  if (dem.GetPlan() != kSuccess) return fail(kTag, "GetPlan failed");
  if (settings.specificArea && dem.GetBcon() != kSuccess) return fail(kTag, "GetBcon failed");
  std::vector<const Grid_Header*> grids{settings.ids, settings.initMask, settings.relief, settings.weight};
  grids.insert(grids.end(), settings.excluded.begin(), settings.excluded.end());
  grids.insert(grids.end(), settings.only.begin(), settings.only.end());
  for (const Grid_Header* grid : grids)
    if (grid != nullptr && !SameGridGeometry(*grid, dem.elev))
      return fail(kTag, "A grid of the initiation has another extent than the DEM");
  const FlowDecay& decay = settings.decay;
  if (decay.conductivity > 0 && !(decay.proportion > 0 && decay.duration > 0))
    return fail(kTag, "DECAY - need to specify all three coefficients");
  return kSuccess;
}

/// Contributing cells have no value where there is no land.
int maskSea(const DEM_type& dem, R8Grid_type& accum) {
  return RowPass{changing(accum), reading(dem.elev)}.run(
      kTag, [&](int32_t, std::span<double> cells, std::span<const float> elevations) {
        for (std::size_t i = 0; i < cells.size(); ++i)
          if (elevations[i] == dem.elev.nodata) cells[i] = static_cast<double>(kNodata);
      });
}

/// The channel cells, row by row, as nodes.
int writeNodes(DEM_type& dem, const InitiationSettings& settings, const R4Grid_type& check,
               ChannelNetwork& network) {
  NodeFile file(dem);
  if (file.open(fileBeside(dem, settings.nodeFile, "basenode_")) != kSuccess) return kFailure;
  int status = kSuccess;
  OptionalRows<float> elevations(&dem.elev, 0.0F);
  if (elevations.open() != kSuccess) return kFailure;
  const int passed =
      RowPass{reading(check), reading(dem.aspect), reading(dem.grad), reading(network.accum)}.run(
          kTag, [&](int32_t row, std::span<const float> states, std::span<const float> angles,
                    std::span<const float> gradients, std::span<const double> areas) {
            if (status == kSuccess) status = elevations.enter(row);
            for (std::size_t i = 0; status == kSuccess && i < states.size(); ++i) {
              if (elevations.at(i) == dem.elev.nodata || !(states[i] > kPending && states[i] < 0.0F))
                continue;
              const ColRow cell{.col = static_cast<int32_t>(i + 1), .row = row};
              status = file.add({.cell = cell,
                                 .angle = angles[i],
                                 .gradient = gradients[i],
                                 .contributing = static_cast<float>(areas[i])});
            }
          });
  if (passed != kSuccess || status != kSuccess || file.commit() != kSuccess) return kFailure;
  network.nodes = file.nodes();
  putMessage("NumNodes: ", network.nodes);
  return kSuccess;
}

}  // namespace

int AccumulateFlow(DEM_type& dem, const InitiationSettings& settings, ChannelNetwork& network) {
  Attempt attempt{dem.status};
  network.heads.clear();
  network.nodes = 0;
  if (checkInputs(dem, settings) != kSuccess) return kFailure;
  R4Grid_type check;
  if (CreateGrid(check, {.like = &dem.elev, .nodata = kNodata, .setCells = false}) != kSuccess)
    return fail(kTag, "CreateGrid failed for checkGrid");
  putMessage("Identifying candidate initiation sites");
  if (fillThresholds(dem, settings, check) != kSuccess || writeCheck(dem, check, "check0_") != kSuccess ||
      writeCheck(dem, dem.elev, "chkDEM_") != kSuccess ||
      (settings.initMask != nullptr && writeCheck(dem, *settings.initMask, "initmask_") != kSuccess))
    return kFailure;
  for (const I4Grid_type* mask : settings.excluded)
    if (applyMask(check, *mask, false) != kSuccess) return kFailure;
  for (const I4Grid_type* mask : settings.only)
    if (applyMask(check, *mask, true) != kSuccess) return kFailure;
  if (writeCheck(dem, check, "check1_") != kSuccess) return kFailure;
  if (walk(dem, settings, check, network) != kSuccess) return kFailure;
  if (settings.paths != nullptr && followPaths(dem, settings, check, network) != kSuccess) return kFailure;
  if (maskSea(dem, network.accum) != kSuccess) return fail(kTag, "Mask failed for accum");
  const std::string file = fileBeside(dem, settings.accumulationFile, "accum_");
  if (network.accum.WritefltR8(file, settings.stamp) != kSuccess)
    return fail(kTag, "WriteFlt failed for accum grid");
  putMessage("Created accumulation grid: " + file);
  if (writeCheck(dem, check, "check_") != kSuccess || writeNodes(dem, settings, check, network) != kSuccess)
    return kFailure;
  return attempt.succeed();
}

}  // namespace terrain
