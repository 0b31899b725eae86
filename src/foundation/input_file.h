#pragma once
// The input-file object: a text file in memory, handed out one logical line at a time, split into a
// keyword and arguments. Every keyword reader walks one; the same object can be filled line by line
// and saved.
//
// A logical line is `keyword: argument, argument # comment`; every part may be missing. Blank lines
// and lines that begin with the comment mark are skipped. The keyword is the text before the first
// ":", unless an "=" comes before that. A quote that opens before the next delimiter hides
// delimiters up to its closing quote; the quotes stay in the argument. A comment mark begins a
// comment anywhere after the keyword, also within quotes.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace terrain {

/// One logical line as `GetLine` delivers it.
struct LogicalLine {
  std::string keyword{};                 ///< blank if the line has none
  std::vector<std::string> arguments{};  ///< without the blanks around them; empty if there are none
  int32_t lineNumber = 0;                ///< of the line in the file, from 1
};

/// What `PutLine` writes; only what is present appears.
struct LineParts {
  std::optional<std::string_view> keyword{};
  std::span<const std::string> arguments{};
  std::optional<std::string_view> comment{};
  std::optional<int32_t> lineNumber{};  ///< absent: a new line at the end
};

/// Type, width and decimals of one column of delimited text.
struct ColumnFormat {
  int32_t length = 0;
  std::string dataType = "U ";  ///< "C ", "I4", "I8", "R4", "R8"; "U " for a column without values
  int32_t decCnt = 0;
};

struct InputFileOptions {
  bool newFile = false;  ///< the file is to be made later by `Save`, nothing is read
  char keywordDelimiter = ':';
  char commentMark = '#';
  char argumentDelimiter = ',';
  std::size_t lineLength = 4096;     ///< longer lines are cut
  std::size_t argumentLength = 256;  ///< longer arguments are cut
  bool mayBeEmpty = false;           ///< a file without lines is no failure
};

class InputFileType {
 public:
  InputFileType() = default;

  int32_t status = 0;      ///< 0 after success, else -1; -1 from `GetLine` is also the end of the lines
  std::string fileName{};  ///< path as it was given, without blanks around it
  std::vector<std::string> lines{};

  [[nodiscard]] int32_t LineCount() const { return static_cast<int32_t>(lines.size()); }
  /// Logical lines from the current position to the end; the position stays.
  [[nodiscard]] int32_t KeywordLineCount();
  /// The next logical line. Status 0, or -1 at the end of the lines.
  int GetLine(LogicalLine& line);
  /// Forms a line and stores or appends it; a line number outside 1..LineCount is a failure.
  int PutLine(const LineParts& parts);
  /// The next line is `lineNumber`; without it, or outside 1..LineCount, the first.
  void Rewind(std::optional<int32_t> lineNumber = std::nullopt);
  /// Empties the object. With `save` true, now or in an earlier call, its lines are saved first.
  void Close(std::optional<bool> save = std::nullopt);
  void Clear();
  /// A new object with the same lines, at the first of them, with default delimiters.
  [[nodiscard]] InputFileType Copy() const;
  /// Writes the trimmed lines to `fileName`, but for those whose numbers are listed, ascending. An older file
  /// of the name stays as it was if that fails.
  int Save(std::span<const int32_t> leftOut = {});
  /// The type of each column of a delimited table whose first line is a heading.
  int FindFormats(std::vector<ColumnFormat>& columns);
  /// Number of the line delivered last, 0 before the first.
  [[nodiscard]] int32_t CurrentLine() const { return currentLine_; }
  /// The next `GetLine` gives the line just delivered again.
  void StepBack();
  /// Back to where `CurrentLine` was `line`, also where that was the last line.
  void ReturnTo(int32_t line);
  /// Logical lines up to the one whose keyword holds "END LIST". Without such a line status is -1 and
  /// the position stays at the end.
  int CountToEndList(int32_t& count);
  /// The same, for all lines and a file of another name.
  int writeAscii(std::string_view name);

 private:
  friend InputFileType NewInputFile(std::string_view name, const InputFileOptions& options);
  int load();
  void splitArguments(std::string_view rest, std::vector<std::string>& arguments) const;
  int writeLines(std::string_view name, std::span<const int32_t> leftOut) const;

  InputFileOptions options_{};
  int32_t currentLine_ = 0;
  bool saveOnClose_ = false;
};

/// Loads a file. On failure it is reported, and the object has status -1 and no lines.
[[nodiscard]] InputFileType NewInputFile(std::string_view name, const InputFileOptions& options = {});

/// An argument of the form name, operator, value; the operator is ">", "<", "=", ">=" or "<=". Where
/// no operator follows a name, the name is blank and the value is the whole argument.
struct SplitArgument {
  std::string name{};
  std::string operation{};
  std::string value{};
};
[[nodiscard]] SplitArgument splitArgument(std::string_view argument);

/// True if the left-adjusted text starts, after at most one ".", with T, Y, t or y.
[[nodiscard]] bool textIsTrue(std::string_view text);

/// Stops the run with "ERROR reading " and the name, and the code in a field of 5.
[[noreturn]] void reportReadError(int32_t code, std::string_view name);

}  // namespace terrain
