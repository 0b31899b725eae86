// Feeds the three readers of shapefiles. The input holds the files one after the other:
//   byte 0      reader and options: 0 to 2 the reader (modulo 3), bit 4 feet and a grid, bit 5 a mask
//   bytes 1-4   bytes of the main file, little-endian; bytes 5-8 bytes of the table; the rest is the index
// What is read and can be written must read back.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "foundation/bytes.h"
#include "grid/storage.h"
#include "input_on_disk.h"
#include "table/line_vectors.h"
#include "table/point_vectors.h"
#include "table/polygon_vectors.h"
#include "table/shapefile.h"

namespace {

using namespace terrain;

void put(const std::string& name, std::span<const std::byte> bytes) {
  fuzz::writeInput(name, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

void require(bool held, const char* what) {
  if (held) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

/// True if the table has all its rows.
bool whole(const DataTableType& table, std::size_t shapes) {
  if (table.numRecords != static_cast<int64_t>(shapes)) return false;
  for (const auto& field : table.field) {
    if (numValues(*field).value_or(shapes) != shapes) return false;
  }
  return true;
}

/// A table file without columns is refused by its reader.
bool hasColumns(const DataTableType& table) {
  for (const auto& field : table.field)
    if (kindOf(field->dataType.padded()) != FieldKind::unknown) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  ByteReader in(std::as_bytes(std::span(data, size)));
  const auto choice = in.little<uint8_t>();
  const auto mainBytes = in.little<uint32_t>();
  const auto tableBytes = in.little<uint32_t>();
  const auto main = in.take(mainBytes);
  const auto table = in.take(tableBytes);
  if (!in.ok()) return 0;
  const std::string stem = fuzz::folder() + "in";
  put("in.shp", main);
  put("in.dbf", table);
  put("in.shx", in.take(in.remaining()));
  (void)NumRecordsInShapefile(stem);

  static R4Grid_type grid;
  if (!grid.GridExists()) {
    if (CreateGrid(
            grid,
            {.ncols = 8, .nrows = 8, .xmin = 0, .ymin = 0, .size = {.cellsize = 1}, .fillValue = 1.0F}) != 0)
      std::abort();
    grid.SetR4CellColRow(3, 3, grid.nodata);
  }
  const bool withGrid = (choice & 16U) != 0;
  grid.units = withGrid ? 'f' : 'm';
  const std::string out = fuzz::folder() + "out";
  switch (choice % 3) {
    case 0: {
      PointVectorType points;
      if (ReadPointShapefile(points, stem, {.grid = withGrid ? &grid : nullptr}) != 0) break;
      require(whole(points, points.point.size()), "rows and points differ");
      if (points.WritePointShapefile(out) != 0 || !hasColumns(points)) break;
      PointVectorType back;
      require(ReadPointShapefile(back, out) == 0, "written points do not read back");
      break;
    }
    case 1: {
      LineVectorType lines;
      const bool withMask = (choice & 32U) != 0;
      if (ReadPolylineShapefile(
              lines, stem,
              {.grid = withGrid ? &grid : nullptr, .mask = withGrid && withMask ? &grid : nullptr}) != 0)
        break;
      require(whole(lines, lines.segment.size()), "rows and lines differ");
      if (lines.WriteShapefile(out, {.reverse = withMask, .zForm = true}) != 0 || !hasColumns(lines)) break;
      LineVectorType back;
      require(ReadPolylineShapefile(back, out) == 0, "written lines do not read back");
      break;
    }
    default: {
      PolyVectorType polygons;
      if (ReadPolygonShapefile(polygons, stem, {.grid = withGrid ? &grid : nullptr}) != 0) break;
      require(whole(polygons, polygons.polygon.size()), "rows and polygons differ");
      if (polygons.WritePolygonZShapefile(out) != 0 || !hasColumns(polygons)) break;
      PolyVectorType back;
      require(ReadPolygonShapefile(back, out) == 0, "written polygons do not read back");
    }
  }
  return 0;
}
