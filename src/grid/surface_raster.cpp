#include "grid/surface_raster.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/threads.h"
#include "grid/surface_fit.h"
#include "grid/surface_places.h"

namespace terrain {

namespace {

using namespace surface;

constexpr std::string_view kTag = "surfaceRasters in Grid_Module";
constexpr std::string_view kReadTag = "ERROR: ExtractR4ValueColRow in Grid_module";

// ---- many samples at once ----

constexpr std::size_t kBlock = 256;  // columns: the samples of a block stay in the nearest cache

/// Columns from..to whose samples at the first radius all lie equally many cells away, so that a
/// sample of one column after the other reads one cell after the other.
struct Run {
  int32_t from = 0, to = 0;
  std::array<int32_t, 5> shift{};
  std::array<bool, 5> onLine{};
};

struct Block {
  std::array<std::array<double, kBlock>, 10> z;
  std::array<int32_t, kBlock> ok;  // every cell looked at and every sample is above nodata
};

/// Samples between the rows `lower` and `upper`.
void sampleBetween(const float* __restrict lower, const float* __restrict upper, const double* __restrict u,
                   double v, float nodata, std::size_t count, double* __restrict z, int32_t* __restrict ok) {
  for (std::size_t j = 0; j < count; ++j) {
    const float a = lower[j], b = lower[j + 1], c = upper[j], d = upper[j + 1];
    const auto result = static_cast<float>(bilinear(static_cast<double>(a), static_cast<double>(b),
                                                    static_cast<double>(c), static_cast<double>(d), u[j], v));
    z[j] = static_cast<double>(result);
    ok[j] &= static_cast<int32_t>(a > nodata) & static_cast<int32_t>(b > nodata) &
             static_cast<int32_t>(c > nodata) & static_cast<int32_t>(d > nodata) &
             static_cast<int32_t>(result > nodata);
  }
}

void sampleOnLine(const float* __restrict row, float nodata, std::size_t count, double* __restrict z,
                  int32_t* __restrict ok) {
  for (std::size_t j = 0; j < count; ++j) {
    z[j] = static_cast<double>(row[j]);
    ok[j] &= static_cast<int32_t>(row[j] > nodata);
  }
}

// ---- the pass ----

class SurfacePass {
 public:
  SurfacePass(const R4Grid_type& elev, double length, const std::vector<SurfaceOutput>& outputs)
      : elev_(elev), nodata_(elev.nodataValue()), radii_(radiiFrom(elev, length)) {
    for (const SurfaceOutput& output : outputs) outputs_.push_back({.to = output, .row = {}});
  }

  /// Fills rows of the rasters. Nothing, and nothing to rely on in them, where the grid has no exact
  /// positions or the window does not fit into memory.
  [[nodiscard]] std::optional<int> run(int32_t first, int32_t last);

 private:
  static std::vector<double> radiiFrom(const GridGeometry& grid, double length);
  [[nodiscard]] int32_t rowsReached() const;
  [[nodiscard]] bool prepare(RowWindow<float>& rows);
  void findRuns();
  [[nodiscard]] bool placeRow(int32_t row, const RowWindow<float>& rows);
  void fillRow(int32_t row, const RowWindow<float>& rows);
  void fillRun(const Run& run, const RowWindow<float>& rows);
  void fillBlock(const Run& run, int32_t from, std::size_t count, const RowWindow<float>& rows);
  void fillCell(int32_t col, const Sampler& sampler);
  void store(int32_t col, const Samples& z);
  const Places& columnPlaces(std::size_t radius, int32_t col);
  [[nodiscard]] int writeRow(int32_t row);

  /// An output and its current row.
  struct Output {
    SurfaceOutput to;
    std::vector<float> row;
  };

  const R4Grid_type& elev_;
  std::vector<Output> outputs_;
  float nodata_;
  std::vector<double> radii_;                // that a circle may take, falling
  std::vector<double> roomX_;                // longest radius worth trying, by column
  double roomY_ = 0;                         // the same for the current row
  std::vector<std::vector<Places>> tables_;  // by radius, then column; empty where not made
  std::size_t tablesLeft_ = 0;
  Places untabled_{};
  std::vector<Places> rowPlaces_;                 // of the current row, by radius
  std::vector<int32_t> placedRow_;                // the row that an entry of rowPlaces_ was made for
  std::array<std::vector<double>, 5> fractions_;  // at the first radius, by column
  std::vector<Run> runs_;
  std::vector<char> done_;
};

/// The radii in the order in which they are tried, without those whose circle cannot lie on the grid.
std::vector<double> SurfacePass::radiiFrom(const GridGeometry& grid, double length) {
  const double step = radiusStep(grid);
  const double longest = longestRadius(grid, {.x = (grid.xmin + (grid.xmax + grid.xcellsize)) / 2,
                                              .y = (grid.ymin + (grid.ymax + grid.ycellsize)) / 2});
  std::vector<double> radii;
  double radius = length;
  if (canShrink(radius, step) && radius > longest) radius = nextRadius(radius, step, longest);
  radii.push_back(radius);
  while (canShrink(radius, step)) radii.push_back(radius = nextRadius(radius, step, longest));
  return radii;
}

int32_t SurfacePass::rowsReached() const {
  constexpr int32_t spare = 6;                                       // the row above a sample, and rounding
  constexpr int32_t most = std::numeric_limits<int32_t>::max() / 4;  // what is not held is found out
  const auto reached = truncateTo<int32_t>(radii_.front() / elev_.ycellsize);
  return std::min({elev_.rows(), reached, most}) + spare;
}

bool SurfacePass::prepare(RowWindow<float>& rows) {
  constexpr std::size_t mostTables = 16;
  constexpr std::size_t mostTableBytes = std::size_t{8} << 20;
  const auto width = static_cast<std::size_t>(elev_.cols());
  tablesLeft_ = std::clamp<std::size_t>(mostTableBytes / (width * sizeof(Places)), 0, mostTables);
  tables_.resize(radii_.size());
  if (!tryAllocate(roomX_, width) || !tryAllocate(rowPlaces_, radii_.size()) ||
      !tryAllocate(placedRow_, radii_.size()) || !tryAllocate(done_, width) || !rows.open())
    return false;
  for (Output& output : outputs_)
    if (!tryAllocate(output.row, width)) return false;
  for (auto& values : fractions_)
    if (!tryAllocate(values, width)) return false;

  // Where coordinates are too large for the cell size, a cell's own point may lie in another cell.
  for (int32_t col = 1; col <= elev_.cols(); ++col) {
    const Point at = elev_.ColRowToXY(col, 1);
    if (placesOfColumn(elev_, col, 0)[kCentre].cell != col) return false;
    roomX_[static_cast<std::size_t>(col - 1)] =
        longestRadius(elev_, {.x = at.x, .y = (elev_.ymin + elev_.ymax) / 2});
  }
  for (int32_t row = 1; row <= elev_.rows(); ++row)
    if (placesOfRow(elev_, row, 0)[kCentre].cell != row) return false;
  findRuns();
  return true;
}

void SurfacePass::findRuns() {
  for (int32_t col = 1; col <= elev_.cols(); ++col) {
    const Places& places = columnPlaces(0, col);
    Run here{.from = col, .to = col};
    bool inside = true;
    for (std::size_t i = 0; i < places.size(); ++i) {
      fractions_[i][static_cast<std::size_t>(col - 1)] = places[i].fraction;
      here.shift[i] = places[i].cell - col;
      here.onLine[i] = places[i].onLine;
      inside = inside && places[i].cell != 0 && !places[i].onBorder;
    }
    if (!inside || !here.onLine[kCentre]) continue;
    if (!runs_.empty() && runs_.back().to == col - 1 && runs_.back().shift == here.shift &&
        runs_.back().onLine == here.onLine) {
      runs_.back().to = col;
    } else {
      runs_.push_back(here);
    }
  }
}

const Places& SurfacePass::columnPlaces(std::size_t radius, int32_t col) {
  std::vector<Places>& table = tables_[radius];
  if (table.empty()) {
    if (tablesLeft_ == 0 || !tryAllocate(table, static_cast<std::size_t>(elev_.cols())))
      return untabled_ = placesOfColumn(elev_, col, radii_[radius]);
    --tablesLeft_;
    for (int32_t c = 1; c <= elev_.cols(); ++c)
      table[static_cast<std::size_t>(c - 1)] = placesOfColumn(elev_, c, radii_[radius]);
  }
  return table[static_cast<std::size_t>(col - 1)];
}

/// Computes where the row's samples lie at every radius that the row has room for. False if the window
/// does not hold a row that they need.
bool SurfacePass::placeRow(int32_t row, const RowWindow<float>& rows) {
  roomY_ = longestRadius(elev_, {.x = (elev_.xmin + elev_.xmax) / 2, .y = elev_.ColRowToXY(1, row).y});
  for (std::size_t i = 0; i < radii_.size(); ++i) {
    if (radii_[i] > roomY_ && i + 1 < radii_.size()) continue;
    rowPlaces_[i] = placesOfRow(elev_, row, radii_[i]);
    placedRow_[i] = row;
    for (const Place& place : rowPlaces_[i])
      if (place.cell != 0 && !(rows.holds(place.cell) && rows.holds(std::max(place.cell - 1, 1))))
        return false;
  }
  return true;
}

void SurfacePass::store(int32_t col, const Samples& z) {
  const Slopes slopes = slopesOf(z);
  for (Output& output : outputs_)
    output.row[static_cast<std::size_t>(col - 1)] =
        output.to.metric == SurfaceMetric::gradient ? gradientOf(slopes) : aspectOf(slopes);
}

/// As `surfaceMetrics` does it, with tables.
void SurfacePass::fillCell(int32_t col, const Sampler& sampler) {
  const auto nodata = static_cast<double>(nodata_);
  const double room = std::min(roomX_[static_cast<std::size_t>(col - 1)], roomY_);
  std::size_t i =
      static_cast<std::size_t>(std::ranges::lower_bound(radii_, room, std::greater<>{}) - radii_.begin());
  i = std::min(i, radii_.size() - 1);
  Samples z{};
  for (;; ++i) {
    const bool last = i + 1 == radii_.size();
    const Places& xs = columnPlaces(i, col);
    const Places& ys = rowPlaces_[i];
    bool usable = true;
    for (std::size_t k = 1; k <= 9 && usable && !last; ++k)
      usable = sampler.mayHoldData(xs[kXOf[k]], ys[kYOf[k]]);
    if (!usable) continue;
    for (std::size_t k = 1; k <= 9; ++k) z[k] = sampler.value(xs[kXOf[k]], ys[kYOf[k]]);
    if (allAbove(z, nodata)) break;
    if (z[5] == nodata) return;
    if (!last) continue;
    fillMissing(z, nodata);
    break;
  }
  normalise(z, radii_[i]);
  store(col, z);
}

void SurfacePass::fillBlock(const Run& run, int32_t from, std::size_t count, const RowWindow<float>& rows) {
  Block block;
  std::fill_n(block.ok.begin(), count, 1);
  const Places& ys = rowPlaces_[0];
  const auto first = static_cast<std::size_t>(from - 1);
  for (std::size_t k = 1; k <= 9; ++k) {
    const std::size_t ix = kXOf[k];
    const Place& y = ys[kYOf[k]];
    const std::ptrdiff_t at = std::ptrdiff_t{from} - 1 + run.shift[ix];
    const float* lower = rows.row(y.cell) + at;
    if (run.onLine[ix] && y.onLine) {
      sampleOnLine(lower, nodata_, count, block.z[k].data(), block.ok.data());
    } else {
      sampleBetween(lower, rows.row(y.cell - 1) + at, &fractions_[ix][first], y.fraction, nodata_, count,
                    block.z[k].data(), block.ok.data());
    }
  }
  const double radius = radii_.front();
  std::array<Slopes, kBlock> slopes;
  for (std::size_t j = 0; j < count; ++j) {
    const double centre = block.z[5][j];
    Samples z{};
    for (std::size_t k = 1; k <= 9; ++k) z[k] = (block.z[k][j] - centre) / radius;
    slopes[j] = slopesOf(z);
  }
  const auto storeBlock = [&](std::vector<float>& row, auto valueOf) {
    for (std::size_t j = 0; j < count; ++j)
      if (block.ok[j] != 0) row[first + j] = valueOf(slopes[j]);
  };
  for (std::size_t j = 0; j < count; ++j)
    if (block.ok[j] != 0) done_[first + j] = 1;
  for (Output& output : outputs_) {
    if (output.to.metric == SurfaceMetric::gradient)
      storeBlock(output.row, gradientOf);
    else
      storeBlock(output.row, aspectOf);
  }
}

void SurfacePass::fillRun(const Run& run, const RowWindow<float>& rows) {
  for (int32_t from = run.from; from <= run.to; from += static_cast<int32_t>(kBlock))
    fillBlock(run, from, std::min(kBlock, static_cast<std::size_t>(run.to - from + 1)), rows);
}

void SurfacePass::fillRow(int32_t row, const RowWindow<float>& rows) {
  std::ranges::fill(done_, char{0});
  const Places& ys = rowPlaces_[0];
  const bool inside = placedRow_[0] == row && ys[kCentre].onLine &&
                      std::ranges::all_of(ys, [](const Place& y) { return y.cell != 0 && !y.onBorder; });
  if (inside)
    for (const Run& run : runs_) fillRun(run, rows);

  const Sampler sampler(rows, nodata_);
  const float* cells = rows.row(row);
  for (int32_t col = 1; col <= elev_.cols(); ++col) {
    const auto at = static_cast<std::size_t>(col - 1);
    if (done_[at] != 0) continue;
    const bool missing = cells[at] == nodata_ || std::isnan(cells[at]);
    for (Output& output : outputs_) output.row[at] = missing ? output.to.grid->nodataValue() : kNodata;
    if (!missing) fillCell(col, sampler);
  }
}

int SurfacePass::writeRow(int32_t row) {
  for (Output& output : outputs_) {
    const IoCode code = output.to.grid->writeRow(row, output.row);
    if (code != kIoOk) return reportScratchWrite(kTag, *output.to.grid, code);
  }
  return kSuccess;
}

std::optional<int> SurfacePass::run(int32_t first, int32_t last) {
  RowWindow<float> rows(elev_, rowsReached());
  if (!prepare(rows)) return std::nullopt;
  for (int32_t row = first; row <= last; ++row) {
    const IoCode code = rows.moveTo(row);
    if (code != kIoOk) stopOnScratchFault(kReadTag, elev_, code);
    if (!placeRow(row, rows)) return std::nullopt;
    fillRow(row, rows);
    if (writeRow(row) != kSuccess) return kFailure;
  }
  return kSuccess;
}

/// Cell by cell; for grids that the tables cannot serve.
int fillByCell(const R4Grid_type& elev, float length, const std::vector<SurfaceOutput>& outputs) {
  for (int32_t row = 1; row <= elev.rows(); ++row) {
    for (int32_t col = 1; col <= elev.cols(); ++col) {
      if (elev.ExtractR4ValueColRow(col, row) == elev.nodataValue()) continue;
      float gradient = kNodata;
      float aspect = kNodata;
      measure(elev, {.length = length, .col = col, .row = row, .gradient = &gradient, .aspect = &aspect});
      for (const auto& [grid, metric] : outputs)
        if (grid->SetR4CellColRow(col, row, metric == SurfaceMetric::gradient ? gradient : aspect) !=
            kSuccess)
          return kFailure;
    }
  }
  return kSuccess;
}

}  // namespace

int surfaceRasters(const R4Grid_type& elev, float length, const std::vector<SurfaceOutput>& outputs) {
  constexpr std::string_view cellTag = "surfaceMetricsZTC in Grid_Module";
  if (!elev.GridExists()) return fail(kTag, "Grid does not exist");
  for (const auto& [grid, metric] : outputs)
    if (grid == nullptr || grid == &elev || !grid->GridExists() || !sameCounts(*grid, elev))
      return fail(kTag, "Gradient and aspect must be grids of their own with the size of the elevations");
  if (elev.xcellsize != elev.ycellsize)
    return fail(cellTag, "surfaceMetrics cannot use unequal cell dimensions");
  if (const auto why = obstacle(elev); !why.empty()) return fail(cellTag, why);
  if (!usableRadius(length)) return fail(cellTag, "surfaceMetrics needs a finite length above 0");
  if (outputs.empty()) return kSuccess;
  if (elev.useRowAccess() != kSuccess) return fail(kTag, "SetRowAccess failed");
  for (const auto& [grid, metric] : outputs)
    if (grid->SetRowAccess() != kSuccess) return fail(kTag, "SetRowAccess failed");

  // Every row is filled by itself: stretches of them at once where all grids are in memory.
  const bool inMemory = !elev.onDisk && std::ranges::none_of(outputs, [](const SurfaceOutput& output) {
    return output.grid->onDisk;
  });
  std::atomic<bool> served = true;
  const int status = forEachStretch(elev.rows(), inMemory, [&](int32_t first, int32_t last) {
    SurfacePass pass(elev, static_cast<double>(length), outputs);
    const std::optional<int> filled = pass.run(first, last);
    if (!filled) served = false;
    return filled.value_or(kFailure);
  });
  return served ? status : fillByCell(elev, length, outputs);
}

}  // namespace terrain
