// Polygons burned into grids.

#include <numbers>
#include <random>

#include "grid/directions.h"
#include "grid/float_raster.h"
#include "shape_support.h"
#include "support/grids.h"
#include "table/cell_coverage.h"
#include "table/rasterize.h"

namespace terrain {
namespace {

using namespace terrain::test;

using Ring = std::vector<Point>;

void put(PolygonType& polygon, const std::vector<Ring>& rings) {
  for (const Ring& ring : rings) {
    polygon.ring.push_back(static_cast<int32_t>(polygon.x.size()));
    for (const Point& at : ring) {
      polygon.x.push_back(at.x);
      polygon.y.push_back(at.y);
    }
  }
  polygon.updateBox();
}

class PolygonRaster : public ::testing::Test {
 protected:
  /// Polygons with the fields ID, from 1, and VALUE.
  void make(const std::vector<std::vector<Ring>>& polygons, const std::vector<double>& values = {}) {
    const AttributeType list[] = {attribute("ID", "I4", 8), attribute("VALUE", "R8", 12, 3)};
    ASSERT_EQ(NewDataTable(table, {.attributeList = list, .numRecords = std::ssize(polygons)}), 0);
    for (int32_t i = 1; i <= std::ssize(polygons); ++i) table.WriteI4Value(1, i, i);
    if (!values.empty()) table.WriteR8Field(values, 2);
    table.polygon.assign(polygons.size(), {});
    for (std::size_t i = 0; i < polygons.size(); ++i) put(table.polygon[i], polygons[i]);
    table.SetIDfield({.fieldName = "ID"});
  }
  std::string burned(PolygonRasterOptions options = {}) {
    if (options.like == nullptr) options.like = &lattice;
    return table.RasterizePoly(grid, options) == 0 ? show(grid) : "failed";
  }

  ScratchDir scratch;
  ConsoleCapture seen;
  R4Grid_type lattice = emptyGrid<R4Grid_type>(5, 4, {.xmin = 0, .ymin = 0, .cellsize = 1});
  PolyVectorType table;
  I4Grid_type grid;
};

/// A rectangle, clockwise.
Ring box(double west, double south, double east, double north) {
  return {{west, south}, {west, north}, {east, north}, {east, south}, {west, south}};
}
Ring reversed(Ring ring) {
  std::reverse(ring.begin(), ring.end());
  return ring;
}

const std::string kNothing = "0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n";

TEST_F(PolygonRaster, EdgesOnLatticeLinesBelongToTheInside) {
  make({{box(1, 1, 3, 3)}});
  const std::string four = "0 0 0 0 0\n0 1 1 0 0\n0 1 1 0 0\n0 0 0 0 0\n";
  EXPECT_EQ(burned(), four);
  make({{box(1.004, 0.996, 3.004, 3.0049)}});
  EXPECT_EQ(burned({.strictBoundary = true}), four) << "within 0.005 of the lines";
  make({{box(0.6, 0.7, 3.4, 2.6)}});
  EXPECT_EQ(burned({.snapToGrid = true}), four);
  EXPECT_EQ(burned(), "0 0 0 0 0\n1 1 1 1 0\n1 1 1 1 0\n1 1 1 1 0\n");
  EXPECT_EQ(burned({.strictBoundary = true}), "0 0 0 0 0\n0 1 1 0 0\n0 1 1 0 0\n0 0 0 0 0\n");
  I4Grid_type onDisk;
  onDisk.onDisk = true;
  ASSERT_EQ(table.RasterizePoly(onDisk, {.like = &lattice, .strictBoundary = true}), 0);
  EXPECT_EQ(show(onDisk), show(grid)) << "kept on disk";
  // A twentieth of a cell where cells are small.
  R4Grid_type fine = emptyGrid<R4Grid_type>(5, 4, {.xmin = 0, .ymin = 0, .cellsize = 0.01});
  make({{box(0.0104, 0.0096, 0.0304, 0.0304)}});
  EXPECT_EQ(burned({.like = &fine}), four);
  make({{box(0.012, 0.012, 0.028, 0.028)}});
  EXPECT_EQ(burned({.like = &fine}), four) << "not drawn to points";
}

TEST_F(PolygonRaster, OddShapesStayWithinTheirBoxes) {
  struct Case {
    const char* what;
    std::vector<Ring> rings;
    std::string expected;
  };
  const std::string small = "0 0 0 0 0\n0 0 0 0 0\n0 1 0 0 0\n0 0 0 0 0\n";
  const std::string line = "0 0 0 0 0\n0 0 0 0 0\n0 1 1 1 0\n0 0 0 0 0\n";
  const std::string all = "1 1 1 1 1\n1 1 1 1 1\n1 1 1 1 1\n1 1 1 1 1\n";
  const std::string border = "1 1 1 1 1\n1 0 0 0 1\n1 0 0 0 1\n1 1 1 1 1\n";
  for (const Case& c : {
           Case{"all vertices in a cell", {box(1.2, 1.2, 1.3, 1.3)}, small},
           Case{"one point", {{{1.5, 1.5}, {1.5, 1.5}, {1.5, 1.5}}}, kNothing},
           Case{"a spike", {{{1.5, 1.5}, {3.5, 1.5}, {1.5, 1.5}}}, line},
           Case{"a spike without its closing vertex", {{{1.5, 1.5}, {3.5, 1.5}}}, line},
           Case{"around the grid", {box(-10, -20, 30, 40)}, all},
           Case{"beyond two sides", {box(-1e9, 2, 1, 1e9)}, "1 0 0 0 0\n1 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n"},
           Case{"beside the grid", {box(5, 0, 7, 4)}, kNothing},
           Case{"the strip above ymax", {box(0, 3.2, 5, 4)}, "1 1 1 1 1\n0 0 0 0 0\n0 0 0 0 0\n0 0 0 0 0\n"},
           Case{"a hole", {box(0, 0, 5, 4), reversed(box(1, 1, 4, 3))}, border},
           Case{"wound the wrong way", {reversed(box(0, 0, 5, 4)), box(1, 1, 4, 3)}, border},
           Case{"a hole wound as the ring is filled", {box(0, 0, 5, 4), box(1, 1, 4, 3)}, all},
           Case{"crossing itself",
                {{{0, 0},
                  {0, 4},
                  {2, 4},
                  {2, 2},
                  {3, 2},
                  {3, 0},
                  {5, 0},
                  {5, 4},
                  {3, 4},
                  {3, 2},
                  {2, 2},
                  {2, 0}}},
                "1 1 0 1 1\n1 1 0 1 1\n1 1 0 1 1\n1 1 0 1 1\n"},
           Case{"through corners of cells",
                {{{0, 0}, {4, 4}, {4, 0}}},
                "0 0 0 1 0\n0 0 1 1 0\n0 1 1 1 0\n1 1 1 1 0\n"},
       }) {
    make({c.rings});
    EXPECT_EQ(burned(), c.expected) << c.what;
  }
}

TEST_F(PolygonRaster, ACellGoesToTheFirstThatCoversHalf) {
  const Ring left = box(0, 0, 2.5, 4);
  const Ring right = box(2.5, 0, 5, 4);
  make({{left}, {right}});
  EXPECT_EQ(burned(), "1 1 1 2 2\n1 1 1 2 2\n1 1 1 2 2\n1 1 1 2 2\n");
  make({{box(0, 0, 2.4, 4)}, {box(2.4, 0, 5, 4)}});
  EXPECT_EQ(burned({.useID = true}), "1 1 2 2 2\n1 1 2 2 2\n1 1 2 2 2\n1 1 2 2 2\n");
  // Values below 0 burn like others; a later call leaves them, and takes what is free.
  EXPECT_EQ(burned({.values = std::vector<int32_t>{-4, 0}}),
            "-4 -4 -4 0 0\n-4 -4 -4 0 0\n-4 -4 -4 0 0\n-4 -4 -4 0 0\n");
  ASSERT_EQ(table.RasterizePoly(grid, {.ival = 8}), 0);
  EXPECT_EQ(show(grid), "-4 -4 -4 8 8\n-4 -4 -4 8 8\n-4 -4 -4 8 8\n-4 -4 -4 8 8\n");
  I4Grid_type empty = emptyGrid<I4Grid_type>(5, 4, {.xmin = 0, .ymin = 0, .cellsize = 1});
  ASSERT_EQ(table.RasterizePoly(empty, {.ival = 8, .lastRecord = 1}), 0);
  EXPECT_EQ(empty.value(1, 1, ""), 8) << "nodata is free";
  EXPECT_EQ(empty.value(5, 1, ""), -9999);
  // Less than half of every cell: burned, unless the polygon has cells of its own and the rule is strict.
  make({{box(0.7, 1, 1.3, 3)}});
  const std::string thin = "0 0 0 0 0\n1 1 0 0 0\n1 1 0 0 0\n0 0 0 0 0\n";
  EXPECT_EQ(burned(), thin);
  EXPECT_EQ(burned({.strictBoundary = true}), thin);
  make({{box(0.7, 0.7, 3.3, 3.3)}});
  EXPECT_EQ(burned({.strictBoundary = true}), "0 0 0 0 0\n0 1 1 0 0\n0 1 1 0 0\n0 0 0 0 0\n");
}

TEST_F(PolygonRaster, ValuesComeFromWhatIsAskedFor) {
  make({{box(0, 0, 1, 1)}, {box(1, 0, 2, 1)}, {box(2, 0, 3, 1)}, {box(4, 3, 5, 4)}}, {1.5, 0, -2.5, 4});
  const auto last = [&](const PolygonRasterOptions& options) {
    const std::string all = burned(options);
    return all.size() < 10 ? all : all.substr(30);
  };
  EXPECT_EQ(last({}), "1 2 3 0 0\n");
  EXPECT_EQ(last({.ival = 7, .firstRecord = 2, .lastRecord = 2}), "0 7 0 0 0\n");
  EXPECT_EQ(last({.singleValue = 3}), "0 0 3 0 0\n");
  EXPECT_EQ(last({.singleValue = 3, .buffer = 1.0}), "0 3 3 3 0\n");
  EXPECT_FALSE(seen.has("Number of polygons rasterized = 1 "));
  R4Grid_type real;
  ASSERT_EQ(table.RasterizePoly(real, {.fieldName = "VALUE", .like = &lattice}), 0);
  EXPECT_EQ(show(real), "0 0 0 0 4\n0 0 0 0 0\n0 0 0 0 0\n1.5 0 -2.5 0 0\n") << "0 leaves a record out";
  I8Grid_type wide;
  ASSERT_EQ(table.RasterizePoly(wide, {.like = &lattice}), 0);
  EXPECT_EQ(wide.value(3, 4, ""), 3);
  table.WriteI4Value(1, 2, 0);
  EXPECT_EQ(last({.positiveIDonly = true}), "1 0 3 0 0\n");
  EXPECT_EQ(last({.useID = true}), "failed");
  EXPECT_TRUE(seen.has("ID value of zero encountered"));
  table.IDfield = 0;
  EXPECT_EQ(last({}), "1 1 1 0 0\n") << "no ID field";
  table.WriteI4Value(1, 2, 2);
  EXPECT_EQ(last({.IDfieldName = "ID", .singleValue = 3}), "0 0 3 0 0\n");
}

TEST_F(PolygonRaster, FaultsAreReportedBeforeAnythingIsBurned) {
  make({{box(0, 0, 1, 1)}, {box(1, 0, 2, 1)}});
  const std::vector<int32_t> one{1};
  const std::vector<int32_t> two{1, 2};
  for (const auto& [options, message] : std::initializer_list<std::pair<PolygonRasterOptions, const char*>>{
           {{.ival = 1, .useID = true}, "Cannot specify both single value and polygon ID as outputs"},
           {{.ival = 1, .singleValue = 1}, "If ival argument is valid, cannot specify a SingleValue"},
           {{.ival = 1, .buffer = 2}, "Can only specify a buffer for SingleValue"},
           {{.singleValue = 1, .buffer = NAN}, "The buffer width must be 0 or more"},
           {{.singleValue = 0}, "Cannot use zero as singleValue argument"},
           {{.ival = 0}, "This rasterization algorithm uses zero to flag cells outside the polygon"},
           {{.fieldName = "NONE"}, "Cannot find requested field name: NONE"},
           {{.IDfieldName = "NONE"}, "Cannot find ID field: NONE"},
           {{.lastRecord = 3}, "Records 1 to 3 are not in the table, which has 2"},
           {{.firstRecord = 0}, "Records 0 to 2 are not"},
           {{.values = one}, "There are 1 values for 2 records"},
           {{.singleValue = 1, .values = two}, "Cannot specify both values and a SingleValue"}}) {
    EXPECT_EQ(burned(options), "failed");
    EXPECT_TRUE(seen.has(message)) << seen.text();
    EXPECT_EQ(table.status, -1);
    EXPECT_EQ(grid.status, -1);
  }
  EXPECT_EQ(table.RasterizePoly(grid, {}), -1);
  EXPECT_TRUE(seen.has("No template or grid to rasterize to"));
  table.polygon[1].y[2] = NAN;
  EXPECT_EQ(burned(), "failed");
  EXPECT_TRUE(seen.has("Record 2 has a vertex without a number"));
  table.IDfield = 0;
  EXPECT_EQ(burned({.useID = true}), "failed");
  EXPECT_TRUE(seen.has("Polygon ID field is not recognized"));
  make({{box(7, 7, 9, 9)}});
  EXPECT_EQ(burned(), kNothing);
  EXPECT_TRUE(seen.has(" *** No polygons rasterized ***"));
}

// ---- shares of cells against polygons cut to each cell ----

/// The signed area, clockwise positive, of a ring cut to a square cell (Sutherland and Hodgman 1974).
double clippedArea(Ring ring, double west, double south) {
  const auto cut = [&ring](auto inside, auto cross) {
    Ring kept;
    for (std::size_t i = 0; i < ring.size(); ++i) {
      const Point& from = ring[i];
      const Point& to = ring[(i + 1) % ring.size()];
      if (inside(from)) kept.push_back(from);
      if (inside(from) != inside(to)) kept.push_back(cross(from, to));
    }
    ring = kept;
  };
  const auto atX = [](double x) {
    return [x](const Point& a, const Point& b) {
      return Point{.x = x, .y = a.y + (x - a.x) * (b.y - a.y) / (b.x - a.x)};
    };
  };
  const auto atY = [](double y) {
    return [y](const Point& a, const Point& b) {
      return Point{.x = a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y), .y = y};
    };
  };
  cut([&](const Point& p) { return p.x >= west; }, atX(west));
  cut([&](const Point& p) { return p.x <= west + 1; }, atX(west + 1));
  cut([&](const Point& p) { return p.y >= south; }, atY(south));
  cut([&](const Point& p) { return p.y <= south + 1; }, atY(south + 1));
  double twice = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const Point& a = ring[i];
    const Point& b = ring[(i + 1) % ring.size()];
    twice += (b.x - west) * (a.y - south) - (a.x - west) * (b.y - south);
  }
  return twice / 2;
}

/// A star around a point, clockwise; vertices are at random, some on lattice lines.
Ring star(std::mt19937& random, Point middle, double reach) {
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  Ring ring;
  const int count = 3 + static_cast<int>(unit(random) * 30);
  for (int i = 0; i < count; ++i) {
    const double angle = -2 * std::numbers::pi * i / count;
    const double radius = reach * (0.3 + 0.7 * unit(random));
    Point at{.x = middle.x + radius * std::cos(angle), .y = middle.y + radius * std::sin(angle)};
    if (unit(random) < 0.2) at.x = std::round(at.x);
    if (unit(random) < 0.2) at.y = std::round(at.y);
    ring.push_back(at);
  }
  ring.push_back(ring.front());
  return ring;
}

struct Covered {
  std::vector<double> edge;  ///< share of cells that an edge touches, else -1
  std::vector<int> inside;

  friend bool operator==(const Covered& a, const Covered& b) {
    if (a.inside != b.inside) return false;
    for (std::size_t i = 0; i < a.edge.size(); ++i)
      if (std::abs(a.edge[i] - b.edge[i]) > 1e-9) return false;
    return true;
  }
};
constexpr int32_t kSide = 40;
Covered coverageOf(const std::vector<Ring>& rings, double shift = 0) {
  CellCoverage coverage(kSide, kSide);
  for (Ring ring : rings) {
    for (Point& at : ring) at = {.x = at.x + shift, .y = kSide - at.y};
    EXPECT_TRUE(coverage.addRing(ring));
  }
  Covered covered{.edge = std::vector<double>(kSide * kSide, -1), .inside = std::vector<int>(kSide * kSide)};
  const auto at = [](int32_t col, int32_t row) {
    return static_cast<std::size_t>((row - 1) * kSide + col - 1);
  };
  coverage.visit([&](int32_t col, int32_t row, double share) { covered.edge[at(col, row)] = share; },
                 [&](int32_t row, int32_t col1, int32_t col2) {
                   for (int32_t col = col1; col <= col2; ++col) covered.inside[at(col, row)] = 1;
                 });
  return covered;
}

TEST(CellCoverageRandom, SharesAreThoseOfThePolygonCutToEachCell) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int trial = 0; trial < 200; ++trial) {
    // Some reach beyond the lattice; two in three have a hole.
    const Point middle{.x = 20 + 16 * (unit(random) - 0.5), .y = 20 + 16 * (unit(random) - 0.5)};
    const double reach = trial % 5 == 0 ? 30 : 0.2 + 11 * unit(random);
    std::vector<Ring> rings{star(random, middle, reach)};
    if (trial % 3 > 0) rings.push_back(reversed(star(random, middle, 0.29 * reach)));
    const Covered covered = coverageOf(rings);
    for (int32_t row = 1; row <= kSide; ++row)
      for (int32_t col = 1; col <= kSide; ++col) {
        const auto i = static_cast<std::size_t>((row - 1) * kSide + col - 1);
        double area = 0;
        for (const Ring& ring : rings) area += clippedArea(ring, col - 1, kSide - row);
        if (covered.edge[i] >= 0) {
          ASSERT_FALSE(covered.inside[i]);
          ASSERT_NEAR(covered.edge[i], std::abs(area), 1e-6) << trial << ": " << col << ' ' << row;
        } else {
          ASSERT_NEAR(covered.inside[i], area, 1e-6) << trial << ": " << col << ' ' << row;
        }
      }
    // What changes no shape changes no cell.
    std::vector<Ring> same = rings;
    for (Ring& ring : same) {
      ring.pop_back();
      std::rotate(ring.begin(), ring.begin() + static_cast<std::ptrdiff_t>(ring.size() / 2), ring.end());
      const Point& first = ring[0];
      const Point& second = ring[1];
      ring.insert(ring.begin() + 1, {.x = (first.x + second.x) / 2, .y = (first.y + second.y) / 2});
    }
    std::reverse(same.begin(), same.end());
    EXPECT_EQ(coverageOf(same), covered) << trial;
  }
}

// ---- real polygons, and GDAL ----

/// The area of a polygon in cells, its vertices on the lattice lines that they are near.
double areaInCells(const PolygonType& polygon, const Grid_Header& grid) {
  const auto toLine = [&](double at) {
    const double line = std::round(at);
    return std::abs(at - line) * grid.cellsize < std::min(0.005, grid.cellsize / 20) ? line : at;
  };
  const auto x = [&](std::size_t i) { return toLine((polygon.x[i] - grid.xmin) / grid.cellsize); };
  const auto y = [&](std::size_t i) { return toLine((polygon.y[i] - grid.ymin) / grid.cellsize); };
  double twice = 0;
  for (std::size_t i = 0, ring = 1; i + 1 < polygon.x.size(); ++i) {
    if (ring < polygon.ring.size() && i + 1 == static_cast<std::size_t>(polygon.ring[ring])) {
      ++ring;
      continue;
    }
    twice += x(i + 1) * y(i) - x(i) * y(i + 1);
  }
  return std::abs(twice / 2);
}

TEST_F(PolygonRaster, RealPolygonsHaveTheirAreasAndTheInsidesThatGdalFinds) {
  SKIP_WITHOUT_REAL_DATA();
  for (const char* name : {"eas_polygon", "mexico_states", "countries", "blockgroups"}) {
    const std::string source = dataFolder() + "/vector/" + name;
    ASSERT_EQ(ReadPolygonShapefile(table, source), 0);
    Box all;
    for (const PolygonType& polygon : table.polygon) {
      all.x.add(polygon.x);
      all.y.add(polygon.y);
    }
    const double size = (all.x.high - all.x.low) / 300;
    const auto rows = static_cast<int32_t>((all.y.high - all.y.low) / size) + 10;
    R4Grid_type like = emptyGrid<R4Grid_type>(
        310, rows, {.xmin = all.x.low - 3.3 * size, .ymin = all.y.low - 4.1 * size, .cellsize = size});
    table.IDfield = 0;
    const std::string stem = scratch.path(name);
    R4Grid_type shares;
    const auto burn = [&](int64_t first, int64_t last) {
      ASSERT_EQ(
          table.RasterizePoly(grid, {.like = &like, .firstRecord = first, .lastRecord = last, .check = stem}),
          0);
      ASSERT_EQ(ReadGrid(shares, stem), 0);
    };
    for (int64_t record = 1; record <= table.numRecords;
         record += std::max<int64_t>(table.numRecords / 8, 1)) {
      burn(record, record);
      double covered = 0;
      for (const float share : cellsOf(shares)) covered += static_cast<double>(share);
      const double expected = areaInCells(table.polygon[static_cast<std::size_t>(record) - 1], like);
      EXPECT_NEAR(covered, expected, 1e-5 * expected) << name << ' ' << record;
    }
    if (!haveTool("gdal_rasterize")) continue;
    burn(1, table.numRecords);
    const std::string file = scratch.path(std::string(name) + ".bil");
    const auto peer = [&](const std::string& how) {
      std::filesystem::remove(file);
      std::ostringstream command;
      command.precision(17);
      command << "gdal_rasterize -q -burn 1 -ot Byte -of EHdr -init 0 " << how << " -te " << like.xmin << ' '
              << like.ymin << ' ' << like.xmax + size << ' ' << like.ymax + size << " -ts " << like.cols()
              << ' ' << rows << ' ' << source << ".shp " << file;
      EXPECT_EQ(shell(command.str()).status, 0) << command.str();
      return readBytes(file);
    };
    const std::string centres = peer("");
    const std::string touched = peer("-at");
    const std::vector<int32_t> cells = cellsOf(grid);
    const std::vector<float> parts = cellsOf(shares);
    ASSERT_EQ(centres.size(), cells.size());
    for (int32_t row = 2; row < rows; ++row)
      for (int32_t col = 2; col < like.cols(); ++col) {
        const auto at = [&](int32_t c, int32_t r) {
          return static_cast<std::size_t>((r - 1) * like.cols() + c - 1);
        };
        ASSERT_TRUE(parts[at(col, row)] < 0.9999F || centres[at(col, row)] == 1)
            << name << ": " << col << ' ' << row;
        ASSERT_TRUE(cells[at(col, row)] != 0 || centres[at(col, row)] == 0)
            << name << ": " << col << ' ' << row;
        bool near = cells[at(col, row)] == 0;
        for (int32_t code = 0; code <= kDirections; ++code) {
          const ColRow n =
              code == 0 ? ColRow{.col = col, .row = row} : stepFrom({.col = col, .row = row}, code);
          near = near || touched[at(n.col, n.row)] == 1;
        }
        ASSERT_TRUE(near) << name << ": " << col << ' ' << row;
      }
  }
}

}  // namespace
}  // namespace terrain
