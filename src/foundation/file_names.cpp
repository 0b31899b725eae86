#include "foundation/file_names.h"

#include "foundation/platform.h"
#include "foundation/text.h"

namespace terrain {

namespace {
constexpr std::string_view kSeparators = "\\/";

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
  std::string_view name = stripped(text);
  if (name.size() >= 4 && name[name.size() - 4] == '.') name.remove_suffix(4);
  return std::string(name);
}

std::string completeDirectory(std::string_view text) {
  std::string path(stripped(text));
  if (path.empty()) return path;
  const std::string_view end = std::string_view(path).substr(path.size() < 2 ? 0 : path.size() - 2);
  if (end.find_first_of(kSeparators) == std::string_view::npos)
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
