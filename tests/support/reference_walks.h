#pragma once
// Reference implementation of the walks: recursive, nothing computed in advance, every value read from the
// grids at every visit. The fast walks give the same bits.

#include <cmath>
#include <cstdint>

#include "grid/grid.h"
#include "grid/neighbours.h"
#include "run/walk_table.h"

namespace terrain::test {

class ReferenceWalks {
 public:
  ReferenceWalks(const WalkValues& values, R4Grid_type& grad, R4Grid_type& aspect, R4Grid_type& accum)
      : values_(values), grad_(grad), aspect_(aspect), accum_(accum) {}

  void walkByTime(int32_t col, int32_t row, float share, float elapsed) {
    ++visits;
    accum_.AddR4(col, row, share);
    const float gradient = grad_.ExtractR4ValueColRow(col, row);
    if (!(gradient > 0.0F)) return;
    const float theta = std::atan(gradient);
    const float speed = (std::sin(theta) * values_.conductivity) * std::cos(theta);
    const float aspect = aspect_.ExtractR4ValueColRow(col, row);
    for (int32_t k = 1; k <= 8; ++k) {
      const auto at = static_cast<std::size_t>(k);
      const float p = FlowProportion(aspect, k);
      if (!(p > 0.0F)) continue;
      const float step = values_.cellDistance[at] / speed;
      const float arrival = elapsed + step;
      if (values_.duration >= arrival) {
        walkByTime(col - colOffset[at], row - rowOffset[at], p * share, arrival);
      } else if (values_.duration > elapsed) {
        walkByTime(col - colOffset[at], row - rowOffset[at],
                   ((p * share) * (values_.duration - elapsed)) / step, arrival);
      }
    }
  }

  void walkByDistance(int32_t col, int32_t row, float share, float travelled, bool& origin) {
    ++visits;
    if (origin)
      origin = false;
    else
      accum_.AddR4(col, row, share);
    const float aspect = aspect_.ExtractR4ValueColRow(col, row);
    for (int32_t k = 1; k <= 8; ++k) {
      const auto at = static_cast<std::size_t>(k);
      const float reach = values_.cellDistance[at] + travelled;
      if (!(values_.maxDistance >= reach)) continue;
      const float p = FlowProportion(aspect, k);
      if (p > 0.0F) walkByDistance(col - colOffset[at], row - rowOffset[at], p * share, reach, origin);
    }
  }

  void walkAll() {
    for (int32_t row = 1; row <= accum_.rows(); ++row) {
      for (int32_t col = 1; col <= accum_.cols(); ++col) {
        if (aspect_.ExtractR4ValueColRow(col, row) < 0.0F) continue;
        if (values_.byTime) {
          walkByTime(col, row, 1.0F, 0.0F);
        } else {
          bool origin = true;
          walkByDistance(col, row, 1.0F, 0.0F, origin);
        }
      }
    }
  }

  /// The final pass.
  void finish(R4Grid_type& bcon) {
    for (int32_t row = 1; row <= accum_.rows(); ++row) {
      for (int32_t col = 1; col <= accum_.cols(); ++col) {
        if (aspect_.ExtractR4ValueColRow(col, row) < 0.0F) {
          accum_.SetR4CellColRow(col, row, -9999.0F);
        } else if (values_.specific) {
          const float contour = bcon.ExtractR4ValueColRow(col, row);
          if (contour > 0.0F)
            accum_.SetR4CellColRow(col, row,
                                   std::fmin(accum_.ExtractR4ValueColRow(col, row) / contour, 1000000.0F));
        }
      }
    }
  }

  std::int64_t visits = 0;

 private:
  WalkValues values_;
  R4Grid_type& grad_;
  R4Grid_type& aspect_;
  R4Grid_type& accum_;
};

}  // namespace terrain::test
