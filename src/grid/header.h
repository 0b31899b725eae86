#pragma once
// The header of a grid: where its cells lie (grid/geometry.h), what nodata is, where the cells are
// kept. It stands alone for the header of a file and is the base of every grid.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/input_file.h"
#include "foundation/text.h"
#include "grid/cell_types.h"
#include "grid/geometry.h"

namespace terrain {

struct LineClipRecord;

inline constexpr float kNodata = -9999.0F;  ///< nodata where nothing else is said

/// Who made a raster; written into its header file.
struct VersionStamp {
  FixedText<25> createdBy{};
  FixedText<25> versionNumber{};
  FixedText<25> compiledOn{};
  FixedText<25> createdOn{};
};

/// A shift of the georeference: both distances, or half a cell.
struct OffsetArgs {
  std::optional<double> x{};
  std::optional<double> y{};
  std::optional<bool> halfCell{};
};

class Grid_Header : public GridGeometry {
 public:
  Grid_Header() = default;
  virtual ~Grid_Header() = default;
  Grid_Header(const Grid_Header&) = default;
  Grid_Header& operator=(const Grid_Header&) = default;
  Grid_Header(Grid_Header&&) = default;
  Grid_Header& operator=(Grid_Header&&) = default;

  int32_t reserved = 0;
  mutable int32_t status = 0;  ///< result of the last operation, 0 or -1; reading may fail too
  int32_t scratchUnit = 0;     ///< unit of the scratch file; 0 or less: none is open
  int32_t bitDepth = 0;        ///< bits per cell named by a file header, 0 when unknown
  float nodata = kNodata;      ///< one value for every cell type; each type has its own form of it
  bool feetConverted = false;  ///< held in feet and converted to metres; written back in feet
  bool onDisk = false;         ///< the cells are in the scratch file
  // The access mode belongs to the scratch file, not to the grid's value: reading may switch it.
  mutable bool cellAccess = false;  ///< the scratch file is open with one cell a record
  mutable bool rowAccess = false;   ///< the scratch file is open with one row a record
  char units = 'm';                 ///< horizontal units, 'm' metres or 'f' feet
  FixedText<2> fileType{};          ///< cell-type code named by a file header: R4, R8, I1, I2, I4, I8
  std::string scratchFile{};
  VersionStamp version{};
  InputFileType projection{};  ///< the lines of the .prj file, written back unchanged

  [[nodiscard]] virtual CellType cellType() const { return CellType::none; }

  /// Reads `<stem>.hdr`; see grid/raster_header.h for the keywords.
  int ReadHeader(std::string_view file);
  /// Writes `<stem>.hdr`, and `<stem>.prj` where there are projection lines; an older projection goes.
  /// `stamp` serves where `version` is blank. Cells must be square.
  int WriteGridHeader(std::string_view stem, const VersionStamp* stamp = nullptr);
  /// The same for the header of a band-interleaved raster; see grid/bil_raster.h.
  int ReadBILHeader(std::string_view file);
  int writeBILheader(std::string_view stem, std::optional<int32_t> nbits = {});

  /// Cuts a line (grid/clip_line.h) to the rectangle xmin..xmax, ymin..ymax, bounds included: the part
  /// within it in the line's own sense, and the cells of its ends. A line that misses it keeps its
  /// coordinates and has -9999 for the cells. Status 0; -1 with a report for coordinates without a number.
  int clipLine(LineClipRecord& line) const;

  /// Shifts the georeference; cells and sizes stay.
  int Offset(const OffsetArgs& shift);
  void SetNodata(float value) { nodata = value; }
  [[nodiscard]] float GetNodata() const { return nodata; }
  void SetVersion(const VersionStamp& stamp) { version = stamp; }

  /// Opens the scratch file with one row, or one cell, a record. At once 0 for a grid in memory or
  /// already in that mode; a grid flagged on disk that has no file gets an empty one.
  int SetRowAccess();
  int SetCellAccess();

  /// The same for reading: `status` stays, and there must be a file. 0, or -1 with a report.
  [[nodiscard]] int useRowAccess() const;
  [[nodiscard]] int useCellAccess() const;
};

struct HeaderArgs {
  CellSize size{};
  std::optional<char> units{};
  const VersionStamp* version = nullptr;
  const InputFileType* projection = nullptr;
};
/// Makes a header. Without any cell size: "Cellsize not specified", status -1.
int CreateGridHeader(Grid_Header& header, int32_t ncols, int32_t nrows, double xmin, double ymin,
                     const HeaderArgs& args);

/// Multiplies the seven coordinates and sizes by 0.3048 and sets `feetConverted`.
void FeetToMeters(Grid_Header& header);

}  // namespace terrain
