#pragma once
// Messages: the only ways in which a routine writes to the log and the console. `putMessage`
// writes a line, `reportError` gathers the lines of a report, writes them and, on request, ends
// the run. Messages do not replace the status of an object: a report without a stop lets the
// caller go on. Written from one thread.

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/status.h"

namespace terrain {

/// The writer's state; empty until the first message, bound to the log by `startLogFile`.
struct MessageWriter {
  int32_t messageUnit = 0;     ///< the log's unit, 0 when there is none
  bool echoToConsole = false;  ///< messages go to the console too
  bool showWarnings = false;   ///< warnings are written; off, and nothing in the system turns it on
};
MessageWriter& messages();

/// Where and what `putMessage` writes. Without `text` it only sets where messages go. Of the
/// values the first that is present follows the text after one blank.
struct MessageArgs {
  std::optional<std::string_view> text{};
  std::optional<int32_t> unit{};  ///< becomes the log's unit
  std::optional<bool> echo{};     ///< becomes the echo; a message without log and echo turns echo on
  std::optional<int32_t> intValue{};
  std::optional<int64_t> longValue{};
  std::optional<float> realValue{};     ///< shown with 7 significant digits
  std::optional<double> doubleValue{};  ///< shown with 15 significant digits
};
void putMessage(const MessageArgs& args);

/// A line with one leading blank to the log, flushed at once, and to the console where messages are
/// echoed. A text is cut at 512 characters; a blank one writes an empty line.
void putMessage(std::string_view text);
void putMessage(std::string_view text, int32_t value);
void putMessage(std::string_view text, int64_t value);
void putMessage(std::string_view text, float value);
void putMessage(std::string_view text, double value);

/// A line on the console alone, with one leading blank.
void putConsoleLine(std::string_view text);

/// A line on standard error alone, "WARNING: " and the text: something that the run can go on with, but that
/// its user should know.
void putWarning(std::string_view text);

/// The lines of a report, held until they are printed; empty at the start of a routine. A line
/// longer than 256 characters is cut.
class ErrorList {
 public:
  [[nodiscard]] bool hasLines() const { return !lines_.empty(); }
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }
  void add(std::string_view line);
  void clear() { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
};

/// Standard message codes with a text of their own; any other code adds no line.
inline constexpr int32_t kCannotOpenToRead = 1;
inline constexpr int32_t kCannotOpenToWrite = 2;
inline constexpr int32_t kReadError = 3;
inline constexpr int32_t kWriteError = 4;
inline constexpr int32_t kCannotAllocate = 200;
inline constexpr int32_t kOwnWords = 1000;  ///< the report's own lines explain the error

/// One report. Its lines are added in the order of the members, each only where it is present.
struct Report {
  std::optional<std::string_view> routine{};  ///< "ERROR: " and the name, or "WARNING: "
  std::optional<int32_t> code{};              ///< the message of the code
  std::optional<std::string_view> file{};     ///< "FILE: " and the name
  std::optional<std::string_view> message1{};
  std::optional<std::string_view> message2{};
  std::optional<std::string_view> message3{};
  std::optional<int32_t> line{};           ///< "LINE: " and the number
  std::optional<std::string_view> text{};  ///< with code 200 the name of the array
  bool warning = false;           ///< with `routine`: dropped, list and all, unless warnings are shown
  std::optional<bool> print{};    ///< false keeps the lines for a later report
  std::optional<bool> discard{};  ///< with `print` absent: true empties the list, false keeps it
  bool fatal = false;             ///< ends the run after the report
  bool stop = false;              ///< the same
  std::optional<int32_t> unit{};  ///< a further unit to flush; "RETURN CODE = -1" is added to it at a stop
};

/// Adds the report to `list` and, unless `print` or `discard` say otherwise, prints and empties the list.
/// Gives -1, so that it can end a failing routine: `return reportError(...)`.
int reportError(ErrorList& list, const Report& report);

/// A report of its own, printed at once.
int reportError(const Report& report);

/// A report of one line in the routine's own words.
int fail(std::string_view routine, std::string_view message);

/// A report that there was no memory for `object`.
int cannotAllocate(std::string_view routine, std::string_view object);

/// The lines of the list joined into a text of fewer than `length` characters, with the line ends
/// of `system`: "UNIX" LF, "MAC" CR, any other CR LF. The list stays as it is.
[[nodiscard]] std::string errorText(const ErrorList& list, std::size_t length,
                                    std::string_view system = "PC  ");

/// Writes "PROGRAM ABORTED" and ends the process with exit status 1. Nothing is cleaned up:
/// scratch files and the log stay on the disk.
[[noreturn]] void abortRun();

/// Prints the lines, as a report, and ends the process with exit status 1 and no further line.
[[noreturn]] void endRun(std::initializer_list<std::string> lines);

}  // namespace terrain
