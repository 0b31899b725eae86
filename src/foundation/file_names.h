#pragma once
// File names: directory, name and extension of three letters. "\" and "/" both separate the parts of a
// path; a separator that has to be added is "\" unless the path already uses "/".

#include <string>
#include <string_view>

namespace terrain {

/// Position of the last separator, or npos.
[[nodiscard]] std::size_t lastSeparator(std::string_view path);

/// The directory part, up to but not including the last separator; blank if that is the first
/// character or there is none.
[[nodiscard]] std::string pathOfFile(std::string_view name);

/// The directory part with its separator; blank if there is none.
[[nodiscard]] std::string directoryOf(std::string_view name);

/// The part after the last separator; the whole text if there is none or it is the last character.
[[nodiscard]] std::string fileNameOf(std::string_view path);

/// The part after the last separator, left-adjusted, without its extension.
[[nodiscard]] std::string baseNameOf(std::string_view path);

/// Left-adjusted, trimmed, and without an extension: a dot and three letters at the end. Any other end is
/// part of the name, as in "acc_0.125".
[[nodiscard]] std::string stripExtension(std::string_view text);

/// The left-adjusted, trimmed text with a separator appended unless it ends in one; a blank text stays
/// blank.
[[nodiscard]] std::string completeDirectory(std::string_view text);

/// The text after its first "=", left-adjusted, without its extension.
[[nodiscard]] std::string stripFileName(std::string_view text);

/// True if the name, without its extension, plus ".tif" exists.
[[nodiscard]] bool tifExists(std::string_view name);
/// True if the name with ".flt" and with ".hdr" exist.
[[nodiscard]] bool rasterExists(std::string_view name);
/// True if the name with ".shp", ".dbf" and ".shx" exist.
[[nodiscard]] bool shapefileExists(std::string_view name);

}  // namespace terrain
