#pragma once
// What the files of lines and of polygons have in common: the loop over the records when reading, the choice
// and the order of the records when writing, and the writing of the files.

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "table/shape_parts.h"

namespace terrain {

/// Reads the next `records` records. `store` gets the place of each one that is not null, from 0, and its
/// content, and gives the name of an array for which there is no memory, blank if it stored them all. 0, or
/// -1 after a report; without memory for a record's content it names `vertexArrays`.
int readOutlines(ShapefileReader& file, int64_t records, std::string_view vertexArrays,
                 const std::function<std::string_view(std::size_t place, ShapeParts& parts)>& store);

/// How much of a record is written.
struct RecordSize {
  uint64_t parts = 0;
  uint64_t vertices = 0;  ///< 0: there is nothing to write
};

struct WrittenRecords {
  std::vector<int64_t> records{};  ///< from 1, in the order in which they are written
  uint64_t parts = 0;              ///< of all of them
  uint64_t vertices = 0;
};

struct WrittenRecordsOptions {
  bool isFlag = false;         ///< only records whose flag is set are considered
  bool byID = false;           ///< ascending by ID, equal IDs in table order
  std::string_view routine{};  ///< under which failures are reported, with the arrays' names
  std::string_view idArrays{};
  std::string_view orderArray{};
};

/// Chooses the records that have vertices and, in a table with an ID field, an ID above 0. The flag of
/// every record considered is set to whether it was chosen. `table` has record flags; `sizeOf` is called
/// once for each. 0, or -1 after a report where there is no memory.
int chooseWrittenRecords(DataTableType& table, const WrittenRecordsOptions& options,
                         const std::function<RecordSize(int64_t irec)>& sizeOf, WrittenRecords& chosen);

/// The arrays of one record as they go to the file, kept from record to record: `content` refers to the
/// table where that holds the values to be written, else to these copies.
struct OutlineImage {
  ShapeContent content{};
  std::vector<int32_t> starts{};
  std::vector<double> x{};
  std::vector<double> y{};
  std::vector<double> z{};
  std::vector<double> m{};
};

/// `out` becomes `values`, or a copy of them times `factor` and rounded to `decimals` where either changes
/// them; `keepMissing` leaves those that are -9999.0. False if there is no memory.
[[nodiscard]] bool scaleValues(std::span<const double> values, double factor, int32_t decimals,
                               bool keepMissing, std::vector<double>& copy, std::span<const double>& out);
/// `out` becomes `values` or, where there are none, `count` times `otherwise`. False if there is no memory.
[[nodiscard]] bool fillValues(std::span<const double> values, double otherwise, std::size_t count,
                              std::vector<double>& copy, std::span<const double>& out);

struct OutlineFileOptions {
  std::string_view routine{};  ///< under which failures are reported
  Shape type = Shape::null;
  bool z = false;                 ///< records have elevations
  bool m = false;                 ///< and measures
  std::size_t leastVertices = 1;  ///< a record with fewer is a fault: it would be read back empty
  bool reverse = false;           ///< vertices and parts last to first
};

/// Writes the files of the records chosen. `makeImage` makes the image of a record and gives false if there
/// is no memory. A record that cannot be written is reported before any file is touched. 0, or -1 after a
/// report.
int writeOutlines(DataTableType& table, std::string_view path, const OutlineFileOptions& options,
                  const WrittenRecords& chosen,
                  const std::function<bool(int64_t irec, OutlineImage& image)>& makeImage,
                  const DbfWriteOptions& rows, const InputFileType& prj);

}  // namespace terrain
