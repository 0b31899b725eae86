#pragma once
// Point tables: a data table with one point a record, whose two link lists can make a network of the
// points. Reads the shapefile types Point, MultiPoint, PointZ and PointM (x and y alone), writes Point.
//
// Records count from 1. Setters store -1 in `status` for a record that is not there, without a word.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/input_file.h"
#include "grid/header.h"
#include "table/data_table.h"
#include "table/geometry.h"

namespace terrain {

struct PointWriteOptions {
  bool applyOffset = false;                ///< x + xOffset and y + yOffset are written
  bool isFlag = false;                     ///< only points whose flag is set
  bool allFields = false;                  ///< all columns, whatever their flags
  const InputFileType* prjFile = nullptr;  ///< replaces `prj`
  std::optional<CalendarDate> date{};      ///< of writing, in the table's header; absent: today
};

/// Where the points of a table lie.
struct PointGridInfo {
  char units = 'm';
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;
};

class PointVectorType : public DataTableType {
 public:
  std::vector<PointType> point{};                 ///< record n stands at n - 1; none, or one a record
  InputFileType prj{};                            ///< the projection text, written back unchanged
  double xmin = 0, xmax = 0, ymin = 0, ymax = 0;  ///< extents from the file's header, in the file's units
  char units = 'm';                               ///< of the file that was read, 'f' where it was in feet
  bool gridReference = false;                     ///< the points were read against a grid

  void clear() override {
    DataTableType::clear();
    point.clear();
  }
  [[nodiscard]] int32_t PointCol(int64_t irec) const;  ///< -9999 for a bad record
  [[nodiscard]] int32_t PointRow(int64_t irec) const;
  int WritePointShapefile(std::string_view path, const PointWriteOptions& options = {});
  /// The first call makes `point`, of default records.
  int SetPointXY(int64_t irec, double x, double y);
  int SetPointOffset(int64_t irec, double xOffset, double yOffset);
  int SetPointColRow(int64_t irec, int32_t col, int32_t row);
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
  void SetAllPointFlags(bool value);
  void SetPointFlag(int64_t irec, bool value);
  [[nodiscard]] bool PointFlag(int64_t irec) const;  ///< false for a bad record
  [[nodiscard]] PointGridInfo GridInfo() const { return {units, xmin, xmax, ymin, ymax}; }
  /// Releases the points and the columns.
  void DestroyTable();
  [[nodiscard]] bool HasGridReference() const { return gridReference; }

  [[nodiscard]] bool hasRecordFlags() const override { return true; }
  [[nodiscard]] bool* recordFlag(int64_t irec) override {
    PointType* at = pointAt(irec);
    return at == nullptr ? nullptr : &at->flag;
  }
  /// The record, or null for a number outside 1 to the number of points.
  [[nodiscard]] PointType* pointAt(int64_t irec) {
    return irec >= 1 && irec <= static_cast<int64_t>(point.size())
               ? &point[static_cast<std::size_t>(irec) - 1]
               : nullptr;
  }
  [[nodiscard]] const PointType* pointAt(int64_t irec) const {
    return irec >= 1 && irec <= static_cast<int64_t>(point.size())
               ? &point[static_cast<std::size_t>(irec) - 1]
               : nullptr;
  }

 private:
  [[nodiscard]] bool takeShapes(std::span<const int64_t> records, bool ascending) override {
    return static_cast<int64_t>(point.size()) != numRecords || takeShapesOf(point, records, ascending);
  }
  int makePoints(int64_t linkValue, std::string_view routine);
};

struct PointReadOptions {
  std::optional<char> units{};        ///< 'f': the file is in feet; absent: the grid's units
  const Grid_Header* grid = nullptr;  ///< gives each point its col and row
};
/// Reads the shapefile with the stem `path` into a table that loses what it held. Points outside the
/// box of the file's header, null shapes and points that are no finite numbers are dropped together
/// with their rows, and their count is logged; each point of a MultiPoint record gets a copy of the row.
int ReadPointShapefile(PointVectorType& table, std::string_view path, const PointReadOptions& options = {});

}  // namespace terrain
