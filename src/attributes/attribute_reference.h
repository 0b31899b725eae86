#pragma once
// The vocabulary of attribute lists as a reference for users.

#include <string>

namespace terrain {

/// Markdown: keywords at the top, rows with their columns and arguments, options, raster lists.
[[nodiscard]] std::string attributeReference();

}  // namespace terrain
