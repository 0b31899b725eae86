#include "attributes/attribute_list.h"

#include <algorithm>
#include <set>

#include "attributes/attribute_vocabulary.h"
#include "attributes/column_options.h"
#include "attributes/list_lines.h"
#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/status.h"

namespace terrain {

namespace {

constexpr auto kOptions = columnOptions({});

// ---- keywords at the top ----

using Value = KeywordValue<AttributeList>;
constexpr Keyword<SmoothingWindow> kSmoothingWords[] = {
    {.words = "CHANNEL WIDTHS",
     .value = KeywordValue<SmoothingWindow>::number<&SmoothingWindow::channelWidths>({.least = 0}),
     .failure = "Input file, error reading SMOOTHING WINDOW CHANNEL WIDTHS",
     .meaning = "Length of the window in channel widths."},
    {.words = "MAX PASS|MAXIMUM PASSES|MAX PASSES",
     .value = KeywordValue<SmoothingWindow>::number<&SmoothingWindow::maxPasses>({.least = 0}),
     .failure = "Input file, error reading SMOOTHING WINDOW MAX PASS",
     .meaning = "Passes at most."},
};
constexpr Keyword<AttributeList> kTopWords[] = {
    {.words = "PATH|DATA PATH|DATA DIRECTORY",
     .value = Value::directory<&AttributeList::directory>(),
     .meaning = "Data directory."},
    {.words = "DATA ID|DEM ID",
     .value = Value::text<&AttributeList::dataID>(),
     .meaning = "Identifier of the data."},
    {.words = "DEM FILE|DEM",
     .value = Value::file<&AttributeList::demFile>("raster"),
     .meaning = "Elevations."},
    {.words = "SMOOTHING WINDOW",
     .value = Value::records<kSmoothingWords, &AttributeList::smoothing>(),
     .meaning = "Window that profiles are smoothed over."},
    {.words = "LAKE MASK|INPUT LAKE MASK FILE|LAKE MASK FILE|LAKE FILE",
     .value = Value::file<&AttributeList::lakeMask>("raster"),
     .failure = "Missing lake mask file name",
     .meaning = "Raster of lakes, for the row LAKE."},
    {.words = "CLIPBASIN|CLIP BASIN|INPUT CLIP BASIN POLYGON FILE",
     .value = Value::file<&AttributeList::clipBasin>("shapefile"),
     .meaning = "Polygon; makes an attribute of the name CLIP BASIN, which is not written."},
};

// ---- the reading ----

class Reader {
 public:
  Reader(InputFileType& input, AttributeList& list) : lines_(input), list_(list) {}

  int read() {
    for (LogicalLine line; lines_.next(line);) {
      if (isKeyword(list_words::attributes, line.keyword))
        readAttributes(line.lineNumber);
      else if (isKeyword(list_words::rasters, line.keyword))
        readRasters(lines_, line.lineNumber, list_.rasters);
      else
        readTop(line);
    }
    addNeeded();
    check();
    warnOfNames();
    list_.warnings = std::move(lines_.warnings);
    for (const LineWarning& warning : list_.warnings) putWarning(describe(warning));
    return lines_.failed ? kFailure : kSuccess;
  }

 private:
  void readTop(const LogicalLine& line) {
    const auto* row = findKeyword(kTopWords, line.keyword);
    if (row == nullptr) {
      // Other readers have keywords in the file; only what is nearly one of these is told of.
      if (!isBlank(line.keyword)) lines_.warnIfNear(line, topWordTexts());
      return;
    }
    KeywordInput input{.line = &line, .whereMissing = "Input file, missing argument for keyword "};
    if (row->failure == "Missing lake mask file name") input.whereMissing = {};
    if (row->value.form != ValueForm::record) wholeArgument(line, input);
    if (parseKeyword(*row, list_, input)) return;
    for (const KeywordFailure& failure : input.failures) lines_.fail(line, failure.message, failure.detail);
  }

  // ---- attribute rows ----

  void readAttributes(int32_t opener) {
    for (LogicalLine line; lines_.next(line);) {
      if (isKeyword(list_words::ends, line.keyword)) return;
      if (lines_.opensBlock(line, opener)) return;
      if (line.keyword == "EQUATION")
        readEquationLine(line);
      else if (const AttributeRow* const row = findAttributeRow(line.keyword))
        readRow(*row, line);
      else
        lines_.warnUnknown(line, rowTexts());
    }
    lines_.fail({.lineNumber = opener}, "Error reading attribute list",
                "The block has no END ATTRIBUTE LIST");
  }
  static std::span<const KeywordTexts> rowTexts() {
    static const std::vector<KeywordTexts> texts = [] {
      std::vector<KeywordTexts> made;
      for (const AttributeRow& row : attributeRows()) made.push_back({.words = row.words});
      made.push_back({.words = "EQUATION"});
      made.push_back({.words = list_words::ends});
      return made;
    }();
    return texts;
  }

  void readRow(const AttributeRow& row, const LogicalLine& line) {
    RowReading reading{.keyword = line.keyword};
    LogicalLine options{.lineNumber = line.lineNumber};
    bool hasEquation = false;
    for (const std::string& argument : line.arguments) {
      if (isBlank(argument)) continue;
      const SplitArgument pair = splitArgument(argument);
      const bool lone = isBlank(pair.name);
      const std::string_view name = stripped(lone ? pair.value : pair.name);
      const auto own = std::ranges::find_if(
          row.arguments, [&](const RowArgument& one) { return isKeyword(one.words, name); });
      if (name == "EQUATION")
        hasEquation = true;
      else if (own != row.arguments.end())
        takeArgument(*own, lone ? std::nullopt : std::optional(pair.value), line, reading);
      else
        options.arguments.push_back(argument);
    }
    for (const RowColumn& column : row.columns)
      if (isMade(row, column, reading)) reading.columns.push_back(named(row, column, reading, line));
    applyOptions(row, options, reading);
    if (row.rule != nullptr) row.rule(reading);
    for (const auto& [message, why] : reading.failures) lines_.fail(line, message, why);
    for (AttributeType& column : reading.columns) {
      column.arguments = line.arguments;
      lines_.warnLongName(line, column);
    }
    if (hasEquation && !reading.columns.empty()) readEquationOf(reading.columns.front());
    for (AttributeType& column : reading.columns) {
      firstLines_.push_back(line.lineNumber);
      list_.attributes.push_back(std::move(column));
    }
    forEachWord(row.internal, [&](std::string_view name) {
      if (!name.empty()) needed_.emplace_back(name);
    });
    note(row, line);
  }

  void takeArgument(const RowArgument& argument, const std::optional<std::string>& text,
                    const LogicalLine& line, RowReading& reading) {
    const std::string_view word = nameOfKeyword(argument.words);
    const auto fail = [&](std::string_view value) {
      if (argument.failure.empty())
        lines_.fail(line, "Input file; missing argument for " + std::string(word));
      else if (argument.failure.back() == ' ')
        lines_.fail(line, std::string(argument.failure).append(value));
      else
        lines_.fail(line, argument.failure, value);
    };
    if (argument.kind == ArgumentKind::mark) {
      if (!text || textIsTrue(*text)) reading.given.emplace(word, "");
      return;
    }
    const std::string value = text ? unquotedName(*text).value_or("") : std::string();
    if (argument.kind != ArgumentKind::name && value.empty()) return fail(value);
    float number = 0;
    const std::string stem = stripExtension(value);
    switch (argument.kind) {
      case ArgumentKind::number:
        if (!detail::parseNumber(value, {}, number)) return fail(value);
        break;
      case ArgumentKind::raster:
        if (!rasterExists(stem)) return fail(value);
        break;
      case ArgumentKind::shapefile:
        if (!shapefileExists(stem)) return fail(value);
        break;
      case ArgumentKind::file:
        if (!platform::fileExists(value)) return fail(value);
        break;
      case ArgumentKind::mark:
      case ArgumentKind::name:
      case ArgumentKind::text:
        break;
    }
    reading.given.emplace(word, value);
  }

  static bool isMade(const AttributeRow& row, const RowColumn& column, const RowReading& reading) {
    if (column.when.empty() || reading.has(column.when)) return true;
    const bool anyHolds = std::ranges::any_of(
        row.columns, [&](const RowColumn& one) { return !one.when.empty() && reading.has(one.when); });
    return !anyHolds && isKeyword(row.otherwise, column.name);
  }
  /// A column with the name that its own argument or a suffix gives it.
  AttributeType named(const AttributeRow& row, const RowColumn& column, const RowReading& reading,
                      const LogicalLine& line) {
    AttributeType made = describeColumn(column);
    const std::string_view suffix = reading.text("SUFFIX");
    if (!suffix.empty() && !column.stem.empty()) {
      const std::string name = std::string(column.stem).append(suffix);
      made.outName = std::string_view(name);
      if (column.stem.size() + suffix.size() > kOutLength)
        lines_.warn(line, "the suffix is cut in a DBF file: " + std::string(made.outName.trimmed()));
    }
    forEachWord(column.when, [&](std::string_view word) {
      const bool isName = std::ranges::any_of(row.arguments, [&](const RowArgument& one) {
        return one.kind == ArgumentKind::name && isKeyword(one.words, word);
      });
      if (isName && !reading.text(word).empty()) made.outName = reading.text(word);
    });
    return made;
  }

  /// The options reach all columns of the row, a name only where there is one.
  void applyOptions(const AttributeRow& row, LogicalLine& options, RowReading& reading) {
    lines_.warnOfOptions(options, kOptions, row);
    bool first = true;
    for (AttributeType& column : reading.columns) {
      const FixedText<256> name = column.outName;
      KeywordInput input{.line = &options};
      parseArguments(kOptions, column, input);
      if (first)
        for (const KeywordFailure& failure : input.failures) {
          const bool named = failure.message.ends_with(' ');
          reading.fail(named ? failure.message + std::string(column.name.trimmed()) : failure.message,
                       failure.detail);
        }
      first = false;
      reading.isNamed = column.outName.trimmed() != name.trimmed() || reading.isNamed;
      if (reading.columns.size() > 1) column.outName = name;
      if (column.dataType.padded().front() != 'R') column.decimals = 0;
      if (!column.outFlag) column.shpFlag = column.csvFlag = false;
      if (column.shpFlag) column.nodeFlag = list_.wantsNodes = true;
    }
    if (reading.columns.size() > 1 && reading.isNamed)
      lines_.warn(options, "an output name has no effect in a row of several columns");
  }

  void readEquationLine(const LogicalLine& line) {
    LogicalLine options{.lineNumber = line.lineNumber};
    AttributeType column;
    for (const std::string& argument : line.arguments) {
      const SplitArgument pair = splitArgument(argument);
      if (isBlank(pair.name) && isBlank(column.name.trimmed()) &&
          findKeyword(kOptions, stripped(pair.value)) == nullptr)
        column.name = stripped(pair.value);
      else
        options.arguments.push_back(argument);
    }
    column.outName = cut(column.name.trimmed(), kOutLength);
    RowReading reading{.keyword = line.keyword, .columns = {column}};
    applyOptions({.words = "EQUATION"}, options, reading);
    AttributeType& made = reading.columns.front();
    if (isBlank(made.name.trimmed())) made.name = made.outName;
    if (isBlank(made.name.trimmed()))
      reading.fail("Error reading EQUATION inputs", "The equation has no name");
    for (const auto& [message, why] : reading.failures) lines_.fail(line, message, why);
    made.arguments = line.arguments;
    made.arguments.emplace_back("EQUATION");
    readEquationOf(made);
    firstLines_.push_back(line.lineNumber);
    list_.attributes.push_back(std::move(made));
  }
  void readEquationOf(AttributeType& attribute) {
    lines_.warnOfEquation();
    if (readEquation(lines_.input, attribute, &endsEquation) != kSuccess) lines_.failed = true;
  }
  static bool endsEquation(const LogicalLine& line) {
    LogicalLine copy = line;
    giveListKeyword(copy);
    return isKeyword(list_words::ends, copy.keyword) || isKeyword(list_words::attributes, copy.keyword) ||
           isKeyword(list_words::rasters, copy.keyword) || copy.keyword == "EQUATION" ||
           findAttributeRow(copy.keyword) != nullptr;
  }

  /// Rows that other rows depend on.
  void note(const AttributeRow& row, const LogicalLine& line) {
    rows_.emplace(nameOfKeyword(row.words), line);
    if (isKeyword(row.words, "MEAN ANNUAL PRECIP") &&
        std::ranges::none_of(line.arguments, [](const std::string& argument) {
          return isKeyword("FILE|File", stripped(splitArgument(argument).name));
        }))
      precipitationWithoutFile_ = true;
  }

  // ---- the whole list ----

  [[nodiscard]] bool hasColumn(std::string_view name) const {
    return std::ranges::any_of(list_.attributes,
                               [&](const AttributeType& one) { return one.name.trimmed() == name; });
  }
  void addColumn(std::string_view name) {
    if (hasColumn(name)) return;
    list_.attributes.push_back(describeColumn(*findRowColumn(name)));
    firstLines_.push_back(0);
  }
  /// What rows imply and need, each once, and not written.
  void addNeeded() {
    constexpr std::string_view kFlow = "MEAN ANNUAL FLOW";
    constexpr std::string_view kPrecip = "MEAN ANNUAL PRECIP";
    if (hasColumn("IP") && !hasColumn(kFlow)) {
      putMessage("MEAN ANNUAL FLOW needed for IP, added to attribute list");
      addColumn(kFlow);
    }
    if (hasColumn(kFlow) && !hasColumn(kPrecip)) {
      putMessage("MEAN ANNUAL PRECIP needed for MEAN ANNUAL FLOW, added to attribute list");
      addColumn(kPrecip);
      precipitationWithoutFile_ = true;
    }
    if (hasColumn("MAXDWNGRAD"))
      putMessage("Maximum downstream gradient based on default gradient length scales");
    if (precipitationWithoutFile_) putMessage("WARNING: MEAN ANNUAL PRECIP may need a precip raster");
    for (const std::string& name : needed_) addColumn(name);
    if (list_.clipBasin.empty()) return;
    AttributeType clip;
    clip.name = "CLIP BASIN";
    clip.outName = "CLIP BASIN";
    clip.decimals = 0;
    list_.attributes.push_back(std::move(clip));
    firstLines_.push_back(0);
  }
  void check() {
    if (const auto found = rows_.find("PLAN SUM"); found != rows_.end() && !rows_.contains("PLAN CURVATURE"))
      lines_.fail(found->second, "PLAN SUM requires PLAN CURVATURE");
    if (const auto found = rows_.find("LAKE"); found != rows_.end() && list_.lakeMask.empty())
      lines_.fail(found->second, "Missing lake mask file name");
    for (const int checked : {checkEquations(list_.attributes), checkAzimuths(list_.attributes)})
      if (checked != kSuccess) lines_.failed = true;
  }
  void warnOfNames() {
    std::vector<std::pair<std::string, int32_t>> names;
    bool written = list_.attributes.empty() && list_.rasters.empty();
    for (std::size_t i = 0; i < list_.attributes.size(); ++i) {
      const AttributeType& one = list_.attributes[i];
      if (one.outFlag || firstLines_[i] > 0) names.emplace_back(one.outName.trimmed(), firstLines_[i]);
      written = written || one.outFlag;
    }
    for (const RasterEntry& entry : list_.rasters)
      for (const AttributeType& one : rasterColumns(std::span(&entry, 1))) {
        names.emplace_back(one.outName.trimmed(), entry.line);
        written = written || one.outFlag;
      }
    std::ranges::stable_sort(names, {}, [](const auto& entry) { return entry.first; });
    for (std::size_t i = 1; i < names.size(); ++i)
      if (names[i].first == names[i - 1].first && !names[i].first.empty())
        lines_.warn({.lineNumber = names[i].second}, "two columns have the name " + names[i].first +
                                                         "; the other is of line " +
                                                         std::to_string(names[i - 1].second));
    if (!written) lines_.warn({}, "no column is written: none has OUTFLAG");
  }

  ListLines lines_;
  AttributeList& list_;
  std::vector<int32_t> firstLines_;  ///< of each attribute; 0 for one that no row makes
  std::vector<std::string> needed_;
  std::map<std::string_view, LogicalLine> rows_;  ///< by their first keyword
  bool precipitationWithoutFile_ = false;
};

}  // namespace

std::vector<KeywordTexts> topWordTexts() {
  return textsOf(std::span<const Keyword<AttributeList>>(kTopWords));
}

int ReadList(InputFileType& input, AttributeList& list) {
  list = {};
  return Reader(input, list).read();
}

}  // namespace terrain
