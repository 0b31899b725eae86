#include "grid/raster_output.h"

#include "foundation/free_format.h"
#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

RasterOutput::RasterOutput(std::string_view routine, std::string_view stem)
    : routine_(routine), stem_(stripped(stem)) {}

IoCode RasterOutput::open(Replacement& file, std::string_view ending) {
  const std::string name = stem_ + std::string(ending);
  const IoCode code = file.open(name);
  if (code != kIoOk) reportError({.routine = routine_, .code = kCannotOpenToWrite, .file = name});
  return code;
}

int RasterOutput::openCells(std::string_view ending, std::string_view codeLabel) {
  const IoCode code = open(cells_, ending);
  if (code != kIoOk) {
    putMessage(std::string(codeLabel) + freeText(code) + ", " + describe(code));
    return kFailure;
  }
  opened_.push_back(&cells_);
  return kSuccess;
}

int RasterOutput::openHeader(std::string_view ending) {
  hasHeader_ = open(header_, ending) == kIoOk;
  return hasHeader_ ? kSuccess : kFailure;
}

void RasterOutput::writeProjection(const InputFileType& projection) {
  const std::string name = stem_ + ".prj";
  const bool wanted = projection.LineCount() > 0;
  const IoCode code = wanted ? projection_.open(name) : projection_.openRemoval(name);
  if (code != kIoOk) {
    reportError({.routine = routine_, .message1 = "Error writing projection file for " + stem_});
    return;
  }
  if (wanted)
    for (const std::string& line : projection.lines) projection_.text().writeLine(trimmed(line));
  opened_.push_back(&projection_);
}

int RasterOutput::commit() {
  if (hasHeader_) opened_.push_back(&header_);
  const Replacement* failed = nullptr;
  const IoCode code = commitTogether(opened_, &failed);
  if (code == kIoOk) return kSuccess;
  return reportError({.routine = routine_,
                      .code = kWriteError,
                      .file = failed == nullptr ? stem_ : failed->target(),
                      .message1 = describe(code)});
}

}  // namespace terrain
