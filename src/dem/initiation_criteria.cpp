#include "dem/initiation_criteria.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "dem/input_mask.h"
#include "dem/input_table.h"
#include "foundation/free_format.h"
#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/text.h"
#include "grid/rows.h"

namespace terrain {

namespace {

constexpr std::string_view kTag = "ReadInitiationCriteria";
constexpr std::string_view kBadTable = "Error reading INITIATION CRITERIA CSV FILE ";

struct Column {
  std::string_view name{}, synonym{};
  std::string_view keyword{};  ///< that sets the same everywhere
  float InitiationCriteria::*member = nullptr;
  bool mayBeNegative = true;
};
constexpr std::array kColumns{
    Column{"LowGradient", {}, "LOW GRADIENT UPPER LIMIT", &InitiationCriteria::lowGradient, false},
    Column{"HighGradient", {}, "HIGH GRADIENT LOWER LIMIT", &InitiationCriteria::highGradient, false},
    Column{"SlopeAreaLow", {}, "AREA SLOPE THRESHOLD LOW GRADIENT", &InitiationCriteria::areaLow, false},
    Column{"SlopeAreaHigh", {}, "AREA SLOPE THRESHOLD HIGH GRADIENT", &InitiationCriteria::areaHigh, false},
    Column{"SlopeExponent", {}, "SLOPE EXPONENT", &InitiationCriteria::slopeExponent},
    Column{"LocalReliefLow", "LRlow", "LOCAL RELIEF THRESHOLD", &InitiationCriteria::reliefLow},
    Column{"AccumLow", {}, "LOCAL RELIEF THRESHOLD, ACCUM LOW", &InitiationCriteria::accumLow, false},
    Column{"LocalReliefHigh", "LRhigh", "LOCAL RELIEF THRESHOLD, HIGH", &InitiationCriteria::reliefHigh},
    Column{"AccumHigh", {}, "LOCAL RELIEF THRESHOLD, ACCUM HIGH", &InitiationCriteria::accumHigh, false},
    Column{"PlanLow", {}, "PLAN CURVATURE THRESHOLD LOW GRADIENT", &InitiationCriteria::planLow},
    Column{"PlanHigh", {}, "PLAN CURVATURE THRESHOLD HIGH GRADIENT", &InitiationCriteria::planHigh},
    Column{"MinLengthLow", {}, "MINIMUM THRESHOLD FLOW LENGTH, LOW GRADIENT", &InitiationCriteria::lengthLow},
    Column{
        "MinLengthHigh", {}, "MINIMUM THRESHOLD FLOW LENGTH, HIGH GRADIENT", &InitiationCriteria::lengthHigh},
};

/// The field of a column, 0 if the table has none.
int32_t fieldOf(const DataTableType& table, const Column& column) {
  const int32_t field = table.FieldNumber(column.name);
  return field > 0 || column.synonym.empty() ? field : table.FieldNumber(column.synonym);
}
bool has(const DataTableType& table, float InitiationCriteria::*member) {
  const auto* column = std::ranges::find(kColumns, member, &Column::member);
  return fieldOf(table, *column) > 0;
}

int reportBad(std::string_view column, int64_t record, std::string_view why = {}) {
  return reportError({.routine = kTag,
                      .code = kOwnWords,
                      .message1 = "Error reading " + std::string(column) + " in record " + freeText(record),
                      .message2 = std::string(why)});
}

int readIds(const DataTableType& table, const CriteriaFiles& files, CriteriaList& list) {
  int32_t field = isBlank(files.idField) ? 0 : table.FieldNumber(files.idField);
  if (field <= 0) field = std::max(table.FieldNumber("ID"), 1);
  const std::string name(table.fieldAt(field)->name.trimmed());
  putMessage("  " + name + "; identifies the areas");
  std::vector<double> values;
  int64_t bad = 0;
  if (readNumbers(table, field, kTag, values, bad) != kSuccess) return kFailure;
  if (bad != 0) return reportBad(name, bad);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto id = static_cast<int64_t>(std::clamp(values[i], -1.0e18, 1.0e18));
    if (static_cast<double>(id) != values[i] || id <= kNoAreaId || id > std::numeric_limits<int32_t>::max())
      return reportBad(name, static_cast<int64_t>(i) + 1, "not a 32-bit integer");
    list[i].first = static_cast<int32_t>(id);
  }
  return kSuccess;
}

int readColumn(const DataTableType& table, const Column& column, int32_t field, CriteriaList& list) {
  putMessage("  " + std::string(table.fieldAt(field)->name.trimmed()) + "; corresponds to " +
             std::string(column.keyword));
  std::vector<double> values;
  int64_t bad = 0;
  if (readNumbers(table, field, kTag, values, bad) != kSuccess) return kFailure;
  if (bad != 0) return reportBad(column.name, bad);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] < 0 && !column.mayBeNegative)
      return reportBad(column.name, static_cast<int64_t>(i) + 1, "below 0");
    float& value = list[i].second.*column.member;
    value = static_cast<float>(values[i]);
    if (column.member == &InitiationCriteria::slopeExponent && !(value > 0)) value = 2.0F;
  }
  return kSuccess;
}

int checkColumns(const DataTableType& table, const UniformCriteria& uniform) {
  using Criteria = InitiationCriteria;
  const auto both = [&table](float Criteria::*low, float Criteria::*high) {
    return has(table, low) && has(table, high);
  };
  const auto oneAlone = [&table](float Criteria::*low, float Criteria::*high) {
    return has(table, low) != has(table, high);
  };
  if (oneAlone(&Criteria::reliefLow, &Criteria::reliefHigh))
    return fail(kTag, "Need to include both LocalReliefLow and LocalReliefHigh");
  if (oneAlone(&Criteria::lengthLow, &Criteria::lengthHigh) && !uniform.hasLength)
    return fail(kTag, "Need to specifiy high and low gradient minimum flow length");
  const bool areas = both(&Criteria::areaLow, &Criteria::areaHigh) || uniform.hasArea;
  const bool plans = !oneAlone(&Criteria::planLow, &Criteria::planHigh) || uniform.hasPlan;
  const bool accums = !has(table, &Criteria::reliefLow) || both(&Criteria::accumLow, &Criteria::accumHigh) ||
                      uniform.hasRelief;
  return areas && plans && accums ? kSuccess : fail(kTag, "Required threshold parameter missing");
}

/// Says where the areas have no criteria, and so no heads.
int countStrangers(const I4Grid_type& ids, const CriteriaList& list) {
  int64_t strangers = 0;
  int32_t last = kNoAreaId;  // neighbours mostly have the same
  bool lastIsKnown = false;
  const auto count = [&](int32_t, std::span<const int32_t> cells) {
    for (const int32_t id : cells) {
      if (id != last)
        lastIsKnown = std::ranges::binary_search(list, id, {}, [](const auto& entry) { return entry.first; });
      last = id;
      if (!lastIsKnown) ++strangers;
    }
  };
  if (RowPass{reading(ids)}.run(kTag, count) != kSuccess) return kFailure;
  if (strangers > 0) putMessage("  Cells of areas that the table lacks, without channel heads: ", strangers);
  return kSuccess;
}

}  // namespace

int ReadInitiationCriteria(const DEM_type& dem, const CriteriaFiles& files, const UniformCriteria& uniform,
                           I4Grid_type& ids, CriteriaList& list) {
  putMessage("Reading initiation criteria files");
  DataTableType table;
  if (readDelimited(table, stripped(files.table), DelimitedPart::whole) != kSuccess || table.NumRecords() < 1)
    return fail(kTag, std::string(kBadTable) + files.table);
  if (checkColumns(table, uniform) != kSuccess) return kFailure;
  list.clear();
  if (!tryAllocate(list, static_cast<std::size_t>(table.NumRecords())))
    return cannotAllocate(kTag, "criteria");
  std::ranges::fill(list, std::pair{0, uniform.criteria});
  putMessage("Headings read in the csv file");
  if (readIds(table, files, list) != kSuccess) return kFailure;
  for (const Column& column : kColumns)
    if (const int32_t field = fieldOf(table, column);
        field > 0 && readColumn(table, column, field, list) != kSuccess)
      return kFailure;
  std::ranges::sort(list, {}, [](const auto& entry) { return entry.first; });
  const auto twice = std::ranges::adjacent_find(list, {}, [](const auto& entry) { return entry.first; });
  if (twice != list.end())
    return reportError({.routine = kTag,
                        .code = kOwnWords,
                        .message1 = std::string(kBadTable) + files.table,
                        .message2 = "Two records have the identifier " + freeText(int64_t{twice->first})});
  putMessage("  Number of rows (polygons) = ", std::ssize(list));
  putMessage("  Minimum polygon ID = ", list.front().first);
  putMessage("  Maximum polygon ID = ", list.back().first);
  const std::string& areas = files.idRaster.empty() ? files.idShapefile : files.idRaster;
  if (readAreaIds(dem, areas, files.idField, {.routine = kTag, .what = "initiation criteria"}, ids) !=
      kSuccess)
    return kFailure;
  return countStrangers(ids, list);
}

}  // namespace terrain
