#include "dem/grids.h"

#include <vector>

#include "dem/naming.h"
#include "foundation/keywords.h"
#include "foundation/text.h"
#include "grid/storage.h"

namespace terrain {

namespace {

/// The prefixes to look for, tags included, in order: the rounded length first, then the length as a run
/// writes it, without its fraction.
std::vector<std::string> prefixesOf(const DEM_type& dem, const DemGrid& row, std::string_view rounded) {
  std::vector<std::string> prefixes;
  const auto addTagged = [&](std::string_view prefix) {
    const std::string truncated = truncatedLengthName(dem.len_scale);
    prefixes.push_back(std::string(prefix).append(rounded));
    if (truncated != rounded) prefixes.push_back(std::string(prefix).append(truncated));
  };
  if (row.tagged)
    addTagged(row.prefix);
  else
    prefixes.emplace_back(row.prefix);
  const bool savedDiffers = !row.savedPrefix.empty() && row.savedPrefix != row.prefix;
  if (savedDiffers && !isBlank(rounded)) addTagged(row.savedPrefix);
  return prefixes;
}

/// Finds the raster's name. -1, reported, where there is no such raster.
int findName(const DEM_type& dem, const DemGrid& row, std::string& name) {
  constexpr std::size_t tagLength = 10;
  const std::string tag(cut(dem.lengthName(), tagLength));
  const std::string what(row.what);
  if (row.tagged && isBlank(tag))
    return fail(row.routine, "Need length scale to resolve " + what + " raster file name");
  name = findDerived(dem, prefixesOf(dem, row, tag));
  return isBlank(name) ? fail(row.routine, "Cannot find " + what + " raster file") : kSuccess;
}

}  // namespace

DemDiagnostics& demDiagnostics() {
  static DemDiagnostics diagnostics;
  return diagnostics;
}

void diagnose(std::string_view line) {
  if (demDiagnostics().on) putMessage(line);
}

int readOnto(const DEM_type& dem, const Grid_Header& extent, R4Grid_type& grid, std::string_view name,
             const MatchTexts& mismatch) {
  Grid_Header file;
  const bool read =
      readRaster(grid, name, {.clipGrid = &extent, .onDisk = grid.onDisk, .fileHeader = &file}) == kSuccess;
  if (!read) fail(mismatch.routine, "ReadGrid failed for " + std::string(stripped(name)));
  if (extent.feetConverted) FeetToMeters(file);
  const bool covered = coversExtent(file, extent);
  if (read && covered && SameGridGeometry(extent, grid)) return kSuccess;
  if (read || (file.HeaderExists() && !covered)) reportMismatch(dem, file, name, mismatch);
  if (grid.ncols) DestroyGrid(grid);
  return kFailure;
}

int getGrid(DEM_type& dem, const DemGrid& row, std::optional<std::string_view> name) {
  R4Grid_type& grid = dem.*std::get<R4Grid_type DEM_type::*>(row.grid);
  Attempt attempt{dem.status, grid.status};
  if (grid.GridExists()) {
    diagnose(row.alreadyThere);
    return attempt.succeed();
  }
  if (!row.opening.empty()) putMessage(row.opening);
  std::string& file = dem.*row.file;
  if (name) file = std::string(stripped(*name));
  if (!isBlank(file))
    putMessage("  " + file);
  else if (findName(dem, row, file) != kSuccess)
    return kFailure;
  return attempt.end(readOnto(
      dem, dem, grid, file,
      {.routine = row.routine, .message = "The raster does not cover the DEM, or its lattice is another"}));
}

int destroyMember(DEM_type& dem, std::string_view name) {
  Attempt attempt{dem.status};
  for (const DemGrid* row : dem_grids::all) {
    if (!isKeyword(row->words, name)) continue;
    std::visit(
        [&](auto member) {
          if (!(dem.*member).GridExists()) return;
          diagnose("DestroyGrid for DEM%" + std::string(nameOfKeyword(row->words)));
          DestroyGrid(dem.*member);
        },
        row->grid);
    return attempt.succeed();
  }
  return fail("DestroyGrid in DEM_Module", "Unknown DEM grid type: " + std::string(trimmed(name)));
}

}  // namespace terrain
