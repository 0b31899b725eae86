#include "grid/integer_raster.h"

#include "foundation/free_format.h"
#include "grid/raster_header.h"
#include "grid/raster_output.h"

namespace terrain {

namespace {

/// What the three writers say.
struct IntTexts {
  std::string_view routine{};
  std::string_view rowObject{};
  std::string_view unequal{};   ///< logged of cells that are not square
  std::string_view fileType{};  ///< line of the header
  std::string_view bitDepth{};  ///< the same; blank: not written
  bool wholeNodata = false;     ///< without a decimal, in a field of 15
};

/// Right-justified in `width` columns with `decimals` decimals, or in full where that is another number.
std::string numberText(double value, int32_t decimals, std::size_t width) {
  const std::string text = fixedText(value, decimals);
  double back = 0;
  const bool exact = text.size() <= width && parseNumber(text, back) && back == value;
  return exact ? rightJustified(text, width) : shortestText(value);
}

template <Cell T>
void writeLines(TextFile& text, const GridOf<T>& grid, const IntTexts& texts) {
  const GridGeometry at = geometryInFile(grid);
  const auto length = [&](std::string_view keyword, double value) {
    text.writeLine(std::string(keyword) + numberText(value, 5, 15));
  };
  const std::string nodata = freeText(int64_t{grid.nodataValue()});
  const std::string bits = std::to_string(8 * sizeof(T));
  text.writeLine("NCOLS " + rightJustified(freeText(at.cols()), 8));
  text.writeLine("NROWS " + rightJustified(freeText(at.rows()), 8));
  length("XLLCORNER ", at.xmin);
  length("YLLCORNER ", at.ymin);
  length("CELLSIZE ", at.meanCellSize());
  text.writeLine("NODATA_VALUE " +
                 (texts.wholeNodata ? rightJustified(nodata, 15) : rightJustified(nodata + ".0", 8)));
  text.writeLine("BYTEORDER     LSBFIRST");
  text.writeLine(texts.fileType);
  if (!texts.bitDepth.empty()) text.writeLine(texts.bitDepth);
  text.writeLine("");
  // For other readers, and for our own.
  text.writeLine("NBITS " + bits);
  text.writeLine("PIXELTYPE SIGNEDINT");
  if (at.xcellsize != at.ycellsize) {
    text.writeLine("XDIM " + shortestText(at.xcellsize));
    text.writeLine("YDIM " + shortestText(at.ycellsize));
  }
  text.writeLine("#_FILE_TYPE " + std::string(kFactsOf<T>.code));
  text.writeLine("#_BIT_DEPTH " + bits);
}

template <Cell T>
int writeIntegers(GridOf<T>& grid, std::string_view stem, const IntTexts& texts) {
  if (grid.xcellsize != grid.ycellsize) putMessage(texts.unequal);
  return writeRaster<T>(grid, stem,
                        {.routine = texts.routine, .rowObject = texts.rowObject, .cellsEnding = ".int"},
                        [&](TextFile& text) { writeLines(text, grid, texts); });
}

}  // namespace

int WriteGridInt(Grid_Header& grid, std::string_view stem) {
  constexpr std::string_view tag = "SUBROUTINE WriteGridflt in MODULE Grid_Modul";
  return visitGrid(
      grid,
      [&]<Cell T>(GridOf<T>& typed) {
        if constexpr (std::same_as<T, float>)
          return typed.status = fail(tag, "WriteGridInt requires integer grid type");
        else if constexpr (std::same_as<T, double>)
          return typed.status = fail(tag, "Grid type not defined");
        else
          return writeIntegers(typed, stem,
                               {.routine = tag,
                                .rowObject = kFactsOf<T>.writeRow,
                                .unequal = "WriteGridInt cannot write raster with unequal pixel dimensions",
                                .fileType = "FILETYPE  INT",
                                .wholeNodata = true});
      },
      [&] { return grid.status = fail(tag, "Grid type not defined"); });
}

int I4Grid_type::WriteIntI4(std::string_view stem) {
  return writeIntegers(*this, stem,
                       {.routine = "WriteIntI4 in Grid_Module",
                        .rowObject = "I4Array",
                        .unequal = "WriteIntI4 cannot properly write raster with unequal cell dimensions",
                        .fileType = "FILETYPE I4",
                        .bitDepth = "BIT DEPTH 32"});
}

int I8Grid_type::WriteIntI8(std::string_view stem) {
  return writeIntegers(*this, stem,
                       {.routine = "WriteIntI8 in Grid_Module",
                        .rowObject = "I8Array",
                        .unequal = "WriteIntI8 cannot properly write raster with unequal cell dimensions",
                        .fileType = "FILETYPE I8",
                        .bitDepth = "BITDEPTH 64"});
}

}  // namespace terrain
