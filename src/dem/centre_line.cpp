#include "dem/centre_line.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "grid/directions.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "grid/surface_raster.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "FlattenWatermask in DEM_Module";

// ---- distance to the shore ----

/// The cells of the water and what is known of them, in memory, with a border around the grid.
class Water {
 public:
  using At = std::ptrdiff_t;
  enum Flag : uint8_t {
    wet = 1,
    line = 2,
    collected = 4,  ///< its patch has been found
    outside = 8,    ///< beyond the grid
    raw = 16,       ///< in the middle, where a branch may end
    reached = 32,   ///< the water around has been looked at when pieces are joined
  };

  [[nodiscard]] bool load(const I4Grid_type& mask) {
    stride_ = std::ptrdiff_t{mask.cols()} + 2 * kBorder;
    const auto cells = static_cast<std::size_t>(stride_) *
                       (static_cast<std::size_t>(mask.rows()) + std::size_t{2 * kBorder});
    if (!tryAllocate(flags_, cells) || !tryAllocate(distances_, cells)) return false;
    std::ranges::fill(flags_, uint8_t{outside});
    for (int32_t code = 1; code <= kDirections; ++code) {
      const auto k = static_cast<std::size_t>(code);
      steps_[k] = rowOffset[k] * stride_ + colOffset[k];
    }
    return RowPass{reading(mask)}.run(kTag, [&](int32_t row, std::span<const int32_t> cellsOfRow) {
      for (std::size_t i = 0; i < cellsOfRow.size(); ++i)
        flag(at(static_cast<int32_t>(i) + 1, row)) = cellsOfRow[i] > 0 ? wet : 0;
    }) == kSuccess;
  }
  [[nodiscard]] std::size_t size() const { return flags_.size(); }
  [[nodiscard]] At at(int32_t col, int32_t row) const {
    return (row + kBorder - 1) * stride_ + (col + kBorder - 1);
  }
  [[nodiscard]] At offset(At from, int32_t cols, int32_t rows) const { return from + rows * stride_ + cols; }
  [[nodiscard]] At step(At from, int32_t code) const { return from + steps_[static_cast<std::size_t>(code)]; }
  [[nodiscard]] uint8_t& flag(At at) { return flags_[static_cast<std::size_t>(at)]; }
  [[nodiscard]] bool is(At at, Flag which) const {
    return (flags_[static_cast<std::size_t>(at)] & which) != 0;
  }
  [[nodiscard]] float& distance(At at) { return distances_[static_cast<std::size_t>(at)]; }
  [[nodiscard]] float distance(At at) const { return distances_[static_cast<std::size_t>(at)]; }

  /// Water beside dry ground; what lies beyond the grid is not known to be dry.
  [[nodiscard]] bool isShore(At at) const {
    for (int32_t code = 1; code <= kDirections; ++code) {
      const At side = step(at, code);
      if (!is(side, wet) && !is(side, outside)) return true;
    }
    return false;
  }
  /// The neighbours that are line, bit k of code k + 1.
  [[nodiscard]] uint8_t linesAround(At at) const {
    unsigned around = 0;
    for (int32_t code = 1; code <= kDirections; ++code)
      if (is(step(at, code), line)) around |= 1U << static_cast<unsigned>(code - 1);
    return static_cast<uint8_t>(around);
  }

 private:
  static constexpr int32_t kBorder = 2;

  std::vector<uint8_t> flags_;
  std::vector<float> distances_;
  std::ptrdiff_t stride_ = 0;
  std::array<std::ptrdiff_t, 9> steps_{};
};

/// Distances in cells, their slope, and the flag of what may end a branch.
int measure(const CentreLineRules& rules, const I4Grid_type& mask, Water& cells, WaterGrids& grids) {
  putMessage("Flagging edges");
  const double size = mask.xcellsize;
  I4Grid_type shore;
  if (CreateGrid(shore, {.like = &mask, .fillValue = 0.0F}) != kSuccess) return kFailure;
  if (RowPass{changing(shore)}.run(kTag, [&](int32_t row, std::span<int32_t> marks) {
        for (std::size_t i = 0; i < marks.size(); ++i) {
          const Water::At at = cells.at(static_cast<int32_t>(i) + 1, row);
          marks[i] = cells.is(at, Water::wet) && cells.isShore(at) ? 1 : 0;
        }
      }) != kSuccess)
    return kFailure;
  grids.distToEdge = shore.distanceTo(static_cast<double>(std::numeric_limits<float>::max()));
  if (grids.distToEdge.status != kSuccess) return kFailure;
  shore.releaseStorage();
  // For the slope the ground falls away behind the shore, else the shore would look like a middle.
  const auto withGround = [&](int32_t row, std::span<float> distances) {
    for (std::size_t i = 0; i < distances.size(); ++i) {
      const Water::At at = cells.at(static_cast<int32_t>(i) + 1, row);
      const bool isWet = cells.is(at, Water::wet);
      const bool hasShore = distances[i] < 1.0e30F;  // none if all is water
      cells.distance(at) =
          isWet && hasShore ? static_cast<float>(static_cast<double>(distances[i]) / size) : 0.0F;
      distances[i] = isWet ? cells.distance(at) * static_cast<float>(size) : static_cast<float>(-size);
    }
  };
  if (RowPass{changing(grids.distToEdge)}.run(kTag, withGround) != kSuccess ||
      CreateGrid(grids.slope, {.like = &grids.distToEdge, .setCells = false}) != kSuccess ||
      surfaceRasters(grids.distToEdge, static_cast<float>(size),
                     {{.grid = &grids.slope, .metric = SurfaceMetric::gradient}}) != kSuccess)
    return kFailure;
  return RowPass{changing(grids.distToEdge), changing(grids.slope)}.run(
      kTag, [&](int32_t row, std::span<float> distances, std::span<float> slopes) {
        for (std::size_t i = 0; i < slopes.size(); ++i) {
          const Water::At at = cells.at(static_cast<int32_t>(i) + 1, row);
          const bool isWet = cells.is(at, Water::wet);
          distances[i] = isWet ? cells.distance(at) : kNodata;
          if (!isWet) slopes[i] = kNodata;
          if (isWet && static_cast<double>(slopes[i]) <= rules.maxGradient) cells.flag(at) |= Water::raw;
        }
      });
}

// ---- lines ----

/// Hilditch's crossing number: the pieces into which the line around a cell falls without the cell, joined by
/// sides and corners; a cell whose four sides are all line counts 0.
constexpr int crossingNumber(unsigned around) {
  int pieces = 0;
  for (unsigned side = 0; side < 8; side += 2) {
    const auto has = [around](unsigned k) { return (around >> (k % 8) & 1U) != 0; };
    if (!has(side) && (has(side + 1) || has(side + 2))) ++pieces;
  }
  return pieces;
}
constexpr std::array<bool, 256> kIsSimple = [] {
  std::array<bool, 256> table{};
  for (unsigned around = 0; around < table.size(); ++around) table[around] = crossingNumber(around) == 1;
  return table;
}();

/// A cell in a queue, by its distance to the shore; of equal ones the first in row order.
struct Waiting {
  float distance;
  Water::At at;
};
constexpr auto kNarrowestFirst = [](const Waiting& a, const Waiting& b) {
  return a.distance != b.distance ? a.distance > b.distance : a.at > b.at;
};
constexpr auto kWidestFirst = [](const Waiting& a, const Waiting& b) {
  return a.distance != b.distance ? a.distance < b.distance : a.at > b.at;
};

/// The centre line of one patch after the other.
class CentreLines {
 public:
  CentreLines(Water& cells, float leastDistance) : cells_(cells), least_(leastDistance) {}

  /// The wide cells of the patch that holds `seed`, thinned to pieces of line. False if there is no memory.
  [[nodiscard]] bool makePieces(Water::At seed) {
    if (!collect(seed)) return false;
    for (const Water::At at : patch_)
      if (cells_.distance(at) >= least_) cells_.flag(at) |= Water::line;
    return thin(Water::raw);
  }
  /// Joins the pieces of a patch of which `seed` is a cell.
  [[nodiscard]] bool joinPieces(Water::At seed) {
    if (!collect(seed) || !findPieces()) return false;
    if (joined_.size() > 1 && !(join() && thin(Water::wet))) return false;
    openBlocks();
    return true;
  }

 private:
  [[nodiscard]] bool collect(Water::At seed) {
    patch_.clear();
    const bool before = cells_.is(seed, Water::collected);  // the flag turns over with every collection
    cells_.flag(seed) ^= Water::collected;
    if (!tryAppend(patch_, seed)) return false;
    for (std::size_t next = 0; next < patch_.size(); ++next)
      for (int32_t code = 1; code <= kDirections; ++code) {
        const Water::At side = cells_.step(patch_[next], code);
        if (!cells_.is(side, Water::wet) || cells_.is(side, Water::collected) != before) continue;
        cells_.flag(side) ^= Water::collected;
        if (!tryAppend(patch_, side)) return false;
      }
    return true;
  }

  /// Takes cells away, the ones nearest to the shore first, as long as what is left stays connected as it is.
  /// The end of a branch stays where it has the flag.
  [[nodiscard]] bool thin(Water::Flag end) {
    queue_.clear();
    for (const Water::At at : patch_)
      if (cells_.is(at, Water::line) && !tryAppend(queue_, Waiting{cells_.distance(at), at})) return false;
    std::ranges::make_heap(queue_, kNarrowestFirst);
    while (!queue_.empty()) {
      std::ranges::pop_heap(queue_, kNarrowestFirst);
      const Water::At at = queue_.back().at;
      queue_.pop_back();
      if (!cells_.is(at, Water::line)) continue;
      const uint8_t around = cells_.linesAround(at);
      if (!kIsSimple[around] || (std::popcount(around) == 1 && cells_.is(at, end))) continue;
      cells_.flag(at) &= static_cast<uint8_t>(~Water::line);
      for (int32_t code = 1; code <= kDirections; ++code) {
        const Water::At side = cells_.step(at, code);
        if (!cells_.is(side, Water::line)) continue;
        if (!tryAppend(queue_, Waiting{cells_.distance(side), side})) return false;
        std::ranges::push_heap(queue_, kNarrowestFirst);
      }
    }
    return true;
  }

  /// Numbers the pieces of line of the patch in `piece_`.
  [[nodiscard]] bool findPieces() {
    joined_.clear();
    if (piece_.empty() && !(tryAllocate(piece_, cells_.size()) && tryAllocate(back_, cells_.size())))
      return false;
    for (const Water::At at : patch_) pieceOf(at) = kNoPiece;
    for (const Water::At first : patch_) {
      if (!cells_.is(first, Water::line) || pieceOf(first) != kNoPiece) continue;
      const auto number = static_cast<int32_t>(joined_.size());
      if (!tryAppend(joined_, number)) return false;
      stack_.clear();
      pieceOf(first) = number;
      if (!tryAppend(stack_, first)) return false;
      while (!stack_.empty()) {
        const Water::At at = stack_.back();
        stack_.pop_back();
        for (int32_t code = 1; code <= kDirections; ++code) {
          const Water::At side = cells_.step(at, code);
          if (!cells_.is(side, Water::line) || pieceOf(side) != kNoPiece) continue;
          pieceOf(side) = number;
          if (!tryAppend(stack_, side)) return false;
        }
      }
    }
    return true;
  }
  [[nodiscard]] int32_t& pieceOf(Water::At at) { return piece_[static_cast<std::size_t>(at)]; }
  [[nodiscard]] uint8_t& backOf(Water::At at) { return back_[static_cast<std::size_t>(at)]; }
  /// The piece that stands for all that `number` has been joined to.
  [[nodiscard]] int32_t rootOf(int32_t number) {
    auto at = [this](int32_t k) -> int32_t& { return joined_[static_cast<std::size_t>(k)]; };
    while (at(number) != number) number = at(number) = at(at(number));
    return number;
  }

  /// Spreads from all pieces at once over the water, the widest first. Where two of them meet, the ways back
  /// to both become line.
  [[nodiscard]] bool join() {
    queue_.clear();
    for (const Water::At at : patch_) {
      cells_.flag(at) &= static_cast<uint8_t>(~Water::reached);
      if (cells_.is(at, Water::line) && !tryAppend(queue_, Waiting{cells_.distance(at), at})) return false;
    }
    std::ranges::make_heap(queue_, kWidestFirst);
    for (std::size_t left = joined_.size() - 1; left > 0 && !queue_.empty();) {
      std::ranges::pop_heap(queue_, kWidestFirst);
      const Water::At at = queue_.back().at;
      queue_.pop_back();
      cells_.flag(at) |= Water::reached;
      for (int32_t code = 1; code <= kDirections && left > 0; ++code) {
        const Water::At side = cells_.step(at, code);
        if (!cells_.is(side, Water::wet)) continue;
        if (pieceOf(side) == kNoPiece) {
          pieceOf(side) = pieceOf(at);
          backOf(side) = static_cast<uint8_t>(opposite(code));
          if (!tryAppend(queue_, Waiting{cells_.distance(side), side})) return false;
          std::ranges::push_heap(queue_, kWidestFirst);
        } else if (cells_.is(side, Water::reached) && rootOf(pieceOf(side)) != rootOf(pieceOf(at))) {
          joined_[static_cast<std::size_t>(rootOf(pieceOf(side)))] = rootOf(pieceOf(at));
          drawBack(at);
          drawBack(side);
          --left;
        }
      }
    }
    return true;
  }
  void drawBack(Water::At at) {
    for (; !cells_.is(at, Water::line); at = cells_.step(at, backOf(at))) cells_.flag(at) |= Water::line;
  }

  /// Opens blocks of 2 x 2 line cells, all of which hold a branch of their own: one of the four moves aside.
  void openBlocks() {
    for (const Water::At corner : patch_) {
      const std::array<Water::At, 4> block{corner, cells_.step(corner, 1), cells_.step(corner, 8),
                                           cells_.step(corner, 7)};
      if (!std::ranges::all_of(block, [&](Water::At at) { return cells_.is(at, Water::line); })) continue;
      (void)std::ranges::any_of(block, [&](Water::At at) { return moveAside(at); });
    }
  }
  /// Puts another cell of the water in the place of a line cell, if what is around stays as connected as it
  /// was and no other block is made.
  [[nodiscard]] bool moveAside(Water::At at) {
    const int before = piecesAround(at);
    cells_.flag(at) &= static_cast<uint8_t>(~Water::line);
    for (int32_t code = 1; code <= kDirections; ++code) {
      const Water::At side = cells_.step(at, code);
      if (!cells_.is(side, Water::wet) || cells_.is(side, Water::line)) continue;
      cells_.flag(side) |= Water::line;
      if (piecesAround(at) == before && !isInBlock(side)) return true;
      cells_.flag(side) &= static_cast<uint8_t>(~Water::line);
    }
    cells_.flag(at) |= Water::line;
    return false;
  }
  [[nodiscard]] bool isInBlock(Water::At at) const {
    const auto around = cells_.linesAround(at);
    for (const unsigned quarter : {0x07U, 0x1CU, 0x70U, 0xC1U})  // east to north, north to west, and so on
      if ((around & quarter) == quarter) return true;
    return false;
  }
  /// The pieces into which the line falls within two cells of `centre`.
  [[nodiscard]] int piecesAround(Water::At centre) const {
    std::uint64_t cells = 0;  // eight bits a row, of which the outer ones stay 0
    for (int32_t row = -2; row <= 2; ++row)
      for (int32_t col = -2; col <= 2; ++col)
        if (cells_.is(cells_.offset(centre, col, row), Water::line))
          cells |= std::uint64_t{1} << static_cast<unsigned>(8 * (row + 3) + col + 3);
    int pieces = 0;
    for (; cells != 0; ++pieces) {
      std::uint64_t piece = cells & (~cells + 1);
      for (std::uint64_t before = 0; piece != before;) {
        before = piece;
        piece |= piece << 1U | piece >> 1U;
        piece = (piece | piece << 8U | piece >> 8U) & cells;
      }
      cells &= ~piece;
    }
    return pieces;
  }

  static constexpr int32_t kNoPiece = -1;

  Water& cells_;
  float least_;
  std::vector<Water::At> patch_, stack_;
  std::vector<Waiting> queue_;
  std::vector<int32_t> piece_;   ///< of cells that the pieces of the patch at hand have spread to
  std::vector<uint8_t> back_;    ///< the code of the step back to the piece
  std::vector<int32_t> joined_;  ///< by piece: one that it has been joined to, itself at first
};

/// Calls draw(a cell of it) for every patch, each once: `found` is the state of the flag of patches that
/// have been.
template <class Draw>
int forEachPatch(Water& cells, const I4Grid_type& mask, bool found, Draw draw) {
  for (int32_t row = 1; row <= mask.rows(); ++row)
    for (int32_t col = 1; col <= mask.cols(); ++col) {
      const Water::At at = cells.at(col, row);
      if (!cells.is(at, Water::wet) || cells.is(at, Water::collected) == found) continue;
      if (!draw(at)) return cannotAllocate(kTag, "cells of a patch");
    }
  return kSuccess;
}

}  // namespace

int BuildMask(const CentreLineRules& rules, I4Grid_type& mask, WaterGrids& grids) {
  Water cells;
  if (!cells.load(mask)) return cannotAllocate(kTag, "mask");
  if (measure(rules, mask, cells, grids) != kSuccess) return kFailure;
  // From the middle of a cell at the shore it is half a cell to the shore.
  const auto least = static_cast<float>(rules.minimumWidth / 2 / mask.xcellsize - 0.5);
  CentreLines lines(cells, least);
  if (forEachPatch(cells, mask, true, [&](Water::At at) { return lines.makePieces(at); }) != kSuccess)
    return kFailure;
  putMessage("Connecting disconnected patches, first pass");
  putMessage("Connecting disconnected patches, 2nd pass");
  if (forEachPatch(cells, mask, false, [&](Water::At at) { return lines.joinPieces(at); }) != kSuccess)
    return kFailure;
  putMessage("Reclassifiying mask pixel values");
  return RowPass{changing(mask)}.run(kTag, [&](int32_t row, std::span<int32_t> classes) {
    for (std::size_t i = 0; i < classes.size(); ++i) {
      const Water::At at = cells.at(static_cast<int32_t>(i) + 1, row);
      classes[i] = !cells.is(at, Water::wet)   ? water::dry
                   : cells.is(at, Water::line) ? water::centreLine
                                               : water::open;
    }
  });
}

}  // namespace terrain
