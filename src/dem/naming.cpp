#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "dem/naming.h"
#include "dem/operations.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/platform.h"
#include "foundation/text.h"
#include "grid/raster_header.h"

namespace terrain {

namespace {

constexpr std::string_view kResolveTag = "ResolveDEM in DEM_Module";
constexpr std::string_view kHeaderTag = "ReadDEMHeader in DEM_Module";

/// "_" for a length that is not above 0, blank for one whose integer does not fit 32 bits.
std::string tagOf(double length, double integer) {
  if (!(length > 0)) return "_";
  if (integer > std::numeric_limits<int32_t>::max()) return {};
  return freeText(static_cast<int32_t>(integer)) + '_';
}

void fillBlank(std::string& name, const std::string& from) {
  if (isBlank(name)) name = from;
}

/// directory + prefix + the first identifier that is not blank; blank where neither is there.
std::string derivedName(std::string_view directory, std::string_view prefix, std::string_view dataID,
                        std::string_view id) {
  const std::string_view identifier = stripped(isBlank(dataID) ? id : dataID);
  if (identifier.empty()) return {};
  return std::string(stripped(directory)).append(prefix).append(identifier);
}

/// Beside the reference data where there is any. A DEM named without a directory is in the current one,
/// and so are its rasters.
std::string derivedName(const DEM_type& dem, std::string_view prefix) {
  if (!isBlank(dem.refPath)) return derivedName(dem.refPath, prefix, dem.refDataID, dem.refID);
  return derivedName(dem.path, prefix, dem.dataID, dem.demID);
}

/// The DEM's file from its directory and identifier, else from the reference. False where neither does.
bool resolveFile(DEM_type& dem) {
  if (isBlank(dem.file) && !isBlank(dem.path) && !isBlank(dem.demID))
    dem.file = derivedName(dem.path, kElevPrefix, {}, dem.demID);
  if (isBlank(dem.file)) {
    if (isBlank(dem.refFile) && !isBlank(dem.refPath) && !isBlank(dem.refID))
      dem.refFile = derivedName(dem.refPath, kElevPrefix, {}, dem.refID);
    dem.file = dem.refFile;
  }
  return !isBlank(dem.file);
}

void completeNames(DEM_type& dem) {
  const bool noReference = isBlank(dem.refFile);
  fillBlank(dem.path, directoryOf(dem.file));
  fillBlank(dem.demID, identifierOf(dem.file));
  fillBlank(dem.refPath, noReference ? dem.path : directoryOf(dem.refFile));
  fillBlank(dem.refID, noReference ? dem.demID : identifierOf(dem.refFile));
  fillBlank(dem.refFile, dem.file);
  fillBlank(dem.dataID, dem.demID);
  fillBlank(dem.refDataID, dem.dataID);
}

}  // namespace

// ---- pieces of names ----

std::string withSeparator(std::string_view path) {
  std::string text(stripped(path));
  if (text.empty() || text.back() == '\\' || text.back() == '/') return text;
  text += text.find('/') == std::string::npos ? '\\' : '/';
  return text;
}

std::string identifiersOf(const DEM_type& dem) {
  const std::string id(stripped(dem.demID));
  const std::string data(stripped(dem.dataID));
  return id == data ? id : id + data;
}

std::string identifierOf(std::string_view file) {
  const std::string name = fileNameOf(stripped(file));
  const std::size_t at = name.rfind('_');
  return at == std::string::npos || at + 1 == name.size() ? name : name.substr(at + 1);
}

std::string roundedLengthName(double length) { return tagOf(length, std::round(length)); }
std::string truncatedLengthName(double length) { return tagOf(length, std::trunc(length)); }

std::string findDerived(const DEM_type& dem, std::span<const std::string> prefixes) {
  for (const std::string& prefix : prefixes) {
    std::string name = derivedName(dem, prefix);
    if (!name.empty() && rasterExists(name)) return name;
  }
  std::string first = prefixes.empty() ? std::string() : derivedName(dem, prefixes.front());
  if (first.empty() && !prefixes.empty()) first = prefixes.front();
  reportError({.routine = "resolveName in DEM_Module",
               .file = first,
               .message1 = "Cannot find requested raster file"});
  return {};
}

int readUsableHeader(DEM_type& dem, std::string_view name, std::string_view routine) {
  if (dem.ReadHeader(name) != kSuccess || !usableHeader(dem, name, routine)) return dem.status = kFailure;
  dem.unifyCellSize();
  // The nodata value of the file is replaced when its cells are read; no grid of the system holds it.
  dem.nodata = kNodata;
  return kSuccess;
}

// ---- the DEM ----

int resolveDEM(DEM_type& dem, const ResolveDEMOptions& options) {
  Attempt attempt{dem.status};
  dem.path = withSeparator(dem.path);
  dem.refPath = withSeparator(dem.refPath);
  if (!resolveFile(dem)) return fail(kResolveTag, "DEM FILE unresolved");
  completeNames(dem);
  if (readUsableHeader(dem, dem.file, kResolveTag) != kSuccess)
    return reportError({.routine = kResolveTag, .file = dem.file, .message1 = "readheader failed for DEM"});
  if (options.halfCellShift && dem.Offset({.halfCell = true}) != kSuccess) return kFailure;
  return attempt.succeed();
}

int readDEMHeader(DEM_type& dem) {
  Attempt attempt{dem.status};
  if (isBlank(dem.file)) {
    if (isBlank(dem.path) || isBlank(dem.demID)) return fail(kHeaderTag, "Path and/or DEM ID not set");
    dem.file = derivedName(withSeparator(dem.path), kElevPrefix, {}, dem.demID);
  }
  if (!platform::fileExists(dem.file + ".hdr")) return fail(kHeaderTag, dem.file + ".hdr not found");
  return attempt.end(readUsableHeader(dem, dem.file, kHeaderTag));
}

}  // namespace terrain
