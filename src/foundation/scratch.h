#pragma once
// Scratch space: the directory for files that live only as long as a run, and the opening of such
// files as "Scratch" and a running number. Naming and creating a file is one step, so several
// runs can share one directory; the names of existing files are skipped.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/text.h"

namespace terrain {

/// The scratch directory: this module's state.
struct ScratchSpace {
  std::string scratchRoot{};  ///< directory with its separator; names are appended to it as they are
  bool scratchReady = false;  ///< a test of the directory has passed
};
ScratchSpace& scratchSpace();

/// What `OpenBinaryScratchFile` is to do. With `scratchPath` it tests and sets the directory;
/// with `unit` it opens a new direct-access file, with only `fileName` it finds the next free name.
struct ScratchRequest {
  int32_t* unit = nullptr;          ///< out: the open unit, -1 on failure
  std::string* fileName = nullptr;  ///< out: the file's name
  std::size_t recordLength = 1;     ///< bytes
  std::optional<std::string_view> scratchPath{};
};

/// 0, or the I/O code of the failure, which has been reported.
int32_t OpenBinaryScratchFile(const ScratchRequest& request);

}  // namespace terrain
