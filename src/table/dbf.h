#pragma once
// dBASE III tables on disk, the companions of shapefiles: the layout of the header, reading into a
// data table, writing from one. All numbers of the file are little-endian.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "table/data_table.h"

namespace terrain {

class TableOutput;

struct DbfField {
  std::string name{};  ///< at most 10 bytes
  char letter = ' ';   ///< "C", "N", "F", "D", ...
  int32_t length = 0;  ///< bytes in a record
  int32_t decimals = 0;
  FixedText<2> dataType = "U ";  ///< type of the column; the letter where no type fits
};

/// The header of a file, checked against the file's size.
struct DbfHeader {
  int64_t numRecords = 0;      ///< computed from the file size where the header has 0
  uint16_t headerLength = 0;   ///< offset of the first record
  uint16_t recordLength = 0;   ///< delete flag included
  uint8_t languageDriver = 0;  ///< number of the texts' encoding; 0: not known
  std::vector<DbfField> fields{};
};

/// Reads and checks the header of a file of `fileSize` bytes whose first bytes are `front` (its first
/// 65,535 suffice). False, with the reason in `fault`, where the header contradicts itself or the file.
[[nodiscard]] bool parseDbfHeader(std::span<const std::byte> front, std::uint64_t fileSize, DbfHeader& header,
                                  std::string& fault);

struct DbfReadOptions {
  bool headerOnly =
      false;  ///< fields without values; the file stays open on `dbfUnit` as long as the table lives
  std::vector<int64_t>* deleted = nullptr;  ///< gets the numbers in the file of the records left out, rising
};

/// Reads a file into a table without fields: `numRecords`, the fields in the file's order, the values.
/// A field of a letter without a type keeps its place, without values. Every field of a known type
/// gets its three output flags, and keeps its form (`DbfForm`). A column of 32-bit reals with a value that
/// needs more than 7 digits is one of 64 bits. Records that are marked as deleted are left out, and their
/// count is logged; in header-only mode `numRecords` counts them. Numbers that cannot be read keep the fill
/// value -9999 and are logged, once a field. The text of a ".cpg" file beside it becomes the table's
/// `codePage`. Faults are reported with the file's name and leave the table without fields.
int readDbf(DataTableType& table, std::string_view path, const DbfReadOptions& options = {});

/// The bytes of a file, complete before anything is written: what cannot be written is reported while an
/// older file is still whole.
class DbfImage {
 public:
  /// Chooses the written fields, sets their flags and names, and formats the records. 0, or -1 with a
  /// report that names the field and the record.
  int make(DataTableType& table, const DbfWriteOptions& options);
  /// Adds path + ".dbf" to the files of the table, and path + ".cpg" where the table has a `codePage`;
  /// without one an older file of that name goes. The image must live until the commit. 0, or -1 with a
  /// report.
  [[nodiscard]] int addTo(TableOutput& out, std::string_view path) const;

 private:
  int allocate(std::span<const std::byte> header, uint64_t recordBytes);

  std::vector<std::byte> bytes_{};
  uint64_t blockSize_ = 0;  ///< the bytes are a whole number of blocks of this many
  std::string codePage_{};
};

/// Writes path + ".dbf", and ".cpg", see `DbfImage`: the records of
/// `options.recIndex`, in that order, or all those whose flag is set, or all. See
/// `DataTableType::writeDBFfile`.
int writeDbf(DataTableType& table, std::string_view path, const DbfWriteOptions& options = {});

}  // namespace terrain
