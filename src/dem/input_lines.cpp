#include "dem/input_lines.h"

#include <string>

#include "foundation/file_names.h"
#include "foundation/messages.h"
#include "foundation/text.h"

namespace terrain {

int readLines(const DEM_type& dem, std::string_view file, LineVectorType& lines, const LineTexts& failure) {
  const std::string stem = stripExtension(stripped(file));
  if (ReadPolylineShapefile(lines, stem) != kSuccess)
    return fail(failure.routine, std::string(failure.message) + stem);
  if (dem.feetConverted) lines.ConvertToMeters();
  return kSuccess;
}

}  // namespace terrain
