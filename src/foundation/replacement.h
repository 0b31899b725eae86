#pragma once
// Output files that replace older ones: written under a temporary name beside the target and renamed when
// whole, so that a full disk, a fault or an interruption leaves the older file as it was.

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/interruption.h"
#include "foundation/platform.h"
#include "foundation/units.h"

namespace terrain {

/// A new file that will replace its target, or the removal of the target. A symbolic link as target stays:
/// the file that it points to is replaced. The new file has the permission bits of the older one from its
/// start, where the file system knows them; hard links to the older one keep the older content. Nothing is
/// synchronised with the disk: faults that the host reports at writing and closing are found, a power failure
/// is not guarded against.
class Replacement {
 public:
  Replacement() = default;
  ~Replacement() { discard(); }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// Opens an empty temporary file, the name of the target with ".part" and a number, that no other file
  /// has. Fails where `platform::canReplace(target)` does. What this object held before is discarded.
  [[nodiscard]] IoCode open(std::string_view target);
  /// The commit will remove the target, if there is one: a side file that does not belong to what is written
  /// beside it.
  [[nodiscard]] IoCode openRemoval(std::string_view target);

  /// The temporary file, for bytes. After `text()` it is not to be written to.
  [[nodiscard]] platform::File& file() { return text_ ? text_->file() : file_; }
  /// The same file for lines. Its faults are found by the commit.
  [[nodiscard]] TextFile& text();
  [[nodiscard]] const std::string& temporaryName() const { return temporary_; }
  /// The file that will be replaced, with links followed.
  [[nodiscard]] const std::string& target() const { return target_; }

  /// Writes out what is buffered, closes the file, and renames it to the target. After a fault the target is
  /// as it was and the temporary file is gone.
  [[nodiscard]] IoCode commit();
  /// Removes what was not committed.
  void discard();

 private:
  friend IoCode commitTogether(std::span<Replacement* const> files, const Replacement** failed);

  enum class Change { none, created, overwritten, exchanged, removed };

  [[nodiscard]] IoCode openTemporary();
  [[nodiscard]] IoCode close();
  [[nodiscard]] IoCode putInPlace(bool keepOlder);
  void putBack();

  bool isRemoval_ = false;
  Change change_ = Change::none;  // what the commit has done to the target so far
  std::string target_;
  std::string temporary_;
  platform::TemporaryName watched_;
  platform::File file_;
  std::optional<TextFile> text_;
};

/// Commits files that belong together: all are written out and closed before the first is renamed. They are
/// renamed in the order given; name the header or the index last. If one fails, the older files come back as
/// far as the host allows, all new ones are discarded, and `failed`, if given, is the one.
[[nodiscard]] IoCode commitTogether(std::span<Replacement* const> files,
                                    const Replacement** failed = nullptr);

}  // namespace terrain
