#pragma once
// What the walks need of a cell, worked out once a cell: at most two directions bracket its aspect, and
// their shares and steps depend on the cell alone. A border of cells without steps lies around the
// grid, so a walk that leaves it ends there and nothing is tested for the edge.
//
// The table is in memory, or in a scratch file of the same records where one of the grids is on disk or
// memory does not suffice.

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "foundation/platform.h"
#include "grid/grid.h"

namespace terrain {

class RecordFile;

/// The limits of a run and the lengths of its steps, set before the walks and only read by them.
struct WalkValues {
  bool byTime = false;
  bool byDistance = false;
  bool specific = false;
  float duration = 0.0F;                ///< hours
  float conductivity = 0.0F;            ///< saturated hydraulic conductivity, metres per hour
  float maxDistance = kNodata;          ///< horizontal, metres
  std::array<float, 9> cellDistance{};  ///< metres of a step in direction k, from 1
};

/// Lengths of the eight steps from the cell size: c, and c times 1.4142135 on the diagonals.
[[nodiscard]] std::array<float, 9> stepLengths(double cellsize);

/// One cell. Where a direction is missing its share is 0 and its step infinite, so what is sent that way
/// is 0 and goes nowhere.
struct WalkCell {
  std::array<float, 2> share{};  ///< of what reaches the cell, in the order of the directions
  std::array<float, 2> step{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()};
  std::array<int32_t, 2> next{};  ///< records from this cell to the neighbour
  float total = 0.0F;             ///< what has been added to the cell
  int32_t starts = 0;             ///< 1 if a walk starts here: the aspect is not negative
};
static_assert(sizeof(WalkCell) == 32);

/// Where the records are kept.
enum class WalkStorage { memory, disk };

class WalkTable {
 public:
  WalkTable() = default;
  ~WalkTable();
  WalkTable(const WalkTable&) = delete;
  WalkTable& operator=(const WalkTable&) = delete;

  /// Fills the table from the grids, of one extent, row by row. Where memory does not suffice it goes to
  /// disk. 0, or -1 with a report.
  int make(const WalkValues& values, R4Grid_type& grad, R4Grid_type& aspect, WalkStorage storage);

  [[nodiscard]] int32_t cols() const { return cols_; }
  [[nodiscard]] int32_t rows() const { return rows_; }
  /// Record of a cell, border included: 0 is the cell (0, 0).
  [[nodiscard]] std::int64_t index(int32_t col, int32_t row) const {
    return std::int64_t{row} * (std::int64_t{cols_} + 2) + col;
  }
  /// The shortest step of any cell.
  [[nodiscard]] float shortestStep() const { return shortestStep_; }
  /// The records in memory, null if they are on disk.
  [[nodiscard]] WalkCell* memory() { return memory_.get(); }
  /// A record on disk, good until the next call. A fault of the file ends the run with its lines.
  [[nodiscard]] WalkCell& onDisk(std::int64_t index);
  /// Copies the totals of a row out.
  void totals(int32_t row, std::span<float> out);

 private:
  int openScratch();
  [[noreturn]] void stopOnFault(IoCode code) const;

  int32_t cols_ = 0;
  int32_t rows_ = 0;
  float shortestStep_ = std::numeric_limits<float>::infinity();
  std::unique_ptr<WalkCell[]> memory_;
  RecordFile* file_ = nullptr;
  int32_t unit_ = 0;
  std::string name_;
};

}  // namespace terrain
