#pragma once
// The settings of a drainage run in its log.

#include "run/drainage.h"

namespace terrain {

void echoSettings(const DrainageRun& run);

}  // namespace terrain
