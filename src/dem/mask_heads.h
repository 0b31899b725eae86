#pragma once
// Channel heads that a channel mask tells of.

#include "dem/channel_mask.h"

namespace terrain {

/// Marks in `initMask` what a mask says of heads on its cells, and the upper ends of its lines. `ichan` holds
/// the mask's cells above 0. 0, or -1 with a report.
int markHeads(DEM_type& dem, const ChannelMask& mask, const I4Grid_type& ichan, I1Grid_type& initMask);

}  // namespace terrain
