#include "table/dbf_form.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <type_traits>

namespace terrain {

namespace {

constexpr std::size_t kLongestShortest = 24;  // "-1.2345678901234567e-308"
constexpr std::size_t kDateLength = 8;
constexpr std::size_t kLongestText =
    254;  // of a field: beyond it other readers lose this column and the next

/// Dates are 8 digits; some writers leave only their separators.
bool isDate(std::string_view text) {
  return text.size() <= kDateLength && text.find_first_not_of("0123456789 /-.") == text.npos;
}

/// Exponents without "+" and leading zeros, which take room.
std::size_t shortenExponent(std::span<char> text, std::size_t size) {
  char* const end = text.data() + size;
  char* const e = std::find(text.data(), end, 'e');
  if (e == end) return size;
  char* digits = e + 1;
  char* to = e + 1;
  if (*digits == '-') ++to;
  if (*digits == '-' || *digits == '+') ++digits;
  while (digits + 1 < end && *digits == '0') ++digits;
  return static_cast<std::size_t>(std::copy(digits, end, to) - text.data());
}

template <class T>
bool readsAs(std::string_view text, T value) {
  T read{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
  return error == std::errc{} && read == value;
}

/// True if the column was not given another form since it was read.
bool hasFormOfFile(const FieldContent& content, int32_t length) {
  return content.dbfForm && content.decimals == content.dbfForm->decimals && content.fileLength >= 1 &&
         length == std::max(content.fileLength, content.decimals + 5);
}

bool textsFit(const FieldContent& content, std::span<const int64_t> records) {
  const auto length = static_cast<std::size_t>(content.fileLength);
  const char letter = content.dbfForm->letter;
  return visitColumn(
      content,
      [&](const auto& column) {
        return std::all_of(records.begin(), records.end(), [&](int64_t record) {
          if constexpr (std::is_convertible_v<decltype(column[0]), std::string_view>) {
            const std::string_view text = column[static_cast<std::size_t>(record) - 1];
            return letter == 'D' ? isDate(text) : text.size() <= length;
          } else {
            return false;
          }
        });
      },
      [] { return false; });
}

/// The length of the longest text of the values, none of which is longer than `length`; 0 if the form cannot
/// hold one of them.
template <class Column>
std::size_t longestText(const Column& column, const FieldContent& content, std::size_t length,
                        std::span<const int64_t> records, std::optional<int32_t> nodataOut) {
  using T = std::decay_t<decltype(column[0])>;
  KeptNumber number(*content.dbfForm, length);
  std::size_t longest = 1;
  const auto fits = [&](T value) {
    if (!number.set(value)) return false;
    longest = std::max(longest, number.text().size());
    return true;
  };
  const auto written = [&](int64_t record) -> std::optional<T> {
    const T value = column[static_cast<std::size_t>(record) - 1];
    if constexpr (std::is_floating_point_v<T>)
      if (!std::isfinite(value)) return std::nullopt;
    return writtenValue(value, content, nodataOut);
  };
  // Texts with a fixed number of decimals are longest at the ends of the range.
  std::optional<T> low;
  std::optional<T> high;
  for (const int64_t record : records) {
    const std::optional<T> value = written(record);
    if (!value) continue;
    low = std::min(low.value_or(*value), *value);
    high = std::max(high.value_or(*value), *value);
  }
  if (!low || (!content.dbfForm->anyDigits && fits(*low) && fits(*high))) return longest;
  for (const int64_t record : records)
    if (const std::optional<T> value = written(record); value && !fits(*value)) return 0;
  return longest;
}

}  // namespace

template <class T>
bool KeptNumber::setShortest(T value) {
  const auto keep = [this](const char* end) {
    const std::size_t size = shortenExponent(shortest_, static_cast<std::size_t>(end - shortest_.data()));
    text_ = std::string_view(shortest_.data(), size);
    return size <= length_;
  };
  char* const first = shortest_.data();
  char* const last = first + shortest_.size();
  return keep(std::to_chars(first, last, value).ptr) ||
         keep(std::to_chars(first, last, value, std::chars_format::scientific).ptr);
}

template <class T>
bool KeptNumber::set(T value) {
  if constexpr (std::is_integral_v<T>) {
    fixed_.set(value);
    text_ = fixed_.text();
    return text_.size() <= length_;
  } else {
    fixed_.set(value, form_.decimals);
    text_ = fixed_.text();
    if (!fixed_.isNumber()) return false;
    if (!fixed_.substituted()) {
      if (text_.size() <= length_ && (!form_.anyDigits || readsAs(text_, value))) return true;
      if (text_.size() > length_ && fixed_.wholeLength() <= length_) {
        const std::size_t room = length_ - fixed_.wholeLength();  // for the point and decimals
        fixed_.set(value, room < 2 ? 0 : static_cast<int32_t>(room) - 1);
        text_ = cut(fixed_.text(), length_);
        if (fixed_.wholeLength() <= length_ && readsAs(text_, value)) return true;
      }
    }
    return form_.anyDigits && setShortest(value);
  }
}

template bool KeptNumber::set(int32_t);
template bool KeptNumber::set(int64_t);
template bool KeptNumber::set(float);
template bool KeptNumber::set(double);

WrittenForm writtenForm(const FieldContent& content, int32_t length, std::span<const int64_t> records,
                        std::optional<int32_t> nodataOut) {
  const bool isText = kindOf(content.dataType.padded()) == FieldKind::text;
  const bool ofFile = hasFormOfFile(content, length);
  const char letter = ofFile ? content.dbfForm->letter : ' ';
  const auto outLength = static_cast<std::size_t>(length);
  const auto fileLength = static_cast<std::size_t>(std::max(content.fileLength, 0));
  if (isText) {
    if (ofFile && textsFit(content, records)) return {letter, std::min(fileLength, kLongestText), false};
    return {'C', std::min(outLength, kLongestText), false};
  }
  WrittenForm form{letter == 'F' ? 'F' : 'N', outLength, false};
  if (!ofFile) return form;
  return visitColumn(
      content,
      [&](const auto& column) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(column[0])>>) {
          if (longestText(column, content, fileLength, records, nodataOut) > 0) {
            form.length = fileLength;
            form.kept = true;
          } else if (content.dbfForm->anyDigits) {
            form.length =
                std::max(outLength, longestText(column, content, kLongestShortest, records, nodataOut));
            form.kept = true;
          }
        }
        return form;
      },
      [&] { return form; });
}

}  // namespace terrain
