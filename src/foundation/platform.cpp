#include "foundation/platform.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <limits>

#include "foundation/text.h"

namespace terrain {

namespace {

IoCode codeOf(int error) {
  switch (error) {
    case 0:
      return kIoOk;
    case EACCES:
    case EPERM:
    case EROFS:
      return kIoAccessDenied;
    case ENOENT:
    case ENOTDIR:
      return kIoNotFound;
    case EISDIR:
      return kIoNotAFile;
    case EEXIST:
      return kIoAlreadyThere;
    default:
      return kIoHost + error;
  }
}

}  // namespace

std::string describe(IoCode code) {
  switch (code) {
    case kIoOk:
      return "no error";
    case kIoAccessDenied:
      return "access denied";
    case kIoNotFound:
      return "no such file or directory";
    case kIoPastEnd:
      return "the file ends too early";
    case kIoNotAFile:
      return "not a regular file";
    case kIoAlreadyThere:
      return "the file exists already";
    case kIoNoMemory:
      return "not enough memory";
    case kIoBadName:
      return "the file name holds a NUL character";
    default:
      return std::strerror(code - kIoHost);
  }
}

namespace platform {

namespace {

/// A name as the host's functions receive it. They end a name at its first NUL, and would so reach
/// another file.
bool reachesHost(const std::string& path) { return path.find('\0') == std::string::npos; }

IoCode lookUp(std::string_view name, struct stat& about) {
  const std::string path = hostPath(name);
  if (!reachesHost(path)) return kIoBadName;
  return ::stat(path.c_str(), &about) == 0 ? kIoOk : codeOf(errno);
}

/// The same without following a link.
IoCode lookUpLink(std::string_view name, struct stat& about) {
  const std::string path = hostPath(name);
  if (!reachesHost(path)) return kIoBadName;
  return ::lstat(path.c_str(), &about) == 0 ? kIoOk : codeOf(errno);
}

std::string directoryPath(std::string_view name) {
  std::string path = hostPath(name);
  return path.empty() ? std::string(".") : path;
}

}  // namespace

std::string hostPath(std::string_view name) {
  std::string path(stripped(name));
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
  }
  return *this;
}

IoCode File::open(std::string_view name, Open how) {
  close();
  const std::string path = hostPath(name);
  if (!reachesHost(path)) return kIoBadName;
  int flags = O_CLOEXEC;
  switch (how) {
    // O_NONBLOCK: a pipe without a writer must not hold the run; it is refused below.
    case Open::read:
      flags |= O_RDONLY | O_NONBLOCK;
      break;
    case Open::update:
      flags |= O_RDWR;
      break;
    case Open::replace:
      flags |= O_RDWR | O_CREAT | O_TRUNC;
      break;
    case Open::anew:
      ::unlink(path.c_str());
      flags |= O_RDWR | O_CREAT | O_TRUNC;
      break;
    case Open::create:
      flags |= O_RDWR | O_CREAT | O_EXCL;
      break;
  }
  descriptor_ = ::open(path.c_str(), flags, 0666);
  if (descriptor_ < 0) return codeOf(errno);
  struct stat about {};
  if (::fstat(descriptor_, &about) != 0) {
    const int error = errno;
    close();
    return codeOf(error);
  }
  const bool reading = how == Open::read || how == Open::update;
  if (S_ISDIR(about.st_mode) || (reading && !S_ISREG(about.st_mode))) {
    close();
    return kIoNotAFile;
  }
  return kIoOk;
}

IoCode File::readAt(std::uint64_t offset, std::span<std::byte> bytes, std::size_t& got) const {
  got = 0;
  while (got < bytes.size()) {
    const ssize_t count =
        ::pread(descriptor_, bytes.data() + got, bytes.size() - got, static_cast<off_t>(offset + got));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return codeOf(errno);
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  return kIoOk;
}

IoCode File::readAt(std::uint64_t offset, std::span<std::byte> bytes) const {
  std::size_t got = 0;
  const IoCode code = readAt(offset, bytes, got);
  if (code != kIoOk) return code;
  return got == bytes.size() ? kIoOk : kIoPastEnd;
}

IoCode File::writeAt(std::uint64_t offset, std::span<const std::byte> bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count =
        ::pwrite(descriptor_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return codeOf(errno);
    if (count == 0) return codeOf(ENOSPC);
    done += static_cast<std::size_t>(count);
  }
  return kIoOk;
}

std::uint64_t File::size() const {
  struct stat about {};
  return ::fstat(descriptor_, &about) == 0 ? static_cast<std::uint64_t>(about.st_size) : 0;
}

IoCode File::reserve(std::uint64_t bytes) const {
  if (bytes == 0) return kIoOk;
  // Not posix_fallocate, which writes every block on file systems that cannot allocate.
  if (::fallocate(descriptor_, 0, 0, static_cast<off_t>(bytes)) == 0) return kIoOk;
  return errno == EOPNOTSUPP || errno == ENODEV || errno == ENOSYS || errno == ESPIPE ? kIoOk : codeOf(errno);
}

bool File::isNamed(std::string_view name) const {
  struct stat own {};
  struct stat named {};
  return ::fstat(descriptor_, &own) == 0 && lookUp(name, named) == kIoOk && own.st_dev == named.st_dev &&
         own.st_ino == named.st_ino;
}

IoCode File::copyPermissions(std::string_view name) const {
  struct stat about {};
  const IoCode code = lookUp(name, about);
  if (code != kIoOk) return code;
  return ::fchmod(descriptor_, about.st_mode & 0777) == 0 ? kIoOk : codeOf(errno);
}

IoCode File::close() {
  if (descriptor_ < 0) return kIoOk;
  return ::close(std::exchange(descriptor_, -1)) == 0 ? kIoOk : codeOf(errno);
}

bool fileExists(std::string_view name) {
  struct stat about {};
  return lookUp(name, about) == kIoOk && !S_ISDIR(about.st_mode);
}

bool nameExists(std::string_view name) {
  struct stat about {};
  return lookUpLink(name, about) == kIoOk;
}

bool isDirectory(std::string_view name) {
  struct stat about {};
  return lookUp(name, about) == kIoOk && S_ISDIR(about.st_mode);
}

bool isWritableDirectory(std::string_view name) {
  const std::string path = directoryPath(name);
  return isDirectory(path) && ::access(path.c_str(), W_OK | X_OK) == 0;
}

bool sameFile(std::string_view a, std::string_view b) {
  struct stat first {};
  struct stat second {};
  return lookUp(a, first) == kIoOk && lookUp(b, second) == kIoOk && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

std::uint64_t freeSpace(std::string_view directory) {
  struct statvfs about {};
  const std::string path = directoryPath(directory);
  if (!reachesHost(path) || ::statvfs(path.c_str(), &about) != 0)
    return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(about.f_bavail) * about.f_frsize;
}

IoCode removeFile(std::string_view name) {
  const std::string path = hostPath(name);
  if (!reachesHost(path)) return kIoBadName;
  return ::unlink(path.c_str()) == 0 || errno == ENOENT ? kIoOk : codeOf(errno);
}

IoCode followLinks(std::string_view name, std::string& path) {
  constexpr int kLongestChain = 40;  // as many as the host itself follows
  path = hostPath(name);
  if (!reachesHost(path)) return kIoBadName;
  for (int links = 0; links < kLongestChain; ++links) {
    std::array<char, 4096> target{};
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return errno == EINVAL || errno == ENOENT ? kIoOk : codeOf(errno);
    const std::string_view next(target.data(), static_cast<std::size_t>(length));
    // A relative link starts from the directory that holds it.
    const std::size_t directory = next.starts_with('/') ? 0 : path.rfind('/') + 1;
    path.resize(directory);
    path += next;
  }
  return codeOf(ELOOP);
}

IoCode canReplace(std::string_view name) {
  std::string path;
  const IoCode followed = followLinks(name, path);
  if (followed != kIoOk) return followed;
  const std::size_t separator = path.rfind('/');
  const std::string directory = separator == std::string::npos ? "." : path.substr(0, separator + 1);
  struct stat around {};
  const IoCode looked = lookUp(directory, around);
  if (looked != kIoOk) return looked;
  if (::access(directory.c_str(), W_OK | X_OK) != 0) return codeOf(errno);
  struct stat about {};
  const IoCode code = lookUpLink(path, about);
  if (code != kIoOk) return code == kIoNotFound ? kIoOk : code;
  if (!S_ISREG(about.st_mode)) return kIoNotAFile;
  if (::access(path.c_str(), W_OK) != 0) return codeOf(errno);
  // In a shared directory such as /tmp a file can be replaced by its owner only.
  const uid_t user = ::geteuid();
  const bool shared = (around.st_mode & S_ISVTX) != 0;
  return shared && user != 0 && user != about.st_uid && user != around.st_uid ? kIoAccessDenied : kIoOk;
}

IoCode renameFile(std::string_view from, std::string_view to) {
  const std::string older = hostPath(from);
  const std::string newer = hostPath(to);
  if (!reachesHost(older) || !reachesHost(newer)) return kIoBadName;
  return ::rename(older.c_str(), newer.c_str()) == 0 ? kIoOk : codeOf(errno);
}

IoCode exchangeFiles(std::string_view a, std::string_view b) {
  const std::string first = hostPath(a);
  const std::string second = hostPath(b);
  if (!reachesHost(first) || !reachesHost(second)) return kIoBadName;
  const int failed = ::renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE);
  return failed == 0 ? kIoOk : codeOf(errno);
}

namespace {

/// The number after `word` in one of the host's short text files, or nothing.
bool numberIn(const char* path, std::string_view word, std::uint64_t& value) {
  File file;
  if (file.open(path, Open::read) != kIoOk) return false;
  std::array<std::byte, 8192> bytes{};
  std::size_t got = 0;
  if (file.readAt(0, bytes, got) != kIoOk) return false;
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), got);
  std::size_t at = text.find(word);
  if (at == std::string_view::npos) return false;
  at = text.find_first_not_of(" \t", at + word.size());
  if (at == std::string_view::npos) return false;
  return std::from_chars(text.data() + at, text.data() + text.size(), value).ec == std::errc{};
}

}  // namespace

std::uint64_t availableMemory() {
  std::uint64_t available = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t kibibytes = 0;
  if (numberIn("/proc/meminfo", "MemAvailable:", kibibytes)) available = kibibytes * 1024;
  // A container may allow less than the machine has; file pages that it can drop count as free.
  std::uint64_t limit = 0;
  std::uint64_t used = 0;
  std::uint64_t droppable = 0;
  if (numberIn("/sys/fs/cgroup/memory.max", "", limit) &&
      numberIn("/sys/fs/cgroup/memory.current", "", used)) {
    if (numberIn("/sys/fs/cgroup/memory.stat", "\ninactive_file", droppable))
      used -= std::min(used, droppable);
    available = std::min(available, limit > used ? limit - used : 0);
  }
  return available;
}

bool hasAddressSpace(std::uint64_t bytes) {
  if (bytes > static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) return false;
  const auto length = static_cast<std::size_t>(bytes);
  void* const block = ::mmap(nullptr, length, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (block == MAP_FAILED) return false;
  ::munmap(block, length);
  return true;
}

Console& console() {
  static Console streams{&std::cout, &std::cin, &std::cerr};
  return streams;
}

namespace {

DateTime hostNow() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto sinceEpoch =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return {.year = local.tm_year + 1900,
          .month = local.tm_mon + 1,
          .day = local.tm_mday,
          .zoneMinutes = static_cast<int32_t>(local.tm_gmtoff / 60),
          .hour = local.tm_hour,
          .minute = local.tm_min,
          .second = local.tm_sec,
          .millisecond = static_cast<int32_t>(sinceEpoch % 1000)};
}

}  // namespace

Clock& clock() {
  static Clock source{&hostNow};
  return source;
}

bool errorsAreOnTerminal() { return ::isatty(STDERR_FILENO) != 0; }

double cpuSeconds() {
  std::timespec used{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

namespace {

bool outputAndErrorsAreOneFile() {
  struct stat output {};
  struct stat errors {};
  return ::fstat(STDOUT_FILENO, &output) == 0 && ::fstat(STDERR_FILENO, &errors) == 0 &&
         output.st_dev == errors.st_dev && output.st_ino == errors.st_ino;
}

}  // namespace

void prepareProcess() {
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  console().repeatErrors = ::isatty(STDOUT_FILENO) == 0 && !outputAndErrorsAreOneFile();
}

void endProcess(int status) {
  console().out->flush();
  std::exit(status);
}

}  // namespace platform
}  // namespace terrain
