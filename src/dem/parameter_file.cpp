// Parameter files of a DEM: keyword lines that name its files and its units. Two layouts, one reader;
// the layouts differ in their keywords and in how the DEM's file is formed.

#include <istream>
#include <ostream>
#include <span>

#include "dem/naming.h"
#include "foundation/file_names.h"
#include "foundation/free_format.h"
#include "foundation/input_file.h"
#include "foundation/platform.h"
#include "foundation/text.h"

namespace terrain {

namespace {

/// A keyword, where its value goes (null: the unit character), and the words of its failure.
struct Keyword {
  std::string_view word;
  std::string DEM_type::*field;
  std::string_view what;
};

constexpr Keyword kParameterWords[] = {
    {"PATH", &DEM_type::path, "PATH"},
    {"DEM ID", &DEM_type::demID, "DEM ID"},
    {"DEMID", &DEM_type::demID, "DEM ID"},
    {"DATA ID", &DEM_type::dataID, "DATA ID"},
    {"DATAID", &DEM_type::dataID, "DATA ID"},
    {"REFERENCE PATH", &DEM_type::refPath, "reference path"},
    {"REFERENCE DEM", &DEM_type::refFile, "reference DEM"},
    {"REFERENCE DEM FILE", &DEM_type::refFile, "reference DEM"},
    {"DEM UNITS", nullptr, "DEM UNITS"},
    {"DEMunits", nullptr, "DEM UNITS"},
};
constexpr Keyword kInputWords[] = {
    {"PATH", &DEM_type::path, "PATH"},
    {"DEM ID", &DEM_type::demID, "DEM ID"},
    {"DEM UNITS", nullptr, "DEM UNITS"},
    {"DEM FILE", &DEM_type::file, "DEM FILE"},
    {"REFERENCE PATH", &DEM_type::refPath, "reference path"},
    {"REFERENCE ID", &DEM_type::refID, "reference ID"},
    {"REFERENCE DEM", &DEM_type::refFile, "reference DEM"},
};

/// One reading of a parameter file: the reports of its faults carry its tag and its name.
struct Reading {
  DEM_type& dem;
  ErrorList& errors;
  std::string_view routine;
  std::string name;

  int fault(std::string_view message) const {
    return reportError(errors, {.routine = routine, .message1 = message});
  }
};

/// A name as an argument gives it: a quoted one up to its closing quote, any other whole, so that names
/// with blanks and separators of either kind need no quotes. False for an argument without one.
bool readName(std::string_view argument, std::string& name) {
  std::string_view text = stripped(argument);
  if (text.empty()) return false;
  if (text.front() != '"' && text.front() != '\'') {
    name = std::string(text);
    return true;
  }
  std::string quoted;
  if (FreeFormatReader(text, {.slashEnds = false}).next(quoted) != FieldStatus::value) return false;
  name = std::string(stripped(quoted));
  return true;
}

int takeKeyword(const Reading& reading, const Keyword& keyword, const LogicalLine& line) {
  std::string value;
  if (line.arguments.empty() || !readName(line.arguments.front(), value) ||
      (keyword.field == nullptr && value.empty()))
    return reading.fault("Error reading " + std::string(keyword.what) + " in " + reading.name);
  if (keyword.field != nullptr)
    reading.dem.*keyword.field = std::move(value);
  else
    reading.dem.units = value.front();
  return kSuccess;
}

int readKeywords(const Reading& reading, InputFileType& input, std::span<const Keyword> table) {
  for (LogicalLine line; input.GetLine(line) == kSuccess;)
    for (const Keyword& keyword : table)
      if (equalPadded(line.keyword, keyword.word) && takeKeyword(reading, keyword, line) != kSuccess)
        return kFailure;
  reading.dem.path = withSeparator(reading.dem.path);
  reading.dem.refPath = withSeparator(reading.dem.refPath);
  return kSuccess;
}

std::string elevationName(const std::string& directory, const std::string& id) {
  return directory + std::string(kElevPrefix) + id;
}

/// The DEM's file in a file without a keyword for it: the reference DEM's, else formed from directory
/// and identifier, either of which may be the reference's alone.
int formFile(const Reading& reading) {
  DEM_type& dem = reading.dem;
  if (isBlank(dem.refFile)) {
    if (isBlank(dem.refPath)) dem.refPath = dem.path;
    if (isBlank(dem.refPath)) return reading.fault("Path not specified");
    if (isBlank(dem.refID)) dem.refID = dem.demID;
    if (isBlank(dem.refID)) return reading.fault("DEM ID not specified");
    dem.file =
        elevationName(isBlank(dem.path) ? dem.refPath : dem.path, isBlank(dem.demID) ? dem.refID : dem.demID);
    dem.refFile = dem.file;
  } else {
    dem.file = dem.refFile;
  }
  return kSuccess;
}

/// The same where the file may be named: each of the two is formed from its own directory and identifier,
/// and either stands in for the other.
int formNamedFile(const Reading& reading) {
  DEM_type& dem = reading.dem;
  if (isBlank(dem.file) && !isBlank(dem.path) && !isBlank(dem.demID))
    dem.file = elevationName(dem.path, dem.demID);
  if (isBlank(dem.refFile) && !isBlank(dem.refPath) && !isBlank(dem.refID))
    dem.refFile = elevationName(dem.refPath, dem.refID);
  if (isBlank(dem.file)) dem.file = dem.refFile;
  if (isBlank(dem.file)) return reading.fault("DEM FILE not specified in " + reading.name);
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

/// The unit stays "f" for a DEM in feet: the elevations are yet to be read and converted.
void settleUnits(DEM_type& dem) {
  if (dem.units == 'f') return convertFromFeet(dem);
  if (dem.units != 'm') {
    putMessage(std::string("Unknown DEM units: ") + dem.units);
    putMessage("Assuming metric");
    dem.units = 'm';
    return;
  }
  putMessage("DEM units = meters");
}

/// From a settled file name on, both layouts go the same way. Names that are still blank come from the
/// file's own, so that rasters beside it are found.
int takeDEM(const Reading& reading, std::string_view headerFault) {
  DEM_type& dem = reading.dem;
  if (isBlank(dem.path)) dem.path = directoryOf(dem.file);
  if (isBlank(dem.demID)) dem.demID = identifierOf(dem.file);
  if (isBlank(dem.dataID)) dem.dataID = dem.demID;
  if (takeHeader(dem, dem.file, reading.routine) != kSuccess) return reading.fault(headerFault);
  putMessage("Path    : " + dem.path);
  putMessage("DEM ID  : " + dem.demID);
  putMessage("Ncols   : ", dem.cols());
  putMessage("Nrows   : ", dem.rows());
  putMessage("Xmin    : ", dem.xmin);
  putMessage("Ymin    : ", dem.ymin);
  putMessage("Cellsize: ", dem.cellsize);
  settleUnits(dem);
  putMessage("Setting nodata to -9999.");
  dem.nodata = kNodata;
  return kSuccess;
}

// ---- which file ----

/// A line of the console without the quotes that it may stand in; blank at the end of the input.
std::string askForName() {
  std::ostream& out = *platform::console().out;
  out << " Input file name (full path): ";
  out.flush();
  std::string answer;
  std::string name;
  if (std::getline(*platform::console().in, answer)) {
    if (!answer.empty() && answer.back() == '\r') answer.pop_back();
    readName(answer, name);
  }
  return name;
}

/// Opens the named file, or those named on the console; three that cannot be read are enough.
int openInput(const Reading& reading, std::optional<std::string_view> given, InputFileType& input,
              std::string& name) {
  constexpr int attempts = 3;
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
  return reading.fault("No input file");
}

}  // namespace

int GetDEM(DEM_type& dem, std::string_view fileName) {
  dem = DEM_type{};
  Attempt attempt{dem.status};
  ErrorList errors;
  const Reading reading{dem, errors, "GetDEM in DEM_Module", std::string(stripped(fileName))};
  InputFileType input = NewInputFile(reading.name);
  if (input.status != kSuccess)
    return reportError(
        {.routine = reading.routine, .message1 = "NewInputFile failed for " + reading.name, .stop = true});
  if (readKeywords(reading, input, kParameterWords) != kSuccess) return kFailure;
  input.Close();
  if (formFile(reading) != kSuccess || takeDEM(reading, "readheader failed") != kSuccess) return kFailure;
  return attempt.succeed();
}

int GetInput(DEM_type& dem, ErrorList& errors, std::optional<std::string_view> fileName) {
  dem = DEM_type{};
  Attempt attempt{dem.status};
  Reading reading{dem, errors, "GetInput in DEM_Module", {}};
  InputFileType input;
  if (openInput(reading, fileName, input, reading.name) != kSuccess) return kFailure;
  if (readKeywords(reading, input, kInputWords) != kSuccess) return kFailure;
  input.Close();
  if (formNamedFile(reading) != kSuccess) return kFailure;
  return takeDEM(reading, "readheader failed for " + dem.file) == kSuccess ? attempt.succeed() : kFailure;
}

}  // namespace terrain
