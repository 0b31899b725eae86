#pragma once
// The six cell types: what each is, what the system calls it and says of it, in one table.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/numbers.h"

namespace terrain {

enum class CellType { none, R4, R8, I1, I2, I4, I8 };

template <class T>
concept Cell = std::same_as<T, float> || std::same_as<T, double> || std::same_as<T, std::int8_t> ||
    std::same_as<T, std::int16_t> || std::same_as<T, std::int32_t> || std::same_as<T, std::int64_t>;

struct CellFacts {
  CellType type = CellType::none;
  std::string_view code{};      ///< in the headers of raster files
  std::size_t bytes = 0;        ///< of one cell
  bool real = false;            ///< a float type
  std::size_t nodataWidth = 0;  ///< of the nodata value in a raster header
  // Words of messages:
  std::string_view grid{};           ///< a grid that could not be allocated
  std::string_view createRow{};      ///< the row array of `CreateGrid`
  std::string_view rowAccessLine{};  ///< told of a new scratch file
  std::string_view scratchFailed{};  ///< a scratch file could not be opened
  std::string_view inRow{};          ///< the row arrays of `ReadGrid`
  std::string_view outRow{};
  std::string_view writeRow{};  ///< the row array of the raster writers
  std::string_view writeTag{};  ///< the tag of `WritefltR4` and its twins
};

// clang-format off
inline constexpr std::array<CellFacts, 6> kCellFacts{{
  {CellType::R4, "R4", 4, true, 8, "r4Grid", "Real_Row", "  R4Grid_type, RowAccess", "OpenBinaryScratchFile failed", "r4InRow", "r4OutRow array", "r4Array", "WritefltR4 in Grid_Modul"},
  {CellType::R8, "R8", 8, true, 8, "r8Grid", "Real8_Row", "  R8Grid_type, rowAccess", "OpenBinaryScratchFile failed", "r8InRow", "R8OutRow", "r8Array", "WritefltR8 in Grid_Modul"},
  {CellType::I8, "I8", 8, false, 6, "I8Grid", "Int8Row", "  I8Grid type, row access", "OpenBinaryScratchFile failed", "I8InRow", "I8OutRow", "i8Array", "WritefltI8 in Grid_Modul"},
  {CellType::I4, "I4", 4, false, 8, "I4Grid", "IntRow", "  I4Grid_type, RowAccess", "OpenBinaryScratchFile failed", "I4InRow", "I4OutRow", "i4Array", "WritefltI4 in Grid_Modul"},
  {CellType::I2, "I2", 2, false, 6, "I2Grid", "I2Row array", "  I2Grid_type, RowAccess", "OpenBinaryScratchFile failed for I2Grid_type", {}, {}, "i2Array", "WritefltI2 in Grid_Modul"},
  {CellType::I1, "I1", 1, false, 4, "I1Grid", "I1Row", "  I1Grid_type, rowAccess", "OpenBinaryScratchFile failed for I1Grid_type", {}, {}, "i1Array", "WritefltI1 in Grid_Modul"},
}};
// clang-format on

/// The facts of a type; null for `none`.
constexpr const CellFacts* factsOf(CellType type) {
  for (const CellFacts& facts : kCellFacts)
    if (facts.type == type) return &facts;
  return nullptr;
}

/// The facts of the type with this code in a raster header; null for any other word.
constexpr const CellFacts* factsOfCode(std::string_view code) {
  for (const CellFacts& facts : kCellFacts)
    if (facts.code == code) return &facts;
  return nullptr;
}

template <Cell T>
constexpr CellType cellTypeOf() {
  if constexpr (std::same_as<T, float>) return CellType::R4;
  if constexpr (std::same_as<T, double>) return CellType::R8;
  if constexpr (std::same_as<T, std::int8_t>) return CellType::I1;
  if constexpr (std::same_as<T, std::int16_t>) return CellType::I2;
  if constexpr (std::same_as<T, std::int32_t>) return CellType::I4;
  if constexpr (std::same_as<T, std::int64_t>) return CellType::I8;
}

template <Cell T>
inline constexpr const CellFacts& kFactsOf = *factsOf(cellTypeOf<T>());

/// A float32 as the cell type holds it: kept in the float types, truncated in the integer types.
template <Cell T>
[[nodiscard]] constexpr T truncateOrKeep(float value) {
  if constexpr (std::floating_point<T>)
    return static_cast<T>(value);
  else
    return truncateTo<T>(value);
}

}  // namespace terrain
