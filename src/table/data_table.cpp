#include "table/data_table.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <utility>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/numbers.h"
#include "foundation/status.h"
#include "foundation/units.h"
#include "table/dbf.h"

namespace terrain {

namespace {

constexpr std::string_view kAddTag = "AddField in DataTableModule";
constexpr std::string_view kTakeTag = "takeRecords in DataTableModule";
constexpr std::string_view kNewTag = "NewDataTable in TabularDataModule";
constexpr std::size_t kDbfNameLength = 10;

std::string withoutNuls(std::string_view text) {
  std::string clean(text);
  std::replace(clean.begin(), clean.end(), '\0', ' ');
  return clean;
}

/// The number, from 1, of the first element for which `is` holds; one must exist.
int32_t numberWhere(const auto& list, const auto& is) {
  return static_cast<int32_t>(std::find_if(list.begin(), list.end(), is) - list.begin()) + 1;
}

/// The name under which a new field replaces an old one: the 10 characters that a DBF file holds.
std::string replacementKey(const AttributeType& attribute) {
  const FixedText<256>& name = attribute.outName.blank() ? attribute.name : attribute.outName;
  return std::string(trimmed(withoutNuls(cut(name.trimmed(), kDbfNameLength))));
}

bool fillColumn(TextColumn& column, std::size_t count, int32_t /*fill*/) { return column.assign(count); }
template <class T>
bool fillColumn(std::vector<T>& column, std::size_t count, int32_t fill) {
  if (!tryAllocate(column, count)) return false;
  std::fill(column.begin(), column.end(), static_cast<T>(fill));
  return true;
}

std::unique_ptr<FieldContent> describe(const AttributeType& attribute) {
  auto content = std::make_unique<FieldContent>();
  content->name = std::string_view(withoutNuls(attribute.name.trimmed()));
  content->outName = std::string_view(withoutNuls(attribute.outName.trimmed()));
  if (content->name.blank()) content->name = content->outName;
  if (content->outName.blank()) content->outName = content->name;
  content->dataType = attribute.dataType;
  if (kindOf(attribute.dataType.padded()) == FieldKind::unknown &&
      attribute.dataType.padded().find('C') != std::string_view::npos)
    content->dataType = "C ";
  content->fileLength = attribute.length;
  content->decimals = attribute.decimals;
  content->outFlag = attribute.outFlag;
  content->shpFlag = attribute.shpFlag;
  content->csvFlag = attribute.csvFlag;
  const int64_t room = std::max<int64_t>(attribute.length, int64_t{attribute.decimals} + 5);
  content->length = content->outLength = static_cast<int32_t>(std::min<int64_t>(room, INT32_MAX));
  return content;
}

/// Gives a new field its column. A field of unknown type is reported and has none. -1, reported, if there is
/// no memory.
int addColumn(FieldContent& content, int64_t numRecords, int32_t fill) {
  const auto add = [&](auto& column) {
    if (numRecords < 1 || fillColumn(column, static_cast<std::size_t>(numRecords), fill)) return kSuccess;
    const std::string type(content.dataType == "C " ? "char" : content.dataType.trimmed());
    return cannotAllocate(kAddTag, "newField%" + type);
  };
  return visitColumn(content, add, [&content] {
    fail(kAddTag, "Unknown data type " + std::string(content.dataType.padded()));
    return kSuccess;
  });
}

AttributeType attributeOf(const FieldContent& content) {
  AttributeType attribute;
  attribute.name = content.name;
  attribute.outName = content.outName;
  attribute.length = content.length;
  attribute.decimals = content.decimals;
  attribute.dataType = content.dataType;
  attribute.outFlag = content.outFlag;
  attribute.shpFlag = content.shpFlag;
  attribute.csvFlag = content.csvFlag;
  return attribute;
}

/// Renames each old field that has the name of an entry, to at most 10 characters that end in "1". The
/// entries are processed in order, as a new name may be that of a later entry.
void renameOldFields(std::span<const std::unique_ptr<FieldContent>> fields,
                     std::span<const AttributeType> list) {
  std::multimap<std::string, FieldContent*, std::less<>> byName;
  for (const auto& content : fields) byName.emplace(content->name.trimmed(), content.get());
  for (const AttributeType& entry : list) {
    const auto [first, last] = byName.equal_range(entry.name.trimmed());
    if (first == last) continue;
    const std::string name = std::string(cut(entry.name.trimmed(), 9)) + "1";
    std::vector<FieldContent*> renamed;
    for (auto each = first; each != last; ++each) renamed.push_back(each->second);
    byName.erase(first, last);
    for (FieldContent* const content : renamed) {
      content->name = std::string_view(name);
      byName.emplace(content->name.trimmed(), content);
    }
  }
}

/// Keeps the records of an ascending list. No value moves towards the end, so this is done in place.
template <class T>
void keepValues(std::vector<T>& column, std::span<const int64_t> records) {
  for (std::size_t i = 0; i < records.size(); ++i)
    column[i] = column[static_cast<std::size_t>(records[i]) - 1];
  column.resize(records.size());
}
void keepValues(TextColumn& column, std::span<const int64_t> records) { column.keep(records); }

template <class T>
std::uint64_t bytesOf(const std::vector<T>& column, std::span<const int64_t> records) {
  return column.empty() ? 0 : records.size() * sizeof(T);
}
std::uint64_t bytesOf(const TextColumn& column, std::span<const int64_t> records) {
  return column.empty() ? 0 : column.bytesFor(records);
}

/// The records of any list, into an empty column. False if there is no memory.
template <class T>
bool copyValues(const std::vector<T>& from, std::span<const int64_t> records, std::vector<T>& to) {
  if (!tryAllocate(to, records.size())) return false;
  for (std::size_t i = 0; i < records.size(); ++i) to[i] = from[static_cast<std::size_t>(records[i]) - 1];
  return true;
}
bool copyValues(const TextColumn& from, std::span<const int64_t> records, TextColumn& to) {
  return to.copyFrom(from, records);
}

/// Columns of the records listed, all of them or, after a report, a failure.
int copyFields(std::span<const std::unique_ptr<FieldContent>> fields, std::span<const int64_t> records,
               std::string_view routine, std::vector<std::unique_ptr<FieldContent>>& copies) {
  // They are asked for together: each alone could fit where all of them do not.
  std::uint64_t bytes = 0;
  for (const auto& content : fields)
    visitColumn(*content, [&](const auto& column) { bytes += bytesOf(column, records); });
  if (!memoryFor(bytes)) return cannotAllocate(routine, "columns");
  for (const auto& content : fields) {
    auto copy = std::make_unique<FieldContent>();
    static_cast<FieldDescription&>(*copy) = *content;
    const auto copyColumn = [&](auto type) {
      using T = typename decltype(type)::type;
      const auto& column = columnOf<T>(*content);
      return column.empty() || copyValues(column, records, columnOf<T>(*copy));
    };
    if (!visitType(content->dataType.padded(), copyColumn, [] { return true; }))
      return cannotAllocate(routine, content->name.trimmed());
    copies.push_back(std::move(copy));
  }
  return kSuccess;
}

}  // namespace

DataTableType::~DataTableType() {
  if (dbfUnit > 0 && units().isOpen(dbfUnit)) units().close(dbfUnit);
}

DataTableType::DataTableType(DataTableType&& other) noexcept { *this = std::move(other); }

DataTableType& DataTableType::operator=(DataTableType&& other) noexcept {
  if (this == &other) return *this;
  DataTableType::clear();
  status = other.status;
  field = std::move(other.field);
  codePage = std::move(other.codePage);
  languageDriver = std::exchange(other.languageDriver, std::uint8_t{0});
  nfields = std::exchange(other.nfields, 0);
  IDfield = std::exchange(other.IDfield, 0);
  dbfUnit = std::exchange(other.dbfUnit, 0);
  dbfRecordLength = std::exchange(other.dbfRecordLength, 0);
  dbfPosition = std::exchange(other.dbfPosition, 0);
  numRecords = std::exchange(other.numRecords, 0);
  other.DataTableType::clear();
  return *this;
}

void DataTableType::clear() {
  if (dbfUnit > 0 && units().isOpen(dbfUnit)) units().close(dbfUnit);
  field.clear();
  codePage.clear();
  languageDriver = 0;
  nfields = IDfield = dbfUnit = dbfRecordLength = 0;
  dbfPosition = numRecords = 0;
}

// The new fields are complete before the table changes, so the table stays as it was if there is no memory
// for them.
int DataTableType::AddField(std::span<const AttributeType> newFields, const AddFieldOptions& options) {
  Attempt attempt{status};
  std::set<std::string, std::less<>> replaced;
  if (options.replace) {
    for (const AttributeType& attribute : newFields) {
      if (attribute.name.blank() && attribute.outName.blank()) return fail(kAddTag, "Data field has no name");
      replaced.insert(replacementKey(attribute));
    }
  }
  std::vector<std::unique_ptr<FieldContent>> added;
  for (const AttributeType& attribute : newFields) {
    added.push_back(describe(attribute));
    const int32_t fill = options.fill.value_or(truncateTo<int32_t>(attribute.nodata));
    if (addColumn(*added.back(), numRecords, fill) != kSuccess) return kFailure;
  }
  const FieldContent* const id = fieldAt(IDfield);
  const std::string idName(id == nullptr ? std::string_view() : id->name.trimmed());
  const bool idReplaced = id != nullptr && replaced.contains(idName);
  std::erase_if(field, [&](const auto& content) { return replaced.contains(content->name.trimmed()); });
  const auto numKept = static_cast<int32_t>(field.size());
  for (auto& content : added) field.push_back(std::move(content));
  nfields = static_cast<int32_t>(field.size());
  // The ID field keeps its column; where that was replaced, it is the field that replaces it.
  if (idReplaced && !idName.empty())
    IDfield = numKept + numberWhere(newFields, [&](const AttributeType& attribute) {
                return replacementKey(attribute) == idName;
              });
  else if (id != nullptr && !idReplaced)
    IDfield = numberWhere(field, [&](const auto& content) { return content.get() == id; });
  return attempt.succeed();
}

int DataTableType::GetAttributeList(std::vector<AttributeType>& list) {
  Attempt attempt{status};
  if (!tryAllocate(list, field.size())) return cannotAllocate("GetAttributeList in DataTableModule", "list");
  for (std::size_t i = 0; i < field.size(); ++i) list[i] = attributeOf(*field[i]);
  return attempt.succeed();
}

int DataTableType::ApplyAttributeList(std::vector<AttributeType>& list, const ApplyListOptions& options) {
  Attempt attempt{status};
  const auto setFlags = [](FieldContent& content, bool value) {
    content.outFlag = content.csvFlag = content.shpFlag = value;
  };
  if (options.outValue)
    for (const auto& content : field) setFlags(*content, *options.outValue);
  if (FieldContent* const id = fieldAt(IDfield); id != nullptr && options.idOut) setFlags(*id, true);

  renameOldFields(field, list);
  const int32_t numOld = nfields;
  const auto numEntries = static_cast<int32_t>(list.size());
  if (!list.empty() && AddField(list) != kSuccess) return kFailure;
  const auto renumber = [&](int32_t& entry) {
    if (entry > 0 && entry <= numEntries) entry += numOld;
  };
  for (AttributeReference& reference : options.references) {
    renumber(reference.first);
    renumber(reference.second);
    for (int32_t& entry : reference.list) renumber(entry);
  }
  return attempt.end(GetAttributeList(list));
}

int DataTableType::setRecordFlag(int64_t irec, bool value) {
  Attempt attempt{status};
  if (!hasRecordFlags()) return fail("setRecordFlag in dataTableModule", "Unknown type");
  if (irec >= 1 && irec <= numRecords)
    if (bool* const flag = recordFlag(irec)) *flag = value;
  return attempt.succeed();
}

int DataTableType::writeDBFfile(std::string_view path, const DbfWriteOptions& options) {
  return writeDbf(*this, path, options);
}

// An ascending list drops records in place, which takes no memory and cannot fail. Any other list needs
// copies of the columns, and the table changes only when all of them exist.
int DataTableType::takeRecords(std::span<const int64_t> records) {
  Attempt attempt{status};
  bool ascending = true;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (records[i] < 1 || records[i] > numRecords) return fail(kTakeTag, "Record number out of range");
    if (i > 0 && records[i] <= records[i - 1]) ascending = false;
  }
  std::vector<std::unique_ptr<FieldContent>> copies;
  if (!ascending && copyFields(field, records, kTakeTag, copies) != kSuccess) return kFailure;
  if (!keepShapes(records, ascending)) return cannotAllocate(kTakeTag, "shapes");
  if (ascending) {
    for (const auto& content : field)
      visitColumn(*content, [&](auto& column) {
        if (!column.empty()) keepValues(column, records);
      });
  } else {
    field = std::move(copies);
  }
  numRecords = static_cast<int64_t>(records.size());
  return attempt.succeed();
}

int DataTableType::copyColumns(DataTableType& to, std::string_view routine) const {
  std::vector<int64_t> records;
  std::vector<std::unique_ptr<FieldContent>> copies;
  if (!tryAllocate(records, static_cast<std::size_t>(std::max<int64_t>(numRecords, 0))))
    return cannotAllocate(routine, "records");
  std::iota(records.begin(), records.end(), 1);
  if (copyFields(field, records, routine, copies) != kSuccess) return kFailure;
  to.clear();
  to.field = std::move(copies);
  to.nfields = nfields;
  to.numRecords = numRecords;
  to.IDfield = IDfield;
  to.codePage = codePage;
  to.languageDriver = languageDriver;
  return kSuccess;
}

int NewDataTable(DataTableType& table, const NewTableOptions& options) {
  table.clear();
  Attempt attempt{table.status};
  if (!options.filePath) {
    table.numRecords = std::max<int64_t>(options.numRecords.value_or(0), 0);
    if (!options.attributeList) return attempt.succeed();
    if (options.attributeList->empty()) return fail(kNewTag, "Attribute list has zero entries");
    return attempt.end(table.AddField(*options.attributeList));
  }
  const std::string_view path = trimmed(*options.filePath);
  const std::string_view type = path.substr(path.size() - std::min<std::size_t>(path.size(), 3));
  const auto isType = [type](std::string_view name) {
    return std::equal(type.begin(), type.end(), name.begin(), name.end(),
                      [](char c, char lower) { return c == lower || c == lower - 'a' + 'A'; });
  };
  if (isType("dbf")) return attempt.end(readDbf(table, path, {.headerOnly = options.headerOnly}));
  if (isType("csv"))
    return attempt.end(
        readDelimited(table, path, options.headerOnly ? DelimitedPart::columnsOnly : DelimitedPart::whole));
  return fail(kNewTag, "Unknown file type: " + std::string(type));
}

}  // namespace terrain
