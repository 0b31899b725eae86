#pragma once
// The readers read files: an input of the fuzzer becomes a file in a folder of its own.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "foundation/platform.h"

namespace terrain::fuzz {

/// A folder that lives as long as the process; the console is silenced with it.
inline const std::string& folder() {
  // Never destroyed: the cleaning up at the end of the process needs it.
  static const std::string& path = *new std::string([] {
    static std::ostringstream silent;
    static std::istringstream empty;
    silent.setstate(std::ios::badbit);  // takes nothing, so it never grows
    platform::console() = {&silent, &empty};
    const auto base = std::filesystem::exists("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                          : std::filesystem::temp_directory_path();
    const auto folder = base / ("terrain_fuzz_" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    });
    return folder.string() + "/";
  }());
  return path;
}

inline std::string writeInput(const std::string& name, const uint8_t* data, std::size_t size) {
  const std::string path = folder() + name;
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  return path;
}

}  // namespace terrain::fuzz
