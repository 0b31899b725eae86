#include "dem/flow_accumulation.h"

#include <cmath>
#include <cstdlib>

#include "dem/lattice.h"
#include "dem/receivers.h"
#include "foundation/numbers.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "accumulator in DEM_Module";

// ---- what is added ----

/// The values of the output grids.
template <class Lattice>
class GridAmounts {
 public:
  using At = typename Lattice::At;
  using Target = AccumulatorArgs;

  GridAmounts(const Lattice&, const AccumulatorArgs& args) : args_(args) {}

  [[nodiscard]] bool open() {
    return (args_.accum == nullptr || accum_.load(*args_.accum, 0.0F, kTag)) &&
           (args_.DA == nullptr || area_.load(*args_.DA, 0.0F, kTag)) &&
           (args_.DAR8 == nullptr || wideArea_.load(*args_.DAR8, 0.0, kTag));
  }
  void add(At at, At donor, float share) {
    if (args_.accum != nullptr) accum_.set(at, accum_.get(at) + accum_.get(donor) * share);
    if (args_.DA != nullptr) area_.set(at, area_.get(at) + area_.get(donor) * share);
    if (args_.DAR8 != nullptr)
      wideArea_.set(at, wideArea_.get(at) + wideArea_.get(donor) * static_cast<double>(share));
  }
  void store() const {
    if (args_.accum != nullptr) accum_.store(*args_.accum);
    if (args_.DA != nullptr) area_.store(*args_.DA);
    if (args_.DAR8 != nullptr) wideArea_.store(*args_.DAR8);
  }

 private:
  const AccumulatorArgs& args_;
  typename Lattice::template Cells<float> accum_, area_;
  typename Lattice::template Cells<double> wideArea_;
};

/// The values of vectors, one a cell.
template <class Lattice>
class VectorAmounts {
 public:
  using At = typename Lattice::At;
  using Target = CellVectors;

  VectorAmounts(const Lattice& lattice, const CellVectors& vectors) : lattice_(lattice), vectors_(vectors) {}

  [[nodiscard]] bool open() const { return true; }
  void add(At at, At donor, float share) {
    const std::span<float> to = vectorOf(at);
    const std::span<const float> from = vectorOf(donor);
    for (std::size_t i = 0; i < to.size(); ++i) to[i] += from[i] * share;
  }
  void store() const {}

 private:
  [[nodiscard]] std::span<float> vectorOf(At at) const {
    const ColRow cell = lattice_.place(at);
    return vectors_.of(cell.col, cell.row);
  }

  const Lattice& lattice_;
  const CellVectors& vectors_;
};

// ---- the walk ----

/// Routes amounts, `Amounts::Target`. The value of a cell is complete once those of its donors are, whatever
/// the order of the cells; so the cells are taken as they become complete, and the additions of one cell in
/// the order of its donors' codes. What is left lies in circles of directions or below one, and is walked
/// upstream from each cell in row order, which cuts a circle where it closes.
template <class Lattice, class Flow, class Amounts>
class Routing {
 public:
  using At = typename Lattice::At;

  Routing(const Grid_Header& like, const typename Amounts::Target& target)
      : like_(like), lattice_(like), amounts_(lattice_, target) {}

  [[nodiscard]] bool open(DEM_type& dem) {
    return flow_.open(dem, kTag) && amounts_.open() &&
           pending_.create(pendingGrid_, like_, kDone, kDone, kTag);
  }

  [[nodiscard]] int run() {
    countDonors();
    if (!takeComplete() || !walkCircles()) return cannotAllocate(kTag, "holdCell");
    amounts_.store();
    return kSuccess;
  }

 private:
  static constexpr int8_t kDone = -1;

  template <class Use>
  bool forEachCell(Use use) {
    for (int32_t row = 1; row <= like_.rows(); ++row)
      for (int32_t col = 1; col <= like_.cols(); ++col)
        if (!use(lattice_.at(col, row))) return false;
    return true;
  }

  /// `pending_` of a cell: how many donors are not complete. Cells without a direction count as done.
  void countDonors() {
    forEachCell([&](At at) {
      if (flow_.flows(at)) pending_.set(at, 0);
      return true;
    });
    forEachCell([&](At at) {
      if (!flow_.flows(at)) return true;
      flow_.forEachReceiver(at, [&](int32_t code) {
        const At there = lattice_.step(at, code);
        if (const int8_t donors = pending_.get(there); donors != kDone)
          pending_.set(there, static_cast<int8_t>(donors + 1));
      });
      return true;
    });
  }

  bool takeComplete() {
    return forEachCell([&](At start) {
      if (pending_.get(start) != 0) return true;
      ready_.clear();
      if (!tryAppend(ready_, start)) return false;
      while (!ready_.empty()) {
        const At at = ready_.back();
        ready_.pop_back();
        pending_.set(at, kDone);
        for (int32_t code = 1; code <= kDirections; ++code) add(at, code);
        bool room = true;
        flow_.forEachReceiver(at, [&](int32_t code) {
          const At there = lattice_.step(at, code);
          const int8_t donors = pending_.get(there);
          if (donors == kDone) return;
          pending_.set(there, static_cast<int8_t>(donors - 1));
          if (donors == 1) room = tryAppend(ready_, there) && room;
        });
        if (!room) return false;
      }
      return true;
    });
  }

  bool walkCircles() {
    struct Step {
      At at;
      int32_t code;
    };
    std::vector<Step> path;
    return forEachCell([&](At start) {
      if (pending_.get(start) == kDone) return true;
      pending_.set(start, kDone);
      if (!tryAppend(path, Step{start, 0})) return false;
      while (!path.empty()) {
        if (path.back().code > 0) add(path.back().at, path.back().code);  // its donor has been walked
        const At at = path.back().at;
        int32_t code = path.back().code;
        At donor = at;
        while (++code <= kDirections) {
          donor = lattice_.step(at, code);
          if (flow_.share(donor, opposite(code)) > 0.0F && pending_.get(donor) != kDone) break;
          add(at, code);
        }
        if (code > kDirections) {
          path.pop_back();
          continue;
        }
        path.back().code = code;
        pending_.set(donor, kDone);
        if (!tryAppend(path, Step{donor, 0})) return false;
      }
      return true;
    });
  }

  /// Adds what the neighbour in the direction of a code gives to a cell.
  void add(At at, int32_t code) {
    const At donor = lattice_.step(at, code);
    const float share = flow_.share(donor, opposite(code));
    if (share > 0.0F) amounts_.add(at, donor, share);
  }

  const Grid_Header& like_;
  Lattice lattice_;
  Flow flow_;
  Amounts amounts_;
  typename Lattice::template Cells<int8_t> pending_;
  I1Grid_type pendingGrid_;
  std::vector<At> ready_;
};

template <class Lattice, template <class> class Flow, template <class> class Amounts>
std::optional<int> routeOver(DEM_type& dem, const Grid_Header& like,
                             const typename Amounts<Lattice>::Target& target) {
  Routing<Lattice, Flow<Lattice>, Amounts<Lattice>> routing(like, target);
  if (!routing.open(dem)) return std::nullopt;
  return routing.run();
}

template <template <class> class Flow, template <class> class Amounts, class Target>
int route(DEM_type& dem, const Grid_Header& like, const Target& target) {
  std::optional<int> result = routeOver<Bordered, Flow, Amounts>(dem, like, target);
  if (!result) result = routeOver<InPlace, Flow, Amounts>(dem, like, target);
  return result ? *result : fail(kTag, "CreateGrid failed for chkgrid");
}

// ---- what is routed ----

/// 0, or -1 with a report, where the arguments do not fit each other.
int checkArguments(const DEM_type& dem, const AccumulatorArgs& args) {
  if (!dem.DEMexists()) return fail(kTag, "Must create DEM prior to calling this subroutine");
  if (args.ingrid != nullptr) {
    if (!args.ingrid->GridExists()) return fail(kTag, "Must create ingrid prior to calling this subroutine");
    if (args.accum == nullptr) return fail(kTag, "Missing argument, need accumulation grid");
    return kSuccess;
  }
  if (args.infillZeros) return fail(kTag, "Warning: cannot infill nonexistent grid");
  if (args.accum != nullptr) return fail(kTag, "Warning: no ingrid to calculate accumulation from");
  if (args.DA == nullptr && args.DAR8 == nullptr) return fail(kTag, "Missing argument, need DA grid");
  return kSuccess;
}

/// The directions, which must be there and have the DEM's counts.
int findDirections(DEM_type& dem, bool useD8) {
  if (useD8) {
    if (!dem.D8.GridExists()) return fail(kTag, "D8 grid must be created prior to calling this routine");
    putMessage("  accumulateD8");
  } else if (dem.GetAspect() != kSuccess) {
    return fail(kTag, "GetAspect failed");
  }
  const Grid_Header& directions = useD8 ? static_cast<const Grid_Header&>(dem.D8) : dem.aspect;
  return SameGridGeometry(dem, directions) ? kSuccess
                                           : fail(kTag, "The directions have another extent than the DEM");
}

/// The mean of the positive values of a cell and its neighbours, summed in float64; 0 where there is none.
template <class Cells>
float meanOfPositive(const InPlace& lattice, const Cells& cells, ColRow at) {
  double sum = 0;
  int count = 0;
  for (int32_t code = 1; code <= kDirections; ++code) {
    const float value = cells.get(lattice.step(at, code));
    if (!(value > 0.0F)) continue;
    sum += static_cast<double>(value);
    ++count;
  }
  return count == 0 ? 0.0F : static_cast<float>(sum / count);
}

/// Zeros take the mean of the positive values around them, from those beside such values inward; a cell reads
/// what its neighbours held before its front. Cells without an angle become nodata, -9999.0.
int infill(DEM_type& dem, R4Grid_type& grid) {
  if (!SameGridGeometry(dem.aspect, grid))
    return fail(kTag, "ingrid must have the DEM's extent to be infilled");
  int64_t zeros = 0;
  int64_t others = 0;
  const auto count = [&](int32_t, std::span<const float> cells, std::span<const float> angles) {
    for (std::size_t i = 0; i < cells.size(); ++i)
      if (angles[i] >= 0.0F) ++(cells[i] == 0.0F ? zeros : others);
  };
  if (RowPass{reading(grid), reading(dem.aspect)}.run(kTag, count) != kSuccess) return kFailure;
  if (others == 0) return putMessage("All precipitation values are zero"), kFailure;
  if (zeros == 0) return kSuccess;
  putMessage("Infilling zero values of ingrid");
  const auto blank = [](int32_t, std::span<float> cells, std::span<const float> angles) {
    for (std::size_t i = 0; i < cells.size(); ++i)
      if (!(angles[i] >= 0.0F)) cells[i] = kNodata;
  };
  if (RowPass{changing(grid), reading(dem.aspect)}.run(kTag, blank) != kSuccess) return kFailure;

  const InPlace lattice(grid);
  InPlace::Cells<float> cells;
  if (!cells.load(grid, kNodata, kTag)) return fail(kTag, "holdGrid%setCellaccess failed");
  struct Filled {
    ColRow at;
    float value;
  };
  std::vector<Filled> front;
  std::vector<Filled> next;
  const auto meet = [&](ColRow at) {
    if (cells.get(at) != 0.0F) return true;
    const float value = meanOfPositive(lattice, cells, at);
    return !(value > 0.0F) || tryAppend(next, Filled{at, value});
  };
  bool room = true;
  for (int32_t row = 1; room && row <= grid.rows(); ++row)
    for (int32_t col = 1; room && col <= grid.cols(); ++col) room = meet({.col = col, .row = row});
  while (room && !next.empty()) {
    std::swap(front, next);
    next.clear();
    for (const Filled& cell : front) cells.set(cell.at, cell.value);
    for (std::size_t i = 0; room && i < front.size(); ++i)  // a cell met twice gets the same value twice
      for (int32_t code = 1; room && code <= kDirections; ++code) room = meet(stepFrom(front[i].at, code));
  }
  if (!room) return cannotAllocate(kTag, "holdGrid");
  putMessage("Done infilling");
  return kSuccess;
}

/// `accum` holds the value of `ingrid` at each of its cells; where that has none the cell stays 0.
int resample(DEM_type& dem, const AccumulatorArgs& args) {
  R4Grid_type& accum = *args.accum;
  if (!accum.GridExists()) {
    if (CreateGrid(accum, {.like = &dem, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
      return fail(kTag, "CreateGrid failed for accum");
  } else if (!sameR8(accum.cellsize, dem.cellsize, 0.001) || accum.ncols != dem.ncols ||
             accum.nrows != dem.nrows) {
    return fail(kTag, "Provided accum grid has a different cellsize than the DEM");
  }
  const float missing = args.ingrid->nodataValue();
  return RowPass{changing(accum)}.run(kTag, [&](int32_t row, std::span<float> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const Point at = dem.ColRowToXY(static_cast<int32_t>(i + 1), row);
      const float value = args.ingrid->ExtractR4ValueXY(at.x, at.y);
      if (value == missing) continue;
      cells[i] = args.clipNegative ? std::max(value, 0.0F) : value;
    }
  });
}

/// A new grid of contributing cells: 1 in every cell with a direction and, where something is routed, a
/// value.
template <class Grid>
int startArea(DEM_type& dem, const AccumulatorArgs& args, Grid& area, std::string_view failure) {
  if (!area.GridExists() &&
      CreateGrid(area, {.like = &dem, .nodata = kNodata, .fillValue = 1.0F}) != kSuccess)
    return fail(kTag, failure);
  if (!SameGridGeometry(dem, area)) return fail(kTag, failure);
  using Value = typename Grid::CellValue;
  const auto clear = [&](int32_t row, std::span<Value> cells, auto directions) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      bool counts = false;
      if constexpr (std::is_same_v<typename decltype(directions)::value_type, float>)
        counts = directions[i] >= 0.0F;
      else
        counts = directions[i] > 0;
      if (counts && args.ingrid != nullptr) {
        const Point at = dem.ColRowToXY(static_cast<int32_t>(i + 1), row);
        const float value = args.ingrid->ExtractR4ValueXY(at.x, at.y);
        counts = value != args.ingrid->nodataValue();
      }
      if (!counts) cells[i] = Value{0};
    }
  };
  return args.useD8 ? RowPass{changing(area), reading(dem.D8)}.run(kTag, clear)
                    : RowPass{changing(area), reading(dem.aspect)}.run(kTag, clear);
}

int prepare(DEM_type& dem, const AccumulatorArgs& args) {
  if (args.ingrid != nullptr) {
    if (args.scale && *args.scale != 0.0F && args.ingrid->scalarMultiplyR4(*args.scale) != kSuccess)
      return kFailure;
    if (args.infillZeros && infill(dem, *args.ingrid) != kSuccess) return kFailure;
    if (resample(dem, args) != kSuccess) return kFailure;
  }
  if (args.DA != nullptr) {
    putMessage("Setting nodata in DA");
    if (startArea(dem, args, *args.DA, "CreateGrid failed for DA") != kSuccess) return kFailure;
  }
  if (args.DAR8 != nullptr) {
    putMessage("  Setting nodata in DAR8");
    if (startArea(dem, args, *args.DAR8, "CreateGrid failed for DAR8") != kSuccess) return kFailure;
  }
  return kSuccess;
}

int accumulate(DEM_type& dem, const AccumulatorArgs& args) {
  if (checkArguments(dem, args) != kSuccess || findDirections(dem, args.useD8) != kSuccess ||
      prepare(dem, args) != kSuccess)
    return kFailure;
  return args.useD8 ? route<CodeFlow, GridAmounts>(dem, dem.D8, args)
                    : route<AngleFlow, GridAmounts>(dem, dem.aspect, args);
}

}  // namespace

int routeAlongAngles(DEM_type& dem, R4Grid_type& values) {
  return route<AngleFlow, GridAmounts>(dem, dem.aspect, AccumulatorArgs{.accum = &values});
}
int routeAlongAngles(DEM_type& dem, const CellVectors& vectors) {
  return route<AngleFlow, VectorAmounts>(dem, dem.aspect, vectors);
}

int accumulator(DEM_type& dem, const AccumulatorArgs& args) {
  const int status = accumulate(dem, args);
  for (Grid_Header* grid : {static_cast<Grid_Header*>(args.accum), static_cast<Grid_Header*>(args.DA),
                            static_cast<Grid_Header*>(args.DAR8)})
    if (grid != nullptr) grid->status = status;
  return status;
}

}  // namespace terrain
