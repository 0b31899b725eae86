#pragma once
// Shared by the tests of the tables: captured messages, scratch directories, tables and DBF files
// made of a few words.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "support/reporting.h"
#include "support/tools.h"
#include "table/data_table.h"
#include "table/dbf.h"

namespace terrain::test {

inline AttributeType attribute(std::string_view name, std::string_view type, int32_t length = 12,
                               int32_t decimals = 0) {
  AttributeType made;
  made.name = name;
  made.dataType = type;
  made.length = length;
  made.decimals = decimals;
  made.outFlag = made.shpFlag = made.csvFlag = true;
  return made;
}

/// Names, types and values of all fields, as "NAME type v v v; ".
inline std::string shown(const DataTableType& table) {
  std::ostringstream out;
  for (const auto& content : table.field) {
    out << content->name.trimmed() << " " << content->dataType.trimmed();
    visitColumn(*content, [&out](const auto& column) {
      for (std::size_t r = 0; r < column.size(); ++r) out << " " << column[r];
    });
    out << "; ";
  }
  return out.str();
}

/// A test of tables: one table, what is reported and a directory.
class TableTest : public ::testing::Test {
 protected:
  /// Makes the table of empty columns.
  void make(const std::vector<AttributeType>& list, int64_t numRecords) {
    ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = numRecords}), 0) << seen.text();
  }
  ConsoleCapture seen;
  ScratchDir scratch;
  DataTableType table;
};

/// One field of a DBF file made by hand.
struct RawDbfField {
  std::string name;
  char letter;
  int length;
  int decimals = 0;
};
/// A DBF file of records given as their bytes, delete flag included. `records` and `recordLength` below
/// 0 are taken from the data.
inline std::string rawDbf(const std::vector<RawDbfField>& fields, const std::vector<std::string>& data,
                          int64_t records = -1, int64_t recordLength = -1) {
  std::vector<std::byte> bytes;
  ByteWriter out(bytes);
  out.text(std::string_view("\3\144\1\1", 4));
  out.little(static_cast<uint32_t>(records < 0 ? static_cast<int64_t>(data.size()) : records));
  out.little(static_cast<uint16_t>(33 + 32 * fields.size()));
  int64_t length = 1;
  for (const RawDbfField& field : fields) length += field.length;
  out.little(static_cast<uint16_t>(recordLength < 0 ? length : recordLength));
  out.fill(std::byte{0}, 20);
  for (const RawDbfField& field : fields) {
    out.text(field.name);
    out.fill(std::byte{0}, 11 - field.name.size());
    out.text(std::string_view(&field.letter, 1));
    out.fill(std::byte{0}, 4);
    out.little(static_cast<uint16_t>(field.length + 256 * field.decimals));
    out.fill(std::byte{0}, 14);
  }
  out.text("\r");
  for (const std::string& record : data) out.text(record);
  out.text("\x1A");
  return std::string(ByteReader(bytes).text(bytes.size()));
}

/// Names, letters, lengths and decimals of the fields of a DBF file that have values.
inline std::string formOf(const std::string& bytes, bool named = true) {
  DbfHeader header;
  std::string form;
  EXPECT_TRUE(parseDbfHeader(std::as_bytes(std::span(bytes)), bytes.size(), header, form)) << form;
  for (const DbfField& field : header.fields)
    if (kindOf(field.dataType.padded()) != FieldKind::unknown)
      form += (named ? field.name : std::string()) + ' ' + field.letter + std::to_string(field.length) + '.' +
              std::to_string(field.decimals) + "; ";
  return form;
}

}  // namespace terrain::test
