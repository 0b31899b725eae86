#include "attributes/raster_list.h"

#include "attributes/column_options.h"
#include "attributes/list_lines.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace terrain {

namespace {

// ---- the words of an entry ----

constexpr auto kOptions = columnOptions({.length = "Error reading field length for raster list",
                                         .decimals = "Error reading deccnt for raster list",
                                         .nodata = "Error reading nodata for raster list",
                                         .name = "Error reading field name raster list"});
constexpr auto kCategoryOptions = columnOptions({.length = "Error reading field length",
                                                 .decimals = "Error reading field decCnt",
                                                 .nodata = "Error reading nodata vlaue for raster list",
                                                 .name = "Error reading field name raster list"});

bool parseField(RasterEntry& entry, KeywordInput& input) { return parseOutName(entry.column, input); }
bool parseTable(RasterEntry& entry, KeywordInput& input) {
  const std::optional<std::string> name = unquotedName(*input.text);
  if (!name) return false;
  entry.table = *name;
  return platform::fileExists(*name) || input.fail("Cannot open " + *name);
}

using Value = KeywordValue<RasterEntry>;
constexpr Keyword<RasterEntry> kWords[] = {
    {.words = "FIELD",
     .value = Value::own<parseField>("name"),
     .failure = "Error reading field name raster list",
     .meaning = "Name of the column."},
    {.words = "MAX VALUE|MAX",
     .value = Value::number<&RasterEntry::maximum>(),
     .failure = "Missing rasterlist argument",
     .meaning = "Larger samples count as this."},
    {.words = "BUFFER|Buffer",
     .value = Value::number<&RasterEntry::buffer>({.least = 0}),
     .failure = "Error reading buffer width for ",
     .meaning = "Distance around the channel that is sampled, m."},
    {.words = "MAX GAP|MAXGAP",
     .value = Value::number<&RasterEntry::maxGap>({.least = 0}),
     .failure = "Error reading MAXGAP",
     .meaning = "Longest gap without data that is passed over, m."},
    {.words = "LAMBDA|DECAY RATE",
     .value = Value::number<&RasterEntry::decay>(),
     .failure = "Error reading LAMBDA for raster table",
     .meaning = "Rate at which a sample loses weight with distance, 1/m."},
    {.words = "TABLE FILE|TABLE NAME",
     .value = Value::own<parseTable>("table"),
     .failure = "Missing rasterlist argument",
     .meaning = "Table of a raster table."},
    {.words = "ATTRIBUTE NAME",
     .value = Value::text<&RasterEntry::field>(),
     .failure = "Missing rasterlist argument",
     .meaning = "Its column."},
    {.words = "INCLUDE AREA",
     .value = Value::flag<&RasterEntry::includeArea>(),
     .meaning = "The sampled area is kept too."},
    {.words = "RASTER TABLE",
     .value = Value::flag<&RasterEntry::isTable>(),
     .meaning = "The cells are record numbers of a table."},
    {.words = "GREATER THAN ZERO",
     .value = Value::flag<&RasterEntry::aboveZero>(),
     .meaning = "Only samples above 0 count."},
    {.words = "LAKE RESET|LakeReset|LAKERESET|Lake Reset",
     .value = Value::flag<&RasterEntry::lakeReset>(),
     .meaning = "The sampling begins anew below a lake."},
    {.words = "EXCLUDE CHANNELS|EXCLUDE",
     .value = Value::flag<&RasterEntry::excludeChannels>(),
     .meaning = "Channel cells are left out."},
    {.words = "EUCLIDEAN|STRAIGHTLINE",
     .value = Value::flag<&RasterEntry::isEuclidean>(),
     .meaning = "Distances are straight, not along the flow."},
};

/// Words that are found anywhere in an argument without a value.
struct ModeWord {
  std::string_view word;
  bool RasterEntry::*flag = nullptr;
  SampleZone zone = SampleZone::none;
  SampleStatistic statistic = SampleStatistic::none;
};
constexpr ModeWord kModes[] = {
    {"CATEGOR", &RasterEntry::isCategorical},
    {"CONTRIB", nullptr, SampleZone::contributing},
    {"DOWNSTREAM", nullptr, SampleZone::downstream},
    {"LOCAL", nullptr, SampleZone::local},
    {"RIGHT", nullptr, SampleZone::right},
    {"LEFT", nullptr, SampleZone::left},
    {"BOTH", nullptr, SampleZone::both},
    {"MEAN", nullptr, SampleZone::none, SampleStatistic::mean},
    {"SUM", nullptr, SampleZone::none, SampleStatistic::sum},
    {"PROP", nullptr, SampleZone::none, SampleStatistic::proportion},
    {"MAX", nullptr, SampleZone::none, SampleStatistic::maximum},
    {"PER AREA", &RasterEntry::perArea},
    {"NOBUF", &RasterEntry::noBuffer},
    {"LAKE RESET", &RasterEntry::lakeReset},
    {"ADD CHANNEL WIDTH", &RasterEntry::addChannelWidth},
    {"EXCLUDE", &RasterEntry::excludeChannels},
    {"EUCLIDEAN", &RasterEntry::isEuclidean},
    {"STRAIGHT", &RasterEntry::isEuclidean},
    {"RASTERTABLE", &RasterEntry::isTable},
    {"GREATER THAN ZERO", &RasterEntry::aboveZero},
    {"DO NODES", &RasterEntry::byNode},
};

class RasterReader {
 public:
  RasterReader(ListLines& lines, std::vector<RasterEntry>& entries) : lines_(lines), entries_(entries) {}

  void read(int32_t opener) {
    LogicalLine line;
    while (lines_.next(line)) {
      if (isKeyword(list_words::ends, line.keyword)) return;
      if (lines_.opensBlock(line, opener)) return;
      if (line.keyword == "CAT LIST") {
        if (!readCategories(line)) return;
      } else if (line.keyword == "FILE") {
        readEntry(line);
      } else {
        if (!isBlank(line.keyword))
          lines_.warnUnknown(line, std::vector<KeywordTexts>{{.words = list_words::inRasters}});
        lines_.fail(line, "FILE keyword must follow the RASTER LIST keyword");
        return skipBlock();
      }
    }
    lines_.fail({.lineNumber = opener}, "Missing rasterlist argument", "The block has no END RASTER LIST");
  }

 private:
  void skipBlock() {
    for (LogicalLine line; lines_.next(line);) {
      if (isKeyword(list_words::ends, line.keyword)) return;
      if (isKeyword(list_words::attributes, line.keyword) || isKeyword(list_words::rasters, line.keyword)) {
        lines_.input.StepBack();
        return;
      }
    }
  }

  void readEntry(const LogicalLine& line) {
    RasterEntry& entry = entries_.emplace_back();
    entry.line = line.lineNumber;
    if (line.arguments.empty() || !unquotedName(line.arguments.front()))
      return lines_.fail(line, "Missing rasterlist argument");
    entry.file = stripExtension(*unquotedName(line.arguments.front()));
    if (!rasterExists(entry.file)) lines_.fail(line, "Cannot find flt raster " + entry.file);
    LogicalLine options{.lineNumber = line.lineNumber};
    for (std::size_t i = 1; i < line.arguments.size(); ++i)
      takeArgument(line, line.arguments[i], entry, options);
    applyOptions(line, options, kOptions, entry.column);
    entry.column.arguments = line.arguments;
    entry.column.name = entry.column.outName;
    lines_.warnLongName(line, entry.column);
    entry.isTable = entry.isTable || !entry.table.empty();
    if (entry.isTable && entry.table.empty())
      lines_.fail(line, "Cannot open ", "A raster table has a TABLE FILE");
    if (entry.isTable && entry.field.empty())
      lines_.fail(line, "Missing rasterlist argument", "A raster table has an ATTRIBUTE NAME");
    if (isBlank(entry.column.outName.trimmed()) && !categoriesFollow())
      lines_.fail(line, "Missing rasterList field name");
  }
  /// True if the next line opens a list of categories.
  bool categoriesFollow() {
    LogicalLine line;
    const int32_t position = lines_.input.CurrentLine();
    const bool is = lines_.input.GetLine(line) == kSuccess;
    giveListKeyword(line);
    lines_.input.ReturnTo(position);
    return is && stripped(line.keyword) == "CAT LIST";
  }

  void takeArgument(const LogicalLine& line, const std::string& argument, RasterEntry& entry,
                    LogicalLine& options) {
    if (isBlank(argument)) return;
    KeywordInput input{.line = &line};
    const Keyword<RasterEntry>* const row = findArgument(kWords, argument, input);
    const bool isLone = isBlank(splitArgument(argument).name);
    if (row != nullptr && !(isLone && row->value.takes == TakesValue::always)) {
      if (parseKeyword(*row, entry, input)) return;
      for (const KeywordFailure& failure : input.failures)
        lines_.fail(line, failure.message.ends_with(' ') ? failure.message + entry.file : failure.message,
                    failure.detail);
      return;
    }
    if (isLone && takeModes(line, argument, entry)) return;
    options.arguments.push_back(argument);
  }
  /// True if the argument holds a mode word.
  bool takeModes(const LogicalLine& line, std::string_view argument, RasterEntry& entry) {
    bool found = false;
    const auto set = [&](auto& member, auto value, auto none) {
      if (value == none) return;
      if (member != none && member != value)
        lines_.fail(line, "Missing rasterlist argument",
                    "Two words of one kind, the second in " + std::string(argument));
      member = value;
    };
    for (const ModeWord& mode : kModes) {
      if (argument.find(mode.word) == std::string_view::npos) continue;
      found = true;
      if (mode.flag != nullptr) entry.*mode.flag = true;
      set(entry.zone, mode.zone, SampleZone::none);
      set(entry.statistic, mode.statistic, SampleStatistic::none);
    }
    if (found) return true;
    std::string upper(argument);
    for (char& c : upper)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (upper == argument) return false;
    for (const ModeWord& mode : kModes)
      if (upper.find(mode.word) != std::string::npos && findKeyword(kOptions, argument) == nullptr) {
        lines_.warn(line,
                    '"' + std::string(argument) + "\" has no effect: the word is " + std::string(mode.word));
        return true;
      }
    return false;
  }

  void applyOptions(const LogicalLine& line, const LogicalLine& options,
                    std::span<const Keyword<AttributeType>> table, AttributeType& column) {
    AttributeRow row{.words = "FILE"};
    for (const Keyword<RasterEntry>& one : kWords) row.arguments.push_back({.words = one.words});
    lines_.warnOfOptions(options, table, row);
    KeywordInput input{.line = &options};
    parseArguments(table, column, input);
    for (const KeywordFailure& failure : input.failures) lines_.fail(line, failure.message, failure.detail);
    if (column.dataType.padded().front() != 'R') column.decimals = 0;
    if (!column.outFlag) column.shpFlag = column.csvFlag = false;
    if (column.shpFlag) column.nodeFlag = true;
  }

  /// The categories of the last entry. False if the block has ended with them.
  bool readCategories(const LogicalLine& opener) {
    if (entries_.empty()) {
      lines_.fail(opener, "Error reading CAT LIST", "It stands before the first FILE");
      entries_.emplace_back();
    }
    RasterEntry& entry = entries_.back();
    entry.isCategorical = true;
    int32_t count = 0;
    const bool hasCount = !opener.arguments.empty() && !isBlank(opener.arguments.front());
    if (hasCount && !detail::parseNumber(splitArgument(opener.arguments.front()).value, {.least = 0}, count))
      lines_.fail(opener, "Error reading number of categories in " + entry.file);
    for (LogicalLine line; lines_.next(line);) {
      if (line.keyword == "END CAT LIST") {
        if (hasCount && count != std::ssize(entry.categories))
          lines_.fail(opener, "Error reading number of categories in " + entry.file,
                      "There are " + std::to_string(entry.categories.size()));
        return true;
      }
      if (line.keyword == "VALUE") {
        readCategory(line, entry);
        continue;
      }
      const bool ends = isKeyword(list_words::ends, line.keyword);
      lines_.fail(line, "Error reading CAT LIST", ends ? "END CAT LIST is missing" : "VALUE is expected");
      if (ends) return false;
    }
    lines_.fail(opener, "Error reading CAT LIST", "END CAT LIST is missing");
    return false;
  }
  void readCategory(const LogicalLine& line, RasterEntry& entry) {
    RasterCategory& category = entry.categories.emplace_back();
    category.column = entry.column;  // its format, unless the line has its own
    category.column.outName = std::string_view();
    LogicalLine options{.lineNumber = line.lineNumber};
    if (line.arguments.empty() ||
        !detail::parseNumber(splitArgument(line.arguments.front()).value, {}, category.value))
      lines_.fail(line, "Error reading category value for rasterList");
    for (std::size_t i = 1; i < line.arguments.size(); ++i) {
      const SplitArgument pair = splitArgument(line.arguments[i]);
      options.arguments.push_back(stripped(pair.name) == "FIELD" ? "OUTPUT FIELD = " + pair.value
                                                                 : line.arguments[i]);
    }
    applyOptions(line, options, kCategoryOptions, category.column);
    category.column.name = category.column.outName;
    category.column.arguments = line.arguments;
    lines_.warnLongName(line, category.column);
    if (isBlank(category.column.outName.trimmed())) lines_.fail(line, "Missing rasterList field name");
  }

  ListLines& lines_;
  std::vector<RasterEntry>& entries_;
};

}  // namespace

void readRasters(ListLines& lines, int32_t opener, std::vector<RasterEntry>& entries) {
  RasterReader(lines, entries).read(opener);
}

std::vector<KeywordTexts> rasterWordTexts() { return textsOf(std::span<const Keyword<RasterEntry>>(kWords)); }

std::vector<std::string_view> rasterModeWords() {
  std::vector<std::string_view> words;
  for (const ModeWord& mode : kModes) words.push_back(mode.word);
  return words;
}

std::vector<AttributeType> rasterColumns(std::span<const RasterEntry> entries) {
  std::vector<AttributeType> columns;
  for (const RasterEntry& entry : entries) {
    if (!isBlank(entry.column.outName.trimmed())) columns.push_back(entry.column);
    for (const RasterCategory& category : entry.categories) columns.push_back(category.column);
  }
  return columns;
}

}  // namespace terrain
