#include "grid/raster_header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/platform.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadHeader in Grid_Module";
constexpr std::string_view kWriteTag = "WriteGridHeader in Grid_Module";
constexpr std::size_t kTokenLength = 25;
constexpr double kFeetPerMeter = static_cast<double>(3.28084F);

/// The keywords of one field; `name` stands in the report of a bad value.
struct Keywords {
  std::string_view name;
  std::span<const std::string_view> words;
  [[nodiscard]] bool match(std::string_view token) const {
    return std::ranges::find(words, token) != words.end();
  }
};

template <std::size_t N>
using Words = std::array<std::string_view, N>;
constexpr Words<2> kNcols{"NCOLS", "ncols"};
constexpr Words<2> kNrows{"NROWS", "nrows"};
constexpr Words<4> kXmin{"XLLCORNER", "xllcorner", "XMIN", "xmin"};
constexpr Words<4> kYmin{"YLLCORNER", "yllcorner", "YMIN", "ymin"};
constexpr Words<2> kCellsize{"CELLSIZE", "cellsize"};
constexpr Words<2> kXCellsize{"X CELLSIZE", "XCELLSIZE"};
constexpr Words<2> kYCellsize{"Y CELLSIZE", "YCELLSIZE"};
constexpr Words<9> kNodataWords{"NODATA", "nodata",       "NO DATA",      "no data",     "NO_DATA",
                                "NoData", "NODATA VALUE", "nodata value", "NODATA_VALUE"};
constexpr Words<4> kFileType{"# FILETYPE", "# filetype", "# FILE TYPE", "#_FILE_TYPE"};
constexpr Words<4> kBitDepth{"# BITDEPTH", "# BIT DEPTH", "# bitdepth", "#_BIT_DEPTH"};

/// Placement as band-interleaved rasters give it.
struct CentrePlacement {
  std::optional<double> ulx{}, uly{}, xdim{}, ydim{};
};

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
      if (reader.next(*tokens[have]) == Field::end) break;
      *tokens[have] = std::string(stripped(cut(*tokens[have], kTokenLength)));
      ++have;
    }
  }
  return have == tokens.size();
}

/// Reads one header file; `fail` tells of the first value that cannot be read.
class HeaderReader {
 public:
  HeaderReader(Grid_Header& header, std::string file) : header_(header), file_(std::move(file)) {}

  int read(TextFile& text, RasterLayout& layout) {
    for (Pair pair; nextPair(text, pair);)
      if (take(pair, layout) != kSuccess) return kFailure;
    settlePlacement();
    return kSuccess;
  }

 private:
  template <class Number>
  int number(const Keywords& field, std::string_view token, Number& value) {
    if (readFree(token, value)) return kSuccess;
    return reportError(
        {.routine = kReadTag, .message1 = "Error reading " + std::string(field.name) + " in " + file_});
  }

  /// A field with a value of its own, told apart from one that is missing.
  template <class Number>
  int own(const Keywords& field, std::string_view token, Number& value, bool& present) {
    present = true;
    return number(field, token, value);
  }

  int centre(std::string_view name, std::string_view token, std::optional<double>& value) {
    double read = 0;
    if (number({.name = name, .words = {}}, token, read) != kSuccess) return kFailure;
    value = read;
    return kSuccess;
  }

  int take(const Pair& pair, RasterLayout& layout) {
    const std::string_view word = pair.keyword;
    const std::string_view token = pair.value;
    const Keywords ncols{"NCOLS", kNcols}, nrows{"NROWS", kNrows}, xmin{"XLLCORNER", kXmin},
        ymin{"YLLCORNER", kYmin}, cellsize{"CELLSIZE", kCellsize}, xcellsize{"X CELLSIZE", kXCellsize},
        ycellsize{"Y CELLSIZE", kYCellsize}, nodata{"NODATA", kNodataWords}, fileType{"", kFileType},
        bitDepth{"BITDEPTH", kBitDepth};
    if (ncols.match(word)) return number(ncols, token, *header_.ncols);
    if (nrows.match(word)) return number(nrows, token, *header_.nrows);
    if (xmin.match(word)) return own(xmin, token, header_.xmin, hasXmin_);
    if (ymin.match(word)) return own(ymin, token, header_.ymin, hasYmin_);
    if (cellsize.match(word)) return own(cellsize, token, header_.cellsize, hasSize_);
    if (xcellsize.match(word)) return own(xcellsize, token, header_.xcellsize, hasSize_);
    if (ycellsize.match(word)) return own(ycellsize, token, header_.ycellsize, hasSize_);
    if (nodata.match(word)) return number(nodata, token, header_.nodata);
    if (fileType.match(word)) header_.fileType = token;
    if (bitDepth.match(word)) return number(bitDepth, token, header_.bitDepth);
    if (word == "ULXMAP") return centre(word, token, centre_.ulx);
    if (word == "ULYMAP") return centre(word, token, centre_.uly);
    if (word == "XDIM") return centre(word, token, centre_.xdim);
    if (word == "YDIM") return centre(word, token, centre_.ydim);
    if (word == "BYTEORDER") layout.byteOrder = token;
    if (word == "PIXELTYPE") layout.pixelType = token;
    if (word == "NBANDS") layout.bands = token;
    return kSuccess;
  }

  void settlePlacement() {
    if (!hasSize_ && centre_.xdim && centre_.ydim) {
      header_.xcellsize = *centre_.xdim;
      header_.ycellsize = *centre_.ydim;
      if (*centre_.xdim == *centre_.ydim) header_.cellsize = *centre_.xdim;
    }
    if (!hasXmin_ && centre_.ulx && centre_.xdim) header_.xmin = *centre_.ulx - *centre_.xdim / 2;
    if (!hasYmin_ && centre_.uly && centre_.ydim)
      header_.ymin = *centre_.uly - (static_cast<double>(header_.rows()) - 0.5) * *centre_.ydim;
  }

  Grid_Header& header_;
  std::string file_;
  CentrePlacement centre_{};
  bool hasXmin_ = false;
  bool hasYmin_ = false;
  bool hasSize_ = false;
};

}  // namespace

std::string stemOfHeader(std::string_view file) {
  return std::string(trimmed(file.substr(0, file.find(".hdr"))));
}

int readRasterHeader(Grid_Header& header, std::string_view file, RasterLayout* layout) {
  Attempt attempt{header.status};
  const std::string stem = stemOfHeader(file);
  const std::string name = stem + ".hdr";
  const int32_t unit = freeUnit();
  const UnitGuard guard(unit);
  const IoCode code = units().openText(unit, name, platform::Open::read);
  if (code != kIoOk) return reportError({.routine = kReadTag, .code = kCannotOpenToRead, .file = name});

  constexpr double missing = -9999.0;
  header.xmin = header.ymin = header.xmax = header.ymax = missing;
  header.cellsize = header.xcellsize = header.ycellsize = missing;
  header.nodata = kNodata;
  header.ncols = -9999;
  header.nrows = -9999;
  RasterLayout unused;
  if (HeaderReader(header, name).read(*units().text(unit), layout == nullptr ? unused : *layout) != kSuccess)
    return kFailure;

  if (header.cellsize > 0) header.xcellsize = header.ycellsize = header.cellsize;
  header.settleFarCorner();
  if (platform::fileExists(stem + ".prj")) {
    // The lines go back to a file unchanged, so none is cut.
    InputFileType projection = NewInputFile(stem + ".prj", {.lineLength = std::string::npos});
    if (projection.status == kSuccess) header.projection = std::move(projection);
  }
  return attempt.succeed();
}

int Grid_Header::ReadHeader(std::string_view file) { return readRasterHeader(*this, file, nullptr); }

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
  if (fault.empty()) return true;
  reportError({.routine = tag, .file = std::string(stem) + ".hdr", .message1 = fault});
  return false;
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
std::string nodataText(Grid_Header& grid) {
  switch (grid.cellType()) {
    case CellType::I8:
      return rightJustified(freeText(truncateTo<int64_t>(grid.nodata)), 6);
    case CellType::I2:
      return rightJustified(freeText(int32_t{truncateTo<int16_t>(grid.nodata)}), 6);
    case CellType::I4:
      return rightJustified(freeText(truncateTo<int32_t>(grid.nodata)), 8);
    case CellType::I1:
      return rightJustified("0", 4);
    default:
      break;
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

int Grid_Header::WriteGridHeader(std::string_view stem, const VersionStamp* stamp) {
  Attempt attempt{status};
  const std::string base(trimmed(stem));
  const std::string name = base + ".hdr";
  const int32_t unit = freeUnit();
  if (terrain::units().openText(unit, name, platform::Open::replace) != kIoOk)
    return reportError({.routine = kWriteTag, .code = kCannotOpenToWrite, .file = name});
  TextFile& text = *terrain::units().text(unit);
  const double factor = feetConverted ? kFeetPerMeter : 1.0;
  // Asking an int8 grid for its nodata settles it at 0.
  if (cellType() == CellType::I1) nodata = 0.0F;

  text.writeLine(" NCOLS " + rightJustified(freeText(cols()), 8));
  text.writeLine(" NROWS " + rightJustified(freeText(rows()), 8));
  text.writeLine(" XLLCORNER " + coordinate(xmin * factor));
  text.writeLine(" YLLCORNER " + coordinate(ymin * factor));
  text.writeLine(" CELLSIZE " + rightJustified(coordinate(cellsize * factor), 20));
  text.writeLine(" NODATA_VALUE " + nodataText(*this));
  text.writeLine(" BYTEORDER     LSBFIRST");
  text.writeLine(" ");
  text.writeLine(" #_FILE_TYPE R4");
  text.writeLine(" #_BIT_DEPTH 32");
  text.writeLine(" ");
  if (!version.createdBy.blank())
    writeStamp(text, version);
  else if (stamp != nullptr)
    writeStamp(text, *stamp);

  const IoCode code = terrain::units().close(unit);
  if (code != kIoOk) {
    platform::removeFile(name);  // half a header is worse than none
    return reportError({.routine = kWriteTag, .code = kWriteError, .file = name, .message1 = describe(code)});
  }
  if (projection.LineCount() > 0 && projection.writeAscii(base + ".prj") != kSuccess)
    reportError({.routine = kWriteTag, .message1 = "Error writing projection file for " + base});
  return attempt.succeed();
}

}  // namespace terrain
