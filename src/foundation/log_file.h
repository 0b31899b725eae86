#pragma once
// The log of a run: identity of the program, a copy of the instruction file, then every message.
// It is written in the scratch directory and copied beside each raster that is saved.

#include <cstdint>
#include <optional>
#include <string_view>

namespace terrain {

/// What the head of a log says of the program.
struct LogIdentity {
  std::string_view programName{};
  std::optional<std::string_view> startText{};
  std::optional<std::string_view> version{};
  std::optional<std::string_view> compileDate{};
};

/// Opens the log `logName`, writes its head with a copy of the file `inputName`, and sends all later
/// messages to it and to the console. `unit` is its unit, or 0 after a reported failure, with which
/// a run goes on writing to the console alone.
void startLogFile(int32_t& unit, std::string_view logName, std::string_view inputName,
                  const LogIdentity& identity);

/// Copies the log so far to `newName`; the log goes on after it. With `otherLog` that file's lines
/// follow. 0, or -1 with a report and an older file of the name as it was.
int CopyLogFile(int32_t unit, std::string_view newName,
                std::optional<std::string_view> otherLog = std::nullopt);

}  // namespace terrain
