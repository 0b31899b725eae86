#pragma once
// The data of the walks, computed once for each cell: at most two directions bracket its aspect, and their
// shares and steps depend on the cell alone. A border of cells without steps surrounds the grid, so a walk
// that leaves it ends there without a test for the edge.
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

/// The limits of a run and the lengths of its steps; the walks only read them.
struct WalkValues {
  bool byTime = false;
  bool byDistance = false;
  bool specific = false;
  bool merged = false;                  ///< all walks at once (merged_walks.h)
  double tolerance = 0.001;             ///< of merged walks by time, relative
  float duration = 0.0F;                ///< hours
  float conductivity = 0.0F;            ///< saturated hydraulic conductivity, metres per hour
  float maxDistance = kNodata;          ///< horizontal, metres
  std::array<float, 9> cellDistance{};  ///< metres of a step in direction k, from 1
};

/// Lengths of the eight steps from the cell size: c, and c times 1.4142135 on the diagonals.
[[nodiscard]] std::array<float, 9> stepLengths(double cellsize);

/// One cell. A missing direction has the share 0 and an infinite step, so nothing is sent that way.
struct WalkCell {
  std::array<float, 2> share{};  ///< parts of a share that reaches the cell, in the order of the directions
  std::array<float, 2> step{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()};
  std::array<int32_t, 2> next{};  ///< records from this cell to the neighbour
  float total = 0.0F;             ///< sum of the shares that reached the cell
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
  int make(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect, WalkStorage storage);

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
  /// A record on disk, valid until the next call. A file that cannot be read ends the run, with a report.
  [[nodiscard]] WalkCell& onDisk(std::int64_t index);
  /// Copies the totals of a row out.
  void totals(int32_t row, std::span<float> out);

 private:
  int allocate(std::uint64_t bytes, WalkStorage storage);
  int fill(const WalkValues& values, const R4Grid_type& grad, const R4Grid_type& aspect);
  int store(int32_t row, std::span<const WalkCell> records);
  /// 0, or -1 with a report of a write that failed.
  int reportWrite(IoCode code) const;
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
