#pragma once
// The data table: a column store. A table has `numRecords` records and columns of five types ("I4"
// int32, "I8" int64, "R4" float32, "R8" float64, "C " text of up to 256 characters). It is used alone
// for DBF and delimited text and is the base of the point, line and polygon tables. Fields and
// records count from 1. The nodata value is -9999 in every numeric type.
//
// Operations store -1 in `status` on entry and 0 at a successful end; the integer results are the same.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/attribute_table.h"
#include "table/field_content.h"

namespace terrain {

/// A field by number or, where that is absent, by name.
struct FieldChoice {
  std::optional<int32_t> fieldNum{};
  std::optional<std::string_view> fieldName{};
};
struct AddFieldOptions {
  std::optional<int32_t> fill{};  ///< value of the new columns; absent: the attribute's nodata, truncated
  bool replace = false;           ///< removes old fields whose name is the first 10 characters of a new one's
};
struct SetOutFlagOptions {
  std::optional<std::string_view> fieldName{};
  std::optional<int32_t> fieldNumber{};
  std::optional<bool> shpFlag{}, csvFlag{};
};
struct ExtremeOptions {
  std::optional<int32_t> fieldNum{};
  std::optional<std::string_view> fieldName{};
  float nodata = -9999.0F;  ///< only values above it count
};
/// An entry that points into an attribute list by entry number; 0 or less means none.
struct AttributeReference {
  int32_t first = 0, second = 0;
  std::vector<int32_t> list{};
};
struct ApplyListOptions {
  std::span<AttributeReference> references{};  ///< their entry numbers become field numbers
  std::optional<bool> outValue{};              ///< for the three flags of every field
  bool idOut = false;                          ///< the ID field is written in any case
};
struct CalendarDate {
  int32_t year = 1900, month = 1, day = 1;
};
struct DbfWriteOptions {
  bool isFlag = false;                 ///< only records whose flag is set (point, line and polygon tables)
  bool shpOnly = false;                ///< only fields with `shpFlag`
  bool csvOnly = false;                ///< only fields with `csvFlag`
  std::optional<int32_t> nodataOut{};  ///< written for negative values that are whole multiples of 9
  std::optional<std::span<const int64_t>>
      recIndex{};                      ///< these records (from 1), in this order; may be empty
  bool allFields = false;              ///< first sets `outFlag` and `shpFlag` of all fields
  std::optional<CalendarDate> date{};  ///< of writing, in the header; absent: today
};
struct CsvWriteOptions {
  std::optional<int32_t> nodataOut{};  ///< as in DbfWriteOptions
  bool csvOnly = false;                ///< only fields with `csvFlag`
  bool isFlag = false;                 ///< only records whose flag is set; tables without flags write all
};

/// Tables are moved, not copied; a table that was moved from has no fields and no records.
class DataTableType {
 public:
  DataTableType() = default;
  virtual ~DataTableType();
  DataTableType(DataTableType&& other) noexcept;
  DataTableType& operator=(DataTableType&& other) noexcept;

  int32_t status = 0;
  int32_t IDfield = 0;  ///< number of the field that identifies a record; 0 or less: none
  int32_t nfields = 0;  ///< always the size of `field`
  std::vector<std::unique_ptr<FieldContent>> field{};  ///< field n is at n - 1
  int32_t dbfUnit = 0;          ///< open file of a table read in header-only mode; closed with the table
  int32_t dbfRecordLength = 0;  ///< bytes of a record in the file, delete flag included
  int64_t dbfPosition = 0;      ///< position, from 1, of the next record of the file
  int64_t numRecords = 0;
  std::string codePage{};           ///< name of the texts' encoding, as the file beside the table gives it
  std::uint8_t languageDriver = 0;  ///< number of the texts' encoding in a DBF file; 0: not known

  [[nodiscard]] int64_t NumRecords() const { return numRecords; }
  [[nodiscard]] int32_t NumFields() const { return nfields; }
  /// The field, or null for a number outside 1..nfields.
  [[nodiscard]] FieldContent* fieldAt(int32_t number) {
    return number >= 1 && number <= nfields ? field[static_cast<std::size_t>(number) - 1].get() : nullptr;
  }
  [[nodiscard]] const FieldContent* fieldAt(int32_t number) const {
    return number >= 1 && number <= nfields ? field[static_cast<std::size_t>(number) - 1].get() : nullptr;
  }

  // ---- fields ----
  /// Appends fields, with a column of fill values each, in the order of the list. Without memory the table
  /// stays as it was.
  int AddField(std::span<const AttributeType> newFields, const AddFieldOptions& options = {});
  /// Renames old fields that have the names of the list, appends the fields of the list, and returns the
  /// whole table's list in `list`. If there is no memory for the new columns, the changes to old names and
  /// flags remain.
  int ApplyAttributeList(std::vector<AttributeType>& list, const ApplyListOptions& options = {});
  /// The description of every field, in their order.
  int GetAttributeList(std::vector<AttributeType>& list);
  [[nodiscard]] std::string FieldName(int32_t fieldNum) const;  ///< trimmed; blank if out of range
  /// By `name`, then `outName`, of each field in turn; with `outputOnly` present only fields with `outFlag`.
  [[nodiscard]] int32_t FieldNumber(std::string_view name,
                                    std::optional<bool> outputOnly = std::nullopt) const;
  [[nodiscard]] FixedText<2> FieldType(const FieldChoice& which);    ///< "U ", after a report, for none
  [[nodiscard]] int32_t FieldLength(std::string_view name) const;    ///< characters; 0 for none
  [[nodiscard]] int32_t FieldDecimals(std::string_view name) const;  ///< 0 for none
  [[nodiscard]] std::vector<int32_t> FieldLengths() const;           ///< as written, of all fields
  [[nodiscard]] std::vector<std::string> FieldOutNames() const;      ///< as written, of all fields
  /// By `name` alone; number 0 and type "U " if there is none.
  void FindField(std::string_view name, int32_t& fieldNum, FixedText<2>& dataType) const;
  /// Changes the name, and the output name where there is none yet. -1, reported, for a bad number.
  int Rename(int32_t fieldNum, std::string_view name, std::optional<std::string_view> outName = std::nullopt);
  void AbbreviateFieldNames();  ///< output names of at most 10 characters for the two long names in use
  /// Makes the output names of the written fields unique.
  int duplicateCheck();
  int32_t RecordID(int64_t irec);  ///< -9999 without an ID field
  /// A number below 0 means no ID field; 0, or one above `nfields`, is a failure.
  int SetIDfield(const FieldChoice& which = {});
  /// `outFlag` of all fields, then of the ID field, as far as they are given.
  void SetOutFlags(std::optional<bool> allFields = std::nullopt, std::optional<bool> idField = std::nullopt);
  /// `outFlag` of one field, and its flags for delimited text and shapefiles where they are given.
  int SetOutFlag(bool outFlag, const SetOutFlagOptions& options);
  void SetShpFlag(int32_t fieldNum, bool value);  ///< this and the next ignore a number out of range
  void SetOutName(int32_t fieldNum, std::string_view name);

  // ---- whole columns: the type must be that of the field, nothing is converted; `values` gets numRecords
  // places. -1 for a bad field, a wrong type or, when writing, a wrong number of values ----
  int ReadI4Field(std::vector<int32_t>& values, const FieldChoice& which);
  int ReadI8Field(std::vector<int64_t>& values, const FieldChoice& which);
  int ReadR4Field(std::vector<float>& values, const FieldChoice& which);
  int ReadR8Field(std::vector<double>& values, const FieldChoice& which);
  int WriteI4Field(std::span<const int32_t> values, int32_t fieldNum);
  int WriteI8Field(std::span<const int64_t> values, int32_t fieldNum);
  int WriteR4Field(std::span<const float> values, int32_t fieldNum);
  int WriteR8Field(std::span<const double> values, int32_t fieldNum);
  int WriteCharField(std::span<const std::string> values, int32_t fieldNum);

  // ---- single values: converted where the target holds the value; -9999 or blank after a failure ----
  int ReadI4Value(int32_t ifield, int64_t irec, int32_t& value);
  int ReadI8Value(int32_t ifield, int64_t irec, int64_t& value);
  int ReadR4Value(int32_t ifield, int64_t irec, float& value);
  int ReadR8Value(int32_t ifield, int64_t irec, double& value);
  int ReadCharValue(int32_t ifield, int64_t irec, std::string& value);  ///< without trailing blanks
  int WriteI4Value(int32_t ifield, int64_t irec, int32_t value);
  int WriteI8Value(int32_t ifield, int64_t irec, int64_t value);
  int WriteR4Value(int32_t ifield, int64_t irec, float value);
  int WriteR8Value(int32_t ifield, int64_t irec, double value);
  int WriteCharValue(int32_t ifield, int64_t irec, std::string_view value);

  // ---- operations ----
  /// Smallest and largest value above nodata; 1.7976931348623157e+308 and -9999 if there is none.
  double Minimum(const ExtremeOptions& options);
  double Maximum(const ExtremeOptions& options);
  /// Selection flag of a record of a point, line or polygon table; numbers out of range are ignored.
  int setRecordFlag(int64_t irec, bool value);
  /// Writes path + ".dbf", and path + ".cpg" if there is a `codePage`, else an old ".cpg" is removed.
  int writeDBFfile(std::string_view path, const DbfWriteOptions& options = {});
  /// Writes delimited text with a heading, ordered by ID where there is an ID field; ".csv" is
  /// appended to a path without it.
  int WriteCSV(std::string_view path, const CsvWriteOptions& options = {});
  /// Keeps the records listed (from 1), in that order, a record as often as it is listed, with their
  /// shapes where every record has one; `numRecords` becomes their number. Links between shapes keep the
  /// old numbers. If memory runs out or a number is out of range nothing changes.
  int takeRecords(std::span<const int64_t> records);
  /// Makes `to` a table of the same columns, values, texts' encoding and ID field, without an open file; its
  /// shapes go. 0, or -1 with `to` as it was after a report under `routine` that there is no memory.
  int copyColumns(DataTableType& to, std::string_view routine) const;
  /// No fields, no records and no shapes, no open file; nothing of the file that was read is left.
  virtual void clear();

  /// True for the tables whose records have a selection flag.
  [[nodiscard]] virtual bool hasRecordFlags() const { return false; }
  /// The flag of record `irec`, from 1 to numRecords; null where there are none.
  [[nodiscard]] virtual bool* recordFlag(int64_t /*irec*/) { return nullptr; }

 private:
  /// Does to the shapes what `takeRecords` does to the columns. False, with nothing changed, if there is no
  /// memory.
  [[nodiscard]] virtual bool keepShapes(std::span<const int64_t> /*records*/, bool /*ascending*/) {
    return true;
  }
};

struct NewTableOptions {
  std::optional<std::string_view> filePath{};  ///< ends in "dbf" or "csv"
  std::optional<std::span<const AttributeType>> attributeList{};
  std::optional<int64_t> numRecords{};
  bool headerOnly = false;
};
/// Fills `table` from a file, or with empty columns from a list, or not at all. What it held before is lost.
int NewDataTable(DataTableType& table, const NewTableOptions& options = {});

/// How much of a delimited text file is read.
enum class DelimitedPart { whole, columnsOnly };
/// Reads delimited text into a table, which is cleared first; see `NewDataTable`.
int readDelimited(DataTableType& table, std::string_view path, DelimitedPart part);

}  // namespace terrain
