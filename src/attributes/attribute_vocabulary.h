#pragma once
// The vocabulary of attribute lists: which keywords there are, the columns that each makes and the arguments
// that it reads. A keyword, a synonym, a column or an argument is added by adding to the table.

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "attributes/attribute_table.h"

namespace terrain {

enum class ArgumentKind {
  mark,       ///< a lone word, or one with a truth value
  name,       ///< the name of a column, or a lone word, for which the column has its own
  text,       ///< must not be blank
  number,     ///< must be finite
  raster,     ///< a raster that exists, as `rasterExists` has it
  shapefile,  ///< the same of a shapefile
  file,       ///< and of any file
};

/// An argument besides the options of every column.
struct RowArgument {
  std::string_view words{};  ///< synonyms between "|"
  ArgumentKind kind = ArgumentKind::text;
  std::string_view
      failure{};  ///< a blank at the end: the value follows. Blank: "missing argument" of the row
};

/// A column as a row makes it.
struct RowColumn {
  std::string_view name{};
  std::string_view type = "R4";
  int32_t length = 12;
  int32_t decimals = 5;        ///< of reals
  std::string_view outName{};  ///< blank: the first 10 characters of the name
  std::string_view when{};  ///< made where one of these arguments is given, which may name it; blank: always
  std::string_view stem{};  ///< with a suffix the output name is this and the suffix; blank: it takes none
};

/// The arguments of a line, by the first word of each.
struct RowReading {
  std::string_view keyword{};  ///< as it is written
  std::map<std::string_view, std::string> given{};
  std::vector<AttributeType> columns{};
  bool isNamed = false;                                ///< an output name is given
  std::vector<std::array<std::string, 2>> failures{};  ///< message and, perhaps, a reason

  [[nodiscard]] bool has(std::string_view words) const;
  [[nodiscard]] std::string_view text(std::string_view word) const;
  [[nodiscard]] float number(std::string_view word) const;  ///< of one that is there
  void fail(std::string_view message, std::string_view why = {}) {
    failures.push_back({std::string(message), std::string(why)});
  }
};

struct AttributeRow {
  std::string_view words{};  ///< the keyword and its synonyms
  std::vector<RowColumn> columns{};
  std::vector<RowArgument> arguments{};
  std::string_view internal{};   ///< columns that it needs besides, by name between "|"; they are not written
  std::string_view otherwise{};  ///< columns that are made where no `when` of the row holds
  void (*rule)(RowReading& reading) = nullptr;  ///< what the arguments must say together
};

[[nodiscard]] std::span<const AttributeRow> attributeRows();

/// The row of a keyword, or null.
[[nodiscard]] const AttributeRow* findAttributeRow(std::string_view keyword);
/// The column that a table of descriptions begins with: not written.
[[nodiscard]] AttributeType describeColumn(const RowColumn& column);
/// A column by its name as the rows have it; null if none has it.
[[nodiscard]] const RowColumn* findRowColumn(std::string_view name);

/// Finds attributes of a list by name, output name, or any keyword of the row that makes a column of the
/// name.
class AttributeNames {
 public:
  explicit AttributeNames(std::span<const AttributeType> list);
  /// The place in the list, from 0; absent if no attribute has the name. Names come before output names, and
  /// those before keywords.
  [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const;

 private:
  std::map<std::string, std::size_t, std::less<>> places_{};
};

}  // namespace terrain
