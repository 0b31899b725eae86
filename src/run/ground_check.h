#pragma once
// What every run needs of its DEM's cells, looked at before any computing.

#include <optional>
#include <string>

#include "dem/dem.h"

namespace terrain {

/// False, reported, for a DEM in degrees: lengths of walks and slopes are in metres. A DEM whose header has
/// not been read passes; reading it reports that.
[[nodiscard]] bool groundIsInMetres(const DEM_type& dem);

/// False, reported, unless the cells are square, with a size above 0.
[[nodiscard]] bool cellsAreSquare(const DEM_type& dem);

/// The warning about a DEM in feet whose lengths are taken for metres; nothing for any other.
[[nodiscard]] std::optional<std::string> feetWarning(const DEM_type& dem);

}  // namespace terrain
