#include "grid/filters.h"

#include <lapacke.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/platform.h"
#include "grid/missing.h"
#include "grid/row_window.h"
#include "grid/rows.h"

namespace terrain {

namespace {

constexpr std::string_view kInitTag = "SUBROUTINE Init_WD_mean in MODULE Filters";
constexpr std::string_view kGridTag = "SUBROUTINE WDMeanGrid in MODULE Filters";
constexpr std::string_view kFitTag = "SUBROUTINE WDMeanFit in MODULE Filters";
constexpr std::string_view kCellTag = "SUBROUTINE WDMeanCell in MODULE Filters";

std::optional<WdMeanSetup>& state() {
  static std::optional<WdMeanSetup> setup;
  return setup;
}

// ---- parameters ----

constexpr const char* kParameterFile = "wd_mean.txt";

struct Parameters {
  double radius = 0;
  int32_t alphaFit = 0, alphaMean = 0;
};

struct ParameterText {
  std::string_view prompt;
  std::string_view comment;
};
constexpr std::array<ParameterText, 3> kParameterTexts{{
    {"Radius: ", "   , radius (m)"},
    {"Alpha fit: ", "   , alpha fit"},
    {"Alpha mean: ", "   , alpha mean"},
}};

/// Reads one of the three parameters from a line of text; what follows the number is a comment.
bool readParameter(std::size_t which, std::string_view line, Parameters& parameters) {
  FreeFormatReader reader(line);
  const FieldStatus field = which == 0   ? reader.next(parameters.radius)
                            : which == 1 ? reader.next(parameters.alphaFit)
                                         : reader.next(parameters.alphaMean);
  return field == FieldStatus::value;
}

int readParameterFile(Parameters& parameters) {
  const InputFileType file = NewInputFile(kParameterFile);
  if (file.status != kSuccess) return kFailure;
  for (std::size_t which = 0; which < kParameterTexts.size(); ++which)
    if (which >= file.lines.size() || !readParameter(which, file.lines[which], parameters))
      return reportError({.routine = kInitTag,
                          .code = kReadError,
                          .file = kParameterFile,
                          .line = static_cast<int32_t>(which) + 1});
  return kSuccess;
}

/// Asks for the parameters and keeps the answers for the next time. A file that cannot be written is
/// reported; the setup goes on without it.
int askForParameters(Parameters& parameters) {
  InputFileType file;
  for (std::size_t which = 0; which < kParameterTexts.size(); ++which) {
    const auto [prompt, comment] = kParameterTexts[which];
    std::ostream& out = *platform::console().out;
    out << prompt;
    out.flush();
    std::string answer;
    do {
      if (!std::getline(*platform::console().in, answer))
        return fail(kInitTag, "The console ended before the answer to " + std::string(stripped(prompt)));
    } while (isBlank(answer));
    if (!readParameter(which, answer, parameters))
      return fail(kInitTag, "Not a number after " + std::string(prompt) + answer);
    const std::string value = which == 0 ? freeText(parameters.radius)
                                         : freeText(which == 1 ? parameters.alphaFit : parameters.alphaMean);
    file.lines.push_back(value + std::string(comment));
  }
  static_cast<void>(file.writeAscii(kParameterFile));
  return kSuccess;
}

int findParameters(const WdMeanArgs& args, Parameters& parameters) {
  if (args.radius && args.alphaFit) {
    parameters = {*args.radius, *args.alphaFit, args.alphaMean.value_or(0)};
    return kSuccess;
  }
  return platform::fileExists(kParameterFile) ? readParameterFile(parameters) : askForParameters(parameters);
}

// ---- coverage ----

/// The part of the disc of radius `r` about the origin that lies in the triangle of the origin and a straight
/// side from p to q; negative where the side runs clockwise. Where the side is outside the disc that part is
/// a sector, where it is inside a triangle. Summed over the sides of a polygon it is the area that the two
/// have in common, with as many arcs as there are.
double areaBeside(Point p, Point q, double r) {
  const Point step{q.x - p.x, q.y - p.y};
  const double length2 = step.x * step.x + step.y * step.y;
  const double nearest = -(p.x * step.x + p.y * step.y) / length2;  // along the side, 0 at p and 1 at q
  const double offset = (p.x * step.y - p.y * step.x) * (p.x * step.y - p.y * step.x) / length2;
  const double half = std::sqrt(std::max(r * r - offset, 0.0) / length2);
  const auto at = [&](double t) {
    return t <= 0 ? p : t >= 1 ? q : Point{p.x + t * step.x, p.y + t * step.y};
  };
  const auto cross = [](Point a, Point b) { return a.x * b.y - a.y * b.x; };
  const auto sector = [&](Point a, Point b) {
    return 0.5 * r * r * std::atan2(cross(a, b), a.x * b.x + a.y * b.y);
  };
  const Point enters = at(nearest - half);
  const Point leaves = at(nearest + half);
  return sector(p, enters) + 0.5 * cross(enters, leaves) + sector(leaves, q);
}

// ---- the window ----

std::size_t sideOf(const WdMeanSetup& setup) { return 2 * static_cast<std::size_t>(setup.halfWidth) + 1; }

double distanceOf(int32_t i, int32_t j) {
  const double x = i;
  const double y = j;
  return std::sqrt(x * x + y * y);
}

/// Calls use(i, j, index) for every cell of the window, from the first row on.
template <class Use>
void forEachWindowCell(const WdMeanSetup& setup, Use use) {
  std::size_t index = 0;
  for (int32_t j = -setup.halfWidth; j <= setup.halfWidth; ++j)
    for (int32_t i = -setup.halfWidth; i <= setup.halfWidth; ++i) use(i, j, index++);
}

int allocate(WdMeanSetup& setup) {
  const auto cells = byteCount(sideOf(setup), sideOf(setup));
  if (cells && tryAllocate(setup.coverage, *cells) && tryAllocate(setup.weightFit, *cells) &&
      tryAllocate(setup.weightMean, *cells) && tryAllocate(setup.reach, sideOf(setup)))
    return kSuccess;
  return cannotAllocate(kInitTag, "Global arrays");
}

void fillCoverage(WdMeanSetup& setup) {
  const double radius = setup.radius / setup.cellsize;
  const std::size_t side = sideOf(setup);
  const auto half = static_cast<std::size_t>(setup.halfWidth);
  std::ranges::fill(setup.reach, -1);
  for (int32_t j = 0; j <= setup.halfWidth; ++j)
    for (int32_t i = 0; i <= setup.halfWidth; ++i) {
      const double share = i == 0 && j == 0 ? 1.0 : CellCoverage(i, j, radius);
      const auto col = static_cast<std::size_t>(i);
      for (const std::size_t row : {half - static_cast<std::size_t>(j), half + static_cast<std::size_t>(j)}) {
        setup.coverage[row * side + half - col] = setup.coverage[row * side + half + col] = share;
        if (share > 0) setup.reach[row] = i;
      }
    }
}

void fillWeights(WdMeanSetup& setup) {
  double longest = 0;
  forEachWindowCell(setup, [&](int32_t i, int32_t j, std::size_t at) {
    if (setup.coverage[at] > 0) longest = std::max(longest, distanceOf(i, j));
  });
  forEachWindowCell(setup, [&](int32_t i, int32_t j, std::size_t at) {
    const double share = setup.coverage[at];
    const double t = longest > 0 ? distanceOf(i, j) / longest : 0.0;
    const auto weight = [&](int32_t alpha) {
      return share > 0 && alpha > 0 ? share * std::pow(1 - t, alpha) : share;
    };
    setup.weightFit[at] = weight(setup.alphaFit);
    setup.weightMean[at] = weight(setup.alphaMean);
  });
}

/// Sees to a setup that fits the grid's cell size; one for another size is made anew with its parameters.
int useSetupFor(const GridGeometry& grid) {
  const double cellsize = grid.meanCellSize();
  const auto& setup = state();
  if (!setup) return Init_WD_mean(cellsize);
  if (setup->cellsize == cellsize) return kSuccess;
  return Init_WD_mean(cellsize,
                      {.radius = setup->radius, .alphaFit = setup->alphaFit, .alphaMean = setup->alphaMean});
}

// ---- one filtered value ----

/// Rows of the grid about the current one, from the north, as many as the window has: where each holds the
/// cell of its first column. Missing cells are nodata, also those outside the grid.
using WindowRows = std::span<const float* const>;

/// Calls use(x, y, value, index) for the cells with a value and with coverage around column `col`, from 0.
template <class Missing, class Use>
void forEachValue(const WdMeanSetup& setup, WindowRows rows, std::ptrdiff_t col, Missing missing, Use use) {
  const std::size_t side = sideOf(setup);
  for (std::size_t row = 0; row < side; ++row) {
    const auto centre = row * side + static_cast<std::size_t>(setup.halfWidth);
    const double y = setup.halfWidth - static_cast<double>(row);
    for (int32_t i = -setup.reach[row]; i <= setup.reach[row]; ++i) {
      const float value = rows[row][col + i];
      if (!missing(value))
        use(static_cast<double>(i), y, static_cast<double>(value), centre + static_cast<std::size_t>(i));
    }
  }
}

struct Plane {
  double a = 0, b = 0, c = 0;  ///< z = a + b * x + c * y
  bool level = false;          ///< in place of a plane that is not determined
};

/// Weighted sums over the cells of a window.
struct Moments {
  double one = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0, z = 0, xz = 0, yz = 0;

  void add(double px, double py, double pz, double weight) {
    const double wx = weight * px;
    const double wy = weight * py;
    one += weight;
    x += wx;
    y += wy;
    xx += wx * px;
    xy += wx * py;
    yy += wy * py;
    z += weight * pz;
    xz += wx * pz;
    yz += wy * pz;
  }
  /// False where the cells lie on one point or one line, within rounding: any plane through it fits alike.
  [[nodiscard]] bool determineAPlane() const {
    constexpr double tolerance = 1e-10;
    const double cxx = xx - x * x / one;
    const double cyy = yy - y * y / one;
    const double cxy = xy - x * y / one;
    return cxx > 0 && cyy > 0 && cxx * cyy - cxy * cxy > tolerance * cxx * cyy;
  }
};

/// The plane of the normal equations, solved by LAPACK's solver of symmetric indefinite systems (DSYSV).
/// Where they are singular the plane is level, at the weighted mean.
Plane fitPlane(const Moments& m) {
  const Plane level{.a = m.z / m.one, .level = true};
  if (!m.determineAPlane()) return level;
  constexpr lapack_int n = 3;
  std::array<double, 9> matrix{m.one, 0, 0, m.x, m.xx, 0, m.y, m.xy, m.yy};  // upper triangle, by columns
  std::array<double, 3> solution{m.z, m.xz, m.yz};
  std::array<lapack_int, 3> pivots{};
  std::array<double, 64 * 3> work{};
  const lapack_int info =
      LAPACKE_dsysv_work(LAPACK_COL_MAJOR, 'U', n, 1, matrix.data(), n, pivots.data(), solution.data(), n,
                         work.data(), static_cast<lapack_int>(work.size()));
  return info == 0 ? Plane{solution[0], solution[1], solution[2]} : level;
}

/// The plane, and as `value` the sum of its value at the centre and of the weighted mean of the residuals, in
/// float64, rounded once.
template <class Missing>
WdMeanFit fitWindow(const WdMeanSetup& setup, WindowRows rows, std::ptrdiff_t col, Missing missing) {
  Moments moments;
  forEachValue(setup, rows, col, missing, [&](double x, double y, double z, std::size_t at) {
    moments.add(x, y, z, setup.weightFit[at]);
  });
  const Plane plane = fitPlane(moments);
  double residuals = 0;
  double weights = 0;
  forEachValue(setup, rows, col, missing, [&](double x, double y, double z, std::size_t at) {
    residuals += setup.weightMean[at] * (z - (plane.a + plane.b * x + plane.c * y));
    weights += setup.weightMean[at];
  });
  return {.value = static_cast<float>(plane.a + residuals / weights),
          .eastward = plane.b,
          .northward = plane.c,
          .level = plane.level};
}

}  // namespace

const WdMeanSetup* wdMeanSetup() { return state() ? &*state() : nullptr; }

int Init_WD_mean(double cellsize, const WdMeanArgs& args) {
  if (!(cellsize > 0) || !std::isfinite(cellsize)) return fail(kInitTag, "Cell size is not above 0");
  Parameters parameters;
  if (findParameters(args, parameters) != kSuccess) return kFailure;
  if (!(parameters.radius > 0) || !std::isfinite(parameters.radius))
    return fail(kInitTag, "Radius is not above 0");
  putMessage("Radius:         ", parameters.radius);
  putMessage("Alpha fit:      ", parameters.alphaFit);
  putMessage("Alpha mean:     ", parameters.alphaMean);

  WdMeanSetup setup{.cellsize = cellsize,
                    .radius = parameters.radius,
                    .alphaFit = parameters.alphaFit,
                    .alphaMean = parameters.alphaMean};
  setup.halfWidth = std::max(truncateTo<int32_t>(std::round(setup.radius / cellsize)), 1);
  if (args.halfWidth != nullptr) *args.halfWidth = setup.halfWidth;
  if (allocate(setup) != kSuccess) return kFailure;
  fillCoverage(setup);
  fillWeights(setup);
  state() = std::move(setup);
  return kSuccess;
}

void ReleaseWDMean() { state().reset(); }

double CellCoverage(int32_t i, int32_t j, double r) {
  constexpr double halfDiagonal = 0.7071067811865476;
  const double d = distanceOf(i, j);
  if (r - d >= halfDiagonal) return 1.0;
  if (!(r > 0) || d - r >= halfDiagonal) return 0.0;
  const double x = std::abs(static_cast<double>(i));  // the same in all four quadrants, to the last bit
  const double y = std::abs(static_cast<double>(j));
  const std::array<Point, 4> corners{
      {{x - 0.5, y - 0.5}, {x + 0.5, y - 0.5}, {x + 0.5, y + 0.5}, {x - 0.5, y + 0.5}}};
  double area = 0;
  for (std::size_t k = 0; k < corners.size(); ++k) area += areaBeside(corners[k], corners[(k + 1) % 4], r);
  return std::clamp(area, 0.0, 1.0);
}

int WDMeanCell(const R4Grid_type& grid, double x, double y, float& filtered) {
  filtered = kNodata;
  if (useSetupFor(grid) != kSuccess) return kFailure;
  const std::optional<ColRow> cell = grid.cellHolding(x, y);
  if (!cell || !positiveIn(grid)(grid.ExtractR4ValueColRow(cell->col, cell->row))) return kSuccess;

  const WdMeanSetup& setup = *state();
  const std::size_t side = sideOf(setup);
  std::vector<float> window;
  if (!tryAllocate(window, side * side)) return cannotAllocate(kCellTag, "window");
  const int32_t half = setup.halfWidth;
  grid.ExtractR4Window(window, {cell->col - half, cell->col + half, cell->row - half, cell->row + half});
  WdMeanFit fit;
  if (WDMeanFit(window, grid.nodataValue(), fit) != kSuccess) return kFailure;
  filtered = fit.value;
  return kSuccess;
}

int WDMeanFit(std::span<const float> window, float nodata, WdMeanFit& fit) {
  if (!state() || window.size() != sideOf(*state()) * sideOf(*state()))
    return fail(kFitTag, "The window does not fit the filter");
  const std::size_t side = sideOf(*state());
  std::vector<const float*> rows;
  if (!tryAllocate(rows, side)) return cannotAllocate(kFitTag, "window");
  for (std::size_t row = 0; row < side; ++row) rows[row] = window.data() + row * side;
  const auto missing = [nodata](float cell) { return cell == nodata || std::isnan(cell); };
  fit = fitWindow(*state(), rows, state()->halfWidth, missing);
  return kSuccess;
}

int WDMeanGrid(const R4Grid_type& input, R4Grid_type& output) {
  Attempt attempt{output.status};
  if (useSetupFor(input) != kSuccess || input.cloneR4(output) != kSuccess) return kFailure;
  const WdMeanSetup& setup = *state();
  const int32_t half = setup.halfWidth;
  RowWindow<float> window(input, half, half);
  std::vector<const float*> rows;
  if (!window.open() || !tryAllocate(rows, sideOf(setup))) return cannotAllocate(kGridTag, "window");

  const auto isFiltered = positiveIn(input);
  const auto body = [&](int32_t row, std::span<float> cells) {
    putMessage("  At row " + freeText(row) + " out of " + freeText(input.rows()));
    if (window.moveTo(row) != kIoOk) return reportScratchRead(kGridTag, input);
    for (int32_t j = -half; j <= half; ++j) rows[static_cast<std::size_t>(j + half)] = window.row(row + j);
    for (std::size_t col = 0; col < cells.size(); ++col)
      if (isFiltered(cells[col]))
        cells[col] = fitWindow(setup, rows, static_cast<std::ptrdiff_t>(col), missingIn(input)).value;
    return kSuccess;
  };
  return attempt.end(RowPass(changing(output)).run(kGridTag, body));
}

}  // namespace terrain
