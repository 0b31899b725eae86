#pragma once
// The lines of attribute lists: keywords without colons, borders of blocks, warnings and failures with their
// lines. Internal to the module.

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/attribute_vocabulary.h"
#include "attributes/raster_list.h"
#include "foundation/keyword_check.h"
#include "foundation/keywords.h"

namespace terrain {

inline constexpr std::size_t kOutLength = 10;  ///< of a column's name in a DBF file

namespace list_words {
inline constexpr std::string_view attributes = "ATTRIBUTE LIST|Attribute List";
inline constexpr std::string_view rasters = "RASTER LIST|Raster List|RASTERS|Rasters";
/// Both blocks end at the same words.
inline constexpr std::string_view ends =
    "END LIST|End List|END ATTRIBUTE LIST|End Attribute List|END RASTER LIST|End Raster List|END|End";
inline constexpr std::string_view inRasters = "FILE|CAT LIST|VALUE|END CAT LIST";
}  // namespace list_words

/// Gives a line its keyword where the colon is missing.
void giveListKeyword(LogicalLine& line);

/// The lines of the file, and what is said of them.
class ListLines {
 public:
  explicit ListLines(InputFileType& file) : input(file) { input.Rewind(); }

  /// The next line, with blanks for tabs; false at the end.
  bool next(LogicalLine& line);
  void fail(const LogicalLine& line, std::string_view message, std::string_view why = {});
  void warn(const LogicalLine& line, std::string text);

  /// A keyword that is not known, with the nearest one.
  void warnUnknown(const LogicalLine& line, std::span<const KeywordTexts> known);
  /// The same, where there is one near.
  void warnIfNear(const LogicalLine& line, std::span<const KeywordTexts> known);
  /// True where a block is opened within one that began at a line, which then ends: the line is read again.
  bool opensBlock(const LogicalLine& line, int32_t opener);
  void warnLongName(const LogicalLine& line, const AttributeType& column);
  /// Options that are not known, and values that are not what their option takes.
  void warnOfOptions(const LogicalLine& options, std::span<const Keyword<AttributeType>> table,
                     const AttributeRow& row);
  /// Arguments of an equation that follows, which its reader passes over.
  void warnOfEquation();

  InputFileType& input;
  std::vector<LineWarning> warnings{};
  bool failed = false;

 private:
  void checkLine(const LogicalLine& line);
};

/// Reads a raster block whose opener stands at a line.
void readRasters(ListLines& lines, int32_t opener, std::vector<RasterEntry>& entries);

/// For the reference: the keywords at the top of a list, the arguments of a raster entry, and the words in
/// them.
[[nodiscard]] std::vector<KeywordTexts> topWordTexts();
[[nodiscard]] std::vector<KeywordTexts> rasterWordTexts();
[[nodiscard]] std::vector<std::string_view> rasterModeWords();

}  // namespace terrain
