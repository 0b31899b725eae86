#pragma once
// Attribute lists in instruction files: which attributes a channel data table is to hold, and which rasters
// are sampled for it.
//
//     ATTRIBUTE LIST:
//       WIDTH: OUTFLAG, OUTREACH, LENGTH = 8
//       DEPTH: OUTFLAG, EQUATION
//         INTERCEPT: 0.2
//         TERM: FIELD = WIDTH, COEF = 0.1, EXPONENT = 0.5
//       END EQUATION
//     END ATTRIBUTE LIST
//     RASTER LIST:
//       FILE: canopy, FIELD = Canopy, MEAN, LOCAL, OUTFLAG
//     END RASTER LIST
//
// A keyword may lack its colon inside the blocks and at their borders. Keywords and arguments are compared
// with their case.

#include <optional>
#include <string>
#include <vector>

#include "attributes/raster_list.h"
#include "foundation/keyword_check.h"

namespace terrain {

struct SmoothingWindow {
  std::optional<float> channelWidths{};
  std::optional<int32_t> maxPasses{};
};

struct AttributeList {
  std::string directory{}, dataID{}, demFile{}, lakeMask{}, clipBasin{};
  SmoothingWindow smoothing{};
  std::vector<AttributeType> attributes{};
  std::vector<RasterEntry> rasters{};
  bool wantsNodes = false;              ///< an attribute goes to the node output
  std::vector<LineWarning> warnings{};  ///< what was passed over; also written to standard error
};

/// Reads the lists of a file, from its first line on; afterwards it stands at its end. A failure ends its
/// row, not the reading: all are reported, each with its line. Columns that rows need or imply stand at the
/// end of the list and are not written. 0, or -1 where anything was reported.
int ReadList(InputFileType& input, AttributeList& list);

}  // namespace terrain
