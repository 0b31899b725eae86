// Flood: every data cell is given a way to the edge of the data by breaching. From the edge inward,
// everything that already drains is marked; of the rim of the marked region the lowest cell that touches
// unmarked ground is taken, a passage is carved from it to the pit of the closed depression beside it, and
// marking goes on through the depression (after the priority flood of Barnes, Lehman and Mulla 2014;
// breaching as in Martz and Garbrecht 1999). But for pits of one cell, which are raised, no cell rises.
//
// Marks on the elevations: 0 is no data, positive is not known to drain, negative drains, at the absolute
// elevation. Marks on the D8 codes: negative belongs to a flat that has been walked.

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "dem/edge_heap.h"
#include "dem/flat.h"
#include "dem/grids.h"
#include "dem/lattice.h"
#include "dem/operations.h"
#include "foundation/free_format.h"
#include "foundation/numbers.h"
#include "grid/rows.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "Flood in DEM_Module";
constexpr float kLowest = std::numeric_limits<float>::lowest();
/// The code of a cell of a walked flat that has no direction yet.
constexpr int8_t kUndirected = -10;
constexpr float kNoAngle = -1.0F;

int noMemory(std::string_view what) { return cannotAllocate(kTag, what); }

template <class Lattice>
class Flooding {
 public:
  using At = typename Lattice::At;

  explicit Flooding(DEM_type& dem) : dem_(dem), lattice_(dem.elev), flat_(lattice_) {}

  /// False where the working cells cannot be had in this storage.
  [[nodiscard]] bool open() {
    return elev_.load(dem_.elev, 0.0F, kTag) && plan_.load(dem_.plan, kNodata, kTag) &&
           (!keeps_ || (aspect_.load(dem_.aspect, kNodata, kTag) &&
                        doubtful_.create(doubtGrid_, dem_.elev, int8_t{0}, int8_t{0}, kTag))) &&
           codes_.create(codeGrid_, dem_.elev, int8_t{0}, int8_t{0}, kTag);
  }

  int run(I1Grid_type* codes) {
    putMessage("Filling one-cell pits");
    if (keeps_) clearGaps();
    if (!raisePits()) return noMemory("rows");
    if (keeps_) widenGaps();
    putMessage("Flooding DEM");
    if (keeps_ && !forEachCell([&](At at) { return elev_.get(at) == 0.0F || keepDirection(at); }))
      return kFailure;
    forEachCell([&](At at) {
      if (elev_.get(at) != 0.0F && !isKept(at)) setInitialDirection(at);
    });
    if ((!keeps_ || findDoubtful()) &&
        forEachCell([&](At at) { return elev_.get(at) == 0.0F || edgeOf(at) == 0 || paint(at); }) &&
        (!keeps_ ||
         forEachCell([&](At at) { return !(elev_.get(at) < 0.0F) || !touchesUndrained(at) || hold(at); })) &&
        pushEdges()) {
      putMessage("Draining closed depressions");
      if (!drainDepressions()) return kFailure;
    } else {
      return kFailure;
    }
    forEachCell([&](At at) { codes_.set(at, static_cast<int8_t>(std::abs(codes_.get(at)))); });
    held_.clear();
    heap_.ClearMinHeap();
    putMessage("Checking that all cells drain");
    if (!checkDrainage()) return kFailure;
    elev_.store(dem_.elev);
    if (keeps_) aspect_.store(dem_.aspect);
    if (codes != nullptr && !storeCodes(*codes)) return kFailure;
    putMessage("DEM is fully drained");
    diagnose("DestroyGrid for D8");
    putMessage("Drainage passages carved: ", carved_);
    putMessage(std::string(45, '-'));
    return kSuccess;
  }

 private:
  /// Calls use(cell) row by row. A use that gives false ends the pass; false then.
  template <class Use>
  bool forEachCell(Use use) {
    for (int32_t row = 1; row <= dem_.elev.rows(); ++row)
      for (int32_t col = 1; col <= dem_.elev.cols(); ++col) {
        if constexpr (std::is_void_v<decltype(use(lattice_.at(col, row)))>)
          use(lattice_.at(col, row));
        else if (!use(lattice_.at(col, row)))
          return false;
      }
    return true;
  }

  [[nodiscard]] int32_t edgeOf(At at) const { return edgeDirection(lattice_, elev_, at); }
  [[nodiscard]] int32_t direction(At at) const { return std::abs(codes_.get(at)); }
  void point(At at, int32_t code) { codes_.set(at, static_cast<int8_t>(code)); }
  [[nodiscard]] float level(At at) const { return std::abs(elev_.get(at)); }
  [[nodiscard]] bool touchesUndrained(At at) const {
    for (int32_t code = 1; code <= kDirections; ++code)
      if (elev_.get(lattice_.step(at, code)) > 0.0F) return true;
    return false;
  }

  /// Raises each interior pit to its lowest neighbour as that was before any was raised; false without memory
  /// for three rows.
  bool raisePits() {
    const int32_t cols = dem_.elev.cols();
    std::array<std::vector<float>, 3> rows;
    for (auto& row : rows)
      if (!tryAllocate(row, static_cast<std::size_t>(std::max(cols, 0)) + 2)) return false;
    const auto take = [&](int32_t row) {
      std::vector<float>& cells = rows[static_cast<std::size_t>(row % 3)];
      for (int32_t col = 1; col <= cols; ++col)
        cells[static_cast<std::size_t>(col)] = elev_.get(lattice_.at(col, row));
    };
    if (dem_.elev.rows() < 3) return true;
    take(1);
    take(2);
    for (int32_t row = 2; row < dem_.elev.rows(); ++row) {
      take(row + 1);
      for (int32_t col = 2; col < cols; ++col) {
        const auto at = [&](int32_t dCol, int32_t dRow) {
          return rows[static_cast<std::size_t>((row + dRow) % 3)][static_cast<std::size_t>(col + dCol)];
        };
        if (at(0, 0) == 0.0F || isKept(lattice_.at(col, row))) continue;
        float least = std::numeric_limits<float>::max();
        for (int32_t code = 1; code <= kDirections; ++code) {
          const auto k = static_cast<std::size_t>(code);
          least = std::min(least, at(colOffset[k], rowOffset[k]));
        }
        if (least > at(0, 0)) elev_.set(lattice_.at(col, row), least);
      }
    }
    return true;
  }

  // ---- directions that are kept ----

  // A cell whose angle is kept counts as drained from the start. Where its way leads into a gap whose ground
  // does not drain yet, it is in doubt: nothing may be led to it, or the flow would go round in a circle.

  [[nodiscard]] bool isKept(At at) const { return keeps_ && aspect_.get(at) >= 0.0F; }
  [[nodiscard]] bool isDoubtful(At at) const { return keeps_ && doubtful_.get(at) != 0; }

  /// Cells without data or without a number for an angle have no angle.
  void clearGaps() {
    forEachCell([&](At at) {
      if (elev_.get(at) == 0.0F || !(aspect_.get(at) >= 0.0F)) aspect_.set(at, kNoAngle);
    });
  }

  /// Cells beside one without an angle, or beside the outside of the grid, lose theirs: what is found there
  /// must agree with what is around it.
  void widenGaps() {
    // A cell that loses its angle is marked apart at first, so that gaps grow by one cell and no more.
    constexpr float lost = -std::numeric_limits<float>::infinity();
    forEachCell([&](At at) {
      if (!isKept(at)) return;
      for (int32_t code = 1; code <= kDirections; ++code) {
        const float there = aspect_.get(lattice_.step(at, code));
        if (there >= 0.0F || there == lost) continue;
        aspect_.set(at, lost);
        return;
      }
    });
    forEachCell([&](At at) {
      if (aspect_.get(at) == lost) aspect_.set(at, kNoAngle);
    });
  }

  /// The code of a kept angle; the cell counts as drained. False, reported, for an angle beyond a full
  /// circle.
  bool keepDirection(At at) {
    if (!isKept(at)) return true;
    const int32_t code = codeOfAspect(aspect_.get(at));
    if (code == 0) return reportKept("A flow direction is beyond a full circle; directions are radians", at);
    point(at, code);
    elev_.set(at, -level(at));
    return true;
  }
  /// Puts the kept cells in doubt from which the codes that there are do not lead out of the data.
  bool findDoubtful() {
    if (!markDrained()) return false;
    forEachCell([&](At at) {
      if (isKept(at) && codes_.get(at) > 0) doubtful_.set(at, 1);
      codes_.set(at, static_cast<int8_t>(direction(at)));
    });
    return true;
  }
  /// Nothing is in doubt any more above the cells that `paint` has just marked. False, reported, if there is
  /// no memory.
  bool clearDoubts() {
    for (std::size_t next = 0; next < front_.size(); ++next)
      for (int32_t code = 1; code <= kDirections; ++code) {
        const At there = lattice_.step(front_[next], code);
        if (!isDoubtful(there) || direction(there) != opposite(code)) continue;
        doubtful_.set(there, 0);
        if (!tryAppend(front_, there)) return fail(kTag, "holdEdge in paint") == kSuccess;
        // It may have been taken from the heap while it was in doubt, and is not inserted again by itself.
        if (insertsOnlyNew() && !hold(there)) return false;
      }
    return true;
  }
  bool reportKept(std::string_view what, At at) const {
    const ColRow cell = lattice_.place(at);
    reportError({.routine = kTag,
                 .message1 = what,
                 .message2 = "  Column " + freeText(cell.col) + ", row " + freeText(cell.row)});
    return false;
  }

  /// A cell at the edge of the data drains out of it; any other goes down the steepest slope, of equal ones
  /// to the neighbour of the greater plan curvature.
  void setInitialDirection(At at) {
    if (const int32_t edge = edgeOf(at)) {
      point(at, edge);
      elev_.set(at, -level(at));
      return;
    }
    const float here = level(at);
    float bestSlope = kLowest;
    float bestPlan = -999.0F;
    int32_t best = 0;
    for (int32_t code = 1; code <= kDirections; ++code) {
      const At there = lattice_.step(at, code);
      if (isKept(there)) continue;
      const float rise = level(there) - here;
      if (std::abs(rise) < kLevel || rise > 0.0F) continue;
      const float slope = -rise / stepLength(code);
      if (slope > bestSlope) {
        bestSlope = slope;
        best = code;
      } else if (sameR4(slope, bestSlope)) {
        const float plan = plan_.get(there);
        if (plan > bestPlan) {
          bestPlan = plan;
          best = code;
        } else if (sameR4(plan, bestPlan) && stepLength(code) < stepLength(best)) {
          best = code;
        }
      }
    }
    if (best > 0) point(at, best);
  }

  // ---- marking ----

  /// Marks a cell and everything that flows to it as drained. False, reported, if there is no memory.
  bool paint(At start) {
    front_.clear();
    elev_.set(start, -level(start));
    bool room = tryAppend(front_, start);
    for (std::size_t next = 0; room && next < front_.size(); ++next) {
      const At at = front_[next];
      if (!hold(at)) return false;
      const float here = level(at);
      for (int32_t code = 1; code <= kDirections; ++code)
        if (std::abs(elev_.get(lattice_.step(at, code)) - here) < kLevel) {
          if (!paintFlat(at)) return false;
          break;
        }
      for (int32_t code = 1; code <= kDirections && room; ++code) {
        const At there = lattice_.step(at, code);
        const float elevation = elev_.get(there);
        if (!(elevation > 0.0F) || direction(there) != opposite(code)) continue;
        elev_.set(there, -elevation);
        room = tryAppend(front_, there);
      }
    }
    if (!room) fail(kTag, "holdEdge in paint");
    return room && (!keeps_ || clearDoubts());
  }

  /// Remembers a drained cell for the rim. Where the list is full, cells without undrained ground beside them
  /// leave it first: they can never have any again.
  bool hold(At at) {
    if (held_.size() == held_.capacity() && held_.size() > kHeldAtFirst) dropEnclosed();
    if (tryAppend(held_, at)) return true;
    fail(kTag, "holdEdge in paint");
    return false;
  }
  void dropEnclosed() {
    std::size_t kept = 0;
    std::size_t keptOld = 0;
    for (std::size_t i = 0; i < held_.size(); ++i) {
      if (!touchesUndrained(held_[i])) continue;
      if (i < pushed_) ++keptOld;
      held_[kept++] = held_[i];
    }
    held_.resize(kept);
    pushed_ = keptOld;
    // Otherwise the next scan would come after a few cells more.
    if (kept > held_.capacity() / 2 && !tryReserve(held_, 2 * held_.capacity())) return;
  }

  /// Puts the rim on the heap. Every cell of the rim is inserted again at each call, since copies decide the
  /// order of equal elevations, until there have been so many insertions that the cost matters more; from
  /// then on only the cells that were painted since the last call.
  [[nodiscard]] bool insertsOnlyNew() const { return insertions_ >= 4'000'000; }
  bool pushEdges() {
    const bool onlyNew = insertsOnlyNew();
    std::size_t kept = 0;
    for (std::size_t i = onlyNew ? pushed_ : 0; i < held_.size(); ++i) {
      const At at = held_[i];
      if (!touchesUndrained(at)) continue;
      held_[kept++] = at;
      const ColRow place = lattice_.place(at);
      if (heap_.InsertMinHeap(place.col, place.row, level(at)) != kSuccess) {
        noMemory("heap of edges");
        return false;
      }
      ++insertions_;
    }
    held_.resize(onlyNew ? 0 : kept);
    pushed_ = held_.size();
    return true;
  }

  // ---- flats ----

  /// Walks the flat of a drained cell and gives its cells a direction, where any has none.
  bool paintFlat(At start) {
    const float level0 = level(start);
    codes_.set(start, static_cast<int8_t>(-direction(start)));
    const bool walked = flat_.collect(start, [&](At at) {
      const int8_t code = codes_.get(at);
      if (code < 0 || !(std::abs(level(at) - level0) < kLevel) || isDoubtful(at)) return false;
      codes_.set(at, code == 0 ? kUndirected : static_cast<int8_t>(-code));
      return true;
    });
    bool undirected = false;
    for (const At at : flat_.cells()) {
      if (codes_.get(at) != kUndirected) continue;
      codes_.set(at, 0);
      undirected = true;
    }
    if (walked && (!undirected || drainFlat())) return true;
    noMemory("cells of a flat");
    return false;
  }

  bool drainFlat() {
    const bool ranked = flat_.rank([&](At at) {
      if (codes_.get(at) != 0) return Rim::outlet;
      for (int32_t code = 1; code <= kDirections; ++code)
        if (level(lattice_.step(at, code)) > level(at)) return Rim::high;
      return Rim::none;
    });
    if (!ranked) return false;
    for (std::size_t i = 0; i < flat_.cells().size(); ++i) {
      const At at = flat_.cells()[i];
      if (codes_.get(at) != 0 || flat_.rankOf(i) < 1) continue;
      const int32_t code = flat_.steepest(i);
      if (code > 0)
        point(at, -code);
      else
        reportUndrained(kTag, dem_.elev, lattice_.place(at));
    }
    return true;
  }

  // ---- depressions ----

  bool drainDepressions() {
    while (heap_.SizeMinHeap() > 0) {
      ColRow cell{};
      heap_.PopMinHeap(cell.col, cell.row);
      const At at = lattice_.at(cell.col, cell.row);
      const int32_t entry = isDoubtful(at) ? 0 : entryFrom(at);
      if (entry == 0) continue;
      const At last = endOfPath(lattice_.step(at, entry));
      if (direction(last) != 0) {
        if (!paint(last) || !pushEdges()) return false;
        continue;
      }
      ++carved_;
      if (!carve(at, entry)) return false;
    }
    return true;
  }

  /// Down the path of an undrained cell: its pit, or, where a flat has led it beside an angle that is kept,
  /// the last cell before ground that drains.
  [[nodiscard]] At endOfPath(At at) const {
    while (direction(at) != 0) {
      const At next = lattice_.step(at, direction(at));
      if (elev_.get(next) < 0.0F) break;
      at = next;
    }
    return at;
  }

  /// The undrained neighbour of the steepest slope, which may be upward; of equal slopes the nearer one.
  [[nodiscard]] int32_t entryFrom(At at) const {
    const float here = level(at);
    float bestSlope = kLowest;
    int32_t best = 0;
    for (int32_t code = 1; code <= kDirections; ++code) {
      const float there = elev_.get(lattice_.step(at, code));
      if (!(there > 0.0F)) continue;
      const float slope = (here - there) / stepLength(code);
      if (slope > bestSlope || (sameR4(slope, bestSlope) && stepLength(code) < stepLength(best))) {
        bestSlope = slope;
        best = code;
      }
    }
    return best;
  }

  /// Opens the depression behind the neighbour in direction `entry` to a drained cell.
  bool carve(At drained, int32_t entry) {
    const float rim = level(drained);
    const At pit = turnPath(lattice_.step(drained, entry), opposite(entry));
    const float z = elev_.get(pit);
    for (At at = pit; (at = lattice_.step(at, direction(at))) != drained;) elev_.set(at, z);
    const float depth = std::min(z, rim);
    if (depth < 0.0F) fail(kTag, "Negative elevation encountered in subroutine carve");
    At at = drained;
    while (true) {
      elev_.set(at, depth);
      const At next = lattice_.step(at, direction(at));
      if (depth >= level(next)) break;
      at = next;
    }
    return paint(at) && pushEdges();
  }

  /// Turns the path from `at` to its pit around, so that it leads from the pit to `at` and on by `code`;
  /// gives the pit.
  At turnPath(At at, int32_t code) {
    while (true) {
      const int32_t old = direction(at);
      point(at, code);
      if (old == 0) return at;
      at = lattice_.step(at, old);
      code = opposite(old);
    }
  }

  // ---- the closing check ----

  /// Follows the codes upstream from the edge of the data and turns the sign of those that are met. False,
  /// reported, if there is no memory.
  bool markDrained() {
    const bool room = forEachCell([&](At edge) {
      if (elev_.get(edge) == 0.0F || codes_.get(edge) < 0 || edgeOf(edge) == 0) return true;
      front_.clear();
      codes_.set(edge, static_cast<int8_t>(-codes_.get(edge)));
      if (!tryAppend(front_, edge)) return false;
      while (!front_.empty()) {
        const At at = front_.back();
        front_.pop_back();
        for (int32_t code = 1; code <= kDirections; ++code) {
          const At there = lattice_.step(at, code);
          if (codes_.get(there) != opposite(code)) continue;
          codes_.set(there, static_cast<int8_t>(-codes_.get(there)));
          if (!tryAppend(front_, there)) return false;
        }
      }
      return true;
    });
    return room || noMemory("drained") == kSuccess;
  }

  bool storeCodes(I1Grid_type& codes) const {
    const auto copy = [&](int32_t row, std::span<int8_t> cells) {
      for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = static_cast<int8_t>(direction(lattice_.at(static_cast<int32_t>(i + 1), row)));
    };
    return CreateGrid(codes, {.like = &dem_.elev, .setCells = false, .onDisk = dem_.elev.onDisk}) ==
               kSuccess &&
           RowPass{filling(codes)}.run(kTag, copy) == kSuccess;
  }

  /// A cell that does not lead to the edge of the data would be a fault of the flood, and ends the run; above
  /// angles that are kept it is a fault of theirs.
  bool checkDrainage() {
    return markDrained() && forEachCell([&](At at) {
             if (elev_.get(at) == 0.0F || codes_.get(at) < 0) return true;
             if (keeps_) return reportKept("The flow directions do not lead to the edge of the data", at);
             stopAt(lattice_.place(at));
           });
  }

  [[noreturn]] void stopAt(ColRow cell) {
    const Point at = dem_.elev.ColRowToXY(cell.col, cell.row);
    endRun({"failure at " + freeText(cell.col) + ' ' + freeText(cell.row),
            "x,y: " + freeText(at.x) + ' ' + freeText(at.y)});
  }

  static constexpr std::size_t kHeldAtFirst = 1000;

  DEM_type& dem_;
  const bool keeps_ = dem_.flowMode.keepAngles;
  Lattice lattice_;
  typename Lattice::template Cells<float> elev_, plan_, aspect_;
  typename Lattice::template Cells<int8_t> codes_, doubtful_;
  I1Grid_type codeGrid_, doubtGrid_;
  Flat<Lattice> flat_;
  MinHeapType heap_;
  std::vector<At> held_, front_;
  std::size_t pushed_ = 0;  // cells of `held_` at the end of the last call of pushEdges
  int64_t insertions_ = 0;
  int64_t carved_ = 0;
};

/// 0, or -1 with a report, where the grids are not what the flood works on.
int checkInputs(DEM_type& dem) {
  if (!dem.elev.GridExists()) return fail(kTag, "There is no grid of elevations");
  if (dem.elev.nodata != 0.0F) return fail(kTag, "The nodata value of the elevations must be 0");
  if (dem.flowMode.keepAngles) {
    if (dem.GetAspect() != kSuccess) return fail(kTag, "GetAspect failed");
    if (!SameGridGeometry(dem.elev, dem.aspect)) return fail(kTag, "The aspects have another extent");
  }
  const bool had = dem.plan.GridExists();
  if (dem.GetPlan() != kSuccess) return fail(kTag, "Plan curvature file not found");
  if (!had) diagnose("Read existing plan curvature file");
  if (!SameGridGeometry(dem.elev, dem.plan)) return fail(kTag, "The plan curvature has another extent");
  return kSuccess;
}

template <class Lattice>
std::optional<int> floodOver(DEM_type& dem, I1Grid_type* codes) {
  Flooding<Lattice> flooding(dem);
  if (!flooding.open()) return std::nullopt;
  return flooding.run(codes);
}

}  // namespace

int32_t edgeDirectionOf(const R4Grid_type& elevations, ColRow cell) {
  struct View {
    const R4Grid_type& grid;
    [[nodiscard]] float get(ColRow at) const {
      const float value = grid.ExtractR4ValueColRow(at.col, at.row);
      return value == grid.nodata ? 0.0F : value;
    }
  };
  return edgeDirection(InPlace(elevations), View{elevations}, cell);
}

int flood(DEM_type& dem, I1Grid_type* codes) {
  Attempt attempt{dem.status};
  if (checkInputs(dem) != kSuccess) return kFailure;
  diagnose("CreateGrid for D8");
  std::optional<int> result = floodOver<Bordered>(dem, codes);
  if (!result) result = floodOver<InPlace>(dem, codes);
  if (!result) return fail(kTag, "CreateGrid failed for D8");
  return attempt.end(*result);
}

}  // namespace terrain
