// Readers that put a raster file onto the lattice of another grid.

#include <algorithm>
#include <array>
#include <optional>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/units.h"
#include "grid/float_raster.h"
#include "grid/raster_header.h"
#include "grid/storage.h"

namespace terrain {

namespace {

struct ResampleTexts {
  std::string_view routine{};
  std::string_view exists{};  ///< an existing grid is refused with this; blank: it is destroyed
};

/// Value of the cell of an integer file whose area holds a point.
template <class Grid>
typename Grid::CellValue cellOf(const Grid& file, Point at) {
  const auto cell = file.cellHolding(at.x, at.y);
  return cell ? file.value(cell->col, cell->row, "ReadGrid in Grid_Module") : file.nodataValue();
}

/// Fills `grid`, on the lattice of `match`, with what `valueAt` finds at each of its points.
template <class Grid, class ValueAt>
int resample(Grid& grid, std::string_view fileName, const MatchArgs& args, const ResampleTexts& texts,
             ValueAt valueAt) {
  using T = typename Grid::CellValue;
  const auto fail = [&](std::string_view why) { return terrain::fail(texts.routine, why); };
  Grid file;
  Grid_Header header;
  if (ReadGrid(file, fileName, {.replaceNodata = args.replaceNodata, .fileHeader = &header}) != kSuccess)
    return fail("ReadGrid failed for tempGrid");
  if (!args.replaceNodata) file.nodata = header.nodata;
  if (args.matchGrid->feetConverted) FeetToMeters(file);
  if (CreateGrid(grid, {.like = args.matchGrid, .nodata = file.nodata, .onDisk = args.onDisk}) != kSuccess)
    return fail("ReadGrid failed for tempGrid");
  std::vector<T> row;
  if (!tryAllocate(row, static_cast<std::size_t>(grid.cols()))) return cannotAllocate(texts.routine, "row");
  for (int32_t r = 1; r <= grid.rows(); ++r) {
    for (int32_t c = 1; c <= grid.cols(); ++c) {
      const Point at = grid.ColRowToXY(c, r);
      row[static_cast<std::size_t>(c - 1)] = valueAt(file, at);
    }
    const IoCode code = grid.writeRow(r, row);
    if (code != kIoOk) return reportScratchWrite(texts.routine, grid, code);
  }
  return kSuccess;
}

template <class Grid, class ValueAt>
int readGridFile(Grid& grid, std::string_view fileName, const MatchArgs& args, const ResampleTexts& texts,
                 ValueAt valueAt) {
  Attempt attempt{grid.status};
  if (grid.ncols) {
    if (!texts.exists.empty()) return fail(texts.routine, texts.exists);
    DestroyGrid(grid);
  }
  if (args.matchGrid == nullptr) {
    if (ReadGrid(grid, fileName, {.onDisk = args.onDisk, .replaceNodata = args.replaceNodata}) != kSuccess)
      return fail(texts.routine, "ReadGrid failed for outGrid");
  } else if (resample(grid, fileName, args, texts, valueAt) != kSuccess) {
    grid.releaseStorage();  // half a raster is no raster
    return kFailure;
  }
  if (args.halfCell) {
    putMessage("Offsetting by half cellsize");
    grid.Offset({.halfCell = true});
  }
  return attempt.succeed();
}

// ---- the leaner reader ----

constexpr std::string_view kOpenTag = "OpenR4Grid in Grid_Module";

/// A keyword of the shorter list and the field that it sets: a count, a length, or the nodata value.
struct ShortKeyword {
  std::string_view word;
  std::optional<int32_t> GridGeometry::*count = nullptr;
  double GridGeometry::*size = nullptr;
};
constexpr std::array kShortKeywords{
    ShortKeyword{.word = "NCOLS", .count = &GridGeometry::ncols},
    ShortKeyword{.word = "ncols", .count = &GridGeometry::ncols},
    ShortKeyword{.word = "NROWS", .count = &GridGeometry::nrows},
    ShortKeyword{.word = "nrows", .count = &GridGeometry::nrows},
    ShortKeyword{.word = "XLLCORNER", .size = &GridGeometry::xmin},
    ShortKeyword{.word = "xllcorner", .size = &GridGeometry::xmin},
    ShortKeyword{.word = "XMIN", .size = &GridGeometry::xmin},
    ShortKeyword{.word = "xmin", .size = &GridGeometry::xmin},
    ShortKeyword{.word = "YLLCORNER", .size = &GridGeometry::ymin},
    ShortKeyword{.word = "yllcorner", .size = &GridGeometry::ymin},
    ShortKeyword{.word = "YMIN", .size = &GridGeometry::ymin},
    ShortKeyword{.word = "ymin", .size = &GridGeometry::ymin},
    ShortKeyword{.word = "CELLSIZE", .size = &GridGeometry::cellsize},
    ShortKeyword{.word = "cellsize", .size = &GridGeometry::cellsize},
    ShortKeyword{.word = "NODATA"},
    ShortKeyword{.word = "nodata"},
    ShortKeyword{.word = "NoData"},
    ShortKeyword{.word = "NO DATA"},
    ShortKeyword{.word = "No Data"},
};

/// The shorter keyword list: a token of 13 characters and its value on one line.
int readShortHeader(Grid_Header& header, const std::string& stem) {
  const std::string name = stem + ".hdr";
  const int32_t unit = freeUnit();
  const UnitGuard guard(unit);
  if (units().openText(unit, name, platform::Open::read) != kIoOk)
    return fail(kOpenTag, "Unable to open " + name);
  header.ncols = header.nrows = -9999;
  header.xmin = header.ymin = header.cellsize = -9999.0;
  header.nodata = kNodata;
  bool hasXmin = false;
  bool hasYmin = false;

  for (std::string line; units().text(unit)->readLine(line, 4096);) {
    FreeFormatReader reader(line, {.slashEnds = false});
    std::string word;
    if (reader.next(word) != FieldStatus::value) continue;
    word = std::string(cut(word, 13));
    if (word == "NO" || word == "No") {  // "NO DATA", "No Data" stand without quotes here
      std::string second;
      if (reader.next(second) == FieldStatus::value) word += ' ' + second;
    }
    const auto* const found = std::ranges::find(kShortKeywords, word, &ShortKeyword::word);
    if (found == kShortKeywords.end()) continue;
    const FieldStatus field = found->count != nullptr  ? reader.next(*(header.*found->count))
                              : found->size != nullptr ? reader.next(header.*found->size)
                                                       : reader.next(header.nodata);
    if (field != FieldStatus::value && field != FieldStatus::empty)
      return fail(kOpenTag, "Error reading " + word + " in " + name);
    hasXmin = hasXmin || found->size == &GridGeometry::xmin;
    hasYmin = hasYmin || found->size == &GridGeometry::ymin;
  }
  if (!hasXmin || !hasYmin) return refuseHeader(stem, kOpenTag, kCornerMissing);
  header.xcellsize = header.ycellsize = header.cellsize;
  header.updateFarCorner();
  return kSuccess;
}

/// Geometry of the part of `file` that the clip grid covers, and how far it is shifted against the file:
/// grid cell (c, r) is file cell (c + cols, r + rows).
struct Shift {
  int64_t cols = 0, rows = 0;
};

int clipHeader(R4Grid_type& grid, const Grid_Header& file, const Grid_Header& clip, Shift& shift) {
  if (!clip.HeaderExists()) return fail(kOpenTag, "Clipgrid not assigned");
  if (clip.xcellsize != clip.ycellsize)
    return fail(kOpenTag, "OpenR4Grid, clipGrid must have square cellsize");
  const auto [c1, r2] = file.XYtoColRow(clip.xmin, clip.ymin);
  const auto [c2, r1] = file.XYtoColRow(clip.xmax, clip.ymax);
  const int64_t cols = GridGeometry::lineIndex(c2) - GridGeometry::lineIndex(c1) + 1;
  const int64_t rows = GridGeometry::lineIndex(r2) - GridGeometry::lineIndex(r1) + 1;
  if (cols < 1 || rows < 1 || cols > std::numeric_limits<int32_t>::max() ||
      rows > std::numeric_limits<int32_t>::max())
    return fail(kOpenTag, "Clipgrid does not overlap");
  const Point southWest = file.ColRowToXY(c1, r2);
  grid.InitializeHeader(static_cast<int32_t>(cols), static_cast<int32_t>(rows), southWest.x, southWest.y,
                        {.cellsize = file.cellsize});
  shift = {.cols = GridGeometry::lineIndex(c1) - 1, .rows = GridGeometry::lineIndex(r1) - 1};
  if (shift.cols >= file.cols() || shift.cols + cols < 1 || shift.rows >= file.rows() ||
      shift.rows + rows < 1)
    return fail(kOpenTag, "Clipgrid does not overlap");
  return kSuccess;
}

}  // namespace

int OpenR4Grid(R4Grid_type& grid, std::string_view fileName, const OpenR4Args& args) {
  Attempt attempt{grid.status};
  const std::string stem = rasterStem(fileName);
  Grid_Header file;
  if (readShortHeader(file, stem) != kSuccess || !usableHeader(file, stem, kOpenTag)) return kFailure;
  const std::string name = stem + ".flt";
  platform::File cells;
  if (cells.open(name, platform::Open::read) != kIoOk) return fail(kOpenTag, "Unable to open " + name);
  const auto fileCols = static_cast<std::size_t>(file.cols());
  const auto needed = byteCount(fileCols * sizeof(float), static_cast<std::uint64_t>(file.rows()));
  if (!needed || cells.size() < *needed)
    return reportError(
        {.routine = kOpenTag, .file = name, .message1 = "The raster file is shorter than its header says"});

  R4Grid_type made;
  Shift shift;
  if (args.clipGrid != nullptr && args.clipGrid->feetConverted) FeetToMeters(file);
  made.geometry() = file.geometry();
  made.feetConverted = file.feetConverted;
  if (args.clipGrid != nullptr && clipHeader(made, file, *args.clipGrid, shift) != kSuccess) return kFailure;
  const Grid_Header geometry = made;
  std::vector<float> in;
  std::vector<float> out;
  if (!tryAllocate(in, fileCols)) return cannotAllocate(kOpenTag, "inArray");
  if (!tryAllocate(out, static_cast<std::size_t>(made.cols()))) return cannotAllocate(kOpenTag, "outArray");
  if (CreateGrid(grid,
                 {.like = &geometry, .nodata = args.nodata.value_or(file.nodata), .onDisk = args.onDisk}) !=
      kSuccess)
    return fail(kOpenTag, "OpenBinaryScratchFile failed for outGrid");
  const auto giveUp = [&](int reported) {
    grid.releaseStorage();  // half a raster is no raster
    return reported;
  };
  const int64_t firstCol = std::max<int64_t>(1, 1 - shift.cols);
  const int64_t lastCol = std::min<int64_t>(grid.cols(), int64_t{file.cols()} - shift.cols);
  for (int32_t row = 1; row <= grid.rows(); ++row) {
    const int64_t fileRow = row + shift.rows;
    std::ranges::fill(out, grid.nodata);
    if (fileRow >= 1 && fileRow <= file.rows()) {
      const std::uint64_t offset = static_cast<std::uint64_t>(fileRow - 1) * fileCols * sizeof(float);
      if (cells.readAt(offset, std::as_writable_bytes(std::span(in))) != kIoOk)
        return giveUp(reportError({.routine = kOpenTag, .code = kReadError, .file = name}));
      for (int64_t col = firstCol; col <= lastCol; ++col)
        out[static_cast<std::size_t>(col - 1)] = in[static_cast<std::size_t>(col + shift.cols - 1)];
    }
    const IoCode code = grid.writeRow(row, out);
    if (code != kIoOk) return giveUp(reportScratchWrite(kOpenTag, grid, code));
  }
  return attempt.succeed();
}

// ---- faces ----

int ReadR4GridFile(R4Grid_type& grid, std::string_view fileName, const MatchArgs& args) {
  const PointOptions options{.interpolate = !args.noInterpolate, .ignoreNodata = args.ignoreNodata};
  return readGridFile(
      grid, fileName, args, {.routine = "ReadR4GridFile in Grid_Module"},
      [&](R4Grid_type& file, Point at) { return file.ExtractR4ValueXY(at.x, at.y, options); });
}
int ReadR8GridFile(R8Grid_type& grid, std::string_view fileName, const MatchArgs& args) {
  const PointOptions options{.interpolate = false, .ignoreNodata = args.ignoreNodata};
  return readGridFile(
      grid, fileName, args, {.routine = "ReadR8GridFile in Grid_Module", .exists = "Grid already exists"},
      [&](R8Grid_type& file, Point at) { return file.ExtractR8ValueXY(at.x, at.y, options); });
}
int ReadI4GridFile(I4Grid_type& grid, std::string_view fileName, const MatchArgs& args) {
  return readGridFile(grid, fileName, args,
                      {.routine = "ReadI4GridFile in Grid_Module", .exists = "Grid already exists"},
                      cellOf<I4Grid_type>);
}
int ReadI8GridFile(I8Grid_type& grid, std::string_view fileName, const MatchArgs& args) {
  return readGridFile(grid, fileName, args,
                      {.routine = "ReadI8GridFile in Grid_Module", .exists = "Grid already exists"},
                      cellOf<I8Grid_type>);
}

}  // namespace terrain
