#include <algorithm>
#include <cstdlib>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/grid.h"

namespace terrain {

namespace {
std::string codeAndWords(IoCode code) { return freeText(code) + ", " + describe(code); }
}  // namespace

void stopOnScratchFault(std::string_view tag, const ScratchFile& file, IoCode code) {
  endRun({std::string(tag), "  Error reading scratch file", "  File: " + std::string(file.name),
          "  Unit: " + freeText(file.unit), "  Error: " + codeAndWords(code)});
}

void stopOnScratchFault(std::string_view tag, const Grid_Header& grid, IoCode code) {
  stopOnScratchFault(tag, {.name = grid.scratchFile, .unit = grid.scratchUnit}, code);
}

int reportScratchRead(std::string_view tag, const Grid_Header& grid) {
  return reportError({.routine = tag, .code = kReadError, .file = grid.scratchFile});
}

int reportScratchWrite(std::string_view tag, const Grid_Header& grid, IoCode code) {
  ErrorList list;
  reportError(list, {.routine = tag,
                     .message1 = "Error writing to scratch file",
                     .message2 = "  File: " + grid.scratchFile,
                     .message3 = "  Unit: " + freeText(grid.scratchUnit),
                     .text = "  Error: " + codeAndWords(code)});
  return kFailure;
}

namespace {

// ---- rows ----

template <Cell T>
void extractRow(const GridOf<T>& grid, std::span<T> array, int32_t row, std::string_view tag) {
  const auto width = static_cast<std::size_t>(grid.cols());
  if (row < 1 || row > grid.rows() || array.size() < width) {
    // -9999 whatever the grid's nodata is; an int8, which cannot hold it, takes its own 0.
    std::ranges::fill(array, std::same_as<T, std::int8_t> ? T{0} : truncateOrKeep<T>(kNodata));
    return;
  }
  if (grid.readRow(row, array.first(width)) == kIoOk) return;
  grid.status = reportScratchRead(tag, grid);
  std::ranges::fill(array, grid.nodataValue());
}

struct SetRowTexts {
  std::string_view routine{};
  std::string_view outside{};     // blank: not reported
  std::string_view modeFailed{};  // blank: not reported
};

template <Cell T>
int setRow(GridOf<T>& grid, int32_t row, std::span<const T> array, const SetRowTexts& texts) {
  Attempt attempt{grid.status};
  if (row < 1 || row > grid.rows()) {
    if (!texts.outside.empty()) fail(texts.routine, texts.outside);
    return kFailure;
  }
  if (array.size() != static_cast<std::size_t>(grid.cols()))
    return fail(texts.routine, "Input row does not match grid number of columns");
  if (grid.onDisk && !grid.rowAccess && grid.SetRowAccess() != kSuccess) {
    if (!texts.modeFailed.empty()) fail(texts.routine, texts.modeFailed);
    return kFailure;
  }
  const IoCode code = grid.writeRow(row, array);
  return code == kIoOk ? attempt.succeed() : reportScratchWrite(texts.routine, grid, code);
}

// ---- windows ----

/// Cells outside the grid give nodata, and so do NaNs, in both places of storage.
template <Cell T>
void extractWindow(const GridOf<T>& grid, std::span<T> array, const Window& window, std::string_view tag) {
  if (array.size() < window.cells()) {
    std::ranges::fill(array, grid.nodataValue());
    return;
  }
  std::size_t next = 0;
  for (int32_t row = window.row1; row <= window.row2; ++row)
    for (int32_t col = window.col1; col <= window.col2; ++col) array[next++] = grid.value(col, row, tag);
}

template <Cell T>
void extractNeighbours(const GridOf<T>& grid, std::array<T, 9>& array, int32_t col, int32_t row,
                       std::string_view tag) {
  extractWindow<T>(grid, array, {.col1 = col - 1, .col2 = col + 1, .row1 = row - 1, .row2 = row + 1}, tag);
}

struct TakeElement {};

/// cell = combine(cell, element) over a window, or, with `takeElement`, cell = element without reading it;
/// `setCellTexts` says what a cell outside the grid gives.
template <Cell T, class Combine>
int setWindow(GridOf<T>& grid, const Window& window, std::span<const T> array, std::string_view tag,
              std::string_view readTag, const AccessTexts& setCellTexts, Combine combine) {
  Attempt attempt{grid.status};
  if (array.size() < window.cells()) return fail(tag, "Input array does not match window");
  if (grid.onDisk && !grid.cellAccess && grid.SetCellAccess() != kSuccess)
    return fail(tag, "setCellAccess failed");
  // One report for all the cells of the window that lie outside.
  bool outside = false;
  std::size_t at = 0;
  for (int32_t row = window.row1; row <= window.row2; ++row) {
    for (int32_t col = window.col1; col <= window.col2; ++col) {
      const T element = array[at++];
      if (!grid.contains(col, row)) {
        outside = true;
      } else {
        T next = element;
        if constexpr (!std::same_as<Combine, TakeElement>)
          next = combine(grid.value(col, row, readTag), element);
        if (grid.setCell(col, row, next, setCellTexts) != kSuccess) return kFailure;
      }
    }
  }
  if (outside) {
    if (!setCellTexts.outside.empty()) fail(setCellTexts.routine, setCellTexts.outside);
    return kFailure;
  }
  return attempt.succeed();
}

// ---- points ----

template <Cell T>
T valueXY(const GridOf<T>& grid, double x, double y, const PointOptions& options, std::string_view tag) {
  const T nodata = grid.nodataValue();
  if (!grid.covers(x, y) || (options.interpolate.value_or(false) && options.noInterpolate)) return nodata;
  const bool interpolate = options.interpolate.value_or(true) && !options.noInterpolate && !options.nearest;
  const ColRow cell = grid.coveringCell(options.nearest ? grid.NearestColRow(x, y) : grid.XYtoColRow(x, y));
  const int32_t col = cell.col;
  const int32_t row = cell.row;
  // A cell taken as it is loses its sign too, unless it is nodata.
  const auto itself = [&] {
    const T held = grid.value(col, row, tag);
    return options.absolute && held != nodata ? std::abs(held) : held;
  };
  if (!interpolate) return itself();

  const Point at = grid.ColRowToXY(col, row);
  const double dx = x - at.x;
  const double dy = y - at.y;
  const bool onNode = sameR8(dx, 0.0) && sameR8(dy, 0.0);
  const bool onBorder = col == 1 || col == grid.cols() || row == 1 || row == grid.rows();
  if (onNode || onBorder) return itself();

  //   c d
  //   a b   the point lies right of and above the reference point of a
  const auto corner = [&](int32_t c, int32_t r) { return static_cast<double>(grid.value(c, r, tag)); };
  std::array z{corner(col, row), corner(col + 1, row), corner(col, row - 1), corner(col + 1, row - 1)};
  const auto limit = static_cast<double>(nodata);
  // Data lies above nodata; only where nodata is above 0, or signs do not count, is it one value of many.
  const bool oneOfMany = options.absolute || !(limit <= 0);
  const auto missing = [&](double v) { return oneOfMany ? v == limit : !(v > limit); };
  if (const auto gone = std::ranges::count_if(z, missing); gone > 0) {
    if (!options.ignoreNodata) return missing(z[0]) ? nodata : itself();
    if (gone == 4) return nodata;
    std::ranges::replace(z, limit, 0.0);
  }
  if (options.absolute)
    for (double& v : z) v = std::abs(v);
  const auto [a, b, c, d] = z;
  const double u = dx / grid.xcellsize;
  const double v = dy / grid.ycellsize;
  const auto result = static_cast<T>(a * (1 - u) * (1 - v) + b * u * (1 - v) + c * (1 - u) * v + d * u * v);
  if (std::isnan(result)) return nodata;
  return options.absolute ? std::abs(result) : result;
}

/// An integer grid is not interpolated, and covers only the lattice itself.
template <Cell T>
T latticeValueXY(const GridOf<T>& grid, double x, double y, std::string_view tag) {
  const bool inside = x >= grid.xmin && x <= grid.xmax && y >= grid.ymin && y <= grid.ymax;
  if (!inside) return truncateTo<T>(kNodata);
  const auto [col, row] = grid.XYtoColRow(x, y);
  return grid.value(col, row, tag);
}

template <Cell T>
int setCellXY(GridOf<T>& grid, double x, double y, T newValue, const AccessTexts& texts) {
  const auto [col, row] = grid.XYtoColRow(x, y);
  return grid.setCell(col, row, newValue, texts);
}

/// The sum or product of two integers, wrapping at the ends of their range.
template <Cell T>
T wrappedSum(T a, T b) {
  if constexpr (std::is_floating_point_v<T>)
    return a + b;
  else
    return static_cast<T>(static_cast<std::make_unsigned_t<T>>(a) + static_cast<std::make_unsigned_t<T>>(b));
}

template <Cell T>
T negativeOf(T v) {
  return v > 0 ? static_cast<T>(-v) : v;  // the lowest value has no positive twin and stays
}

constexpr std::string_view kOutsideOf = "Location outside of grid extent";
constexpr std::string_view kOutside = "Location outside grid extent";
constexpr std::string_view kOutOfRange = "Location out of range";
constexpr std::string_view kCellModeFailed = "setCellAccess failed";
constexpr std::string_view kRowModeFailed = "SetRowAccess failed";

constexpr AccessTexts kSetR4{.routine = "SetR4CellColRow in Grid_Module", .outside = kOutsideOf};
constexpr AccessTexts kSetR8{.routine = "SetR8Cell in Grid_Module", .outside = kOutside};
constexpr AccessTexts kSetI4{.routine = "SetI4Cell in Grid_Module", .outside = kOutOfRange};
constexpr AccessTexts kSetI8{.routine = "SetI8CellColRow in Grid_Module", .outside = kOutside};
constexpr AccessTexts kSetI1{.routine = "SetI1Cell in Grid_Module"};

constexpr std::string_view kReadR4 = "ERROR: ExtractR4ValueColRow in Grid_module";
constexpr std::string_view kReadR8 = "ERROR: extractR8ValueColRow in Grid_Module";
constexpr std::string_view kReadI4 = "ERROR: ExtractI4ValueColRow in Grid_Module";
constexpr std::string_view kReadI8 = "ERROR: ExtractI8ValueColRow in Grid_Module";
constexpr std::string_view kReadI1 = "ERROR: ExtractI1ValueColRow in Grid_Module";

AccessTexts changing(std::string_view routine) { return {.routine = routine, .modeFailed = kCellModeFailed}; }

}  // namespace

// ---- faces: float32 ----

float R4Grid_type::ExtractR4ValueXY(double x, double y, const PointOptions& options) const {
  return valueXY(*this, x, y, options, kReadR4);
}
int R4Grid_type::SetR4CellColRow(int32_t col, int32_t row, float newValue) {
  return setCell(col, row, newValue, kSetR4);
}
int R4Grid_type::SetR4CellXY(double x, double y, float newValue) {
  return setCellXY(*this, x, y, newValue, {.routine = "SetR4CellXY in Grid_Module", .outside = kOutsideOf});
}
int R4Grid_type::AddR4(int32_t col, int32_t row, float amount) {
  return changeCell(col, row, changing("AddR4 in Grid_Module"), kReadR4, [=](float v) { return v + amount; });
}
int R4Grid_type::SubtractR4(int32_t col, int32_t row, float amount) {
  return changeCell(col, row, changing("SubtractR4 in Grid_Module"), kReadR4,
                    [=](float v) { return v - amount; });
}
int R4Grid_type::multiplyCellR4(int32_t col, int32_t row, float factor) {
  return changeCell(col, row, changing("multiplyCellR4 in Grid_Module"), kReadR4,
                    [=](float v) { return v * factor; });
}
int R4Grid_type::SetR4List(std::span<const ColRow> list, float newValue) {
  Attempt attempt{status};
  for (const ColRow& cell : list)
    if (contains(cell) && SetR4CellColRow(cell.col, cell.row, newValue) != kSuccess) return kFailure;
  return attempt.succeed();
}
void R4Grid_type::ExtractR4row(std::span<float> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractR4row in Grid_Module");
}
int R4Grid_type::SetR4row(int32_t row, std::span<const float> array) {
  return setRow(*this, row, array, {.routine = "SetR4row in Grid_Module"});
}
void R4Grid_type::ExtractR4Window(std::span<float> array, const Window& window) const {
  extractWindow(*this, array, window, kReadR4);
}
void R4Grid_type::ExtractR4Neighbours(std::array<float, 9>& array, int32_t col, int32_t row) const {
  extractNeighbours(*this, array, col, row, kReadR4);
}
int R4Grid_type::setWindowR4(const Window& window, std::span<const float> array) {
  return setWindow(*this, window, array, "setWindowR4 in Grid_Module ", kReadR4, kSetR4, TakeElement{});
}

// ---- faces: float64 ----

double R8Grid_type::ExtractR8ValueXY(double x, double y, const PointOptions& options) const {
  return valueXY(*this, x, y, options, kReadR8);
}
int R8Grid_type::SetR8Cell(int32_t col, int32_t row, double newValue) {
  return setCell(col, row, newValue, kSetR8);
}
int R8Grid_type::AddR8(int32_t col, int32_t row, double amount) {
  return changeCell(col, row, changing("AddR8 in Grid_Module"), kReadR8,
                    [=](double v) { return v + amount; });
}
int R8Grid_type::multiplyCellR8(int32_t col, int32_t row, double factor) {
  return changeCell(col, row, changing("multiplyCellR8 in Grid_Module"), kReadR8,
                    [=](double v) { return v * factor; });
}
void R8Grid_type::ExtractR8row(std::span<double> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractR8row in Grid_Module");
}
int R8Grid_type::SetR8Row(int32_t row, std::span<const double> array) {
  return setRow(*this, row, array,
                {.routine = "SetR8Row in Grid_Module",
                 .outside = "Input row outside of grid range",
                 .modeFailed = kRowModeFailed});
}
void R8Grid_type::ExtractR8Window(std::span<double> array, const Window& window) const {
  extractWindow(*this, array, window, kReadR8);
}
int R8Grid_type::setWindowR8(const Window& window, std::span<const double> array) {
  return setWindow(*this, window, array, "setWindowR8 in Grid_Module ", kReadR8, kSetR8, TakeElement{});
}
int R8Grid_type::multiplyWindowR8(const Window& window, std::span<const double> array) {
  return setWindow(*this, window, array, "setWindowR8 in Grid_Module ", kReadR8, kSetR8,
                   [](double cell, double element) { return cell * element; });
}

// ---- faces: int32 ----

int32_t I4Grid_type::ExtractI4ValueXY(double x, double y) const {
  return latticeValueXY(*this, x, y, kReadI4);
}
int I4Grid_type::SetI4Cell(int32_t col, int32_t row, int32_t newValue) {
  return setCell(col, row, newValue, kSetI4);
}
int I4Grid_type::SetI4CellXY(double x, double y, int32_t newValue) {
  return setCellXY(*this, x, y, newValue, {.routine = "SetI4CellXY in Grid_Module", .outside = kOutOfRange});
}
int I4Grid_type::AddColRowI4(int32_t col, int32_t row, int32_t amount) {
  return changeCell(col, row, changing("AddColRowI4 in Grid_Module"), kReadI4,
                    [=](int32_t v) { return wrappedSum(v, amount); });
}
int I4Grid_type::SetI4Negative(int32_t col, int32_t row) {
  return changeCell(col, row, changing("SetI4Negative in Grid_Module"), kReadI4, negativeOf<int32_t>);
}
void I4Grid_type::ExtractI4row(std::span<int32_t> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractI4row in Grid_Module");
}
int I4Grid_type::SetI4row(int32_t row, std::span<const int32_t> array) {
  return setRow(*this, row, array, {.routine = "SetI4row in Grid_Module", .modeFailed = kRowModeFailed});
}
void I4Grid_type::ExtractI4Window(std::span<int32_t> array, const Window& window) const {
  extractWindow(*this, array, window, kReadI4);
}
void I4Grid_type::ExtractI4Neighbours(std::array<int32_t, 9>& array, int32_t col, int32_t row) const {
  extractNeighbours(*this, array, col, row, kReadI4);
}
int I4Grid_type::setWindowI4(const Window& window, std::span<const int32_t> array) {
  return setWindow(*this, window, array, "setWindowI4 in Grid_Module ", kReadI4, kSetI4, TakeElement{});
}
int I4Grid_type::setWindowMaxI4(const Window& window, std::span<const int32_t> array) {
  return setWindow(*this, window, array, "setWindowMaxI4 in Grid_Module ", kReadI4, kSetI4,
                   [](int32_t cell, int32_t element) { return std::max(cell, element); });
}

// ---- faces: int64 ----

int64_t I8Grid_type::ExtractI8ValueXY(double x, double y) const {
  return latticeValueXY(*this, x, y, kReadI8);
}
int I8Grid_type::SetI8CellColRow(int32_t col, int32_t row, int64_t newValue) {
  return setCell(col, row, newValue, kSetI8);
}
int I8Grid_type::SetI8CellXY(double x, double y, int64_t newValue) {
  return setCellXY(*this, x, y, newValue, {.routine = "SetI8CellXY in Grid_Module", .outside = kOutside});
}
int I8Grid_type::AddColRowI8(int32_t col, int32_t row, int64_t amount) {
  return changeCell(col, row, changing("AddColRowI8 in Grid_Module"), kReadI8,
                    [=](int64_t v) { return wrappedSum(v, amount); });
}
int I8Grid_type::SetI8Negative(int32_t col, int32_t row) {
  constexpr std::string_view tag = "SetI8Negative in Grid_Module";
  if (!contains(col, row)) {
    fail(tag, "Cell outside grid extent");
    return status = kFailure;
  }
  // Unlike a value reader this operation can tell its caller of a cell that cannot be read.
  if (onDisk) {
    if (SetCellAccess() != kSuccess) return status = fail(tag, kCellModeFailed);
    int64_t held = 0;
    RecordFile* file = terrain::units().records(scratchUnit);
    const IoCode code = file == nullptr ? kIoNotFound
                                        : file->read((int64_t{row} - 1) * cols() + col,
                                                     std::as_writable_bytes(std::span(&held, 1)));
    if (code != kIoOk)
      return status = reportError({.routine = tag,
                                   .message1 = "Error reading from scratch file",
                                   .message2 = "  File: " + scratchFile,
                                   .message3 = "  Error: " + codeAndWords(code)});
  }
  return changeCell(col, row, changing(tag), kReadI8, negativeOf<int64_t>);
}
void I8Grid_type::ExtractI8row(std::span<int64_t> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractI8row in Grid_Module");
}
int I8Grid_type::SetI8row(int32_t row, std::span<const int64_t> array) {
  return setRow(*this, row, array, {.routine = "SetI8row in Grid_Module"});
}
void I8Grid_type::ExtractI8Window(std::span<int64_t> array, const Window& window) const {
  extractWindow(*this, array, window, kReadI8);
}
int I8Grid_type::ExtractI8WindowList(std::vector<int64_t>& list, const Window& window) const {
  list.clear();
  if (!tryAllocate(list, window.cells())) return cannotAllocate("ExtractI8WindowList in Grid_Module", "list");
  ExtractI8Window(list, window);
  return kSuccess;
}
void I8Grid_type::ExtractI8Neighbours(std::array<int64_t, 9>& array, int32_t col, int32_t row) const {
  extractNeighbours(*this, array, col, row, kReadI8);
}
int I8Grid_type::setWindowI8(const Window& window, std::span<const int64_t> array) {
  return setWindow(*this, window, array, "setWindowI8 in Grid_Module ", kReadI8, kSetI8, TakeElement{});
}

// ---- faces: int16 and int8 ----

void I2Grid_type::ExtractI2Row(std::span<int16_t> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractI2Row in Grid_Module");
}
int I2Grid_type::SetI2row(int32_t row, std::span<const int16_t> array) {
  return setRow(*this, row, array, {.routine = "SetI2row in Grid_Module", .modeFailed = kRowModeFailed});
}

int I1Grid_type::SetI1Cell(int32_t col, int32_t row, int8_t newValue) {
  return setCell(col, row, newValue, kSetI1);
}
int I1Grid_type::AddColRowI1(int32_t col, int32_t row, int8_t amount) {
  return changeCell(col, row, changing("AddColRowI1 in Grid_Module"), kReadI1,
                    [=](int8_t v) { return wrappedSum(v, amount); });
}
void I1Grid_type::ExtractI1Row(std::span<int8_t> array, int32_t row) const {
  extractRow(*this, array, row, "ExtractI1Row in Grid_Module");
}
int I1Grid_type::SetI1Row(int32_t row, std::span<const int8_t> array) {
  return setRow(*this, row, array, {.routine = "SetI1Row in Grid_Module", .modeFailed = kRowModeFailed});
}
int I1Grid_type::setWindowI1(const Window& window, std::span<const int8_t> array) {
  return setWindow(*this, window, array, "setWindowI1 in Grid_Module ", kReadI1, kSetI1, TakeElement{});
}

}  // namespace terrain
