#include "attributes/attribute_reference.h"

#include <map>
#include <vector>

#include "attributes/attribute_vocabulary.h"
#include "attributes/column_options.h"
#include "attributes/list_lines.h"

namespace terrain {

namespace {

/// Synonyms as code, with commas.
std::string listed(std::string_view words) {
  std::string text;
  forEachWord(words, [&](std::string_view word) {
    text.append(text.empty() ? "`" : ", `").append(word).append("`");
  });
  return text;
}

std::string tableOf(std::string_view title, const std::vector<KeywordTexts>& rows) {
  std::string text = "\n| ";
  text.append(title).append(" | Meaning |\n| --- | --- |\n");
  for (const KeywordTexts& row : rows) {
    text.append("| ").append(listed(row.words)).append(" | ").append(row.meaning);
    for (const KeywordTexts& argument : row.arguments)
      text.append(" ").append(listed(argument.words)).append(": ").append(argument.meaning);
    text += " |\n";
  }
  return text;
}

std::string describe(const RowColumn& column) {
  const AttributeType made = describeColumn(column);
  std::string text = listed(made.outName.trimmed());
  text.append(" ").append(made.dataType.trimmed()).append(" ").append(std::to_string(made.length));
  if (made.decimals > 0) text.append(".").append(std::to_string(made.decimals));
  if (!column.when.empty()) text += " with " + listed(column.when);
  return text;
}

std::string describe(const RowArgument& argument) {
  static const std::map<ArgumentKind, std::string_view> kinds{{ArgumentKind::mark, ""},
                                                              {ArgumentKind::name, " (column)"},
                                                              {ArgumentKind::text, " (text)"},
                                                              {ArgumentKind::number, " (number)"},
                                                              {ArgumentKind::raster, " (raster)"},
                                                              {ArgumentKind::shapefile, " (shapefile)"},
                                                              {ArgumentKind::file, " (file)"}};
  return listed(argument.words) + std::string(kinds.at(argument.kind));
}

template <class List>
std::string joined(const List& list) {
  std::string text;
  for (const auto& one : list) text.append(text.empty() ? "" : "; ").append(describe(one));
  return text;
}

}  // namespace

std::string attributeReference() {
  std::string text =
      "# Attribute lists\n\n"
      "Keywords and arguments of the lists that `ReadList` (`src/attributes/attribute_list.h`) reads;\n"
      "`examples/attribute_list.txt` has all of them. Case counts. Types are I4, I8, R4, R8 and C (text); "
      "after them\n"
      "stand length and decimals. Distances to an outlet, a river mouth and a source are in kilometres, "
      "whatever\n"
      "the keyword says; `ToLakeUp_m` and `ToLakeDn_m` are in metres.\n\n"
      "## At the top\n";
  text += tableOf("Keyword", topWordTexts());
  text +=
      "\n## Attributes, from `ATTRIBUTE LIST` to `END ATTRIBUTE LIST`\n\n| Keyword | Columns | Arguments "
      "|\n| --- | --- | --- |\n";
  for (const AttributeRow& row : attributeRows()) {
    text.append("| ").append(listed(row.words)).append(" | ").append(joined(row.columns)).append(" | ");
    text.append(joined(row.arguments)).append(" |\n");
  }
  text += "\nEvery row takes these as well:\n";
  constexpr auto kOptions = columnOptions({});
  text += tableOf("Argument", textsOf(std::span<const Keyword<AttributeType>>(kOptions)));
  text +=
      "\n`EQUATION` in a row, or as a line with a name, is followed by lines `INTERCEPT: number` and\n"
      "`TERM: FIELD = name, COEF = number, EXPONENT = number, BASE = integer` up to `END EQUATION`. The "
      "value is the\n"
      "intercept plus the sum over the terms of the product over their fields of coef * x^exponent, where x "
      "is the\n"
      "field's value, or with a base its logarithm.\n\n"
      "## Rasters, from `RASTER LIST` to `END RASTER LIST`\n\n"
      "A line is `FILE: raster, arguments`. With categories, lines `VALUE: integer, FIELD = name` follow "
      "between\n"
      "`CAT LIST` and `END CAT LIST`. The arguments of every row, and:\n";
  text += tableOf("Argument", rasterWordTexts());
  text += "\nWords within arguments that have no value: ";
  std::string words;
  for (const std::string_view word : rasterModeWords())
    words.append(words.empty() ? "`" : ", `").append(word).append("`");
  return text + words + ".\n";
}

}  // namespace terrain
