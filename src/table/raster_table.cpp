// Raster tables: record numbers of a grid turned into values of a table, row by row.

#include "table/raster_table.h"

#include <cmath>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/memory.h"
#include "foundation/messages.h"
#include "foundation/status.h"
#include "grid/float_raster.h"
#include "grid/rows.h"
#include "grid/storage.h"
#include "table/single_values.h"

namespace terrain {

namespace {

constexpr std::string_view kReadTag = "ReadR4Value in DataTableModule ";
constexpr std::string_view kNewTag = "Subroutine createRasterTable in DataTableModule";
constexpr std::string_view kFileTag = "readRasterTable in dataTableModule";

/// Cells without a value, by what is wrong.
struct Faults {
  int64_t records = 0;
  int64_t values = 0;
};

/// The value of a record as float32, truncated in a grid of integers; -9999, counted, where there is none.
template <class To, class Value>
To valueOf(const std::vector<Value>& column, int32_t record, Faults& faults) {
  constexpr To kNone{-9999};
  if (record < 1 || std::cmp_greater(record, column.size())) {
    ++faults.records;
    return kNone;
  }
  const Value held = column[static_cast<std::size_t>(record) - 1];
  bool fits = fitsR4(held);
  const float value = fits ? static_cast<float>(held) : 0.0F;
  if constexpr (std::is_same_v<To, int32_t>) {
    const float whole = std::trunc(value);
    fits = fits && whole >= -0x1p31F && whole < 0x1p31F;  // false for a NaN
  }
  if (!fits) {
    ++faults.values;
    return kNone;
  }
  return static_cast<To>(value);
}

/// Which cell of the index raster gives each column, and each row, of another lattice; 0 for none.
class Lookup {
 public:
  Lookup(const I4Grid_type& raster, const Grid_Header& lattice) : raster_(raster), lattice_(lattice) {}
  [[nodiscard]] bool open() {
    if (!tryAllocate(cols_, static_cast<std::size_t>(lattice_.cols()))) return false;
    for (std::size_t i = 0; i < cols_.size(); ++i)
      cols_[i] = holding(lattice_.ColRowToXY(static_cast<int32_t>(i) + 1, 1).x, raster_.ymin).col;
    return true;
  }
  [[nodiscard]] int32_t row(int32_t row) const {
    return holding(raster_.xmin, lattice_.ColRowToXY(1, row).y).row;
  }
  [[nodiscard]] std::span<const int32_t> cols() const { return cols_; }

 private:
  [[nodiscard]] ColRow holding(double x, double y) const {
    return raster_.cellHolding(x, y).value_or(ColRow{});
  }
  const I4Grid_type& raster_;
  const Grid_Header& lattice_;
  std::vector<int32_t> cols_;
};

/// Fills `out`, which has the lattice of `raster`.
template <class To, class Value>
int fillCells(const I4Grid_type& raster, GridOf<To>& out, const std::vector<Value>& column,
              std::string_view tag, Faults& faults) {
  const auto fill = [&](int32_t, std::span<const int32_t> records, std::span<To> values) {
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = valueOf<To>(column, records[i], faults);
  };
  return RowPass{reading(raster), filling(out)}.run(tag, fill);
}

/// Fills `out`, which has a lattice of its own.
template <class To, class Value>
int fillFromPoints(const I4Grid_type& raster, GridOf<To>& out, const std::vector<Value>& column,
                   std::string_view tag, Faults& faults) {
  Lookup lookup(raster, out);
  auto indices = reading(raster);
  if (!lookup.open()) return cannotAllocate(tag, "row");
  if (indices.open(tag) != kSuccess) return kFailure;
  int32_t held = 0;  // row of the index raster
  return RowPass{filling(out)}.run(tag, [&](int32_t row, std::span<To> values) {
    const int32_t from = lookup.row(row);
    if (from > 0 && from != held && indices.enter(from, tag) != kSuccess) return kFailure;
    if (from > 0) held = from;
    const std::span<const int32_t> cols = lookup.cols();
    for (std::size_t i = 0; i < values.size(); ++i) {
      const bool within = from > 0 && cols[i] > 0;
      const int32_t record = within ? indices.cells()[static_cast<std::size_t>(cols[i]) - 1] : 0;
      values[i] = valueOf<To>(column, record, faults);
    }
    return kSuccess;
  });
}

void logFaults(std::string_view tag, const FieldContent& field, const Faults& faults) {
  const std::string start = std::string(tag) + ", field " + std::string(field.name.trimmed()) + ": ";
  if (faults.records > 0) putMessage(start + "Record number out of range, cells: ", faults.records);
  if (faults.values > 0) putMessage(start + "Value out of range, cells: ", faults.values);
}

template <class To>
int makeGrid(RasterTableType& from, GridOf<To>& grid, const Grid_Header* like, std::string_view tag) {
  Attempt attempt{from.status};
  if (from.table == nullptr || from.raster == nullptr || !from.raster->GridExists()) {
    DestroyGrid(grid);
    return fail(tag, "Grid does not exist");
  }
  const I4Grid_type& raster = *from.raster;
  std::remove_cvref_t<decltype(grid)> made;  // `grid` may be the index raster
  made.onDisk = grid.onDisk;
  const FieldContent* const field = from.table->fieldAt(from.field);
  const bool usable = field != nullptr && isNumeric(*field) &&
                      std::cmp_equal(numValues(*field).value_or(0), from.table->numRecords);
  // A field without numbers leaves every cell -9999.
  const CreateGridArgs args{.like = like != nullptr ? like : &raster,
                            .nodata = kNodata,
                            .setCells = !usable,
                            .onDisk = made.onDisk};
  int filled = CreateGrid(made, args);
  if (filled == kSuccess && !usable) {
    filled =
        fail(kReadTag, field == nullptr     ? std::string("Field number out of range")
                       : !isNumeric(*field) ? "Incorrect data type " + std::string(field->dataType.padded())
                                            : std::string("Field has no values in memory"));
  } else if (filled == kSuccess) {
    Faults faults;
    filled = visitColumn(
        *field,
        [&](const auto& column) {
          if constexpr (std::is_same_v<std::decay_t<decltype(column)>, TextColumn>)
            return kFailure;
          else if (like != nullptr)
            return fillFromPoints(raster, made, column, tag, faults);
          else
            return fillCells(raster, made, column, tag, faults);
        },
        [] { return kFailure; });
    logFaults(tag, *field, faults);
    if (filled != kSuccess) DestroyGrid(made);
  }
  grid = std::move(made);
  grid.status = filled;
  return attempt.end(filled);
}

/// Both halves live for the call only.
template <class Grid>
int readValues(std::string_view rasterPath, std::string_view tablePath, std::string_view fieldName,
               Grid& grid, const Grid_Header* header,
               int (RasterTableType::*make)(Grid&, const Grid_Header*)) {
  I4Grid_type raster;
  DataTableType table;
  DestroyGrid(grid);
  Attempt attempt{grid.status};
  if (readRasterTable(rasterPath, tablePath, raster, table, header) != kSuccess) return kFailure;
  RasterTableType joined = createRasterTable(raster, table, fieldName);
  if (joined.status != kSuccess) return kFailure;
  return attempt.end((joined.*make)(grid, nullptr));
}

}  // namespace

float RasterTableType::ReadR4Value(int32_t col, int32_t row) const {
  float value = kNodata;
  if (table == nullptr || raster == nullptr || !raster->GridExists())
    fail(kReadTag, "Grid does not exist");
  else
    table->ReadR4Value(field, raster->ExtractI4ValueColRow(col, row), value);
  return value;
}

float RasterTableType::ReadR4ValueXY(double x, double y) const {
  const std::optional<ColRow> cell = raster == nullptr ? std::nullopt : raster->cellHolding(x, y);
  return cell ? ReadR4Value(cell->col, cell->row) : ReadR4Value(0, 0);
}

int RasterTableType::MakeI4Grid(I4Grid_type& grid, const Grid_Header* like) {
  return makeGrid(*this, grid, like, "MakeI4Grid in DataTableModule");
}

int RasterTableType::MakeR4Grid(R4Grid_type& grid, const Grid_Header* like) {
  return makeGrid(*this, grid, like, "MakeR4Grid in DataTableModule");
}

int readRasterTable(std::string_view rasterPath, std::string_view tablePath, I4Grid_type& raster,
                    DataTableType& table, const Grid_Header* header) {
  const Grid_Header lattice = header == nullptr ? Grid_Header() : *header;  // may be that of `raster`
  const std::optional<bool> onDisk = raster.onDisk ? std::optional(true) : std::nullopt;
  raster = I4Grid_type();
  table.clear();
  const int read = header == nullptr
                       ? ReadGrid(raster, rasterPath, {.onDisk = onDisk})
                       : ReadI4GridFile(raster, rasterPath, {.matchGrid = &lattice, .onDisk = onDisk});
  if (read != kSuccess) return fail(kFileTag, "Error reading index raster");
  if (NewDataTable(table, {.filePath = tablePath}) != kSuccess)
    return fail(kFileTag, "Error reading data table");
  return kSuccess;
}

RasterTableType createRasterTable(I4Grid_type& raster, DataTableType& table, std::string_view fieldName) {
  RasterTableType joined{.table = &table, .raster = &raster, .field = table.FieldNumber(fieldName)};
  const FieldContent* const field = table.fieldAt(joined.field);
  if (field == nullptr)
    joined.status = fail(kNewTag, "Cannot find indexID field in table");
  else if (!isNumeric(*field))
    joined.status = fail(kNewTag, "Require numeric field, not " + std::string(field->dataType.padded()));
  return joined;
}

int ReadI4RasterTable(std::string_view rasterPath, std::string_view tablePath, std::string_view fieldName,
                      I4Grid_type& grid, const Grid_Header* header) {
  return readValues(rasterPath, tablePath, fieldName, grid, header, &RasterTableType::MakeI4Grid);
}

int ReadR4RasterTable(std::string_view rasterPath, std::string_view tablePath, std::string_view fieldName,
                      R4Grid_type& grid, const Grid_Header* header) {
  return readValues(rasterPath, tablePath, fieldName, grid, header, &RasterTableType::MakeR4Grid);
}

}  // namespace terrain
