#pragma once
// What every program of the system does around its work: banner, clock, instruction file, log, end.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/input_file.h"
#include "foundation/units.h"
#include "grid/header.h"

namespace terrain {

/// What a program says of itself in its banner, its log and the headers of its rasters.
struct ProgramIdentity {
  std::string_view name{};
  std::string_view compileDate{};
  std::string_view version{};
};

class Session {
 public:
  /// Prints the banner and starts the clock.
  void start(const ProgramIdentity& program);

  /// Finds the instruction file, from the program's argument or by a prompt, and loads it. A name of one
  /// character stands for the file that is fixed when the program is built, the word "test" for the one that
  /// the pointer file names. Stops the run where a file is missing or cannot be read.
  void findInstructions(const std::optional<std::string>& argument);

  /// Opens the log in the scratch directory, a path that ends in a separator, and tests the directory.
  /// From here on every message goes to the log and to the console. Stops the run where it cannot be used.
  void openLog(const std::string& scratchPath);

  /// Copies the log so far beside a raster that has been written. 0, or -1 with a report.
  int copyLog(const std::string& raster) const;

  /// Ends a run whose output is written: CPU time since `startedAt`, end of the clock, the log beside the
  /// output in place of the one in the scratch directory. A log that could not be copied stays there.
  void finish(const std::string& output, double startedAt);

  /// Closes the log; later messages go to the console alone.
  void closeLog(Closing closing);

  std::string inputName{};       ///< path of the instruction file
  InputFileType instructions{};  ///< held until the inputs are ready
  VersionStamp programInfo{};    ///< for the headers of the rasters that are written

 private:
  ProgramIdentity program_{};
  int32_t logUnit_ = 0;
  std::string startText_{};
  std::string runStamp_{};
};

/// Reports why the run cannot go on, with the file concerned, and ends the process with exit status 1.
[[noreturn]] void stopRun(std::string_view message, const std::optional<std::string>& file = std::nullopt);

}  // namespace terrain
