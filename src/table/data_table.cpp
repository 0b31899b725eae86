#include "table/data_table.h"

#include <algorithm>
#include <map>
#include <set>

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

/// What a new field replaces: the 10 characters of its name that a DBF file holds.
std::string replacementKey(const AttributeType& attribute) {
  const FixedText<256>& name = attribute.outName.blank() ? attribute.name : attribute.outName;
  return std::string(trimmed(withoutNuls(cut(name.padded(), kDbfNameLength))));
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
  content->name = std::string_view(withoutNuls(attribute.name.padded()));
  content->outName = std::string_view(withoutNuls(attribute.outName.padded()));
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

/// Gives a new field its column. False, after a report, if there is no memory.
bool addColumn(FieldContent& content, int64_t numRecords, int32_t fill) {
  bool there = true;
  const bool known = visitColumn(content, [&](auto& column) {
    if (numRecords >= 1) there = fillColumn(column, static_cast<std::size_t>(numRecords), fill);
  });
  if (!known) {
    fail(kAddTag, "Unknown data type " + std::string(content.dataType.padded()));
  } else if (!there) {
    const std::string type(content.dataType == "C " ? "char" : content.dataType.trimmed());
    cannotAllocate(kAddTag, "newField%" + type);
  }
  return there;
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

/// Gives each old field with the name of an entry a name of 10 characters at most that ends in "1",
/// entry after entry: a new name may be that of a later entry.
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

/// Keeps the records of an ascending list: no value stands before its new place, so they move in place.
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
  return to.takeFrom(from, records);
}

/// Columns of the records listed, all or, after a report, a failure.
int copyColumns(std::span<const std::unique_ptr<FieldContent>> fields, std::span<const int64_t> records,
                std::vector<std::unique_ptr<FieldContent>>& copies) {
  // They are asked for together: each alone could fit where all of them do not.
  std::uint64_t bytes = 0;
  for (const auto& content : fields)
    visitColumn(*content, [&](const auto& column) { bytes += bytesOf(column, records); });
  if (!memoryFor(bytes)) return cannotAllocate(kTakeTag, "columns");
  for (const auto& content : fields) {
    auto copy = std::make_unique<FieldContent>();
    static_cast<FieldDescription&>(*copy) = *content;
    bool done = true;
    visitColumn(*content, [&](const auto& column) {
      if (!column.empty())
        done = copyValues(column, records, columnOf<ElementOf<std::decay_t<decltype(column)>>>(*copy));
    });
    if (!done) return cannotAllocate(kTakeTag, content->name.trimmed());
    copies.push_back(std::move(copy));
  }
  return kSuccess;
}

}  // namespace

DataTableType::~DataTableType() {
  if (dbfUnit > 0 && units().isOpen(dbfUnit)) units().close(dbfUnit);
}

void DataTableType::clear() {
  if (dbfUnit > 0 && units().isOpen(dbfUnit)) units().close(dbfUnit);
  field.clear();
  codePage.clear();
  nfields = IDfield = dbfUnit = dbfRecordLength = 0;
  dbfPosition = numRecords = 0;
}

// The new fields are made whole before the table changes, so a table that has no memory for them stays
// as it was. The ID field keeps its column when others go; where it is itself replaced, the new field
// takes its place.
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
    if (!addColumn(*added.back(), numRecords, options.fill.value_or(truncateTo<int32_t>(attribute.nodata))))
      return kFailure;
  }
  FieldContent* id = fieldAt(IDfield);
  std::string idKey;
  std::vector<std::unique_ptr<FieldContent>> kept;
  for (auto& content : field) {
    if (!replaced.contains(content->name.trimmed())) {
      kept.push_back(std::move(content));
    } else if (content.get() == id) {
      idKey = content->name.trimmed();
      id = nullptr;
    }
  }
  const std::size_t numKept = kept.size();
  for (auto& content : added) kept.push_back(std::move(content));
  field = std::move(kept);
  nfields = static_cast<int32_t>(field.size());
  if (id == nullptr && !idKey.empty()) {
    const auto heir = std::find_if(newFields.begin(), newFields.end(), [&](const AttributeType& attribute) {
      return replacementKey(attribute) == idKey;
    });
    IDfield = static_cast<int32_t>(numKept + static_cast<std::size_t>(heir - newFields.begin())) + 1;
  } else if (id != nullptr) {
    const auto here =
        std::find_if(field.begin(), field.end(), [&](const auto& content) { return content.get() == id; });
    IDfield = static_cast<int32_t>(here - field.begin()) + 1;
  }
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
  return GetAttributeList(list) == kSuccess ? attempt.succeed() : kFailure;
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

// A list that ascends drops records in place, which takes no memory and cannot fail. Any other list
// works on copies of the columns, and the table changes only when all of them are made.
int DataTableType::takeRecords(std::span<const int64_t> records) {
  Attempt attempt{status};
  bool ascending = true;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (records[i] < 1 || records[i] > numRecords) return fail(kTakeTag, "Record number out of range");
    if (i > 0 && records[i] <= records[i - 1]) ascending = false;
  }
  std::vector<std::unique_ptr<FieldContent>> copies;
  if (!ascending && copyColumns(field, records, copies) != kSuccess) return kFailure;
  if (!takeShapes(records, ascending)) return cannotAllocate(kTakeTag, "shapes");
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

int NewDataTable(DataTableType& table, const NewTableOptions& options) {
  table.clear();
  Attempt attempt{table.status};
  if (!options.filePath) {
    table.numRecords = std::max<int64_t>(options.numRecords.value_or(0), 0);
    if (!options.attributeList) return attempt.succeed();
    if (options.attributeList->empty()) return fail(kNewTag, "Attribute list has zero entries");
    return table.AddField(*options.attributeList) == kSuccess ? attempt.succeed() : kFailure;
  }
  const std::string_view path = trimmed(*options.filePath);
  const std::string_view type = path.substr(path.size() - std::min<std::size_t>(path.size(), 3));
  int result = kFailure;
  if (type == "dbf")
    result = readDbf(table, path, {.headerOnly = options.headerOnly});
  else if (type == "csv")
    result =
        readDelimited(table, path, options.headerOnly ? DelimitedPart::columnsOnly : DelimitedPart::whole);
  else
    return fail(kNewTag, "Unknown file type: " + std::string(type));
  return result == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
