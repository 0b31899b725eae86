#include "foundation/replacement.h"

#include "foundation/free_format.h"
#include "foundation/text.h"

namespace terrain {

IoCode Replacement::open(std::string_view target) {
  discard();
  const IoCode code = platform::canReplace(target);
  if (code != kIoOk) return code;
  const IoCode followed = platform::followLinks(target, target_);
  return followed != kIoOk ? followed : openTemporary();
}

IoCode Replacement::openRemoval(std::string_view target) {
  discard();
  isRemoval_ = true;
  target_ = platform::hostPath(target);
  if (platform::isDirectory(target_)) return kIoNotAFile;
  // The older file has the temporary name until all that it is committed with is in place.
  return platform::nameExists(target_) ? openTemporary() : kIoOk;
}

IoCode Replacement::openTemporary() {
  constexpr std::size_t kLongestFileName = 240;  // with the ending it fits the 255 bytes of a host's name
  const std::size_t fileName = target_.rfind('/') + 1;
  const std::string stem = std::string(cut(target_, fileName + kLongestFileName)) + ".part";
  const platform::InterruptionsHeld held;
  for (int32_t number = 1;; ++number) {
    temporary_ = stem + freeText(number);
    const IoCode code = file_.open(temporary_, platform::Open::create);
    if (code == kIoAlreadyThere) continue;
    if (code == kIoOk) {
      watched_.watch(temporary_);
      (void)file_.copyPermissions(target_);  // a file system without permissions must not fail the output
    } else {
      temporary_.clear();
    }
    return code;
  }
}

TextFile& Replacement::text() {
  if (!text_) text_.emplace(std::move(file_), temporary_);
  return *text_;
}

IoCode Replacement::close() {
  const IoCode flushed = text_ ? text_->flush() : kIoOk;
  const IoCode closed = file().close();
  return flushed != kIoOk ? flushed : closed;
}

IoCode Replacement::putInPlace(bool keepOlder) {
  if (temporary_.empty()) return isRemoval_ ? kIoOk : kIoNotFound;
  if (isRemoval_) {
    const IoCode code = platform::renameFile(target_, temporary_);
    if (code == kIoOk) change_ = Change::removed;
    return code;
  }
  const bool hasOlder = platform::fileExists(target_);  // a directory must not be exchanged
  if (hasOlder && keepOlder && platform::exchangeFiles(temporary_, target_) == kIoOk) {
    change_ = Change::exchanged;
    return kIoOk;
  }
  const IoCode code = platform::renameFile(temporary_, target_);
  if (code != kIoOk) return code;
  change_ = hasOlder ? Change::overwritten : Change::created;
  temporary_.clear();  // from now on another process may use the name
  return kIoOk;
}

void Replacement::putBack() {
  IoCode code = kIoOk;
  if (change_ == Change::exchanged) code = platform::exchangeFiles(temporary_, target_);
  if (change_ == Change::removed) code = platform::renameFile(temporary_, target_);
  if (change_ == Change::created) platform::removeFile(target_);
  if (code != kIoOk) temporary_.clear();  // the older file stays under that name rather than be lost
}

void Replacement::discard() {
  watched_.release();
  if (text_) text_->abandon();
  file_.close();
  text_.reset();
  if (!temporary_.empty()) platform::removeFile(temporary_);
  temporary_.clear();
  isRemoval_ = false;
  change_ = Change::none;
}

IoCode Replacement::commit() {
  Replacement* const self = this;
  return commitTogether({&self, 1});
}

IoCode commitTogether(std::span<Replacement* const> files, const Replacement** failed) {
  IoCode code = kIoOk;
  const auto each = [&](auto&& step) {
    for (std::size_t i = 0; i < files.size() && code == kIoOk; ++i) {
      code = step(*files[i]);
      if (code != kIoOk && failed != nullptr) *failed = files[i];
    }
  };
  each([](Replacement& file) { return file.close(); });
  const platform::InterruptionsHeld held;  // all or none
  each([&](Replacement& file) { return file.putInPlace(files.size() > 1); });
  for (std::size_t i = files.size(); i-- > 0;) {
    if (code != kIoOk) files[i]->putBack();
    files[i]->discard();  // the temporary name now belongs to what is not wanted, if to anything
  }
  return code;
}

}  // namespace terrain
