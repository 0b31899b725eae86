#include "table/field_content.h"

#include <algorithm>
#include <array>
#include <exception>
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

bool TextColumn::assign(std::size_t count, std::size_t characters) {
  clear();
  if (!memoryFor(characters) || !tryAllocate(places_, count)) return false;
  try {
    characters_.reserve(characters);
  } catch (const std::exception&) {  // bad_alloc, length_error
    clear();
    return false;
  }
  return true;
}

bool TextColumn::set(std::size_t record, std::string_view text) {
  text = trimmed(cut(text, kTextLength));
  Place& place = places_[record];
  const auto old = static_cast<std::size_t>(place.length);
  if (text.size() <= old) {
    std::copy(text.begin(), text.end(), characters_.begin() + static_cast<std::ptrdiff_t>(place.start));
    unused_ += old - text.size();
    place.length = text.size() & 0xFFFFU;
    return true;
  }
  // The text goes to the end, and its old place is lost until the next `compact`. A text of this very
  // column may be passed in, so it is copied before the block can move.
  std::array<char, kTextLength> kept;
  std::copy(text.begin(), text.end(), kept.begin());
  unused_ += old;
  place.length = 0;
  try {
    if (unused_ > std::max(characters_.size() / 2, places_.size()) && unused_ > 4096) compact();
    const std::size_t start = characters_.size();
    characters_.insert(characters_.end(), kept.begin(),
                       kept.begin() + static_cast<std::ptrdiff_t>(text.size()));
    place.start = start & 0xFFFFFFFFFFFFU;
    place.length = text.size() & 0xFFFFU;
  } catch (const std::exception&) {
    unused_ -= old;
    place.length = old & 0xFFFFU;
    return false;
  }
  return true;
}

void TextColumn::compact() {
  std::vector<char> packed;
  packed.reserve(characters_.size() - unused_ + kTextLength);
  for (Place& place : places_) {
    const auto from = characters_.begin() + static_cast<std::ptrdiff_t>(place.start);
    place.start = packed.size() & 0xFFFFFFFFFFFFU;
    packed.insert(packed.end(), from, from + static_cast<std::ptrdiff_t>(place.length));
  }
  characters_ = std::move(packed);
  unused_ = 0;
}

void TextColumn::keep(std::span<const int64_t> records) {
  for (std::size_t i = 0; i < records.size(); ++i)
    places_[i] = places_[static_cast<std::size_t>(records[i]) - 1];
  places_.resize(records.size());
  std::size_t used = 0;
  for (const Place& place : places_) used += place.length;
  unused_ = characters_.size() - used;
}

std::uint64_t TextColumn::bytesFor(std::span<const int64_t> records) const {
  std::uint64_t bytes = records.size() * sizeof(Place);
  for (const int64_t record : records) bytes += (*this)[static_cast<std::size_t>(record) - 1].size();
  return bytes;
}

bool TextColumn::takeFrom(const TextColumn& other, std::span<const int64_t> records) {
  const auto characters = other.bytesFor(records) - records.size() * sizeof(Place);
  if (!assign(records.size(), static_cast<std::size_t>(characters))) return false;
  for (std::size_t i = 0; i < records.size(); ++i)
    if (!set(i, other[static_cast<std::size_t>(records[i]) - 1])) return false;
  return true;
}

void TextColumn::clear() {
  places_ = {};
  characters_ = {};
  unused_ = 0;
}

}  // namespace terrain
