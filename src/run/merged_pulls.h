#pragma once
// What the tables of merged walks are given to work on.

#include "run/table_pool.h"

namespace terrain {

/// Water that comes to one table from another.
struct Pull {
  FlowTable* to = nullptr;
  const FlowTable* from = nullptr;
  Donor donor{};
};

}  // namespace terrain
