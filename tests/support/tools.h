#pragma once
// Files for tests, and programs that tests run: ours, and other people's tools where they are installed.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "foundation/platform.h"
#include "foundation/scratch.h"

namespace terrain::test {

/// A temporary directory that is the scratch directory while it lives.
class ScratchDir {
 public:
  ScratchDir() {
    std::string name = (std::filesystem::temp_directory_path() / "terrain_XXXXXX").string();
    if (mkdtemp(name.data()) != nullptr) path_ = name + "/";
    OpenBinaryScratchFile({.scratchPath = path_});
  }
  ~ScratchDir() {
    scratchSpace() = before_;
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  /// With its separator.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string path(std::string_view name) const { return path_ + std::string(name); }

 private:
  std::string path_;
  ScratchSpace before_ = scratchSpace();
};

inline std::string readBytes(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
inline void writeBytes(const std::string& name, std::string_view bytes) {
  std::ofstream(name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// While it lives, no file can be written beyond so many bytes: what a full disk is to a program.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uint64_t bytes) {
    platform::prepareProcess();  // a write beyond the limit is an error, not a signal
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

struct Outcome {
  int status = -1;   ///< exit status; 128 and the number for a signal
  std::string text;  ///< what it printed, errors included
};

inline Outcome shell(const std::string& command) {
  Outcome outcome;
  FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return outcome;
  std::array<char, 4096> buffer;
  while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe))
    outcome.text.append(buffer.data(), got);
  const int ended = ::pclose(pipe);
  outcome.status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
  return outcome;
}

inline bool haveTool(const std::string& tool) { return shell("command -v " + tool).status == 0; }

}  // namespace terrain::test
