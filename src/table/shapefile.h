#pragma once
// The files of a shapefile: the main file ".shp" with its records, the index ".shx" beside it and the
// projection text ".prj". Counts, lengths and record numbers are in big-endian, the rest in
// little-endian order; lengths count 16-bit words. What a record holds is the business of the rooms
// of points, lines and polygons.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/input_file.h"
#include "table/data_table.h"
#include "table/geometry.h"

namespace terrain {

/// Shape types by their code in the file.
enum class Shape : int32_t {
  null = 0,
  point = 1,
  polyline = 3,
  polygon = 5,
  multiPoint = 8,
  pointZ = 11,
  polylineZ = 13,
  polygonZ = 15,
  pointM = 21,
  polylineM = 23,
  polygonM = 25,
};

inline constexpr uint64_t kShapeHeaderBytes = 100;
inline constexpr uint64_t kShapeRecordHeaderBytes = 8;
inline constexpr int64_t kLargestShapefile = 2147483647;  ///< bytes that a main file may have

/// One record of a main file.
struct ShapeRecord {
  int64_t number = 0;  ///< from 1
  Shape type = Shape::null;
  ByteReader content{{}};  ///< of the content alone, behind the shape type
};

/// Reads a main file into memory and hands out its records. Every fault is reported once, under the
/// routine's name, with the file's name and, where there is one, the record.
class ShapefileReader {
 public:
  /// `path` is the stem of the files.
  ShapefileReader(std::string_view routine, std::string_view path);

  /// Loads the file and reads its header. 0 or -1.
  int load();
  [[nodiscard]] int32_t typeCode() const { return typeCode_; }
  [[nodiscard]] Shape type() const { return static_cast<Shape>(typeCode_); }
  /// Box of the header, as it stands there.
  [[nodiscard]] const Box& box() const { return box_; }
  /// True if the length in the header is the file's.
  [[nodiscard]] bool lengthIsRight() const { return declaredBytes_ == bytes_.size(); }

  /// Walks the record headers before any record is read: numbers from 1 without a gap, contents within
  /// the file, the last one ending where the file's length says, as many records as the table has. 0
  /// or -1. Bytes behind the length that the header gives are no part of the file.
  int checkRecords(int64_t tableRecords);
  /// The next record. Its type is null, or the file's. 0 or -1.
  int next(ShapeRecord& record);

  /// Reports a fault of the file, or of one record (number 1 or more). Gives -1.
  int fault(std::string_view what, int64_t record = 0) const;
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string routine_;
  std::string name_;
  std::vector<std::byte> bytes_;
  ByteReader in_{{}};  // of the records
  std::uint64_t declaredBytes_ = 0;
  int64_t lastRecord_ = 0;
  int32_t typeCode_ = 0;
  Box box_{};
};

/// Builds the images of a main and an index file, of sizes known beforehand, and writes each at once.
class ShapefileWriter {
 public:
  ShapefileWriter(Shape type, uint64_t mainBytes, uint64_t records);

  /// False if there is no memory for the images.
  [[nodiscard]] bool ok() const { return main_.ok() && index_.ok(); }
  /// Starts a record of so many bytes, with its type; what follows is written to the writer given.
  ByteWriter& beginRecord(uint64_t contentBytes);
  /// Puts the ranges of all records into both headers. Comes behind the last record.
  void setRanges(const Box& box, const Range& z = {0, 0}, const Range& m = {0, 0});
  /// Writes both files. 0, or -1 with a report.
  int save(std::string_view routine, std::string_view path);

 private:
  platform::File mainFile_;
  platform::File indexFile_;
  ByteWriter main_;
  ByteWriter index_;
  Shape type_;
  int32_t records_ = 0;
};

/// Records that the index file of a shapefile tells of, by its length; -1, reported, if it cannot be
/// read. An index whose length is not its own, or that does not end where the main file ends, is not
/// believed: the records of the main file are counted then.
int64_t NumRecordsInShapefile(std::string_view path);

/// Reads path + ".prj" into `prj`, which has no lines if there is no such file.
void readProjection(std::string_view path, InputFileType& prj);
/// Writes `prj`, where it has lines, to path + ".prj". 0, or -1 with a report.
int writeProjection(std::string_view routine, std::string_view path, const InputFileType& prj);

/// Writes the files of a shapefile whose records stand in `out`: ".shp" and ".shx", the rows that
/// `rows` asks for as ".dbf" (with ".cpg" as `DbfImage` says), and `prj`. The rows are put in form before any
/// file is touched, so a value that has no place in its field leaves older files of the name whole. 0, or -1
/// with a report.
int saveShapefile(std::string_view routine, std::string_view path, ShapefileWriter& out, DataTableType& table,
                  const DbfWriteOptions& rows, const InputFileType& prj);

/// value rounded to `decimals` places, halves away from zero; as it is for 0 and below, and where it
/// has no such digits.
[[nodiscard]] double roundedTo(double value, int32_t decimals);

}  // namespace terrain
