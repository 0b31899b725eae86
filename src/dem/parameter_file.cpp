// Parameter files of a DEM: keyword lines that name its files and its units. There are two layouts, which
// differ in their keywords and in how the DEM's file is formed.

#include <istream>
#include <ostream>
#include <span>

#include "dem/naming.h"
#include "dem/operations.h"
#include "dem/parameter_keywords.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/input_file.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace terrain {

namespace {

using Words = DemKeywords<DEM_type>;
using Value = Words::Value;
using Row = Words::Row;

constexpr Row kInputWords[] = {
    Words::path,
    {.words = "DEM ID", .value = Words::identifier.value, .echo = Words::identifier.echo},
    {.words = "DEM UNITS", .value = Words::units.value},
    {.words = "DEM FILE", .value = Value::own<Words::parseRaster<&DEM_type::file>>("raster")},
    Words::referencePath,
    {.words = "REFERENCE ID",
     .value = Value::text<&DEM_type::refID>(),
     .failure = "Error reading reference ID"},
    {.words = "REFERENCE DEM", .value = Words::referenceFile.value, .failure = Words::referenceFile.failure},
};

/// The file that is being read: failures are reported under its routine and name it.
struct ParameterFile {
  DEM_type& dem;
  ErrorList& errors;
  std::string_view routine;
  std::string name;
  std::span<const Row> keywords;

  int fault(std::string_view message) const {
    return reportError(errors, {.routine = routine, .message1 = message});
  }
};

/// The first keyword that fails ends the file.
int parseKeywords(const ParameterFile& file, InputFileType& lines) {
  const auto report = [&](const KeywordFailure& failure, int32_t) {
    file.fault(failure.message + " in " + file.name);
    return false;
  };
  return readKeywords(lines, file.keywords, file.dem, wholeArgument, report);
}

void completePaths(DEM_type& dem) {
  dem.path = withSeparator(dem.path);
  dem.refPath = withSeparator(dem.refPath);
}

std::string elevationName(const std::string& directory, const std::string& id) {
  return directory + std::string(kElevPrefix) + id;
}

/// The DEM's file in a file without a keyword for it: the reference DEM's, else formed from directory
/// and identifier, either of which may be the reference's alone.
int formFile(const ParameterFile& file) {
  DEM_type& dem = file.dem;
  completePaths(dem);
  if (isBlank(dem.refFile)) {
    if (isBlank(dem.refPath)) dem.refPath = dem.path;
    if (isBlank(dem.refPath)) return file.fault("Path not specified");
    if (isBlank(dem.refID)) dem.refID = dem.demID;
    if (isBlank(dem.refID)) return file.fault("DEM ID not specified");
    dem.file =
        elevationName(isBlank(dem.path) ? dem.refPath : dem.path, isBlank(dem.demID) ? dem.refID : dem.demID);
    dem.refFile = dem.file;
  } else {
    dem.file = dem.refFile;
  }
  return kSuccess;
}

/// The same where the file may be named: each of the two is formed from its own directory and identifier,
/// and either replaces the other where that is blank.
int formNamedFile(const ParameterFile& file) {
  DEM_type& dem = file.dem;
  completePaths(dem);
  if (isBlank(dem.file) && !isBlank(dem.path) && !isBlank(dem.demID))
    dem.file = elevationName(dem.path, dem.demID);
  if (isBlank(dem.refFile) && !isBlank(dem.refPath) && !isBlank(dem.refID))
    dem.refFile = elevationName(dem.refPath, dem.refID);
  if (isBlank(dem.file)) dem.file = dem.refFile;
  if (isBlank(dem.file)) return file.fault("DEM FILE not specified in " + file.name);
  if (isBlank(dem.refFile)) dem.refFile = dem.file;
  return kSuccess;
}

void convertFromFeet(DEM_type& dem) {
  const std::string stars(55, '*');
  putMessage("DEM units = feet");
  putMessage(stars);
  putMessage("All values in Kelvorn_parameters file are metric units");
  putMessage(" DEM unit conversions are done internally");
  putMessage(" Output grids are converted back to english units");
  putMessage(stars);
  dem.feetHeader = static_cast<const Grid_Header&>(dem);
  dem.FeetToMeters();
  putMessage("Cellsize (m) = ", dem.cellsize);
}

/// The unit stays "f" for a DEM in feet, whose elevations are converted when they are read.
void convertUnits(DEM_type& dem) {
  if (dem.units == 'f') return convertFromFeet(dem);
  if (dem.units != 'm') {
    putMessage(std::string("Unknown DEM units: ") + dem.units);
    putMessage("Assuming metric");
    dem.units = 'm';
    return;
  }
  putMessage("DEM units = meters");
}

/// Once the file is known both layouts continue alike. Names that are still blank come from the file's own,
/// so that rasters beside it are found.
int loadHeader(const ParameterFile& file, std::string_view headerFault) {
  DEM_type& dem = file.dem;
  if (isBlank(dem.path)) dem.path = directoryOf(dem.file);
  if (isBlank(dem.demID)) dem.demID = identifierOf(dem.file);
  if (isBlank(dem.dataID)) dem.dataID = dem.demID;
  if (isBlank(dem.refDataID)) dem.refDataID = dem.dataID;
  if (readUsableHeader(dem, dem.file, file.routine) != kSuccess) return file.fault(headerFault);
  echoKeyword(file.keywords, dem, "PATH");
  echoKeyword(file.keywords, dem, "DEM ID");
  putMessage("Ncols   : ", dem.cols());
  putMessage("Nrows   : ", dem.rows());
  putMessage("Xmin    : ", dem.xmin);
  putMessage("Ymin    : ", dem.ymin);
  putMessage("Cellsize: ", dem.cellsize);
  convertUnits(dem);
  putMessage("Setting nodata to -9999.");
  dem.nodata = kNodata;
  return kSuccess;
}

// ---- which file ----

/// A line of the console without quotes around it; blank at the end of the input.
std::string askForName() {
  std::ostream& out = *platform::console().out;
  out << " Input file name (full path): ";
  out.flush();
  std::string answer;
  std::getline(*platform::console().in, answer);
  if (!answer.empty() && answer.back() == '\r') answer.pop_back();
  return unquotedName(answer).value_or("");
}

/// Opens the named file, or one that is named on the console, with three attempts in all.
int openInput(ParameterFile& file, std::optional<std::string_view> given, InputFileType& input) {
  constexpr int attempts = 3;
  std::string& name = file.name;
  name = std::string(stripped(given.value_or("")));
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (name.empty()) name = askForName();
    if (name.empty() && platform::console().in->eof()) break;
    if (platform::fileExists(name)) {
      input = NewInputFile(name);
      if (input.status == kSuccess) return kSuccess;
    }
    putMessage("Cannot find " + name);
    putMessage("Try retyping the name");
    name.clear();
  }
  return file.fault("No input file");
}

}  // namespace

int resolveParameters(DEM_type& dem, std::string_view routine, std::string_view fileName) {
  Attempt attempt{dem.status};
  ErrorList errors;
  const ParameterFile file{dem, errors, routine, std::string(fileName), Words::rows};
  if (formFile(file) != kSuccess) return kFailure;
  return attempt.end(loadHeader(file, "readheader failed"));
}

int GetDEM(DEM_type& dem, std::string_view fileName) {
  dem = DEM_type{};
  Attempt attempt{dem.status};
  ErrorList errors;
  const ParameterFile file{dem, errors, "GetDEM in DEM_Module", std::string(stripped(fileName)), Words::rows};
  InputFileType input = NewInputFile(file.name);
  if (input.status != kSuccess)
    return reportError(
        {.routine = file.routine, .message1 = "NewInputFile failed for " + file.name, .stop = true});
  if (parseKeywords(file, input) != kSuccess || formFile(file) != kSuccess) return kFailure;
  return attempt.end(loadHeader(file, "readheader failed"));
}

int GetInput(DEM_type& dem, ErrorList& errors, std::optional<std::string_view> fileName) {
  dem = DEM_type{};
  Attempt attempt{dem.status};
  ParameterFile file{dem, errors, "GetInput in DEM_Module", {}, kInputWords};
  InputFileType input;
  if (openInput(file, fileName, input) != kSuccess || parseKeywords(file, input) != kSuccess ||
      formNamedFile(file) != kSuccess)
    return kFailure;
  return attempt.end(loadHeader(file, "readheader failed for " + dem.file));
}

}  // namespace terrain
