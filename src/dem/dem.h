#pragma once
// The elevation model and everything derived from it. A DEM knows where its rasters are and how they
// are named, and holds each derived grid from its first use on. Names of rasters:
//
//   <directory><prefix>[<length tag>]<identifier>        d:\data\grad_15_site
//
// The header of the object is the DEM's own; the derived grids share its extent. Every operation that
// can fail stores its result, 0 or -1, in `status`; one that loads a grid stores it in the grid too.

#include <optional>
#include <string>
#include <string_view>

#include "foundation/messages.h"
#include "grid/grid.h"

namespace terrain {

/// State of the module: the switch for diagnostic lines about steps that are done or left out.
struct DemDiagnostics {
  bool on = false;
};
DemDiagnostics& demDiagnostics();

struct ResolveDEMOptions {
  bool halfCellShift = false;  ///< move the header by half a cell to the north-east
};

struct GetElevOptions {
  std::optional<std::string_view> file{};  ///< absent: `refFile`, `file`, then the `elev_` raster
  bool halfCellShift = false;              ///< move the grid's own header by half a cell
  bool overwrite = false;                  ///< read anew over an existing grid
};

/// The files of the inputs of `GetGEP`; absent: those that the getters find.
struct GEPFiles {
  std::optional<std::string_view> slope{};
  std::optional<std::string_view> pin{};
  std::optional<std::string_view> bcon{};
};

/// How `Flood` and `Flow` find directions.
struct FlowMode {
  /// The angles that are in `aspect` are kept, but for those beside cells without one, and only the others
  /// are found; cells without data have none. Where kept angles and the surface disagree, so that a found
  /// angle would lead in a circle, `FlowDirection` takes the code by which `Flood` drained the cell.
  bool keepAngles = false;
  /// Above 0: the aspect of the surface smoothed over this length, metres, where it leads down and is within
  /// 90 degrees of the local angle.
  double smoothingLength = 0;
  /// Above 0, and not the cell size: the same choice for this length, metres, is made in `DEM%scaledAspect`.
  double d8Length = 0;
};

/// How `CalcD8` accesses its grids; the results are the same.
enum class D8Access { rows, cells };

class DEM_type : public Grid_Header {
 public:
  I4Grid_type D8{};      ///< D8 codes, 1 to 8 counter-clockwise from east
  R4Grid_type elev{};    ///< elevations, metres
  R4Grid_type DA{};      ///< drainage area (flow accumulation)
  R4Grid_type aspect{};  ///< radians clockwise from north, downslope
  /// Angles from which D8 codes are chosen on another length scale (`flowMode`); elsewhere it does not exist.
  R4Grid_type scaledAspect{};
  R4Grid_type grad{};  ///< tangent of the slope
  R4Grid_type prof{};  ///< profile curvature
  R4Grid_type bcon{};  ///< contour length, cell widths
  R4Grid_type plan{};  ///< plan curvature
  R4Grid_type pin{};   ///< the `pin_` raster of `GetGEP`

  double elevShift = 0;        ///< metres taken from the elevations while they are in the working form
  float elevNodata = kNodata;  ///< what nodata was before
  FlowMode flowMode{};
  double len_scale = -9999.0;  ///< length scale, metres; -9999.0: not known

  std::string refPath{}, refID{}, refDataID{};  ///< reference DEM: directory, identifier, data identifier
  std::string path{}, demID{}, dataID{};        ///< the same of the DEM; directories end in a separator
  std::string file{}, refFile{};                ///< names of the DEM and the reference DEM, no extension
  std::string areaFile{}, gradFile{}, planFile{}, profFile{}, aspectFile{}, bconFile{};  ///< explicit names

  std::optional<Grid_Header> feetHeader{};  ///< the header before its lengths were converted from feet

  // ---- header and names (dem/naming.cpp) ----
  [[nodiscard]] bool DEMexists() const { return cols() > 0 && rows() > 0; }
  /// Converts the header's lengths, cell sizes included, and sets `feetConverted`; `MetersToFeet` of the
  /// header is the inverse but for the flag.
  void FeetToMeters();
  /// cellsize squared, in square kilometres.
  [[nodiscard]] double CellAreaKm2() const { return cellsize * cellsize * 0.000001; }
  void SetLengthScale(double length) { len_scale = length; }
  /// Blanks `file`, `path`, `demID`, `dataID` and the four of the reference.
  void ClearNames();
  /// Everything as in a new object, grids included, but for the length scale.
  void startAfresh();
  /// Completes all names from those that are set, then reads the header of `file`. "DEM FILE
  /// unresolved" where no file can be formed, "readheader failed for DEM" where its header is not usable.
  int ResolveDEM(const ResolveDEMOptions& options = {});
  /// Reads the header of `file`, or of `path` + "elev_" + `demID` where `file` is blank.
  int ReadDEMHeader();
  /// The length scale rounded to an integer, and "_"; "_" alone where it is not above 0, blank where
  /// the integer does not fit 32 bits.
  [[nodiscard]] std::string lengthName() const;
  /// Name of the derived raster with this prefix, beside the reference DEM where there is one. Blank,
  /// with a report, where there is no such raster.
  [[nodiscard]] std::string resolveName(std::string_view prefix) const;

  // ---- getters (dem/grids.cpp, elevations.cpp, matching_grids.cpp, gep.cpp) ----
  // Each leaves an existing grid alone. Otherwise it reads the named raster, or the one whose name was
  // given before, or the one that the naming rules give, clipped to the DEM's extent. A raster that does not
  // cover the DEM, or has another lattice, is a failure that names both extents.
  int GetGrad(std::optional<std::string_view> name = std::nullopt);
  int GetPlan(std::optional<std::string_view> name = std::nullopt);
  int GetProf(std::optional<std::string_view> name = std::nullopt);
  int GetBcon(std::optional<std::string_view> name = std::nullopt);
  int GetArea(std::optional<std::string_view> name = std::nullopt);
  int GetAspect(std::optional<std::string_view> name = std::nullopt);
  /// The elevations, in metres where the DEM's unit is feet. Cells that hold the nodata value of the
  /// file's header, and NaN, become -9999.0, the grid's nodata.
  int GetElev(const GetElevOptions& options = {});
  /// Destroys the present pin grid and reads another, which must match the DEM.
  int GetPin(std::optional<std::string_view> name = std::nullopt);
  /// Gradient and plan curvature from a raster that must match the DEM, or, without a name, computed
  /// from the elevations at the length scale. A blank name gives an empty grid, a failure one of
  /// status -1 without cells.
  [[nodiscard]] R4Grid_type GetSlope(std::optional<std::string_view> name = std::nullopt);
  [[nodiscard]] R4Grid_type GetPlanCurvature(std::optional<std::string_view> name = std::nullopt);
  /// GEP: pin * gradient / contour length, cell by cell in float32; nodata where any of the three has
  /// none or the contour length is 0. The three grids are destroyed at the end.
  int GetGEP(R4Grid_type& gep, const GEPFiles& files = {});
  /// Destroys one member grid, if it exists, by the member's name; "area" and "accum" are synonyms of "DA".
  /// -1, with a report, for any other name.
  int DestroyGrid(std::string_view name);

  // ---- drainage (dem/flood.cpp, flow.cpp) ----
  // Both work on elevations whose nodata is 0 and whose data is positive; a sign marks what has been handled.

  /// Breaches closed depressions, so that every data cell has a way to the edge of the data over cells that
  /// do not rise. Plan curvature (`GetPlan`) decides between neighbours of equal slope. Afterwards the
  /// elevations are negative: the conditioned surface with its sign turned. Angles that are kept (`flowMode`,
  /// `GetAspect`) must lead to the edge of the data: -1 with a cell from which they do not.
  int Flood();
  /// D-infinity angles of a flooded surface into `aspect`, which must exist, with negative values where an
  /// angle is to be found; `flowMode` says how. Afterwards the elevations are positive, but for cells whose
  /// angles were kept. Makes `scaledAspect` where `flowMode` asks for it. -1, with a cell, where angles
  /// beside kept ones do not lead to the edge of the data.
  int Flow();
  /// The code of a neighbour without data, straight ones first; 0 for a cell within the data.
  [[nodiscard]] int32_t EdgeDirection(int32_t col, int32_t row) const;

  // ---- flow directions (dem/d8.cpp) ----
  /// D8 codes of the cells that have an aspect, in a new grid.
  int CalcD8(D8Access access = D8Access::rows);
  /// `CalcD8`, unless the grid exists.
  int GetD8();
  /// The D8 code of a cell's aspect, in memory or on disk; -1 where it has none.
  [[nodiscard]] int32_t D8FromAspect(int32_t col, int32_t row) const;
  /// The code of the step between two adjacent cells, 0 between a cell and itself; -1, with a report, for
  /// cells that are not adjacent.
  [[nodiscard]] static int32_t FlowDir(ColRow from, ColRow to);
  /// Marks a cell and all cells downstream of it along `D8` with 1 in `flows`, a grid of the DEM's extent, up
  /// to the first that holds 1 already. 0, or -1 with a report.
  int trace(I4Grid_type& flows, int32_t col, int32_t row);

  // ---- contour length (dem/contour_length.cpp) ----
  /// Fills `bcon` from `aspectGrid`, or, without one, from aspects computed at the radius `length`
  /// (which has no other use). The elevations must exist. See dem/contour_length.h.
  int calcBcon(float length, const R4Grid_type* aspectGrid = nullptr);
};

/// Fills a DEM from a parameter file (dem/parameter_file.cpp) and reads its header. A file that cannot
/// be opened ends the run.
int GetDEM(DEM_type& dem, std::string_view fileName);
/// The same for the other layout of the file, with DEM FILE and REFERENCE ID. Without a name it asks on
/// the console, three times at most; reports go through `errors`.
int GetInput(DEM_type& dem, ErrorList& errors, std::optional<std::string_view> fileName = std::nullopt);

}  // namespace terrain
