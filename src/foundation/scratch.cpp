#include "foundation/scratch.h"

#include "foundation/files.h"
#include "foundation/free_format.h"
#include "foundation/interruption.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/units.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "OpenBinaryScratchFile in Utilities";

/// Creates a file to see whether the directory exists and is writable. Two runs may test one directory
/// at once, so the file gets a number if one of its name exists.
IoCode testDirectory(std::string_view path) {
  ScratchSpace& space = scratchSpace();
  space.scratchRoot = std::string(stripped(path));
  for (int32_t trial = 0;; ++trial) {
    const std::string name = space.scratchRoot + "testscratchfile" + (trial == 0 ? "" : freeText(trial));
    platform::File file;
    const IoCode code = file.open(name, platform::Open::create);
    if (code == kIoAlreadyThere) continue;
    if (code == kIoOk) {
      platform::removeFile(name);
      space.scratchReady = true;
      return code;
    }
    const std::string_view cause =
        code == kIoAccessDenied ? "Access denied to ScratchPath " : "ScratchPath not found: ";
    fail(kTag, std::string(cause) + space.scratchRoot);
    return code;
  }
}

}  // namespace

ScratchSpace& scratchSpace() {
  static ScratchSpace space;
  return space;
}

int32_t OpenBinaryScratchFile(const ScratchRequest& request) {
  if (request.unit != nullptr) *request.unit = -1;
  if (request.scratchPath) {
    const IoCode code = testDirectory(*request.scratchPath);
    if (code != kIoOk || (request.unit == nullptr && request.fileName == nullptr)) return code;
  }
  const ScratchSpace& space = scratchSpace();
  if (!space.scratchReady) {
    fail(kTag, "Scratch-file path has not been initialized");
    return kIoNotFound;
  }

  for (int32_t number = 0;; ++number) {
    std::string name = space.scratchRoot + "Scratch" + freeText(number);
    if (platform::fileExists(name) || platform::isDirectory(name)) continue;
    if (request.unit != nullptr) {
      const int32_t unit = freeUnit();
      const platform::InterruptionsHeld held;
      const IoCode code = units().openRecords(unit, name, platform::Open::create, request.recordLength);
      if (code == kIoAlreadyThere) continue;  // another run was quicker
      if (code != kIoOk) {
        reportError({.routine = kTag, .code = kCannotOpenToWrite, .file = name});
        return code;
      }
      units().setTemporary(unit);
      *request.unit = unit;
    }
    if (request.fileName != nullptr) *request.fileName = std::move(name);
    return kIoOk;
  }
}

}  // namespace terrain
