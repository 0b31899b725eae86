#pragma once
// Blank-padded texts: the system compares and stores names as fixed-length fields padded with
// blanks, so trailing blanks never count. Helpers here look at text, they own none of it but
// FixedText, the field itself.

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace terrain {

/// The text without its trailing blanks.
constexpr std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/// The text without its leading blanks.
constexpr std::string_view leftAdjusted(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  return text;
}

constexpr std::string_view stripped(std::string_view text) { return leftAdjusted(trimmed(text)); }

constexpr bool isBlank(std::string_view text) { return trimmed(text).empty(); }

/// At most `length` characters of the text.
constexpr std::string_view cut(std::string_view text, std::size_t length) {
  return text.substr(0, std::min(length, text.size()));
}

/// Order of two texts as if the shorter were padded with blanks: negative, 0 or positive.
int comparePadded(std::string_view a, std::string_view b);

constexpr bool equalPadded(std::string_view a, std::string_view b) { return trimmed(a) == trimmed(b); }

/// Text right-justified in a field of `width`; a longer text stays whole.
std::string rightJustified(std::string_view text, std::size_t width);

/// A text field of N characters, padded with blanks; assigning cuts what does not fit.
template <std::size_t N>
class FixedText {
 public:
  FixedText() { field_.fill(' '); }
  FixedText(std::string_view text) : FixedText() {  // NOLINT(google-explicit-constructor)
    const std::string_view kept = cut(text, N);
    std::copy(kept.begin(), kept.end(), field_.begin());
  }
  FixedText(const char* text) : FixedText(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)

  /// The whole field, blanks included.
  [[nodiscard]] std::string_view padded() const { return {field_.data(), N}; }
  [[nodiscard]] std::string_view trimmed() const { return terrain::trimmed(padded()); }
  [[nodiscard]] bool blank() const { return trimmed().empty(); }
  friend bool operator==(const FixedText& a, std::string_view b) { return equalPadded(a.padded(), b); }

 private:
  std::array<char, N> field_;
};

/// The same for long fields: memory follows the text, since most are short and there may be many.
template <std::size_t N>
requires(N > 64) class FixedText<N> {
 public:
  FixedText() = default;
  FixedText(std::string_view text)
      : text_(terrain::trimmed(cut(text, N))) {}                      // NOLINT(google-explicit-constructor)
  FixedText(const char* text) : FixedText(std::string_view(text)) {}  // NOLINT(google-explicit-constructor)

  [[nodiscard]] std::string_view trimmed() const { return text_; }
  [[nodiscard]] bool blank() const { return text_.empty(); }
  friend bool operator==(const FixedText& a, std::string_view b) { return a.text_ == terrain::trimmed(b); }

 private:
  std::string text_;
};

}  // namespace terrain
