#pragma once
// The files of one table on their way to disk: each is written beside its target, and all of them take their
// places together, so a fault at any of them leaves the older table whole. Internal to the writers of tables.

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "foundation/replacement.h"

namespace terrain {

class TableOutput {
 public:
  enum class Step { open, write, commit };
  /// Reports that a step of a file failed.
  using Report = std::function<void(Step step, IoCode code)>;
  /// Where a file comes in the commit; what comes last tells readers that the table is whole.
  enum class Place { first, last };

  /// Opens `file` for its target, and `write` fills it; it must live until the commit. 0, or -1 after
  /// `report`.
  [[nodiscard]] int add(Replacement& file, const std::string& target, Place place, Report report,
                        const std::function<IoCode()>& write);
  /// A file of these bytes, which comes before all others in the commit.
  [[nodiscard]] int add(const std::string& target, std::span<const std::byte> bytes, Report report);
  /// The target, if there is one, will be removed: it does not belong to this table.
  [[nodiscard]] int addRemoval(const std::string& target, Report report);
  /// Puts all files in place, or leaves all older ones as they were. 0, or -1 after the report of the file
  /// that failed.
  [[nodiscard]] int commit();

 private:
  struct Entry {
    Replacement* file;
    Report report;
  };
  Replacement& own() { return *owned_.emplace_back(std::make_unique<Replacement>()); }

  std::vector<std::unique_ptr<Replacement>> owned_;
  std::vector<Entry> entries_;  // in the order of the commit
};

}  // namespace terrain
