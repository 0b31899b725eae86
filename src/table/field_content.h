#pragma once
// One column of a data table: its description and one array of values of its type.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "foundation/text.h"

namespace terrain {

inline constexpr std::size_t kTextLength = 256;  ///< longest text that a column or a name holds

/// Texts of a column, each of at most 256 characters and read without its trailing blanks. Memory
/// follows the text: 8 bytes a record and the characters, which stand in one block.
class TextColumn {
 public:
  [[nodiscard]] std::size_t size() const { return places_.size(); }
  [[nodiscard]] bool empty() const { return places_.empty(); }
  /// `count` blank texts, with room for `characters` in all. False if there is no memory.
  [[nodiscard]] bool assign(std::size_t count, std::size_t characters = 0);
  /// Record counted from 0. Good until the next `set`.
  [[nodiscard]] std::string_view operator[](std::size_t record) const {
    const Place place = places_[record];
    return {characters_.data() + place.start, static_cast<std::size_t>(place.length)};
  }
  /// Cut at 256 characters. False, with the old text kept, if there is no memory.
  [[nodiscard]] bool set(std::size_t record, std::string_view text);
  /// Keeps the records listed (from 1), ascending.
  void keep(std::span<const int64_t> records);
  /// Bytes that a column of the records listed (from 1) takes.
  [[nodiscard]] std::uint64_t bytesFor(std::span<const int64_t> records) const;
  /// The records of another column that are listed (from 1). False if there is no memory.
  [[nodiscard]] bool takeFrom(const TextColumn& other, std::span<const int64_t> records);
  void clear();

 private:
  struct Place {
    std::uint64_t start : 48 = 0;
    std::uint64_t length : 16 = 0;
  };
  void compact();

  std::vector<Place> places_;
  std::vector<char> characters_;
  std::size_t unused_ = 0;  // characters that no place covers any more
};

/// What is known of a column without its values.
struct FieldDescription {
  FixedText<2> dataType = "U ";  ///< "I4", "I8", "R4", "R8" or "C "; any other type has no array
  FixedText<kTextLength> name{};
  FixedText<kTextLength> outName{};  ///< name on output
  int32_t length = 0;                ///< output length in characters
  int32_t outLength = 0;             ///< the same; below 1, `length` stands in for it
  int32_t fileLength = 0;            ///< length in the file that the field came from
  int32_t decimals = 0;
  bool outFlag = false;  ///< written at all
  bool csvFlag = true;   ///< also to delimited text
  bool shpFlag = true;   ///< also to the table of a shapefile
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
/// Use it for column walks: `for (float& value : columnOf<float>(*field)) ...`
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

/// The type by which `columnOf` finds an array, from the array's own type.
template <class Column>
struct ColumnElement {
  using type = typename Column::value_type;
};
template <>
struct ColumnElement<TextColumn> {
  using type = TextColumn;
};
template <class Column>
using ElementOf = typename ColumnElement<Column>::type;

enum class FieldKind { I4, I8, R4, R8, text, unknown };

/// The kind of a type code, compared exactly.
[[nodiscard]] FieldKind kindOf(std::string_view dataType);

/// Calls f with the column's array; f is a template over the five. Gives false for a type without array.
template <class Field, class F>
bool visitColumn(Field& field, F&& f) {
  switch (kindOf(field.dataType.padded())) {
    case FieldKind::I4:
      f(field.I4);
      return true;
    case FieldKind::I8:
      f(field.I8);
      return true;
    case FieldKind::R4:
      f(field.R4);
      return true;
    case FieldKind::R8:
      f(field.R8);
      return true;
    case FieldKind::text:
      f(field.Char);
      return true;
    case FieldKind::unknown:
      break;
  }
  return false;
}

/// What the log says of a field that a writer leaves out, since its type has no values.
[[nodiscard]] std::string unwrittenField(const FieldDescription& field);

}  // namespace terrain
