#pragma once
// Polygon tables: a data table with one polygon a record. A polygon is one list of vertices; its rings,
// outer ones, islands and holes alike, are marked by their starts. Reads the shapefile types Polygon,
// PolygonZ and PolygonM with their measures, writes Polygon and PolygonZ.
//
// Records and vertices count from 1. For one that does not exist setters store -1 in `status`; it is not
// reported.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "grid/header.h"
#include "table/vector_table.h"

namespace terrain {

class I4Grid_type;
class I8Grid_type;
class R4Grid_type;
struct PolygonRasterOptions;

struct PolygonWriteOptions {
  bool isFlag = false;  ///< only polygons whose flag is set; else the flags are set by what is written
  std::optional<int32_t> nodataOut{};  ///< written in the table for negative multiples of 9
  bool allFields = false;              ///< all columns, whatever their flags; in the Z form only
  std::optional<CalendarDate> date{};  ///< of writing, in the table's header; absent: today
};

/// Outputs of `PolygonVertices` beside x and y.
struct PolygonVerticesOptions {
  std::vector<double>* z = nullptr;
  bool closed = false;  ///< the list is the whole one, closing vertices included, either way
};

/// What `setPolyVertices` replaces beside x and y. Absent arrays are kept if the number of vertices stays the
/// same; else they are emptied, and the polygon is one ring.
struct PolygonArrays {
  std::optional<std::span<const int32_t>> ring{};  ///< first vertex of each ring, from 0
  std::optional<std::span<const double>> z{};
  std::optional<std::span<const double>> m{};
};

/// Where `SetReferencePoint` puts the point; absent: the mean of the vertices.
struct ReferencePointOptions {
  std::optional<double> x{};
  std::optional<double> y{};
  bool relative = false;  ///< also `dx` and `dy`, the vertices relative to the point
};

/// Further outputs of `GetCDF`, in the order of the values; null for those not wanted.
struct CdfOptions {
  const R4Grid_type* grid2 = nullptr;     ///< of the same counts
  std::vector<float>* values2 = nullptr;  ///< the values of `grid2`, nodata included
  std::vector<int32_t>* cols = nullptr;   ///< the cells
  std::vector<int32_t>* rows = nullptr;
};

/// The geometry is that of the grid that the polygons were read with; without one it has the extents of the
/// file alone.
struct PolygonArray : GridGeometry {
  std::vector<PolygonType> polygon{};  ///< that of record n is at n - 1
  char units = 'm';                    ///< of the grid; 'f': the file is in feet
  bool feetConverted = false;          ///< read in feet, held in metres, written back in feet
};

class PolyVectorType : public VectorTable<PolygonType, PolygonArray, &PolygonArray::polygon> {
 public:
  /// Releases the polygons, and all that was read with them; the columns stay.
  void DestroyPolygons();
  /// The polygon's box; the largest float64 for the minima and 0 for the maxima of a bad record.
  void PolygonBounds(int64_t irec, double& west, double& east, double& south, double& north) const;
  /// Copies of the vertices of all rings, closing vertices included.
  int PolygonVertices(int64_t irec, std::vector<double>& x, std::vector<double>& y,
                      const PolygonVerticesOptions& options = {});
  int Polyz(int64_t irec, std::vector<double>& z);  ///< elevations; empty where there are none
  /// First vertex of each ring, from 1.
  int PolyParts(int64_t irec, std::vector<int32_t>& starts);
  int SetPolygonValue(int64_t irec, float value);        ///< a number of the caller's
  [[nodiscard]] float PolygonValue(int64_t irec) const;  ///< -9999.0 for a bad record
  /// The mean leaves out the last vertex, which closes the ring; a lone vertex is its own mean.
  int SetReferencePoint(int64_t irec, const ReferencePointOptions& options = {});
  /// On every record; those without vertices have no mean and are skipped.
  int SetAllReferencePoints(bool relative = false);
  /// Writes the polygons that have vertices and, with an ID field, an ID above 0, in ascending order of
  /// the IDs. Elevations and measures are left out.
  int WritePolygonShapefile(std::string_view path, const PolygonWriteOptions& options = {});
  /// The same with elevations, -9999.0 where a polygon has none, and, if any polygon written has
  /// measures, with measures, -1e39 where one has none.
  int WritePolygonZShapefile(std::string_view path, const PolygonWriteOptions& options = {});
  /// Replaces the vertices. The first call makes `polygon`, of default records.
  int setPolyVertices(int64_t irec, std::span<const double> x, std::span<const double> y,
                      const PolygonArrays& others = {});
  /// One elevation a vertex.
  int SetPolygonZ(int64_t irec, std::span<const double> z);
  /// Moves a vertex that is there, and the polygon's box with it.
  int SetPolyVertex(int64_t irec, int32_t index, double x, double y);
  /// The first call on a polygon gives all its vertices the elevation -9999.0.
  int SetPolyVertexZ(int64_t irec, int32_t index, double z);

  // ---- geometry (table/polygon_geometry.cpp) ----
  /// Signed area in map units: positive for clockwise rings, the sense of outer rings in a shapefile, so
  /// holes count less. The rings are summed one by one in float64, around the mean of all vertices. -9999.0
  /// for a bad record, 0 without vertices.
  [[nodiscard]] double PolygonArea(int64_t irec) const;
  /// A table of its own with the same columns and texts, geometry and polygons. Of a polygon the rings, box,
  /// vertices, relative vertices and reference point are copied; elevations, measures, flag and value are
  /// those of a new one. Status -1, after a report, and empty if there is no memory.
  [[nodiscard]] PolyVectorType CopyPolygons() const;
  /// The same for one polygon; with `angle`, in radians, its relative vertices are turned anticlockwise
  /// around the reference point. `x` and `y` stay: `PlacePolygon` makes them anew. -1 for a bad record, which
  /// gives an empty polygon, and, reported, where it cannot be turned.
  PolygonType CopyPoly(int64_t irec, std::optional<double> angle = std::nullopt);
  /// Replaces a record's polygon by a copy with its reference point at (x, y); where it has relative vertices
  /// the vertices are made from them. Elevations and measures stay with as many vertices, else they go. The
  /// first call makes `polygon`, of default records. -1 with a report for arrays that do not fit each other.
  int PlacePolygon(int64_t irec, const PolygonType& source, double x, double y);
  /// Removes a vertex, its elevation and measure. Both ends of a ring, which are one point, and the vertices
  /// of a triangle stay: -1, reported.
  int removePolyVertex(int64_t irec, int32_t index);

  // ---- values of grids within polygons (table/polygon_samples.cpp) ----
  /// Sets the value of each polygon to the mean direction of the cells of `aspect` (radians, 0 or more) that
  /// it gets (`RasterizePoly` with `strictBoundary`): the direction of the sums of their sines and cosines,
  /// in float32 and row order, from 0 to 2 pi. Where no cell has an aspect, or both sums are 0, the value
  /// stays. 0, or -1 with a report.
  int getAspect(const R4Grid_type& aspect);
  /// The values, ascending, of the cells of `grid` that a polygon gets (`RasterizePoly`), those without data
  /// left out: value k of n stands at the cumulative share k / n. Of equal values the first in row order
  /// comes first. Empty, and 0, where the polygon is not wholly within the area that the cells cover. -1, and
  /// empty, for a bad record or, reported, where the cells cannot be found.
  int GetCDF(int64_t irec, const R4Grid_type& grid, std::vector<float>& values,
             const CdfOptions& options = {});

  /// Burns the polygons into a grid, in table order. A polygon gets the cells that it covers and those that
  /// one of its edges crosses. A cell of which a polygon covers at least half stays with it; one of which it
  /// covers less goes to the first that covers half. Cells that held neither 0 nor nodata before stay as they
  /// are. Shares of cells are those of the rings together (table/cell_coverage.h): what rings wind around, in
  /// either sense, is inside, and a hole is a ring of the other sense. Vertices within 0.005 map units of a
  /// lattice line, at most a twentieth of a cell, are on it. Rings are closed where they are open. Nothing is
  /// burned outside the polygon's box but by the buffer. -1, with a report, before anything is burned where
  /// an argument, a value or a vertex is no good.
  int RasterizePoly(R4Grid_type& igrid, const PolygonRasterOptions& options);
  int RasterizePoly(I4Grid_type& igrid, const PolygonRasterOptions& options);
  int RasterizePoly(I8Grid_type& igrid, const PolygonRasterOptions& options);

 private:
  int write(std::string_view routine, std::string_view path, const PolygonWriteOptions& options, bool zForm);
};

struct PolygonReadOptions {
  std::optional<std::string_view> IDfieldName{};
  const Grid_Header* grid = nullptr;  ///< geometry and units; nothing is clipped
  double xOffset = 0;                 ///< added after the conversion from feet
  double yOffset = 0;
  int32_t xyDecimals = 0;  ///< above 0: rounded, halves away from zero
  int32_t zDecimals = 0;
};
/// Reads the shapefile with the stem `path` into a table; what it held before is lost. A null shape gives
/// a polygon without vertices.
int ReadPolygonShapefile(PolyVectorType& table, std::string_view path,
                         const PolygonReadOptions& options = {});

}  // namespace terrain
