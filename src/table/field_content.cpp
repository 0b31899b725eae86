#include "table/field_content.h"

#include <algorithm>
#include <array>
#include <utility>

#include "foundation/memory.h"

namespace terrain {

FieldKind kindOf(std::string_view dataType) {
  if (dataType == "I4") return FieldKind::I4;
  if (dataType == "I8") return FieldKind::I8;
  if (dataType == "R4") return FieldKind::R4;
  if (dataType == "R8") return FieldKind::R8;
  if (dataType == "C ") return FieldKind::text;
  return FieldKind::unknown;
}

std::string unwrittenField(const FieldDescription& field) {
  return "Unknown type " + std::string(field.dataType.trimmed()) + ", not written: field " +
         std::string(field.name.trimmed());
}

std::optional<std::size_t> numValues(const FieldContent& field) {
  using Count = std::optional<std::size_t>;
  return visitColumn(
      field, [](const auto& column) { return Count(column.size()); }, [] { return Count(); });
}

bool TextColumn::assign(std::size_t count, std::size_t characters) {
  clear();
  if (tryAllocate(slices_, count) && tryReserve(characters_, characters)) return true;
  clear();
  return false;
}

bool TextColumn::set(std::size_t record, std::string_view text) {
  text = trimmed(cut(text, kTextLength));
  Slice& slice = slices_[record];
  const auto old = static_cast<std::size_t>(slice.length);
  if (text.size() <= old && !shared_) {
    std::copy(text.begin(), text.end(), characters_.begin() + static_cast<std::ptrdiff_t>(slice.start));
    used_ -= old - text.size();
    slice.length = text.size() & 0xFFFFU;
    return true;
  }
  // The text is appended, and its old slice is lost until the next `compact`. It may be a text of this very
  // column, so it is copied before the block can move.
  std::array<char, kTextLength> kept;
  std::copy(text.begin(), text.end(), kept.begin());
  const std::size_t unused = characters_.size() - std::min(characters_.size(), used_);
  if (unused > std::max(characters_.size() / 2, slices_.size()) && unused > 4096 && !compact()) return false;
  const std::size_t start = characters_.size();
  const std::size_t needed = start + text.size();
  if (needed > characters_.capacity() &&
      !tryReserve(characters_, std::max(needed, 2 * characters_.capacity())))
    return false;
  used_ = used_ - old + text.size();
  characters_.insert(characters_.end(), kept.begin(),
                     kept.begin() + static_cast<std::ptrdiff_t>(text.size()));
  slice.start = start & 0xFFFFFFFFFFFFU;
  slice.length = text.size() & 0xFFFFU;
  return true;
}

bool TextColumn::compact() {
  std::vector<char> packed;
  if (!tryReserve(packed, used_ + kTextLength)) return false;
  for (Slice& slice : slices_) {
    const auto from = characters_.begin() + static_cast<std::ptrdiff_t>(slice.start);
    slice.start = packed.size() & 0xFFFFFFFFFFFFU;
    packed.insert(packed.end(), from, from + static_cast<std::ptrdiff_t>(slice.length));
  }
  characters_ = std::move(packed);
  shared_ = false;
  return true;
}

void TextColumn::keep(std::span<const int64_t> records) {
  for (std::size_t i = 0; i < records.size(); ++i)
    slices_[i] = slices_[static_cast<std::size_t>(records[i]) - 1];
  slices_.resize(records.size());
  used_ = 0;
  for (const Slice& slice : slices_) used_ += slice.length;
}

std::uint64_t TextColumn::bytesFor(std::span<const int64_t> records) const {
  std::uint64_t bytes = records.size() * sizeof(Slice);
  int64_t last = 0;
  for (const int64_t record : records)
    if (record != std::exchange(last, record)) bytes += (*this)[static_cast<std::size_t>(record) - 1].size();
  return bytes;
}

bool TextColumn::copyFrom(const TextColumn& other, std::span<const int64_t> records) {
  const auto characters = other.bytesFor(records) - records.size() * sizeof(Slice);
  if (!assign(records.size(), static_cast<std::size_t>(characters))) return false;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (i > 0 && records[i] == records[i - 1]) {
      slices_[i] = slices_[i - 1];
      used_ += slices_[i].length;
    } else if (!set(i, other[static_cast<std::size_t>(records[i]) - 1])) {
      return false;
    }
  }
  shared_ = used_ > characters_.size();
  return true;
}

void TextColumn::clear() {
  slices_ = {};
  characters_ = {};
  used_ = 0;
  shared_ = false;
}

}  // namespace terrain
