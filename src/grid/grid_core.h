#pragma once
// The engine of the six grid types: storage in memory or in a scratch file, and access to single
// cells and rows in either place. Written once over the cell type; the published operations of the
// types (grid/grid.h) stand on it.

#include <cmath>
#include <concepts>
#include <span>
#include <type_traits>
#include <vector>

#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/status.h"
#include "foundation/units.h"
#include "grid/cells.h"
#include "grid/header.h"

namespace terrain {

/// What an operation of a family reports when it fails: the parts that differ from type to type. A
/// blank text is not reported.
struct AccessTexts {
  std::string_view routine{};     ///< tag of the report
  std::string_view outside{};     ///< a cell or row outside the grid
  std::string_view modeFailed{};  ///< the scratch file could not be switched
};

struct ScratchFile {
  std::string_view name;
  int32_t unit;
};
/// Lines, tag first, that tell of a scratch file that could not be read, then the end of the run: a
/// value that cannot be read cannot be told to the caller through the result.
[[noreturn]] void stopOnScratchFault(std::string_view tag, const ScratchFile& file, IoCode code);
[[noreturn]] void stopOnScratchFault(std::string_view tag, const Grid_Header& grid, IoCode code);
/// Report of a scratch file that could not be read; -1. A row that cannot be read must not become one
/// of the result.
int reportScratchRead(std::string_view tag, const Grid_Header& grid);
/// Report of a scratch file that could not be written; -1.
int reportScratchWrite(std::string_view tag, const Grid_Header& grid, IoCode code);

template <Cell T>
class GridOf : public Grid_Header {
 public:
  using CellValue = T;

  CellArray<T> cells{};  ///< absent while the grid is on disk

  GridOf() = default;
  ~GridOf() override { releaseStorage(); }
  GridOf(const GridOf&) = delete;
  GridOf& operator=(const GridOf&) = delete;
  GridOf(GridOf&& other) noexcept : Grid_Header(std::move(other)), cells(std::move(other.cells)) {
    other.forgetStorage();
  }
  GridOf& operator=(GridOf&& other) noexcept {
    if (this != &other) {
      releaseStorage();
      Grid_Header::operator=(std::move(other));
      cells = std::move(other.cells);
      other.forgetStorage();
    }
    return *this;
  }

  [[nodiscard]] CellType cellType() const override { return cellTypeOf<T>(); }

  /// True when there are counts and cells, in memory or on disk.
  [[nodiscard]] bool GridExists() const { return ncols.has_value() && (onDisk || cells.present()); }

  /// True when the cells are on disk, or in memory in the counts that the header tells; a header that has
  /// been read or set anew may tell of cells that are not there.
  [[nodiscard]] bool holdsItsCells() const { return onDisk || cells.hasSize(cols(), rows()); }

  /// Nodata in the form of the cell type; always 0 in an int8 grid.
  [[nodiscard]] T nodataValue() const {
    if constexpr (std::same_as<T, std::int8_t>)
      return 0;
    else
      return truncateOrKeep<T>(nodata);
  }

  /// The cell's value; nodata outside the grid and, in the float types, for a NaN. A scratch file that
  /// cannot be read ends the run under `tag`.
  [[nodiscard]] T value(int32_t col, int32_t row, std::string_view tag) const {
    if (!contains(col, row) || !holdsItsCells()) [[unlikely]]
      return nodataValue();
    const T held = onDisk ? scratchValue(col, row, tag) : cells.at(col, row);
    if constexpr (std::is_floating_point_v<T>)
      if (std::isnan(held)) return nodataValue();
    return held;
  }

  /// Stores a cell. -1, reported with `texts`, outside the grid or if the scratch file cannot be written.
  int setCell(int32_t col, int32_t row, T newValue, const AccessTexts& texts);

  /// cell = change(cell). -1, not reported, outside the grid.
  template <class Change>
  int changeCell(int32_t col, int32_t row, const AccessTexts& texts, std::string_view readTag, Change change);

  /// A cell of a grid on disk, within the grid, for reading or writing; good until the next access. A
  /// scratch file that fails ends the run under `tag`.
  [[nodiscard]] T& cellOnDisk(int32_t col, int32_t row, std::string_view tag) {
    IoCode code = kIoOk;
    T* cell = scratchCell(col, row, true, code);
    if (cell == nullptr) stopOnScratchFault(tag, *this, code);
    return *cell;
  }
  [[nodiscard]] T valueOnDisk(int32_t col, int32_t row, std::string_view tag) const {
    return scratchValue(col, row, tag);
  }

  /// Reads a row within the grid into `out`, of ncols cells.
  [[nodiscard]] IoCode readRow(int32_t row, std::span<T> out) const;
  /// Writes a row within the grid.
  [[nodiscard]] IoCode writeRow(int32_t row, std::span<const T> in);

  /// Gives memory back and deletes the scratch file, without a message; no grid is left.
  void releaseStorage() {
    if (scratchUnit > 0) units_().close(scratchUnit, Closing::erase);
    cells.release();
    forgetStorage();
  }

 private:
  static UnitTable& units_() { return terrain::units(); }
  void forgetStorage() {
    scratchUnit = 0;
    scratchFile.clear();
    ncols.reset();
    nrows.reset();
  }
  [[nodiscard]] std::uint64_t offsetOf(int32_t col, int32_t row) const {
    return (static_cast<std::uint64_t>(row - 1) * static_cast<std::uint64_t>(cols()) +
            static_cast<std::uint64_t>(col - 1)) *
           sizeof(T);
  }
  [[nodiscard]] T* scratchCell(int32_t col, int32_t row, bool change, IoCode& code) const;
  [[nodiscard]] T scratchValue(int32_t col, int32_t row, std::string_view tag) const;
};

// ---- cells on disk ----

template <Cell T>
T* GridOf<T>::scratchCell(int32_t col, int32_t row, bool change, IoCode& code) const {
  if (!cellAccess && useCellAccess() != kSuccess) {
    code = kIoNotFound;
    return nullptr;
  }
  RecordFile* file = units_().records(scratchUnit);
  if (file == nullptr) {
    code = kIoNotFound;
    return nullptr;
  }
  std::byte* bytes = file->locate(offsetOf(col, row), sizeof(T), change, code);
  return reinterpret_cast<T*>(
      bytes);  // pages are aligned for every cell type, offsets are multiples of its size
}

template <Cell T>
T GridOf<T>::scratchValue(int32_t col, int32_t row, std::string_view tag) const {
  IoCode code = kIoOk;
  const T* cell = scratchCell(col, row, false, code);
  if (cell == nullptr) stopOnScratchFault(tag, *this, code);
  return *cell;
}

template <Cell T>
int GridOf<T>::setCell(int32_t col, int32_t row, T newValue, const AccessTexts& texts) {
  Attempt attempt{status};
  if (!contains(col, row)) {
    if (!texts.outside.empty()) fail(texts.routine, texts.outside);
    return kFailure;
  }
  if (!onDisk) {
    if (!holdsItsCells()) return kFailure;
    cells.at(col, row) = newValue;
  } else {
    if (!cellAccess && SetCellAccess() != kSuccess) {
      if (!texts.modeFailed.empty()) fail(texts.routine, texts.modeFailed);
      return kFailure;
    }
    IoCode code = kIoOk;
    T* cell = scratchCell(col, row, true, code);
    if (cell != nullptr) {
      *cell = newValue;
    } else {
      // A cell beyond what the file holds so far makes the file longer.
      RecordFile* file = units_().records(scratchUnit);
      if (code == kIoPastEnd && file != nullptr)
        code = file->writeBytes(offsetOf(col, row), std::as_bytes(std::span<const T>(&newValue, 1)));
      if (code != kIoOk) return reportScratchWrite(texts.routine, *this, code);
    }
  }
  return attempt.succeed();
}

template <Cell T>
template <class Change>
int GridOf<T>::changeCell(int32_t col, int32_t row, const AccessTexts& texts, std::string_view readTag,
                          Change change) {
  if (!contains(col, row)) return status = kFailure;
  if (onDisk && !cellAccess && SetCellAccess() != kSuccess) {
    if (!texts.modeFailed.empty()) fail(texts.routine, texts.modeFailed);
    return status = kFailure;
  }
  return setCell(col, row, change(value(col, row, readTag)), texts);
}

// ---- rows ----

template <Cell T>
IoCode GridOf<T>::readRow(int32_t row, std::span<T> out) const {
  if (!holdsItsCells()) return kIoPastEnd;
  if (!onDisk) {
    std::ranges::copy(cells.row(row), out.begin());
    return kIoOk;
  }
  if (!rowAccess && useRowAccess() != kSuccess) return kIoNotFound;
  RecordFile* file = units_().records(scratchUnit);
  return file == nullptr ? kIoNotFound : file->read(row, std::as_writable_bytes(out));
}

template <Cell T>
IoCode GridOf<T>::writeRow(int32_t row, std::span<const T> in) {
  if (!holdsItsCells()) return kIoPastEnd;
  if (!onDisk) {
    std::ranges::copy(in, cells.row(row).begin());
    return kIoOk;
  }
  if (!rowAccess && SetRowAccess() != kSuccess) return kIoNotFound;
  RecordFile* file = units_().records(scratchUnit);
  return file == nullptr ? kIoNotFound : file->write(row, std::as_bytes(in));
}

// ---- any grid ----

/// Calls `f` with a grid of any type as its own GridOf<T>: the one switch over the six types. Gives what
/// `f` gives, or what `otherwise` gives for a header that is no grid.
template <class Header, class F, class Otherwise>
requires std::same_as<std::remove_const_t<Header>, Grid_Header>
auto visitGrid(Header& grid, F&& f, Otherwise&& otherwise) -> decltype(otherwise()) {
  const auto call = [&]<Cell T>(std::type_identity<T>) -> decltype(otherwise()) {
    using Grid = std::conditional_t<std::is_const_v<Header>, const GridOf<T>, GridOf<T>>;
    return f(static_cast<Grid&>(grid));
  };
  switch (grid.cellType()) {
    case CellType::R4:
      return call(std::type_identity<float>{});
    case CellType::R8:
      return call(std::type_identity<double>{});
    case CellType::I4:
      return call(std::type_identity<std::int32_t>{});
    case CellType::I8:
      return call(std::type_identity<std::int64_t>{});
    case CellType::I2:
      return call(std::type_identity<std::int16_t>{});
    case CellType::I1:
      return call(std::type_identity<std::int8_t>{});
    case CellType::none:
      break;
  }
  return otherwise();
}
/// The same for an f without result, which is not called for a header that is no grid.
template <class Header, class F>
void visitGrid(Header& grid, F&& f) {
  visitGrid(grid, f, [] {});
}

}  // namespace terrain
