#include "foundation/files.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/replacement.h"
#include "foundation/text.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::string_view kCopyTag = "CopyFile in Utilities";
constexpr std::string_view kLoadTag = "Load_shapefile in Utilities";

std::string zeroLength(std::string_view name) {
  return "fsize returned zero file length for " + std::string(trimmed(name));
}

int loadComponent(std::string_view name, std::string_view extension, std::vector<std::byte>& bytes) {
  const std::string file = existingFile(trimmed(name), '.' + std::string(extension));
  const int64_t size = fsize(file);
  if (size < 1) return fail(kLoadTag, zeroLength(file));
  bytes.clear();
  if (!tryAllocate(bytes, static_cast<std::size_t>(size))) return cannotAllocate(kLoadTag, extension);
  platform::File source;
  if (source.open(file, platform::Open::read) != kIoOk)
    return reportError({.routine = kLoadTag, .code = kCannotOpenToRead, .file = file});
  if (source.readAt(0, bytes) != kIoOk)
    return reportError({.routine = kLoadTag, .code = kReadError, .file = file});
  return kSuccess;
}

}  // namespace

int32_t freeUnit() { return units().freeUnit(); }

// The file system is asked: the answer of a search over readable records in one call.
std::string existingFile(std::string_view stem, std::string_view ending) {
  std::string name = std::string(stem).append(ending);
  if (platform::fileExists(name)) return name;
  std::string capitals = name;
  std::transform(capitals.begin() + std::ssize(stem), capitals.end(), capitals.begin() + std::ssize(stem),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return platform::fileExists(capitals) ? capitals : name;
}

int64_t fsize(std::string_view name) {
  constexpr std::string_view tag = "fsize in Utilities";
  platform::File file;
  const std::string shown(trimmed(name));
  if (file.open(name, platform::Open::read) != kIoOk) return fail(tag, "Error opening file " + shown);
  const std::uint64_t size = file.size();
  if (size == 0) return fail(tag, "Error reading file " + shown);
  return static_cast<int64_t>(size);
}

int64_t fsizeByUnit(int32_t unit) {
  constexpr std::string_view tag = "fsizeByUnit in Utilities";
  constexpr std::uint64_t kRecord = 4;
  if (unit < 1) return fail(tag, "nonzero unit number must be provided");
  RecordFile* file = units().records(unit);
  if (file == nullptr) return 0;
  const std::uint64_t records = file->size() / kRecord;
  if (records == 0) return fail(tag, "Error reading file for unit " + rightJustified(freeText(unit), 5));
  return static_cast<int64_t>(records * kRecord);
}

// Moved in blocks: a copy never holds more than one of them.
int CopyFile(std::string_view source, std::string_view target) {
  constexpr std::size_t kBlock = std::size_t{1} << 20;
  if (fsize(source) < 1) return fail(kCopyTag, zeroLength(source));
  std::vector<std::byte> block;
  if (!tryAllocate(block, kBlock)) return cannotAllocate(kCopyTag, "thisdbf");
  platform::File from;
  if (from.open(source, platform::Open::read) != kIoOk)
    return reportError({.routine = kCopyTag, .code = kCannotOpenToRead, .file = source});
  Replacement to;
  if (platform::sameFile(source, target) || to.open(target) != kIoOk)
    return reportError({.routine = kCopyTag, .code = kCannotOpenToRead, .file = target});
  for (std::uint64_t offset = 0;;) {
    std::size_t got = 0;
    if (from.readAt(offset, block, got) != kIoOk)
      return reportError({.routine = kCopyTag, .code = kReadError, .file = source});
    if (got == 0) break;
    if (to.file().writeAt(offset, std::span(block).first(got)) != kIoOk)
      return reportError({.routine = kCopyTag, .code = kWriteError, .file = target});
    offset += got;
  }
  return to.commit() == kIoOk ? kSuccess
                              : reportError({.routine = kCopyTag, .code = kWriteError, .file = target});
}

int Load_shapefile(std::string_view name, const ShapefileBytes& wanted) {
  if (wanted.shp == nullptr && wanted.dbf == nullptr && wanted.shx == nullptr)
    return fail(kLoadTag, "No shapefile components specified");
  if (wanted.dbf != nullptr && loadComponent(name, "dbf", *wanted.dbf) != kSuccess) return kFailure;
  if (wanted.shp != nullptr && loadComponent(name, "shp", *wanted.shp) != kSuccess) return kFailure;
  if (wanted.shx != nullptr && loadComponent(name, "shx", *wanted.shx) != kSuccess) return kFailure;
  return kSuccess;
}

}  // namespace terrain
