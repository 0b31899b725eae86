#include "grid/raster_header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/platform.h"
#include "foundation/units.h"
#include "grid/grid_core.h"
#include "grid/raster_output.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadHeader in Grid_Module";
constexpr std::string_view kWriteTag = "WriteGridHeader in Grid_Module";
constexpr std::size_t kTokenLength = 25;
constexpr double kFeetPerMeter = static_cast<double>(3.28084F);

struct Pair {
  std::string keyword;
  std::string value;
};

/// The next two tokens; a line with one token takes its second from the next line.
bool nextPair(TextFile& text, Pair& pair) {
  std::array<std::string*, 2> tokens{&pair.keyword, &pair.value};
  std::size_t have = 0;
  for (std::string line; have < tokens.size() && text.readLine(line, 4096);) {
    FreeFormatReader reader(line, {.slashEnds = false});
    while (have < tokens.size()) {
      tokens[have]->clear();
      if (reader.next(*tokens[have]) == FieldStatus::end) break;
      *tokens[have] = std::string(stripped(cut(*tokens[have], kTokenLength)));
      ++have;
    }
  }
  return have == tokens.size();
}

/// What one header file says.
struct HeaderContent {
  Grid_Header& header;
  RasterLayout& layout;
  bool hasXmin = false, hasYmin = false, hasSize = false;
  // Placement as band-interleaved rasters give it: the centre of the north-west cell.
  std::optional<double> ulx{}, uly{}, xdim{}, ydim{};
};

using Store = bool (*)(HeaderContent& content, std::string_view token);

/// A number of the header, marked as present where its absence matters.
template <auto kMember>
bool storeNumber(HeaderContent& content, std::string_view token) {
  return readFree(token, content.header.*kMember);
}
template <auto kMember>
bool storeCount(HeaderContent& content, std::string_view token) {
  return readFree(token, *(content.header.*kMember));
}
template <auto kMember, auto kPresent>
bool storePlace(HeaderContent& content, std::string_view token) {
  content.*kPresent = true;
  return storeNumber<kMember>(content, token);
}
template <auto kMember>
bool storeCentre(HeaderContent& content, std::string_view token) {
  double value = 0;
  if (!readFree(token, value)) return false;
  content.*kMember = value;
  return true;
}
template <auto kMember>
bool storeLayout(HeaderContent& content, std::string_view token) {
  content.layout.*kMember = token;
  return true;
}
bool storeFileType(HeaderContent& content, std::string_view token) {
  content.header.fileType = token;
  return true;
}

struct HeaderKeyword {
  std::string_view name;                  // in the report of a bad value
  std::array<std::string_view, 9> words;  // compared exactly
  Store store;
};

using H = GridGeometry;
using C = HeaderContent;
constexpr std::array kHeaderKeywords{
    HeaderKeyword{"NCOLS", {"NCOLS", "ncols"}, storeCount<&H::ncols>},
    HeaderKeyword{"NROWS", {"NROWS", "nrows"}, storeCount<&H::nrows>},
    HeaderKeyword{"XLLCORNER", {"XLLCORNER", "xllcorner", "XMIN", "xmin"}, storePlace<&H::xmin, &C::hasXmin>},
    HeaderKeyword{"YLLCORNER", {"YLLCORNER", "yllcorner", "YMIN", "ymin"}, storePlace<&H::ymin, &C::hasYmin>},
    HeaderKeyword{"CELLSIZE", {"CELLSIZE", "cellsize"}, storePlace<&H::cellsize, &C::hasSize>},
    HeaderKeyword{"X CELLSIZE", {"X CELLSIZE", "XCELLSIZE"}, storePlace<&H::xcellsize, &C::hasSize>},
    HeaderKeyword{"Y CELLSIZE", {"Y CELLSIZE", "YCELLSIZE"}, storePlace<&H::ycellsize, &C::hasSize>},
    HeaderKeyword{"NODATA",
                  {"NODATA", "nodata", "NO DATA", "no data", "NO_DATA", "NoData", "NODATA VALUE",
                   "nodata value", "NODATA_VALUE"},
                  storeNumber<&Grid_Header::nodata>},
    HeaderKeyword{"", {"# FILETYPE", "# filetype", "# FILE TYPE", "#_FILE_TYPE"}, storeFileType},
    HeaderKeyword{"BITDEPTH",
                  {"# BITDEPTH", "# BIT DEPTH", "# bitdepth", "#_BIT_DEPTH"},
                  storeNumber<&Grid_Header::bitDepth>},
    HeaderKeyword{"ULXMAP", {"ULXMAP", "ulxmap"}, storeCentre<&C::ulx>},
    HeaderKeyword{"ULYMAP", {"ULYMAP", "ulymap"}, storeCentre<&C::uly>},
    HeaderKeyword{"XDIM", {"XDIM", "xdim"}, storeCentre<&C::xdim>},
    HeaderKeyword{"XDIM", {"YDIM", "ydim"}, storeCentre<&C::ydim>},  // reported as XDIM, too
    HeaderKeyword{"BYTEORDER", {"BYTEORDER", "byteorder"}, storeLayout<&RasterLayout::byteOrder>},
    HeaderKeyword{"PIXELTYPE", {"PIXELTYPE", "pixeltype"}, storeLayout<&RasterLayout::pixelType>},
    HeaderKeyword{"NBANDS", {"NBANDS", "nbands"}, storeLayout<&RasterLayout::bands>},
};

int readPairs(HeaderContent& content, TextFile& text, const std::string& file) {
  for (Pair pair; nextPair(text, pair);) {
    if (pair.keyword.empty()) continue;
    const auto* const found = std::ranges::find_if(kHeaderKeywords, [&](const HeaderKeyword& keyword) {
      return std::ranges::find(keyword.words, pair.keyword) != keyword.words.end();
    });
    if (found != kHeaderKeywords.end() && !found->store(content, pair.value))
      return fail(kReadTag, "Error reading " + std::string(found->name) + " in " + file);
  }
  return kSuccess;
}

/// The placement of a band-interleaved raster serves where the header has no corner or cell size of its
/// own, and gives width and height where they differ.
void placeByCentre(HeaderContent& content) {
  Grid_Header& header = content.header;
  const std::optional<double> width = content.xdim;
  const std::optional<double> height = content.ydim && *content.ydim >= 0 ? content.ydim : width;
  if (width && height && (!content.hasSize || *width != *height)) {
    header.xcellsize = *width;
    header.ycellsize = *height;
    if (!content.hasSize || !(header.cellsize > 0)) header.cellsize = header.meanCellSize();
  }
  if (!content.hasXmin && content.ulx && width) {
    header.xmin = *content.ulx - *width / 2;
    content.hasXmin = true;
  }
  if (!content.hasYmin && content.uly && height) {
    header.ymin = *content.uly - (static_cast<double>(header.rows()) - 0.5) * *height;
    content.hasYmin = true;
  }
}

/// What an earlier file left in the header goes.
void startAfresh(Grid_Header& header) {
  constexpr double missing = -9999.0;
  header.xmin = header.ymin = header.xmax = header.ymax = missing;
  header.cellsize = header.xcellsize = header.ycellsize = missing;
  header.nodata = kNodata;
  header.ncols = -9999;
  header.nrows = -9999;
  header.fileType = {};
  header.bitDepth = 0;
  header.feetConverted = false;
  header.projection.Clear();
}

enum class Placed { byCorner, byCentre };

int readHeader(Grid_Header& header, std::string_view file, RasterLayout& layout, Placed placed) {
  Attempt attempt{header.status};
  const std::string stem = rasterStem(file);
  const std::string name = stem + ".hdr";
  const int32_t unit = freeUnit();
  const UnitGuard guard(unit);
  const IoCode code = units().openText(unit, name, platform::Open::read);
  if (code != kIoOk) return reportError({.routine = kReadTag, .code = kCannotOpenToRead, .file = name});

  startAfresh(header);
  HeaderContent content{.header = header, .layout = layout};
  if (readPairs(content, *units().text(unit), name) != kSuccess) return kFailure;
  if (placed == Placed::byCentre) content.hasXmin = content.hasYmin = content.hasSize = false;
  if (header.cellsize > 0) header.xcellsize = header.ycellsize = header.cellsize;
  placeByCentre(content);
  header.unifyCellSize();
  header.updateFarCorner();
  layout.hasCorner = content.hasXmin && content.hasYmin;
  if (platform::fileExists(stem + ".prj")) {
    // The lines go back to a file unchanged, so none is cut.
    InputFileType projection =
        NewInputFile(stem + ".prj", {.lineLength = std::string::npos, .mayBeEmpty = true});
    if (projection.status == kSuccess) header.projection = std::move(projection);
  }
  return attempt.succeed();
}

}  // namespace

std::string rasterStem(std::string_view name) {
  std::string_view stem = stripped(name);
  const auto cutEnding = [&](std::initializer_list<std::string_view> endings) {
    for (const std::string_view ending : endings)
      if (stem.ends_with(ending)) {
        stem.remove_suffix(ending.size());
        return true;
      }
    return false;
  };
  while (cutEnding({".hdr", ".HDR"})) continue;
  cutEnding({".flt", ".FLT", ".int", ".INT", ".bil", ".BIL", ".rst", ".RST"});
  return std::string(stem);
}

int readRasterHeader(Grid_Header& header, std::string_view file, RasterLayout& layout) {
  return readHeader(header, file, layout, Placed::byCorner);
}

int Grid_Header::ReadHeader(std::string_view file) {
  RasterLayout layout;
  return readHeader(*this, file, layout, Placed::byCorner);
}

int Grid_Header::ReadBILHeader(std::string_view file) {
  RasterLayout layout;
  return readHeader(*this, file, layout, Placed::byCentre);
}

int refuseHeader(std::string_view stem, std::string_view tag, std::string_view why) {
  return reportError({.routine = tag, .file = std::string(stem) + ".hdr", .message1 = why});
}

bool usableHeader(const Grid_Header& header, std::string_view stem, std::string_view tag) {
  const auto positive = [](double size) { return std::isfinite(size) && size > 0; };
  std::string fault;
  if (header.cols() < 1)
    fault = "NCOLS is missing or below 1";
  else if (header.rows() < 1)
    fault = "NROWS is missing or below 1";
  else if (!positive(header.xcellsize) || !positive(header.ycellsize))
    fault = "CELLSIZE is missing or not above 0";
  else if (!std::isfinite(header.xmax) || !std::isfinite(header.xmin))
    fault = "XLLCORNER is not a number";
  else if (!std::isfinite(header.ymax) || !std::isfinite(header.ymin))
    fault = "YLLCORNER is not a number";
  else if (!header.resolvesCells())
    fault = "CELLSIZE is too small beside the coordinates: neighbouring cells would coincide";
  return fault.empty() || refuseHeader(stem, tag, fault) == kSuccess;
}

// ---- writing ----

namespace {

/// Fixed with 9 decimals in 20 columns; a number that needs more gives decimals away, not digits of its
/// whole part.
std::string coordinate(double value) {
  constexpr std::size_t width = 20;
  std::string text;
  for (int32_t decimals = 9; decimals >= 0; --decimals) {
    text = fixedText(value, decimals);
    if (text.size() <= width) break;
  }
  return text.size() <= width ? text : shortestText(value);
}

/// The field of the cell type; a value that the field cannot show is written in full, so that the header
/// and the cells agree.
std::string nodataText(const Grid_Header& grid) {
  const CellFacts* facts = factsOf(grid.cellType());
  if (facts != nullptr && !facts->real) {
    int64_t value = 0;
    visitGrid(grid, [&](const auto& typed) { value = static_cast<int64_t>(typed.nodataValue()); });
    return rightJustified(freeText(value), facts->nodataWidth);
  }
  const std::string fixed = fixedText(static_cast<double>(grid.nodata), 1);
  float back = 0;
  const bool exact = fixed.size() <= 8 && parseNumber(fixed, back) && back == grid.nodata;
  return exact ? rightJustified(fixed, 8) : shortestText(grid.nodata);
}

void writeStamp(TextFile& text, const VersionStamp& stamp) {
  const auto put = [&](std::string_view label, const FixedText<25>& field) {
    if (!field.blank()) text.writeLine(std::string(label).append(field.trimmed()));
  };
  put(" #  Created on: ", stamp.createdOn);
  put(" #  Created by: ", stamp.createdBy);
  put(" #     Version: ", stamp.versionNumber);
  put(" # Compiled on: ", stamp.compiledOn);
}

}  // namespace

GridGeometry geometryInFile(const Grid_Header& header) {
  GridGeometry geometry = header;
  if (header.feetConverted) geometry.scaleLengths(kFeetPerMeter);
  return geometry;
}

bool hasOneCellSize(const Grid_Header& header) {
  if (sameR8(header.xcellsize, header.ycellsize)) return true;
  fail(kWriteTag, "A header has one cell size, the cells are " + freeText(header.xcellsize) + " wide and " +
                      freeText(header.ycellsize) + " high");
  return false;
}

void writeHeaderLines(TextFile& text, const Grid_Header& header, const VersionStamp* stamp) {
  const GridGeometry at = geometryInFile(header);
  text.writeLine(" NCOLS " + rightJustified(freeText(at.cols()), 8));
  text.writeLine(" NROWS " + rightJustified(freeText(at.rows()), 8));
  text.writeLine(" XLLCORNER " + coordinate(at.xmin));
  text.writeLine(" YLLCORNER " + coordinate(at.ymin));
  text.writeLine(" CELLSIZE " + rightJustified(coordinate(at.meanCellSize()), 20));
  text.writeLine(" NODATA_VALUE " + nodataText(header));
  text.writeLine(" BYTEORDER     LSBFIRST");
  text.writeLine(" ");
  text.writeLine(" #_FILE_TYPE R4");
  text.writeLine(" #_BIT_DEPTH 32");
  text.writeLine(" ");
  if (!header.version.createdBy.blank())
    writeStamp(text, header.version);
  else if (stamp != nullptr)
    writeStamp(text, *stamp);
}

int Grid_Header::WriteGridHeader(std::string_view stem, const VersionStamp* stamp) {
  Attempt attempt{status};
  RasterOutput out(kWriteTag, stem);
  if (!hasOneCellSize(*this) || out.openHeader() != kSuccess) return kFailure;
  writeHeaderLines(out.header(), *this, stamp);
  out.writeProjection(projection);
  return attempt.end(out.commit());
}

}  // namespace terrain
