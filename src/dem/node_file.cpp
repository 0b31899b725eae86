#include "dem/node_file.h"

#include <array>

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "AccumulateFlow in DEM_Modul";
constexpr std::size_t kRecord = 28;
constexpr std::size_t kHeaderRecords = 5;
constexpr std::size_t kBlock = 1U << 16U;

/// The code of an angle, by sixteenths of a circle.
int32_t codeOf(float angle) {
  constexpr std::array<int32_t, 17> bySixteenth{3, 2, 2, 1, 1, 8, 8, 7, 7, 6, 6, 5, 5, 4, 4, 3, 3};
  const float at = angle / 0.3926991F;
  return at >= 0 && at < static_cast<float>(bySixteenth.size()) ? bySixteenth[static_cast<std::size_t>(at)]
                                                                : 3;
}

}  // namespace

int NodeFile::failed(IoCode code) const {
  return reportError({.routine = kTag, .code = kWriteError, .file = name_, .message1 = describe(code)});
}

int NodeFile::open(std::string_view stem) {
  name_ = std::string(stem) + ".dat";
  if (const IoCode code = file_.open(name_); code != kIoOk) return failed(code);
  pending_.assign(kHeaderRecords * kRecord, std::byte{0});
  return kSuccess;
}

int NodeFile::add(const ChannelNode& node) {
  const Point at = dem_.ColRowToXY(node.cell.col, node.cell.row);
  if (node.angle < 0.0F) {
    const std::string where = "X, Y: " + freeText(at.x) + " " + freeText(at.y);
    const std::string cell = "Col, row: " + freeText(node.cell.col) + " " + freeText(node.cell.row);
    reportError(
        {.routine = kTag, .message1 = "Nodata aspect encountered", .message2 = where, .message3 = cell});
  }
  ByteWriter out(pending_);
  out.little(at.x);
  out.little(at.y);
  out.little(codeOf(node.angle));
  out.little(node.gradient);
  out.little(node.contributing);
  ++nodes_;
  return pending_.size() < kBlock ? kSuccess : flush();
}

int NodeFile::flush() {
  const IoCode code = file_.file().writeAt(written_, pending_);
  if (code != kIoOk) return failed(code);
  written_ += pending_.size();
  pending_.clear();
  return kSuccess;
}

int NodeFile::commit() {
  if (flush() != kSuccess) return kFailure;
  std::vector<std::byte> header;
  ByteWriter out(header);
  const auto fill = [&](std::size_t records) { out.fill(std::byte{0}, records * kRecord - header.size()); };
  out.little(static_cast<int32_t>(kRecord));
  fill(1);
  out.little(static_cast<int32_t>(nodes_));
  fill(3);
  out.little(dem_.xmin);
  out.little(dem_.xmax);
  out.little(dem_.cols());
  fill(4);
  out.little(dem_.ymin);
  out.little(dem_.ymax);
  out.little(dem_.rows());
  fill(kHeaderRecords);
  if (const IoCode code = file_.file().writeAt(0, header); code != kIoOk) return failed(code);
  const IoCode code = file_.commit();
  return code == kIoOk ? kSuccess : failed(code);
}

}  // namespace terrain
