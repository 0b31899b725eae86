#pragma once
// The keywords that name a DEM's files and its unit, for every instruction file that has a DEM in it. `Path`
// leads from the record of the file to its `DEM_type`; it is empty where that is the record.

#include <array>
#include <string>

#include "dem/dem.h"
#include "foundation/file_names.h"
#include "foundation/keywords.h"

namespace terrain {

template <class Record, auto... Path>
struct DemKeywords {
  using Value = KeywordValue<Record>;
  using Row = Keyword<Record>;

  /// The name of a raster, with or without its extension. An "=" may be part of it.
  template <std::string DEM_type::*Name>
  static bool parseRaster(Record& record, KeywordInput& input) {
    detail::memberAt<Path..., Name>(record) = stripExtension(*input.text);
    return input.isHostText();
  }

  static constexpr Row path{.words = "PATH",
                            .value = Value::template text<Path..., &DEM_type::path>(),
                            .meaning = "Directory of the DEM and of the rasters derived from it.",
                            .echo = "Path    : "};
  static constexpr Row identifier{.words = "DEM ID|DEMID",
                                  .value = Value::template text<Path..., &DEM_type::demID>(),
                                  .meaning = "The DEM is elev_<id> in the PATH.",
                                  .echo = "DEM ID  : "};
  static constexpr Row dataIdentifier{.words = "DATA ID|DATAID",
                                      .value = Value::template text<Path..., &DEM_type::dataID>(),
                                      .standard = "the DEM ID",
                                      .meaning = "Identifier in the names of derived rasters."};
  static constexpr Row referencePath{.words = "REFERENCE PATH",
                                     .value = Value::template text<Path..., &DEM_type::refPath>(),
                                     .failure = "Error reading reference path",
                                     .standard = "the PATH",
                                     .meaning = "Directory of the reference DEM."};
  static constexpr Row referenceFile{
      .words = "REFERENCE DEM|REFERENCE DEM FILE",
      .value = Value::template own<&parseRaster<&DEM_type::refFile>>("raster"),
      .failure = "Error reading reference DEM",
      .meaning = "The DEM itself by its file name, in place of PATH and DEM ID."};
  static constexpr Row units{.words = "DEM UNITS|DEMunits",
                             .value = Value::template text<Path..., &DEM_type::units>(),
                             .standard = "m",
                             .meaning = "Unit of lengths and heights: m or f (feet, which are converted)."};

  static constexpr std::array<Row, 6> rows{path,          identifier,    dataIdentifier,
                                           referencePath, referenceFile, units};
};

}  // namespace terrain
