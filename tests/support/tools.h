#pragma once
// Programs run by the tests: ours, and other people's tools where they are installed.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace terrain::testing {

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

}  // namespace terrain::testing
