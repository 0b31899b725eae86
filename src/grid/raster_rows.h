#pragma once
// Rows of cells between raster files and grids: in blocks, converted on the way, the same for every
// format whose file is rows of cells. Internal to the raster readers and writers.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "foundation/memory.h"
#include "foundation/platform.h"
#include "grid/raster_source.h"
#include "grid/rows.h"

namespace terrain {

static_assert(std::endian::native == std::endian::little,
              "raster files are written in the machine's byte order");

/// Rows are moved in blocks of about this many bytes: large enough for the disk, small enough for the cache.
inline constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

/// Room for as many rows of `rowLength` elements as make a block, or for one where memory is short.
/// Gives the number of rows, 0 if there is no memory at all.
template <class T>
std::size_t allocateBlock(std::vector<T>& block, std::size_t rowLength, int32_t rows) {
  const std::size_t inBlock =
      std::clamp<std::size_t>(kBlockBytes / (rowLength * sizeof(T)), 1, static_cast<std::size_t>(rows));
  if (tryAllocate(block, inBlock * rowLength)) return inBlock;
  return tryAllocate(block, rowLength) ? 1 : 0;
}

// ---- conversion ----

template <Cell To, Cell From>
To converted(From value) {
  if constexpr (std::is_floating_point_v<To>)
    return static_cast<To>(value);
  else if constexpr (std::is_floating_point_v<From>)
    return truncateTo<To>(value);
  else
    return static_cast<To>(value);  // an int64 that does not fit an int32 wraps
}

template <Cell To, Cell From>
void convertCells(const std::byte* from, std::span<To> to) {
  if constexpr (std::same_as<To, From>) {
    std::memcpy(to.data(), from, to.size_bytes());
  } else {
    for (To& cell : to) {
      From value;
      std::memcpy(&value, from, sizeof(From));
      from += sizeof(From);
      cell = converted<To>(value);
    }
  }
}

template <Cell To>
using Converter = void (*)(const std::byte* from, std::span<To> to);

/// The conversion of a file's cells to the grid's: converted, not taken for another type, so a float64 or
/// integer file that is read into floats keeps its values. Null where the system has none.
template <Cell To>
Converter<To> converterFor(CellType fileType) {
  switch (fileType) {
    case CellType::R4:
      return convertCells<To, float>;
    case CellType::R8:
      return convertCells<To, double>;
    case CellType::I4:
      return convertCells<To, std::int32_t>;
    case CellType::I8:
      return convertCells<To, std::int64_t>;
    case CellType::I2:
      return convertCells<To, std::int16_t>;
    case CellType::I1:
      return convertCells<To, std::int8_t>;
    case CellType::none:
      break;
  }
  return nullptr;
}

// ---- reading ----

/// Where file cells go in the grid: file columns col1..col2 and rows row1..row2 are copied to the grid
/// from (toCol, toRow) on; cells that nothing is copied to hold -9999.
struct Placement {
  int32_t col1 = 1, col2 = 0, row1 = 1, row2 = 0;
  int32_t toCol = 1, toRow = 1;
};

/// Reads the rows of a file in order, a block at a time.
class FileRows {
 public:
  FileRows(const platform::File& file, std::size_t recordLength, int32_t first, int32_t last)
      : file_(file), recordLength_(recordLength), next_(first), last_(last) {}
  /// False if there is no memory for a row.
  [[nodiscard]] bool open() {
    blockRows_ = allocateBlock(block_, recordLength_, last_);
    return blockRows_ > 0;
  }
  /// The bytes of the next row; null if it cannot be read.
  [[nodiscard]] const std::byte* next() {
    if (left_ == 0) {
      left_ = std::min<std::size_t>(blockRows_, static_cast<std::size_t>(last_ - next_ + 1));
      at_ = block_.data();
      const std::uint64_t offset = static_cast<std::uint64_t>(next_ - 1) * recordLength_;
      if (file_.readAt(offset, std::span(block_).first(left_ * recordLength_)) != kIoOk) return nullptr;
    }
    --left_;
    ++next_;
    return std::exchange(at_, at_ + recordLength_);
  }

 private:
  const platform::File& file_;
  std::size_t recordLength_;
  int32_t next_;
  int32_t last_;
  std::vector<std::byte> block_;
  std::size_t blockRows_ = 0;
  std::size_t left_ = 0;  // rows of the block not yet handed out
  const std::byte* at_ = nullptr;
};

/// Cells that hold `held`, and NaN, become -9999.
template <Cell T>
void replaceNodata(std::span<T> cells, float held) {
  const T old = truncateOrKeep<T>(held);
  const T missing = truncateOrKeep<T>(kNodata);
  for (T& cell : cells) {
    if constexpr (std::is_floating_point_v<T>)
      cell = cell == old || std::isnan(cell) ? missing : cell;
    else
      cell = cell == old ? missing : cell;
  }
}

/// Fills the grid, which has storage, from the file. With `nodata`, that value of the file and NaN become
/// -9999. 0, or -1 with a report.
template <Cell T>
int fillFromFile(GridOf<T>& grid, const RasterSource& source, const Placement& place, Converter<T> convert,
                 std::optional<float> nodata, std::string_view tag) {
  const std::string name = source.fileName();
  const auto unreadable = [&] { return reportError({.routine = tag, .code = kReadError, .file = name}); };
  platform::File file;
  if (file.open(name, platform::Open::read) != kIoOk)
    return reportError({.routine = tag, .code = kCannotOpenToRead, .file = name});
  const auto width = static_cast<std::size_t>(place.col2 - place.col1 + 1);
  const bool rowsWhole = width == static_cast<std::size_t>(grid.cols());
  const bool whole = rowsWhole && grid.cols() == source.header.cols() && place.row1 == 1 &&
                     place.toRow == 1 && place.row2 == grid.rows();
  // A whole file of the grid's own type is its cells as they stand.
  if (!grid.onDisk && whole && !nodata && source.type == cellTypeOf<T>())
    return file.readAt(0, std::as_writable_bytes(grid.cells.all())) == kIoOk ? kSuccess : unreadable();

  FileRows rows(file, source.recordLength, place.row1, place.row2);
  if (!rows.open()) return cannotAllocate(tag, kFactsOf<T>.inRow);
  const std::size_t skipped = static_cast<std::size_t>(place.col1 - 1) * factsOf(source.type)->bytes;
  const int32_t lastRow = place.toRow + (place.row2 - place.row1);
  return RowPass{filling(grid, kFactsOf<T>.outRow)}.run(tag, [&](int32_t row, std::span<T> cells) {
    const bool covered = row >= place.toRow && row <= lastRow;
    if (!covered || !rowsWhole) std::ranges::fill(cells, truncateOrKeep<T>(kNodata));
    if (!covered) return kSuccess;
    const std::byte* from = rows.next();
    if (from == nullptr) return unreadable();
    const std::span<T> to = cells.subspan(static_cast<std::size_t>(place.toCol - 1), width);
    convert(from + skipped, to);
    if (nodata) replaceNodata(to, *nodata);
    return kSuccess;
  });
}

// ---- writing ----

struct RasterFileTexts {
  std::string_view routine{};
  std::string_view rowObject{};
};

/// Writes the cells of a grid to an open file as `To`, row after row from the north. 0, or -1 with a
/// report that names `name`.
template <class To, Cell T>
int writeRows(const GridOf<T>& grid, platform::File& file, const std::string& name,
              const RasterFileTexts& texts) {
  const auto cols = static_cast<std::size_t>(grid.cols());
  std::vector<To> block;
  const std::size_t blockRows = allocateBlock(block, cols, grid.rows());
  if (blockRows == 0) return cannotAllocate(texts.routine, texts.rowObject);
  const auto checked = [&](IoCode code) {
    if (code == kIoOk) return kSuccess;
    return reportError(
        {.routine = texts.routine, .code = kWriteError, .file = name, .message1 = describe(code)});
  };
  if (checked(file.reserve(std::uint64_t{cols} * static_cast<std::uint64_t>(grid.rows()) * sizeof(To))) !=
      kSuccess)
    return kFailure;
  std::uint64_t offset = 0;
  std::size_t filled = 0;
  return RowPass{reading(grid, texts.rowObject)}.run(
      texts.routine, [&](int32_t row, std::span<const T> cells) {
        std::ranges::transform(cells, block.begin() + static_cast<std::ptrdiff_t>(filled * cols),
                               [](T cell) { return static_cast<To>(cell); });
        if (++filled < blockRows && row < grid.rows()) return kSuccess;
        const auto bytes = std::as_bytes(std::span(block).first(filled * cols));
        const std::uint64_t at = std::exchange(offset, offset + bytes.size());
        filled = 0;
        return checked(file.writeAt(at, bytes));
      });
}

}  // namespace terrain
