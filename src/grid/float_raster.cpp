#include "grid/float_raster.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/raster_header.h"
#include "grid/storage.h"

namespace terrain {

static_assert(std::endian::native == std::endian::little,
              "raster files are written in the machine's byte order");

namespace {

constexpr std::string_view kTag = "ReadGrid in Grid_Module";
/// Rows are moved in blocks of about this many bytes: large enough for the disk, small enough for the cache.
constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

/// Room for as many rows of `rowLength` elements as make a block, or for one where memory is short.
/// Gives the number of rows, 0 if there is no memory at all.
template <class T>
std::size_t allocateBlock(std::vector<T>& block, std::size_t rowLength, int32_t rows) {
  const std::size_t inBlock =
      std::clamp<std::size_t>(kBlockBytes / (rowLength * sizeof(T)), 1, static_cast<std::size_t>(rows));
  if (tryAllocate(block, inBlock * rowLength)) return inBlock;
  return tryAllocate(block, rowLength) ? 1 : 0;
}

int failed(const std::string& why) { return reportError({.routine = kTag, .message1 = why}); }

// ---- which file, which cells ----

/// A raster file that has been found and whose header makes sense.
struct Source {
  std::string name;       // as the caller gave it
  std::string stem;       // without extension
  std::string extension;  // ".flt" or ".int"
  Grid_Header header;
  CellType type = CellType::none;
  std::size_t recordLength = 0;  // bytes of a row
};

std::string withoutEnding(std::string_view name, std::string_view lower, std::string_view upper) {
  std::string text(stripped(name));
  if (text.ends_with(lower) || text.ends_with(upper)) text.resize(text.size() - lower.size());
  return text;
}

int findFile(const Grid_Header& grid, Source& source) {
  const auto there = [&](std::string_view extension) {
    return platform::fileExists(source.stem + std::string(extension));
  };
  switch (grid.cellType()) {
    case CellType::R4:
    case CellType::R8:
      source.stem = withoutEnding(source.name, ".flt", ".FLT");
      if (there(".flt") && there(".hdr")) source.extension = ".flt";
      break;
    case CellType::none:
      return failed("Unknown grid type");
    default:
      source.stem = withoutEnding(source.name, ".int", ".INT");
      if (there(".int"))
        source.extension = ".int";
      else if (there(".flt"))
        source.extension = ".flt";
  }
  return source.extension.empty() ? failed("Cannot find raster file " + source.name) : kSuccess;
}

/// Layouts that would read as well-formed nonsense are refused.
int checkLayout(const Source& source, const RasterLayout& layout) {
  const std::string file = source.stem + ".hdr";
  const auto refuse = [&](const std::string& why) {
    return reportError({.routine = kTag, .file = file, .message1 = why});
  };
  if (layout.byteOrder == "M" || layout.byteOrder == "MSBFIRST")
    return refuse("BYTEORDER " + layout.byteOrder + ": only rasters with the low byte first can be read");
  if (!layout.bands.empty() && layout.bands != "1")
    return refuse("NBANDS " + layout.bands + ": only rasters of one band can be read");
  if (source.extension == ".flt" && source.header.fileType.blank() && !layout.pixelType.empty() &&
      layout.pixelType != "FLOAT")
    return refuse("PIXELTYPE " + layout.pixelType + ": the cells of a .flt raster must be floats");
  return kSuccess;
}

std::optional<CellType> typeOf(std::string_view code) {
  if (code == "R4") return CellType::R4;
  if (code == "R8") return CellType::R8;
  if (code == "I1") return CellType::I1;
  if (code == "I2") return CellType::I2;
  if (code == "I4") return CellType::I4;
  if (code == "I8") return CellType::I8;
  return std::nullopt;
}

std::size_t bytesOfType(CellType type) {
  switch (type) {
    case CellType::R8:
    case CellType::I8:
      return 8;
    case CellType::I2:
      return 2;
    case CellType::I1:
      return 1;
    default:
      return 4;
  }
}

/// Settles the cell type and the row length of the file from what the header says and the file's size.
int settleCellType(Source& source) {
  Grid_Header& header = source.header;
  const auto cols = static_cast<std::size_t>(header.cols());
  const int64_t size = fsize(source.stem + source.extension);
  if (size < 1) return failed("Cannot find raster file " + source.name);
  if (header.bitDepth == 0) {
    const int64_t bytes = size / header.cols() / header.rows();
    if (bytes != 4 && bytes != 8)
      return reportError({.routine = kTag,
                          .file = source.stem + source.extension,
                          .message1 = "Unknown bit depth",
                          .message2 = bytes < 4 ? "The raster file is shorter than its header says"
                                                : "The size of the raster file does not fit its header"});
    header.bitDepth = bytes == 4 ? 32 : 64;
  }
  if (header.fileType.blank()) {
    const bool real = source.extension == ".flt";
    switch (header.bitDepth) {
      case 64:
        header.fileType = real ? "R8" : "I8";
        break;
      case 32:
        header.fileType = real ? "R4" : "I4";
        break;
      case 16:
        header.fileType = real ? "" : "I2";
        break;
      case 8:
        header.fileType = real ? "" : "I1";
        break;
      default:
        break;
    }
    if (header.fileType.blank()) return failed("Unknown file type");
  }

  const std::string code(header.fileType.trimmed());
  source.recordLength = header.bitDepth < 1 ? 4 * cols : static_cast<std::size_t>(header.bitDepth / 8) * cols;
  if (code == "I" || code == "IN") {
    for (CellType type : {CellType::I8, CellType::I4, CellType::I2, CellType::I1})
      if (source.recordLength == bytesOfType(type) * cols) source.type = type;
    if (source.type == CellType::none) return failed("Unrecognized raster file type");
  } else {
    const auto type = typeOf(code);
    if (!type) return failed("Unrecognized raster file type: " + code);
    if (source.recordLength != bytesOfType(*type) * cols)
      return failed("grid header file type and bit depth do not match");
    source.type = *type;
  }

  const auto needed = byteCount(source.recordLength, static_cast<std::uint64_t>(header.rows()));
  if (!needed || static_cast<std::uint64_t>(size) < *needed)
    return reportError(
        {.routine = kTag,
         .file = source.stem + source.extension,
         .message1 = "The raster file is shorter than its header says",
         .message2 = "  Bytes in the file: " + freeText(size),
         .message3 = "  Bytes needed: " + (needed ? std::to_string(*needed) : "beyond any file")});
  return kSuccess;
}

// ---- which part of the file ----

/// Where file cells go in the grid: file columns col1..col2 and rows row1..row2 are copied to the grid
/// from (toCol, toRow) on; cells that nothing is copied to hold -9999.
struct Placement {
  int32_t col1 = 1, col2 = 0, row1 = 1, row2 = 0;
  int32_t toCol = 1, toRow = 1;
};

/// A column or row number on a line without the gap at 0.
int64_t onLine(int32_t at) { return at >= 1 ? int64_t{at} : int64_t{at} + 1; }

int clipTo(Grid_Header& grid, Grid_Header file, const Grid_Header& clip, Placement& place) {
  if (!clip.HeaderExists()) return failed("Clipgrid not assigned");
  if (clip.feetConverted && !file.feetConverted) FeetToMeters(file);
  grid.copyGeometry(file);
  if (clip.ncols == file.ncols && clip.nrows == file.nrows && sameR8(clip.xmin, file.xmin) &&
      sameR8(clip.ymin, file.ymin) && sameR8(clip.xcellsize, file.xcellsize) &&
      sameR8(clip.ycellsize, file.ycellsize))
    return kSuccess;

  const auto [c1, r1] = file.XYtoColRow(clip.xmin, clip.ymax);
  const auto [c2, r2] = file.XYtoColRow(clip.xmax, clip.ymin);
  const Point northWest = file.ColRowToXY(c1, r1);
  const Point southEast = file.ColRowToXY(c2, r2);
  grid.xmin = northWest.x;
  grid.ymax = northWest.y;
  grid.xmax = southEast.x;
  grid.ymin = southEast.y;
  // Counted by lattice numbers: the quotient of extent and cell size loses a cell to rounding far from 0.
  const int64_t cols = onLine(c2) - onLine(c1) + 1;
  const int64_t rows = onLine(r2) - onLine(r1) + 1;
  place = {.col1 = std::max(c1, 1),
           .col2 = std::min(c2, file.cols()),
           .row1 = std::max(r1, 1),
           .row2 = std::min(r2, file.rows())};
  if (place.col1 > place.col2 || place.row1 > place.row2) return failed("Clipgrid does not overlap");
  constexpr int64_t most = std::numeric_limits<int32_t>::max();
  if (cols > most || rows > most) return failed("Clipgrid has too many cells of the file's size");
  grid.ncols = static_cast<int32_t>(cols);
  grid.nrows = static_cast<int32_t>(rows);
  place.toCol = static_cast<int32_t>(place.col1 - onLine(c1) + 1);
  place.toRow = static_cast<int32_t>(place.row1 - onLine(r1) + 1);
  return kSuccess;
}

// ---- moving rows ----

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
      return std::is_floating_point_v<To> ? convertCells<To, std::int8_t> : nullptr;
    case CellType::none:
      break;
  }
  return nullptr;
}

/// Names of the row buffers in reports of failed allocations.
template <Cell T>
struct RowObjects;
template <>
struct RowObjects<float> {
  static constexpr std::string_view in = "r4InRow", out = "r4OutRow array";
};
template <>
struct RowObjects<double> {
  static constexpr std::string_view in = "r8InRow", out = "R8OutRow";
};
template <>
struct RowObjects<std::int32_t> {
  static constexpr std::string_view in = "I4InRow", out = "I4OutRow";
};
template <>
struct RowObjects<std::int64_t> {
  static constexpr std::string_view in = "I8InRow", out = "I8OutRow";
};

int noMemory(std::string_view object) { return cannotAllocate(kTag, object); }

template <Cell T>
int moveRows(GridOf<T>& grid, const Source& source, const Placement& place, Converter<T> convert) {
  const std::string fileName = source.stem + source.extension;
  platform::File file;
  if (file.open(fileName, platform::Open::read) != kIoOk)
    return reportError({.routine = kTag, .code = kCannotOpenToRead, .file = fileName});

  // A whole file of the grid's own type is its cells as they stand.
  if (!grid.onDisk && source.type == CellTraits<T>::type && grid.cols() == source.header.cols() &&
      place.row1 == 1 && place.toRow == 1 && place.col1 == 1 && place.toCol == 1 &&
      place.row2 == grid.rows() && place.col2 == grid.cols())
    return file.readAt(0, std::as_writable_bytes(grid.cells.all())) == kIoOk
               ? kSuccess
               : reportError({.routine = kTag, .code = kReadError, .file = fileName});

  std::vector<std::byte> block;
  const std::size_t blockRows = allocateBlock(block, source.recordLength, source.header.rows());
  if (blockRows == 0) return noMemory(RowObjects<T>::in);
  std::vector<T> rowOut;
  if (grid.onDisk && !tryAllocate(rowOut, static_cast<std::size_t>(grid.cols())))
    return noMemory(RowObjects<T>::out);

  const std::size_t cellBytes = bytesOfType(source.type);
  const auto width = static_cast<std::size_t>(place.col2 - place.col1 + 1);
  const bool rowsWhole = width == static_cast<std::size_t>(grid.cols());
  std::size_t inBlock = 0;  // rows of the block not yet used
  std::size_t nextInBlock = 0;
  int32_t fileRow = place.row1;
  for (int32_t row = 1; row <= grid.rows(); ++row) {
    const bool covered = row >= place.toRow && fileRow <= place.row2;
    const std::span<T> cells = grid.onDisk ? std::span<T>(rowOut) : grid.cells.row(row);
    if (!covered || !rowsWhole) std::ranges::fill(cells, truncateOrKeep<T>(kNodata));
    if (covered) {
      if (inBlock == 0) {
        inBlock = std::min<std::size_t>(blockRows, static_cast<std::size_t>(place.row2 - fileRow + 1));
        nextInBlock = 0;
        const std::uint64_t offset = static_cast<std::uint64_t>(fileRow - 1) * source.recordLength;
        if (file.readAt(offset, std::span(block).first(inBlock * source.recordLength)) != kIoOk)
          return reportError({.routine = kTag, .code = kReadError, .file = fileName});
      }
      const std::byte* from = block.data() + nextInBlock * source.recordLength +
                              static_cast<std::size_t>(place.col1 - 1) * cellBytes;
      convert(from, cells.subspan(static_cast<std::size_t>(place.toCol - 1), width));
      --inBlock;
      ++nextInBlock;
      ++fileRow;
    }
    if (grid.onDisk) {
      const IoCode code = grid.writeRow(row, cells);
      if (code != kIoOk) return reportScratchWrite(kTag, grid, code);
    }
  }
  if (grid.onDisk) {
    const IoCode code = units().records(grid.scratchUnit)->flush();
    if (code != kIoOk) return reportScratchWrite(kTag, grid, code);
  }
  return kSuccess;
}

// ---- the grid that takes them ----

template <Cell T>
int makeStorage(GridOf<T>& grid, const ReadGridArgs& args, std::string_view fileName) {
  grid.rowAccess = grid.cellAccess = false;
  if (!grid.onDisk && !grid.cells.allocate(grid.cols(), grid.rows())) {
    grid.onDisk = true;
    putMessage("ReadGrid: unable to allocate memory for grid; using scratch space");
  }
  if (!grid.onDisk) return kSuccess;
  if (openRowScratch(grid, sizeof(T)) != kSuccess)
    return failed("OpenBinaryScratchFile failed for " + std::string(fileName));
  putMessage("ReadGrid: created scratch file: " + grid.scratchFile);
  putMessage("  For file: " + std::string(fileName));
  putMessage(args.cellAccess.value_or(false) ? "  CellAccess" : "  RowAccess");
  putMessage("  Unit: ", grid.scratchUnit);
  grid.rowAccess = true;
  return kSuccess;
}

template <Cell T>
int fillFrom(GridOf<T>& grid, const Source& source, const ReadGridArgs& args) {
  if constexpr (std::same_as<T, std::int8_t> || std::same_as<T, std::int16_t>) {
    return failed("Not implemented for this grid type");
  } else {
    Placement place{.col2 = source.header.cols(), .row2 = source.header.rows()};
    if (grid.ncols) DestroyGrid(grid);
    grid.onDisk = args.onDisk.value_or(false);
    grid.copyGeometry(source.header);
    int made = args.clipGrid == nullptr ? kSuccess : clipTo(grid, source.header, *args.clipGrid, place);
    if (made == kSuccess) {
      if (source.header.projection.LineCount() > 0) grid.projection = source.header.projection.Copy();
      const Converter<T> convert = converterFor<T>(source.type);
      made = convert == nullptr ? failed("Unsupported grid type for this operation")
                                : makeStorage(grid, args, source.name);
      if (made == kSuccess) made = moveRows(grid, source, place, convert);
      if (made == kSuccess && args.cellAccess.value_or(false)) made = grid.SetCellAccess();
    }
    if (made != kSuccess) grid.releaseStorage();  // half a raster is no raster
    return made;
  }
}

}  // namespace

int ReadGrid(Grid_Header& grid, std::string_view fileName, const ReadGridArgs& args) {
  Attempt attempt{grid.status};
  Source source;
  source.name = std::string(stripped(fileName));
  if (source.name.empty()) return failed("No file name provided");
  if (findFile(grid, source) != kSuccess) return kFailure;
  RasterLayout layout;
  if (readRasterHeader(source.header, source.stem, &layout) != kSuccess ||
      checkLayout(source, layout) != kSuccess || !usableHeader(source.header, source.stem, kTag) ||
      settleCellType(source) != kSuccess)
    return kFailure;
  const int made = visitGrid(
      grid, [&](auto& typed) { return fillFrom(typed, source, args); }, kFailure);
  return made == kSuccess ? attempt.succeed() : kFailure;
}

// ---- writing ----

namespace {

struct WriteTexts {
  std::string_view routine{};
  std::string_view rowObject{};
};

int writeFailed(const WriteTexts& texts, const std::string& file, IoCode code) {
  return reportError(
      {.routine = texts.routine, .code = kWriteError, .file = file, .message1 = describe(code)});
}

/// The cells of a grid as float32, in blocks of rows.
template <Cell T>
int writeCells(GridOf<T>& grid, platform::File& file, const std::string& name, const WriteTexts& texts) {
  const auto cols = static_cast<std::size_t>(grid.cols());
  std::vector<float> block;
  std::vector<T> rowIn;
  const std::size_t blockRows = allocateBlock(block, cols, grid.rows());
  if (blockRows == 0 || (grid.onDisk && !tryAllocate(rowIn, cols)))
    return cannotAllocate(texts.routine, texts.rowObject);

  IoCode code = file.reserve(std::uint64_t{cols} * static_cast<std::uint64_t>(grid.rows()) * sizeof(float));
  std::uint64_t offset = 0;
  std::size_t filled = 0;
  for (int32_t row = 1; row <= grid.rows() && code == kIoOk; ++row) {
    std::span<const T> cells;
    if (grid.onDisk) {
      const IoCode read = grid.readRow(row, rowIn);
      if (read != kIoOk)
        return reportError({.routine = texts.routine,
                            .code = kReadError,
                            .file = grid.scratchFile,
                            .message1 = describe(read)});
      cells = rowIn;
    } else {
      cells = grid.cells.row(row);
    }
    std::ranges::transform(cells, block.begin() + static_cast<std::ptrdiff_t>(filled * cols),
                           [](T cell) { return static_cast<float>(cell); });
    if (++filled < blockRows && row < grid.rows()) continue;
    const auto bytes = std::as_bytes(std::span(block).first(filled * cols));
    code = file.writeAt(offset, bytes);
    offset += bytes.size();
    filled = 0;
  }
  return code == kIoOk ? kSuccess : writeFailed(texts, name, code);
}

template <Cell T>
int writeFloats(GridOf<T>& grid, std::string_view stem, const VersionStamp* stamp, const WriteTexts& texts) {
  Attempt attempt{grid.status};
  const std::string base(stripped(stem));
  const std::string name = base + ".flt";
  if (!grid.GridExists() || !grid.holdsItsCells())
    return reportError({.routine = texts.routine, .message1 = "Grid does not exist"});
  platform::File file;
  const IoCode opened = file.open(name, platform::Open::replace);
  if (opened != kIoOk) {
    reportError({.routine = texts.routine, .code = kCannotOpenToWrite, .file = name});
    putMessage("Error code: ", opened);
    return kFailure;
  }
  platform::removeFile(base + ".hdr");
  if (grid.onDisk && grid.SetRowAccess() != kSuccess)
    return reportError({.routine = texts.routine, .message1 = "setRowAccess failed"});
  int written = writeCells(grid, file, name, texts);
  if (written == kSuccess) {
    const IoCode closed = file.close();
    if (closed != kIoOk) written = writeFailed(texts, name, closed);
  }
  if (written == kSuccess && grid.WriteGridHeader(base, stamp) != kSuccess)
    written = reportError({.routine = texts.routine, .message1 = "writeHeader failed"});
  if (written == kSuccess) return attempt.succeed();
  platform::removeFile(name);
  return kFailure;
}

}  // namespace

int WriteGridflt(Grid_Header& grid, std::string_view stem, const VersionStamp* stamp) {
  constexpr std::string_view tag = "WriteGridflt in Grid_Modul";
  switch (grid.cellType()) {
    case CellType::R4:
      static_cast<R4Grid_type&>(grid).WritefltR4(stem, stamp);
      break;
    case CellType::R8:
      static_cast<R8Grid_type&>(grid).WritefltR8(stem, stamp);
      break;
    case CellType::I8:
      static_cast<I8Grid_type&>(grid).WritefltI8(stem, stamp);
      break;
    case CellType::I4:
      static_cast<I4Grid_type&>(grid).WritefltI4(stem, stamp);
      break;
    case CellType::I2:
      static_cast<I2Grid_type&>(grid).WritefltI2(stem, stamp);
      break;
    case CellType::I1:
      static_cast<I1Grid_type&>(grid).WritefltI1(stem, stamp);
      break;
    case CellType::none:
      return reportError({.routine = tag, .message1 = "Unrecognized grid type"});
  }
  return grid.status == kSuccess ? kSuccess : reportError({.routine = tag, .message1 = "Writeflt failed"});
}

// clang-format off
// ---- faces ----

int R4Grid_type::WritefltR4(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltR4 in Grid_Modul", "r4Array"}); }
int R8Grid_type::WritefltR8(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltR8 in Grid_Modul", "r8Array"}); }
int I8Grid_type::WritefltI8(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltI8 in Grid_Modul", "i8Array"}); }
int I4Grid_type::WritefltI4(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltI4 in Grid_Modul", "i4Array"}); }
int I2Grid_type::WritefltI2(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltI2 in Grid_Modul", "i2Array"}); }
int I1Grid_type::WritefltI1(std::string_view stem, const VersionStamp* stamp) { return writeFloats(*this, stem, stamp, {"WritefltI1 in Grid_Modul", "i1Array"}); }

// clang-format on

}  // namespace terrain
