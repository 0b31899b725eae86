#pragma once
// The operating system: files, console, clock, memory and the end of the process. Everything else
// speaks of names, offsets and I/O codes; only interruption.h deals with the system beside this module.

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace terrain {

/// Result of a file operation: 0 for success, one of the codes below, or 1000 plus the host's number.
using IoCode = int32_t;
inline constexpr IoCode kIoOk = 0;
inline constexpr IoCode kIoAccessDenied = 9;   ///< no right to read or write there
inline constexpr IoCode kIoNotFound = 29;      ///< no such file or directory
inline constexpr IoCode kIoPastEnd = 36;       ///< a record that is not, or not wholly, in the file
inline constexpr IoCode kIoNotAFile = 43;      ///< a directory or a device where a file is expected
inline constexpr IoCode kIoAlreadyThere = 10;  ///< a new file was wanted and the name is taken
inline constexpr IoCode kIoNoMemory = 41;      ///< no memory for what the transfer needs
inline constexpr IoCode kIoBadName = 44;       ///< a file name with a NUL character
inline constexpr IoCode kIoHost = 1000;

/// What an I/O code means, in words.
std::string describe(IoCode code);

namespace platform {

/// A file name as the host writes it: blanks at both ends dropped, "\" and "/" both separators.
std::string hostPath(std::string_view name);

enum class Open {
  read,     ///< an existing file, to read
  update,   ///< an existing file, to read and write
  replace,  ///< a new file, or an existing one emptied, to read and write
  anew,     ///< a new file under the name; an existing one loses its name first
  create,   ///< a new file that must not exist yet
};

/// An open file. Offsets and sizes are 64-bit; nothing is buffered here. `size` and `writeAt` may be called
/// from a signal handler.
class File {
 public:
  File() = default;
  ~File() { close(); }
  File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  File& operator=(File&& other) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// Opens `name`; reading needs a regular file. A file that was open is closed first.
  [[nodiscard]] IoCode open(std::string_view name, Open how);
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  /// Reads until `bytes` is full or the file ends; `got` says how much came.
  [[nodiscard]] IoCode readAt(std::uint64_t offset, std::span<std::byte> bytes, std::size_t& got) const;
  /// Reads exactly `bytes`; kIoPastEnd where the file ends before.
  [[nodiscard]] IoCode readAt(std::uint64_t offset, std::span<std::byte> bytes) const;
  [[nodiscard]] IoCode writeAt(std::uint64_t offset, std::span<const std::byte> bytes) const;
  [[nodiscard]] std::uint64_t size() const;
  /// Allocates disk space for `bytes` from the start, so that a full disk shows now. Succeeds without
  /// it where the file system cannot.
  [[nodiscard]] IoCode reserve(std::uint64_t bytes) const;
  /// True if `name` still leads to this very file.
  [[nodiscard]] bool isNamed(std::string_view name) const;
  /// Gives this file the permission bits of the file `name`.
  [[nodiscard]] IoCode copyPermissions(std::string_view name) const;
  IoCode close();

 private:
  int descriptor_ = -1;
};

[[nodiscard]] bool fileExists(std::string_view name);
/// True if anything has the name, be it a link that leads nowhere.
[[nodiscard]] bool nameExists(std::string_view name);
[[nodiscard]] bool isDirectory(std::string_view name);
/// True if files can be made in the directory; a blank name is the current directory.
[[nodiscard]] bool isWritableDirectory(std::string_view name);
/// True if both names lead to one existing file.
[[nodiscard]] bool sameFile(std::string_view a, std::string_view b);
/// Bytes that can still be written in the directory; the largest number where that is unknown.
[[nodiscard]] std::uint64_t freeSpace(std::string_view directory);
/// Removes a file; a name that is not there is no fault.
IoCode removeFile(std::string_view name);

/// The name at the end of a chain of symbolic links, whether or not a file has it; a name that is no
/// link is its own end. kIoHost + ELOOP for a chain without an end.
[[nodiscard]] IoCode followLinks(std::string_view name, std::string& path);
/// Whether a new file may replace `name`, to be asked before the work that fills it: the directory exists
/// and is writable, and what already has the name is a regular file that this user may write and
/// replace. kIoOk, kIoNotFound, kIoAccessDenied or kIoNotAFile.
[[nodiscard]] IoCode canReplace(std::string_view name);
/// Gives the file `from` the name `to`, in one step; a file of that name is gone.
[[nodiscard]] IoCode renameFile(std::string_view from, std::string_view to);
/// Two files of one directory change names, in one step. Not every file system can.
[[nodiscard]] IoCode exchangeFiles(std::string_view a, std::string_view b);

/// Bytes that this process could still use without driving the machine out of memory.
[[nodiscard]] std::uint64_t availableMemory();

/// True if the address space of the process, which may be limited, has room for so many bytes more.
[[nodiscard]] bool hasAddressSpace(std::uint64_t bytes);

/// Where console text goes and comes from.
struct Console {
  std::ostream* out;
  std::istream* in;
  std::ostream* errors;       ///< warnings
  bool repeatErrors = false;  ///< errors go there as well as to `out`
};
Console& console();

struct DateTime {
  int32_t year = 0, month = 1, day = 1;
  int32_t zoneMinutes = 0;  ///< difference to universal time
  int32_t hour = 0, minute = 0, second = 0, millisecond = 0;
};

/// The clock of the run; tests put their own function there.
struct Clock {
  DateTime (*now)();
};
Clock& clock();

/// True if someone may read standard error as it is written.
[[nodiscard]] bool errorsAreOnTerminal();

/// CPU seconds that the process has used.
[[nodiscard]] double cpuSeconds();

/// Makes file faults come back as I/O codes: a full or limited disk must not end the process. Errors are
/// repeated on standard error where standard output is neither a terminal nor the same file.
void prepareProcess();

/// Ends the process with an exit status; what was written to units and console is flushed.
[[noreturn]] void endProcess(int status);

}  // namespace platform
}  // namespace terrain
