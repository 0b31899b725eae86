#include "table/shapefile.h"

#include <algorithm>
#include <cmath>

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/status.h"
#include "foundation/text.h"
#include "table/dbf.h"
#include "table/table_output.h"

namespace terrain {

std::string shapefileName(std::string_view path, std::string_view extension) {
  return std::string(trimmed(path)) + std::string(extension);
}

namespace {

constexpr int32_t kFileCode = 9994;
constexpr int32_t kVersion = 1000;
constexpr std::uint64_t kVersionOffset = 28;
constexpr std::uint64_t kBoxOffset = 36;

std::string counted(int64_t count, std::string_view what) {
  return freeText(count) + ' ' + std::string(what);
}

void writeHeader(ByteWriter& out, Shape type) {
  out.big(kFileCode);
  out.fill(std::byte{0}, kVersionOffset - sizeof kFileCode);
  out.little(kVersion);
  out.little(static_cast<int32_t>(type));
  out.fill(std::byte{0}, kShapeHeaderBytes - kBoxOffset);
}

/// The header's numbers that are known only at the end. The box of a file without shapes is 0.
void completeHeader(ByteWriter& out, Box box, const Range& z, const Range& m) {
  out.patchBig(kShapeLengthOffset, static_cast<int32_t>(out.position() / 2));
  if (box.x.empty()) box = {.x = {0, 0}, .y = {0, 0}};
  std::uint64_t at = kBoxOffset;
  for (const double value : {box.x.low, box.y.low, box.x.high, box.y.high, z.low, z.high, m.low, m.high}) {
    out.patchLittle(at, value);
    at += sizeof value;
  }
}

/// Adds path + ".prj" with the lines of `prj`, or without any the removal of an older one.
int addProjection(TableOutput& out, std::string_view routine, std::string_view path,
                  const InputFileType& prj) {
  const std::string name = shapefileName(path, ".prj");
  const auto report = [routine, path](TableOutput::Step /*step*/, IoCode /*code*/) {
    fail(routine, "Error writing projection file for " + std::string(trimmed(path)));
  };
  if (prj.LineCount() < 1) return out.addRemoval(name, report);
  std::string text;
  for (const std::string& line : prj.lines) text.append(trimmed(line)) += '\n';
  return out.add(name, std::as_bytes(std::span(text)), report);
}

}  // namespace

// ---- reading ----

ShapefileReader::ShapefileReader(std::string_view routine, std::string_view path)
    : routine_(routine), name_(existingFile(trimmed(path), ".shp")) {}

int ShapefileReader::fault(std::string_view what, int64_t record) const {
  std::string line(what);
  if (record > 0) line = "Record " + freeText(record) + ": " + line;
  return reportError({.routine = routine_, .code = kOwnWords, .file = name_, .message1 = line});
}

int ShapefileReader::load() {
  const IoCode code = readWholeFile(name_, bytes_);
  if (code == kIoNoMemory)
    return reportError(
        {.routine = routine_, .code = kCannotAllocate, .file = name_, .text = "shapefile component files"});
  if (code != kIoOk)
    return reportError(
        {.routine = routine_, .code = readFailure(code), .file = name_, .message1 = describe(code)});

  ByteReader in{bytes_};
  const auto fileCode = in.big<int32_t>();
  in.seek(kShapeLengthOffset);
  const auto words = in.big<int32_t>();
  in.skip(sizeof kVersion);
  typeCode_ = in.little<int32_t>();
  box_.x.low = in.little<double>();
  box_.y.low = in.little<double>();
  box_.x.high = in.little<double>();
  box_.y.high = in.little<double>();
  in.seek(kShapeHeaderBytes);
  if (!in.ok()) return fault("The file is too short for its header");
  if (fileCode != kFileCode) return fault("Not a shapefile: the file code is " + freeText(fileCode));
  declaredBytes_ = words < 0 ? 0 : 2 * static_cast<std::uint64_t>(words);
  return kSuccess;
}

int ShapefileReader::checkRecords(int64_t tableRecords, std::vector<int64_t> deleted) {
  deleted_ = std::move(deleted);
  tableRecords += std::ssize(deleted_);
  if (declaredBytes_ < kShapeHeaderBytes || declaredBytes_ > bytes_.size())
    return fault("File size discrepency: the header says " + freeText(static_cast<int64_t>(declaredBytes_)) +
                 " bytes, the file has " + freeText(static_cast<int64_t>(bytes_.size())));
  const auto records = std::span<const std::byte>(bytes_).subspan(
      kShapeHeaderBytes, static_cast<std::size_t>(declaredBytes_ - kShapeHeaderBytes));
  in_ = ByteReader(records);
  ByteReader headers(records);
  int64_t count = 0;
  while (headers.remaining() > 0) {
    const auto number = headers.big<int32_t>();
    const auto words = headers.big<int32_t>();
    ++count;
    if (!headers.ok()) return fault("The file ends within the record's header", count);
    if (number != count)
      return reportError(
          {.routine = routine_,
           .code = kOwnWords,
           .file = name_,
           .message1 = "Error reading shapefile records",
           .message2 = "Record number mismatch: thisRecNum = " + rightJustified(freeText(number), 8) +
                       ", recNum = " + rightJustified(freeText(count), 8)});
    if (words < 2) return fault("The content length is " + counted(words, "words"), count);
    if (!headers.skip(2 * static_cast<std::uint64_t>(words)))
      return fault("The content length, " + counted(words, "words") + ", reaches beyond the end of the file",
                   count);
  }
  if (count != tableRecords)
    return fault("The file has " + counted(count, "records") + ", its table has " + freeText(tableRecords));
  return kSuccess;
}

int ShapefileReader::next(ShapeRecord& record) {
  record.number = ++lastRecord_;
  for (; deletedPassed_ < deleted_.size() && deleted_[deletedPassed_] == record.number; ++deletedPassed_) {
    in_.skip(sizeof(int32_t));
    in_.skip(2 * static_cast<std::uint64_t>(in_.big<int32_t>()));
    record.number = ++lastRecord_;
  }
  record.row = record.number - static_cast<int64_t>(deletedPassed_);
  in_.skip(sizeof(int32_t));
  const auto words = in_.big<int32_t>();
  record.content = in_.part(2 * static_cast<std::uint64_t>(words));
  const auto code = record.content.little<int32_t>();
  if (!record.content.ok()) return fault("The record is not in the file", record.number);
  record.type = words == 2 ? Shape::null : static_cast<Shape>(code);
  if (record.type != Shape::null && code != typeCode_)
    return fault("Shape type " + freeText(code) + " in a file of type " + freeText(typeCode_), record.number);
  return kSuccess;
}

int ShapefileReader::noMemory(std::string_view object) const { return cannotAllocate(routine_, object); }

int readShapefile(DataTableType& table, InputFileType& prj, const ShapefileSource& source,
                  const ReadingStep& check, const ReadingStep& readShapes) {
  const std::string stem(trimmed(source.path));
  std::vector<int64_t> deleted;
  if (readDbf(table, existingFile(stem, ".dbf"), {.deleted = &deleted}) != kSuccess)
    return fail(source.routine, "NewDataTable failed for " + stem);
  if (source.idField) {
    const int32_t number = table.FieldNumber(*source.idField);
    if (number < 1)
      return fail(source.routine, std::string(source.idFieldNotFound) + std::string(*source.idField));
    table.IDfield = number;
  }
  ShapefileReader file(source.routine, stem);
  if (file.load() != kSuccess || check(file) != kSuccess ||
      file.checkRecords(table.numRecords, std::move(deleted)) != kSuccess || readShapes(file) != kSuccess)
    return kFailure;
  readProjection(stem, prj);
  return kSuccess;
}

// ---- writing ----

ShapefileWriter::ShapefileWriter(Shape type, uint64_t mainBytes, uint64_t records)
    : main_(mainFile_.file(), static_cast<std::size_t>(mainBytes)),
      index_(indexFile_.file(),
             static_cast<std::size_t>(kShapeHeaderBytes + kShapeIndexEntryBytes * records)),
      type_(type) {
  if (!ok()) return;
  writeHeader(main_, type);
  writeHeader(index_, type);
}

ByteWriter& ShapefileWriter::beginRecord(uint64_t contentBytes) {
  const auto words = static_cast<int32_t>(contentBytes / 2);
  index_.big(static_cast<int32_t>(main_.position() / 2));
  index_.big(words);
  main_.big(++records_);
  main_.big(words);
  main_.little(static_cast<int32_t>(type_));
  return main_;
}

void ShapefileWriter::setRanges(const Box& box, const Range& z, const Range& m) {
  completeHeader(main_, box, z, m);
  completeHeader(index_, box, z, m);
}

int ShapefileWriter::addTo(TableOutput& out, std::string_view routine, std::string_view path) {
  const std::string name = shapefileName(path, ".shp");
  const auto reportMain = [routine, name](TableOutput::Step /*step*/, IoCode code) {
    reportError({.routine = routine,
                 .code = kOwnWords,
                 .message1 = "Failed to write file " + name,
                 .message2 = describe(code)});
  };
  const std::string indexName = shapefileName(path, ".shx");
  const auto reportIndex = [routine, indexName](TableOutput::Step step, IoCode code) {
    reportError({.routine = routine,
                 .code = step == TableOutput::Step::open ? kCannotOpenToWrite : kWriteError,
                 .file = indexName,
                 .message1 = describe(code)});
    putConsoleLine("Error code: " + freeText(code));
  };
  using enum TableOutput::Place;
  return out.add(mainFile_, name, last, reportMain, [this] { return main_.finish(); }) == kSuccess &&
                 out.add(indexFile_, indexName, last, reportIndex, [this] { return index_.finish(); }) ==
                     kSuccess
             ? kSuccess
             : kFailure;
}

int checkShapeCount(std::string_view routine, const DataTableType& table, std::size_t shapes,
                    std::string_view what) {
  if (std::cmp_equal(shapes, table.numRecords)) return kSuccess;
  return fail(routine, "The table has " + freeText(table.numRecords) + " records, but " +
                           freeText(static_cast<int64_t>(shapes)) + ' ' + std::string(what));
}

int saveShapefile(std::string_view routine, std::string_view path, ShapefileWriter& out, DataTableType& table,
                  const DbfWriteOptions& rows, const InputFileType& prj) {
  DbfImage image;
  if (image.make(table, rows) != kSuccess) return fail(routine, "writeDBFfile failed");
  TableOutput files;
  if (out.addTo(files, routine, path) != kSuccess) return kFailure;
  if (image.addTo(files, path) != kSuccess) return fail(routine, "writeDBFfile failed");
  if (addProjection(files, routine, path, prj) != kSuccess) return kFailure;
  return files.commit();
}

// ---- projection ----

void readProjection(std::string_view path, InputFileType& prj) {
  prj = InputFileType{};
  const std::string name = existingFile(trimmed(path), ".prj");
  if (platform::fileExists(name))
    prj = NewInputFile(name, {.lineLength = std::string::npos, .mayBeEmpty = true});
}

// ---- numbers ----

double roundedTo(double value, int32_t decimals) {
  if (decimals <= 0) return value;
  const double power = std::pow(10.0, decimals);
  const double scaled = value * power;
  return std::isfinite(scaled) ? std::round(scaled) / power : value;
}

}  // namespace terrain
