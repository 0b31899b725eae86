// The fields of a table as such: look-up by name, names, lengths, output flags.

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "foundation/messages.h"
#include "foundation/status.h"
#include "table/data_table.h"

namespace terrain {

namespace {

constexpr std::string_view kDuplicateTag = "duplicateCheck in DataTableModule";

/// The written fields by output name, kept up to date while they are renamed.
class NamesInUse {
 public:
  explicit NamesInUse(DataTableType& table) : table_(table) {
    for (int32_t n = 1; n <= table.nfields; ++n) {
      const FieldContent& field = *table.fieldAt(n);
      if (field.outFlag && (field.shpFlag || field.csvFlag))
        numbers_[std::string(field.outName.trimmed())].insert(n);
    }
  }
  /// The first field after `after` with the output name of field `number`; 0 if there is none.
  [[nodiscard]] int32_t nextWithNameOf(int32_t number, int32_t after) const {
    const auto same = numbers_.find(std::string(table_.fieldAt(number)->outName.trimmed()));
    if (same == numbers_.end() || !same->second.contains(number)) return 0;  // not a written field
    const auto next = same->second.upper_bound(after);
    return next == same->second.end() ? 0 : *next;
  }
  void rename(int32_t number, const std::string& name) {
    FieldContent& field = *table_.fieldAt(number);
    numbers_[std::string(field.outName.trimmed())].erase(number);
    field.outName = std::string_view(name);
    numbers_[name].insert(number);
  }

 private:
  DataTableType& table_;
  std::map<std::string, std::set<int32_t>> numbers_;
};

}  // namespace

std::string DataTableType::FieldName(int32_t fieldNum) const {
  const FieldContent* const content = fieldAt(fieldNum);
  return content == nullptr ? std::string() : std::string(content->name.trimmed());
}

int32_t DataTableType::FieldNumber(std::string_view name, std::optional<bool> outputOnly) const {
  const std::string_view wanted = stripped(name);
  for (int32_t n = 1; n <= nfields; ++n) {
    const FieldContent& content = *fieldAt(n);
    if ((content.name == wanted || content.outName == wanted) && (!outputOnly || content.outFlag)) return n;
  }
  return 0;
}

FixedText<2> DataTableType::FieldType(const FieldChoice& which) {
  constexpr std::string_view tag = "FieldType function in ChannelNetworks";
  Attempt attempt{status};
  if (!which.fieldNum && !which.fieldName) {
    fail(tag, "Missing required argument");
    return "U ";
  }
  const FieldContent* const content =
      fieldAt(which.fieldNum ? *which.fieldNum : FieldNumber(*which.fieldName));
  if (content == nullptr) {
    fail(tag, "Field number out of range");
    return "U ";
  }
  attempt.succeed();
  return content->dataType;
}

int32_t DataTableType::FieldLength(std::string_view name) const {
  const FieldContent* const content = fieldAt(FieldNumber(name));
  return content == nullptr ? 0 : std::max(content->fileLength, content->length);
}

int32_t DataTableType::FieldDecimals(std::string_view name) const {
  const FieldContent* const content = fieldAt(FieldNumber(name));
  return content == nullptr ? 0 : content->decimals;
}

std::vector<int32_t> DataTableType::FieldLengths() const {
  std::vector<int32_t> lengths;
  lengths.reserve(field.size());
  for (const auto& content : field)
    lengths.push_back(content->outLength < 1 ? content->length : content->outLength);
  return lengths;
}

std::vector<std::string> DataTableType::FieldOutNames() const {
  std::vector<std::string> names;
  names.reserve(field.size());
  for (const auto& content : field)
    names.emplace_back(content->outName.blank() ? content->name.trimmed() : content->outName.trimmed());
  return names;
}

void DataTableType::FindField(std::string_view name, int32_t& fieldNum, FixedText<2>& dataType) const {
  fieldNum = 0;
  dataType = "U ";
  const std::string_view wanted = stripped(name);
  for (int32_t n = 1; n <= nfields && fieldNum == 0; ++n) {
    if (!(fieldAt(n)->name == wanted)) continue;
    fieldNum = n;
    dataType = fieldAt(n)->dataType;
  }
}

int DataTableType::Rename(int32_t fieldNum, std::string_view name, std::optional<std::string_view> outName) {
  Attempt attempt{status};
  FieldContent* const content = fieldAt(fieldNum);
  if (content == nullptr) return fail("Rename in DataTableModule", "Field number out of range");
  content->name = name;
  if (outName && content->outName.blank()) content->outName = *outName;
  return attempt.succeed();
}

void DataTableType::AbbreviateFieldNames() {
  Attempt attempt{status};
  for (const auto& content : field) {
    if (content->name == "MEAN ANNUAL PRECIP") content->outName = "MEANPREC_M";
    if (content->name == "MEAN ANNUAL FLOW") content->outName = "MEANFLWCMS";
  }
  attempt.succeed();
}

// Every pair i < j is compared in order, with the names of that moment; the map leads from one equal name to
// the next, without the pairs that differ.
int DataTableType::duplicateCheck() {
  Attempt attempt{status};
  NamesInUse names(*this);
  for (int32_t i = 1; i <= nfields; ++i) {
    for (int32_t j = names.nextWithNameOf(i, i); j != 0; j = names.nextWithNameOf(i, j)) {
      const std::string name(fieldAt(i)->outName.trimmed());
      putMessage("Duplicate field name: " + name);
      const std::size_t n = std::min<std::size_t>(9, name.size());
      if (n > 0 && (name[n - 1] == '2' || name[n - 1] == '1'))
        return fail(kDuplicateTag, "Cannot unambiguously rename this field");
      const std::string first = name.substr(0, n) + "1";
      const std::string second = name.substr(0, n) + "2";
      names.rename(i, first);
      names.rename(j, second);
      putMessage("  Renamed to " + first + " and " + second);
    }
  }
  return attempt.succeed();
}

int32_t DataTableType::RecordID(int64_t irec) {
  int32_t id = -9999;
  if (IDfield >= 1) ReadI4Value(IDfield, irec, id);
  return id;
}

int DataTableType::SetIDfield(const FieldChoice& which) {
  Attempt attempt{status};
  int32_t number = 0;
  if (which.fieldNum)
    number = *which.fieldNum;
  else if (which.fieldName)
    number = FieldNumber(*which.fieldName);
  if (number == 0 || number > nfields) return fail("SetIDfield in DataTableModule", "Cannot locate field");
  IDfield = number;
  return attempt.succeed();
}

void DataTableType::SetOutFlags(std::optional<bool> allFields, std::optional<bool> idField) {
  Attempt attempt{status};
  if (allFields)
    for (const auto& content : field) content->outFlag = *allFields;
  if (FieldContent* const id = fieldAt(IDfield); id != nullptr && idField) id->outFlag = *idField;
  attempt.succeed();
}

int DataTableType::SetOutFlag(bool outFlag, const SetOutFlagOptions& options) {
  constexpr std::string_view tag = "SetOutFlag in DataTableModule";
  Attempt attempt{status};
  if (!options.fieldName && !options.fieldNumber)
    return fail(tag, "Missing argument (fieldName or fieldNumber)");
  FieldContent* const content =
      fieldAt(options.fieldName ? FieldNumber(*options.fieldName) : *options.fieldNumber);
  if (content == nullptr) return fail(tag, "Field number outside range");
  content->outFlag = outFlag;
  if (options.shpFlag) content->shpFlag = *options.shpFlag;
  if (options.csvFlag) content->csvFlag = *options.csvFlag;
  return attempt.succeed();
}

void DataTableType::SetShpFlag(int32_t fieldNum, bool value) {
  Attempt attempt{status};
  if (FieldContent* const content = fieldAt(fieldNum)) content->shpFlag = value;
  attempt.succeed();
}

void DataTableType::SetOutName(int32_t fieldNum, std::string_view name) {
  Attempt attempt{status};
  if (FieldContent* const content = fieldAt(fieldNum)) content->outName = leftAdjusted(name);
  attempt.succeed();
}

}  // namespace terrain
