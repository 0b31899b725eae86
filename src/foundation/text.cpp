#include "foundation/text.h"

namespace terrain {

int comparePadded(std::string_view a, std::string_view b) {
  const std::size_t length = std::max(a.size(), b.size());
  for (std::size_t i = 0; i < length; ++i) {
    const auto left = static_cast<unsigned char>(i < a.size() ? a[i] : ' ');
    const auto right = static_cast<unsigned char>(i < b.size() ? b[i] : ' ');
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

std::string rightJustified(std::string_view text, std::size_t width) {
  std::string field(width > text.size() ? width - text.size() : 0, ' ');
  field.append(text);
  return field;
}

}  // namespace terrain
