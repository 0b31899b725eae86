#include "dem/categorical_accumulation.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <vector>

#include "dem/flow_accumulation.h"
#include "foundation/file_names.h"
#include "foundation/memory.h"
#include "foundation/platform.h"
#include "foundation/replacement.h"
#include "foundation/text.h"
#include "grid/rows.h"
#include "grid/storage.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "CategoricalAccumulator in DEM_Module";
/// So many categories are routed before the file is written over: what the passes over the file cost stays
/// small beside the routing.
constexpr std::size_t kGroup = 64;

int checkArguments(DEM_type& dem, const I4Grid_type& ingrid) {
  if (!dem.DEMexists()) return fail(kTag, "Must create DEM prior to calling this subroutine");
  if (!ingrid.GridExists()) return fail(kTag, "Must create ingrid prior to calling this subroutine");
  if (dem.GetAspect() != kSuccess) return fail(kTag, "GetAspect failed");
  if (!SameGridGeometry(dem.aspect, ingrid)) return fail(kTag, "ingrid has another extent than the DEM");
  return kSuccess;
}

/// The highest category; 0, with a report, where there is none.
int32_t highestCategory(const I4Grid_type& ingrid) {
  int32_t highest = 0;
  const auto widen = [&](int32_t, std::span<const int32_t> cells) {
    for (const int32_t cell : cells) highest = std::max(highest, cell);
  };
  if (RowPass{reading(ingrid)}.run(kTag, widen) != kSuccess) return 0;
  if (highest < 1) fail(kTag, "ingrid has no category above 0");
  return std::max(highest, 0);
}

/// The categories that occur, rising.
int findCategories(const I4Grid_type& ingrid, int32_t highest, std::vector<int32_t>& categories) {
  constexpr std::size_t kBits = 64;
  std::vector<std::uint64_t> present;  // a bit a number
  if (!tryResize(present, static_cast<std::size_t>(highest) / kBits + 1))
    return cannotAllocate(kTag, "categories");
  const auto note = [&](int32_t, std::span<const int32_t> cells) {
    for (const int32_t cell : cells)
      if (cell > 0)
        present[static_cast<std::size_t>(cell) / kBits] |= std::uint64_t{1}
                                                           << static_cast<std::size_t>(cell) % kBits;
  };
  if (RowPass{reading(ingrid)}.run(kTag, note) != kSuccess) return kFailure;
  for (std::size_t word = 0; word < present.size(); ++word)
    for (std::uint64_t left = present[word]; left != 0; left &= left - 1) {
      const auto category = word * kBits + static_cast<std::size_t>(std::countr_zero(left));
      if (!tryAppend(categories, static_cast<int32_t>(category))) return cannotAllocate(kTag, "categories");
    }
  return kSuccess;
}

/// All categories in one walk. Nothing where there is no memory for them.
std::optional<int> routeInMemory(DEM_type& dem, const I4Grid_type& ingrid, CategoryAmounts& amounts) {
  const auto length = static_cast<std::size_t>(amounts.categories);
  const auto cols = static_cast<std::size_t>(ingrid.cols());
  const auto count = byteCount(cols * static_cast<std::size_t>(ingrid.rows()), length);
  if (!count || !tryAllocate(amounts.values, static_cast<std::size_t>(*count))) return std::nullopt;
  const CellVectors vectors{.values = amounts.values, .length = length, .cols = cols};
  const auto start = [&](int32_t row, std::span<const int32_t> categories, std::span<const float> angles) {
    for (std::size_t i = 0; i < cols; ++i)
      if (categories[i] > 0 && angles[i] >= 0.0F)
        vectors.of(static_cast<int32_t>(i + 1), row)[static_cast<std::size_t>(categories[i]) - 1] = 1.0F;
  };
  if (RowPass{reading(ingrid), reading(dem.aspect)}.run(kTag, start) != kSuccess) return kFailure;
  return routeAlongAngles(dem, vectors);
}

/// The contributing cells of one category, 0 where there are none.
int routeCategory(DEM_type& dem, const I4Grid_type& ingrid, int32_t category, R4Grid_type& amounts) {
  if (CreateGrid(amounts, {.like = &dem.aspect, .nodata = kNodata, .fillValue = 0.0F}) != kSuccess)
    return fail(kTag, "Insufficient memory for catAccum");
  const auto start = [category](int32_t, std::span<float> cells, std::span<const int32_t> categories,
                                std::span<const float> angles) {
    for (std::size_t i = 0; i < cells.size(); ++i)
      cells[i] = categories[i] == category && angles[i] >= 0.0F ? 1.0F : 0.0F;
  };
  if (RowPass{filling(amounts), reading(ingrid), reading(dem.aspect)}.run(kTag, start) != kSuccess)
    return kFailure;
  return routeAlongAngles(dem, amounts);
}

/// The records of the cells, which all have the same number of values.
class CategoryFile {
 public:
  CategoryFile(const Grid_Header& like, std::size_t categories)
      : cols_(static_cast<std::size_t>(like.cols())), rows_(like.rows()), categories_(categories) {}

  [[nodiscard]] std::uint64_t bytes() const { return rowBytes() * static_cast<std::uint64_t>(rows_); }

  [[nodiscard]] int open(std::string_view name) {
    constexpr int kAttempts = 2;
    name_ = stripped(name);
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
      const IoCode code = file_.open(name_);
      if (code == kIoOk)
        return tryAllocate(row_, cols_ * categories_) ? kSuccess : cannotAllocate(kTag, "Zero array");
      reportError({.routine = kTag,
                   .code = kCannotOpenToWrite,
                   .file = name_,
                   .message1 = std::string(describe(code)) + (attempt < kAttempts ? "; reopening" : "")});
    }
    return kFailure;
  }

  /// All records at once.
  [[nodiscard]] int write(std::span<const float> amounts) {
    const IoCode code = file_.file().writeAt(0, std::as_bytes(amounts));
    return code == kIoOk ? kSuccess : fault(kWriteError, code);
  }
  /// Puts the amounts of some categories into all records. The first call makes the records, of zeros.
  [[nodiscard]] int write(std::span<const int32_t> categories, std::span<const R4Grid_type> amounts) {
    for (int32_t row = 1; row <= rows_; ++row) {
      const std::uint64_t at = rowBytes() * static_cast<std::uint64_t>(row - 1);
      if (!made_)
        std::fill(row_.begin(), row_.end(), 0.0F);
      else if (const IoCode code = file_.file().readAt(at, std::as_writable_bytes(std::span(row_)));
               code != kIoOk)
        return fault(kReadError, code);
      for (std::size_t c = 0; c < amounts.size(); ++c)
        if (copy(amounts[c], row, static_cast<std::size_t>(categories[c]) - 1) != kSuccess) return kFailure;
      if (const IoCode code = file_.file().writeAt(at, std::as_bytes(std::span(row_))); code != kIoOk)
        return fault(kWriteError, code);
    }
    made_ = true;
    return kSuccess;
  }
  [[nodiscard]] int commit() {
    const IoCode code = file_.commit();
    return code == kIoOk ? kSuccess : fault(kWriteError, code);
  }

 private:
  [[nodiscard]] std::uint64_t rowBytes() const { return std::uint64_t{cols_} * categories_ * sizeof(float); }
  int fault(int32_t code, IoCode why) const {
    return reportError({.routine = kTag, .code = code, .file = name_, .message1 = describe(why)});
  }
  int copy(const R4Grid_type& amounts, int32_t row, std::size_t category) {
    auto cursor = reading(amounts);
    if (cursor.open(kTag) != kSuccess || cursor.enter(row, kTag) != kSuccess) return kFailure;
    for (std::size_t col = 0; col < cols_; ++col) row_[col * categories_ + category] = cursor.cells()[col];
    return kSuccess;
  }

  std::size_t cols_;
  int32_t rows_;
  std::size_t categories_;
  std::string name_;
  Replacement file_;
  bool made_ = false;
  std::vector<float> row_;
};

/// Refuses what the disk cannot hold before anything is routed.
int checkSize(const CategoryFile& file, std::string_view outfile) {
  constexpr double kGigabyte = 1073741824.0;
  putMessage("output filesize (Gbytes): ", static_cast<double>(file.bytes()) / kGigabyte);
  const std::string name(stripped(outfile));
  const std::string directory = name.substr(0, lastSeparator(name) + 1);
  if (platform::freeSpace(directory.empty() ? "." : directory) >= file.bytes()) return kSuccess;
  return reportError(
      {.routine = kTag, .code = kOwnWords, .file = name, .message1 = "The disk of the output file is full"});
}

/// What memory does not hold at once, some categories at a time.
int writeByGroups(DEM_type& dem, const I4Grid_type& ingrid, int32_t highest, CategoryFile& file) {
  std::vector<int32_t> categories;
  if (findCategories(ingrid, highest, categories) != kSuccess) return kFailure;
  for (std::span<const int32_t> left = categories; !left.empty();) {
    const std::span<const int32_t> group = left.first(std::min(kGroup, left.size()));
    left = left.subspan(group.size());
    std::vector<R4Grid_type> amounts(group.size());
    for (std::size_t c = 0; c < group.size(); ++c)
      if (routeCategory(dem, ingrid, group[c], amounts[c]) != kSuccess) return kFailure;
    if (file.write(group, amounts) != kSuccess) return kFailure;
  }
  return kSuccess;
}

}  // namespace

int CategoricalAccumulator(DEM_type& dem, const I4Grid_type& ingrid, CategoryAmounts& catAccum) {
  Attempt attempt{dem.status};
  catAccum = {};
  if (checkArguments(dem, ingrid) != kSuccess) return kFailure;
  catAccum.categories = highestCategory(ingrid);
  if (catAccum.categories == 0) return kFailure;
  const std::optional<int> routed = routeInMemory(dem, ingrid, catAccum);
  if (routed == kSuccess) return attempt.succeed();
  catAccum = {};
  if (routed) return kFailure;
  return reportError({.routine = kTag,
                      .message1 = "Insufficient memory for catAccum",
                      .message2 = "Require outfile argument"});
}

int CategoricalAccumulator(DEM_type& dem, const I4Grid_type& ingrid, std::string_view outfile) {
  Attempt attempt{dem.status};
  if (isBlank(outfile)) return fail(kTag, "Missing required argument outfile");
  if (checkArguments(dem, ingrid) != kSuccess) return kFailure;
  CategoryAmounts all{.categories = highestCategory(ingrid)};
  if (all.categories == 0) return kFailure;
  CategoryFile file(dem.aspect, static_cast<std::size_t>(all.categories));
  if (checkSize(file, outfile) != kSuccess || file.open(outfile) != kSuccess) return kFailure;
  const std::optional<int> routed = routeInMemory(dem, ingrid, all);
  const int written = !routed               ? writeByGroups(dem, ingrid, all.categories, file)
                      : *routed == kSuccess ? file.write(all.values)
                                            : kFailure;
  if (written != kSuccess || file.commit() != kSuccess) return kFailure;
  return attempt.succeed();
}

}  // namespace terrain
