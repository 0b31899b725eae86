#pragma once
// One column of a data table: its description and one array of values of its type.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "foundation/text.h"

namespace terrain {

inline constexpr std::size_t kTextLength = 256;  ///< longest text that a column or a name holds

/// Texts of a column, each of at most 256 characters and read without its trailing blanks. Memory
/// follows the text: 8 bytes a record and the characters, which are in one block. Copies of one record that
/// follow each other have their characters once.
class TextColumn {
 public:
  [[nodiscard]] std::size_t size() const { return slices_.size(); }
  [[nodiscard]] bool empty() const { return slices_.empty(); }
  /// `count` blank texts, with room for `characters` in all. False if there is no memory.
  [[nodiscard]] bool assign(std::size_t count, std::size_t characters = 0);
  /// Record counted from 0. Valid until the next `set`.
  [[nodiscard]] std::string_view operator[](std::size_t record) const {
    const Slice slice = slices_[record];
    return {characters_.data() + slice.start, static_cast<std::size_t>(slice.length)};
  }
  /// Cut at 256 characters. False, with the old text kept, if there is no memory.
  [[nodiscard]] bool set(std::size_t record, std::string_view text);
  /// Keeps the records listed (from 1), ascending.
  void keep(std::span<const int64_t> records);
  /// Bytes that a column of the records listed (from 1) takes.
  [[nodiscard]] std::uint64_t bytesFor(std::span<const int64_t> records) const;
  /// The records of another column that are listed (from 1). False if there is no memory.
  [[nodiscard]] bool copyFrom(const TextColumn& other, std::span<const int64_t> records);
  void clear();

 private:
  struct Slice {
    std::uint64_t start : 48 = 0;
    std::uint64_t length : 16 = 0;
  };
  [[nodiscard]] bool compact();

  std::vector<Slice> slices_;
  std::vector<char> characters_;
  std::size_t used_ = 0;  // sum of the lengths of all slices
  bool shared_ = false;   // slices may have the same characters, which are then not overwritten
};

/// The form that a column had in the DBF file that it was read from, in which it is written again as long as
/// its values fit and its output length and decimals are not changed.
struct DbfForm {
  char letter = ' ';            ///< type: "C", "N", "F", "D", "L", or another for a number
  int32_t decimals = 0;         ///< beside `fileLength`
  bool anyDigits = false;       ///< some numbers had an exponent, or more decimals than these
  bool blankIsMissing = false;  ///< missing numbers were blank: -9999 is written as blank
};

/// What is known of a column without its values.
struct FieldDescription {
  FixedText<2> dataType = "U ";  ///< "I4", "I8", "R4", "R8" or "C "; any other type has no array
  FixedText<kTextLength> name{};
  FixedText<kTextLength> outName{};  ///< name on output
  int32_t length = 0;                ///< output length in characters
  int32_t outLength = 0;             ///< the same; below 1, `length` is used
  int32_t fileLength = 0;            ///< length in the file that the field came from
  int32_t decimals = 0;
  bool outFlag = false;  ///< written at all
  bool csvFlag = true;   ///< also to delimited text
  bool shpFlag = true;   ///< also to the table of a shapefile
  std::optional<DbfForm> dbfForm{};
};

/// One column. Only the array of its `dataType` ever holds values: none, or one a record.
struct FieldContent : FieldDescription {
  std::vector<int32_t> I4{};
  std::vector<int64_t> I8{};
  std::vector<float> R4{};
  std::vector<double> R8{};
  TextColumn Char{};
};

/// The array of one type of a column; the five types are int32_t, int64_t, float, double, TextColumn.
/// For example `for (float& value : columnOf<float>(*field)) ...`
template <class T>
auto& columnOf(auto& field) {
  if constexpr (std::is_same_v<T, int32_t>)
    return field.I4;
  else if constexpr (std::is_same_v<T, int64_t>)
    return field.I8;
  else if constexpr (std::is_same_v<T, float>)
    return field.R4;
  else if constexpr (std::is_same_v<T, double>)
    return field.R8;
  else
    return field.Char;
}

enum class FieldKind { I4, I8, R4, R8, text, unknown };

/// The kind of a type code, compared exactly.
[[nodiscard]] FieldKind kindOf(std::string_view dataType);

/// True for the four types of numbers.
[[nodiscard]] inline bool isNumeric(const FieldDescription& field) {
  const FieldKind kind = kindOf(field.dataType.padded());
  return kind != FieldKind::text && kind != FieldKind::unknown;
}

/// Calls f with `std::type_identity` of the type of a code's column, by which `columnOf` finds the array; the
/// one switch over the five types. Gives what f gives, or what `otherwise` gives for a code without column.
template <class F, class Otherwise>
auto visitType(std::string_view dataType, F&& f, Otherwise&& otherwise) -> decltype(otherwise()) {
  switch (kindOf(dataType)) {
    case FieldKind::I4:
      return f(std::type_identity<int32_t>{});
    case FieldKind::I8:
      return f(std::type_identity<int64_t>{});
    case FieldKind::R4:
      return f(std::type_identity<float>{});
    case FieldKind::R8:
      return f(std::type_identity<double>{});
    case FieldKind::text:
      return f(std::type_identity<TextColumn>{});
    case FieldKind::unknown:
      break;
  }
  return otherwise();
}

/// Calls f with the column's array. Gives what f gives, or what `otherwise` gives for a type without array.
template <class Field, class F, class Otherwise>
auto visitColumn(Field& field, F&& f, Otherwise&& otherwise) -> decltype(otherwise()) {
  return visitType(
      field.dataType.padded(),
      [&](auto type) -> decltype(otherwise()) { return f(columnOf<typename decltype(type)::type>(field)); },
      otherwise);
}
/// The same for an f without result, which is not called for a type without array.
template <class Field, class F>
void visitColumn(Field& field, F&& f) {
  visitColumn(field, f, [] {});
}

/// Number of values in the column; absent for a type without array.
[[nodiscard]] std::optional<std::size_t> numValues(const FieldContent& field);

/// The log line for a field that a writer leaves out because its type has no values.
[[nodiscard]] std::string unwrittenField(const FieldDescription& field);

}  // namespace terrain
