#include "grid/raster_source.h"

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "grid/raster_header.h"

namespace terrain {

namespace {

int findFile(RasterSource& source, CellType wanted, std::string_view tag) {
  const CellFacts* facts = factsOf(wanted);
  if (facts == nullptr) return fail(tag, "Unknown grid type");
  const auto there = [&](std::string_view extension) {
    return platform::fileExists(source.stem + std::string(extension));
  };
  if (facts->real ? there(".flt") && there(".hdr") : !there(".int") && there(".flt"))
    source.extension = ".flt";
  else if (!facts->real && there(".int"))
    source.extension = ".int";
  return source.extension.empty() ? fail(tag, "Cannot find raster file " + source.name) : kSuccess;
}

/// Layouts that would read as well-formed nonsense are refused.
int checkLayout(const RasterSource& source, const RasterLayout& layout, std::string_view tag) {
  const auto refuse = [&](const std::string& why) { return refuseHeader(source.stem, tag, why); };
  if (layout.byteOrder == "M" || layout.byteOrder == "MSBFIRST")
    return refuse("BYTEORDER " + layout.byteOrder + ": only little-endian rasters can be read");
  if (!layout.bands.empty() && layout.bands != "1")
    return refuse("NBANDS " + layout.bands + ": only rasters of one band can be read");
  if (source.extension == ".flt" && source.header.fileType.blank() && !layout.pixelType.empty() &&
      layout.pixelType != "FLOAT")
    return refuse("PIXELTYPE " + layout.pixelType + ": the cells of a .flt raster must be floats");
  return kSuccess;
}

/// A header without a bit depth: 32 or 64, by the size of the file.
int findBitDepth(RasterSource& source, int64_t fileBytes, std::string_view tag) {
  Grid_Header& header = source.header;
  if (header.bitDepth != 0) return kSuccess;
  const int64_t bytes = fileBytes / header.cols() / header.rows();
  if (bytes != 4 && bytes != 8) return fail(tag, "Unknown bit depth");
  header.bitDepth = bytes == 4 ? 32 : 64;
  return kSuccess;
}

/// The type of an integer or float cell of this many bits; null for none.
const CellFacts* factsOfBits(bool real, int32_t bits) {
  for (const CellFacts& facts : kCellFacts)
    if (facts.real == real && facts.bytes * 8 == static_cast<std::size_t>(std::max(bits, 0))) return &facts;
  return nullptr;
}

/// The cell type by the header's code, or where it has none by extension and bit depth.
int findCellType(RasterSource& source, std::string_view tag) {
  Grid_Header& header = source.header;
  const auto cols = static_cast<std::size_t>(header.cols());
  if (header.fileType.blank()) {
    const CellFacts* facts = factsOfBits(source.extension == ".flt", header.bitDepth);
    if (facts == nullptr) return fail(tag, "Unknown file type");
    header.fileType = facts->code;
  }
  const std::string code(header.fileType.trimmed());
  source.recordLength = header.bitDepth < 1 ? 4 * cols : static_cast<std::size_t>(header.bitDepth / 8) * cols;
  if (code == "I" || code == "IN") {
    const CellFacts* facts = factsOfBits(false, static_cast<int32_t>(source.recordLength / cols * 8));
    if (facts == nullptr) return fail(tag, "Unrecognized raster file type");
    source.type = facts->type;
    return kSuccess;
  }
  const CellFacts* facts = factsOfCode(code);
  if (facts == nullptr) return fail(tag, "Unrecognized raster file type: " + code);
  if (source.recordLength != facts->bytes * cols)
    return fail(tag, "grid header file type and bit depth do not match");
  source.type = facts->type;
  return kSuccess;
}

int checkSize(const RasterSource& source, int64_t fileBytes, std::string_view tag) {
  const auto needed = byteCount(source.recordLength, static_cast<std::uint64_t>(source.header.rows()));
  if (needed && static_cast<std::uint64_t>(fileBytes) >= *needed) return kSuccess;
  return reportError(
      {.routine = tag,
       .file = source.fileName(),
       .message1 = "The raster file is shorter than its header says",
       .message2 = "  Bytes in the file: " + freeText(fileBytes),
       .message3 = "  Bytes needed: " + (needed ? std::to_string(*needed) : "beyond any file")});
}

}  // namespace

int findRaster(RasterSource& source, std::string_view name, CellType wanted, std::string_view tag) {
  source.name = std::string(stripped(name));
  if (source.name.empty()) return fail(tag, "No file name provided");
  source.stem = rasterStem(source.name);
  if (findFile(source, wanted, tag) != kSuccess) return kFailure;
  RasterLayout layout;
  if (readRasterHeader(source.header, source.stem, layout) != kSuccess ||
      checkLayout(source, layout, tag) != kSuccess || !usableHeader(source.header, source.stem, tag))
    return kFailure;
  if (!layout.hasCorner) return refuseHeader(source.stem, tag, kCornerMissing);
  const int64_t fileBytes = fsize(source.fileName());
  if (fileBytes < 1) return fail(tag, "Cannot find raster file " + source.name);
  if (findBitDepth(source, fileBytes, tag) != kSuccess || findCellType(source, tag) != kSuccess)
    return kFailure;
  return checkSize(source, fileBytes, tag);
}

}  // namespace terrain
