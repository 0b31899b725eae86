#pragma once
// The files of a shapefile: the main file ".shp" with its records, the index ".shx" beside it and the
// projection text ".prj". Counts, lengths and record numbers are in big-endian, the rest in
// little-endian order; lengths count 16-bit words. The content of records belongs to the modules of
// points, lines and polygons.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/bytes.h"
#include "foundation/input_file.h"
#include "foundation/replacement.h"
#include "table/data_table.h"
#include "table/geometry.h"

namespace terrain {

class TableOutput;

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
inline constexpr uint64_t kShapeIndexEntryBytes = 8;
inline constexpr uint64_t kShapeLengthOffset = 24;        ///< of the file's length in words, in both headers
inline constexpr int64_t kLargestShapefile = 2147483647;  ///< bytes that a main file may have

/// The name under which one file of a shapefile is written, of the stem without trailing blanks.
[[nodiscard]] std::string shapefileName(std::string_view path, std::string_view extension);

/// One record of a main file.
struct ShapeRecord {
  int64_t number = 0;  ///< in the file, from 1
  int64_t row = 0;     ///< in the table, which lacks the rows that the file marks as deleted
  Shape type = Shape::null;
  ByteReader content{{}};  ///< of the content, after the shape type
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
  /// Bytes of the main file.
  [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }
  [[nodiscard]] Shape type() const { return static_cast<Shape>(typeCode_); }
  /// Box of the header, unchanged.
  [[nodiscard]] const Box& box() const { return box_; }
  /// True if the length in the header is the file's.
  [[nodiscard]] bool lengthIsRight() const { return declaredBytes_ == bytes_.size(); }

  /// Checks all record headers before any record is read: numbers from 1 without a gap, contents within
  /// the file, the last one ending at the length that the file's header gives, as many records as the table
  /// has, with its deleted ones. 0 or -1. Bytes after that length are ignored.
  int checkRecords(int64_t tableRecords, std::vector<int64_t> deleted);
  /// The next record whose row is not deleted. Its type is null, or the file's. 0 or -1.
  int next(ShapeRecord& record);

  /// Reports a fault of the file, or of one record (number 1 or more). Gives -1.
  int fault(std::string_view what, int64_t record = 0) const;
  /// Reports that there is no memory for `object`. Gives -1.
  int noMemory(std::string_view object) const;
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string routine_;
  std::string name_;
  std::vector<std::byte> bytes_;
  ByteReader in_{{}};  // of the records
  std::uint64_t declaredBytes_ = 0;
  int64_t lastRecord_ = 0;
  std::vector<int64_t> deleted_;  // numbers of records without a row, rising
  std::size_t deletedPassed_ = 0;
  int32_t typeCode_ = 0;
  Box box_{};
};

/// Builds the images of a main and an index file, of sizes known in advance, and writes each at once under
/// its temporary name.
class ShapefileWriter {
 public:
  ShapefileWriter(Shape type, uint64_t mainBytes, uint64_t records);

  /// False if there is no memory for the images.
  [[nodiscard]] bool ok() const { return main_.ok() && index_.ok(); }
  /// Starts a record of `contentBytes` with its type; the rest of the content goes to the writer returned.
  ByteWriter& beginRecord(uint64_t contentBytes);
  /// Puts the ranges of all records into both headers. Called after the last record.
  void setRanges(const Box& box, const Range& z = {0, 0}, const Range& m = {0, 0});
  /// Adds both files to those of the table, the index last; the writer must live until the commit. 0, or -1
  /// with a report.
  int addTo(TableOutput& out, std::string_view routine, std::string_view path);

 private:
  Replacement mainFile_;
  Replacement indexFile_;
  ByteWriter main_;
  ByteWriter index_;
  Shape type_;
  int32_t records_ = 0;
};

/// Number of records by the length of the index file; -1, reported, if it cannot be read. An index whose
/// header contradicts its length, or whose last record does not end where the main file ends, is ignored: the
/// records of the main file are counted instead.
int64_t NumRecordsInShapefile(std::string_view path);

/// What the reading of a shapefile starts from.
struct ShapefileSource {
  std::string_view routine{};                 ///< under which faults are reported
  std::string_view path{};                    ///< stem of the files
  std::optional<std::string_view> idField{};  ///< name of the field that identifies a record
  std::string_view idFieldNotFound{};         ///< reported, with the name, where the table lacks it
};
/// One step of the reading, with the main file loaded. 0, or -1 after a report.
using ReadingStep = std::function<int(ShapefileReader& file)>;
/// Reads a shapefile in the order that all types share: rows, ID field, main file, projection text. `check`
/// looks at the header of the main file, `readShapes` reads the records, whose headers have been checked. 0,
/// or -1 after a report.
int readShapefile(DataTableType& table, InputFileType& prj, const ShapefileSource& source,
                  const ReadingStep& check, const ReadingStep& readShapes);

/// Reports a table that does not have one shape a record; `what` names the shapes. 0 or -1.
int checkShapeCount(std::string_view routine, const DataTableType& table, std::size_t shapes,
                    std::string_view what);

/// Reads path + ".prj", or ".PRJ", into `prj`, which has no lines if there is no such file.
void readProjection(std::string_view path, InputFileType& prj);

/// Writes the files of a shapefile whose records are in `out`: ".shp" and ".shx", the rows chosen by `rows`
/// as ".dbf" (and ".cpg", see `DbfImage`), and `prj` as ".prj"; a ".prj" of an older shapefile goes where
/// `prj` has no lines. A fault at any of them leaves the older shapefile whole. 0, or -1 after a report.
int saveShapefile(std::string_view routine, std::string_view path, ShapefileWriter& out, DataTableType& table,
                  const DbfWriteOptions& rows, const InputFileType& prj);

/// `value` rounded to `decimals` places, halves away from zero; unchanged for 0 and below, and where it is so
/// large that it has no such digits.
[[nodiscard]] double roundedTo(double value, int32_t decimals);

}  // namespace terrain
