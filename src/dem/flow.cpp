// Flow: the D-infinity angle of every cell of a flooded surface (Tarboton 1997), radians clockwise from
// north, and the angles of flats.
//
// Marks on the elevations: negative is not handled yet, positive is, at the absolute elevation; 0 is no data.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

#include "dem/flat.h"
#include "dem/lattice.h"
#include "dem/operations.h"
#include "foundation/free_format.h"
#include "grid/neighbours.h"
#include "grid/rows.h"
#include "grid/surface_raster.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FLOW called by GetFlowDirections in DEM_Module";
constexpr std::string_view kFlatTag = "FlagFlat contained in Flow in DEM_Module";
constexpr float kQuarter = 1.5707964F;
constexpr float kEighth = 0.7853982F;

/// A triangle of a cell, a straight neighbour e1 and a diagonal one e2. The angle of a slope within it is
/// base * pi / 2 + sign * r, with r from e1 toward e2.
struct Facet {
  int32_t straight, diagonal;  // codes
  float base, sign, out;       // `out`: angle to e2, in eighths of a circle
};
constexpr std::array<Facet, 8> kFacets{{{3, 2, 0, 1, 1},
                                        {1, 2, 1, -1, 1},
                                        {1, 8, 1, 1, 3},
                                        {7, 8, 2, -1, 3},
                                        {7, 6, 2, 1, 5},
                                        {5, 6, 3, -1, 5},
                                        {5, 4, 3, 1, 7},
                                        {3, 4, 4, -1, 7}}};

/// Slope within a facet, in elevation units a cell, and its angle from the straight neighbour; 0 where the
/// facet does not fall.
struct Fall {
  float slope = 0.0F;
  float angle = 0.0F;
};
Fall fallOf(float e0, float e1, float e2) {
  const Fall diagonal{.slope = (e0 - e2) / kDiagonalStep, .angle = kEighth};
  if (e0 > e1 && e1 > e2) {
    const float r = std::atan2(e1 - e2, e0 - e1);
    if (r > kEighth) return diagonal;
    return {.slope = std::sqrt((e0 - e1) * (e0 - e1) + (e1 - e2) * (e1 - e2)), .angle = r};
  }
  if (e0 > e1) return {.slope = e0 - e1, .angle = 0.0F};
  if (e0 > e2) return diagonal;
  return {};
}

[[nodiscard]] bool scales(const DEM_type& dem) {
  return dem.flowMode.d8Length > 0 && dem.flowMode.d8Length != dem.cellsize;
}

template <class Lattice>
class Flowing {
 public:
  using At = typename Lattice::At;

  explicit Flowing(DEM_type& dem) : dem_(dem), lattice_(dem.elev), flat_(lattice_) {}

  /// `smooth`: aspects of the smoothed surface, where the mode asks for them; so `scaledAspect` at first.
  [[nodiscard]] bool open(R4Grid_type& smooth, I1Grid_type* codes) {
    hasCodes_ = codes != nullptr;
    return elev_.load(dem_.elev, 0.0F, kTag) && aspect_.load(dem_.aspect, kNodata, kTag) &&
           (!keeps_ || leadsOut_.create(leadsOutGrid_, dem_.elev, int8_t{0}, int8_t{0}, kTag)) &&
           (!hasCodes_ || codes_.load(*codes, 0, kTag)) &&
           (!smooths_ || smooth_.load(smooth, kNodata, kTag)) &&
           (!scales_ || scaled_.load(dem_.scaledAspect, kNodata, kTag));
  }

  int run() {
    const float noAspect = dem_.aspect.nodataValue();
    for (int32_t row = 1; row <= dem_.elev.rows(); ++row) {
      for (int32_t col = 1; col <= dem_.elev.cols(); ++col) {
        const At at = lattice_.at(col, row);
        const float elevation = elev_.get(at);
        if (elevation == 0.0F)
          aspect_.set(at, noAspect);
        else if (elevation < 0.0F && aspect_.get(at) < 0.0F && !handle(at))
          return kFailure;
      }
    }
    if (keeps_ && !leadOut()) return kFailure;
    if (scales_) completeScaled();
    elev_.store(dem_.elev);
    aspect_.store(dem_.aspect);
    putMessage("Flow directions defined");
    putMessage("  Flats drained: ", flats_);
    putMessage(std::string(63, '='));
    return undefined_ ? kFailure : kSuccess;
  }

 private:
  /// Calls use(cell) row by row; ends, with false, where a use gives false.
  template <class Use>
  bool forEachCell(Use use) {
    for (int32_t row = 1; row <= dem_.elev.rows(); ++row)
      for (int32_t col = 1; col <= dem_.elev.cols(); ++col)
        if (!use(lattice_.at(col, row))) return false;
    return true;
  }

  [[nodiscard]] float level(At at) const { return std::abs(elev_.get(at)); }
  [[nodiscard]] bool isLevel(At at, float level0) const { return std::abs(level(at) - level0) < kLevel; }
  [[nodiscard]] float lowestNeighbour(At at) const {
    float least = std::numeric_limits<float>::max();
    for (int32_t code = 1; code <= kDirections; ++code)
      least = std::min(least, level(lattice_.step(at, code)));
    return least;
  }
  [[nodiscard]] int32_t edgeOf(At at) const { return edgeDirection(lattice_, elev_, at); }
  /// True if the neighbour in this direction pours into the cell. Its angle must be at least 0.
  [[nodiscard]] bool poursHere(float angle, int32_t code) const {
    return FlowProportion(angle, code) > 0.0F;  // number k of a share is the opposite of code k
  }

  bool handle(At at) {
    const float here = level(at);
    const float least = lowestNeighbour(at);
    if (std::abs(least - here) < kLevel || here < least) {
      if (const int32_t edge = edgeOf(at)) aspect_.set(at, aspectOfCode(edge));
      ++flats_;
      return directFlat(at);
    }
    const float local = angle(at);
    aspect_.set(at, smooths_ ? smoothedOr(local, smooth_.get(at), at) : local);
    if (scales_) scaled_.set(at, smoothedOr(local, scaled_.get(at), at));
    elev_.set(at, here);
    return true;
  }

  /// The smoothed aspect where it is within 90 degrees of the local angle and the neighbours between which it
  /// points are lower than the cell; else the local angle.
  [[nodiscard]] float smoothedOr(float local, float smooth, At at) const {
    constexpr float full = 6.2831855F;
    constexpr float onDirection = 1e-6F;
    if (!(smooth >= 0.0F)) return local;
    const float apart = std::abs(smooth - local);
    if (!(std::min(apart, full - apart) < kQuarter)) return local;
    const auto isLower = [&](int32_t code) { return level(lattice_.step(at, code)) < level(at); };
    const int32_t code = codeOfAspect(smooth);
    if (code == 0 || !isLower(code)) return local;
    float beside = smooth - aspectOfCode(code);  // clockwise of the direction of the code
    if (beside > std::numbers::pi_v<float>) beside -= full;
    if (std::abs(beside) <= onDirection) return smooth;
    const int32_t second = beside < 0.0F ? code % kDirections + 1 : code > 1 ? code - 1 : kDirections;
    return isLower(second) ? smooth : local;
  }

  /// Cells for which no scaled angle was chosen, those of flats and of kept angles, have the usual one.
  void completeScaled() {
    forEachCell([&](At at) {
      if (elev_.get(at) <= 0.0F || !(scaled_.get(at) >= 0.0F)) scaled_.set(at, aspect_.get(at));
      return true;
    });
    scaled_.store(dem_.scaledAspect);
  }

  /// The angle of a cell that is no flat. A cell beside no data flows out.
  [[nodiscard]] float angle(At at) {
    const float here = level(at);
    const Facet* best = nullptr;
    const Facet* outward = nullptr;
    Fall steepest;
    for (const Facet& facet : kFacets) {
      const float e1 = level(lattice_.step(at, facet.straight));
      const float e2 = level(lattice_.step(at, facet.diagonal));
      if (e1 == 0.0F) return facet.base * kQuarter;
      if (e2 == 0.0F) {
        outward = &facet;
        continue;
      }
      const Fall fall = fallOf(here, e1, e2);
      if (!(fall.slope > steepest.slope) || (keeps_ && poursBack(facet, fall, at))) continue;
      steepest = fall;
      best = &facet;
    }
    if (outward != nullptr) return outward->out * kEighth;
    if (best != nullptr) return best->base * kQuarter + best->sign * steepest.angle;
    if (hasCodes_) return kNodata;  // its code will be taken
    fail("angle1 in DEM_Module", " Undefined flow direction");
    undefined_ = true;
    return kNodata;
  }

  /// True if the neighbour to which the slope of a facet points most nearly has an angle that sends at least
  /// half of its flow back.
  [[nodiscard]] bool poursBack(const Facet& facet, const Fall& fall, At at) const {
    const int32_t code = fall.angle + fall.angle < kEighth ? facet.straight : facet.diagonal;
    const float flow = aspect_.get(lattice_.step(at, code));
    return flow >= 0.0F && FlowProportion(flow, code) >= 0.5F;
  }

  // ---- ways out beside angles that are kept ----

  /// Angles that are kept need not fit the surface, so that those that are found beside them may lead in a
  /// circle. From where the nearest codes of the angles do not lead out of the data, the found ones give way
  /// to the codes of the flood, which do: the way of a cell then ends in cells that lead out anyway, or goes
  /// on along these codes and kept angles. False, reported, if that is not so or there is no memory.
  bool leadOut() {
    if (!findWays()) return false;
    bool changed = false;
    forEachCell([&](At at) {
      if (leadsOut(at) || elev_.get(at) < 0.0F || !hasCodes_) return true;
      changed = true;
      if (scales_) scaled_.set(at, kNodata);
      aspect_.set(at, aspectOfCode(codes_.get(at)));
      return true;
    });
    if (changed && !findWays()) return false;
    return forEachCell([&](At at) {
      if (leadsOut(at)) return true;
      const ColRow cell = lattice_.place(at);
      reportError({.routine = kTag,
                   .message1 = "The flow directions do not lead to the edge of the data",
                   .message2 = "  Column " + freeText(cell.col) + ", row " + freeText(cell.row)});
      return false;
    });
  }
  [[nodiscard]] bool leadsOut(At at) const { return elev_.get(at) == 0.0F || leadsOut_.get(at) != 0; }

  /// Marks the cells whose codes lead out of the data, upstream from where they do. False, reported, if there
  /// is no memory.
  bool findWays() {
    std::vector<At> front;
    const auto codeOf = [&](At at) { return aspect_.get(at) >= 0.0F ? codeOfAspect(aspect_.get(at)) : 0; };
    const auto mark = [&](At at) {
      leadsOut_.set(at, 1);
      return tryAppend(front, at);
    };
    forEachCell([&](At at) {
      leadsOut_.set(at, 0);
      return true;
    });
    const bool room = forEachCell([&](At start) {
      const int32_t code = codeOf(start);
      if (leadsOut(start) || code == 0 || elev_.get(lattice_.step(start, code)) != 0.0F) return true;
      bool found = mark(start);
      while (found && !front.empty()) {
        const At at = front.back();
        front.pop_back();
        for (int32_t from = 1; found && from <= kDirections; ++from) {
          const At there = lattice_.step(at, from);
          if (!leadsOut(there) && codeOf(there) == opposite(from)) found = mark(there);
        }
      }
      return found;
    });
    return room || cannotAllocate(kTag, "ways out") == kSuccess;
  }

  // ---- flats ----

  /// Gives the cells of a flat their angles. False, reported, if there is no memory.
  bool directFlat(At start) {
    const float stored = elev_.get(start);
    const float level0 = std::abs(stored);
    elev_.set(start, level0);
    const bool walked = flat_.collect(start, [&](At at) {
      const float elevation = elev_.get(at);
      if (!(aspect_.get(at) < 0.0F) || elevation == 0.0F || !(std::abs(elevation - stored) < kLevel))
        return false;
      elev_.set(at, -elevation);
      return true;
    });
    if (scales_)
      for (const At at : flat_.cells()) scaled_.set(at, kNodata);
    if (!walked) {
      fail(kFlatTag, "holdEdge in flagFlat");
      return false;
    }
    if (flat_.cells().size() == 1) {
      directOneCell(start, level0);
      return true;
    }
    if (!flat_.rank([&](At at) { return rimOf(at, level0); })) {
      cannotAllocate(kFlatTag, "cells of a flat");
      return false;
    }
    for (std::size_t i = 0; i < flat_.cells().size(); ++i) directCell(i, level0);
    return true;
  }

  void directOneCell(At at, float level0) {
    for (int32_t code = 1; code <= kDirections; ++code) {
      const At there = lattice_.step(at, code);
      const float flow = aspect_.get(there);
      if (!isLevel(there, level0) || !(flow >= 0.0F) || poursHere(flow, code)) continue;
      aspect_.set(at, aspectOfCode(code));
      return;
    }
    if (!hasCodes_) fail(kFlatTag, "Cannot drain one-cell flat");
  }

  [[nodiscard]] Rim rimOf(At at, float level0) const {
    const float least = lowestNeighbour(at);
    if (!(std::abs(least - level0) < kLevel) && level0 > least) return Rim::outlet;
    if (!(std::abs(least - level0) < kLevel)) {
      putMessage("what is going on");
      return Rim::none;
    }
    bool pouredInto = false;
    float most = 0.0F;
    for (int32_t code = 1; code <= kDirections; ++code) {
      const At there = lattice_.step(at, code);
      const float flow = aspect_.get(there);
      most = std::max(most, level(there));
      if (!(flow >= 0.0F)) continue;
      const bool pours = poursHere(flow, code);
      if (isLevel(there, level0) && !pours) return Rim::outlet;
      pouredInto = pouredInto || pours;
    }
    return !(std::abs(least - most) < kLevel) || pouredInto ? Rim::high : Rim::none;
  }

  /// An outlet goes to a neighbour outside the flat: to a level one that flows already, else down the
  /// gentlest drop. Any other cell follows the ranks.
  void directCell(std::size_t i, float level0) {
    const At at = flat_.cells()[i];
    const bool isOutlet = flat_.rankOf(i) < 1;
    const int32_t code = isOutlet ? wayOut(at, level0) : flat_.steepest(i);
    if (code > 0) {
      aspect_.set(at, aspectOfCode(code));
    } else if (hasCodes_) {
      return;  // its code will be taken
    } else if (isOutlet) {
      fail(kFlatTag, "Cannot drain flat");
    } else {
      reportUndrained(kFlatTag, dem_.elev, lattice_.place(at));
    }
  }

  [[nodiscard]] int32_t wayOut(At at, float level0) const {
    float best = std::numeric_limits<float>::lowest();
    int32_t way = 0;
    for (int32_t code = 1; code <= kDirections; ++code) {
      const At there = lattice_.step(at, code);
      if (flat_.contains(there)) continue;
      if (isLevel(there, level0)) {
        const float flow = aspect_.get(there);
        if (best < 0.0F && flow >= 0.0F && !(keeps_ && poursHere(flow, code))) {
          best = 0.0F;
          way = code;
        }
      } else if (level0 > level(there)) {
        const float drop = (level(there) - level0) / stepLength(code);
        if (drop > best) {
          best = drop;
          way = code;
        }
      }
    }
    return way;
  }

  DEM_type& dem_;
  const bool keeps_ = dem_.flowMode.keepAngles;
  const bool smooths_ = dem_.flowMode.smoothingLength > 0;
  const bool scales_ = scales(dem_);
  Lattice lattice_;
  typename Lattice::template Cells<float> elev_, aspect_, smooth_, scaled_;
  typename Lattice::template Cells<int8_t> codes_, leadsOut_;
  I1Grid_type leadsOutGrid_;
  bool hasCodes_ = false;  // `codes_` holds the codes of the flood
  Flat<Lattice> flat_;
  int64_t flats_ = 0;
  bool undefined_ = false;
};

template <class Lattice>
std::optional<int> flowOver(DEM_type& dem, R4Grid_type& smooth, I1Grid_type* codes) {
  Flowing<Lattice> flowing(dem);
  if (!flowing.open(smooth, codes)) return std::nullopt;
  return flowing.run();
}

/// The aspects of the surface smoothed over a length. The signs that mark the elevations are put back
/// afterwards.
int smoothAspects(DEM_type& dem, double metres, R4Grid_type& smooth) {
  if (CreateGrid(smooth,
                 {.like = &dem.elev, .nodata = kNodata, .setCells = false, .onDisk = dem.elev.onDisk}) !=
      kSuccess)
    return kFailure;
  const auto length = static_cast<float>(metres);
  const auto negate = [](int32_t, std::span<float> cells) {
    for (float& cell : cells)
      if (cell != 0.0F) cell = -cell;
  };
  // Every data cell is negative after the flood.
  return RowPass{changing(dem.elev)}.run(kTag, negate) == kSuccess &&
                 surfaceRasters(dem.elev, length, {{&smooth, SurfaceMetric::aspect}}) == kSuccess &&
                 RowPass{changing(dem.elev)}.run(kTag, negate) == kSuccess
             ? kSuccess
             : kFailure;
}

}  // namespace

int flow(DEM_type& dem, I1Grid_type* codes) {
  Attempt attempt{dem.status};
  if (!dem.elev.GridExists() || !dem.aspect.GridExists() || !SameGridGeometry(dem.elev, dem.aspect))
    return fail(kTag, "There is no grid of elevations, or none of aspects of its extent");
  if (dem.elev.nodata != 0.0F) return fail(kTag, "The nodata value of the elevations must be 0");
  putMessage(" Defining flow directions");
  R4Grid_type smooth;
  const FlowMode& mode = dem.flowMode;
  if ((mode.smoothingLength > 0 && smoothAspects(dem, mode.smoothingLength, smooth) != kSuccess) ||
      (scales(dem) && smoothAspects(dem, mode.d8Length, dem.scaledAspect) != kSuccess))
    return fail(kTag, "Error calculating smoothed aspects");
  std::optional<int> result = flowOver<Bordered>(dem, smooth, codes);
  if (!result) result = flowOver<InPlace>(dem, smooth, codes);
  if (!result) return fail(kTag, "DEM%elev%setCellAccess failed");
  return attempt.end(*result);
}

}  // namespace terrain
