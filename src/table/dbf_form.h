#pragma once
// The form in which a column is written to a DBF file: type letter, length and decimals. A column that came
// from a DBF file keeps the form that it had there as long as its values fit. Internal to the writer.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "table/field_content.h"
#include "table/value_text.h"

namespace terrain {

struct WrittenForm {
  char letter = 'N';
  std::size_t length = 0;  ///< bytes in a record
  bool kept = false;       ///< numbers are written by `KeptNumber`
};

/// Numbers as text of at most `length` characters in the form of the file that they came from: with its
/// decimals or, where the file had others, with as many digits as the value needs, in exponent form where
/// that is shorter. A value whose text would be too long loses only decimals that it does not need.
class KeptNumber {
 public:
  KeptNumber(const DbfForm& form, std::size_t length) : form_(form), length_(length) {}

  /// Makes the text. False if the form cannot hold the value.
  template <class T>
  [[nodiscard]] bool set(T value);
  [[nodiscard]] std::string_view text() const { return text_; }

 private:
  template <class T>
  [[nodiscard]] bool setShortest(T value);

  DbfForm form_;
  std::size_t length_;
  ValueText fixed_;
  std::array<char, 32> shortest_{};
  std::string_view text_;
};

/// The value that is written in place of `value`; absent where the field stays blank.
template <class T>
[[nodiscard]] std::optional<T> writtenValue(T value, const FieldDescription& field,
                                            std::optional<int32_t> nodataOut) {
  if (nodataOut && countsAsNodata(value)) return static_cast<T>(*nodataOut);
  if (field.dbfForm && field.dbfForm->blankIsMissing && value == static_cast<T>(-9999)) return std::nullopt;
  return value;
}

/// The form for the values of `records` (from 1). `length` is the output length of the column, which it has
/// where the form of its file does not hold them.
[[nodiscard]] WrittenForm writtenForm(const FieldContent& content, int32_t length,
                                      std::span<const int64_t> records, std::optional<int32_t> nodataOut);

}  // namespace terrain
