// Polygons burned into grids of 32-bit reals and of 32-bit and 64-bit integers.

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "grid/cell_view.h"
#include "grid/float_raster.h"
#include "grid/grid.h"
#include "grid/storage.h"
#include "table/cell_coverage.h"
#include "table/part_ranges.h"
#include "table/polygon_vectors.h"
#include "table/rasterize.h"
#include "table/single_values.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "RasterizePoly in DataTableModule";

int buffered(R4Grid_type& grid, double distance, int32_t value) {
  return grid.bufferR4(distance, static_cast<float>(value));
}
int buffered(I4Grid_type& grid, double distance, int32_t value) { return grid.buffer(distance, value); }
int buffered(I8Grid_type& grid, double distance, int32_t value) { return grid.buffer(distance, value); }

// ---- what is burned ----

int failZero(std::string_view what) {
  return reportError(
      {.routine = kTag,
       .message1 = what,
       .message2 = "This rasterization algorithm uses zero to flag cells outside the polygon"});
}

/// The number of the field that the values come from, 0 where they do not come from a field; sets the table's
/// ID field where one is named.
int findFields(PolyVectorType& table, const PolygonRasterOptions& options, int32_t& valueField) {
  if (options.IDfieldName) {
    if (table.FieldNumber(*options.IDfieldName) < 1)
      return fail(kTag, "Cannot find ID field: " + std::string(*options.IDfieldName));
    table.IDfield = table.FieldNumber(*options.IDfieldName);
  }
  valueField = options.fieldName ? table.FieldNumber(*options.fieldName) : 0;
  if (options.fieldName && valueField < 1)
    return fail(kTag, "Cannot find requested field name: " + std::string(*options.fieldName));
  if ((options.useID || options.positiveIDonly) && table.IDfield < 1)
    return fail(kTag, "Polygon ID field is not recognized");
  if (options.singleValue && table.IDfield < 1)
    return reportError({.routine = kTag,
                        .message1 = "SingleValue argument requires polygon ID",
                        .message2 = "The table has no ID field"});
  return kSuccess;
}

int checkOptions(const PolyVectorType& table, const PolygonRasterOptions& options) {
  if (options.ival && options.useID)
    return fail(kTag, "Cannot specify both single value and polygon ID as outputs");
  if ((options.ival || options.useID) && options.singleValue)
    return fail(kTag, "If ival argument is valid, cannot specify a SingleValue");
  if (!options.values.empty() && options.singleValue)
    return fail(kTag, "Cannot specify both values and a SingleValue");
  if (options.buffer != 0 && !options.singleValue)
    return fail(kTag, "Can only specify a buffer for SingleValue");
  if (!(options.buffer >= 0)) return fail(kTag, "The buffer width must be 0 or more");
  if (options.singleValue == 0) return failZero("Cannot use zero as singleValue argument");
  if (options.ival == 0) return failZero("Cannot use zero as ival argument");
  const int64_t last = options.lastRecord.value_or(table.numRecords);
  if (options.firstRecord < 1 || last > table.numRecords || last < options.firstRecord - 1)
    return fail(kTag, "Records " + std::to_string(options.firstRecord) + " to " + std::to_string(last) +
                          " are not in the table, which has " + std::to_string(table.numRecords));
  if (!options.values.empty() && std::ssize(options.values) != table.numRecords)
    return fail(kTag, "There are " + std::to_string(options.values.size()) + " values for " +
                          std::to_string(table.numRecords) + " records");
  return kSuccess;
}

/// Makes the target, or takes the grid that there is where no lattice is given.
template <class Grid>
int makeTarget(const PolyVectorType& table, const PolygonRasterOptions& options, Grid& igrid) {
  if (options.like == nullptr && igrid.GridExists()) return kSuccess;
  Grid_Header lattice;
  lattice.geometry() = table.geometry();
  const bool hasReference = table.cols() > 0 && table.rows() > 0;
  const Grid_Header* const like = options.like != nullptr ? options.like : hasReference ? &lattice : nullptr;
  if (like == nullptr) return fail(kTag, "No template or grid to rasterize to");
  return CreateGrid(igrid, {.like = like, .fillValue = 0.0F}) == kSuccess
             ? kSuccess
             : fail(kTag, "CreateGrid failed for igrid");
}

template <class Value>
struct Burned {
  int64_t record = 0;
  Value value{};
};

/// True if the polygon's box and the area of the cells have more than a side in common.
bool overlaps(const PolygonType& polygon, const Grid_Header& grid) {
  Box box;
  box.x.add(polygon.x);
  box.y.add(polygon.y);
  return box.x.low < grid.xmax + grid.xcellsize && box.x.high > grid.xmin &&
         box.y.low < grid.ymax + grid.ycellsize && box.y.high > grid.ymin;
}

/// Coordinates that the arithmetic of the edges can hold.
bool areNumbers(const PolygonType& polygon) {
  constexpr double limit = 1e150;
  const auto isNumber = [](double at) { return std::abs(at) < limit; };
  return std::ranges::all_of(polygon.x, isNumber) && std::ranges::all_of(polygon.y, isNumber);
}

/// The value of a record, 0 where it is left out. 0, or -1 after a report.
template <class Value>
int valueOf(PolyVectorType& table, const PolygonRasterOptions& options, int32_t valueField, int64_t record,
            Value& value) {
  value = 1;
  int64_t id = 1;
  if (table.IDfield > 0 && table.ReadI8Value(table.IDfield, record, id) != kSuccess) return kFailure;
  if (options.positiveIDonly && id == 0) {
    value = 0;
    return kSuccess;
  }
  if (!options.values.empty()) {
    value = static_cast<Value>(options.values[static_cast<std::size_t>(record) - 1]);
    return kSuccess;
  }
  if (options.ival) {
    value = static_cast<Value>(*options.ival);
    return kSuccess;
  }
  if (valueField > 0 && !options.singleValue) return readValue(table, valueField, record, value);
  if (table.IDfield < 1) return kSuccess;
  if (id == 0) return fail(kTag, "ID value of zero encountered");
  if (options.singleValue) {
    value = id == *options.singleValue ? static_cast<Value>(id) : Value{0};
    return kSuccess;
  }
  return readValue(table, table.IDfield, record, value);
}

/// The polygons that reach the grid, with their values.
template <class Grid, class Value>
int choose(PolyVectorType& table, const PolygonRasterOptions& options, int32_t valueField, const Grid& igrid,
           std::vector<Burned<Value>>& list) {
  const int64_t last = options.lastRecord.value_or(table.numRecords);
  for (int64_t record = options.firstRecord; record <= last; ++record) {
    const PolygonType* const polygon = std::as_const(table).shapeAt(record);
    if (polygon == nullptr || polygon->x.empty() || polygon->x.size() != polygon->y.size()) continue;
    if (!areNumbers(*polygon))
      return fail(kTag, "Record " + std::to_string(record) + " has a vertex without a number");
    if (!overlaps(*polygon, igrid)) continue;
    Burned<Value> burned{.record = record};
    if (valueOf(table, options, valueField, record, burned.value) != kSuccess) return kFailure;
    if (burned.value != Value{0} && !tryAppend(list, burned)) return cannotAllocate(kTag, "records");
  }
  return kSuccess;
}

// ---- shapes on the lattice ----

/// The way from map coordinates to those of cells.
class Lattice {
 public:
  Lattice(const Grid_Header& grid, bool snapToGrid) : grid_(grid), all_(snapToGrid) {}

  [[nodiscard]] Point operator()(double x, double y) const {
    const double north =
        static_cast<double>(grid_.rows()) - toLine((y - grid_.ymin) / grid_.ycellsize, grid_.ycellsize);
    return {.x = toLine((x - grid_.xmin) / grid_.xcellsize, grid_.xcellsize), .y = north};
  }

 private:
  /// A distance from the grid's corner, in cells, on the lattice line that it is near.
  [[nodiscard]] double toLine(double at, double size) const {
    const double line = std::round(at);
    const bool isNear = std::abs(at - line) * size < std::min(0.005, size / 20);
    return all_ || isNear ? line : at;
  }

  const Grid_Header& grid_;
  bool all_;
};

/// Adds the rings of a polygon. False if there is no memory.
bool addRings(const PolygonType& polygon, const Lattice& lattice, std::vector<Point>& ring,
              CellCoverage& coverage) {
  return forEachPart(polygon.ring, 0, polygon.x.size(), [&](std::size_t begin, std::size_t end) {
    ring.clear();
    if (!tryReserve(ring, polygon.x.size())) return false;
    for (std::size_t i = begin; i < end; ++i) ring.push_back(lattice(polygon.x[i], polygon.y[i]));
    return coverage.addRing(ring);
  });
}

// ---- burning ----

/// Who has a cell.
enum Hold : int8_t { kFree, kLess, kHalf };

/// The cells of the target with the hold on each, which is of this call alone.
template <class Target, class Holds>
class Burner {
 public:
  Burner(Target target, Holds holds, double nodata) : target_(target), holds_(holds), nodata_(nodata) {}

  /// Gives a cell to a polygon that covers this share of it.
  template <class Value>
  void give(int32_t col, int32_t row, float share, Value value) {
    const int8_t hold = holds_.get(col, row);
    const int8_t wanted = share >= 0.5F ? kHalf : kLess;
    if (hold >= wanted) return;
    if (hold == kFree) {
      const auto held = target_.get(col, row);
      if (held != 0 && static_cast<double>(held) != nodata_) {
        holds_.set(col, row, kHalf);  // from before
        return;
      }
    }
    target_.set(col, row, value);
    holds_.set(col, row, wanted);
  }

 private:
  Target target_;
  Holds holds_;
  double nodata_;
};

/// Burns one polygon and adds its shares to `shares` where that exists.
template <class AnyBurner, class Value>
void burn(CellCoverage& coverage, bool strict, Value value, AnyBurner& burner, R4Grid_type& shares) {
  const bool keepsShares = shares.GridExists();
  const auto addShare = [&](int32_t col, int32_t row, float share) {
    if (keepsShares) shares.setCell(col, row, shares.value(col, row, kTag) + share, {});
  };
  bool hasInside = false;
  if (strict)
    coverage.visit([](int32_t, int32_t, double) {}, [&](int32_t, int32_t, int32_t) { hasInside = true; });
  coverage.visit(
      [&](int32_t col, int32_t row, double covered) {
        const auto share = static_cast<float>(covered);
        addShare(col, row, share);
        if (share >= 0.5F || !hasInside) burner.give(col, row, share, value);
      },
      [&](int32_t row, int32_t col1, int32_t col2) {
        for (int32_t col = col1; col <= col2; ++col) {
          addShare(col, row, 1.0F);
          burner.give(col, row, 1.0F, value);
        }
      });
}

template <class Grid, class Value>
int burnAll(PolyVectorType& table, const PolygonRasterOptions& options,
            const std::vector<Burned<Value>>& list, Grid& igrid) {
  I1Grid_type holds;
  R4Grid_type shares;
  if (CreateGrid(holds, {.like = &igrid, .nodata = 0.0F, .fillValue = 0.0F}) != kSuccess ||
      (!options.check.empty() &&
       CreateGrid(shares, {.like = &igrid, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess))
    return fail(kTag, "CreateGrid failed for InGrid");
  const Lattice lattice(igrid, options.snapToGrid);
  CellCoverage coverage(igrid.cols(), igrid.rows());
  std::vector<Point> ring;
  const int burned = withCells(igrid, kTag, [&](auto target) {
    return withCells(holds, kTag, [&](auto held) {
      Burner burner(target, held, static_cast<double>(igrid.nodata));
      for (const auto& [record, value] : list) {
        coverage.clear();
        if (!addRings(*table.shapeAt(record), lattice, ring, coverage))
          return cannotAllocate(kTag, "cols and rows arrays");
        burn(coverage, options.strictBoundary, value, burner, shares);
      }
      return kSuccess;
    });
  });
  if (burned != kSuccess || options.check.empty()) return burned;
  putMessage("  Shares of cells in " + std::string(options.check));
  return WriteGridflt(shares, options.check);
}

template <class Grid>
int rasterize(PolyVectorType& table, Grid& igrid, const PolygonRasterOptions& options) {
  Attempt attempt{table.status};
  Attempt made{igrid.status};
  int32_t valueField = 0;
  std::vector<Burned<typename Grid::CellValue>> list;
  if (checkOptions(table, options) != kSuccess || findFields(table, options, valueField) != kSuccess ||
      makeTarget(table, options, igrid) != kSuccess ||
      choose(table, options, valueField, igrid, list) != kSuccess ||
      burnAll(table, options, list, igrid) != kSuccess)
    return kFailure;
  if (list.empty()) {
    putMessage(" *** No polygons rasterized ***");
  } else if (!options.singleValue) {
    putMessage("  Number of polygons rasterized = ", std::ssize(list));
  }
  if (options.buffer > 0 && !list.empty() &&
      buffered(igrid, options.buffer, *options.singleValue) != kSuccess)
    return fail(kTag, "buffer failed");
  made.succeed();
  return attempt.succeed();
}

}  // namespace

int PolyVectorType::RasterizePoly(R4Grid_type& igrid, const PolygonRasterOptions& options) {
  return rasterize(*this, igrid, options);
}
int PolyVectorType::RasterizePoly(I4Grid_type& igrid, const PolygonRasterOptions& options) {
  return rasterize(*this, igrid, options);
}
int PolyVectorType::RasterizePoly(I8Grid_type& igrid, const PolygonRasterOptions& options) {
  return rasterize(*this, igrid, options);
}

}  // namespace terrain
