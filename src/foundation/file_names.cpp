#include "foundation/file_names.h"

#include <algorithm>

#include "foundation/platform.h"
#include "foundation/text.h"

namespace terrain {

namespace {
constexpr std::string_view kSeparators = "\\/";

constexpr bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool exists(std::string_view name, std::string_view extension) {
  return platform::fileExists(std::string(stripped(name)).append(extension));
}
}  // namespace

std::size_t lastSeparator(std::string_view path) { return trimmed(path).find_last_of(kSeparators); }

std::string pathOfFile(std::string_view name) {
  const std::size_t at = lastSeparator(name);
  return at == std::string_view::npos ? std::string() : std::string(name.substr(0, at));
}

std::string directoryOf(std::string_view name) {
  const std::size_t at = lastSeparator(name);
  return at == std::string_view::npos ? std::string() : std::string(name.substr(0, at + 1));
}

std::string fileNameOf(std::string_view path) {
  const std::string_view text = trimmed(path);
  const std::size_t at = lastSeparator(text);
  return std::string(at == std::string_view::npos || at + 1 == text.size() ? text : text.substr(at + 1));
}

std::string baseNameOf(std::string_view path) { return stripExtension(fileNameOf(leftAdjusted(path))); }

std::string stripExtension(std::string_view text) {
  constexpr std::size_t length = 4;
  std::string_view name = stripped(text);
  const std::string_view end = name.substr(name.size() - std::min(length, name.size()));
  if (end.size() == length && end.front() == '.' && std::ranges::all_of(end.substr(1), isLetter))
    name.remove_suffix(length);
  return std::string(name);
}

std::string completeDirectory(std::string_view text) {
  std::string path(stripped(text));
  if (!path.empty() && kSeparators.find(path.back()) == std::string_view::npos)
    path += path.find('/') == std::string::npos ? '\\' : '/';
  return path;
}

std::string stripFileName(std::string_view text) {
  const std::size_t equals = text.find('=');
  return stripExtension(equals == std::string_view::npos ? text : text.substr(equals + 1));
}

bool tifExists(std::string_view name) { return exists(stripExtension(name), ".tif"); }

bool rasterExists(std::string_view name) { return exists(name, ".flt") && exists(name, ".hdr"); }

bool shapefileExists(std::string_view name) {
  return exists(name, ".shp") && exists(name, ".dbf") && exists(name, ".shx");
}

}  // namespace terrain
