#pragma once
// The record content that lines and polygons share: a bounding box, the starts of parts, vertices,
// and in some types elevations and measures, each after their range.
//
//   0  shape type    4  box, 4 float64    36  parts P    40  points N
//   44  P starts, from 0    then N pairs x, y    then, in turn where present: z range, N z; m range, N m

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "table/shapefile.h"

namespace terrain {

/// The parts of one record as they are read; kept from record to record to reuse the memory.
struct ShapeParts {
  std::vector<int32_t> starts{};  ///< from 0, rising, each within the vertices
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> z{};
  std::vector<double> m{};  ///< empty where the record has none
};

/// Reads the content of a record that is not null: all or nothing, the counts checked against the bytes that
/// are there, of which only whole blocks of measures may be left over. Coordinates must be finite numbers. A
/// missing measure is read as -1e39. Type Z fills `z`; of polygons Z and M fill `m` where
/// measures follow. Parts without points are dropped. With N of 0 everything is empty. False, with the reason
/// in `why`, for a fault; with a blank `why` if there is no memory.
[[nodiscard]] bool readParts(ShapeRecord& record, ShapeParts& parts, std::string& why);

/// What is written for one record. `z` and `m` are empty where they are not written.
struct ShapeContent {
  std::span<const int32_t> starts{};  ///< from 0
  std::span<const double> x{};
  std::span<const double> y{};
  std::span<const double> z{};
  std::span<const double> m{};
};

/// Ranges over all records written.
struct ShapeRanges {
  Box box{};
  Range z{};
  Range m{};  ///< of the measures that are not missing
};

/// Bytes of a main file with so many records, parts and vertices.
[[nodiscard]] uint64_t shapefileBytes(uint64_t records, uint64_t parts, uint64_t vertices, bool z, bool m);

/// Why `starts` are not those of parts that fill the vertices: rising from 0, each within them. Empty if
/// they are.
[[nodiscard]] std::string faultOfStarts(std::span<const int32_t> starts, std::size_t vertices);

/// Why a record cannot be written: starts that do not rise from 0 within the vertices, arrays of
/// different sizes, numbers that are not finite. Empty if it can.
[[nodiscard]] std::string faultOf(const ShapeContent& content);

/// Writes one record and widens `ranges` by it.
void writeParts(ShapefileWriter& out, const ShapeContent& content, ShapeRanges& ranges);

}  // namespace terrain
