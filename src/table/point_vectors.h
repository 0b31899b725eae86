#pragma once
// Point tables: a data table with one point a record, whose two link lists can make a network of the
// points. Reads the shapefile types Point, MultiPoint, PointZ and PointM (x and y alone), writes Point.
//
// Records count from 1. For a record that does not exist setters store -1 in `status`; it is not reported.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "grid/header.h"
#include "table/vector_table.h"

namespace terrain {

struct PointWriteOptions {
  bool applyOffset = false;                ///< x + xOffset and y + yOffset are written
  bool isFlag = false;                     ///< only points whose flag is set
  bool allFields = false;                  ///< all columns, whatever their flags
  const InputFileType* prjFile = nullptr;  ///< replaces `prj`
  std::optional<CalendarDate> date{};      ///< of writing, in the table's header; absent: today
};

/// The extent of the points of a table, in the units of their coordinates.
struct PointGridInfo {
  char units = 'm';
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
};

struct PointArray {
  std::vector<PointType> point{};                 ///< that of record n is at n - 1; none, or one a record
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;  ///< extents of the file, in the units of the points
  char units = 'm';                               ///< of the file that was read, 'f' where it was in feet
  bool feetConverted = false;                     ///< read in feet, held in metres, written back in feet
  bool gridReference = false;                     ///< the points were read against a grid
};

class PointVectorType : public VectorTable<PointType, PointArray, &PointArray::point> {
 public:
  [[nodiscard]] int32_t PointCol(int64_t irec) const;  ///< -9999 for a bad record
  [[nodiscard]] int32_t PointRow(int64_t irec) const;
  /// Writes the shapefile with the stem `path`, of x and y alone. A point that is no finite number is a
  /// fault.
  int WritePointShapefile(std::string_view path, const PointWriteOptions& options = {});
  /// The first call makes `point`, of default records.
  int SetPointXY(int64_t irec, double x, double y);
  int SetPointOffset(int64_t irec, double xOffset, double yOffset);  ///< in the units of the points
  int SetPointColRow(int64_t irec, int32_t col, int32_t row);        ///< the cell of a grid, from 1
  /// -9999.0 for both outputs if the record is out of range.
  void PointXY(int64_t irec, double& x, double& y, bool applyOffset = false) const;
  /// The first call makes `point`, with `linkValue` 0 in all records.
  int SetLinkValue(int64_t irec, int64_t value);
  /// Appends `linked`, a record of this table, to the list of `irec`.
  int AddLinkA(int64_t irec, int64_t linked);
  int AddLinkB(int64_t irec, int64_t linked);
  /// An entry of the list, the first without `index`; -1 if there is none.
  [[nodiscard]] int64_t LinkB(int64_t irec, std::optional<int32_t> index = std::nullopt) const;
  [[nodiscard]] int64_t LinkA(int64_t irec, std::optional<int32_t> index = std::nullopt) const;
  [[nodiscard]] int32_t NumLinksA(int64_t irec) const;  ///< -1 for a bad record
  [[nodiscard]] int64_t LinkValue(int64_t irec) const;  ///< -9999 for a bad record
  void SetAllPointFlags(bool value);                    ///< the flags that choose what is written
  void SetPointFlag(int64_t irec, bool value);
  [[nodiscard]] bool PointFlag(int64_t irec) const;  ///< false for a bad record
  [[nodiscard]] PointGridInfo GridInfo() const {
    return {feetConverted ? 'm' : units, xmin, xmax, ymin, ymax};
  }
  /// Releases the points and the columns: the same as `clear`.
  void DestroyTable();
  [[nodiscard]] bool HasGridReference() const { return gridReference; }

 private:
  using Links = std::vector<int64_t> PointType::*;
  int addLink(int64_t irec, Links links, int64_t linked);
  [[nodiscard]] int64_t linkOf(int64_t irec, Links links, std::optional<int32_t> index) const;
};

struct PointReadOptions {
  std::optional<char> units{};        ///< 'f': the file is in feet; absent: the grid's units
  const Grid_Header* grid = nullptr;  ///< gives each point its col and row
};
/// Reads the shapefile with the stem `path`; what the table held before is lost. Null shapes and points that
/// are no finite numbers are dropped together with their rows, and their count is logged. Points outside the
/// box of the file's header are kept, counted in the log, and widen the table's extents. Each point of a
/// MultiPoint record gets the row of the record; where the rows of all points would take more than 20 times
/// the files and 64 MiB, that is a fault.
int ReadPointShapefile(PointVectorType& table, std::string_view path, const PointReadOptions& options = {});

}  // namespace terrain
