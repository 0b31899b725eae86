#pragma once
// Whole files: units, sizes, copies, the three files of a shapefile in memory.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace terrain {

/// The lowest unit from 11 that is not open.
[[nodiscard]] int32_t freeUnit();

/// The name of the file `stem` + `ending`, or with the ending in capitals where only that file exists.
[[nodiscard]] std::string existingFile(std::string_view stem, std::string_view ending);

/// Size of a file in bytes; -1, with a report, if it cannot be opened or holds nothing.
[[nodiscard]] int64_t fsize(std::string_view name);

/// Size in bytes of an open direct-access file of 4-byte records, cut to whole records; 0 if the
/// unit is not open, -1, with a report, for a unit below 1 or a file without a record.
[[nodiscard]] int64_t fsizeByUnit(int32_t unit);

/// Copies a file byte for byte; an empty one is reported and not copied. 0, or -1 with a report and the
/// older target, if there is one, as it was.
int CopyFile(std::string_view source, std::string_view target);

/// Where the components of a shapefile go; null for those not wanted.
struct ShapefileBytes {
  std::vector<std::byte>* shp = nullptr;
  std::vector<std::byte>* dbf = nullptr;
  std::vector<std::byte>* shx = nullptr;
};

/// Loads the wanted components of shapefile `name` (without extension). 0, or -1 with a report.
int Load_shapefile(std::string_view name, const ShapefileBytes& wanted);

/// Record number of a cell in a file of one cell a record: col + (row - 1) * ncols, in 64 bits.
[[nodiscard]] constexpr int64_t cellIndex(int64_t col, int64_t row, int64_t ncols) {
  return col + (row - 1) * ncols;
}

}  // namespace terrain
